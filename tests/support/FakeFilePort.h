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
#include "platform/FolderPort.h"
#include "platform/OpenFilePort.h"
#include "support/FakeCalls.h"
#include "support/PortCalls.h"

namespace vlm::test {

using XString = std::basic_string<XCHAR>;

/// Keeps the file port's contract without a system below it.  Names compare without ASCII case.  Every drive root and
/// the current folder exist from the start; "." and ".." are resolved by their text. A call on a handle that is not
/// open fails the running test, unless told otherwise. Threads: any.
class FakeFilePort final : public FilePort, public OpenFilePort, public FolderPort, public MisuseAlarm {
public:
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
    /// Handles of files and lists, mappings and views.
    std::size_t OpenHandles() const;
    /// Room for so many bytes in all files together; DiskFull beyond.
    void LimitSpace(ULONGLONG ullBytes);
    /// Facts that GetFacts tells of a file from now on; `dwAttributes`, `ullVolume` and `ullFile` stay the disk's.  At
    /// the beginning: one link, a local file on a disk.
    void SetFacts(XStringView svPath, const Facts& rFacts);
    /// Puts a link in place: to a folder or to a file, nobody knows where.  It is listed as one and can be deleted;
    /// whoever opens it gets CannotResolveFileName.
    void AddLink(XStringView svPath, bool fFolder);
    /// The system starts anew: handles vanish, waiting deletes are done.
    void Restart();
    /// The process is gone: handles vanish, the files stay as they are.
    void DropHandles();
    /// The power is gone, too, and with it what was not flushed.
    void CutPower();

    // --- the port ---
    Q9_FILE_CALLS(Q9_DECLARE)
    Q9_OPEN_FILE_CALLS(Q9_DECLARE)
    Q9_FOLDER_CALLS(Q9_DECLARE)

private:
    struct DiskEntry;
    struct OpenFile;
    struct Mapping;
    struct View;
    using EntryPointer = std::shared_ptr<DiskEntry>;

    OpenFile* Find(HANDLE hFile);
    EntryPointer Lookup(const XString& rKey) const;
    EntryPointer LookupPath(XStringView svPath) const;
    Status Missing(const XString& rKey) const;
    bool IsShared(const DiskEntry& rEntry, DWORD dwUses, DWORD dwDenies) const;
    bool HasRoom(ULONGLONG ullMore) const;
    Status WriteTo(OpenFile& rFile, const void* pSource, DWORD dwBytes, DWORD& rdwWritten);
    /// The files take what was written to their views; the views show what was written to their files.
    void TakeOverViews() const;
    void BringIntoViews();
    bool IsShownBeyond(const DiskEntry& rEntry, ULONGLONG ullSize) const;

    mutable std::recursive_mutex m_oMutex;
    std::map<XString, EntryPointer> m_mapEntries;
    std::map<HANDLE, OpenFile> m_mapOpen;
    std::map<HANDLE, Mapping> m_mapMappings;
    std::map<void*, View> m_mapViews;
    std::map<HANDLE, std::vector<FolderPort::Entry>> m_mapLists;  ///< what is left, the next one last
    std::vector<XString> m_vPendingDeletes;
    std::uintptr_t m_uiLastHandle = 0x1000;
    ULONGLONG m_ullSpace = ~0ull;
};

}  // namespace vlm::test
