/// @file
/// Byte buffers as hexadecimal text and in dumps.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>

#include "support/Bytes.h"
#include "support/RecordingSink.h"
#include "utilities/utilitiesdll/ByteBuffer.h"

namespace {

using ::testing::ElementsAre;
using vlm::test::Narrow;
using vlm::test::RecordingSink;

TEST(ByteBufferText, HexadecimalTextOfEveryLengthReadsBack) {
    std::mt19937 random(7);
    for (std::size_t cBytes = 0; cBytes <= 70; ++cBytes) {
        std::vector<BYTE> vby(cBytes);
        for (BYTE& rby : vby)
            rby = static_cast<BYTE>(random());
        const ByteBuffer kbb{std::vector<BYTE>(vby)};
        const CXString csHex = kbb.getAsHexBinaryString();
        EXPECT_EQ(Narrow(csHex.View()), vlm::test::ToHex(vby));  // an encoder of its own
        CXString csLower = csHex;
        csLower.MakeLower();
        for (const CXString& kcsText : {csHex, csLower}) {
            ByteBuffer bbRead;
            EXPECT_TRUE(ByteBuffer::ConvertHexBinaryStringToByteBuffer(kcsText, bbRead));
            EXPECT_EQ(bbRead, kbb);
        }
    }
    EXPECT_EQ(ByteBuffer::createFromHexBinaryString(VTEXT("0aFf")).getAsHexBinaryString(), VTEXT("0AFF"));
}

TEST(ByteBufferText, EveryCharacterIsADigitOrBadWhereverItStands) {
    constexpr int PAIRS = 40;  // some in blocks, some behind them
    for (int iAt = 0; iAt < 2 * PAIRS; iAt += 7) {
        // All of the first 256 units, and higher ones whose low byte looks like a digit.
        for (int iUnit = 0; iUnit < 0x10000; iUnit += iUnit < 0x180 ? 1 : 0x1F7) {
            CXString csHex(VTEXT('A'), 2 * PAIRS);
            csHex.GetBuffer(2 * PAIRS)[iAt] = static_cast<XCHAR>(iUnit);
            const char ch = iUnit < 0x80 ? static_cast<char>(iUnit) : ' ';
            const bool fDigit = (ch >= '0' && ch <= '9') || (ch >= 'a' && ch <= 'f') || (ch >= 'A' && ch <= 'F');
            csHex.ReleaseBuffer(2 * PAIRS);
            ByteBuffer bb = ByteBuffer::createFromByteValue(1);
            ASSERT_EQ(ByteBuffer::ConvertHexBinaryStringToByteBuffer(csHex, bb, false), fDigit) << iAt << " " << iUnit;
            ASSERT_EQ(bb.size(), fDigit ? std::size_t{PAIRS} : 0u);
        }
    }
}

TEST(ByteBufferText, ABadPairIsNamedAndClearsTheBuffer) {
    const struct {
        const XCHAR* pszHex;
        const char* pszPair;
    } aoRows[] = {
        {VTEXT("0AxF"), "x & F"}, {VTEXT("0Ag"), "g &  "}, {VTEXT("0"), "0 &  "},
        {VTEXT("0x0A"), "0 & x"}, {VTEXT(" 0"), "  & 0"},
    };
    for (const auto& rRow : aoRows) {
        RecordingSink oSink;
        ByteBuffer bb = ByteBuffer::createFromByteValue(1);
        EXPECT_FALSE(ByteBuffer::ConvertHexBinaryStringToByteBuffer(rRow.pszHex, bb));
        EXPECT_TRUE(bb.empty());
        EXPECT_THAT(
            oSink.Texts(),
            ElementsAre(std::string("Conversion problem(s) with this pair of characters in the input string, ") +
                        rRow.pszPair +
                        ". One or both of these is not a hex character. Clearing the caller's buffer and "
                        "returning false."));
    }
    RecordingSink oSink;
    EXPECT_TRUE(ByteBuffer::createFromHexBinaryString(VTEXT("zz")).empty());
    EXPECT_EQ(oSink.Reports().size(), 1u);
}

TEST(ByteBufferText, SingleDigitsBothWays) {
    RecordingSink oSink;
    for (int iValue = 0; iValue < 256; ++iValue) {
        for (const bool fLower : {false, true}) {
            XCHAR chDigit = 0;
            const bool fGood =
                ByteBuffer::ConvertValueToSingleHexChar(static_cast<BYTE>(iValue), chDigit, fLower, false);
            EXPECT_EQ(fGood, iValue < 16);
            const char* const pszDigits = fLower ? "0123456789abcdef" : "0123456789ABCDEF";
            EXPECT_EQ(static_cast<char>(chDigit), fGood ? pszDigits[iValue] : '0');
            BYTE byBack = 77;
            EXPECT_TRUE(ByteBuffer::ConvertSingleHexCharToValue(chDigit, byBack, false));
            EXPECT_EQ(byBack, fGood ? iValue : 0);
        }
    }
    EXPECT_TRUE(oSink.Reports().empty());
    XCHAR chDigit = 0;
    BYTE byValue = 77;
    EXPECT_FALSE(ByteBuffer::ConvertValueToSingleHexChar(0x1F, chDigit));
    EXPECT_FALSE(ByteBuffer::ConvertSingleHexCharToValue(VTEXT('g'), byValue));
    EXPECT_EQ(byValue, 0);
    EXPECT_THAT(
        oSink.Texts(),
        ElementsAre("The incoming value, 0x1f, cannot be converted to a single hex character. The '0' character "
                    "will be passed back and false will be returned.",
                    "The incoming character, g, is in an invalid format. Only expecting characters in the ranges "
                    "'0'-'9', 'a'-'f', and 'A'-'F'. Evaluating the overall number as zero and returning false."));
}

TEST(ByteBufferText, DumpsShowSixteenBytesALine) {
    RecordingSink oSink;
    const ByteBuffer kbb(vlm::test::BytesOf("printable, \x01\x80 and a tail"));
    kbb.DumpAsHexBinary();
    kbb.dumpAsCharacters();
    EXPECT_EQ(Narrow(kbb.GetDumpDisplayString().View()), vlm::test::ToHex(kbb.GetVector()));
    EXPECT_THAT(oSink.Texts(),
                ElementsAre("Buffer of 24 bytes:", "00000000: 70 72 69 6E 74 61 62 6C 65 2C 20 01 80 20 61 6E",
                            "00000010: 64 20 61 20 74 61 69 6C", "Buffer of 24 bytes:", "00000000: printable, .. an",
                            "00000010: d a tail"));
}

}  // namespace
