/// @file
/// Pattern search: the same results as a plain search, with every engine.
#include "utilities/utilitiesdll/HorspoolMatch.h"

#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <string>

#include "support/RecordingSink.h"
#include "utilities/utilitiesdll/detail/values/CpuLevel.h"

namespace {

using vlm::CpuLevel;
using vlm::test::RecordingSink;

/// Searches a copy that is exactly as long, so that a sanitizer sees a read beyond.
int Search(const HorspoolMatch& rMatch, const std::string& rData, int iStart) {
    const std::vector<BYTE> vby(rData.begin(), rData.end());
    return rMatch.Search(vby.data(), static_cast<DWORD>(vby.size()), iStart);
}

HorspoolMatch Pattern(const std::string& rText) {
    return HorspoolMatch(rText.data(), static_cast<int>(rText.size()));
}

TEST(HorspoolMatch, FindsTheFirstMatchFromTheStart) {
    const HorspoolMatch oMatch = Pattern("abc");
    EXPECT_EQ(oMatch.PatternLength(), 3);
    const struct {
        const char* pszData;
        int iStart;
        int iExpected;
    } aoRows[] = {
        {"xxabcabc", 0, 2},  {"xxabcabc", 2, 2},   {"xxabcabc", 3, 5}, {"xxabcabc", 6, -1}, {"xxabcabc", 8, -1},
        {"xxabcabc", 9, -1}, {"xxabcabc", -1, -1}, {"ab", 0, -1},      {"", 0, -1},         {"abc", 0, 0},
    };
    for (const auto& rRow : aoRows)
        EXPECT_EQ(Search(oMatch, rRow.pszData, rRow.iStart), rRow.iExpected) << rRow.iStart;
    EXPECT_EQ(oMatch.Search(nullptr, 8, 0), -1);
    const std::vector<BYTE> vby{'a', 'b', 'c'};
    EXPECT_EQ(oMatch.Search(ByteBuffer(vby), 0), 0);
    const HorspoolMatch oCopy(oMatch);
    EXPECT_EQ(Search(oCopy, "xabc", 0), 1);
}

TEST(HorspoolMatch, AnEmptyPatternIsNeverFound) {
    RecordingSink oSink;
    for (const int iLength : {0, -1, -2147483647 - 1}) {
        const HorspoolMatch oMatch("abc", iLength);
        EXPECT_EQ(oMatch.PatternLength(), 0);
        EXPECT_EQ(Search(oMatch, "abc", 0), -1);
    }
    EXPECT_EQ(Search(HorspoolMatch(nullptr, 3), "abc", 0), -1);
    EXPECT_EQ(oSink.Count("A pattern of length 0 is never found."), 4u);
}

TEST(HorspoolMatch, AgreesWithAPlainSearchWithEveryEngine) {
    std::mt19937_64 random(21);
    for (const CpuLevel eLevel : {CpuLevel::Plain, CpuLevel::Avx2}) {
        const CpuLevel eFormer = vlm::ExchangeCpuLevel(eLevel);
        for (int i = 0; i < 8000; ++i) {
            // Few different bytes, so that patterns nearly match everywhere; now and then a long pattern.
            const unsigned uLetters = 1 + static_cast<unsigned>(random() % 3);
            const std::size_t cPattern = 1 + random() % (i % 10 == 0 ? 400 : 40);
            std::string data(random() % 600, 'a');
            std::string pattern(cPattern, 'a');
            for (char& rch : data)
                rch = static_cast<char>('a' + random() % uLetters);
            for (char& rch : pattern)
                rch = static_cast<char>('a' + random() % uLetters);
            if (i % 2 == 0 && data.size() > cPattern)
                pattern = data.substr(random() % (data.size() - cPattern), cPattern);
            const std::size_t cStart = random() % (data.size() + 1);
            const std::size_t cFound = data.find(pattern, cStart);
            ASSERT_EQ(Search(Pattern(pattern), data, static_cast<int>(cStart)),
                      cFound == std::string::npos ? -1 : static_cast<int>(cFound))
                << "'" << pattern << "' in '" << data << "' from " << cStart;
        }
        vlm::ExchangeCpuLevel(eFormer);
    }
}

TEST(HorspoolMatch, FindsBehindManyNearMatches) {
    // Both ends match at every offset and the middle never does, until the very end: the search changes its way.
    const std::string pattern = "a" + std::string(40, 'b') + "a";
    const std::string data = std::string(20000, 'a') + pattern;
    EXPECT_EQ(Search(Pattern(pattern), data, 5), 19999 + 1);
}

}  // namespace
