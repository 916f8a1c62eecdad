/// @file
/// The system's header as this folder includes it, and what every adapter here needs.
#pragma once

#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>

#include "platform/WinTypes.h"

namespace vlm::win32 {

inline Status LastStatus() noexcept {
    return static_cast<Status>(GetLastError());
}

/// The status of a call that answers a truth value.
inline Status StatusOf(BOOL fSuccess) noexcept {
    return fSuccess ? Status::Success : LastStatus();
}

/// Keeps the thread's last error over calls that change it.
class LastErrorScope {
public:
    LastErrorScope() noexcept : m_dwError(GetLastError()) {}
    ~LastErrorScope() { SetLastError(m_dwError); }
    LastErrorScope(const LastErrorScope&) = delete;
    LastErrorScope& operator=(const LastErrorScope&) = delete;

private:
    DWORD m_dwError;
};

/// An object that is ready before any constructor of the module runs and still there after every destructor.
template <typename T>
union Undying {
    T object;
    constexpr Undying() noexcept : object() {}
    ~Undying() {}  // Deliberate: see above.
};

}  // namespace vlm::win32
