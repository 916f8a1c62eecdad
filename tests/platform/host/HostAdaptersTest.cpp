/// @file
/// What the host's adapters do beyond the common contracts.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "platform/DesktopPort.h"
#include "platform/FilePort.h"
#include "platform/Platform.h"
#include "platform/ProcessPort.h"
#include "platform/TextPort.h"
#include "platform/ThreadPort.h"
#include "platform/host/HostDesktopPort.h"
#include "platform/host/HostNames.h"
#include "platform/host/HostTextTables.h"
#include "support/Bytes.h"

namespace vlm::test {

namespace {

TEST(HostNames, EveryNameOfTheHostGoesThereAndBack) {
    for (const std::string name :
         {"plain", "Gr\xC3\xBCn", "\xF0\x9F\x98\x80", "bad\xFF\xC3", "\xED\xA0\x80", "\xC0\xAF"}) {
        std::string back;
        EXPECT_TRUE(host::BytesFromUnits(host::UnitsFromBytes(name), back));
        EXPECT_EQ(ToHex(name.data(), name.size()), ToHex(back.data(), back.size()));
    }
    // No two spellings of one name, and no name for what is none.
    std::string bytes;
    const XCHAR aEscapedLetter[] = {0xDCC3, 0xDCBC, 0}, aLone[] = {0xD800, 0}, aLow[] = {0xDC41, 0};
    for (const XCHAR* psz : {aEscapedLetter, aLone, aLow}) {
        EXPECT_EQ(host::PathFromUnits(psz, bytes), Status::InvalidName);
    }
}

TEST(HostNames, StoreTextKeepsEveryUnit) {
    std::basic_string<XCHAR> units;
    for (unsigned i = 1; i <= 0xFFFF; i += 0x3F)
        units += static_cast<XCHAR>(i);
    units += VTEXT("\U0001F600");
    units += XCHAR{0xDC00};
    units += XCHAR{0xD800};
    EXPECT_TRUE(host::UnitsFromStoreText(host::StoreTextFromUnits(units)) == units);
}

TEST(HostFilePort, SharingHoldsBetweenProcesses) {
    const auto oPath = std::filesystem::temp_directory_path() / ("q9-share-" + std::to_string(getpid()));
    std::ofstream(oPath) << "x";
    const std::basic_string<XCHAR> path = oPath.string<XCHAR>();
    FilePort& rFiles = *GetSystemPlatform().pFiles;
    const FilePort::OpenOptions oAlone{FilePort::Access::Read, FilePort::Disposition::OpenExisting, FilePort::ShareNone,
                                       true, false};
    HANDLE hFile = nullptr;
    ASSERT_EQ(rFiles.Open(path.c_str(), oAlone, hFile), Status::Success);
    const auto tryInChild = [&] {
        const pid_t iChild = fork();
        if (iChild == 0) {
            HANDLE hOther = nullptr;
            _exit(static_cast<int>(rFiles.Open(path.c_str(), {}, hOther)));
        }
        int iState = 0;
        waitpid(iChild, &iState, 0);
        return static_cast<Status>(WEXITSTATUS(iState));
    };
    EXPECT_EQ(tryInChild(), Status::SharingViolation);
    EXPECT_EQ(rFiles.Close(hFile), Status::Success);
    EXPECT_EQ(tryInChild(), Status::Success);
    std::filesystem::remove(oPath);
}

TEST(HostFilePort, AFullDiskIsNamedAndAPipeIsNotWaitedFor) {
    FilePort& rFiles = *GetSystemPlatform().pFiles;
    HANDLE hFile = nullptr;
    DWORD dwWritten = 0;
    ASSERT_EQ(rFiles.Open(VTEXT("/dev/full"), {FilePort::Access::ReadWrite}, hFile), Status::Success);
    EXPECT_EQ(rFiles.Write(hFile, "x", 1, dwWritten), Status::DiskFull);
    EXPECT_EQ(rFiles.Close(hFile), Status::Success);
    const auto oPath = std::filesystem::temp_directory_path() / ("q9-pipe-" + std::to_string(getpid()));
    ASSERT_EQ(mkfifo(oPath.c_str(), 0600), 0);
    ASSERT_EQ(rFiles.Open(oPath.string<XCHAR>().c_str(), {}, hFile), Status::Success);
    char c = 0;
    DWORD dwRead = 9;
    EXPECT_EQ(rFiles.Read(hFile, &c, 1, dwRead), Status::Success);
    EXPECT_EQ(dwRead, 0u);
    EXPECT_EQ(rFiles.Close(hFile), Status::Success);
    std::filesystem::remove(oPath);
}

TEST(HostIds, AreTheSystemsAlsoOnOtherThreadsAndInChildren) {
    const Platform& rPlatform = GetSystemPlatform();
    const auto isRight = [&] {
        return rPlatform.pProcess->CurrentProcessId() == static_cast<DWORD>(getpid()) &&
               rPlatform.pThreads->CurrentThreadId() == static_cast<DWORD>(gettid());
    };
    EXPECT_TRUE(isRight());
    std::thread([&] { EXPECT_TRUE(isRight()); }).join();
    const pid_t iChild = fork();
    if (iChild == 0) _exit(isRight() ? 0 : 1);
    int iState = 1;
    waitpid(iChild, &iState, 0);
    EXPECT_EQ(iState, 0);
}

std::atomic<int> giEnded{0};
std::atomic<DWORD> gdwSlot{0};

TEST(HostThreadPort, ValuesAreHandedOverWhenTheirThreadEnds) {
    ThreadPort& rThreads = *GetSystemPlatform().pThreads;
    giEnded = 0;
    gdwSlot = rThreads.AllocSlot([](void* pValue) {
        Status eStatus{};
        // The slot is empty by now.
        if (GetSystemPlatform().pThreads->GetSlot(gdwSlot, eStatus) == nullptr) giEnded += *static_cast<int*>(pValue);
    });
    int iOne = 1, iTwo = 2;
    std::thread([&] { rThreads.SetSlot(gdwSlot, &iOne); }).join();
    std::thread([&] { rThreads.SetSlot(gdwSlot, &iTwo); }).join();
    std::thread([&] {
        rThreads.SetSlot(gdwSlot, &iOne);
        rThreads.SetSlot(gdwSlot, nullptr);
    }).join();
    EXPECT_EQ(giEnded, 3);
    EXPECT_EQ(rThreads.FreeSlot(gdwSlot), Status::Success);
}

TEST(HostTextPort, TablesStandInForResourcesAndWindows) {
    TextPort& rText = *GetSystemPlatform().pText;
    constexpr host::StringResourceEntry ENTRIES[] = {{1, VTEXT("one")}, {2, VTEXT("two")}};
    const HINSTANCE hModule = reinterpret_cast<HINSTANCE>(std::uintptr_t{0x10000});
    ASSERT_TRUE(host::RegisterStringResources(hModule, ENTRIES, 2));
    EXPECT_EQ(rText.StringResource(hModule, 2), VTEXT("two"));
    EXPECT_TRUE(rText.StringResource(nullptr, 2).empty());
    ASSERT_TRUE(host::RegisterStringResources(hModule, nullptr, 0));
    EXPECT_TRUE(rText.StringResource(hModule, 2).empty());

    const HWND hwnd = host::OpenCaptionWindow(VTEXT("caption"));
    XCHAR szText[5];
    std::size_t cLength = 0;
    EXPECT_EQ(rText.WindowText(hwnd, szText, 5, cLength), Status::Success);
    EXPECT_EQ(XStringView(szText), VTEXT("capt"));
    EXPECT_EQ(rText.SetWindowCaption(hwnd, VTEXT("new")), Status::Success);
    EXPECT_EQ(rText.WindowText(hwnd, szText, 5, cLength), Status::Success);
    EXPECT_EQ(XStringView(szText), VTEXT("new"));
    EXPECT_TRUE(host::CloseCaptionWindow(hwnd));
    EXPECT_EQ(rText.WindowText(hwnd, szText, 5, cLength), Status::InvalidWindowHandle);
}

TEST(HostProcessPort, AnAddressLeadsToItsModule) {
    XCHAR szOwn[1024], szByAddress[1024];
    ProcessPort& rProcess = *GetSystemPlatform().pProcess;
    ASSERT_GT(rProcess.ModulePath(nullptr, szOwn, 1024), 0u);
    const HINSTANCE hInside = reinterpret_cast<HINSTANCE>(&GetSystemPlatform);
    ASSERT_GT(rProcess.ModulePath(hInside, szByAddress, 1024), 0u);
    EXPECT_EQ(XStringView(szOwn), XStringView(szByAddress));
    EXPECT_EQ(rProcess.ModulePath(reinterpret_cast<HINSTANCE>(std::uintptr_t{16}), szOwn, 1024), 0u);
}

std::vector<std::basic_string<XCHAR>> gvLines;

TEST(HostDesktopPort, AListenerHearsWhatADebuggerWould) {
    gvLines.clear();
    EXPECT_EQ(host::ExchangeDebuggerListener([](const XCHAR* pszText) noexcept { gvLines.emplace_back(pszText); }),
              nullptr);
    DesktopPort& rDesktop = *GetSystemPlatform().pDesktop;
    rDesktop.DebuggerOutput(VTEXT("heard"));
    host::ExchangeDebuggerListener(nullptr);
    rDesktop.DebuggerOutput(VTEXT("not heard"));
    EXPECT_EQ(gvLines, std::vector<std::basic_string<XCHAR>>{VTEXT("heard")});
}

}  // namespace

}  // namespace vlm::test
