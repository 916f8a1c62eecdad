// dimension: conversion and rounding of lengths.
#include <array>
#include <charconv>

#include "CommandLine.h"
#include "Commands.h"
#include "Failure.h"
#include "Output.h"
#include "Units.h"

namespace vlm::tool {

namespace {

struct Options {
    std::string strValue;
    std::string strUnit;
    std::string strTo;
    std::optional<std::int64_t> ollDecimals;
};

/// The shortest decimal text that reads back as the same value.
std::string ShortestText(double dblValue) {
    std::array<char, 64> achText{};
    const auto oEnd = std::to_chars(achText.data(), achText.data() + achText.size(), dblValue);
    return std::string(achText.data(), oEnd.ptr);
}

int Run(const Options& rOptions, Output& rOutput) {
    Number oValue;
    if (!oValue.SetStringValue(CXString(XStringView(FromUtf8(rOptions.strValue, "VALUE")))))
        RefuseInput("VALUE: not a number: " + Printable(std::string_view(rOptions.strValue)));
    const Dimension oLength(oValue, UnitByName(rOptions.strUnit));
    const Dimension::UnitsEnum eTo = UnitByName(rOptions.strTo);
    const double dblResult = oLength.GetDoubleValue(eTo);
    const std::string strResult = rOptions.ollDecimals
                                      ? ToUtf8(oLength
                                                   .GetStringValue(eTo, static_cast<int>(*rOptions.ollDecimals),
                                                                   Number::DEFAULT_THRESHOLD, false, false)
                                                   .View())
                                      : ShortestText(dblResult);
    rOutput.Line(strResult + " " + rOptions.strTo);
    rOutput.Document({{"value", rOptions.ollDecimals ? ParseDecimal(strResult) : dblResult},
                      {"unit", rOptions.strTo},
                      {"text", strResult}});
    return EXIT_DONE;
}

}  // namespace

void AddDimension(CommandLine& rLine) {
    const auto shpoOptions = std::make_shared<Options>();
    const std::string strUnitHelp = "One of " + UnitNames();
    rLine.Add("dimension", nullptr, "Convert a length, and round it as the library does")
        .Argument("VALUE", shpoOptions->strValue, "A number, decimal or 0x and hexadecimal digits")
        .Argument("UNIT", shpoOptions->strUnit, strUnitHelp.c_str())
        .RequiredOption("--to", "UNIT", shpoOptions->strTo, "The unit to convert into")
        .Number("--decimals", shpoOptions->ollDecimals, 0, 15, "Round to so many decimal places")
        .Run([shpoOptions](Output& rOutput) { return Run(*shpoOptions, rOutput); });
}

}  // namespace vlm::tool
