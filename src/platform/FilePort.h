/// @file
/// Port: files.
#pragma once

#include "platform/WinTypes.h"

namespace vlm {

/// Files by path and by handle.  Paths are zero-terminated UTF-16; longer than 260 units is fine.
/// Sharing and attributes follow the Windows rules on every platform.
/// Threads: any; one handle by one thread at a time.  Failure: by status; nothing throws.
class FilePort {
public:
    enum class Access : DWORD { Read, ReadWrite };
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
    };

    virtual ~FilePort() = default;

    virtual Status Open(const XCHAR* pszPath, const OpenOptions& rOptions, HANDLE& rhFile) noexcept = 0;
    virtual Status Close(HANDLE hFile) noexcept = 0;
    virtual Status Size(HANDLE hFile, ULONGLONG& rullSize) noexcept = 0;
    /// Reads up to `dwBytes` at the file position; fewer only at the end of the file.
    virtual Status Read(HANDLE hFile, void* pTarget, DWORD dwBytes, DWORD& rdwRead) noexcept = 0;
    virtual Status Write(HANDLE hFile, const void* pSource, DWORD dwBytes, DWORD& rdwWritten) noexcept = 0;
    virtual Status Seek(HANDLE hFile, ULONGLONG ullOffset) noexcept = 0;
    /// Cuts or extends the file at its position.
    virtual Status SetEnd(HANDLE hFile) noexcept = 0;
    virtual Status Flush(HANDLE hFile) noexcept = 0;
    virtual Status GetAttributes(const XCHAR* pszPath, DWORD& rdwAttributes) noexcept = 0;
    virtual Status SetAttributes(const XCHAR* pszPath, DWORD dwAttributes) noexcept = 0;
    virtual Status Delete(const XCHAR* pszPath) noexcept = 0;
    /// Deletes the file behind an open handle, whatever its path leads to by now.
    virtual Status DeleteByHandle(HANDLE hFile) noexcept = 0;
    /// Renames within one volume in one step; `fReplace` allows an existing target.
    virtual Status Move(const XCHAR* pszFrom, const XCHAR* pszTo, bool fReplace) noexcept = 0;
    virtual Status CreateDirectoryAt(const XCHAR* pszPath) noexcept = 0;
};

}  // namespace vlm
