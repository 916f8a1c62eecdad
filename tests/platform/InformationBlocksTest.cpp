/// @file
/// Blocks of a spooler that lies.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>

#include "platform/InformationBlocks.h"

namespace vlm::test {

namespace {

/// A block of two driver records of level 3 in 256 bytes, to be spoilt.
struct DriverBlock {
    alignas(8) BYTE aby[256] = {};

    DriverInfo3* Records() { return reinterpret_cast<DriverInfo3*>(aby); }
    bool IsSound(DWORD cRecords = 2, std::size_t cb = sizeof(aby)) {
        return IsSoundBlock(BlockKind::Driver, 3, cRecords, aby, cb);
    }
};

TEST(InformationBlocksTest, PointersLeadInsideAndTextsEndThere) {
    constexpr std::ptrdiff_t NOTHING = 256;
    const struct {
        const char* pszWhat;
        XCHAR* DriverInfo3::*pMember;
        std::ptrdiff_t ofs;       ///< where it leads
        std::ptrdiff_t ofsFull;   ///< from here on no text ends ...
        std::ptrdiff_t ofsZeros;  ///< ... but here
        bool fSound;
    } aoRows[] = {
        {"a text", &DriverInfo3::pName, 160, NOTHING, NOTHING, true},
        {"the last unit", &DriverInfo3::pName, 254, NOTHING, NOTHING, true},
        {"the end", &DriverInfo3::pName, 256, NOTHING, NOTHING, false},
        {"beyond", &DriverInfo3::pDataFile, 4096, NOTHING, NOTHING, false},
        {"before", &DriverInfo3::pDataFile, -2, NOTHING, NOTHING, false},
        {"odd address", &DriverInfo3::pName, 161, NOTHING, NOTHING, false},
        {"no end", &DriverInfo3::pName, 160, 160, NOTHING, false},
        {"its end is the last unit", &DriverInfo3::pName, 160, 160, 254, true},
        {"half of its end", &DriverInfo3::pName, 160, 160, 255, false},
        {"a list's text ends, the list does not", &DriverInfo3::pDependentFiles, 160, 160, 254, false},
        {"a list ends", &DriverInfo3::pDependentFiles, 160, 160, 252, true},
        {"an empty list in the last unit", &DriverInfo3::pDependentFiles, 254, 160, 254, true},
    };
    EXPECT_TRUE(DriverBlock().IsSound()) << "null pointers";
    for (const auto& rRow : aoRows) {
        DriverBlock oBlock;
        std::fill(oBlock.aby + rRow.ofsFull, std::end(oBlock.aby), BYTE{'x'});
        std::fill(oBlock.aby + rRow.ofsZeros, std::end(oBlock.aby), BYTE{0});
        for (const std::size_t uRecord : {0u, 1u}) {
            DriverBlock oSpoilt = oBlock;
            const std::uintptr_t uiAddress =
                reinterpret_cast<std::uintptr_t>(oSpoilt.aby) + static_cast<std::uintptr_t>(rRow.ofs);
            std::memcpy(&(oSpoilt.Records()[uRecord].*rRow.pMember), &uiAddress, sizeof(uiAddress));
            EXPECT_EQ(oSpoilt.IsSound(), rRow.fSound) << rRow.pszWhat;
        }
    }
    DriverBlock oNowhere;
    std::memset(&oNowhere.Records()[0].pDataFile, 0xFF, sizeof(XCHAR*));
    EXPECT_FALSE(oNowhere.IsSound());
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
