/// @file
/// General routines for texts.
#pragma once

#include <vector>

#include "platform/Export.h"
#include "utilities/utilitiesdll/CXString.h"

namespace VelomUtilities {

/// The pieces of a text between separators, in their order, as they stand: blanks are kept, and so are empty pieces
/// between two separators and at either end.  An empty text has no pieces.
/// @throws out-of-memory, as CXString does, and std::bad_alloc for the list.
VLM_API std::vector<CXString> parseCharacterSeparatedStrings(const CXString& kcsText, XCHAR chSeparator);

}  // namespace VelomUtilities
