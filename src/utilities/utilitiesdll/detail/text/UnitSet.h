/// @file
/// A set of code units, made once and asked often.
#pragma once

#include <cstdint>

#include "platform/XChar.h"
#include "utilities/utilitiesdll/detail/text/TextKernels.h"

namespace vlm::text {

/// Members below 128 sit in a bit map, the others are looked up in the text that named them.
/// **Ownership**: borrows that text.
class UnitSet {
public:
    constexpr explicit UnitSet(XStringView members, bool fIgnoreCase = false) noexcept : m_members(members) {
        for (const XCHAR ch : members) {
            Add(fIgnoreCase ? ToLower(ch) : ch);
            if (fIgnoreCase) Add(ToUpper(ch));
        }
    }
    static constexpr UnitSet WhiteSpace() noexcept { return UnitSet(VTEXT(" \t\n\v\f\r")); }

    constexpr bool Contains(XCHAR ch) const noexcept {
        if (ch < 128) return (m_aullBits[ch / 64] >> (ch % 64)) & 1;
        return m_bHasOthers && m_members.find(ch) != XStringView::npos;
    }

private:
    constexpr void Add(XCHAR ch) noexcept {
        if (ch < 128) {
            m_aullBits[ch / 64] |= std::uint64_t{1} << (ch % 64);
        } else {
            m_bHasOthers = true;
        }
    }

    XStringView m_members;
    std::uint64_t m_aullBits[2] = {0, 0};
    bool m_bHasOthers = false;
};

}  // namespace vlm::text
