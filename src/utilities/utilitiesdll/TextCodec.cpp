/// @file
/// UTF-8 to and from UTF-16.
#include "utilities/utilitiesdll/TextCodec.h"

#include <emmintrin.h>

#include <algorithm>
#include <bit>

#include "utilities/utilitiesdll/detail/text/CXStringImpl.h"
#include "utilities/utilitiesdll/detail/text/NarrowText.h"
#include "utilities/utilitiesdll/detail/text/TextKernels.h"

namespace {

using vlm::text::IsHighSurrogate;
using vlm::text::IsLowSurrogate;

constexpr XCHAR REPLACEMENT = 0xFFFD;

/// Units converted on the stack at a time.
constexpr std::size_t SMALL = 512;

/// Widens a run of ASCII, a few bytes more than it is long if the target has room for them.  @return its length.
std::size_t WidenRun(const unsigned char* pby, std::size_t cBytes, XCHAR* pchTarget) noexcept {
    std::size_t u = 0;
    const __m128i zero = _mm_setzero_si128();
    for (; u + 16 <= cBytes; u += 16) {
        const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(pby + u));
        const unsigned uHigh = static_cast<unsigned>(_mm_movemask_epi8(bytes));
        // The target has as many units left as the source has bytes, so both stores stay inside it.
        _mm_storeu_si128(reinterpret_cast<__m128i*>(pchTarget + u), _mm_unpacklo_epi8(bytes, zero));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(pchTarget + u + 8), _mm_unpackhi_epi8(bytes, zero));
        if (uHigh) return u + static_cast<std::size_t>(std::countr_zero(uHigh));
    }
    for (; u < cBytes && pby[u] < 0x80; ++u)
        pchTarget[u] = pby[u];
    return u;
}

/// Narrows ASCII at the start of a text, sixteen units at a time and once eight.  @return how many units.
std::size_t NarrowRun(const XCHAR* pchText, std::size_t cUnits, char* pchTarget) noexcept {
    const auto load = [&](std::size_t u) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(pchText + u)); };
    const auto isAscii = [](__m128i units) {
        const __m128i high = _mm_and_si128(units, _mm_set1_epi16(static_cast<short>(0xFF80)));
        return _mm_movemask_epi8(_mm_cmpeq_epi16(high, _mm_setzero_si128())) == 0xFFFF;
    };
    std::size_t u = 0;
    for (; u + 16 <= cUnits; u += 16) {
        const __m128i low = load(u), high = load(u + 8);
        if (!isAscii(_mm_or_si128(low, high))) break;
        _mm_storeu_si128(reinterpret_cast<__m128i*>(pchTarget + u), _mm_packus_epi16(low, high));
    }
    if (u + 8 <= cUnits && isAscii(load(u))) {
        _mm_storel_epi64(reinterpret_cast<__m128i*>(pchTarget + u), _mm_packus_epi16(load(u), load(u)));
        u += 8;
    }
    return u;
}

char* PutThree(char* pch, XCHAR ch) noexcept {
    *pch++ = static_cast<char>(0xE0 | ch >> 12);
    *pch++ = static_cast<char>(0x80 | (ch >> 6 & 0x3F));
    *pch++ = static_cast<char>(0x80 | (ch & 0x3F));
    return pch;
}

/// A sequence of two to four bytes, or what is wrong with it.
struct Sequence {
    unsigned m_uLength;  ///< bytes; of an ill-formed one, its maximal part
    char32_t m_chValue;
    bool m_bGood;
};

constexpr bool IsTail(unsigned char by) noexcept {
    return (by & 0xC0) == 0x80;
}

/// Reads the sequence at a byte of 0x80 or above; the ranges are those of the Unicode standard's table of well-formed
/// sequences.
Sequence ReadSequence(const unsigned char* pby, std::size_t cBytes, bool bSurrogates) noexcept {
    const unsigned char byLead = pby[0];
    if (byLead >= 0xC2 && byLead <= 0xDF) {
        if (cBytes < 2 || !IsTail(pby[1])) return {1, 0, false};
        return {2, static_cast<char32_t>((byLead & 0x1Fu) << 6 | (pby[1] & 0x3Fu)), true};
    }
    if (byLead >= 0xE0 && byLead <= 0xEF) {
        const unsigned char byLow = byLead == 0xE0 ? 0xA0 : 0x80;
        const unsigned char byHigh = byLead == 0xED && !bSurrogates ? 0x9F : 0xBF;
        if (cBytes < 2 || pby[1] < byLow || pby[1] > byHigh) return {1, 0, false};
        if (cBytes < 3 || !IsTail(pby[2])) return {2, 0, false};
        return {3, static_cast<char32_t>((byLead & 0x0Fu) << 12 | (pby[1] & 0x3Fu) << 6 | (pby[2] & 0x3Fu)), true};
    }
    if (byLead >= 0xF0 && byLead <= 0xF4) {
        const unsigned char byLow = byLead == 0xF0 ? 0x90 : 0x80;
        const unsigned char byHigh = byLead == 0xF4 ? 0x8F : 0xBF;
        if (cBytes < 2 || pby[1] < byLow || pby[1] > byHigh) return {1, 0, false};
        if (cBytes < 3 || !IsTail(pby[2])) return {2, 0, false};
        if (cBytes < 4 || !IsTail(pby[3])) return {3, 0, false};
        return {4,
                static_cast<char32_t>((byLead & 0x07u) << 18 | (pby[1] & 0x3Fu) << 12 | (pby[2] & 0x3Fu) << 6 |
                                      (pby[3] & 0x3Fu)),
                true};
    }
    return {1, 0, false};
}

}  // namespace

TextCodecResult TextCodec::DecodeUtf8(std::string_view bytes, XCHAR* pchTarget, TextCodecRule eRule) noexcept {
    const unsigned char* const pby = reinterpret_cast<const unsigned char*>(bytes.data());
    const std::size_t cBytes = bytes.size();
    const bool bSurrogates = eRule == TCR_KEEP_SURROGATES;
    std::size_t u = 0;
    XCHAR* pch = pchTarget;
    while (u < cBytes) {
        const unsigned char byLead = pby[u];
        if (byLead < 0x80) {
            // A lone blank between words is the usual run: the wide loop starts with the second unit in a row.
            *pch++ = byLead;
            if (++u == cBytes || pby[u] >= 0x80) continue;
            const std::size_t cRun = WidenRun(pby + u, cBytes - u, pch);
            u += cRun;
            pch += cRun;
            continue;
        }
        // The two usual shapes first; whatever is not plainly one of them goes the long way.
        if (byLead >= 0xC2 && byLead < 0xE0 && u + 2 <= cBytes && IsTail(pby[u + 1])) {
            *pch++ = static_cast<XCHAR>((byLead & 0x1F) << 6 | (pby[u + 1] & 0x3F));
            u += 2;
            continue;
        }
        if (byLead > 0xE0 && byLead < 0xED && u + 3 <= cBytes && IsTail(pby[u + 1]) && IsTail(pby[u + 2])) {
            *pch++ = static_cast<XCHAR>((byLead & 0x0F) << 12 | (pby[u + 1] & 0x3F) << 6 | (pby[u + 2] & 0x3F));
            u += 3;
            continue;
        }
        const Sequence oSequence = ReadSequence(pby + u, cBytes - u, bSurrogates);
        bool bGood = oSequence.m_bGood;
        if (bGood && oSequence.m_chValue >= 0x10000) {
            const char32_t chRest = oSequence.m_chValue - 0x10000;
            *pch++ = static_cast<XCHAR>(0xD800 + (chRest >> 10));
            *pch++ = static_cast<XCHAR>(0xDC00 + (chRest & 0x3FF));
        } else {
            // Two kept halves in a row must have been written as one sequence of four bytes.
            if (bSurrogates && bGood && IsLowSurrogate(static_cast<XCHAR>(oSequence.m_chValue)) && pch != pchTarget &&
                IsHighSurrogate(pch[-1])) {
                bGood = false;
            }
            if (!bGood && eRule != TCR_REPLACE) return {u, static_cast<std::size_t>(pch - pchTarget), false};
            *pch++ = bGood ? static_cast<XCHAR>(oSequence.m_chValue) : REPLACEMENT;
        }
        u += oSequence.m_uLength;
    }
    return {u, static_cast<std::size_t>(pch - pchTarget), true};
}

TextCodecResult TextCodec::EncodeUtf8(XStringView text, char* pchTarget, TextCodecRule eRule) noexcept {
    const XCHAR* const pchText = text.data();
    const std::size_t cUnits = text.size();
    std::size_t u = 0;
    char* pch = pchTarget;
    while (u < cUnits) {
        const std::size_t cRun = NarrowRun(pchText + u, cUnits - u, pch);
        u += cRun;
        pch += cRun;
        // Eight units one by one before the next try with all at once.
        for (const std::size_t uEnd = std::min(u + 8, cUnits); u < uEnd;) {
            const XCHAR ch = pchText[u];
            if (ch < 0x80) {
                *pch++ = static_cast<char>(ch);
                ++u;
            } else if (ch < 0x800) {
                *pch++ = static_cast<char>(0xC0 | ch >> 6);
                *pch++ = static_cast<char>(0x80 | (ch & 0x3F));
                ++u;
            } else if ((ch & 0xF800) != 0xD800) {
                pch = PutThree(pch, ch);
                ++u;
            } else if (IsHighSurrogate(ch) && u + 1 < cUnits && IsLowSurrogate(pchText[u + 1])) {
                const char32_t chValue = 0x10000 + ((static_cast<char32_t>(ch) & 0x3FF) << 10 |
                                                    (static_cast<char32_t>(pchText[u + 1]) & 0x3FF));
                *pch++ = static_cast<char>(0xF0 | chValue >> 18);
                *pch++ = static_cast<char>(0x80 | (chValue >> 12 & 0x3F));
                *pch++ = static_cast<char>(0x80 | (chValue >> 6 & 0x3F));
                *pch++ = static_cast<char>(0x80 | (chValue & 0x3F));
                u += 2;
            } else {
                if (eRule == TCR_STRICT) return {u, static_cast<std::size_t>(pch - pchTarget), false};
                pch = PutThree(pch, eRule == TCR_REPLACE ? REPLACEMENT : ch);
                ++u;
            }
        }
    }
    return {u, static_cast<std::size_t>(pch - pchTarget), true};
}

bool TextCodec::Utf8ToUtf16(std::string_view bytes, CXString& rcsResult, TextCodecRule eRule, std::size_t* puBad) {
    XCHAR achSmall[SMALL];
    CXString csLarge;
    XCHAR* const pchBuffer =
        bytes.size() <= SMALL ? achSmall : csLarge.GetBuffer(vlm::text::CheckedLength(bytes.size()));
    const TextCodecResult oResult = DecodeUtf8(bytes, pchBuffer, eRule);
    if (!oResult.m_bOk) {
        if (puBad) *puBad = oResult.m_cRead;
        rcsResult.Empty();
        return false;
    }
    if (pchBuffer == achSmall) {
        rcsResult = XStringView(achSmall, oResult.m_cWritten);
    } else {
        csLarge.ReleaseBuffer(static_cast<int>(oResult.m_cWritten));
        csLarge.FreeExtra();
        rcsResult = csLarge;
    }
    return true;
}

bool TextCodec::Utf16ToUtf8(XStringView text, std::string& rstrResult, TextCodecRule eRule, std::size_t* puBad) {
    std::string strResult;
    strResult.reserve(text.size());
    constexpr std::size_t PART = 4 * SMALL;  // every part costs the string a call
    char achPart[PART * 3];
    for (std::size_t u = 0; u < text.size();) {
        const XStringView part = CutAtCharacter(text.substr(u), PART);
        const TextCodecResult oResult = EncodeUtf8(part, achPart, eRule);
        if (!oResult.m_bOk) {
            if (puBad) *puBad = u + oResult.m_cRead;
            rstrResult.clear();
            return false;
        }
        strResult.append(achPart, oResult.m_cWritten);
        u += part.size();
    }
    rstrResult.swap(strResult);
    return true;
}

CXString TextCodec::Utf8ToUtf16(std::string_view bytes) {
    CXString csResult;
    Utf8ToUtf16(bytes, csResult, TCR_REPLACE);
    return csResult;
}

std::string TextCodec::Utf16ToUtf8(XStringView text) {
    std::string strResult;
    Utf16ToUtf8(text, strResult, TCR_REPLACE);
    return strResult;
}

bool TextCodec::IsWellFormed(XStringView text) noexcept {
    for (std::size_t u = 0; u < text.size(); ++u) {
        if ((text[u] & 0xF800) != 0xD800) continue;
        if (!IsHighSurrogate(text[u]) || u + 1 == text.size() || !IsLowSurrogate(text[u + 1])) return false;
        ++u;
    }
    return true;
}

bool TextCodec::IsWellFormedUtf8(std::string_view bytes) noexcept {
    const unsigned char* const pby = reinterpret_cast<const unsigned char*>(bytes.data());
    std::size_t u = 0;
    while (u < bytes.size()) {
        u += vlm::text::CountAscii(bytes.data() + u, bytes.size() - u);
        if (u == bytes.size()) break;
        const Sequence oSequence = ReadSequence(pby + u, bytes.size() - u, false);
        if (!oSequence.m_bGood) return false;
        u += oSequence.m_uLength;
    }
    return true;
}

XStringView TextCodec::CutAtCharacter(XStringView text, std::size_t cMost) noexcept {
    if (text.size() <= cMost) return text;
    if (cMost > 0 && IsHighSurrogate(text[cMost - 1]) && IsLowSurrogate(text[cMost])) --cMost;
    return text.substr(0, cMost);
}
