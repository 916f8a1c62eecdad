/// @file
/// The token that a thread acts under, and what it says of its user.
#pragma once

#include "platform/win32/System.h"

namespace vlm::win32 {

/// A handle that closes itself.
class OwnedHandle {
public:
    explicit OwnedHandle(HANDLE hObject = nullptr) noexcept : m_hObject(hObject) {}
    ~OwnedHandle() {
        if (m_hObject != nullptr) CloseHandle(m_hObject);
    }
    OwnedHandle(const OwnedHandle&) = delete;
    OwnedHandle& operator=(const OwnedHandle&) = delete;
    HANDLE Get() const noexcept { return m_hObject; }
    HANDLE* Receive() noexcept { return &m_hObject; }
    HANDLE Release() noexcept {
        const HANDLE hObject = m_hObject;
        m_hObject = nullptr;
        return hObject;
    }

private:
    HANDLE m_hObject;
};

/// Opens the thread's token with the process's rights.  @return false with ERROR_NO_TOKEN as last error when the thread
/// does not impersonate.
bool OpenThreadsToken(DWORD dwAccess, OwnedHandle& rToken) noexcept;

/// The thread's token where it impersonates, else the process's, for queries.
Status OpenEffectiveToken(OwnedHandle& rToken, bool& rfImpersonating) noexcept;

/// Writes the text of a token's user.  @return InsufficientBuffer.
Status SidTextOfToken(HANDLE hToken, XCHAR* pTarget, std::size_t cCapacity) noexcept;

}  // namespace vlm::win32
