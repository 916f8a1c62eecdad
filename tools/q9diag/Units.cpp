// The units of lengths by the names that people type.
#include "Units.h"

#include <array>
#include <charconv>
#include <cmath>
#include <string>

#include "Failure.h"
#include "Text.h"

namespace vlm::tool {

namespace {

/// In the order of the enumeration.
constexpr std::array<std::string_view, 14> NAMES = {"in",    "in/10",  "in/100", "in/1000", "in/10000",
                                                    "mm",    "mm/10",  "mm/100", "mm/1000", "pt",
                                                    "pt/10", "pt/100", "diu",    "diu/10"};

}  // namespace

Dimension::UnitsEnum UnitByName(std::string_view strName) {
    for (std::size_t i = 0; i < NAMES.size(); ++i)
        if (NAMES[i] == strName) return static_cast<Dimension::UnitsEnum>(i);
    RefuseInput("no such unit: " + Printable(strName) + " (one of " + UnitNames() + ")");
}

std::string_view NameOfUnit(Dimension::UnitsEnum eUnits) noexcept {
    const auto uIndex = static_cast<std::size_t>(eUnits);
    return uIndex < NAMES.size() ? NAMES[uIndex] : "?";
}

std::string UnitNames() {
    std::string strResult;
    for (const std::string_view strName : NAMES)
        strResult.append(strResult.empty() ? "" : ", ").append(strName);
    return strResult;
}

double ParseDecimal(std::string_view strText) {
    double dValue = 0;
    const std::string_view strDigits = strText.starts_with('+') ? strText.substr(1) : strText;
    const char* const pszEnd = strDigits.data() + strDigits.size();
    const auto [pszStop, eError] = std::from_chars(strDigits.data(), pszEnd, dValue);
    if (eError != std::errc() || pszStop != pszEnd || !std::isfinite(dValue))
        RefuseInput("not a decimal number: " + Printable(strText));
    return dValue;
}

Dimension ParseLength(std::string_view strText) {
    std::size_t cNumber = strText.find_first_not_of("0123456789+-.");
    if (cNumber == std::string_view::npos) RefuseInput("a length without a unit: " + Printable(strText));
    std::string_view strUnit = strText.substr(cNumber);
    while (strUnit.starts_with(' '))
        strUnit.remove_prefix(1);
    return Dimension(ParseDecimal(strText.substr(0, cNumber)), UnitByName(strUnit));
}

}  // namespace vlm::tool
