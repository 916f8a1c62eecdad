/// @file
/// The cabinet port's contract, against the system's adapter: images, errors, and no callback's failure lost.
#include <gtest/gtest.h>

#include "platform/CabinetPort.h"
#include "platform/Platform.h"
#include "support/CabinetImages.h"
#include "support/DeflateBits.h"
#include "support/ScriptedCabinetFiles.h"

namespace vlm {
namespace {

using test::ImageBytes;
using test::ScriptedCabinetFiles;

struct Outcome {
    bool fSucceeded;
    CabinetStep eStep;
    CabinetError error;
};

Outcome Compress(ScriptedCabinetFiles& rFiles, LONG lLevel = -1) {
    Outcome outcome{};
    outcome.fSucceeded = GetSystemPlatform().pCabinet->Compress(rFiles, "source", "member", "image", lLevel,
                                                                outcome.eStep, outcome.error);
    return outcome;
}

Outcome Extract(ScriptedCabinetFiles& rFiles) {
    Outcome outcome{};
    outcome.fSucceeded = GetSystemPlatform().pCabinet->Extract(rFiles, rFiles, "image", outcome.eStep, outcome.error);
    return outcome;
}

ImageBytes Noise(std::size_t cBytes) {
    ImageBytes bytes(cBytes);
    std::uint32_t uState = 99;
    for (BYTE& rby : bytes)
        rby = static_cast<BYTE>((uState = uState * 1664525 + 1013904223) >> 24);
    return bytes;
}

TEST(CabinetPortContract, RestoresWhatItCompressed) {
    for (const std::size_t cBytes : {0, 1, 32767, 32768, 32769, 65536, 200000}) {
        for (const bool fNoise : {false, true}) {
            ScriptedCabinetFiles files;
            const ImageBytes original = fNoise ? Noise(cBytes) : ImageBytes(cBytes, 'x');
            files.mapFiles["source"] = original;
            const Outcome compressed = Compress(files);
            ASSERT_TRUE(compressed.fSucceeded);
            EXPECT_EQ(CabinetStep::None, compressed.eStep);
            EXPECT_EQ(0, compressed.error.iOperation);
            // Nothing but source and image remains, no handle, no memory.
            EXPECT_EQ(2U, files.mapFiles.size());
            EXPECT_EQ(0U, files.OpenFiles());
            EXPECT_EQ(0, files.cBlocks);

            const Outcome extracted = Extract(files);
            ASSERT_TRUE(extracted.fSucceeded);
            EXPECT_EQ(std::vector<std::string>{"member"}, files.vNames);
            EXPECT_EQ(original, files.mapFiles["out:member"]);
            EXPECT_EQ(0U, files.OpenFiles());
            EXPECT_EQ(0, files.cBlocks);
        }
    }
}

// The same image for the same data, with the fields that the format leaves to the writer.
TEST(CabinetPortContract, WritesTheFixedFields) {
    ScriptedCabinetFiles files;
    files.mapFiles["source"] = Noise(70000);
    ASSERT_TRUE(Compress(files).fSucceeded);
    const ImageBytes image = files.mapFiles["image"];
    ASSERT_TRUE(Compress(files).fSucceeded);
    EXPECT_EQ(image, files.mapFiles["image"]);

    EXPECT_EQ(image.size(), test::GetNumber(image, 8, 4));
    EXPECT_EQ(44U, test::GetNumber(image, 16, 4));
    EXPECT_EQ(0x0103U, test::GetNumber(image, 24, 2));
    EXPECT_EQ(1U, test::GetNumber(image, 26, 2));
    EXPECT_EQ(1U, test::GetNumber(image, 28, 2));
    EXPECT_EQ(0U, test::GetNumber(image, 30, 2));
    EXPECT_EQ(67U, test::GetNumber(image, 36, 4));  // right behind "member"
    EXPECT_EQ(3U, test::GetNumber(image, 40, 2));
    EXPECT_EQ(1U, test::GetNumber(image, 42, 2));
    EXPECT_EQ(70000U, test::GetNumber(image, 44, 4));
    EXPECT_EQ(0x226CU, test::GetNumber(image, 54, 2));
    EXPECT_EQ(0x59BAU, test::GetNumber(image, 56, 2));
    EXPECT_EQ(0x20U, test::GetNumber(image, 58, 2));
    std::size_t uBlock = 67;
    for (const std::uint32_t uOriginal : {32768U, 32768U, 4464U}) {
        const std::size_t cData = test::GetNumber(image, uBlock + 4, 2);
        EXPECT_EQ(uOriginal, test::GetNumber(image, uBlock + 6, 2));
        EXPECT_EQ(0x4B43U, test::GetNumber(image, uBlock + 8, 2));
        EXPECT_EQ(test::ImageChecksum(image, uBlock + 8, cData) ^ test::ImageChecksum(image, uBlock + 4, 4),
                  test::GetNumber(image, uBlock, 4));
        EXPECT_LE(cData, uOriginal + 2 + 15);  // noise is stored, not expanded
        uBlock += 8 + cData;
    }
    EXPECT_EQ(image.size(), uBlock);
}

TEST(CabinetPortContract, ExtractsSkipsAndStopsAtMembers) {
    test::ImageParts parts;
    const ImageBytes stream = test::DeflateBits().Stored(true, ImageBytes(30, 'x')).Bytes();
    parts.vFolders.push_back({{{test::MsZipBlock(stream), 30}}});
    parts.vFolders.push_back({{{ImageBytes(5, 'y'), 5}}, 0});
    parts.vFiles = {{"one", 10, 0, 0}, {"two", 20, 10, 0}, {"none", 0, 30, 0}, {"three", 5, 0, 1}};
    ScriptedCabinetFiles files;
    files.mapFiles["image"] = parts.Build();
    files.strSkip = "two";
    ASSERT_TRUE(Extract(files).fSucceeded);
    EXPECT_EQ((std::vector<std::string>{"one", "two", "none", "three"}), files.vNames);
    EXPECT_EQ(ImageBytes(10, 'x'), files.mapFiles["out:one"]);
    EXPECT_EQ(0U, files.mapFiles.count("out:two"));
    EXPECT_TRUE(files.mapFiles.at("out:none").empty());
    EXPECT_EQ(ImageBytes(5, 'y'), files.mapFiles["out:three"]);
}

TEST(CabinetPortContract, TellsWhatItCouldNotOpen) {
    ScriptedCabinetFiles files;
    Outcome outcome = Compress(files);
    EXPECT_FALSE(outcome.fSucceeded);
    EXPECT_EQ(CabinetStep::AddFile, outcome.eStep);
    EXPECT_EQ(static_cast<int>(CabinetCompressError::OpenSource), outcome.error.iOperation);

    outcome = Extract(files);
    EXPECT_FALSE(outcome.fSucceeded);
    EXPECT_EQ(CabinetStep::Copy, outcome.eStep);
    EXPECT_EQ(static_cast<int>(CabinetExtractError::CabinetNotFound), outcome.error.iOperation);

    files.mapFiles["image"] = ImageBytes(100, 'z');
    outcome = Extract(files);
    EXPECT_FALSE(outcome.fSucceeded);
    EXPECT_EQ(static_cast<int>(CabinetExtractError::NotACabinet), outcome.error.iOperation);
    EXPECT_EQ(0, files.cBlocks);
}

// One callback after the other fails.  The system's library overlooks a failed write during extraction; the port does
// not, and all its memory comes back.
TEST(CabinetPortContract, NoFailureOfACallbackIsLost) {
    // Data that makes the libraries ask for memory for their code tables.
    ImageBytes original(40000);
    for (std::size_t u = 0; u < original.size(); ++u)
        original[u] = static_cast<BYTE>(u * u / 7);
    for (const bool fExtract : {false, true}) {
        for (const bool fShortWrites : {false, true}) {
            int iCall = 1;
            for (;; ++iCall) {
                ScriptedCabinetFiles files;
                files.fShortWrites = fShortWrites;
                files.mapFiles["source"] = original;
                ASSERT_TRUE(!fExtract || Compress(files).fSucceeded);
                files.cCalls = 0;
                files.iFailAt = iCall;
                const Outcome outcome = fExtract ? Extract(files) : Compress(files);
                if (files.cCalls < iCall) {
                    EXPECT_TRUE(outcome.fSucceeded);
                    break;
                }
                EXPECT_FALSE(outcome.fSucceeded) << (fExtract ? "extraction" : "compression") << ", call " << iCall;
                EXPECT_NE(CabinetStep::None, outcome.eStep) << iCall;
                EXPECT_NE(0, outcome.error.iOperation) << iCall;
                EXPECT_EQ(0, files.cBlocks) << iCall;
            }
            EXPECT_GT(iCall, 10);
        }
    }
}

}  // namespace
}  // namespace vlm
