/// @file
/// Changing one attribute of settings in memory.
#pragma once

#include "SettingsText.h"

namespace vlm::tool {

/// Sets the attribute at a path, in its place when it is there and in identifier order when it is not; adds the name
/// space when it is absent.
/// @throws ExceptionInvalidArgument when the attribute stands more than once, or for another attribute of a record.
void SetAttribute(Settings& rSettings, const SettingsPath& rPath, const AttributeBytesValue& rValue);

}  // namespace vlm::tool
