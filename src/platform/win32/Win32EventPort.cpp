/// @file
/// Events, mutexes and threads over kernel32.
#include "platform/win32/Win32EventPort.h"

#include <process.h>

#include <algorithm>
#include <iterator>
#include <memory>
#include <new>

#include "platform/IdentityPort.h"
#include "platform/win32/TokenSid.h"

#include <sddl.h>

namespace vlm::win32 {

namespace {

/// Who may do what with a named object: the system, administrators and the calling user everything, others nothing.
class ObjectSecurity {
public:
    explicit ObjectSecurity(const XCHAR* pszName) noexcept {
        if (pszName == nullptr || *pszName == 0) return;  // nobody else finds a private object
        XCHAR szText[IdentityPort::MAX_SID_UNITS + 64] = L"D:P(A;;GA;;;SY)(A;;GA;;;BA)(A;;GA;;;";
        XCHAR* const pSid = std::find(szText, std::end(szText), L'\0');
        OwnedHandle oToken;
        bool fImpersonating = false;
        m_eStatus = OpenEffectiveToken(oToken, fImpersonating);
        if (m_eStatus != Status::Success) return;
        m_eStatus = SidTextOfToken(oToken.Get(), pSid, IdentityPort::MAX_SID_UNITS);
        if (m_eStatus != Status::Success) return;
        constexpr XCHAR END[] = L")";
        std::copy(std::begin(END), std::end(END), std::find(pSid, std::end(szText), L'\0'));
        m_eStatus = StatusOf(ConvertStringSecurityDescriptorToSecurityDescriptorW(
            szText, SDDL_REVISION_1, &m_oAttributes.lpSecurityDescriptor, nullptr));
    }
    ~ObjectSecurity() { LocalFree(m_oAttributes.lpSecurityDescriptor); }
    ObjectSecurity(const ObjectSecurity&) = delete;
    ObjectSecurity& operator=(const ObjectSecurity&) = delete;
    Status GetStatus() const noexcept { return m_eStatus; }
    SECURITY_ATTRIBUTES* Get() noexcept { return m_oAttributes.lpSecurityDescriptor ? &m_oAttributes : nullptr; }

private:
    SECURITY_ATTRIBUTES m_oAttributes{sizeof(SECURITY_ATTRIBUTES), nullptr, FALSE};
    Status m_eStatus = Status::Success;
};

const XCHAR* NameOrNull(const XCHAR* pszName) noexcept {
    return pszName && *pszName ? pszName : nullptr;
}

/// The pseudo handles of process and thread are no objects of ours.
bool IsObject(HANDLE hObject) noexcept {
    return hObject != nullptr && reinterpret_cast<LONGLONG>(hObject) > 0;
}

struct ThreadStart {
    unsigned (*pfnBody)(void*);
    void* pArgument;
    HMODULE hModule;
};

unsigned __stdcall RunThread(void* pStart) {
    const HMODULE hModule = static_cast<ThreadStart*>(pStart)->hModule;
    unsigned uExitCode = 0;
    {
        const std::unique_ptr<ThreadStart> apoStart(static_cast<ThreadStart*>(pStart));
        uExitCode = apoStart->pfnBody(apoStart->pArgument);
    }
    // The code that would be returned to may be gone with the last reference.
    FreeLibraryAndExitThread(hModule, uExitCode);
}

}  // namespace

Status Win32EventPort::CreateEventAt(const XCHAR* pszName, bool fManualReset, bool fSignalled,
                                     HANDLE& rhEvent) noexcept {
    ObjectSecurity oSecurity(pszName);
    if (oSecurity.GetStatus() != Status::Success) return oSecurity.GetStatus();
    const DWORD dwFlags =
        (fManualReset ? CREATE_EVENT_MANUAL_RESET : 0u) | (fSignalled ? CREATE_EVENT_INITIAL_SET : 0u);
    const HANDLE hEvent =
        CreateEventExW(oSecurity.Get(), NameOrNull(pszName), dwFlags, EVENT_MODIFY_STATE | SYNCHRONIZE);
    if (hEvent == nullptr) return LastStatus();
    rhEvent = hEvent;
    return Status::Success;
}

Status Win32EventPort::OpenEventAt(const XCHAR* pszName, HANDLE& rhEvent) noexcept {
    if (NameOrNull(pszName) == nullptr) return Status::InvalidParameter;
    const HANDLE hEvent = OpenEventW(EVENT_MODIFY_STATE | SYNCHRONIZE, FALSE, pszName);
    if (hEvent == nullptr) return LastStatus();
    rhEvent = hEvent;
    return Status::Success;
}

Status Win32EventPort::SetEventState(HANDLE hEvent, bool fSignalled) noexcept {
    if (!IsObject(hEvent)) return Status::InvalidHandle;
    return StatusOf(fSignalled ? SetEvent(hEvent) : ResetEvent(hEvent));
}

Status Win32EventPort::CreateMutexAt(const XCHAR* pszName, HANDLE& rhMutex) noexcept {
    ObjectSecurity oSecurity(pszName);
    if (oSecurity.GetStatus() != Status::Success) return oSecurity.GetStatus();
    const HANDLE hMutex = CreateMutexExW(oSecurity.Get(), NameOrNull(pszName), 0, MUTEX_MODIFY_STATE | SYNCHRONIZE);
    if (hMutex == nullptr) return LastStatus();
    rhMutex = hMutex;
    return Status::Success;
}

Status Win32EventPort::ReleaseMutexOf(HANDLE hMutex) noexcept {
    return IsObject(hMutex) ? StatusOf(ReleaseMutex(hMutex)) : Status::InvalidHandle;
}

Status Win32EventPort::WaitAny(const HANDLE* phHandles, DWORD cHandles, DWORD dwMilliseconds, DWORD& rdwIndex,
                               bool& rfAbandoned) noexcept {
    static_assert(MAX_WAIT_HANDLES == MAXIMUM_WAIT_OBJECTS && WAIT_FOREVER == INFINITE);
    if (phHandles == nullptr || cHandles == 0 || cHandles > MAX_WAIT_HANDLES) return Status::InvalidParameter;
    if (!std::all_of(phHandles, phHandles + cHandles, IsObject)) return Status::InvalidHandle;
    const DWORD dwAnswer = WaitForMultipleObjects(cHandles, phHandles, FALSE, dwMilliseconds);
    if (dwAnswer == WAIT_TIMEOUT) return Status::TimeOut;
    if (dwAnswer == WAIT_FAILED) return LastStatus();
    rfAbandoned = dwAnswer >= WAIT_ABANDONED_0;
    rdwIndex = dwAnswer - (rfAbandoned ? WAIT_ABANDONED_0 : WAIT_OBJECT_0);
    return Status::Success;
}

Status Win32EventPort::CloseObject(HANDLE hObject) noexcept {
    return IsObject(hObject) ? StatusOf(CloseHandle(hObject)) : Status::InvalidHandle;
}

Status Win32EventPort::StartThread(unsigned (*pfnBody)(void*), void* pArgument, HANDLE& rhThread) noexcept {
    if (pfnBody == nullptr) return Status::InvalidParameter;
    std::unique_ptr<ThreadStart> apoStart(new (std::nothrow) ThreadStart{pfnBody, pArgument, nullptr});
    if (!apoStart) return Status::NotEnoughMemory;
    if (!GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS, reinterpret_cast<const XCHAR*>(&RunThread),
                            &apoStart->hModule)) {
        return LastStatus();
    }
    const std::uintptr_t uiThread = _beginthreadex(nullptr, 0, &RunThread, apoStart.get(), 0, nullptr);
    if (uiThread == 0) {
        FreeLibrary(apoStart->hModule);
        return Status::NoSystemResources;
    }
    static_cast<void>(apoStart.release());
    rhThread = reinterpret_cast<HANDLE>(uiThread);
    return Status::Success;
}

}  // namespace vlm::win32
