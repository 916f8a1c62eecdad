/// @file
/// Port: folders, and what is done to paths as a whole.
#pragma once

#include "platform/WinTypes.h"

namespace vlm {

/// Lists, removals and copies by path; the rules for paths are FilePort's.
/// Ownership: a list's handle belongs to the caller until CloseFolder.
/// Threads: any; one list by one thread at a time.  Failure: by status; nothing throws; outputs keep their values then.
class FolderPort {
public:
    /// Units of the longest name of one entry, with its terminator.
    static constexpr std::size_t MAX_NAME_UNITS = 260;
    /// Attribute of an entry that leads elsewhere: a symbolic link, a junction, another reparse point.
    static constexpr DWORD ATTRIBUTE_LINK = 0x400;

    struct Entry {
        XCHAR szName[MAX_NAME_UNITS] = {};
        DWORD dwAttributes = 0;  ///< of the entry itself, not of what it leads to
        ULONGLONG ullSize = 0;   ///< in bytes; 0 for folders and links
        LONGLONG llWritten = 0;  ///< seconds since 1970-01-01 00:00 UTC
    };

    virtual ~FolderPort() = default;

    /// Begins to list a folder.
    /// @return PathNotFound when there is none, Directory when the path leads to a file, AccessDenied.
    virtual Status OpenFolder(const XCHAR* pszPath, HANDLE& rhFolder) noexcept = 0;
    /// The next entry, in the system's order, "." and ".." left out.  What is made or removed meanwhile may be in it or
    /// not; everything else comes once.
    /// @return NoMoreItems at the end, InvalidHandle.
    virtual Status NextEntry(HANDLE hFolder, Entry& rEntry) noexcept = 0;
    virtual Status CloseFolder(HANDLE hFolder) noexcept = 0;
    /// Removes an empty folder, or a link to one, whose target stays.
    /// @return DirectoryNotEmpty, FileNotFound, Directory when it is a file.
    virtual Status RemoveFolder(const XCHAR* pszPath) noexcept = 0;

    /// Copies a file's contents and attributes.  A failure half way leaves no target behind.
    /// @return FileExists without `fReplace`, SharingViolation, AccessDenied for folders and a read-only target.
    virtual Status CopyTo(const XCHAR* pszFrom, const XCHAR* pszTo, bool fReplace) noexcept = 0;
    /// Has the system delete a file when it starts the next time.
    /// @return AccessDenied without an administrator's rights; NotSupported on the host, which keeps no such list:
    /// nothing there is held so that it cannot be deleted at once.
    virtual Status DeleteAtRestart(const XCHAR* pszPath) noexcept = 0;
};

}  // namespace vlm
