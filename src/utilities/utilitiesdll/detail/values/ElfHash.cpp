/// @file
/// The ELF hash, as it is written and six bytes at a time.
///
/// As written, each byte needs the state that the byte before it left: seven cycles a byte, and no compiler can help.
/// But look at the 28 bits of the state as seven digits of four bits, d6 ... d0.  A byte with the halves hi and lo
/// moves every digit up one place and
///
///     puts lo into d0,
///     puts (former d0 + hi) mod 16 into d1, XORed with the digit g that leaves at the top,
///     adds the carry of that sum to the digits above d1.
///
/// The former d0 is the low half of the byte before, so all sums s and carries c are known from the data alone.  And a
/// digit that enters at d1 leaves as g six bytes later.  Take the six digits above d0 as one number G, the carry that
/// the next byte brings already added: its digits, from the top, are the g of the next six bytes.  So six bytes make
///
///     G' = (S ^ G) + C
///
/// with the six sums S and the six carries C (each one place later) as digits.  Three operations hang on the state
/// instead of thirty.  With one digit in each byte of a register, and the upper halves of the bytes filled with ones,
/// carries run through as they should.
///
/// One thing is left out: a carry that runs through all six new digits would also reach old ones that have not left
/// yet.  That shows as a carry out of the top, and then the six bytes are done again as written (about 3 steps in 100
/// on random bytes).
#include "utilities/utilitiesdll/detail/values/ElfHash.h"

#include <bit>
#include <cstdint>
#include <cstring>

namespace vlm {
namespace {

static_assert(std::endian::native == std::endian::little, "the window is loaded with its first byte lowest");

constexpr std::size_t STEP = 6;
/// A step looks at the byte before and the byte behind its six.
constexpr std::size_t WINDOW = STEP + 2;
/// Below this the plain form is as fast.
constexpr std::size_t STEPS_FROM = 24;

constexpr std::uint64_t SIX_BYTES = 0xFFFFFFFFFFFF;
constexpr std::uint64_t LOW_DIGITS = 0x0F0F0F0F0F0F0F0F;
constexpr std::uint64_t ONES = 0x0101010101010101;

/// The state is kept shifted left by four, which saves the mask and two of the shifts.
inline std::uint32_t PlainStep(std::uint32_t shifted, std::uint32_t byte) noexcept {
    const std::uint32_t sum = shifted + byte;
    return (sum << 4) ^ ((sum >> 20) & 0xF00);
}

/// Six digits, one in the low half of each byte, as a 24-bit number.
constexpr std::uint32_t Pack(std::uint64_t digits) noexcept {
    digits &= LOW_DIGITS & SIX_BYTES;
    digits = (digits | (digits >> 4)) & 0x00FF00FF00FF;
    return static_cast<std::uint32_t>((digits & 0xFF) | ((digits >> 8) & 0xFF00) | ((digits >> 16) & 0xFF0000));
}

constexpr std::uint64_t Unpack(std::uint32_t number) noexcept {
    const std::uint64_t wide = number;
    const std::uint64_t pairs = (wide & 0xFF) | ((wide & 0xFF00) << 8) | ((wide & 0xFF0000) << 16);
    return (pairs | (pairs << 4)) & LOW_DIGITS;
}
static_assert(Pack(Unpack(0xABCDEF)) == 0xABCDEF);

/// What the eight bytes of a window say; the byte before the six stands highest, the one behind them lowest.
struct Window {
    explicit Window(const BYTE* pbyFirst) noexcept {
        std::uint64_t bytes;
        std::memcpy(&bytes, pbyFirst, sizeof bytes);
        bytes = __builtin_bswap64(bytes);
        sums = ((bytes & LOW_DIGITS) >> 8) + ((bytes >> 4) & LOW_DIGITS);
    }
    std::uint64_t Sums() const noexcept { return (sums >> 8) & (LOW_DIGITS & SIX_BYTES); }
    std::uint64_t Carries() const noexcept { return (sums >> 4) & (ONES & SIX_BYTES); }
    /// The carry that the first of the six bytes brings, and the one that the byte behind them brings.
    std::uint32_t FirstCarry() const noexcept { return static_cast<std::uint32_t>(sums >> 52) & 1; }
    std::uint32_t NextCarry() const noexcept { return static_cast<std::uint32_t>(sums >> 4) & 1; }

    /// Of each byte but the highest: its upper half plus the lower half of the byte before.
    std::uint64_t sums;
};

/// The shifted state behind the byte `before`, from the number G that holds the carry of the next byte already.
inline std::uint32_t ShiftedState(std::uint64_t digits, std::uint32_t carry, BYTE before) noexcept {
    return (((Pack(digits) - carry) & 0xFFFFFF) << 8) | ((before & 0x0Fu) << 4);
}

/// A step as written, for the rare carry through all digits.
[[gnu::noinline]] std::uint64_t RepeatStep(std::uint64_t digits, const Window& window, const BYTE* pbyBefore) noexcept {
    std::uint32_t shifted = ShiftedState(digits, window.FirstCarry(), *pbyBefore);
    for (std::size_t i = 1; i <= STEP; ++i)
        shifted = PlainStep(shifted, pbyBefore[i]);
    return Unpack(((shifted >> 8) + window.NextCarry()) & 0xFFFFFF);
}

}  // namespace

DWORD ElfHashPlain(const BYTE* pbyData, std::size_t cBytes) noexcept {
    std::uint32_t h = 0;
    for (std::size_t i = 0; i < cBytes; ++i) {
        h = (h << 4) + pbyData[i];
        const std::uint32_t g = h & 0xF0000000;
        if (g != 0) h ^= g >> 24;
        h &= ~g;
    }
    return h;
}

DWORD ElfHash(const BYTE* pbyData, std::size_t cBytes) noexcept {
    std::uint32_t shifted = 0;
    const BYTE* const pbyEnd = pbyData + cBytes;
    if (cBytes >= STEPS_FROM) {
        // The first byte is the one before the first six; its upper half is all that stands above d0.
        const BYTE* pbyBefore = pbyData;
        const std::uint32_t firstSum = (pbyData[0] & 0x0Fu) + (pbyData[1] >> 4);
        std::uint64_t digits = Unpack((pbyData[0] >> 4) + (firstSum >> 4));
        for (; static_cast<std::size_t>(pbyEnd - pbyBefore) >= WINDOW; pbyBefore += STEP) {
            const Window window(pbyBefore);
            const std::uint64_t next = ((digits ^ window.Sums()) | (~LOW_DIGITS & SIX_BYTES)) + window.Carries();
            if (next >> 48 != 0) [[unlikely]] {
                digits = RepeatStep(digits, window, pbyBefore);
            } else {
                digits = next;
            }
        }
        const std::uint32_t sum = (pbyBefore[0] & 0x0Fu) + (pbyBefore[1] >> 4);
        shifted = ShiftedState(digits, sum >> 4, *pbyBefore);
        pbyData = pbyBefore + 1;
    }
    while (pbyData != pbyEnd)
        shifted = PlainStep(shifted, *pbyData++);
    return shifted >> 4;
}

}  // namespace vlm
