/// @file
/// The text forms of attributes on the command line: PATH and VALUE, and how `show` prints them.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "Settings.h"

namespace vlm::tool {

class Output;

/// Prints settings for people, or their document.  @param cbStored bytes of the file or value that they came from.
void PrintSettings(const Settings& rSettings, std::size_t cbStored, Output& rOutput);

/// A place in a settings file: NAMESPACE/ID, or ID alone where there are no name spaces.
struct SettingsPath {
    std::optional<LONG> olNameSpace;
    std::unique_ptr<AttributeBytesId> apoId;
};

/// Parses PATH for a file.  @throws ExceptionInvalidArgument when it is none, or does not fit the file's form.
SettingsPath ParsePath(std::string_view strPath, const Settings& rSettings);
/// Parses ID: "feature:258", "newfeature:NAME", "value:7", "newvalue:NAME", "item:0", "capability:258:1",
/// "newcapability:NAME:1", "namespace:3".  @throws ExceptionInvalidArgument
std::unique_ptr<AttributeBytesId> ParseId(std::string_view strId);
/// Parses VALUE: JSON that begins with a brace, or "integer:5", "string:text" and so on.  @throws
/// ExceptionInvalidArgument
std::unique_ptr<AttributeBytesValue> ParseValue(std::string_view strValue);

/// ID as ParseId reads it, fit for a terminal.
std::string TextOf(const AttributeBytesId& rId);
/// VALUE as ParseValue reads it, fit for a terminal; a list as its kind and number of records.
/// @param cMostBytes longer blobs are cut there.
std::string TextOf(const AttributeBytesValue& rValue, std::size_t cMostBytes = static_cast<std::size_t>(-1));
/// NAMESPACE/ID, or ID.
std::string PathText(const std::optional<LONG>& rolNameSpace, const AttributeBytesId& rId);

}  // namespace vlm::tool
