/// @file
/// Files with checksum, compression and encryption: golden bytes, hostile bytes, refusals.
#include <gtest/gtest.h>

#include "formats/FileOnAFake.h"
#include "support/FaultPlatform.h"
#include "support/RecordingSink.h"
#include "utilities/compression/CabCompressedBuffer.h"
#include "utilities/debuggingandexceptions/VelomExceptions.h"
#include "utilities/utilitiesdll/SimpleFileWithCompression.h"
#include "utilities/utilitiesdll/SimpleFileWithCrc.h"
#include "utilities/utilitiesdll/simplefilewithencryption.h"

namespace vlm::test {
namespace {

constexpr auto LEAVE = SimpleFile::FAA_LEAVE;

class SimpleFileFormats : public FileOnAFake {
protected:
    void PutHex(std::string_view svHex, std::size_t cBytes = ~std::size_t{0}) {
        std::vector<BYTE> vby = FromHex(svHex);
        vby.resize(std::min(vby.size(), cBytes));
        m_oFake.files.AddFile(PATH, vby);
    }
    std::string ContentsHex() const { return ToHex(BytesOf(Contents())); }
    std::string Read(const SimpleFile& rFile, DWORD dwLimit = 0) const {
        ByteBuffer bb;
        rFile.ReadTheFile(bb, dwLimit);
        return TextOf(bb);
    }
    /// The message of a read that must leave its target alone.
    std::string RefusedRead(const SimpleFile& rFile, DWORD dwLimit = 0) const {
        ByteBuffer bb = TextBuffer("kept");
        std::string message = MessageOf<ExceptionReadFile>([&] { rFile.ReadTheFile(bb, dwLimit); });
        EXPECT_EQ(TextOf(bb), "kept");
        return message;
    }

    const SimpleFileWithCrc m_oCrc{CXString(PATH)};
    const SimpleFileWithCompression m_oCompressed{CXString(PATH)};
};

TEST_F(SimpleFileFormats, ACrcFileIsItsHeaderAndTheData) {
    Put("", FilePort::ATTRIBUTE_READONLY);  // written whatever was asked
    m_oCrc.WriteTheFile(TextBuffer("hello"), LEAVE);
    EXPECT_EQ(ContentsHex(), "86A610360000000068656C6C6F");
    for (const DWORD dwLimit : {0u, 5u, 0xFFFFFFF7u, 0xFFFFFFF8u, 0xFFFFFFFFu})
        EXPECT_EQ(Read(m_oCrc, dwLimit), "hello") << dwLimit;
    EXPECT_EQ(RefusedRead(m_oCrc, 4),
              "ReadFile() failed because C:\\data\\file.bin exceeds the specified limit of 12 "
              "bytes. (SizeHi=0, SizeLo=13)");
    m_oCrc.WriteTheFile(ByteBuffer(), LEAVE);
    EXPECT_EQ(ContentsHex(), "0000000000000000");
    EXPECT_EQ(Read(m_oCrc), "");
}

TEST_F(SimpleFileFormats, EveryDamageOfACrcFileIsFound) {
    const std::string failed = "CRC validation failed for C:\\data\\file.bin. Calculated: ";
    const std::string good = "86A610360000000068656C6C6F";
    for (unsigned i = 0; i < 8 * good.size() / 2; ++i) {
        if (i / 32 == 1) continue;  // reserved
        std::vector<BYTE> vby = FromHex(good);
        vby[i / 8] = static_cast<BYTE>(vby[i / 8] ^ (1u << i % 8));
        m_oFake.files.AddFile(PATH, vby);
        EXPECT_TRUE(RefusedRead(m_oCrc).starts_with(failed)) << i;
    }
    PutHex("0100000000000000");
    EXPECT_EQ(RefusedRead(m_oCrc), failed + "0, Read: 1.");
    PutHex("00000000FFFFFFFF");  // the reserved word is not looked at
    EXPECT_EQ(Read(m_oCrc), "");
    for (std::size_t c = 0; c < 8; ++c) {
        PutHex(good, c);
        EXPECT_EQ(RefusedRead(m_oCrc), failed + "0, Read: 0.") << c;
    }
}

TEST_F(SimpleFileFormats, ACompressedFileIsAStateAndBothSystemsWriteItAlike) {
    // Written by the cabinet library of Wine, byte for byte what the host's writer makes.
    const std::string text =
        "0 squared is 0; 1 squared is 1; 2 squared is 4; 3 squared is 9; 4 squared is 16; 5 squared is 25; ";
    const char* const pszState =
        "4D534346000000008A000000000000002C00000000000000030101000100000000000000500000000100010062000000"
        "0000000000006C22BA5920002F2F436F6D707265737365642D446174612F2F0029484F3432006200434B3350282E2C4D"
        "2C4A4D51C82C5630B0563044E61B5A2B1821F34DAC158C91F996D60A2628EACDAC154C91058C4CAD150002FFFFFFFF00"
        "000062434F4D35";
    RecordingSink sink(DebugCategory::Utils);
    m_oCompressed.WriteTheFile(TextBuffer(text), LEAVE);
    EXPECT_EQ(ContentsHex(), pszState);
    EXPECT_EQ(sink.Count("Compressed data created (151 bytes, down from 98) for C:\\data\\file.bin."), 1u);
    EXPECT_EQ(Read(m_oCompressed, 151), text);
    EXPECT_THROW(Read(m_oCompressed, 150), ExceptionReadFile);
    // What older writers left: a zlib stream and a footer of 8 bytes.
    PutHex("789CCB48CDC9C90700062C0215 00000005 434F4D50");
    EXPECT_EQ(Read(m_oCompressed), "hello");
    // Footers that say something else than the image holds.
    for (const char* const pszSize : {"00000061", "00000063"}) {
        std::string hex = pszState;
        PutHex(hex.replace(hex.size() - 16, 8, pszSize));
        EXPECT_EQ(RefusedRead(m_oCompressed),
                  std::string("Size of decompressed data (98) doesn't match the expected original size (") +
                      (pszSize[7] == '1' ? "97" : "99") + ") for C:\\data\\file.bin.");
    }
    PutHex(pszState);
    SimpleFileWithCompression oStrict{CXString(PATH)};
    oStrict.SetMaximumOriginalDataSize(97);
    EXPECT_THROW(Read(oStrict), ExceptionCompression);
    oStrict.SetMaximumOriginalDataSize(98);
    EXPECT_EQ(Read(oStrict), text);
    PutHex(pszState, 150);
    EXPECT_THROW(Read(m_oCompressed), ExceptionMissingOrBadCompressedBufferFooter);
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
        PutHex(rRow.pszContents);
        EXPECT_EQ(Read(oFile), "hello");
        oFile.WriteTheFile(TextBuffer("hello"), LEAVE);
        EXPECT_EQ(Contents().size(), 32u);
        EXPECT_EQ(Contents().substr(0, 8), "Salted__");
        EXPECT_EQ(Contents().find("hello"), std::string::npos);
        EXPECT_EQ(Read(oFile), "hello");
        for (const std::size_t c : {0u, 8u, 15u, 16u, 31u}) {
            PutHex(rRow.pszContents, c);
            EXPECT_EQ(RefusedRead(oFile), "Unable to decrypt C:\\data\\file.bin.");
        }
    }
    Put("old");
    FaultPlatform oFaults(m_oFake.Get());
    const PlatformScope oScope(oFaults.Get());
    oFaults.Script().Arm(FaultMode::FailOnce, 1);
    const SimpleFileWithEncryption oFile(PATH, SimpleFileWithEncryption::SFE_WINCRYPT);
    EXPECT_EQ(MessageOf<ExceptionWriteFile>([&] { oFile.WriteTheFile(TextBuffer("new"), LEAVE); }),
              "Unable to encrypt C:\\data\\file.bin.");
    EXPECT_EQ(Contents(), "old");
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
    Put("contents");
    for (const auto& rRow : aRows) {
        ByteBuffer bb = TextBuffer("kept");
        const std::string start = "Coding error: Random access ",
                          end = std::string(" is not supported by ") + rRow.pszClass;
        EXPECT_EQ(MessageOf<ExceptionReadFile>([&] { rRow.rFile.ReadFromTheFile(0, 1, SimpleFile::RSE_READERS, bb); }),
                  start + "via ReadFromTheFile()" + end);
        EXPECT_EQ(MessageOf<ExceptionWriteFile>(
                      [&] { rRow.rFile.WriteToTheFile(0, 1, SimpleFile::MFE_CREATE, bb.data(), LEAVE); }),
                  start + rRow.pszVia + end);
    }
    EXPECT_EQ(Contents(), "contents");
}

}  // namespace
}  // namespace vlm::test
