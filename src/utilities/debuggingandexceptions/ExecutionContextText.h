/// @file
/// A text of an execution context: a literal kept as a pointer, or a shared string.
#pragma once

#include <new>

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
    /// @param pszLiteral a text with static storage.
    explicit ExecutionContextText(const XCHAR* pszLiteral) noexcept : m_pszLiteral(pszLiteral), m_fIsString(false) {}
    explicit ExecutionContextText(LiteralText literal) noexcept : ExecutionContextText(literal.Get()) {}
    explicit ExecutionContextText(const CXString& kcsText) : m_csText(kcsText), m_fIsString(true) {}
    ExecutionContextText(const ExecutionContextText& rOther) : ExecutionContextText(VTEXT("")) { *this = rOther; }
    ExecutionContextText& operator=(const ExecutionContextText& rOther) {
        if (this == &rOther) return *this;
        Drop();
        if (rOther.m_fIsString) {
            ::new (&m_csText) CXString(rOther.m_csText);
            m_fIsString = true;
        } else {
            m_pszLiteral = rOther.m_pszLiteral;
        }
        return *this;
    }
    ~ExecutionContextText() { Drop(); }

    CXString Get() const { return m_fIsString ? m_csText : CXString(m_pszLiteral); }
    XStringView View() const noexcept { return m_fIsString ? m_csText.View() : XStringView(m_pszLiteral); }

private:
    /// Leaves an empty literal.
    void Drop() noexcept {
        if (m_fIsString) m_csText.~CXString();
        m_fIsString = false;
        m_pszLiteral = VTEXT("");
    }

    // Contexts are made all the time and shown rarely: one from literals costs no more than the pointers.
    union {
        const XCHAR* m_pszLiteral;
        CXString m_csText;
    };
    bool m_fIsString;
};
