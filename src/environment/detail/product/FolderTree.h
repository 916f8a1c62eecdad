/// @file
/// What product data needs of folders: lists, trees made and deleted, never through a link.
#pragma once

#include <functional>
#include <vector>

#include "platform/FilePort.h"
#include "platform/FolderPort.h"
#include "utilities/utilitiesdll/ByteBuffer.h"
#include "utilities/utilitiesdll/CXString.h"

/// Routines for paths with "\" between their components.  They answer the system's status, and InvalidName for a tree
/// beyond bounds::MAX_FOLDER_LEVELS or MAX_FOLDER_ENTRIES.  **Threads**: any.  **Failure**: only memory throws.
namespace vlm::folders {

struct Item {
    CXString csName;
    DWORD dwAttributes = 0;
    ULONGLONG ullSize = 0;
    LONGLONG llWritten = 0;

    bool IsLink() const noexcept { return (dwAttributes & FolderPort::ATTRIBUTE_LINK) != 0; }
    /// A folder itself, no link to one.
    bool IsFolder() const noexcept { return !IsLink() && (dwAttributes & FilePort::ATTRIBUTE_DIRECTORY) != 0; }
    bool IsFile() const noexcept { return !IsLink() && !IsFolder(); }
};

/// What a path itself is; links are not followed at its end.  Unknown: the folder above cannot be listed.
enum class Kind { Missing, File, Folder, Link, Unknown };

CXString Join(const CXString& kcsFolder, const CXString& kcsName);
/// What stands before the last separator; empty without one.
CXString ParentOf(const CXString& kcsPath);
/// What stands behind it.
CXString LeafOf(const CXString& kcsPath);
/// Does the name end in ".xyz", in any letter case?
bool HasExtension(const CXString& kcsName, XStringView extension) noexcept;
/// A bare name that can be put behind any folder: no separator, drive, stream, step or device.
bool IsLeafName(const CXString& kcsName) noexcept;
/// A full path on a drive of this machine, or from the host's root, that is no root itself and has no "." or ".."
/// steps: fit to be cleaned when it was read from where others write.
bool IsPlainLocalPath(const CXString& kcsPath) noexcept;

/// A folder's entries, by name.
Status List(const CXString& kcsFolder, std::vector<Item>& rvoItems);
Kind KindOf(const CXString& kcsPath);
/// Makes a folder and those missing above it.  What is there is taken as it is, at the end as well as on the way.
Status Make(const CXString& kcsFolder);
/// Makes a folder below an existing one, level by level.  @return AccessDenied where a link or a file is in the way.
Status MakeBelow(const CXString& kcsRoot, const CXString& kcsRelative);
/// Visits a folder and all below it, parents first, with their entries; links are shown and not entered.
/// @param fnVisit with the folder's path relative to the root, empty for the root.  What it answers ends the walk
///        unless it is Success.
Status Walk(const CXString& kcsRoot, const std::function<Status(const CXString&, const std::vector<Item>&)>& fnVisit);
/// Deletes a file or a link: the file through a handle that no link leads to.
Status DeleteItem(const CXString& kcsFolder, const Item& rItem);
/// Deletes a folder with all below it; of a link only the link.  A missing one is Success.
Status DeleteTree(const CXString& kcsFolder);
/// Writes a new file that no link leads to.
Status WriteNew(const CXString& kcsPath, const ByteBuffer& kbbContents);
/// Reads a whole file of at most `dwMost` bytes.  @param fPlain refuses links, at the end and on the way.
Status Read(const CXString& kcsPath, DWORD dwMost, bool fPlain, ByteBuffer& rbbContents);

}  // namespace vlm::folders
