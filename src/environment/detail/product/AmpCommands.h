/// @file
/// The entities of PDL instructions by name.
#pragma once

#include <string_view>

#include "platform/WinTypes.h"

namespace vlm {

/// What an entity writes in PCL XL.
enum class AmpKind : BYTE {
    Byte,       ///< its code: an operator, or the tag of a data type
    Attribute,  ///< attr_ubyte and its code
    Constant,   ///< ubyte and its code
    Name,       ///< ubyte_array, its length, and its text
    Pair,       ///< its code, the tag of a pair of 16-bit numbers, and the caller's first two
};

/// One command or constant.
struct AmpCommand {
    std::string_view name;
    AmpKind eKind;
    BYTE byCode;
    const char* pszText;  ///< of a name
    const char* pszPcl5;  ///< what it writes in PCL 5, "*x*" and "*y*" being the caller's numbers; null: nothing
};

/// Null when there is none.
const AmpCommand* FindAmpCommand(std::string_view name) noexcept;
/// The character of one of HTML's names for Latin-1; −1 when there is none.
int FindCharacterEntity(std::string_view name) noexcept;

}  // namespace vlm
