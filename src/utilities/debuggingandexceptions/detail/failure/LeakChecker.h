/// @file
/// Tells a leak checker about memory that is given up on purpose.
#pragma once

#if defined(__SANITIZE_ADDRESS__)
#define VLM_LEAK_CHECKER 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define VLM_LEAK_CHECKER 1
#endif
#endif

#ifdef VLM_LEAK_CHECKER
#include <sanitizer/lsan_interface.h>
#endif

namespace vlm {

/// The block is kept for ever without a pointer to it, and that is right.  Null is ignored.
inline void IgnoreLeak([[maybe_unused]] const void* pBlock) noexcept {
#ifdef VLM_LEAK_CHECKER
    if (pBlock) __lsan_ignore_object(pBlock);
#endif
}

}  // namespace vlm
