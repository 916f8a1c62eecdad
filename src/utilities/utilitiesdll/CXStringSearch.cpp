/// @file
/// Comparison, search, extraction, tokens and predicates of the string.
#include <algorithm>

#include "utilities/utilitiesdll/CXString.h"
#include "utilities/utilitiesdll/detail/text/CXStringImpl.h"
#include "utilities/utilitiesdll/detail/text/TextKernels.h"
#include "utilities/utilitiesdll/detail/text/UnitSet.h"

using vlm::text::ClampCount;
using vlm::text::NOT_FOUND;
using vlm::text::UnitSet;

namespace {

/// Runs a search over the part of a text from `iStart` on and turns its answer into an index of the whole.
template <class Search>
int FindFrom(XStringView text, int iStart, Search search) noexcept {
    const std::size_t uStart = ClampCount(iStart);
    if (uStart > text.size()) return -1;
    const std::size_t uFound = search(text.data() + uStart, text.size() - uStart);
    return uFound == NOT_FOUND ? -1 : static_cast<int>(uStart + uFound);
}

/// Difference of two texts at the first unit that differs; a text that ends first has 0 there.
template <class Fold>
int Difference(XStringView left, XStringView right, std::size_t uMismatch, Fold fold) noexcept {
    if (uMismatch < left.size() && uMismatch < right.size()) return fold(left[uMismatch]) - fold(right[uMismatch]);
    if (left.size() == right.size()) return 0;
    // One text is the start of the other.  A zero unit within the longer one still makes it the greater.
    if (left.size() < right.size()) return -std::max<int>(fold(right[uMismatch]), 1);
    return std::max<int>(fold(left[uMismatch]), 1);
}

CXString NextToken(const CXString& kcsText, const UnitSet& koDelimiters, int& riPosition) {
    const XStringView text = kcsText.View();
    if (riPosition >= 0) {
        std::size_t uFirst = ClampCount(riPosition);
        while (uFirst < text.size() && koDelimiters.Contains(text[uFirst]))
            ++uFirst;
        if (uFirst < text.size()) {
            std::size_t uEnd = uFirst;
            while (uEnd < text.size() && !koDelimiters.Contains(text[uEnd]))
                ++uEnd;
            riPosition = static_cast<int>(std::min(uEnd + 1, text.size()));
            return kcsText.Mid(static_cast<int>(uFirst), static_cast<int>(uEnd - uFirst));
        }
    }
    riPosition = -1;
    return CXString();
}

}  // namespace

// ---- comparison ----

int CXString::Compare(XStringArg text) const noexcept {
    const std::size_t cCommon = std::min(View().size(), text.size());
    return Difference(View(), text.View(), vlm::text::Mismatch(m_pchData, text.data(), cCommon),
                      [](XCHAR ch) { return static_cast<int>(ch); });
}

int CXString::CompareNoCase(XStringArg text) const noexcept {
    const std::size_t cCommon = std::min(View().size(), text.size());
    return Difference(View(), text.View(), vlm::text::MismatchNoCase(m_pchData, text.data(), cCommon),
                      [](XCHAR ch) { return static_cast<int>(vlm::text::ToLower(ch)); });
}

// ---- search ----

int CXString::Find(XCHAR ch, int iStart) const noexcept {
    return FindFrom(View(), iStart, [&](const XCHAR* pch, std::size_t c) { return vlm::text::FindUnit(pch, c, ch); });
}

int CXString::Find(XStringArg text, int iStart) const noexcept {
    return FindFrom(View(), iStart, [&](const XCHAR* pch, std::size_t c) {
        return vlm::text::FindText(pch, c, text.data(), text.size());
    });
}

int CXString::FindNoCase(XCHAR ch, int iStart) const noexcept {
    return FindFrom(View(), iStart,
                    [&](const XCHAR* pch, std::size_t c) { return vlm::text::FindUnitNoCase(pch, c, ch); });
}

int CXString::FindNoCase(XStringArg text, int iStart) const noexcept {
    return FindFrom(View(), iStart, [&](const XCHAR* pch, std::size_t c) {
        return vlm::text::FindTextNoCase(pch, c, text.data(), text.size());
    });
}

int CXString::ReverseFind(XCHAR ch) const noexcept {
    const std::size_t uFound = View().rfind(ch);
    return uFound == XStringView::npos ? -1 : static_cast<int>(uFound);
}

CXString CXString::SpanIncluding(XStringArg set) const {
    const UnitSet oSet(set.View());
    return Left(
        static_cast<int>(std::find_if_not(begin(), end(), [&](XCHAR ch) { return oSet.Contains(ch); }) - begin()));
}

CXString CXString::SpanExcluding(XStringArg set) const {
    const UnitSet oSet(set.View());
    return Left(static_cast<int>(std::find_if(begin(), end(), [&](XCHAR ch) { return oSet.Contains(ch); }) - begin()));
}

// ---- extraction ----

CXString CXString::Right(int iCount) const {
    return Mid(GetLength() - static_cast<int>(std::min(ClampCount(iCount), View().size())));
}

CXString CXString::Mid(int iFirst, int iCount) const {
    const XStringView part = vlm::text::Part(View(), iFirst, iCount);
    if (part.size() == View().size()) return *this;
    return CXString(part);
}

// ---- tokens ----

CXString CXString::Tokenize(XStringArg delimiters, int& riPosition) const {
    return NextToken(*this, UnitSet(delimiters.View()), riPosition);
}

CXString CXString::TokenizeUsingWhitespace(int& riPosition) const {
    return NextToken(*this, UnitSet::WhiteSpace(), riPosition);
}

// ---- predicates and hash ----

bool CXString::IsBlank() const noexcept {
    return View().find_first_not_of(XCHAR(' ')) == XStringView::npos;
}

bool CXString::IsContainNumericCharsOnly() const noexcept {
    return !IsEmpty() && std::all_of(begin(), end(), vlm::text::IsDigit);
}

ULONGLONG CXString::GetHashValue() const noexcept {
    const std::size_t uZero = vlm::text::FindUnit(m_pchData, View().size(), XCHAR());
    return vlm::text::Hash31(m_pchData, std::min(uZero, View().size()));
}
