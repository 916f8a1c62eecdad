/// @file
/// Texts of values: hexadecimal runs, numbers, versions and times read any text, and what they accept reads back.
///
/// Input: UTF-16 units, little-endian; an odd last byte is ignored.

#include "Fuzz.h"
#include "utilities/utilitiesdll/ByteBuffer.h"
#include "utilities/utilitiesdll/DriverVersion.h"
#include "utilities/utilitiesdll/Number.h"
#include "utilities/utilitiesdll/UtcTime.h"

using vlm::test::Require;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pby, std::size_t cBytes) {
    ByteBuffer bbText(pby, cBytes - cBytes % 2);
    bbText.appendNullChar();  // the one zero unit that a string value drops
    const CXString csText = bbText.getAsStringValue();

    ByteBuffer bbBytes = ByteBuffer::createFromByteValue(1);
    if (ByteBuffer::ConvertHexBinaryStringToByteBuffer(csText, bbBytes)) {
        CXString csUpper = csText;
        Require(bbBytes.getAsHexBinaryString() == csUpper.MakeUpper());
    } else {
        Require(bbBytes.empty());
    }

    Number oNumber(1.0);
    if (oNumber.SetStringValue(csText)) {
        Number oAgain;
        Require(oAgain.SetStringValue(oNumber.GetStringValue(6)));
    } else {
        Require(oNumber.GetDoubleValue() == 0.0);
    }

    DriverVersion oVersion;
    if (DriverVersion::TryParse(csText, oVersion)) {
        DriverVersion oAgain;
        Require(DriverVersion::TryParse(oVersion.GetStringValue(), oAgain) && oAgain == oVersion);
    }

    UtcTime oTime;
    if (oTime.TrySetStringValue(csText)) {
        UtcTime oAgain;
        Require(oAgain.TrySetStringValue(oTime.GetStringValue()) && oAgain == oTime);
    }
    return 0;
}
