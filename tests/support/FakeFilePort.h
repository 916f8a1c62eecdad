/// @file
/// A disk in memory.
#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "platform/FilePort.h"

namespace vlm::test {

using XString = std::basic_string<XCHAR>;

/// Keeps the file port's contract without a system below it.  Names compare without ASCII case.  Every drive root and
/// the current folder exist from the start; "." and ".." are resolved by their text. A call on a handle that is not
/// open fails the running test, unless told otherwise. Threads: any.
class FakeFilePort final : public FilePort {
public:
    /// What a power cut leaves of bytes that were not flushed.
    enum class PowerCut {
        DropUnflushed,  ///< the contents at the last flush
        TearSectors,    ///< every second sector of 512 bytes is the new one
    };

    FakeFilePort();
    ~FakeFilePort() override;

    // --- the script ---
    /// Puts a file in place, with the folders above it; flushed.
    void AddFile(XStringView svPath, std::vector<BYTE> vbyContents, DWORD dwAttributes = ATTRIBUTE_NORMAL);
    void AddFolder(XStringView svPath);
    /// The contents of a file, nothing when there is none.
    std::optional<std::vector<BYTE>> Contents(XStringView svPath) const;
    /// The paths of all files, tidied, in the case they were made with, sorted without it.
    std::vector<XString> FileNames() const;
    std::size_t OpenHandles() const;
    /// Room for so many bytes in all files together; DiskFull beyond.
    void LimitSpace(ULONGLONG ullBytes);
    /// Whether a call on a handle that is not open fails the running test (the beginning) or only answers
    /// InvalidHandle.
    void SetMisuseFailsTest(bool fFails);
    /// The process is gone: handles vanish, the files stay as they are.
    void DropHandles();
    /// The power is gone, too.
    void CutPower(PowerCut ePowerCut);

    // --- the port ---
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
    struct Entry;
    struct OpenFile;
    using EntryPointer = std::shared_ptr<Entry>;

    OpenFile* Find(HANDLE hFile);
    EntryPointer Lookup(const XString& rKey) const;
    Status Missing(const XString& rKey) const;
    bool IsShared(const Entry& rEntry, DWORD dwUses, DWORD dwDenies) const;
    bool HasRoom(ULONGLONG ullMore) const;

    mutable std::recursive_mutex m_oMutex;
    std::map<XString, EntryPointer> m_mapEntries;
    std::map<HANDLE, OpenFile> m_mapOpen;
    std::uintptr_t m_uiLastHandle = 0x1000;
    ULONGLONG m_ullSpace = ~0ull;
    bool m_fMisuseFailsTest = true;
};

}  // namespace vlm::test
