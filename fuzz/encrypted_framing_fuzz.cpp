/// @file
/// Fuzzes the framing of encrypted data: whatever decrypts encrypts to the same bytes again; whatever does not leaves
/// everything as it was.  Byte 0 chooses switches and password; the rest is the data.
#include <algorithm>

#include "Fuzz.h"
#include "utilities/utilitiesdll/KestrixEncryption.h"

using vlm::test::Require;

namespace {

constexpr BYTE SALT[KestrixEncryption::SALT_BYTES] = {'1', '2', '3', '4', '5', '6', '7', '8'};

/// Encrypts what was decrypted, with the salt that the data had.
void EncryptAgain(const ByteBuffer& kbbData, const ByteBuffer& kbbText, const BYTE* pbyPassword, bool fFramed) {
    KestrixEncryption oWriter;
    oWriter.SetKeyDerivationRounds(1);
    oWriter.SetEmitSaltWithEncryptedData(fFramed);
    Require(oWriter.SetSalt(fFramed ? kbbData.data() + 8 : SALT, KestrixEncryption::SALT_BYTES), "a salt has 8 bytes");
    ByteBuffer bbAgain;
    Require(oWriter.EncryptByteBuffer(kbbText, pbyPassword, 8, bbAgain), "a text encrypts");
    Require(bbAgain == kbbData, "what decrypts encrypts to the same again");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pby, std::size_t cBytes) {
    if (cBytes == 0) return 0;
    const BYTE* const pbyPassword = reinterpret_cast<const BYTE*>((*pby & 4) != 0 ? "password" : "secret 1");
    const bool fUse = (*pby & 1) != 0, fSet = (*pby & 2) != 0;
    const ByteBuffer bbData(pby + 1, cBytes - 1);
    KestrixEncryption oReader;
    oReader.SetKeyDerivationRounds(1);
    oReader.SetUseSaltFromEncryptedData(fUse);
    if (fSet) oReader.SetSalt(SALT, KestrixEncryption::SALT_BYTES);
    ByteBuffer bbText(reinterpret_cast<const BYTE*>("kept"), 4);
    const ByteBuffer bbKept = bbText;
    const bool fFramed = fUse && bbData.size() >= 8 && std::equal(pby + 1, pby + 9, KestrixEncryption::SALT_PREFIX);
    if (oReader.DecryptByteBuffer(bbData, pbyPassword, 8, bbText)) {
        Require(fFramed || fSet, "nothing decrypts without a salt");
        EncryptAgain(bbData, bbText, pbyPassword, fFramed);
    } else {
        Require(bbText == bbKept, "a failure leaves the target alone");
        Require(oReader.GetError() == vlm::ToDword(vlm::Status::BadCryptoData), "all failures are the same");
    }
    // The input as a text, there and back, and with a byte changed on the way.
    ByteBuffer bbThere, bbBack;
    Require(oReader.EncryptByteBuffer(bbData, pbyPassword, 8, bbThere), "any text encrypts");
    oReader.SetUseSaltFromEncryptedData(true);
    Require(oReader.DecryptByteBuffer(bbThere, pbyPassword, 8, bbBack) && bbBack == bbData, "and decrypts");
    const std::size_t uChanged = 8 + *pby % (bbThere.size() - 8);
    bbThere[uChanged] = static_cast<BYTE>(bbThere[uChanged] ^ 0x80);
    Require(!oReader.DecryptByteBuffer(bbThere, pbyPassword, 8, bbBack) || !(bbBack == bbData),
            "changed data does not give the text");
    return 0;
}
