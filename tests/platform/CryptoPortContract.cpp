/// @file
/// The contract of the cryptography.
#include <algorithm>
#include <array>

#include "PortContract.h"
#include "platform/CryptoPort.h"

namespace vlm::test {

namespace {

using Bytes = std::vector<BYTE>;
using Scope = CryptoPort::Scope;
using Parameter = CryptoPort::KeyParameter;

class CryptoPortContract : public PortContract {
protected:
    void SetUp() override {
        PortContract::SetUp();
        m_oFake.crypto.SetMisuseFailsTest(false);
        ASSERT_EQ(Crypto().AcquireProvider(m_hProvider), Status::Success);
    }
    void TearDown() override {
        Crypto().ReleaseProvider(m_hProvider);
        EXPECT_EQ(m_oFake.crypto.OpenHandles(), 0u);
    }

    CryptoPort& Crypto() const { return *Ports().pCrypto; }

    /// SHA-256 of a text, given in two pieces.
    std::string Hash(const std::string& rText, std::size_t cFirst) const {
        HANDLE hHash = nullptr;
        std::array<BYTE, CryptoPort::HASH_BYTES> abyValue{};
        EXPECT_EQ(Crypto().CreateHash(m_hProvider, hHash), Status::Success);
        EXPECT_EQ(Crypto().HashData(hHash, rText.data(), static_cast<DWORD>(cFirst)), Status::Success);
        EXPECT_EQ(Crypto().HashData(hHash, rText.data() + cFirst, static_cast<DWORD>(rText.size() - cFirst)),
                  Status::Success);
        EXPECT_EQ(Crypto().HashValue(hHash, abyValue.data()), Status::Success);
        Crypto().DestroyHash(hHash);
        return ToHex(abyValue.data(), abyValue.size());
    }

    HANDLE ImportKey(const Bytes& rvbyKey, const Bytes& rvbyIv) const {
        Bytes vbyBlob(std::begin(CryptoPort::KEY_BLOB_HEAD), std::end(CryptoPort::KEY_BLOB_HEAD));
        vbyBlob.insert(vbyBlob.end(), rvbyKey.begin(), rvbyKey.end());
        HANDLE hKey = nullptr;
        EXPECT_EQ(Crypto().ImportKey(m_hProvider, vbyBlob.data(), static_cast<DWORD>(vbyBlob.size()), hKey),
                  Status::Success);
        const DWORD dwMode = CryptoPort::MODE_CBC, dwPadding = CryptoPort::PADDING_PKCS5;
        EXPECT_EQ(Crypto().SetKeyParameter(hKey, Parameter::Mode, &dwMode), Status::Success);
        EXPECT_EQ(Crypto().SetKeyParameter(hKey, Parameter::Padding, &dwPadding), Status::Success);
        EXPECT_EQ(Crypto().SetKeyParameter(hKey, Parameter::Iv, rvbyIv.data()), Status::Success);
        return hKey;
    }

    Bytes Encrypt(HANDLE hKey, const Bytes& rvbyData) const {
        DWORD cb = 0;
        const auto cbData = static_cast<DWORD>(rvbyData.size());
        EXPECT_EQ(Crypto().Encrypt(hKey, rvbyData.data(), cbData, nullptr, cb), Status::Success);
        Bytes vbyResult(cb);
        EXPECT_EQ(Crypto().Encrypt(hKey, rvbyData.data(), cbData, vbyResult.data(), cb), Status::Success);
        EXPECT_EQ(cb, vbyResult.size());
        return vbyResult;
    }
    Status Decrypt(HANDLE hKey, Bytes& rvbyData) const {
        DWORD cb = 0;
        // In place, as the other operation is not.
        const Status eStatus =
            Crypto().Decrypt(hKey, rvbyData.data(), static_cast<DWORD>(rvbyData.size()), rvbyData.data(), cb);
        if (eStatus == Status::Success) rvbyData.resize(cb);
        return eStatus;
    }

    Bytes Protect(const Bytes& rvbyData, std::string_view svEntropy, Scope eScope) const {
        BYTE* pby = nullptr;
        DWORD cb = 0;
        EXPECT_EQ(Crypto().Protect(rvbyData.data(), static_cast<DWORD>(rvbyData.size()), svEntropy.data(),
                                   static_cast<DWORD>(svEntropy.size()), eScope, pby, cb),
                  Status::Success);
        const Bytes vbyBlob(pby, pby + cb);
        Crypto().ReleaseBlob(pby, cb);
        return vbyBlob;
    }
    Status Unprotect(const Bytes& rvbyBlob, std::string_view svEntropy, Bytes& rvbyData) const {
        BYTE* pby = nullptr;
        DWORD cb = 0;
        const Status eStatus = Crypto().Unprotect(rvbyBlob.data(), static_cast<DWORD>(rvbyBlob.size()),
                                                  svEntropy.data(), static_cast<DWORD>(svEntropy.size()), pby, cb);
        if (eStatus != Status::Success) return eStatus;
        rvbyData.assign(pby, pby + cb);
        Crypto().ReleaseBlob(pby, cb);
        return Status::Success;
    }

    HANDLE m_hProvider = nullptr;
};

TEST_P(CryptoPortContract, TheHashIsSha256) {
    // FIPS 180-2, appendix B, and the hash of nothing.
    const struct {
        const char* pszText;
        const char* pszHash;
    } aRows[] = {
        {"", "E3B0C44298FC1C149AFBF4C8996FB92427AE41E4649B934CA495991B7852B855"},
        {"abc", "BA7816BF8F01CFEA414140DE5DAE2223B00361A396177A9CB410FF61F20015AD"},
        {"abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq",
         "248D6A61D20638B8E5C026930C3E6039A33CE45964FF2167F6ECEDD419DB06C1"},
    };
    for (const auto& rRow : aRows) {
        const std::string text = rRow.pszText;
        for (std::size_t c = 0; c <= text.size(); ++c)
            EXPECT_EQ(Hash(text, c), rRow.pszHash) << text << " in pieces of " << c;
    }
}

TEST_P(CryptoPortContract, TheCipherIsAes256InCbcMode) {
    // NIST SP 800-38A, F.2.5; the padding's block is of OpenSSL's making.
    const Bytes vbyKey = FromHex("603DEB1015CA71BE2B73AEF0857D7781 1F352C073B6108D72D9810A30914DFF4");
    const Bytes vbyIv = FromHex("000102030405060708090A0B0C0D0E0F");
    const Bytes vbyPlain = FromHex(
        "6BC1BEE22E409F96E93D7E117393172A AE2D8A571E03AC9C9EB76FAC45AF8E51"
        "30C81C46A35CE411E5FBC1191A0A52EF F69F2445DF4F9B17AD2B417BE66C3710");
    const std::string cipher =
        "F58C4C04D6E5F1BA779EABFB5F7BFBD69CFC4E967EDB808D679F777BC6702C7D"
        "39F23369A9D9BACFA530E26304231461B2EB05E2C39BE9FCDA6C19078C6A9D1B";
    const HANDLE hKey = ImportKey(vbyKey, vbyIv);
    for (int i = 0; i < 2; ++i) {  // the IV is the same again
        Bytes vbyCipher = Encrypt(hKey, vbyPlain);
        EXPECT_EQ(vbyCipher.size(), 80u);
        EXPECT_EQ(ToHex(vbyCipher).substr(0, cipher.size()), cipher);
        EXPECT_EQ(Decrypt(hKey, vbyCipher), Status::Success);
        EXPECT_EQ(vbyCipher, vbyPlain);
    }
    for (std::size_t c = 0; c <= 33; ++c) {
        const Bytes vbyShort(vbyPlain.begin(), vbyPlain.begin() + static_cast<std::ptrdiff_t>(c));
        Bytes vby = Encrypt(hKey, vbyShort);
        EXPECT_EQ(vby.size(), (c / 16 + 1) * 16);
        EXPECT_EQ(Decrypt(hKey, vby), Status::Success);
        EXPECT_EQ(vby, vbyShort);
    }
    DWORD cb = 31;
    Bytes vbyRoom(32);
    EXPECT_EQ(Crypto().Encrypt(hKey, vbyPlain.data(), 16, vbyRoom.data(), cb), Status::MoreData);
    Crypto().DestroyKey(hKey);
}

TEST_P(CryptoPortContract, WhatIsNoCiphertextIsBadData) {
    const HANDLE hKey = ImportKey(Bytes(32, 1), Bytes(16, 2));
    for (std::size_t c = 0; c <= 48; ++c) {
        if (c % 16 == 0 && c != 0) continue;
        Bytes vby(c + 1);  // room, as the pointer of an empty vector would be null
        DWORD cb = 77;
        EXPECT_EQ(Crypto().Decrypt(hKey, vby.data(), static_cast<DWORD>(c), vby.data(), cb), Status::BadCryptoData);
        EXPECT_EQ(cb, 77u);
    }
    // Every value of the last byte before the cipher: the padding is wrong but for the true one and, where the byte
    // before it is 2, for 1.
    const Bytes vbyPlain(15, 2);
    const Bytes vbyCipher = Encrypt(hKey, Bytes(31, 2));
    for (unsigned u = 0; u < 256; ++u) {
        Bytes vby = vbyCipher;
        vby[15] = static_cast<BYTE>(vby[15] ^ u);  // flips the same bits in the last byte of the second block
        const unsigned uPadding = 1 ^ u;
        const bool fGood = uPadding == 1 || uPadding == 2;
        EXPECT_EQ(Decrypt(hKey, vby), fGood ? Status::Success : Status::BadCryptoData) << uPadding;
        if (fGood) {
            EXPECT_EQ(vby.size(), 32 - uPadding);
        }
    }
    Crypto().DestroyKey(hKey);
}

TEST_P(CryptoPortContract, OnlyBlobsOfAes256AreKeys) {
    Bytes vbyGood(std::begin(CryptoPort::KEY_BLOB_HEAD), std::end(CryptoPort::KEY_BLOB_HEAD));
    vbyGood.resize(CryptoPort::KEY_BLOB_BYTES);
    const struct {
        std::size_t iByte;
        BYTE byValue;
    } aRows[] = {{0, 1}, {4, 0x11}, {5, 0}, {8, 31}, {8, 33}};
    for (const auto& rRow : aRows) {
        Bytes vby = vbyGood;
        vby[rRow.iByte] = rRow.byValue;
        HANDLE hKey = nullptr;
        EXPECT_NE(Crypto().ImportKey(m_hProvider, vby.data(), static_cast<DWORD>(vby.size()), hKey), Status::Success)
            << rRow.iByte;
        EXPECT_EQ(hKey, nullptr);
    }
    HANDLE hKey = nullptr;
    EXPECT_NE(Crypto().ImportKey(m_hProvider, vbyGood.data(), CryptoPort::KEY_BLOB_BYTES - 1, hKey), Status::Success);
}

TEST_P(CryptoPortContract, RandomBytesFillTheTargetAndDiffer) {
    EXPECT_EQ(Crypto().Random(nullptr, 0), Status::Success);
    // More than a system hands out in one piece; each quarter of it is written.
    std::vector<BYTE> vbyFirst(1024), vbySecond(1024);
    EXPECT_EQ(Crypto().Random(vbyFirst.data(), 1024), Status::Success);
    EXPECT_EQ(Crypto().Random(vbySecond.data(), 1023), Status::Success);
    EXPECT_EQ(vbySecond.back(), 0);
    for (std::size_t c = 0; c < 1024; c += 256)
        EXPECT_FALSE(std::equal(vbyFirst.begin() + static_cast<std::ptrdiff_t>(c),
                                vbyFirst.begin() + static_cast<std::ptrdiff_t>(c) + 255,
                                vbySecond.begin() + static_cast<std::ptrdiff_t>(c)));
}

TEST_P(CryptoPortContract, NullHandlesAreRefused) {
    BYTE aby[64] = {};
    HANDLE h = nullptr;
    DWORD cb = 64;
    EXPECT_NE(Crypto().CreateHash(nullptr, h), Status::Success);
    EXPECT_NE(Crypto().HashData(nullptr, aby, 8), Status::Success);
    EXPECT_NE(Crypto().HashValue(nullptr, aby), Status::Success);
    EXPECT_NE(Crypto().SetKeyParameter(nullptr, Parameter::Iv, aby), Status::Success);
    EXPECT_NE(Crypto().Encrypt(nullptr, aby, 8, aby, cb), Status::Success);
    EXPECT_NE(Crypto().Decrypt(nullptr, aby, 16, aby, cb), Status::Success);
    EXPECT_EQ(h, nullptr);
    EXPECT_EQ(cb, 64u);
    Crypto().ReleaseProvider(nullptr);
    Crypto().DestroyHash(nullptr);
    Crypto().DestroyKey(nullptr);
    Crypto().ReleaseBlob(nullptr, 0);
}

TEST_P(CryptoPortContract, ProtectedDataComesBackOnlyAsItWas) {
    for (const Scope eScope : {Scope::User, Scope::Machine}) {
        for (const Bytes& rvbyData : {BytesOf("a secret"), Bytes(), Bytes(5000, BYTE{7})}) {
            const Bytes vbyBlob = Protect(rvbyData, "entropy", eScope);
            EXPECT_NE(Protect(rvbyData, "entropy", eScope), vbyBlob);
            Bytes vbyBack;
            EXPECT_EQ(Unprotect(vbyBlob, "entropy", vbyBack), Status::Success);
            EXPECT_EQ(vbyBack, rvbyData);
            EXPECT_EQ(Unprotect(vbyBlob, "Entropy", vbyBack), Status::InvalidData);
            EXPECT_EQ(Unprotect(vbyBlob, "", vbyBack), Status::InvalidData);
        }
    }
    Bytes vbyBack = BytesOf("kept");
    const Bytes vbyBlob = Protect(BytesOf("data"), "", Scope::User);
    for (std::size_t i = 0; i < vbyBlob.size(); i += vbyBlob.size() / 24 + 1) {
        Bytes vby = vbyBlob;
        vby[i] ^= 4;
        const Status eStatus = Unprotect(vby, "", vbyBack);
        // A system's blob may hold bytes that it does not look at.
        if (eStatus != Status::Success || IsFake()) {
            EXPECT_EQ(eStatus, Status::InvalidData) << i;
        }
        EXPECT_NE(vbyBack, BytesOf("DATA"));
        vby.assign(vbyBlob.begin(), vbyBlob.begin() + static_cast<std::ptrdiff_t>(i));
        EXPECT_EQ(Unprotect(vby, "", vbyBack), Status::InvalidData) << "cut at " << i;
    }
    EXPECT_EQ(Unprotect(BytesOf("no blob at all, but text that is long enough for one"), "", vbyBack),
              Status::InvalidData);
}

Q9_CONTRACT_SUITE(CryptoPortContract);

}  // namespace

}  // namespace vlm::test
