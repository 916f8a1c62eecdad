/// @file
/// Attribute records as JSON and back, exactly: docs/cli.md describes the form.
#pragma once

#include <memory>
#include <string>

#include "JsonObject.h"
#include "utilities/attributebytes/AttributeBytes.h"

class AttributeBytesRawList;

namespace vlm::tool {

/// The enumerator's name without its prefix: "FEATURE", "STRING".
std::string NameOfType(AttributeBytesIdEnum eType);
std::string NameOfType(AttributeBytesValueEnum eType);
/// The type of a name.  @param rPath names the place in the error.  @throws ExceptionInvalidArgument
AttributeBytesIdEnum IdTypeByName(const std::string& strName, const JsonPath& rPath);
AttributeBytesValueEnum ValueTypeByName(const std::string& strName, const JsonPath& rPath);

Json ToJson(const AttributeBytesId& rId);
Json ToJson(const AttributeBytesValue& rValue);
Json ToJson(const AttributeBytes& rRecord);
Json ToJson(const AttributeBytesRawList& rList);

// Each throws ExceptionInvalidArgument with the path of what it refuses.
std::unique_ptr<AttributeBytesId> IdFromJson(const Json& rId, const JsonPath& rPath);
std::unique_ptr<AttributeBytesValue> ValueFromJson(const Json& rValue, const JsonPath& rPath);
AttributeBytes RecordFromJson(const Json& rRecord, const JsonPath& rPath);

/// Seconds since 1970-01-01 00:00 UTC as "2026-01-01T00:00:00Z"; empty outside the years 0 to 9999.
std::string ToIso8601(LONGLONG llSeconds);

}  // namespace vlm::tool
