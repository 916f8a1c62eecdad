/// @file
/// What the updater of the debug settings may ask of the owner of the log file.
#pragma once

#include "platform/Export.h"

/// The log file as the settings updater sees it.
/// **Threads**: called on the updater's thread; an implementation guards the file against threads that write to it.
/// **Failure**: nothing throws.
class VLM_API DebugMessageHelperInterface {
public:
    virtual ~DebugMessageHelperInterface();

    /// Makes the log file empty and leaves it open; nothing when it is not open.
    virtual void ClearTheLog() noexcept = 0;
    /// Closes the log file; the next message opens it again, under the name that is then in force.
    virtual void CloseLogFile() noexcept = 0;

protected:
    DebugMessageHelperInterface() = default;
    DebugMessageHelperInterface(const DebugMessageHelperInterface&) = default;
    DebugMessageHelperInterface& operator=(const DebugMessageHelperInterface&) = default;
};
