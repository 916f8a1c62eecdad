/// @file
/// The openssl command reads what the library encrypts, and the other way round.
#include <gtest/gtest.h>

#ifndef _WIN32

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "support/Bytes.h"
#include "utilities/utilitiesdll/Blowfish.h"
#include "utilities/utilitiesdll/KestrixEncryption.h"

namespace {

namespace fs = std::filesystem;

class EncryptionOracle : public testing::Test {
protected:
    void SetUp() override {
        if (std::system("command -v openssl >/dev/null") != 0) GTEST_SKIP() << "openssl is not installed";
        std::string name = (fs::temp_directory_path() / "encryption-oracle-XXXXXX").string();
        ASSERT_NE(nullptr, mkdtemp(name.data()));
        m_oFolder = name;
    }
    void TearDown() override {
        if (!m_oFolder.empty()) fs::remove_all(m_oFolder);
    }

    /// Sends bytes through `openssl enc` with these options.
    std::vector<BYTE> Run(const ByteBuffer& kbbInput, const std::string& rOptions) const {
        const fs::path input = m_oFolder / "in", output = m_oFolder / "out";
        std::ofstream(input, std::ios::binary)
            .write(reinterpret_cast<const char*>(kbbInput.data()), static_cast<std::streamsize>(kbbInput.size()));
        const std::string command =
            "openssl enc " + rOptions + " -in " + input.string() + " -out " + output.string() + " 2>/dev/null";
        EXPECT_EQ(std::system(command.c_str()), 0) << command;
        std::ifstream oFile(output, std::ios::binary);
        return {std::istreambuf_iterator<char>(oFile), std::istreambuf_iterator<char>()};
    }

    static ByteBuffer Sample(std::size_t cBytes) {
        std::vector<BYTE> vby(cBytes);
        for (std::size_t i = 0; i < cBytes; ++i)
            vby[i] = static_cast<BYTE>(i * i / 3);
        return ByteBuffer(std::move(vby));
    }

    fs::path m_oFolder;
};

TEST_F(EncryptionOracle, ThePasswordAloneIsEnough) {
    const ByteBuffer bbUtf8Password(reinterpret_cast<const BYTE*>("Gr\xC3\xBCn 1"), 7);
    for (const std::size_t c : {0u, 1u, 16u, 100'000u}) {
        KestrixEncryption oObject;
        ByteBuffer bb, bbBack;
        ASSERT_TRUE(oObject.EncryptByteBuffer(Sample(c), VTEXT("Gr\u00FCn 1"), bb));
        EXPECT_EQ(ByteBuffer(Run(bb, "-d -aes-256-cbc -pbkdf2 -pass 'pass:Gr\xC3\xBCn 1'")), Sample(c));
        const ByteBuffer bbTheirs(Run(Sample(c), "-aes-256-cbc -pbkdf2 -pass 'pass:Gr\xC3\xBCn 1'"));
        ASSERT_TRUE(oObject.DecryptByteBuffer(bbTheirs, bbUtf8Password.data(), 7, bbBack));
        EXPECT_EQ(bbBack, Sample(c));
    }
}

TEST_F(EncryptionOracle, OtherRoundsAndBareCiphertextsNeedAnOption) {
    KestrixEncryption oObject;
    ByteBuffer bb, bbKey, bbIv;
    ASSERT_TRUE(oObject.SetKeyDerivationRounds(123));
    ASSERT_TRUE(oObject.EncryptByteBuffer(Sample(50), VTEXT("password"), bb));
    EXPECT_EQ(ByteBuffer(Run(bb, "-d -aes-256-cbc -pbkdf2 -iter 123 -pass pass:password")), Sample(50));
    oObject.SetEmitSaltWithEncryptedData(false);
    ASSERT_TRUE(oObject.SetSalt("\x01\x23\x45\x67\x89\xAB\xCD\xEF", 8));
    ASSERT_TRUE(oObject.EncryptByteBuffer(Sample(50), VTEXT("password"), bb));
    EXPECT_EQ(ByteBuffer(Run(bb, "-d -aes-256-cbc -pbkdf2 -iter 123 -S 0123456789ABCDEF -pass pass:password")),
              Sample(50));
}

TEST_F(EncryptionOracle, BlowfishIsTheirs) {
    BlowFish blowfish;
    const ByteBuffer bbKey = Sample(16);
    ASSERT_TRUE(blowfish.SetPassword(bbKey));
    ByteBuffer bb = Sample(8000);
    ASSERT_TRUE(blowfish.EncryptData(bb));
    const std::string key = vlm::test::ToHex(bbKey.data(), bbKey.size());
    EXPECT_EQ(ByteBuffer(Run(bb, "-d -bf-ecb -nopad -provider legacy -provider default -K " + key)), Sample(8000));
}

}  // namespace

#endif
