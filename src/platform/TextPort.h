/// @file
/// Port: what the system knows about text.  See docs/porting.md for the contract; tests/platform runs it.
#pragma once

#include "platform/WinTypes.h"

namespace vlm {

/// Conversions to and from the ANSI code page, texts of the system's errors, string resources and window captions.
/// Threads: every call may come from any thread at any time.  Failure: by status or by a count of 0; nothing throws.
class TextPort {
public:
    virtual ~TextPort() = default;

    /// Converts from `dwCodePage` (0: the ANSI code page, 1252 on the host; 65001: UTF-8) to UTF-16.
    /// Malformed UTF-8 becomes U+FFFD, at least one for each malformed run; how many for one run is the system's
    /// choice. The five bytes that 1252 leaves open become U+0081, U+008D, U+008F, U+0090 and U+009D, and back.
    /// @param pSource `cBytes` bytes; not terminated, zero bytes are converted like any other.
    /// @param pTarget receives no terminator; may be null with a capacity of 0, to ask for the size needed.
    /// @return code units written or needed; 0 when nothing was converted: no bytes, lack of room (nothing useful is
    ///         written then), an unknown code page, or more than 2^31 - 1 bytes.
    virtual std::size_t ToWide(DWORD dwCodePage, const char* pSource, std::size_t cBytes, XCHAR* pTarget,
                               std::size_t cCapacity) noexcept = 0;

    /// Converts from UTF-16.  Units without a counterpart become "?", each (never a look-alike, which could turn a name
    /// into a path); with UTF-8 a lone surrogate becomes U+FFFD.
    /// @return bytes written or needed; 0 as above.  No terminator is written.
    virtual std::size_t ToNarrow(DWORD dwCodePage, const XCHAR* pSource, std::size_t cUnits, char* pTarget,
                                 std::size_t cCapacity) noexcept = 0;

    /// The system's text of an error number or HRESULT, in the system's own words, without its line end.
    /// @return units written (cut to fit, no terminator), 0: unknown.
    virtual std::size_t SystemErrorText(DWORD dwError, XCHAR* pTarget, std::size_t cCapacity) noexcept = 0;

    /// Expands a message text as the system's message formatter does: "%1" to "%99" are inserts (one that is not given
    /// is empty), "%1!s!" is the same as "%1", "%n" and every kind of line end in the text become CR LF, "%r" CR, "%t"
    /// a tab,
    /// "%0" ends the text, and "%" before any other unit stands for that unit ("%%").
    /// Other "!...!" formats are not part of the contract.
    /// @param ppszInserts borrowed zero-terminated texts, `cInserts` of them (at most 99); null ones are empty.
    /// @return units written, without a terminator; 0 with a malformed text ("%" at the end, "!" not closed), an empty
    ///         result or too little room.
    virtual std::size_t FormatMessageText(const XCHAR* pszFormat, const XCHAR* const* ppszInserts, std::size_t cInserts,
                                          XCHAR* pTarget, std::size_t cCapacity) noexcept = 0;

    /// Looks up a string resource.  @param hModule null: the library itself.
    /// @return the borrowed text (not terminated) and its length in code units; an empty view when absent.
    virtual XStringView StringResource(HINSTANCE hModule, UINT uId) noexcept = 0;

    /// Copies a window's caption, cut to fit and always terminated.
    /// @param cCapacity room in code units, the terminator included; 0 answers InvalidParameter.
    /// @return the status (InvalidWindowHandle when there is no such window); `rcLength` gets the units written without
    ///         the terminator, 0 after a failure.
    virtual Status WindowText(HWND hwnd, XCHAR* pTarget, std::size_t cCapacity, std::size_t& rcLength) noexcept = 0;

    /// The window that holds or owns another one; null when there is none.
    virtual HWND ParentWindow(HWND hwnd) noexcept = 0;

    /// Sets a window's caption from a zero-terminated text (null: an empty one).
    virtual Status SetWindowCaption(HWND hwnd, const XCHAR* pszText) noexcept = 0;
};

}  // namespace vlm
