/// @file
/// The set of ports on the host.
#include "platform/EmbeddedProfiles.h"
#include "platform/Platform.h"
#include "platform/StoreChoice.h"
#include "platform/host/HostCabinetPort.h"
#include "platform/host/HostClockPort.h"
#include "platform/host/HostCryptoPort.h"
#include "platform/host/HostDesktopPort.h"
#include "platform/host/HostEventPort.h"
#include "platform/host/HostFilePort.h"
#include "platform/host/HostFolderPort.h"
#include "platform/host/HostIdentityPort.h"
#include "platform/host/HostProcessPort.h"
#include "platform/host/HostRegistryPort.h"
#include "platform/host/HostSessionPort.h"
#include "platform/host/HostSpooler.h"
#include "platform/host/HostStore.h"
#include "platform/host/HostTextPort.h"
#include "platform/host/HostThreadPort.h"
#include "platform/host/Undying.h"

namespace vlm {

namespace host {
namespace {

constinit Undying<HostTextPort> goText;
constinit Undying<HostFilePort> goFiles;
constinit Undying<HostFolderPort> goFolders;
constinit Undying<HostRegistryPort> goRegistry;
constinit Undying<HostDesktopPort> goDesktop;
constinit Undying<HostProcessPort> goProcess;
constinit Undying<HostThreadPort> goThreads;
constinit Undying<HostClockPort> goClock;
constinit Undying<HostSpooler> goSpooler;
constinit Undying<HostCryptoPort> goCrypto;
constinit Undying<HostIdentityPort> goIdentity;
constinit Undying<HostEventPort> goEvents;
constinit Undying<HostSessionPort> goSessions;

struct HostProfilePort final : EmbeddedProfiles {
    constexpr HostProfilePort() noexcept : EmbeddedProfiles(goFiles.object, goText.object) {}
};
constinit Undying<HostProfilePort> goProfiles;

}  // namespace
}  // namespace host

const Platform& GetSystemPlatform() noexcept {
    static const Platform soPlatform{
        .pText = &host::goText.object,
        .pFiles = &host::goFiles.object,
        .pOpenFiles = &host::goFiles.object,
        .pFolders = &host::goFolders.object,
        .pRegistry = &host::goRegistry.object,
        .pCabinet = &HostCabinetPortInstance(),
        .pDesktop = &host::goDesktop.object,
        .pProcess = &host::goProcess.object,
        .pThreads = &host::goThreads.object,
        .pClock = &host::goClock.object,
        .pSpooler = &host::goSpooler.object.spooler,
        .pQueues = &host::goSpooler.object.queues,
        .pPrinterData = &host::goSpooler.object.data,
        .pDrivers = &host::goSpooler.object.drivers,
        .pCrypto = &host::goCrypto.object,
        .pIdentity = &host::goIdentity.object,
        .pEvents = &host::goEvents.object,
        .pSessions = &host::goSessions.object,
        .pProfiles = &host::goProfiles.object,
    };
    return soPlatform;
}

bool ChooseStore(const char* pszFile) noexcept {
    return host::SetHostStorePath(pszFile);
}

}  // namespace vlm
