/// @file
/// Port: the process that the library runs in.
#pragma once

#include "platform/WinTypes.h"

namespace vlm {

/// Names of the process and of modules.
/// Threads: any.  Failure: by a count of 0, or by status; nothing throws.
class ProcessPort {
public:
    /// The operating system that the process runs on.
    struct System {
        bool fWindows = false;
        bool f64Bit = false;  ///< the system itself, whatever the process is
        DWORD dwMajor = 0;    ///< version as the system numbers itself; 0 for others than Windows
        DWORD dwMinor = 0;
    };

    virtual ~ProcessPort() = default;

    virtual System DescribeSystem() noexcept = 0;

    /// Full path of a module (null: the executable; host: any address inside the module), always terminated.
    /// @param cCapacity room in code units, the terminator included.
    /// @return units written without the terminator, 0 on failure and when the path does not fit.
    virtual std::size_t ModulePath(HINSTANCE hModule, XCHAR* pTarget, std::size_t cCapacity) noexcept = 0;
    /// The same for the file that the library itself was loaded from (a program that has it linked in: the program).
    virtual std::size_t LibraryPath(XCHAR* pTarget, std::size_t cCapacity) noexcept = 0;
    /// The system's folder for its own DLLs, always terminated.
    /// @return NotSupported where the system has none (host), InsufficientBuffer.
    virtual Status SystemFolder(XCHAR* pTarget, std::size_t cCapacity) noexcept = 0;
    /// Loads a module for its resources alone: none of its code runs, and only the file at the full path is taken.
    /// The host has no such modules.  @return FileNotFound, PathNotFound, AccessDenied, NotSupported ...
    virtual Status LoadResources(const XCHAR* pszPath, HINSTANCE& rhModule) noexcept = 0;
    virtual Status FreeResources(HINSTANCE hModule) noexcept = 0;
    virtual DWORD CurrentProcessId() noexcept = 0;
    /// An environment variable, always terminated.  Names compare as the system compares them (host: with case).
    /// @return units written without the terminator, 0 when absent, empty or too long for the room.
    virtual std::size_t EnvironmentVariable(const XCHAR* pszName, XCHAR* pTarget, std::size_t cCapacity) noexcept = 0;
    /// The command line that the process was started with, program and arguments as one text, always terminated (host:
    /// the program's path alone, with "\" between its components).
    /// @return units written without the terminator, 0 on failure and when it does not fit.
    virtual std::size_t CommandLine(XCHAR* pTarget, std::size_t cCapacity) noexcept = 0;
    /// The name of this machine, always terminated.  @return units written, 0 on failure and when it does not fit.
    virtual std::size_t ComputerName(XCHAR* pTarget, std::size_t cCapacity) noexcept = 0;
    /// The ids of the system's processes, this one among them, as many as fit.
    /// @return how many were written, 0 on failure; as many as there is room for: perhaps there are more.
    virtual std::size_t ProcessIds(DWORD* pdwIds, std::size_t cCapacity) noexcept = 0;
};

}  // namespace vlm
