/// @file
/// Debug messages of the loaded library: exceptions shown and thrown again, settings picked up while the process runs.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <thread>

#include "platform/ClockPort.h"
#include "platform/Platform.h"
#include "platform/ProcessPort.h"
#include "platform/SessionPort.h"
#include "support/RecordingSink.h"
#include "utilities/debuggingandexceptions/DebugConfigUpdater.h"
#include "utilities/debuggingandexceptions/DebugMessageManager.h"
#include "utilities/debuggingandexceptions/RaiseMacros.h"
#include "utilities/registry/RegistryKey.h"
#include "utilities/utilitiesdll/MemoryPool.h"

#ifdef _WIN32
#include <windows.h>
#endif

namespace {

using ::testing::HasSubstr;
using vlm::test::RecordingSink;

// ---- exceptions ----

/// A desktop that somebody sees; everything else is the system's.
class VisibleDesktop final : public vlm::SessionPort {
public:
    VisibleDesktop() : m_oPlatform(vlm::GetPlatform()), m_rBelow(*m_oPlatform.pSessions) {
        m_oPlatform.pSessions = this;
        m_pFormer = vlm::ExchangePlatform(&m_oPlatform);
    }
    ~VisibleDesktop() override { vlm::ExchangePlatform(m_pFormer); }
    int ShowBox(HWND, const XCHAR*, const XCHAR*, DWORD) noexcept override { return 0; }
    bool IsDesktopVisible() noexcept override { return true; }
    void Beep(DWORD) noexcept override {}
    vlm::Status EnumerateSessions(Session* pSessions, DWORD& rcSessions) noexcept override {
        return m_rBelow.EnumerateSessions(pSessions, rcSessions);
    }
    vlm::Status ShowBoxInSession(DWORD, const XCHAR*, const XCHAR*, DWORD, int&) noexcept override {
        return vlm::Status::NotSupported;
    }
    HWND FindWindowOfClass(const XCHAR*) noexcept override { return nullptr; }
    UINT RegisterMessage(const XCHAR*) noexcept override { return 0; }
    vlm::Status PostToWindow(HWND, UINT, WORD) noexcept override { return vlm::Status::NotSupported; }
    vlm::Status SendToWindow(HWND, UINT, WORD, DWORD) noexcept override { return vlm::Status::NotSupported; }
    WORD AddGlobalAtom(const XCHAR*) noexcept override { return 0; }
    void DeleteGlobalAtom(WORD) noexcept override {}

private:
    vlm::Platform m_oPlatform;
    vlm::SessionPort& m_rBelow;
    const vlm::Platform* m_pFormer = nullptr;
};

/// Throws inside the library, which finds no memory.
void ThrowInTheLibrary() {
    const auto pfnFormer = MemoryPool::ExchangeRawAllocator([](std::size_t) noexcept -> void* { return nullptr; });
    try {
        const CXString csLong(VTEXT('x'), 100000);
    } catch (...) {
        MemoryPool::ExchangeRawAllocator(pfnFormer);
        throw;
    }
    MemoryPool::ExchangeRawAllocator(pfnFormer);
}

void ThrowInTheProgram() {
    throw std::out_of_range("of the program");
}

template <class Raise>
void CatchAndShow(Raise&& raise) {
    try {
        raise();
    } catch (const std::exception& rException) {
        VelomException::DisplayExceptionMessage(false, false, &rException, CXString(VTEXT("Caller.cpp")), 1,
                                                CXString(VTEXT("Caller::Run")), nullptr, nullptr,
                                                CXString(VTEXT("Title")), CXString());
    }
}

TEST(DisplayExceptionMessage, ThrowsAgainInTheProgramWhatCameFromEitherSide) {
    const VisibleDesktop desktop;
    DebugMessageConfiguration& rSettings = GetDebugMessageManager().GetConfiguration();
    rSettings.SetMessagesEnabled(true);
    RecordingSink sink;
    sink.iAnswer = vlm::SessionPort::ANSWER_CANCEL;
    EXPECT_THROW(CatchAndShow(&ThrowInTheLibrary), ExceptionOutOfMemory);
    EXPECT_THROW(CatchAndShow(&ThrowInTheProgram), std::out_of_range);
    sink.iAnswer = vlm::SessionPort::ANSWER_OK;
    EXPECT_NO_THROW(CatchAndShow(&ThrowInTheLibrary));
    rSettings.SetMessagesEnabled(false);
    ASSERT_EQ(sink.Questions().size(), 3u);
    EXPECT_THAT(sink.Questions()[0], HasSubstr("There is not enough memory to finish the operation."));
}

// ---- settings ----

/// The machine's part of the registry, for this process alone.
class OwnMachineKey {
public:
#ifdef _WIN32
    OwnMachineKey() {
        RegCreateKeyExW(HKEY_CURRENT_USER, m_name.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &m_hKey, nullptr);
        RegOverridePredefKey(HKEY_LOCAL_MACHINE, m_hKey);
    }
    ~OwnMachineKey() {
        RegOverridePredefKey(HKEY_LOCAL_MACHINE, nullptr);
        RegCloseKey(m_hKey);
        RegDeleteTreeW(HKEY_CURRENT_USER, m_name.c_str());
    }

private:
    std::wstring m_name = L"Software\\q9test-" + std::to_wstring(GetCurrentProcessId());
    HKEY m_hKey = nullptr;
#else
    OwnMachineKey() = default;  // the store is the process's own
#endif
};

std::string ReadFile(const std::filesystem::path& rPath) {
    std::ifstream file(rPath, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// Waits for another thread; a test that waits in vain ends with its time-out.
template <class Condition>
void WaitUntil(Condition&& condition) {
    while (!condition())
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
}

TEST(DebugMessages, OfARunningProcessFollowTheSettingsInTheRegistry) {
    [[maybe_unused]] const OwnMachineKey key;
    DebugMessageManager& rManager = GetDebugMessageManager();
    const DWORD dwProcess = vlm::GetPlatform().pProcess->CurrentProcessId();
    const auto folder = std::filesystem::temp_directory_path() / ("q9-messages-" + std::to_string(dwProcess));
    std::filesystem::create_directory(folder);
    const auto nameOf = [&](const char* pszName) {
        return CXString(XStringView((folder / pszName).make_preferred().string<XCHAR>()));
    };
    rManager.StartConfigUpdater();
    const auto apoKey =
        RegistryKey::CreateRegistryKey(HKeyRegistry::Hkey_Machine_Velom, DEBUG_SETTINGS_KEY,
                                       RegistryKey::READ_WRITE_ACCESS, RegistryKey::DIRECT, RegistryKey::OWN_TREE);
    const auto change = [&](const CXString& kcsName) {
        apoKey->SetStringValue(VTEXT("LogFileName"), kcsName);
        EXPECT_EQ(DebugConfigUpdater::RequestRefresh(dwProcess), 1u);
        WaitUntil([&] { return rManager.GetConfiguration().GetLogFileName() == kcsName; });
    };
    apoKey->SetBooleanValue(VTEXT("MessagesEnabled"), true);
    apoKey->SetBooleanValue(VTEXT("UseLogFile"), true);
    apoKey->SetStringValue(VTEXT("ExcludedMsgCategories"), CXString(VTEXT("registry,flow")));
    change(nameOf("one.log"));
    VLM_REPORT(DebugCategory::Perf, VTEXT("first"));
    change(nameOf("two.log"));
    VLM_REPORT(DebugCategory::Perf, VTEXT("second"));
    EXPECT_THAT(ReadFile(folder / "one.log"), ::testing::EndsWith("> first\r\n"));
    EXPECT_THAT(ReadFile(folder / "two.log"), ::testing::EndsWith("> second\r\n"));
    EXPECT_THAT(ReadFile(folder / "two.log"), ::testing::Not(HasSubstr("first")));

    EXPECT_EQ(DebugConfigUpdater::RequestClearLog(dwProcess), 1u);
    WaitUntil([&] { return ReadFile(folder / "two.log").empty(); });
    VLM_REPORT(DebugCategory::Perf, VTEXT("third"));
    EXPECT_THAT(ReadFile(folder / "two.log"), ::testing::EndsWith("> third\r\n"));

    apoKey->SetBooleanValue(VTEXT("MessagesEnabled"), false);
    change(nameOf("three.log"));
    VLM_REPORT(DebugCategory::Perf, VTEXT("fourth"));
    EXPECT_FALSE(std::filesystem::exists(folder / "three.log"));
    rManager.StopConfigUpdater();
    rManager.CloseDebugMessageOutput();
    std::filesystem::remove_all(folder);
}

}  // namespace
