/// @file
/// Files on the host.
#pragma once

#include "platform/FilePort.h"
#include "platform/host/HandleTable.h"

namespace vlm::host {

/// POSIX files under the Windows rules: sharing by marks that all users of this port honour, the read-only attribute as
/// the owner's missing right to write (checked for the superuser, too), status numbers of Windows.
class HostFilePort final : public FilePort {
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

private:
    struct OpenFile {
        int iFile;
        bool fWritable;
        bool fDeletable;
    };
    HandleTable<OpenFile> m_oFiles;
};

}  // namespace vlm::host
