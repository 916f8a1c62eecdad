/// @file
/// Files over kernel32.
#include "platform/win32/Win32FilePort.h"

#include <climits>

#include "platform/win32/SystemPath.h"
#include "platform/win32/Win32PlainFile.h"

namespace vlm::win32 {

namespace {

/// The pseudo handle -1 stands for the process, and null for nothing: neither is a file.
bool IsFile(HANDLE hFile) noexcept {
    return hFile != nullptr && hFile != INVALID_HANDLE_VALUE;
}

DWORD SystemAccess(FilePort::Access eAccess) noexcept {
    switch (eAccess) {
        case FilePort::Access::ReadWrite:
            return GENERIC_READ | GENERIC_WRITE;
        case FilePort::Access::Write:
            // Appending looks at the size and keeps the end of the file for itself, which needs the attributes.
            return GENERIC_WRITE | FILE_READ_ATTRIBUTES;
        case FilePort::Access::Attributes:
            return FILE_READ_ATTRIBUTES | FILE_WRITE_ATTRIBUTES | SYNCHRONIZE;
        default:
            return GENERIC_READ;
    }
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
        DWORD dwAccess = SystemAccess(rOptions.eAccess);
        if (rOptions.fDeleteAccess) dwAccess |= DELETE;
        DWORD dwFlags = FILE_ATTRIBUTE_NORMAL;
        if (rOptions.fIdentificationOnly) dwFlags |= SECURITY_SQOS_PRESENT | SECURITY_IDENTIFICATION;
        if (rOptions.fPlainLocalFile) {
            dwFlags |= FILE_FLAG_OPEN_REPARSE_POINT;
            if (const Status eStatus = CheckPlainPath(pszSystem); eStatus != Status::Success) return eStatus;
        }
        const auto open = [&](DWORD dw) {
            return CreateFileW(pszSystem, dw, rOptions.dwShare, nullptr, SystemDisposition(rOptions.eDisposition),
                               dwFlags, nullptr);
        };
        HANDLE hFile = open(dwAccess);
        // Some systems take the right to set the attributes of a read-only file for one to write to it, but do not ask
        // for it when they are set.
        if (hFile == INVALID_HANDLE_VALUE && rOptions.eAccess == Access::Attributes &&
            GetLastError() == ERROR_ACCESS_DENIED) {
            hFile = open(dwAccess & ~DWORD{FILE_WRITE_ATTRIBUTES});
        }
        if (hFile == INVALID_HANDLE_VALUE) return LastStatus();
        if (rOptions.fPlainLocalFile) {
            if (const Status eStatus = CheckPlainFile(hFile, pszSystem); eStatus != Status::Success) {
                CloseHandle(hFile);
                return eStatus;
            }
        }
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
