/// @file
/// Moments in UTC.  The calendar arithmetic counts years from 1 March, so that the leap day is a year's last day; 400
/// years repeat exactly.
#include "utilities/utilitiesdll/UtcTime.h"

#include <limits>

#include "platform/ClockPort.h"
#include "platform/Platform.h"
#include "utilities/utilitiesdll/detail/text/TextKernels.h"

namespace {

constexpr LONGLONG SECONDS_PER_DAY = 86400;
constexpr LONGLONG DAYS_PER_ERA = 146097;  // 400 years
constexpr LONGLONG DAYS_TO_1970 = 719468;  // from 1 March of year 0
constexpr LONGLONG MIN_SECONDS = std::numeric_limits<LONGLONG>::min();
constexpr LONGLONG MAX_SECONDS = std::numeric_limits<LONGLONG>::max();
// No year beyond these begins or ends within 64-bit seconds.
constexpr LONGLONG MIN_YEAR = -292277022657;
constexpr LONGLONG MAX_YEAR = 292277026596;

constexpr LONGLONG FloorDivide(LONGLONG a, LONGLONG b) noexcept {
    return a / b - (a % b < 0 ? 1 : 0);
}

constexpr bool IsLeapYear(LONGLONG llYear) noexcept {
    return llYear % 4 == 0 && (llYear % 100 != 0 || llYear % 400 == 0);
}

constexpr WORD DaysInMonth(LONGLONG llYear, WORD wMonth) noexcept {
    constexpr WORD DAYS[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    return wMonth == 2 && IsLeapYear(llYear) ? WORD{29} : DAYS[wMonth - 1];
}

/// Days since 1970-01-01.
constexpr LONGLONG DaysFromDate(LONGLONG llYear, WORD wMonth, WORD wDay) noexcept {
    if (wMonth <= 2) --llYear;
    const LONGLONG llEra = FloorDivide(llYear, 400);
    const LONGLONG llYearOfEra = llYear - llEra * 400;
    const LONGLONG llMonth = (wMonth + 9) % 12;  // from March
    const LONGLONG llDayOfYear = (153 * llMonth + 2) / 5 + wDay - 1;
    const LONGLONG llDayOfEra = llYearOfEra * 365 + llYearOfEra / 4 - llYearOfEra / 100 + llDayOfYear;
    return llEra * DAYS_PER_ERA + llDayOfEra - DAYS_TO_1970;
}
static_assert(DaysFromDate(1970, 1, 1) == 0 && DaysFromDate(2000, 3, 1) == 11017);

/// Reads `cDigits` digits off the front of a text.
bool TakeDigits(XStringView& rText, std::size_t cDigits, ULONGLONG& rullValue) noexcept {
    if (cDigits == 0 || rText.size() < cDigits) return false;
    ULONGLONG ullValue = 0;
    for (const XCHAR ch : rText.substr(0, cDigits)) {
        if (!vlm::text::IsDigit(ch)) return false;
        ullValue = ullValue * 10 + static_cast<ULONGLONG>(ch - VTEXT('0'));
    }
    rText.remove_prefix(cDigits);
    rullValue = ullValue;
    return true;
}

/// Reads one character and two digits.
bool TakeField(XStringView& rText, XCHAR chBefore, WORD& rwValue) noexcept {
    if (rText.empty() || rText.front() != chBefore) return false;
    rText.remove_prefix(1);
    ULONGLONG ullValue = 0;
    if (!TakeDigits(rText, 2, ullValue)) return false;
    rwValue = static_cast<WORD>(ullValue);
    return true;
}

/// Four digits, or a sign and at most 12 digits (64-bit seconds reach no year of more).
bool TakeYear(XStringView& rText, LONGLONG& rllYear) noexcept {
    const bool fSign = !rText.empty() && (rText.front() == VTEXT('+') || rText.front() == VTEXT('-'));
    const bool fNegative = fSign && rText.front() == VTEXT('-');
    if (fSign) rText.remove_prefix(1);
    const std::size_t cDigits = fSign ? rText.find(VTEXT('-')) : 4;
    if (cDigits > 12) return false;
    ULONGLONG ullYear = 0;
    if (!TakeDigits(rText, cDigits, ullYear)) return false;
    rllYear = fNegative ? -static_cast<LONGLONG>(ullYear) : static_cast<LONGLONG>(ullYear);
    return true;
}

}  // namespace

void UtcTime::SetSeconds(LONGLONG llSeconds) noexcept {
    const LONGLONG llDays = FloorDivide(llSeconds, SECONDS_PER_DAY);
    const LONGLONG llRest = llSeconds % SECONDS_PER_DAY;
    const LONGLONG llSecondOfDay = llRest < 0 ? llRest + SECONDS_PER_DAY : llRest;
    const LONGLONG llShifted = llDays + DAYS_TO_1970;
    const LONGLONG llEra = FloorDivide(llShifted, DAYS_PER_ERA);
    const LONGLONG llDayOfEra = llShifted - llEra * DAYS_PER_ERA;
    const LONGLONG llYearOfEra = (llDayOfEra - llDayOfEra / 1460 + llDayOfEra / 36524 - llDayOfEra / 146096) / 365;
    const LONGLONG llDayOfYear = llDayOfEra - (365 * llYearOfEra + llYearOfEra / 4 - llYearOfEra / 100);
    const LONGLONG llMonth = (5 * llDayOfYear + 2) / 153;  // from March

    m_llSeconds = llSeconds;
    m_wMonth = static_cast<WORD>(llMonth < 10 ? llMonth + 3 : llMonth - 9);
    m_llYear = llYearOfEra + llEra * 400 + (m_wMonth <= 2 ? 1 : 0);
    m_wDay = static_cast<WORD>(llDayOfYear - (153 * llMonth + 2) / 5 + 1);
    m_wHour = static_cast<WORD>(llSecondOfDay / 3600);
    m_wMinute = static_cast<WORD>(llSecondOfDay / 60 % 60);
    m_wSecond = static_cast<WORD>(llSecondOfDay % 60);
}

WORD UtcTime::GetDayOfWeek() const noexcept {
    constexpr LONGLONG THURSDAY = 4;  // 1970-01-01
    const LONGLONG llDays = FloorDivide(m_llSeconds, SECONDS_PER_DAY);
    return static_cast<WORD>(((llDays + THURSDAY) % 7 + 7) % 7);
}

bool UtcTime::TrySet(LONGLONG llYear, WORD wMonth, WORD wDay, WORD wHour, WORD wMinute, WORD wSecond) noexcept {
    if (wMonth < 1 || wMonth > 12 || wDay < 1 || wDay > DaysInMonth(llYear, wMonth)) return false;
    if (wHour > 23 || wMinute > 59 || wSecond > 59) return false;
    LONGLONG llSeconds = llYear < MIN_YEAR ? MIN_SECONDS : MAX_SECONDS;
    if (llYear >= MIN_YEAR && llYear <= MAX_YEAR) {
        // The first and the last year are cut by the range of the seconds.  Before 1970 the day after is the base, so
        // that a moment within the range does not pass a midnight without.
        const LONGLONG llDays = DaysFromDate(llYear, wMonth, wDay);
        const LONGLONG llSecondOfDay = wHour * LONGLONG{3600} + wMinute * 60 + wSecond;
        const bool fBefore = llDays < 0;
        const LONGLONG llOffset = fBefore ? llSecondOfDay - SECONDS_PER_DAY : llSecondOfDay;
        if (__builtin_mul_overflow(llDays + (fBefore ? 1 : 0), SECONDS_PER_DAY, &llSeconds) ||
            __builtin_add_overflow(llSeconds, llOffset, &llSeconds)) {
            llSeconds = fBefore ? MIN_SECONDS : MAX_SECONDS;
        }
    }
    SetSeconds(llSeconds);
    return true;
}

CXString UtcTime::GetStringValue() const {
    const bool fPlain = m_llYear >= 0 && m_llYear <= 9999;
    const XCHAR* const pszFormat =
        fPlain ? VTEXT("%s%04lld-%02u-%02uT%02u:%02u:%02uZ") : VTEXT("%s%06lld-%02u-%02uT%02u:%02u:%02uZ");
    const XCHAR* const pszSign = fPlain ? VTEXT("") : m_llYear < 0 ? VTEXT("-") : VTEXT("+");
    return CXString::FormatString(pszFormat, pszSign, m_llYear < 0 ? -m_llYear : m_llYear, UINT{m_wMonth}, UINT{m_wDay},
                                  UINT{m_wHour}, UINT{m_wMinute}, UINT{m_wSecond});
}

bool UtcTime::TrySetStringValue(const CXString& kcsText) {
    XStringView text = kcsText.View();
    LONGLONG llYear = 0;
    WORD wMonth = 0;
    WORD wDay = 0;
    WORD wHour = 0;
    WORD wMinute = 0;
    WORD wSecond = 0;
    UtcTime oRead;
    const bool fRead = TakeYear(text, llYear) && TakeField(text, VTEXT('-'), wMonth) &&
                       TakeField(text, VTEXT('-'), wDay) && TakeField(text, VTEXT('T'), wHour) &&
                       TakeField(text, VTEXT(':'), wMinute) && TakeField(text, VTEXT(':'), wSecond) &&
                       text.compare(VTEXT("Z")) == 0 && oRead.TrySet(llYear, wMonth, wDay, wHour, wMinute, wSecond);
    // A year written otherwise, or one that had to be clamped, is another text.
    if (!fRead || oRead.GetStringValue() != kcsText) return false;
    *this = oRead;
    return true;
}

UtcTime UtcTime::Now() noexcept {
    return UtcTime(vlm::GetPlatform().pClock->UtcSeconds());
}
