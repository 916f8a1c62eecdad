/// @file
/// Malformed records: every variant of a corpus ends in a named exception or in a value that is written canonically.
#include <gtest/gtest.h>

#include "formats/AttributeSamples.h"
#include "support/FaultLoop.h"
#include "utilities/debuggingandexceptions/VelomExceptions.h"

namespace vlm::test {
namespace {

/// Reads records until the bytes end or are refused, and says how many there were.
int ReadAll(const std::vector<BYTE>& rvbyRecords, bool& rfRefused) {
    const BYTE* pbyCursor = rvbyRecords.data();
    DWORD dwRemaining = static_cast<DWORD>(rvbyRecords.size());
    int iRecords = 0;
    const FaultOutcome eOutcome = Attempt<ExceptionNotEnoughBytesForDesiredDataType, ExceptionUnhandledSyntax,
                                          ExceptionMissingOrBadAttributeBytesFormat>([&] {
        for (; dwRemaining != 0; ++iRecords) {
            const BYTE* const pbyRecord = pbyCursor;
            const auto shpoRecord = AttributeBytes::WalkBufferToCreateAttributeBytes(pbyCursor, dwRemaining);
            const ByteBuffer bbState = shpoRecord->GetAttributeBytesState();
            EXPECT_EQ(bbState.size(), static_cast<std::size_t>(pbyCursor - pbyRecord));
            const AttributeBytes oAgain(bbState);
            EXPECT_TRUE(oAgain == *shpoRecord && oAgain.GetAttributeBytesState() == bbState) << HexOf(bbState);
            int iDifferent = 0;
            for (std::size_t i = 0; i < bbState.size(); ++i)
                iDifferent += bbState[i] != pbyRecord[i];
            EXPECT_LE(iDifferent, 2) << "more than flag and boolean made canonical: " << HexOf(bbState);
            shpoRecord->GetDumpDisplayString(true);
        }
    });
    rfRefused = eOutcome == FaultOutcome::Failed;
    return iRecords;
}

/// Calls `use` with each prefix, and with a wrong number at each place: tags that there are and others, and what sizes
/// get wrong.
template <class Use>
void ForEachVariant(const std::vector<BYTE>& rvby, const Use& rUse) {
    for (std::size_t i = 0; i < rvby.size(); ++i) {
        rUse(std::vector<BYTE>(rvby.begin(), rvby.begin() + static_cast<std::ptrdiff_t>(i)));
        const auto with = [&](std::size_t uValue, std::size_t cBytes) {
            std::vector<BYTE> vby = rvby;
            for (std::size_t k = 0; k < cBytes && i + k < vby.size(); ++k)
                vby[i + k] = static_cast<BYTE>(uValue >> (8 * k));
            rUse(vby);
        };
        for (const std::size_t uTag : {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 255})
            with(uTag, 1);
        for (unsigned uBit = 0; uBit < 8; ++uBit)
            with(rvby[i] ^ (1U << uBit), 1);
        for (const std::size_t cBytes : {2, 4}) {
            const std::size_t cRest = rvby.size() - std::min(rvby.size(), i + cBytes);
            for (const std::size_t uSize : {cRest - 1, cRest, cRest + 1, std::size_t{0x7FFF}, std::size_t{0x8000},
                                            std::size_t{0x7FFFFFFF}, std::size_t{0x80000000}, ~std::size_t{0}})
                with(uSize, cBytes);
        }
    }
}

TEST(AttributeBytesHostileTest, EveryVariantOfTheCorpusIsReadOrRefusedByName) {
    const std::vector<BYTE> vbyCorpus = RecordCorpus().GetVector();
    bool fRefused = false;
    ASSERT_EQ(ReadAll(vbyCorpus, fRefused), 11);
    ASSERT_FALSE(fRefused);
    int iVariants = 0, iRefused = 0;
    ForEachVariant(vbyCorpus, [&](const std::vector<BYTE>& rvbyVariant) {
        SCOPED_TRACE(ToHex(rvbyVariant));
        ReadAll(rvbyVariant, fRefused);
        ++iVariants;
        iRefused += fRefused;
        // A list takes the same bytes as they are; reading them from it ends as above.
        AttributeBytesRawList oRawList;
        AttributeBytesIndexedList oIndexedList;
        const ByteBuffer bbState = BufferOf("4142524C").appendLpbyte(rvbyVariant.data(), rvbyVariant.size());
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
    EXPECT_GT(iRefused, iVariants / 4);
    EXPECT_LT(iRefused, iVariants);
}

}  // namespace
}  // namespace vlm::test
