/// @file
/// The key of the debug settings in a registry in memory.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/Bytes.h"
#include "support/FakePlatform.h"
#include "support/Narrow.h"
#include "utilities/debuggingandexceptions/DebugClock.h"
#include "utilities/debuggingandexceptions/DebugMessageConfiguration.h"

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

}  // namespace vlm::test
