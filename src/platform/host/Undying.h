/// @file
/// Storage for the adapters: built at compile time, never torn down.
#pragma once

namespace vlm::host {

/// An object that is ready before any constructor of the process runs and still there after every destructor.
template <typename T>
union Undying {
    T object;
    constexpr Undying() noexcept : object() {}
    ~Undying() {}  // Deliberate: the last log line of the process may come after every other static object is gone.
};

}  // namespace vlm::host
