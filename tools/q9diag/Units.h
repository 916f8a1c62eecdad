/// @file
/// The units of lengths by the names that people type.
#pragma once

#include <string>
#include <string_view>

#include "utilities/utilitiesdll/Dimension.h"

namespace vlm::tool {

/// The unit of a name: in, mm, pt, diu, or one of them divided, as in "mm/100" for hundredths of a millimetre.
/// @throws ExceptionInvalidArgument that lists the names.
Dimension::UnitsEnum UnitByName(std::string_view strName);
std::string_view NameOfUnit(Dimension::UnitsEnum eUnits) noexcept;
/// "in, in/10, ..." for help and errors.
std::string UnitNames();

/// A length as people type it: "210mm", "8.5in", "-12.5 pt".
/// @throws ExceptionInvalidArgument naming what is wrong.
Dimension ParseLength(std::string_view strText);
/// A decimal number with an optional sign, fraction and exponent, the whole text.  @throws ExceptionInvalidArgument
double ParseDecimal(std::string_view strText);

}  // namespace vlm::tool
