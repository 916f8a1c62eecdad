/// @file
/// Events, mutexes and threads without a system's name space.
#pragma once

#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "platform/EventPort.h"

namespace vlm::test {

using XString = std::basic_string<XCHAR>;

/// Keeps the event port's contract with objects of its own; waits are real, threads are real.  Other processes are
/// played by the script.  A call on a handle that is not open fails the running test, unless told otherwise.
/// Threads: any.  The fake must outlive the threads that it started.
class FakeEventPort : public EventPort {
public:
    enum class Kind { Event, Mutex, Thread };

    FakeEventPort();
    ~FakeEventPort() override;

    // --- the script: what other processes do ---
    /// Another process makes an object of that name and keeps it until ReleaseName.
    void TakeName(XStringView svName, Kind eKind);
    void ReleaseName(XStringView svName);
    /// Sets a named event.  @return false when nobody has an event of that name.
    bool SetFromOutside(XStringView svName);
    /// Takes a named mutex that is free, for ever; AbandonFromOutside ends its owner without a release.
    bool HoldFromOutside(XStringView svName);
    bool AbandonFromOutside(XStringView svName);

    // --- the account ---
    std::size_t OpenHandles() const;
    /// Threads that were started and have not ended.
    std::size_t RunningThreads() const;
    /// Whether an event, named so, is signalled; false when there is none.
    bool IsSet(XStringView svName) const;
    /// Whether a call on a handle that is not open fails the running test (the beginning) or only answers
    /// InvalidHandle.
    void SetMisuseFailsTest(bool fFails);
    /// The process is gone: handles vanish; its threads, if any run, are left alone.
    void DropHandles();

    // --- the port ---
    Status CreateEventAt(const XCHAR* pszName, bool fManualReset, bool fSignalled, HANDLE& rhEvent) noexcept override;
    Status OpenEventAt(const XCHAR* pszName, HANDLE& rhEvent) noexcept override;
    Status SetEventState(HANDLE hEvent, bool fSignalled) noexcept override;
    Status CreateMutexAt(const XCHAR* pszName, HANDLE& rhMutex) noexcept override;
    Status ReleaseMutexOf(HANDLE hMutex) noexcept override;
    Status WaitAny(const HANDLE* phHandles, DWORD cHandles, DWORD dwMilliseconds, DWORD& rdwIndex,
                   bool& rfAbandoned) noexcept override;
    Status CloseObject(HANDLE hObject) noexcept override;
    Status StartThread(unsigned (*pfnBody)(void*), void* pArgument, HANDLE& rhThread) noexcept override;

private:
    struct Object;
    using ObjectPointer = std::shared_ptr<Object>;

    ObjectPointer Find(HANDLE hObject);
    ObjectPointer Named(XStringView svName) const;
    Status OpenNamed(const XCHAR* pszName, Kind eKind, bool fCreate, ObjectPointer& rshpoObject);
    HANDLE Add(const ObjectPointer& rshpoObject);
    static bool TryTake(Object& rObject, bool& rfAbandoned);

    mutable std::mutex m_oMutex;
    std::condition_variable m_oChanged;
    std::map<HANDLE, ObjectPointer> m_mapOpen;
    std::map<XString, ObjectPointer> m_mapForeign;
    std::map<XString, std::weak_ptr<Object>> m_mapNames;
    std::uintptr_t m_uiLastHandle = 0x5000;
    std::size_t m_cThreads = 0;
    bool m_fMisuseFailsTest = true;
};

}  // namespace vlm::test
