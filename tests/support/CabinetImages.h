/// @file
/// Builds cabinet images from their parts, and varies the fields of any image: for tests, fuzz targets and the stress
/// run.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "platform/WinTypes.h"

namespace vlm::test {

using ImageBytes = std::vector<BYTE>;

inline void AppendNumber(ImageBytes& rImage, std::uint32_t uValue, unsigned cBytes) {
    for (unsigned i = 0; i < cBytes; ++i)
        rImage.push_back(static_cast<BYTE>(uValue >> (8 * i)));
}
inline std::uint32_t GetNumber(const ImageBytes& rImage, std::size_t uOffset, unsigned cBytes) {
    std::uint32_t uValue = 0;
    for (unsigned i = 0; i < cBytes; ++i)
        uValue |= static_cast<std::uint32_t>(rImage.at(uOffset + i)) << (8 * i);
    return uValue;
}
inline void PutNumber(ImageBytes& rImage, std::size_t uOffset, std::uint32_t uValue, unsigned cBytes) {
    for (unsigned i = 0; i < cBytes; ++i)
        rImage.at(uOffset + i) = static_cast<BYTE>(uValue >> (8 * i));
}

/// The format's checksum, written down independently of the library's: byte by byte.
inline std::uint32_t ImageChecksum(const ImageBytes& rImage, std::size_t uOffset, std::size_t cBytes) {
    std::uint32_t uSum = 0;
    const std::size_t cWhole = cBytes & ~std::size_t{3};
    for (std::size_t i = 0; i < cWhole; ++i)
        uSum ^= static_cast<std::uint32_t>(rImage.at(uOffset + i)) << (8 * (i % 4));
    for (std::size_t i = cWhole; i < cBytes; ++i) {
        uSum ^= static_cast<std::uint32_t>(rImage.at(uOffset + i)) << (8 * (cBytes - 1 - i));
    }
    return uSum;
}

struct ImageBlock {
    ImageBytes data;  ///< with its "CK", where the folder has it
    std::uint32_t uOriginal;
};
struct ImageFolder {
    std::vector<ImageBlock> vBlocks;
    std::uint32_t uType = 1;
};
struct ImageFile {
    std::string strName;
    std::uint32_t uSize;
    std::uint32_t uOffset;
    std::uint32_t uFolder;
    std::uint32_t uAttributes = 0x20;
};
/// The parts of an image; `Build` lays them out.
struct ImageParts {
    std::vector<ImageFolder> vFolders;
    std::vector<ImageFile> vFiles;
    bool fReserve = false;  ///< with reserve areas of 6, 3 and 2 bytes
    bool fChecksums = true;
    std::size_t cPadding = 0;  ///< zero bytes between the names and the data

    ImageBytes Build() const {
        ImageBytes image{'M', 'S', 'C', 'F'};
        image.resize(26);
        image[24] = 3;
        image[25] = 1;
        AppendNumber(image, static_cast<std::uint32_t>(vFolders.size()), 2);
        AppendNumber(image, static_cast<std::uint32_t>(vFiles.size()), 2);
        AppendNumber(image, fReserve ? 4 : 0, 2);
        image.resize(36);
        if (fReserve) {
            AppendNumber(image, 0x02030006, 4);
            image.resize(image.size() + 6, 0x5A);
        }
        const std::size_t uFolders = image.size();
        for (const ImageFolder& rFolder : vFolders) {
            AppendNumber(image, 0, 4);
            AppendNumber(image, static_cast<std::uint32_t>(rFolder.vBlocks.size()), 2);
            AppendNumber(image, rFolder.uType, 2);
            if (fReserve) image.resize(image.size() + 3, 0x5A);
        }
        PutNumber(image, 16, static_cast<std::uint32_t>(image.size()), 4);
        for (const ImageFile& rFile : vFiles) {
            AppendNumber(image, rFile.uSize, 4);
            AppendNumber(image, rFile.uOffset, 4);
            AppendNumber(image, rFile.uFolder, 2);
            AppendNumber(image, 0x59BA226C, 4);
            AppendNumber(image, rFile.uAttributes, 2);
            image.insert(image.end(), rFile.strName.begin(), rFile.strName.end());
            image.push_back(0);
        }
        image.resize(image.size() + cPadding);
        for (std::size_t i = 0; i < vFolders.size(); ++i) {
            PutNumber(image, uFolders + i * (fReserve ? 11 : 8), static_cast<std::uint32_t>(image.size()), 4);
            for (const ImageBlock& rBlock : vFolders[i].vBlocks)
                AppendBlock(image, rBlock);
        }
        PutNumber(image, 8, static_cast<std::uint32_t>(image.size()), 4);
        return image;
    }

private:
    void AppendBlock(ImageBytes& rImage, const ImageBlock& rBlock) const {
        const std::size_t uBlock = rImage.size();
        AppendNumber(rImage, 0, 4);
        AppendNumber(rImage, static_cast<std::uint32_t>(rBlock.data.size()), 2);
        AppendNumber(rImage, rBlock.uOriginal, 2);
        if (fReserve) rImage.resize(rImage.size() + 2, 0x5A);
        const std::size_t uData = rImage.size();
        rImage.insert(rImage.end(), rBlock.data.begin(), rBlock.data.end());
        if (!fChecksums) return;
        // The data is summed first, then sizes and reserve area; each part has its own odd bytes at the end.
        const std::uint32_t uSum =
            ImageChecksum(rImage, uData, rBlock.data.size()) ^ ImageChecksum(rImage, uBlock + 4, uData - uBlock - 4);
        PutNumber(rImage, uBlock, uSum, 4);
    }
};

/// "CK" and a deflate stream.
inline ImageBytes MsZipBlock(const ImageBytes& rStream) {
    ImageBytes block(2 + rStream.size(), 'C');
    block[1] = 'K';
    std::copy(rStream.begin(), rStream.end(), block.begin() + 2);
    return block;
}

/// One number of an image.
struct ImageField {
    std::size_t uOffset;
    unsigned cBytes;
};

/// The values that a field is tried with.
inline std::vector<std::uint32_t> ValuesFor(const ImageBytes& rImage, const ImageField& rField) {
    const std::uint32_t uValue = GetNumber(rImage, rField.uOffset, rField.cBytes);
    const auto uRest = static_cast<std::uint32_t>(rImage.size() - rField.uOffset);
    std::uint32_t uSwapped = 0;
    for (unsigned i = 0; i < rField.cBytes; ++i)
        uSwapped = (uSwapped << 8) | ((uValue >> (8 * i)) & 255);
    return {0,      1,      2,      uValue - 1, uValue + 1, uRest - 1,  uRest,      uRest + 1,  0x7FFF,
            0x8000, 0x8001, 0xFFFD, 0xFFFE,     0xFFFF,     0x7FFFFFFF, 0x80000000, 0xFFFFFFFF, uSwapped};
}

/// Sets every block's checksum right again, so that a change of the data reaches the decoder.
inline void RepairChecksums(ImageBytes& rImage) {
    std::size_t uBlock = GetNumber(rImage, 36, 4);
    for (std::uint32_t i = 0; i < GetNumber(rImage, 40, 2); ++i) {
        if (uBlock + 8 > rImage.size()) return;
        const std::size_t cData = GetNumber(rImage, uBlock + 4, 2);
        if (cData > rImage.size() - uBlock - 8) return;
        PutNumber(rImage, uBlock, ImageChecksum(rImage, uBlock + 8, cData) ^ ImageChecksum(rImage, uBlock + 4, 4), 4);
        uBlock += 8 + cData;
    }
}

/// One random change that knows the format: a field set to an interesting value, bits of the data flipped with the
/// checksum removed or repaired, bytes removed, doubled or moved.
template <typename Random>
void MutateImage(ImageBytes& rImage, Random& rRandom) {
    const auto Below = [&](std::size_t uLimit) {
        return static_cast<std::size_t>(rRandom() % std::max<std::size_t>(uLimit, 1));
    };
    if (rImage.size() < 92) {
        rImage.resize(rImage.size() + 1 + Below(8), static_cast<BYTE>(rRandom()));
        return;
    }
    switch (Below(8)) {
        case 0:
        case 1: {
            const std::size_t uFields = Below(22);
            static constexpr ImageField HEAD[] = {
                {0, 4},  {8, 4},  {16, 4}, {24, 1}, {25, 1}, {26, 2}, {28, 2}, {30, 2}, {36, 4}, {40, 2}, {42, 2},
                {44, 4}, {48, 4}, {52, 2}, {58, 2}, {60, 1}, {83, 4}, {87, 2}, {89, 2}, {80, 4}, {84, 2}, {86, 2}};
            const ImageField& rField = HEAD[uFields];
            const auto vValues = ValuesFor(rImage, rField);
            PutNumber(rImage, rField.uOffset, vValues[Below(vValues.size())], rField.cBytes);
            break;
        }
        case 2:
            rImage.resize(Below(rImage.size()) + 1);
            break;
        case 3: {
            const std::size_t uFrom = Below(rImage.size());
            const std::size_t cBytes = std::min(rImage.size() - uFrom, 1 + Below(16));
            const ImageBytes part(rImage.begin() + static_cast<std::ptrdiff_t>(uFrom),
                                  rImage.begin() + static_cast<std::ptrdiff_t>(uFrom + cBytes));
            rImage.insert(rImage.begin() + static_cast<std::ptrdiff_t>(Below(rImage.size())), part.begin(), part.end());
            break;
        }
        default: {
            // Near the start of the data are the code tables; damage there does the most.
            const std::size_t uBlock = GetNumber(rImage, 36, 4);
            const std::size_t uData = std::min(uBlock + 10, rImage.size() - 1);
            const std::size_t cRest = rImage.size() - uData;
            const std::size_t cSpan = Below(2) == 0 ? std::min<std::size_t>(64, cRest) : cRest;
            for (std::size_t c = 1 + Below(3); c > 0; --c) {
                BYTE& rby = rImage[uData + Below(cSpan)];
                rby = static_cast<BYTE>(rby ^ (1U << Below(8)));
            }
            if (uBlock + 8 > rImage.size()) break;
            if (Below(2) == 0) {
                RepairChecksums(rImage);
            } else {
                PutNumber(rImage, uBlock, 0, 4);
            }
            break;
        }
    }
}

}  // namespace vlm::test
