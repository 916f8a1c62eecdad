// debug show, set, categories, reload: the settings of the debug messages.
#include <algorithm>
#include <charconv>
#include <optional>

#include "CommandLine.h"
#include "Commands.h"
#include "Failure.h"
#include "Output.h"
#include "utilities/debuggingandexceptions/DebugConfigUpdater.h"
#include "utilities/debuggingandexceptions/DebugMessageCategoryHelper.h"
#include "utilities/debuggingandexceptions/DebugMessageConfiguration.h"
#include "utilities/registry/RegistryKey.h"
#include "utilities/utilitiesdll/VelomUtilities_Text.h"

namespace vlm::tool {

namespace {

/// A setting as it stands in the registry, or its default.
struct Value {
    bool fStored = false;
    LONGLONG llNumber = 0;
    CXString csText;
};

struct Options {
    std::string strName;
    std::string strValue;
    std::optional<std::int64_t> ollProcess;
};

const char* NameOf(DebugSettingKind eKind) {
    switch (eKind) {
        case DebugSettingKind::Switch:
            return "switch";
        case DebugSettingKind::Number:
            return "number";
        case DebugSettingKind::Number64:
            return "number64";
        default:
            return "text";
    }
}

const DebugSetting& FindSetting(const std::string& strName) {
    const CXString csName(XStringView(FromUtf8(strName, "NAME")));
    const auto it = std::find_if(DEBUG_SETTINGS.begin(), DEBUG_SETTINGS.end(), [&](const DebugSetting& rSetting) {
        return csName.CompareNoCase(rSetting.pszName) == 0;
    });
    if (it == DEBUG_SETTINGS.end()) RefuseInput(Printable(strName) + ": no such setting; debug show lists them");
    return *it;
}

// ---- show ----

/// @param pKey null when there is none.
Value Read(RegistryKey* pKey, const DebugSetting& rSetting) {
    Value value{pKey && pKey->DoesValueExist(rSetting.pszName), static_cast<LONGLONG>(rSetting.ullDefault),
                CXString(rSetting.pszDefault)};
    if (!value.fStored) return value;
    switch (rSetting.eKind) {
        case DebugSettingKind::Switch:
            value.llNumber = pKey->GetBooleanValue(rSetting.pszName, value.llNumber != 0) ? 1 : 0;
            break;
        case DebugSettingKind::Number:
            value.llNumber =
                static_cast<DWORD>(pKey->GetLongValue(rSetting.pszName, static_cast<LONG>(value.llNumber)));
            break;
        case DebugSettingKind::Number64:
            value.llNumber = pKey->GetLong64Value(rSetting.pszName, value.llNumber);
            break;
        case DebugSettingKind::Text:
            value.csText = pKey->GetStringValue(rSetting.pszName, value.csText);
            break;
    }
    return value;
}

std::string ForPeople(const DebugSetting& rSetting, const Value& rValue) {
    if (rSetting.eKind == DebugSettingKind::Text) return Printable(rValue.csText.View());
    if (rSetting.eKind == DebugSettingKind::Switch) return rValue.llNumber != 0 ? "on" : "off";
    return std::to_string(rValue.llNumber);
}

Json AsJson(const DebugSetting& rSetting, const Value& rValue) {
    if (rSetting.eKind == DebugSettingKind::Text) return JsonString(rValue.csText.View());
    if (rSetting.eKind == DebugSettingKind::Switch) return rValue.llNumber != 0;
    return rValue.llNumber;
}

int Show(const Options& rOptions, Output& rOutput) {
    const DebugSetting* const pWanted = rOptions.strName.empty() ? nullptr : &FindSetting(rOptions.strName);
    const auto apoKey = RegistryKey::TryOpenRegistryKey(HKeyRegistry::Hkey_Machine_Velom, DEBUG_SETTINGS_KEY,
                                                        RegistryKey::READ_ACCESS, RegistryKey::DIRECT);
    std::vector<std::vector<std::string>> vRows;
    Json oSettings = Json::array();
    for (const DebugSetting& rSetting : DEBUG_SETTINGS) {
        if (pWanted && pWanted != &rSetting) continue;
        const Value value = Read(apoKey.get(), rSetting);
        const std::string strName = Printable(rSetting.pszName);
        vRows.push_back(
            {strName, NameOf(rSetting.eKind), value.fStored ? "stored" : "default", ForPeople(rSetting, value)});
        oSettings.push_back({{"name", strName},
                             {"kind", NameOf(rSetting.eKind)},
                             {"stored", value.fStored},
                             {"value", AsJson(rSetting, value)}});
    }
    if (pWanted)
        rOutput.Line(vRows.at(0).back());
    else
        rOutput.Table(vRows, 0, {Style::Name});
    if (!apoKey) rOutput.Remark("The key of the settings is not there, or may not be read: these are the defaults.");
    rOutput.Document({{"key", JsonString(DEBUG_SETTINGS_PATH)},
                      {"keyExists", apoKey != nullptr},
                      {"settings", std::move(oSettings)}});
    return EXIT_DONE;
}

// ---- set ----

bool ParseSwitch(const std::string& strValue) {
    for (const char* pszOn : {"on", "true", "yes", "1"})
        if (strValue == pszOn) return true;
    for (const char* pszOff : {"off", "false", "no", "0"})
        if (strValue == pszOff) return false;
    RefuseInput("VALUE: " + Printable(strValue) + ": a switch is on or off");
}

/// @param llLeast, llMost what the setting can hold.
LONGLONG ParseNumber(const std::string& strValue, LONGLONG llLeast, LONGLONG llMost) {
    const bool fHex = strValue.starts_with("0x") || strValue.starts_with("0X");
    const char* const pszFirst = strValue.data() + (fHex ? 2 : 0);
    const char* const pszEnd = strValue.data() + strValue.size();
    LONGLONG llValue = 0;
    const auto [pszLast, eError] = std::from_chars(pszFirst, pszEnd, llValue, fHex ? 16 : 10);
    const bool fWhole = eError == std::errc() && pszLast == pszEnd && !(fHex && pszFirst != pszEnd && *pszFirst == '-');
    if (!fWhole || llValue < llLeast || llValue > llMost) {
        RefuseInput("VALUE: " + Printable(strValue) + ": not an integer from " + std::to_string(llLeast) + " to " +
                    std::to_string(llMost));
    }
    return llValue;
}

/// A list of categories may only name those that there are.
void CheckCategories(const CXString& kcsList) {
    for (CXString& rcsName : VelomUtilities::parseCharacterSeparatedStrings(kcsList, VTEXT(','))) {
        rcsName.TrimLeft().TrimRight();
        if (!rcsName.IsEmpty() && DebugMessageCategoryHelper::GetCategoryFromString(rcsName) == 0) {
            RefuseInput("VALUE: " + Printable(rcsName.View()) + ": no such category; debug categories lists them");
        }
    }
}

/// The writing of a setting, with the value checked already.
std::function<void(RegistryKey&)> PrepareWrite(const DebugSetting& rSetting, const std::string& strValue) {
    const XCHAR* const pszName = rSetting.pszName;
    switch (rSetting.eKind) {
        case DebugSettingKind::Switch:
            return [=, fValue = ParseSwitch(strValue)](RegistryKey& rKey) { rKey.SetBooleanValue(pszName, fValue); };
        case DebugSettingKind::Number:
            return [=, llValue = ParseNumber(strValue, 0, 0xFFFFFFFF)](RegistryKey& rKey) {
                rKey.SetLongValue(pszName, static_cast<LONG>(llValue));
            };
        case DebugSettingKind::Number64:
            return [=, llValue = ParseNumber(strValue, INT64_MIN, INT64_MAX)](RegistryKey& rKey) {
                rKey.SetLong64Value(pszName, llValue);
            };
        default:
            break;
    }
    const CXString csValue(XStringView(FromUtf8(strValue, "VALUE")));
    const bool fList = pszName == DEBUG_SETTINGS[DMS_IncludedMsgCategories].pszName ||
                       pszName == DEBUG_SETTINGS[DMS_ExcludedMsgCategories].pszName;
    if (fList) CheckCategories(csValue);
    if (csValue.Find(XCHAR()) >= 0) RefuseInput("VALUE: a text cannot hold a zero character");
    return [=](RegistryKey& rKey) { rKey.SetStringValue(pszName, csValue); };
}

std::string Processes(std::size_t cProcesses) {
    return std::to_string(cProcesses) + (cProcesses == 1 ? " process" : " processes");
}

int Set(const Options& rOptions, Output& rOutput) {
    const DebugSetting& rSetting = FindSetting(rOptions.strName);
    const auto write = PrepareWrite(rSetting, rOptions.strValue);
    const auto apoKey =
        RegistryKey::CreateRegistryKey(HKeyRegistry::Hkey_Machine_Velom, DEBUG_SETTINGS_KEY,
                                       RegistryKey::READ_WRITE_ACCESS, RegistryKey::DIRECT, RegistryKey::OWN_TREE);
    write(*apoKey);
    const DebugMessageConfiguration oSeed(DEBUG_SETTINGS_KEY);  // writes what is missing beside it
    const std::size_t cReached = DebugConfigUpdater::RequestRefresh();
    const Value value = Read(apoKey.get(), rSetting);
    rOutput.Line(Printable(rSetting.pszName) + ": " + ForPeople(rSetting, value) + " (" + Processes(cReached) +
                 " told to read it)");
    rOutput.Document(
        {{"name", Printable(rSetting.pszName)}, {"value", AsJson(rSetting, value)}, {"processesTold", cReached}});
    return EXIT_DONE;
}

// ---- categories, reload ----

int Categories(Output& rOutput) {
    std::vector<std::vector<std::string>> vRows;
    Json oCategories = Json::array();
    for (int iBit = 0; iBit < 64; ++iBit) {
        const DebugMessageCategories category = 1ULL << iBit;
        const std::string strName = Printable(DebugMessageCategoryHelper::GetCategoryString(category).View());
        vRows.push_back({strName, "0x" + Hex(category, 1)});
        oCategories.push_back({{"name", strName}, {"mask", "0x" + Hex(category, 16)}});
    }
    rOutput.Table(vRows, 0, {Style::Name});
    rOutput.Document({{"categories", std::move(oCategories)}});
    return EXIT_DONE;
}

int Reload(const Options& rOptions, Output& rOutput) {
    const std::size_t cReached =
        DebugConfigUpdater::RequestRefresh(static_cast<DWORD>(rOptions.ollProcess.value_or(0)));
    rOutput.Line(Processes(cReached) + " told to read the settings");
    rOutput.Document({{"processesTold", cReached}});
    return cReached != 0 ? EXIT_DONE : EXIT_ANSWER_NO;
}

}  // namespace

void AddDebug(CommandLine& rLine) {
    rLine.Noun("debug", "The library's debug messages");
    const auto shpoOptions = std::make_shared<Options>();
    rLine.Add("debug", "show", "Print the settings of the debug messages")
        .OptionalArgument("NAME", shpoOptions->strName, "One setting alone")
        .Run([shpoOptions](Output& rOutput) { return Show(*shpoOptions, rOutput); });
    rLine.Add("debug", "set", "Store a setting, and have running processes read it")
        .Argument("NAME", shpoOptions->strName, "A setting that debug show lists")
        .Argument("VALUE", shpoOptions->strValue, "on or off, an integer, or a text")
        .Run([shpoOptions](Output& rOutput) { return Set(*shpoOptions, rOutput); });
    rLine.Add("debug", "categories", "Print the categories of messages with their masks").Run([](Output& rOutput) {
        return Categories(rOutput);
    });
    rLine.Add("debug", "reload", "Have running processes read their settings anew")
        .Number("--process", shpoOptions->ollProcess, 1, 0xFFFFFFFF, "The process of that id alone")
        .Run([shpoOptions](Output& rOutput) { return Reload(*shpoOptions, rOutput); });
}

}  // namespace vlm::tool
