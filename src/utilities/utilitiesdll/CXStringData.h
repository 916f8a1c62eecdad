/// @file
/// The block behind a string: three counts, then the text.
#pragma once

#include <atomic>
#include <cstdint>

#include "platform/XChar.h"

/// Header of a string block.  The text follows it at once and is always terminated by a zero code unit.
///
///     offset  size  field
///          0     4  reference count: objects that share the block; LOCKED while its one owner has locked it;
///                   STATIC for the empty block, which is never counted, written or freed
///          4     4  length: code units in use, without the terminator
///          8     4  capacity: code units that fit, without the terminator
///         12     (capacity + 1) * 2  the text
struct CXStringData {
    static constexpr std::int32_t STATIC = 0;
    static constexpr std::int32_t LOCKED = -1;

    std::atomic<std::int32_t> m_lRefs;
    std::int32_t m_lLength;
    std::int32_t m_lCapacity;

    XCHAR* Text() noexcept { return reinterpret_cast<XCHAR*>(this + 1); }
    static CXStringData* FromText(XCHAR* pchText) noexcept { return reinterpret_cast<CXStringData*>(pchText) - 1; }
    static const CXStringData* FromText(const XCHAR* pchText) noexcept {
        return reinterpret_cast<const CXStringData*>(pchText) - 1;
    }
};
static_assert(sizeof(CXStringData) == 12 && alignof(CXStringData) == 4);
static_assert(std::atomic<std::int32_t>::is_always_lock_free);

/// The block that every empty string points to; it lies in read-only memory.
struct CXStringEmptyBlock {
    CXStringData m_oData;
    XCHAR m_chEnd;
};
