/// @file
/// Lists and trees of folders over the file and folder ports.
#include "environment/detail/product/FolderTree.h"

#include <algorithm>

#include "platform/Platform.h"
#include "utilities/Bounds.h"
#include "utilities/compression/CabinetArchive.h"
#include "utilities/debuggingandexceptions/NoThrow.h"

namespace vlm::folders {

namespace {

FilePort& Files() noexcept {
    return *GetPlatform().pFiles;
}
FolderPort& Folders() noexcept {
    return *GetPlatform().pFolders;
}

constexpr bool IsSeparator(XCHAR ch) noexcept {
    return ch == '\\' || ch == '/';
}

int LastSeparator(const CXString& kcsPath) noexcept {
    return std::max(kcsPath.ReverseFind(VTEXT('\\')), kcsPath.ReverseFind(VTEXT('/')));
}

/// Closes a file, or a list, on every way out.
class OpenHandle {
public:
    explicit OpenHandle(bool fFolder) noexcept : m_fFolder(fFolder) {}
    ~OpenHandle() { Close(); }
    OpenHandle(const OpenHandle&) = delete;
    OpenHandle& operator=(const OpenHandle&) = delete;

    Status Close() noexcept {
        const HANDLE hOpen = std::exchange(m_hOpen, nullptr);
        if (!hOpen) return Status::Success;
        return m_fFolder ? Folders().CloseFolder(hOpen) : Files().Close(hOpen);
    }
    HANDLE& Handle() noexcept { return m_hOpen; }

private:
    HANDLE m_hOpen = nullptr;
    bool m_fFolder;
};

Status DeleteLevels(const CXString& kcsFolder, unsigned uLevel, std::size_t& rcEntries) {
    if (uLevel > bounds::MAX_FOLDER_LEVELS) return Status::InvalidName;
    std::vector<Item> voItems;
    Status status = List(kcsFolder, voItems);
    if (status != Status::Success) return status;
    rcEntries += voItems.size();
    if (rcEntries > bounds::MAX_FOLDER_ENTRIES) return Status::InvalidName;
    for (const Item& rItem : voItems) {
        const Status statusOfItem = rItem.IsFolder()
                                        ? DeleteLevels(Join(kcsFolder, rItem.csName), uLevel + 1, rcEntries)
                                        : DeleteItem(kcsFolder, rItem);
        if (statusOfItem != Status::Success) status = statusOfItem;
    }
    const Status statusOfFolder = Folders().RemoveFolder(kcsFolder);
    return status == Status::Success ? statusOfFolder : status;
}

}  // namespace

CXString Join(const CXString& kcsFolder, const CXString& kcsName) {
    if (kcsFolder.IsEmpty()) return kcsName;
    if (kcsName.IsEmpty()) return kcsFolder;
    return IsSeparator(kcsFolder.GetAt(kcsFolder.GetLength() - 1)) ? kcsFolder + kcsName
                                                                   : kcsFolder + VTEXT("\\") + kcsName;
}

CXString ParentOf(const CXString& kcsPath) {
    const int iCut = LastSeparator(kcsPath);
    // The parent of what stands at the root is the root, with its separator.
    if (iCut == 0 || (iCut == 2 && kcsPath.GetAt(1) == ':')) return kcsPath.Left(iCut + 1);
    return kcsPath.Left(std::max(iCut, 0));
}

CXString LeafOf(const CXString& kcsPath) {
    return kcsPath.Mid(LastSeparator(kcsPath) + 1);
}

bool HasExtension(const CXString& kcsName, XStringView extension) noexcept {
    const int iRest = kcsName.GetLength() - static_cast<int>(extension.size());
    return iRest > 0 && kcsName.FindNoCase(extension, iRest) == iRest;
}

bool IsLeafName(const CXString& kcsName) noexcept {
    return std::none_of(kcsName.begin(), kcsName.end(), IsSeparator) && CabinetArchive::IsSafeName(kcsName);
}

bool IsPlainLocalPath(const CXString& kcsPath) noexcept {
    XStringView rest = kcsPath.View();
    const bool fDrive = rest.size() > 3 && rest[1] == ':' && IsSeparator(rest[2]) &&
                        ((rest[0] >= 'A' && rest[0] <= 'Z') || (rest[0] >= 'a' && rest[0] <= 'z'));
    const bool fHostRoot = rest.size() > 1 && rest[0] == '/' && !IsSeparator(rest[1]);
    if (!fDrive && !fHostRoot) return false;
    rest.remove_prefix(fDrive ? 3 : 1);
    while (!rest.empty()) {
        const auto itEnd = std::find_if(rest.begin(), rest.end(), IsSeparator);
        const XStringView part = rest.substr(0, static_cast<std::size_t>(itEnd - rest.begin()));
        const bool fBad = part.empty() || part == VTEXT(".") || part == VTEXT("..") ||
                          part.find(VTEXT(':')) != XStringView::npos ||
                          std::any_of(part.begin(), part.end(), [](XCHAR ch) { return ch < 0x20; });
        if (fBad) return false;
        rest.remove_prefix(std::min(part.size() + 1, rest.size()));
    }
    return true;
}

Status List(const CXString& kcsFolder, std::vector<Item>& rvoItems) {
    rvoItems.clear();
    OpenHandle oList(true);
    Status status = Folders().OpenFolder(kcsFolder, oList.Handle());
    TranslateOutOfMemory([&] {
        while (status == Status::Success) {
            FolderPort::Entry oEntry;
            status = Folders().NextEntry(oList.Handle(), oEntry);
            if (status != Status::Success) break;
            if (rvoItems.size() == bounds::MAX_FOLDER_ENTRIES) status = Status::InvalidName;
            rvoItems.push_back({CXString(oEntry.szName), oEntry.dwAttributes, oEntry.ullSize, oEntry.llWritten});
        }
    });
    if (status != Status::NoMoreItems) {
        rvoItems.clear();
        return status;
    }
    std::sort(rvoItems.begin(), rvoItems.end(), [](const Item& r1, const Item& r2) { return r1.csName < r2.csName; });
    return Status::Success;
}

Kind KindOf(const CXString& kcsPath) {
    std::vector<Item> voItems;
    const CXString csLeaf = LeafOf(kcsPath);
    const Status status = List(ParentOf(kcsPath), voItems);
    if (status == Status::PathNotFound) return Kind::Missing;
    if (status != Status::Success) return Kind::Unknown;
    const auto Find = [&](auto&& isIt) { return std::find_if(voItems.begin(), voItems.end(), isIt); };
    auto it = Find([&](const Item& r) { return r.csName == csLeaf; });
    // Where letter case does not count, an entry of another spelling is the one; where it does, there is none such.
    DWORD dwAttributes = 0;
    if (it == voItems.end() && Files().GetAttributes(kcsPath, dwAttributes) == Status::Success) {
        it = Find([&](const Item& r) { return r.csName.CompareNoCase(csLeaf) == 0; });
    }
    if (it == voItems.end()) return Kind::Missing;
    return it->IsLink() ? Kind::Link : it->IsFolder() ? Kind::Folder : Kind::File;
}

Status Make(const CXString& kcsFolder) {
    DWORD dwAttributes = 0;
    if (Files().GetAttributes(kcsFolder, dwAttributes) == Status::Success) {
        return dwAttributes & FilePort::ATTRIBUTE_DIRECTORY ? Status::Success : Status::AccessDenied;
    }
    const CXString csParent = ParentOf(kcsFolder);
    if (csParent.GetLength() > 0 && csParent.GetLength() < kcsFolder.GetLength() && LeafOf(csParent).GetLength() > 0) {
        const Status status = Make(csParent);
        if (status != Status::Success) return status;
    }
    const Status status = Files().CreateDirectoryAt(kcsFolder);
    return status == Status::AlreadyExists ? Status::Success : status;
}

Status MakeBelow(const CXString& kcsRoot, const CXString& kcsRelative) {
    CXString csPath = kcsRoot;
    int iPosition = 0;
    for (;;) {
        const CXString csPart = kcsRelative.Tokenize(VTEXT("\\/"), iPosition);
        if (csPart.IsEmpty()) return Status::Success;
        csPath = Join(csPath, csPart);
        const Status status = Files().CreateDirectoryAt(csPath);
        if (status != Status::Success && status != Status::AlreadyExists) return status;
        if (status == Status::AlreadyExists && KindOf(csPath) != Kind::Folder) return Status::AccessDenied;
    }
}

Status Walk(const CXString& kcsRoot, const std::function<Status(const CXString&, const std::vector<Item>&)>& fnVisit) {
    return TranslateOutOfMemory([&] {
        struct Level {
            CXString csRelative;
            unsigned uLevel;
        };
        std::vector<Level> vWaiting{{CXString(), 0}};
        std::size_t cEntries = 0;
        while (!vWaiting.empty()) {
            const Level oNow = vWaiting.back();
            vWaiting.pop_back();
            std::vector<Item> voItems;
            Status status = List(Join(kcsRoot, oNow.csRelative), voItems);
            cEntries += voItems.size();
            if (status == Status::Success &&
                (oNow.uLevel > bounds::MAX_FOLDER_LEVELS || cEntries > bounds::MAX_FOLDER_ENTRIES)) {
                status = Status::InvalidName;
            }
            if (status == Status::Success) status = fnVisit(oNow.csRelative, voItems);
            if (status != Status::Success) return status;
            for (auto it = voItems.rbegin(); it != voItems.rend(); ++it) {
                if (it->IsFolder()) vWaiting.push_back({Join(oNow.csRelative, it->csName), oNow.uLevel + 1});
            }
        }
        return Status::Success;
    });
}

Status DeleteItem(const CXString& kcsFolder, const Item& rItem) {
    const CXString csPath = Join(kcsFolder, rItem.csName);
    if (rItem.IsLink()) {
        return rItem.dwAttributes & FilePort::ATTRIBUTE_DIRECTORY ? Folders().RemoveFolder(csPath)
                                                                  : Files().Delete(csPath);
    }
    FilePort::OpenOptions oOptions;
    oOptions.eAccess = FilePort::Access::Attributes;
    oOptions.dwShare = FilePort::ShareRead | FilePort::ShareWrite | FilePort::ShareDelete;
    oOptions.fDeleteAccess = true;
    oOptions.fPlainLocalFile = true;
    OpenHandle oFile(false);
    const Status status = Files().Open(csPath, oOptions, oFile.Handle());
    if (status != Status::Success) return status == Status::FileNotFound ? Status::Success : status;
    return Files().DeleteByHandle(oFile.Handle());
}

Status DeleteTree(const CXString& kcsFolder) {
    switch (KindOf(kcsFolder)) {
        case Kind::Missing:
            return Status::Success;
        case Kind::Unknown:
            return Status::AccessDenied;
        case Kind::File:
            return Status::Directory;
        case Kind::Link: {
            const Status status = Folders().RemoveFolder(kcsFolder);
            return status == Status::Directory ? Files().Delete(kcsFolder) : status;
        }
        case Kind::Folder:
            break;
    }
    std::size_t cEntries = 0;
    return DeleteLevels(kcsFolder, 0, cEntries);
}

Status WriteNew(const CXString& kcsPath, const ByteBuffer& kbbContents) {
    FilePort::OpenOptions oOptions;
    oOptions.eAccess = FilePort::Access::Write;
    oOptions.eDisposition = FilePort::Disposition::CreateNew;
    oOptions.dwShare = FilePort::ShareNone;
    oOptions.fPlainLocalFile = true;
    OpenHandle oFile(false);
    Status status = Files().Open(kcsPath, oOptions, oFile.Handle());
    if (status != Status::Success) return status;
    DWORD dwWritten = 0;
    if (!kbbContents.empty())
        status = Files().Write(oFile.Handle(), kbbContents.data(), kbbContents.GetLength(), dwWritten);
    if (status == Status::Success && dwWritten != kbbContents.GetLength()) status = Status::DiskFull;
    const Status statusOfClose = oFile.Close();
    return status == Status::Success ? statusOfClose : status;
}

Status Read(const CXString& kcsPath, DWORD dwMost, bool fPlain, ByteBuffer& rbbContents) {
    FilePort::OpenOptions oOptions;
    oOptions.dwShare = FilePort::ShareRead | FilePort::ShareDelete;
    oOptions.fPlainLocalFile = fPlain;
    OpenHandle oFile(false);
    ULONGLONG ullSize = 0;
    Status status = Files().Open(kcsPath, oOptions, oFile.Handle());
    if (status == Status::Success) status = Files().Size(oFile.Handle(), ullSize);
    if (status != Status::Success) return status;
    if (ullSize > dwMost) return Status::FileTooLarge;
    ByteBuffer bbContents;
    bbContents.resize(static_cast<std::size_t>(ullSize));
    DWORD dwDone = 0;
    while (dwDone < ullSize) {
        DWORD dwRead = 0;
        status = Files().Read(oFile.Handle(), bbContents.data() + dwDone, bbContents.GetLength() - dwDone, dwRead);
        if (status == Status::Success && dwRead == 0) status = Status::HandleEof;
        if (status != Status::Success) return status;
        dwDone += dwRead;
    }
    rbbContents = std::move(bbContents);
    return Status::Success;
}

}  // namespace vlm::folders
