/// @file
/// Malformed records: every variant of a corpus ends in a named exception or in a value that is written canonically.
#include <gtest/gtest.h>

#include "formats/AttributeSamples.h"
#include "utilities/debuggingandexceptions/VelomExceptions.h"

namespace vlm::test {
namespace {

/// Reads records until the bytes end or are refused, and says how many there were.
int ReadAll(const std::vector<BYTE>& rvbyRecords, bool& rfRefused) {
    const BYTE* pbyCursor = rvbyRecords.data();
    DWORD dwRemaining = static_cast<DWORD>(rvbyRecords.size());
    int iRecords = 0;
    rfRefused = false;
    try {
        while (dwRemaining != 0) {
            const BYTE* const pbyRecord = pbyCursor;
            const AttributeBytesSharedPtr shpoRecord =
                AttributeBytes::WalkBufferToCreateAttributeBytes(pbyCursor, dwRemaining);
            const ByteBuffer bbState = shpoRecord->GetAttributeBytesState();
            if (bbState.size() != static_cast<std::size_t>(pbyCursor - pbyRecord)) {
                ADD_FAILURE() << "written with another size than read: " << HexOf(bbState);
            }
            const AttributeBytes oAgain(bbState);
            if (!(oAgain == *shpoRecord) || oAgain.GetAttributeBytesState() != bbState) {
                ADD_FAILURE() << "not stable: " << HexOf(bbState);
            }
            int iDifferent = 0;
            for (std::size_t i = 0; i < bbState.size(); ++i)
                iDifferent += bbState[i] != pbyRecord[i];
            if (iDifferent > 2) ADD_FAILURE() << "more than flag and boolean made canonical: " << HexOf(bbState);
            shpoRecord->GetDumpDisplayString(true);
            ++iRecords;
        }
    } catch (const ExceptionNotEnoughBytesForDesiredDataType&) {
        rfRefused = true;
    } catch (const ExceptionUnhandledSyntax&) {
        rfRefused = true;
    } catch (const ExceptionMissingOrBadAttributeBytesFormat&) {
        rfRefused = true;
    }
    return iRecords;
}

TEST(AttributeBytesHostileTest, EveryVariantOfTheCorpusIsReadOrRefusedByName) {
    const FieldTable oTable = RecordCorpusTable();
    bool fRefused = false;
    ASSERT_EQ(ReadAll(oTable.Bytes(), fRefused), 11);
    ASSERT_FALSE(fRefused);
    int iVariants = 0;
    int iRefused = 0;
    oTable.ForEachVariant([&](const std::vector<BYTE>& rvbyVariant, const std::string& rWhat) {
        SCOPED_TRACE(rWhat);
        ReadAll(rvbyVariant, fRefused);
        ++iVariants;
        iRefused += fRefused;

        // A list takes the same bytes as they are, or refuses them for nesting too deep; reading them from it ends as
        // above.
        AttributeBytesRawList oRawList;
        AttributeBytesIndexedList oIndexedList;
        ByteBuffer bbState = BufferOf("4142524C");
        bbState.appendLpbyte(rvbyVariant.data(), rvbyVariant.size());
        oRawList.ImportAttributeBytesRawListState(bbState);
        EXPECT_EQ(oRawList.GetAttributeBytesRawListState(), bbState);
        try {
            oIndexedList.ImportFromRawList(oRawList);
            EXPECT_FALSE(fRefused);
        } catch (const ExceptionDuplicateAttributeId&) {
            EXPECT_TRUE(oIndexedList.IsEmpty());
        } catch (const VelomException&) {
            EXPECT_TRUE(fRefused);
        }
    });
    EXPECT_GT(iVariants, 8000);
    EXPECT_GT(iRefused, iVariants / 4);
    EXPECT_LT(iRefused, iVariants);
}

TEST(AttributeBytesHostileTest, LengthsOfAListAreCheckedBeforeTheyAreUsed) {
    const char* const aszTooShort[] = {
        "0201000000 0B 00 00 00000000",           // no room for the signature
        "0201000000 0B 00 00 03000000 414252",    // nor here
        "0201000000 0B 00 00 05000000 4142524C",  // beyond the end
        "0201000000 0B 00 00 FFFFFFFF 4142524C",  // far beyond
        "0201000000 0A 00 FFFFFFFF 00",           // a blob of 4 GiB
        "0201000000 04 00 FFFF 4100",             // a text of 65,535 units
        "0201000000",                             // no value at all
    };
    for (const char* const psz : aszTooShort) {
        EXPECT_THROW(AttributeBytes(BufferOf(psz)), ExceptionNotEnoughBytesForDesiredDataType) << psz;
    }
    EXPECT_THROW(AttributeBytes(BufferOf("0201000000 0B 00 00 04000000 4142494C")),
                 ExceptionMissingOrBadAttributeBytesFormat);
}

TEST(AttributeBytesHostileTest, ARecordThatCannotBeImportedLeavesTheFormerOne) {
    AttributeBytes oRecord = IntegerRecord(1, 2);
    EXPECT_THROW(oRecord.ImportAttributeBytesState(BufferOf("0305000000")), ExceptionNotEnoughBytesForDesiredDataType);
    EXPECT_THROW(oRecord.ImportAttributeBytesState(BufferOf("0205000000 0D 00")), ExceptionUnhandledSyntax);
    EXPECT_TRUE(oRecord == IntegerRecord(1, 2));
}

}  // namespace
}  // namespace vlm::test
