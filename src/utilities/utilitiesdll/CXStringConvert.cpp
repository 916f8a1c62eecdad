/// @file
/// Conversions of the string: narrow text, resources, windows, message texts, Base64.
#include <algorithm>
#include <array>
#include <bit>
#include <cstring>

#include "platform/Platform.h"
#include "platform/TextPort.h"
#include "utilities/utilitiesdll/Base64.h"
#include "utilities/utilitiesdll/CXString.h"
#include "utilities/utilitiesdll/detail/text/CXStringImpl.h"
#include "utilities/utilitiesdll/detail/text/NarrowText.h"
#include "utilities/utilitiesdll/detail/text/TextKernels.h"

using vlm::text::CheckedLength;
using vlm::text::ClampCount;

namespace {

/// Longest caption and longest message text, in code units.
constexpr std::size_t MAX_CAPTION = 64 * 1024;
constexpr std::size_t MAX_MESSAGE = vlm::FORMAT_MAX_UNITS;
constexpr std::size_t MAX_INSERTS = 99;
constexpr UINT CODE_PAGE_ANSI = 0;
constexpr UINT CODE_PAGE_UTF8 = 65001;

CXString FromNarrow(const char* pchText, std::size_t cBytes) {
    CXString csResult;
    if (cBytes == 0) return csResult;
    XCHAR* const pchBuffer = csResult.GetBuffer(CheckedLength(cBytes));
    csResult.ReleaseBuffer(static_cast<int>(vlm::text::WidenAnsi(pchText, cBytes, pchBuffer)));
    return csResult;
}

/// The system's formatter takes texts alone and does not know how many it was given: an insert without an argument, and
/// a format behind an insert that says anything but "a text", would make it read what is not there.
bool HasFittingInserts(const XCHAR* pszFormat, std::size_t cInserts) noexcept {
    for (const XCHAR* pch = pszFormat; *pch; ++pch) {
        if (*pch != XCHAR('%')) continue;
        ++pch;
        if (!*pch) return false;
        if (!vlm::text::IsDigit(*pch) || *pch == XCHAR('0')) continue;
        std::size_t uInsert = static_cast<std::size_t>(*pch - XCHAR('0'));
        if (vlm::text::IsDigit(pch[1])) uInsert = uInsert * 10 + static_cast<std::size_t>(*++pch - XCHAR('0'));
        if (uInsert > cInserts) return false;
        if (pch[1] != XCHAR('!')) continue;
        if (pch[2] != XCHAR('s') || pch[3] != XCHAR('!')) return false;
        pch += 3;
    }
    return true;
}

}  // namespace

CXString::CXString(const char* pszText) : CXString(FromNarrow(pszText, pszText ? std::strlen(pszText) : 0)) {}

CXString::CXString(const char* pchText, int iLength)
    : CXString(FromNarrow(pchText, pchText ? ClampCount(iLength) : 0)) {}

CXString& CXString::operator=(const char* pszText) {
    return *this = CXString(pszText);
}

std::vector<char> CXString::GetAsMultiByte(UINT uCodePage) const {
    std::vector<char> vchResult(1, '\0');
    const std::size_t cUnits = View().size();
    // In other code pages ASCII may stand for something else, or not be there at all.
    const bool bHasAscii = uCodePage == CODE_PAGE_ANSI || uCodePage == CODE_PAGE_UTF8;
    if (bHasAscii && vlm::text::CountAscii(m_pchData, cUnits) == cUnits) {
        vchResult.resize(cUnits + 1);
        vlm::text::NarrowAscii(m_pchData, cUnits, vchResult.data());
        return vchResult;
    }
    vlm::TextPort& roText = *vlm::GetPlatform().pText;
    const std::size_t cBytes = roText.ToNarrow(uCodePage, m_pchData, cUnits, nullptr, 0);
    if (cBytes == 0) return vchResult;
    vchResult.resize(cBytes + 1);
    vchResult.resize(roText.ToNarrow(uCodePage, m_pchData, cUnits, vchResult.data(), cBytes) + 1);
    vchResult.back() = '\0';
    return vchResult;
}

int CXString::GetAsMultiByte(char* pchBuffer, int iBufferBytes) const {
    if (!pchBuffer || iBufferBytes <= 0) return 0;
    const std::size_t cRoom = ClampCount(iBufferBytes) - 1;
    std::size_t cUnits = View().size();
    std::size_t cBytes = 0;
    if (vlm::text::CountAscii(m_pchData, cUnits) == cUnits) {
        cBytes = std::min(cUnits, cRoom);
        vlm::text::NarrowAscii(m_pchData, cBytes, pchBuffer);
    } else {
        // A character needs a byte at least, so no more units than bytes fit; then fewer until the text does.
        vlm::TextPort& roText = *vlm::GetPlatform().pText;
        for (cUnits = std::min(cUnits, cRoom); cUnits > 0; --cUnits) {
            if (vlm::text::IsHighSurrogate(m_pchData[cUnits - 1]) && vlm::text::IsLowSurrogate(m_pchData[cUnits]))
                continue;
            cBytes = roText.ToNarrow(CODE_PAGE_ANSI, m_pchData, cUnits, pchBuffer, cRoom);
            if (cBytes > 0) break;
        }
    }
    pchBuffer[cBytes] = '\0';
    return static_cast<int>(cBytes);
}

bool CXString::LoadStringW(HINSTANCE hModule, UINT uId) {
    const XStringView text = vlm::GetPlatform().pText->StringResource(hModule, uId);
    if (text.empty()) return false;
    AssignText(text);
    return true;
}

bool CXString::GetWindowTextW(HWND hwnd) {
    vlm::TextPort& roText = *vlm::GetPlatform().pText;
    CXString csCaption;
    for (std::size_t cRoom = 256; cRoom <= MAX_CAPTION; cRoom *= 4) {
        std::size_t cUnits = 0;
        const vlm::Status status = roText.WindowText(hwnd, csCaption.GetBuffer(static_cast<int>(cRoom)), cRoom, cUnits);
        const bool bFull = cUnits + 1 >= cRoom || status == vlm::Status::InsufficientBuffer;
        if (status != vlm::Status::Success && !bFull) return false;
        if (bFull && cRoom < MAX_CAPTION) continue;  // it may have been cut: ask again with more room
        if (status != vlm::Status::Success) return false;
        csCaption.ReleaseBuffer(static_cast<int>(cUnits));
        break;
    }
    csCaption.FreeExtra();
    *this = csCaption;
    return true;
}

bool CXString::SetWindowTextW(HWND hwnd) const {
    return vlm::GetPlatform().pText->SetWindowCaption(hwnd, m_pchData) == vlm::Status::Success;
}

bool CXString::FormatMessageCore(const XCHAR* pszFormat, const vlm::FormatArg* poArgs, std::size_t cArgs) {
    if (!pszFormat || cArgs > MAX_INSERTS || !HasFittingInserts(pszFormat, cArgs)) return false;
    std::vector<CXString> vcsInserts(cArgs);
    std::vector<const XCHAR*> vpszInserts(cArgs);
    std::size_t cRoom = 64 + ClampCount(SafeStrlen(pszFormat));
    for (std::size_t u = 0; u < cArgs; ++u) {
        vlm::FormatCore(vcsInserts[u], VTEXT("%s"), poArgs + u, 1);  // numbers come out in decimal
        vpszInserts[u] = vcsInserts[u];
        cRoom += vcsInserts[u].View().size();
    }
    CXString csResult;
    for (cRoom = std::min(cRoom, MAX_MESSAGE);; cRoom = std::min(cRoom * 4, MAX_MESSAGE)) {
        XCHAR* const pchBuffer = csResult.GetBuffer(static_cast<int>(cRoom));
        const std::size_t cUnits =
            vlm::GetPlatform().pText->FormatMessageText(pszFormat, vpszInserts.data(), cArgs, pchBuffer, cRoom);
        if (cUnits > 0) {
            csResult.ReleaseBuffer(static_cast<int>(cUnits));
            break;
        }
        // 0 also tells of too little room: an insert may stand in the text several times.
        if (cRoom == MAX_MESSAGE) return false;
    }
    csResult.FreeExtra();
    *this = csResult;
    return true;
}

void CXString::Base64EncodeBinaryData(const BYTE* pbyData, DWORD dwLength) {
    Base64EncodeBinaryData(std::span<const BYTE>(pbyData, pbyData ? dwLength : 0));
}

void CXString::Base64EncodeBinaryData(std::span<const BYTE> data) {
    *this = Base64::Encode(data);
}

CXString CXString::Base64EncodeUnicodeString() const {
    static_assert(std::endian::native == std::endian::little, "the units are taken as they stand");
    return Base64::Encode({reinterpret_cast<const BYTE*>(m_pchData), View().size() * sizeof(XCHAR)});
}

bool CXString::Base64DecodeAsBinaryData(std::vector<BYTE>& rvResult) const {
    return Base64::Decode(View(), rvResult);
}

bool CXString::Base64DecodeAsUnicodeString(CXString& rcsResult) const {
    std::vector<BYTE> vBytes;
    const bool bDecoded = Base64::Decode(View(), vBytes) && vBytes.size() % 2 == 0;
    if (!bDecoded || vBytes.empty()) {
        rcsResult.Empty();
        return bDecoded;
    }
    CXString csResult;
    XCHAR* const pchBuffer = csResult.GetBufferSetLength(CheckedLength(vBytes.size() / 2));
    for (std::size_t u = 0; u < vBytes.size() / 2; ++u) {
        pchBuffer[u] = static_cast<XCHAR>(vBytes[2 * u] | vBytes[2 * u + 1] << 8);
    }
    rcsResult = csResult;
    return true;
}
