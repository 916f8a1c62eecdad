/// @file
/// The one door to the operating system: a set of ports, exchangeable as a whole or one by one in tests.
#pragma once

#include "platform/Export.h"
#include "platform/WinTypes.h"

namespace vlm {

class CabinetPort;
class ClockPort;
class CryptoPort;
class DesktopPort;
class EventPort;
class FilePort;
class FolderPort;
class IdentityPort;
class OpenFilePort;
class PrinterDataPort;
class PrinterDriverPort;
class PrintQueuePort;
class ProcessPort;
class ProfilePort;
class RegistryPort;
class SpoolerPort;
class SessionPort;
class TextPort;
class ThreadPort;

/// Borrowed pointers to the ports in force; never null.
struct Platform {
    TextPort* pText;
    FilePort* pFiles;
    OpenFilePort* pOpenFiles;
    FolderPort* pFolders;
    RegistryPort* pRegistry;
    CabinetPort* pCabinet;
    DesktopPort* pDesktop;
    ProcessPort* pProcess;
    ThreadPort* pThreads;
    ClockPort* pClock;
    SpoolerPort* pSpooler;
    PrintQueuePort* pQueues;
    PrinterDataPort* pPrinterData;
    PrinterDriverPort* pDrivers;
    CryptoPort* pCrypto;
    IdentityPort* pIdentity;
    EventPort* pEvents;
    SessionPort* pSessions;
    ProfilePort* pProfiles;
};

/// The system's own ports: Windows, or the host's adapters.  Valid before any constructor of the library has run.
const Platform& GetSystemPlatform() noexcept;

/// The ports in force: the system's, unless a test has put others in place.  One atomic read.
/// Threads: any.
VLM_API const Platform& GetPlatform() noexcept;

/// Puts `pPlatform` in force (null: the system's again) and returns the former set.  The caller keeps the set alive.
VLM_API const Platform* ExchangePlatform(const Platform* pPlatform) noexcept;

/// Puts a set of ports in force for its own lifetime.
class PlatformScope {
public:
    explicit PlatformScope(const Platform& rPlatform) noexcept : m_pFormer(ExchangePlatform(&rPlatform)) {}
    ~PlatformScope() { ExchangePlatform(m_pFormer); }
    PlatformScope(const PlatformScope&) = delete;
    PlatformScope& operator=(const PlatformScope&) = delete;

private:
    const Platform* m_pFormer;
};

}  // namespace vlm
