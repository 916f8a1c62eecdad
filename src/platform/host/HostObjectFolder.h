/// @file
/// Where the host keeps the named objects that several processes share.
#pragma once

#include <string>

#include "platform/WinTypes.h"
#include "platform/host/HostDescriptor.h"

namespace vlm::host {

/// The kinds of named objects; each has files of its own form.
enum class ObjectKind { AutoEvent, ManualEvent, Mutex };

/// Finds the name of an object within the name space of this process's store.
/// @param rName "Local.name" or "Global.name", escaped so that it is one file name.
/// @return PathNotFound for a name with a further "\", InvalidName for one that is too long.
/// @throws std::bad_alloc
Status ObjectNameFromUnits(XStringView svName, std::string& rName);

/// The folder of the name space: beside the store file, "<store>.objects".  Empty for a store in memory, whose names
/// nobody else sees.
/// @return false when the store has no place.  @throws std::bad_alloc
bool ObjectFolder(std::string& rFolder);

/// What an object's file is to its holder.
struct ObjectFile {
    Descriptor oFile;  ///< a pipe for an event, a file for a mutex
    ObjectKind eKind = ObjectKind::AutoEvent;
    bool fCreated = false;
    std::string path;
};

/// Joins the object of a name, or makes it.  Every holder marks the file with a lock that the kernel takes away with
/// its last close, a kill included; a file without marks is a left-over and nobody's object.
/// @param peCreate the kind to create when there is none; null: only join.
/// @return FileNotFound when there is none and none is to be created.  @throws std::bad_alloc
Status OpenObjectFile(const std::string& rFolder, const std::string& rName, const ObjectKind* peCreate,
                      ObjectFile& rFile);

/// Closes an object's file, and removes it when nobody else holds it.
void CloseObjectFile(ObjectFile& rFile) noexcept;

/// Tries to take the one ownership that a mutex file has, for its open file description; the kernel ends it with the
/// process.  @return false while another process has it.
bool LockObjectFile(int iFile) noexcept;
void UnlockObjectFile(int iFile) noexcept;

}  // namespace vlm::host
