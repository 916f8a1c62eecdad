/// @file
/// The contract of the folder port.
#include "platform/FolderPort.h"

#include <algorithm>
#include <map>

#include "FileContract.h"

namespace vlm::test {

namespace {

class FolderPortContract : public FileContract {
protected:
    FolderPort& Folders() const { return *Ports().pFolders; }
    std::map<XString, FolderPort::Entry> List(const XString& rPath) const {
        std::map<XString, FolderPort::Entry> mapEntries;
        HANDLE hFolder = nullptr;
        EXPECT_EQ(Folders().OpenFolder(rPath.c_str(), hFolder), Status::Success);
        FolderPort::Entry oEntry;
        Status eStatus = Status::Success;
        while ((eStatus = Folders().NextEntry(hFolder, oEntry)) == Status::Success)
            EXPECT_TRUE(mapEntries.emplace(oEntry.szName, oEntry).second) << "comes twice";
        EXPECT_EQ(eStatus, Status::NoMoreItems);
        EXPECT_EQ(Folders().NextEntry(hFolder, oEntry), Status::NoMoreItems);
        EXPECT_EQ(Folders().CloseFolder(hFolder), Status::Success);
        return mapEntries;
    }
};

TEST_P(FolderPortContract, ListsTellEveryEntryOnce) {
    EXPECT_TRUE(List(m_folder).empty());
    EXPECT_EQ(Files().CreateDirectoryAt(Path(VTEXT("folder")).c_str()), Status::Success);
    Put(Path(VTEXT("folder\\below")), "");
    const XString foreign = VTEXT("Gr\u00FCn \u20AC \U0001F600");
    Put(Path(foreign), "12345");
    for (int i = 0; i < 200; ++i)
        Put(Path(Wide("file" + std::to_string(i))), "");
    auto mapEntries = List(m_folder);
    EXPECT_EQ(mapEntries.size(), 202u);
    EXPECT_TRUE(mapEntries[VTEXT("folder")].dwAttributes & FilePort::ATTRIBUTE_DIRECTORY);
    EXPECT_FALSE(mapEntries[VTEXT("file199")].dwAttributes & FilePort::ATTRIBUTE_DIRECTORY);
    EXPECT_NE(mapEntries[VTEXT("file199")].dwAttributes, 0u);
    EXPECT_EQ(mapEntries[foreign].ullSize, 5u);
    EXPECT_EQ(mapEntries[VTEXT("folder")].ullSize, 0u);
    if (!IsFake()) {
        EXPECT_LT(std::abs(mapEntries[foreign].llWritten - Ports().pClock->UtcSeconds()), 86400);
    }
    EXPECT_EQ(List(Path(VTEXT("folder")) + VTEXT("/")).size(), 1u);
}

TEST_P(FolderPortContract, WhatIsNoFolderIsNotListed) {
    Put(Path(VTEXT("file")), "");
    HANDLE hFolder = nullptr;
    FolderPort::Entry oEntry;
    EXPECT_EQ(Folders().OpenFolder(Path(VTEXT("none")).c_str(), hFolder), Status::PathNotFound);
    EXPECT_EQ(Folders().OpenFolder(Path(VTEXT("none\\below")).c_str(), hFolder), Status::PathNotFound);
    EXPECT_EQ(Folders().OpenFolder(Path(VTEXT("file")).c_str(), hFolder), Status::Directory);
    EXPECT_EQ(Folders().OpenFolder(nullptr, hFolder), Status::PathNotFound);
    EXPECT_EQ(hFolder, nullptr);
    EXPECT_EQ(Folders().OpenFolder(m_folder.c_str(), hFolder), Status::Success);
    EXPECT_EQ(Folders().CloseFolder(hFolder), Status::Success);
    for (const HANDLE hBad : {hFolder, HANDLE{nullptr}}) {
        EXPECT_EQ(Folders().NextEntry(hBad, oEntry), Status::InvalidHandle);
        EXPECT_EQ(Folders().CloseFolder(hBad), Status::InvalidHandle);
    }
}

TEST_P(FolderPortContract, OnlyEmptyFoldersAreRemoved) {
    const XString folder = Path(VTEXT("folder")), file = Path(VTEXT("folder\\file"));
    EXPECT_EQ(Files().CreateDirectoryAt(folder.c_str()), Status::Success);
    Put(file, "");
    EXPECT_EQ(Folders().RemoveFolder(folder.c_str()), Status::DirectoryNotEmpty);
    EXPECT_EQ(Folders().RemoveFolder(file.c_str()), Status::Directory);
    EXPECT_EQ(Files().Delete(file.c_str()), Status::Success);
    EXPECT_EQ(Folders().RemoveFolder(folder.c_str()), Status::Success);
    EXPECT_EQ(Folders().RemoveFolder(folder.c_str()), Status::FileNotFound);
    EXPECT_EQ(Folders().RemoveFolder((folder + VTEXT("\\below")).c_str()), Status::PathNotFound);
    EXPECT_EQ(Folders().RemoveFolder(nullptr), Status::PathNotFound);
}

TEST_P(FolderPortContract, CopiesAreWholeAndReplaceOnlyWhenTold) {
    const XString from = Path(VTEXT("from")), to = Path(VTEXT("to")), folder = Path(VTEXT("folder"));
    const std::string contents(200'000, 'c');
    Put(from, contents);
    EXPECT_EQ(Folders().CopyTo(from.c_str(), to.c_str(), false), Status::Success);
    const HANDLE hFile = Open(to, READING);
    EXPECT_EQ(Read(hFile, 300'000), contents);
    EXPECT_EQ(Files().Close(hFile), Status::Success);
    Put(from, "new");
    EXPECT_EQ(Folders().CopyTo(from.c_str(), to.c_str(), false), Status::FileExists);
    EXPECT_EQ(Folders().CopyTo(from.c_str(), to.c_str(), true), Status::Success);
    EXPECT_EQ(Contents(to), "new");
    EXPECT_EQ(Contents(from), "new");
    EXPECT_EQ(Files().CreateDirectoryAt(folder.c_str()), Status::Success);
    EXPECT_EQ(Folders().CopyTo(folder.c_str(), Path(VTEXT("other")).c_str(), true), Status::AccessDenied);
    EXPECT_EQ(Folders().CopyTo(from.c_str(), folder.c_str(), true), Status::AccessDenied);
    EXPECT_EQ(Folders().CopyTo(Path(VTEXT("none")).c_str(), to.c_str(), true), Status::FileNotFound);
    EXPECT_EQ(Folders().CopyTo(from.c_str(), Path(VTEXT("none\\to")).c_str(), true), Status::PathNotFound);
    EXPECT_EQ(Folders().CopyTo(nullptr, to.c_str(), true), Status::PathNotFound);
    EXPECT_FALSE(Exists(Path(VTEXT("other"))));
    EXPECT_EQ(Contents(to), "new");
    // Attributes come along, and protect the target.
    EXPECT_EQ(Files().SetAttributes(from.c_str(), FilePort::ATTRIBUTE_READONLY), Status::Success);
    EXPECT_EQ(Folders().CopyTo(from.c_str(), to.c_str(), true), Status::Success);
    DWORD dwAttributes = 0;
    EXPECT_EQ(Files().GetAttributes(to.c_str(), dwAttributes), Status::Success);
    EXPECT_TRUE(dwAttributes & FilePort::ATTRIBUTE_READONLY);
    if (!IsWine()) {
        EXPECT_EQ(Folders().CopyTo(from.c_str(), to.c_str(), true), Status::AccessDenied);
    }
}

TEST_P(FolderPortContract, CopiesRespectWhoHoldsTheFiles) {
    const XString from = Path(VTEXT("from")), to = Path(VTEXT("to"));
    Put(from, "new");
    Put(to, "old");
    const HANDLE hFrom = Open(from, {Access::Read, Disposition::OpenExisting, NONE, true, false});
    EXPECT_EQ(Folders().CopyTo(from.c_str(), to.c_str(), true), Status::SharingViolation);
    EXPECT_EQ(Files().Close(hFrom), Status::Success);
    const HANDLE hTo = Open(to, {Access::Read, Disposition::OpenExisting, READ, true, false});
    EXPECT_EQ(Folders().CopyTo(from.c_str(), to.c_str(), true), Status::SharingViolation);
    EXPECT_EQ(Folders().CopyTo(to.c_str(), to.c_str(), true), Status::SharingViolation);
    EXPECT_EQ(Files().Close(hTo), Status::Success);
    EXPECT_EQ(Contents(to), "old");
}

TEST_P(FolderPortContract, AMissingFileIsNotDeletedAtRestart) {
    const Status eStatus = Folders().DeleteAtRestart(Path(VTEXT("none")).c_str());
    EXPECT_TRUE(eStatus == Status::FileNotFound || eStatus == Status::NotSupported) << ToDword(eStatus);
    if (!IsFake()) return;
    Put(Path(VTEXT("file")), "");
    EXPECT_EQ(Folders().DeleteAtRestart(Path(VTEXT("file")).c_str()), Status::Success);
    EXPECT_TRUE(Exists(Path(VTEXT("file"))));
    m_oFake.files.Restart();
    EXPECT_FALSE(Exists(Path(VTEXT("file"))));
}

TEST_P(FolderPortContract, LinksAreListedAsSuchAndRemovedAlone) {
    const XString target = Path(VTEXT("target")), link = Path(VTEXT("link"));
    EXPECT_EQ(Files().CreateDirectoryAt(target.c_str()), Status::Success);
    Put(target + VTEXT("\\file"), "stays");
    if (IsFake()) {
        m_oFake.files.AddLink(link, true);
    } else {
        std::error_code oError;
        std::filesystem::create_directory_symlink(m_oFolder / "target", m_oFolder / "link", oError);
        if (oError) GTEST_SKIP() << "no links for this user on this system";
    }
    EXPECT_TRUE(List(m_folder)[VTEXT("link")].dwAttributes & FolderPort::ATTRIBUTE_LINK);
    EXPECT_FALSE(List(m_folder)[VTEXT("target")].dwAttributes & FolderPort::ATTRIBUTE_LINK);
    EXPECT_EQ(Folders().RemoveFolder(link.c_str()), Status::Success);
    EXPECT_FALSE(Exists(link));
    EXPECT_EQ(Contents(target + VTEXT("\\file")), "stays");
}

Q9_CONTRACT_SUITE(FolderPortContract);

}  // namespace

}  // namespace vlm::test
