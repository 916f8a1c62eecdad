/// @file
/// A whole platform in memory, for one test.
#pragma once

#include "platform/Platform.h"
#include "support/FakeFilePort.h"
#include "support/FakePorts.h"
#include "support/FakeRegistryPort.h"
#include "support/FakeSpoolerPort.h"

namespace vlm::test {

/// The fakes of all ports (the cabinet library is the system's: it works in memory anyway), ready for a PlatformScope:
///
///     FakePlatform oFake;
///     oFake.files.AddFile(VTEXT("C:\\data\\model.bin"), BytesOf("..."));
///     const PlatformScope oScope(oFake.Get());
///
/// Ownership: must outlive every object that uses it.
class FakePlatform {
public:
    FakePlatform() noexcept
        : m_oPlatform{&text,  &files,   &registry, GetSystemPlatform().pCabinet, &desktop, &process, &threads,
                      &clock, &spooler, &crypto} {}

    const Platform& Get() const noexcept { return m_oPlatform; }

    /// Handles, slots and blocks that are taken at the moment.
    std::size_t TakenResources() const {
        return files.OpenHandles() + registry.OpenHandles() + spooler.OpenHandles() +
               static_cast<std::size_t>(threads.OpenSlots()) + static_cast<std::size_t>(threads.LocalBlocks());
    }

    /// The process is gone: handles vanish, disk and registry stay as they are.
    void DropHandles() {
        files.DropHandles();
        registry.DropHandles();
        spooler.DropHandles();
    }

    FakeTextPort text;
    FakeFilePort files;
    FakeRegistryPort registry;
    FakeDesktopPort desktop;
    FakeProcessPort process;
    FakeThreadPort threads;
    FakeClockPort clock;
    FakeSpoolerPort spooler;
    FakeCryptoPort crypto;

private:
    Platform m_oPlatform;
};

}  // namespace vlm::test
