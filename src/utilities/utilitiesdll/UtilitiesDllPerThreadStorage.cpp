/// @file
/// What the library keeps for each thread: the slot, the objects behind it and the list of them all.
#include "utilities/utilitiesdll/UtilitiesDllPerThreadStorage.h"

#include <algorithm>
#include <atomic>
#include <new>
#include <utility>

#include "platform/Platform.h"
#include "platform/ThreadPort.h"
#include "utilities/debuggingandexceptions/RaiseMacros.h"
#include "utilities/debuggingandexceptions/detail/failure/NeverDestroyed.h"
#include "utilities/debuggingandexceptions/detail/failure/OutOfMemory.h"
#include "utilities/debuggingandexceptions/detail/failure/SafeText.h"
#include "utilities/debuggingandexceptions/detail/failure/ThreadGuard.h"
#include "utilities/utilitiesdll/MemoryPool.h"

namespace {

using vlm::Status;
using vlm::ThreadPort;

constexpr DebugMessageCategories CATEGORIES = DebugCategory::Thread | DebugCategory::ErrInfra;

constinit std::atomic<UtilitiesDllPerThreadStorageState> geUtilitiesDllPerThreadStorageInitializedState{
    UDPTS_UNINITIALIZED};
constinit std::atomic<DWORD> gdwUtilitiesTlsData{ThreadPort::OUT_OF_SLOTS};

constinit vlm::NeverDestroyed<std::vector<UtilitiesDllPerThreadStorage*>> gvpoAllocatedObjects;
constinit vlm::NeverDestroyed<CriticalResource> gscAllocatedObjects;

ThreadPort& Threads() noexcept {
    return *vlm::GetPlatform().pThreads;
}

/// Stands in for the stacks of a thread that cannot get its own.
struct DefaultStacks {
    std::atomic<DWORD> m_dwThread{0};
    ExecutionContextStack m_oStack;
    ConstraintExecutionContextStack m_oConstraintStack;
};
constinit vlm::NeverDestroyed<std::array<DefaultStacks, 64>> gaoDefaultStacks;

/// The calling thread's own stand-ins, so that threads in trouble do not also race.  When more threads than there are
/// stand-ins are in trouble, the last ones share.
DefaultStacks& GetDefaultStacks() noexcept {
    std::array<DefaultStacks, 64>& raoStacks = gaoDefaultStacks.m_oObject;
    const DWORD dwSelf = Threads().CurrentThreadId();
    for (DefaultStacks& rDefault : raoStacks) {
        DWORD dwOwner = 0;
        if (rDefault.m_dwThread.compare_exchange_strong(dwOwner, dwSelf, std::memory_order_relaxed) ||
            dwOwner == dwSelf) {
            return rDefault;
        }
    }
    return raoStacks.back();
}

void ReleaseDefaultStacks() noexcept {
    for (DefaultStacks& rDefault : gaoDefaultStacks.m_oObject) {
        rDefault.m_oStack = ExecutionContextStack();
        rDefault.m_oConstraintStack = ConstraintExecutionContextStack();
        rDefault.m_dwThread.store(0, std::memory_order_relaxed);
    }
}

// The threads that are reporting that they could not get their object, and how many they are.
constinit vlm::ThreadGuard goRaising;
constinit std::atomic<int> giRaising{0};
// The threads that asked for their object while they were reporting that.
constinit vlm::ThreadGuard goRaisingAgain;

/// Runs a report, in the state that says so.
template <class Report>
void RaiseError(Report&& report) noexcept {
    const vlm::ThreadGuard::Scope scope(goRaising);
    giRaising.fetch_add(1, std::memory_order_relaxed);
    report();
    giRaising.fetch_sub(1, std::memory_order_relaxed);
}

}  // namespace

constinit std::vector<UtilitiesDllPerThreadStorage*>& UtilitiesDllPerThreadStorage::m_vpoAllocatedObjects =
    gvpoAllocatedObjects.m_oObject;
constinit CriticalResource& UtilitiesDllPerThreadStorage::m_soAllocatedObjectsVectorResource =
    gscAllocatedObjects.m_oObject;

namespace {
// Before the entry point runs, and in programs that have none.
[[maybe_unused]] const bool gfInitializedAtStart = UtilitiesDllPerThreadStorage::InitializeDueToProcessAttach();
}  // namespace

bool UtilitiesDllPerThreadStorage::InitializeDueToProcessAttach() noexcept {
    {
        const CriticalResourceLock lock(m_soAllocatedObjectsVectorResource);
        if (gdwUtilitiesTlsData.load(std::memory_order_relaxed) != ThreadPort::OUT_OF_SLOTS) return true;
        vlm::InstallOutOfMemoryHandler();
        const DWORD dwSlot = Threads().AllocSlot(&OnThreadEnd);
        if (dwSlot != ThreadPort::OUT_OF_SLOTS) {
            gdwUtilitiesTlsData.store(dwSlot, std::memory_order_relaxed);
            geUtilitiesDllPerThreadStorageInitializedState.store(UDPTS_INITIALIZED, std::memory_order_release);
            return true;
        }
    }
    vlm::FailAssertion(VTEXT("(gdwUtilitiesTlsData != ((DWORD)0xFFFFFFFF))"), VLM_HERE,
                       vlm::TextOrEmpty(VTEXT("TlsAlloc() FAILED unexpectedly: TLS_OUT_OF_INDEXES")),
                       DebugCategory::Errors | CATEGORIES);
    return false;
}

void UtilitiesDllPerThreadStorage::CleanUpDueToThreadDetach(bool fDueToProcessDetach) noexcept {
    UtilitiesDllPerThreadStorage* const pObject = Find();
    if (!pObject) return;
    Threads().SetSlot(gdwUtilitiesTlsData.load(std::memory_order_relaxed), nullptr);
    Retire(pObject, fDueToProcessDetach ? VTEXT("DLL_PROCESS_DETACH") : VTEXT("DLL_THREAD_DETACH"));
}

void UtilitiesDllPerThreadStorage::CleanUpDueToProcessDetach() noexcept {
    std::vector<UtilitiesDllPerThreadStorage*> vpoObjects;
    DWORD dwSlot = ThreadPort::OUT_OF_SLOTS;
    {
        const CriticalResourceLock lock(m_soAllocatedObjectsVectorResource);
        geUtilitiesDllPerThreadStorageInitializedState.store(UDPTS_UNINITIALIZED, std::memory_order_relaxed);
        dwSlot = gdwUtilitiesTlsData.exchange(ThreadPort::OUT_OF_SLOTS, std::memory_order_relaxed);
        vpoObjects.swap(m_vpoAllocatedObjects);
    }
    if (dwSlot != ThreadPort::OUT_OF_SLOTS) Threads().FreeSlot(dwSlot);
    for (UtilitiesDllPerThreadStorage* const pObject : vpoObjects) {
        if (pObject == vpoObjects.back()) TakeOwnershipOfMemoryPoolsAtDllProcessDetach();
        Destroy(pObject);
    }
    ReleaseDefaultStacks();
}

/// The memory behind the pools belongs to the process, so that shared pointers may outlive their threads; what the
/// calling thread holds in its own lists goes back there.
void UtilitiesDllPerThreadStorage::TakeOwnershipOfMemoryPoolsAtDllProcessDetach() noexcept {
    MemoryPool::CleanUpDueToThreadDetach();
}

void UtilitiesDllPerThreadStorage::OnThreadEnd(void* pObject) noexcept {
    Retire(static_cast<UtilitiesDllPerThreadStorage*>(pObject), VTEXT("DLL_THREAD_DETACH"));
}

/// Destroys an object if it is still listed: whoever takes it out of the list owns it, so a thread that ends while the
/// library is being unloaded never meets an object that is destroyed already.
void UtilitiesDllPerThreadStorage::Retire(UtilitiesDllPerThreadStorage* pObject, const XCHAR* pszEvent) noexcept {
    std::size_t cListed = 0;
    bool fListed = false;
    {
        const CriticalResourceLock lock(m_soAllocatedObjectsVectorResource);
        fListed = std::erase(m_vpoAllocatedObjects, pObject) != 0;
        cListed = m_vpoAllocatedObjects.size();
    }
    if (fListed) {
        Destroy(pObject);
        return;
    }
    const DWORD dwThread = Threads().CurrentThreadId();
    VLM_REPORT_ERROR(CATEGORIES,
                     VTEXT("The static vector of UtilitiesDllPerThreadStorage pointers does NOT contain this pointer "
                           "(0x%p) during %s! The current thread is 0x%lx/%ld. The vector has %ld members."),
                     pObject, pszEvent, dwThread, dwThread, cListed);
}

void UtilitiesDllPerThreadStorage::Destroy(UtilitiesDllPerThreadStorage* pObject) noexcept {
    pObject->~UtilitiesDllPerThreadStorage();
    Threads().LocalRelease(pObject);
}

UtilitiesDllPerThreadStorage::~UtilitiesDllPerThreadStorage() {
    for (auto it = m_aoSlots.rbegin(); it != m_aoSlots.rend(); ++it) {
        const Slot slot = std::exchange(*it, Slot());
        if (slot.m_pObject && slot.m_pfnDestroy) slot.m_pfnDestroy(slot.m_pObject);
    }
}

UtilitiesDllPerThreadStorage* UtilitiesDllPerThreadStorage::Find() noexcept {
    Status status = Status::Success;
    return static_cast<UtilitiesDllPerThreadStorage*>(
        Threads().GetSlot(gdwUtilitiesTlsData.load(std::memory_order_relaxed), status));
}

UtilitiesDllPerThreadStorage* UtilitiesDllPerThreadStorage::Create() noexcept {
    void* const pMemory = Threads().LocalAllocate(sizeof(UtilitiesDllPerThreadStorage));
    auto* const pObject = pMemory ? new (pMemory) UtilitiesDllPerThreadStorage : nullptr;
    bool fListed = false;
    if (pObject) {
        const CriticalResourceLock lock(m_soAllocatedObjectsVectorResource);
        try {
            m_vpoAllocatedObjects.push_back(pObject);
            fListed = true;
        } catch (...) {
            // Reported below, when the lock is free.
        }
    }
    if (!fListed) {
        RaiseError([] {
            VLM_REPORT_ERROR(CATEGORIES,
                             VTEXT("Failed to allocate space for UtilitiesDllPerThreadStorage via LocalAlloc!"));
        });
        if (pObject) Destroy(pObject);
        return nullptr;
    }
    const DWORD dwSlot = gdwUtilitiesTlsData.load(std::memory_order_relaxed);
    const Status status = Threads().SetSlot(dwSlot, pObject);
    if (status == Status::Success) return pObject;
    RaiseError([&] {
        VLM_REPORT_ERROR(CATEGORIES, VTEXT("TlsSetValue(0x%lx/%ld) failed!\r\n\r\n%s"), dwSlot, dwSlot,
                         vlm::GetSystemErrorText(vlm::ToDword(status)));
    });
    Retire(pObject, VTEXT("TlsSetValue()"));
    return nullptr;
}

namespace {

void ReportNoExecutionContextStack() noexcept {
    VLM_REPORT_ERROR(CATEGORIES,
                     VTEXT("Can't get the ExecutionContextStack! geUtilitiesDllPerThreadStorageInitializedState == "
                           "UDPTS_UNINITIALIZED. Tell Tobin if you see this message and leave it open so a debugger "
                           "can be attached to determine the cause."));
}

void ReportDefaultExecutionContextStack() noexcept {
    VLM_REPORT_ERROR(CATEGORIES,
                     VTEXT("geUtilitiesDllPerThreadStorageInitializedState == UDPTS_RAISING_ERROR_IN_GET_METHOD so "
                           "we're returning a default ExecutionContextStack. This is probably going to lead to "
                           "subsequent assertions when we later pop off the wrong stack. Tell Tobin if you see this "
                           "message and leave it open so a debugger can be attached to determine the cause."));
}

void ReportNoConstraintExecutionContextStack() noexcept {
    VLM_REPORT_ERROR(CATEGORIES,
                     VTEXT("Can't get the ConstraintExecutionContextStack! "
                           "geUtilitiesDllPerThreadStorageInitializedState == UDPTS_UNINITIALIZED. Tell Tobin if "
                           "you see this message and leave it open so a debugger can be attached to determine the "
                           "cause."));
}

void ReportDefaultConstraintExecutionContextStack() noexcept {
    VLM_REPORT_ERROR(CATEGORIES,
                     VTEXT("geUtilitiesDllPerThreadStorageInitializedState == UDPTS_RAISING_ERROR_IN_GET_METHOD so "
                           "we're returning a default ConstraintExecutionContextStack. This is probably going to "
                           "lead to subsequent assertions when we later pop off the wrong stack. Tell Tobin if you "
                           "see this message and leave it open so a debugger can be attached to determine the "
                           "cause."));
}

}  // namespace

/// What is reported when the calling thread's object cannot be had, in the words of what was asked for.
struct UtilitiesDllPerThreadStorage::Reports {
    void (*m_pfnNotInitialized)() noexcept;
    void (*m_pfnAskedAgain)() noexcept;
};

constinit const UtilitiesDllPerThreadStorage::Reports UtilitiesDllPerThreadStorage::EXECUTION_CONTEXT_REPORTS{
    &ReportNoExecutionContextStack, &ReportDefaultExecutionContextStack};
constinit const UtilitiesDllPerThreadStorage::Reports
    UtilitiesDllPerThreadStorage::CONSTRAINT_EXECUTION_CONTEXT_REPORTS{&ReportNoConstraintExecutionContextStack,
                                                                       &ReportDefaultConstraintExecutionContextStack};

/// The calling thread's object, made if need be; null when there is none to be had, which is then reported.
UtilitiesDllPerThreadStorage* UtilitiesDllPerThreadStorage::GetOrReport(const Reports& rReports) noexcept {
    if (goRaising.Holds()) {
        const vlm::ThreadGuard::Scope scope(goRaisingAgain);
        if (!scope.HasEntered()) return nullptr;
        rReports.m_pfnAskedAgain();
        return nullptr;
    }
    if (geUtilitiesDllPerThreadStorageInitializedState.load(std::memory_order_acquire) == UDPTS_UNINITIALIZED) {
        RaiseError(rReports.m_pfnNotInitialized);
        return nullptr;
    }
    Status status = Status::Success;
    const DWORD dwSlot = gdwUtilitiesTlsData.load(std::memory_order_relaxed);
    void* const pObject = Threads().GetSlot(dwSlot, status);
    if (pObject) return static_cast<UtilitiesDllPerThreadStorage*>(pObject);
    if (status == Status::Success) return Create();
    RaiseError([&] {
        VLM_REPORT_ERROR(CATEGORIES, VTEXT("TlsGetValue(0x%lx/%ld) failed!\r\n\r\n%s"), dwSlot, dwSlot,
                         vlm::GetSystemErrorText(vlm::ToDword(status)));
    });
    return nullptr;
}

ExecutionContextStack& UtilitiesDllPerThreadStorage::GetExecutionContextStack() noexcept {
    if (UtilitiesDllPerThreadStorage* const pObject = Find()) [[likely]] {
        return pObject->m_oExecutionContextStack;
    }
    UtilitiesDllPerThreadStorage* const pObject = GetOrReport(EXECUTION_CONTEXT_REPORTS);
    return pObject ? pObject->m_oExecutionContextStack : GetDefaultStacks().m_oStack;
}

ConstraintExecutionContextStack& UtilitiesDllPerThreadStorage::GetConstraintExecutionContextStack() noexcept {
    UtilitiesDllPerThreadStorage* pObject = Find();
    if (!pObject) pObject = GetOrReport(CONSTRAINT_EXECUTION_CONTEXT_REPORTS);
    return pObject ? pObject->m_oConstraintExecutionContextStack : GetDefaultStacks().m_oConstraintStack;
}

const ExecutionContextStack* UtilitiesDllPerThreadStorage::PeekExecutionContextStack() noexcept {
    const UtilitiesDllPerThreadStorage* const pObject = Find();
    return pObject ? &pObject->m_oExecutionContextStack : nullptr;
}

void* UtilitiesDllPerThreadStorage::GetSlot(PerThreadSlot eSlot) noexcept {
    const UtilitiesDllPerThreadStorage* const pObject = Find();
    return pObject && eSlot < PTS_COUNT ? pObject->m_aoSlots[eSlot].m_pObject : nullptr;
}

bool UtilitiesDllPerThreadStorage::SetSlot(PerThreadSlot eSlot, void* pObject, void (*pfnDestroy)(void*)) noexcept {
    UtilitiesDllPerThreadStorage* pOwner = Find();
    if (!pOwner) pOwner = GetOrReport(EXECUTION_CONTEXT_REPORTS);
    if (!pOwner || eSlot >= PTS_COUNT) return false;
    const Slot former = std::exchange(pOwner->m_aoSlots[eSlot], Slot{pObject, pfnDestroy});
    if (former.m_pObject && former.m_pfnDestroy) former.m_pfnDestroy(former.m_pObject);
    return true;
}

UtilitiesDllPerThreadStorageState UtilitiesDllPerThreadStorage::GetState() noexcept {
    if (giRaising.load(std::memory_order_relaxed) > 0) return UDPTS_RAISING_ERROR_IN_GET_METHOD;
    return geUtilitiesDllPerThreadStorageInitializedState.load(std::memory_order_acquire);
}

std::size_t UtilitiesDllPerThreadStorage::GetAllocatedObjectCount() noexcept {
    const CriticalResourceLock lock(m_soAllocatedObjectsVectorResource);
    return m_vpoAllocatedObjects.size();
}
