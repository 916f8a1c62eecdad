/// @file
/// The parameter type of every string operation that only reads text.
#pragma once

#include <concepts>
#include <cstddef>

#include "platform/XChar.h"

class CXString;

/// A borrowed text: anything that reads as UTF-16, with a null pointer standing for the empty text.
/// Built implicitly from a zero-terminated text (or null), a `CXString`, a string view and a standard string.
/// **Ownership**: none; it must not outlive the text that it was built from.
class XStringArg {
public:
    constexpr XStringArg(const XCHAR* pszText) noexcept
        : m_pchText(pszText), m_cUnits(pszText ? std::char_traits<XCHAR>::length(pszText) : 0) {}
    constexpr XStringArg(XStringView text) noexcept : m_pchText(text.data()), m_cUnits(text.size()) {}
    inline XStringArg(const CXString& kcsText) noexcept;
    /// Standard strings and whatever else turns into a view, but not into a pointer.
    template <class T>
    requires(std::convertible_to<const T&, XStringView> &&
             !std::convertible_to<const T&, const XCHAR*>) constexpr XStringArg(const T& rText) noexcept
        : XStringArg(static_cast<XStringView>(rText)) {}

    /// First code unit; null only when `size()` is 0.
    constexpr const XCHAR* data() const noexcept { return m_pchText; }
    /// Length in code units.
    constexpr std::size_t size() const noexcept { return m_cUnits; }
    constexpr bool empty() const noexcept { return m_cUnits == 0; }
    constexpr XStringView View() const noexcept { return XStringView(m_pchText, m_cUnits); }

private:
    const XCHAR* m_pchText;
    std::size_t m_cUnits;
};
