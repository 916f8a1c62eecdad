/// @file
/// The library's entry point: what happens when a process loads it, a thread ends, and the process lets go of it.
///
/// The system's loader calls it on Windows, under its lock: nothing here starts or awaits a thread, forwards to the
/// spooler or shows a box.  Elsewhere nobody calls it: static construction and destruction announce the library, the
/// slot's own call at the end of a thread frees that thread's object, and the module stays loaded until the process
/// ends, because a thread may still end after the last handle was closed.
#include "utilities/utilitiesdll/dllentry.h"

#include "platform/PoolPointerImpl.h"
#include "utilities/debuggingandexceptions/DebugClock.h"
#include "utilities/debuggingandexceptions/DebugMessageManager.h"
#include "utilities/utilitiesdll/LoaderLock.h"
#include "utilities/utilitiesdll/MemoryPool.h"
#include "utilities/utilitiesdll/UtilitiesDllPerThreadStorage.h"

namespace {

/// The loader's reasons, by their numbers.
enum Reason : DWORD { PROCESS_DETACH = 0, PROCESS_ATTACH = 1, THREAD_ATTACH = 2, THREAD_DETACH = 3 };

constexpr DebugMessageCategories CATEGORIES = DebugCategory::Utils | DebugCategory::Perf;
constexpr const XCHAR* TIMING_SCOPE = VTEXT("DllMain");

constinit HINSTANCE ghInstance = nullptr;
/// When the timing scope of the library's whole stay began; 0: it is not measured.
constinit LONGLONG gllDllMainStart = 0;

/// The first constructor of the module to run: from here on the thread is under the loader lock.
[[gnu::constructor(101)]] void BeginLoading() noexcept {
    vlm::NoteLoadingBegan();
}

void AnnounceLoading() noexcept {
    DebugMessageManager& rManager = GetDebugMessageManager();
    rManager.GetConfiguration().DebugDisplayMsgIfNewPerformanceSession();
    rManager.AddMessage(CATEGORIES, VLM_HERE, VTEXT("Driver DLLs loaded. Utilities DLL's DllMain(DLL_PROCESS_ATTACH)"));
    gllDllMainStart = rManager.NotifyTimingScopeStarted(VLM_HERE, TIMING_SCOPE, {});
}

void AnnounceUnloading() noexcept {
    DebugMessageManager& rManager = GetDebugMessageManager();
    rManager.AddMessage(CATEGORIES, VLM_HERE,
                        VTEXT("Driver DLLs unloaded. Utilities DLL's DllMain(DLL_PROCESS_DETACH)\r\n"));
    const bool fMeasured = gllDllMainStart != 0;
    rManager.NotifyTimingScopeEnded(VLM_HERE, TIMING_SCOPE, {}, gllDllMainStart);
    gllDllMainStart = 0;
    // The session's values are behind a lock and in the registry: not while the process ends.
    if (fMeasured && !vlm::IsProcessEnding()) {
        rManager.GetConfiguration().ResetPerformanceSessionData(DebugClock::Now(), 0, true);
    }
}

/// @param fStays the library stays in the process to the end.
void AttachToProcess(bool fStays) noexcept {
    UtilitiesDllPerThreadStorage::InitializeDueToProcessAttach();
    AnnounceLoading();
    vlm::NoteLoadingEnded(fStays);
    GetDebugMessageManager().NoteLoaded();
}

void UnloadFromProcess() noexcept {
    AnnounceUnloading();
    UtilitiesDllPerThreadStorage::CleanUpDueToProcessDetach();
    vlm::DestroyDebugMessageManager();
    MemoryPool::CleanUpDueToProcessDetach();
    vlm::ReleasePoolPointerSlot();
}

/// Stands in for a loader that does not call.  Built after the manager and destroyed before it, because its file is
/// linked behind the manager's.
class EntryWithoutLoader {
public:
    EntryWithoutLoader() noexcept {
        if constexpr (!vlm::LOADER_CALLS_ENTRY_POINT) AttachToProcess(true);
    }
    ~EntryWithoutLoader() {
        if constexpr (!vlm::LOADER_CALLS_ENTRY_POINT) AnnounceUnloading();
    }
    EntryWithoutLoader(const EntryWithoutLoader&) = delete;
    EntryWithoutLoader& operator=(const EntryWithoutLoader&) = delete;
};
[[maybe_unused]] const EntryWithoutLoader goEntryWithoutLoader;

}  // namespace

HINSTANCE GetUtilitiesDllInstance() noexcept {
    return ghInstance;
}

/// @param pvReserved at process attach: not null when the library stays until the process ends, because the program is
///        linked with it.  At process detach: null when the library is being unloaded, not null when the process is
///        ending.
/// @return whether the library may be loaded; it may even without per-thread storage, which is then reported when used.
extern "C" BOOL DllMain(HINSTANCE hInstance, DWORD dwReason, void* pvReserved) {
    const vlm::LoaderLockScope scope;
    switch (dwReason) {
        case PROCESS_ATTACH:
            ghInstance = hInstance;
            AttachToProcess(pvReserved != nullptr);
            break;
        case THREAD_DETACH:
            UtilitiesDllPerThreadStorage::CleanUpDueToThreadDetach(false);
            MemoryPool::CleanUpDueToThreadDetach();
            break;
        case PROCESS_DETACH:
            if (pvReserved) {
                // The other threads are gone already, with whatever locks they held: nothing is freed.
                vlm::NoteProcessEnding();
                AnnounceUnloading();
                break;
            }
            UnloadFromProcess();
            break;
        default:
            break;
    }
    return 1;
}
