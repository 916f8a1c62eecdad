/// @file
/// Protection by the system, and the two obscuring schemes.
#include "utilities/utilitiesdll/DataEncrypter.h"

#include <gtest/gtest.h>

#include "support/Bytes.h"
#include "support/FaultLoop.h"
#include "support/RecordingSink.h"
#include "support/TextPrinter.h"
#include "utilities/debuggingandexceptions/VelomExceptions.h"

namespace {

using namespace vlm;
using namespace vlm::test;

ByteBuffer Text(std::string_view svText) {
    return ByteBuffer(BytesOf(svText));
}

template <class Operation>
std::string MessageOf(Operation&& operation) {
    try {
        operation();
    } catch (const ExceptionDataEncrypterFailure& rException) {
        return Narrow(rException.GetExceptionMesage().View());
    }
    return "(no exception)";
}

TEST(DataEncrypter, TheSystemsProtectionGivesDataBackOnlyAsItWas) {
    // On the system itself; the host's tests keep its store in memory.
    for (const auto eScope : {DataEncrypter::DES_CURRENT_USER, DataEncrypter::DES_LOCAL_MACHINE}) {
        for (const ByteBuffer& rbbData : {Text("a secret"), ByteBuffer(), ByteBuffer(std::vector<BYTE>(3000))}) {
            ByteBuffer bb, bbAgain, bbBack;
            DataEncrypter::EncryptBytes(rbbData, bb, eScope);
            DataEncrypter::EncryptBytes(rbbData, bbAgain, eScope);
            EXPECT_FALSE(bb == bbAgain);
            DataEncrypter::DecryptBytes(bb, bbBack);
            EXPECT_EQ(bbBack, rbbData);
            DataEncrypter::DecryptBytes(bb, bb);
            EXPECT_EQ(bb, rbbData) << "in its own place";
        }
    }
    const CXString csText(XStringView(VTEXT("Gr\u00FCn \u20AC\0"), 7));
    EXPECT_EQ(DataEncrypter::DecryptString(DataEncrypter::EncryptString(csText)), csText);
    EXPECT_TRUE(DataEncrypter::DecryptString(DataEncrypter::EncryptString(CXString())).IsEmpty());
    ByteBuffer bb, bbKept = Text("kept");
    DataEncrypter::EncryptBytes(Text("secret"), bb);
    bb[bb.size() - 1] ^= 1;
    EXPECT_TRUE(MessageOf([&] { DataEncrypter::DecryptBytes(bb, bbKept); }).starts_with("Decryption failed: "));
    EXPECT_THROW(DataEncrypter::DecryptBytes(ByteBuffer(), bbKept), ExceptionDataEncrypterFailure);
    EXPECT_THROW(DataEncrypter::DecryptBytes(Text("no blob"), bbKept), ExceptionDataEncrypterFailure);
    EXPECT_EQ(bbKept, Text("kept"));
    DataEncrypter::EncryptBytes(Text("odd"), bb);
    EXPECT_THROW(DataEncrypter::DecryptString(bb), ExceptionDataEncrypterFailure);
}

TEST(DataEncrypter, FailuresHaveTheirTextsAndLeaveNothing) {
    FakePlatform oFake;
    FaultPlatform oFaults(oFake.Get());
    const PlatformScope oScope(oFaults.Get());
    ByteBuffer bb;
    oFaults.Script().Arm(FaultMode::FailOnce, 1, Status::InvalidData);
    EXPECT_EQ(MessageOf([&] { DataEncrypter::EncryptBytes(Text("x"), bb); }).substr(0, 19), "Encryption failed: ");
    oFaults.Script().Disarm();
    static ByteBuffer sbbBlob;
    DataEncrypter::EncryptBytes(Text("text"), sbbBlob);
    static const CXString soText(VTEXT("text"));
    FaultLoop oLoop;
    oLoop.fnRun = [] {
        try {
            ByteBuffer bbData;
            DataEncrypter::EncryptString(soText);
            DataEncrypter::DecryptBytes(sbbBlob, bbData);
            return FaultOutcome::Succeeded;
        } catch (const ExceptionDataEncrypterFailure&) {
        } catch (const ExceptionOutOfMemory&) {
        } catch (const std::bad_alloc&) {  // even the exception took more memory than there was
        }
        return FaultOutcome::Failed;
    };
    EXPECT_EQ(RunFaultLoop(oLoop).ullCalls, 2u);
}

TEST(DataEncrypter, ObfuscatedDataComesBackAndHidesRepetitions) {
    for (const std::size_t c : {0u, 1u, 2u, 255u, 70000u}) {
        const ByteBuffer bbData(std::vector<BYTE>(c, BYTE{'a'}));
        ByteBuffer bb = bbData;
        DataEncrypter::ObfuscateData(bb);
        ASSERT_EQ(bb.size(), c);
        std::size_t cSame = 0;
        for (std::size_t i = 8; i < c; ++i)
            cSame += bb[i] == bb[i - 8];
        EXPECT_LT(cSame, c / 128 + 8);
        DataEncrypter::DeObfuscateData(bb);
        EXPECT_EQ(bb, bbData);
    }
    // Stored data must read for ever.
    ByteBuffer bb = Text("Stored data");
    DataEncrypter::ObfuscateData(bb);
    EXPECT_EQ(ToHex(bb.data(), bb.size()), "483D01E5C4D08D0067C7A3");
}

TEST(DataEncrypter, TheSimpleSchemeTakesThirtyCharacters) {
    RecordingSink sink;
    for (int c = 0; c <= 30; ++c) {
        const CXString csText(XCHAR(0x20AC), c);
        const CXString csDigits = DataEncrypter::EncryptStringWithVelomSimple1(csText);
        EXPECT_EQ(csDigits.GetLength(), 4 + 4 * c);
        EXPECT_EQ(DataEncrypter::DecryptStringWithVelomSimple1(csDigits), csText);
    }
    EXPECT_EQ(sink.Count("Failed Assertion"), 0u);
    EXPECT_EQ(MessageOf([] { DataEncrypter::EncryptStringWithVelomSimple1(CXString(XCHAR('x'), 31)); }),
              "Unable to encrypt strings larger than 30 characters.");
    EXPECT_EQ(sink.Count("Failed Condition:\t(iLength <= 30)\r\n"), 1u);
    EXPECT_EQ(sink.Count("Unable to encrypt strings larger than 30 characters."), 2u) << "asserted, and thrown";
    EXPECT_EQ(DataEncrypter::EncryptStringWithVelomSimple1(VTEXT("Secret 1")),
              CXString(VTEXT("E41B866C07B3923EB1587216D308F3EA6751")));
}

TEST(DataEncrypter, TheSimpleSchemeRefusesWhatItDidNotMake) {
    const CXString csGood = DataEncrypter::EncryptStringWithVelomSimple1(VTEXT("text"));
    for (const CXString& rDigits :
         {CXString(), CXString(VTEXT("0")), csGood.Left(csGood.GetLength() - 1), csGood.Left(csGood.GetLength() - 2),
          csGood.Left(csGood.GetLength() - 4), csGood + VTEXT("0000"), csGood.Left(4) + VTEXT("G") + csGood.Mid(5),
          CXString(XCHAR('0'), 4 + 4 * 31), CXString(VTEXT("not digits, but text"))}) {
        EXPECT_TRUE(MessageOf([&] {
                        DataEncrypter::DecryptStringWithVelomSimple1(rDigits);
                    }).starts_with("Decryption failed: "))
            << Narrow(rDigits.View());
    }
    for (int i = 0; i < csGood.GetLength(); ++i) {
        CXString csBad(csGood);
        csBad.SetAt(i, csBad.GetAt(i) == XCHAR('0') ? XCHAR('1') : XCHAR('0'));
        EXPECT_THROW(DataEncrypter::DecryptStringWithVelomSimple1(csBad), ExceptionDataEncrypterFailure) << i;
    }
    CXString csLower(csGood);
    csLower.MakeLower();
    EXPECT_EQ(DataEncrypter::DecryptStringWithVelomSimple1(csLower), CXString(VTEXT("text")));
}

}  // namespace
