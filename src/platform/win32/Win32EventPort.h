/// @file
/// Events, mutexes and worker threads of the system.
#pragma once

#include "platform/EventPort.h"

namespace vlm::win32 {

/// The system's own objects.  Named ones are made for the system, administrators and the calling user, and closed to
/// everybody else.
class Win32EventPort final : public EventPort {
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
};

}  // namespace vlm::win32
