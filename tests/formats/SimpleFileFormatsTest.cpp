/// @file
/// Files with checksum, compression and encryption: golden bytes, hostile bytes, refusals.
#include <gtest/gtest.h>

#include "support/Bytes.h"
#include "support/FakePlatform.h"
#include "support/FaultPlatform.h"
#include "support/RecordingSink.h"
#include "utilities/compression/CabCompressedBuffer.h"
#include "utilities/debuggingandexceptions/VelomExceptions.h"
#include "utilities/utilitiesdll/SimpleFileWithCompression.h"
#include "utilities/utilitiesdll/SimpleFileWithCrc.h"
#include "utilities/utilitiesdll/simplefilewithencryption.h"

namespace {

using namespace vlm;
using namespace vlm::test;

const XCHAR* const PATH = VTEXT("C:\\data\\file.bin");
constexpr auto LEAVE = SimpleFile::FAA_LEAVE;

ByteBuffer Bytes(std::string_view svText) {
    return ByteBuffer(BytesOf(svText));
}

std::string TextOf(const ByteBuffer& rbb) {
    return std::string(rbb.begin(), rbb.end());
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

class SimpleFileFormats : public testing::Test {
protected:
    SimpleFileFormats() : m_oScope(m_oFake.Get()) { m_oFake.files.AddFolder(VTEXT("C:\\data")); }

    void Put(const std::vector<BYTE>& rvby) { m_oFake.files.AddFile(PATH, rvby); }
    std::vector<BYTE> Contents() const { return m_oFake.files.Contents(PATH).value_or(std::vector<BYTE>()); }
    std::string Read(const SimpleFile& rFile, DWORD dwLimit = 0) const {
        ByteBuffer bb;
        rFile.ReadTheFile(bb, dwLimit);
        return TextOf(bb);
    }

    FakePlatform m_oFake;
    PlatformScope m_oScope;
    const SimpleFileWithCrc m_oCrc{CXString(PATH)};
    const SimpleFileWithCompression m_oCompressed{CXString(PATH)};
};

TEST_F(SimpleFileFormats, ACrcFileIsItsHeaderAndTheData) {
    m_oCrc.WriteTheFile(Bytes("hello"), LEAVE);
    EXPECT_EQ(ToHex(Contents()),
              "86A61036"
              "00000000"
              "68656C6C6F");
    EXPECT_EQ(Read(m_oCrc), "hello");
    m_oCrc.WriteTheFile(ByteBuffer(), LEAVE);
    EXPECT_EQ(ToHex(Contents()), "0000000000000000");
    EXPECT_EQ(Read(m_oCrc), "");
    // A read-only file is written whatever was asked.
    m_oFake.files.SetAttributes(PATH, FilePort::ATTRIBUTE_READONLY);
    m_oCrc.WriteTheFile(Bytes("hello"), LEAVE);
    EXPECT_EQ(Read(m_oCrc), "hello");
}

TEST_F(SimpleFileFormats, EveryDamageOfACrcFileIsFound) {
    const std::vector<BYTE> vbyGood = FromHex("86A610360000000068656C6C6F");
    for (std::size_t i = 0; i < 8 * vbyGood.size(); ++i) {
        std::vector<BYTE> vby = vbyGood;
        vby[i / 8] = static_cast<BYTE>(vby[i / 8] ^ (1u << i % 8));
        Put(vby);
        const bool fReserved = i / 8 >= 4 && i / 8 < 8;  // not looked at
        const std::string message = MessageOf<ExceptionReadFile>([&] { Read(m_oCrc); });
        if (fReserved) {
            EXPECT_EQ(message, "(no exception)") << i;
        } else {
            EXPECT_TRUE(message.starts_with("CRC validation failed for C:\\data\\file.bin. Calculated: ")) << message;
        }
    }
    Put(
        FromHex("01000000"
                "00000000"));
    EXPECT_EQ(MessageOf<ExceptionReadFile>([&] { Read(m_oCrc); }),
              "CRC validation failed for C:\\data\\file.bin. Calculated: 0, Read: 1.");
    for (std::size_t c = 0; c < 8; ++c) {
        Put(std::vector<BYTE>(vbyGood.begin(), vbyGood.begin() + static_cast<std::ptrdiff_t>(c)));
        ByteBuffer bb = Bytes("kept");
        EXPECT_EQ(MessageOf<ExceptionReadFile>([&] { m_oCrc.ReadTheFile(bb); }),
                  "CRC validation failed for C:\\data\\file.bin. Calculated: 0, Read: 0.")
            << c;
        EXPECT_EQ(TextOf(bb), "kept");
    }
}

TEST_F(SimpleFileFormats, TheLimitOfACrcFileIsThatOfItsData) {
    m_oCrc.WriteTheFile(Bytes("hello"), LEAVE);
    for (const DWORD dwLimit : {0u, 5u, 6u, 0xFFFFFFF6u, 0xFFFFFFF7u, 0xFFFFFFF8u, 0xFFFFFFFFu})
        EXPECT_EQ(Read(m_oCrc, dwLimit), "hello") << dwLimit;
    for (const DWORD dwLimit : {1u, 4u}) {
        EXPECT_EQ(MessageOf<ExceptionReadFile>([&] { Read(m_oCrc, dwLimit); }),
                  "ReadFile() failed because C:\\data\\file.bin exceeds the specified limit of " +
                      std::to_string(dwLimit + 8) + " bytes. (SizeHi=0, SizeLo=13)");
    }
}

TEST_F(SimpleFileFormats, ACompressedFileIsAState) {
    RecordingSink sink(DebugCategory::Utils);
    const std::string text(5000, 'x');
    m_oCompressed.WriteTheFile(Bytes(text), LEAVE);
    const std::vector<BYTE> vbyState = Contents();
    EXPECT_EQ(ToHex(vbyState.data() + vbyState.size() - 13, 13), "02FFFFFFFF00001388434F4D35");
    EXPECT_EQ(sink.Count("Compressed data created (" + std::to_string(vbyState.size()) +
                         " bytes, down from 5000) for C:\\data\\file.bin."),
              1u);
    EXPECT_EQ(Read(m_oCompressed), text);
    EXPECT_EQ(Read(m_oCompressed, static_cast<DWORD>(vbyState.size())), text);
    EXPECT_THROW(Read(m_oCompressed, static_cast<DWORD>(vbyState.size() - 1)), ExceptionReadFile);
    m_oCompressed.WriteTheFile(ByteBuffer(), LEAVE);
    EXPECT_EQ(ToHex(Contents()), "02FFFFFFFF00000000434F4D35");
    EXPECT_EQ(Read(m_oCompressed), "");
    // What older writers left: a zlib stream and a footer of 8 bytes.
    Put(
        FromHex("789CCB48CDC9C90700062C0215"
                "00000005"
                "434F4D50"));
    EXPECT_EQ(Read(m_oCompressed), "hello");
}

TEST_F(SimpleFileFormats, BothSystemsCompressAlike) {
    // Written by the cabinet library of Wine, byte for byte what the host's writer makes.
    const std::string text =
        "0 squared is 0; 1 squared is 1; 2 squared is 4; 3 squared is 9; 4 squared is 16; 5 squared is 25; ";
    const char* const pszState =
        "4D534346000000008A000000000000002C00000000000000030101000100000000000000500000000100010062000000"
        "0000000000006C22BA5920002F2F436F6D707265737365642D446174612F2F0029484F3432006200434B3350282E2C4D"
        "2C4A4D51C82C5630B0563044E61B5A2B1821F34DAC158C91F996D60A2628EACDAC154C91058C4CAD150002FFFFFFFF00"
        "000062434F4D35";
    Put(FromHex(pszState));
    EXPECT_EQ(Read(m_oCompressed), text);
    m_oCompressed.WriteTheFile(Bytes(text), LEAVE);
    EXPECT_EQ(ToHex(Contents()), pszState);
}

TEST_F(SimpleFileFormats, DamagedCompressedFilesAreRefused) {
    m_oCompressed.WriteTheFile(Bytes(std::string(300, 'x') + "the end"), LEAVE);
    const std::vector<BYTE> vbyGood = Contents();
    for (const int iSize : {306, 308, 0x7FFFFFFF}) {
        std::vector<BYTE> vby = vbyGood;
        const std::size_t iFooter = vby.size() - 8;
        for (unsigned i = 0; i < 4; ++i)
            vby[iFooter + i] = static_cast<BYTE>(iSize >> (24 - 8 * i));
        Put(vby);
        const std::string message = MessageOf<ExceptionFile>([&] { Read(m_oCompressed); });
        if (iSize < 1000) {
            EXPECT_EQ(message, "Size of decompressed data (307) doesn't match the expected original size (" +
                                   std::to_string(iSize) + ") for C:\\data\\file.bin.");
        } else {
            EXPECT_THROW(Read(m_oCompressed), ExceptionCompression);
        }
    }
    for (std::size_t c = 0; c < vbyGood.size(); c += 7) {
        Put(std::vector<BYTE>(vbyGood.begin(), vbyGood.begin() + static_cast<std::ptrdiff_t>(c)));
        EXPECT_THROW(Read(m_oCompressed), ExceptionMissingOrBadCompressedBufferFooter) << c;
    }
    SimpleFileWithCompression oStrict{CXString(PATH)};
    oStrict.SetMaximumOriginalDataSize(306);
    Put(vbyGood);
    EXPECT_THROW(Read(oStrict), ExceptionCompression);
    oStrict.SetMaximumOriginalDataSize(307);
    EXPECT_EQ(Read(oStrict).size(), 307u);
}

TEST_F(SimpleFileFormats, EncryptedFilesAreReadByTheMethodThatWroteThem) {
    const struct {
        SimpleFileWithEncryption::_SimpleFileWithEncryptionEnum eMethod;
        const char* pszContents;  // of "hello", made with Python's hashlib and cryptography modules
    } aRows[] = {
        {SimpleFileWithEncryption::SFE_OPENSSL, "53616C7465645F5F5A6B7C8D9EAFB0C1B02E2531B3CBD414CC9AA678BF291BE8"},
        {SimpleFileWithEncryption::SFE_WINCRYPT, "53616C7465645F5F5A6B7C8D9EAFB0C14F9C63DA52AA170B807F662F331D63C6"},
    };
    for (const auto& rRow : aRows) {
        const SimpleFileWithEncryption oFile(PATH, rRow.eMethod);
        Put(FromHex(rRow.pszContents));
        EXPECT_EQ(Read(oFile), "hello");
        oFile.WriteTheFile(Bytes("hello"), LEAVE);
        EXPECT_EQ(Contents().size(), 32u);
        EXPECT_EQ(ToHex(Contents()).substr(0, 16), "53616C7465645F5F");
        EXPECT_EQ(ToHex(Contents()).find(ToHex(BytesOf("hello"))), std::string::npos);
        EXPECT_EQ(Read(oFile), "hello");
        for (std::size_t c = 0; c < 32; ++c) {
            std::vector<BYTE> vby = FromHex(rRow.pszContents);
            vby.resize(c);
            Put(vby);
            ByteBuffer bb = Bytes("kept");
            EXPECT_EQ(MessageOf<ExceptionReadFile>([&] { oFile.ReadTheFile(bb); }),
                      "Unable to decrypt C:\\data\\file.bin.");
            EXPECT_EQ(TextOf(bb), "kept");
        }
    }
}

TEST_F(SimpleFileFormats, DataThatCannotBeEncryptedLeavesTheFileAlone) {
    Put(BytesOf("old"));
    FaultPlatform oFaults(m_oFake.Get());
    const PlatformScope oScope(oFaults.Get());
    const SimpleFileWithEncryption oFile(PATH, SimpleFileWithEncryption::SFE_WINCRYPT);
    oFaults.Script().Arm(FaultMode::FailOnce, 1);
    EXPECT_EQ(MessageOf<ExceptionWriteFile>([&] { oFile.WriteTheFile(Bytes("new"), LEAVE); }),
              "Unable to encrypt C:\\data\\file.bin.");
    EXPECT_EQ(Contents(), BytesOf("old"));
}

TEST_F(SimpleFileFormats, RandomAccessIsACodingError) {
    const SimpleFileWithEncryption oEncrypted(PATH, SimpleFileWithEncryption::SFE_WINCRYPT);
    const struct {
        const SimpleFile& rFile;
        const char* pszVia;
        const char* pszClass;
    } aRows[] = {
        {m_oCrc, "via WriteToTheFile()", "SimpleFileWithCrc."},
        {m_oCompressed, "via  WriteToTheFile()", "SimpleFileWithCompression."},
        {oEncrypted, "via  WriteToTheFile()", "SimpleFileWithEncryption using OpenSSL or WinCrypt encryption."},
    };
    Put(BytesOf("contents"));
    for (const auto& rRow : aRows) {
        ByteBuffer bb = Bytes("kept");
        const std::string strEnd = std::string(" is not supported by ") + rRow.pszClass;
        EXPECT_EQ(MessageOf<ExceptionReadFile>([&] { rRow.rFile.ReadFromTheFile(0, 1, SimpleFile::RSE_READERS, bb); }),
                  "Coding error: Random access via ReadFromTheFile()" + strEnd);
        EXPECT_EQ(MessageOf<ExceptionWriteFile>(
                      [&] { rRow.rFile.WriteToTheFile(0, 1, SimpleFile::MFE_CREATE, bb.data(), LEAVE); }),
                  std::string("Coding error: Random access ") + rRow.pszVia + strEnd);
        EXPECT_EQ(TextOf(bb), "kept");
    }
    EXPECT_EQ(Contents(), BytesOf("contents"));
}

}  // namespace
