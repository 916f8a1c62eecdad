/// @file
/// One loaded module, for tests that load and unload the library by hand.
#pragma once

#ifdef _WIN32
#include <windows.h>
#else
#include <dlfcn.h>
#endif

namespace dlltest {

/// Loads on construction and unloads on destruction.
class Module {
public:
#ifdef _WIN32
    /// Code of the module is gone when its last user has let go of it.
    static constexpr bool STAYS_LOADED = false;
    explicit Module(const char* pszPath) : m_hModule(LoadLibraryA(pszPath)) {}
    ~Module() {
        if (m_hModule) FreeLibrary(m_hModule);
    }
    bool IsLoaded() const {
        return m_hModule != nullptr;
    }
    const void* Symbol(const char* pszName) const {
        return reinterpret_cast<const void*>(GetProcAddress(m_hModule, pszName));
    }
    static bool IsInProcess(const char* pszPath) {
        return GetModuleHandleA(pszPath) != nullptr;
    }
#else
    /// The module stays until the process ends, because the system calls it at the end of every thread that used it.
    static constexpr bool STAYS_LOADED = true;
    explicit Module(const char* pszPath) : m_hModule(dlopen(pszPath, RTLD_NOW | RTLD_LOCAL)) {}
    ~Module() {
        if (m_hModule) dlclose(m_hModule);
    }
    bool IsLoaded() const {
        return m_hModule != nullptr;
    }
    const void* Symbol(const char* pszName) const {
        return dlsym(m_hModule, pszName);
    }
    static bool IsInProcess(const char* pszPath) {
        void* const hModule = dlopen(pszPath, RTLD_NOW | RTLD_NOLOAD);
        if (hModule) dlclose(hModule);
        return hModule != nullptr;
    }
#endif
    Module(const Module&) = delete;
    Module& operator=(const Module&) = delete;

private:
#ifdef _WIN32
    HMODULE m_hModule;
#else
    void* m_hModule;
#endif
};

}  // namespace dlltest
