/// @file
/// The one pointer per thread that the memory pools live behind: a plain read of the fastest kind that the system has.
/// Not a port call, because every string allocation makes it.
#pragma once

namespace vlm {

#ifdef __ELF__
namespace detail {
/// Initial-exec: one load, while the dynamic model calls into the loader, which may allocate.  Trivially destructible,
/// so the value is there until the very end of the thread.
extern constinit thread_local void* tpPool [[gnu::tls_model("initial-exec")]];
}  // namespace detail

/// Leaves the thread's last error alone.  Null in a thread that has stored none.
inline void* LoadPoolPointer() noexcept {
    return detail::tpPool;
}
#else
/// Leaves the thread's last error alone.  Null in a thread that has stored none.
void* LoadPoolPointer() noexcept;
#endif

/// Sets it; `pfnThreadEnd` is called with the value when the thread ends (on Windows by the entry point).
/// @return false when the system has no slot left; the pools then take every block from the shared reserve.
/// LoadPoolPointer answers null during that call.  The first `pfnThreadEnd` of the process stays in force.
bool StorePoolPointer(void* pValue, void (*pfnThreadEnd)(void*)) noexcept;
/// Gives the system's slot back: the entry point's last act before the library is unloaded.  From then on
/// LoadPoolPointer answers null and StorePoolPointer false.  Nothing to do on the host.
void ReleasePoolPointerSlot() noexcept;

}  // namespace vlm
