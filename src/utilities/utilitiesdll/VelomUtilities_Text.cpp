/// @file
/// General routines for texts.
#include "utilities/utilitiesdll/VelomUtilities_Text.h"

namespace VelomUtilities {

std::vector<CXString> parseCharacterSeparatedStrings(const CXString& kcsText, XCHAR chSeparator) {
    std::vector<CXString> vcsPieces;
    XStringView rest = kcsText.View();
    if (rest.empty()) return vcsPieces;
    for (;;) {
        const std::size_t uEnd = rest.find(chSeparator);
        vcsPieces.emplace_back(rest.substr(0, uEnd));
        if (uEnd == XStringView::npos) return vcsPieces;
        rest.remove_prefix(uEnd + 1);
    }
}

}  // namespace VelomUtilities
