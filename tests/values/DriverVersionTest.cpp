/// @file
/// Versions: byte form, text form, order.
#include "utilities/utilitiesdll/DriverVersion.h"

#include <gtest/gtest.h>

#include "q9version.h"
#include "support/Bytes.h"
#include "support/RecordingSink.h"
#include "utilities/debuggingandexceptions/VelomExceptions.h"

namespace {

using vlm::test::Narrow;

TEST(DriverVersion, ByteFormIsFourLittleEndianWords) {
    const DriverVersion oVersion(0x0102, 0x0304, 0x0506, 0xFFFE);
    ByteBuffer bb = oVersion.GetDriverVersionState();
    EXPECT_EQ(vlm::test::ToHex(bb.GetVector()), "020104030605FEFF");
    oVersion.AppendDriverVersionState(bb.appendByte(0x99));
    const BYTE* pbyCursor = bb.data() + 9;
    DWORD dwRemaining = 8;
    EXPECT_EQ(DriverVersion::WalkBufferToGetDriverVersion(pbyCursor, dwRemaining), oVersion);
    EXPECT_EQ(dwRemaining, 0u);

    BYTE* pbyShort = bb.data();
    dwRemaining = 7;
    EXPECT_THROW(DriverVersion::WalkBufferToGetDriverVersion(pbyShort, dwRemaining),
                 ExceptionNotEnoughBytesForDesiredDataType);
    EXPECT_EQ(pbyShort, bb.data());
    EXPECT_EQ(dwRemaining, 7u);
}

TEST(DriverVersion, TextFormReadsBack) {
    EXPECT_EQ(Narrow(DriverVersion(5, 1009, 1, 0).GetStringValue().View()), "5.1009.1.0");
    EXPECT_EQ(Narrow(DriverVersion::GetLibraryVersion().GetStringValue().View()), Q9_VERSION_TEXT);
    const struct {
        const XCHAR* pszText;
        bool fGood;
        DriverVersion oExpected;
    } aoRows[] = {
        {VTEXT("5.1009.1.0"), true, {5, 1009, 1, 0}},
        {VTEXT("65535.0.00.65535"), true, {65535, 0, 0, 65535}},
        {VTEXT("5"), true, {5, 0, 0, 0}},
        {VTEXT("5.6"), true, {5, 6, 0, 0}},
        {VTEXT(""), false, {}},
        {VTEXT("."), false, {}},
        {VTEXT("5."), false, {}},
        {VTEXT(".5"), false, {}},
        {VTEXT("1.2.3.4.5"), false, {}},
        {VTEXT("65536.0.0.0"), false, {}},
        {VTEXT("4294967296.0.0.0"), false, {}},
        {VTEXT("-1.0.0.0"), false, {}},
        {VTEXT(" 1.0.0.0"), false, {}},
        {VTEXT("1.0.0.0a"), false, {}},
    };
    for (const auto& rRow : aoRows) {
        const DriverVersion oBefore(7, 7, 7, 7);
        DriverVersion oVersion = oBefore;
        EXPECT_EQ(DriverVersion::TryParse(rRow.pszText, oVersion), rRow.fGood) << Narrow(rRow.pszText);
        EXPECT_EQ(oVersion, rRow.fGood ? rRow.oExpected : oBefore) << Narrow(rRow.pszText);
    }
}

TEST(DriverVersion, OrdersPartByPart) {
    const DriverVersion aoAscending[] = {{}, {0, 0, 0, 1}, {0, 0, 1, 0}, {0, 1, 0, 0}, {0, 1, 0, 9}, {1, 0, 0, 0}};
    for (std::size_t i = 1; i < std::size(aoAscending); ++i)
        EXPECT_LT(aoAscending[i - 1], aoAscending[i]) << i;
}

}  // namespace
