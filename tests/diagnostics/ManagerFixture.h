/// @file
/// A debug message manager of its own on a platform in memory.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "support/FakePlatform.h"
#include "support/Narrow.h"
#include "utilities/debuggingandexceptions/DebugClock.h"
#include "utilities/debuggingandexceptions/DebugMessageManager.h"
#include "utilities/debuggingandexceptions/RaiseMacros.h"

namespace vlm::test {

/// The manager is made by `Make`, after the test has prepared the platform; its settings key is missing, so everything
/// has its default until a setter is called.
class ManagerTest : public ::testing::Test {
protected:
    static constexpr const XCHAR* LOG = VTEXT("C:\\logs\\debug.log");

    ManagerTest() : m_oScope(m_oFake.Get()) {
        DebugClock::ChooseAnew();
        m_oFake.files.AddFolder(VTEXT("C:\\logs"));
    }
    ~ManagerTest() override {
        m_oManager.reset();
        DebugClock::ChooseAnew();
    }

    DebugMessageManager& Make() { return m_oManager.emplace(CXString(VTEXT("TestDebugConfig"))); }
    DebugMessageConfiguration& Settings() { return m_oManager->GetConfiguration(); }
    /// Messages on, to the debugger output.
    DebugMessageManager& MakeListening() {
        Make();
        Settings().SetMessagesEnabled(true);
        Settings().SetUseOutputDebugString(true);
        return *m_oManager;
    }
    void UseLogFile() {
        Settings().SetLogFileName(CXString(LOG));
        Settings().SetUseLogFile(true);
    }

    std::vector<std::string> DebuggerLines() const {
        std::vector<std::string> vLines;
        for (const XString& rLine : m_oFake.desktop.DebuggerLines())
            vLines.push_back(Narrow(rLine));
        return vLines;
    }
    std::vector<std::string> BoxTexts() const {
        std::vector<std::string> vTexts;
        for (const FakeSessionPort::Box& rBox : m_oFake.sessions.Boxes())
            vTexts.push_back(Narrow(rBox.text));
        return vTexts;
    }
    std::string Log(XStringView svPath = LOG) const {
        const std::optional<std::vector<BYTE>> oBytes = m_oFake.files.Contents(svPath);
        return oBytes ? std::string(oBytes->begin(), oBytes->end()) : "(no file)";
    }

    FakePlatform m_oFake;
    const PlatformScope m_oScope;
    std::optional<DebugMessageManager> m_oManager;
};

}  // namespace vlm::test
