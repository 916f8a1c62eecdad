/// @file
/// Storage for globals that must outlast every destructor.
#pragma once

namespace vlm {

/// Holds an object that is built at compile time and never torn down: reports, thread ends and failures may come after
/// every other static object has gone.  Declare it `constinit`.
template <class T>
union NeverDestroyed {
    T m_oObject;
    constexpr NeverDestroyed() noexcept : m_oObject() {}
    ~NeverDestroyed() {}
    NeverDestroyed(const NeverDestroyed&) = delete;
    NeverDestroyed& operator=(const NeverDestroyed&) = delete;
};

}  // namespace vlm
