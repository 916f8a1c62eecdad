/// @file
/// The check of cabinet images: what it accepts, and each way to be refused.
#include "utilities/compression/CabinetImage.h"

#include <gtest/gtest.h>

#include <functional>

#include "support/CabinetImages.h"
#include "support/DeflateBits.h"

namespace vlm {
namespace {

using test::ImageBytes;
using test::ImageParts;
using test::MsZipBlock;

CabinetVerdict Check(const ImageBytes& rImage, const CabinetProfile& rProfile = SINGLE_MEMBER_CABINET) {
    const ImageBytes exact(rImage);
    return ValidateCabinetImage(exact.data(), exact.size(), rProfile);
}

ImageBytes StoredStream(std::size_t cBytes) {
    return test::DeflateBits().Stored(true, ImageBytes(cBytes, 'x')).Bytes();
}

/// One folder, one member "name" of `cBytes` bytes, in blocks of 32 KiB.
ImageParts SingleParts(std::size_t cBytes) {
    ImageParts parts;
    parts.vFolders.resize(1);
    for (std::size_t cLeft = cBytes; cLeft > 0;) {
        const std::size_t cBlock = std::min<std::size_t>(cLeft, 32768);
        parts.vFolders[0].vBlocks.push_back({MsZipBlock(StoredStream(cBlock)), static_cast<std::uint32_t>(cBlock)});
        cLeft -= cBlock;
    }
    parts.vFiles.push_back({"name", static_cast<std::uint32_t>(cBytes), 0, 0});
    return parts;
}

TEST(CabinetImage, AcceptsWhatWritersMake) {
    for (const std::size_t cBytes : {0, 1, 32768, 32769, 100000}) {
        ImageParts parts = SingleParts(cBytes);
        for (const bool fPlain : {false, true}) {
            parts.fChecksums = !fPlain;
            parts.cPadding = fPlain ? 0 : 40;
            const CabinetVerdict verdict = Check(parts.Build());
            EXPECT_TRUE(verdict.IsAccepted()) << cBytes << ' ' << static_cast<DWORD>(verdict.eDefect);
            EXPECT_EQ(cBytes, verdict.dwOriginalBytes);
        }
    }
}

TEST(CabinetImage, MatchesReachBackIntoEarlierBlocksOfTheFolder) {
    // The second block copies three bytes from 32,768 bytes back, which only the first block provides.
    const auto Second = [](unsigned uDistanceExtra) {
        return MsZipBlock(
            test::DeflateBits().Block(true, 1).FixedMatch(257, 0, 0, 29, uDistanceExtra, 13).Fixed(256).Bytes());
    };
    ImageParts parts = SingleParts(32768);
    parts.vFolders[0].vBlocks.push_back({Second(8191), 3});
    parts.vFiles[0].uSize += 3;
    EXPECT_TRUE(Check(parts.Build()).IsAccepted());
    // In a folder of its own the same block has no history.
    parts.vFiles = {{"a", 32768, 0, 0}, {"b", 3, 0, 1}};
    parts.vFolders.push_back({{parts.vFolders[0].vBlocks.back()}});
    parts.vFolders[0].vBlocks.pop_back();
    EXPECT_EQ(CabinetDefect::BlockStream, Check(parts.Build(), CABINET_ARCHIVE).eDefect);
}

TEST(CabinetImage, NothingIsReadBehindAnImageThatAnnouncesLessThanItsHeader) {
    for (const std::uint32_t uAnnounced : {0u, 2u, 35u}) {
        ImageBytes image = SingleParts(100).Build();
        test::PutNumber(image, 8, uAnnounced, 4);
        test::PutNumber(image, 30, 4, 2);  // sizes of reserved areas follow the header
        image.resize(36);
        image.shrink_to_fit();
        EXPECT_EQ(CabinetDefect::ImageSize, Check(image, CABINET_ARCHIVE).eDefect) << uAnnounced;
    }
}

struct Refusal {
    const char* pszWhat;
    CabinetDefect eDefect;
    std::function<void(ImageBytes&)> fnDamage;  ///< of the image of one member with 100 bytes, laid out as below
};

// Offsets in that image: header 0, folder 36, file 44, name 60, block 65, data 73.
constexpr std::size_t BLOCK = 65;

TEST(CabinetImage, RefusesEachDefectWithItsReason) {
    const auto Put = [](std::size_t uOffset, std::uint32_t uValue, unsigned cBytes) {
        return [=](ImageBytes& rImage) { test::PutNumber(rImage, uOffset, uValue, cBytes); };
    };
    const auto Unsummed = [](std::size_t uOffset, std::uint32_t uValue, unsigned cBytes) {
        return [=](ImageBytes& rImage) {
            test::PutNumber(rImage, uOffset, uValue, cBytes);
            test::PutNumber(rImage, BLOCK, 0, 4);
        };
    };
    const Refusal REFUSALS[] = {
        {"35 bytes", CabinetDefect::TooShort, [](ImageBytes& r) { r.resize(35); }},
        {"signature", CabinetDefect::Signature, Put(3, 'f', 1)},
        {"version 2.3", CabinetDefect::Version, Put(25, 2, 1)},
        {"version 1.2", CabinetDefect::Version, Put(24, 2, 1)},
        {"size one too large", CabinetDefect::ImageSize, [](ImageBytes& r) { r.pop_back(); }},
        {"size one too small", CabinetDefect::ImageSize, [](ImageBytes& r) { r.push_back(0); }},
        {"no folder", CabinetDefect::FolderCount, Put(26, 0, 2)},
        {"two folders", CabinetDefect::FolderCount, Put(26, 2, 2)},
        {"no file", CabinetDefect::FileCount, Put(28, 0, 2)},
        {"two files", CabinetDefect::FileCount, Put(28, 2, 2)},
        {"next cabinet", CabinetDefect::Flags, Put(30, 2, 2)},
        {"reserve areas", CabinetDefect::Flags, Put(30, 4, 2)},
        {"file table one too early", CabinetDefect::FileTable, Put(16, 43, 4)},
        {"file table behind the end", CabinetDefect::FileTable, Put(16, 100000, 4)},
        {"empty name", CabinetDefect::FileName, Put(60, 0, 1)},
        {"folder index 1", CabinetDefect::FileFolder, Put(52, 1, 2)},
        {"continued from the previous cabinet", CabinetDefect::FileFolder, Put(52, 0xFFFD, 2)},
        {"file one byte too long", CabinetDefect::FileRange, Put(44, 101, 4)},
        {"file one byte too short", CabinetDefect::FileRange, Put(44, 99, 4)},
        {"file offset 1", CabinetDefect::FileRange, Put(48, 1, 4)},
        {"file offset and size beyond 32 bits together", CabinetDefect::FileRange, Put(48, 0xFFFFFFFF, 4)},
        {"stored", CabinetDefect::CompressionType, Put(42, 0, 2)},
        {"LZX", CabinetDefect::CompressionType, Put(42, 0x1503, 2)},
        {"data over the name", CabinetDefect::DataOffset, Put(36, BLOCK - 1, 4)},
        {"data behind the end", CabinetDefect::DataOffset, Put(36, 100000, 4)},
        {"data behind a gap that is not empty", CabinetDefect::TrailingData, Put(36, BLOCK + 8, 4)},
        {"no block", CabinetDefect::FileRange, Put(40, 0, 2)},
        {"a second block that is not there", CabinetDefect::BlockSize, Put(40, 2, 2)},
        {"block of 0 bytes", CabinetDefect::BlockSignature, Unsummed(BLOCK + 4, 0, 2)},
        {"block that leaves the image", CabinetDefect::BlockSize, Put(BLOCK + 4, 108, 2)},
        {"block larger than readers take", CabinetDefect::BlockSize,
         [](ImageBytes& r) {
             r.resize(70000);
             test::PutNumber(r, 8, 70000, 4);
             test::PutNumber(r, BLOCK + 4, 38913, 2);
         }},
        {"original size 0", CabinetDefect::BlockSize, Put(BLOCK + 6, 0, 2)},
        {"original size 32,769", CabinetDefect::BlockSize, Put(BLOCK + 6, 32769, 2)},
        {"checksum", CabinetDefect::BlockChecksum, Put(BLOCK, 0x12345678, 4)},
        {"no C", CabinetDefect::BlockSignature, Unsummed(BLOCK + 8, 'c', 1)},
        {"no K", CabinetDefect::BlockSignature, Unsummed(BLOCK + 9, 'k', 1)},
        {"stored lengths that disagree", CabinetDefect::BlockStream, Unsummed(BLOCK + 11, 101, 1)},
        {"a stream that yields less than the block says", CabinetDefect::BlockStream, Unsummed(BLOCK + 6, 101, 2)},
    };
    const ImageBytes good = SingleParts(100).Build();
    ASSERT_TRUE(Check(good).IsAccepted());
    for (const Refusal& rRefusal : REFUSALS) {
        ImageBytes image = good;
        rRefusal.fnDamage(image);
        const CabinetVerdict verdict = Check(image);
        EXPECT_EQ(static_cast<int>(rRefusal.eDefect), static_cast<int>(verdict.eDefect)) << rRefusal.pszWhat;
        EXPECT_LE(verdict.uOffset, image.size()) << rRefusal.pszWhat;
        EXPECT_EQ(0U, verdict.dwOriginalBytes) << rRefusal.pszWhat;
    }
}

TEST(CabinetImage, RefusesNamesThatDoNotEnd) {
    ImageParts parts = SingleParts(1);
    parts.vFiles[0].strName.assign(255, 'n');
    EXPECT_TRUE(Check(parts.Build()).IsAccepted());
    parts.vFiles[0].strName.assign(256, 'n');
    EXPECT_EQ(CabinetDefect::FileName, Check(parts.Build()).eDefect);
    // The image ends inside the name, or right before it.
    ImageBytes image = SingleParts(0).Build();
    for (const std::size_t cBytes : {60, 62, 64}) {
        image.resize(cBytes);
        test::PutNumber(image, 8, static_cast<std::uint32_t>(cBytes), 4);
        EXPECT_EQ(CabinetDefect::FileName, Check(image).eDefect) << cBytes;
    }
    image.resize(59);
    test::PutNumber(image, 8, 59, 4);
    EXPECT_EQ(CabinetDefect::FileTable, Check(image).eDefect);
}

TEST(CabinetImage, AllowsACheckValueBehindTheStreamButNothingThatBeginsABlock) {
    const auto WithTail = [](std::size_t uBlock, const ImageBytes& rTail) {
        ImageParts parts = SingleParts(32768 + 10);
        ImageBytes& rData = parts.vFolders[0].vBlocks[uBlock].data;
        rData.insert(rData.end(), rTail.begin(), rTail.end());
        return Check(parts.Build()).eDefect;
    };
    EXPECT_EQ(CabinetDefect::None, WithTail(0, {1, 2, 3, 4}));
    EXPECT_EQ(CabinetDefect::BlockTail, WithTail(0, {1, 2, 3, 4, 5}));
    EXPECT_EQ(CabinetDefect::BlockTail, WithTail(0, {0, 'C', 'K', 0}));
    EXPECT_EQ(CabinetDefect::None, WithTail(1, {0, 'C', 'K', 0}));
    EXPECT_EQ(CabinetDefect::BlockTail, WithTail(1, {1, 2, 3, 4, 5}));
}

TEST(CabinetImage, OnlyTheLastBlockMayBeShortAndAllHoldToTheAllowedSize) {
    ImageParts parts = SingleParts(40000);
    CabinetProfile profile = SINGLE_MEMBER_CABINET;
    profile.dwMostOriginalBytes = 40000;
    EXPECT_TRUE(Check(parts.Build(), profile).IsAccepted());
    profile.dwMostOriginalBytes = 39999;
    EXPECT_EQ(CabinetDefect::TooMuchData, Check(parts.Build(), profile).eDefect);
    std::swap(parts.vFolders[0].vBlocks[0], parts.vFolders[0].vBlocks[1]);
    EXPECT_EQ(CabinetDefect::BlockSize, Check(parts.Build()).eDefect);
}

/// Two folders, MSZIP and stored, with three files.
ImageParts ArchiveParts() {
    ImageParts parts;
    parts.vFolders.push_back({{{MsZipBlock(StoredStream(30)), 30}}});
    parts.vFolders.push_back({{{ImageBytes(20, 's'), 20}}, 0});
    parts.vFiles = {{"one", 10, 0, 0}, {"two", 20, 10, 0}, {"three", 20, 0, 1}};
    return parts;
}

TEST(CabinetImage, TheArchiveProfileTakesFoldersFilesReserveAreasAndASignatureBehindTheCabinet) {
    ImageParts parts = ArchiveParts();
    for (const bool fReserve : {false, true}) {
        parts.fReserve = fReserve;
        ImageBytes image = parts.Build();
        const CabinetVerdict verdict = Check(image, CABINET_ARCHIVE);
        EXPECT_TRUE(verdict.IsAccepted()) << static_cast<DWORD>(verdict.eDefect);
        EXPECT_EQ(50U, verdict.dwOriginalBytes);
        image.insert(image.end(), 100, 0xAA);
        EXPECT_TRUE(Check(image, CABINET_ARCHIVE).IsAccepted());
        EXPECT_FALSE(Check(image).IsAccepted());
    }
    // A checksum that leaves the reserve area out is right, too.
    ImageBytes image = parts.Build();
    const std::size_t uBlock = test::GetNumber(image, 46, 4);
    const std::size_t cData = test::GetNumber(image, uBlock + 4, 2);
    test::PutNumber(image, uBlock,
                    test::ImageChecksum(image, uBlock + 10, cData) ^ test::ImageChecksum(image, uBlock + 4, 4), 4);
    EXPECT_TRUE(Check(image, CABINET_ARCHIVE).IsAccepted());
}

TEST(CabinetImage, TheArchiveProfileRefusesWhatDoesNotFitTogether) {
    const auto Defect = [](const std::function<void(ImageParts&)>& fnChange) {
        ImageParts parts = ArchiveParts();
        fnChange(parts);
        return Check(parts.Build(), CABINET_ARCHIVE).eDefect;
    };
    EXPECT_EQ(CabinetDefect::FileFolder, Defect([](ImageParts& r) { std::swap(r.vFiles[1], r.vFiles[2]); }));
    EXPECT_EQ(CabinetDefect::FileRange, Defect([](ImageParts& r) { r.vFiles[1].uOffset = 9; }));
    EXPECT_EQ(CabinetDefect::None, Defect([](ImageParts& r) { r.vFiles[1] = {"two", 5, 12, 0}; }));
    EXPECT_EQ(CabinetDefect::FileRange, Defect([](ImageParts& r) { r.vFiles[1].uSize = 21; }));
    EXPECT_EQ(CabinetDefect::CompressionType, Defect([](ImageParts& r) { r.vFolders[1].uType = 3; }));
    EXPECT_EQ(CabinetDefect::BlockSize, Defect([](ImageParts& r) { r.vFolders[1].vBlocks[0].uOriginal = 19; }));

    ImageBytes image = ArchiveParts().Build();
    test::PutNumber(image, 26, 4000, 2);
    EXPECT_EQ(CabinetDefect::FolderCount, Check(image, CABINET_ARCHIVE).eDefect);
    // The second folder's data over the first's.
    image = ArchiveParts().Build();
    test::PutNumber(image, 44, test::GetNumber(image, 36, 4), 4);
    EXPECT_EQ(CabinetDefect::DataOffset, Check(image, CABINET_ARCHIVE).eDefect);
    // Reserve areas that do not fit.
    image.resize(38);
    test::PutNumber(image, 8, 38, 4);
    test::PutNumber(image, 30, 4, 2);
    EXPECT_EQ(CabinetDefect::TooShort, Check(image, CABINET_ARCHIVE).eDefect);
    image.resize(44, 0xFF);
    test::PutNumber(image, 8, 44, 4);
    EXPECT_EQ(CabinetDefect::TooShort, Check(image, CABINET_ARCHIVE).eDefect);
}

// Every prefix and every bit: no read outside (the sanitizers see to that), and
// what is still accepted announces the same size.
TEST(CabinetImage, SurvivesEverySmallDamage) {
    const ImageBytes good = SingleParts(200).Build();
    for (std::size_t c = 0; c < good.size(); ++c) {
        ImageBytes cut(good.begin(), good.begin() + static_cast<std::ptrdiff_t>(c));
        EXPECT_FALSE(Check(cut).IsAccepted()) << c;
        if (c >= 12) test::PutNumber(cut, 8, static_cast<std::uint32_t>(c), 4);
        EXPECT_FALSE(Check(cut).IsAccepted()) << c;
        EXPECT_FALSE(Check(cut, CABINET_ARCHIVE).IsAccepted()) << c;
    }
    const auto Survives = [](const ImageBytes& rImage) {
        const CabinetVerdict verdict = Check(rImage);
        EXPECT_EQ(verdict.IsAccepted() ? 200U : 0U, verdict.dwOriginalBytes);
        Check(rImage, CABINET_ARCHIVE);
    };
    for (std::size_t uBit = 0; uBit < good.size() * 8; ++uBit) {
        ImageBytes image = good;
        image[uBit / 8] ^= static_cast<BYTE>(1U << (uBit % 8));
        Survives(image);
        test::PutNumber(image, BLOCK, 0, 4);  // and with the checksum out of the way
        Survives(image);
    }
}

}  // namespace
}  // namespace vlm
