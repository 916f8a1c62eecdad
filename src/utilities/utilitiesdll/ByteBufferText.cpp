/// @file
/// Byte buffers: hexadecimal text and dumps.
#include <algorithm>
#include <array>
#include <limits>

#include "utilities/debuggingandexceptions/NoThrow.h"
#include "utilities/debuggingandexceptions/RaiseMacros.h"
#include "utilities/utilitiesdll/ByteBuffer.h"
#include "utilities/utilitiesdll/HexText.h"

namespace {

constexpr std::size_t DUMP_LINE_BYTES = 16;

/// Writes one debug message per line of a dump; `show` turns the bytes of a line into zero-terminated text.
template <class Show>
void DumpLines(const ByteBuffer& kbbData, Show show) {
    constexpr DebugMessageCategories DUMP_CATEGORIES = DebugCategory::Utils | DebugCategory::AttrDump;
    if (!vlm::ReportsAllowed(DUMP_CATEGORIES)) return;
    VLM_REPORT(DUMP_CATEGORIES, VTEXT("Buffer of %llu bytes:"), static_cast<ULONGLONG>(kbbData.size()));
    for (std::size_t cAt = 0; cAt < kbbData.size(); cAt += DUMP_LINE_BYTES) {
        const std::size_t cLine = std::min(DUMP_LINE_BYTES, kbbData.size() - cAt);
        std::array<XCHAR, 3 * DUMP_LINE_BYTES + 1> achLine{};
        show(kbbData.data() + cAt, cLine, achLine.data());
        VLM_REPORT(DUMP_CATEGORIES, VTEXT("%08llx: %s"), static_cast<ULONGLONG>(cAt), achLine.data());
    }
}

}  // namespace

CXString ByteBuffer::ConvertByteBufferToHexBinaryString(const ByteBuffer& kbbData) {
    if (kbbData.size() > static_cast<std::size_t>(std::numeric_limits<int>::max()) / 2) vlm::ThrowOutOfMemory();
    return HexText::Encode(kbbData);
}

bool ByteBuffer::ConvertHexBinaryStringToByteBuffer(const CXString& kcsHex, ByteBuffer& rbbTarget, bool fReport) {
    const std::size_t cUnits = static_cast<std::size_t>(kcsHex.GetLength());
    ByteBuffer bbResult;
    bbResult.resize(cUnits / 2);
    const std::size_t cGood = HexText::DecodeTo(kcsHex.View(), bbResult.data());
    if (cGood == cUnits) {
        rbbTarget = std::move(bbResult);
        return true;
    }
    if (fReport) {
        const XCHAR chSecond = cGood + 1 < cUnits ? kcsHex[cGood + 1] : VTEXT(' ');
        VLM_REPORT_ERROR(
            DebugCategory::Utils,
            VTEXT("Conversion problem(s) with this pair of characters in the input string, %c & %c. One or "
                  "both of these is not a hex character. Clearing the caller's buffer and returning false."),
            kcsHex[cGood], chSecond);
    }
    rbbTarget.clear();
    return false;
}

ByteBuffer ByteBuffer::createFromHexBinaryString(const CXString& kcsHex) {
    ByteBuffer bbResult;
    ConvertHexBinaryStringToByteBuffer(kcsHex, bbResult);
    return bbResult;
}

bool ByteBuffer::ConvertValueToSingleHexChar(BYTE byValue, XCHAR& rchDigit, bool fLowerCase, bool fReport) {
    if (byValue > 15) {
        if (fReport) {
            VLM_REPORT_ERROR(DebugCategory::Utils,
                             VTEXT("The incoming value, 0x%x, cannot be converted to a single hex character. The '0' "
                                   "character will be passed back and false will be returned."),
                             static_cast<UINT>(byValue));
        }
        rchDigit = VTEXT('0');
        return false;
    }
    rchDigit = HexText::DigitOf(byValue, fLowerCase);
    return true;
}

bool ByteBuffer::ConvertSingleHexCharToValue(XCHAR chDigit, BYTE& rbyValue, bool fReport) {
    const int iValue = HexText::ValueOf(chDigit);
    rbyValue = static_cast<BYTE>(iValue < 0 ? 0 : iValue);
    if (iValue < 0 && fReport) {
        VLM_REPORT_ERROR(DebugCategory::Utils,
                         VTEXT("The incoming character, %c, is in an invalid format. Only expecting characters in the "
                               "ranges '0'-'9', 'a'-'f', and 'A'-'F'. Evaluating the overall number as zero and "
                               "returning false."),
                         chDigit);
    }
    return iValue >= 0;
}

void ByteBuffer::DumpAsHexBinary() const {
    DumpLines(*this, [](const BYTE* pbyLine, std::size_t cLine, XCHAR* pszText) {
        for (std::size_t i = 0; i < cLine; ++i) {
            HexText::EncodeTo(std::span(pbyLine + i, 1), pszText + 3 * i);
            pszText[3 * i + 2] = i + 1 < cLine ? VTEXT(' ') : VTEXT('\0');
        }
    });
}

void ByteBuffer::dumpAsCharacters() const {
    DumpLines(*this, [](const BYTE* pbyLine, std::size_t cLine, XCHAR* pszText) {
        std::transform(pbyLine, pbyLine + cLine, pszText,
                       [](BYTE by) { return by >= 0x20 && by < 0x7F ? static_cast<XCHAR>(by) : VTEXT('.'); });
    });
}
