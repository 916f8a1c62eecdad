/// @file
/// The set of ports on the host.
#include "platform/Platform.h"
#include "platform/host/HostCabinetPort.h"
#include "platform/host/HostClockPort.h"
#include "platform/host/HostCryptoPort.h"
#include "platform/host/HostDesktopPort.h"
#include "platform/host/HostFilePort.h"
#include "platform/host/HostProcessPort.h"
#include "platform/host/HostRegistryPort.h"
#include "platform/host/HostSpoolerPort.h"
#include "platform/host/HostTextPort.h"
#include "platform/host/HostThreadPort.h"
#include "platform/host/Undying.h"

namespace vlm {

namespace host {
namespace {

constinit Undying<HostTextPort> goText;
constinit Undying<HostFilePort> goFiles;
constinit Undying<HostRegistryPort> goRegistry;
constinit Undying<HostDesktopPort> goDesktop;
constinit Undying<HostProcessPort> goProcess;
constinit Undying<HostThreadPort> goThreads;
constinit Undying<HostClockPort> goClock;
constinit Undying<HostSpoolerPort> goSpooler;
constinit Undying<HostCryptoPort> goCrypto;

}  // namespace
}  // namespace host

const Platform& GetSystemPlatform() noexcept {
    static const Platform soPlatform{&host::goText.object,       &host::goFiles.object,   &host::goRegistry.object,
                                     &HostCabinetPortInstance(), &host::goDesktop.object, &host::goProcess.object,
                                     &host::goThreads.object,    &host::goClock.object,   &host::goSpooler.object,
                                     &host::goCrypto.object};
    return soPlatform;
}

}  // namespace vlm
