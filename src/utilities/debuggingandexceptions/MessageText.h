/// @file
/// The text of a report or an exception, formatted so that nothing can go wrong.
#pragma once

#include "platform/Export.h"
#include "utilities/utilitiesdll/CXString.h"
#include "utilities/utilitiesdll/Format.h"

namespace vlm {

/// Formats once and keeps the text.  When format and arguments do not fit, when the text comes out empty although a
/// message was given, or when computing the arguments threw, the text is one of the fixed diagnostic texts, followed by
/// the arguments as they stand in the source.  **Failure**: none; without memory the text is empty.
class VLM_API MessageText {
public:
    /// @param pszArguments the source text of format and arguments, a literal.
    explicit MessageText(const XCHAR* pszArguments) noexcept : m_pszArguments(pszArguments) {}

    /// No message: the text stays empty.
    void Format() noexcept {}
    template <class... Args>
    void Format(const XCHAR* pszFormat, const Args&... args) noexcept {
        CheckFormat(TryFormat(m_csText, pszFormat, args...), pszFormat);
    }
    /// The arguments could not even be computed.
    void NoteFailedArguments() noexcept;

    const CXString& Get() const noexcept { return m_csText; }

private:
    void CheckFormat(const FormatResult& rResult, const XCHAR* pszFormat) noexcept;

    const XCHAR* m_pszArguments;
    CXString m_csText;
};

}  // namespace vlm
