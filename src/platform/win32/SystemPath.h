/// @file
/// Paths as the system takes them.
#pragma once

#include <new>
#include <string>

#include "platform/win32/System.h"

namespace vlm::win32 {

/// A path as the system takes it, whatever its length.
class SystemPath {
public:
    /// @throws std::bad_alloc
    explicit SystemPath(const XCHAR* pszPath) : m_pszPath(pszPath) {
        // Folders are limited to 248 units: room for an 8.3 name must remain.
        constexpr std::size_t cShort = 240;
        if (pszPath == nullptr || *pszPath == 0) {
            m_eStatus = Status::PathNotFound;
            return;
        }
        const XStringView svPath(pszPath);
        if (svPath.size() < cShort || svPath.starts_with(L"\\\\?\\") || svPath.starts_with(L"\\\\.\\")) return;
        // The prefix switches the system's own tidying off, so it is done first.
        const DWORD dwRoom = GetFullPathNameW(pszPath, 0, nullptr, nullptr);
        std::wstring full(dwRoom, L'\0');
        const DWORD dwUnits = dwRoom ? GetFullPathNameW(pszPath, dwRoom, full.data(), nullptr) : 0;
        if (dwUnits == 0 || dwUnits >= dwRoom) {
            m_eStatus = dwUnits == 0 ? LastStatus() : Status::GeneralFailure;
            return;
        }
        full.resize(dwUnits);
        m_long = full.starts_with(L"\\\\") ? L"\\\\?\\UNC" + full.substr(1) : L"\\\\?\\" + full;
        m_pszPath = m_long.c_str();
    }
    SystemPath(const SystemPath&) = delete;
    SystemPath& operator=(const SystemPath&) = delete;
    const XCHAR* Get() const noexcept { return m_pszPath; }
    Status GetStatus() const noexcept { return m_eStatus; }

private:
    const XCHAR* m_pszPath;
    std::wstring m_long;
    Status m_eStatus = Status::Success;
};

/// Runs `operation` on the path in the system's form.
template <typename Operation>
Status WithPath(const XCHAR* pszPath, Operation operation) noexcept try {
    const SystemPath oPath(pszPath);
    return oPath.GetStatus() == Status::Success ? operation(oPath.Get()) : oPath.GetStatus();
} catch (const std::bad_alloc&) {
    return Status::NotEnoughMemory;
}

}  // namespace vlm::win32
