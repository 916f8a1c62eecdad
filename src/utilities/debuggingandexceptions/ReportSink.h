/// @file
/// Where reports go once somebody listens: the one way up from failure to diagnostics.
#pragma once

#include <atomic>

#include "platform/Export.h"
#include "platform/WinTypes.h"
#include "utilities/debuggingandexceptions/DebugMessageCategories.h"
#include "utilities/debuggingandexceptions/SourcePosition.h"

class CXString;
class VelomDebugMessage;

namespace vlm {

/// Receives every report of the library.  The debug message manager is the real one; tests put in one that records.
/// **Ownership**: borrowed; whoever installs a sink takes it out before it dies, when no other thread reports any more.
/// **Threads**: called from any thread at any time, also while a lock of the caller is held.
/// **Failure**: nothing that a sink does may throw; it guards itself against reports made while it reports.
class VLM_API ReportSink {
public:
    virtual ~ReportSink();

    /// Does the sink want messages of these categories?  Asked only when the report mask lets them through.
    virtual bool Allows(DebugMessageCategories categories) const noexcept = 0;

    /// Takes one message that `Allows` has agreed to.
    virtual void Write(bool fError, DebugMessageCategories categories, const VelomDebugMessage& rMessage) noexcept = 0;

    /// Shows a box and waits for the answer.
    /// @param hwndOwner may be null.  @param dwStyle and the result are those of the system's message box.
    /// @return the button pressed, 0 when no box could be shown.
    virtual int Ask(HWND hwndOwner, const XCHAR* pszText, const XCHAR* pszCaption, DWORD dwStyle) noexcept = 0;

    /// Should execution stop in the debugger after this failed assertion?  Only a sink made for a developer says yes.
    virtual bool WantsBreak(DebugMessageCategories categories) const noexcept;
};

/// Installs a sink (null: reports are dropped) and returns the former one.  One atomic exchange; valid before any
/// constructor of the library has run and after every destructor.
VLM_API ReportSink* ExchangeReportSink(ReportSink* pSink) noexcept;
/// The sink in force, borrowed; null when nobody listens.
VLM_API ReportSink* GetReportSink() noexcept;

/// Sets the mask that every report is tested against first, and returns the former one (0 at the start).  The sink
/// keeps it up to date: a category whose messages could pass its filter must be in the mask.
VLM_API DebugMessageCategories SetReportMask(DebugMessageCategories mask) noexcept;

namespace detail {
/// The mask of SetReportMask.  Read it through ReportsAllowed.
extern VLM_API std::atomic<DebugMessageCategories> gullReportMask;
/// The second half of ReportsAllowed: asks the sink.
VLM_API bool SinkAllows(DebugMessageCategories categories) noexcept;
}  // namespace detail

/// Will a message of these categories be written?  When it will not, that costs one relaxed read and one test.
inline bool ReportsAllowed(DebugMessageCategories categories) noexcept {
    // A message without categories asks for nothing that could be switched off, so only the sink can tell.
    if (categories != DebugCategory::None &&
        (detail::gullReportMask.load(std::memory_order_relaxed) & categories) == 0) {
        return false;
    }
    return detail::SinkAllows(categories);
}

/// Hands a finished text to the sink, without asking whether it is allowed; dropped when there is no sink.
/// @param fError the message is an error.
/// Never throws: without memory the text goes out cut or not at all.
VLM_API void WriteReport(bool fError, DebugMessageCategories categories, const SourcePosition& rPosition,
                         const CXString& kcsText) noexcept;

}  // namespace vlm
