/// @file
/// Folders over kernel32.
#include "platform/win32/Win32FolderPort.h"

#include <algorithm>
#include <iterator>
#include <string_view>

#include "platform/win32/SystemPath.h"

namespace vlm::win32 {

namespace {

/// Seconds since 1970 of the system's count of 100 nanoseconds since 1601.
LONGLONG SecondsOf(const FILETIME& rTime) noexcept {
    constexpr LONGLONG UNITS_PER_SECOND = 10'000'000, SECONDS_TO_1970 = 11'644'473'600;
    const LONGLONG llUnits = static_cast<LONGLONG>((ULONGLONG{rTime.dwHighDateTime} << 32) | rTime.dwLowDateTime);
    return llUnits / UNITS_PER_SECOND - SECONDS_TO_1970;
}

class LockScope {
public:
    explicit LockScope(SRWLOCK& rLock) noexcept : m_rLock(rLock) { AcquireSRWLockExclusive(&rLock); }
    ~LockScope() { ReleaseSRWLockExclusive(&m_rLock); }
    LockScope(const LockScope&) = delete;
    LockScope& operator=(const LockScope&) = delete;

private:
    SRWLOCK& m_rLock;
};

bool IsDots(const XCHAR* pszName) noexcept {
    const std::wstring_view svName(pszName);
    return svName == L"." || svName == L"..";
}

static_assert(FolderPort::MAX_NAME_UNITS == std::size(WIN32_FIND_DATAW{}.cFileName) &&
              FolderPort::ATTRIBUTE_LINK == FILE_ATTRIBUTE_REPARSE_POINT);

}  // namespace

/// A folder that is being listed, with the entry that comes next.
struct Win32FolderPort::List {
    explicit List(const XCHAR* pszPattern) noexcept
        : hFind(FindFirstFileExW(pszPattern, FindExInfoBasic, &oNext, FindExSearchNameMatch, nullptr, 0)),
          fNext(hFind != INVALID_HANDLE_VALUE) {}
    /// Moves on to the next entry, and remembers why there is none.
    void Advance() noexcept {
        fNext = FindNextFileW(hFind, &oNext) != FALSE;
        if (!fNext && GetLastError() != ERROR_NO_MORE_FILES) eEnd = LastStatus();
    }
    ~List() {
        if (hFind != INVALID_HANDLE_VALUE) FindClose(hFind);
    }
    List(const List&) = delete;
    List& operator=(const List&) = delete;

    WIN32_FIND_DATAW oNext{};
    HANDLE hFind;
    bool fNext;
    Status eEnd = Status::NoMoreItems;
};

Status Win32FolderPort::OpenFolder(const XCHAR* pszPath, HANDLE& rhFolder) noexcept {
    return WithPath(pszPath, [&](const XCHAR* pszSystem) {
        const DWORD dwAttributes = GetFileAttributesW(pszSystem);
        if (dwAttributes == INVALID_FILE_ATTRIBUTES) {
            return GetLastError() == ERROR_FILE_NOT_FOUND ? Status::PathNotFound : LastStatus();
        }
        if ((dwAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0) return Status::Directory;
        std::wstring pattern(pszSystem);
        if (pattern.back() != L'\\' && pattern.back() != L'/') pattern += L'\\';
        const auto shpoList = std::make_shared<List>((pattern + L'*').c_str());
        // An empty root has not even dots; it then lists nothing, but has no handle either.
        if (shpoList->hFind == INVALID_HANDLE_VALUE && GetLastError() != ERROR_FILE_NOT_FOUND) return LastStatus();
        const HANDLE hFolder = shpoList->fNext ? shpoList->hFind : static_cast<HANDLE>(shpoList.get());
        const LockScope oLock(m_oLock);
        if (!m_apoLists) m_apoLists = std::make_unique<Lists>();
        (*m_apoLists)[hFolder] = shpoList;
        rhFolder = hFolder;
        return Status::Success;
    });
}

Status Win32FolderPort::NextEntry(HANDLE hFolder, Entry& rEntry) noexcept {
    std::shared_ptr<List> shpoList;
    {
        const LockScope oLock(m_oLock);
        const auto it = m_apoLists ? m_apoLists->find(hFolder) : Lists::iterator();
        if (!m_apoLists || it == m_apoLists->end()) return Status::InvalidHandle;
        shpoList = it->second;
    }
    while (shpoList->fNext && IsDots(shpoList->oNext.cFileName))
        shpoList->Advance();
    if (!shpoList->fNext) return shpoList->eEnd;
    const WIN32_FIND_DATAW& rFound = shpoList->oNext;
    Entry oEntry;
    std::copy(std::begin(rFound.cFileName), std::end(rFound.cFileName), oEntry.szName);
    oEntry.dwAttributes = rFound.dwFileAttributes ? rFound.dwFileAttributes : FILE_ATTRIBUTE_NORMAL;
    if ((oEntry.dwAttributes & (FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT)) == 0) {
        oEntry.ullSize = (ULONGLONG{rFound.nFileSizeHigh} << 32) | rFound.nFileSizeLow;
    }
    oEntry.llWritten = SecondsOf(rFound.ftLastWriteTime);
    shpoList->Advance();
    rEntry = oEntry;
    return Status::Success;
}

Status Win32FolderPort::CloseFolder(HANDLE hFolder) noexcept {
    const LockScope oLock(m_oLock);
    return m_apoLists && m_apoLists->erase(hFolder) != 0 ? Status::Success : Status::InvalidHandle;
}

Status Win32FolderPort::RemoveFolder(const XCHAR* pszPath) noexcept {
    return WithPath(pszPath, [](const XCHAR* pszSystem) { return StatusOf(RemoveDirectoryW(pszSystem)); });
}

Status Win32FolderPort::CopyTo(const XCHAR* pszFrom, const XCHAR* pszTo, bool fReplace) noexcept {
    return WithPath(pszFrom, [&](const XCHAR* pszSystemFrom) {
        return WithPath(pszTo, [&](const XCHAR* pszSystemTo) {
            if (!CopyFileW(pszSystemFrom, pszSystemTo, fReplace ? FALSE : TRUE)) return LastStatus();
            // Some systems leave the attributes behind.
            const DWORD dwFrom = GetFileAttributesW(pszSystemFrom), dwTo = GetFileAttributesW(pszSystemTo);
            if (dwFrom == INVALID_FILE_ATTRIBUTES || dwTo == INVALID_FILE_ATTRIBUTES) return LastStatus();
            return ((dwFrom ^ dwTo) & FILE_ATTRIBUTE_READONLY) == 0 ? Status::Success
                                                                    : StatusOf(SetFileAttributesW(pszSystemTo, dwFrom));
        });
    });
}

Status Win32FolderPort::DeleteAtRestart(const XCHAR* pszPath) noexcept {
    return WithPath(pszPath, [](const XCHAR* pszSystem) {
        // The system would keep what is missing on its list, too.
        if (GetFileAttributesW(pszSystem) == INVALID_FILE_ATTRIBUTES) return LastStatus();
        return StatusOf(MoveFileExW(pszSystem, nullptr, MOVEFILE_DELAY_UNTIL_REBOOT));
    });
}

}  // namespace vlm::win32
