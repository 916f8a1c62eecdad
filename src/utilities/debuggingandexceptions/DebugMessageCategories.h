/// @file
/// The categories of debug messages: one bit each in a 64-bit mask.
#pragma once

#include "platform/WinTypes.h"

/// One category: a single bit.
using DebugMessageCategory = ULONGLONG;
/// A set of categories: any number of bits.
using DebugMessageCategories = ULONGLONG;

/// The categories by name, for example `DebugCategory::Errors | DebugCategory::Utils`.
namespace DebugCategory {

#define VLM_CATEGORY(constant, mask, text) inline constexpr DebugMessageCategory constant = mask;
#include "utilities/debuggingandexceptions/DebugMessageCategories.inl"
#undef VLM_CATEGORY

/// Every category at once; its name is "all".
inline constexpr DebugMessageCategories All = ~0ULL;
/// No category.
inline constexpr DebugMessageCategories None = 0;

}  // namespace DebugCategory
