/// @file
/// Whole files and ranges: contents, refusals and every text, on a disk in memory and on a real one.
#include "utilities/utilitiesdll/SimpleFile.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "platform/ClockPort.h"
#include "platform/ProcessPort.h"
#include "support/Bytes.h"
#include "support/FakePlatform.h"
#include "support/FaultPlatform.h"
#include "support/RecordingSink.h"
#include "utilities/debuggingandexceptions/VelomExceptions.h"

namespace {

using namespace vlm;
using namespace vlm::test;

const XCHAR* const PATH = VTEXT("C:\\data\\file.bin");
constexpr auto LEAVE = SimpleFile::FAA_LEAVE;
constexpr auto WRITABLE = SimpleFile::FAA_MAKE_WRITABLE;
constexpr auto READERS = SimpleFile::RSE_READERS;

ByteBuffer Bytes(std::string_view svText) {
    return ByteBuffer(BytesOf(svText));
}

std::string TextOf(const ByteBuffer& rbb) {
    return std::string(rbb.begin(), rbb.end());
}

const BYTE* Pointer(const char* psz) {
    return reinterpret_cast<const BYTE*>(psz);
}

template <class Exception, class Operation>
std::string MessageOf(Operation&& operation) {
    try {
        operation();
    } catch (const Exception& rException) {
        return Narrow(rException.GetExceptionMesage().View());
    } catch (const std::exception& rException) {
        return std::string("another exception: ") + rException.what();
    }
    return "(no exception)";
}

/// Replaces handles, which differ from run to run, by "H".
std::string WithoutHandles(std::string text) {
    for (std::size_t i = 0; (i = text.find("000000000", i)) != std::string::npos;)
        text.replace(i, 16, "H");
    return text;
}

class SimpleFileOnAFake : public testing::Test {
protected:
    SimpleFileOnAFake() : m_oScope(m_oFake.Get()) { m_oFake.files.AddFolder(VTEXT("C:\\data")); }

    std::string Contents() const {
        const auto ovby = m_oFake.files.Contents(PATH);
        return ovby ? std::string(ovby->begin(), ovby->end()) : "(none)";
    }
    bool IsReadOnly() {
        DWORD dwAttributes = 0;
        EXPECT_EQ(m_oFake.files.GetAttributes(PATH, dwAttributes), Status::Success);
        return (dwAttributes & FilePort::ATTRIBUTE_READONLY) != 0;
    }
    HANDLE Hold(DWORD dwShare) {
        FilePort::OpenOptions oOptions;
        oOptions.dwShare = dwShare;
        HANDLE hFile = nullptr;
        EXPECT_EQ(m_oFake.files.Open(PATH, oOptions, hFile), Status::Success);
        return hFile;
    }

    FakePlatform m_oFake;
    PlatformScope m_oScope;
    const SimpleFile m_oFile{CXString(PATH)};
};

TEST_F(SimpleFileOnAFake, WholeFilesComeBackWithTheirMessages) {
    RecordingSink sink;
    ByteBuffer bb = Bytes("former");
    for (const std::string_view svContents : {"first contents", "", "2nd"}) {
        sink.Clear();
        m_oFile.WriteTheFile(Bytes(svContents), LEAVE);
        EXPECT_EQ(sink.Texts(), std::vector<std::string>{"Successfully wrote the buffer contents."});
        EXPECT_EQ(Contents(), svContents);
        sink.Clear();
        m_oFile.ReadTheFile(bb);
        EXPECT_EQ(TextOf(bb), svContents);
        ASSERT_EQ(sink.Texts().size(), 4u);
        EXPECT_EQ(WithoutHandles(sink.Texts()[0]), "Opened file C:\\data\\file.bin and got handle H.");
        EXPECT_EQ(sink.Texts()[1], "SimpleFile is " + std::to_string(svContents.size()) + " bytes in size.");
        EXPECT_EQ(sink.Texts()[2], "Successfully read the file contents.");
        EXPECT_EQ(sink.Texts()[3], "Done with the file. Closing it.");
    }
}

TEST_F(SimpleFileOnAFake, TheLimitIsCheckedBeforeAnythingIsRead) {
    m_oFake.files.AddFile(PATH, BytesOf("0123456789"));
    FaultPlatform oFaults(m_oFake.Get());
    const PlatformScope oScope(oFaults.Get());
    ByteBuffer bb;
    for (const DWORD dwLimit : {0u, 10u, 11u, 0xFFFFFFFFu}) {
        m_oFile.ReadTheFile(bb, dwLimit);
        EXPECT_EQ(TextOf(bb), "0123456789");
    }
    oFaults.Script().Arm(FaultMode::None, 0);
    EXPECT_EQ(
        MessageOf<ExceptionReadFile>([&] { m_oFile.ReadTheFile(bb, 9); }),
        "ReadFile() failed because C:\\data\\file.bin exceeds the specified limit of 9 bytes. (SizeHi=0, SizeLo=10)");
    EXPECT_EQ(oFaults.Script().Calls(), 3u) << "open, size, close";
    EXPECT_EQ(TextOf(bb), "0123456789");
}

TEST_F(SimpleFileOnAFake, RangesAreExact) {
    RecordingSink sink;
    m_oFake.files.AddFile(PATH, BytesOf("0123456789"));
    ByteBuffer bb = Bytes("kept");
    m_oFile.ReadFromTheFile(3, 4, READERS, bb);
    EXPECT_EQ(TextOf(bb), "3456");
    EXPECT_EQ(WithoutHandles(sink.Texts()[1]), "Set file position to 3 for file C:\\data\\file.bin with handle H.");
    m_oFile.ReadFromTheFile(10, 0, READERS, bb);
    EXPECT_TRUE(bb.empty());
    bb = Bytes("kept");
    struct {
        ULONGLONG ullPosition;
        DWORD dwSize;
    } const aRows[] = {{8, 3}, {10, 1}, {11, 0}, {0, 11}, {0, 0xFFFFFFFF}, {0xFFFFFFFFFF, 1}};
    for (const auto& rRow : aRows) {
        const std::string message =
            MessageOf<ExceptionReadFile>([&] { m_oFile.ReadFromTheFile(rRow.ullPosition, rRow.dwSize, READERS, bb); });
        EXPECT_TRUE(WithoutHandles(message).starts_with(
            "ReadFile() failed or didn't read the expected number of bytes, " + std::to_string(rRow.dwSize) +
            ", for file C:\\data\\file.bin at position " + std::to_string(rRow.ullPosition) + " with handle 0xH "))
            << message;
        EXPECT_EQ(TextOf(bb), "kept");
    }
    EXPECT_EQ(sink.Count("Caught an exception with a file handle still open. Closing it."), std::size(aRows));
    EXPECT_TRUE(WithoutHandles(MessageOf<ExceptionReadFile>([&] { m_oFile.ReadFromTheFile(~0ull, 1, READERS, bb); }))
                    .starts_with("Preparing to read: SetFilePointer() failed for position 18446744073709551615 in file "
                                 "C:\\data\\file.bin with handle 0xH "));
    EXPECT_EQ(m_oFake.files.OpenHandles(), 0u);
}

TEST_F(SimpleFileOnAFake, RangedWritesChangeWhatTheyAreToldTo) {
    RecordingSink sink;
    m_oFake.files.AddFile(PATH, BytesOf("0123456789"));
    m_oFile.WriteToTheFile(2, 3, SimpleFile::MFE_REFUSE, Pointer("abc"), LEAVE);
    EXPECT_EQ(Contents(), "01abc56789");
    m_oFile.WriteToTheFile(12, 1, SimpleFile::MFE_REFUSE, Pointer("x"), LEAVE);
    EXPECT_EQ(Contents(), std::string("01abc56789\0\0x", 13));
    m_oFile.WriteToTheEndOfFile(SimpleFile::MFE_REFUSE, 0, 3, Pointer("end"), LEAVE);
    m_oFile.WriteToTheEndOfFile(SimpleFile::MFE_REFUSE, -4, 2, Pointer("XY"), LEAVE);
    EXPECT_EQ(Contents(), std::string("01abc56789\0\0XYnd", 16));
    EXPECT_EQ(sink.Count("Set file position to -4 for file C:\\data\\file.bin with handle "), 1u);
    m_oFile.WriteToTheEndOfFile(SimpleFile::MFE_REFUSE, -16, 0, nullptr, LEAVE);
    EXPECT_TRUE(WithoutHandles(MessageOf<ExceptionWriteFile>([&] {
                    m_oFile.WriteToTheEndOfFile(SimpleFile::MFE_REFUSE, -17, 1, Pointer("x"), LEAVE);
                }))
                    .starts_with("Preparing to write: SetFilePointer() failed for position -17 in file "
                                 "C:\\data\\file.bin with handle 0xH "));
    EXPECT_TRUE(WithoutHandles(MessageOf<ExceptionWriteFile>([&] {
                    m_oFile.WriteToTheFile(~0ull, 1, SimpleFile::MFE_REFUSE, Pointer("x"), LEAVE);
                }))
                    .starts_with("Preparing to write: SetFilePointer() failed for position 18446744073709551615 in "
                                 "file C:\\data\\file.bin with handle 0xH "));
    EXPECT_EQ(sink.Count("Caught an exception with a file handle still open. Close it."), 2u);
    EXPECT_EQ(Contents(), std::string("01abc56789\0\0XYnd", 16)) << "a failed ranged write deletes nothing";
    // Without a file.
    const SimpleFile oNew(VTEXT("C:\\data\\new.bin"));
    EXPECT_THROW(oNew.WriteToTheFile(0, 1, SimpleFile::MFE_REFUSE, Pointer("x"), WRITABLE),
                 ExceptionCreateFileForWriting);
    EXPECT_FALSE(oNew.FileExists());
    oNew.WriteToTheEndOfFile(SimpleFile::MFE_CREATE, 0, 1, Pointer("x"), LEAVE);
    EXPECT_TRUE(oNew.FileExists());
}

TEST_F(SimpleFileOnAFake, WhatCannotBeOpenedIsNamed) {
    ByteBuffer bb;
    EXPECT_TRUE(MessageOf<ExceptionCreateFileForReading>([&] {
                    m_oFile.ReadTheFile(bb);
                }).starts_with("CreateFile() failed to open file C:\\data\\file.bin "));
    const SimpleFile oNowhere(VTEXT("C:\\none\\file.bin"));
    const std::string message =
        MessageOf<ExceptionCreateFileForWriting>([&] { oNowhere.WriteTheFile(Bytes("x"), LEAVE); });
    EXPECT_TRUE(message.starts_with("CreateFile() failed to open/create file C:\\none\\file.bin ")) << message;
    EXPECT_TRUE(message.ends_with(" (error 3).")) << message;
    EXPECT_THROW(SimpleFile(CXString()).ReadTheFile(bb), ExceptionCreateFileForReading);
}

TEST_F(SimpleFileOnAFake, ReadOnlyFilesAreWrittenOnlyWhenAsked) {
    RecordingSink sink;
    m_oFake.files.AddFile(PATH, BytesOf("old"), FilePort::ATTRIBUTE_READONLY | FilePort::ATTRIBUTE_HIDDEN);
    EXPECT_THROW(m_oFile.WriteTheFile(Bytes("new"), LEAVE), ExceptionCreateFileForWriting);
    EXPECT_FALSE(m_oFile.DeleteTheFile(LEAVE));
    EXPECT_EQ(sink.Count("DeleteFile(C:\\data\\file.bin) failed "), 1u);
    EXPECT_EQ(Contents(), "old");
    m_oFile.WriteTheFile(Bytes("new"), WRITABLE);
    EXPECT_EQ(Contents(), "new");
    EXPECT_FALSE(IsReadOnly());
    DWORD dwAttributes = 0;
    m_oFake.files.SetAttributes(PATH, FilePort::ATTRIBUTE_READONLY | FilePort::ATTRIBUTE_HIDDEN);
    EXPECT_TRUE(m_oFile.EnsureFileIsWritable());
    m_oFake.files.GetAttributes(PATH, dwAttributes);
    EXPECT_EQ(dwAttributes, FilePort::ATTRIBUTE_HIDDEN) << "nothing else is changed";
    m_oFake.files.SetAttributes(PATH, FilePort::ATTRIBUTE_READONLY);
    EXPECT_TRUE(m_oFile.DeleteTheFile(WRITABLE));
    EXPECT_EQ(Contents(), "(none)");
    sink.Clear();
    EXPECT_FALSE(m_oFile.EnsureFileIsWritable());
    EXPECT_EQ(sink.Texts(), std::vector<std::string>{"Failed call to GetFileAttributesEx() for C:\\data\\file.bin"});
    sink.Clear();
    m_oFile.WriteTheFile(Bytes("created"), WRITABLE);
    EXPECT_EQ(sink.Texts().size(), 1u) << "a missing file has no attributes to change";
}

TEST_F(SimpleFileOnAFake, AttributesThatCannotBeChangedAreNamed) {
    RecordingSink sink;
    m_oFake.files.AddFile(PATH, BytesOf("old"), FilePort::ATTRIBUTE_READONLY);
    FaultPlatform oFaults(m_oFake.Get());
    const PlatformScope oScope(oFaults.Get());
    const char* const GET = "Failed call to GetFileAttributesEx() for C:\\data\\file.bin";
    const char* const SET = "Failed call to SetFileAttributes(~FILE_ATTRIBUTE_READONLY) for C:\\data\\file.bin";
    std::uint64_t ullCall = 0;
    for (const char* pszText : {GET, GET, GET, SET}) {  // read, open, read by the handle, set
        sink.Clear();
        oFaults.Script().Arm(FaultMode::FailOnce, ++ullCall);
        EXPECT_FALSE(m_oFile.EnsureFileIsWritable());
        EXPECT_EQ(sink.Texts(), std::vector<std::string>{pszText}) << ullCall;
        EXPECT_EQ(m_oFake.files.OpenHandles(), 0u);
    }
}

TEST_F(SimpleFileOnAFake, ExistenceIsToldEvenOfFilesThatAreHeld) {
    RecordingSink sink;
    EXPECT_FALSE(m_oFile.FileExists());
    EXPECT_FALSE(SimpleFile::DoesFileExist(VTEXT("C:\\data"))) << "a folder";
    m_oFake.files.AddFile(PATH, BytesOf("x"), FilePort::ATTRIBUTE_READONLY);
    EXPECT_TRUE(m_oFile.FileExists());
    const HANDLE hFile = Hold(FilePort::ShareNone);
    EXPECT_TRUE(m_oFile.FileExists());
    ByteBuffer bb;
    EXPECT_THROW(m_oFile.ReadTheFile(bb), ExceptionCreateFileForReading);
    m_oFake.files.Close(hFile);
    EXPECT_EQ(sink.Texts()[0], "SimpleFile could not be opened. It does not exist.");
    EXPECT_EQ(sink.Texts()[2], "SimpleFile opened successfully. It exists.");
    EXPECT_EQ(sink.Texts()[3],
              "SimpleFile failed to open with error 32 - \"The process cannot access the file because it is being used "
              "by another process.\". Therefore the file exists.");
}

TEST_F(SimpleFileOnAFake, AWriterIsAloneAndReadersMayShare) {
    m_oFake.files.AddFile(PATH, BytesOf("old"));
    ByteBuffer bb;
    const HANDLE hReader = Hold(FilePort::ShareRead);
    m_oFile.ReadTheFile(bb);
    EXPECT_THROW(m_oFile.WriteTheFile(Bytes("new"), LEAVE), ExceptionCreateFileForWriting);
    EXPECT_EQ(Contents(), "old") << "a file that cannot be written is not emptied";
    m_oFake.files.Close(hReader);
    // Somebody who reads and shares all but deletion: the write goes by the name then.
    const HANDLE hSharer = Hold(FilePort::ShareRead | FilePort::ShareWrite);
    m_oFile.WriteToTheFile(0, 3, SimpleFile::MFE_REFUSE, Pointer("NEW"), LEAVE);
    EXPECT_EQ(Contents(), "NEW");
    m_oFake.files.Close(hSharer);
    FilePort::OpenOptions oWriting;
    oWriting.eAccess = FilePort::Access::Write;
    oWriting.dwShare = FilePort::ShareRead;
    HANDLE hWriter = nullptr;
    ASSERT_EQ(m_oFake.files.Open(PATH, oWriting, hWriter), Status::Success);
    EXPECT_THROW(m_oFile.ReadTheFile(bb), ExceptionCreateFileForReading);
    EXPECT_THROW(m_oFile.ReadFromTheFile(0, 1, READERS, bb), ExceptionCreateFileForReading);
    m_oFile.ReadFromTheFile(0, 1, SimpleFile::RSE_READERS_AND_WRITERS, bb);
    EXPECT_EQ(TextOf(bb), "N");
    m_oFake.files.Close(hWriter);
}

TEST_F(SimpleFileOnAFake, AFailedWholeWriteLeavesNoFile) {
    RecordingSink sink;
    m_oFake.files.AddFile(PATH, BytesOf("the old contents"));
    m_oFake.files.LimitSpace(5);
    const std::string message = MessageOf<ExceptionWriteFile>([&] { m_oFile.WriteTheFile(Bytes("too much"), LEAVE); });
    EXPECT_TRUE(
        WithoutHandles(message).starts_with("WriteFile() failed or didn't write the expected number of bytes (0 "
                                            "written, expected 8) for file C:\\data\\file.bin with handle 0xH "))
        << message;
    EXPECT_EQ(sink.Count("Caught an exception with a file handle still open. Close it and delete the file."), 1u);
    EXPECT_EQ(Contents(), "(none)");
    EXPECT_EQ(m_oFake.files.OpenHandles(), 0u);
}

/// On the system's own disk.
class SimpleFileOnDisk : public testing::Test {
protected:
    void SetUp() override {
        const Platform& rSystem = GetSystemPlatform();
        m_oFolder = std::filesystem::temp_directory_path() /
                    ("q9-simple-" + std::to_string(rSystem.pProcess->CurrentProcessId()) + "-" +
                     std::to_string(rSystem.pClock->PerformanceCounter()));
        std::filesystem::create_directory(m_oFolder);
    }
    void TearDown() override { std::filesystem::remove_all(m_oFolder); }
    CXString Path(XStringView svName) const {
        return CXString(XStringView(m_oFolder.string<XCHAR>())) + VTEXT("\\") + CXString(svName);
    }

    std::filesystem::path m_oFolder;
};

TEST_F(SimpleFileOnDisk, LongAndForeignNamesWork) {
    const XString part(200, VTEXT('n'));
    const CXString csFolder = Path(part);
    ASSERT_EQ(GetPlatform().pFiles->CreateDirectoryAt(csFolder), Status::Success);
    const SimpleFile oFile(csFolder + VTEXT("\\") + CXString(XStringView(part)) +
                           VTEXT(" Gr\u00FCn \u20AC \U0001F600.bin"));
    ASSERT_GT(oFile.GetFileName().GetLength(), 400);
    ByteBuffer bb;
    oFile.WriteTheFile(Bytes("far away"), WRITABLE);
    oFile.ReadTheFile(bb);
    EXPECT_EQ(TextOf(bb), "far away");
    EXPECT_TRUE(oFile.FileExists());
    EXPECT_TRUE(oFile.EnsureFileIsWritable());
    EXPECT_TRUE(oFile.DeleteTheFile(LEAVE));
    EXPECT_FALSE(oFile.FileExists());
}

TEST_F(SimpleFileOnDisk, FilesBeyondFourGigabytesAreReadInRanges) {
    const SimpleFile oFile(Path(VTEXT("large.bin")));
    constexpr ULONGLONG FAR = 0x1'8000'0000;
    oFile.WriteToTheFile(FAR, 4, SimpleFile::MFE_CREATE, Pointer("here"), LEAVE);
    ByteBuffer bb;
    oFile.ReadFromTheFile(FAR - 2, 6, READERS, bb);
    EXPECT_EQ(TextOf(bb), std::string("\0\0here", 6));
    oFile.WriteToTheEndOfFile(SimpleFile::MFE_REFUSE, -4, 4, Pointer("HERE"), LEAVE);
    oFile.ReadFromTheFile(FAR, 4, READERS, bb);
    EXPECT_EQ(TextOf(bb), "HERE");
    EXPECT_TRUE(MessageOf<ExceptionReadFile>([&] {
                    oFile.ReadTheFile(bb);
                }).ends_with("exceeds the specified limit of 4294967295 bytes. (SizeHi=1, SizeLo=2147483652)"));
}

TEST_F(SimpleFileOnDisk, ADiskThatIsFullIsAFailedWrite) {
#ifdef _WIN32
    const CXString csFull(VTEXT("Z:\\dev\\full"));
    if (!SimpleFile::DoesFileExist(csFull)) GTEST_SKIP() << "no full device here";
#else
    const CXString csFull(VTEXT("/dev/full"));
#endif
    EXPECT_THROW(SimpleFile(csFull).WriteToTheFile(0, 4, SimpleFile::MFE_REFUSE, Pointer("data"), LEAVE),
                 ExceptionWriteFile);
}

}  // namespace
