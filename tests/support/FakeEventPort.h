/// @file
/// Events, mutexes and threads without a system's name space.
#pragma once

#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "platform/EventPort.h"
#include "support/FakeCalls.h"
#include "support/PortCalls.h"

namespace vlm::test {

using XString = std::basic_string<XCHAR>;

/// Keeps the event port's contract with objects of its own; waits are real, threads are real.  Other processes are
/// played by the script.  A call on a handle that is not open fails the running test, unless told otherwise.
/// Threads: any.  The fake must outlive the threads that it started.
class FakeEventPort : public EventPort, public MisuseAlarm {
public:
    enum class Kind { Event, Mutex, Thread };

    FakeEventPort();
    ~FakeEventPort() override;

    // --- the script: what other processes do ---
    /// Another process makes an object of that name and keeps it.
    void TakeName(XStringView svName, Kind eKind);
    /// Sets a named event.  @return false when nobody has an event of that name.
    bool SetFromOutside(XStringView svName);

    // --- the account ---
    std::size_t OpenHandles() const;
    /// Threads that were started and have not ended.
    std::size_t RunningThreads() const;
    /// Whether an event, named so, is signalled; false when there is none.
    bool IsSet(XStringView svName) const;
    /// The process is gone: handles vanish; its threads, if any run, are left alone.
    void DropHandles();

    // --- the port ---
    using ThreadBody = unsigned (*)(void*);
    Q9_EVENT_CALLS(Q9_DECLARE)

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
    std::vector<ObjectPointer> m_vshpoForeign;
    std::map<XString, std::weak_ptr<Object>> m_mapNames;
    std::uintptr_t m_uiLastHandle = 0x5000;
    std::size_t m_cThreads = 0;
    bool m_fProcessGone = false;
    std::vector<std::pair<ObjectPointer, std::thread>> m_vThreads;
};

}  // namespace vlm::test
