/// @file
/// Files of the system.
#pragma once

#include "platform/FilePort.h"
#include "platform/OpenFilePort.h"

namespace vlm::win32 {

/// The system's own files.  A path of 240 units or more is completed and given the prefix that lifts the limit of 260.
class Win32FilePort final : public FilePort, public OpenFilePort {
public:
    Status Open(const XCHAR* pszPath, const OpenOptions& rOptions, HANDLE& rhFile) noexcept override;
    Status Close(HANDLE hFile) noexcept override;
    Status Size(HANDLE hFile, ULONGLONG& rullSize) noexcept override;
    Status Read(HANDLE hFile, void* pTarget, DWORD dwBytes, DWORD& rdwRead) noexcept override;
    Status Write(HANDLE hFile, const void* pSource, DWORD dwBytes, DWORD& rdwWritten) noexcept override;
    Status Seek(HANDLE hFile, ULONGLONG ullOffset) noexcept override;
    Status SetEnd(HANDLE hFile) noexcept override;
    Status Flush(HANDLE hFile) noexcept override;
    Status GetAttributes(const XCHAR* pszPath, DWORD& rdwAttributes) noexcept override;
    Status SetAttributes(const XCHAR* pszPath, DWORD dwAttributes) noexcept override;
    Status Delete(const XCHAR* pszPath) noexcept override;
    Status DeleteByHandle(HANDLE hFile) noexcept override;
    Status Move(const XCHAR* pszFrom, const XCHAR* pszTo, bool fReplace) noexcept override;
    Status CreateDirectoryAt(const XCHAR* pszPath) noexcept override;
    Status GetFacts(HANDLE hFile, Facts& rFacts) noexcept override;
    Status SetAttributesOf(HANDLE hFile, DWORD dwAttributes) noexcept override;
    Status Append(HANDLE hFile, const void* pSource, DWORD dwBytes, DWORD& rdwWritten) noexcept override;
    Status CreateMappingOf(HANDLE hFile, ULONGLONG ullBytes, bool fWritable, HANDLE& rhMapping) noexcept override;
    Status MapView(HANDLE hMapping, ULONGLONG ullBytes, void*& rpView) noexcept override;
    Status UnmapView(void* pView) noexcept override;
};

}  // namespace vlm::win32
