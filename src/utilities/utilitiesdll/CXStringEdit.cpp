/// @file
/// Editing operations of the string.
#include <algorithm>
#include <cstring>

#include "utilities/utilitiesdll/CXString.h"
#include "utilities/utilitiesdll/MemoryPool.h"
#include "utilities/utilitiesdll/detail/text/CXStringImpl.h"
#include "utilities/utilitiesdll/detail/text/TextKernels.h"
#include "utilities/utilitiesdll/detail/text/UnitSet.h"

using vlm::text::ClampCount;
using vlm::text::CopyUnits;
using vlm::text::UnitSet;
using Services = MemoryPoolAllocatorServices;

namespace {

using Finder = std::size_t (*)(const XCHAR*, std::size_t, const XCHAR*, std::size_t) noexcept;

std::size_t CountOccurrences(Finder pfnFind, XStringView text, XStringView wanted) noexcept {
    std::size_t cFound = 0;
    while (true) {
        const std::size_t uFound = pfnFind(text.data(), text.size(), wanted.data(), wanted.size());
        if (uFound == vlm::text::NOT_FOUND) return cFound;
        ++cFound;
        text.remove_prefix(uFound + wanted.size());
    }
}

/// The text with every occurrence replaced; `rcReplaced` gets how many there were.
CXString Replaced(Finder pfnFind, const CXString& kcsText, XStringView oldText, XStringView newText, int& riReplaced) {
    riReplaced = 0;
    if (oldText.empty()) return kcsText;
    XStringView rest = kcsText.View();
    const std::size_t cFound = CountOccurrences(pfnFind, rest, oldText);
    if (cFound == 0) return kcsText;
    // Both products are below 2^62: the count and each length are below 2^31.
    const std::size_t cResult = rest.size() - cFound * oldText.size() + cFound * newText.size();
    CXString csResult;
    XCHAR* pchTarget = csResult.GetBufferSetLength(vlm::text::CheckedLength(cResult));
    for (std::size_t u = 0; u < cFound; ++u) {
        const std::size_t uFound = pfnFind(rest.data(), rest.size(), oldText.data(), oldText.size());
        CopyUnits(pchTarget, rest.data(), uFound);
        CopyUnits(pchTarget + uFound, newText.data(), newText.size());
        pchTarget += uFound + newText.size();
        rest.remove_prefix(uFound + oldText.size());
    }
    CopyUnits(pchTarget, rest.data(), rest.size());
    csResult.ReleaseBuffer(static_cast<int>(cResult));
    riReplaced = static_cast<int>(cFound);
    return csResult;
}

}  // namespace

CXString& CXString::MakeUpper() {
    if (!vlm::text::HasLower(m_pchData, View().size())) return *this;
    if (IsOwn()) {
        vlm::text::CopyUpper(m_pchData, m_pchData, View().size());
    } else {
        CXStringData* const pData = Services::AllocateBlock(View().size());
        vlm::text::CopyUpper(pData->Text(), m_pchData, View().size());
        TakeBlock(pData);
    }
    return *this;
}

CXString& CXString::MakeLower() {
    if (!vlm::text::HasUpper(m_pchData, View().size())) return *this;
    if (IsOwn()) {
        vlm::text::CopyLower(m_pchData, m_pchData, View().size());
    } else {
        CXStringData* const pData = Services::AllocateBlock(View().size());
        vlm::text::CopyLower(pData->Text(), m_pchData, View().size());
        TakeBlock(pData);
    }
    return *this;
}

CXString& CXString::MakeReverse() {
    if (GetLength() < 2) return *this;
    CopyBeforeWrite();
    XCHAR* const pchEnd = m_pchData + GetLength();
    std::reverse(m_pchData, pchEnd);
    for (XCHAR* pch = m_pchData; pch + 1 < pchEnd; ++pch) {
        if (vlm::text::IsLowSurrogate(pch[0]) && vlm::text::IsHighSurrogate(pch[1])) std::swap(pch[0], pch[1]), ++pch;
    }
    return *this;
}

int CXString::Replace(XCHAR chOld, XCHAR chNew) {
    if (chOld == chNew) return static_cast<int>(std::count(begin(), end(), chOld));
    const int iFirst = Find(chOld);
    if (iFirst < 0) return 0;
    CopyBeforeWrite();
    int iReplaced = 0;
    for (XCHAR* pch = m_pchData + iFirst; pch != m_pchData + GetLength(); ++pch) {
        if (*pch == chOld) *pch = chNew, ++iReplaced;
    }
    return iReplaced;
}

int CXString::Replace(XStringArg oldText, XStringArg newText) {
    int iReplaced = 0;
    CXString csResult = Replaced(&vlm::text::FindText, *this, oldText.View(), newText.View(), iReplaced);
    if (iReplaced) AssignResult(csResult);
    return iReplaced;
}

int CXString::ReplaceNoCase(XStringArg oldText, XStringArg newText) {
    int iReplaced = 0;
    CXString csResult = Replaced(&vlm::text::FindTextNoCase, *this, oldText.View(), newText.View(), iReplaced);
    if (iReplaced) AssignResult(csResult);
    return iReplaced;
}

int CXString::Remove(XCHAR ch) {
    if (Find(ch) < 0) return 0;
    CopyBeforeWrite();
    XCHAR* const pchEnd = std::remove(m_pchData, m_pchData + GetLength(), ch);
    const int iRemoved = static_cast<int>(m_pchData + GetLength() - pchEnd);
    SetOwnLength(static_cast<std::size_t>(pchEnd - m_pchData));
    return iRemoved;
}

int CXString::Insert(int iIndex, XStringArg text) {
    if (text.empty()) return GetLength();
    const XStringView former = View();
    const std::size_t uIndex = std::min(ClampCount(iIndex), former.size());
    if (uIndex == former.size()) {
        ConcatInPlace(text.size(), text.data());
        return GetLength();
    }
    const std::size_t cUnits = former.size() + text.size();
    CXStringData* const pData = Services::AllocateBlock(cUnits);
    CopyUnits(pData->Text(), former.data(), uIndex);
    CopyUnits(pData->Text() + uIndex, text.data(), text.size());
    CopyUnits(pData->Text() + uIndex + text.size(), former.data() + uIndex, former.size() - uIndex);
    TakeBlock(pData);
    return GetLength();
}

int CXString::Delete(int iIndex, int iCount) {
    const std::size_t uIndex = ClampCount(iIndex);
    const std::size_t cUnits = View().size();
    if (uIndex >= cUnits || iCount <= 0) return GetLength();
    const std::size_t cGone = std::min(ClampCount(iCount), cUnits - uIndex);
    CopyBeforeWrite();
    std::memmove(m_pchData + uIndex, m_pchData + uIndex + cGone, (cUnits - uIndex - cGone) * sizeof(XCHAR));
    SetOwnLength(cUnits - cGone);
    return GetLength();
}

// ---- trimming ----

template <class Unwanted>
CXString& CXString::TrimLeftIf(Unwanted unwanted) {
    Delete(0, static_cast<int>(std::find_if_not(begin(), end(), unwanted) - begin()));
    return *this;
}

template <class Unwanted>
CXString& CXString::TrimRightIf(Unwanted unwanted) {
    const XCHAR* pchEnd = end();
    while (pchEnd != begin() && unwanted(pchEnd[-1]))
        --pchEnd;
    const int iKept = static_cast<int>(pchEnd - begin());
    Delete(iKept, GetLength() - iKept);
    return *this;
}

CXString& CXString::TrimLeft() {
    return TrimLeftIf(vlm::text::IsSpace);
}

CXString& CXString::TrimLeft(XCHAR ch) {
    return TrimLeftIf([ch](XCHAR chText) { return chText == ch; });
}

CXString& CXString::TrimLeft(XStringArg set) {
    return TrimLeftIf([oSet = UnitSet(set.View())](XCHAR chText) { return oSet.Contains(chText); });
}

CXString& CXString::TrimRight() {
    return TrimRightIf(vlm::text::IsSpace);
}

CXString& CXString::TrimRight(XCHAR ch) {
    return TrimRightIf([ch](XCHAR chText) { return chText == ch; });
}

CXString& CXString::TrimRight(XStringArg set) {
    return TrimRightIf([oSet = UnitSet(set.View())](XCHAR chText) { return oSet.Contains(chText); });
}

int CXString::Filter(XStringArg set, CXString& rcsResult, bool fKeep, bool fIgnoreCase) const {
    const UnitSet oSet(set.View(), fIgnoreCase);
    const XStringView text = View();
    CXString csResult;
    if (!text.empty()) {
        XCHAR* const pchBuffer = csResult.GetBuffer(GetLength());
        const XCHAR* const pchEnd =
            std::copy_if(text.begin(), text.end(), pchBuffer, [&](XCHAR ch) { return oSet.Contains(ch) == fKeep; });
        csResult.ReleaseBuffer(static_cast<int>(pchEnd - pchBuffer));
    }
    const int iLeftOut = GetLength() - csResult.GetLength();
    rcsResult.AssignResult(csResult);
    return iLeftOut;
}
