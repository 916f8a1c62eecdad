/// @file
/// A file that cannot be read at a glance.
#include "utilities/utilitiesdll/simplefilewithencryption.h"

#include "utilities/debuggingandexceptions/RaiseMacros.h"
#include "utilities/utilitiesdll/KestrixEncryption.h"
#include "utilities/utilitiesdll/detail/protection/Secret.h"

namespace {

/// A text that is overwritten when it goes; it must be no other string's as well.
class SecretText {
public:
    explicit SecretText(CXString&& rcsText) noexcept : m_csText(std::move(rcsText)) {}
    ~SecretText() {
        const int iLength = m_csText.GetLength();
        if (iLength > 0) vlm::WipeMemory(m_csText.GetLpwstrForReadingOnly(), sizeof(XCHAR) * iLength);
    }
    SecretText(const SecretText&) = delete;
    SecretText& operator=(const SecretText&) = delete;
    const CXString& Get() const noexcept { return m_csText; }

private:
    CXString m_csText;
};

}  // namespace

SimpleFileWithEncryption::SimpleFileWithEncryption(const CXString& kcsFileName, _SimpleFileWithEncryptionEnum eMethod)
    : SimpleFile(kcsFileName), m_eMethod(eMethod) {}
SimpleFileWithEncryption::~SimpleFileWithEncryption() = default;

/// Deliberate: no part of the key stands in the program as text.
CXString SimpleFileWithEncryption::GenerateKey() {
    constexpr int KEY_UNITS = 43;
    constexpr DWORD SYMBOLS = 62;
    CXString csKey;
    XCHAR* const pchKey = csKey.GetBufferSetLength(KEY_UNITS);
    DWORD dwState = 0x4B78A2D1;
    for (int i = 0; i < KEY_UNITS; ++i) {
        dwState = (dwState ^ dwState >> 15) * 0x2C1B3C6D + static_cast<DWORD>(i);
        const DWORD dwSymbol = (dwState >> 8) % SYMBOLS;
        pchKey[i] = static_cast<XCHAR>(dwSymbol < 10   ? '0' + dwSymbol
                                       : dwSymbol < 36 ? 'A' + dwSymbol - 10
                                                       : 'a' + dwSymbol - 36);
    }
    return csKey;
}

int SimpleFileWithEncryption::Rounds() const noexcept {
    return m_eMethod == SFE_WINCRYPT ? 1 : KestrixEncryption::DEFAULT_ROUNDS;
}

ByteBuffer SimpleFileWithEncryption::EncodeContents(const ByteBuffer& kbbData) const {
    KestrixEncryption encryption;
    encryption.SetKeyDerivationRounds(Rounds());
    const SecretText key(GenerateKey());
    ByteBuffer bbContents;
    if (!encryption.EncryptByteBuffer(kbbData, key.Get(), bbContents)) {
        VLM_THROW(ExceptionWriteFile, VTEXT("Unable to encrypt %s."), GetFileName());
    }
    return bbContents;
}

void SimpleFileWithEncryption::DecodeContents(ByteBuffer& rbbContents) const {
    KestrixEncryption encryption;
    encryption.SetKeyDerivationRounds(Rounds());
    const SecretText key(GenerateKey());
    if (!encryption.DecryptByteBuffer(rbbContents, key.Get(), rbbContents)) {
        VLM_THROW(ExceptionReadFile, VTEXT("Unable to decrypt %s."), GetFileName());
    }
}

void SimpleFileWithEncryption::ReadTheFile(ByteBuffer& rbbData, DWORD dwSizeLimit) const {
    ByteBuffer bbContents;
    SimpleFile::ReadTheFile(bbContents, dwSizeLimit);
    DecodeContents(bbContents);
    rbbData.swap(bbContents);
}

void SimpleFileWithEncryption::WriteTheFile(const ByteBuffer& kbbData, FileAttributeActionEnum eAction) const {
    SimpleFile::WriteTheFile(EncodeContents(kbbData), eAction);
}

void SimpleFileWithEncryption::ReadFromTheFile(ULONGLONG, DWORD, ReadSharingEnum, ByteBuffer&) const {
    VLM_THROW(ExceptionReadFile, VTEXT("Coding error: Random access via ReadFromTheFile() is not supported by "
                                       "SimpleFileWithEncryption using OpenSSL or WinCrypt encryption."));
}

void SimpleFileWithEncryption::WriteToTheFile(ULONGLONG, DWORD, MissingFileEnum, const BYTE*,
                                              FileAttributeActionEnum) const {
    // Deliberate: two blanks after "via".
    VLM_THROW(ExceptionWriteFile, VTEXT("Coding error: Random access via  WriteToTheFile() is not supported by "
                                        "SimpleFileWithEncryption using OpenSSL or WinCrypt encryption."));
}
