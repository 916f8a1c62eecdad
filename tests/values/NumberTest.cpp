/// @file
/// Numbers: rounding against an independent model, and the text forms.  Lengths: units, conversion, comparison.
#include "utilities/utilitiesdll/Number.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <limits>
#include <random>
#include <tuple>
#include <utility>

#include "support/RecordingSink.h"
#include "utilities/utilitiesdll/Dimension.h"

namespace {

using ::testing::ElementsAre;
using vlm::test::Narrow;
using vlm::test::RecordingSink;
using Unit = Dimension::UnitsEnum;
constexpr Unit IN = Dimension::DUE_INCHES;
constexpr Unit MM = Dimension::DUE_MM;
constexpr Unit MM100 = Dimension::DUE_HUNDREDTHS_OF_MM;
constexpr Unit MM1000 = Dimension::DUE_THOUSANDTHS_OF_MM;
constexpr Unit PT = Dimension::DUE_POINTS;

/// The 64-bit conversion of the processor: what it cannot hold, and what is no number, is the lowest value.
std::int64_t ModelTruncate(double dbl) {
    return dbl >= -0x1p63 && dbl < 0x1p63 ? static_cast<std::int64_t>(dbl) : std::numeric_limits<std::int64_t>::min();
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
    RecordingSink oSink;
    for (const auto& [pszText, dblExpected] :
         {std::pair{VTEXT("25.4"), 25.4},
          {VTEXT("-.5"), -0.5},
          {VTEXT("+12."), 12.0},
          {VTEXT(" \t7 "), 7.0},
          {VTEXT("123456789012345678901234567890"), 123456789012345678901234567890.0},
          {VTEXT("-0Xff"), -255.0},
          {VTEXT("0x0000FFFFFFFFFFFFFFFF"), 18446744073709551615.0}}) {
        Number oNumber(99.0);
        EXPECT_TRUE(oNumber.SetStringValue(pszText)) << Narrow(pszText);
        EXPECT_EQ(oNumber.GetDoubleValue(), dblExpected) << Narrow(pszText);
    }
    Number oTiny;
    EXPECT_TRUE(oTiny.SetStringValue(CXString(VTEXT("0.")) + CXString(VTEXT('0'), 400) + CXString(VTEXT("1"))));
    EXPECT_TRUE(oSink.Reports().empty());
}

TEST(Number, BadTextIsZeroAndNamed) {
    const CXString csHuge(VTEXT('9'), 400);
    for (const CXString& kcsText :
         {CXString(), CXString(VTEXT(".")), CXString(VTEXT("--1")), CXString(VTEXT("1.2.3")), CXString(VTEXT("1e3")),
          CXString(VTEXT("1 2")), CXString(VTEXT("0x")), CXString(VTEXT("0xG")), CXString(VTEXT("inf")),
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
    using Limits = std::numeric_limits<double>;
    for (const auto& [dblValue, iDecimals, fTrimZeros, pszExpected] : {std::tuple{0.0, 0, false, "0"},
                                                                       {25.4, 3, true, "25.4"},
                                                                       {100.0, 0, true, "100"},
                                                                       {-0.05, 1, false, "-0.1"},
                                                                       {-0.04, 1, false, "0.0"},
                                                                       {0.001, 2, true, "0"},
                                                                       {1e20, 2, false, "100000000000000000000.00"},
                                                                       {-Limits::infinity(), 2, false, "-inf"},
                                                                       {-Limits::quiet_NaN(), 2, false, "nan"}}) {
        EXPECT_EQ(Narrow(Number(dblValue).GetStringValue(iDecimals, 0.499999, fTrimZeros).View()), pszExpected);
    }
    for (const auto& [dblValue, pszExpected] :
         {std::pair{254.6, "0xFF"}, {-31.0, "-0x1F"}, {1e30, "1000000000000000019884624838656"}}) {
        EXPECT_EQ(Narrow(Number(dblValue).GetStringValue(5, 0.499999, false, true).View()), pszExpected);
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

TEST(Dimension, UnitsHaveTheirLengthsAndNames) {
    DWORD dwUnits = 0;
    for (const auto& [dblInOneInch, pszName] : {std::pair{1.0, "[Inches]"},
                                                {10.0, "[10ths of Inches]"},
                                                {100.0, "[100ths of Inches]"},
                                                {1000.0, "[1,000ths of Inches]"},
                                                {10000.0, "[10,000ths of Inches]"},
                                                {25.4, "[MMs]"},
                                                {254.0, "[10ths of MMs]"},
                                                {2540.0, "[100ths of MMs]"},
                                                {25400.0, "[1,000ths of MMs]"},
                                                {72.0, "[Pts]"},
                                                {720.0, "[10ths of Pts]"},
                                                {7200.0, "[100ths of Pts]"},
                                                {96.0, "[DIUs]"},
                                                {960.0, "[10ths of DIUs]"}}) {
        const Dimension oInch(dblInOneInch, static_cast<Unit>(dwUnits++));
        EXPECT_NEAR(oInch.GetDoubleValue(MM1000), 25400.0, 1e-9) << pszName;
        EXPECT_EQ(oInch, Dimension(1.0, IN)) << pszName;
        EXPECT_EQ(Narrow(oInch.GetUnitsDebugDisplayString().View()), pszName);
    }
    EXPECT_EQ(
        Narrow(Dimension::GetDebugDisplayString(static_cast<Unit>(14)).View()),
        "Unrecognized UnitsEnum of 14 (0xe). You may need to update GetDebugDisplayString() with a recently added "
        "units enum type.");
}

TEST(Dimension, ComparesToTheNearestThousandth) {
    for (const auto& [oLeft, oRight, iSign] :
         {std::tuple{Dimension(1.0, IN), Dimension(25.4, MM), 0},
          {Dimension(1.0, PT), Dimension(353.0, MM1000), 0},
          {Dimension(0.4995, MM1000), Dimension(), 0},
          {Dimension(0.5, MM1000), Dimension(1.0, MM1000), 0},
          {Dimension(-0.5, MM1000), Dimension(-1.0, MM1000), 0},
          {Dimension(-1.0, MM1000), Dimension(1.0, MM1000), -1},
          {Dimension(3e9, MM1000), Dimension(0.0, MM), -1},  // 32 bits cannot hold it: the lowest value
          {Dimension(std::nan(""), MM), Dimension(-1e300, IN), -1}}) {
        for (const bool fSwapped : {false, true}) {
            const Dimension& rA = fSwapped ? oRight : oLeft;
            const Dimension& rB = fSwapped ? oLeft : oRight;
            const int iOrder = fSwapped ? -iSign : iSign;
            SCOPED_TRACE(Narrow((rA.GetDumpDisplayString(true) + VTEXT(" / ") + rB.GetDumpDisplayString(true)).View()));
            EXPECT_EQ(rA == rB, iOrder == 0);
            EXPECT_EQ(rA != rB, iOrder != 0);
            EXPECT_EQ(rA < rB, iOrder < 0);
            EXPECT_EQ(rA > rB, iOrder > 0);
            EXPECT_EQ(rA <= rB, iOrder <= 0);
            EXPECT_EQ(rA >= rB, iOrder >= 0);
        }
    }
    EXPECT_FALSE(Dimension::IsEquivalent(Dimension(1.0, MM), Dimension(1.01, MM), MM, 2, 0.499999));
    EXPECT_TRUE(Dimension::IsEquivalent(Dimension(1.0, MM), Dimension(1.01, MM), MM, 1, 0.499999));
}

TEST(Dimension, SetUnitsConvertsAndSetValueDoesNot) {
    Dimension oLength(2540.0, MM100);
    oLength.SetUnits(MM);
    EXPECT_DOUBLE_EQ(oLength.GetValue().GetDoubleValue(), 25.4);
    EXPECT_EQ(oLength.GetUnits(), MM);
    oLength.SetValue(Number(3.0), IN);
    EXPECT_EQ(oLength, Dimension(3.0, IN));
    oLength.SetDoubleValue(-2.0);
    oLength.ReverseSign();
    EXPECT_EQ(oLength, Dimension(2.0, IN));
    EXPECT_TRUE(oLength.SetStringValue(VTEXT("1.5")));
    EXPECT_EQ(oLength, Dimension(1.5, IN));
    EXPECT_TRUE(oLength.SetStringValue(VTEXT("0x10"), MM));
    EXPECT_EQ(oLength, Dimension(VTEXT("16"), MM));
    EXPECT_EQ(Narrow(Dimension(1.0, IN).GetStringValue(MM, 3, 0.499999, true, false).View()), "25.4");
    EXPECT_DOUBLE_EQ(Dimension(1.0, PT).GetValue(MM, 2, 0.499999).GetDoubleValue(), 0.3500001);
}

TEST(Dimension, UnknownUnitsAreReportedAndGiveZero) {
    RecordingSink oSink;
    const Unit eUnknown = static_cast<Unit>(14);
    EXPECT_EQ(Dimension(5.0, eUnknown).GetDoubleValue(MM), 0.0);
    EXPECT_EQ(
        oSink.Count("A UnitsEnum value was added to Dimension.h, but an associated case statement was not added in "
                    "Dimension::GetDimensionInThousandthsOfMM()!"),
        1u);
    Dimension oLength(5.0, MM);
    oLength.SetUnits(eUnknown);
    EXPECT_EQ(oLength, Dimension(5.0, MM));
    EXPECT_EQ(oSink.Count("not added in Dimension::GetDoubleValue()!"), 1u);
    oSink.Clear();
    Dimension(12.5, MM).Dump();
    EXPECT_THAT(oSink.Texts(), ElementsAre("Dimension: 12.5 [MMs]"));
}

}  // namespace
