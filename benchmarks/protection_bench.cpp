/// @file
/// AES, key derivation and Blowfish: ours beside OpenSSL.
///
/// AES is OpenSSL's own on the host, so what counts there is ours / peer; peers write into a fresh vector, as ours
/// does. Blowfish is the library's own.
#include <benchmark/benchmark.h>
#include <openssl/evp.h>
#include <openssl/provider.h>

#include <memory>
#include <vector>

#include "utilities/utilitiesdll/Blowfish.h"
#include "utilities/utilitiesdll/KestrixEncryption.h"

namespace {

using Context = std::unique_ptr<EVP_CIPHER_CTX, decltype(&EVP_CIPHER_CTX_free)>;

constexpr char PASSWORD[] = "password";
constexpr BYTE KEY[32] = {1, 2, 3}, IV[16] = {4, 5, 6};

ByteBuffer Data(std::int64_t llBytes) {
    return ByteBuffer(std::vector<BYTE>(static_cast<std::size_t>(llBytes), BYTE{'x'}));
}

void Account(benchmark::State& rState) {
    rState.SetBytesProcessed(static_cast<std::int64_t>(rState.iterations()) * rState.range(0));
}

void Prepare(KestrixEncryption& rObject) {
    rObject.SetKeyDerivationRounds(1);
    rObject.SetSalt("12345678", 8);
    rObject.AES_Initialize(PASSWORD, 8, true, true);
}

void AesEncryptOurs(benchmark::State& rState) {
    KestrixEncryption oObject;
    Prepare(oObject);
    const ByteBuffer bbText = Data(rState.range(0));
    for (auto _ : rState) {
        ByteBuffer bb;
        oObject.AES_Encrypt(bbText, bb);
        benchmark::DoNotOptimize(bb.data());
    }
    Account(rState);
}

void AesDecryptOurs(benchmark::State& rState) {
    KestrixEncryption oObject;
    Prepare(oObject);
    const ByteBuffer bbCipher = oObject.AES_Encrypt(Data(rState.range(0)));
    for (auto _ : rState) {
        ByteBuffer bb;
        oObject.AES_Decrypt(bbCipher, bb);
        benchmark::DoNotOptimize(bb.data());
    }
    Account(rState);
}

/// One context for all; key and IV are set each time, as ours does.
void AesPeer(benchmark::State& rState, bool fEncrypt) {
    const Context apoContext(EVP_CIPHER_CTX_new(), &EVP_CIPHER_CTX_free);
    EVP_CIPHER* const pCipher = EVP_CIPHER_fetch(nullptr, "AES-256-CBC", nullptr);
    const ByteBuffer bbText = Data(rState.range(0));
    const auto run = [&](const BYTE* pby, std::size_t cBytes, bool fDirection) {
        std::vector<BYTE> vby(cBytes + 16);
        int iFirst = 0, iLast = 0;
        EVP_CipherInit_ex2(apoContext.get(), pCipher, KEY, IV, fDirection ? 1 : 0, nullptr);
        EVP_CipherUpdate(apoContext.get(), vby.data(), &iFirst, pby, static_cast<int>(cBytes));
        EVP_CipherFinal_ex(apoContext.get(), vby.data() + iFirst, &iLast);
        vby.resize(static_cast<std::size_t>(iFirst) + static_cast<std::size_t>(iLast));
        return vby;
    };
    const std::vector<BYTE> vbyCipher = run(bbText.data(), bbText.size(), true);
    for (auto _ : rState) {
        const std::vector<BYTE> vby =
            fEncrypt ? run(bbText.data(), bbText.size(), true) : run(vbyCipher.data(), vbyCipher.size(), false);
        benchmark::DoNotOptimize(vby.data());
    }
    EVP_CIPHER_free(pCipher);
    Account(rState);
}

void AesEncryptOpenssl(benchmark::State& rState) {
    AesPeer(rState, true);
}
void AesDecryptOpenssl(benchmark::State& rState) {
    AesPeer(rState, false);
}

void DeriveOurs(benchmark::State& rState) {
    KestrixEncryption oObject;
    Prepare(oObject);
    ByteBuffer bbKey, bbIv;
    for (auto _ : rState)
        oObject.GenerateKeyAndIV(bbKey, bbIv, static_cast<int>(rState.range(0)));
}

void DeriveOpenssl(benchmark::State& rState) {
    BYTE abyResult[48];
    for (auto _ : rState) {
        PKCS5_PBKDF2_HMAC(PASSWORD, 8, reinterpret_cast<const BYTE*>("12345678"), 8, static_cast<int>(rState.range(0)),
                          EVP_sha256(), sizeof abyResult, abyResult);
        benchmark::DoNotOptimize(abyResult);
    }
}

void BlowfishOurs(benchmark::State& rState) {
    BlowFish blowfish;
    blowfish.SetPassword(KEY, 16);
    ByteBuffer bb = Data(rState.range(0));
    for (auto _ : rState) {
        blowfish.EncryptData(bb);
        benchmark::DoNotOptimize(bb.data());
    }
    Account(rState);
}

void BlowfishOpenssl(benchmark::State& rState) {
    OSSL_PROVIDER* const pLegacy = OSSL_PROVIDER_load(nullptr, "legacy");
    OSSL_PROVIDER* const pDefault = OSSL_PROVIDER_load(nullptr, "default");
    const Context apoContext(EVP_CIPHER_CTX_new(), &EVP_CIPHER_CTX_free);
    if (!pLegacy || EVP_EncryptInit_ex(apoContext.get(), EVP_bf_ecb(), nullptr, KEY, nullptr) != 1) {
        rState.SkipWithError("no legacy provider");
        return;
    }
    EVP_CIPHER_CTX_set_padding(apoContext.get(), 0);
    ByteBuffer bb = Data(rState.range(0));
    for (auto _ : rState) {
        int iWritten = 0;
        EVP_EncryptUpdate(apoContext.get(), bb.data(), &iWritten, bb.data(), static_cast<int>(bb.size()));
        benchmark::DoNotOptimize(bb.data());
    }
    Account(rState);
    OSSL_PROVIDER_unload(pDefault);
    OSSL_PROVIDER_unload(pLegacy);
}

void BlowfishSetPassword(benchmark::State& rState) {
    BlowFish blowfish;
    for (auto _ : rState)
        blowfish.SetPassword(KEY, 16);
}

#define Q9_SIZES Arg(32)->Arg(1024)->Arg(1 << 20)
BENCHMARK(AesEncryptOpenssl)->Q9_SIZES;
BENCHMARK(AesEncryptOurs)->Q9_SIZES;
BENCHMARK(AesDecryptOpenssl)->Q9_SIZES;
BENCHMARK(AesDecryptOurs)->Q9_SIZES;
BENCHMARK(DeriveOpenssl)->Arg(1)->Arg(1000)->Arg(10000);
BENCHMARK(DeriveOurs)->Arg(1)->Arg(1000)->Arg(10000);
BENCHMARK(BlowfishOpenssl)->Q9_SIZES;
BENCHMARK(BlowfishOurs)->Q9_SIZES;
BENCHMARK(BlowfishSetPassword);

}  // namespace
