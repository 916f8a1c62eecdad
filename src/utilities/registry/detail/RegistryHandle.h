/// @file
/// A handle of the registry port that closes itself.
#pragma once

#include "platform/Platform.h"
#include "platform/RegistryPort.h"

namespace vlm {

/// The registry in force.
inline RegistryPort& Registry() noexcept {
    return *GetPlatform().pRegistry;
}

/// Owns one open key; empty at first.  Closing it is not reported: nobody could do anything about it.
class RegistryHandle {
public:
    RegistryHandle() noexcept = default;
    RegistryHandle(RegistryHandle&& rOther) noexcept : m_hKey(rOther.m_hKey) { rOther.m_hKey = nullptr; }
    RegistryHandle& operator=(RegistryHandle&& rOther) noexcept {
        HKEY hKey = rOther.m_hKey;
        rOther.m_hKey = m_hKey;
        m_hKey = hKey;
        return *this;
    }
    ~RegistryHandle() { Close(); }

    HKEY Get() const noexcept { return m_hKey; }
    /// For a call that opens a key; what was open is closed.
    HKEY& Receive() noexcept {
        Close();
        return m_hKey;
    }
    HKEY Release() noexcept {
        HKEY hKey = m_hKey;
        m_hKey = nullptr;
        return hKey;
    }

private:
    void Close() noexcept {
        if (m_hKey) Registry().Close(m_hKey);
        m_hKey = nullptr;
    }

    HKEY m_hKey = nullptr;
};

}  // namespace vlm
