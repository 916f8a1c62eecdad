/// @file
/// Texts put together where no failure may come of it.
#pragma once

#include "utilities/utilitiesdll/CXString.h"
#include "utilities/utilitiesdll/Format.h"

namespace vlm {

/// A string of a text; empty without memory.
inline CXString TextOrEmpty(const XCHAR* pszText) noexcept {
    try {
        return CXString(pszText);
    } catch (...) {
        return CXString();
    }
}

/// A copy of a string.  Only of a locked one does that take memory; without it the copy is empty.
inline CXString CopyOrEmpty(const CXString& kcsText) noexcept {
    try {
        return kcsText;
    } catch (...) {
        return CXString();
    }
}

/// Appends pieces to a string; a piece that finds no memory is left out.
class SafeText {
public:
    SafeText& Append(XStringView text) noexcept {
        try {
            m_csText += text;
        } catch (...) {
            // The pieces before and after it still say something.
        }
        return *this;
    }
    template <class... Args>
    SafeText& Format(const XCHAR* pszFormat, const Args&... args) noexcept {
        CXString csPiece;
        TryFormat(csPiece, pszFormat, args...);
        return Append(csPiece.View());
    }
    CXString& Get() noexcept { return m_csText; }

private:
    CXString m_csText;
};

/// The system's text of an error number, empty when it has none.
CXString GetSystemErrorText(DWORD dwError) noexcept;

}  // namespace vlm
