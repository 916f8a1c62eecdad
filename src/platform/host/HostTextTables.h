/// @file
/// What the host has instead of string resources and windows: tables that a program fills.
#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include "platform/WinTypes.h"

namespace vlm::host {

/// One string resource.
struct StringResourceEntry {
    UINT uId;
    const XCHAR* pszText;
};

/// Makes a table of strings the resources of a module (null: the library itself), in place of the former table.
/// @param pEntries borrowed until the table is replaced; `cEntries` 0 removes it.
/// @return false when memory is short; the former table stays then.
/// Threads: any, but not while another thread reads a text of the table that is replaced.
bool RegisterStringResources(HINSTANCE hModule, const StringResourceEntry* pEntries, std::size_t cEntries) noexcept;

/// The registered text, or an empty view.
XStringView FindStringResource(HINSTANCE hModule, UINT uId) noexcept;

/// Adds a window that has a caption and nothing else.  @return null when memory is short.  Threads: any.
HWND OpenCaptionWindow(const XCHAR* pszCaption) noexcept;
/// Takes it away.  @return false when there is no such window.
bool CloseCaptionWindow(HWND hwnd) noexcept;

/// Reads (nothing: no such window) and sets a caption.  @throws std::bad_alloc
std::optional<std::basic_string<XCHAR>> WindowCaption(HWND hwnd);
bool ReplaceWindowCaption(HWND hwnd, XStringView svCaption);

}  // namespace vlm::host
