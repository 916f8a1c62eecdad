/// @file
/// Byte buffers: primitives, cursors, counted forms, writers, the byte stream form, hexadecimal text and dumps.
#include "utilities/utilitiesdll/ByteBuffer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>
#include <string>
#include <tuple>
#include <utility>

#include "support/Bytes.h"
#include "support/FaultLoop.h"
#include "support/RecordingSink.h"
#include "utilities/debuggingandexceptions/VelomExceptions.h"
#include "utilities/utilitiesdll/Dimension.h"
#include "utilities/utilitiesdll/DriverVersion.h"
#include "utilities/utilitiesdll/HorspoolMatch.h"
#include "utilities/utilitiesdll/Number.h"
#include "utilities/utilitiesdll/UtcTime.h"

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using vlm::test::FromHex;
using vlm::test::Narrow;
using vlm::test::RecordingSink;
using NotEnoughBytes = ExceptionNotEnoughBytesForDesiredDataType;

std::string Hex(const ByteBuffer& kbb) {
    return vlm::test::ToHex(kbb.GetVector());
}
ByteBuffer Bytes(const char* pszHex) {
    return ByteBuffer(FromHex(pszHex));
}

std::string MessageOf(const std::function<void()>& body) {
    try {
        body();
    } catch (const VelomException& rException) {
        return Narrow(rException.GetExceptionMesage().View());
    }
    return "nothing was thrown";
}

TEST(ByteBuffer, PrimitivesAreLittleEndian) {
    EXPECT_EQ(Hex(ByteBuffer::createFromByteValue(0xA5)), "A5");
    EXPECT_EQ(Hex(ByteBuffer::createFromBoolValue(true)), "01");
    EXPECT_EQ(Hex(ByteBuffer::createFromShortValue(-2)), "FEFF");
    EXPECT_EQ(Hex(ByteBuffer::createFromWordValue(0xFEDC)), "DCFE");
    EXPECT_EQ(Hex(ByteBuffer::createFromIntValue(1)), "01000000");
    EXPECT_EQ(Hex(ByteBuffer::createFromLongValue(-559038737)), "EFBEADDE");
    EXPECT_EQ(Hex(ByteBuffer::createFromLong64Value(0x0123456789ABCDEF)), "EFCDAB8967452301");
    EXPECT_EQ(Hex(ByteBuffer::createFromTime64Value(-1)), "FFFFFFFFFFFFFFFF");
    EXPECT_EQ(Hex(ByteBuffer::createCountedStringFormatFromString(VTEXT("AB"))), "020041004200");
    EXPECT_EQ(Hex(ByteBuffer::createCountedBytesFormat(ByteBuffer())), "00000000");
    EXPECT_EQ(Hex(ByteBuffer::createCountedBytesFormat(Bytes("0AFF"))), "020000000AFF");
}

TEST(ByteBuffer, DecodersReadFromTheStart) {
    const ByteBuffer kbb = Bytes("FE FF 80 91 A2 B3 C4 D5 E6");
    EXPECT_EQ(kbb.getAsByteValue(), 0xFE);
    EXPECT_TRUE(Bytes("80").getAsBoolValue());
    EXPECT_FALSE(Bytes("00FF").getAsBoolValue());
    EXPECT_EQ(kbb.getAsShortValue(), -2);
    EXPECT_EQ(kbb.getAsWordValue(), 0xFFFE);
    EXPECT_EQ(kbb.getAsIntValue(), static_cast<int>(0x9180FFFE));
    EXPECT_EQ(kbb.getAsLongValue(), static_cast<LONG>(0x9180FFFE));
    EXPECT_EQ(kbb.getDword(), 0x9180FFFEu);
    EXPECT_EQ(kbb.getAsLong64Value(), static_cast<LONGLONG>(0xD5C4B3A29180FFFE));
    EXPECT_EQ(kbb.getAsTime64Value(), kbb.getAsLong64Value());
    EXPECT_THROW(ByteBuffer().getAsByteValue(), NotEnoughBytes);
}

/// How readers stay where they are on short data is what the fuzz target of the cursor watches.
template <class TByte>
void CheckReadersInARow() {
    std::vector<BYTE> vbyData(31);  // one byte more than is read
    for (std::size_t i = 0; i < vbyData.size(); ++i)
        vbyData[i] = static_cast<BYTE>(0x11 * (i % 15));
    TByte* p = vbyData.data();
    DWORD dw = 31;
    EXPECT_EQ(ByteBuffer::WalkBufferToGetByte(p, dw), 0x00);
    EXPECT_TRUE(ByteBuffer::WalkBufferToGetBool(p, dw));
    EXPECT_EQ(ByteBuffer::WalkBufferToGetShort(p, dw), 0x3322);
    EXPECT_EQ(ByteBuffer::WalkBufferToGetWord(p, dw), 0x5544);
    EXPECT_EQ(ByteBuffer::WalkBufferToGetInt(p, dw), static_cast<int>(0x99887766));
    EXPECT_EQ(ByteBuffer::WalkBufferToGetLong(p, dw), static_cast<LONG>(0xDDCCBBAA));
    EXPECT_EQ(ByteBuffer::WalkBufferToGetLong64(p, dw), 0x66554433221100EE);
    EXPECT_EQ(ByteBuffer::WalkBufferToGetTime64(p, dw), static_cast<LONGLONG>(0xEEDDCCBBAA998877));
    EXPECT_EQ(p, vbyData.data() + 30);
    EXPECT_EQ(dw, 1u);
    EXPECT_THROW(ByteBuffer::WalkBufferToGetTime64(p, dw), NotEnoughBytes);
    EXPECT_EQ(p, vbyData.data() + 30);
}

TEST(ByteBuffer, ReadersTakeLittleEndianValues) {
    CheckReadersInARow<const BYTE>();
    CheckReadersInARow<BYTE>();
}

TEST(ByteBuffer, AShortReadNamesBothSizes) {
    RecordingSink oSink;
    const std::string expected =
        "Cannot convert to the desired data type because the size of the source buffer is too small (3 bytes)! It "
        "needs to be at least 4 bytes.";
    EXPECT_EQ(MessageOf([] { Bytes("010203").getAsLongValue(); }), expected);
    EXPECT_EQ(oSink.Count("*Throwing* ExceptionNotEnoughBytesForDesiredDataType: " + expected), 1u);
}

TEST(ByteBuffer, CountedFormsFailBeforeTheCount) {
    std::vector<BYTE> vbyString(131071, 0x41);
    vbyString[0] = vbyString[1] = 0xFF;  // 65,535 units need 131,072 bytes with their count
    for (const auto& [vbyData, fString, pszSizes] :
         {std::tuple{FromHex("00"), true, "(1 bytes)! It needs to be at least 2 bytes."},
          {FromHex("0200 4100 42"), true, "(5 bytes)! It needs to be at least 6 bytes."},
          {vbyString, true, "(131071 bytes)! It needs to be at least 131072 bytes."},
          {FromHex("000000"), false, "(3 bytes)! It needs to be at least 4 bytes."},
          {FromHex("FFFFFFFF 0A0B0C0D"), false, "(8 bytes)! It needs to be at least 2147483647 bytes."}}) {
        SCOPED_TRACE(pszSizes);
        const BYTE* const pbyStart = vbyData.data();
        const BYTE* pbyCursor = pbyStart;
        DWORD dwRemaining = static_cast<DWORD>(vbyData.size());
        ByteBuffer bbTarget = Bytes("77");
        const auto read = [&, fOfString = fString] {
            if (fOfString)
                ByteBuffer::WalkBufferToGetCountedString(pbyCursor, dwRemaining);
            else
                ByteBuffer::WalkBufferToGetCountedBytes(pbyCursor, dwRemaining, bbTarget);
        };
        EXPECT_THAT(MessageOf(read), HasSubstr(pszSizes));
        EXPECT_EQ(pbyCursor, pbyStart);
        EXPECT_EQ(dwRemaining, vbyData.size());
        EXPECT_EQ(Hex(bbTarget), "77");
    }
}

TEST(ByteBuffer, TheTargetOfAReaderMayBeTheBufferThatIsRead) {
    ByteBuffer bb = Bytes("0100 4100 02000000 0AFF 33");
    BYTE* pbyCursor = bb.getLpbyte();
    DWORD dwRemaining = bb.GetLength();
    EXPECT_EQ(ByteBuffer::WalkBufferToGetCountedString(pbyCursor, dwRemaining), VTEXT("A"));
    ByteBuffer::WalkBufferToGetCountedBytes(pbyCursor, dwRemaining, bb);
    EXPECT_EQ(Hex(bb), "0AFF");
    EXPECT_EQ(dwRemaining, 1u);
}

TEST(ByteBuffer, OverlongTextsAgreeWithTheirCountInRecordsOnly) {
    RecordingSink oSink;
    const CXString csText(VTEXT('x'), 65537);
    const ByteBuffer kbbPlain = ByteBuffer::createCountedStringFormatFromString(csText);
    EXPECT_EQ(kbbPlain.getAsWordValue(), 1);
    EXPECT_EQ(kbbPlain.size(), 2u + 2 * 65537);
    EXPECT_TRUE(oSink.Reports().empty());

    const ByteBuffer kbbRecord = ByteBuffer::createCountedStringFormatForRecord(csText);
    EXPECT_EQ(kbbRecord.size(), 2u + 2 * 65535);
    EXPECT_EQ(kbbRecord.getAsStringValueFromCountedStringFormat().GetLength(), 65535);
    EXPECT_EQ(oSink.Count("(kcsText.GetLength() <= MAX_COUNTED_UNITS)"), 1u);
    ByteBuffer::createCountedStringFormatForRecord(csText.Left(65535));
    EXPECT_EQ(oSink.Count("MAX_COUNTED_UNITS"), 1u);
}

TEST(ByteBuffer, StringValueDropsOneZeroUnitAndAnOddByte) {
    for (const auto& [pszHex, expected] : {std::pair{"41", XStringView()},
                                           {"4100 42", VTEXT("A")},
                                           {"4100 0000 00", VTEXT("A")},
                                           {"4100 0000 0000", XStringView(VTEXT("A\0"), 2)},
                                           {"0041", VTEXT("\x4100")},
                                           {"4100 0042", VTEXT("A\x4200")}}) {
        EXPECT_EQ(Bytes(pszHex).getAsStringValue().View(), expected) << pszHex;
    }
    EXPECT_EQ(Bytes("41E400 42").getAsStringValueFromAnsiBuffer().View(), XStringView(VTEXT("A\x00E4\0B"), 4));
}

TEST(ByteBuffer, WritersAppendInOrder) {
    ByteBuffer bb;
    bb.appendByte(0xAB).append(CXString(VTEXT("A\x1234"))).appendAscii(VTEXT("B\x4E00")).appendNullByte();
    bb.appendNullChar().appendLpbyte(Bytes("CDEF").data(), 2).append(Bytes("99")).appendLpbyte(nullptr, 0);
    EXPECT_EQ(Hex(bb), "AB41003412423F000000CDEF99");
    bb.setWithLpbyte(Bytes("0102").data(), 2);
    EXPECT_EQ(Hex(bb), "0102");
}

TEST(ByteBuffer, WritersTakeBytesOfTheBufferItself) {
    for (const std::size_t cRoom : {std::size_t{0}, std::size_t{64}}) {  // with and without moving the bytes
        ByteBuffer bb = Bytes("010203");
        bb.reserve(cRoom);
        bb.append(bb);
        bb.appendLpbyte(bb.data() + 4, 2);
        EXPECT_EQ(Hex(bb), "0102030102030203");
        bb.persistToByteStream(bb);
        EXPECT_EQ(Hex(bb), "010203010203020308000102030102030203");
        bb.setWithLpbyte(bb.data() + 8, 3);
        EXPECT_EQ(Hex(bb), "080001");
    }
}

TEST(ByteBuffer, ANullPointerWithALengthIsReportedAndHarmless) {
    RecordingSink oSink;
    ByteBuffer bb = Bytes("0102");
    bb.appendLpbyte(nullptr, 5);
    EXPECT_EQ(Hex(bb), "0102");
    EXPECT_TRUE(bb.setWithLpbyte(nullptr, 5).empty());
    EXPECT_EQ(bb.getLpbyte(), nullptr);
    EXPECT_EQ(oSink.Count("(nullptr != pbyData || 0 == cBytes)"), 2u);
}

TEST(ByteBuffer, GrowthBeyondTheCursorsReachIsRefused) {
    ByteBuffer bb = Bytes("0102");
    BYTE byAny = 0;
    EXPECT_THROW(bb.reserve(ByteBuffer::MAX_BYTES + 1), ExceptionOutOfMemory);
    EXPECT_THROW(bb.resize(ByteBuffer::MAX_BYTES + 1), ExceptionOutOfMemory);
    EXPECT_THROW(bb.appendLpbyte(&byAny, ByteBuffer::MAX_BYTES - 1), ExceptionOutOfMemory);
    EXPECT_THROW(bb.setWithLpbyte(&byAny, ByteBuffer::MAX_BYTES + 1), ExceptionOutOfMemory);
    EXPECT_EQ(Hex(bb), "0102");
}

TEST(ByteBuffer, CopyAsLpbyteHandsOverACopy) {
    RecordingSink oSink;
    DWORD dwLength = 99;
    const std::unique_ptr<BYTE[]> apbyCopy = Bytes("0AFF").copyAsLpbyte(dwLength);
    EXPECT_EQ(vlm::test::ToHex(apbyCopy.get(), dwLength), "0AFF");
    const std::unique_ptr<BYTE[]> apbyEmpty = ByteBuffer().copyAsLpbyte(dwLength);
    EXPECT_EQ(vlm::test::ToHex(apbyEmpty.get(), dwLength), "00");
    EXPECT_EQ(oSink.Count("Buffer empty. Setting single byte to NULL."), 1u);
}

TEST(ByteBuffer, ByteStreamKeepsTheLowHalfOfTheCount) {
    const ByteBuffer kbbLong{std::vector<BYTE>(70000, 0x5A)};
    std::vector<BYTE> vbyRoom(70002);
    BYTE* pbyCursor = vbyRoom.data();
    EXPECT_TRUE(kbbLong.persistToByteStream(pbyCursor));
    EXPECT_EQ(pbyCursor, vbyRoom.data() + vbyRoom.size());
    ByteBuffer bbStream;
    EXPECT_TRUE(kbbLong.persistToByteStream(bbStream));
    EXPECT_EQ(bbStream.GetVector(), vbyRoom);
    EXPECT_EQ(vbyRoom[0] + 256 * vbyRoom[1], 4464);

    ByteBuffer bbRead = Bytes("010203");
    const BYTE* pbyRead = vbyRoom.data();
    EXPECT_TRUE(bbRead.initializeFromByteStream(pbyRead));
    EXPECT_EQ(pbyRead, vbyRoom.data() + 2 + 4464);
    EXPECT_EQ(bbRead.GetVector(), std::vector<BYTE>(4464, 0x5A));
}

TEST(ByteBuffer, BoundedByteStreamStaysInItsRoom) {
    RecordingSink oSink;
    for (DWORD dwRoom = 0; dwRoom <= 6; ++dwRoom) {
        std::vector<BYTE> vbyRoom(dwRoom, 0xEE);
        BYTE* pbyCursor = vbyRoom.data();
        DWORD dwRemaining = dwRoom;
        const bool fWritten = Bytes("0AFFBB").persistToByteStream(pbyCursor, dwRemaining);
        EXPECT_EQ(fWritten, dwRoom >= 5);
        EXPECT_EQ(dwRemaining, fWritten ? dwRoom - 5 : dwRoom);
        EXPECT_EQ(pbyCursor, vbyRoom.data() + (fWritten ? 5 : 0));
        EXPECT_EQ(vlm::test::ToHex(vbyRoom).substr(0, 10), fWritten ? "03000AFFBB" : std::string(2 * dwRoom, 'E'));
    }
    ByteBuffer bbLong;
    bbLong.resize(65536);
    std::vector<BYTE> vbyRoom(70000);
    BYTE* pbyCursor = vbyRoom.data();
    DWORD dwRemaining = 70000;
    EXPECT_FALSE(bbLong.persistToByteStream(pbyCursor, dwRemaining));
    EXPECT_EQ(dwRemaining, 70000u);
    EXPECT_EQ(oSink.Count("cannot be written as a byte stream"), 6u);
}

TEST(ByteBuffer, ABadPairIsNamedAndClearsTheBuffer) {
    for (const auto& [pszHex, pszPair] :
         {std::pair{VTEXT("0AxF"), "x & F"}, {VTEXT("0Ag"), "g &  "}, {VTEXT("0x0A"), "0 & x"}}) {
        RecordingSink oSink;
        ByteBuffer bb = ByteBuffer::createFromByteValue(1);
        EXPECT_FALSE(ByteBuffer::ConvertHexBinaryStringToByteBuffer(pszHex, bb));
        EXPECT_TRUE(bb.empty());
        EXPECT_THAT(
            oSink.Texts(),
            ElementsAre(std::string("Conversion problem(s) with this pair of characters in the input string, ") +
                        pszPair +
                        ". One or both of these is not a hex character. Clearing the caller's buffer and "
                        "returning false."));
        EXPECT_FALSE(ByteBuffer::ConvertHexBinaryStringToByteBuffer(pszHex, bb, false));
        EXPECT_TRUE(ByteBuffer::createFromHexBinaryString(pszHex).empty());
        EXPECT_EQ(oSink.Reports().size(), 2u);
    }
    EXPECT_EQ(ByteBuffer::createFromHexBinaryString(VTEXT("0aFf")).getAsHexBinaryString(), VTEXT("0AFF"));
}

TEST(ByteBuffer, SingleDigitsBothWays) {
    RecordingSink oSink;
    XCHAR chDigit = 0;
    BYTE byValue = 77;
    EXPECT_TRUE(ByteBuffer::ConvertValueToSingleHexChar(15, chDigit));
    EXPECT_EQ(chDigit, VTEXT('F'));
    EXPECT_TRUE(ByteBuffer::ConvertValueToSingleHexChar(10, chDigit, true));
    EXPECT_TRUE(ByteBuffer::ConvertSingleHexCharToValue(chDigit, byValue));
    EXPECT_EQ(byValue, 10);
    EXPECT_FALSE(ByteBuffer::ConvertValueToSingleHexChar(16, chDigit, true, false));
    EXPECT_EQ(chDigit, VTEXT('0'));
    EXPECT_FALSE(ByteBuffer::ConvertSingleHexCharToValue(VTEXT('g'), byValue, false));
    EXPECT_EQ(byValue, 0);
    EXPECT_TRUE(oSink.Reports().empty());
    ByteBuffer::ConvertValueToSingleHexChar(0x1F, chDigit);
    ByteBuffer::ConvertSingleHexCharToValue(VTEXT('g'), byValue);
    EXPECT_THAT(
        oSink.Texts(),
        ElementsAre("The incoming value, 0x1f, cannot be converted to a single hex character. The '0' character "
                    "will be passed back and false will be returned.",
                    "The incoming character, g, is in an invalid format. Only expecting characters in the ranges "
                    "'0'-'9', 'a'-'f', and 'A'-'F'. Evaluating the overall number as zero and returning false."));
}

TEST(ByteBuffer, DumpsShowSixteenBytesALine) {
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

/// Whatever fails, the buffer is as it was; the other classes of this floor come along, for they fail the same way.
TEST(ByteBuffer, AFailedAllocationLeavesTheBufferAsItWas) {
    using vlm::test::FaultOutcome;
    const ByteBuffer kbbOld = Bytes("0102030405");
    const ByteBuffer kbbMore{std::vector<BYTE>(1000, 0x77)};
    const CXString csText(VTEXT('x'), 700);
    const ByteBuffer kbbText = ByteBuffer::createCountedStringFormatFromString(csText);
    const RecordingSink oSink;
    // What must be refused, unless the message of the refusal finds no memory.
    const auto tooShort = [](const auto& rRead) {
        try {
            rRead();
        } catch (const NotEnoughBytes&) {
            return;
        }
        throw std::logic_error("not refused");
    };
    const struct {
        const char* pszName;
        std::function<void(ByteBuffer&)> change;
    } aoRows[] = {
        {"append", [&](ByteBuffer& rbb) { rbb.append(kbbMore); }},
        {"append self", [](ByteBuffer& rbb) { rbb.append(rbb); }},
        {"append ASCII", [&](ByteBuffer& rbb) { rbb.appendAscii(csText); }},
        {"counted text", [&](ByteBuffer& rbb) { rbb.appendCountedStringForRecord(csText); }},
        {"set", [&](ByteBuffer& rbb) { rbb.setWithLpbyte(kbbMore.data(), 1000); }},
        {"assign", [&](ByteBuffer& rbb) { rbb = kbbMore; }},
        {"resize", [&](ByteBuffer& rbb) { rbb.resize(77); }},
        {"stream out", [&](ByteBuffer& rbb) { kbbMore.persistToByteStream(rbb); }},
        {"stream in",
         [&](ByteBuffer& rbb) {
             const BYTE* pbyCursor = kbbText.data();
             DWORD dwRemaining = kbbText.GetLength();
             ByteBuffer bb, bbStream;
             bb.initializeFromByteStream(pbyCursor, dwRemaining);
             kbbMore.persistToByteStream(bbStream);
             BYTE* pbyWritable = bbStream.data();
             bb.initializeFromByteStream(pbyWritable);
             if (bb != kbbMore || bb.TakeVector().size() != 1000 || !bb.empty()) throw std::logic_error("not the same");
             pbyCursor = kbbText.data();
             rbb.initializeFromByteStream(pbyCursor);
         }},
        {"short reads",
         [&](ByteBuffer& rbb) {
             ByteBuffer bbText(kbbText);
             BYTE* pbyCursor = bbText.data();
             DWORD dwRemaining = 4;
             tooShort([&] { ByteBuffer::WalkBufferToGetCountedBytes(pbyCursor, dwRemaining, rbb); });
             tooShort([&] { DriverVersion::WalkBufferToGetDriverVersion(pbyCursor, dwRemaining); });
             BYTE abyRoom[4];
             pbyCursor = abyRoom;
             if (rbb.persistToByteStream(pbyCursor, dwRemaining)) throw std::logic_error("beyond the room");
         }},
        {"counted forms",
         [&](ByteBuffer& rbb) {
             ByteBuffer bb = ByteBuffer::createCountedBytesFormat(kbbMore);
             bb.append(ByteBuffer::createCountedStringFormatForRecord(csText));
             bb.append(ByteBuffer::createCountedStringFormatFromString(csText));
             rbb.appendCountedBytes(bb);
         }},
        {"values",
         [](ByteBuffer& rbb) {
             ByteBuffer bb = ByteBuffer::createFromByteValue(1);
             bb.append(ByteBuffer::createFromShortValue(2)).append(ByteBuffer::createFromTime64Value(3));
             rbb = bb.append(ByteBuffer::createFromHexBinaryString(VTEXT("0aFF")));
         }},
        {"bad digits and units",
         [](ByteBuffer&) {
             ByteBuffer bb;
             BYTE byValue = 0;
             XCHAR chDigit = 0;
             Dimension oLength(5.0, static_cast<Dimension::UnitsEnum>(14));
             if (ByteBuffer::ConvertHexBinaryStringToByteBuffer(VTEXT("0x"), bb) ||
                 ByteBuffer::ConvertSingleHexCharToValue(VTEXT('g'), byValue) ||
                 ByteBuffer::ConvertValueToSingleHexChar(16, chDigit) ||
                 oLength.GetDoubleValue(Dimension::DUE_MM) != 0.0) {
                 throw std::logic_error("not refused");
             }
             oLength.SetUnits(Dimension::DUE_MM);
             HorspoolMatch("abc", 0).Search(&byValue, 1, 0);
         }},
        {"hex text", [&](ByteBuffer&) { kbbMore.getAsHexBinaryString(); }},
        {"text of bytes", [&](ByteBuffer&) { kbbMore.getAsStringValue(); }},
        {"counted text of bytes", [&](ByteBuffer&) { kbbText.getAsStringValueFromCountedStringFormat(); }},
        {"dump", [&](ByteBuffer&) { kbbOld.DumpAsHexBinary(), kbbOld.dumpAsCharacters(); }},
        {"copy out",
         [](ByteBuffer& rbb) {
             DWORD dwLength = 0;
             rbb.copyAsLpbyte(dwLength);
             rbb.clear();
         }},
        {"number", [](ByteBuffer&) { Number().SetStringValue(Number(-2.5).GetStringValue(3)); }},
        {"bad number",
         [](ByteBuffer&) { Number().SetStringValue(VTEXT("0x1.5")), Number().SetStringValue(VTEXT("x")); }},
        {"length", [](ByteBuffer&) { Dimension(VTEXT("16"), Dimension::DUE_MM).Dump(); }},
        {"moment", [](ByteBuffer&) { UtcTime().TrySetStringValue(UtcTime(5).GetStringValue()); }},
        {"version",
         [](ByteBuffer& rbb) {
             DriverVersion oVersion;
             DriverVersion::TryParse(DriverVersion::GetLibraryVersion().GetStringValue(), oVersion);
             oVersion.AppendDriverVersionState(rbb);
         }},
        {"pattern", [](ByteBuffer&) { HorspoolMatch(HorspoolMatch("abc", 3)).Search(nullptr, 0, 0); }},
    };
    for (const auto& rRow : aoRows) {
        SCOPED_TRACE(rRow.pszName);
        bool fUnchanged = true;
        vlm::test::FaultLoop oLoop;
        oLoop.fnRun = [&] {
            ByteBuffer bb;
            FaultOutcome eOutcome = vlm::test::Attempt<ExceptionOutOfMemory>([&] { bb = kbbOld; });
            if (eOutcome == FaultOutcome::Failed) return eOutcome;
            eOutcome = vlm::test::Attempt<ExceptionOutOfMemory>([&] { rRow.change(bb); });
            fUnchanged = fUnchanged && (eOutcome == FaultOutcome::Succeeded || bb == kbbOld);
            return eOutcome;
        };
        EXPECT_GT(RunFaultLoop(oLoop).ullFaults, vlm::test::AllocationFaults::IN_FORCE ? 2u : 0u);
        EXPECT_TRUE(fUnchanged);
    }
}

}  // namespace
