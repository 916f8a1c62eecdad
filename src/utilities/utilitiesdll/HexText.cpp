/// @file
/// Hexadecimal text.
#include "utilities/utilitiesdll/HexText.h"

#include <array>
#include <cstring>

#include "utilities/utilitiesdll/detail/text/CXStringImpl.h"

namespace {

constexpr BYTE INVALID = 0xFF;

constexpr auto VALUES = [] {
    std::array<BYTE, 256> abyValues{};
    for (unsigned u = 0; u < 256; ++u) {
        const int iValue = HexText::ValueOf(static_cast<XCHAR>(u));
        abyValues[u] = iValue < 0 ? INVALID : static_cast<BYTE>(iValue);
    }
    return abyValues;
}();

/// Both digits of each byte.
template <bool LOWER>
constexpr auto PAIRS = [] {
    std::array<std::array<XCHAR, 2>, 256> aaPairs{};
    for (unsigned u = 0; u < 256; ++u)
        aaPairs[u] = {HexText::DigitOf(u >> 4, LOWER), HexText::DigitOf(u & 15, LOWER)};
    return aaPairs;
}();

constexpr BYTE ValueAt(XCHAR ch) noexcept {
    return ch < 256 ? VALUES[ch] : INVALID;
}

}  // namespace

void HexText::EncodeTo(std::span<const BYTE> data, XCHAR* pchTarget, bool fLowerCase) noexcept {
    const auto& kaaPairs = fLowerCase ? PAIRS<true> : PAIRS<false>;
    for (const BYTE by : data) {
        std::memcpy(pchTarget, kaaPairs[by].data(), 2 * sizeof(XCHAR));
        pchTarget += 2;
    }
}

CXString HexText::Encode(std::span<const BYTE> data, bool fLowerCase) {
    CXString csResult;
    if (data.empty()) return csResult;
    if (data.size() > MemoryPoolAllocatorServices::MAX_UNITS / 2) MemoryPool::RaiseOutOfMemory();
    EncodeTo(data, csResult.GetBufferSetLength(vlm::text::CheckedLength(data.size() * 2)), fLowerCase);
    return csResult;
}

std::size_t HexText::DecodeTo(XStringView text, BYTE* pbyTarget) noexcept {
    std::size_t u = 0;
    for (; u + 2 <= text.size(); u += 2) {
        const BYTE byHigh = ValueAt(text[u]);
        const BYTE byLow = ValueAt(text[u + 1]);
        if ((byHigh | byLow) > 15) return u;  // INVALID has bits above a digit's four
        *pbyTarget++ = static_cast<BYTE>(byHigh << 4 | byLow);
    }
    return u;
}
