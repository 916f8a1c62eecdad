/// @file
/// The text of a report or an exception, formatted so that nothing can go wrong.
#include "utilities/debuggingandexceptions/MessageText.h"

#include "utilities/debuggingandexceptions/detail/failure/SafeText.h"

namespace vlm {

namespace {

constexpr const XCHAR* EMPTY_RESULT = VTEXT(
    "A message argument was supplied, but the resulting string is empty. The format string and variable argument list "
    "for this message causes a crash. Perhaps there's an argument mismatch or one of the arguments is a NULL pointer. "
    "Look at the message arguments at the file and line number indicated above.");
constexpr const XCHAR* FAILED_ARGUMENTS = VTEXT(
    "A message argument was supplied, but the resulting string is empty. The argument list for this message causes a "
    "crash. Some code that executes to marshal the arguments to pass to the format string method causes a crash (e.g., "
    "a NULL pointer indirection). Look at the message arguments at the file and line number indicated above.");
constexpr const XCHAR* INTENDED_ARGUMENTS =
    VTEXT("The format string arguments for the intended error message:\r\n\r\n");

/// What makes the text of a message worthless.  A null text is shown as such, and a clamped width or a cut text still
/// says what was meant.
constexpr std::uint32_t MISMATCH = FMTF_MISSING_ARGUMENT | FMTF_WRONG_KIND | FMTF_BAD_CONVERSION;

CXString Diagnose(const XCHAR* pszDiagnosis, const XCHAR* pszArguments) noexcept {
    SafeText text;
    text.Append(pszDiagnosis).Append(VTEXT(" ")).Append(INTENDED_ARGUMENTS).Append(pszArguments);
    return std::move(text.Get());
}

}  // namespace

void MessageText::CheckFormat(const FormatResult& rResult, const XCHAR* pszFormat) noexcept {
    const bool fSupplied = pszFormat && *pszFormat;
    const bool fMismatch = (rResult.m_dwFlags & MISMATCH) != 0;
    if (!fSupplied || (!fMismatch && !m_csText.IsEmpty())) return;
    CXString csFormatted(std::move(m_csText));
    m_csText = Diagnose(EMPTY_RESULT, m_pszArguments);
    if (!csFormatted.IsEmpty()) {
        m_csText = std::move(SafeText().Append(m_csText.View()).Append(VTEXT("\r\n")).Append(csFormatted.View()).Get());
    }
}

void MessageText::NoteFailedArguments() noexcept {
    m_csText = Diagnose(FAILED_ARGUMENTS, m_pszArguments);
}

}  // namespace vlm
