/// @file
/// Port: events, mutexes and worker threads.
#pragma once

#include "platform/WinTypes.h"

namespace vlm {

/// Things that threads of one or several processes wait for.  Names are those of the system's object name space
/// ("Local\…", "Global\…" or plain); all processes of one user see one name on every platform.
/// Threads: any.  Failure: by status; nothing throws.
class EventPort {
public:
    static constexpr DWORD WAIT_FOREVER = 0xFFFFFFFF;
    static constexpr DWORD MAX_WAIT_HANDLES = 64;

    virtual ~EventPort() = default;

    /// Creates or opens an event.  @param pszName null: a private one.  A name taken by another kind answers
    /// InvalidHandle.
    virtual Status CreateEventAt(const XCHAR* pszName, bool fManualReset, bool fSignalled,
                                 HANDLE& rhEvent) noexcept = 0;
    /// Opens an existing named event for setting it.
    virtual Status OpenEventAt(const XCHAR* pszName, HANDLE& rhEvent) noexcept = 0;
    virtual Status SetEventState(HANDLE hEvent, bool fSignalled) noexcept = 0;
    /// Creates or opens a mutex that is not owned yet.
    virtual Status CreateMutexAt(const XCHAR* pszName, HANDLE& rhMutex) noexcept = 0;
    virtual Status ReleaseMutexOf(HANDLE hMutex) noexcept = 0;
    /// Waits for the first of several handles; takes a mutex that it answers.
    /// @param rdwIndex which one.  @param rfAbandoned the mutex's owner ended without releasing it; it is now the
    /// caller's.
    /// @return TimeOut when none came.
    virtual Status WaitAny(const HANDLE* phHandles, DWORD cHandles, DWORD dwMilliseconds, DWORD& rdwIndex,
                           bool& rfAbandoned) noexcept = 0;
    virtual Status CloseObject(HANDLE hObject) noexcept = 0;

    /// Starts a thread.  `pfnBody` gets `pArgument`; its answer is the thread's exit code.  The thread keeps the
    /// library loaded while it runs.
    virtual Status StartThread(unsigned (*pfnBody)(void*), void* pArgument, HANDLE& rhThread) noexcept = 0;
};

}  // namespace vlm
