/// @file
/// The set of ports on the host.
#include "platform/Platform.h"
#include "platform/RegistryPort.h"
#include "platform/host/HostCabinetPort.h"
#include "platform/host/HostClockPort.h"
#include "platform/host/HostDesktopPort.h"
#include "platform/host/HostFilePort.h"
#include "platform/host/HostProcessPort.h"
#include "platform/host/HostTextPort.h"
#include "platform/host/HostThreadPort.h"
#include "platform/host/Undying.h"

namespace vlm {

namespace host {
namespace {

/// A registry without keys, until the store is in place.
class EmptyRegistryPort final : public RegistryPort {
public:
    HKEY RootKey(Root) noexcept override { return nullptr; }
    Status Open(HKEY, const XCHAR*, DWORD, HKEY&) noexcept override { return Status::FileNotFound; }
    Status Create(HKEY, const XCHAR*, DWORD, bool, HKEY&, bool&) noexcept override { return Status::AccessDenied; }
    Status Close(HKEY) noexcept override { return Status::InvalidHandle; }
    Status QueryValue(HKEY, const XCHAR*, DWORD&, void*, DWORD&) noexcept override { return Status::InvalidHandle; }
    Status QueryMultipleValues(HKEY, ValueQuery*, DWORD, void*, DWORD&) noexcept override {
        return Status::InvalidHandle;
    }
    Status SetValue(HKEY, const XCHAR*, DWORD, const void*, DWORD) noexcept override { return Status::InvalidHandle; }
    Status DeleteValue(HKEY, const XCHAR*) noexcept override { return Status::InvalidHandle; }
    Status DeleteKey(HKEY, const XCHAR*) noexcept override { return Status::InvalidHandle; }
    Status EnumerateKey(HKEY, DWORD, XCHAR*, DWORD&) noexcept override { return Status::InvalidHandle; }
    Status EnumerateValue(HKEY, DWORD, XCHAR*, DWORD&, DWORD&, void*, DWORD&) noexcept override {
        return Status::InvalidHandle;
    }
    Status OpenCurrentUser(DWORD, HKEY&) noexcept override { return Status::FileNotFound; }
};

constinit Undying<HostTextPort> goText;
constinit Undying<HostFilePort> goFiles;
constinit Undying<EmptyRegistryPort> goRegistry;
constinit Undying<HostDesktopPort> goDesktop;
constinit Undying<HostProcessPort> goProcess;
constinit Undying<HostThreadPort> goThreads;
constinit Undying<HostClockPort> goClock;

}  // namespace
}  // namespace host

const Platform& GetSystemPlatform() noexcept {
    using namespace host;
    static const Platform soPlatform{
        &goText.object,    &goFiles.object,   &goRegistry.object, &HostCabinetPortInstance(),
        &goDesktop.object, &goProcess.object, &goThreads.object,  &goClock.object};
    return soPlatform;
}

}  // namespace vlm
