/// @file
/// Files on the host.
#pragma once

#include <mutex>
#include <optional>
#include <vector>

#include "platform/FilePort.h"
#include "platform/OpenFilePort.h"
#include "platform/host/HandleTable.h"

namespace vlm::host {

/// POSIX files under the Windows rules: sharing by marks that all users of this port honour, the read-only attribute as
/// the owner's missing right to write (checked for the superuser, too), status numbers of Windows.
class HostFilePort final : public FilePort, public OpenFilePort {
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

private:
    /// An open file, or a mapping of one with a descriptor of its own.
    struct OpenFile {
        int iFile = -1;
        bool fReadable = false;
        bool fWritable = false;
        bool fDeletable = false;
        bool fAttributes = false;  ///< they may be set
        ULONGLONG ullMapping = 0;  ///< bytes of the mapping; 0: a file
    };
    /// A piece of a file that is shown in memory.
    struct View {
        void* pMemory;
        std::size_t cBytes;
        ULONGLONG ullVolume, ullFile, ullMapping;
    };

    /// The file of a handle; nothing for a mapping's.
    std::optional<OpenFile> FindFile(HANDLE hFile) const noexcept;
    /// Whether a view's mapping of the file reaches beyond a size.
    bool IsShownBeyond(int iFile, ULONGLONG ullSize) noexcept;

    HandleTable<OpenFile> m_oFiles;
    std::mutex m_oViewsMutex;
    std::vector<View> m_vViews;
};

}  // namespace vlm::host
