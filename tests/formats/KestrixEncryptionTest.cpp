/// @file
/// Encryption under a password: known answers, framing, refusals, faults.
#include "utilities/utilitiesdll/KestrixEncryption.h"

#include <gtest/gtest.h>

#include "support/Bytes.h"
#include "support/FaultLoop.h"
#include "support/RecordingSink.h"
#include "support/TextPrinter.h"
#include "utilities/Bounds.h"
#include "utilities/debuggingandexceptions/VelomExceptions.h"

namespace {

using namespace vlm;
using namespace vlm::test;

ByteBuffer Hex(std::string_view svDigits) {
    return ByteBuffer(FromHex(svDigits));
}

std::string HexOf(const ByteBuffer& rbb) {
    return ToHex(rbb.data(), rbb.size());
}

ByteBuffer Text(std::string_view svText) {
    return ByteBuffer(BytesOf(svText));
}

/// An object whose derivation costs next to nothing.
class Quick : public KestrixEncryption {
public:
    explicit Quick(int iRounds = 1) { SetKeyDerivationRounds(iRounds); }
};

// Made with Python's hashlib and cryptography modules.
constexpr struct {
    const char* pszPassword;
    const char* pszSalt;
    const char* pszText;
    int iRounds;
    const char* pszFramed;
} VECTORS[] = {
    {"p\xC3\xA4ssword \xE2\x82\xAC", "A1B2C3D4E5F60718", "", 1,
     "53616C7465645F5FA1B2C3D4E5F6071812ED6A5C0E309C81AB59DD0A72B999C9"},
    {"xxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxx", "0000000000000000", "sixteen bytes ok", 1,
     "53616C7465645F5F0000000000000000707795A2C4810AE0F96D007CC16B37A24E23B816DB20D72F6BC4861C3B105E33"},
    {"xxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxx", "FFFFFFFFFFFFFFFF", "seventeen bytes o", 2,
     "53616C7465645F5FFFFFFFFFFFFFFFFF038C5DE04C3D1836B17F51D64CF57C2185D7CEFD4EBFE65FA3530397E72B5688"},
};

TEST(KestrixEncryption, GivesKnownAnswersBothWays) {
    for (const auto& rRow : VECTORS) {
        Quick oWriter(rRow.iRounds), oReader(rRow.iRounds);
        const std::vector<BYTE> vbyPassword = BytesOf(rRow.pszPassword);
        const auto iLength = static_cast<int>(vbyPassword.size());
        ByteBuffer bb, bbBack;
        ASSERT_TRUE(oWriter.SetSalt(Hex(rRow.pszSalt)));
        EXPECT_TRUE(oWriter.EncryptByteBuffer(Text(rRow.pszText), vbyPassword.data(), iLength, bb));
        EXPECT_EQ(HexOf(bb), rRow.pszFramed);
        EXPECT_TRUE(oReader.DecryptByteBuffer(bb, vbyPassword.data(), iLength, bbBack));
        EXPECT_EQ(bbBack, Text(rRow.pszText));
        // Without emission: the ciphertext alone, for readers who know the salt.
        oWriter.SetEmitSaltWithEncryptedData(false);
        EXPECT_TRUE(oWriter.EncryptByteBuffer(Text(rRow.pszText), vbyPassword.data(), iLength, bb));
        EXPECT_EQ(HexOf(bb), std::string(rRow.pszFramed).substr(32));
        EXPECT_FALSE(oReader.DecryptByteBuffer(bb, vbyPassword.data(), iLength, bbBack)) << "nobody knows the salt";
        ByteBuffer bbSalt;
        EXPECT_TRUE(oWriter.GetSaltValueUsedForEncryption(bbSalt));
        EXPECT_TRUE(oReader.SetSalt(bbSalt));
        EXPECT_TRUE(oReader.DecryptByteBuffer(bb, vbyPassword.data(), iLength, bbBack));
        EXPECT_EQ(bbBack, Text(rRow.pszText));
    }
    // The default of 10,000 rounds, and a string as password.
    KestrixEncryption oDefault;
    ByteBuffer bb;
    oDefault.SetSalt(Hex("0102030405060708"));
    std::vector<BYTE> vbyText(40);
    for (std::size_t i = 0; i < vbyText.size(); ++i)
        vbyText[i] = static_cast<BYTE>(i);
    EXPECT_TRUE(oDefault.EncryptByteBuffer(ByteBuffer(std::move(vbyText)), VTEXT("secret"), bb));
    EXPECT_EQ(HexOf(bb),
              "53616C7465645F5F0102030405060708E27D687008377A655A51073A0247C6A63420159FBBE7DA9A8F1F539B2D62D518"
              "E1A0E0CC1840CFF277BF4D07D5A036FB");
    EXPECT_TRUE(KestrixEncryption::SelfTest());
}

TEST(KestrixEncryption, TheSaltIsNewEachTimeUnlessItWasSet) {
    Quick oObject;
    const ByteBuffer bbText = Text("the same text");
    ByteBuffer bbFirst, bbSecond, bbSalt, bbUsed;
    EXPECT_FALSE(oObject.GetSalt(bbSalt));
    EXPECT_FALSE(oObject.GetSaltValueUsedForEncryption(bbUsed));
    EXPECT_TRUE(oObject.EncryptByteBuffer(bbText, VTEXT("password"), bbFirst));
    EXPECT_TRUE(oObject.EncryptByteBuffer(bbText, VTEXT("password"), bbSecond));
    EXPECT_NE(HexOf(bbFirst).substr(16, 16), HexOf(bbSecond).substr(16, 16));
    EXPECT_TRUE(oObject.GetSaltValueUsedForEncryption(bbUsed));
    EXPECT_EQ(HexOf(bbUsed), HexOf(bbSecond).substr(16, 16));
    // Reading what has its own salt changes nothing about the object's.
    EXPECT_TRUE(oObject.SetSalt("salt of 8", 8));
    ByteBuffer bb;
    EXPECT_TRUE(oObject.DecryptByteBuffer(bbFirst, VTEXT("password"), bb));
    EXPECT_TRUE(oObject.GetSalt(bbSalt));
    EXPECT_EQ(bbSalt, Text("salt of "));
    for (const int iLength : {0, 7, 9, -1})
        EXPECT_FALSE(oObject.SetSalt("123456789", iLength));
    EXPECT_FALSE(oObject.SetSalt(nullptr, 8));
    EXPECT_FALSE(oObject.SetSalt(ByteBuffer(std::vector<BYTE>(16))));
    EXPECT_TRUE(oObject.GetSalt(bbSalt));
    EXPECT_EQ(bbSalt, Text("salt of "));
}

TEST(KestrixEncryption, APrefixThatIsNotToBeUsedIsCiphertext) {
    Quick oObject;
    oObject.SetSalt("8 bytes.", 8);
    ByteBuffer bb, bbBack;
    ASSERT_TRUE(oObject.EncryptByteBuffer(Text("text"), VTEXT("password"), bb));
    oObject.SetUseSaltFromEncryptedData(false);
    const bool fNoise = oObject.DecryptByteBuffer(bb, VTEXT("password"), bbBack);
    EXPECT_FALSE(fNoise && bbBack == Text("text"));
}

TEST(KestrixEncryption, SizesAreThoseOfTheFraming) {
    Quick oObject;
    for (std::size_t c = 0; c <= 49; ++c) {
        ByteBuffer bb(std::vector<BYTE>(c, BYTE{'x'}));
        const ByteBuffer bbText = bb;
        ASSERT_TRUE(oObject.EncryptByteBuffer(bb, VTEXT("password"), bb)) << "in its own place";
        EXPECT_EQ(bb.size(), 16 + (c / 16 + 1) * 16);
        EXPECT_EQ(HexOf(bb).substr(0, 16), "53616C7465645F5F");
        ASSERT_TRUE(oObject.DecryptByteBuffer(bb, VTEXT("password"), bb));
        EXPECT_EQ(bb, bbText);
    }
}

TEST(KestrixEncryption, BlankPasswordsAreRefusedBeforeAnyCryptographicCall) {
    RecordingSink sink;
    FakePlatform oFake;
    FaultPlatform oFaults(oFake.Get());
    const PlatformScope oScope(oFaults.Get());
    Quick oObject;
    ByteBuffer bb = Text("kept");
    const BYTE abyBlanks[] = {' ', ' '};
    for (const XCHAR* pszPassword : {VTEXT(""), VTEXT(" "), VTEXT("   ")}) {
        EXPECT_FALSE(oObject.EncryptByteBuffer(Text("text"), pszPassword, bb));
        EXPECT_FALSE(oObject.DecryptByteBuffer(Text("Salted__12345678"), pszPassword, bb));
        EXPECT_TRUE(oObject.EncryptString(VTEXT("text"), pszPassword).empty());
        EXPECT_EQ(oObject.GetError(), ToDword(Status::InvalidParameter));
    }
    EXPECT_FALSE(oObject.EncryptByteBuffer(Text("text"), abyBlanks, 2, bb));
    EXPECT_FALSE(oObject.EncryptByteBuffer(Text("text"), nullptr, 2, bb));
    EXPECT_FALSE(oObject.AES_Initialize(abyBlanks, -1, true, true));
    EXPECT_EQ(oFaults.Script().Calls(), 0u);
    EXPECT_EQ(bb, Text("kept"));
    EXPECT_EQ(sink.Count("Failed Condition:\t(csPassword.IsBlank() == false)\r\n"), 12u);
}

TEST(KestrixEncryption, EveryBadCiphertextGetsTheSameAnswer) {
    RecordingSink sink;
    Quick oObject;
    const ByteBuffer bbKept = Text("kept");
    const auto refuse = [&](const ByteBuffer& rbbData, const std::string& rWhat) {
        sink.Clear();
        ByteBuffer bb = bbKept;
        oObject.GetError(true);
        EXPECT_FALSE(oObject.DecryptByteBuffer(rbbData, VTEXT("password"), bb)) << rWhat;
        EXPECT_EQ(bb, bbKept) << rWhat;
        EXPECT_EQ(oObject.GetError(), ToDword(Status::BadCryptoData)) << rWhat;
        return sink.Texts();
    };
    const std::vector<std::string> vExpected{"The new decrypt is not working..."};
    // Bytes that are no ciphertext by their number, with the framing and with a salt that was set.
    for (std::size_t c = 0; c < 50; ++c) {
        const std::vector<BYTE> vby(c, BYTE{7});
        std::vector<BYTE> vbyFramed = BytesOf("Salted__12345678");
        vbyFramed.insert(vbyFramed.end(), vby.begin(), vby.end());
        if (c % 16 == 0 && c != 0) continue;
        EXPECT_EQ(refuse(ByteBuffer(vbyFramed.data(), vbyFramed.size()), "framed " + std::to_string(c)), vExpected);
        oObject.SetSalt("12345678", 8);
        EXPECT_EQ(refuse(ByteBuffer(vby.data(), vby.size()), "bare " + std::to_string(c)), vExpected);
    }
    // The right length, but another password or a changed byte: mostly bad padding, now and then noise.
    ByteBuffer bb;
    ASSERT_TRUE(oObject.EncryptByteBuffer(Text("sixteen bytes ok"), VTEXT("passw0rd"), bb));
    unsigned cRefused = 0;
    for (unsigned u = 0; u < 64; ++u) {
        ByteBuffer bbChanged = bb, bbNoise = bbKept;
        bbChanged[47 - u / 32] = static_cast<BYTE>(bbChanged[47 - u / 32] ^ (u % 32 + 1));
        if (!oObject.DecryptByteBuffer(bbChanged, VTEXT("passw0rd"), bbNoise)) {
            ++cRefused;
            EXPECT_EQ(bbNoise, bbKept);
            EXPECT_EQ(oObject.GetError(), ToDword(Status::BadCryptoData));
        } else {
            EXPECT_FALSE(bbNoise == Text("sixteen bytes ok"));
        }
    }
    EXPECT_GT(cRefused, 55u);
    // A framing without its salt.
    Quick oFresh;
    for (std::size_t c = 0; c < 16; ++c) {
        ByteBuffer bbShort(bb.data(), c), bbTarget = bbKept;
        EXPECT_FALSE(oFresh.DecryptByteBuffer(bbShort, VTEXT("password"), bbTarget)) << c;
        EXPECT_EQ(bbTarget, bbKept);
        EXPECT_EQ(oFresh.GetError(), ToDword(Status::BadCryptoData));
    }
}

TEST(KestrixEncryption, TextsComeBackWhole) {
    Quick oObject;
    oObject.SetSalt(Hex("0102030405060708"));
    const CXString csText(XStringView(VTEXT("Gr\u00FCn \u20AC\0"), 7));
    EXPECT_EQ(HexOf(oObject.EncryptString(csText, VTEXT("secret"))),
              "53616C7465645F5F01020304050607081EAFDA144867E4173D324ED102521857");
    const XCHAR achLone[] = {0xD800, 'x', 0xDC00};
    for (const CXString& rText : {csText, CXString(), CXString(XStringView(achLone, 3)), CXString(XCHAR('y'), 1000)}) {
        EXPECT_EQ(oObject.DecryptString(VTEXT("secret"), oObject.EncryptString(rText, VTEXT("secret"))), rText);
        EXPECT_EQ(oObject.GetError(), 0u);
    }
    // Passwords that differ only in lone surrogates are different passwords.
    const CXString csHigh(XCHAR(0xD800)), csOther(XCHAR(0xD801));
    EXPECT_NE(oObject.EncryptString(csText, csHigh), oObject.EncryptString(csText, csOther));
    // An odd number of bytes is no text.
    ByteBuffer bb;
    ASSERT_TRUE(oObject.EncryptByteBuffer(Text("odd"), VTEXT("secret"), bb));
    EXPECT_TRUE(oObject.DecryptString(VTEXT("secret"), bb).IsEmpty());
    EXPECT_EQ(oObject.GetError(true), ToDword(Status::BadCryptoData));
    EXPECT_EQ(oObject.GetError(), 0u);
}

TEST(KestrixEncryption, TheStepsWorkByThemselves) {
    FakePlatform oFake;
    const PlatformScope oScope(oFake.Get());
    Quick oObject;
    ByteBuffer bbKey, bbIv, bbAgain, bbIvAgain, bb;
    EXPECT_FALSE(oObject.GenerateKeyAndIV(bbKey, bbIv, 1)) << "no password yet";
    EXPECT_FALSE(oObject.AES_Encrypt(Text("text"), bb)) << "no key yet";
    EXPECT_EQ(oObject.GetError(), ToDword(Status::InvalidHandle));
    EXPECT_TRUE(oObject.AES_Decrypt(Text("sixteen bytes ok")).empty());
    ASSERT_TRUE(oObject.SetSalt("salt", 4) || oObject.SetSalt("saltsalt", 8));
    ASSERT_TRUE(oObject.AES_Initialize("passwd", 6, false, false));
    ASSERT_TRUE(oObject.GenerateKeyAndIV(bbKey, bbIv, 1));
    EXPECT_EQ(bbKey.size(), 32u);
    EXPECT_EQ(bbIv.size(), 16u);
    ASSERT_TRUE(oObject.GenerateKeyAndIV(bbAgain, bbIvAgain, 2));
    EXPECT_FALSE(bbKey == bbAgain) << "the rounds count";
    ASSERT_TRUE(oObject.GenerateKeyAndIV(bbAgain, bbIvAgain, 1));
    EXPECT_TRUE(bbKey == bbAgain && bbIv == bbIvAgain);
    EXPECT_EQ(oObject.AES_Decrypt(oObject.AES_Encrypt(Text("text"))), Text("text"));
    EXPECT_TRUE(oObject.AES_Encrypt(bbKey.data(), 32, bb));
    EXPECT_EQ(bb.size(), 48u) << "bare, whatever the switches say";
    EXPECT_TRUE(oObject.AES_Decrypt(bb.data(), bb.GetLength(), bb));
    EXPECT_EQ(bb, bbKey);
    for (const int iCount : {0, -1, bounds::MAX_KEY_ROUNDS + 1}) {
        EXPECT_FALSE(oObject.GenerateKeyAndIV(bbKey, bbIv, iCount));
        EXPECT_FALSE(oObject.SetKeyDerivationRounds(iCount));
    }
    EXPECT_TRUE(oObject.SetKeyDerivationRounds(bounds::MAX_KEY_ROUNDS));
    EXPECT_NE(oFake.crypto.OpenHandles(), 0u);
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
    const std::vector<std::pair<std::uint64_t, std::string>> vSteps = {
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
    for (const auto& [ullCall, strText] : vSteps) {
        Quick oObject;
        ByteBuffer bb;
        sink.Clear();
        oFaults.Script().Arm(FaultMode::FailOnce, ullCall, Status::BadDatabase);
        EXPECT_FALSE(oObject.EncryptByteBuffer(Text("text"), VTEXT("password"), bb));
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
}

TEST(KestrixEncryption, WhateverCallFailsNothingIsLeftAndTargetsStay) {
    static const ByteBuffer soText = Text("some text to be encrypted"), soKept = Text("kept");
    static ByteBuffer sbbFramed;
    {
        Quick oObject;
        ASSERT_TRUE(oObject.EncryptByteBuffer(soText, VTEXT("password"), sbbFramed));
    }
    static const CXString soPassword(VTEXT("password"));
    static bool sfKept = true;
    FaultLoop oLoop;
    oLoop.fnRun = [] {
        try {
            ByteBuffer bbEncrypted = soKept, bbDecrypted = soKept;
            Quick oObject;
            const bool fEncrypted = oObject.EncryptByteBuffer(soText, soPassword, bbEncrypted);
            const bool fDecrypted = oObject.DecryptByteBuffer(sbbFramed, soPassword, bbDecrypted);
            sfKept = sfKept && (fEncrypted || bbEncrypted == soKept) && (fDecrypted || bbDecrypted == soKept) &&
                     (!fDecrypted || bbDecrypted == soText);
            return fEncrypted && fDecrypted ? FaultOutcome::Succeeded : FaultOutcome::Failed;
        } catch (const ExceptionOutOfMemory&) {
            return FaultOutcome::Failed;
        } catch (const std::bad_alloc&) {  // even the exception took more memory than there was
            return FaultOutcome::Failed;
        }
    };
    EXPECT_GT(RunFaultLoop(oLoop).ullCalls, 30u);
    EXPECT_TRUE(sfKept);
}

}  // namespace
