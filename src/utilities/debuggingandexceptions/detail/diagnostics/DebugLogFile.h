/// @file
/// The log file of the debug messages: opened when there is something to write, then kept open.
#pragma once

#include <array>
#include <cstddef>

#include "platform/WinTypes.h"

class CXString;

namespace vlm {

/// A line in the ANSI code page, cut between characters when it takes more room than there is; its end, CR LF, is
/// always there.  **Failure**: none.
class NarrowLine {
public:
    static constexpr std::size_t MAX_BYTES = 4096;

    explicit NarrowLine(XStringView svLine) noexcept;
    const char* Get() const noexcept { return m_achText.data(); }
    DWORD Bytes() const noexcept { return static_cast<DWORD>(m_cBytes); }

private:
    std::array<char, MAX_BYTES> m_achText;
    std::size_t m_cBytes = 0;
};

/// What came of one line.
struct LogOutcome {
    enum class Step { Done, NotOpen, OpenFailed, WriteFailed };
    Step eStep = Step::Done;
    Status eStatus = Status::Success;
    DWORD dwWritten = 0;
};

/// Works on the manager's handle variable.
///
/// A line is appended in one step, so that lines of several processes that share the file stay whole.  In a process of
/// the local system only an ordinary file on a local drive is opened, one that no link leads to and that has no other
/// name; anything else counts as a failure to open: the path comes from the registry, and others may have a say there.
/// **Threads**: the caller holds `StaticLibCriticalResource`.  **Failure**: by the outcome.
class DebugLogFile {
public:
    explicit DebugLogFile(HANDLE& rhFile) noexcept : m_rhFile(rhFile) {}

    bool IsOpen() const noexcept;
    /// Opens the file, or creates it.
    LogOutcome Open(const CXString& kcsPath) noexcept;
    /// @return NotOpen when the file is closed.
    LogOutcome Append(const NarrowLine& rLine) noexcept;

private:
    HANDLE& m_rhFile;
};

}  // namespace vlm
