/// @file
/// CRC-32 by folding with carry-less multiplication (V. Gopal et al., "Fast CRC Computation for Generic Polynomials
/// Using PCLMULQDQ Instruction", 2009), in the reflected form.
///
/// A piece of the message may be replaced by anything that leaves the same remainder.  So 128 bits are multiplied by
/// x^D mod P and added (XOR) to the 128 bits that stand D bits behind them, until 128 bits are left; these go through
/// the tables like any message of 16 bytes.
#include <immintrin.h>

#include "utilities/utilitiesdll/detail/values/CrcKernels.h"
#include "utilities/utilitiesdll/detail/values/CrcTables.h"

#define VLM_CLMUL __attribute__((target("sse4.1,pclmul")))
// Inlined whatever the optimisation, so that each function below holds one encoding only.
#define VLM_CLMUL_INLINE __attribute__((target("sse4.1,pclmul"), always_inline)) inline
#define VLM_CLMUL_AVX __attribute__((target("avx,pclmul")))
#define VLM_CLMUL_512 __attribute__((target("sse4.1,pclmul,avx512f,vpclmulqdq")))

namespace vlm {
namespace {

// The published constants of the method, as a check of our arithmetic.
static_assert(crc::FoldBy(512).llLow == 0x154442BD4 && crc::FoldBy(512).llHigh == 0x1C6E41596);
static_assert(crc::FoldBy(128).llLow == 0x1751997D0 && crc::FoldBy(128).llHigh == 0x0CCAA009E);

VLM_CLMUL_INLINE __m128i Load(const BYTE* pbyData) noexcept {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(pbyData));
}

/// Moves 128 bits further up by the distance that the factors stand for, onto `next`.  The order of the additions keeps
/// the second one, for which the later product is waited, the only one behind it.
VLM_CLMUL_INLINE __m128i FoldOnto(__m128i next, __m128i piece, crc::FoldFactors factors) noexcept {
    const __m128i k = _mm_set_epi64x(factors.llHigh, factors.llLow);
    return _mm_xor_si128(_mm_xor_si128(next, _mm_clmulepi64_si128(piece, k, 0x00)),
                         _mm_clmulepi64_si128(piece, k, 0x11));
}

/// Selections for byte shuffles.  The 16 from offset t on move a piece's first t bytes to its end, the 16 from offset
/// 16 + t on move the other bytes to its beginning; what comes free is cleared.
alignas(16) constexpr signed char SHIFTS[48] = {-1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1,
                                                0,  1,  2,  3,  4,  5,  6,  7,  8,  9,  10, 11, 12, 13, 14, 15,
                                                -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1};

VLM_CLMUL_INLINE __m128i Selection(std::size_t cOffset) noexcept {
    return Load(reinterpret_cast<const BYTE*>(SHIFTS) + cOffset);
}

/// Folds the last 1 to 15 bytes onto `piece`, which stands before them; 16 bytes up to `pbyEnd` are readable.
VLM_CLMUL_INLINE __m128i FoldTail(__m128i piece, const BYTE* pbyEnd, std::size_t cTail) noexcept {
    // The piece and the tail are 16 + cTail bytes: the first cTail of them are folded onto the other 16.
    const __m128i front = _mm_shuffle_epi8(piece, Selection(cTail));
    const __m128i rest = _mm_shuffle_epi8(piece, Selection(16 + cTail));
    const __m128i tail = _mm_andnot_si128(_mm_cmpgt_epi8(Selection(16 + cTail), _mm_set1_epi8(-1)), Load(pbyEnd - 16));
    return FoldOnto(_mm_or_si128(rest, tail), front, crc::FoldBy(128));
}

/// Reduces 128 bits, followed by the 32 zero bits that a CRC implies, to the register.
VLM_CLMUL_INLINE DWORD Reduce(__m128i piece) noexcept {
    constexpr std::int64_t BY_96 = crc::FoldBy(128).llHigh;
    constexpr std::int64_t BY_64 = crc::FoldBy(96).llHigh;
    static_assert(BY_64 == 0x163CD6124 && crc::POLYNOMIAL_33 == 0x1DB710641 && crc::QUOTIENT_33 == 0x1F7011641);
    const __m128i low32 = _mm_set_epi32(0, 0, 0, -1);
    // 128 bits to 96, then to 64.
    __m128i v = _mm_xor_si128(_mm_clmulepi64_si128(piece, _mm_set_epi64x(0, BY_96), 0x00), _mm_srli_si128(piece, 8));
    v = _mm_xor_si128(_mm_clmulepi64_si128(_mm_and_si128(v, low32), _mm_set_epi64x(0, BY_64), 0x00),
                      _mm_srli_si128(v, 4));
    // 64 to 32: subtract the multiple of P that the quotient tells.
    const __m128i barrett = _mm_set_epi64x(crc::QUOTIENT_33, crc::POLYNOMIAL_33);
    const __m128i quotient = _mm_clmulepi64_si128(_mm_and_si128(v, low32), barrett, 0x10);
    const __m128i multiple = _mm_clmulepi64_si128(_mm_and_si128(quotient, low32), barrett, 0x00);
    return static_cast<DWORD>(_mm_extract_epi32(_mm_xor_si128(v, multiple), 1));
}

/// Folds what is left of the message onto `piece`, and that into the register.
VLM_CLMUL_INLINE DWORD Finish(__m128i piece, const BYTE* pbyData, std::size_t cBytes) noexcept {
    constexpr crc::FoldFactors BY_128 = crc::FoldBy(128);
    for (; cBytes >= 16; cBytes -= 16, pbyData += 16)
        piece = FoldOnto(Load(pbyData), piece, BY_128);
    if (cBytes > 0) piece = FoldTail(piece, pbyData + cBytes, cBytes);
    return Reduce(piece);
}

/// Folds four neighbouring pieces, the earliest first, onto the last.
VLM_CLMUL_INLINE __m128i Gather(__m128i x0, __m128i x1, __m128i x2, __m128i x3) noexcept {
    x3 = FoldOnto(x3, x0, crc::FoldBy(384));
    x2 = FoldOnto(FoldOnto(_mm_setzero_si128(), x1, crc::FoldBy(256)), x2, crc::FoldBy(128));
    return _mm_xor_si128(x3, x2);
}

VLM_CLMUL_INLINE DWORD FoldAll(DWORD dwRegister, const BYTE* pbyData, std::size_t cBytes) noexcept {
    const __m128i start = _mm_cvtsi32_si128(static_cast<int>(dwRegister));
    __m128i x0 = _mm_xor_si128(Load(pbyData), start);
    if (cBytes < 64) return Finish(x0, pbyData + 16, cBytes - 16);

    __m128i x1 = Load(pbyData + 16);
    __m128i x2 = Load(pbyData + 32);
    __m128i x3 = Load(pbyData + 48);
    constexpr crc::FoldFactors BY_512 = crc::FoldBy(512);
    for (pbyData += 64, cBytes -= 64; cBytes >= 64; pbyData += 64, cBytes -= 64) {
        x0 = FoldOnto(Load(pbyData), x0, BY_512);
        x1 = FoldOnto(Load(pbyData + 16), x1, BY_512);
        x2 = FoldOnto(Load(pbyData + 32), x2, BY_512);
        x3 = FoldOnto(Load(pbyData + 48), x3, BY_512);
    }
    return Finish(Gather(x0, x1, x2, x3), pbyData, cBytes);
}

}  // namespace

VLM_CLMUL DWORD UpdateCrcFolded(DWORD dwRegister, const BYTE* pbyData, std::size_t cBytes) noexcept {
    return FoldAll(dwRegister, pbyData, cBytes);
}

/// The same in the three-operand encoding, which needs no copies of registers.
VLM_CLMUL_AVX DWORD UpdateCrcFoldedAvx(DWORD dwRegister, const BYTE* pbyData, std::size_t cBytes) noexcept {
    return FoldAll(dwRegister, pbyData, cBytes);
}

namespace {

VLM_CLMUL_512 inline __m512i Load512(const BYTE* pbyData) noexcept {
    return _mm512_loadu_si512(pbyData);
}

VLM_CLMUL_512 inline __m512i FoldOnto512(__m512i next, __m512i pieces, crc::FoldFactors factors) noexcept {
    const __m512i k = _mm512_set_epi64(factors.llHigh, factors.llLow, factors.llHigh, factors.llLow, factors.llHigh,
                                       factors.llLow, factors.llHigh, factors.llLow);
    return _mm512_xor_si512(_mm512_xor_si512(next, _mm512_clmulepi64_epi128(pieces, k, 0x00)),
                            _mm512_clmulepi64_epi128(pieces, k, 0x11));
}

}  // namespace

VLM_CLMUL_512 DWORD UpdateCrcFolded512(DWORD dwRegister, const BYTE* pbyData, std::size_t cBytes) noexcept {
    const __m128i start = _mm_cvtsi32_si128(static_cast<int>(dwRegister));
    __m512i z0 = _mm512_xor_si512(Load512(pbyData), _mm512_zextsi128_si512(start));
    __m512i z1 = Load512(pbyData + 64);
    __m512i z2 = Load512(pbyData + 128);
    __m512i z3 = Load512(pbyData + 192);
    constexpr crc::FoldFactors BY_2048 = crc::FoldBy(2048);
    for (pbyData += 256, cBytes -= 256; cBytes >= 256; pbyData += 256, cBytes -= 256) {
        z0 = FoldOnto512(Load512(pbyData), z0, BY_2048);
        z1 = FoldOnto512(Load512(pbyData + 64), z1, BY_2048);
        z2 = FoldOnto512(Load512(pbyData + 128), z2, BY_2048);
        z3 = FoldOnto512(Load512(pbyData + 192), z3, BY_2048);
    }
    z3 = FoldOnto512(FoldOnto512(FoldOnto512(z3, z0, crc::FoldBy(1536)), z1, crc::FoldBy(1024)), z2, crc::FoldBy(512));
    for (; cBytes >= 64; pbyData += 64, cBytes -= 64) {
        z3 = FoldOnto512(Load512(pbyData), z3, crc::FoldBy(512));
    }
    BYTE abyPieces[64];
    _mm512_storeu_si512(abyPieces, z3);
    // The upper halves of the registers must be clean before any code of the older encoding runs.
    _mm256_zeroupper();
    const __m128i piece = Gather(Load(abyPieces), Load(abyPieces + 16), Load(abyPieces + 32), Load(abyPieces + 48));
    return Finish(piece, pbyData, cBytes);
}

}  // namespace vlm
