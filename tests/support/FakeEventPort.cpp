/// @file
/// Events in memory.
#include "support/FakeEventPort.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <thread>

#include "support/AllocationFaults.h"
#include "support/FakeCalls.h"

namespace vlm::test {

namespace {

/// Expires with its thread: a mutex of a thread that has ended is abandoned.
std::weak_ptr<int> ThisThread() {
    thread_local const std::shared_ptr<int> tshpLife = std::make_shared<int>();
    return tshpLife;
}

bool IsSame(const std::weak_ptr<int>& rwpLeft, const std::weak_ptr<int>& rwpRight) {
    return !rwpLeft.owner_before(rwpRight) && !rwpRight.owner_before(rwpLeft);
}

/// "Local\name" is "name".
XString KeyOf(XStringView svName) {
    constexpr XStringView LOCAL = VTEXT("Local\\");
    return XString(svName.starts_with(LOCAL) ? svName.substr(LOCAL.size()) : svName);
}

bool HasSeparator(XStringView svKey) {
    constexpr XStringView GLOBAL = VTEXT("Global\\");
    return svKey.find(VTEXT('\\'), svKey.starts_with(GLOBAL) ? GLOBAL.size() : 0) != XStringView::npos;
}

}  // namespace

struct FakeEventPort::Object {
    Kind eKind = Kind::Event;
    bool fManualReset = false;
    bool fSignalled = false;  ///< of an event or thread
    unsigned cHolds = 0;      ///< of a mutex
    std::weak_ptr<int> wpOwner;
};

FakeEventPort::FakeEventPort() = default;

FakeEventPort::~FakeEventPort() {
    // A thread is still on its way out when others have heard that it ends; only a process that is gone leaves some.
    for (auto& [shpoThread, oThread] : m_vThreads) {
        if (std::unique_lock oLock(m_oMutex); m_fProcessGone && !shpoThread->fSignalled) {
            oThread.detach();
            continue;
        }
        oThread.join();
    }
}

FakeEventPort::ObjectPointer FakeEventPort::Named(XStringView svName) const {
    const auto it = m_mapNames.find(KeyOf(svName));
    return it != m_mapNames.end() ? it->second.lock() : nullptr;
}

void FakeEventPort::TakeName(XStringView svName, Kind eKind) {
    const FakeCall oCall(m_oMutex);
    const ObjectPointer shpoObject = std::make_shared<Object>();
    shpoObject->eKind = eKind;
    m_vshpoForeign.push_back(shpoObject);
    m_mapNames[KeyOf(svName)] = shpoObject;
}

bool FakeEventPort::SetFromOutside(XStringView svName) {
    const FakeCall oCall(m_oMutex);
    const ObjectPointer shpoObject = Named(svName);
    if (!shpoObject || shpoObject->eKind != Kind::Event) return false;
    shpoObject->fSignalled = true;
    m_oChanged.notify_all();
    return true;
}

std::size_t FakeEventPort::OpenHandles() const {
    const std::lock_guard oLock(m_oMutex);
    return m_mapOpen.size();
}

std::size_t FakeEventPort::RunningThreads() const {
    const std::lock_guard oLock(m_oMutex);
    return m_cThreads;
}

bool FakeEventPort::IsSet(XStringView svName) const {
    const FakeCall oCall(m_oMutex);
    const ObjectPointer shpoObject = Named(svName);
    return shpoObject && shpoObject->fSignalled;
}

void FakeEventPort::DropHandles() {
    const FakeCall oCall(m_oMutex);
    m_mapOpen.clear();
    m_fProcessGone = true;
}

FakeEventPort::ObjectPointer FakeEventPort::Find(HANDLE hObject) {
    const auto it = m_mapOpen.find(hObject);
    if (it != m_mapOpen.end()) return it->second;
    ReportMisuse("an event call on a handle that is not open", hObject);
    return nullptr;
}

HANDLE FakeEventPort::Add(const ObjectPointer& rshpoObject) {
    const HANDLE hObject = reinterpret_cast<HANDLE>(m_uiLastHandle += 4);
    m_mapOpen[hObject] = rshpoObject;
    return hObject;
}

Status FakeEventPort::OpenNamed(const XCHAR* pszName, Kind eKind, bool fCreate, ObjectPointer& rshpoObject) {
    if (pszName != nullptr && *pszName != 0) {
        if (HasSeparator(KeyOf(pszName))) return Status::PathNotFound;
        rshpoObject = Named(pszName);
        if (rshpoObject) return rshpoObject->eKind == eKind ? Status::AlreadyExists : Status::InvalidHandle;
    }
    if (!fCreate) return Status::FileNotFound;
    rshpoObject = std::make_shared<Object>();
    rshpoObject->eKind = eKind;
    if (pszName != nullptr && *pszName != 0) m_mapNames[KeyOf(pszName)] = rshpoObject;
    return Status::Success;
}

Status FakeEventPort::CreateEventAt(const XCHAR* pszName, bool fManualReset, bool fSignalled,
                                    HANDLE& rhEvent) noexcept {
    const FakeCall oCall(m_oMutex);
    ObjectPointer shpoObject;
    const Status eStatus = OpenNamed(pszName, Kind::Event, true, shpoObject);
    if (eStatus != Status::Success && eStatus != Status::AlreadyExists) return eStatus;
    if (eStatus == Status::Success) {
        shpoObject->fManualReset = fManualReset;
        shpoObject->fSignalled = fSignalled;
    }
    rhEvent = Add(shpoObject);
    return Status::Success;
}

Status FakeEventPort::OpenEventAt(const XCHAR* pszName, HANDLE& rhEvent) noexcept {
    const FakeCall oCall(m_oMutex);
    if (pszName == nullptr || *pszName == 0) return Status::InvalidParameter;
    ObjectPointer shpoObject;
    const Status eStatus = OpenNamed(pszName, Kind::Event, false, shpoObject);
    if (eStatus != Status::AlreadyExists) return eStatus;
    rhEvent = Add(shpoObject);
    return Status::Success;
}

Status FakeEventPort::SetEventState(HANDLE hEvent, bool fSignalled) noexcept {
    const FakeCall oCall(m_oMutex);
    const ObjectPointer shpoObject = Find(hEvent);
    if (!shpoObject || shpoObject->eKind != Kind::Event) return Status::InvalidHandle;
    shpoObject->fSignalled = fSignalled;
    m_oChanged.notify_all();
    return Status::Success;
}

Status FakeEventPort::CreateMutexAt(const XCHAR* pszName, HANDLE& rhMutex) noexcept {
    const FakeCall oCall(m_oMutex);
    ObjectPointer shpoObject;
    const Status eStatus = OpenNamed(pszName, Kind::Mutex, true, shpoObject);
    if (eStatus != Status::Success && eStatus != Status::AlreadyExists) return eStatus;
    rhMutex = Add(shpoObject);
    return Status::Success;
}

Status FakeEventPort::ReleaseMutexOf(HANDLE hMutex) noexcept {
    const FakeCall oCall(m_oMutex);
    const ObjectPointer shpoObject = Find(hMutex);
    if (!shpoObject || shpoObject->eKind != Kind::Mutex) return Status::InvalidHandle;
    if (shpoObject->cHolds == 0 || !IsSame(shpoObject->wpOwner, ThisThread())) return Status::NotOwner;
    if (--shpoObject->cHolds == 0) m_oChanged.notify_all();
    return Status::Success;
}

bool FakeEventPort::TryTake(Object& rObject, bool& rfAbandoned) {
    if (rObject.eKind != Kind::Mutex) {
        const bool fTaken = rObject.fSignalled;
        if (rObject.eKind == Kind::Event && !rObject.fManualReset) rObject.fSignalled = false;
        return fTaken;
    }
    if (rObject.cHolds != 0 && IsSame(rObject.wpOwner, ThisThread())) {
        ++rObject.cHolds;
        return true;
    }
    if (rObject.cHolds != 0) {
        if (!rObject.wpOwner.expired()) return false;
        rfAbandoned = true;
    }
    rObject.wpOwner = ThisThread();
    rObject.cHolds = 1;
    return true;
}

Status FakeEventPort::WaitAny(const HANDLE* phHandles, DWORD cHandles, DWORD dwMilliseconds, DWORD& rdwIndex,
                              bool& rfAbandoned) noexcept {
    using namespace std::chrono;
    // The end of a thread of the test's own gives no sign: whoever waits for its mutex looks now and then.
    constexpr milliseconds LOOK{5};
    const AllocationExempt oExempt;
    if (phHandles == nullptr || cHandles == 0 || cHandles > MAX_WAIT_HANDLES) return Status::InvalidParameter;
    std::unique_lock oLock(m_oMutex);
    std::array<ObjectPointer, MAX_WAIT_HANDLES> ashpoObjects;
    for (DWORD i = 0; i < cHandles; ++i) {
        ashpoObjects[i] = Find(phHandles[i]);
        if (!ashpoObjects[i]) return Status::InvalidHandle;
    }
    const auto oBegin = steady_clock::now();
    for (;;) {
        for (DWORD i = 0; i < cHandles; ++i) {
            bool fAbandoned = false;
            if (!TryTake(*ashpoObjects[i], fAbandoned)) continue;
            rdwIndex = i;
            rfAbandoned = fAbandoned;
            return Status::Success;
        }
        milliseconds oSleep = LOOK;
        if (dwMilliseconds != WAIT_FOREVER) {
            const auto oLeft = ceil<milliseconds>(oBegin + milliseconds(dwMilliseconds) - steady_clock::now());
            if (oLeft <= milliseconds(0)) return Status::TimeOut;
            oSleep = std::min(oSleep, oLeft);
        }
        m_oChanged.wait_for(oLock, oSleep);
    }
}

Status FakeEventPort::CloseObject(HANDLE hObject) noexcept {
    const FakeCall oCall(m_oMutex);
    if (!Find(hObject)) return Status::InvalidHandle;
    m_mapOpen.erase(hObject);
    return Status::Success;
}

Status FakeEventPort::StartThread(unsigned (*pfnBody)(void*), void* pArgument, HANDLE& rhThread) noexcept {
    const AllocationExempt oExempt;
    if (pfnBody == nullptr) return Status::InvalidParameter;
    const ObjectPointer shpoThread = std::make_shared<Object>();
    shpoThread->eKind = Kind::Thread;
    {
        const std::lock_guard oLock(m_oMutex);
        ++m_cThreads;
        rhThread = Add(shpoThread);
    }
    std::thread oThread([this, pfnBody, pArgument, shpoThread] {
        pfnBody(pArgument);
        const std::lock_guard oLock(m_oMutex);
        shpoThread->fSignalled = true;
        --m_cThreads;
        m_oChanged.notify_all();
    });
    const std::lock_guard oLock(m_oMutex);
    m_vThreads.emplace_back(shpoThread, std::move(oThread));
    return Status::Success;
}

}  // namespace vlm::test
