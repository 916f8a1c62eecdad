/// @file
/// An open registry key that is closed with its object.
#pragma once

#include <utility>

#include "platform/Platform.h"
#include "platform/RegistryPort.h"

namespace vlm {

/// The registry port in force.
inline RegistryPort& Registry() noexcept {
    return *GetPlatform().pRegistry;
}

/// Owns a key handle; empty at first.  Closing is not reported: nobody could do anything about it.
/// **Threads**: as any value.
class RegistryHandle {
public:
    RegistryHandle() noexcept = default;
    ~RegistryHandle() { Close(); }
    RegistryHandle(RegistryHandle&& rOther) noexcept : m_hKey(rOther.Release()) {}
    RegistryHandle& operator=(RegistryHandle&& rOther) noexcept {
        if (this != &rOther) {
            Close();
            m_hKey = rOther.Release();
        }
        return *this;
    }
    RegistryHandle(const RegistryHandle&) = delete;
    RegistryHandle& operator=(const RegistryHandle&) = delete;

    HKEY Get() const noexcept { return m_hKey; }
    /// For a call that opens a key; what was open is closed.
    HKEY& Receive() noexcept {
        Close();
        return m_hKey;
    }
    /// Gives the key away.
    HKEY Release() noexcept { return std::exchange(m_hKey, nullptr); }
    void Close() noexcept {
        if (m_hKey) Registry().Close(Release());
    }

private:
    HKEY m_hKey = nullptr;
};

}  // namespace vlm
