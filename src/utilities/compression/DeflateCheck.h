/// @file
/// Proves that a raw deflate stream (RFC 1951) is well formed, without keeping what it expands to.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "platform/WinTypes.h"

namespace vlm {

/// Why a deflate stream was refused.
enum class DeflateDefect : DWORD {
    None,
    Truncated,       ///< the stream ends inside a block, or without a final block
    BlockType,       ///< block type 3
    StoredLength,    ///< a stored block's two length fields disagree
    CodeCounts,      ///< more than 286 literal/length codes or 30 distance codes
    CodeLengths,     ///< bad code-length code, a repeat with nothing to repeat, or more lengths than announced
    NoEndOfBlock,    ///< the literal/length code cannot end the block
    LiteralCode,     ///< over-subscribed or incomplete literal/length code
    DistanceCode,    ///< over-subscribed or incomplete distance code
    Symbol,          ///< a symbol or a run of bits that stands for nothing
    DistanceTooFar,  ///< a match before the first byte of the history
    TooMuchData,     ///< expands to more than announced
    TooLittleData,   ///< expands to less than announced
};

/// Checks deflate streams one after another.  The system's decoder trusts what it is given (a bad stream may write
/// outside its window), so every stream is walked here first: each code is complete, each distance stays inside the
/// history, and the stream expands to exactly the announced size.  Only sizes are followed; nothing is expanded.
///
/// A code is accepted when it is complete, or when it has a single symbol of one bit, or none at all for distances
/// (RFC 1951 section 3.2.7): the rule of the decoders in use.
///
/// **Cost**: linear in the stream's length; no memory beyond the object (about 13 KiB).  **Threads**: one at a time.
class DeflateChecker {
public:
    /// Walks one stream up to and including its final block.
    /// @param pStream,cStream the bytes; what follows the final block is not looked at.
    /// @param cHistory number of bytes (0 to 32,768) before this stream that matches may refer to.
    /// @param cExpected number of bytes that the stream must expand to.
    /// @param rcConsumed receives the number of bytes of the stream, the last one possibly in part; after a defect how
    ///        far the walk had come.
    DeflateDefect Check(const BYTE* pStream, std::size_t cStream, std::size_t cHistory, std::size_t cExpected,
                        std::size_t& rcConsumed) noexcept;

private:
    static constexpr unsigned LONGEST_CODE = 15;
    static constexpr unsigned LITERAL_BITS = 11;
    static constexpr unsigned DISTANCE_BITS = 9;
    static constexpr std::size_t LITERAL_SYMBOLS = 288;
    static constexpr std::size_t DISTANCE_SYMBOLS = 32;

    /// A prefix code: codes of up to `uTableBits` bits by one look-up, longer ones by walking the canonical order.
    template <unsigned TableBits, std::size_t Symbols>
    struct Code {
        static constexpr unsigned TABLE_BITS = TableBits;
        std::array<std::uint32_t, std::size_t{1} << TableBits> adwTable{};
        std::array<WORD, Symbols> awOrdered{};         ///< symbols by code
        std::array<WORD, LONGEST_CODE + 1> awCount{};  ///< codes of each length
        unsigned uTableBits = 1;                       ///< the bits in use: no more than the longest code has
    };
    using LiteralCode = Code<LITERAL_BITS, LITERAL_SYMBOLS>;
    using DistanceCode = Code<DISTANCE_BITS, DISTANCE_SYMBOLS>;

    /// The stream as bits, least significant first.  Small, so that a loop can keep a copy in registers.
    struct Bits {
        const BYTE* pNext = nullptr;
        const BYTE* pEnd = nullptr;
        std::uint64_t ullHeld = 0;
        int cHeld = 0;  ///< negative when the stream was read past its end

        void Refill() noexcept;
        unsigned Take(unsigned cBits) noexcept;
        bool IsOverrun() const noexcept { return cHeld < 0; }
    };

    DeflateDefect CheckBlock(bool& rfFinal) noexcept;
    DeflateDefect CheckStored() noexcept;
    DeflateDefect ReadCodes() noexcept;
    DeflateDefect ReadLengths(const std::uint32_t* pdwTable, unsigned uTableBits, std::size_t cLengths) noexcept;
    DeflateDefect CheckSymbols(const LiteralCode& rLiterals, const DistanceCode& rDistances) noexcept;

    template <typename CodeType>
    static constexpr bool BuildCode(CodeType& rCode, const BYTE* pbyLengths, std::size_t cLengths,
                                    const std::uint32_t* pdwMeaning, bool fMayBeIncomplete) noexcept;
    static constexpr LiteralCode MakeFixedLiterals() noexcept;
    static constexpr DistanceCode MakeFixedDistances() noexcept;
    template <typename CodeType>
    static std::uint32_t Next(Bits& rBits, const CodeType& rCode, const std::uint32_t* pdwMeaning) noexcept;
    template <typename CodeType>
    static std::uint32_t NextLong(Bits& rBits, const CodeType& rCode, const std::uint32_t* pdwMeaning) noexcept;

    Bits m_oBits;
    std::size_t m_cHistory = 0;
    std::size_t m_cExpected = 0;
    std::size_t m_cExpanded = 0;
    std::array<BYTE, 320> m_abyLengths{};
    LiteralCode m_oLiterals;
    DistanceCode m_oDistances;
};

}  // namespace vlm
