/// @file
/// The contract of the port for open files, and of the kinds of access that it needs.
#include "platform/OpenFilePort.h"

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <thread>
#include <vector>

#include "FileContract.h"

namespace vlm::test {

namespace {

constexpr Options APPENDING{Access::Write, Disposition::OpenAlways, ALL, true, false};
constexpr Options LOOKING{Access::Attributes, Disposition::OpenExisting, NONE, true, false};

class OpenFilePortContract : public FileContract {
protected:
    void Append(HANDLE hFile, std::string_view svText) const {
        DWORD dwWritten = 0;
        EXPECT_EQ(OpenFiles().Append(hFile, svText.data(), static_cast<DWORD>(svText.size()), dwWritten),
                  Status::Success);
        EXPECT_EQ(dwWritten, svText.size());
    }
    HANDLE Map(HANDLE hFile, ULONGLONG ullBytes, bool fWritable) const {
        HANDLE hMapping = nullptr;
        EXPECT_EQ(OpenFiles().CreateMappingOf(hFile, ullBytes, fWritable, hMapping), Status::Success);
        return hMapping;
    }
    char* View(HANDLE hMapping, ULONGLONG ullBytes = 0) const {
        void* pView = nullptr;
        EXPECT_EQ(OpenFiles().MapView(hMapping, ullBytes, pView), Status::Success);
        return static_cast<char*>(pView);
    }
    ULONGLONG SizeOf(HANDLE hFile) const {
        ULONGLONG ullSize = 0;
        EXPECT_EQ(Files().Size(hFile, ullSize), Status::Success);
        return ullSize;
    }
};

TEST_P(OpenFilePortContract, WhatIsAppendedStandsBehindEverything) {
    const XString path = Path(VTEXT("log"));
    const HANDLE hFirst = Open(path, APPENDING), hSecond = Open(path, APPENDING);
    Append(hFirst, "one\n");
    Append(hSecond, "two\n");
    Append(hFirst, "three\n");
    // The position is behind it now.
    DWORD dwWritten = 0;
    EXPECT_EQ(Files().Write(hFirst, "four\n", 5, dwWritten), Status::Success);
    EXPECT_EQ(Contents(path), "one\ntwo\nthree\nfour\n");
    EXPECT_EQ(Files().Seek(hFirst, 0), Status::Success);
    EXPECT_EQ(Files().SetEnd(hFirst), Status::Success);
    Append(hSecond, "");
    Append(hSecond, "five\n");
    EXPECT_EQ(Contents(path), "five\n");
    const HANDLE hReading = Open(path, READING);
    dwWritten = 9;
    EXPECT_EQ(OpenFiles().Append(hReading, "x", 1, dwWritten), Status::AccessDenied);
    EXPECT_EQ(dwWritten, 0u);
    for (const HANDLE hFile : {hFirst, hSecond, hReading})
        EXPECT_EQ(Files().Close(hFile), Status::Success);
}

TEST_P(OpenFilePortContract, ConcurrentAppendsLoseAndTearNothing) {
    constexpr int cThreads = 4, cLines = 100;
    const XString path = Path(VTEXT("log"));
    Put(path, "");
    std::vector<std::thread> vThreads;
    for (int i = 0; i < cThreads; ++i) {
        vThreads.emplace_back([&, i] {
            const HANDLE hFile = Open(path, APPENDING);
            for (int j = 0; j < cLines; ++j)
                Append(hFile, std::string(static_cast<std::size_t>(7 + i), static_cast<char>('a' + i)) + "\n");
            EXPECT_EQ(Files().Close(hFile), Status::Success);
        });
    }
    for (std::thread& rThread : vThreads)
        rThread.join();
    const HANDLE hFile = Open(path, READING);
    const std::string text = Read(hFile, 100'000);
    EXPECT_EQ(Files().Close(hFile), Status::Success);
    int acLines[cThreads] = {};
    for (std::size_t iBegin = 0; iBegin < text.size();) {
        const std::size_t iEnd = text.find('\n', iBegin);
        ASSERT_NE(iEnd, std::string::npos);
        const std::string line = text.substr(iBegin, iEnd - iBegin);
        ASSERT_FALSE(line.empty());
        const int i = line[0] - 'a';
        ASSERT_EQ(line, std::string(static_cast<std::size_t>(7 + i), line[0]));
        ++acLines[i];
        iBegin = iEnd + 1;
    }
    for (const int cSeen : acLines)
        EXPECT_EQ(cSeen, cLines);
}

TEST_P(OpenFilePortContract, WriteAccessDoesNotRead) {
    const XString path = Path(VTEXT("file"));
    Put(path, "abc");
    const HANDLE hFile = Open(path, APPENDING);
    char c = 0;
    DWORD dwCount = 9;
    HANDLE hMapping = nullptr;
    EXPECT_EQ(Files().Read(hFile, &c, 1, dwCount), Status::AccessDenied);
    EXPECT_EQ(dwCount, 0u);
    EXPECT_EQ(OpenFiles().CreateMappingOf(hFile, 0, false, hMapping), Status::AccessDenied);
    // Whoever only reads need not share writing with it, whoever writes must share with writers.
    EXPECT_EQ(TryOpen(path, {Access::Read, Disposition::OpenExisting, READ, true, false}), Status::SharingViolation);
    EXPECT_EQ(TryOpen(path, {Access::Write, Disposition::OpenExisting, WRITE, true, false}), Status::Success);
    EXPECT_EQ(TryOpen(path, {Access::Write, Disposition::OpenExisting, READ, true, false}), Status::SharingViolation);
    EXPECT_EQ(Files().Close(hFile), Status::Success);
}

TEST_P(OpenFilePortContract, AttributesAreSetThroughTheHandle) {
    const XString path = Path(VTEXT("file"));
    Put(path, "abc");
    const auto isReadOnly = [&] {
        DWORD dwAttributes = 0;
        EXPECT_EQ(Files().GetAttributes(path.c_str(), dwAttributes), Status::Success);
        return (dwAttributes & FilePort::ATTRIBUTE_READONLY) != 0;
    };
    EXPECT_EQ(Files().SetAttributes(path.c_str(), FilePort::ATTRIBUTE_READONLY), Status::Success);
    // Such a handle is no use of the file that others would have to share.
    const HANDLE hFile = Open(path, LOOKING);
    EXPECT_EQ(TryOpen(path, {Access::Read, Disposition::OpenExisting, NONE, true, false}), Status::Success);
    OpenFilePort::Facts oFacts;
    EXPECT_EQ(OpenFiles().GetFacts(hFile, oFacts), Status::Success);
    EXPECT_TRUE(oFacts.dwAttributes & FilePort::ATTRIBUTE_READONLY);
    EXPECT_EQ(OpenFiles().SetAttributesOf(hFile, FilePort::ATTRIBUTE_NORMAL), Status::Success);
    EXPECT_FALSE(isReadOnly());
    EXPECT_EQ(OpenFiles().SetAttributesOf(hFile, FilePort::ATTRIBUTE_READONLY), Status::Success);
    EXPECT_TRUE(isReadOnly());
    EXPECT_EQ(OpenFiles().SetAttributesOf(hFile, 0), Status::Success);
    EXPECT_FALSE(isReadOnly());
    char c = 0;
    DWORD dwCount = 0;
    EXPECT_EQ(Files().Read(hFile, &c, 1, dwCount), Status::AccessDenied);
    EXPECT_EQ(Files().Write(hFile, &c, 1, dwCount), Status::AccessDenied);
    EXPECT_EQ(Files().Close(hFile), Status::Success);
    const HANDLE hReading = Open(path, READING);
    if (!IsWine()) {
        EXPECT_EQ(OpenFiles().SetAttributesOf(hReading, FilePort::ATTRIBUTE_READONLY), Status::AccessDenied);
    }
    EXPECT_EQ(Files().Close(hReading), Status::Success);
    // The one handle through which a read-only file is made writable and deleted.
    EXPECT_EQ(Files().SetAttributes(path.c_str(), FilePort::ATTRIBUTE_READONLY), Status::Success);
    const HANDLE hDeleting = Open(path, {Access::Attributes, Disposition::OpenExisting, ALL, true, true});
    EXPECT_EQ(OpenFiles().SetAttributesOf(hDeleting, FilePort::ATTRIBUTE_NORMAL), Status::Success);
    EXPECT_EQ(Files().DeleteByHandle(hDeleting), Status::Success);
    EXPECT_EQ(Files().Close(hDeleting), Status::Success);
    EXPECT_FALSE(Exists(path));
}

TEST_P(OpenFilePortContract, FactsTellFilesApart) {
    const XString path = Path(VTEXT("file")), other = Path(VTEXT("other"));
    Put(path, "abc");
    Put(other, "abc");
    const HANDLE hFirst = Open(path, READING), hAgain = Open(path, LOOKING), hOther = Open(other, WRITING);
    OpenFilePort::Facts oFirst, oAgain, oOther;
    EXPECT_EQ(OpenFiles().GetFacts(hFirst, oFirst), Status::Success);
    EXPECT_EQ(OpenFiles().GetFacts(hAgain, oAgain), Status::Success);
    EXPECT_EQ(OpenFiles().GetFacts(hOther, oOther), Status::Success);
    EXPECT_EQ(oFirst.ullVolume, oAgain.ullVolume);
    EXPECT_EQ(oFirst.ullFile, oAgain.ullFile);
    EXPECT_EQ(oFirst.ullVolume, oOther.ullVolume);
    EXPECT_NE(oFirst.ullFile, oOther.ullFile);
    EXPECT_EQ(oFirst.ullWritten, oAgain.ullWritten);
    if (!IsFake()) {
        const LONGLONG llSeconds = static_cast<LONGLONG>(oFirst.ullWritten / 10'000'000) - 11'644'473'600;
        EXPECT_LE(std::abs(llSeconds - static_cast<LONGLONG>(std::time(nullptr))), 3600);
    }
    EXPECT_EQ(oFirst.cLinks, 1u);
    EXPECT_TRUE(oFirst.fDisk);
    EXPECT_TRUE(oFirst.fLocal);
    EXPECT_FALSE(oFirst.fLink);
    EXPECT_NE(oFirst.dwAttributes, 0u);
    EXPECT_FALSE(oFirst.dwAttributes & (FilePort::ATTRIBUTE_READONLY | FilePort::ATTRIBUTE_DIRECTORY));
    for (const HANDLE hFile : {hFirst, hAgain, hOther})
        EXPECT_EQ(Files().Close(hFile), Status::Success);
    if (IsFake()) return;
    std::filesystem::create_hard_link(m_oFolder / "file", m_oFolder / "link");
    const HANDLE hLinked = Open(Path(VTEXT("link")), LOOKING);
    EXPECT_EQ(OpenFiles().GetFacts(hLinked, oAgain), Status::Success);
    EXPECT_EQ(oAgain.cLinks, 2u);
    EXPECT_EQ(oAgain.ullFile, oFirst.ullFile);
    EXPECT_EQ(Files().Close(hLinked), Status::Success);
}

TEST_P(OpenFilePortContract, AWritableMappingHasRoomToGrow) {
    constexpr ULONGLONG ullRoom = 0x100000;
    const XString path = Path(VTEXT("file"));
    Put(path, "text");
    const HANDLE hFile = Open(path, {Access::ReadWrite, Disposition::OpenExisting, READ, true, false});
    const HANDLE hMapping = Map(hFile, 4 + ullRoom, true);
    EXPECT_EQ(SizeOf(hFile), 4 + ullRoom);
    char* const pView = View(hMapping);
    ASSERT_NE(pView, nullptr);
    EXPECT_EQ(std::string(pView, 6), std::string("text\0\0", 6));
    std::copy_n("longer text", 11, pView);
    pView[4 + ullRoom - 1] = 'z';
    // What is shown is the file.
    EXPECT_EQ(Files().Seek(hFile, 0), Status::Success);
    EXPECT_EQ(Read(hFile, 11), "longer text");
    EXPECT_EQ(Files().Seek(hFile, 11), Status::Success);
    EXPECT_EQ(Files().SetEnd(hFile), Status::UserMappedFile);
    EXPECT_EQ(SizeOf(hFile), 4 + ullRoom);
    EXPECT_EQ(OpenFiles().UnmapView(pView), Status::Success);
    EXPECT_EQ(Files().Close(hMapping), Status::Success);
    EXPECT_EQ(Files().SetEnd(hFile), Status::Success);
    EXPECT_EQ(Files().Close(hFile), Status::Success);
    EXPECT_EQ(Contents(path), "longer text");
}

TEST_P(OpenFilePortContract, AReadingMappingShowsTheFile) {
    const XString path = Path(VTEXT("file")), empty = Path(VTEXT("empty"));
    Put(path, "text");
    Put(empty, "");
    const HANDLE hFile = Open(path, READING), hEmpty = Open(empty, WRITING);
    HANDLE hNone = nullptr;
    EXPECT_EQ(OpenFiles().CreateMappingOf(hFile, 0, true, hNone), Status::AccessDenied);
    EXPECT_EQ(OpenFiles().CreateMappingOf(hFile, 5, false, hNone), Status::NotEnoughMemory);
    EXPECT_EQ(OpenFiles().CreateMappingOf(hEmpty, 0, false, hNone), Status::FileInvalid);
    EXPECT_EQ(OpenFiles().CreateMappingOf(hEmpty, 0, true, hNone), Status::FileInvalid);
    EXPECT_EQ(hNone, nullptr);
    const HANDLE hMapping = Map(hFile, 0, false);
    // The mapping needs its file's handle no longer, the views not the mapping's.
    EXPECT_EQ(Files().Close(hFile), Status::Success);
    char *const pWhole = View(hMapping), *const pPart = View(hMapping, 2);
    void* pNone = nullptr;
    EXPECT_EQ(OpenFiles().MapView(hMapping, 100'000, pNone), Status::AccessDenied);
    EXPECT_EQ(Files().Close(hMapping), Status::Success);
    EXPECT_EQ(std::string(pWhole, 4), "text");
    EXPECT_EQ(std::string(pPart, 2), "te");
    EXPECT_EQ(OpenFiles().UnmapView(pWhole), Status::Success);
    EXPECT_EQ(OpenFiles().UnmapView(pPart), Status::Success);
    EXPECT_EQ(OpenFiles().UnmapView(pPart), Status::InvalidAddress);
    EXPECT_EQ(OpenFiles().UnmapView(nullptr), Status::InvalidAddress);
    EXPECT_EQ(OpenFiles().MapView(hMapping, 0, pNone), Status::InvalidHandle);
    EXPECT_EQ(pNone, nullptr);
    EXPECT_EQ(Files().Close(hEmpty), Status::Success);
    EXPECT_EQ(Contents(path), "text");
}

TEST_P(OpenFilePortContract, AClosedHandleIsRefusedByEveryCall) {
    const HANDLE hFile = Open(Path(VTEXT("file")), WRITING);
    EXPECT_EQ(Files().Close(hFile), Status::Success);
    for (const HANDLE h : {hFile, HANDLE{nullptr}}) {
        OpenFilePort::Facts oFacts;
        DWORD dwCount = 0;
        HANDLE hMapping = nullptr;
        void* pView = nullptr;
        EXPECT_EQ(OpenFiles().GetFacts(h, oFacts), Status::InvalidHandle);
        EXPECT_EQ(OpenFiles().SetAttributesOf(h, FilePort::ATTRIBUTE_NORMAL), Status::InvalidHandle);
        EXPECT_EQ(OpenFiles().Append(h, "x", 1, dwCount), Status::InvalidHandle);
        EXPECT_EQ(OpenFiles().CreateMappingOf(h, 10, false, hMapping), Status::InvalidHandle);
        EXPECT_EQ(OpenFiles().MapView(h, 0, pView), Status::InvalidHandle);
    }
    EXPECT_EQ(m_oFake.files.OpenHandles(), 0u);
}

Q9_CONTRACT_SUITE(OpenFilePortContract);

}  // namespace

}  // namespace vlm::test
