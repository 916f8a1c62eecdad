/// @file
/// Byte buffers: primitives, cursors, counted forms, writers and the byte stream form.
#include "utilities/utilitiesdll/ByteBuffer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <random>
#include <string>

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
    EXPECT_THROW(Bytes("010203").getAsIntValue(), NotEnoughBytes);
    EXPECT_THROW(ByteBuffer().getAsByteValue(), NotEnoughBytes);
}

/// Every reader with its width.
template <class TByte>
void CheckReadersAtEveryLength() {
    using Reader = std::function<void(TByte*&, DWORD&)>;
    const struct {
        const char* pszName;
        DWORD dwWidth;
        Reader read;
    } aoRows[] = {
        {"byte", 1, [](TByte*& p, DWORD& r) { EXPECT_EQ(ByteBuffer::WalkBufferToGetByte(p, r), 0x00); }},
        {"bool", 1, [](TByte*& p, DWORD& r) { EXPECT_FALSE(ByteBuffer::WalkBufferToGetBool(p, r)); }},
        {"short", 2, [](TByte*& p, DWORD& r) { EXPECT_EQ(ByteBuffer::WalkBufferToGetShort(p, r), 0x1100); }},
        {"word", 2, [](TByte*& p, DWORD& r) { EXPECT_EQ(ByteBuffer::WalkBufferToGetWord(p, r), 0x1100); }},
        {"int", 4, [](TByte*& p, DWORD& r) { EXPECT_EQ(ByteBuffer::WalkBufferToGetInt(p, r), 0x33221100); }},
        {"long", 4, [](TByte*& p, DWORD& r) { EXPECT_EQ(ByteBuffer::WalkBufferToGetLong(p, r), 0x33221100); }},
        {"long64", 8,
         [](TByte*& p, DWORD& r) { EXPECT_EQ(ByteBuffer::WalkBufferToGetLong64(p, r), 0x7766554433221100); }},
        {"time64", 8,
         [](TByte*& p, DWORD& r) { EXPECT_EQ(ByteBuffer::WalkBufferToGetTime64(p, r), 0x7766554433221100); }},
    };
    for (const auto& rRow : aoRows) {
        for (DWORD dwLength = 0; dwLength <= 9; ++dwLength) {
            SCOPED_TRACE(std::string(rRow.pszName) + " in " + std::to_string(dwLength));
            std::vector<BYTE> vbyData(dwLength);  // exactly as long, so that a sanitizer sees any read beyond
            for (DWORD i = 0; i < dwLength; ++i)
                vbyData[i] = static_cast<BYTE>(0x11 * i);
            TByte* const pbyStart = dwLength > 0 ? vbyData.data() : nullptr;
            TByte* pbyCursor = pbyStart;
            DWORD dwRemaining = dwLength;
            if (dwLength < rRow.dwWidth) {
                EXPECT_THROW(rRow.read(pbyCursor, dwRemaining), NotEnoughBytes);
                EXPECT_EQ(pbyCursor, pbyStart);
                EXPECT_EQ(dwRemaining, dwLength);
            } else {
                rRow.read(pbyCursor, dwRemaining);
                EXPECT_EQ(pbyCursor, pbyStart + rRow.dwWidth);
                EXPECT_EQ(dwRemaining, dwLength - rRow.dwWidth);
            }
        }
    }
}

TEST(ByteBuffer, ReadersMoveExactlyOrNotAtAll) {
    CheckReadersAtEveryLength<const BYTE>();
    CheckReadersAtEveryLength<BYTE>();
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
    const struct {
        std::vector<BYTE> vbyData;
        bool fString;
        const char* pszSizes;
    } aoRows[] = {
        {{}, true, "(0 bytes)! It needs to be at least 2 bytes."},
        {{0x00}, true, "(1 bytes)! It needs to be at least 2 bytes."},
        {FromHex("0200 4100 42"), true, "(5 bytes)! It needs to be at least 6 bytes."},
        {vbyString, true, "(131071 bytes)! It needs to be at least 131072 bytes."},
        {FromHex("000000"), false, "(3 bytes)! It needs to be at least 4 bytes."},
        {FromHex("02000000 0A"), false, "(5 bytes)! It needs to be at least 6 bytes."},
        {FromHex("FFFFFFFF 0A0B0C0D"), false, "(8 bytes)! It needs to be at least 2147483647 bytes."},
    };
    for (const auto& rRow : aoRows) {
        SCOPED_TRACE(rRow.pszSizes);
        const BYTE* const pbyStart = rRow.vbyData.data();
        const BYTE* pbyCursor = pbyStart;
        DWORD dwRemaining = static_cast<DWORD>(rRow.vbyData.size());
        ByteBuffer bbTarget = Bytes("77");
        const auto read = [&] {
            if (rRow.fString)
                ByteBuffer::WalkBufferToGetCountedString(pbyCursor, dwRemaining);
            else
                ByteBuffer::WalkBufferToGetCountedBytes(pbyCursor, dwRemaining, bbTarget);
        };
        EXPECT_THAT(MessageOf(read), HasSubstr(rRow.pszSizes));
        EXPECT_EQ(pbyCursor, pbyStart);
        EXPECT_EQ(dwRemaining, rRow.vbyData.size());
        EXPECT_EQ(Hex(bbTarget), "77");
    }
}

TEST(ByteBuffer, CountedFormsReadBackAtAnyAlignment) {
    ByteBuffer bbAll = Bytes("EE");  // the units stand at odd addresses
    const CXString csText(XStringView(VTEXT("a\0\xD834\xDD1E"), 4));
    bbAll.append(ByteBuffer::createCountedStringFormatFromString(csText)).appendCountedBytes(Bytes("0AFF"));
    bbAll.appendCountedStringForRecord(VTEXT("")).appendCountedBytes(ByteBuffer());
    BYTE* pbyCursor = bbAll.getLpbyte() + 1;
    DWORD dwRemaining = bbAll.GetLength() - 1;
    EXPECT_EQ(ByteBuffer::WalkBufferToGetCountedString(pbyCursor, dwRemaining).View(), csText.View());
    ByteBuffer bbRead;
    ByteBuffer::WalkBufferToGetCountedBytes(pbyCursor, dwRemaining, bbRead);
    EXPECT_EQ(Hex(bbRead), "0AFF");
    EXPECT_TRUE(ByteBuffer::WalkBufferToGetCountedString(pbyCursor, dwRemaining).IsEmpty());
    ByteBuffer::WalkBufferToGetCountedBytes(pbyCursor, dwRemaining, bbRead);
    EXPECT_TRUE(bbRead.empty());
    EXPECT_EQ(dwRemaining, 0u);
    EXPECT_EQ(pbyCursor, bbAll.data() + bbAll.size());

    // The target may be the very buffer that is read.
    ByteBuffer bbSelf = Bytes("02000000 0AFF 33");
    const BYTE* pbySelf = bbSelf.data();
    DWORD dwSelf = bbSelf.GetLength();
    ByteBuffer::WalkBufferToGetCountedBytes(pbySelf, dwSelf, bbSelf);
    EXPECT_EQ(Hex(bbSelf), "0AFF");
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
    const struct {
        const char* pszHex;
        XStringView expected;
    } aoRows[] = {
        {"", VTEXT("")},           {"41", VTEXT("")},
        {"4100", VTEXT("A")},      {"4100 42", VTEXT("A")},
        {"4100 0000", VTEXT("A")}, {"4100 0000 00", VTEXT("A")},
        {"0000", VTEXT("")},       {"4100 0000 0000", XStringView(VTEXT("A\0"), 2)},
        {"0041", VTEXT("\x4100")}, {"4100 0042", VTEXT("A\x4200")},
    };
    for (const auto& rRow : aoRows) {
        EXPECT_EQ(Bytes(rRow.pszHex).getAsStringValue().View(), rRow.expected) << rRow.pszHex;
    }
    EXPECT_EQ(Bytes("41E400 42").getAsStringValueFromAnsiBuffer().View(), XStringView(VTEXT("A\x00E4\0B"), 4));
    EXPECT_TRUE(ByteBuffer().getAsStringValueFromAnsiBuffer().IsEmpty());
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
        bb = *&bb;
        EXPECT_EQ(bb.size(), 3u);
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
    const ByteBuffer kbb = Bytes("0AFF");
    const std::unique_ptr<BYTE[]> apbyCopy = kbb.copyAsLpbyte(dwLength);
    EXPECT_EQ(vlm::test::ToHex(apbyCopy.get(), dwLength), "0AFF");
    EXPECT_NE(apbyCopy.get(), kbb.data());
    EXPECT_TRUE(oSink.Reports().empty());
    const std::unique_ptr<BYTE[]> apbyEmpty = ByteBuffer().copyAsLpbyte(dwLength);
    EXPECT_EQ(vlm::test::ToHex(apbyEmpty.get(), dwLength), "00");
    EXPECT_EQ(oSink.Count("Buffer empty. Setting single byte to NULL."), 1u);
}

TEST(ByteBuffer, ByteStreamKeepsTheLowHalfOfTheCount) {
    std::vector<BYTE> vbyLong(70000, 0x5A);
    const ByteBuffer kbbLong{std::vector<BYTE>(vbyLong)};
    std::vector<BYTE> vbyRoom(70002);
    BYTE* pbyCursor = vbyRoom.data();
    EXPECT_TRUE(kbbLong.persistToByteStream(pbyCursor));
    EXPECT_EQ(pbyCursor, vbyRoom.data() + vbyRoom.size());
    ByteBuffer bbStream = Bytes("EE");
    EXPECT_TRUE(kbbLong.persistToByteStream(bbStream));
    EXPECT_EQ(Hex(bbStream), "EE" + vlm::test::ToHex(vbyRoom));
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

        // And the same room as input.
        const std::vector<BYTE> vbyWhole = FromHex("03000AFFBB99");
        const std::vector<BYTE> vbyPart(vbyWhole.begin(), vbyWhole.begin() + dwRoom);
        const BYTE* pbyRead = vbyPart.data();
        dwRemaining = dwRoom;
        ByteBuffer bbRead = Bytes("77");
        if (dwRoom < 5) {
            EXPECT_THROW(bbRead.initializeFromByteStream(pbyRead, dwRemaining), NotEnoughBytes);
            EXPECT_EQ(Hex(bbRead), "77");
            EXPECT_EQ(dwRemaining, dwRoom);
        } else {
            EXPECT_TRUE(bbRead.initializeFromByteStream(pbyRead, dwRemaining));
            EXPECT_EQ(Hex(bbRead), "0AFFBB");
            EXPECT_EQ(dwRemaining, dwRoom - 5);
        }
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

TEST(ByteBuffer, AnySequenceOfPrimitivesReadsBack) {
    std::mt19937_64 random(20240229);
    for (int iRound = 0; iRound < 200; ++iRound) {
        ByteBuffer bb;
        std::vector<std::function<void(const BYTE*&, DWORD&)>> vChecks;
        for (int i = 0; i < 30; ++i) {
            const ULONGLONG ull = random();
            switch (random() % 5) {
                case 0:
                    bb.appendByte(static_cast<BYTE>(ull));
                    vChecks.push_back([ull](const BYTE*& p, DWORD& r) {
                        EXPECT_EQ(ByteBuffer::WalkBufferToGetByte(p, r), static_cast<BYTE>(ull));
                    });
                    break;
                case 1:
                    bb.appendShortValue(static_cast<short>(ull));
                    vChecks.push_back([ull](const BYTE*& p, DWORD& r) {
                        EXPECT_EQ(ByteBuffer::WalkBufferToGetShort(p, r), static_cast<short>(ull));
                    });
                    break;
                case 2:
                    bb.appendLongValue(static_cast<LONG>(ull));
                    vChecks.push_back([ull](const BYTE*& p, DWORD& r) {
                        EXPECT_EQ(ByteBuffer::WalkBufferToGetLong(p, r), static_cast<LONG>(ull));
                    });
                    break;
                case 3:
                    bb.appendLong64Value(static_cast<LONGLONG>(ull));
                    vChecks.push_back([ull](const BYTE*& p, DWORD& r) {
                        EXPECT_EQ(ByteBuffer::WalkBufferToGetLong64(p, r), static_cast<LONGLONG>(ull));
                    });
                    break;
                default: {
                    const CXString csText(static_cast<XCHAR>(0x20 + ull % 0xD000), static_cast<int>(ull % 40));
                    bb.appendCountedStringForRecord(csText);
                    vChecks.push_back([csText](const BYTE*& p, DWORD& r) {
                        EXPECT_EQ(ByteBuffer::WalkBufferToGetCountedString(p, r).View(), csText.View());
                    });
                }
            }
        }
        const BYTE* pbyCursor = bb.data();
        DWORD dwRemaining = bb.GetLength();
        for (const auto& check : vChecks)
            check(pbyCursor, dwRemaining);
        EXPECT_EQ(dwRemaining, 0u);
    }
}

/// Whatever fails, the buffer is as it was; the other classes of this floor come along, for they fail the same way.
TEST(ByteBuffer, AFailedAllocationLeavesTheBufferAsItWas) {
    using vlm::test::FaultOutcome;
    const ByteBuffer kbbOld = Bytes("0102030405");
    const ByteBuffer kbbMore{std::vector<BYTE>(1000, 0x77)};
    const CXString csText(VTEXT('x'), 700);
    const ByteBuffer kbbText = ByteBuffer::createCountedStringFormatFromString(csText);
    const RecordingSink oSink;
    const struct {
        const char* pszName;
        std::function<void(ByteBuffer&)> change;
    } aoRows[] = {
        {"append", [&](ByteBuffer& rbb) { rbb.append(kbbMore); }},
        {"append self", [](ByteBuffer& rbb) { rbb.append(rbb); }},
        {"append text", [&](ByteBuffer& rbb) { rbb.append(csText); }},
        {"append ASCII", [&](ByteBuffer& rbb) { rbb.appendAscii(csText); }},
        {"append a number", [](ByteBuffer& rbb) { rbb.appendLong64Value(1); }},
        {"counted text", [&](ByteBuffer& rbb) { rbb.appendCountedStringForRecord(csText); }},
        {"counted bytes", [&](ByteBuffer& rbb) { rbb.appendCountedBytes(kbbMore); }},
        {"set", [&](ByteBuffer& rbb) { rbb.setWithLpbyte(kbbMore.data(), 1000); }},
        {"set self", [](ByteBuffer& rbb) { rbb.setWithLpbyte(rbb.data(), 2); }},
        {"assign", [&](ByteBuffer& rbb) { rbb = kbbMore; }},
        {"resize", [&](ByteBuffer& rbb) { rbb.resize(77); }},
        {"stream out", [&](ByteBuffer& rbb) { kbbMore.persistToByteStream(rbb); }},
        {"stream in",
         [&](ByteBuffer& rbb) {
             const BYTE* pbyCursor = kbbText.data();
             rbb.initializeFromByteStream(pbyCursor);
         }},
        {"a short read",
         [&](ByteBuffer& rbb) {
             const BYTE* pbyCursor = kbbText.data();
             DWORD dwRemaining = 4;
             try {
                 ByteBuffer::WalkBufferToGetCountedBytes(pbyCursor, dwRemaining, rbb);
             } catch (const NotEnoughBytes&) {  // what there is to be: the message takes memory
             }
         }},
        {"hex", [](ByteBuffer& rbb) { ByteBuffer::ConvertHexBinaryStringToByteBuffer(VTEXT("0A0B"), rbb); }},
        {"hex text", [&](ByteBuffer&) { kbbMore.getAsHexBinaryString(); }},
        {"text of bytes", [&](ByteBuffer&) { kbbMore.getAsStringValue(); }},
        {"ANSI text of bytes", [&](ByteBuffer&) { kbbMore.getAsStringValueFromAnsiBuffer(); }},
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
        {"hexadecimal number", [](ByteBuffer&) { Number(31).GetStringValue(0, 0.5, false, true); }},
        {"length", [](ByteBuffer&) { Dimension(VTEXT("16"), Dimension::DUE_MM).Dump(); }},
        {"length in unknown units", [](ByteBuffer&) { Dimension(5, static_cast<Dimension::UnitsEnum>(14)).Dump(); }},
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
