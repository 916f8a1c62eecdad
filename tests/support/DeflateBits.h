/// @file
/// Writes deflate streams bit by bit, good ones and bad ones.
#pragma once

#include <cstdint>
#include <vector>

#include "platform/WinTypes.h"

namespace vlm::test {

/// A stream under construction.  Every call returns the writer itself.
class DeflateBits {
public:
    /// Bits from the least significant, as deflate packs numbers.
    DeflateBits& Number(unsigned uValue, unsigned cBits) {
        for (unsigned i = 0; i < cBits; ++i)
            Bit(i < 32 && ((uValue >> i) & 1) != 0);
        return *this;
    }
    DeflateBits& Block(bool fFinal, unsigned uType) { return Number(fFinal, 1).Number(uType, 2); }
    DeflateBits& Align() {
        while (m_cBits % 8 != 0)
            Bit(false);
        return *this;
    }
    /// A whole stored block.
    DeflateBits& Stored(bool fFinal, const std::vector<BYTE>& rvbyData) {
        const auto uLength = static_cast<unsigned>(rvbyData.size());
        Block(fFinal, 0).Align().Number(uLength, 16).Number(~uLength & 0xFFFF, 16);
        for (const BYTE by : rvbyData)
            Number(by, 8);
        return *this;
    }
    /// A symbol of the fixed literal/length code (RFC 1951 section 3.2.6).
    DeflateBits& Fixed(unsigned uSymbol) {
        if (uSymbol < 144) return Reversed(0x30 + uSymbol, 8);
        if (uSymbol < 256) return Reversed(0x190 + uSymbol - 144, 9);
        if (uSymbol < 280) return Reversed(uSymbol - 256, 7);
        return Reversed(0xC0 + uSymbol - 280, 8);
    }
    /// A match of the fixed codes: length symbol with extra bits, distance symbol with extra bits.
    DeflateBits& FixedMatch(unsigned uLengthSymbol, unsigned uLengthExtra, unsigned cLengthExtra, unsigned uDistance,
                            unsigned uDistanceExtra, unsigned cDistanceExtra) {
        Fixed(uLengthSymbol).Number(uLengthExtra, cLengthExtra);
        return Reversed(uDistance, 5).Number(uDistanceExtra, cDistanceExtra);
    }
    DeflateBits& Reversed(unsigned uCode, unsigned cBits) {
        while (cBits-- > 0)
            Bit((uCode >> cBits) & 1);
        return *this;
    }

    std::vector<BYTE> Bytes() const { return m_vby; }

private:
    void Bit(bool f) {
        if (m_cBits % 8 == 0) m_vby.push_back(0);
        if (f) m_vby.back() = static_cast<BYTE>(m_vby.back() | (1U << (m_cBits % 8)));
        ++m_cBits;
    }

    std::vector<BYTE> m_vby;
    std::size_t m_cBits = 0;
};

}  // namespace vlm::test
