/// @file
/// The contracts of the clock, process and desktop ports.
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

class ProcessPortContract : public PortContract {
protected:
    ProcessPort& Process() const { return *Ports().pProcess; }
};

TEST_P(ProcessPortContract, TextsAreWholeOrNotThere) {
    m_oFake.process.SetEnvironmentVariableTo(VTEXT("PATH"), VTEXT("C:\\windows"));
    const XString program = Whole([&](XCHAR* psz, std::size_t c) { return Process().ModulePath(nullptr, psz, c); });
    const XString library = Whole([&](XCHAR* psz, std::size_t c) { return Process().LibraryPath(psz, c); });
    for (const XString& rPath : {program, library})
        EXPECT_NE(rPath.find_first_of(VTEXT("\\/")), XString::npos);
    const XString line = Whole([&](XCHAR* psz, std::size_t c) { return Process().CommandLine(psz, c); });
    EXPECT_EQ(line.substr(line.find_last_of(VTEXT('\\')) + 1, 4), VTEXT("test"));
    Whole([&](XCHAR* psz, std::size_t c) { return Process().ComputerName(psz, c); });
    Whole([&](XCHAR* psz, std::size_t c) { return Process().EnvironmentVariable(VTEXT("PATH"), psz, c); });
    XCHAR szValue[100];
    for (const XCHAR* pszName : {VTEXT("Q9_NO_SUCH_VARIABLE"), static_cast<const XCHAR*>(nullptr)})
        EXPECT_EQ(Process().EnvironmentVariable(pszName, szValue, std::size(szValue)), 0u);
    EXPECT_EQ(Process().DescribeSystem().dwMajor != 0, Process().DescribeSystem().fWindows);
}

TEST_P(ProcessPortContract, ResourcesAndTheSystemFolderAreThereOrRefused) {
    XCHAR szPath[1024] = {};
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
