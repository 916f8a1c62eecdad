/// @file
/// Whole files and ranges: contents, refusals and every text, on a disk in memory and on a real one.
#include "utilities/utilitiesdll/SimpleFile.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>

#include "formats/FileOnAFake.h"
#include "platform/ClockPort.h"
#include "platform/ProcessPort.h"
#include "support/FaultPlatform.h"
#include "support/RecordingSink.h"
#include "utilities/debuggingandexceptions/VelomExceptions.h"

namespace vlm::test {
namespace {

constexpr auto LEAVE = SimpleFile::FAA_LEAVE;
constexpr auto WRITABLE = SimpleFile::FAA_MAKE_WRITABLE;
constexpr auto READERS = SimpleFile::RSE_READERS;
constexpr auto REFUSE = SimpleFile::MFE_REFUSE;

const BYTE* Pointer(const char* psz) {
    return reinterpret_cast<const BYTE*>(psz);
}

class SimpleFileOnAFake : public FileOnAFake {
protected:
    HANDLE Hold(FilePort::Access eAccess, DWORD dwShare) {
        FilePort::OpenOptions oOptions;
        oOptions.eAccess = eAccess;
        oOptions.dwShare = dwShare;
        HANDLE hFile = nullptr;
        EXPECT_EQ(m_oFake.files.Open(PATH, oOptions, hFile), Status::Success);
        return hFile;
    }
    /// A text without the file's name, and without handles, which differ from run to run: "F" and "H".
    static std::string Plain(std::string text) {
        const std::string path = Narrow(PATH);
        for (std::size_t i = 0; (i = text.find(path, i)) != std::string::npos;)
            text.replace(i, path.size(), "F");
        for (std::size_t i = 0; (i = text.find("000000000", i)) != std::string::npos;)
            text.replace(i, 16, "H");
        return text;
    }

    const SimpleFile m_oFile{CXString(PATH)};
};

TEST_F(SimpleFileOnAFake, WholeFilesComeBackWithTheirMessages) {
    RecordingSink sink;
    ByteBuffer bb = TextBuffer("former");
    for (const std::string_view svContents : {"first contents", "", "2nd"}) {
        sink.Clear();
        m_oFile.WriteTheFile(TextBuffer(svContents), LEAVE);
        EXPECT_EQ(Contents(), svContents);
        m_oFile.ReadTheFile(bb);
        EXPECT_EQ(TextOf(bb), svContents);
        std::vector<std::string> vTexts = sink.Texts();
        ASSERT_GT(vTexts.size(), 1u);
        vTexts[1] = Plain(vTexts[1]);
        EXPECT_EQ(vTexts, (std::vector<std::string>{
                              "Successfully wrote the buffer contents.", "Opened file F and got handle H.",
                              "SimpleFile is " + std::to_string(svContents.size()) + " bytes in size.",
                              "Successfully read the file contents.", "Done with the file. Closing it."}));
    }
}

TEST_F(SimpleFileOnAFake, RangesAreExact) {
    Put("0123456789");
    RecordingSink sink;
    ByteBuffer bb;
    for (const DWORD dwLimit : {10u, 0xFFFFFFFFu}) {
        m_oFile.ReadTheFile(bb, dwLimit);
        EXPECT_EQ(TextOf(bb), "0123456789");
    }
    sink.Clear();
    m_oFile.ReadFromTheFile(3, 4, READERS, bb);
    EXPECT_EQ(TextOf(bb), "3456");
    EXPECT_EQ(Plain(sink.Texts()[1]), "Set file position to 3 for file F with handle H.");
    m_oFile.ReadFromTheFile(10, 0, READERS, bb);
    EXPECT_TRUE(bb.empty());
    m_oFile.WriteToTheFile(2, 3, REFUSE, Pointer("abc"), LEAVE);
    m_oFile.WriteToTheFile(12, 1, REFUSE, Pointer("x"), LEAVE);
    EXPECT_EQ(Contents(), std::string("01abc56789\0\0x", 13));
    m_oFile.WriteToTheEndOfFile(REFUSE, 0, 3, Pointer("end"), LEAVE);
    m_oFile.WriteToTheEndOfFile(REFUSE, -4, 2, Pointer("XY"), LEAVE);
    sink.Clear();
    m_oFile.WriteToTheEndOfFile(REFUSE, -16, 0, nullptr, LEAVE);
    EXPECT_EQ(Plain(sink.Texts()[0]), "Set file position to -16 for file F with handle H.");
    EXPECT_EQ(Contents(), std::string("01abc56789\0\0XYnd", 16));
    const SimpleFile oNew(VTEXT("C:\\data\\new.bin"));
    oNew.WriteToTheEndOfFile(SimpleFile::MFE_CREATE, 0, 1, Pointer("x"), LEAVE);
    EXPECT_TRUE(oNew.FileExists());
}

TEST_F(SimpleFileOnAFake, EachRefusalIsNamedAndChangesNothing) {
    Put("0123456789");
    const SimpleFile oNew(VTEXT("C:\\data\\new.bin"));
    ByteBuffer bb = TextBuffer("kept");
    FaultPlatform oFaults(m_oFake.Get());
    const PlatformScope oScope(oFaults.Get());
    const auto read = [&] { m_oFile.ReadTheFile(bb); };
    const auto readRange = [&](ULONGLONG ullPosition, DWORD dwSize) {
        return [&, ullPosition, dwSize] { m_oFile.ReadFromTheFile(ullPosition, dwSize, READERS, bb); };
    };
    const auto writeAtEnd = [&](LONG lOffset) {
        return [&, lOffset] { m_oFile.WriteToTheEndOfFile(REFUSE, lOffset, 1, Pointer("x"), LEAVE); };
    };
    const std::string notRead = "ExceptionReadFile: ReadFile() failed or didn't read the expected number of bytes";
    const std::string noPlace = " SetFilePointer() failed for position ";
    const struct {
        std::function<void()> fnCall;
        FaultMode eMode;
        std::uint64_t ullFault;  ///< of the calls open, size, ...
        std::string report;
    } aoRows[] = {
        {[&] { oNew.ReadTheFile(bb); }, FaultMode::None, 0,
         "ExceptionCreateFileForReading: CreateFile() failed to open file C:\\data\\new.bin "},
        {[&] { oNew.WriteToTheFile(0, 1, REFUSE, Pointer("x"), WRITABLE); }, FaultMode::None, 0,
         "ExceptionCreateFileForWriting: CreateFile() failed to open/create file C:\\data\\new.bin "},
        {[&] { m_oFile.ReadTheFile(bb, 9); }, FaultMode::FailOnce, 3,  // nothing is read
         "ExceptionReadFile: ReadFile() failed because F exceeds the specified limit of 9 bytes. (SizeHi=0, "
         "SizeLo=10)"},
        {read, FaultMode::FailOnce, 2, "ExceptionReadFile: GetFileSize() failed for file F with handle 0xH "},
        {read, FaultMode::FailOnce, 3, notRead + " for file F with handle 0xH "},
        {read, FaultMode::ShortOnce, 3, notRead + " for file F with handle 0xH "},
        {readRange(8, 3), FaultMode::None, 0, notRead + ", 3, for file F at position 8 with handle 0xH "},
        {readRange(11, 0), FaultMode::None, 0, notRead + ", 0, for file F at position 11 with handle 0xH "},
        {readRange(0, 0xFFFFFFFF), FaultMode::None, 0,
         notRead + ", 4294967295, for file F at position 0 with handle 0xH "},
        {readRange(~0ull, 1), FaultMode::None, 0,
         "ExceptionReadFile: Preparing to read:" + noPlace + "18446744073709551615 in file F with handle 0xH "},
        {[&] { m_oFile.WriteToTheFile(~0ull, 1, REFUSE, Pointer("x"), LEAVE); }, FaultMode::None, 0,
         "ExceptionWriteFile: Preparing to write:" + noPlace + "18446744073709551615 in file F with handle 0xH "},
        {writeAtEnd(-11), FaultMode::None, 0,
         "ExceptionWriteFile: Preparing to write:" + noPlace + "-11 in file F with handle 0xH "},
        {writeAtEnd(0), FaultMode::FailOnce, 2,
         "ExceptionWriteFile: Preparing to write:" + noPlace + "0 in file F with handle 0xH "},
    };
    for (const auto& rRow : aoRows) {
        RecordingSink sink;
        oFaults.Script().Arm(rRow.eMode, rRow.ullFault);
        EXPECT_THROW(rRow.fnCall(), ExceptionFile) << rRow.report;
        std::vector<std::string> vTexts = sink.Texts();
        const std::string last = vTexts.back();
        const bool fOpened = last.starts_with("Caught an exception with a file handle still open. Clos");
        EXPECT_EQ(fOpened, rRow.report.find("ExceptionCreate") == std::string::npos);
        if (fOpened) vTexts.pop_back();
        EXPECT_TRUE(Plain(vTexts.back()).starts_with("*Throwing* " + rRow.report)) << vTexts.back();
    }
    oFaults.Script().Disarm();
    EXPECT_EQ(TextOf(bb), "kept");
    EXPECT_EQ(Contents(), "0123456789");
    EXPECT_FALSE(oNew.FileExists());
}

TEST_F(SimpleFileOnAFake, ReadOnlyFilesAreWrittenOnlyWhenAsked) {
    RecordingSink sink;
    constexpr DWORD HIDDEN = FilePort::ATTRIBUTE_HIDDEN;
    Put("old", FilePort::ATTRIBUTE_READONLY | HIDDEN);
    EXPECT_THROW(m_oFile.WriteTheFile(TextBuffer("new"), LEAVE), ExceptionCreateFileForWriting);
    EXPECT_FALSE(m_oFile.DeleteTheFile(LEAVE));
    EXPECT_EQ(sink.Count("DeleteFile(C:\\data\\file.bin) failed "), 1u);
    EXPECT_EQ(Contents(), "old");
    EXPECT_TRUE(m_oFile.EnsureFileIsWritable());
    DWORD dwAttributes = 0;
    m_oFake.files.GetAttributes(PATH, dwAttributes);
    EXPECT_EQ(dwAttributes, HIDDEN) << "nothing else is changed";
    m_oFake.files.SetAttributes(PATH, FilePort::ATTRIBUTE_READONLY);
    m_oFile.WriteTheFile(TextBuffer("new"), WRITABLE);
    EXPECT_EQ(Contents(), "new");
    m_oFake.files.SetAttributes(PATH, FilePort::ATTRIBUTE_READONLY);
    {
        FaultPlatform oFaults(m_oFake.Get());
        const PlatformScope oScope(oFaults.Get());
        for (const std::uint64_t ullCall : {1u, 2u, 3u, 4u}) {  // read, open, read by the handle, set
            sink.Clear();
            oFaults.Script().Arm(FaultMode::FailOnce, ullCall);
            EXPECT_FALSE(m_oFile.EnsureFileIsWritable());
            EXPECT_EQ(Plain(sink.Texts().at(0)), ullCall < 4
                                                     ? "Failed call to GetFileAttributesEx() for F"
                                                     : "Failed call to SetFileAttributes(~FILE_ATTRIBUTE_READONLY) "
                                                       "for F");
        }
    }
    EXPECT_TRUE(m_oFile.DeleteTheFile(WRITABLE));
    EXPECT_FALSE(m_oFile.EnsureFileIsWritable());
    sink.Clear();
    m_oFile.WriteTheFile(TextBuffer("created"), WRITABLE);
    EXPECT_EQ(sink.Texts().size(), 1u) << "a missing file has no attributes to change";
}

TEST_F(SimpleFileOnAFake, ExistenceIsToldEvenOfFilesThatAreHeld) {
    RecordingSink sink;
    EXPECT_FALSE(SimpleFile::DoesFileExist(VTEXT("C:\\data"))) << "a folder";
    Put("x", FilePort::ATTRIBUTE_READONLY);
    sink.Clear();
    EXPECT_TRUE(m_oFile.FileExists());
    const HANDLE hFile = Hold(FilePort::Access::Read, FilePort::ShareNone);
    EXPECT_TRUE(m_oFile.FileExists());
    m_oFake.files.Close(hFile);
    m_oFile.DeleteTheFile(WRITABLE);
    EXPECT_FALSE(m_oFile.FileExists());
    EXPECT_EQ(sink.Texts(),
              (std::vector<std::string>{
                  "SimpleFile opened successfully. It exists.",
                  "SimpleFile failed to open with error 32 - \"The process cannot access the file because it is being "
                  "used by another process.\". Therefore the file exists.",
                  "SimpleFile could not be opened. It does not exist."}));
}

TEST_F(SimpleFileOnAFake, AWriterIsAloneAndReadersMayShare) {
    Put("old");
    ByteBuffer bb;
    const HANDLE hReader = Hold(FilePort::Access::Read, FilePort::ShareRead);
    m_oFile.ReadTheFile(bb);
    EXPECT_THROW(m_oFile.WriteTheFile(TextBuffer("new"), LEAVE), ExceptionCreateFileForWriting);
    EXPECT_EQ(Contents(), "old") << "a file that cannot be written is not emptied";
    m_oFake.files.Close(hReader);
    const HANDLE hWriter = Hold(FilePort::Access::Write, FilePort::ShareRead);
    EXPECT_THROW(m_oFile.ReadTheFile(bb), ExceptionCreateFileForReading);
    EXPECT_THROW(m_oFile.ReadFromTheFile(0, 1, READERS, bb), ExceptionCreateFileForReading);
    m_oFile.ReadFromTheFile(0, 1, SimpleFile::RSE_READERS_AND_WRITERS, bb);
    EXPECT_EQ(TextOf(bb), "o");
    m_oFake.files.Close(hWriter);
}

TEST_F(SimpleFileOnAFake, AFailedWholeWriteLeavesNoFile) {
    RecordingSink sink;
    Put("the old contents");
    m_oFake.files.LimitSpace(5);
    EXPECT_THROW(m_oFile.WriteTheFile(TextBuffer("too much"), LEAVE), ExceptionWriteFile);
    EXPECT_TRUE(Plain(sink.Texts()[0])
                    .starts_with("*Throwing* ExceptionWriteFile: WriteFile() failed or didn't write the expected "
                                 "number of bytes (0 written, expected 8) for file F with handle 0xH "));
    EXPECT_EQ(sink.Count("Caught an exception with a file handle still open. Close it and delete the file."), 1u);
    EXPECT_EQ(Contents(), "(none)");
}

TEST(SimpleFileOnDisk, FilesBeyondFourGigabytesAreReadInRanges) {
    const Platform& rSystem = GetSystemPlatform();
    const auto path =
        std::filesystem::temp_directory_path() / ("q9-simple-" + std::to_string(rSystem.pProcess->CurrentProcessId()) +
                                                  "-" + std::to_string(rSystem.pClock->PerformanceCounter()));
    const SimpleFile oFile(CXString(XStringView(path.string<XCHAR>())));
    constexpr ULONGLONG FAR = 0x1'8000'0000;
    oFile.WriteToTheFile(FAR, 4, SimpleFile::MFE_CREATE, Pointer("here"), LEAVE);
    oFile.WriteToTheEndOfFile(REFUSE, -4, 2, Pointer("HE"), LEAVE);
    ByteBuffer bb;
    oFile.ReadFromTheFile(FAR - 2, 6, READERS, bb);
    EXPECT_EQ(TextOf(bb), std::string("\0\0HEre", 6));
    EXPECT_TRUE(MessageOf<ExceptionReadFile>([&] {
                    oFile.ReadTheFile(bb);
                }).ends_with("exceeds the specified limit of 4294967295 bytes. (SizeHi=1, SizeLo=2147483652)"));
    EXPECT_TRUE(oFile.DeleteTheFile(LEAVE));
}

}  // namespace
}  // namespace vlm::test
