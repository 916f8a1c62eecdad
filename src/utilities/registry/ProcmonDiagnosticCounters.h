/// @file
/// Counters of driver events per printer, published where a trace of the system's registry activity shows them.
#pragma once

#include <array>
#include <unordered_map>

#include "platform/Export.h"
#include "platform/WinTypes.h"
#include "utilities/utilitiesdll/CXString.h"
#include "utilities/utilitiesdll/CriticalResource.h"

/// Counts what a driver does, per printer, and publishes each new count as a registry query that is never answered: the
/// value's name is the message.  Support staff record the registry activity of a machine and read the counts from it.
///
///     HKEY_LOCAL_MACHINE\SOFTWARE\Velom\VelomPrintDiag
///         Diagnostics     the key of the published queries
///                         "ProcmonDiagnosticEnabled", one byte: non-zero publishes the counts
///         Rendering       "ProcmonDiagnosticMessagesEnabled", one byte: non-zero publishes the text messages
///
/// Both switches are off while they are absent.  Counting itself goes on in any case, so a count is right from its
/// first publication on; it costs a hash and a lock.
///
/// The counts belong to the process, not to an object, and end with it.  Printers are told apart by the Hash32 of their
/// name.
/// **Threads**: any, also on one object.  **Failure**: nothing throws; a call that is refused or fails answers 0 or
/// false.
class VLM_API ProcmonDiagnosticCounter {
public:
    /// The counters, numbered from 1.
    enum ProcmonDiagnosticCounterEnum : DWORD {
        FIRSTITEM = 0,
#define VLM_COUNTER(constant, name, capability) PDC_##constant,
#include "utilities/registry/ProcmonDiagnosticCounters.inl"
#undef VLM_COUNTER
        LASTITEM,
    };
    static constexpr std::size_t COUNTERS = LASTITEM;
    /// Printers that one process counts for; events of further ones are reported and not counted.
    static constexpr std::size_t MAX_PRINTERS = 10000;
    /// Names for the switch of a reset.
    static constexpr bool COUNT = false, RESET = true;

    using Counters = std::array<DWORD, COUNTERS>;
    using CounterMap = std::unordered_map<DWORD, Counters>;

    ProcmonDiagnosticCounter() noexcept = default;
    ~ProcmonDiagnosticCounter();
    ProcmonDiagnosticCounter(const ProcmonDiagnosticCounter&) = delete;
    ProcmonDiagnosticCounter& operator=(const ProcmonDiagnosticCounter&) = delete;

    /// Counts one event: the first of a printer makes the count 1, each further one (count + 1) modulo `dwModulus`.
    /// @param dwModulus 0 is a fault of the caller: a failed assertion, and the count stays as it is.
    /// @param fReset RESET: the count becomes 0 instead; the printer's other counters stay.
    /// @return the new count; 0 for a counter that is none and for a printer without a name.
    DWORD IncrementProcmonDiagnosticCounter(const CXString& kcsTimerName, ProcmonDiagnosticCounterEnum eCounter,
                                            DWORD dwModulus, bool fReset = COUNT) noexcept;
    /// @param hPrinter an open printer; borrowed.
    DWORD IncrementProcmonDiagnosticCounter(HANDLE hPrinter, ProcmonDiagnosticCounterEnum eCounter, DWORD dwModulus,
                                            bool fReset = COUNT) noexcept;

    /// Counts one capability query under the capability's counter.  The published name is the name of `eCounter`, which
    /// tells who asked, and the capability's, joined by "_".
    /// @param wCapability the index of the query.
    DWORD IncrementDeviceCapabilitiesProcmonDiagnosticCounter(const CXString& kcsTimerName,
                                                              ProcmonDiagnosticCounterEnum eCounter, WORD wCapability,
                                                              DWORD dwModulus) noexcept;
    DWORD IncrementDeviceCapabilitiesProcmonDiagnosticCounter(HANDLE hPrinter, ProcmonDiagnosticCounterEnum eCounter,
                                                              WORD wCapability, DWORD dwModulus) noexcept;
    /// The same for queries that the data model answers (PDC_DEVCAPSDM).
    DWORD IncrementDeviceCapabilitiesDatamodelProcmonDiagnosticCounter(const CXString& kcsTimerName, WORD wCapability,
                                                                       DWORD dwModulus) noexcept;
    DWORD IncrementDeviceCapabilitiesDatamodelProcmonDiagnosticCounter(HANDLE hPrinter, WORD wCapability,
                                                                       DWORD dwModulus) noexcept;

    /// Sets all counts of a printer to 0.
    void ClearProcmonCounters(const CXString& kcsTimerName) noexcept;
    void ClearProcmonCounters(HANDLE hPrinter) noexcept;

    /// Counts one event and publishes a text with it.
    /// @return whether the text was published: false while the switch is off.
    bool ProcmonDiagnosticMessage(const CXString& kcsTimerName, ProcmonDiagnosticCounterEnum eCounter,
                                  const CXString& kcsMessage, bool fReset, DWORD dwModulus) noexcept;
    bool ProcmonDiagnosticMessage(HANDLE hPrinter, ProcmonDiagnosticCounterEnum eCounter, const CXString& kcsMessage,
                                  bool fReset, DWORD dwModulus) noexcept;

    /// The switches, read from the registry once for each object, when they are first needed.
    bool ProcmonDiagnosticEnabled() noexcept;
    bool ProcmonDiagnosticMessagesEnabled() noexcept;

    /// Present count of one counter; 0 for what was never counted.
    static DWORD GetCount(const CXString& kcsTimerName, ProcmonDiagnosticCounterEnum eCounter) noexcept;
    /// The display name, for example "IDMStart"; "INVALID", and a report, for any other number.
    static const XCHAR* ProcmonDiagnosticCounterEnumToString(ProcmonDiagnosticCounterEnum eCounter) noexcept;
    /// The counter of a capability query; PDC_UNSUPPORTED for an index without one.
    static ProcmonDiagnosticCounterEnum ConvertCapability(WORD wCapability) noexcept;

private:
    /// Empty, and a report, when the spooler does not tell.
    static CXString NameOfPrinter(HANDLE hPrinter) noexcept;
    void GetFlags() noexcept;
    /// The process's counts; null when the library's static objects are gone.  Used under the table's lock.
    static CounterMap* GetGlobalCounterMapPtr();
    /// The new count, or nothing when there was nothing to count.
    static bool TryCount(const CXString& kcsTimerName, ProcmonDiagnosticCounterEnum eCounter, DWORD dwModulus,
                         bool fReset, DWORD& rdwCount) noexcept;
    void PublishCount(const CXString& kcsName, DWORD dwCount) noexcept;
    static bool Publish(const CXString& kcsText, DWORD dwCount);
    static bool LogStringMessage(ProcmonDiagnosticCounterEnum eCounter, const CXString& kcsMessage,
                                 DWORD dwCount) noexcept;

    CriticalResource m_oCriticalSection;
    bool m_fFlagsRead = false;
    bool m_fEnabled = false;
    bool m_fMessagesEnabled = false;
};
