/// @file
/// Waiting and threads on the host.
#include "platform/host/HostEventPort.h"

#include <dlfcn.h>
#include <poll.h>
#include <pthread.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <ctime>
#include <new>
#include <utility>

#include "platform/host/HostNames.h"

namespace vlm::host {

namespace {

std::uintptr_t NumberOf(HANDLE hObject) noexcept {
    return reinterpret_cast<std::uintptr_t>(hObject);
}

LONGLONG MonotonicMilliseconds() noexcept {
    timespec oNow{};
    clock_gettime(CLOCK_MONOTONIC, &oNow);
    // Rounded up, so that no wait ends early.
    return oNow.tv_sec * 1000LL + (oNow.tv_nsec + 999'999) / 1'000'000;
}

/// The pauses between two looks at a mutex.
class Pauses {
public:
    int Next() noexcept { return std::exchange(m_iNext, std::min(m_iNext * 2, LONGEST)); }

private:
    static constexpr int LONGEST = 16;
    int m_iNext = 1;
};

struct ThreadStart {
    unsigned (*pfnBody)(void*);
    void* pArgument;
    std::shared_ptr<EventObject> shpoEnd;
    int cRounds = 0;
};

constinit pthread_key_t giEndKey = 0;

/// Called when the thread's slots are emptied, which takes a few rounds: the thread has ended when the others are done.
void EndThread(void* pStart) {
    constexpr int ROUNDS = 3;
    static_assert(ROUNDS <= PTHREAD_DESTRUCTOR_ITERATIONS);
    std::unique_ptr<ThreadStart> apoStart(static_cast<ThreadStart*>(pStart));
    if (++apoStart->cRounds < ROUNDS && pthread_setspecific(giEndKey, apoStart.get()) == 0) {
        static_cast<void>(apoStart.release());
        return;
    }
    apoStart->shpoEnd->Set();
}

/// @return false when the system has no slot left.
bool HasEndKey() noexcept {
    static const bool sfKey = pthread_key_create(&giEndKey, &EndThread) == 0;
    return sfKey;
}

void* RunThread(void* pStart) {
    ThreadStart* const pThread = static_cast<ThreadStart*>(pStart);
    // Cannot fail for want of memory where it matters: without the slot the end is told at once.
    const bool fSlot = pthread_setspecific(giEndKey, pThread) == 0;
    pThread->pfnBody(pThread->pArgument);
    if (!fSlot) {
        pThread->cRounds = PTHREAD_DESTRUCTOR_ITERATIONS;
        EndThread(pThread);
    }
    return nullptr;
}

/// A thread cannot unload the code that it runs in, so this module stays.
bool KeepModuleLoaded() noexcept {
    Dl_info oInfo{};
    if (dladdr(reinterpret_cast<void*>(&RunThread), &oInfo) == 0 || oInfo.dli_fname == nullptr) return false;
    void* pModule = dlopen(oInfo.dli_fname, RTLD_NOW | RTLD_NOLOAD | RTLD_NODELETE);
    // The program itself is not found by its name, and stays anyway.
    if (pModule != nullptr) dlclose(pModule);
    return true;
}

/// How long to sleep until the next look; 0: the time is over.  `llDeadline` negative: no end.
int NextSleep(LONGLONG llDeadline, int iLongest) noexcept {
    if (llDeadline < 0) return iLongest;
    const LONGLONG llLeft = std::max<LONGLONG>(llDeadline - MonotonicMilliseconds(), 0);
    const LONGLONG llMost = iLongest < 0 ? 0x7FFFFFFF : iLongest;
    return static_cast<int>(std::min(llLeft, llMost));
}

}  // namespace

HostEventPort::ObjectPointer HostEventPort::Find(HANDLE hObject) const noexcept {
    return m_oObjects.Find(NumberOf(hObject)).value_or(nullptr);
}

HANDLE HostEventPort::Add(const ObjectPointer& rshpoObject) {
    return reinterpret_cast<HANDLE>(m_oObjects.Add(rshpoObject));
}

Status HostEventPort::OpenNamed(XStringView svName, const ObjectKind* peCreate, bool fSignalled,
                                ObjectPointer& rshpoObject) {
    std::string name, folder;
    if (const Status eStatus = ObjectNameFromUnits(svName, name); eStatus != Status::Success) return eStatus;
    if (!ObjectFolder(folder)) return Status::PathNotFound;
    const std::lock_guard oLock(m_oNamesMutex);
    if (!m_apoNames || m_iNamesOwner != getpid()) {
        m_apoNames = std::make_unique<std::map<std::string, std::weak_ptr<WaitObject>>>();
        m_iNamesOwner = getpid();
    }
    std::erase_if(*m_apoNames, [](const auto& rPair) { return rPair.second.expired(); });
    std::weak_ptr<WaitObject>& rwpoKnown = (*m_apoNames)[folder + '/' + name];
    if ((rshpoObject = rwpoKnown.lock())) return Status::Success;
    if (folder.empty()) {
        if (peCreate == nullptr) return Status::FileNotFound;
        if (*peCreate == ObjectKind::Mutex) {
            rshpoObject = std::make_shared<MutexObject>();
        } else {
            const auto shpoEvent = std::make_shared<EventObject>(*peCreate == ObjectKind::ManualEvent, fSignalled);
            if (!shpoEvent->IsValid()) return Status::TooManyOpenFiles;
            rshpoObject = shpoEvent;
        }
    } else {
        ObjectFile oFile;
        if (const Status eStatus = OpenObjectFile(folder, name, peCreate, oFile); eStatus != Status::Success) {
            return eStatus;
        }
        if (oFile.eKind == ObjectKind::Mutex) {
            rshpoObject = std::make_shared<MutexObject>(std::move(oFile));
        } else {
            rshpoObject = std::make_shared<EventObject>(std::move(oFile), fSignalled);
        }
    }
    rwpoKnown = rshpoObject;
    return Status::Success;
}

Status HostEventPort::CreateEventAt(const XCHAR* pszName, bool fManualReset, bool fSignalled, HANDLE& rhEvent) noexcept
    try {
    if (pszName == nullptr || *pszName == 0) {
        const auto shpoEvent = std::make_shared<EventObject>(fManualReset, fSignalled);
        if (!shpoEvent->IsValid()) return Status::TooManyOpenFiles;
        rhEvent = Add(shpoEvent);
        return Status::Success;
    }
    const ObjectKind eKind = fManualReset ? ObjectKind::ManualEvent : ObjectKind::AutoEvent;
    ObjectPointer shpoObject;
    if (const Status eStatus = OpenNamed(pszName, &eKind, fSignalled, shpoObject); eStatus != Status::Success) {
        return eStatus;
    }
    if (!dynamic_cast<EventObject*>(shpoObject.get())) return Status::InvalidHandle;
    rhEvent = Add(shpoObject);
    return Status::Success;
} catch (const std::bad_alloc&) {
    return Status::NotEnoughMemory;
}

Status HostEventPort::OpenEventAt(const XCHAR* pszName, HANDLE& rhEvent) noexcept try {
    if (pszName == nullptr || *pszName == 0) return Status::InvalidParameter;
    ObjectPointer shpoObject;
    if (const Status eStatus = OpenNamed(pszName, nullptr, false, shpoObject); eStatus != Status::Success) {
        return eStatus;
    }
    if (!dynamic_cast<EventObject*>(shpoObject.get())) return Status::InvalidHandle;
    rhEvent = Add(shpoObject);
    return Status::Success;
} catch (const std::bad_alloc&) {
    return Status::NotEnoughMemory;
}

Status HostEventPort::SetEventState(HANDLE hEvent, bool fSignalled) noexcept {
    const ObjectPointer shpoObject = Find(hEvent);
    EventObject* pEvent = dynamic_cast<EventObject*>(shpoObject.get());
    if (pEvent == nullptr) return Status::InvalidHandle;
    return fSignalled ? pEvent->Set() : pEvent->Reset();
}

Status HostEventPort::CreateMutexAt(const XCHAR* pszName, HANDLE& rhMutex) noexcept try {
    ObjectPointer shpoObject;
    if (pszName == nullptr || *pszName == 0) {
        shpoObject = std::make_shared<MutexObject>();
    } else {
        constexpr ObjectKind KIND = ObjectKind::Mutex;
        if (const Status eStatus = OpenNamed(pszName, &KIND, false, shpoObject); eStatus != Status::Success) {
            return eStatus;
        }
        if (!dynamic_cast<MutexObject*>(shpoObject.get())) return Status::InvalidHandle;
    }
    rhMutex = Add(shpoObject);
    return Status::Success;
} catch (const std::bad_alloc&) {
    return Status::NotEnoughMemory;
}

Status HostEventPort::ReleaseMutexOf(HANDLE hMutex) noexcept {
    const ObjectPointer shpoObject = Find(hMutex);
    MutexObject* pMutex = dynamic_cast<MutexObject*>(shpoObject.get());
    return pMutex ? pMutex->Release() : Status::InvalidHandle;
}

Status HostEventPort::WaitAny(const HANDLE* phHandles, DWORD cHandles, DWORD dwMilliseconds, DWORD& rdwIndex,
                              bool& rfAbandoned) noexcept {
    if (phHandles == nullptr || cHandles == 0 || cHandles > MAX_WAIT_HANDLES) return Status::InvalidParameter;
    std::array<ObjectPointer, MAX_WAIT_HANDLES> ashpoObjects;
    std::array<pollfd, MAX_WAIT_HANDLES> aoPolls{};
    bool fAsk = false;
    for (DWORD i = 0; i < cHandles; ++i) {
        ashpoObjects[i] = Find(phHandles[i]);
        if (!ashpoObjects[i]) return Status::InvalidHandle;
        aoPolls[i] = {ashpoObjects[i]->PollDescriptor(), POLLIN, 0};  // poll passes over -1
        fAsk = fAsk || aoPolls[i].fd < 0;
    }
    const LONGLONG llDeadline = dwMilliseconds == WAIT_FOREVER ? -1 : MonotonicMilliseconds() + dwMilliseconds;
    for (Pauses oPauses;;) {
        for (DWORD i = 0; i < cHandles; ++i) {
            bool fAbandoned = false;
            if (!ashpoObjects[i]->TryTake(fAbandoned)) continue;
            rdwIndex = i;
            rfAbandoned = fAbandoned;
            return Status::Success;
        }
        const int iSleep = NextSleep(llDeadline, fAsk ? oPauses.Next() : -1);
        if (iSleep == 0) return Status::TimeOut;
        if (poll(aoPolls.data(), cHandles, iSleep) < 0 && errno != EINTR) return StatusFromErrno(errno);
    }
}

Status HostEventPort::CloseObject(HANDLE hObject) noexcept {
    return m_oObjects.Remove(NumberOf(hObject)) ? Status::Success : Status::InvalidHandle;
}

Status HostEventPort::StartThread(unsigned (*pfnBody)(void*), void* pArgument, HANDLE& rhThread) noexcept try {
    if (pfnBody == nullptr) return Status::InvalidParameter;
    if (!KeepModuleLoaded() || !HasEndKey()) return Status::NoSystemResources;
    const auto shpoEnd = std::make_shared<EventObject>(true, false);
    if (!shpoEnd->IsValid()) return Status::TooManyOpenFiles;
    auto apoStart = std::make_unique<ThreadStart>(ThreadStart{pfnBody, pArgument, shpoEnd});
    HANDLE hThread = Add(std::make_shared<ThreadObject>(shpoEnd));
    pthread_attr_t oAttributes;
    pthread_attr_init(&oAttributes);
    pthread_attr_setdetachstate(&oAttributes, PTHREAD_CREATE_DETACHED);
    pthread_t iThread{};
    const int iError = pthread_create(&iThread, &oAttributes, &RunThread, apoStart.get());
    pthread_attr_destroy(&oAttributes);
    if (iError != 0) {
        m_oObjects.Remove(NumberOf(hThread));
        return iError == EAGAIN ? Status::NoSystemResources : StatusFromErrno(iError);
    }
    static_cast<void>(apoStart.release());
    rhThread = hThread;
    return Status::Success;
} catch (const std::bad_alloc&) {
    return Status::NotEnoughMemory;
}

}  // namespace vlm::host
