/// @file
/// A text of an execution context: a literal kept as a pointer, or a shared string.
#pragma once

#include "utilities/utilitiesdll/CXString.h"

/// A literal, checked by the compiler: nothing but a constant expression can be passed where this is taken.
class LiteralText {
public:
    consteval LiteralText(const XCHAR* pszLiteral) noexcept : m_pszLiteral(pszLiteral) {}
    constexpr const XCHAR* Get() const noexcept { return m_pszLiteral; }

private:
    const XCHAR* m_pszLiteral;
};

/// Keeps literals as they are and makes a string of them only when somebody looks.
/// **Ownership**: a literal lives as long as the module that holds it; a string is shared.
class ExecutionContextText {
public:
    ExecutionContextText() noexcept = default;
    /// @param pszLiteral a text with static storage.
    explicit ExecutionContextText(const XCHAR* pszLiteral) noexcept : m_pszLiteral(pszLiteral) {}
    explicit ExecutionContextText(LiteralText literal) noexcept : m_pszLiteral(literal.Get()) {}
    explicit ExecutionContextText(const CXString& kcsText) : m_csText(kcsText) {}

    CXString Get() const { return m_pszLiteral ? CXString(m_pszLiteral) : m_csText; }
    XStringView View() const noexcept { return m_pszLiteral ? XStringView(m_pszLiteral) : m_csText.View(); }

private:
    const XCHAR* m_pszLiteral = nullptr;
    CXString m_csText;
};
