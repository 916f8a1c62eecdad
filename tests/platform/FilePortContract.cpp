/// @file
/// The contract of the file port.
#include <algorithm>
#include <array>

#include "FileContract.h"

namespace vlm::test {

namespace {

class FilePortContract : public FileContract {};

TEST_P(FilePortContract, WhatIsMissingIsNamed) {
    Put(Path(VTEXT("file")), "x");
    const struct {
        XString path;
        Disposition eDisposition;
        Status eExpected;
    } aRows[] = {
        {Path(VTEXT("none")), Disposition::OpenExisting, Status::FileNotFound},
        {Path(VTEXT("none\\file")), Disposition::OpenExisting, Status::PathNotFound},
        {Path(VTEXT("none\\file")), Disposition::CreateAlways, Status::PathNotFound},
        {Path(VTEXT("file\\below")), Disposition::OpenExisting, Status::PathNotFound},
        {XString(), Disposition::OpenExisting, Status::PathNotFound},
        {m_folder, Disposition::OpenExisting, Status::AccessDenied},
        {Path(VTEXT("file")), Disposition::CreateNew, Status::FileExists},
    };
    for (const auto& rRow : aRows) {
        EXPECT_EQ(TryOpen(rRow.path, {Access::ReadWrite, rRow.eDisposition, ALL, true, false}), rRow.eExpected)
            << Printable(rRow.path);
    }
    HANDLE hFile = nullptr;
    DWORD dwAttributes = 0;
    EXPECT_EQ(Files().Open(nullptr, READING, hFile), Status::PathNotFound);
    EXPECT_EQ(hFile, nullptr);
    for (const auto& [path, eExpected] : {std::pair{Path(VTEXT("none")), Status::FileNotFound},
                                          std::pair{Path(VTEXT("none\\file")), Status::PathNotFound}}) {
        EXPECT_EQ(Files().GetAttributes(path.c_str(), dwAttributes), eExpected);
        EXPECT_EQ(Files().SetAttributes(path.c_str(), FilePort::ATTRIBUTE_NORMAL), eExpected);
        EXPECT_EQ(Files().Delete(path.c_str()), eExpected);
        EXPECT_EQ(Files().Move(path.c_str(), Path(VTEXT("to")).c_str(), true), eExpected);
    }
}

TEST_P(FilePortContract, DispositionsCreateKeepOrEmpty) {
    const XString path = Path(VTEXT("file"));
    EXPECT_EQ(TryOpen(path, {Access::ReadWrite, Disposition::CreateNew, ALL, true, false}), Status::Success);
    Put(path, "contents");
    EXPECT_EQ(TryOpen(path, {Access::ReadWrite, Disposition::OpenAlways, ALL, true, false}), Status::Success);
    EXPECT_EQ(Contents(path), "contents");
    EXPECT_EQ(TryOpen(path, {Access::ReadWrite, Disposition::CreateAlways, ALL, true, false}), Status::Success);
    EXPECT_EQ(Contents(path), "");
}

TEST_P(FilePortContract, PositionMovesWithReadsAndWrites) {
    const HANDLE hFile = Open(Path(VTEXT("file")), WRITING);
    DWORD dwWritten = 0;
    ULONGLONG ullSize = 0;
    EXPECT_EQ(Files().Write(hFile, "abc", 3, dwWritten), Status::Success);
    EXPECT_EQ(Files().Write(hFile, "def", 3, dwWritten), Status::Success);
    EXPECT_EQ(Files().Seek(hFile, 1), Status::Success);
    EXPECT_EQ(Read(hFile, 2), "bc");
    EXPECT_EQ(Read(hFile, 100), "def");
    EXPECT_EQ(Read(hFile, 1), "");
    // A gap reads as zeros; seeking alone changes nothing.
    EXPECT_EQ(Files().Seek(hFile, 8), Status::Success);
    EXPECT_EQ(Files().Size(hFile, ullSize), Status::Success);
    EXPECT_EQ(ullSize, 6u);
    EXPECT_EQ(Files().Write(hFile, "x", 1, dwWritten), Status::Success);
    EXPECT_EQ(Files().Seek(hFile, 0), Status::Success);
    EXPECT_EQ(Read(hFile, 100), std::string("abcdef\0\0x", 9));
    EXPECT_EQ(Files().Seek(hFile, 2), Status::Success);
    EXPECT_EQ(Files().SetEnd(hFile), Status::Success);
    EXPECT_EQ(Files().Size(hFile, ullSize), Status::Success);
    EXPECT_EQ(ullSize, 2u);
    EXPECT_EQ(Files().Seek(hFile, 4), Status::Success);
    EXPECT_EQ(Files().SetEnd(hFile), Status::Success);
    EXPECT_EQ(Files().Flush(hFile), Status::Success);
    EXPECT_EQ(Files().Close(hFile), Status::Success);
    EXPECT_EQ(Contents(Path(VTEXT("file"))), std::string("ab\0\0", 4));
}

TEST_P(FilePortContract, ReadHandlesDoNotWrite) {
    Put(Path(VTEXT("file")), "abc");
    const HANDLE hFile = Open(Path(VTEXT("file")), READING);
    DWORD dwWritten = 99;
    EXPECT_EQ(Files().Write(hFile, "x", 1, dwWritten), Status::AccessDenied);
    EXPECT_EQ(dwWritten, 0u);
    EXPECT_NE(Files().SetEnd(hFile), Status::Success);
    EXPECT_EQ(Files().DeleteByHandle(hFile), Status::AccessDenied);
    EXPECT_EQ(Files().Close(hFile), Status::Success);
    EXPECT_EQ(Contents(Path(VTEXT("file"))), "abc");
}

TEST_P(FilePortContract, AFileWithLinksIsNotPlain) {
    const Options oPlain{Access::Write, Disposition::OpenAlways, ALL, true, false, true};
    const XString plain = Path(VTEXT("plain")), linked = Path(VTEXT("linked"));
    EXPECT_EQ(TryOpen(plain, oPlain), Status::Success) << "made";
    EXPECT_EQ(TryOpen(plain, oPlain), Status::Success) << "opened";
    EXPECT_EQ(TryOpen(m_folder, oPlain), Status::AccessDenied);
    EXPECT_NE(TryOpen(Path(VTEXT("none\\file")), oPlain), Status::Success);
    Put(linked, "victim");
    if (IsFake()) {
        m_oFake.files.SetFacts(linked, {.cLinks = 2, .fDisk = true, .fLocal = true});
    } else {
        std::filesystem::create_hard_link(m_oFolder / "linked", m_oFolder / "second");
    }
    EXPECT_EQ(TryOpen(linked, oPlain), Status::AccessDenied);
    EXPECT_EQ(Contents(linked), "victim");
#ifndef _WIN32  // as a user without rights may not make them there
    if (!IsFake()) {
        std::filesystem::create_directory(m_oFolder / "folder");
        std::filesystem::create_directory_symlink("folder", m_oFolder / "way");
        std::filesystem::create_symlink("plain", m_oFolder / "link");
        for (const XStringView svName : {VTEXT("link"), VTEXT("way\\file")}) {
            EXPECT_EQ(TryOpen(Path(svName), oPlain), Status::AccessDenied) << Printable(svName);
        }
        EXPECT_FALSE(Exists(Path(VTEXT("folder\\file")))) << "made on the far side of a link";
    }
#endif
}

TEST_P(FilePortContract, SharingIsCheckedBothWays) {
    const XString path = Path(VTEXT("file"));
    Put(path, "abc");
    const auto options = [](Access eAccess, DWORD dwShare, bool fDelete) {
        return Options{eAccess, Disposition::OpenExisting, dwShare, true, fDelete};
    };
    const struct {
        Options oFirst, oSecond;
        bool fBoth;
    } aRows[] = {
        {options(Access::Read, READ, false), options(Access::Read, READ, false), true},
        {options(Access::Read, READ, false), options(Access::ReadWrite, ALL, false), false},
        {options(Access::Read, NONE, false), options(Access::Read, ALL, false), false},
        {options(Access::Read, ALL, false), options(Access::Read, NONE, false), false},
        {options(Access::ReadWrite, READ, false), options(Access::Read, READ, false), false},
        {options(Access::ReadWrite, READ, false), options(Access::Read, READ | WRITE, false), true},
        {options(Access::ReadWrite, READ | WRITE, false), options(Access::ReadWrite, READ | WRITE, false), true},
        {options(Access::Read, READ, false), options(Access::Read, ALL, true), false},
        {options(Access::Read, READ | DELETE_, false), options(Access::Read, READ, true), true},
        {options(Access::Read, ALL, true), options(Access::Read, READ, false), false},
    };
    for (std::size_t i = 0; i < std::size(aRows); ++i) {
        const HANDLE hFirst = Open(path, aRows[i].oFirst);
        EXPECT_EQ(TryOpen(path, aRows[i].oSecond), aRows[i].fBoth ? Status::Success : Status::SharingViolation)
            << "row " << i;
        EXPECT_EQ(Files().Close(hFirst), Status::Success);
        EXPECT_EQ(TryOpen(path, aRows[i].oSecond), Status::Success) << "row " << i << " after the close";
    }
}

TEST_P(FilePortContract, HeldFilesAreNotEmptiedDeletedOrMoved) {
    const XString path = Path(VTEXT("file")), other = Path(VTEXT("other"));
    Put(path, "abc");
    Put(other, "other");
    const HANDLE hFile = Open(path, {Access::Read, Disposition::OpenExisting, READ, true, false});
    EXPECT_EQ(TryOpen(path, {Access::ReadWrite, Disposition::CreateAlways, ALL, true, false}),
              Status::SharingViolation);
    EXPECT_EQ(Files().Delete(path.c_str()), Status::SharingViolation);
    EXPECT_EQ(Files().Move(path.c_str(), Path(VTEXT("new")).c_str(), false), Status::SharingViolation);
    EXPECT_EQ(Files().Move(other.c_str(), path.c_str(), true), Status::AccessDenied);
    EXPECT_EQ(Files().Close(hFile), Status::Success);
    EXPECT_EQ(Contents(path), "abc");
    EXPECT_EQ(Contents(other), "other");
    EXPECT_EQ(Files().Delete(path.c_str()), Status::Success);
    EXPECT_FALSE(Exists(path));
}

TEST_P(FilePortContract, ReadOnlyFilesStay) {
    const XString path = Path(VTEXT("file"));
    Put(path, "abc");
    DWORD dwAttributes = 0;
    EXPECT_EQ(Files().SetAttributes(path.c_str(), FilePort::ATTRIBUTE_READONLY), Status::Success);
    EXPECT_EQ(Files().GetAttributes(path.c_str(), dwAttributes), Status::Success);
    EXPECT_TRUE(dwAttributes & FilePort::ATTRIBUTE_READONLY);
    EXPECT_FALSE(dwAttributes & FilePort::ATTRIBUTE_DIRECTORY);
    EXPECT_EQ(Files().Delete(path.c_str()), Status::AccessDenied);
    if (!IsWine()) {
        EXPECT_EQ(TryOpen(path, WRITING), Status::AccessDenied);
        EXPECT_EQ(TryOpen(path, {Access::ReadWrite, Disposition::CreateAlways, ALL, true, false}),
                  Status::AccessDenied);
    }
    EXPECT_EQ(Contents(path), "abc");
    EXPECT_EQ(Files().SetAttributes(path.c_str(), FilePort::ATTRIBUTE_NORMAL), Status::Success);
    EXPECT_EQ(Files().GetAttributes(path.c_str(), dwAttributes), Status::Success);
    EXPECT_FALSE(dwAttributes & FilePort::ATTRIBUTE_READONLY);
    EXPECT_NE(dwAttributes, 0u);
    EXPECT_EQ(TryOpen(path, WRITING), Status::Success);
    EXPECT_EQ(Files().Delete(path.c_str()), Status::Success);
}

TEST_P(FilePortContract, DeletingByHandleFollowsTheFile) {
    const XString path = Path(VTEXT("file")), moved = Path(VTEXT("moved"));
    Put(path, "mine");
    const HANDLE hFile = Open(path, {Access::ReadWrite, Disposition::OpenExisting, ALL, true, true});
    if (!IsWine()) {
        EXPECT_EQ(Files().Move(path.c_str(), moved.c_str(), false), Status::Success);
        Put(path, "somebody else's");
    }
    EXPECT_EQ(Files().DeleteByHandle(hFile), Status::Success);
    EXPECT_EQ(Files().Close(hFile), Status::Success);
    EXPECT_FALSE(Exists(moved));
    if (!IsWine()) {
        EXPECT_EQ(Contents(path), "somebody else's");
    } else {
        EXPECT_FALSE(Exists(path));
    }
}

TEST_P(FilePortContract, MovesReplaceOnlyWhenTold) {
    const XString from = Path(VTEXT("from")), to = Path(VTEXT("to")), folder = Path(VTEXT("folder"));
    Put(from, "new");
    Put(to, "old");
    EXPECT_EQ(Files().CreateDirectoryAt(folder.c_str()), Status::Success);
    EXPECT_EQ(Files().Move(from.c_str(), to.c_str(), false), Status::AlreadyExists);
    EXPECT_EQ(Contents(to), "old");
    EXPECT_EQ(Files().Move(from.c_str(), folder.c_str(), true), Status::AccessDenied);
    EXPECT_EQ(Files().Move(from.c_str(), Path(VTEXT("none\\to")).c_str(), true), Status::PathNotFound);
    EXPECT_EQ(Files().Move(from.c_str(), to.c_str(), true), Status::Success);
    EXPECT_EQ(Contents(to), "new");
    EXPECT_FALSE(Exists(from));
}

TEST_P(FilePortContract, FoldersAreMadeOneAtATime) {
    const XString folder = Path(VTEXT("a"));
    DWORD dwAttributes = 0;
    EXPECT_EQ(Files().CreateDirectoryAt(Path(VTEXT("a\\b")).c_str()), Status::PathNotFound);
    EXPECT_EQ(Files().CreateDirectoryAt(folder.c_str()), Status::Success);
    EXPECT_EQ(Files().CreateDirectoryAt(folder.c_str()), Status::AlreadyExists);
    EXPECT_EQ(Files().GetAttributes(folder.c_str(), dwAttributes), Status::Success);
    EXPECT_TRUE(dwAttributes & FilePort::ATTRIBUTE_DIRECTORY);
    EXPECT_EQ(Files().Delete(folder.c_str()), Status::AccessDenied);
}

TEST_P(FilePortContract, NamesMayBeLongForeignAndOfBothSlashes) {
    XString folder = m_folder;
    for (int i = 0; i < 4; ++i) {
        folder.append(1, VTEXT('\\')).append(90, VTEXT('n'));
        EXPECT_EQ(Files().CreateDirectoryAt(folder.c_str()), Status::Success);
    }
    XString path = folder + VTEXT("\\Gr\u00FCn \u20AC \U0001F600.bin");
    ASSERT_GT(path.size(), 360u);
    Put(path, "far away");
    std::replace(path.begin(), path.end(), VTEXT('\\'), VTEXT('/'));
    EXPECT_EQ(Contents(path), "far away");
    // A folder moves with what is in it; and nothing long remains, which others cannot remove.
    for (int i = 4; i > 1; --i) {
        const XString near = Path(Wide("near" + std::to_string(i)));
        EXPECT_EQ(Files().Move(folder.c_str(), near.c_str(), false), Status::Success);
        folder.erase(folder.rfind(VTEXT('\\')));
    }
    EXPECT_EQ(Contents(Path(VTEXT("near4\\Gr\u00FCn \u20AC \U0001F600.bin"))), "far away");
}

TEST_P(FilePortContract, AClosedHandleIsRefusedByEveryCall) {
    const HANDLE hFile = Open(Path(VTEXT("file")), WRITING);
    EXPECT_EQ(Files().Close(hFile), Status::Success);
    char c = 0;
    DWORD dwCount = 0;
    ULONGLONG ullSize = 0;
    for (const HANDLE h : {hFile, HANDLE{nullptr}}) {
        EXPECT_EQ(Files().Close(h), Status::InvalidHandle);
        EXPECT_EQ(Files().Size(h, ullSize), Status::InvalidHandle);
        EXPECT_EQ(Files().Read(h, &c, 1, dwCount), Status::InvalidHandle);
        EXPECT_EQ(Files().Write(h, &c, 1, dwCount), Status::InvalidHandle);
        EXPECT_EQ(Files().Seek(h, 0), Status::InvalidHandle);
        EXPECT_EQ(Files().SetEnd(h), Status::InvalidHandle);
        EXPECT_EQ(Files().Flush(h), Status::InvalidHandle);
        EXPECT_EQ(Files().DeleteByHandle(h), Status::InvalidHandle);
    }
}

Q9_CONTRACT_SUITE(FilePortContract);

}  // namespace

}  // namespace vlm::test
