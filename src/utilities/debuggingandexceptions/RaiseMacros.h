/// @file
/// The one way to report, to throw and to assert.
///
///     VLM_REPORT(DebugCategory::Registry, VTEXT("Opened %s"), csName);          // arguments only evaluated if allowed
///     VLM_REPORT_ERROR(DebugCategory::Registry, VTEXT("Failed to open %s"), csName);
///     VLM_THROW(ExceptionFeatureNotFound, VTEXT("No feature %ld"), lId);
///     VLM_THROW_WITH(VelomComException, hResult, VTEXT("Call failed"));
///     VLM_ASSERT(iCount >= 0, VTEXT("Count is %d"), iCount);                    // reports, and goes on
///
/// A message is always formatted safely: arguments that do not fit their format, and arguments whose evaluation throws,
/// give a fixed diagnostic text with the source text of the arguments, never another failure.
#pragma once

#include "utilities/debuggingandexceptions/MessageText.h"
#include "utilities/debuggingandexceptions/ReportSink.h"
#include "utilities/debuggingandexceptions/SourcePosition.h"
#include "utilities/debuggingandexceptions/VelomComException.h"
#include "utilities/debuggingandexceptions/VelomException.h"
#include "utilities/debuggingandexceptions/VelomExceptions.h"

namespace vlm {

/// The texts of a source position as strings; empty ones without memory.
class PositionText {
public:
    VLM_API explicit PositionText(const SourcePosition& rPosition) noexcept;
    const CXString& File() const noexcept { return m_csFile; }
    const CXString& Method() const noexcept { return m_csMethod; }
    int Line() const noexcept { return m_iLine; }

private:
    CXString m_csFile;
    CXString m_csMethod;
    int m_iLine;
};

/// Writes the message that announces a throw, as an error under "errors" and "errinfra".
/// @param pszFormat for example "*Throwing* ExceptionFile: %s"; takes the exception's message.
VLM_API void ReportThrowing(const SourcePosition& rPosition, const XCHAR* pszFormat,
                            const CXString& kcsMessage) noexcept;

/// The calling thread's context stack for an exception; null when it has none.
VLM_API const ExecutionContextStack* GetStackForException() noexcept;

/// Stops in the debugger at the caller; without a debugger the process ends, as whoever asked for it knows.
VLM_API void BreakIntoDebugger() noexcept;

/// Reports a failed assertion with the calling thread's contexts, and breaks into the debugger if the sink asks for it.
VLM_API void FailAssertion(const XCHAR* pszCondition, const SourcePosition& rPosition, const CXString& kcsMessage,
                           DebugMessageCategories categories) noexcept;

}  // namespace vlm

// The macros below the line "Details" turn their arguments into text before anything in them is expanded, so that a
// message shows what stands in the source, on every platform alike.

/// Writes a message: VLM_REPORT(categories, format, arguments...).
#define VLM_REPORT(categories, ...) VLM_REPORT_DETAIL(false, categories, #__VA_ARGS__, __VA_ARGS__)

/// Writes a message that is an error; "errors" is added to the categories.
#define VLM_REPORT_ERROR(categories, ...) \
    VLM_REPORT_DETAIL(true, DebugCategory::Errors | (categories), #__VA_ARGS__, __VA_ARGS__)

/// Reports and throws: VLM_THROW(class, format, arguments...), the class by its full name.
#define VLM_THROW(Class, ...)                                                                  \
    do {                                                                                       \
        VLM_RAISE_DETAIL(#Class, #__VA_ARGS__, __VA_ARGS__)                                    \
        throw ::Get##Class(vlmText.Get(), vlmPlace.File(), vlmPlace.Line(), vlmPlace.Method(), \
                           ::vlm::GetStackForException());                                     \
    } while (false)

/// As VLM_THROW, for the two classes that carry more: VLM_THROW_WITH(class, extra argument, format, arguments...).
#define VLM_THROW_WITH(Class, extra, ...)                                                      \
    do {                                                                                       \
        const auto vlmExtra = (extra);                                                         \
        VLM_RAISE_DETAIL(#Class, #__VA_ARGS__, __VA_ARGS__)                                    \
        throw ::Get##Class(vlmText.Get(), vlmPlace.File(), vlmPlace.Line(), vlmPlace.Method(), \
                           ::vlm::GetStackForException(), vlmExtra);                           \
    } while (false)

/// Reports a condition that does not hold, with its source text, under "errors"; execution goes on, so the next line
/// gives the safe default.  The message (format, arguments...) may be left out.
#define VLM_ASSERT(condition, ...) \
    VLM_ASSERT_DETAIL(DebugCategory::Errors, condition, #condition, #__VA_ARGS__ __VA_OPT__(, ) __VA_ARGS__)

/// As VLM_ASSERT, under categories of one's own.
#define VLM_ASSERT_IN(categories, condition, ...) \
    VLM_ASSERT_DETAIL(categories, condition, #condition, #__VA_ARGS__ __VA_OPT__(, ) __VA_ARGS__)

// ---- Details: not for use elsewhere ----

#define VLM_FORMAT_DETAIL(source, ...)         \
    ::vlm::MessageText vlmText(VTEXT(source)); \
    try {                                      \
        vlmText.Format(__VA_ARGS__);           \
    } catch (...) {                            \
        vlmText.NoteFailedArguments();         \
    }

#define VLM_REPORT_DETAIL(fError, categories, source, ...)                      \
    do {                                                                        \
        const DebugMessageCategories vlmCategories = (categories);              \
        if (::vlm::ReportsAllowed(vlmCategories)) {                             \
            VLM_FORMAT_DETAIL(source, __VA_ARGS__)                              \
            ::vlm::WriteReport(fError, vlmCategories, VLM_HERE, vlmText.Get()); \
        }                                                                       \
    } while (false)

#define VLM_RAISE_DETAIL(name, source, ...)                                              \
    const ::vlm::SourcePosition& vlmRaisedAt = VLM_HERE;                                 \
    VLM_FORMAT_DETAIL(source, __VA_ARGS__)                                               \
    ::vlm::ReportThrowing(vlmRaisedAt, VTEXT("*Throwing* " name ": %s"), vlmText.Get()); \
    const ::vlm::PositionText vlmPlace(vlmRaisedAt);

#define VLM_ASSERT_DETAIL(categories, condition, conditionSource, source, ...)                           \
    do {                                                                                                 \
        if (!(condition)) [[unlikely]] {                                                                 \
            VLM_FORMAT_DETAIL(source, __VA_ARGS__)                                                       \
            ::vlm::FailAssertion(VTEXT("(" conditionSource ")"), VLM_HERE, vlmText.Get(), (categories)); \
        }                                                                                                \
    } while (false)
