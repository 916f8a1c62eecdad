/// @file
/// Fuzz target: the settings of the debug messages, as anybody may have stored them.  Whatever stands in the registry,
/// the settings are read, a second read changes nothing, and the allowed categories are those of the two lists.
///
/// Input: records of a setting's number, a value type and a length, one byte each, and so many bytes of data.
#include <algorithm>
#include <span>

#include "RecordMutator.h"
#include "support/FakePlatform.h"
#include "utilities/debuggingandexceptions/DebugMessageCategoryHelper.h"
#include "utilities/debuggingandexceptions/DebugMessageConfiguration.h"

using vlm::test::Require;

namespace {

constexpr const XCHAR* KEY = VTEXT("HKEY_LOCAL_MACHINE\\Software\\Velom\\KestrixDebugConfig");

void Store(vlm::test::FakeRegistryPort& rRegistry, std::span<const std::uint8_t> input) {
    while (input.size() >= 3) {
        const DebugSetting& rSetting = DEBUG_SETTINGS[input[0] % DMS_COUNT];
        const auto data = input.subspan(3, std::min<std::size_t>(input[2], input.size() - 3));
        rRegistry.AddValue(KEY, rSetting.pszName, input[1] % 12, {data.begin(), data.end()});
        input = input.subspan(3 + data.size());
    }
}

/// The names that AddCategoryStringsToBuffer writes, as a list that can be parsed.
CXString NamesOf(DebugMessageCategories categories) {
    XCHAR achNames[1024] = {};
    DebugMessageCategoryHelper::AddCategoryStringsToBuffer(categories, achNames, std::size(achNames));
    CXString csNames(achNames);
    csNames.Remove(VTEXT('['));
    csNames.Remove(VTEXT(']'));
    csNames.Replace(VTEXT(' '), VTEXT(','));
    return csNames;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pby, std::size_t cBytes) {
    vlm::test::FakePlatform oFake;
    const vlm::PlatformScope oScope(oFake.Get());
    oFake.registry.AddKey(KEY);
    Store(oFake.registry, {pby, cBytes});

    DebugMessageConfiguration oConfiguration(DEBUG_SETTINGS_KEY);
    const DebugMessageCategories allowed = oConfiguration.GetAllowedMessageCategories();
    const auto parse = &DebugMessageConfiguration::ParseCategoryString;
    Require(allowed ==
            (parse(oConfiguration.GetIncludedMsgCategories()) & ~parse(oConfiguration.GetExcludedMsgCategories())));
    Require(parse(NamesOf(allowed)) == allowed);

    Require(oConfiguration.GetLatestConfigurationInformation(true));
    DebugMessageConfiguration oAgain(DEBUG_SETTINGS_KEY);
    for (std::size_t i = 0; i < DMS_COUNT; ++i) {
        const auto eSetting = static_cast<DebugSettingId>(i);
        const bool fSession = i <= DMS_PerfAccountedForTime64;
        Require(fSession || oAgain.GetSettingNumber(eSetting) == oConfiguration.GetSettingNumber(eSetting));
        Require(oAgain.GetSettingText(eSetting) == oConfiguration.GetSettingText(eSetting));
    }
    return 0;
}
