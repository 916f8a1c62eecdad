/// @file
/// Which kind of process has loaded the library.
#pragma once

#include <cstdint>

#include "platform/Export.h"
#include "platform/XChar.h"

/// The record of the process that the library runs in, by the name of its executable.
/// **Threads**: any.  **Failure**: none; a name that cannot be had counts as DLC_UNKNOWN.
struct VLM_API DriverLoadedContext {
    /// Kinds of process.  The numbers stand in messages of other components and never change.
    enum Context : std::uint32_t {
        DLC_UNKNOWN = 0,            ///< the executable's name cannot be had
        DLC_APPLICATION = 1,        ///< a program of the user's, and whatever is not named below
        DLC_SPOOLER = 2,            ///< the print spooler, "spoolsv.exe"
        DLC_WMI_PROVIDER = 3,       ///< the host of management providers, "wmiprvse.exe"
        DLC_INSTALLER = 4,          ///< "drvinst.exe", "msiexec.exe"
        DLC_SPOOLER_COMPONENT = 5,  ///< spooler-side helpers, "printisolationhost.exe", "printfilterpipelinesvc.exe"
    };

    /// The kind of the present process.  Asks the system each time; cheap enough for every message.
    static Context Get() noexcept;
    /// For messages: "application", "spooler", "management provider", "installer", "spooler component", "unknown".
    static const XCHAR* GetName(Context eContext) noexcept;
    static const XCHAR* GetName() noexcept { return GetName(Get()); }
    /// The spooler, or a helper on its side?
    static bool IsSpoolerSide(Context eContext) noexcept {
        return eContext == DLC_SPOOLER || eContext == DLC_SPOOLER_COMPONENT;
    }
    static bool IsSpoolerSide() noexcept { return IsSpoolerSide(Get()); }
};
