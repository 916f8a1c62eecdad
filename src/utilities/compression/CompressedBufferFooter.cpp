/// @file
/// The footer of a compressed buffer's state: written in the current form, read in all three.
#include <algorithm>

#include "utilities/compression/CompressedBuffer.h"
#include "utilities/debuggingandexceptions/RaiseMacros.h"

/// One form of the footer.  What it does not hold stays at the defaults of FooterInfo.
struct CompressedBuffer::FooterVersion {
    const char* pszSignature;
    const XCHAR* pszName;      ///< as "The signature matches" names it
    const XCHAR* pszMismatch;  ///< message for a byte that differs
    DWORD dwSize;
    int iFormatOffset;  ///< -1: not held
    int iLevelOffset;   ///< -1: not held
    int iSizeOffset;
};

namespace {

constexpr DWORD SIGNATURE_SIZE = 4;

constexpr DWORD GetBigEndian(const BYTE* pby) {
    return (static_cast<DWORD>(pby[0]) << 24) | (static_cast<DWORD>(pby[1]) << 16) | (static_cast<DWORD>(pby[2]) << 8) |
           pby[3];
}

void AppendBigEndian(ByteBuffer& rbbTarget, DWORD dwValue) {
    for (int iShift = 24; iShift >= 0; iShift -= 8)
        rbbTarget.appendByte(static_cast<BYTE>(dwValue >> iShift));
}

/// A byte of unknown data as a character that a message can carry.
XCHAR Printable(BYTE by) {
    return by >= 0x20 && by < 0x7F ? static_cast<XCHAR>(by) : VTEXT('.');
}

}  // namespace

void CompressedBuffer::AddFooterInfo(ByteBuffer& rbbState, DWORD dwOriginalSize, LONG lLevel,
                                     CompressionFormatEnum eFormat) {
    rbbState.reserve(rbbState.size() + FOOTER_SIZE);
    VLM_REPORT(DebugCategory::Compress,
               VTEXT("adding the compression format after the compressed data in the buffer."));
    rbbState.appendByte(static_cast<BYTE>(eFormat));
    VLM_REPORT(DebugCategory::Compress,
               VTEXT("adding the compression level after the compression format in the buffer."));
    AppendBigEndian(rbbState, static_cast<DWORD>(lLevel));
    VLM_REPORT(DebugCategory::Compress, VTEXT("adding the original size after the compression level in the buffer."));
    AppendBigEndian(rbbState, dwOriginalSize);
    VLM_REPORT(DebugCategory::Compress, VTEXT("Adding the signature bytes to the end of the buffer."));
    for (DWORD dw = 0; dw < SIGNATURE_SIZE; ++dw)
        rbbState.appendByte(static_cast<BYTE>(SIGNATURE[dw]));
}

bool CompressedBuffer::GetFooterInfo(const ByteBuffer& kbbState, bool fThrow, FooterInfo& rInfo) {
    static constexpr FooterVersion VERSIONS[] = {
        {SIGNATURE, VTEXT("Current"),
         VTEXT("Current version signature mismatch. Byte in buffer ('%c') doesn't match expected byte #%d ('%c') in "
               "current signature."),
         FOOTER_SIZE, 0, 1, 5},
        {SIGNATURE_V40, VTEXT("v4.0"),
         VTEXT("Version 4.0 signature mismatch. Byte in buffer ('%c') doesn't match expected byte #%d ('%c') in v4.0 "
               "signature."),
         FOOTER_SIZE_V40, -1, 0, 4},
        {SIGNATURE_V37, VTEXT("v3.7"),
         VTEXT("Version 3.7 signature mismatch. Byte in buffer ('%c') doesn't match expected byte #%d ('%c') in v3.7 "
               "signature."),
         FOOTER_SIZE_V37, -1, -1, 0},
    };

    VLM_REPORT(DebugCategory::Compress, VTEXT("Checking for valid signature bytes at the end of the buffer."));
    for (const FooterVersion& rVersion : VERSIONS) {
        if (kbbState.size() < rVersion.dwSize || !IsSignatureAtEnd(kbbState, rVersion)) continue;
        ReadFooter(kbbState, rVersion, rInfo);
        return true;
    }

    const std::size_t cTail = std::min<std::size_t>(kbbState.size(), SIGNATURE_SIZE);
    const CXString csTail = ByteBuffer(kbbState.data() + (kbbState.size() - cTail), cTail).getAsHexBinaryString();
    static constexpr const XCHAR* TEXT = VTEXT(
        "Footer information missing (buffer is %ld bytes versus footer size of %ld, %ld, or %ld) OR signature "
        "bytes were invalid (%s). CompressedBuffer ByteBuffer is invalid!");
    if (fThrow) {
        VLM_THROW(ExceptionMissingOrBadCompressedBufferFooter, TEXT, kbbState.GetLength(), FOOTER_SIZE, FOOTER_SIZE_V40,
                  FOOTER_SIZE_V37, csTail);
    }
    VLM_REPORT(DebugCategory::Compress, TEXT, kbbState.GetLength(), FOOTER_SIZE, FOOTER_SIZE_V40, FOOTER_SIZE_V37,
               csTail);
    return false;
}

/// Compares the last four bytes in order, up to the first that differs.
bool CompressedBuffer::IsSignatureAtEnd(const ByteBuffer& kbbState, const FooterVersion& rVersion) {
    const BYTE* const pbyTail = kbbState.data() + (kbbState.size() - SIGNATURE_SIZE);
    for (DWORD dw = 0; dw < SIGNATURE_SIZE; ++dw) {
        const BYTE byExpected = static_cast<BYTE>(rVersion.pszSignature[dw]);
        if (pbyTail[dw] == byExpected) continue;
        VLM_REPORT(DebugCategory::Compress, rVersion.pszMismatch, Printable(pbyTail[dw]), static_cast<int>(dw + 1),
                   Printable(byExpected));
        return false;
    }
    return true;
}

void CompressedBuffer::ReadFooter(const ByteBuffer& kbbState, const FooterVersion& rVersion, FooterInfo& rInfo) {
    const BYTE* const pbyFooter = kbbState.data() + (kbbState.size() - rVersion.dwSize);
    rInfo = FooterInfo{};
    rInfo.dwFooterSize = rVersion.dwSize;
    VLM_REPORT(DebugCategory::Compress, VTEXT("The signature matches %s"), rVersion.pszName);

    rInfo.dwOriginalSize = GetBigEndian(pbyFooter + rVersion.iSizeOffset);
    VLM_REPORT(DebugCategory::Compress, VTEXT("Retrieved an original data size of %ld."), rInfo.dwOriginalSize);
    if (rVersion.iLevelOffset >= 0) {
        rInfo.lLevel = static_cast<LONG>(GetBigEndian(pbyFooter + rVersion.iLevelOffset));
        VLM_REPORT(DebugCategory::Compress, VTEXT("Retrieved a compression level of %ld."), rInfo.lLevel);
    } else {
        VLM_REPORT(
            DebugCategory::Compress,
            VTEXT("This is an older version footer (%s) or the buffer (%ld bytes) is not big enough (%ld bytes). "
                  "Use default compression level."),
            rVersion.pszName, kbbState.GetLength(), FOOTER_SIZE_V40);
    }
    if (rVersion.iFormatOffset >= 0) {
        rInfo.eFormat = static_cast<CompressionFormatEnum>(pbyFooter[rVersion.iFormatOffset]);
        VLM_REPORT(DebugCategory::Compress, VTEXT("Retrieved a compression format of %d."),
                   static_cast<int>(rInfo.eFormat));
    } else {
        VLM_REPORT(
            DebugCategory::Compress,
            VTEXT("This is an older version footer (%s) or the buffer (%ld bytes) is not big enough (%ld bytes). "
                  "Use default compression format."),
            rVersion.pszName, kbbState.GetLength(), FOOTER_SIZE);
    }
}
