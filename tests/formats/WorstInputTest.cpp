/// @file
/// What hostile inputs cost, counted in allocations and bytes: within bounds, and no more than twice as much for twice
/// the input.
#include <gtest/gtest.h>

#include "formats/AttributeSamples.h"
#include "support/AllocationFaults.h"
#include "utilities/Bounds.h"
#include "utilities/compression/CabCompressedBuffer.h"
#include "utilities/debuggingandexceptions/VelomExceptions.h"

namespace vlm::test {
namespace {

struct Cost {
    std::uint64_t ullAllocations;
    std::uint64_t ullBytes;
};

/// What an operation takes that ends in a value or in one of the library's exceptions.
Cost CostOf(const std::function<void()>& fnOperation) {
    const AllocationFaults oCounter;
    try {
        fnOperation();
    } catch (const VelomException&) {
        // Refusing is as good as reading.
    }
    return {oCounter.Count(), oCounter.Bytes()};
}

ByteBuffer Repeated(const char* pszHeadHex, const ByteBuffer& kbbUnit, unsigned uTimes) {
    ByteBuffer bb = BufferOf(pszHeadHex);
    bb.reserve(bb.size() + uTimes * kbbUnit.size());
    for (unsigned u = 0; u < uTimes; ++u)
        bb.append(kbbUnit);
    return bb;
}

/// Records of ascending (or descending) features, as an indexed-list state.
ByteBuffer OrderedState(unsigned uRecords, bool fDescending) {
    ByteBuffer bb = BufferOf("4142494C 4142524C");
    for (unsigned u = 0; u < uRecords; ++u)
        IntegerRecord(static_cast<LONG>(fDescending ? uRecords - u : u)).GetAttributeBytesState(bb);
    return bb;
}

void ReadAll(const ByteBuffer& kbbRawState) {
    AttributeBytesRawList oList;
    oList.ImportAttributeBytesRawListState(kbbRawState);
    for (const AttributeBytesSharedPtr& rshpoRecord : oList)
        AttributeBytesReader::GetCollectionFromAttributeBytes(*rshpoRecord);
}
void ReadIndexed(const ByteBuffer& kbbState) {
    AttributeBytesIndexedList oList;
    oList.ImportAttributeBytesIndexedListState(kbbState);
    oList.GetAttributeBytesIndexedListState();
}

TEST(WorstInput, TwiceTheInputTakesNoMoreThanTwiceTheMemory) {
    if (!AllocationFaults::IN_FORCE) GTEST_SKIP() << "allocations are the sanitizer's";
    const struct {
        const char* pszName;
        std::function<ByteBuffer(unsigned uSize)> make;
        void (*pfnRead)(const ByteBuffer&);
        std::uint64_t ullBytesPerByte;  ///< of memory, for a byte of input
    } aoRows[] = {
        {"lists as deep as allowed, side by side",
         [](unsigned u) { return Repeated("4142524C", NestedListRecord(bounds::MAX_LIST_NESTING), u); }, ReadAll, 16},
        {"lists too deep", [](unsigned u) { return Repeated("4142524C", NestedListRecord(1000 * u), 1); }, ReadAll, 16},
        {"records in order", [](unsigned u) { return OrderedState(100 * u, false); }, ReadIndexed, 24},
        {"records in the opposite order", [](unsigned u) { return OrderedState(100 * u, true); }, ReadIndexed, 24},
        {"the same record again and again",
         [](unsigned u) { return Repeated("4142494C 4142524C", IntegerRecord(7).GetAttributeBytesState(), 100 * u); },
         ReadIndexed, 24},
    };
    for (const auto& rRow : aoRows) {
        SCOPED_TRACE(rRow.pszName);
        const auto costAt = [&](unsigned uSize, std::size_t& rcInput) {
            const ByteBuffer bb = rRow.make(uSize);
            rcInput = bb.size();
            return CostOf([&] { rRow.pfnRead(bb); });
        };
        std::size_t cInput = 0;
        const Cost small = costAt(20, cInput);
        const Cost large = costAt(40, cInput);
        EXPECT_GT(small.ullAllocations, 2u);
        EXPECT_LE(large.ullAllocations * 10, small.ullAllocations * 22 + 1000);
        EXPECT_LE(large.ullBytes * 10, small.ullBytes * 22 + 100000);
        EXPECT_LE(large.ullBytes, rRow.ullBytesPerByte * cInput + 20000);
    }
}

TEST(WorstInput, SizesThatAreClaimedAreNotTaken) {
    if (!AllocationFaults::IN_FORCE) GTEST_SKIP() << "allocations are the sanitizer's";
    for (const char* const pszHex : {"0201000000 0A 00 FFFFFFFF 00", "0201000000 04 00 FFFF 4100",
                                     "0201000000 0B 00 00 FFFFFFFF 4142524C", "03 FFFF 4100"}) {
        EXPECT_LT(CostOf([&] { AttributeBytes oRecord{BufferOf(pszHex)}; }).ullBytes, 10000u) << pszHex;
    }
    // A state that says 4 GiB, and one that says little and holds much: neither takes more than the bound and a buffer
    // that grows by doubling need.
    CabCompressedBuffer oZeros;
    oZeros.Store(ByteBuffer(std::vector<BYTE>(8 << 20)));
    for (const DWORD dwClaim : {0xFFFFFFFFu, 10u}) {
        ByteBuffer bbState = oZeros.GetCompressedBufferState();
        for (std::size_t i = 0; i < 4; ++i)
            bbState[bbState.size() - 8 + i] = static_cast<BYTE>(dwClaim >> (8 * (3 - i)));
        const Cost cost = CostOf([&] {
            ByteBuffer bb;
            const auto apoBuffer = CabCompressedBuffer::CreateWithBufferState(bbState);
            apoBuffer->SetMaximumOriginalDataSize(1 << 20);
            apoBuffer->GetOriginalData(bb);
        });
        EXPECT_LT(cost.ullBytes, 8u << 20) << dwClaim;
    }
}

}  // namespace
}  // namespace vlm::test
