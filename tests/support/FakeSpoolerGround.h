/// @file
/// The embedded spooler on a platform in memory.
#pragma once

#include "platform/host/spooler/HostPrintQueuePort.h"
#include "platform/host/spooler/HostPrinterDataPort.h"
#include "platform/host/spooler/HostPrinterDriverPort.h"
#include "platform/host/spooler/HostSpoolerPort.h"
#include "support/FakeFilePort.h"
#include "support/FakePorts.h"
#include "support/FakeRegistryPort.h"

namespace vlm::test {

/// Fake registry, disk and computer name; the spool folder is "C:\\windows\\system32\\spool".
class FakeSpoolerGround final : public host::SpoolerGround {
public:
    FakeSpoolerGround(FakeRegistryPort& rRegistry, FakeFilePort& rFiles, FakeProcessPort& rProcess)
        : m_rRegistry(rRegistry), m_rFiles(rFiles), m_rProcess(rProcess) {}

    FakeRegistryPort& FakeRegistry() noexcept { return m_rRegistry; }
    FakeFilePort& FakeFiles() noexcept { return m_rFiles; }
    RegistryPort& Registry() noexcept override { return m_rRegistry; }
    FilePort& Files() noexcept override { return m_rFiles; }
    FolderPort& Folders() noexcept override { return m_rFiles; }
    XString ComputerName() override {
        XCHAR szName[64] = {};
        return m_rProcess.ComputerName(szName, std::size(szName)) != 0 ? XString(szName) : XString();
    }
    XString SpoolFolder() override {
        m_rFiles.AddFolder(FOLDER);
        return FOLDER;
    }

private:
    static constexpr const XCHAR* FOLDER = VTEXT("C:\\windows\\system32\\spool");
    FakeRegistryPort& m_rRegistry;
    FakeFilePort& m_rFiles;
    FakeProcessPort& m_rProcess;
};

/// The four ports of the embedded spooler on it.
struct EmbeddedPorts {
    explicit EmbeddedPorts(host::SpoolerGround& rGround)
        : spooler(rGround), queues(rGround), data(rGround), drivers(rGround) {}
    host::HostSpoolerPort spooler;
    host::HostPrintQueuePort queues;
    host::HostPrinterDataPort data;
    host::HostPrinterDriverPort drivers;
};

}  // namespace vlm::test
