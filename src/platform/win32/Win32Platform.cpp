/// @file
/// The set of ports on Windows.
#include "platform/Platform.h"
#include "platform/win32/System.h"
#include "platform/win32/Win32CabinetPort.h"
#include "platform/win32/Win32ClockPort.h"
#include "platform/win32/Win32CryptoPort.h"
#include "platform/win32/Win32DesktopPort.h"
#include "platform/win32/Win32FilePort.h"
#include "platform/win32/Win32ProcessPort.h"
#include "platform/win32/Win32RegistryPort.h"
#include "platform/win32/Win32SpoolerPort.h"
#include "platform/win32/Win32TextPort.h"
#include "platform/win32/Win32ThreadPort.h"

namespace vlm {

namespace win32 {
namespace {

constinit Undying<Win32TextPort> goText;
constinit Undying<Win32FilePort> goFiles;
constinit Undying<Win32RegistryPort> goRegistry;
constinit Undying<Win32DesktopPort> goDesktop;
constinit Undying<Win32ProcessPort> goProcess;
constinit Undying<Win32ThreadPort> goThreads;
constinit Undying<Win32ClockPort> goClock;
constinit Undying<Win32SpoolerPort> goSpooler;
constinit Undying<Win32CryptoPort> goCrypto;

}  // namespace
}  // namespace win32

const Platform& GetSystemPlatform() noexcept {
    using namespace win32;
    static const Platform soPlatform{
        &goText.object,    &goFiles.object,   &goRegistry.object, &Win32CabinetPortInstance(), &goDesktop.object,
        &goProcess.object, &goThreads.object, &goClock.object,    &goSpooler.object,           &goCrypto.object};
    return soPlatform;
}

}  // namespace vlm
