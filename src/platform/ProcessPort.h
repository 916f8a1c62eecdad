/// @file
/// Port: the process that the library runs in.
#pragma once

#include "platform/WinTypes.h"

namespace vlm {

/// Names of the process and of modules.
/// Threads: any.  Failure: by a count of 0; nothing throws.
class ProcessPort {
public:
    virtual ~ProcessPort() = default;

    /// Full path of a module (null: the executable; host: any address inside the module), always terminated.
    /// @param cCapacity room in code units, the terminator included.
    /// @return units written without the terminator, 0 on failure and when the path does not fit.
    virtual std::size_t ModulePath(HINSTANCE hModule, XCHAR* pTarget, std::size_t cCapacity) noexcept = 0;
    virtual DWORD CurrentProcessId() noexcept = 0;
    /// An environment variable, always terminated.  Names compare as the system compares them (host: with case).
    /// @return units written without the terminator, 0 when absent, empty or too long for the room.
    virtual std::size_t EnvironmentVariable(const XCHAR* pszName, XCHAR* pTarget, std::size_t cCapacity) noexcept = 0;
};

}  // namespace vlm
