/// @file
/// Encryption under a password: known answers, framing, refusals, faults.
#include "utilities/utilitiesdll/KestrixEncryption.h"

#include <gtest/gtest.h>

#include "formats/Buffers.h"
#include "support/FaultLoop.h"
#include "support/RecordingSink.h"
#include "support/TextPrinter.h"
#include "utilities/Bounds.h"
#include "utilities/debuggingandexceptions/VelomExceptions.h"

namespace vlm::test {
namespace {

const XCHAR* const PASSWORD = VTEXT("password");

/// An object whose derivation costs next to nothing.
class Quick : public KestrixEncryption {
public:
    explicit Quick(int iRounds = 1) { SetKeyDerivationRounds(iRounds); }
};

TEST(KestrixEncryption, GivesKnownAnswersBothWays) {
    // Made with Python's hashlib and cryptography modules.
    const struct {
        const char* pszPassword;
        const char* pszSalt;
        const char* pszText;
        int iRounds;
        const char* pszFramed;
    } aoVectors[] = {
        {"p\xC3\xA4ssword \xE2\x82\xAC", "A1B2C3D4E5F60718", "", 1,
         "53616C7465645F5FA1B2C3D4E5F6071812ED6A5C0E309C81AB59DD0A72B999C9"},
        {"xxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxx", "0000000000000000", "sixteen bytes ok", 1,
         "53616C7465645F5F0000000000000000707795A2C4810AE0F96D007CC16B37A24E23B816DB20D72F6BC4861C3B105E33"},
        {"xxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxx", "FFFFFFFFFFFFFFFF", "seventeen bytes o",
         2, "53616C7465645F5FFFFFFFFFFFFFFFFF038C5DE04C3D1836B17F51D64CF57C2185D7CEFD4EBFE65FA3530397E72B5688"},
    };
    for (const auto& rRow : aoVectors) {
        Quick oWriter(rRow.iRounds), oReader(rRow.iRounds);
        const std::vector<BYTE> vbyPassword = BytesOf(rRow.pszPassword);
        const auto iLength = static_cast<int>(vbyPassword.size());
        ByteBuffer bb = TextBuffer(rRow.pszText), bbSalt;
        ASSERT_TRUE(oWriter.SetSalt(BufferOf(rRow.pszSalt)));
        EXPECT_TRUE(oWriter.EncryptByteBuffer(bb, vbyPassword.data(), iLength, bb)) << "in its own place";
        EXPECT_EQ(HexOf(bb), rRow.pszFramed);
        EXPECT_TRUE(oReader.DecryptByteBuffer(bb, vbyPassword.data(), iLength, bb));
        EXPECT_EQ(TextOf(bb), rRow.pszText);
        // Without emission: the ciphertext alone, for readers who know the salt.
        oWriter.SetEmitSaltWithEncryptedData(false);
        EXPECT_TRUE(oWriter.EncryptByteBuffer(bb, vbyPassword.data(), iLength, bb));
        EXPECT_EQ(HexOf(bb), std::string(rRow.pszFramed).substr(32));
        EXPECT_FALSE(oReader.DecryptByteBuffer(bb, vbyPassword.data(), iLength, bb)) << "nobody knows the salt";
        EXPECT_TRUE(oWriter.GetSaltValueUsedForEncryption(bbSalt));
        EXPECT_TRUE(oReader.SetSalt(bbSalt));
        EXPECT_TRUE(oReader.DecryptByteBuffer(bb, vbyPassword.data(), iLength, bb));
        EXPECT_EQ(TextOf(bb), rRow.pszText);
    }
    // The default of 10,000 rounds, and a string as password.
    KestrixEncryption oDefault;
    ByteBuffer bb = BufferOf("000102030405060708090A0B0C0D0E0F 101112131415161718191A1B1C1D1E1F 2021222324252627");
    oDefault.SetSalt(BufferOf("0102030405060708"));
    EXPECT_TRUE(oDefault.EncryptByteBuffer(bb, VTEXT("secret"), bb));
    EXPECT_EQ(HexOf(bb),
              "53616C7465645F5F0102030405060708E27D687008377A655A51073A0247C6A63420159FBBE7DA9A8F1F539B2D62D518"
              "E1A0E0CC1840CFF277BF4D07D5A036FB");
    EXPECT_TRUE(KestrixEncryption::SelfTest());
}

TEST(KestrixEncryption, TheSaltIsNewEachTimeUnlessItWasSet) {
    Quick oObject;
    const ByteBuffer bbText = TextBuffer("the same text");
    ByteBuffer bbFirst, bbSecond, bbSalt, bbUsed;
    EXPECT_FALSE(oObject.GetSalt(bbSalt) || oObject.GetSaltValueUsedForEncryption(bbUsed));
    EXPECT_TRUE(oObject.EncryptByteBuffer(bbText, PASSWORD, bbFirst));
    EXPECT_TRUE(oObject.EncryptByteBuffer(bbText, PASSWORD, bbSecond));
    EXPECT_NE(HexOf(bbFirst).substr(16, 16), HexOf(bbSecond).substr(16, 16));
    EXPECT_TRUE(oObject.GetSaltValueUsedForEncryption(bbUsed));
    EXPECT_EQ(HexOf(bbUsed), HexOf(bbSecond).substr(16, 16));
    // Reading what has its own salt changes nothing about the object's.
    EXPECT_TRUE(oObject.SetSalt("salt of 8", 8));
    EXPECT_TRUE(oObject.DecryptByteBuffer(bbFirst, PASSWORD, bbSecond));
    for (const int iLength : {0, 7, 9, -1})
        EXPECT_FALSE(oObject.SetSalt("123456789", iLength));
    EXPECT_FALSE(oObject.SetSalt(nullptr, 8) || oObject.SetSalt(ByteBuffer(std::vector<BYTE>(16))));
    EXPECT_TRUE(oObject.GetSalt(bbSalt));
    EXPECT_EQ(TextOf(bbSalt), "salt of ");
    // A prefix that is not to be used is ciphertext.
    oObject.SetUseSaltFromEncryptedData(false);
    EXPECT_FALSE(oObject.DecryptByteBuffer(bbFirst, PASSWORD, bbSecond) && bbSecond == bbText);
}

TEST(KestrixEncryption, BlankPasswordsAreRefusedBeforeAnyCryptographicCall) {
    RecordingSink sink;
    FakePlatform oFake;
    FaultPlatform oFaults(oFake.Get());
    const PlatformScope oScope(oFaults.Get());
    Quick oObject;
    ByteBuffer bb = TextBuffer("kept");
    const ByteBuffer bbText = TextBuffer("Salted__12345678");
    const BYTE abyBlanks[] = {' ', ' '};
    for (const XCHAR* pszPassword : {VTEXT(""), VTEXT("   ")}) {
        EXPECT_FALSE(oObject.EncryptByteBuffer(bbText, pszPassword, bb));
        EXPECT_FALSE(oObject.DecryptByteBuffer(bbText, pszPassword, bb));
        EXPECT_TRUE(oObject.EncryptString(VTEXT("text"), pszPassword).empty());
        EXPECT_EQ(oObject.GetError(), ToDword(Status::InvalidParameter));
    }
    EXPECT_FALSE(oObject.EncryptByteBuffer(bbText, abyBlanks, 2, bb));
    EXPECT_FALSE(oObject.EncryptByteBuffer(bbText, nullptr, 2, bb));
    EXPECT_FALSE(oObject.AES_Initialize(abyBlanks, -1, true, true));
    EXPECT_EQ(oFaults.Script().Calls(), 0u);
    EXPECT_EQ(TextOf(bb), "kept");
    EXPECT_EQ(sink.Count("Failed Condition:\t(csPassword.IsBlank() == false)\r\n"), 9u);
}

TEST(KestrixEncryption, EveryBadCiphertextGetsTheSameAnswer) {
    RecordingSink sink;
    const auto refused = [&sink](KestrixEncryption& rObject, const ByteBuffer& rbbData) {
        sink.Clear();
        ByteBuffer bb = TextBuffer("kept");
        if (rObject.DecryptByteBuffer(rbbData, PASSWORD, bb)) return false;
        EXPECT_EQ(TextOf(bb), "kept");
        EXPECT_EQ(rObject.GetError(), ToDword(Status::BadCryptoData));
        EXPECT_EQ(sink.Texts(), std::vector<std::string>{"The new decrypt is not working..."});
        return true;
    };
    // Bytes that are no ciphertext by their number, with the framing, without all of it, and with a salt that was set.
    Quick oFresh, oSalted;
    oSalted.SetSalt("12345678", 8);
    for (const std::size_t c : {0u, 1u, 15u, 17u, 31u, 33u}) {
        const ByteBuffer bbBare(std::vector<BYTE>(c, BYTE{7}));
        ByteBuffer bbFramed = TextBuffer("Salted__12345678");
        EXPECT_TRUE(refused(oFresh, bbFramed.append(bbBare))) << c;
        EXPECT_TRUE(refused(oSalted, bbBare)) << c;
        EXPECT_TRUE(refused(oFresh, ByteBuffer(bbFramed.data(), c % 16))) << c;
    }
    // The right length, but a changed byte: mostly bad padding, now and then noise.
    ByteBuffer bb;
    ASSERT_TRUE(oFresh.EncryptByteBuffer(TextBuffer("sixteen bytes ok"), PASSWORD, bb));
    unsigned cRefused = 0;
    for (unsigned u = 0; u < 64; ++u) {
        ByteBuffer bbChanged = bb;
        bbChanged[47 - u / 32] = static_cast<BYTE>(bbChanged[47 - u / 32] ^ (u % 32 + 1));
        cRefused += refused(oFresh, bbChanged);
    }
    EXPECT_GT(cRefused, 55u);
}

TEST(KestrixEncryption, TextsComeBackWhole) {
    Quick oObject;
    oObject.SetSalt(BufferOf("0102030405060708"));
    const CXString csText(XStringView(VTEXT("Gr\u00FCn \u20AC\0"), 7));
    EXPECT_EQ(HexOf(oObject.EncryptString(csText, VTEXT("secret"))),
              "53616C7465645F5F01020304050607081EAFDA144867E4173D324ED102521857");
    const XCHAR achLone[] = {0xD800, 'x', 0xDC00};
    for (const CXString& rText : {csText, CXString(), CXString(XStringView(achLone, 3)), CXString(XCHAR('y'), 1000)}) {
        EXPECT_EQ(oObject.DecryptString(PASSWORD, oObject.EncryptString(rText, PASSWORD)), rText);
        EXPECT_EQ(oObject.GetError(), 0u);
    }
    // Passwords that differ only in lone surrogates are different passwords.
    const CXString csHigh(XCHAR(0xD800)), csOther(XCHAR(0xD801));
    EXPECT_NE(oObject.EncryptString(csText, csHigh), oObject.EncryptString(csText, csOther));
    // An odd number of bytes is no text.
    ByteBuffer bb;
    ASSERT_TRUE(oObject.EncryptByteBuffer(TextBuffer("odd"), PASSWORD, bb));
    EXPECT_TRUE(oObject.DecryptString(PASSWORD, bb).IsEmpty());
    EXPECT_EQ(oObject.GetError(true), ToDword(Status::BadCryptoData));
    EXPECT_EQ(oObject.GetError(), 0u);
}

TEST(KestrixEncryption, TheStepsWorkByThemselves) {
    FakePlatform oFake;
    const PlatformScope oScope(oFake.Get());
    Quick oObject;
    ByteBuffer bbKey, bbIv, bbAgain, bbIvAgain, bb;
    EXPECT_FALSE(oObject.GenerateKeyAndIV(bbKey, bbIv, 1)) << "no password yet";
    EXPECT_FALSE(oObject.AES_Encrypt(TextBuffer("text"), bb)) << "no key yet";
    EXPECT_EQ(oObject.GetError(), ToDword(Status::InvalidHandle));
    ASSERT_TRUE(oObject.AES_Initialize("passwd", 6, false, false));
    ASSERT_TRUE(oObject.GenerateKeyAndIV(bbKey, bbIv, 1));
    EXPECT_TRUE(bbKey.size() == 32 && bbIv.size() == 16);
    ASSERT_TRUE(oObject.GenerateKeyAndIV(bbAgain, bbIvAgain, 2));
    EXPECT_FALSE(bbKey == bbAgain) << "the rounds count";
    ASSERT_TRUE(oObject.GenerateKeyAndIV(bbAgain, bbIvAgain, 1));
    EXPECT_TRUE(bbKey == bbAgain && bbIv == bbIvAgain);
    EXPECT_EQ(oObject.AES_Decrypt(oObject.AES_Encrypt(TextBuffer("text"))), TextBuffer("text"));
    EXPECT_TRUE(oObject.AES_Encrypt(bbKey.data(), 32, bb));
    EXPECT_EQ(bb.size(), 48u) << "bare, whatever the switches say";
    for (const int iCount : {0, bounds::MAX_KEY_ROUNDS + 1}) {
        EXPECT_FALSE(oObject.GenerateKeyAndIV(bbKey, bbIv, iCount));
        EXPECT_FALSE(oObject.SetKeyDerivationRounds(iCount));
    }
    EXPECT_TRUE(oObject.SetKeyDerivationRounds(bounds::MAX_KEY_ROUNDS));
    oObject.Cleanup();
    EXPECT_EQ(oFake.crypto.OpenHandles(), 0u);
    EXPECT_FALSE(oObject.GenerateKeyAndIV(bbKey, bbIv, 1)) << "the password is forgotten";
}

TEST(KestrixEncryption, EachFailedStepIsNamed) {
    // In the order in which one derivation round for key and IV, the key and the encryption call the system.
    RecordingSink sink;
    FakePlatform oFake;
    FaultPlatform oFaults(oFake.Get());
    const PlatformScope oScope(oFaults.Get());
    const std::pair<std::uint64_t, std::string> aSteps[] = {
        {1, "Could not acquire crypt context due to Error Code: "},
        {2, "WinCrypt - RAND_bytes(...) failed  failed due to "},
        {3, "Could not create hash due to Error Code: "},
        {4, "Could not hash value due to Error Code: "},
        {5, "Could not get hash value due to Error Code: "},
        {15, "Error importing Key: "},
        {16, "Error setting Key param: "},
        {17, "Error setting Padding: "},
        {18, "Error setting IV: "},
        {19, "Intial Encrypt failed: "},
        {20, "Error encrypting text: "},
    };
    for (const auto& [ullCall, strText] : aSteps) {
        Quick oObject;
        ByteBuffer bb;
        sink.Clear();
        oFaults.Script().Arm(FaultMode::FailOnce, ullCall, Status::BadDatabase);
        EXPECT_FALSE(oObject.EncryptByteBuffer(TextBuffer("text"), PASSWORD, bb));
        oFaults.Script().Disarm();
        const bool fDeriving = ullCall >= 3 && ullCall <= 5;
        ASSERT_EQ(sink.Texts().size(), fDeriving ? 2u : 1u) << strText;
        EXPECT_TRUE(sink.Texts()[0].starts_with(strText)) << sink.Texts()[0];
        EXPECT_NE(sink.Texts()[0].find("1009"), std::string::npos) << sink.Texts()[0];
        if (fDeriving) {
            EXPECT_EQ(sink.Texts()[1], "Error generating Key and IV: " + sink.Texts()[0].substr(strText.size()));
        }
        EXPECT_EQ(oObject.GetError(), ToDword(Status::BadDatabase));
    }
    oFaults.Script().Arm(FaultMode::FailOnce, 1, Status::BadDatabase);
    EXPECT_FALSE(KestrixEncryption::SelfTest());
}

TEST(KestrixEncryption, WhateverCallFailsNothingIsLeftAndTargetsStay) {
    const ByteBuffer bbText = TextBuffer("some text to be encrypted"), bbKept = TextBuffer("kept");
    const CXString csPassword(PASSWORD);
    ByteBuffer bbFramed;
    ASSERT_TRUE(Quick().EncryptByteBuffer(bbText, csPassword, bbFramed));
    bool fKept = true;
    FaultLoop oLoop;
    oLoop.fnRun = [&] {
        return Attempt<ExceptionOutOfMemory>([&] {
            ByteBuffer bbEncrypted = bbKept, bbDecrypted = bbKept;
            Quick oObject;
            const bool fEncrypted = oObject.EncryptByteBuffer(bbText, csPassword, bbEncrypted);
            const bool fDecrypted = oObject.DecryptByteBuffer(bbFramed, csPassword, bbDecrypted);
            fKept = fKept && (fEncrypted || bbEncrypted == bbKept) && bbDecrypted == (fDecrypted ? bbText : bbKept);
            if (!fEncrypted || !fDecrypted) throw std::bad_alloc();
        });
    };
    EXPECT_GT(RunFaultLoop(oLoop).ullCalls, 30u);
    const RecordingSink sink;  // what is said of a failure must not fail itself
    oLoop.fnRun = [&] {
        return Attempt<ExceptionOutOfMemory>([&] {
            Quick oObject;
            ByteBuffer bbKey = bbKept, bbIv = bbKept, bbDecrypted = bbKept, bbSalt, bbUsed;
            const CXString csBack = oObject.DecryptString(csPassword, oObject.EncryptString(csPassword, csPassword));
            const bool fBack = csBack == csPassword;
            const bool fSteps =
                oObject.AES_Initialize("passwd", 6, false, false) && oObject.GenerateKeyAndIV(bbKey, bbIv, 1);
            fKept = fKept && (fBack || csBack.IsEmpty()) && (fSteps || (bbKey == bbKept && bbIv == bbKept));
            const bool fBare = oObject.AES_Decrypt(oObject.AES_Encrypt(bbText), bbDecrypted);
            fKept = fKept && bbDecrypted == (fBare ? bbText : bbKept);
            const bool fSalt = oObject.GetSaltValueUsedForEncryption(bbUsed) && bbUsed.size() == 8;
            const bool fRefused = !oObject.DecryptByteBuffer(bbKept, bbText.data(), 4, bbIv);
            const ByteBuffer bbBare = oObject.AES_Decrypt(oObject.AES_Encrypt(bbText));
            fKept = fKept && (bbBare.empty() || bbBare == bbText);
            if (!oObject.SetSalt("12345678", 8) || !oObject.GetSalt(bbSalt)) throw std::bad_alloc();
            if (!fBack || !fSteps || !fBare || !fSalt || !fRefused) throw std::bad_alloc();
        });
    };
    RunFaultLoop(oLoop);
    EXPECT_TRUE(fKept);
}

}  // namespace
}  // namespace vlm::test
