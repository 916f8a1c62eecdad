/// @file
/// Moments in UTC: calendar, seconds, text.
#include "utilities/utilitiesdll/UtcTime.h"

#include <gtest/gtest.h>

#include <chrono>
#include <limits>
#include <random>

#include "support/Narrow.h"

namespace {

using vlm::test::Narrow;

std::string Text(const UtcTime& rTime) {
    return Narrow(rTime.GetStringValue().View());
}

TEST(UtcTime, KnownMoments) {
    const struct {
        LONGLONG llSeconds;
        int iDayOfWeek;
        const char* pszText;
    } aoRows[] = {
        {0, 4, "1970-01-01T00:00:00Z"},
        {-1, 3, "1969-12-31T23:59:59Z"},
        {951782400, 2, "2000-02-29T00:00:00Z"},
        {1234567890, 5, "2009-02-13T23:31:30Z"},
        {2147483648, 2, "2038-01-19T03:14:08Z"},
        {-2203891200, 4, "1900-03-01T00:00:00Z"},
        {-62135596800, 1, "0001-01-01T00:00:00Z"},
        {-62167219200, 6, "0000-01-01T00:00:00Z"},
        {-62167219201, 5, "-000001-12-31T23:59:59Z"},
        {253402300799, 5, "9999-12-31T23:59:59Z"},
        {253402300800, 6, "+010000-01-01T00:00:00Z"},
        {std::numeric_limits<LONGLONG>::max(), 0, "+292277026596-12-04T15:30:07Z"},
        {std::numeric_limits<LONGLONG>::min(), 0, "-292277022657-01-27T08:29:52Z"},
    };
    for (const auto& rRow : aoRows) {
        const UtcTime oTime(rRow.llSeconds);
        EXPECT_EQ(Text(oTime), rRow.pszText);
        EXPECT_EQ(oTime.GetDayOfWeek(), rRow.iDayOfWeek) << rRow.pszText;
        EXPECT_EQ(oTime.GetSeconds(), rRow.llSeconds);
        UtcTime oBack(77);
        EXPECT_TRUE(oBack.TrySetStringValue(oTime.GetStringValue())) << rRow.pszText;
        EXPECT_EQ(oBack.GetSeconds(), rRow.llSeconds) << rRow.pszText;
    }
}

TEST(UtcTime, TheCalendarIsTheStandardLibrarys) {
    namespace chrono = std::chrono;
    std::mt19937_64 random(31);
    for (int i = 0; i < 20000; ++i) {
        const LONGLONG llSeconds = static_cast<LONGLONG>(random() % 1000000000000) - 500000000000;  // years +-15,000
        const chrono::sys_seconds moment{chrono::seconds(llSeconds)};
        const chrono::sys_days midnight = chrono::floor<chrono::days>(moment);
        const chrono::year_month_day date{midnight};
        const UtcTime oTime(llSeconds);
        ASSERT_EQ(oTime.GetYear(), static_cast<int>(date.year())) << llSeconds;
        ASSERT_EQ(oTime.GetMonth(), static_cast<unsigned>(date.month())) << llSeconds;
        ASSERT_EQ(oTime.GetDay(), static_cast<unsigned>(date.day())) << llSeconds;
        ASSERT_EQ(oTime.GetDayOfWeek(), chrono::weekday(midnight).c_encoding()) << llSeconds;
        UtcTime oBack;
        ASSERT_TRUE(oBack.TrySet(oTime.GetYear(), oTime.GetMonth(), oTime.GetDay(), oTime.GetHour(), oTime.GetMinute(),
                                 oTime.GetSecond()));
        ASSERT_EQ(oBack, oTime);
    }
}

TEST(UtcTime, ImpossibleMomentsChangeNothingAndFarOnesClamp) {
    UtcTime oTime(12345);
    EXPECT_FALSE(oTime.TrySet(2024, 0, 1));
    EXPECT_FALSE(oTime.TrySet(2024, 13, 1));
    EXPECT_FALSE(oTime.TrySet(2024, 2, 30));
    EXPECT_FALSE(oTime.TrySet(2023, 2, 29));
    EXPECT_FALSE(oTime.TrySet(1900, 2, 29));
    EXPECT_FALSE(oTime.TrySet(2024, 4, 31));
    EXPECT_FALSE(oTime.TrySet(2024, 4, 0));
    EXPECT_FALSE(oTime.TrySet(2024, 4, 1, 24));
    EXPECT_FALSE(oTime.TrySet(2024, 4, 1, 23, 60));
    EXPECT_FALSE(oTime.TrySet(2024, 4, 1, 23, 59, 60));
    for (const XCHAR* pszText :
         {VTEXT(""), VTEXT("2024-02-29"), VTEXT("2024-02-29T12:34:56"), VTEXT("24-02-29T12:34:56Z"),
          VTEXT("2024-2-29T12:34:56Z"), VTEXT("2024-02-29 12:34:56Z"), VTEXT("2024-02-29T12:34:56Zx"),
          VTEXT("+2024-02-29T12:34:56Z"), VTEXT("+9999999999999-01-01T00:00:00Z"), VTEXT("+002024-02-29T12:34:56Z"),
          VTEXT("-000000-01-01T00:00:00Z"), VTEXT("+292277026597-01-01T00:00:00Z"), VTEXT("2023-02-29T12:34:56Z"),
          VTEXT("20a4-02-29T12:34:56Z"), VTEXT("-"), VTEXT("+")}) {
        EXPECT_FALSE(oTime.TrySetStringValue(pszText)) << Narrow(pszText);
    }
    EXPECT_EQ(oTime, UtcTime(12345));

    constexpr LONGLONG MAX = std::numeric_limits<LONGLONG>::max();
    constexpr LONGLONG MIN = std::numeric_limits<LONGLONG>::min();
    const struct {
        LONGLONG llYear;
        WORD wMonth, wDay, wHour, wMinute, wSecond;
        LONGLONG llExpected;
    } aoRows[] = {
        {292277026596, 12, 4, 15, 30, 6, MAX - 1},
        {292277026596, 12, 4, 15, 30, 8, MAX},
        {292277026597, 1, 1, 0, 0, 0, MAX},
        {-292277022657, 1, 27, 8, 29, 53, MIN + 1},
        {-292277022657, 1, 27, 8, 29, 51, MIN},
        {MIN, 1, 1, 0, 0, 0, MIN},
        {MAX, 12, 31, 23, 59, 59, MAX},
    };
    for (const auto& rRow : aoRows) {
        EXPECT_TRUE(oTime.TrySet(rRow.llYear, rRow.wMonth, rRow.wDay, rRow.wHour, rRow.wMinute, rRow.wSecond));
        EXPECT_EQ(oTime.GetSeconds(), rRow.llExpected) << rRow.llYear;
    }
    EXPECT_LT(UtcTime(MIN), UtcTime(MAX));
}

}  // namespace
