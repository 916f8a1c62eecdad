/// @file
/// Text of the system.
#pragma once

#include "platform/TextPort.h"

namespace vlm::win32 {

class Win32TextPort final : public TextPort {
public:
    std::size_t ToWide(DWORD dwCodePage, const char* pSource, std::size_t cBytes, XCHAR* pTarget,
                       std::size_t cCapacity) noexcept override;
    std::size_t ToNarrow(DWORD dwCodePage, const XCHAR* pSource, std::size_t cUnits, char* pTarget,
                         std::size_t cCapacity) noexcept override;
    std::size_t SystemErrorText(DWORD dwError, XCHAR* pTarget, std::size_t cCapacity) noexcept override;
    std::size_t FormatMessageText(const XCHAR* pszFormat, const XCHAR* const* ppszInserts, std::size_t cInserts,
                                  XCHAR* pTarget, std::size_t cCapacity) noexcept override;
    XStringView StringResource(HINSTANCE hModule, UINT uId) noexcept override;
    Status WindowText(HWND hwnd, XCHAR* pTarget, std::size_t cCapacity, std::size_t& rcLength) noexcept override;
    HWND ParentWindow(HWND hwnd) noexcept override;
    Status SetWindowCaption(HWND hwnd, const XCHAR* pszText) noexcept override;
};

}  // namespace vlm::win32
