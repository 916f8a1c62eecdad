/// @file
/// Marks what the library exports.  Everything that does not carry `VLM_API` stays hidden in the module.
#pragma once

#if defined(VLM_STATIC)
#define VLM_API  // linked into another module of the family, which offers nothing of it
#elif defined(_WIN32)
#ifdef VLM_BUILDING
#define VLM_API __declspec(dllexport)
#else
#define VLM_API __declspec(dllimport)
#endif
#else
#define VLM_API __attribute__((visibility("default")))
#endif

namespace vlm {

/// Whether the system's loader calls the library's entry point; elsewhere static construction and destruction stand in.
#ifdef _WIN32
inline constexpr bool LOADER_CALLS_ENTRY_POINT = true;
#else
inline constexpr bool LOADER_CALLS_ENTRY_POINT = false;
#endif

}  // namespace vlm
