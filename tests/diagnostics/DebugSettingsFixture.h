/// @file
/// The key of the debug settings in a registry in memory, and a debug message manager of its own.
#pragma once

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "support/Bytes.h"
#include "support/FakePlatform.h"
#include "support/Narrow.h"
#include "utilities/debuggingandexceptions/DebugClock.h"
#include "utilities/debuggingandexceptions/DebugMessageManager.h"

namespace vlm::test {

inline constexpr const XCHAR* DEBUG_KEY = VTEXT("HKEY_LOCAL_MACHINE\\Software\\Velom\\KestrixDebugConfig");

/// A whole platform in memory; the key is there and empty unless a test takes it away.
class DebugSettingsFixture : public ::testing::Test {
protected:
    DebugSettingsFixture() {
        oFake.registry.AddKey(DEBUG_KEY);
        DebugClock::ChooseAnew();
    }
    ~DebugSettingsFixture() override { DebugClock::ChooseAnew(); }

    void PutSwitch(const XCHAR* pszName, BYTE by) {
        oFake.registry.AddValue(DEBUG_KEY, pszName, RegistryPort::TYPE_BINARY, {by});
    }
    void PutNumber(const XCHAR* pszName, DWORD dwValue) { oFake.registry.AddDword(DEBUG_KEY, pszName, dwValue); }
    void PutNumber64(const XCHAR* pszName, LONGLONG llValue) {
        std::vector<BYTE> vby(8);
        for (int i = 0; i < 8; ++i)
            vby[static_cast<std::size_t>(i)] = static_cast<BYTE>(static_cast<ULONGLONG>(llValue) >> (8 * i));
        oFake.registry.AddValue(DEBUG_KEY, pszName, RegistryPort::TYPE_QWORD, vby);
    }
    void PutText(const XCHAR* pszName, XStringView text) { oFake.registry.AddText(DEBUG_KEY, pszName, text); }

    /// "3:00" (type and bytes), "absent" when there is no such value.
    std::string Stored(const XCHAR* pszName) const {
        const auto oValue = oFake.registry.ValueAt(DEBUG_KEY, pszName);
        return oValue ? std::to_string(oValue->dwType) + ":" + ToHex(oValue->vbyData) : "absent";
    }
    LONGLONG StoredNumber64(const XCHAR* pszName) const {
        const auto oValue = oFake.registry.ValueAt(DEBUG_KEY, pszName);
        ULONGLONG ull = 0;
        for (std::size_t i = 8; oValue && oValue->vbyData.size() == 8 && i > 0; --i)
            ull = ull << 8 | oValue->vbyData[i - 1];
        return static_cast<LONGLONG>(ull);
    }

    FakePlatform oFake;
    PlatformScope oScope{oFake.Get()};
};

/// The manager is made by `Make`, after the test has prepared the platform; its settings key is missing, so everything
/// has its default until a setter is called.
class ManagerTest : public DebugSettingsFixture {
protected:
    static constexpr const XCHAR* LOG = VTEXT("C:\\logs\\debug.log");

    ManagerTest() { oFake.files.AddFolder(VTEXT("C:\\logs")); }

    DebugMessageManager& Make() { return m_oManager.emplace(CXString(VTEXT("TestDebugConfig"))); }
    DebugMessageConfiguration& Settings() { return m_oManager->GetConfiguration(); }
    /// Messages on, to the debugger output.
    DebugMessageManager& MakeListening() {
        Make();
        Settings().SetMessagesEnabled(true);
        Settings().SetUseOutputDebugString(true);
        return *m_oManager;
    }
    void UseLogFile(const XCHAR* pszPath = LOG) {
        Settings().SetLogFileName(CXString(pszPath));
        Settings().SetUseLogFile(true);
    }

    std::vector<std::string> DebuggerLines() const {
        std::vector<std::string> vLines;
        for (const XString& rLine : oFake.desktop.DebuggerLines())
            vLines.push_back(Narrow(rLine));
        return vLines;
    }
    std::string Log(XStringView svPath = LOG) const {
        const std::optional<std::vector<BYTE>> oBytes = oFake.files.Contents(svPath);
        return oBytes ? std::string(oBytes->begin(), oBytes->end()) : "(no file)";
    }

    std::optional<DebugMessageManager> m_oManager;
};

}  // namespace vlm::test
