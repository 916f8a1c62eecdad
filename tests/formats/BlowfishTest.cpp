/// @file
/// Blowfish against the published vectors.
#include "utilities/utilitiesdll/Blowfish.h"

#include <gtest/gtest.h>

#include "support/Bytes.h"
#include "support/RecordingSink.h"

namespace {

using vlm::test::BytesOf;
using vlm::test::FromHex;
using vlm::test::RecordingSink;
using vlm::test::ToHex;

ByteBuffer Hex(std::string_view svDigits) {
    return ByteBuffer(FromHex(svDigits));
}

std::string HexOf(const ByteBuffer& rbb) {
    return ToHex(rbb.data(), rbb.size());
}

TEST(Blowfish, GivesThePublishedVectors) {
    // Key, clear and cipher text of the designer's list (by E. Young).
    static constexpr const char* VECTORS[][3] = {
        {"0000000000000000", "0000000000000000", "4EF997456198DD78"},
        {"FFFFFFFFFFFFFFFF", "FFFFFFFFFFFFFFFF", "51866FD5B85ECB8A"},
        {"3000000000000000", "1000000000000001", "7D856F9A613063F2"},
        {"1111111111111111", "1111111111111111", "2466DD878B963C9D"},
        {"0123456789ABCDEF", "1111111111111111", "61F9C3802281B096"},
        {"1111111111111111", "0123456789ABCDEF", "7D0CC630AFDA1EC7"},
        {"FEDCBA9876543210", "0123456789ABCDEF", "0ACEAB0FC6A0A28D"},
        {"7CA110454A1A6E57", "01A1D6D039776742", "59C68245EB05282B"},
        {"0131D9619DC1376E", "5CD54CA83DEF57DA", "B1B8CC0B250F09A0"},
        {"07A1133E4A0B2686", "0248D43806F67172", "1730E5778BEA1DA4"},
        {"3849674C2602319E", "51454B582DDF440A", "A25E7856CF2651EB"},
        {"04B915BA43FEB5B6", "42FD443059577FA2", "353882B109CE8F1A"},
        {"0113B970FD34F2CE", "059B5E0851CF143A", "48F4D0884C379918"},
        {"FFFFFFFFFFFFFFFF", "0000000000000000", "F21E9A77B71C49BC"},
        {"0123456789ABCDEF", "0000000000000000", "245946885754369A"},
        {"FEDCBA9876543210", "FFFFFFFFFFFFFFFF", "6B5C5A9C5D9E0A5A"},
    };
    BlowFish blowfish;
    for (const auto& rRow : VECTORS) {
        ASSERT_TRUE(blowfish.SetPassword(Hex(rRow[0])));
        // Alone, and among so many that several go at once and some are left over.
        for (const std::size_t cBlocks : {1u, 3u, 4u, 11u}) {
            std::string clear, cipher;
            for (std::size_t i = 0; i < cBlocks; ++i) {
                clear += rRow[1];
                cipher += rRow[2];
            }
            ByteBuffer bb = Hex(clear);
            EXPECT_TRUE(blowfish.EncryptData(bb));
            EXPECT_EQ(HexOf(bb), cipher) << rRow[0];
            EXPECT_TRUE(blowfish.DecryptData(bb));
            EXPECT_EQ(HexOf(bb), clear) << rRow[0];
        }
    }
}

TEST(Blowfish, KeysOfEveryLengthCount) {
    // The list's keys of 1 to 24 bytes, for the clear text FEDCBA9876543210.
    const std::vector<BYTE> vbyKey = FromHex("F0E1D2C3B4A5968778695A4B3C2D1E0F0011223344556677");
    static constexpr const char* CIPHERS[] = {
        "F9AD597C49DB005E", "E91D21C1D961A6D6", "E9C2B70A1BC65CF3", "BE1E639408640F05", "B39E44481BDB1E6E",
        "9457AA83B1928C0D", "8BB77032F960629D", "E87A244E2CC85E82", "15750E7A4F4EC577", "122BA70B3AB64AE0",
        "3A833C9AFFC537F6", "9409DA87A90F6BF2", "884F80625060B8B4", "1F85031C19E11968", "79D9373A714CA34F",
        "93142887EE3BE15C", "03429E838CE2D14B", "A4299E27469FF67B", "AFD5AED1C1BC96A8", "10851C0E3858DA9F",
        "E6F51ED79B9DB21F", "64A6E14AFD36B46F", "80C7D7D45A5479AD", "05044B62FA52D080",
    };
    BlowFish blowfish;
    for (DWORD c = 1; c <= std::size(CIPHERS); ++c) {
        ASSERT_TRUE(blowfish.SetPassword(vbyKey.data(), c));
        ByteBuffer bb = Hex("FEDCBA9876543210");
        EXPECT_TRUE(blowfish.EncryptData(bb));
        EXPECT_EQ(HexOf(bb), CIPHERS[c - 1]) << c;
    }
    // The subkeys take in 72 bytes and no more.
    std::vector<BYTE> vbyLong(73, BYTE{5});
    ByteBuffer bbFull(BytesOf("12345678")), bbLonger = bbFull, bbOther = bbFull;
    blowfish.SetPassword(vbyLong.data(), 72);
    blowfish.EncryptData(bbFull);
    vbyLong[72] = 6;
    blowfish.SetPassword(vbyLong.data(), 73);
    blowfish.EncryptData(bbLonger);
    vbyLong[71] = 6;
    blowfish.SetPassword(vbyLong.data(), 72);
    blowfish.EncryptData(bbOther);
    EXPECT_EQ(bbFull, bbLonger);
    EXPECT_FALSE(bbFull == bbOther);
}

TEST(Blowfish, RefusesPartsOfBlocksAndMissingPasswords) {
    RecordingSink sink;
    BlowFish blowfish;
    blowfish.SetPassword(ByteBuffer(BytesOf("password")));
    for (const std::size_t c : {1u, 7u, 9u, 12u}) {
        const ByteBuffer bbBefore(std::vector<BYTE>(c, BYTE{'x'}));
        ByteBuffer bb = bbBefore;
        sink.Clear();
        EXPECT_FALSE(blowfish.EncryptData(bb));
        EXPECT_FALSE(blowfish.DecryptData(bb));
        EXPECT_EQ(bb, bbBefore);
        EXPECT_EQ(sink.Texts(),
                  (std::vector<std::string>{
                      "BlowFish::EncryptData requires the input to be a multiple of 8 bytes (64 bits) to work.",
                      "BlowFish::DecryptData requires the input to be a multiple of 8 bytes (64 bits) to work."}));
    }
    EXPECT_TRUE(blowfish.EncryptData(nullptr, 0));
    EXPECT_TRUE(blowfish.HasPassword());
    const ByteBuffer bbBefore(BytesOf("16 bytes of text"));
    ByteBuffer bb = bbBefore;
    EXPECT_FALSE(blowfish.SetPassword(ByteBuffer())) << "the former password is gone as well";
    EXPECT_FALSE(blowfish.HasPassword());
    EXPECT_FALSE(blowfish.EncryptData(bb));
    blowfish.SetPassword(ByteBuffer(BytesOf("password")));
    blowfish.Reset();
    EXPECT_FALSE(blowfish.DecryptData(bb));
    EXPECT_EQ(bb, bbBefore);
    // After a reset a password gives what it gives to a new object.
    BlowFish fresh;
    fresh.SetPassword(ByteBuffer(BytesOf("again")));
    blowfish.SetPassword(ByteBuffer(BytesOf("again")));
    EXPECT_TRUE(fresh.EncryptData(bb));
    EXPECT_TRUE(blowfish.DecryptData(bb));
    EXPECT_EQ(bb, bbBefore);
}

}  // namespace
