/// @file
/// The one lock of the diagnostics.
#pragma once

#include "platform/Export.h"
#include "utilities/utilitiesdll/CriticalResource.h"

/// The process-wide critical resource of the debug messages.  It serialises what is written to the log file, every use
/// of the file's handle, and first-time initialisations of the diagnostics.  It is the last in the order of locks: who
/// holds it takes no other lock of the library, and nobody holds it while a box is up or another process is waited for.
/// **Threads**: any; usable before any constructor has run and after every destructor.
class VLM_API StaticLibCriticalResource : public CriticalResource {
public:
    constexpr StaticLibCriticalResource() noexcept = default;
    /// The only object.
    static StaticLibCriticalResource& Get() noexcept;
};
