/// @file
/// A moment in UTC, as a broken-down date and time and as seconds.
#pragma once

#include <compare>

#include "platform/Export.h"
#include "platform/WinTypes.h"
#include "utilities/utilitiesdll/CXString.h"

/// A date and time of day in UTC, to the second; no leap seconds (every day has 86,400 seconds, as in POSIX time).
/// The calendar is the Gregorian one, extended to all years (ISO 8601; year 0 is the year before year 1).
///
/// The broken-down form is UTC on every machine: time zones matter only when a time is shown to a person.  A moment
/// that was set from seconds gives exactly these seconds back, whatever their sign and size.
/// **Threads**: a plain value.
class VLM_API UtcTime {
public:
    /// 1970-01-01 00:00:00
    constexpr UtcTime() noexcept = default;
    /// @param llSeconds since 1970-01-01 00:00:00 UTC; any value.
    explicit UtcTime(LONGLONG llSeconds) noexcept { SetSeconds(llSeconds); }

    /// Seconds since 1970-01-01 00:00:00 UTC.
    LONGLONG GetSeconds() const noexcept { return m_llSeconds; }
    void SetSeconds(LONGLONG llSeconds) noexcept;

    LONGLONG GetYear() const noexcept { return m_llYear; }
    /// 1 to 12.
    WORD GetMonth() const noexcept { return m_wMonth; }
    /// 1 to 31.
    WORD GetDay() const noexcept { return m_wDay; }
    /// 0 (Sunday) to 6.
    WORD GetDayOfWeek() const noexcept;
    WORD GetHour() const noexcept { return m_wHour; }
    WORD GetMinute() const noexcept { return m_wMinute; }
    WORD GetSecond() const noexcept { return m_wSecond; }

    /// Sets the broken-down form.  A date beyond what 64-bit seconds can tell becomes the first or the last moment
    /// that they can.
    /// @return false when there is no such date or time of day (month 13, 30 February, second 60); nothing is changed.
    bool TrySet(LONGLONG llYear, WORD wMonth, WORD wDay, WORD wHour = 0, WORD wMinute = 0, WORD wSecond = 0) noexcept;

    /// ISO 8601: "2024-02-29T12:34:56Z".  Years outside 0 to 9999 carry a sign and at least six digits:
    /// "+012345-01-01T00:00:00Z".
    CXString GetStringValue() const;
    /// Reads what GetStringValue writes.  @return false for any other text; nothing is changed.
    bool TrySetStringValue(const CXString& kcsText);

    /// The present moment, by the platform's clock.
    static UtcTime Now() noexcept;

    friend bool operator==(const UtcTime& rLeft, const UtcTime& rRight) noexcept {
        return rLeft.m_llSeconds == rRight.m_llSeconds;
    }
    friend std::strong_ordering operator<=>(const UtcTime& rLeft, const UtcTime& rRight) noexcept {
        return rLeft.m_llSeconds <=> rRight.m_llSeconds;
    }

private:
    LONGLONG m_llSeconds = 0;
    LONGLONG m_llYear = 1970;
    WORD m_wMonth = 1;
    WORD m_wDay = 1;
    WORD m_wHour = 0;
    WORD m_wMinute = 0;
    WORD m_wSecond = 0;
};
