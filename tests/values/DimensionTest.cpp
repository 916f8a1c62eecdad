/// @file
/// Lengths: units, conversion, comparison.
#include "utilities/utilitiesdll/Dimension.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>

#include "support/RecordingSink.h"

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

TEST(Dimension, UnitsHaveTheirLengthsAndNames) {
    const struct {
        DWORD dwUnits;
        double dblInOneInch;
        const char* pszName;
    } aoRows[] = {
        {0, 1, "[Inches]"},
        {1, 10, "[10ths of Inches]"},
        {2, 100, "[100ths of Inches]"},
        {3, 1000, "[1,000ths of Inches]"},
        {4, 10000, "[10,000ths of Inches]"},
        {5, 25.4, "[MMs]"},
        {6, 254, "[10ths of MMs]"},
        {7, 2540, "[100ths of MMs]"},
        {8, 25400, "[1,000ths of MMs]"},
        {9, 72, "[Pts]"},
        {10, 720, "[10ths of Pts]"},
        {11, 7200, "[100ths of Pts]"},
        {12, 96, "[DIUs]"},
        {13, 960, "[10ths of DIUs]"},
    };
    for (const auto& rRow : aoRows) {
        const Dimension oInch(rRow.dblInOneInch, static_cast<Unit>(rRow.dwUnits));
        EXPECT_NEAR(oInch.GetDoubleValue(MM1000), 25400.0, 1e-9) << rRow.pszName;
        EXPECT_EQ(oInch, Dimension(1.0, IN)) << rRow.pszName;
        EXPECT_EQ(Narrow(oInch.GetUnitsDebugDisplayString().View()), rRow.pszName);
        EXPECT_TRUE(Dimension::IsEquivalent(oInch, Dimension(1.0, IN), PT, 2, 0.499999));
    }
    EXPECT_EQ(
        Narrow(Dimension::GetDebugDisplayString(static_cast<Unit>(14)).View()),
        "Unrecognized UnitsEnum of 14 (0xe). You may need to update GetDebugDisplayString() with a recently added "
        "units enum type.");
}

TEST(Dimension, ComparesToTheNearestThousandth) {
    const struct {
        Dimension oLeft;
        Dimension oRight;
        int iOrder;
    } aoRows[] = {
        {Dimension(1.0, IN), Dimension(25.4, MM), 0},
        {Dimension(1.0, IN), Dimension(72.0, PT), 0},
        {Dimension(1.0, PT), Dimension(353.0, MM1000), 0},
        {Dimension(0.4995, MM1000), Dimension(), 0},
        {Dimension(0.5, MM1000), Dimension(1.0, MM1000), 0},
        {Dimension(-0.5, MM1000), Dimension(-1.0, MM1000), 0},
        {Dimension(-1.0, MM1000), Dimension(1.0, MM1000), -1},
        {Dimension(1.0, IN), Dimension(25.401, MM), -1},
        {Dimension(3e9, MM1000), Dimension(0.0, MM), -1},  // 32 bits cannot hold it: the lowest value
        {Dimension(std::nan(""), MM), Dimension(-1e300, IN), -1},
    };
    for (const auto& rRow : aoRows) {
        for (const bool fSwapped : {false, true}) {
            const Dimension& rA = fSwapped ? rRow.oRight : rRow.oLeft;
            const Dimension& rB = fSwapped ? rRow.oLeft : rRow.oRight;
            const int iOrder = fSwapped ? -rRow.iOrder : rRow.iOrder;
            SCOPED_TRACE(Narrow((rA.GetDumpDisplayString(true) + VTEXT(" / ") + rB.GetDumpDisplayString(true)).View()));
            EXPECT_EQ(rA == rB, iOrder == 0);
            EXPECT_EQ(rA != rB, iOrder != 0);
            EXPECT_EQ(rA < rB, iOrder < 0);
            EXPECT_EQ(rA > rB, iOrder > 0);
            EXPECT_EQ(rA <= rB, iOrder <= 0);
            EXPECT_EQ(rA >= rB, iOrder >= 0);
        }
    }
    EXPECT_EQ(Dimension(1.0, IN).GetRoundedThousandthsOfMM(), 25400);
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
    EXPECT_EQ(Dimension().GetUnits(), MM100);
}

TEST(Dimension, UnknownUnitsAreReportedAndGiveZero) {
    RecordingSink oSink;
    const Unit eUnknown = static_cast<Unit>(14);
    EXPECT_EQ(Dimension(5.0, eUnknown).GetDoubleValue(MM), 0.0);
    EXPECT_EQ(
        oSink.Count("A UnitsEnum value was added to Dimension.h, but an associated case statement was not added in "
                    "Dimension::GetDimensionInThousandthsOfMM()!"),
        1u);
    oSink.Clear();
    Dimension oLength(5.0, MM);
    EXPECT_EQ(oLength.GetDoubleValue(eUnknown), 0.0);
    oLength.SetUnits(eUnknown);
    EXPECT_EQ(oLength, Dimension(5.0, MM));
    EXPECT_EQ(oSink.Count("not added in Dimension::GetDoubleValue()!"), 2u);
    oSink.Clear();
    Dimension(12.5, MM).Dump();
    EXPECT_THAT(oSink.Texts(), ElementsAre("Dimension: 12.5 [MMs]"));
}

}  // namespace
