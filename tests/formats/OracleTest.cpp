/// @file
/// Programs of others read what the library writes, and the other way round, where they are installed.
#include <gtest/gtest.h>

#ifndef _WIN32

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "formats/Buffers.h"
#include "utilities/compression/CabCompressedBuffer.h"
#include "utilities/utilitiesdll/Blowfish.h"
#include "utilities/utilitiesdll/KestrixEncryption.h"

namespace vlm::test {
namespace {

namespace fs = std::filesystem;

class Oracle : public testing::TestWithParam<const char*> {
protected:
    void SetUp() override {
        if (std::system((std::string("command -v ") + GetParam() + " >/dev/null").c_str()) != 0) {
            GTEST_SKIP() << GetParam() << " is not installed";
        }
        std::string name = (fs::temp_directory_path() / "oracle-XXXXXX").string();
        ASSERT_NE(nullptr, mkdtemp(name.data()));
        m_oFolder = name;
        fs::current_path(m_oFolder);
    }
    void TearDown() override {
        fs::current_path(m_oFormer);
        if (!m_oFolder.empty()) fs::remove_all(m_oFolder);
    }

    /// Runs a command on the bytes in the file "in".
    static void Run(const ByteBuffer& kbbInput, const std::string& rCommand) {
        std::ofstream("in", std::ios::binary)
            .write(reinterpret_cast<const char*>(kbbInput.data()), static_cast<std::streamsize>(kbbInput.size()));
        EXPECT_EQ(std::system((rCommand + " >/dev/null 2>&1").c_str()), 0) << rCommand;
    }
    static ByteBuffer Contents(const fs::path& rPath) {
        std::ifstream oFile(rPath, std::ios::binary);
        return ByteBuffer(std::vector<BYTE>(std::istreambuf_iterator<char>(oFile), std::istreambuf_iterator<char>()));
    }
    static ByteBuffer OpenSsl(const ByteBuffer& kbbInput, const std::string& rOptions) {
        Run(kbbInput, "openssl enc " + rOptions + " -in in -out out");
        return Contents("out");
    }
    static ByteBuffer Sample(std::size_t cBytes) {
        std::vector<BYTE> vby(cBytes);
        for (std::size_t i = 0; i < cBytes; ++i)
            vby[i] = static_cast<BYTE>(i * i / 3);
        return ByteBuffer(std::move(vby));
    }

    const fs::path m_oFormer = fs::current_path();
    fs::path m_oFolder;
};

class CabinetOracle : public Oracle {};
INSTANTIATE_TEST_SUITE_P(Tools, CabinetOracle, testing::Values("cabextract", "gcab"));

TEST_P(CabinetOracle, ReadsOurImages) {
    const bool fGcab = std::string(GetParam()) == "gcab";
    for (const std::size_t cBytes : {0, 1, 32767, 32768, 32769, 1048577}) {
        // The member's name ends in slashes, which these tools take for a folder; the image is the same otherwise.
        ByteBuffer bbImage;
        CabCompressedBuffer::CompressBuffer(Sample(cBytes).data(), static_cast<DWORD>(cBytes), bbImage, -1);
        bbImage[60 + 17] = 0;
        bbImage[60 + 18] = 0;
        fs::remove_all("out");
        fs::create_directory("out");
        Run(bbImage, fGcab ? "cd out && gcab -x ../in" : "cabextract -q -d out in");
        int cFiles = 0;
        for (const auto& rEntry : fs::recursive_directory_iterator("out")) {
            if (!rEntry.is_regular_file()) continue;
            ++cFiles;
            EXPECT_EQ("Compressed-Data", rEntry.path().filename().string());
            EXPECT_EQ(Sample(cBytes), Contents(rEntry.path()));
        }
        EXPECT_EQ(cFiles, 1);
    }
}

class EncryptionOracle : public Oracle {};
INSTANTIATE_TEST_SUITE_P(Tools, EncryptionOracle, testing::Values("openssl"));

TEST_P(EncryptionOracle, ThePasswordAloneIsEnough) {
    const ByteBuffer bbUtf8Password = TextBuffer("Gr\xC3\xBCn 1");
    const std::string options = "-aes-256-cbc -pbkdf2 -pass 'pass:Gr\xC3\xBCn 1'";
    for (const std::size_t c : {0u, 1u, 16u, 100'000u}) {
        KestrixEncryption oObject;
        ByteBuffer bb;
        ASSERT_TRUE(oObject.EncryptByteBuffer(Sample(c), VTEXT("Gr\u00FCn 1"), bb));
        EXPECT_EQ(OpenSsl(bb, "-d " + options), Sample(c));
        ASSERT_TRUE(oObject.DecryptByteBuffer(OpenSsl(Sample(c), options), bbUtf8Password.data(), 7, bb));
        EXPECT_EQ(bb, Sample(c));
    }
}

TEST_P(EncryptionOracle, OtherRoundsAndBareCiphertextsNeedAnOption) {
    KestrixEncryption oObject;
    ByteBuffer bb;
    ASSERT_TRUE(oObject.SetKeyDerivationRounds(123));
    oObject.SetEmitSaltWithEncryptedData(false);
    ASSERT_TRUE(oObject.SetSalt("\x01\x23\x45\x67\x89\xAB\xCD\xEF", 8));
    ASSERT_TRUE(oObject.EncryptByteBuffer(Sample(50), VTEXT("password"), bb));
    EXPECT_EQ(OpenSsl(bb, "-d -aes-256-cbc -pbkdf2 -iter 123 -S 0123456789ABCDEF -pass pass:password"), Sample(50));
}

TEST_P(EncryptionOracle, BlowfishIsTheirs) {
    BlowFish blowfish;
    ByteBuffer bb = Sample(8000);
    ASSERT_TRUE(blowfish.SetPassword(Sample(16)) && blowfish.EncryptData(bb));
    EXPECT_EQ(OpenSsl(bb, "-d -bf-ecb -nopad -provider legacy -provider default -K " + HexOf(Sample(16))),
              Sample(8000));
}

}  // namespace
}  // namespace vlm::test

#endif
