/// @file
/// Unpacks cabinet files into a folder, nested ones too: all of it, or nothing.
#pragma once

#include <cstdint>

#include "platform/WinTypes.h"
#include "utilities/utilitiesdll/ByteBuffer.h"
#include "utilities/utilitiesdll/CXString.h"

namespace vlm {

/// One unpacking into one folder.
///
/// Everything is first unpacked into a folder beside the target, named like it with ".new" behind, and moved in file by
/// file once all of it is there.  What fails before the move leaves the target as it was; a process that dies while
/// moving leaves whole files, old and new, and a folder beside that the next unpacking removes: the caller writes his
/// mark that all is done afterwards.  Files that are the same already are left alone.
///
/// No member leaves the target.  A cabinet file is refused whole when one name of it is rooted, has a drive, a stream,
/// "..", a device or another name that is no path below a folder (CabinetArchive::IsSafeName), when two of its names
/// meet in any letter case, or one is both a file and a folder.  A link on the way to a file, in the target or beside,
/// ends the unpacking.  Files, bytes, cabinet files and their nesting are bounded (Bounds.h).
///
/// **Threads, processes**: one unpacking of a target at a time; the caller holds a mutex.
/// **Failure**: ExceptionCompression for what cannot be unpacked; ExceptionFile's classes for what the disk refuses;
/// ExceptionOutOfMemory.
class CabinetUnpacker {
public:
    explicit CabinetUnpacker(const CXString& kcsTarget);
    /// Removes what is left beside the target.
    ~CabinetUnpacker();
    CabinetUnpacker(const CabinetUnpacker&) = delete;
    CabinetUnpacker& operator=(const CabinetUnpacker&) = delete;

    /// The folder beside the target.
    const CXString& GetStagingFolder() const noexcept { return m_csStaging; }
    /// Unpacks a cabinet file beside the target.
    void Extract(const CXString& kcsCabFile);
    /// Unpacks a cabinet file that lies beside the target, in its own folder; a member of its own name is left out.
    /// @param kcsRelative the folder, relative to the target.  @param kcsName the file's name there.
    void ExtractNested(const CXString& kcsRelative, const CXString& kcsName);
    /// Brings everything into the target, which is made when it is missing.
    void MoveIn();

private:
    void Prepare();
    void ExtractImage(const ByteBuffer& kbbImage, const CXString& kcsRelative, const CXString& kcsOwnName);
    void MoveFileIn(const CXString& kcsRelative, const CXString& kcsName);

    CXString m_csTarget;
    CXString m_csStaging;
    bool m_fPrepared = false;
    std::size_t m_cFiles = 0;
    std::size_t m_cCabinets = 0;
    std::uint64_t m_cBytes = 0;
};

}  // namespace vlm
