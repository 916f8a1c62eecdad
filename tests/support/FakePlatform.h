/// @file
/// A whole platform in memory, for one test.
#pragma once

#include "platform/EmbeddedProfiles.h"
#include "platform/Platform.h"
#include "support/FakeCryptoPort.h"
#include "support/FakeEventPort.h"
#include "support/FakeFilePort.h"
#include "support/FakeIdentityPort.h"
#include "support/FakePorts.h"
#include "support/FakePrintingPorts.h"
#include "support/FakeRegistryPort.h"
#include "support/FakeSessionPort.h"
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
        : m_oPlatform{
              .pText = &text,
              .pFiles = &files,
              .pOpenFiles = &files,
              .pFolders = &files,
              .pRegistry = &registry,
              .pCabinet = GetSystemPlatform().pCabinet,
              .pDesktop = &desktop,
              .pProcess = &process,
              .pThreads = &threads,
              .pClock = &clock,
              .pSpooler = &spooler,
              .pQueues = &printing,
              .pPrinterData = &printing,
              .pDrivers = &printing,
              .pCrypto = &crypto,
              .pIdentity = &identity,
              .pEvents = &events,
              .pSessions = &sessions,
              .pProfiles = &profiles,
          } {}

    const Platform& Get() const noexcept { return m_oPlatform; }

    /// Handles, slots, blocks, tokens, atoms and threads that are taken at the moment.
    std::size_t TakenResources() const {
        return files.OpenHandles() + registry.OpenHandles() + spooler.OpenHandles() + printing.OpenHandles() +
               crypto.OpenHandles() + static_cast<std::size_t>(threads.OpenSlots()) +
               static_cast<std::size_t>(threads.LocalBlocks()) + events.OpenHandles() + events.RunningThreads() +
               identity.OpenTokens() + sessions.LivingAtoms();
    }

    /// The process is gone: handles vanish, disk and registry stay as they are.
    void DropHandles() {
        files.DropHandles();
        registry.DropHandles();
        spooler.DropHandles();
        crypto.DropHandles();
        events.DropHandles();
    }

    FakeTextPort text;
    FakeFilePort files;
    FakeRegistryPort registry;
    FakeDesktopPort desktop;
    FakeProcessPort process;
    FakeThreadPort threads;
    FakeClockPort clock;
    FakeSpoolerPort spooler{registry, files, process};
    FakePrintingPorts printing{spooler};
    FakeCryptoPort crypto;
    FakeIdentityPort identity;
    FakeEventPort events;
    FakeSessionPort sessions;
    EmbeddedProfiles profiles{files, text};  ///< on the disk in memory

private:
    Platform m_oPlatform;
};

}  // namespace vlm::test
