/// @file
/// Moments in UTC: calendar, seconds, text.  Versions: byte form, text form, order.
#include "utilities/utilitiesdll/UtcTime.h"

#include <gtest/gtest.h>

#include <chrono>
#include <limits>
#include <random>
#include <tuple>

#include "q9version.h"
#include "support/Bytes.h"
#include "support/FakePlatform.h"
#include "support/Narrow.h"
#include "utilities/utilitiesdll/DriverVersion.h"

namespace {

using vlm::test::Narrow;

std::string Text(const UtcTime& rTime) {
    return Narrow(rTime.GetStringValue().View());
}

TEST(UtcTime, NowIsTheSystemsSecond) {
    vlm::test::FakePlatform fake;
    const vlm::PlatformScope scope(fake.Get());
    EXPECT_EQ(Text(UtcTime::Now()), "2024-02-29T12:34:56Z");
}

TEST(UtcTime, KnownMoments) {
    for (const auto& [llSeconds, iDayOfWeek, pszText] :
         {std::tuple{LONGLONG{0}, 4, "1970-01-01T00:00:00Z"},
          {LONGLONG{-1}, 3, "1969-12-31T23:59:59Z"},
          {LONGLONG{951782400}, 2, "2000-02-29T00:00:00Z"},
          {LONGLONG{-62167219200}, 6, "0000-01-01T00:00:00Z"},
          {LONGLONG{-62167219201}, 5, "-000001-12-31T23:59:59Z"},
          {LONGLONG{253402300799}, 5, "9999-12-31T23:59:59Z"},
          {LONGLONG{253402300800}, 6, "+010000-01-01T00:00:00Z"},
          {std::numeric_limits<LONGLONG>::max(), 0, "+292277026596-12-04T15:30:07Z"},
          {std::numeric_limits<LONGLONG>::min(), 0, "-292277022657-01-27T08:29:52Z"}}) {
        const UtcTime oTime(llSeconds);
        EXPECT_EQ(Text(oTime), pszText);
        EXPECT_EQ(oTime.GetDayOfWeek(), iDayOfWeek) << pszText;
        UtcTime oBack(77);
        EXPECT_TRUE(oBack.TrySetStringValue(oTime.GetStringValue())) << pszText;
        EXPECT_EQ(oBack.GetSeconds(), llSeconds) << pszText;
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
    for (const XCHAR* pszText : {VTEXT(""),
                                 VTEXT("2024-02-29"),
                                 VTEXT("2024-02-29T12:34:56"),
                                 VTEXT("24-02-29T12:34:56Z"),
                                 VTEXT("2024-2-29T12:34:56Z"),
                                 VTEXT("2024-02-29 12:34:56Z"),
                                 VTEXT("2024-02-29T12:34:56Zx"),
                                 VTEXT("+2024-02-29T12:34:56Z"),
                                 VTEXT("+9999999999999-01-01T00:00:00Z"),
                                 VTEXT("+002024-02-29T12:34:56Z"),
                                 VTEXT("-000000-01-01T00:00:00Z"),
                                 VTEXT("+292277026597-01-01T00:00:00Z"),
                                 VTEXT("2023-02-29T12:34:56Z"),
                                 VTEXT("20a4-02-29T12:34:56Z"),
                                 VTEXT("-"),
                                 VTEXT("2024-00-01T00:00:00Z"),
                                 VTEXT("2024-13-01T00:00:00Z"),
                                 VTEXT("2024-02-30T00:00:00Z"),
                                 VTEXT("1900-02-29T00:00:00Z"),
                                 VTEXT("2024-04-31T00:00:00Z"),
                                 VTEXT("2024-04-00T00:00:00Z"),
                                 VTEXT("2024-04-01T24:00:00Z"),
                                 VTEXT("2024-04-01T23:60:00Z"),
                                 VTEXT("2024-04-01T23:59:60Z")}) {
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
        {292277026596, 12, 4, 15, 30, 6, MAX - 1}, {292277026596, 12, 4, 15, 30, 8, MAX},
        {292277026597, 1, 1, 0, 0, 0, MAX},        {-292277022657, 1, 27, 8, 29, 53, MIN + 1},
        {-292277022657, 1, 27, 8, 29, 51, MIN},    {MAX, 12, 31, 23, 59, 59, MAX},
    };
    for (const auto& rRow : aoRows) {
        EXPECT_TRUE(oTime.TrySet(rRow.llYear, rRow.wMonth, rRow.wDay, rRow.wHour, rRow.wMinute, rRow.wSecond));
        EXPECT_EQ(oTime.GetSeconds(), rRow.llExpected) << rRow.llYear;
    }
}

TEST(DriverVersion, ByteFormIsFourLittleEndianWords) {
    const DriverVersion oVersion(0x0102, 0x0304, 0x0506, 0xFFFE);
    ByteBuffer bb = oVersion.GetDriverVersionState();
    EXPECT_EQ(vlm::test::ToHex(bb.GetVector()), "020104030605FEFF");
    oVersion.AppendDriverVersionState(bb.appendByte(0x99));
    BYTE* pbyCursor = bb.data() + 9;
    DWORD dwRemaining = 8;
    EXPECT_EQ(DriverVersion::WalkBufferToGetDriverVersion(pbyCursor, dwRemaining), oVersion);
    EXPECT_EQ(dwRemaining, 0u);
}

TEST(DriverVersion, TextFormReadsBack) {
    EXPECT_EQ(Narrow(DriverVersion(5, 1009, 1, 0).GetStringValue().View()), "5.1009.1.0");
    EXPECT_EQ(Narrow(DriverVersion::GetLibraryVersion().GetStringValue().View()), Q9_VERSION_TEXT);
    DriverVersion oVersion;
    for (const auto& [pszText, oExpected] : {std::pair{VTEXT("65535.0.00.65535"), DriverVersion(65535, 0, 0, 65535)},
                                             {VTEXT("5"), DriverVersion(5, 0, 0, 0)},
                                             {VTEXT("5.6"), DriverVersion(5, 6, 0, 0)}}) {
        EXPECT_TRUE(DriverVersion::TryParse(pszText, oVersion));
        EXPECT_EQ(oVersion, oExpected) << Narrow(pszText);
    }
    for (const XCHAR* pszBad : {VTEXT(""), VTEXT("5."), VTEXT(".5"), VTEXT("1.2.3.4.5"), VTEXT("65536.0.0.0"),
                                VTEXT("4294967296.0.0.0"), VTEXT("-1.0.0.0"), VTEXT("1.0.0.0a")}) {
        EXPECT_FALSE(DriverVersion::TryParse(pszBad, oVersion)) << Narrow(pszBad);
        EXPECT_EQ(oVersion, DriverVersion(5, 6, 0, 0));
    }
}

TEST(DriverVersion, OrdersPartByPart) {
    const DriverVersion aoAscending[] = {{}, {0, 0, 0, 1}, {0, 0, 1, 0}, {0, 1, 0, 0}, {0, 1, 0, 9}, {1, 0, 0, 0}};
    for (std::size_t i = 1; i < std::size(aoAscending); ++i)
        EXPECT_LT(aoAscending[i - 1], aoAscending[i]) << i;
}

}  // namespace
