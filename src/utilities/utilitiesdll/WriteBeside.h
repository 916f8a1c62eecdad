/// @file
/// Replaces a file's contents whole: the old file or the new one is there at any moment, never a part.
#pragma once

#include "platform/Export.h"
#include "platform/WinTypes.h"
#include "utilities/utilitiesdll/ByteBuffer.h"
#include "utilities/utilitiesdll/CXString.h"

/// Writes the contents into a new file beside the target, brings it to the medium, and renames it onto the target in
/// one step.  The file beside is named like the target, with ".<process>-<number>.new" at the end. The new file has the
/// rights and attributes of any new file in its folder; a read-only target, a folder and an empty name are refused
/// before anything is written.  On the host a symbolic link as target is itself replaced.
/// @param kcsFileName path of the target, which need not exist; its folder must.
/// @throws ExceptionCreateFileForWriting when the target must not be replaced or the file beside cannot be made;
///         ExceptionWriteFile when writing, flushing or renaming fails.  The target is then as it was, and the file
///         beside is removed as far as the system allows.  Each message names the file and has the system's own words.
/// **Threads**: any; of two that replace one file at the same time, one wins whole.
VLM_API void WriteBesideAndReplace(const CXString& kcsFileName, const ByteBuffer& rbbContents);

/// The same for callers that want the system's status instead: PathNotFound for an empty name, AccessDenied for a
/// folder or a read-only file, or what the step that failed answered.  @throws ExceptionOutOfMemory.
VLM_API vlm::Status TryWriteBesideAndReplace(const CXString& kcsFileName, const ByteBuffer& rbbContents);
