/// @file
/// A registry value as the tool writes and reads it.
#pragma once

#include <string>

#include "JsonText.h"
#include "platform/WinTypes.h"
#include "utilities/utilitiesdll/ByteBuffer.h"

namespace vlm::tool {

struct RegValue {
    DWORD dwType = 0;
    ByteBuffer bbData;
};

/// "REG_SZ"; "type 4711" for a number that has no name.
std::string RegTypeName(DWORD dwType);

/// The value for people, in the form that ParseRegValue reads: "string:text", "dword:5", "binary:00FF".  Data that does
/// not fit its type, and types without a form of their own, appear as "type:hex(7):0041".
std::string RegValueText(const RegValue& rValue);

/// The same for a list of values: what is long is cut, and its size told.
std::string RegValueInList(const RegValue& rValue);

/// The value as a JSON member: a string, a number, a list of strings, or null where the bytes alone tell it.
Json RegValueJson(const RegValue& rValue);

/// "dword:5", "qword:-1", "string:text", "expand:%TEMP%", "multi:one|two", "binary:00FF", "boolean:true",
/// "type:hex(4711):00FF".  A text without one of these words and a colon is a string.
/// @throws ExceptionInvalidArgument for a number or digits that are none.
RegValue ParseRegValue(const std::string& strText);

}  // namespace vlm::tool
