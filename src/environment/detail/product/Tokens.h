/// @file
/// Walks the runs of characters between separators, without copying them.
#pragma once

#include "platform/XChar.h"

namespace vlm {

/// The tokens of a borrowed text: its runs without the separator; empty ones do not count.
class TokenWalk {
public:
    constexpr TokenWalk(XStringView text, XCHAR chSeparator) noexcept : m_rest(text), m_chSeparator(chSeparator) {}

    /// The next token.  @return false when there is none left.
    constexpr bool Next(XStringView& rToken) noexcept {
        while (!m_rest.empty() && m_rest.front() == m_chSeparator)
            m_rest.remove_prefix(1);
        if (m_rest.empty()) return false;
        std::size_t uEnd = 0;
        while (uEnd < m_rest.size() && m_rest[uEnd] != m_chSeparator)
            ++uEnd;
        rToken = m_rest.substr(0, uEnd);
        m_rest.remove_prefix(uEnd);
        return true;
    }

private:
    XStringView m_rest;
    XCHAR m_chSeparator;
};

/// The tokens of a model's name that tell it from others: those between blanks that are not the maker's name.
class ModelTokens {
public:
    constexpr explicit ModelTokens(XStringView name) noexcept : m_walk(name, VTEXT(' ')) {}

    constexpr bool Next(XStringView& rToken) noexcept {
        while (m_walk.Next(rToken)) {
            if (rToken != VTEXT("Velom")) return true;
        }
        return false;
    }

private:
    TokenWalk m_walk;
};

/// Is the first walk's rest a beginning of the second's?
template <class Walk>
constexpr bool IsPrefix(Walk first, Walk second) noexcept {
    XStringView tokenOfFirst, tokenOfSecond;
    while (first.Next(tokenOfFirst)) {
        if (!second.Next(tokenOfSecond) || tokenOfFirst != tokenOfSecond) return false;
    }
    return true;
}

}  // namespace vlm
