/// @file
/// Files over kernel32.
#include "platform/win32/Win32FilePort.h"

#include <climits>
#include <new>
#include <string>

#include "platform/win32/System.h"

namespace vlm::win32 {

namespace {

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

/// The pseudo handle -1 stands for the process, and null for nothing: neither is a file.
bool IsFile(HANDLE hFile) noexcept {
    return hFile != nullptr && hFile != INVALID_HANDLE_VALUE;
}

DWORD SystemDisposition(FilePort::Disposition eDisposition) noexcept {
    switch (eDisposition) {
        case FilePort::Disposition::CreateAlways:
            return CREATE_ALWAYS;
        case FilePort::Disposition::CreateNew:
            return CREATE_NEW;
        case FilePort::Disposition::OpenAlways:
            return OPEN_ALWAYS;
        default:
            return OPEN_EXISTING;
    }
}

static_assert(FilePort::ShareRead == FILE_SHARE_READ && FilePort::ShareWrite == FILE_SHARE_WRITE &&
              FilePort::ShareDelete == FILE_SHARE_DELETE);

}  // namespace

Status Win32FilePort::Open(const XCHAR* pszPath, const OpenOptions& rOptions, HANDLE& rhFile) noexcept {
    return WithPath(pszPath, [&](const XCHAR* pszSystem) {
        DWORD dwAccess = GENERIC_READ;
        if (rOptions.eAccess == Access::ReadWrite) dwAccess |= GENERIC_WRITE;
        if (rOptions.fDeleteAccess) dwAccess |= DELETE;
        DWORD dwFlags = FILE_ATTRIBUTE_NORMAL;
        if (rOptions.fIdentificationOnly) dwFlags |= SECURITY_SQOS_PRESENT | SECURITY_IDENTIFICATION;
        const HANDLE hFile = CreateFileW(pszSystem, dwAccess, rOptions.dwShare, nullptr,
                                         SystemDisposition(rOptions.eDisposition), dwFlags, nullptr);
        if (hFile == INVALID_HANDLE_VALUE) return LastStatus();
        rhFile = hFile;
        return Status::Success;
    });
}

Status Win32FilePort::Close(HANDLE hFile) noexcept {
    return IsFile(hFile) ? StatusOf(CloseHandle(hFile)) : Status::InvalidHandle;
}

Status Win32FilePort::Size(HANDLE hFile, ULONGLONG& rullSize) noexcept {
    LARGE_INTEGER oSize{};
    if (!GetFileSizeEx(hFile, &oSize)) return LastStatus();
    rullSize = static_cast<ULONGLONG>(oSize.QuadPart);
    return Status::Success;
}

Status Win32FilePort::Read(HANDLE hFile, void* pTarget, DWORD dwBytes, DWORD& rdwRead) noexcept {
    rdwRead = 0;
    do {
        DWORD dwOnce = 0;
        if (!ReadFile(hFile, static_cast<char*>(pTarget) + rdwRead, dwBytes - rdwRead, &dwOnce, nullptr)) {
            // The far end of a pipe is gone: the end of the data.
            return GetLastError() == ERROR_BROKEN_PIPE ? Status::Success : LastStatus();
        }
        if (dwOnce == 0) break;
        rdwRead += dwOnce;
    } while (rdwRead < dwBytes);
    return Status::Success;
}

Status Win32FilePort::Write(HANDLE hFile, const void* pSource, DWORD dwBytes, DWORD& rdwWritten) noexcept {
    rdwWritten = 0;
    // Nothing to write, but the handle is still checked by the call.
    do {
        DWORD dwOnce = 0;
        if (!WriteFile(hFile, static_cast<const char*>(pSource) + rdwWritten, dwBytes - rdwWritten, &dwOnce, nullptr)) {
            rdwWritten += dwOnce;
            return LastStatus();
        }
        rdwWritten += dwOnce;
        if (dwOnce == 0 && rdwWritten < dwBytes) return Status::DiskFull;
    } while (rdwWritten < dwBytes);
    return Status::Success;
}

Status Win32FilePort::Seek(HANDLE hFile, ULONGLONG ullOffset) noexcept {
    if (ullOffset > LLONG_MAX) return Status::InvalidParameter;
    LARGE_INTEGER oOffset{};
    oOffset.QuadPart = static_cast<LONGLONG>(ullOffset);
    return StatusOf(SetFilePointerEx(hFile, oOffset, nullptr, FILE_BEGIN));
}

Status Win32FilePort::SetEnd(HANDLE hFile) noexcept {
    return StatusOf(SetEndOfFile(hFile));
}

Status Win32FilePort::Flush(HANDLE hFile) noexcept {
    return StatusOf(FlushFileBuffers(hFile));
}

Status Win32FilePort::GetAttributes(const XCHAR* pszPath, DWORD& rdwAttributes) noexcept {
    return WithPath(pszPath, [&](const XCHAR* pszSystem) {
        WIN32_FILE_ATTRIBUTE_DATA oData{};
        if (!GetFileAttributesExW(pszSystem, GetFileExInfoStandard, &oData)) return LastStatus();
        rdwAttributes = oData.dwFileAttributes ? oData.dwFileAttributes : ATTRIBUTE_NORMAL;
        return Status::Success;
    });
}

Status Win32FilePort::SetAttributes(const XCHAR* pszPath, DWORD dwAttributes) noexcept {
    return WithPath(pszPath,
                    [&](const XCHAR* pszSystem) { return StatusOf(SetFileAttributesW(pszSystem, dwAttributes)); });
}

Status Win32FilePort::Delete(const XCHAR* pszPath) noexcept {
    return WithPath(pszPath, [](const XCHAR* pszSystem) { return StatusOf(DeleteFileW(pszSystem)); });
}

Status Win32FilePort::DeleteByHandle(HANDLE hFile) noexcept {
    FILE_DISPOSITION_INFO oDisposition{};
    oDisposition.DeleteFile = TRUE;
    return StatusOf(SetFileInformationByHandle(hFile, FileDispositionInfo, &oDisposition, sizeof(oDisposition)));
}

Status Win32FilePort::Move(const XCHAR* pszFrom, const XCHAR* pszTo, bool fReplace) noexcept {
    return WithPath(pszFrom, [&](const XCHAR* pszSystemFrom) {
        return WithPath(pszTo, [&](const XCHAR* pszSystemTo) {
            // Without the flag that allows copying: across volumes it would not be one step.
            return StatusOf(MoveFileExW(pszSystemFrom, pszSystemTo, fReplace ? MOVEFILE_REPLACE_EXISTING : 0));
        });
    });
}

Status Win32FilePort::CreateDirectoryAt(const XCHAR* pszPath) noexcept {
    return WithPath(pszPath, [](const XCHAR* pszSystem) { return StatusOf(CreateDirectoryW(pszSystem, nullptr)); });
}

}  // namespace vlm::win32
