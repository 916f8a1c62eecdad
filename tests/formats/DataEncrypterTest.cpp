/// @file
/// Protection by the system, and the two obscuring schemes.
#include "utilities/utilitiesdll/DataEncrypter.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "formats/Buffers.h"
#include "support/FaultLoop.h"
#include "support/RecordingSink.h"
#include "support/TextPrinter.h"
#include "utilities/debuggingandexceptions/VelomExceptions.h"

namespace vlm::test {
namespace {

using Failure = ExceptionDataEncrypterFailure;

TEST(DataEncrypter, TheSystemsProtectionGivesDataBackOnlyAsItWas) {
    // On the system itself; the host's tests keep its store in memory.
    for (const auto eScope : {DataEncrypter::DES_CURRENT_USER, DataEncrypter::DES_LOCAL_MACHINE}) {
        for (const ByteBuffer& rbbData : {TextBuffer("a secret"), ByteBuffer(), ByteBuffer(std::vector<BYTE>(3000))}) {
            ByteBuffer bb, bbAgain;
            DataEncrypter::EncryptBytes(rbbData, bb, eScope);
            DataEncrypter::EncryptBytes(rbbData, bbAgain, eScope);
            EXPECT_FALSE(bb == bbAgain);
            DataEncrypter::DecryptBytes(bb, bb);
            EXPECT_EQ(bb, rbbData) << "in its own place";
        }
    }
    for (const CXString& rText : {CXString(XStringView(VTEXT("Gr\u00FCn \u20AC\0"), 7)), CXString()})
        EXPECT_EQ(DataEncrypter::DecryptString(DataEncrypter::EncryptString(rText)), rText);
    ByteBuffer bb, bbKept = TextBuffer("kept");
    DataEncrypter::EncryptBytes(TextBuffer("odd"), bb);
    EXPECT_THROW(DataEncrypter::DecryptString(bb), Failure);
    bb[bb.size() - 1] ^= 1;
    EXPECT_TRUE(
        MessageOf<Failure>([&] { DataEncrypter::DecryptBytes(bb, bbKept); }).starts_with("Decryption failed: "));
    EXPECT_THROW(DataEncrypter::DecryptBytes(ByteBuffer(), bbKept), Failure);
    EXPECT_THROW(DataEncrypter::DecryptBytes(TextBuffer("no blob"), bbKept), Failure);
    EXPECT_EQ(TextOf(bbKept), "kept");
}

TEST(DataEncrypter, FailuresHaveTheirTextsAndLeaveNothing) {
    FakePlatform oFake;
    FaultPlatform oFaults(oFake.Get());
    const PlatformScope oScope(oFaults.Get());
    ByteBuffer bbBlob;
    oFaults.Script().Arm(FaultMode::FailOnce, 1, Status::InvalidData);
    EXPECT_TRUE(MessageOf<Failure>([&] {
                    DataEncrypter::EncryptBytes(ByteBuffer(), bbBlob);
                }).starts_with("Encryption failed: "));
    oFaults.Script().Disarm();
    DataEncrypter::EncryptBytes(TextBuffer("text"), bbBlob);
    const CXString csText(VTEXT("text"));
    FaultLoop oLoop;
    oLoop.fnRun = [&] {
        return Attempt<Failure, ExceptionOutOfMemory>([&] {
            ByteBuffer bbData;
            const CXString csBack = DataEncrypter::DecryptString(DataEncrypter::EncryptString(csText));
            DataEncrypter::DecryptBytes(bbBlob, bbData);
            const CXString csSimple = DataEncrypter::EncryptStringWithVelomSimple1(csText);
            if (csBack != csText || DataEncrypter::DecryptStringWithVelomSimple1(csSimple) != csText)
                throw std::logic_error("another text");
        });
    };
    EXPECT_EQ(RunFaultLoop(oLoop).ullCalls, 3u);
}

TEST(DataEncrypter, ObfuscatedDataComesBackAndHidesRepetitions) {
    for (const std::size_t c : {0u, 1u, 70000u}) {
        const ByteBuffer bbData(std::vector<BYTE>(c, BYTE{'a'}));
        ByteBuffer bb = bbData;
        DataEncrypter::ObfuscateData(bb);
        std::size_t cSame = 0;
        for (std::size_t i = 8; i < c; ++i)
            cSame += bb[i] == bb[i - 8];
        EXPECT_LT(cSame, c / 128 + 8);
        DataEncrypter::DeObfuscateData(bb);
        EXPECT_EQ(bb, bbData);
    }
    // Stored data must read for ever.
    ByteBuffer bb = TextBuffer("Stored data");
    DataEncrypter::ObfuscateData(bb);
    EXPECT_EQ(HexOf(bb), "483D01E5C4D08D0067C7A3");
}

TEST(DataEncrypter, TheSimpleSchemeTakesThirtyCharactersAndReadsOnlyItsOwn) {
    RecordingSink sink;
    for (const int c : {0, 1, 30}) {
        const CXString csText(XCHAR(0x20AC), c);
        const CXString csDigits = DataEncrypter::EncryptStringWithVelomSimple1(csText);
        EXPECT_EQ(csDigits.GetLength(), 4 + 4 * c);
        EXPECT_EQ(DataEncrypter::DecryptStringWithVelomSimple1(csDigits), csText);
    }
    EXPECT_TRUE(sink.Texts().empty());
    EXPECT_EQ(MessageOf<Failure>([] { DataEncrypter::EncryptStringWithVelomSimple1(CXString(XCHAR('x'), 31)); }),
              "Unable to encrypt strings larger than 30 characters.");
    EXPECT_EQ(sink.Count("Failed Condition:\t(iLength <= 30)\r\n"), 1u);
    EXPECT_EQ(sink.Count("Unable to encrypt strings larger than 30 characters."), 2u) << "asserted, and thrown";
    const CXString csGood(VTEXT("E41B866C07B3923EB1587216D308F3EA6751"));
    EXPECT_EQ(DataEncrypter::EncryptStringWithVelomSimple1(VTEXT("Secret 1")), csGood);
    CXString csLower(csGood);
    csLower.MakeLower();
    EXPECT_EQ(DataEncrypter::DecryptStringWithVelomSimple1(csLower), CXString(VTEXT("Secret 1")));
    std::vector<CXString> vcsBad{CXString(),
                                 csGood.Left(csGood.GetLength() - 1),
                                 csGood.Left(csGood.GetLength() - 4),
                                 csGood + VTEXT("0000"),
                                 csGood.Left(4) + VTEXT("G") + csGood.Mid(5),
                                 CXString(XCHAR('0'), 4 + 4 * 31)};
    for (int i = 0; i < csGood.GetLength(); ++i) {
        vcsBad.push_back(csGood);
        vcsBad.back().SetAt(i, csGood.GetAt(i) == XCHAR('0') ? XCHAR('1') : XCHAR('0'));
    }
    for (const CXString& rDigits : vcsBad)
        EXPECT_THROW(DataEncrypter::DecryptStringWithVelomSimple1(rDigits), Failure) << Narrow(rDigits.View());
}

}  // namespace
}  // namespace vlm::test
