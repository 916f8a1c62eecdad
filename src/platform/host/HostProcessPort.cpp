/// @file
/// Names of the process and its modules on the host.
#include "platform/host/HostProcessPort.h"

#include <dlfcn.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <climits>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <new>
#include <system_error>

#include "platform/host/HostIds.h"
#include "platform/host/HostNames.h"

namespace vlm::host {

namespace {

std::size_t CopyTerminated(std::string_view svBytes, XCHAR* pTarget, std::size_t cCapacity) {
    const std::basic_string<XCHAR> units = UnitsFromBytes(svBytes);
    if (pTarget == nullptr || units.size() >= cCapacity) return 0;
    *std::copy(units.begin(), units.end(), pTarget) = 0;
    return units.size();
}

}  // namespace

std::size_t HostProcessPort::ModulePath(HINSTANCE hModule, XCHAR* pTarget, std::size_t cCapacity) noexcept try {
    if (hModule != nullptr) {
        Dl_info oInfo{};
        if (dladdr(hModule, &oInfo) == 0 || oInfo.dli_fname == nullptr) return 0;
        // The loader keeps the name that it was asked for, which may be relative.
        const std::unique_ptr<char, decltype(&std::free)> apszFull(realpath(oInfo.dli_fname, nullptr), &std::free);
        return CopyTerminated(apszFull ? apszFull.get() : oInfo.dli_fname, pTarget, cCapacity);
    }
    std::string path(256, '\0');
    for (;;) {
        const ssize_t cBytes = readlink("/proc/self/exe", path.data(), path.size());
        if (cBytes <= 0) return 0;
        if (static_cast<std::size_t>(cBytes) < path.size()) {
            return CopyTerminated({path.data(), static_cast<std::size_t>(cBytes)}, pTarget, cCapacity);
        }
        path.resize(path.size() * 2);
    }
} catch (const std::bad_alloc&) {
    return 0;
}

std::size_t HostProcessPort::LibraryPath(XCHAR* pTarget, std::size_t cCapacity) noexcept {
    return ModulePath(reinterpret_cast<HINSTANCE>(&CopyTerminated), pTarget, cCapacity);
}

Status HostProcessPort::SystemFolder(XCHAR*, std::size_t) noexcept {
    return Status::NotSupported;
}

Status HostProcessPort::LoadResources(const XCHAR*, HINSTANCE&) noexcept {
    return Status::NotSupported;
}

Status HostProcessPort::FreeResources(HINSTANCE) noexcept {
    return Status::InvalidHandle;
}

DWORD HostProcessPort::CurrentProcessId() noexcept {
    return CurrentProcess();
}

std::size_t HostProcessPort::EnvironmentVariable(const XCHAR* pszName, XCHAR* pTarget, std::size_t cCapacity) noexcept
    try {
    std::string name;
    if (pszName == nullptr || !BytesFromUnits(pszName, name)) return 0;
    const char* pszValue = std::getenv(name.c_str());
    return pszValue ? CopyTerminated(pszValue, pTarget, cCapacity) : 0;
} catch (const std::bad_alloc&) {
    return 0;
}

std::size_t HostProcessPort::CommandLine(XCHAR* pTarget, std::size_t cCapacity) noexcept {
    const std::size_t cUnits = ModulePath(nullptr, pTarget, cCapacity);
    std::replace(pTarget, pTarget + cUnits, VTEXT('/'), VTEXT('\\'));
    return cUnits;
}

std::size_t HostProcessPort::ComputerName(XCHAR* pTarget, std::size_t cCapacity) noexcept try {
    char acName[HOST_NAME_MAX + 1] = {};
    return gethostname(acName, sizeof(acName) - 1) == 0 ? CopyTerminated(acName, pTarget, cCapacity) : 0;
} catch (const std::bad_alloc&) {
    return 0;
}

std::size_t HostProcessPort::ProcessIds(DWORD* pdwIds, std::size_t cCapacity) noexcept try {
    std::size_t cIds = 0;
    std::error_code oError;
    if (pdwIds == nullptr) return 0;
    for (std::filesystem::directory_iterator it("/proc", oError), end; !oError && it != end && cIds < cCapacity;
         it.increment(oError)) {
        const std::string name = it->path().filename().string();
        DWORD dwId = 0;
        const auto [pszEnd, eError] = std::from_chars(name.data(), name.data() + name.size(), dwId);
        if (eError == std::errc() && pszEnd == name.data() + name.size()) pdwIds[cIds++] = dwId;
    }
    return cIds;
} catch (const std::exception&) {
    return 0;
}

}  // namespace vlm::host
