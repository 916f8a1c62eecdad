/// @file
/// Golden files of the tests: tests/data, each with a line in its README that says where it comes from.
#pragma once

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>

#include "support/Bytes.h"

namespace vlm::test {

/// The contents of a file below tests/data; a missing one fails the test.
inline std::vector<BYTE> ReadGolden(const std::string& rName) {
    std::ifstream oFile(std::string(Q9_TEST_DATA_DIR) + "/" + rName, std::ios::binary);
    EXPECT_TRUE(oFile.is_open()) << "no golden file " << rName;
    return {std::istreambuf_iterator<char>(oFile), std::istreambuf_iterator<char>()};
}

}  // namespace vlm::test
