/// @file
/// What a request may say, beyond the shape of its record.
#pragma once

#include <vector>

#include "environment/PortMonitorRequest.h"

namespace vlm {

/// True when the request keeps every rule of content: root or handle, mask, strings, and data that fit the operation.
/// Pure.
VLM_API bool ObeysRequestRules(const PortMonitorRequest& rRequest);

/// A key path: at most 1,024 units in at most 32 components of 1 to 255 units, single backslashes between them, none
/// at the ends, no control characters.
VLM_API bool IsRegularKeyPath(XStringView path) noexcept;

/// A SID text, "S-1-" and 1 to 15 decimal fields without leading zeros (at most 184 units), or ".DEFAULT".
VLM_API bool IsRegularSid(XStringView sid) noexcept;

/// Does a request on this root carry the user's SID?
VLM_API bool DoesRootNeedSid(_HKEYREGISTRY_ eRoot) noexcept;

/// A value-list as the spooler carries it: entries of 32 bytes with offsets in place of pointers, then the names.
/// @param rcEntries how many entries there are.
VLM_API bool IsRegularValueList(std::span<const BYTE> data, DWORD& rcEntries) noexcept;

/// The names in a regular value list, in their order; none for any other data.
VLM_API std::vector<CXString> ValueListNames(std::span<const BYTE> data);

/// UTF-16 that ends with a zero unit.
VLM_API bool IsRegularText(std::span<const BYTE> data) noexcept;

}  // namespace vlm
