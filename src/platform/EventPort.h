/// @file
/// Port: events, mutexes and worker threads.
#pragma once

#include "platform/WinTypes.h"

namespace vlm {

/// Things that threads of one or several processes wait for.  Names are those of the system's object name space
/// ("Local\…", "Global\…" or plain, which is "Local\…"), with their case; all processes of one user see one name on
/// every platform (on the host: all that share a store).  A named object lives as long as somebody holds a handle.
/// Null and empty names make private objects.  A name with a further "\" answers PathNotFound.
/// Ownership: a handle belongs to the caller until CloseObject; nobody may wait on it by then.
/// Threads: any.  Failure: by status (InvalidHandle for what is not open or of the wrong kind); nothing throws.
class EventPort {
public:
    static constexpr DWORD WAIT_FOREVER = 0xFFFFFFFF;
    static constexpr DWORD MAX_WAIT_HANDLES = 64;

    virtual ~EventPort() = default;

    /// Creates or opens an event.  An existing one keeps its kind and its state.  A named one may be set and waited for
    /// by the user who made it, the system and administrators, and by nobody else.
    /// @return InvalidHandle when the name is taken by another kind of object, AccessDenied when it is somebody else's.
    virtual Status CreateEventAt(const XCHAR* pszName, bool fManualReset, bool fSignalled,
                                 HANDLE& rhEvent) noexcept = 0;
    /// Opens an existing named event for setting it and waiting for it.
    /// @return FileNotFound when there is none, InvalidParameter without a name.
    virtual Status OpenEventAt(const XCHAR* pszName, HANDLE& rhEvent) noexcept = 0;
    /// A signalled auto-reset event lets one wait through, however often it was set; a manual-reset event lets all
    /// through until it is set back.
    virtual Status SetEventState(HANDLE hEvent, bool fSignalled) noexcept = 0;
    /// Creates or opens a mutex; a new one is not owned yet.
    virtual Status CreateMutexAt(const XCHAR* pszName, HANDLE& rhMutex) noexcept = 0;
    /// Undoes one successful wait of the calling thread.  @return NotOwner.
    virtual Status ReleaseMutexOf(HANDLE hMutex) noexcept = 0;
    /// Waits for the first of several handles to be signalled: an event that is set, a mutex that is free or the
    /// calling thread's own, a thread that has ended.  Takes what it answers (the signal of an auto-reset event, the
    /// mutex) and nothing else; of several the one that stands first.
    /// @param dwMilliseconds 0 looks and does not wait.
    /// @param rdwIndex which one.  @param rfAbandoned the mutex's owner ended without releasing it; it is now the
    /// caller's, and what it protects may be half done.
    /// @return TimeOut when none came, InvalidParameter for no handles or too many.
    virtual Status WaitAny(const HANDLE* phHandles, DWORD cHandles, DWORD dwMilliseconds, DWORD& rdwIndex,
                           bool& rfAbandoned) noexcept = 0;
    virtual Status CloseObject(HANDLE hObject) noexcept = 0;

    /// Starts a thread.  `pfnBody` gets `pArgument`; its answer is the thread's exit code.  The thread keeps the
    /// library loaded while it runs (on the host for the rest of the process), whether or not its handle is closed.
    virtual Status StartThread(unsigned (*pfnBody)(void*), void* pArgument, HANDLE& rhThread) noexcept = 0;
};

}  // namespace vlm
