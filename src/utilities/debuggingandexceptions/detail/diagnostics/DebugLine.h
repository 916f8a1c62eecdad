/// @file
/// The line that a debug message becomes.
#pragma once

#include <array>
#include <cstddef>

#include "platform/ClockPort.h"
#include "platform/WinTypes.h"
#include "utilities/debuggingandexceptions/DebugMessageCategories.h"

class DebugMessageConfiguration;

namespace vlm {

/// Which pieces a line has and how wide they are: one reading of the settings, so that a line is of one piece while
/// they change.
struct DebugLineSettings {
    DebugLineSettings() noexcept = default;
    explicit DebugLineSettings(const DebugMessageConfiguration& rConfiguration) noexcept;

    bool fCategories = false;
    bool fDate = false;
    bool fTime = false;
    bool fFractionOfSecond = false;
    bool fComputerName = false;
    bool fContext = false;
    bool fProcessId = false;
    bool fProcessName = false;
    bool fModule = false;
    bool fFileName = false;
    bool fMethod = false;
    bool fLineNumber = false;
    bool fHighLightErrors = false;
    DWORD dwMinFilenameWidth = 24;
    DWORD dwMaxFilenameWidth = 24;
    DWORD dwMinMethodWidth = 40;
    DWORD dwMaxMethodWidth = 40;
    DWORD dwMaxMessageWidth = 0;  ///< longest line in code units, its end not counted; 0: as long as the buffer
};

/// What the line tells about process, thread and moment.  Texts are borrowed.
struct DebugLineFacts {
    CalendarTime oLocalTime{};
    bool fHighResolutionClock = true;
    XStringView computerName;
    XStringView context;
    DWORD dwProcessId = 0;
    DWORD dwThreadId = 0;
    XStringView processName;
    XStringView moduleName;
    bool fOtherThread = false;  ///< not the thread that built the manager
    LONG lIndent = 0;           ///< blocks of three blanks; not shown on another thread
};

/// One message, borrowed: nothing on its way to the outputs needs memory.
struct DebugLineMessage {
    XStringView text;
    XStringView fileName;
    XStringView methodName;
    DWORD dwLineNumber = 0;  ///< 0: not known
};

/// Builds one line in a buffer of its own.  The pieces, in this order, each if its setting is on:
///
/// | Setting | Piece |
/// |---|---|
/// | ShowCategories | "[ errors perf ]" |
/// | ShowDate | "2024-02-29 ", with a blank before it when something stands there |
/// | ShowTime | "12:34:56"; with TimeWithHundredthsOfSecond ":789 ", or ":78 " by the tick count |
/// | ShowComputerName | the name, at most 16 characters |
/// | ShowContext | the innermost execution context, at most 32 characters |
/// | ShowProcessId | process and thread in hexadecimal: "04d2:10e1 " |
/// | ShowProcessName | "( spoolsv) ", right-aligned in 8 characters |
/// | ShowModule | the library's file name and a blank |
/// | ShowFileName, ShowMethod, ShowLineNumber | the place in the source, the file without its folder |
/// | always | "> ", "*ERROR*" with HighLightErrors, indentation or "[2nd Thrd] ", the text, CR LF |
///
/// A zero unit in the text becomes a blank: it would end the line for some outputs and not for others.
/// **Failure**: none; what does not fit is cut between characters, and the line end is always there.
class DebugLine {
public:
    /// Room in code units, the terminator included.
    static constexpr std::size_t CAPACITY = 4096;

    DebugLine() noexcept { m_achText[0] = XCHAR(); }
    DebugLine(const DebugLine&) = delete;
    DebugLine& operator=(const DebugLine&) = delete;

    void Build(const DebugLineSettings& rSettings, const DebugLineFacts& rFacts, bool fError,
               DebugMessageCategories categories, const DebugLineMessage& rMessage) noexcept;

    /// The line with its end, zero-terminated.
    const XCHAR* Get() const noexcept { return m_achText.data(); }
    XStringView View() const noexcept { return {m_achText.data(), m_cUnits}; }

private:
    template <class... Args>
    void Format(const XCHAR* pszFormat, const Args&... args) noexcept;
    void Append(XStringView text) noexcept;
    void AppendProcess(const DebugLineSettings& rSettings, const DebugLineFacts& rFacts) noexcept;
    void AppendMoment(const DebugLineSettings& rSettings, const DebugLineFacts& rFacts) noexcept;
    void AppendPlace(const DebugLineSettings& rSettings, const DebugLineMessage& rMessage) noexcept;
    void End(DWORD dwMaxMessageWidth) noexcept;

    std::array<XCHAR, CAPACITY> m_achText;
    std::size_t m_cUnits = 0;
};

}  // namespace vlm
