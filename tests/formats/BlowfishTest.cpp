/// @file
/// Blowfish against the published vectors.
#include "utilities/utilitiesdll/Blowfish.h"

#include <gtest/gtest.h>

#include "formats/Buffers.h"
#include "support/FaultLoop.h"
#include "support/RecordingSink.h"

namespace vlm::test {
namespace {

TEST(Blowfish, GivesThePublishedVectors) {
    // Key, clear and cipher text of the designer's list (by E. Young).
    static constexpr const char* VECTORS[][3] = {
        {"0000000000000000", "0000000000000000", "4EF997456198DD78"},
        {"FFFFFFFFFFFFFFFF", "FFFFFFFFFFFFFFFF", "51866FD5B85ECB8A"},
        {"3000000000000000", "1000000000000001", "7D856F9A613063F2"},
        {"0123456789ABCDEF", "1111111111111111", "61F9C3802281B096"},
        {"FEDCBA9876543210", "0123456789ABCDEF", "0ACEAB0FC6A0A28D"},
        {"7CA110454A1A6E57", "01A1D6D039776742", "59C68245EB05282B"},
    };
    BlowFish blowfish;
    for (const auto& rRow : VECTORS) {
        ASSERT_TRUE(blowfish.SetPassword(BufferOf(rRow[0])));
        // Alone, and among so many that several go at once and some are left over.
        for (const std::size_t cBlocks : {1u, 4u, 11u}) {
            std::string clear, cipher;
            for (std::size_t i = 0; i < cBlocks; ++i) {
                clear += rRow[1];
                cipher += rRow[2];
            }
            ByteBuffer bb = BufferOf(clear);
            EXPECT_TRUE(blowfish.EncryptData(bb));
            EXPECT_EQ(HexOf(bb), cipher) << rRow[0];
            EXPECT_TRUE(blowfish.DecryptData(bb));
            EXPECT_EQ(HexOf(bb), clear) << rRow[0];
        }
    }
}

TEST(Blowfish, KeysOfEveryLengthCount) {
    // Some of the list's keys of 1 to 24 bytes, for the clear text FEDCBA9876543210.
    const std::vector<BYTE> vbyKey = FromHex("F0E1D2C3B4A5968778695A4B3C2D1E0F0011223344556677");
    const std::pair<DWORD, const char*> aCiphers[] = {
        {1, "F9AD597C49DB005E"},  {2, "E91D21C1D961A6D6"},  {5, "B39E44481BDB1E6E"},
        {16, "93142887EE3BE15C"}, {17, "03429E838CE2D14B"}, {24, "05044B62FA52D080"},
    };
    const auto encrypted = [](const std::vector<BYTE>& rvbyKey, DWORD dwLength) {
        BlowFish blowfish;
        ByteBuffer bb = BufferOf("FEDCBA9876543210");
        EXPECT_TRUE(blowfish.SetPassword(rvbyKey.data(), dwLength) && blowfish.EncryptData(bb));
        return HexOf(bb);
    };
    for (const auto& [dwLength, pszCipher] : aCiphers)
        EXPECT_EQ(encrypted(vbyKey, dwLength), pszCipher) << dwLength;
    // The subkeys take in 72 bytes and no more.
    std::vector<BYTE> vbyLong(73, BYTE{5});
    const std::string full = encrypted(vbyLong, 72);
    vbyLong[72] = 6;
    EXPECT_EQ(encrypted(vbyLong, 73), full);
    vbyLong[71] = 6;
    EXPECT_NE(encrypted(vbyLong, 72), full);
}

TEST(Blowfish, RefusesPartsOfBlocksAndMissingPasswords) {
    RecordingSink sink;
    BlowFish blowfish, fresh;
    const ByteBuffer bbPassword = TextBuffer("password"), bbBefore = TextBuffer("16 bytes of text");
    blowfish.SetPassword(bbPassword);
    ByteBuffer bbPart = TextBuffer("twelve bytes");
    EXPECT_FALSE(blowfish.EncryptData(bbPart) || blowfish.DecryptData(bbPart));
    EXPECT_EQ(TextOf(bbPart), "twelve bytes");
    EXPECT_EQ(sink.Texts(),
              (std::vector<std::string>{
                  "BlowFish::EncryptData requires the input to be a multiple of 8 bytes (64 bits) to work.",
                  "BlowFish::DecryptData requires the input to be a multiple of 8 bytes (64 bits) to work."}));
    EXPECT_TRUE(blowfish.EncryptData(nullptr, 0));
    EXPECT_TRUE(blowfish.HasPassword());
    ByteBuffer bb = bbBefore;
    EXPECT_FALSE(blowfish.SetPassword(ByteBuffer())) << "the former password is gone as well";
    EXPECT_FALSE(blowfish.HasPassword());
    EXPECT_FALSE(blowfish.EncryptData(bb));
    blowfish.SetPassword(TextBuffer("another"));
    blowfish.Reset();
    EXPECT_FALSE(blowfish.DecryptData(bb));
    EXPECT_EQ(bb, bbBefore);
    FaultLoop oLoop;  // what is said of it may be lost, and changes nothing
    oLoop.fnRun = [&] {
        BlowFish none;
        const bool fTaken = blowfish.EncryptData(bbPart) || blowfish.DecryptData(bbPart) || blowfish.EncryptData(bb) ||
                            blowfish.DecryptData(bb) || none.SetPassword(ByteBuffer());
        return fTaken || bb != bbBefore ? FaultOutcome::Failed : FaultOutcome::Succeeded;
    };
    oLoop.fnCheck = [](FakePlatform&, FaultOutcome eOutcome) { EXPECT_EQ(eOutcome, FaultOutcome::Succeeded); };
    RunFaultLoop(oLoop);
    // After a reset a password gives what it gives to a new object.
    fresh.SetPassword(bbPassword);
    blowfish.SetPassword(bbPassword);
    EXPECT_TRUE(fresh.EncryptData(bb) && blowfish.DecryptData(bb));
    EXPECT_EQ(bb, bbBefore);
}

}  // namespace
}  // namespace vlm::test
