/// @file
/// The string's storage: blocks, copy-on-write, buffers and concatenation.
#include "utilities/utilitiesdll/CXString.h"

#include <algorithm>
#include <cstring>

#include "utilities/utilitiesdll/MemoryPool.h"
#include "utilities/utilitiesdll/detail/text/CXStringImpl.h"
#include "utilities/utilitiesdll/detail/text/TextKernels.h"

using vlm::text::ClampCount;
using vlm::text::CopyUnits;
using Services = MemoryPoolAllocatorServices;

constinit const CXStringEmptyBlock CXString::m_soEmptyBlock{{{CXStringData::STATIC}, 0, 0}, XCHAR()};

// ---- construction ----

CXString::CXString(XStringView text) : CXString() {
    if (text.empty()) return;
    AllocBuffer(vlm::text::CheckedLength(text.size()));
    CopyUnits(m_pchData, text.data(), text.size());
}

CXString::CXString(const XCHAR* pchText, int iLength)
    : CXString(XStringView(pchText, pchText ? ClampCount(iLength) : 0)) {}

CXString::CXString(XCHAR ch, int iRepeat) : CXString() {
    if (iRepeat <= 0) return;
    AllocBuffer(iRepeat);
    std::fill_n(m_pchData, iRepeat, ch);
}

void CXString::CopyOfLocked(const CXString& kcsOther) {
    m_pchData = EmptyText();
    AssignCopy(static_cast<std::size_t>(kcsOther.GetLength()), kcsOther.m_pchData);
}

// ---- blocks ----

void CXString::AllocBuffer(int iLength) {
    if (iLength <= 0) {
        Init();
    } else {
        m_pchData = Services::AllocateBlock(static_cast<std::size_t>(iLength))->Text();
    }
}

void CXString::FreeData(CXStringData* pData) noexcept {
    Services::ReleaseBlock(pData);
}

void CXString::TakeBlock(CXStringData* pData) noexcept {
    if (IsLocked()) pData->m_lRefs.store(CXStringData::LOCKED, std::memory_order_relaxed);
    CXStringData* const pFormer = Data();
    m_pchData = pData->Text();
    Release(pFormer);
}

void CXString::SetOwnLength(std::size_t cUnits) noexcept {
    if (cUnits == 0 && !IsLocked()) return Empty();
    Data()->m_lLength = static_cast<std::int32_t>(cUnits);
    m_pchData[cUnits] = XCHAR();
}

void CXString::AssignResult(CXString& rcsResult) {
    if (IsLocked()) {
        AssignText(rcsResult);
    } else {
        swap(rcsResult);
    }
}

void CXString::CopyBeforeWrite() {
    if (IsEmpty() || IsOwn()) return;
    const std::size_t cUnits = static_cast<std::size_t>(GetLength());
    CXStringData* const pData = Services::AllocateBlock(cUnits);
    CopyUnits(pData->Text(), m_pchData, cUnits);
    TakeBlock(pData);
}

void CXString::AllocBeforeWrite(int iLength) {
    if (iLength <= 0) {
        if (!IsOwn()) Empty();
    } else if (!IsOwn() || iLength > GetAllocLength()) {
        TakeBlock(Services::AllocateBlock(static_cast<std::size_t>(iLength)));
    }
}

void CXString::AllocCopy(CXString& rcsTarget, int iCopyLength, int iCopyIndex, int iExtraLength) const {
    const XStringView part = vlm::text::Part(View(), iCopyIndex, iCopyLength);
    if (part.size() + ClampCount(iExtraLength) == 0) return rcsTarget.Empty();
    CXStringData* const pData = Services::AllocateBlock(part.size(), part.size() + ClampCount(iExtraLength));
    CopyUnits(pData->Text(), part.data(), part.size());
    rcsTarget.TakeBlock(pData);
}

void CXString::AssignCopy(std::size_t cUnits, const XCHAR* pchText) {
    if (cUnits == 0) {
        if (IsOwn()) return SetOwnLength(0);
        return Empty();
    }
    if (IsOwn() && cUnits <= ClampCount(GetAllocLength())) {
        std::memmove(m_pchData, pchText, cUnits * sizeof(XCHAR));  // the text may be part of this very string
        return SetOwnLength(cUnits);
    }
    CXStringData* const pData = Services::AllocateBlock(cUnits);
    CopyUnits(pData->Text(), pchText, cUnits);
    TakeBlock(pData);
}

void CXString::ConcatCopy(XStringView left, XStringView right) {
    const std::size_t cUnits = left.size() + right.size();
    if (cUnits == 0) return Empty();
    CXStringData* const pData = Services::AllocateBlock(cUnits);
    CopyUnits(pData->Text(), left.data(), left.size());
    CopyUnits(pData->Text() + left.size(), right.data(), right.size());
    TakeBlock(pData);
}

// Out of line, so that appending where there is room saves no registers for it.
[[gnu::noinline]] void CXString::ConcatInPlace(std::size_t cUnits, const XCHAR* pchText) {
    if (cUnits == 0) return;
    const std::size_t cOld = static_cast<std::size_t>(GetLength());
    const std::size_t cNew = cOld + cUnits;
    if (IsOwn() && cNew <= ClampCount(GetAllocLength())) {
        CopyUnits(m_pchData + cOld, pchText, cUnits);
        return SetOwnLength(cNew);
    }
    // What has been appended to will be again: twice the room keeps repeated appending linear.
    const std::size_t cCapacity = IsOwn() ? std::max(cNew, 2 * ClampCount(GetAllocLength())) : cNew;
    CXStringData* const pData = Services::AllocateBlock(cNew, cCapacity);
    CopyUnits(pData->Text(), m_pchData, cOld);
    CopyUnits(pData->Text() + cOld, pchText, cUnits);
    TakeBlock(pData);
}

// ---- buffer access ----

void CXString::SetAt(int iIndex, XCHAR ch) {
    if (iIndex < 0 || iIndex >= GetLength()) return;
    CopyBeforeWrite();
    m_pchData[iIndex] = ch;
}

XCHAR* CXString::GetBuffer(int iMinLength) {
    const std::size_t cOld = static_cast<std::size_t>(GetLength());
    const std::size_t cRoom = std::max({ClampCount(iMinLength), cOld, std::size_t{1}});
    if (!IsOwn() || cRoom > ClampCount(GetAllocLength())) {
        CXStringData* const pData = Services::AllocateBlock(cOld, cRoom);
        CopyUnits(pData->Text(), m_pchData, cOld);
        TakeBlock(pData);
    }
    return m_pchData;
}

XCHAR* CXString::GetBufferSetLength(int iNewLength) {
    XCHAR* const pchBuffer = GetBuffer(iNewLength);
    Data()->m_lLength = std::max(iNewLength, 0);
    pchBuffer[std::max(iNewLength, 0)] = XCHAR();
    return pchBuffer;
}

void CXString::ReleaseBuffer(int iNewLength) {
    const std::size_t cCapacity = ClampCount(GetAllocLength());
    std::size_t cUnits = ClampCount(iNewLength);
    if (iNewLength == -1) {
        const std::size_t uEnd = vlm::text::FindUnit(m_pchData, cCapacity, XCHAR());
        cUnits = uEnd == vlm::text::NOT_FOUND ? cCapacity : uEnd;
    }
    cUnits = std::min(cUnits, cCapacity);
    if (!IsOwn()) {
        // Nothing was written, or the caller broke the rules; a shared block is never shortened in place.
        *this = Left(static_cast<int>(cUnits));
    } else {
        SetOwnLength(cUnits);
    }
}

void CXString::FreeExtra() {
    const std::size_t cUnits = static_cast<std::size_t>(GetLength());
    if (IsLocked() || Services::GetCapacity(cUnits) >= GetAllocLength()) return;
    CXStringData* const pData = Services::AllocateBlock(cUnits);
    CopyUnits(pData->Text(), m_pchData, cUnits);
    TakeBlock(pData);
}

XCHAR* CXString::LockBuffer() {
    XCHAR* const pchBuffer = GetBuffer(0);
    Data()->m_lRefs.store(CXStringData::LOCKED, std::memory_order_relaxed);
    return pchBuffer;
}

void CXString::UnlockBuffer() noexcept {
    if (!IsLocked()) return;
    Data()->m_lRefs.store(1, std::memory_order_relaxed);
    if (IsEmpty()) Empty();
}

int CXString::SafeStrlen(const XCHAR* pszText) noexcept {
    return pszText ? static_cast<int>(XStringView(pszText).size()) : 0;
}

int CXString::SafeStrlen(const char* pszText) noexcept {
    return pszText ? static_cast<int>(std::strlen(pszText)) : 0;
}

// ---- concatenation ----

CXString& CXString::operator+=(XStringArg text) {
    CXStringData* const pData = Data();
    const std::size_t cOld = static_cast<std::uint32_t>(pData->m_lLength);
    const std::size_t cNew = cOld + text.size();
    if (IsOwn() && cNew <= static_cast<std::uint32_t>(pData->m_lCapacity)) [[likely]] {
        pData->m_lLength = static_cast<std::int32_t>(cNew);
        XCHAR* const pchEnd = pData->Text() + cOld;
        pchEnd[text.size()] = XCHAR();
        vlm::text::CopyShort(pchEnd, text.data(), text.size());
    } else {
        ConcatInPlace(text.size(), text.data());
    }
    return *this;
}

namespace {

CXString Joined(XStringView left, XStringView right) {
    CXString csResult;
    if (left.empty() && right.empty()) return csResult;
    csResult.GetBuffer(vlm::text::CheckedLength(left.size() + right.size()));
    return std::move((csResult += left) += right);
}

}  // namespace

CXString operator+(const CXString& kcsLeft, const CXString& kcsRight) {
    return Joined(kcsLeft, kcsRight);
}
CXString operator+(const CXString& kcsLeft, const XCHAR* pszRight) {
    return Joined(kcsLeft, XStringArg(pszRight).View());
}
CXString operator+(const XCHAR* pszLeft, const CXString& kcsRight) {
    return Joined(XStringArg(pszLeft).View(), kcsRight);
}
CXString operator+(const CXString& kcsLeft, XStringView right) {
    return Joined(kcsLeft, right);
}
CXString operator+(XStringView left, const CXString& kcsRight) {
    return Joined(left, kcsRight);
}
CXString operator+(const CXString& kcsLeft, XCHAR chRight) {
    return Joined(kcsLeft, XStringView(&chRight, 1));
}
CXString operator+(XCHAR chLeft, const CXString& kcsRight) {
    return Joined(XStringView(&chLeft, 1), kcsRight);
}
