/// @file
/// The settings of the debug messages: read from the registry, seeded there, and handed to everybody who asks.
#pragma once

#include <array>
#include <atomic>
#include <memory>
#include <vector>

#include "platform/ClockPort.h"
#include "platform/Export.h"
#include "platform/WinTypes.h"
#include "utilities/debuggingandexceptions/DebugMessageCategories.h"
#include "utilities/debuggingandexceptions/DebugSettings.h"
#include "utilities/registry/RegistryMultiValueOperations.h"
#include "utilities/utilitiesdll/CXString.h"
#include "utilities/utilitiesdll/CriticalResource.h"

class RegistryKey;

/// One process's view of the settings of DebugSettings.inl, kept in `HKEY_LOCAL_MACHINE\SOFTWARE\Velom\<key name>`.
///
/// The key is opened, never created: an installer or the tool makes it.  When it is there and may be written, values
/// that are missing are written with their defaults, so that people find every setting to change.  A value that is
/// missing all the same, whose data is too short for its kind, or a text that is no text, counts as its default.
/// A getter returns what is in memory; a setter changes only that.  Each line of DebugSettings.inl gives one of each,
/// which take and return `bool` for a switch, `DWORD` for a number, `LONGLONG` for a 64-bit number and `CXString` for a
/// text.
///
/// In a process named "wmiprvse" messages, timing and timing output stay off, whatever anybody says: the provider host
/// of the management instrumentation is never traced.
///
/// Times are ticks of `DebugClock`.  Level 0 is the outermost timing scope.
///
/// **Ownership**: owns its two registry keys.
/// **Threads**: any.  A refresh on one thread may be seen half done by another (some settings old, some new), but each
/// setting is whole; texts are copied under a lock.  The level bookkeeping is under the same lock.
/// **Failure**: nothing throws; trouble with the registry leaves what was in force, and is reported where somebody
/// asked for the operation.
class VLM_API DebugMessageConfiguration {
public:
    /// Longest process name, in code units.
    static constexpr int MAX_PROCESS_NAME = 47;

    /// Opens the key, reads it and seeds it.  Safe while the library is being loaded: it goes to the registry directly,
    /// starts nothing and shows nothing.
    /// @param kcsKeyName `DEBUG_SETTINGS_KEY`, or another key beside it.
    explicit DebugMessageConfiguration(const CXString& kcsKeyName) noexcept;
    ~DebugMessageConfiguration();
    DebugMessageConfiguration(const DebugMessageConfiguration&) = delete;
    DebugMessageConfiguration& operator=(const DebugMessageConfiguration&) = delete;

    /// Called when settings may have changed, by a read or by a setter.
    using ChangeListener = void (*)(void* pContext) noexcept;
    /// Puts a listener in place (null: none); it is called at once, and then on whatever thread changes something, with
    /// no lock of this object held.  Not while another thread may be using the object.
    void SetChangeListener(ChangeListener pfnListener, void* pContext) noexcept;

    /// Reads all values that there are in one request, puts them in force if the data differ from the last read, and
    /// computes the allowed categories anew.  Values, and even the key, that have appeared since construction are read,
    /// too; a value that has gone falls back to its default.  Messages of the calling thread are suppressed meanwhile.
    /// @param fReadingKeyExists false: nothing is read, only the categories are computed.
    /// @return whether the read succeeded; without memory some of the values may be in force, and the next read brings
    /// them all.  A call from inside another on the same thread does nothing: false.
    bool GetLatestConfigurationInformation(bool fReadingKeyExists) noexcept;
    /// For whoever is about to use the settings: reads them first when "AlwaysReadConfig" is on.
    void RefreshBeforeUse() noexcept;

    // ---- the settings, one by one ----

#define VLM_SETTING_Switch(name, getter, setter)        \
    bool getter() const noexcept {                      \
        return GetSettingNumber(DMS_##name) != 0;       \
    }                                                   \
    void setter(bool fValue) noexcept {                 \
        SetSettingNumber(DMS_##name, fValue ? 1U : 0U); \
    }
#define VLM_SETTING_Number(name, getter, setter)                 \
    DWORD getter() const noexcept {                              \
        return static_cast<DWORD>(GetSettingNumber(DMS_##name)); \
    }                                                            \
    void setter(DWORD dwValue) noexcept {                        \
        SetSettingNumber(DMS_##name, dwValue);                   \
    }
#define VLM_SETTING_Number64(name, getter, setter)                     \
    LONGLONG getter() const noexcept {                                 \
        return static_cast<LONGLONG>(GetSettingNumber(DMS_##name));    \
    }                                                                  \
    void setter(LONGLONG llValue) noexcept {                           \
        SetSettingNumber(DMS_##name, static_cast<ULONGLONG>(llValue)); \
    }
#define VLM_SETTING_Text(name, getter, setter)       \
    CXString getter() const noexcept {               \
        return GetSettingText(DMS_##name);           \
    }                                                \
    void setter(const CXString& kcsValue) noexcept { \
        SetSettingText(DMS_##name, kcsValue);        \
    }
#define VLM_SETTING(kind, name, standard, getter, setter) VLM_SETTING_##kind(name, getter, setter)
#include "utilities/debuggingandexceptions/DebugSettings.inl"
#undef VLM_SETTING
#undef VLM_SETTING_Switch
#undef VLM_SETTING_Number
#undef VLM_SETTING_Number64
#undef VLM_SETTING_Text

    /// A switch (0 or 1) or a number by its id; 0 for a text.
    ULONGLONG GetSettingNumber(DebugSettingId eSetting) const noexcept {
        return m_aullNumbers[eSetting].load(std::memory_order_relaxed);
    }
    void SetSettingNumber(DebugSettingId eSetting, ULONGLONG ullValue) noexcept;
    /// A text by its id; empty for the other kinds.
    CXString GetSettingText(DebugSettingId eSetting) const noexcept;
    /// Setting a list of categories also computes the allowed ones anew.  Without memory what was set stays so.
    void SetSettingText(DebugSettingId eSetting, const CXString& kcsValue) noexcept;

    /// The categories included and not excluded; all of them until the first read has ended.
    DebugMessageCategories GetAllowedMessageCategories() const noexcept {
        return m_ullAllowedCategories.load(std::memory_order_relaxed);
    }
    /// The mask of a comma-separated list of names; blanks round a name do not count, an unknown name adds nothing.
    static DebugMessageCategories ParseCategoryString(const CXString& kcsList) noexcept;

    // ---- the process ----

    /// The thread that built the object.
    DWORD GetConstructionThreadId() const noexcept {
        return m_dwThreadId;
    }
    /// The program's name out of the command line, without folder and ending, cut to `MAX_PROCESS_NAME`.
    CXString GetProcessName() const noexcept {
        return m_csProcessName;
    }
    const vlm::CalendarTime& GetLocalTimeOfConstruction() const noexcept {
        return m_oConstructionTime;
    }

    // ---- the performance session: operations that follow each other closely, also in several processes ----

    // Stored with it: when it began ("PerfSessionStartTime64"), the time of day then ("…AsSystemTime64", the local time
    // in 100 ns since 1601), and what was noted for the outermost level.  A program that wants its own time before this
    // library is loaded to count stores it in "PerfSessionStartTimeBeforeUtilitiesDll64"; a session that begins takes
    // it up, and it goes back to 0.

    /// Ends the session and begins another when nothing was measured for longer than "PerfSessionTimeOut", when there
    /// is none yet, or when the clock has been set back (the system was started anew).
    /// @param llNow where the next operation begins; a new session begins there, too.
    /// @param rLocalTime the time of day, kept as the new session's.
    /// @param lLevel level of the operation; inside another one (above 0) no session ends.
    /// @return whether a new session has begun.
    bool ResetPerformanceSessionDataIfTimedOut(LONGLONG llNow, const vlm::CalendarTime& rLocalTime,
                                               LONG lLevel) noexcept;
    /// Begins a session: nothing measured yet, no warning given, on all levels up to `lLevel`.
    /// @param fSave writes the session's values to the registry, if there is a key to write to.
    void ResetPerformanceSessionData(LONGLONG llNow, LONG lLevel, bool fSave) noexcept;
    /// Announces a session that has begun and was not announced yet, and how long the one before it was.
    void DebugDisplayMsgIfNewPerformanceSession() noexcept;

    /// The time that scopes inside one of this level have measured since it began.
    /// @return false when there were none, or when the level is negative, which is reported.
    bool GetMeasuredTimeAtLowerLevels(LONG lLevel, LONGLONG& rllTime) const noexcept;
    /// The time that scopes of this level have measured since the one round them began; 0 when there were none.
    LONGLONG GetAccountedForTimeAtLevel(LONG lLevel) const noexcept;
    /// Notes the end of a scope: when it ended, and the time now accounted for on its level (the earlier scopes beside
    /// it included).  What was noted for the levels inside it is forgotten.
    void SetLastOperationTimeAndAccountedForTime(LONGLONG llLastOperation, LONGLONG llAccountedFor,
                                                 LONG lLevel) noexcept;
    /// When the last scope of this level ended; 0 when there was none.
    /// @param rfAlreadyWarned whether a warning about the time since then was given.
    LONGLONG GetTimeOfLastOperationAtLevel(bool& rfAlreadyWarned, int iLevel) const noexcept;
    /// Notes that the warning was given; the end of the next scope of this level takes that back.
    void SetAlreadyWarnedForTickCountOfLastOperationAtLevel(int iLevel) noexcept;

    /// Writes the values of the session to the registry.  Reports it when there is no key to write to.
    void SaveConfigurationInformation() noexcept;

private:
    /// What is noted for a timing level inside the outermost one, whose times are settings themselves.
    struct InnerLevel {
        LONGLONG m_llLastOperation = 0;
        LONGLONG m_llAccountedFor = 0;
        bool m_fAlreadyWarned = false;
    };

    void SetDefaults();
    void FindProcessName();
    void OpenKeys();
    void SeedMissingValues();
    bool ReadValues();
    bool BindExistingValues();
    void ApplyValues();
    void ApplyValue(DebugSettingId eSetting);
    void WriteSetting(DebugSettingId eSetting);
    bool WriteSession() noexcept;
    void StoreNumber(DebugSettingId eSetting, ULONGLONG ullValue) noexcept;
    void StoreText(DebugSettingId eSetting, CXString& rcsValue) noexcept;
    void ComputeAllowedCategories() noexcept;
    void NotifyListener() noexcept;
    void BeginOrContinueSession() noexcept;
    template <class Change>
    void ChangeLevel(LONG lLevel, Change&& change) noexcept;

    const CXString m_csKeyName;
    CXString m_csProcessName;
    const vlm::CalendarTime m_oConstructionTime;
    const DWORD m_dwThreadId;
    bool m_fNeverTraced = false;

    // Guarded by the values' resource, as are the texts and what is noted about timing.
    bool m_fAlreadyWarnedOutermost = false;
    bool m_fNewSession = false;
    LONGLONG m_llPreviousSession = 0;  // ticks; 0 when there was none

    ChangeListener m_pfnListener = nullptr;
    void* m_pListenerContext = nullptr;

    std::array<std::atomic<ULONGLONG>, DMS_COUNT> m_aullNumbers{};
    std::atomic<DebugMessageCategories> m_ullAllowedCategories{DebugCategory::All};

    // Nothing is called while it is held.
    mutable CriticalResource m_oValuesResource;
    std::array<CXString, DMS_COUNT> m_acsTexts;
    std::vector<InnerLevel> m_voInnerLevels;

    // One thread reads or writes the registry at a time; what follows belongs to it.  Taken before the other lock.
    CriticalResource m_oRegistryResource;
    std::unique_ptr<RegistryKey> m_apoConfigurationKey;
    std::unique_ptr<RegistryKey> m_apoConfigurationKeyForWriting;
    RegistryMultiValueOperations m_oValues;
    std::array<int, DMS_COUNT> m_aiValues;  // a setting's place in them, -1: not there
    DWORD m_dwWritingStatus = 0;            // why there is no key to write to
    std::atomic<DWORD> m_dwReadingThread{0};
};
