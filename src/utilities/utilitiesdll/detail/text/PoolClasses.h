/// @file
/// Block sizes of the pools, and the marks by which the address sanitizer knows a free block.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#ifdef __has_feature
#if __has_feature(address_sanitizer)
#define VLM_POOL_POISON
#endif
#endif
#ifdef __SANITIZE_ADDRESS__
#define VLM_POOL_POISON
#endif
#ifdef VLM_POOL_POISON
#include <sanitizer/asan_interface.h>
#endif

namespace vlm::pool {

/// A free block; the rest of it is unused.
struct FreeBlock {
    FreeBlock* m_pNext;
    FreeBlock* m_pNextBundle;  ///< of the first block of a bundle that lies in the reserve
};

/// Sizes in bytes, each a multiple of 16.  The sizes up to 256 serve objects; 32 to 80, 144, 272, 528 and 1040 also the
/// string capacities 6 to 512.
inline constexpr std::array<std::uint16_t, 13> BLOCK_BYTES = {16,  32,  48,  64,  80,  96,  128,
                                                              144, 192, 256, 272, 528, 1040};
inline constexpr std::size_t CLASS_COUNT = BLOCK_BYTES.size();

/// Class of each size in steps of 16 bytes.
inline constexpr auto CLASS_OF_STEP = [] {
    std::array<std::uint8_t, BLOCK_BYTES.back() / 16 + 1> abyClass{};
    std::uint8_t byClass = 0;
    for (std::size_t u = 0; u < abyClass.size(); ++u) {
        if (u * 16 > BLOCK_BYTES[byClass]) ++byClass;
        abyClass[u] = byClass;
    }
    return abyClass;
}();

constexpr std::size_t ClassOf(std::size_t cBytes) noexcept {
    return CLASS_OF_STEP[(cBytes + 15) / 16];
}

/// Blocks that go between a thread and the reserve at once: 32 KiB worth of them.
inline constexpr auto BUNDLE_BLOCKS = [] {
    std::array<std::uint16_t, CLASS_COUNT> awBlocks{};
    for (std::size_t u = 0; u < CLASS_COUNT; ++u)
        awBlocks[u] = static_cast<std::uint16_t>(32768u / BLOCK_BYTES[u]);
    return awBlocks;
}();

/// Bytes of a string block: header, text and terminator.
constexpr std::size_t StringBytes(std::size_t cCapacity) noexcept {
    return cCapacity * 2 + 14;
}

/// Capacity of each length up to 64, in one look.
inline constexpr auto SMALL_CAPACITIES = [] {
    std::array<std::uint8_t, 65> abyCapacity{};
    for (std::size_t u = 0; u < abyCapacity.size(); ++u) {
        for (const std::uint8_t byCapacity : {64, 32, 24, 20, 16, 12, 6}) {
            if (u <= byCapacity) abyCapacity[u] = byCapacity;
        }
    }
    return abyCapacity;
}();

/// Capacity that a string of `cUnits` gets.
constexpr std::size_t CapacityFor(std::size_t cUnits) noexcept {
    if (cUnits <= 64) return SMALL_CAPACITIES[cUnits];
    if (cUnits > 512) return cUnits;
    return cUnits <= 128 ? 128 : cUnits <= 256 ? 256 : 512;
}

inline void Poison([[maybe_unused]] void* pBlock, [[maybe_unused]] std::size_t cBytes) noexcept {
#ifdef VLM_POOL_POISON
    __asan_poison_memory_region(pBlock, cBytes);
#endif
}
inline void Unpoison([[maybe_unused]] void* pBlock, [[maybe_unused]] std::size_t cBytes) noexcept {
#ifdef VLM_POOL_POISON
    __asan_unpoison_memory_region(pBlock, cBytes);
#endif
}

}  // namespace vlm::pool
