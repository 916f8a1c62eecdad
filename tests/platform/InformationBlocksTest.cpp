/// @file
/// Blocks of a spooler that lies.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

#include "platform/InformationBlocks.h"

namespace vlm::test {

namespace {

/// A block of two driver records of level 3 in 256 bytes, to be spoilt.
struct DriverBlock {
    alignas(8) BYTE aby[256] = {};

    DriverInfo3* Records() { return reinterpret_cast<DriverInfo3*>(aby); }
    /// Anywhere, also outside.
    XCHAR* TextAt(std::ptrdiff_t ofs) {
        return reinterpret_cast<XCHAR*>(reinterpret_cast<std::uintptr_t>(aby) + static_cast<std::uintptr_t>(ofs));
    }
    bool IsSound(DWORD cRecords = 2, std::size_t cb = sizeof(aby)) {
        return IsSoundBlock(BlockKind::Driver, 3, cRecords, aby, cb);
    }
    /// From here to the end no text ends.
    void FillFrom(std::size_t ofs) { std::memset(aby + ofs, 'x', sizeof(aby) - ofs); }
};

TEST(InformationBlocksTest, PointersLeadInsideAndTextsEndThere) {
    struct Row {
        const char* pszWhat;
        void (*pfnSpoil)(DriverBlock&);
        bool fSound;
    };
    const Row aoRows[] = {
        {"null pointers", [](DriverBlock&) {}, true},
        {"a text", [](DriverBlock& r) { r.Records()[1].pName = r.TextAt(160); }, true},
        {"the last unit", [](DriverBlock& r) { r.Records()[1].pName = r.TextAt(254); }, true},
        {"the end", [](DriverBlock& r) { r.Records()[0].pName = r.TextAt(256); }, false},
        {"beyond", [](DriverBlock& r) { r.Records()[0].pDataFile = r.TextAt(4096); }, false},
        {"before", [](DriverBlock& r) { r.Records()[0].pDataFile = r.TextAt(-2); }, false},
        {"nowhere", [](DriverBlock& r) { std::memset(&r.Records()[0].pDataFile, 0xFF, 8); }, false},
        {"odd address",
         [](DriverBlock& r) {
             const BYTE* p = r.aby + 161;
             std::memcpy(&r.Records()[0].pName, &p, 8);
         },
         false},
        {"no end",
         [](DriverBlock& r) {
             r.FillFrom(160);
             r.Records()[0].pName = r.TextAt(160);
         },
         false},
        {"its end is the last unit",
         [](DriverBlock& r) {
             r.FillFrom(160);
             r.aby[254] = r.aby[255] = 0;
             r.Records()[0].pName = r.TextAt(160);
         },
         true},
        {"half of its end",
         [](DriverBlock& r) {
             r.FillFrom(160);
             r.aby[255] = 0;
             r.Records()[0].pName = r.TextAt(160);
         },
         false},
        {"a list's text ends, the list does not",
         [](DriverBlock& r) {
             r.FillFrom(160);
             r.aby[254] = r.aby[255] = 0;
             r.Records()[0].pDependentFiles = r.TextAt(160);
         },
         false},
        {"a list ends",
         [](DriverBlock& r) {
             r.FillFrom(160);
             std::memset(r.aby + 252, 0, 4);
             r.Records()[0].pDependentFiles = r.TextAt(160);
         },
         true},
        {"an empty list in the last unit",
         [](DriverBlock& r) {
             r.FillFrom(160);
             r.aby[254] = r.aby[255] = 0;
             r.Records()[0].pDependentFiles = r.TextAt(254);
         },
         true},
    };
    for (const Row& rRow : aoRows) {
        DriverBlock oBlock;
        rRow.pfnSpoil(oBlock);
        EXPECT_EQ(oBlock.IsSound(), rRow.fSound) << rRow.pszWhat;
    }
}

TEST(InformationBlocksTest, RecordsMustFit) {
    DriverBlock oBlock;
    EXPECT_TRUE(oBlock.IsSound(2, 160));
    EXPECT_FALSE(oBlock.IsSound(2, 159));
    EXPECT_FALSE(oBlock.IsSound(4));
    EXPECT_FALSE(oBlock.IsSound(0xFFFFFFFF));
    EXPECT_TRUE(IsSoundBlock(BlockKind::Driver, 3, 0, nullptr, 0));
    EXPECT_FALSE(IsSoundBlock(BlockKind::Driver, 3, 1, nullptr, 0));
    EXPECT_FALSE(IsSoundBlock(BlockKind::Driver, 7, 0, nullptr, 0)) << "no such level";
    EXPECT_FALSE(IsSoundBlock(BlockKind::Driver, 1, 1, oBlock.aby + 4, 64)) << "not aligned";
}

TEST(InformationBlocksTest, LengthsInsideABlockAreChecked) {
    alignas(8) BYTE aby[96] = {};
    auto* const pMode = reinterpret_cast<PrinterInfo8*>(aby);
    auto* const pValue = reinterpret_cast<PrinterEnumValues*>(aby);
    const auto ModeIsSound = [&](std::size_t ofs, WORD wSize, WORD wExtra) {
        std::memset(aby, 0, sizeof(aby));
        pMode->pDevMode = reinterpret_cast<DEVMODEW*>(aby + ofs);
        if (ofs + 72 <= sizeof(aby)) {
            std::memcpy(aby + ofs + 68, &wSize, 2);
            std::memcpy(aby + ofs + 70, &wExtra, 2);
        }
        return IsSoundBlock(BlockKind::Printer, 8, 1, aby, sizeof(aby));
    };
    EXPECT_TRUE(ModeIsSound(8, 72, 16));
    EXPECT_TRUE(ModeIsSound(24, 0, 0)) << "the head is there";
    EXPECT_FALSE(ModeIsSound(26, 0, 0)) << "the head is not";
    EXPECT_FALSE(ModeIsSound(8, 72, 17));
    EXPECT_FALSE(ModeIsSound(8, 65535, 65535));
    EXPECT_EQ(CheckedDeviceModeSize(aby + 8, 88), 0u);
    const auto ValueIsSound = [&](BYTE* pbyData, DWORD cbData) {
        std::memset(aby, 0, sizeof(aby));
        pValue->pData = pbyData;
        pValue->cbData = cbData;
        return IsSoundBlock(BlockKind::Values, 0, 1, aby, sizeof(aby));
    };
    EXPECT_TRUE(ValueIsSound(aby + 33, 63));
    EXPECT_FALSE(ValueIsSound(aby + 33, 64));
    EXPECT_FALSE(ValueIsSound(aby + 33, 0xFFFFFFFF));
    EXPECT_FALSE(ValueIsSound(nullptr, 1));
}

TEST(InformationBlocksTest, ListsOfTextsEnd) {
    const XCHAR acList[] = {'a', 0, 'b', 0, 0};
    for (std::size_t c = 0; c <= 5; ++c)
        EXPECT_EQ(IsSoundTextList(acList, c * sizeof(XCHAR)), c == 5) << c;
    EXPECT_FALSE(IsSoundTextList(acList, 9)) << "half of the last unit";
    EXPECT_TRUE(IsSoundTextList(acList + 4, sizeof(XCHAR)));
}

}  // namespace

}  // namespace vlm::test
