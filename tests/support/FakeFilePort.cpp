/// @file
/// The disk in memory.
#include <algorithm>

#include "support/FakeCalls.h"
#include "support/FakeFileEntries.h"

namespace vlm::test {

FakeFilePort::FakeFilePort() = default;
FakeFilePort::~FakeFilePort() = default;

void FakeFilePort::AddFile(XStringView svPath, std::vector<BYTE> vbyContents, DWORD dwAttributes) {
    const FakeCall oCall(m_oMutex);
    const XString key = KeyOf(svPath);
    AddFolder(FolderOf(Tidy(svPath)));
    const auto shpoEntry = std::make_shared<DiskEntry>();
    shpoEntry->path = Tidy(svPath);
    shpoEntry->vbyFlushed = vbyContents;
    shpoEntry->vbyContents = std::move(vbyContents);
    shpoEntry->dwAttributes = dwAttributes;
    m_mapEntries[key] = shpoEntry;
}

void FakeFilePort::AddFolder(XStringView svPath) {
    const FakeCall oCall(m_oMutex);
    const XString key = KeyOf(svPath);
    if (IsRoot(key) || Lookup(key)) return;
    AddFolder(FolderOf(Tidy(svPath)));
    const auto shpoEntry = std::make_shared<DiskEntry>();
    shpoEntry->path = Tidy(svPath);
    shpoEntry->dwAttributes = ATTRIBUTE_DIRECTORY;
    m_mapEntries[key] = shpoEntry;
}

std::optional<std::vector<BYTE>> FakeFilePort::Contents(XStringView svPath) const {
    const FakeCall oCall(m_oMutex);
    TakeOverViews();
    const EntryPointer shpoEntry = Lookup(KeyOf(svPath));
    if (!shpoEntry || shpoEntry->IsFolder()) return std::nullopt;
    return shpoEntry->vbyContents;
}

std::vector<XString> FakeFilePort::FileNames() const {
    const FakeCall oCall(m_oMutex);
    std::vector<XString> vNames;
    for (const auto& [key, shpoEntry] : m_mapEntries) {
        if (!shpoEntry->IsFolder()) vNames.push_back(shpoEntry->path);
    }
    return vNames;
}

std::size_t FakeFilePort::OpenHandles() const {
    const std::lock_guard oLock(m_oMutex);
    return m_mapOpen.size() + m_mapMappings.size() + m_mapViews.size() + m_mapLists.size();
}

void FakeFilePort::LimitSpace(ULONGLONG ullBytes) {
    m_ullSpace = ullBytes;
}

void FakeFilePort::DropHandles() {
    const FakeCall oCall(m_oMutex);
    TakeOverViews();
    m_mapViews.clear();
    m_mapMappings.clear();
    m_mapLists.clear();
    while (!m_mapOpen.empty())
        Close(m_mapOpen.begin()->first);
}

void FakeFilePort::CutPower() {
    const FakeCall oCall(m_oMutex);
    DropHandles();
    for (auto& [key, shpoEntry] : m_mapEntries)
        shpoEntry->vbyContents = shpoEntry->vbyFlushed;
}

FakeFilePort::OpenFile* FakeFilePort::Find(HANDLE hFile) {
    const auto it = m_mapOpen.find(hFile);
    if (it != m_mapOpen.end()) return &it->second;
    ReportMisuse("a file call on a handle that is not open", hFile);
    return nullptr;
}

FakeFilePort::EntryPointer FakeFilePort::Lookup(const XString& rKey) const {
    const auto it = m_mapEntries.find(rKey);
    return it != m_mapEntries.end() ? it->second : nullptr;
}

FakeFilePort::EntryPointer FakeFilePort::LookupPath(XStringView svPath) const {
    return Lookup(KeyOf(svPath));
}

/// A path that leads to nothing: is it the file or a folder on the way that is missing?
Status FakeFilePort::Missing(const XString& rKey) const {
    const XString folder = FolderOf(rKey);
    const EntryPointer shpoFolder = Lookup(folder);
    return IsRoot(folder) || (shpoFolder && shpoFolder->IsFolder()) ? Status::FileNotFound : Status::PathNotFound;
}

bool FakeFilePort::IsShared(const DiskEntry& rEntry, DWORD dwUses, DWORD dwDenies) const {
    return std::all_of(m_mapOpen.begin(), m_mapOpen.end(), [&](const auto& rPair) {
        const OpenFile& rOther = rPair.second;
        return rOther.shpoEntry.get() != &rEntry ||
               ((rOther.dwDenies & dwUses) == 0 && (rOther.dwUses & dwDenies) == 0);
    });
}

bool FakeFilePort::HasRoom(ULONGLONG ullMore) const {
    ULONGLONG ullUsed = 0;
    for (const auto& [key, shpoEntry] : m_mapEntries)
        ullUsed += shpoEntry->vbyContents.size();
    return ullMore == 0 || (ullUsed <= m_ullSpace && ullMore <= m_ullSpace - ullUsed);
}

Status FakeFilePort::Open(const XCHAR* pszPath, const OpenOptions& rOptions, HANDLE& rhFile) noexcept {
    const FakeCall oCall(m_oMutex);
    if (IsEmptyPath(pszPath)) return Status::PathNotFound;
    const XString key = KeyOf(pszPath);
    const bool fWritable = rOptions.eAccess == Access::ReadWrite || rOptions.eAccess == Access::Write;
    const bool fReadable = rOptions.eAccess == Access::Read || rOptions.eAccess == Access::ReadWrite;
    const bool fCreateAlways = rOptions.eDisposition == Disposition::CreateAlways;
    DWORD dwUses = ShareNone;
    if (fReadable) dwUses |= ShareRead;
    if (fWritable || fCreateAlways) dwUses |= ShareWrite;
    if (rOptions.fDeleteAccess) dwUses |= ShareDelete;
    // Who only asks for attributes denies nothing either.
    const DWORD dwDenies = dwUses == 0 ? 0 : ~rOptions.dwShare & (ShareRead | ShareWrite | ShareDelete);
    EntryPointer shpoEntry = Lookup(key);
    if (IsRoot(key)) return Status::AccessDenied;
    if (!shpoEntry) {
        const Status eMissing = Missing(key);
        if (eMissing != Status::FileNotFound || rOptions.eDisposition == Disposition::OpenExisting) return eMissing;
        shpoEntry = std::make_shared<DiskEntry>();
        shpoEntry->path = Tidy(pszPath);
        m_mapEntries[key] = shpoEntry;
    } else {
        if (rOptions.eDisposition == Disposition::CreateNew) return Status::FileExists;
        if (rOptions.fPlainLocalFile && !shpoEntry->IsPlain()) return Status::AccessDenied;
        if (shpoEntry->IsLink()) return Status::CannotResolveFileName;
        if (shpoEntry->IsFolder() || shpoEntry->fDeletePending) return Status::AccessDenied;
        if ((fWritable || fCreateAlways) && shpoEntry->IsReadOnly()) return Status::AccessDenied;
        if (!IsShared(*shpoEntry, dwUses, dwDenies)) return Status::SharingViolation;
        if (fCreateAlways && IsShownBeyond(*shpoEntry, 0)) return Status::UserMappedFile;
        if (fCreateAlways) shpoEntry->vbyContents.clear();
    }
    rhFile = reinterpret_cast<HANDLE>(m_uiLastHandle += 4);
    m_mapOpen[rhFile] = {shpoEntry,
                         0,
                         dwUses,
                         dwDenies,
                         fReadable,
                         fWritable,
                         rOptions.fDeleteAccess,
                         fWritable || rOptions.eAccess == Access::Attributes};
    return Status::Success;
}

Status FakeFilePort::Close(HANDLE hFile) noexcept {
    const FakeCall oCall(m_oMutex);
    if (m_mapMappings.erase(hFile) != 0) return Status::Success;
    const OpenFile* pFile = Find(hFile);
    if (pFile == nullptr) return Status::InvalidHandle;
    const EntryPointer shpoEntry = pFile->shpoEntry;
    m_mapOpen.erase(hFile);
    const auto holds = [&](const auto& rPair) { return rPair.second.shpoEntry == shpoEntry; };
    if (shpoEntry->fDeletePending && std::none_of(m_mapOpen.begin(), m_mapOpen.end(), holds)) {
        std::erase_if(m_mapEntries, [&](const auto& rPair) { return rPair.second == shpoEntry; });
    }
    return Status::Success;
}

Status FakeFilePort::Size(HANDLE hFile, ULONGLONG& rullSize) noexcept {
    const std::lock_guard oLock(m_oMutex);
    const OpenFile* pFile = Find(hFile);
    if (pFile == nullptr) return Status::InvalidHandle;
    rullSize = pFile->shpoEntry->vbyContents.size();
    return Status::Success;
}

Status FakeFilePort::Read(HANDLE hFile, void* pTarget, DWORD dwBytes, DWORD& rdwRead) noexcept {
    const std::lock_guard oLock(m_oMutex);
    rdwRead = 0;
    OpenFile* pFile = Find(hFile);
    if (pFile == nullptr) return Status::InvalidHandle;
    if (!pFile->fReadable) return Status::AccessDenied;
    TakeOverViews();
    const std::vector<BYTE>& rvbyContents = pFile->shpoEntry->vbyContents;
    if (pFile->ullPosition >= rvbyContents.size()) return Status::Success;
    rdwRead = static_cast<DWORD>(std::min<ULONGLONG>(dwBytes, rvbyContents.size() - pFile->ullPosition));
    std::copy_n(rvbyContents.begin() + static_cast<std::ptrdiff_t>(pFile->ullPosition), rdwRead,
                static_cast<BYTE*>(pTarget));
    pFile->ullPosition += rdwRead;
    return Status::Success;
}

Status FakeFilePort::Write(HANDLE hFile, const void* pSource, DWORD dwBytes, DWORD& rdwWritten) noexcept {
    const FakeCall oCall(m_oMutex);
    rdwWritten = 0;
    OpenFile* pFile = Find(hFile);
    if (pFile == nullptr) return Status::InvalidHandle;
    if (!pFile->fWritable) return Status::AccessDenied;
    return WriteTo(*pFile, pSource, dwBytes, rdwWritten);
}

Status FakeFilePort::WriteTo(OpenFile& rFile, const void* pSource, DWORD dwBytes, DWORD& rdwWritten) {
    if (dwBytes == 0) return Status::Success;
    TakeOverViews();
    std::vector<BYTE>& rvbyContents = rFile.shpoEntry->vbyContents;
    const ULONGLONG ullEnd = std::max<ULONGLONG>(rFile.ullPosition + dwBytes, rvbyContents.size());
    if (!HasRoom(ullEnd - rvbyContents.size())) return Status::DiskFull;
    rvbyContents.resize(ullEnd);
    std::copy_n(static_cast<const BYTE*>(pSource), dwBytes,
                rvbyContents.begin() + static_cast<std::ptrdiff_t>(rFile.ullPosition));
    rFile.ullPosition += dwBytes;
    rdwWritten = dwBytes;
    BringIntoViews();
    return Status::Success;
}

Status FakeFilePort::Seek(HANDLE hFile, ULONGLONG ullOffset) noexcept {
    const std::lock_guard oLock(m_oMutex);
    OpenFile* pFile = Find(hFile);
    if (pFile == nullptr) return Status::InvalidHandle;
    if (ullOffset >> 63) return Status::InvalidParameter;
    pFile->ullPosition = ullOffset;
    return Status::Success;
}

Status FakeFilePort::SetEnd(HANDLE hFile) noexcept {
    const FakeCall oCall(m_oMutex);
    OpenFile* pFile = Find(hFile);
    if (pFile == nullptr) return Status::InvalidHandle;
    if (!pFile->fWritable) return Status::AccessDenied;
    if (IsShownBeyond(*pFile->shpoEntry, pFile->ullPosition)) return Status::UserMappedFile;
    std::vector<BYTE>& rvbyContents = pFile->shpoEntry->vbyContents;
    if (pFile->ullPosition > rvbyContents.size() && !HasRoom(pFile->ullPosition - rvbyContents.size())) {
        return Status::DiskFull;
    }
    rvbyContents.resize(pFile->ullPosition);
    return Status::Success;
}

Status FakeFilePort::Flush(HANDLE hFile) noexcept {
    const FakeCall oCall(m_oMutex);
    const OpenFile* pFile = Find(hFile);
    if (pFile == nullptr) return Status::InvalidHandle;
    if (!pFile->fWritable) return Status::AccessDenied;
    TakeOverViews();
    pFile->shpoEntry->vbyFlushed = pFile->shpoEntry->vbyContents;
    return Status::Success;
}

Status FakeFilePort::GetAttributes(const XCHAR* pszPath, DWORD& rdwAttributes) noexcept {
    const FakeCall oCall(m_oMutex);
    if (IsEmptyPath(pszPath)) return Status::PathNotFound;
    const XString key = KeyOf(pszPath);
    const EntryPointer shpoEntry = Lookup(key);
    if (!shpoEntry && !IsRoot(key)) return Missing(key);
    rdwAttributes = shpoEntry ? shpoEntry->dwAttributes : ATTRIBUTE_DIRECTORY;
    return Status::Success;
}

Status FakeFilePort::SetAttributes(const XCHAR* pszPath, DWORD dwAttributes) noexcept {
    const FakeCall oCall(m_oMutex);
    if (IsEmptyPath(pszPath)) return Status::PathNotFound;
    const EntryPointer shpoEntry = Lookup(KeyOf(pszPath));
    if (!shpoEntry) return Missing(KeyOf(pszPath));
    const DWORD dwKept = shpoEntry->dwAttributes & ATTRIBUTE_DIRECTORY;
    dwAttributes = (dwAttributes & ~(ATTRIBUTE_DIRECTORY | ATTRIBUTE_NORMAL)) | dwKept;
    shpoEntry->dwAttributes = dwAttributes ? dwAttributes : ATTRIBUTE_NORMAL;
    return Status::Success;
}

Status FakeFilePort::Delete(const XCHAR* pszPath) noexcept {
    const FakeCall oCall(m_oMutex);
    if (IsEmptyPath(pszPath)) return Status::PathNotFound;
    const XString key = KeyOf(pszPath);
    const EntryPointer shpoEntry = Lookup(key);
    if (!shpoEntry) return IsRoot(key) ? Status::AccessDenied : Missing(key);
    if (shpoEntry->IsFolder() || shpoEntry->IsReadOnly()) return Status::AccessDenied;
    if (!IsShared(*shpoEntry, ShareDelete, 0)) return Status::SharingViolation;
    m_mapEntries.erase(key);
    return Status::Success;
}

Status FakeFilePort::DeleteByHandle(HANDLE hFile) noexcept {
    const std::lock_guard oLock(m_oMutex);
    const OpenFile* pFile = Find(hFile);
    if (pFile == nullptr) return Status::InvalidHandle;
    if (!pFile->fDeletable || pFile->shpoEntry->IsReadOnly()) return Status::AccessDenied;
    pFile->shpoEntry->fDeletePending = true;
    return Status::Success;
}

Status FakeFilePort::Move(const XCHAR* pszFrom, const XCHAR* pszTo, bool fReplace) noexcept {
    const FakeCall oCall(m_oMutex);
    if (IsEmptyPath(pszFrom) || IsEmptyPath(pszTo)) return Status::PathNotFound;
    const XString from = KeyOf(pszFrom), to = KeyOf(pszTo);
    const EntryPointer shpoFrom = Lookup(from), shpoTo = Lookup(to);
    if (!shpoFrom) return Missing(from);
    if (!IsShared(*shpoFrom, ShareDelete, 0)) return Status::SharingViolation;
    if (!shpoTo && Missing(to) != Status::FileNotFound) return Missing(to);
    if (shpoTo && shpoTo != shpoFrom) {
        if (!fReplace) return Status::AlreadyExists;
        if (shpoTo->IsFolder() || shpoTo->IsReadOnly() || !IsShared(*shpoTo, ShareDelete, 0))
            return Status::AccessDenied;
    }
    // A folder takes what is below it along.
    std::map<XString, EntryPointer> mapMoved;
    for (auto it = m_mapEntries.begin(); it != m_mapEntries.end();) {
        const bool fBelow = it->first.starts_with(from + VTEXT('\\'));
        if (it->first != from && !fBelow) {
            ++it;
            continue;
        }
        it->second->path = Tidy(pszTo) + it->second->path.substr(from.size());
        mapMoved[to + it->first.substr(from.size())] = it->second;
        it = m_mapEntries.erase(it);
    }
    for (const auto& [key, shpoEntry] : mapMoved)
        m_mapEntries[key] = shpoEntry;
    return Status::Success;
}

Status FakeFilePort::CreateDirectoryAt(const XCHAR* pszPath) noexcept {
    const FakeCall oCall(m_oMutex);
    if (IsEmptyPath(pszPath)) return Status::PathNotFound;
    const XString key = KeyOf(pszPath);
    if (IsRoot(key) || Lookup(key)) return Status::AlreadyExists;
    if (Missing(key) != Status::FileNotFound) return Status::PathNotFound;
    AddFolder(pszPath);
    return Status::Success;
}

}  // namespace vlm::test
