/// @file
/// The contracts of the clock, process, desktop and cryptography ports.
#include <algorithm>
#include <chrono>
#include <vector>

#include "PortContract.h"
#include "platform/DesktopPort.h"

namespace vlm::test {

namespace {

class ClockPortContract : public PortContract {
protected:
    ClockPort& Clock() const { return *Ports().pClock; }
};

TEST_P(ClockPortContract, CountersGoForward) {
    EXPECT_GT(Clock().PerformanceFrequency(), 0);
    EXPECT_EQ(Clock().PerformanceFrequency(), Clock().PerformanceFrequency());
    LONGLONG llLast = Clock().PerformanceCounter();
    const DWORD dwTick = Clock().TickCount();
    for (int i = 0; i < 1000; ++i) {
        const LONGLONG llNow = Clock().PerformanceCounter();
        EXPECT_GE(llNow, llLast);
        llLast = llNow;
    }
    EXPECT_LT(Clock().TickCount() - dwTick, 0x80000000u);
}

TEST_P(ClockPortContract, LocalTimeIsUtcWithinADay) {
    const LONGLONG llBefore = Clock().UtcSeconds();
    const CalendarTime oTime = Clock().LocalTime();
    const LONGLONG llAfter = Clock().UtcSeconds();
    EXPECT_GT(llBefore, 1'700'000'000);
    using namespace std::chrono;
    const year_month_day oDate{year(oTime.wYear), month(oTime.wMonth), day(oTime.wDay)};
    ASSERT_TRUE(oDate.ok());
    EXPECT_EQ(weekday(sys_days(oDate)).c_encoding(), oTime.wDayOfWeek);
    EXPECT_LT(oTime.wHour, 24);
    EXPECT_LT(oTime.wMinute, 60);
    EXPECT_LT(oTime.wSecond, 60);
    EXPECT_LT(oTime.wMilliseconds, 1000);
    const LONGLONG llLocal =
        sys_days(oDate).time_since_epoch().count() * 86400LL + oTime.wHour * 3600 + oTime.wMinute * 60 + oTime.wSecond;
    EXPECT_GE(llLocal, llBefore - 86400);
    EXPECT_LE(llLocal, llAfter + 86400);
}

Q9_CONTRACT_SUITE(ClockPortContract);

TEST(FakeClockPort, StandsUntilItIsMoved) {
    FakeClockPort oClock;
    const LONGLONG llCounter = oClock.PerformanceCounter();
    EXPECT_EQ(oClock.PerformanceCounter(), llCounter);
    EXPECT_EQ(oClock.LocalTime().wDayOfWeek, 4);
    EXPECT_EQ(oClock.LocalTime().wMilliseconds, 789);
    oClock.Advance(1500);
    EXPECT_EQ(oClock.PerformanceCounter() - llCounter, 15'000'000);
    oClock.SetUtcMilliseconds(-1);
    EXPECT_EQ(oClock.UtcSeconds(), -1);
    EXPECT_EQ(oClock.LocalTime().wYear, 1969);
    oClock.SetZoneMinutes(1);
    EXPECT_EQ(oClock.LocalTime().wYear, 1970);
}

class ProcessPortContract : public PortContract {
protected:
    ProcessPort& Process() const { return *Ports().pProcess; }
};

TEST_P(ProcessPortContract, PathsAreWholeOrNotThere) {
    XCHAR szPath[1024];
    const std::size_t cUnits = Process().ModulePath(nullptr, szPath, std::size(szPath));
    ASSERT_GT(cUnits, 4u);
    EXPECT_EQ(szPath[cUnits], 0);
    EXPECT_NE(XStringView(szPath).find_first_of(VTEXT("\\/")), XStringView::npos);
    EXPECT_EQ(Process().ModulePath(nullptr, szPath, cUnits), 0u);
    EXPECT_EQ(Process().ModulePath(nullptr, szPath, cUnits + 1), cUnits);
    EXPECT_EQ(Process().ModulePath(nullptr, nullptr, 0), 0u);
    EXPECT_NE(Process().CurrentProcessId(), 0u);
}

TEST_P(ProcessPortContract, TheLibrarysFileIsNamedWholeOrNotAtAll) {
    XCHAR szPath[1024] = {};
    const std::size_t cUnits = Process().LibraryPath(szPath, std::size(szPath));
    ASSERT_GT(cUnits, 4u);
    EXPECT_NE(XStringView(szPath, cUnits).find_first_of(VTEXT("\\/")), XStringView::npos);
    EXPECT_EQ(Process().LibraryPath(szPath, cUnits), 0u);
    EXPECT_EQ(Process().LibraryPath(szPath, cUnits + 1), cUnits);
    HINSTANCE hModule = nullptr;
    EXPECT_NE(Process().LoadResources(VTEXT("C:\\absent\\q9txt073.dll"), hModule), Status::Success);
    EXPECT_NE(Process().LoadResources(VTEXT(""), hModule), Status::Success);
    EXPECT_EQ(hModule, nullptr);
    const Status eFolder = Process().SystemFolder(szPath, std::size(szPath));
    if (eFolder == Status::NotSupported) GTEST_SKIP() << "no system folder here";
    ASSERT_EQ(eFolder, Status::Success);
    const std::size_t cFolder = XStringView(szPath).size();
    EXPECT_NE(szPath[cFolder - 1], VTEXT('\\'));
    EXPECT_EQ(Process().SystemFolder(szPath, cFolder), Status::InsufficientBuffer);
    EXPECT_EQ(Process().SystemFolder(szPath, cFolder + 1), Status::Success);
    EXPECT_EQ(Process().SystemFolder(nullptr, 0), Status::InsufficientBuffer);
}

TEST_P(ProcessPortContract, EnvironmentVariablesAreWholeOrNotThere) {
    m_oFake.process.SetEnvironmentVariableTo(VTEXT("PATH"), VTEXT("C:\\windows"));
    static XCHAR szValue[32768];
    const std::size_t cUnits = Process().EnvironmentVariable(VTEXT("PATH"), szValue, std::size(szValue));
    ASSERT_GT(cUnits, 2u);
    EXPECT_EQ(szValue[cUnits], 0);
    EXPECT_EQ(Process().EnvironmentVariable(VTEXT("PATH"), szValue, cUnits), 0u);
    EXPECT_EQ(Process().EnvironmentVariable(VTEXT("PATH"), szValue, cUnits + 1), cUnits);
    EXPECT_EQ(Process().EnvironmentVariable(VTEXT("Q9_NO_SUCH_VARIABLE"), szValue, std::size(szValue)), 0u);
    EXPECT_EQ(Process().EnvironmentVariable(nullptr, szValue, std::size(szValue)), 0u);
}

TEST_P(ProcessPortContract, TheComputerHasAName) {
    EXPECT_EQ(Process().DescribeSystem().dwMajor != 0, Process().DescribeSystem().fWindows);
    XCHAR szName[300];
    const std::size_t cUnits = Process().ComputerName(szName, std::size(szName));
    ASSERT_GT(cUnits, 0u);
    EXPECT_EQ(szName[cUnits], 0);
    EXPECT_EQ(Process().ComputerName(szName, cUnits), 0u);
    EXPECT_EQ(Process().ComputerName(szName, cUnits + 1), cUnits);
    EXPECT_EQ(Process().ComputerName(nullptr, 0), 0u);
}

TEST_P(ProcessPortContract, CommandLineNamesTheProgram) {
    static XCHAR szLine[32768];
    const std::size_t cUnits = Process().CommandLine(szLine, std::size(szLine));
    ASSERT_GT(cUnits, 4u);
    EXPECT_EQ(szLine[cUnits], 0);
    const XStringView line(szLine);
    EXPECT_EQ(line.substr(line.find_last_of(VTEXT('\\')) + 1, 4), VTEXT("test"));
    EXPECT_EQ(Process().CommandLine(szLine, cUnits), 0u);
    EXPECT_EQ(Process().CommandLine(szLine, cUnits + 1), cUnits);
    EXPECT_EQ(Process().CommandLine(nullptr, 0), 0u);
}

TEST_P(ProcessPortContract, ProcessIdsHoldTheOwn) {
    std::vector<DWORD> vdwIds(65536);
    vdwIds.resize(Process().ProcessIds(vdwIds.data(), vdwIds.size()));
    EXPECT_EQ(std::count(vdwIds.begin(), vdwIds.end(), Process().CurrentProcessId()), 1);
    DWORD dwId = 0;
    EXPECT_EQ(Process().ProcessIds(&dwId, 1), 1u);
    EXPECT_EQ(Process().ProcessIds(nullptr, 0), 0u);
}

Q9_CONTRACT_SUITE(ProcessPortContract);

class DesktopPortContract : public PortContract {};

TEST_P(DesktopPortContract, OutputIsTakenWithAndWithoutDebugger) {
    DesktopPort& rDesktop = *Ports().pDesktop;
    rDesktop.DebuggerOutput(VTEXT("contract \u20AC\n"));
    rDesktop.DebuggerOutput(nullptr);
    EXPECT_FALSE(rDesktop.IsDebuggerPresent());
    if (IsFake()) {
        const std::vector<XString> vLines = m_oFake.desktop.DebuggerLines();
        ASSERT_EQ(vLines.size(), 2u);
        EXPECT_EQ(XStringView(vLines[0]), XStringView(VTEXT("contract \u20AC\n")));
        EXPECT_TRUE(vLines[1].empty());
    }
}

Q9_CONTRACT_SUITE(DesktopPortContract);

}  // namespace

}  // namespace vlm::test
