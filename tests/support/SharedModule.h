/// @file
/// Loads a shared library at run time, as a program that was not linked with it would.
#pragma once

#include <string>

#if __has_include(<dlfcn.h>)
#include <dlfcn.h>
#else
#include <windows.h>
#endif

namespace vlm::test {

/// A loaded module, let go of at the end.
class SharedModule {
public:
#if __has_include(<dlfcn.h>)
    explicit SharedModule(const std::string& rPath) : m_hModule(dlopen(rPath.c_str(), RTLD_NOW | RTLD_LOCAL)) {}
    ~SharedModule() {
        if (m_hModule) dlclose(m_hModule);
    }
    /// Code of the module may run until the process ends, also after the last one has let go.
    static constexpr bool STAYS_LOADED = true;
#else
    explicit SharedModule(const std::string& rPath) : m_hModule(LoadLibraryA(rPath.c_str())) {}
    ~SharedModule() {
        if (m_hModule) FreeLibrary(m_hModule);
    }
    static constexpr bool STAYS_LOADED = false;
#endif
    SharedModule(const SharedModule&) = delete;
    SharedModule& operator=(const SharedModule&) = delete;

    bool IsLoaded() const {
        return m_hModule != nullptr;
    }
    /// A function by its exported name, null when it is not there.
    template <class Function>
    Function* Find(const char* pszName) const {
#if __has_include(<dlfcn.h>)
        return reinterpret_cast<Function*>(dlsym(m_hModule, pszName));
#else
        return reinterpret_cast<Function*>(reinterpret_cast<void*>(GetProcAddress(m_hModule, pszName)));
#endif
    }

private:
#if __has_include(<dlfcn.h>)
    void* m_hModule;
#else
    HMODULE m_hModule;
#endif
};

}  // namespace vlm::test
