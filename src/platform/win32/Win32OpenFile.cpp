/// @file
/// Facts, appending and mappings of open files over kernel32.
#include <algorithm>
#include <climits>
#include <new>
#include <string>

#include "platform/win32/System.h"
#include "platform/win32/Win32FilePort.h"

namespace vlm::win32 {

namespace {

/// Whether the file behind a handle is on a drive of this machine; a volume without a drive is taken for another's.
bool IsLocal(HANDLE hFile) {
    std::wstring path(MAX_PATH, L'\0');
    DWORD dwUnits = GetFinalPathNameByHandleW(hFile, path.data(), MAX_PATH, FILE_NAME_NORMALIZED | VOLUME_NAME_DOS);
    if (dwUnits > MAX_PATH) {
        path.resize(dwUnits);
        dwUnits = GetFinalPathNameByHandleW(hFile, path.data(), dwUnits, FILE_NAME_NORMALIZED | VOLUME_NAME_DOS);
    }
    constexpr std::wstring_view PREFIX = L"\\\\?\\";
    if (dwUnits < PREFIX.size() + 3 || dwUnits > path.size() || !path.starts_with(PREFIX)) return false;
    const std::wstring drive = path.substr(PREFIX.size(), 3);
    if (drive[1] != L':') return false;
    const UINT uType = GetDriveTypeW(drive.c_str());
    return uType == DRIVE_FIXED || uType == DRIVE_REMOVABLE || uType == DRIVE_CDROM || uType == DRIVE_RAMDISK;
}

/// Keeps all others that append from the end of the file, by a lock on a byte that no data ever reaches.
class AppendLock {
public:
    explicit AppendLock(HANDLE hFile) noexcept : m_hFile(hFile) {
        constexpr DWORD MOST_MILLISECONDS = 2000;
        constexpr int EAGER_ATTEMPTS = 32;
        const ULONGLONG ullBegin = GetTickCount64();
        for (int i = 0;; ++i) {
            OVERLAPPED oPlace = Place();
            m_eStatus =
                StatusOf(LockFileEx(hFile, LOCKFILE_EXCLUSIVE_LOCK | LOCKFILE_FAIL_IMMEDIATELY, 0, 1, 0, &oPlace));
            const bool fHeld = m_eStatus == Status::LockViolation || m_eStatus == Status::IoPending;
            if (!fHeld || GetTickCount64() - ullBegin >= MOST_MILLISECONDS) break;
            // Whoever has it writes a line, no more.
            Sleep(i < EAGER_ATTEMPTS ? 0 : 1);
        }
    }
    ~AppendLock() {
        if (m_eStatus != Status::Success) return;
        OVERLAPPED oPlace = Place();
        UnlockFileEx(m_hFile, 0, 1, 0, &oPlace);
    }
    AppendLock(const AppendLock&) = delete;
    AppendLock& operator=(const AppendLock&) = delete;
    Status GetStatus() const noexcept { return m_eStatus; }

private:
    static OVERLAPPED Place() noexcept {
        OVERLAPPED oPlace{};
        oPlace.OffsetHigh = 0x40000000;
        return oPlace;
    }
    HANDLE m_hFile;
    Status m_eStatus = Status::Success;
};

}  // namespace

Status Win32FilePort::GetFacts(HANDLE hFile, Facts& rFacts) noexcept try {
    Facts oFacts;
    SetLastError(ERROR_SUCCESS);
    const DWORD dwType = GetFileType(hFile);
    if (dwType == FILE_TYPE_UNKNOWN && GetLastError() != ERROR_SUCCESS) return LastStatus();
    if (dwType == FILE_TYPE_DISK) {
        BY_HANDLE_FILE_INFORMATION oInformation{};
        if (!GetFileInformationByHandle(hFile, &oInformation)) return LastStatus();
        oFacts.dwAttributes = oInformation.dwFileAttributes ? oInformation.dwFileAttributes : ATTRIBUTE_NORMAL;
        oFacts.cLinks = oInformation.nNumberOfLinks;
        oFacts.ullVolume = oInformation.dwVolumeSerialNumber;
        oFacts.ullFile = (ULONGLONG{oInformation.nFileIndexHigh} << 32) | oInformation.nFileIndexLow;
        const FILETIME& rWritten = oInformation.ftLastWriteTime;
        oFacts.ullWritten = (ULONGLONG{rWritten.dwHighDateTime} << 32) | rWritten.dwLowDateTime;
        oFacts.fDisk = true;
        oFacts.fLink = (oInformation.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
        oFacts.fLocal = IsLocal(hFile);
    } else {
        oFacts.dwAttributes = ATTRIBUTE_NORMAL;
    }
    rFacts = oFacts;
    return Status::Success;
} catch (const std::bad_alloc&) {
    return Status::NotEnoughMemory;
}

Status Win32FilePort::SetAttributesOf(HANDLE hFile, DWORD dwAttributes) noexcept {
    constexpr DWORD KEPT = ATTRIBUTE_DIRECTORY | ATTRIBUTE_NORMAL;
    FILE_BASIC_INFO oInformation{};  // zero times stay as they are
    oInformation.FileAttributes = dwAttributes & ~KEPT;
    if (oInformation.FileAttributes == 0) oInformation.FileAttributes = ATTRIBUTE_NORMAL;
    return StatusOf(SetFileInformationByHandle(hFile, FileBasicInfo, &oInformation, sizeof(oInformation)));
}

Status Win32FilePort::Append(HANDLE hFile, const void* pSource, DWORD dwBytes, DWORD& rdwWritten) noexcept {
    rdwWritten = 0;
    const AppendLock oLock(hFile);
    if (oLock.GetStatus() != Status::Success) return oLock.GetStatus();
    if (!SetFilePointerEx(hFile, LARGE_INTEGER{}, nullptr, FILE_END)) return LastStatus();
    return Write(hFile, pSource, dwBytes, rdwWritten);
}

Status Win32FilePort::CreateMappingOf(HANDLE hFile, ULONGLONG ullBytes, bool fWritable, HANDLE& rhMapping) noexcept {
    // The pseudo handle would make a mapping of no file at all.
    if (hFile == nullptr || hFile == INVALID_HANDLE_VALUE) return Status::InvalidHandle;
    if (ullBytes > LLONG_MAX) return Status::InvalidParameter;
    const HANDLE hMapping =
        CreateFileMappingW(hFile, nullptr, fWritable ? PAGE_READWRITE : PAGE_READONLY,
                           static_cast<DWORD>(ullBytes >> 32), static_cast<DWORD>(ullBytes), nullptr);
    if (hMapping == nullptr) return LastStatus();
    rhMapping = hMapping;
    return Status::Success;
}

Status Win32FilePort::MapView(HANDLE hMapping, ULONGLONG ullBytes, void*& rpView) noexcept {
    void* pView = MapViewOfFile(hMapping, FILE_MAP_READ | FILE_MAP_WRITE, 0, 0, ullBytes);
    // A reading mapping allows no more than reading.
    if (pView == nullptr && GetLastError() == ERROR_ACCESS_DENIED) {
        pView = MapViewOfFile(hMapping, FILE_MAP_READ, 0, 0, ullBytes);
    }
    if (pView == nullptr) return LastStatus();
    rpView = pView;
    return Status::Success;
}

Status Win32FilePort::UnmapView(void* pView) noexcept {
    return StatusOf(UnmapViewOfFile(pView));
}

}  // namespace vlm::win32
