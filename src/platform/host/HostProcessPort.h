/// @file
/// The process on the host.
#pragma once

#include "platform/ProcessPort.h"

namespace vlm::host {

class HostProcessPort final : public ProcessPort {
public:
    System DescribeSystem() noexcept override { return {.fWindows = false, .f64Bit = sizeof(void*) == 8}; }
    std::size_t ModulePath(HINSTANCE hModule, XCHAR* pTarget, std::size_t cCapacity) noexcept override;
    std::size_t LibraryPath(XCHAR* pTarget, std::size_t cCapacity) noexcept override;
    Status SystemFolder(XCHAR* pTarget, std::size_t cCapacity) noexcept override;
    Status LoadResources(const XCHAR* pszPath, HINSTANCE& rhModule) noexcept override;
    Status FreeResources(HINSTANCE hModule) noexcept override;
    DWORD CurrentProcessId() noexcept override;
    std::size_t EnvironmentVariable(const XCHAR* pszName, XCHAR* pTarget, std::size_t cCapacity) noexcept override;
    std::size_t CommandLine(XCHAR* pTarget, std::size_t cCapacity) noexcept override;
    std::size_t ComputerName(XCHAR* pTarget, std::size_t cCapacity) noexcept override;
    std::size_t ProcessIds(DWORD* pdwIds, std::size_t cCapacity) noexcept override;
};

}  // namespace vlm::host
