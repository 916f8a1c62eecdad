/// @file
/// The machine's part of the registry, for one process alone.
#pragma once

#ifdef _WIN32
#include <windows.h>
#endif

#include <string>

namespace dlltest {

/// While it lives, HKEY_LOCAL_MACHINE is a key of this process's own; on the host the store is that in any case.
class OwnMachineKey {
public:
#ifdef _WIN32
    OwnMachineKey() {
        RegCreateKeyExW(HKEY_CURRENT_USER, m_name.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &m_hKey, nullptr);
        RegOverridePredefKey(HKEY_LOCAL_MACHINE, m_hKey);
    }
    ~OwnMachineKey() {
        RegOverridePredefKey(HKEY_LOCAL_MACHINE, nullptr);
        RegCloseKey(m_hKey);
        RegDeleteTreeW(HKEY_CURRENT_USER, m_name.c_str());
    }
    static std::wstring NameFor(DWORD dwProcess) {
        return L"Software\\q9test-" + std::to_wstring(dwProcess);
    }

private:
    std::wstring m_name = NameFor(GetCurrentProcessId());
    HKEY m_hKey = nullptr;
#else
    OwnMachineKey() = default;
#endif

public:
    OwnMachineKey(const OwnMachineKey&) = delete;
    OwnMachineKey& operator=(const OwnMachineKey&) = delete;
};

}  // namespace dlltest
