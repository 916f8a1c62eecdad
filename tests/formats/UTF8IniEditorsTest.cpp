/// @file
/// Two editors of one INI file, on a real disk.
#include <gtest/gtest.h>

#include <array>
#include <filesystem>
#include <string>
#include <thread>

#include "environment/UTF8Ini.h"
#include "platform/ClockPort.h"
#include "platform/Platform.h"
#include "platform/ProcessPort.h"

namespace {

using namespace vlm;

TEST(UTF8IniOnDisk, OfTwoEditorsOneHasToWait) {
    const Platform& rSystem = GetSystemPlatform();
    const auto oPath =
        std::filesystem::temp_directory_path() / ("q9-ini-" + std::to_string(rSystem.pProcess->CurrentProcessId()) +
                                                  "-" + std::to_string(rSystem.pClock->PerformanceCounter()));
    const std::basic_string<XCHAR> path = oPath.string<XCHAR>() + VTEXT(" Gr\u00FCn \u20AC.ini");
    constexpr int EDITS = 150;
    std::array<std::array<bool, EDITS>, 2> aafDone{};
    const auto edit = [&](std::size_t iEditor) {
        UTF8Ini oIni;
        for (int i = 0; i < EDITS; ++i) {
            const std::string key = std::to_string(iEditor) + "-" + std::to_string(i);
            aafDone[iEditor][static_cast<std::size_t>(i)] =
                oIni.CustomWritePrivateProfileStringA("S", key.c_str(), "value", path.c_str()) == 1;
        }
    };
    std::thread oOther(edit, 1);
    edit(0);
    oOther.join();
    UTF8Ini oIni;
    char szValue[10];
    for (std::size_t i = 0; i < 2 * EDITS; ++i) {
        const std::string key = std::to_string(i / EDITS) + "-" + std::to_string(i % EDITS);
        const DWORD dwCopied =
            oIni.CustomGetPrivateProfileStringA("S", key.c_str(), "", szValue, sizeof(szValue), path.c_str());
        EXPECT_EQ(dwCopied, aafDone[i / EDITS][i % EDITS] ? 5u : 0u) << key;
    }
    EXPECT_LT(std::filesystem::file_size(path), 2 * EDITS * 20u);
    std::filesystem::remove(path);
}

}  // namespace
