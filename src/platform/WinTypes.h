/// @file
/// The operating system's plain types, without its header.  On Windows each is identical to the system's own, so
/// <windows.h> may be included before or after; elsewhere each has the same width.
#pragma once

#include <cstdint>

#include "platform/XChar.h"

using BYTE = unsigned char;
using WORD = unsigned short;
using BOOL = int;
using UINT = unsigned int;
#ifdef _WIN32
using DWORD = unsigned long;
using LONG = long;
using HRESULT = long;
#else
using DWORD = std::uint32_t;
using LONG = std::int32_t;
using HRESULT = std::int32_t;
#endif
using LONGLONG = long long;
using ULONGLONG = unsigned long long;

using HANDLE = void*;

extern "C" {
struct HKEY__;
struct HWND__;
struct HINSTANCE__;
struct _devicemodeW;
struct _GUID;
}
using HKEY = HKEY__*;
using HWND = HWND__*;
using HINSTANCE = HINSTANCE__*;
using HMODULE = HINSTANCE__*;

/// The system's device mode.  The library reads its two size fields by their offsets and never needs its definition.
using DEVMODEW = _devicemodeW;

static_assert(sizeof(WORD) == 2 && sizeof(DWORD) == 4 && sizeof(LONG) == 4 && sizeof(ULONGLONG) == 8);

namespace vlm {

/// Status numbers of the operating system that behaviour depends on.  Ports answer these on every platform.
enum class Status : DWORD {
    Success = 0,
    InvalidFunction = 1,
    FileNotFound = 2,
    PathNotFound = 3,
    TooManyOpenFiles = 4,
    AccessDenied = 5,
    InvalidHandle = 6,
    NotEnoughMemory = 8,
    InvalidData = 13,
    NotSameDevice = 17,
    WriteProtect = 19,
    GeneralFailure = 31,
    SharingViolation = 32,
    LockViolation = 33,
    HandleEof = 38,
    NotSupported = 50,
    BadNetworkPath = 53,
    FileExists = 80,
    InvalidParameter = 87,
    DiskFull = 112,
    InsufficientBuffer = 122,
    InvalidName = 123,
    ModuleNotFound = 126,
    DirectoryNotEmpty = 145,
    BadPathName = 161,
    Busy = 170,
    AlreadyExists = 183,
    FileTooLarge = 223,
    MoreData = 234,
    NoMoreItems = 259,
    Directory = 267,
    NotOwner = 288,
    InvalidAddress = 487,
    IoPending = 997,
    NoAccess = 998,
    FileInvalid = 1006,
    BadDatabase = 1009,
    KeyDeleted = 1018,
    KeyHasChildren = 1020,
    ChildMustBeVolatile = 1021,
    UserMappedFile = 1224,
    NotAllAssigned = 1300,
    NoSuchPrivilege = 1313,
    NoneMapped = 1332,
    InvalidWindowHandle = 1400,
    NoSystemResources = 1450,
    TimeOut = 1460,
    ResourceNameNotFound = 1814,
    CannotResolveFileName = 1921,
    BadCryptoData = 0x80090005,
    CryptoFailure = 0x80090020,
};

/// The plain number of a status, for messages.
constexpr DWORD ToDword(Status status) noexcept {
    return static_cast<DWORD>(status);
}

}  // namespace vlm
