/// @file
/// A registry key's tests, on the registry in memory and on the system's own.
#pragma once

#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "platform/ClockPort.h"
#include "platform/Platform.h"
#include "platform/ProcessPort.h"
#include "support/Bytes.h"
#include "support/FakePlatform.h"
#include "support/RecordingSink.h"
#include "utilities/debuggingandexceptions/VelomExceptions.h"
#include "utilities/registry/RegistryKey.h"

namespace vlm::test {

enum class RegistryKind { Fake, System };

/// A key of its own for each test, below the current user's.
class RegistryKeyFixture : public testing::TestWithParam<RegistryKind> {
protected:
    RegistryKeyFixture() {
        if (GetParam() == RegistryKind::Fake) m_oScope.emplace(m_oFake.Get());
        const Platform& rSystem = GetSystemPlatform();
        m_csPath = CXString::FormatString(VTEXT("Software\\q9-registry-%u-%lld"), rSystem.pProcess->CurrentProcessId(),
                                          rSystem.pClock->PerformanceCounter());
        m_oKey.CreateRegistryKey(m_csPath, RegistryKey::FULL_ACCESS);
    }
    ~RegistryKeyFixture() override {
        RegistryKey oParent(HIVE, VTEXT("Software"), RegistryKey::DIRECT, RegistryKey::OWN_TREE);
        oParent.OpenRegistryKey(RegistryKey::FULL_ACCESS);
        EXPECT_TRUE(oParent.DeleteKeyAndSubkeys(m_csPath.Mid(9)));
    }

    std::unique_ptr<RegistryKey> Open(DWORD dwAccess) const {
        return RegistryKey::TryOpenRegistryKey(HIVE, m_csPath, dwAccess);
    }
    std::string Hex(const XCHAR* pszName) {
        ByteBuffer bbData;
        return m_oKey.GetValue(pszName, bbData) ? ToHex(bbData.data(), bbData.size()) : "absent";
    }
    void Put(const XCHAR* pszName, DWORD dwType, std::string_view svHex) {
        const std::vector<BYTE> vbyData = FromHex(svHex);
        ByteBuffer bbData;
        bbData.appendLpbyte(vbyData.data(), vbyData.size());
        m_oKey.SetValue(pszName, dwType, bbData);
    }

    static constexpr _HKEYREGISTRY_ HIVE = HKeyRegistry::Hkey_Current_User;
    FakePlatform m_oFake;
    std::optional<PlatformScope> m_oScope;
    CXString m_csPath;
    RegistryKey m_oKey{HIVE, RegistryKey::AS_NEEDED, RegistryKey::OWN_TREE};
};

#define Q9_REGISTRY_SUITE(Suite)                                                                           \
    INSTANTIATE_TEST_SUITE_P(Registries, Suite, testing::Values(RegistryKind::Fake, RegistryKind::System), \
                             [](const testing::TestParamInfo<RegistryKind>& rInfo) {                       \
                                 return rInfo.param == RegistryKind::System ? "System" : "Fake";           \
                             })

}  // namespace vlm::test
