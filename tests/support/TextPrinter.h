/// @file
/// Lets GoogleTest show strings as text.
#pragma once

#include <ostream>

#include "utilities/utilitiesdll/CXString.h"
#include "utilities/utilitiesdll/TextCodec.h"

/// Found by GoogleTest beside the class itself.
inline void PrintTo(const CXString& kcsText, std::ostream* pStream) {
    *pStream << '"' << TextCodec::Utf16ToUtf8(kcsText.View()) << '"';
}
