/// @file
/// Independent readers read what the library writes: cabextract and gcab, where they are installed.
#include <gtest/gtest.h>

#ifndef _WIN32

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "support/CabinetImages.h"
#include "utilities/compression/CabCompressedBuffer.h"

namespace vlm {
namespace {

namespace fs = std::filesystem;

class CabinetOracle : public testing::TestWithParam<const char*> {
protected:
    void SetUp() override {
        if (std::system((std::string("command -v ") + GetParam() + " >/dev/null").c_str()) != 0) {
            GTEST_SKIP() << GetParam() << " is not installed";
        }
        std::string name = (fs::temp_directory_path() / "cabinet-oracle-XXXXXX").string();
        ASSERT_NE(nullptr, mkdtemp(name.data()));
        m_oFolder = name;
    }
    void TearDown() override {
        if (!m_oFolder.empty()) fs::remove_all(m_oFolder);
    }

    /// Extracts with the foreign tool.  @return the only file that it made.
    std::vector<BYTE> Extract(const ByteBuffer& kbbImage) {
        const fs::path target = m_oFolder / "out";
        fs::remove_all(target);
        fs::create_directory(target);
        const fs::path image = m_oFolder / "image.cab";
        std::ofstream(image, std::ios::binary)
            .write(reinterpret_cast<const char*>(kbbImage.data()), static_cast<std::streamsize>(kbbImage.size()));
        const bool fGcab = std::string(GetParam()) == "gcab";
        const std::string command = fGcab ? "cd " + target.string() + " && gcab -x " + image.string()
                                          : "cabextract -q -d " + target.string() + " " + image.string();
        EXPECT_EQ(0, std::system((command + " >/dev/null").c_str()));
        for (const auto& rEntry : fs::recursive_directory_iterator(target)) {
            if (!rEntry.is_regular_file()) continue;
            EXPECT_EQ("Compressed-Data", rEntry.path().filename().string());
            std::ifstream oFile(rEntry.path(), std::ios::binary);
            return {std::istreambuf_iterator<char>(oFile), std::istreambuf_iterator<char>()};
        }
        ADD_FAILURE() << "nothing was extracted";
        return {};
    }

    fs::path m_oFolder;
};

TEST_P(CabinetOracle, ReadsOurImages) {
    for (const std::size_t cBytes : {0, 1, 32767, 32768, 32769, 65536, 1048576, 1048577}) {
        for (const bool fNoise : {false, true}) {
            // The member's name ends in slashes, which these tools take for a folder; the image is the same otherwise.
            std::vector<BYTE> vbyOriginal(cBytes);
            std::uint32_t uState = 1;
            for (BYTE& rby : vbyOriginal) {
                uState = uState * 1664525 + 1013904223;
                rby = static_cast<BYTE>(fNoise ? uState >> 24 : 'a' + (uState >> 30));
            }
            ByteBuffer bbImage;
            CabCompressedBuffer::CompressBuffer(vbyOriginal.data(), static_cast<DWORD>(cBytes), bbImage, -1);
            bbImage[60 + 17] = 0;
            bbImage[60 + 18] = 0;
            EXPECT_EQ(vbyOriginal, Extract(bbImage)) << cBytes;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Tools, CabinetOracle, testing::Values("cabextract", "gcab"));

}  // namespace
}  // namespace vlm

#endif
