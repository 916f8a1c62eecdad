/// @file
/// Base64 text.
#include "utilities/utilitiesdll/Base64.h"

#include <array>

#include "utilities/utilitiesdll/detail/text/CXStringImpl.h"
#include "utilities/utilitiesdll/detail/text/TextKernels.h"

namespace {

constexpr char ALPHABET[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr BYTE INVALID = 0xFF;

constexpr auto VALUES = [] {
    std::array<BYTE, 256> abyValues{};
    abyValues.fill(INVALID);
    for (BYTE by = 0; by < 64; ++by)
        abyValues[static_cast<unsigned char>(ALPHABET[by])] = by;
    return abyValues;
}();

constexpr BYTE ValueOf(XCHAR ch) noexcept {
    return ch < 256 ? VALUES[ch] : INVALID;
}

XCHAR Digit(unsigned uValue) noexcept {
    return static_cast<XCHAR>(ALPHABET[uValue & 63]);
}

bool Refuse(std::vector<BYTE>& rvResult, std::size_t* puBad, std::size_t uIndex) noexcept {
    rvResult.clear();
    if (puBad) *puBad = uIndex;
    return false;
}

}  // namespace

void Base64::EncodeTo(std::span<const BYTE> data, XCHAR* pchTarget) noexcept {
    const BYTE* pby = data.data();
    std::size_t cRest = data.size();
    for (; cRest >= 3; cRest -= 3, pby += 3, pchTarget += 4) {
        const unsigned uBits = static_cast<unsigned>(pby[0]) << 16 | static_cast<unsigned>(pby[1]) << 8 | pby[2];
        pchTarget[0] = Digit(uBits >> 18);
        pchTarget[1] = Digit(uBits >> 12);
        pchTarget[2] = Digit(uBits >> 6);
        pchTarget[3] = Digit(uBits);
    }
    if (cRest == 0) return;
    const unsigned uBits = static_cast<unsigned>(pby[0]) << 16 | (cRest == 2 ? static_cast<unsigned>(pby[1]) << 8 : 0);
    pchTarget[0] = Digit(uBits >> 18);
    pchTarget[1] = Digit(uBits >> 12);
    pchTarget[2] = cRest == 2 ? Digit(uBits >> 6) : XCHAR('=');
    pchTarget[3] = XCHAR('=');
}

CXString Base64::Encode(std::span<const BYTE> data) {
    CXString csResult;
    if (data.empty()) return csResult;
    // Checked before multiplying: a span may be longer than any text.
    if (data.size() > MemoryPoolAllocatorServices::MAX_UNITS) MemoryPool::RaiseOutOfMemory();
    EncodeTo(data, csResult.GetBufferSetLength(vlm::text::CheckedLength(GetEncodedLength(data.size()))));
    return csResult;
}

bool Base64::Decode(XStringView text, std::vector<BYTE>& rvResult, std::size_t* puBad) {
    std::vector<BYTE> vBytes;
    vBytes.reserve(text.size() / 4 * 3 + 3);
    unsigned uBits = 0;
    unsigned cDigits = 0;  // of the group of four that is under way
    unsigned cPadding = 0;
    for (std::size_t u = 0; u < text.size(); ++u) {
        const XCHAR ch = text[u];
        if (vlm::text::IsSpace(ch)) continue;
        if (ch == XCHAR('=')) {
            if (cDigits + cPadding < 2 || cDigits + cPadding > 3) return Refuse(rvResult, puBad, u);
            if (cPadding == 0 && (uBits & (cDigits == 2 ? 0xFu : 0x3u)) != 0) return Refuse(rvResult, puBad, u);
            ++cPadding;
            continue;
        }
        const BYTE byValue = ValueOf(ch);
        if (byValue == INVALID || cPadding > 0) return Refuse(rvResult, puBad, u);
        uBits = uBits << 6 | byValue;
        if (++cDigits == 4) {
            vBytes.push_back(static_cast<BYTE>(uBits >> 16));
            vBytes.push_back(static_cast<BYTE>(uBits >> 8));
            vBytes.push_back(static_cast<BYTE>(uBits));
            uBits = cDigits = 0;
        }
    }
    if (cDigits > 0) {
        if (cDigits + cPadding != 4) return Refuse(rvResult, puBad, text.size());
        if (cDigits == 3) {
            vBytes.push_back(static_cast<BYTE>(uBits >> 10));
            vBytes.push_back(static_cast<BYTE>(uBits >> 2));
        } else {
            vBytes.push_back(static_cast<BYTE>(uBits >> 4));
        }
    }
    rvResult.swap(vBytes);
    return true;
}
