/// @file
/// The library's entry point: what happens when a process loads it, a thread ends, and the process lets go of it.
///
/// The system's loader calls it on Windows.  Elsewhere nobody does: static initialisation has reserved the slot, the
/// slot's own call at the end of a thread frees that thread's object, and the module stays loaded until the process
/// ends, because a thread may still end after the last handle was closed.
#include "utilities/utilitiesdll/dllentry.h"

#include "platform/PoolPointerImpl.h"
#include "utilities/utilitiesdll/MemoryPool.h"
#include "utilities/utilitiesdll/UtilitiesDllPerThreadStorage.h"

namespace {

/// The loader's reasons, by their numbers.
enum Reason : DWORD { PROCESS_DETACH = 0, PROCESS_ATTACH = 1, THREAD_ATTACH = 2, THREAD_DETACH = 3 };

constinit HINSTANCE ghInstance = nullptr;

}  // namespace

HINSTANCE GetUtilitiesDllInstance() noexcept {
    return ghInstance;
}

/// @param pvReserved at process detach: null when the library is being unloaded, not null when the process is ending.
/// @return whether the library may be loaded; it may even without per-thread storage, which is then reported when used.
extern "C" BOOL DllMain(HINSTANCE hInstance, DWORD dwReason, void* pvReserved) {
    switch (dwReason) {
        case PROCESS_ATTACH:
            ghInstance = hInstance;
            UtilitiesDllPerThreadStorage::InitializeDueToProcessAttach();
            break;
        case THREAD_DETACH:
            UtilitiesDllPerThreadStorage::CleanUpDueToThreadDetach(false);
            MemoryPool::CleanUpDueToThreadDetach();
            break;
        case PROCESS_DETACH:
            // When the process is ending, the other threads are gone already, with whatever locks they held.
            if (pvReserved) break;
            UtilitiesDllPerThreadStorage::CleanUpDueToProcessDetach();
            MemoryPool::CleanUpDueToProcessDetach();
            vlm::ReleasePoolPointerSlot();
            break;
        default:
            break;
    }
    return 1;
}
