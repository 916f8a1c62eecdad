/// @file
/// The diagnostic counters: counting, publishing, and many threads at it.
#include "utilities/registry/ProcmonDiagnosticCounters.h"

#include <gtest/gtest.h>

#include <set>
#include <sstream>
#include <thread>
#include <vector>

#include "support/Bytes.h"
#include "support/FakePlatform.h"
#include "support/FaultLoop.h"
#include "support/Gate.h"
#include "support/RecordingSink.h"

namespace vlm::test {

namespace {

using Counter = ProcmonDiagnosticCounter;
using Enum = Counter::ProcmonDiagnosticCounterEnum;

constexpr XStringView DIAGNOSTICS = VTEXT("HKEY_LOCAL_MACHINE\\SOFTWARE\\Velom\\VelomPrintDiag\\Diagnostics");
constexpr XStringView RENDERING = VTEXT("HKEY_LOCAL_MACHINE\\SOFTWARE\\Velom\\VelomPrintDiag\\Rendering");

/// The table outlives the tests, so each test has printers of its own.
class ProcmonDiagnosticCounters : public testing::Test {
protected:
    void SwitchOn(XStringView svKey, XStringView svValue) {
        m_oFake.registry.AddValue(svKey, svValue, RegistryPort::TYPE_BINARY, {1});
    }
    static CXString Printer(int iNumber = 0) {
        const testing::TestInfo* const pTest = testing::UnitTest::GetInstance()->current_test_info();
        return CXString::FormatString(VTEXT("%S %d"), pTest->name(), iNumber);
    }
    /// Names of the published queries.
    static std::vector<std::string> Published(const RecordingSink& rSink) {
        static const std::string BEFORE = "Calling RegQueryValueEx(ProcmonDiagnosticCounter\\", AFTER = ") to try";
        std::vector<std::string> vNames;
        for (const std::string& rText : rSink.Texts()) {
            if (rText.find(BEFORE) != 0) continue;
            vNames.push_back(rText.substr(BEFORE.size(), rText.rfind(AFTER) - BEFORE.size()));
        }
        return vNames;
    }

    FakePlatform m_oFake;
    PlatformScope m_oScope{m_oFake.Get()};
    Counter m_oCounter;
};

TEST_F(ProcmonDiagnosticCounters, CountsWrapAtTheCallersModulus) {
    const auto count = [&](Enum eCounter, DWORD dwModulus, bool fReset = Counter::COUNT, int iPrinter = 0) {
        return m_oCounter.IncrementProcmonDiagnosticCounter(Printer(iPrinter), eCounter, dwModulus, fReset);
    };
    for (const DWORD dwExpected : {1u, 2u, 0u, 1u})
        EXPECT_EQ(count(Counter::PDC_IDMEnd, 3), dwExpected);
    EXPECT_EQ(count(Counter::PDC_TIMER, 1, Counter::COUNT, 1), 1u) << "the first, whatever the modulus";
    EXPECT_EQ(count(Counter::PDC_TIMER, 100), 1u);
    EXPECT_EQ(count(Counter::PDC_IDMEnd, 3, Counter::RESET), 0u);
    for (DWORD i = 1; i < Counter::LASTITEM; ++i)
        EXPECT_EQ(Counter::GetCount(Printer(), static_cast<Enum>(i)), i == Counter::PDC_TIMER ? 1u : 0u);
    const RecordingSink oSink;
    EXPECT_EQ(count(Counter::PDC_TIMER, 0), 1u);
    EXPECT_EQ(oSink.Count("A modulus of 0 counts nothing"), 1u);
    EXPECT_EQ(count(Counter::PDC_TIMER, 5, Counter::RESET, 9), 0u);
    EXPECT_EQ(count(Counter::PDC_TIMER, 5, Counter::COUNT, 9), 1u);
}

TEST_F(ProcmonDiagnosticCounters, WrongCountersAndNamelessPrintersAreRefused) {
    const RecordingSink oSink;
    for (const DWORD dwCounter : {0u, 78u})
        EXPECT_EQ(m_oCounter.IncrementProcmonDiagnosticCounter(Printer(), static_cast<Enum>(dwCounter), 5), 0u);
    EXPECT_FALSE(m_oCounter.ProcmonDiagnosticMessage(CXString(), Counter::PDC_TIMER, VTEXT("x"), false, 5));
    EXPECT_EQ(Printable(Counter::ProcmonDiagnosticCounterEnumToString(Counter::LASTITEM)), "INVALID");
    for (const char* pszText :
         {"Invalid ProcmonDiagnosticCounterEnum (0)", "Invalid ProcmonDiagnosticCounterEnum (78)",
          "Blank timer names are not allowed", "Failed Condition:\t(kcsTimerName.IsEmpty() == false)\r\n",
          "Enum value, 78, is not known. New value must be added to the switch statement in "
          "ProcmonDiagnosticCounterEnumToString()."}) {
        EXPECT_EQ(oSink.Count(pszText), 1u) << pszText;
    }
    EXPECT_EQ(oSink.Count("\t(ProcmonDiagnosticCounter::FIRSTITEM < eCounter && eCounter < "
                          "ProcmonDiagnosticCounter::LASTITEM)\r\n"),
              2u);
}

TEST_F(ProcmonDiagnosticCounters, CapabilitiesHaveTheCounterOfTheirName) {
    const auto nameOf = [](DWORD dwCounter) {
        return Printable(Counter::ProcmonDiagnosticCounterEnumToString(static_cast<Enum>(dwCounter)));
    };
    std::set<std::string> setNames;
    for (DWORD i = 1; i < Counter::LASTITEM; ++i)
        setNames.insert(nameOf(i));
    EXPECT_EQ(setNames.size(), 77u);
    // The system's queries from number 0 on, as its documentation lists them; "-" for one without a counter.
    std::istringstream queries(
        "- FIELDS PAPERS PAPERSIZE MINEXTENT MAXEXTENT BINS DUPLEX - - - - BINNAMES ENUMRESOLUTIONS FILEDEPENDENCIES - "
        "PAPERNAMES - COPIES - - - COLLATE - - - PRINTRATE PRINTRATEUNIT PRINTERMEM MEDIAREADY STAPLE PRINTRATEPPM "
        "COLORDEVICE - MEDIATYPENAMES MEDIATYPES -");
    WORD wQuery = 0;
    for (std::string strQuery; queries >> strQuery; ++wQuery)
        EXPECT_EQ(nameOf(Counter::ConvertCapability(wQuery)), strQuery == "-" ? "UNSUPPORTED" : "DC_" + strQuery);
    EXPECT_EQ(wQuery, 37);
    EXPECT_EQ(nameOf(Counter::ConvertCapability(0x8001)), "VLM_DC_PAPERNAMES_MULTI_SZ");
    EXPECT_EQ(nameOf(Counter::ConvertCapability(0x800C)), "UNSUPPORTED");
}

TEST_F(ProcmonDiagnosticCounters, CountsAreQueriesThatNobodyAnswers) {
    const RecordingSink oSink;
    EXPECT_EQ(m_oCounter.IncrementProcmonDiagnosticCounter(Printer(), Counter::PDC_STARTDOC, 100), 1u);
    EXPECT_FALSE(m_oFake.registry.HasKey(DIAGNOSTICS));
    SwitchOn(DIAGNOSTICS, VTEXT("ProcmonDiagnosticEnabled"));
    // The switches are read once for each object: the first one still knows nothing of it.
    m_oCounter.IncrementProcmonDiagnosticCounter(Printer(), Counter::PDC_STARTDOC, 100);
    Counter oCounter;
    oCounter.IncrementProcmonDiagnosticCounter(Printer(), Counter::PDC_STARTDOC, 100);
    oCounter.IncrementDeviceCapabilitiesProcmonDiagnosticCounter(Printer(), Counter::PDC_DEVICECAPS, 2, 100);
    oCounter.IncrementDeviceCapabilitiesDatamodelProcmonDiagnosticCounter(Printer(), 2, 100);
    oCounter.IncrementDeviceCapabilitiesProcmonDiagnosticCounter(Printer(), Counter::PDC_DEVCAPSVAL, 8, 100);
    EXPECT_EQ(Published(oSink), (std::vector<std::string>{"_STARTDOC_=3", "DEVICECAPS_DC_PAPERS=1",
                                                          "DEVCAPSDM_DC_PAPERS=2", "DEVCAPSVAL_UNSUPPORTED=1"}));
    EXPECT_FALSE(oCounter.ProcmonDiagnosticMessagesEnabled());
    EXPECT_EQ(m_oFake.registry.OpenHandles(), 0u);
}

TEST_F(ProcmonDiagnosticCounters, TextsTellGroupContextAndTime) {
    SwitchOn(RENDERING, VTEXT("ProcmonDiagnosticMessagesEnabled"));
    m_oFake.clock.SetZoneMinutes(60);
    const RecordingSink oSink;
    const std::pair<Enum, const char*> aGroups[] = {{Counter::PDC_IDMStart, "DataModel"},
                                                    {Counter::PDC_DEVICECAPS, "DeviceCapability"},
                                                    {Counter::PDC_DEVCAPSDM, "DataModelDevCaps"},
                                                    {Counter::PDC_PAGEDUMP, "PageInformation"},
                                                    {Counter::PDC_TIMER, "Diagnostics"}};
    std::vector<std::string> vExpected;
    for (const auto& [eCounter, pszGroup] : aGroups) {
        EXPECT_TRUE(m_oCounter.ProcmonDiagnosticMessage(Printer(), eCounter, VTEXT("a 100%n text"), false, 9));
        vExpected.push_back(std::string(pszGroup) + "-a 100%n text|Context: User|Time: 02/29/2024:13:34:56:0789=1");
    }
    m_oFake.process.SetModulePath(nullptr, VTEXT("C:\\Windows\\System32\\spoolsv.exe"));
    EXPECT_TRUE(m_oCounter.ProcmonDiagnosticMessage(Printer(), Counter::PDC_TIMER, VTEXT("s"), Counter::RESET, 9));
    vExpected.push_back("Diagnostics-s|Context: Spooler|Time: 02/29/2024:13:34:56:0789=0");
    EXPECT_EQ(Published(oSink), vExpected);
    EXPECT_TRUE(
        m_oCounter.ProcmonDiagnosticMessage(Printer(), Counter::PDC_TIMER, CXString(VTEXT('x'), 40000), false, 9));
    EXPECT_EQ(m_oFake.registry.OpenHandles(), 0u);
}

TEST_F(ProcmonDiagnosticCounters, AnOpenPrinterIsKnownByItsName) {
    m_oFake.printing.AddQueueNamed(Printer());
    HANDLE hPrinter = nullptr;
    m_oFake.spooler.OpenPrinterHandle(Printer(), SpoolerPort::ACCESS_USE, hPrinter);
    EXPECT_EQ(m_oCounter.IncrementProcmonDiagnosticCounter(hPrinter, Counter::PDC_TIMER, 9), 1u);
    EXPECT_EQ(Counter::GetCount(Printer(), Counter::PDC_TIMER), 1u);
    m_oCounter.ClearProcmonCounters(hPrinter);
    EXPECT_EQ(Counter::GetCount(Printer(), Counter::PDC_TIMER), 0u);
    m_oFake.spooler.ClosePrinterHandle(hPrinter);
    m_oFake.spooler.SetMisuseFailsTest(false);
    const RecordingSink oSink;
    EXPECT_EQ(m_oCounter.IncrementProcmonDiagnosticCounter(hPrinter, Counter::PDC_TIMER, 9), 0u);
    EXPECT_EQ(oSink.Count("The printer of a diagnostic counter has no name. "), 1u);
}

TEST_F(ProcmonDiagnosticCounters, ManyThreadsCountExactly) {
    constexpr int THREADS = 16, EVENTS = 2000;
    Gate oGate;
    std::vector<std::thread> vThreads;
    for (int i = 0; i < THREADS; ++i) {
        vThreads.emplace_back([&oGate, this, i] {
            oGate.Wait();
            Counter oOwn;
            for (int j = 0; j < EVENTS; ++j) {
                m_oCounter.IncrementProcmonDiagnosticCounter(VTEXT("shared"), Counter::PDC_JobEMF, 0xFFFFFFFF);
                oOwn.IncrementProcmonDiagnosticCounter(Printer(i), Counter::PDC_JobRAW, 0xFFFFFFFF);
                if (j % 100 == 0) oOwn.ClearProcmonCounters(VTEXT("cleared"));
                oOwn.IncrementProcmonDiagnosticCounter(VTEXT("cleared"), Counter::PDC_JobRAW, 7);
            }
        });
    }
    oGate.Arrive();
    for (std::thread& rThread : vThreads)
        rThread.join();
    EXPECT_EQ(Counter::GetCount(VTEXT("shared"), Counter::PDC_JobEMF), DWORD{THREADS * EVENTS});
    for (int i = 0; i < THREADS; ++i)
        EXPECT_EQ(Counter::GetCount(Printer(i), Counter::PDC_JobRAW), DWORD{EVENTS});
    EXPECT_LT(Counter::GetCount(VTEXT("cleared"), Counter::PDC_JobRAW), 7u);
}

TEST(ProcmonDiagnosticCountersFaults, NothingEscapes) {
    const CXString csTimer(VTEXT("shaken"));
    HANDLE hPrinter = nullptr;
    FaultLoop oLoop;
    oLoop.fnPrepare = [&](FakePlatform& rFake) {
        rFake.printing.AddQueueNamed(csTimer);
        rFake.spooler.OpenPrinterHandle(csTimer, SpoolerPort::ACCESS_USE, hPrinter);
        rFake.registry.AddValue(DIAGNOSTICS, VTEXT("ProcmonDiagnosticEnabled"), RegistryPort::TYPE_BINARY, {1});
        rFake.registry.AddValue(RENDERING, VTEXT("ProcmonDiagnosticMessagesEnabled"), RegistryPort::TYPE_BINARY, {1});
    };
    bool fKept = true;
    // All the ways to count, by name and by printer; whatever fails, the answer is the count, or 0.
    const auto countAll = [&](const auto& rPrinter) {
        Counter oCounter;
        const auto isCount = [&](DWORD dwCount, Enum eCounter) {
            fKept = fKept && (dwCount == 0 || dwCount == Counter::GetCount(csTimer, eCounter));
            return dwCount != 0;
        };
        oCounter.ClearProcmonCounters(rPrinter);
        bool fDone =
            isCount(oCounter.IncrementProcmonDiagnosticCounter(rPrinter, Counter::PDC_JobEMF, 5), Counter::PDC_JobEMF);
        fDone &= isCount(
            oCounter.IncrementDeviceCapabilitiesProcmonDiagnosticCounter(rPrinter, Counter::PDC_DEVICECAPS, 2, 5),
            Counter::PDC_DC_PAPERS);
        fDone &= isCount(oCounter.IncrementDeviceCapabilitiesDatamodelProcmonDiagnosticCounter(rPrinter, 2, 5),
                         Counter::PDC_DC_PAPERS);
        fDone &= oCounter.ProcmonDiagnosticMessage(rPrinter, Counter::PDC_JobEMF, csTimer, false, 5);
        return fDone ? FaultOutcome::Succeeded : FaultOutcome::Failed;
    };
    const RecordingSink oSink(DebugCategory::Utils);
    const FaultRow ROWS[] = {{"by name", [&] { return countAll(csTimer); }},
                             {"by handle", [&] { return countAll(hPrinter); }},
                             {"no counter", [&] {
                                  const XCHAR* const pszName =
                                      Counter::ProcmonDiagnosticCounterEnumToString(Counter::LASTITEM);
                                  fKept = fKept && XStringView(pszName) == VTEXT("INVALID");
                                  return FaultOutcome::Succeeded;
                              }}};
    RunFaultRows(ROWS, oLoop);
    EXPECT_TRUE(fKept);
}

/// The first event of a printer takes memory.
TEST_F(ProcmonDiagnosticCounters, WhatIsAnsweredIsWhatIsCounted) {
    bool fFired = true;
    for (int iAt = 1; fFired; ++iAt) {
        const CXString csPrinter = Printer(iAt);
        DWORD dwCount = 0;
        {
            const AllocationFaults oFaults(static_cast<std::uint64_t>(iAt));
            dwCount = m_oCounter.IncrementProcmonDiagnosticCounter(csPrinter, Counter::PDC_JobEMF, 5);
            fFired = oFaults.HasFired();
        }
        EXPECT_EQ(dwCount, Counter::GetCount(csPrinter, Counter::PDC_JobEMF)) << iAt;
    }
}

}  // namespace

}  // namespace vlm::test
