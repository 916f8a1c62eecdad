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
    /// @param pTarget may be null with a capacity of 0, to ask for the size needed.
    /// @return code units written or needed; 0 when nothing was converted, for lack of room or a bad page.
    virtual std::size_t ToWide(DWORD dwCodePage, const char* pSource, std::size_t cBytes, XCHAR* pTarget,
                               std::size_t cCapacity) noexcept = 0;

    /// Converts from UTF-16.  Units without a counterpart become "?" (never a look-alike, which could turn a name into a path).
    /// @return bytes written or needed; 0 as above.
    virtual std::size_t ToNarrow(DWORD dwCodePage, const XCHAR* pSource, std::size_t cUnits, char* pTarget,
                                 std::size_t cCapacity) noexcept = 0;

    /// The system's text of an error number or HRESULT, without its line end.  @return units written (cut to fit), 0: unknown.
    virtual std::size_t SystemErrorText(DWORD dwError, XCHAR* pTarget, std::size_t cCapacity) noexcept = 0;

    /// Expands a message text with "%1" inserts, as the system's message formatter does.
    /// @param ppszInserts borrowed zero-terminated texts, `cInserts` of them (at most 99).
    /// @return units written, 0 with a malformed text or too little room.
    virtual std::size_t FormatMessageText(const XCHAR* pszFormat, const XCHAR* const* ppszInserts, std::size_t cInserts,
                                          XCHAR* pTarget, std::size_t cCapacity) noexcept = 0;

    /// Looks up a string resource.  @param hModule null: the library itself.
    /// @return the borrowed text (not terminated) and its length in code units; an empty view when absent.
    virtual XStringView StringResource(HINSTANCE hModule, UINT uId) noexcept = 0;

    /// Copies a window's caption.  @return the status; `rcLength` gets the units written without the terminator.
    virtual Status WindowText(HWND hwnd, XCHAR* pTarget, std::size_t cCapacity, std::size_t& rcLength) noexcept = 0;

    /// Sets a window's caption from a zero-terminated text.
    virtual Status SetWindowCaption(HWND hwnd, const XCHAR* pszText) noexcept = 0;
};

}  // namespace vlm
