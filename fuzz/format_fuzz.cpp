/// @file
/// Fuzz target: any format text over any arguments gives a bounded, terminated text, and a smaller buffer a start of
/// it.
#include <cstring>
#include <string>
#include <vector>

#include "Fuzz.h"
#include "utilities/utilitiesdll/CXString.h"
#include "utilities/utilitiesdll/Format.h"

using vlm::test::Require;

namespace {

/// One argument of the kind that a byte names, with a value from the bytes behind it.
vlm::FormatArg MakeArg(std::uint8_t byKind, std::uint64_t ullValue) {
    static const XCHAR achOpenText[] = {VTEXT('o'), VTEXT('p'), 0xD83D, 0xDE00};
    double dblValue = 0;
    std::memcpy(&dblValue, &ullValue, sizeof dblValue);
    switch (byKind % 10) {
        case 0:
            return static_cast<std::int32_t>(ullValue);
        case 1:
            return ullValue;
        case 2:
            return static_cast<char>(ullValue);
        case 3:
            return dblValue;
        case 4:
            return VTEXT("wide \u20AC text");
        case 5:
            return "narrow \xE9 text";
        case 6:
            return XStringView(achOpenText, ullValue % 5);
        case 7:
            return static_cast<const XCHAR*>(nullptr);
        case 8:
            return reinterpret_cast<const void*>(static_cast<std::uintptr_t>(ullValue));
        default:
            return static_cast<const char*>(nullptr);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pby, std::size_t cBytes) {
    std::vector<vlm::FormatArg> voArgs;
    std::size_t cArgs = cBytes ? *pby % 6 : 0;
    std::size_t u = cBytes ? 1 : 0;
    for (; cArgs > 0 && u + 9 <= cBytes; --cArgs, u += 9) {
        std::uint64_t ullValue = 0;
        std::memcpy(&ullValue, pby + u + 1, sizeof ullValue);
        voArgs.push_back(MakeArg(pby[u], ullValue));
    }
    std::basic_string<XCHAR> strFormat;
    for (; u < cBytes; ++u)
        strFormat += static_cast<XCHAR>(pby[u] < 0xF0 ? pby[u] : 0xD700 + pby[u] * 8);

    CXString csWhole;
    const vlm::FormatResult oWhole = vlm::TryFormatCore(csWhole, strFormat.c_str(), voArgs.data(), voArgs.size());
    Require(oWhole.m_cUnits == csWhole.View().size() && oWhole.m_cUnits <= vlm::FORMAT_MAX_UNITS);
    Require(csWhole.GetLpcwstr()[csWhole.GetLength()] == 0);
    for (const std::size_t cCapacity : {std::size_t{0}, std::size_t{1}, std::size_t{7}, std::size_t{64}}) {
        std::vector<XCHAR> vchBuffer(cCapacity);  // exact, so that the sanitizer sees one unit too many
        const vlm::FormatResult oCut =
            vlm::FormatToBufferCore(vchBuffer.data(), cCapacity, strFormat.c_str(), voArgs.data(), voArgs.size());
        Require(cCapacity == 0 ? oCut.m_cUnits == 0 : oCut.m_cUnits < cCapacity && vchBuffer[oCut.m_cUnits] == 0);
        Require(csWhole.View().substr(0, oCut.m_cUnits) == XStringView(vchBuffer.data(), oCut.m_cUnits));
    }
    return 0;
}
