/// @file
/// Port: files.
#pragma once

#include "platform/WinTypes.h"

namespace vlm {

/// Files by path and by handle.  Paths are zero-terminated UTF-16; longer than 260 units is fine; "\\" and "/" both
/// separate components.  A null or empty path answers PathNotFound.
/// Sharing and attributes follow the Windows rules on every platform; on the host among users of this port only.
/// Ownership: a handle belongs to the caller until Close, whose success or failure ends it either way.
/// Threads: any; one handle by one thread at a time.  Failure: by status; nothing throws; output arguments other than
/// counts keep their values after a failure.
class FilePort {
public:
    enum class Access : DWORD {
        Read,
        ReadWrite,
        Write,       ///< without the right to read
        Attributes,  ///< neither reads nor writes, only what OpenFilePort tells and sets; others need not share it, but
                     ///< for `fDeleteAccess`; opens read-only files, too
    };
    enum class Disposition : DWORD { OpenExisting, CreateAlways, CreateNew, OpenAlways };
    enum Share : DWORD { ShareNone = 0, ShareRead = 1, ShareWrite = 2, ShareDelete = 4 };
    /// Attribute bits as the system numbers them.
    static constexpr DWORD ATTRIBUTE_READONLY = 0x1, ATTRIBUTE_HIDDEN = 0x2, ATTRIBUTE_SYSTEM = 0x4,
                           ATTRIBUTE_DIRECTORY = 0x10, ATTRIBUTE_ARCHIVE = 0x20, ATTRIBUTE_NORMAL = 0x80;

    struct OpenOptions {
        Access eAccess = Access::Read;
        Disposition eDisposition = Disposition::OpenExisting;
        DWORD dwShare = ShareRead;
        /// Nothing of a client's identity beyond its name is lent to whatever answers at the path (named pipes).
        bool fIdentificationOnly = true;
        /// Asks for the right to delete by handle.  Counts as a use that other opens must share with ShareDelete.
        bool fDeleteAccess = false;
        /// Opens, or creates, an ordinary file on a local drive and nothing else: no link leads to it, neither at the
        /// end of the path nor on the way, and it has no other name.  Anything else answers AccessDenied.  For callers
        /// with rights that whoever chose the path may lack.
        bool fPlainLocalFile = false;
    };

    virtual ~FilePort() = default;

    /// Opens or creates a file.  CreateAlways empties an existing file only once the open is certain to succeed.
    /// @return FileNotFound (missing file), PathNotFound (missing folder on the way), AccessDenied (a folder, no
    /// rights, a
    ///         read-only file opened for writing), FileExists (CreateNew), SharingViolation, DiskFull, WriteProtect,
    ///         TooManyOpenFiles, InvalidName.
    virtual Status Open(const XCHAR* pszPath, const OpenOptions& rOptions, HANDLE& rhFile) noexcept = 0;
    /// @return InvalidHandle for a handle that is not open; any other failure still closes.
    virtual Status Close(HANDLE hFile) noexcept = 0;
    /// Size in bytes.
    virtual Status Size(HANDLE hFile, ULONGLONG& rullSize) noexcept = 0;
    /// Reads up to `dwBytes` at the file position and moves it; fewer only at the end of the file (0 with Success
    /// there). `rdwRead` is set in every case.
    /// @return AccessDenied on a handle opened for writing alone.
    virtual Status Read(HANDLE hFile, void* pTarget, DWORD dwBytes, DWORD& rdwRead) noexcept = 0;
    /// Writes at the file position and moves it.  `rdwWritten` is set in every case; fewer than asked only with a
    /// failure.
    /// @return AccessDenied on a handle opened for reading, DiskFull.
    virtual Status Write(HANDLE hFile, const void* pSource, DWORD dwBytes, DWORD& rdwWritten) noexcept = 0;
    /// Sets the file position, in bytes from the start; beyond the end is allowed (a write there leaves zeros between).
    virtual Status Seek(HANDLE hFile, ULONGLONG ullOffset) noexcept = 0;
    /// Cuts or extends (with zeros) the file at its position; fails on a handle opened for reading (some systems with
    /// InvalidParameter).  @return UserMappedFile for a cut below a mapping that a view shows.
    virtual Status SetEnd(HANDLE hFile) noexcept = 0;
    /// Returns when what was written is on the medium.
    virtual Status Flush(HANDLE hFile) noexcept = 0;
    /// ReadOnly and Directory are kept on every system; other bits are what the system makes of them, never 0.
    virtual Status GetAttributes(const XCHAR* pszPath, DWORD& rdwAttributes) noexcept = 0;
    virtual Status SetAttributes(const XCHAR* pszPath, DWORD dwAttributes) noexcept = 0;
    /// @return AccessDenied for a folder or a read-only file, SharingViolation while somebody holds it without
    /// ShareDelete.
    virtual Status Delete(const XCHAR* pszPath) noexcept = 0;
    /// Deletes the file behind an open handle, whatever its path leads to by now; the name is gone at the latest when
    /// the last handle closes.  @return AccessDenied when the handle was opened without `fDeleteAccess`.
    virtual Status DeleteByHandle(HANDLE hFile) noexcept = 0;
    /// Renames a file or folder within one volume in one step; `fReplace` allows an existing target.
    /// @return AlreadyExists (without `fReplace`), SharingViolation (source held without ShareDelete), AccessDenied
    /// (target
    ///         is a folder or held), NotSameDevice.
    virtual Status Move(const XCHAR* pszFrom, const XCHAR* pszTo, bool fReplace) noexcept = 0;
    /// @return AlreadyExists, PathNotFound when the parent is missing.
    virtual Status CreateDirectoryAt(const XCHAR* pszPath) noexcept = 0;
};

}  // namespace vlm
