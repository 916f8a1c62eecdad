/// @file
/// The generator of malformed inputs makes what it says.
#include "support/MalformedInputs.h"

#include <gtest/gtest.h>

#include <map>
#include <stdexcept>

#include "support/Bytes.h"

namespace vlm::test {

namespace {

TEST(MalformedInputs, CoverTheTableAndNeverTheGoodInput) {
    // A tag, a big-endian length, a record of that length.
    const std::vector<BYTE> vbyGood = FromHex("41 0003 AABBCC");
    const std::vector<InputField> vFields{{"tag", 0, 1, InputField::Meaning::Tag},
                                          {"length", 1, 2, InputField::Meaning::Number, true},
                                          {"body", 3, 3, InputField::Meaning::Record}};
    std::map<std::string, std::string> mapInputs;
    const std::size_t cInputs =
        ForEachMalformedInput(vbyGood, vFields, [&](const auto& rvby, const std::string& rWhat) {
            mapInputs[rWhat] = ToHex(rvby);
            EXPECT_NE(rvby, vbyGood) << rWhat;
        });
    EXPECT_EQ(mapInputs.size(), cInputs);
    EXPECT_EQ(mapInputs["cut to 2 bytes"], "4100");
    EXPECT_EQ(mapInputs["byte 0: bit 7 flipped"], "C10003AABBCC");
    EXPECT_EQ(mapInputs["length set to 65535"], "41FFFFAABBCC");
    EXPECT_EQ(mapInputs["length set to 2"], "410002AABBCC");
    EXPECT_EQ(mapInputs["length set to 768"], "410300AABBCC");
    EXPECT_EQ(mapInputs["tag set to 255"], "FF0003AABBCC");
    EXPECT_EQ(mapInputs["tag and length swapped"], "000341AABBCC");
    EXPECT_EQ(mapInputs["body 0 times"], "410003");
    EXPECT_EQ(mapInputs["body 2 times"], "410003AABBCCAABBCC");
    EXPECT_EQ(mapInputs["body 1000 times"].size(), 2 * (3 + 3000u));
    EXPECT_EQ(mapInputs["12 bytes more"].size(), 2 * (6 + 12u));
    EXPECT_THROW(ForEachMalformedInput(vbyGood, {{"beyond", 5, 2, InputField::Meaning::Number}}, [](auto&, auto&) {}),
                 std::invalid_argument);
}

}  // namespace

}  // namespace vlm::test
