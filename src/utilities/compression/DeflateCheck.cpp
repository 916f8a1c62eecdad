/// @file
/// Proves that a raw deflate stream (RFC 1951) is well formed, without keeping what it expands to.
#include "utilities/compression/DeflateCheck.h"

#include <algorithm>

namespace vlm {

namespace {

// What a symbol means, in one word: the low 4 bits take the length of its code once it is known (0: not in the table),
// then 4 bits for the number of extra bits, 8 bits for the kind, and 16 bits for the size or the distance to start
// from.
enum Kind : std::uint32_t { KIND_NOTHING = 0, KIND_LITERAL = 1, KIND_MATCH = 2, KIND_END = 3 };

constexpr std::uint32_t Meaning(Kind eKind, unsigned uBase, unsigned cExtra) {
    return (uBase << 16) | (static_cast<std::uint32_t>(eKind) << 8) | (cExtra << 4);
}
constexpr unsigned CodeLength(std::uint32_t dwMeaning) {
    return dwMeaning & 15;
}
constexpr unsigned ExtraBits(std::uint32_t dwMeaning) {
    return (dwMeaning >> 4) & 15;
}
constexpr Kind KindOf(std::uint32_t dwMeaning) {
    return static_cast<Kind>((dwMeaning >> 8) & 255);
}
constexpr unsigned Base(std::uint32_t dwMeaning) {
    return dwMeaning >> 16;
}

constexpr std::size_t SYMBOL_END = 256;
constexpr std::size_t MOST_LITERALS = 286;
constexpr std::size_t MOST_DISTANCES = 30;

/// RFC 1951 section 3.2.5: symbols 257 to 285, from size 3, four symbols for each number of extra bits but the first
/// eight and the last.
constexpr std::array<std::uint32_t, 288> MakeLiteralMeanings() {
    std::array<std::uint32_t, 288> adwMeaning{};
    for (std::size_t i = 0; i < SYMBOL_END; ++i)
        adwMeaning[i] = Meaning(KIND_LITERAL, 1, 0);
    adwMeaning[SYMBOL_END] = Meaning(KIND_END, 0, 0);
    unsigned uSize = 3;
    for (std::size_t i = SYMBOL_END + 1; i < MOST_LITERALS - 1; ++i) {
        const unsigned cExtra = i < SYMBOL_END + 9 ? 0 : static_cast<unsigned>(i - (SYMBOL_END + 5)) / 4;
        adwMeaning[i] = Meaning(KIND_MATCH, uSize, cExtra);
        uSize += 1U << cExtra;
    }
    adwMeaning[MOST_LITERALS - 1] = Meaning(KIND_MATCH, 258, 0);
    return adwMeaning;
}

/// The same section: distance symbols 0 to 29, from distance 1, two symbols for each number of extra bits but the first
/// four.
constexpr std::array<std::uint32_t, 32> MakeDistanceMeanings() {
    std::array<std::uint32_t, 32> adwMeaning{};
    unsigned uDistance = 1;
    for (std::size_t i = 0; i < MOST_DISTANCES; ++i) {
        const unsigned cExtra = i < 4 ? 0 : static_cast<unsigned>(i - 2) / 2;
        adwMeaning[i] = Meaning(KIND_MATCH, uDistance, cExtra);
        uDistance += 1U << cExtra;
    }
    return adwMeaning;
}

constexpr auto LITERAL_MEANINGS = MakeLiteralMeanings();
constexpr auto DISTANCE_MEANINGS = MakeDistanceMeanings();
static_assert(Base(LITERAL_MEANINGS[284]) == 227 && ExtraBits(LITERAL_MEANINGS[284]) == 5);
static_assert(Base(DISTANCE_MEANINGS[29]) == 24577 && ExtraBits(DISTANCE_MEANINGS[29]) == 13);

/// The code-length alphabet: 0 to 15 are lengths, 16 to 18 repeat.
constexpr std::array<std::uint32_t, 19> MakeLengthMeanings() {
    std::array<std::uint32_t, 19> adwMeaning{};
    for (unsigned i = 0; i < adwMeaning.size(); ++i)
        adwMeaning[i] = Meaning(KIND_LITERAL, i, 0);
    return adwMeaning;
}
constexpr auto LENGTH_MEANINGS = MakeLengthMeanings();
constexpr std::array<BYTE, 19> LENGTH_ORDER{16, 17, 18, 0, 8, 7, 9, 6, 10, 5, 11, 4, 12, 3, 13, 2, 14, 1, 15};
constexpr unsigned LENGTH_BITS = 7;

constexpr unsigned Reverse(unsigned uCode, unsigned cBits) {
    unsigned uReversed = 0;
    for (; cBits > 0; --cBits, uCode >>= 1)
        uReversed = (uReversed << 1) | (uCode & 1);
    return uReversed;
}

}  // namespace

/// @param fMayBeIncomplete accept a single code of one bit, and no code at all.
/// @return false for an over-subscribed or incomplete code.
template <typename CodeType>
constexpr bool DeflateChecker::BuildCode(CodeType& rCode, const BYTE* pbyLengths, std::size_t cLengths,
                                         const std::uint32_t* pdwMeaning, bool fMayBeIncomplete) noexcept {
    rCode.awCount.fill(0);
    for (std::size_t i = 0; i < cLengths; ++i)
        ++rCode.awCount[pbyLengths[i]];
    rCode.awCount[0] = 0;

    unsigned uLongest = LONGEST_CODE;
    while (uLongest > 0 && rCode.awCount[uLongest] == 0)
        --uLongest;
    int iLeft = 1;  // codes of the present length that are not taken yet
    for (unsigned uLength = 1; uLength <= LONGEST_CODE; ++uLength) {
        iLeft = 2 * iLeft - rCode.awCount[uLength];
        if (iLeft < 0) return false;
    }
    if (iLeft > 0 && !(fMayBeIncomplete && uLongest <= 1)) return false;

    // The canonical order: the first code of each length, and the place of its symbol.
    std::array<unsigned, LONGEST_CODE + 2> auCode{};
    std::array<unsigned, LONGEST_CODE + 2> auPlace{};
    for (unsigned uLength = 1; uLength <= LONGEST_CODE; ++uLength) {
        auCode[uLength + 1] = (auCode[uLength] + rCode.awCount[uLength]) << 1;
        auPlace[uLength + 1] = auPlace[uLength] + rCode.awCount[uLength];
    }

    rCode.uTableBits = std::clamp(uLongest, 1U, CodeType::TABLE_BITS);
    const std::size_t cTable = std::size_t{1} << rCode.uTableBits;
    std::fill_n(rCode.adwTable.begin(), cTable, 0U);
    for (std::size_t i = 0; i < cLengths; ++i) {
        const unsigned uLength = pbyLengths[i];
        if (uLength == 0) continue;
        const unsigned uCode = auCode[uLength]++;
        rCode.awOrdered[auPlace[uLength]++] = static_cast<WORD>(i);
        if (uLength > rCode.uTableBits) continue;
        for (std::size_t u = Reverse(uCode, uLength); u < cTable; u += std::size_t{1} << uLength) {
            rCode.adwTable[u] = pdwMeaning[i] | uLength;
        }
    }
    return true;
}

constexpr DeflateChecker::LiteralCode DeflateChecker::MakeFixedLiterals() noexcept {
    std::array<BYTE, LITERAL_SYMBOLS> abyLengths{};
    for (std::size_t i = 0; i < LITERAL_SYMBOLS; ++i)
        abyLengths[i] = i < 144 ? 8 : i < 256 ? 9 : i < 280 ? 7 : 8;
    LiteralCode code;
    BuildCode(code, abyLengths.data(), LITERAL_SYMBOLS, LITERAL_MEANINGS.data(), false);
    return code;
}

constexpr DeflateChecker::DistanceCode DeflateChecker::MakeFixedDistances() noexcept {
    std::array<BYTE, DISTANCE_SYMBOLS> abyLengths{};
    abyLengths.fill(5);
    DistanceCode code;
    BuildCode(code, abyLengths.data(), DISTANCE_SYMBOLS, DISTANCE_MEANINGS.data(), false);
    return code;
}

/// Holds at least 56 bits afterwards, or all that the stream has left.
inline void DeflateChecker::Bits::Refill() noexcept {
    if (pEnd - pNext >= 8) {
        std::uint64_t ullNext = 0;
        for (unsigned i = 0; i < 8; ++i)
            ullNext |= static_cast<std::uint64_t>(pNext[i]) << (8 * i);  // one load
        // Bits above cHeld are set again, to the same values, by the next refill.
        ullHeld |= ullNext << cHeld;
        pNext += (63 - cHeld) >> 3;
        cHeld |= 56;
        return;
    }
    for (; cHeld < 56 && pNext != pEnd; cHeld += 8)
        ullHeld |= static_cast<std::uint64_t>(*pNext++) << cHeld;
}

/// At most 32 bits, of those that a Refill has brought; past the end of the stream they are zeros, and IsOverrun says
/// so.
inline unsigned DeflateChecker::Bits::Take(unsigned cBits) noexcept {
    const auto uValue = static_cast<unsigned>(ullHeld & ((std::uint64_t{1} << cBits) - 1));
    ullHeld >>= cBits;
    cHeld -= static_cast<int>(cBits);
    return uValue;
}

/// Takes the next code.  @return its meaning; KIND_NOTHING when the bits are no code.
template <typename CodeType>
inline std::uint32_t DeflateChecker::Next(Bits& rBits, const CodeType& rCode,
                                          const std::uint32_t* pdwMeaning) noexcept {
    const std::uint32_t dwMeaning = rCode.adwTable[rBits.ullHeld & ((1U << rCode.uTableBits) - 1)];
    if (CodeLength(dwMeaning) == 0) return NextLong(rBits, rCode, pdwMeaning);
    rBits.Take(CodeLength(dwMeaning));
    return dwMeaning;
}

/// The same for a code that the table does not hold.
template <typename CodeType>
std::uint32_t DeflateChecker::NextLong(Bits& rBits, const CodeType& rCode, const std::uint32_t* pdwMeaning) noexcept {
    unsigned uCode = 0;
    unsigned uFirst = 0;
    unsigned uPlace = 0;
    for (unsigned uLength = 1; uLength <= LONGEST_CODE; ++uLength) {
        uCode = (uCode << 1) | (static_cast<unsigned>(rBits.ullHeld >> (uLength - 1)) & 1);
        const unsigned cCodes = rCode.awCount[uLength];
        uFirst <<= 1;
        if (uCode < uFirst + cCodes) {
            rBits.Take(uLength);
            return pdwMeaning[rCode.awOrdered[uPlace + (uCode - uFirst)]];
        }
        uFirst += cCodes;
        uPlace += cCodes;
    }
    return Meaning(KIND_NOTHING, 0, 0);
}

DeflateDefect DeflateChecker::Check(const BYTE* pStream, std::size_t cStream, std::size_t cHistory,
                                    std::size_t cExpected, std::size_t& rcConsumed) noexcept {
    m_oBits = Bits{pStream, pStream + cStream};
    m_cHistory = cHistory;
    m_cExpected = cExpected;
    m_cExpanded = 0;

    DeflateDefect eDefect = DeflateDefect::None;
    for (bool fFinal = false; !fFinal && eDefect == DeflateDefect::None;)
        eDefect = CheckBlock(fFinal);
    rcConsumed =
        static_cast<std::size_t>(m_oBits.pNext - pStream) - static_cast<std::size_t>(std::max(m_oBits.cHeld, 0) >> 3);
    if (eDefect == DeflateDefect::None && m_cExpanded < m_cExpected) return DeflateDefect::TooLittleData;
    return eDefect;
}

DeflateDefect DeflateChecker::CheckBlock(bool& rfFinal) noexcept {
    m_oBits.Refill();
    rfFinal = m_oBits.Take(1) != 0;
    const unsigned uType = m_oBits.Take(2);
    if (m_oBits.IsOverrun()) return DeflateDefect::Truncated;
    switch (uType) {
        case 0:
            return CheckStored();
        case 1: {
            static constexpr LiteralCode FIXED_LITERALS = MakeFixedLiterals();
            static constexpr DistanceCode FIXED_DISTANCES = MakeFixedDistances();
            return CheckSymbols(FIXED_LITERALS, FIXED_DISTANCES);
        }
        case 2:
            if (const DeflateDefect eDefect = ReadCodes(); eDefect != DeflateDefect::None) return eDefect;
            return CheckSymbols(m_oLiterals, m_oDistances);
        default:
            return DeflateDefect::BlockType;
    }
}

DeflateDefect DeflateChecker::CheckStored() noexcept {
    m_oBits.Take(static_cast<unsigned>(m_oBits.cHeld) & 7);
    m_oBits.Refill();
    const unsigned uLength = m_oBits.Take(16);
    const unsigned uComplement = m_oBits.Take(16);
    if (m_oBits.IsOverrun()) return DeflateDefect::Truncated;
    if (uLength != (~uComplement & 0xFFFF)) return DeflateDefect::StoredLength;

    m_oBits.pNext -= m_oBits.cHeld >> 3;  // the whole bytes that are held go back
    m_oBits.ullHeld = 0;
    m_oBits.cHeld = 0;
    if (uLength > static_cast<std::size_t>(m_oBits.pEnd - m_oBits.pNext)) return DeflateDefect::Truncated;
    m_oBits.pNext += uLength;
    m_cExpanded += uLength;
    return m_cExpanded > m_cExpected ? DeflateDefect::TooMuchData : DeflateDefect::None;
}

DeflateDefect DeflateChecker::ReadCodes() noexcept {
    m_oBits.Refill();
    const std::size_t cLiterals = m_oBits.Take(5) + 257;
    const std::size_t cDistances = m_oBits.Take(5) + 1;
    const std::size_t cLengthCodes = m_oBits.Take(4) + 4;
    if (m_oBits.IsOverrun()) return DeflateDefect::Truncated;
    if (cLiterals > MOST_LITERALS || cDistances > MOST_DISTANCES) return DeflateDefect::CodeCounts;

    std::array<BYTE, LENGTH_ORDER.size()> abyLengthCode{};
    for (std::size_t i = 0; i < cLengthCodes; ++i) {
        m_oBits.Refill();
        abyLengthCode[LENGTH_ORDER[i]] = static_cast<BYTE>(m_oBits.Take(3));
    }
    if (m_oBits.IsOverrun()) return DeflateDefect::Truncated;
    Code<LENGTH_BITS, LENGTH_ORDER.size()> lengthCode;
    if (!BuildCode(lengthCode, abyLengthCode.data(), abyLengthCode.size(), LENGTH_MEANINGS.data(), false)) {
        return DeflateDefect::CodeLengths;
    }
    const DeflateDefect eDefect =
        ReadLengths(lengthCode.adwTable.data(), lengthCode.uTableBits, cLiterals + cDistances);
    if (eDefect != DeflateDefect::None) return eDefect;

    if (m_abyLengths[SYMBOL_END] == 0) return DeflateDefect::NoEndOfBlock;
    if (!BuildCode(m_oLiterals, m_abyLengths.data(), cLiterals, LITERAL_MEANINGS.data(), true)) {
        return DeflateDefect::LiteralCode;
    }
    if (!BuildCode(m_oDistances, m_abyLengths.data() + cLiterals, cDistances, DISTANCE_MEANINGS.data(), true)) {
        return DeflateDefect::DistanceCode;
    }
    return DeflateDefect::None;
}

DeflateDefect DeflateChecker::ReadLengths(const std::uint32_t* pdwTable, unsigned uTableBits,
                                          std::size_t cLengths) noexcept {
    for (std::size_t i = 0; i < cLengths;) {
        m_oBits.Refill();
        const std::uint32_t dwMeaning = pdwTable[m_oBits.ullHeld & ((1U << uTableBits) - 1)];
        m_oBits.Take(CodeLength(dwMeaning));
        const unsigned uSymbol = Base(dwMeaning);
        BYTE byLength = static_cast<BYTE>(uSymbol);
        std::size_t cRepeat = 1;
        if (uSymbol == 16) {
            if (i == 0) return DeflateDefect::CodeLengths;
            byLength = m_abyLengths[i - 1];
            cRepeat = 3 + m_oBits.Take(2);
        } else if (uSymbol > 16) {
            byLength = 0;
            cRepeat = uSymbol == 17 ? 3 + m_oBits.Take(3) : 11 + m_oBits.Take(7);
        }
        if (m_oBits.IsOverrun()) return DeflateDefect::Truncated;
        if (cRepeat > cLengths - i) return DeflateDefect::CodeLengths;
        std::fill_n(m_abyLengths.begin() + static_cast<std::ptrdiff_t>(i), cRepeat, byLength);
        i += cRepeat;
    }
    return DeflateDefect::None;
}

DeflateDefect DeflateChecker::CheckSymbols(const LiteralCode& rLiterals, const DistanceCode& rDistances) noexcept {
    Bits bits = m_oBits;  // in registers for the length of the loop
    DeflateDefect eDefect = DeflateDefect::None;
    for (bool fEnd = false; !fEnd && eDefect == DeflateDefect::None;) {
        bits.Refill();  // 56 bits: a match takes at most 15 + 5 + 15 + 13
        const std::uint32_t dwSymbol = Next(bits, rLiterals, LITERAL_MEANINGS.data());
        m_cExpanded += Base(dwSymbol);
        if (KindOf(dwSymbol) == KIND_MATCH) {
            const std::size_t cExtra = bits.Take(ExtraBits(dwSymbol));
            const std::uint32_t dwDistance = Next(bits, rDistances, DISTANCE_MEANINGS.data());
            const std::size_t uDistance = Base(dwDistance) + bits.Take(ExtraBits(dwDistance));
            if (KindOf(dwDistance) == KIND_NOTHING) eDefect = DeflateDefect::Symbol;
            if (uDistance > m_cHistory + m_cExpanded - Base(dwSymbol)) eDefect = DeflateDefect::DistanceTooFar;
            m_cExpanded += cExtra;
        } else if (KindOf(dwSymbol) != KIND_LITERAL) {
            fEnd = KindOf(dwSymbol) == KIND_END;
            if (!fEnd) eDefect = DeflateDefect::Symbol;
        }
        if (m_cExpanded > m_cExpected) eDefect = DeflateDefect::TooMuchData;
        if (bits.IsOverrun()) eDefect = DeflateDefect::Truncated;
    }
    m_oBits = bits;
    return eDefect;
}

}  // namespace vlm
