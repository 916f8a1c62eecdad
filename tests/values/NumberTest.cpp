/// @file
/// Numbers: rounding against an independent model, and the text forms.
#include "utilities/utilitiesdll/Number.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <limits>
#include <random>

#include "support/RecordingSink.h"

namespace {

using vlm::test::Narrow;
using vlm::test::RecordingSink;

/// The 64-bit conversion of the processor, taken from the bits of the double.
std::int64_t ModelTruncate(double dbl) {
    const std::uint64_t bits = std::bit_cast<std::uint64_t>(dbl);
    const int exponent = static_cast<int>(bits >> 52 & 0x7FF) - 1075;
    const std::uint64_t mantissa = (bits & 0xFFFFFFFFFFFFF) | 0x10000000000000;  // 53 bits
    if (exponent <= -53) return 0;                                               // also zero and the denormals
    if (exponent > 10) return std::numeric_limits<std::int64_t>::min();          // 2^63 and beyond, and no numbers
    const std::uint64_t magnitude = exponent >= 0 ? mantissa << exponent : mantissa >> -exponent;
    return static_cast<std::int64_t>(bits >> 63 != 0 ? 0 - magnitude : magnitude);
}

/// The rounding rule, step by step.
double ModelRound(double value, int decimals, double threshold) {
    double power = 1;
    for (int i = 0; i < decimals; ++i)
        power *= 10;
    const double s = value < 0 ? -1 : 1;
    const double scaled = s * value * power;
    std::int64_t ip = ModelTruncate(scaled);
    if (scaled > 0 && ip < 0) ip = 0x7FFFFFFE;
    const std::uint64_t wrapped =
        static_cast<std::uint64_t>(ModelTruncate(scaled * 100000)) - static_cast<std::uint64_t>(ip) * 100000u;
    const std::int64_t frac = static_cast<std::int64_t>(wrapped);
    const std::int64_t t = ModelTruncate(100000 * threshold);
    const std::int64_t r = t < frac ? ip + 1 : ip;
    return ((decimals > 0 ? static_cast<double>(r) / power : static_cast<double>(r)) + 0.0000001) * s;
}

TEST(Number, RoundsRecordedValues) {
    const struct {
        double dblValue;
        int iDecimals;
        double dblThreshold;
        double dblExpected;
    } aoRows[] = {
        {0.0, 0, 0.499999, 0.0000001},
        {0.4995, 0, 0.499999, 0.0000001},
        {0.49999, 0, 0.499999, 0.0000001},  // 49999 is not above 49999
        {0.5, 0, 0.499999, 1.0000001},
        {-0.5, 0, 0.499999, -1.0000001},
        {352.777777, 0, 0.499999, 353.0000001},
        {1.25, 1, 0.499999, 1.3000001},
        {1.24, 1, 0.499999, 1.2000001},
        {1.9, 0, 0.95, 1.0000001},
        {1.000011, 0, 0.0, 2.0000001},
        // 0x7FFFFFFE, and the overflowing fraction wraps to a great one.
        {1e300, 0, 0.499999, 2147483647.0000001},
        {-1e300, 0, 0.499999, -2147483647.0000001},
        {std::numeric_limits<double>::infinity(), 0, 0.499999, 2147483647.0000001},
        {std::numeric_limits<double>::quiet_NaN(), 0, 0.499999, -9223372036854775808.0},
    };
    for (const auto& rRow : aoRows) {
        EXPECT_DOUBLE_EQ(Number::Round(rRow.dblValue, rRow.iDecimals, rRow.dblThreshold), rRow.dblExpected)
            << rRow.dblValue << " to " << rRow.iDecimals;
    }
}

TEST(Number, RoundsAsTheModelDoesOnAMillionValues) {
    std::mt19937_64 random(1);
    std::uniform_real_distribution<double> near(-1e6, 1e6);
    const double aThresholds[] = {0.499999, 0.5, 0.0, 0.999999};
    int cDifferent = 0;
    for (int i = 0; i < 1000000; ++i) {
        // Sizes of paper, every bit pattern (no numbers among them), and values next to halves.
        const std::uint64_t ull = random();
        const double dblValue = i % 3 == 0 ? near(random)
                                : i % 3 == 1
                                    ? std::bit_cast<double>(ull)
                                    : std::nextafter(static_cast<double>(ull % 4000000) / 2, (ull & 1) ? 0 : 1e9);
        const int iDecimals = i % 2 == 0 ? 0 : static_cast<int>(ull % 7);
        const double dblThreshold = i % 4 == 0 ? aThresholds[ull % 4] : 0.499999;
        const double dblOurs = Number::Round(dblValue, iDecimals, dblThreshold);
        const double dblModel = ModelRound(dblValue, iDecimals, dblThreshold);
        cDifferent += std::bit_cast<std::uint64_t>(dblOurs) != std::bit_cast<std::uint64_t>(dblModel);
    }
    EXPECT_EQ(cDifferent, 0);
}

TEST(Number, ReadsDecimalAndHexadecimalText) {
    const struct {
        const XCHAR* pszText;
        double dblExpected;
    } aoRows[] = {
        {VTEXT("0"), 0},
        {VTEXT("25.4"), 25.4},
        {VTEXT("-.5"), -0.5},
        {VTEXT("+12."), 12},
        {VTEXT(" \t7 "), 7},
        {VTEXT("007"), 7},
        {VTEXT("123456789012345678901234567890"), 123456789012345678901234567890.0},
        {VTEXT("0x1F"), 31},
        {VTEXT("-0Xff"), -255},
        {VTEXT("0x0000FFFFFFFFFFFFFFFF"), 18446744073709551615.0},
    };
    RecordingSink oSink;
    for (const auto& rRow : aoRows) {
        Number oNumber(99.0);
        EXPECT_TRUE(oNumber.SetStringValue(rRow.pszText)) << Narrow(rRow.pszText);
        EXPECT_EQ(oNumber.GetDoubleValue(), rRow.dblExpected) << Narrow(rRow.pszText);
    }
    Number oTiny;
    EXPECT_TRUE(oTiny.SetStringValue(CXString(VTEXT("0.")) + CXString(VTEXT('0'), 400) + CXString(VTEXT("1"))));
    EXPECT_TRUE(oSink.Reports().empty());
}

TEST(Number, BadTextIsZeroAndNamed) {
    const CXString csHuge(VTEXT('9'), 400);
    for (const CXString& kcsText :
         {CXString(), CXString(VTEXT(" ")), CXString(VTEXT(".")), CXString(VTEXT("-")), CXString(VTEXT("--1")),
          CXString(VTEXT("1.2.3")), CXString(VTEXT("1,5")), CXString(VTEXT("1e3")), CXString(VTEXT("1 2")),
          CXString(VTEXT("0x")), CXString(VTEXT("0xG")), CXString(VTEXT("x1")), CXString(VTEXT("inf")),
          CXString(VTEXT("\xFF11")), CXString(VTEXT("0x10000000000000000")), csHuge}) {
        RecordingSink oSink;
        Number oNumber(99.0);
        EXPECT_FALSE(oNumber.SetStringValue(kcsText)) << Narrow(kcsText.View());
        EXPECT_EQ(oNumber.GetDoubleValue(), 0.0);
        EXPECT_EQ(oSink.Count("is not a number. Evaluating the overall number as zero."), 1u);
    }
    RecordingSink oSink;
    Number oNumber(99.0);
    EXPECT_FALSE(oNumber.SetStringValue(VTEXT("0x1.5")));
    EXPECT_EQ(oNumber.GetDoubleValue(), 0.0);
    EXPECT_EQ(
        oSink.Count("The incoming string, 0x1.5, is in an invalid format. It contains both the hex format prefix, "
                    "0x (or 0X), and a decimal point. Evaluating the overall number as zero."),
        1u);
}

TEST(Number, WritesDecimalAndHexadecimalText) {
    const struct {
        double dblValue;
        int iDecimals;
        bool fTrimZeros;
        bool fHexadecimal;
        const char* pszExpected;
    } aoRows[] = {
        {0, 0, false, false, "0"},
        {25.4, 0, false, false, "25"},
        {25.4, 3, false, false, "25.400"},
        {25.4, 3, true, false, "25.4"},
        {25, 3, true, false, "25"},
        {100, 0, true, false, "100"},
        {-0.05, 1, false, false, "-0.1"},
        {-0.04, 1, false, false, "0.0"},
        {0.001, 2, true, false, "0"},
        {1.5, -3, false, false, "2"},
        {0.1, 99, true, false, "0.1"},
        {1e20, 2, false, false, "100000000000000000000.00"},
        {254.6, 0, false, true, "0xFF"},
        {-31, 5, false, true, "-0x1F"},
        {1e30, 0, false, true, "1000000000000000019884624838656"},
        {-std::numeric_limits<double>::infinity(), 2, false, false, "-inf"},
        {-std::numeric_limits<double>::quiet_NaN(), 2, false, false, "nan"},
    };
    for (const auto& rRow : aoRows) {
        const CXString csText =
            Number(rRow.dblValue).GetStringValue(rRow.iDecimals, 0.499999, rRow.fTrimZeros, rRow.fHexadecimal);
        EXPECT_EQ(Narrow(csText.View()), rRow.pszExpected);
    }
    std::mt19937_64 random(3);
    for (int i = 0; i < 20000; ++i) {
        const double dblValue =
            static_cast<double>(static_cast<std::int64_t>(random() % 2000000000) - 1000000000) / 1000;
        Number oBack;
        EXPECT_TRUE(oBack.SetStringValue(Number(dblValue).GetStringValue(3)));
        EXPECT_EQ(oBack.GetDoubleValue(), dblValue);
    }
}

}  // namespace
