/// @file
/// Paths, lists and copies of the disk in memory.
#include <algorithm>

#include "support/FakeCalls.h"
#include "support/FakeFileEntries.h"

namespace vlm::test {

XString Tidy(XStringView svPath) {
    std::vector<XString> vParts;
    XString part;
    const auto endPart = [&] {
        if (part == VTEXT("..") && !vParts.empty()) vParts.pop_back();
        if (!part.empty() && part != VTEXT(".") && part != VTEXT("..")) vParts.push_back(part);
        part.clear();
    };
    for (const XCHAR unit : svPath) {
        if (unit == VTEXT('\\') || unit == VTEXT('/')) {
            endPart();
        } else {
            part += unit;
        }
    }
    endPart();
    XString path;
    for (const XString& rPart : vParts)
        path += (path.empty() ? XString() : XString(1, VTEXT('\\'))) + rPart;
    return path;
}

XString KeyOf(XStringView svPath) {
    XString key = Tidy(svPath);
    for (XCHAR& runit : key) {
        if (runit >= VTEXT('a') && runit <= VTEXT('z')) runit = static_cast<XCHAR>(runit - 0x20);
    }
    return key;
}

XString FolderOf(const XString& rKey) {
    const std::size_t iSlash = rKey.rfind(VTEXT('\\'));
    return iSlash == XString::npos ? XString() : rKey.substr(0, iSlash);
}

bool IsRoot(const XString& rKey) {
    return rKey.empty() || (rKey.size() == 2 && rKey[1] == VTEXT(':'));
}

bool IsEmptyPath(const XCHAR* pszPath) {
    return pszPath == nullptr || *pszPath == 0;
}

void FakeFilePort::AddLink(XStringView svPath, bool fFolder) {
    AddFile(svPath, {}, fFolder ? ATTRIBUTE_LINK | ATTRIBUTE_DIRECTORY : ATTRIBUTE_LINK);
}

void FakeFilePort::Restart() {
    const FakeCall oCall(m_oMutex);
    DropHandles();
    for (const XString& rPath : m_vPendingDeletes)
        Delete(rPath.c_str());
    m_vPendingDeletes.clear();
}

Status FakeFilePort::OpenFolder(const XCHAR* pszPath, HANDLE& rhFolder) noexcept {
    const FakeCall oCall(m_oMutex);
    if (IsEmptyPath(pszPath)) return Status::PathNotFound;
    const XString key = KeyOf(pszPath);
    const EntryPointer shpoFolder = Lookup(key);
    if (!shpoFolder && !IsRoot(key)) return Status::PathNotFound;
    if (shpoFolder && shpoFolder->IsLink()) return Status::CannotResolveFileName;
    if (shpoFolder && !shpoFolder->IsFolder()) return Status::Directory;
    constexpr LONGLONG WRITTEN = 1'709'210'096;  // where the fake clock begins
    std::vector<FolderPort::Entry> vEntries;
    for (const auto& [entryKey, shpoEntry] : m_mapEntries) {
        if (FolderOf(entryKey) != key || IsRoot(entryKey)) continue;
        FolderPort::Entry oEntry;
        const XString name = shpoEntry->path.substr(shpoEntry->path.rfind(VTEXT('\\')) + 1);
        std::copy_n(name.begin(), std::min(name.size(), MAX_NAME_UNITS - 1), oEntry.szName);
        oEntry.dwAttributes = shpoEntry->dwAttributes;
        oEntry.ullSize = shpoEntry->vbyContents.size();
        oEntry.llWritten = WRITTEN;
        vEntries.insert(vEntries.begin(), oEntry);
    }
    rhFolder = reinterpret_cast<HANDLE>(m_uiLastHandle += 4);
    m_mapLists[rhFolder] = std::move(vEntries);
    return Status::Success;
}

Status FakeFilePort::NextEntry(HANDLE hFolder, FolderPort::Entry& rEntry) noexcept {
    const FakeCall oCall(m_oMutex);
    const auto it = m_mapLists.find(hFolder);
    if (it == m_mapLists.end()) {
        ReportMisuse("a list that is not open", hFolder);
        return Status::InvalidHandle;
    }
    if (it->second.empty()) return Status::NoMoreItems;
    rEntry = it->second.back();
    it->second.pop_back();
    return Status::Success;
}

Status FakeFilePort::CloseFolder(HANDLE hFolder) noexcept {
    const FakeCall oCall(m_oMutex);
    if (m_mapLists.erase(hFolder) != 0) return Status::Success;
    ReportMisuse("a list that is not open", hFolder);
    return Status::InvalidHandle;
}

Status FakeFilePort::RemoveFolder(const XCHAR* pszPath) noexcept {
    const FakeCall oCall(m_oMutex);
    if (IsEmptyPath(pszPath)) return Status::PathNotFound;
    const XString key = KeyOf(pszPath);
    const EntryPointer shpoFolder = Lookup(key);
    if (!shpoFolder) return IsRoot(key) ? Status::AccessDenied : Missing(key);
    if (!shpoFolder->IsFolder()) return Status::Directory;
    const bool fEmpty = std::none_of(m_mapEntries.begin(), m_mapEntries.end(),
                                     [&](const auto& rPair) { return FolderOf(rPair.first) == key; });
    if (!fEmpty) return Status::DirectoryNotEmpty;
    m_mapEntries.erase(key);
    return Status::Success;
}

Status FakeFilePort::CopyTo(const XCHAR* pszFrom, const XCHAR* pszTo, bool fReplace) noexcept {
    const FakeCall oCall(m_oMutex);
    HANDLE hFrom = nullptr, hTo = nullptr;
    const OpenOptions oReading{.dwShare = ShareRead | ShareWrite | ShareDelete};
    if (const Status eStatus = Open(pszFrom, oReading, hFrom); eStatus != Status::Success) return eStatus;
    const OpenOptions oWriting{.eAccess = Access::ReadWrite,
                               .eDisposition = fReplace ? Disposition::CreateAlways : Disposition::CreateNew,
                               .dwShare = ShareNone};
    if (const Status eStatus = Open(pszTo, oWriting, hTo); eStatus != Status::Success) {
        Close(hFrom);
        return eStatus;
    }
    const EntryPointer shpoFrom = Find(hFrom)->shpoEntry, shpoTo = Find(hTo)->shpoEntry;
    TakeOverViews();
    DWORD dwWritten = 0;
    const Status eStatus =
        WriteTo(*Find(hTo), shpoFrom->vbyContents.data(), static_cast<DWORD>(shpoFrom->vbyContents.size()), dwWritten);
    Close(hFrom);
    Close(hTo);
    if (eStatus == Status::Success) {
        shpoTo->dwAttributes = shpoFrom->dwAttributes;
    } else {
        m_mapEntries.erase(KeyOf(pszTo));
    }
    return eStatus;
}

Status FakeFilePort::DeleteAtRestart(const XCHAR* pszPath) noexcept {
    const FakeCall oCall(m_oMutex);
    if (IsEmptyPath(pszPath)) return Status::PathNotFound;
    if (!Lookup(KeyOf(pszPath))) return Missing(KeyOf(pszPath));
    m_vPendingDeletes.push_back(Tidy(pszPath));
    return Status::Success;
}

}  // namespace vlm::test
