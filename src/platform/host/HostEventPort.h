/// @file
/// Events, mutexes and worker threads of the host.
#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "platform/EventPort.h"
#include "platform/host/HandleTable.h"
#include "platform/host/HostWaitObjects.h"

namespace vlm::host {

/// Named objects live in a folder beside the store (HostObjectFolder.h): whoever shares the store shares the names.
/// With a store in memory they stay within the process.  A wait for a mutex that is held asks again every 16 ms at the
/// latest; everything else wakes the waiter at once.  After a fork the child does not own the parent's mutexes, and
/// handles to them are of no use to it.
class HostEventPort final : public EventPort {
public:
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
    using ObjectPointer = std::shared_ptr<WaitObject>;

    ObjectPointer Find(HANDLE hObject) const noexcept;
    HANDLE Add(const ObjectPointer& rshpoObject);
    Status OpenNamed(XStringView svName, const ObjectKind* peCreate, bool fSignalled, ObjectPointer& rshpoObject);

    HandleTable<ObjectPointer> m_oObjects;
    std::mutex m_oNamesMutex;
    /// The named objects that this process holds: two handles of one mutex must share its owner.  Made with the first
    /// name, and anew in a child of a fork.
    std::unique_ptr<std::map<std::string, std::weak_ptr<WaitObject>>> m_apoNames;
    int m_iNamesOwner = 0;
};

}  // namespace vlm::host
