/// @file
/// The set of ports on Windows.
#include "platform/Platform.h"
#include "platform/StoreChoice.h"
#include "platform/win32/System.h"
#include "platform/win32/Win32CabinetPort.h"
#include "platform/win32/Win32ClockPort.h"
#include "platform/win32/Win32CryptoPort.h"
#include "platform/win32/Win32DesktopPort.h"
#include "platform/win32/Win32EventPort.h"
#include "platform/win32/Win32FilePort.h"
#include "platform/win32/Win32FolderPort.h"
#include "platform/win32/Win32IdentityPort.h"
#include "platform/win32/Win32PrintQueuePort.h"
#include "platform/win32/Win32PrinterDataPort.h"
#include "platform/win32/Win32PrinterDriverPort.h"
#include "platform/win32/Win32ProcessPort.h"
#include "platform/win32/Win32ProfilePort.h"
#include "platform/win32/Win32RegistryPort.h"
#include "platform/win32/Win32SessionPort.h"
#include "platform/win32/Win32SpoolerPort.h"
#include "platform/win32/Win32TextPort.h"
#include "platform/win32/Win32ThreadPort.h"

namespace vlm {

namespace win32 {
namespace {

constinit Undying<Win32TextPort> goText;
constinit Undying<Win32FilePort> goFiles;
constinit Undying<Win32FolderPort> goFolders;
constinit Undying<Win32RegistryPort> goRegistry;
constinit Undying<Win32DesktopPort> goDesktop;
constinit Undying<Win32ProcessPort> goProcess;
constinit Undying<Win32ThreadPort> goThreads;
constinit Undying<Win32ClockPort> goClock;
constinit Undying<Win32SpoolerPort> goSpooler;
constinit Undying<Win32PrintQueuePort> goQueues;
constinit Undying<Win32PrinterDataPort> goPrinterData;
constinit Undying<Win32PrinterDriverPort> goDrivers;
constinit Undying<Win32CryptoPort> goCrypto;
constinit Undying<Win32IdentityPort> goIdentity;
constinit Undying<Win32EventPort> goEvents;
constinit Undying<Win32SessionPort> goSessions;
constinit Undying<Win32ProfilePort> goProfiles;

}  // namespace
}  // namespace win32

const Platform& GetSystemPlatform() noexcept {
    using namespace win32;
    static const Platform soPlatform{
        .pText = &goText.object,
        .pFiles = &goFiles.object,
        .pOpenFiles = &goFiles.object,
        .pFolders = &goFolders.object,
        .pRegistry = &goRegistry.object,
        .pCabinet = &Win32CabinetPortInstance(),
        .pDesktop = &goDesktop.object,
        .pProcess = &goProcess.object,
        .pThreads = &goThreads.object,
        .pClock = &goClock.object,
        .pSpooler = &goSpooler.object,
        .pQueues = &goQueues.object,
        .pPrinterData = &goPrinterData.object,
        .pDrivers = &goDrivers.object,
        .pCrypto = &goCrypto.object,
        .pIdentity = &goIdentity.object,
        .pEvents = &goEvents.object,
        .pSessions = &goSessions.object,
        .pProfiles = &goProfiles.object,
    };
    return soPlatform;
}

bool ChooseStore(const char*) noexcept {
    return false;
}

}  // namespace vlm
