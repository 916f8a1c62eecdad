/// @file
/// The monitor's files in the system folder.
#pragma once

#include <string>

#include "portmonitor/entry/q7lrsl/System.h"

namespace loader {

/// Four names, all in the system folder, where only administrators write; none comes from a caller:
///
///     q7lrs.dll   the monitor in force
///     q7lrs.new   a complete newer one that an administrator has put beside it
///     q7lrs.old   the one before, while the two change places
///     q7lrs.bad   a newer one that did not load
///
/// **Threads**: any.  **Failure**: by the system's numbers; the constructor throws std::bad_alloc.
class MonitorFiles {
public:
    /// Empty paths when the system folder cannot be had; every operation then fails.
    MonitorFiles();

    const std::wstring& Monitor() const noexcept { return m_monitor; }

    /// Whether the new file may take the monitor's place: a file of its own, a whole DLL with the monitor's way in, and
    /// of a higher version.  No code of it runs for that.
    /// @return 0, ERROR_FILE_NOT_FOUND, ERROR_ALREADY_EXISTS when it is not newer, ERROR_BAD_EXE_FORMAT,
    /// ERROR_ACCESS_DENIED for a folder or a link.
    DWORD CheckNew() const noexcept;
    /// Puts the new file in the monitor's place.  The monitor's own file must not be in use by this process.
    /// After a failure the files are what they were.
    DWORD TakeNew() const noexcept;
    /// Puts the former file back: the new one does not load.  The new one is moved away first: it may still be in use,
    /// and such a file can be renamed, but not replaced.
    DWORD TakeBack() const noexcept;
    /// Deletes what is left over, at the latest when the system starts anew.
    void Forget() const noexcept;

private:
    std::wstring m_monitor, m_new, m_old, m_bad;
};

}  // namespace loader
