/// @file
/// Hexadecimal text, sixteen bytes at a time with what every x86-64 has.
#include "utilities/utilitiesdll/HexText.h"

#include <emmintrin.h>

#include "utilities/utilitiesdll/detail/text/CXStringImpl.h"

namespace {

constexpr std::size_t BLOCK_BYTES = 16;

inline __m128i Load(const void* pSource) noexcept {
    return _mm_loadu_si128(static_cast<const __m128i*>(pSource));
}
inline void Store(void* pTarget, __m128i v) noexcept {
    _mm_storeu_si128(static_cast<__m128i*>(pTarget), v);
}

/// Sixteen values 0 to 15 as ASCII digits; `iLetterGap` is how far the first letter is from where "9" + 1 stands.
inline __m128i Digits(__m128i values, int iLetterGap) noexcept {
    const __m128i letters = _mm_cmpgt_epi8(values, _mm_set1_epi8(9));
    const __m128i gap = _mm_and_si128(letters, _mm_set1_epi8(static_cast<char>(iLetterGap)));
    return _mm_add_epi8(_mm_add_epi8(values, _mm_set1_epi8('0')), gap);
}

/// Lanes that hold a byte from `low` to `high`.
inline __m128i Between(__m128i v, char low, char high) noexcept {
    const __m128i above = _mm_cmpgt_epi8(v, _mm_set1_epi8(static_cast<char>(low - 1)));
    return _mm_and_si128(above, _mm_cmplt_epi8(v, _mm_set1_epi8(static_cast<char>(high + 1))));
}

/// Sixteen units as digit values; `rGood` gets all ones in the lanes of digits.
inline __m128i Values(const XCHAR* pchText, __m128i& rGood) noexcept {
    // Units above 0xFF saturate to 0xFF or 0, which are no digits.
    const __m128i bytes = _mm_packus_epi16(Load(pchText), Load(pchText + 8));
    const __m128i lower = _mm_or_si128(bytes, _mm_set1_epi8(0x20));
    const __m128i digits = Between(bytes, '0', '9');
    const __m128i letters = Between(lower, 'a', 'f');
    rGood = _mm_or_si128(digits, letters);
    const __m128i low = _mm_and_si128(bytes, _mm_set1_epi8(0x0F));
    return _mm_add_epi8(low, _mm_and_si128(letters, _mm_set1_epi8(9)));
}

/// Sixteen digit values as eight bytes, each in the low half of a 16-bit lane.
inline __m128i Pairs(__m128i values) noexcept {
    const __m128i joined = _mm_or_si128(_mm_slli_epi16(values, 4), _mm_srli_epi16(values, 8));
    return _mm_and_si128(joined, _mm_set1_epi16(0xFF));
}

}  // namespace

void HexText::EncodeTo(std::span<const BYTE> data, XCHAR* pchTarget, bool fLowerCase) noexcept {
    const __m128i zero = _mm_setzero_si128();
    const __m128i mask = _mm_set1_epi8(0x0F);
    const int iLetterGap = (fLowerCase ? 'a' : 'A') - '9' - 1;
    std::size_t i = 0;
    for (; data.size() - i >= BLOCK_BYTES; i += BLOCK_BYTES, pchTarget += 2 * BLOCK_BYTES) {
        const __m128i bytes = Load(data.data() + i);
        const __m128i high = Digits(_mm_and_si128(_mm_srli_epi16(bytes, 4), mask), iLetterGap);
        const __m128i low = Digits(_mm_and_si128(bytes, mask), iLetterGap);
        const __m128i front = _mm_unpacklo_epi8(high, low);
        const __m128i back = _mm_unpackhi_epi8(high, low);
        Store(pchTarget, _mm_unpacklo_epi8(front, zero));
        Store(pchTarget + 8, _mm_unpackhi_epi8(front, zero));
        Store(pchTarget + 16, _mm_unpacklo_epi8(back, zero));
        Store(pchTarget + 24, _mm_unpackhi_epi8(back, zero));
    }
    for (; i < data.size(); ++i) {
        *pchTarget++ = DigitOf(data[i] >> 4u, fLowerCase);
        *pchTarget++ = DigitOf(data[i] & 15u, fLowerCase);
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
    constexpr std::size_t BLOCK_UNITS = 2 * BLOCK_BYTES;
    std::size_t u = 0;
    for (; text.size() - u >= BLOCK_UNITS; u += BLOCK_UNITS, pbyTarget += BLOCK_BYTES) {
        __m128i good0;
        __m128i good1;
        const __m128i values0 = Values(text.data() + u, good0);
        const __m128i values1 = Values(text.data() + u + 16, good1);
        // The loop below finds the bad pair.
        if (_mm_movemask_epi8(_mm_and_si128(good0, good1)) != 0xFFFF) break;
        Store(pbyTarget, _mm_packus_epi16(Pairs(values0), Pairs(values1)));
    }
    for (; u + 2 <= text.size(); u += 2) {
        const int iHigh = ValueOf(text[u]);
        const int iLow = ValueOf(text[u + 1]);
        if ((iHigh | iLow) < 0) return u;
        *pbyTarget++ = static_cast<BYTE>(iHigh << 4 | iLow);
    }
    return u;
}
