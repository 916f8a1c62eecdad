/// @file
/// General routines for texts.
#include "utilities/utilitiesdll/VelomUtilities_Text.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/Narrow.h"

namespace {

TEST(VelomUtilitiesText, SplitsAtEachSeparator) {
    const struct {
        const XCHAR* pszText;
        std::vector<std::string> vPieces;
    } aoRows[] = {
        {VTEXT(""), {}},
        {VTEXT("one"), {"one"}},
        {VTEXT("one, two,three"), {"one", " two", "three"}},
        {VTEXT(","), {"", ""}},
        {VTEXT("a,,b,"), {"a", "", "b", ""}},
    };
    for (const auto& rRow : aoRows) {
        std::vector<std::string> vPieces;
        for (const CXString& rcsPiece : VelomUtilities::parseCharacterSeparatedStrings(rRow.pszText, VTEXT(',')))
            vPieces.push_back(vlm::test::Narrow(rcsPiece.View()));
        EXPECT_EQ(vPieces, rRow.vPieces);
    }
}

}  // namespace
