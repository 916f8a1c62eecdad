/// @file
/// Tells ordinary files on local drives from everything else that a path may lead to.
#include "platform/win32/Win32PlainFile.h"

#include <new>
#include <string>

namespace vlm::win32 {

namespace {

constexpr std::size_t DRIVE_UNITS = 3;  // "C:\"

/// What one of the system's functions of the kind "answers the length, or the room it needs" has to say.
/// @throws std::bad_alloc
template <typename Call>
std::wstring TextOf(Call call) {
    std::wstring text(call(nullptr, 0), L'\0');
    const DWORD dwUnits = text.empty() ? 0 : call(text.data(), static_cast<DWORD>(text.size()));
    text.resize(dwUnits < text.size() ? dwUnits : 0);
    return text;
}

/// The path in full and without its prefix: "C:\folder\file".
std::wstring FullPath(const XCHAR* pszPath) {
    std::wstring path =
        TextOf([&](wchar_t* pszTarget, DWORD dwRoom) { return GetFullPathNameW(pszPath, dwRoom, pszTarget, nullptr); });
    if (path.starts_with(L"\\\\?\\") && path.size() > 6 && path[5] == L':') path.erase(0, 4);
    return path;
}

/// The same with short names replaced by the long ones; empty when there is no such thing.
std::wstring LongPath(const std::wstring& rPath) {
    return TextOf([&](wchar_t* pszTarget, DWORD dwRoom) { return GetLongPathNameW(rPath.c_str(), pszTarget, dwRoom); });
}

/// Where an open handle really is, in the form of FullPath.
std::wstring PlaceOf(HANDLE hFile) {
    std::wstring path = TextOf([&](wchar_t* pszTarget, DWORD dwRoom) {
        return GetFinalPathNameByHandleW(hFile, pszTarget, dwRoom, FILE_NAME_NORMALIZED | VOLUME_NAME_DOS);
    });
    return path.starts_with(L"\\\\?\\") ? path.substr(4) : std::wstring();
}

bool IsSame(const std::wstring& rLeft, const std::wstring& rRight) noexcept {
    return !rLeft.empty() && CompareStringOrdinal(rLeft.c_str(), static_cast<int>(rLeft.size()), rRight.c_str(),
                                                  static_cast<int>(rRight.size()), TRUE) == CSTR_EQUAL;
}

bool IsOnLocalDrive(const std::wstring& rPath) noexcept {
    // A second colon would name a stream; device names have lost their folder by now.
    if (rPath.size() <= DRIVE_UNITS || rPath[1] != L':' || rPath[2] != L'\\' || rPath.find(L':', 2) != rPath.npos) {
        return false;
    }
    switch (GetDriveTypeW(rPath.substr(0, DRIVE_UNITS).c_str())) {
        case DRIVE_FIXED:
        case DRIVE_REMOVABLE:
        case DRIVE_RAMDISK:
            return true;
        default:
            return false;
    }
}

}  // namespace

Status CheckPlainPath(const XCHAR* pszPath) noexcept try {
    const std::wstring path = FullPath(pszPath);
    if (!IsOnLocalDrive(path)) return Status::AccessDenied;
    std::wstring folder = path.substr(0, path.rfind(L'\\'));
    if (folder.size() < DRIVE_UNITS) folder += L'\\';
    const HANDLE hFolder = CreateFileW(folder.c_str(), 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                       nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
    if (hFolder == INVALID_HANDLE_VALUE) return LastStatus();
    bool fSame = false;
    try {
        fSame = IsSame(PlaceOf(hFolder), LongPath(folder));
    } catch (const std::bad_alloc&) {
        fSame = false;
    }
    CloseHandle(hFolder);
    return fSame ? Status::Success : Status::AccessDenied;
} catch (const std::bad_alloc&) {
    return Status::NotEnoughMemory;
}

Status CheckPlainFile(HANDLE hFile, const XCHAR* pszPath) noexcept try {
    constexpr DWORD dwOthers = FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT | FILE_ATTRIBUTE_DEVICE;
    BY_HANDLE_FILE_INFORMATION oInformation{};
    if (GetFileType(hFile) != FILE_TYPE_DISK) return Status::AccessDenied;
    if (!GetFileInformationByHandle(hFile, &oInformation)) return LastStatus();
    const bool fPlain = (oInformation.dwFileAttributes & dwOthers) == 0 && oInformation.nNumberOfLinks == 1 &&
                        IsSame(PlaceOf(hFile), LongPath(FullPath(pszPath)));
    return fPlain ? Status::Success : Status::AccessDenied;
} catch (const std::bad_alloc&) {
    return Status::NotEnoughMemory;
}

}  // namespace vlm::win32
