/// @file
/// Base64 text.
#include "utilities/utilitiesdll/Base64.h"

#include <array>

#include "utilities/utilitiesdll/detail/text/CXStringImpl.h"
#include "utilities/utilitiesdll/detail/text/TextKernels.h"

#if defined(__x86_64__) && defined(__GNUC__)
#define VLM_BASE64_SSSE3
#include <immintrin.h>
#endif

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

#ifdef VLM_BASE64_SSSE3

/// Encodes twelve bytes at a time.  @return bytes encoded; the rest is shorter than a load of sixteen.
__attribute__((target("ssse3"))) std::size_t EncodeTwelves(const BYTE* pby, std::size_t cBytes,
                                                           XCHAR* pchTarget) noexcept {
    const __m128i spread = _mm_setr_epi8(1, 0, 2, 1, 4, 3, 5, 4, 7, 6, 8, 7, 10, 9, 11, 10);
    // What to add to a value, by its range: a to z, the ten numbers, plus, slash, A to Z.
    const __m128i offsets = _mm_setr_epi8('a' - 26, '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52,
                                          '0' - 52, '0' - 52, '0' - 52, '0' - 52, '+' - 62, '/' - 63, 'A', 0, 0);
    const __m128i zero = _mm_setzero_si128();
    std::size_t u = 0;
    for (; u + 16 <= cBytes; u += 12, pchTarget += 16) {
        const __m128i bytes = _mm_shuffle_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(pby + u)), spread);
        // Multiplications shift the four groups of six bits of each lane to their bytes.
        const __m128i outer =
            _mm_mulhi_epu16(_mm_and_si128(bytes, _mm_set1_epi32(0x0FC0FC00)), _mm_set1_epi32(0x04000040));
        const __m128i inner =
            _mm_mullo_epi16(_mm_and_si128(bytes, _mm_set1_epi32(0x003F03F0)), _mm_set1_epi32(0x01000010));
        const __m128i values = _mm_or_si128(outer, inner);
        const __m128i small = _mm_cmpgt_epi8(_mm_set1_epi8(26), values);
        const __m128i range =
            _mm_or_si128(_mm_subs_epu8(values, _mm_set1_epi8(51)), _mm_and_si128(small, _mm_set1_epi8(13)));
        const __m128i digits = _mm_add_epi8(_mm_shuffle_epi8(offsets, range), values);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(pchTarget), _mm_unpacklo_epi8(digits, zero));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(pchTarget + 8), _mm_unpackhi_epi8(digits, zero));
    }
    return u;
}

#endif

bool Refuse(std::vector<BYTE>& rvResult, std::size_t* puBad, std::size_t uIndex) noexcept {
    rvResult.clear();
    if (puBad) *puBad = uIndex;
    return false;
}

}  // namespace

void Base64::EncodeTo(std::span<const BYTE> data, XCHAR* pchTarget) noexcept {
    const BYTE* pby = data.data();
    std::size_t cRest = data.size();
#ifdef VLM_BASE64_SSSE3
    if (cRest >= 16 && __builtin_cpu_supports("ssse3")) {
        const std::size_t cEncoded = EncodeTwelves(pby, cRest, pchTarget);
        pby += cEncoded;
        pchTarget += cEncoded / 3 * 4;
        cRest -= cEncoded;
    }
#endif
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
    std::vector<BYTE> vBytes(text.size() / 4 * 3 + 3);
    BYTE* pby = vBytes.data();
    unsigned uBits = 0;
    unsigned cDigits = 0;  // of the group of four that is under way
    unsigned cPadding = 0;
    const auto putGroup = [&] {
        *pby++ = static_cast<BYTE>(uBits >> 16);
        *pby++ = static_cast<BYTE>(uBits >> 8);
        *pby++ = static_cast<BYTE>(uBits);
        uBits = cDigits = 0;
    };
    for (std::size_t u = 0; u < text.size(); ++u) {
        while (cDigits == 0 && cPadding == 0 && u + 4 <= text.size()) {  // whole groups of digits
            const BYTE by0 = ValueOf(text[u]), by1 = ValueOf(text[u + 1]), by2 = ValueOf(text[u + 2]),
                       by3 = ValueOf(text[u + 3]);
            if ((by0 | by1 | by2 | by3) > 63) break;
            uBits = static_cast<unsigned>(by0) << 18 | static_cast<unsigned>(by1) << 12 |
                    static_cast<unsigned>(by2) << 6 | by3;
            putGroup();
            u += 4;
        }
        if (u == text.size()) break;
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
        if (++cDigits == 4) putGroup();
    }
    if (cDigits > 0) {
        if (cDigits + cPadding != 4) return Refuse(rvResult, puBad, text.size());
        uBits <<= cDigits == 3 ? 6 : 12;
        *pby++ = static_cast<BYTE>(uBits >> 16);
        if (cDigits == 3) *pby++ = static_cast<BYTE>(uBits >> 8);
    }
    vBytes.resize(static_cast<std::size_t>(pby - vBytes.data()));
    rvResult.swap(vBytes);
    return true;
}
