/// @file
/// What the contract suites share: the adapters that they run against.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "platform/ClockPort.h"
#include "platform/FilePort.h"
#include "platform/Platform.h"
#include "platform/ProcessPort.h"
#include "platform/RegistryPort.h"
#include "support/Bytes.h"
#include "support/FakePlatform.h"

namespace vlm {

/// Statuses print as their numbers.
inline void PrintTo(Status eStatus, std::ostream* pStream) {
    *pStream << "status " << ToDword(eStatus);
}

}  // namespace vlm

namespace vlm::test {

enum class Adapter { System, Fake };

/// One suite per port, run against the system's adapter and the fake.  What is not pinned here may not be relied upon.
class PortContract : public testing::TestWithParam<Adapter> {
protected:
    void SetUp() override {
        m_oFake.files.SetMisuseFailsTest(false);
        m_oFake.registry.SetMisuseFailsTest(false);
        m_oFake.events.SetMisuseFailsTest(false);
        m_oFake.identity.SetMisuseFailsTest(false);
    }

    bool IsFake() const { return GetParam() == Adapter::Fake; }
    /// Wine differs from Windows in places; each suite names its own.  Files: as the superuser it opens read-only ones
    /// for writing, and a file deleted by handle goes by the name that it was opened with.
    bool IsWine() const {
        if (IsFake()) return false;
        HKEY hKey = nullptr;
        RegistryPort& rRegistry = *GetSystemPlatform().pRegistry;
        const HKEY hRoot = rRegistry.RootKey(RegistryPort::Root::CurrentUser);
        if (rRegistry.Open(hRoot, VTEXT("Software\\Wine"), RegistryPort::RIGHTS_READ, hKey) != Status::Success)
            return false;
        rRegistry.Close(hKey);
        return true;
    }
    const Platform& Ports() const { return IsFake() ? m_oFake.Get() : GetSystemPlatform(); }

    /// A number that no other run uses at the same time.
    static XString UniqueName() {
        const Platform& rSystem = GetSystemPlatform();
        return Wide("q9-contract-" + std::to_string(rSystem.pProcess->CurrentProcessId()) + "-" +
                    std::to_string(rSystem.pClock->PerformanceCounter()));
    }

    /// The text that a call fills in: whole with its end, or not at all.
    template <class Fill>
    static XString Whole(Fill fnFill) {
        std::vector<XCHAR> vText(32768, VTEXT('#'));
        const std::size_t cUnits = fnFill(vText.data(), vText.size());
        EXPECT_GT(cUnits, 0u);
        EXPECT_EQ(vText[cUnits], 0);
        EXPECT_EQ(fnFill(vText.data(), cUnits), 0u);
        EXPECT_EQ(fnFill(vText.data(), cUnits + 1), cUnits);
        EXPECT_EQ(fnFill(nullptr, 0), 0u);
        return XString(vText.data());
    }

    FakePlatform m_oFake;
};

#define Q9_CONTRACT_SUITE(Suite)                                                               \
    INSTANTIATE_TEST_SUITE_P(Adapters, Suite, testing::Values(Adapter::System, Adapter::Fake), \
                             [](const testing::TestParamInfo<Adapter>& rInfo) {                \
                                 return rInfo.param == Adapter::System ? "System" : "Fake";    \
                             })

}  // namespace vlm::test
