/// @file
/// What the library keeps for each thread.
#pragma once

#include <array>
#include <cstddef>
#include <vector>

#include "platform/Export.h"
#include "platform/WinTypes.h"
#include "utilities/debuggingandexceptions/ConstraintExecutionContextStack.h"
#include "utilities/debuggingandexceptions/ExecutionContextStack.h"
#include "utilities/utilitiesdll/CriticalResource.h"

/// Where the per-thread storage of the process stands.
enum UtilitiesDllPerThreadStorageState {
    UDPTS_UNINITIALIZED,                ///< no slot: before the library is loaded and after it is unloaded
    UDPTS_INITIALIZED,                  ///< in use
    UDPTS_RAISING_ERROR_IN_GET_METHOD,  ///< a thread could not get its object and is reporting that
};

/// Objects of upper floors that live as long as their thread: each is claimed by the class that keeps it there.
enum PerThreadSlot {
    PTS_PROPERTY_BAG,
    PTS_INDEXED_ATTRIBUTE_LIST,
    PTS_DEVICE_SETTINGS_MANAGER,
    PTS_PCL_HALFTONES,
    PTS_COUNT,  ///< marks the end
};

/// The object that each thread gets on its first request: its two stacks of execution contexts and the objects of upper
/// floors.
///
/// It lies behind one slot of the system's thread-local storage.  All objects are also listed, so that unloading frees
/// those of threads that never detached; when the process is ending, nothing is freed and no lock is touched.
/// **Ownership**: the object is destroyed by the end of its thread or by unloading, whichever takes it out of the list.
/// **Threads**: every operation is for the calling thread's own object; initialising and process detach run alone.
/// **Failure**: nothing throws; a failure is reported and answered with a substitute.
class VLM_API UtilitiesDllPerThreadStorage {
public:
    UtilitiesDllPerThreadStorage(const UtilitiesDllPerThreadStorage&) = delete;
    UtilitiesDllPerThreadStorage& operator=(const UtilitiesDllPerThreadStorage&) = delete;

    /// The calling thread's stack, made on first use.  Without a slot or memory that is reported, and the answer is a
    /// substitute that belongs to the calling thread, until the storage is initialised anew.
    static ExecutionContextStack& GetExecutionContextStack() noexcept;
    /// The same for the calling thread's stack of constraint execution contexts.
    static ConstraintExecutionContextStack& GetConstraintExecutionContextStack() noexcept;
    /// The calling thread's stack if it has one, else null; makes and reports nothing.
    static const ExecutionContextStack* PeekExecutionContextStack() noexcept;

    /// The object kept in a slot for the calling thread, borrowed; null when there is none.  Reports nothing.
    static void* GetSlot(PerThreadSlot eSlot) noexcept;
    /// Keeps an object for the calling thread; the former one of that slot is destroyed.
    /// @param pfnDestroy called with the object when it is replaced, and when the thread ends or the library is
    ///        unloaded (on whatever thread that happens); later slots are destroyed before earlier ones.
    /// @return false when the thread has no storage: the object then stays the caller's.
    static bool SetSlot(PerThreadSlot eSlot, void* pObject, void (*pfnDestroy)(void*)) noexcept;

    /// Reserves the system's slot; a second call changes nothing.  Runs with the library's static initialisation
    /// already.
    /// @return false when the system has no slot left, which is reported.
    static bool InitializeDueToProcessAttach() noexcept;
    /// Destroys the calling thread's object, if it has one.
    /// @param fDueToProcessDetach names the event in the report of an object that is not listed.
    static void CleanUpDueToThreadDetach(bool fDueToProcessDetach) noexcept;
    /// Destroys the objects of all threads and gives the slot back: the library is being unloaded.  Never call it when
    /// the process is ending.  InitializeDueToProcessAttach may follow.
    static void CleanUpDueToProcessDetach() noexcept;

    static UtilitiesDllPerThreadStorageState GetState() noexcept;
    /// Objects of threads that have not ended; for tests.
    static std::size_t GetAllocatedObjectCount() noexcept;

private:
    struct Slot {
        void* m_pObject = nullptr;
        void (*m_pfnDestroy)(void*) = nullptr;
    };

    UtilitiesDllPerThreadStorage() noexcept = default;
    ~UtilitiesDllPerThreadStorage();

    static UtilitiesDllPerThreadStorage* Find() noexcept;
    struct Reports;
    static const Reports EXECUTION_CONTEXT_REPORTS;
    static const Reports CONSTRAINT_EXECUTION_CONTEXT_REPORTS;
    static UtilitiesDllPerThreadStorage* GetOrReport(const Reports& rReports) noexcept;
    static UtilitiesDllPerThreadStorage* Create() noexcept;
    static void OnThreadEnd(void* pObject) noexcept;
    static void Retire(UtilitiesDllPerThreadStorage* pObject, const XCHAR* pszEvent) noexcept;
    static void Destroy(UtilitiesDllPerThreadStorage* pObject) noexcept;
    static void TakeOwnershipOfMemoryPoolsAtDllProcessDetach() noexcept;

    static std::vector<UtilitiesDllPerThreadStorage*>& m_vpoAllocatedObjects;
    static CriticalResource& m_soAllocatedObjectsVectorResource;

    ExecutionContextStack m_oExecutionContextStack;
    ConstraintExecutionContextStack m_oConstraintExecutionContextStack;
    std::array<Slot, PTS_COUNT> m_aoSlots{};
};
