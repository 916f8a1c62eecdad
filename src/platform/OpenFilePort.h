/// @file
/// Port: what can be done with an open file besides reading and writing it.
#pragma once

#include "platform/WinTypes.h"

namespace vlm {

/// Facts, appending and mappings, all by the handles of FilePort: whatever a path leads to by now, the handle is the
/// file. Threads: any; one handle by one thread at a time.  Failure: by status (InvalidHandle for what is not open);
/// nothing throws; output arguments keep their values then.
class OpenFilePort {
public:
    struct Facts {
        DWORD dwAttributes = 0;   ///< as FilePort::GetAttributes tells them
        DWORD cLinks = 0;         ///< names that the file has
        ULONGLONG ullVolume = 0;  ///< with ullFile: equal for two handles of one file
        ULONGLONG ullFile = 0;
        ULONGLONG ullWritten = 0;  ///< last write, in steps of 100 ns since 1601-01-01 00:00 UTC; 0 where there is none
        bool fDisk = false;        ///< a file on a medium; no device, pipe or console
        bool fLink = false;        ///< a symbolic link, a junction or another reparse point itself
        bool fLocal = false;       ///< on a medium of this machine
    };

    virtual ~OpenFilePort() = default;

    virtual Status GetFacts(HANDLE hFile, Facts& rFacts) noexcept = 0;
    /// Needs a handle opened for writing or with Access::Attributes (AccessDenied).  What FilePort::SetAttributes says
    /// of the bits holds here, too.
    virtual Status SetAttributesOf(HANDLE hFile, DWORD dwAttributes) noexcept = 0;

    /// Writes behind all data, as one step among all that append: whole lines of several processes end up one after the
    /// other.  Moves the file position behind what was written.  `rdwWritten` is set in every case; fewer than asked
    /// only with a failure.
    /// @return AccessDenied on a handle that is not open for writing, DiskFull, LockViolation when somebody else keeps
    /// the end of the file for two seconds.
    virtual Status Append(HANDLE hFile, const void* pSource, DWORD dwBytes, DWORD& rdwWritten) noexcept = 0;

    /// Makes a mapping of the first `ullBytes` bytes (0: of the whole file).  A writable one makes a shorter file that
    /// long at once, with zeros, and keeps its room.  While a view exists the file is not cut below the mapping
    /// (FilePort::SetEnd: UserMappedFile).
    /// Ownership: the mapping is closed by FilePort::Close, before or after the file and its views.
    /// @return FileInvalid for 0 bytes of an empty file, AccessDenied when the handle's access does not do, DiskFull,
    /// NotEnoughMemory for a reading mapping beyond the end.
    virtual Status CreateMappingOf(HANDLE hFile, ULONGLONG ullBytes, bool fWritable, HANDLE& rhMapping) noexcept = 0;
    /// Shows the first `ullBytes` bytes of a mapping (0: all of it) in memory, to be written when the mapping is.
    virtual Status MapView(HANDLE hMapping, ULONGLONG ullBytes, void*& rpView) noexcept = 0;
    /// @return InvalidAddress for what is no view's begin.
    virtual Status UnmapView(void* pView) noexcept = 0;
};

}  // namespace vlm
