/// @file
/// Conversions between bytes and code units, and message texts, on the host.
#include "platform/host/HostTextPort.h"

#include <algorithm>
#include <climits>
#include <iterator>
#include <new>

#include "platform/host/HostErrorTexts.h"
#include "platform/host/HostNames.h"
#include "platform/host/HostTextTables.h"

namespace vlm::host {

namespace {

constexpr DWORD CODE_PAGE_ANSI = 0, CODE_PAGE_1252 = 1252, CODE_PAGE_UTF8 = 65001;

// Bytes 0x80 to 0x9F of code page 1252; all others are the code point of the same number.
constexpr XCHAR HIGH_1252[32] = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178,
};

/// Writes to a target of fixed room, or only counts when there is none.
template <typename Unit>
class Writer {
public:
    Writer(Unit* pTarget, std::size_t cCapacity) noexcept : m_pTarget(pTarget), m_cCapacity(cCapacity) {}
    void Put(Unit unit) noexcept {
        if (m_cUsed < m_cCapacity) m_pTarget[m_cUsed] = unit;
        ++m_cUsed;
    }
    void Put(std::basic_string_view<Unit> svText) noexcept {
        for (const Unit unit : svText)
            Put(unit);
    }
    /// Units written or needed; 0 when there was a target and it was too small.
    std::size_t Result() const noexcept { return m_pTarget != nullptr && m_cUsed > m_cCapacity ? 0 : m_cUsed; }

private:
    Unit* m_pTarget;
    std::size_t m_cCapacity;
    std::size_t m_cUsed = 0;
};

char Narrow1252(XCHAR unit) noexcept {
    if (unit < 0x80 || (unit >= 0xA0 && unit <= 0xFF)) return static_cast<char>(unit);
    const auto pFound = std::find(std::begin(HIGH_1252), std::end(HIGH_1252), unit);
    return pFound != std::end(HIGH_1252) ? static_cast<char>(0x80 + (pFound - std::begin(HIGH_1252))) : '?';
}

std::size_t CopyCut(XStringView svText, XCHAR* pTarget, std::size_t cCapacity) noexcept {
    const std::size_t cUnits = pTarget ? std::min(svText.size(), cCapacity) : 0;
    std::copy_n(svText.begin(), cUnits, pTarget);
    return cUnits;
}

}  // namespace

std::size_t HostTextPort::ToWide(DWORD dwCodePage, const char* pSource, std::size_t cBytes, XCHAR* pTarget,
                                 std::size_t cCapacity) noexcept {
    if (pSource == nullptr || cBytes > INT_MAX) return 0;
    Writer<XCHAR> oWriter(pTarget, pTarget ? cCapacity : 0);
    if (dwCodePage == CODE_PAGE_ANSI || dwCodePage == CODE_PAGE_1252) {
        for (std::size_t i = 0; i < cBytes; ++i) {
            const unsigned char by = static_cast<unsigned char>(pSource[i]);
            oWriter.Put(by >= 0x80 && by < 0xA0 ? HIGH_1252[by - 0x80] : static_cast<XCHAR>(by));
        }
        return oWriter.Result();
    }
    if (dwCodePage != CODE_PAGE_UTF8) return 0;
    for (std::string_view svRest(pSource, cBytes); !svRest.empty();) {
        const Utf8Step step = DecodeUtf8(svRest, false);
        if (step.cLength == 0) {
            oWriter.Put(XCHAR{0xFFFD});
        } else if (step.uiCodePoint >= 0x10000) {
            oWriter.Put(static_cast<XCHAR>(0xD800 + ((step.uiCodePoint - 0x10000) >> 10)));
            oWriter.Put(static_cast<XCHAR>(0xDC00 + ((step.uiCodePoint - 0x10000) & 0x3FF)));
        } else {
            oWriter.Put(static_cast<XCHAR>(step.uiCodePoint));
        }
        svRest.remove_prefix(step.cLength ? step.cLength : step.cMalformed);
    }
    return oWriter.Result();
}

std::size_t HostTextPort::ToNarrow(DWORD dwCodePage, const XCHAR* pSource, std::size_t cUnits, char* pTarget,
                                   std::size_t cCapacity) noexcept {
    if (pSource == nullptr || cUnits > INT_MAX) return 0;
    Writer<char> oWriter(pTarget, pTarget ? cCapacity : 0);
    if (dwCodePage == CODE_PAGE_ANSI || dwCodePage == CODE_PAGE_1252) {
        const std::size_t cRoom = std::min(cUnits, pTarget ? cCapacity : 0);
        std::transform(pSource, pSource + cRoom, pTarget, &Narrow1252);
        return pTarget && cUnits > cCapacity ? 0 : cUnits;
    }
    if (dwCodePage != CODE_PAGE_UTF8) return 0;
    for (std::size_t i = 0; i < cUnits; ++i) {
        std::uint32_t ui = pSource[i];
        if (IsHighSurrogate(ui) && i + 1 < cUnits && IsLowSurrogate(pSource[i + 1])) {
            ui = JoinSurrogates(ui, pSource[++i]);
        } else if (IsHighSurrogate(ui) || IsLowSurrogate(ui)) {
            ui = 0xFFFD;
        }
        char encoded[4];
        oWriter.Put(std::string_view(encoded, EncodeUtf8(ui, encoded)));
    }
    return oWriter.Result();
}

std::size_t HostTextPort::SystemErrorText(DWORD dwError, XCHAR* pTarget, std::size_t cCapacity) noexcept {
    return CopyCut(ErrorText(dwError), pTarget, cCapacity);
}

std::size_t HostTextPort::FormatMessageText(const XCHAR* pszFormat, const XCHAR* const* ppszInserts,
                                            std::size_t cInserts, XCHAR* pTarget, std::size_t cCapacity) noexcept {
    if (pszFormat == nullptr || pTarget == nullptr) return 0;
    Writer<XCHAR> oWriter(pTarget, cCapacity);
    const auto isDigit = [](XCHAR unit) { return unit >= VTEXT('0') && unit <= VTEXT('9'); };
    const XCHAR* p = pszFormat;
    while (*p != 0) {
        const XCHAR unit = *p++;
        if (unit == VTEXT('\r') || unit == VTEXT('\n')) {
            if (unit == VTEXT('\r') && *p == VTEXT('\n')) ++p;
            oWriter.Put(VTEXT("\r\n"));
            continue;
        }
        if (unit != VTEXT('%')) {
            oWriter.Put(unit);
            continue;
        }
        if (*p == 0) return 0;
        const XCHAR escape = *p++;
        if (escape == VTEXT('0')) break;
        if (escape == VTEXT('n')) {
            oWriter.Put(VTEXT("\r\n"));
        } else if (escape == VTEXT('r')) {
            oWriter.Put(VTEXT('\r'));
        } else if (escape == VTEXT('t')) {
            oWriter.Put(VTEXT('\t'));
        } else if (!isDigit(escape)) {
            oWriter.Put(escape);
        } else {
            std::size_t iInsert = escape - VTEXT('0');
            if (isDigit(*p)) iInsert = iInsert * 10 + (*p++ - VTEXT('0'));
            if (*p == VTEXT('!')) {
                // The only format of the contract is "!s!"; the others are treated alike.
                const XStringView svRest(p + 1);
                const std::size_t cFormat = svRest.find(VTEXT('!'));
                if (cFormat == XStringView::npos) return 0;
                p += cFormat + 2;
            }
            if (iInsert <= cInserts && ppszInserts != nullptr && ppszInserts[iInsert - 1] != nullptr) {
                oWriter.Put(XStringView(ppszInserts[iInsert - 1]));
            }
        }
    }
    return oWriter.Result();
}

XStringView HostTextPort::StringResource(HINSTANCE hModule, UINT uId) noexcept {
    return FindStringResource(hModule, uId);
}

Status HostTextPort::WindowText(HWND hwnd, XCHAR* pTarget, std::size_t cCapacity, std::size_t& rcLength) noexcept try {
    rcLength = 0;
    if (pTarget == nullptr || cCapacity == 0) return Status::InvalidParameter;
    *pTarget = 0;
    const auto ocsCaption = WindowCaption(hwnd);
    if (!ocsCaption) return Status::InvalidWindowHandle;
    rcLength = CopyCut(*ocsCaption, pTarget, cCapacity - 1);
    pTarget[rcLength] = 0;
    return Status::Success;
} catch (const std::bad_alloc&) {
    return Status::NotEnoughMemory;
}

HWND HostTextPort::ParentWindow(HWND) noexcept {
    return nullptr;  // a window here has a caption and nothing else
}

Status HostTextPort::SetWindowCaption(HWND hwnd, const XCHAR* pszText) noexcept try {
    return ReplaceWindowCaption(hwnd, pszText ? pszText : VTEXT("")) ? Status::Success : Status::InvalidWindowHandle;
} catch (const std::bad_alloc&) {
    return Status::NotEnoughMemory;
}

}  // namespace vlm::host
