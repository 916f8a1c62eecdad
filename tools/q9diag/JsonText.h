/// @file
/// JSON text in and out, for strings of any UTF-16 code units.
///
/// The JSON library takes and gives well-formed Unicode only, while stored texts may hold any UTF-16 code unit. Between
/// this file and the library a lone surrogate therefore travels as U+FFFF followed by three hexadecimal digits (its
/// distance from U+D800), and U+FFFF itself as U+FFFF followed by "fff".  In JSON text both are the escapes \uXXXX.
/// Nobody else needs to know: strings enter and leave a document through `JsonString` and `JsonUnits`.
#pragma once

#include <cstddef>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

#include "Text.h"

namespace vlm::tool {

/// A JSON document whose objects keep the order of their members.
using Json = nlohmann::ordered_json;

/// A text as a string of a document; the inverse of `JsonUnits`.
Json JsonString(XStringView strText);
/// The same for UTF-8; bytes that are not well-formed appear as \xXX.
Json JsonString(std::string_view strUtf8);
/// The code units of a document's string.  @param rString must be a string that came from `ParseJson` or `JsonString`.
XText JsonUnits(const Json& rString);

/// A text as the name of a member.
std::string JsonName(XStringView strText);

/// How deep arrays and objects may nest: lists nest 64 deep in settings, and each level takes three in JSON.
constexpr int MAX_JSON_DEPTH = 3 * 64 + 16;

/// Reads one document.
/// @param strText UTF-8, with or without a byte-order mark.
/// @throws ExceptionInvalidArgument naming line and column of malformed JSON (RFC 8259), or the path of a member that
///         stands twice or lies too deep.
Json ParseJson(std::string_view strText);

/// Writes one document with two blanks of indentation, or on one line, and a line end.  What could change the state of
/// a terminal is written as \uXXXX.
enum class JsonLayout : int { OneLine = -1, Indented = 2 };
std::string WriteJson(const Json& rDocument, JsonLayout eLayout = JsonLayout::Indented);

}  // namespace vlm::tool
