/// @file
/// Malformed inputs made from a good one and a table of its fields.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "platform/WinTypes.h"

namespace vlm::test {

/// One field of a binary format, as it stands in the good input.
struct InputField {
    enum class Meaning {
        Number,  ///< a length, count or offset: set to every value near the bounds
        Tag,     ///< a kind or version: its first byte set to each of 256 values
        Record,  ///< a repeated part: dropped, doubled, repeated a thousand times
    };
    const char* pszName;
    std::size_t cOffset;
    std::size_t cWidth;  ///< bytes; 1, 2, 4 or 8 for numbers
    Meaning eMeaning;
    bool fBigEndian = false;
};

/// Takes one malformed input and how it was made ("flags: bit 3 flipped").
using MalformedInputTaker = std::function<void(const std::vector<BYTE>&, const std::string&)>;

/// Hands out: every prefix; every bit flipped; each number set to 0, 1, its neighbours, the rest of the input and its
/// neighbours, and the bounds of its width, and turned round; each tag with all values; neighbouring fields swapped;
/// each record dropped, doubled, repeated; trailing bytes.  Fields must lie inside the input, in the order of their
/// offsets.
/// @return how many there were.
std::size_t ForEachMalformedInput(const std::vector<BYTE>& rvbyGood, const std::vector<InputField>& rvFields,
                                  const MalformedInputTaker& rTake);

}  // namespace vlm::test
