/// @file
/// Debug messages of the loaded library: settings picked up while the process runs.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>

#include "dll/OwnMachineKey.h"
#include "platform/Platform.h"
#include "platform/ProcessPort.h"
#include "utilities/debuggingandexceptions/DebugConfigUpdater.h"
#include "utilities/debuggingandexceptions/DebugMessageManager.h"
#include "utilities/debuggingandexceptions/RaiseMacros.h"
#include "utilities/registry/RegistryKey.h"

namespace {

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
    [[maybe_unused]] const dlltest::OwnMachineKey key;
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
    EXPECT_THAT(ReadFile(folder / "two.log"), ::testing::Not(::testing::HasSubstr("first")));

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
