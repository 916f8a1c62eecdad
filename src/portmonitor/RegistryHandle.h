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

/// Owns a key handle.  **Threads**: as any value.
class RegistryHandle {
public:
    RegistryHandle() noexcept = default;
    ~RegistryHandle() { Close(); }
    RegistryHandle(RegistryHandle&& rOther) noexcept : m_hKey(std::exchange(rOther.m_hKey, nullptr)) {}
    RegistryHandle& operator=(RegistryHandle&& rOther) noexcept {
        if (this != &rOther) {
            Close();
            m_hKey = std::exchange(rOther.m_hKey, nullptr);
        }
        return *this;
    }
    RegistryHandle(const RegistryHandle&) = delete;
    RegistryHandle& operator=(const RegistryHandle&) = delete;

    HKEY Get() const noexcept { return m_hKey; }
    /// Closes what it holds, for a call that opens another key.
    HKEY& Receive() noexcept {
        Close();
        return m_hKey;
    }
    void Close() noexcept {
        if (m_hKey) Registry().Close(std::exchange(m_hKey, nullptr));
    }

private:
    HKEY m_hKey = nullptr;
};

}  // namespace vlm
