// reg hives, get, set, delete and list: keys and values by logical hive.
#include <algorithm>

#include "CommandLine.h"
#include "Commands.h"
#include "Failure.h"
#include "Output.h"
#include "RegPlace.h"
#include "RegValue.h"
#include "utilities/registry/RegistryHives.h"

namespace vlm::tool {

namespace {

struct Options {
    RegPlace oPlace;
    std::string strName;
    std::string strValue;
    bool bTree = false;
    bool bKey = false;
};

CXString NameOf(const Options& rOptions) {
    return CXString(XStringView(FromUtf8(rOptions.strName, "value name")));
}

std::string PrintableName(XStringView strName) {
    return strName.empty() ? "(default)" : Printable(strName);
}

Json ValueDocument(XStringView strName, const RegValue& rValue) {
    return {{"name", JsonString(strName)},
            {"type", RegTypeName(rValue.dwType)},
            {"value", RegValueJson(rValue)},
            {"bytes", ToUtf8(rValue.bbData.getAsHexBinaryString().View())}};
}

/// Reads a value.  @return false when it is absent.
bool Read(RegistryKey& rKey, const CXString& kcsName, RegValue& rValue) {
    if (rKey.GetValue(kcsName, rValue.bbData, &rValue.dwType)) return true;
    if (rKey.GetLastStatus() == ToDword(Status::FileNotFound)) return false;
    RefuseRegistry("cannot read the value " + PrintableName(kcsName.View()), rKey.GetLastStatus());
}

int Hives(Output& rOutput) {
    std::vector<std::vector<std::string>> vRows = {{"hive", "name", "root", "base path"}};
    Json oHives = Json::array();
    for (int i = HKeyRegistry::Hkey_First; i <= HKeyRegistry::Hkey_Last; ++i) {
        const auto eHive = static_cast<_HKEYREGISTRY_>(i);
        const std::string strName = ToUtf8(RegistryHives::GetName(eHive));
        const std::string strRoot = ToUtf8(RegistryHives::GetRootName(eHive, RegistryKey::OWN_TREE));
        const std::string strBase = ToUtf8(RegistryHives::GetBasePath(eHive).View());
        vRows.push_back({std::to_string(i), strName, strRoot.empty() ? "-" : strRoot, strBase.empty() ? "-" : strBase});
        oHives.push_back({{"hive", i}, {"name", strName}, {"root", strRoot}, {"basePath", strBase}});
    }
    rOutput.Table(vRows, 0, {Style::Plain, Style::Name});
    rOutput.Document({{"hives", std::move(oHives)}});
    return EXIT_DONE;
}

int Get(const Options& rOptions, Output& rOutput) {
    RegistryKey oKey = rOptions.oPlace.Key();
    RegValue oValue;
    const CXString csName = NameOf(rOptions);
    Json oDocument = rOptions.oPlace.Document();
    if (!RegPlace::Open(oKey, RegistryKey::READ_ACCESS) || !Read(oKey, csName, oValue)) {
        rOutput.Remark("there is no such value");
        oDocument["exists"] = false;
        rOutput.Document(std::move(oDocument));
        return EXIT_ANSWER_NO;
    }
    oDocument["exists"] = true;
    oDocument["forwarded"] = oKey.IsForwarded();
    oDocument.update(ValueDocument(csName.View(), oValue));
    rOutput.Line(RegValueText(oValue));
    rOutput.Document(std::move(oDocument));
    return EXIT_DONE;
}

int Set(const Options& rOptions, Output& rOutput) {
    const RegValue oValue = ParseRegValue(rOptions.strValue);
    const CXString csName = NameOf(rOptions);
    RegistryKey oKey = rOptions.oPlace.Key();
    oKey.CreateRegistryKey(rOptions.oPlace.Path(), RegistryKey::WRITE_ACCESS);
    oKey.SetValue(csName, oValue.dwType, oValue.bbData);
    Json oDocument = rOptions.oPlace.Document();
    oDocument["keyCreated"] = oKey.IsCreated();
    oDocument["forwarded"] = oKey.IsForwarded();
    oDocument.update(ValueDocument(csName.View(), oValue));
    rOutput.Line(PrintableName(csName.View()) + " = " + RegValueText(oValue));
    rOutput.Document(std::move(oDocument));
    return EXIT_DONE;
}

/// @return whether it was there and is gone.
bool DeleteValue(const Options& rOptions) {
    RegistryKey oKey = rOptions.oPlace.Key();
    if (!RegPlace::Open(oKey, RegistryKey::WRITE_ACCESS)) return false;
    if (oKey.DeleteValue(NameOf(rOptions))) return true;
    if (oKey.GetLastStatus() == ToDword(Status::FileNotFound)) return false;
    RefuseRegistry("cannot delete the value " + PrintableName(NameOf(rOptions).View()), oKey.GetLastStatus());
}

bool DeleteKey(const Options& rOptions) {
    const CXString csPath = rOptions.oPlace.Path();
    const int iCut = csPath.ReverseFind(VTEXT('\\'));
    const CXString csName = csPath.Mid(iCut + 1);
    if (csName.IsEmpty()) throw UsageError("PATH: names no key that could be deleted");
    RegistryKey oParent(rOptions.oPlace.Hive(), csPath.Left(std::max(iCut, 0)), rOptions.oPlace.bDirect,
                        rOptions.oPlace.bUsersTree);
    if (!RegPlace::Open(oParent, RegistryKey::READ_WRITE_ACCESS)) return false;
    if (rOptions.bTree ? oParent.DeleteKeyAndSubkeys(csName) : oParent.DeleteKey(csName)) return true;
    if (oParent.GetLastStatus() == ToDword(Status::FileNotFound)) return false;
    RefuseRegistry("cannot delete the key " + Printable(csName.View()), oParent.GetLastStatus());
}

int Delete(const Options& rOptions, Output& rOutput) {
    const bool fKey = rOptions.bKey || rOptions.bTree;
    if (fKey && !rOptions.strName.empty()) throw UsageError("NAME: a value and a key cannot be deleted at once");
    const bool fDeleted = fKey ? DeleteKey(rOptions) : DeleteValue(rOptions);
    Json oDocument = rOptions.oPlace.Document();
    oDocument["deleted"] = fDeleted;
    if (fDeleted)
        rOutput.Line("deleted");
    else
        rOutput.Remark(fKey ? "there is no such key" : "there is no such value");
    rOutput.Document(std::move(oDocument));
    return fDeleted ? EXIT_DONE : EXIT_ANSWER_NO;
}

int List(const Options& rOptions, Output& rOutput) {
    RegistryKey oKey = rOptions.oPlace.Key();
    RegPlace::Require(oKey, RegistryKey::READ_ACCESS);
    std::vector<CXString> vcsKeys, vcsValues;
    if (!oKey.EnumKeyNamesAndValueNames(&vcsKeys, &vcsValues)) RefuseRegistry("cannot list", oKey.GetLastStatus());
    std::vector<std::vector<std::string>> vRows;
    Json oDocument = rOptions.oPlace.Document(), oKeys = Json::array(), oValues = Json::array();
    for (const CXString& rcsKey : vcsKeys) {
        vRows.push_back({Printable(rcsKey.View()) + "\\"});
        oKeys.push_back(JsonString(rcsKey.View()));
    }
    for (const CXString& rcsValue : vcsValues) {
        RegValue oValue;
        if (!Read(oKey, rcsValue, oValue)) continue;  // gone meanwhile
        vRows.push_back({PrintableName(rcsValue.View()), RegTypeName(oValue.dwType), RegValueInList(oValue)});
        oValues.push_back(ValueDocument(rcsValue.View(), oValue));
    }
    oDocument["forwarded"] = oKey.IsForwarded();
    oDocument["keys"] = std::move(oKeys);
    oDocument["values"] = std::move(oValues);
    rOutput.Table(vRows, 0, {Style::Name});
    rOutput.Document(std::move(oDocument));
    return EXIT_DONE;
}

}  // namespace

void AddReg(CommandLine& rLine) {
    rLine.Noun("reg", "Registry keys by logical hive");
    rLine.Add("reg", "hives", "Print the logical hives").Run(Hives);
    const auto shpoGet = std::make_shared<Options>();
    Command oGet = rLine.Add("reg", "get", "Print a value");
    shpoGet->oPlace.Describe(oGet);
    oGet.OptionalArgument("NAME", shpoGet->strName, "The value; else the key's default value")
        .Run([shpoGet](Output& rOutput) { return Get(*shpoGet, rOutput); });
    const auto shpoSet = std::make_shared<Options>();
    Command oSet = rLine.Add("reg", "set", "Write a value, and make its key when it is missing");
    shpoSet->oPlace.Describe(oSet);
    oSet.Argument("NAME", shpoSet->strName, "The value; \"\" is the key's default value")
        .Argument(
            "VALUE", shpoSet->strValue,
            "string:, dword:, qword:, binary:, boolean:, expand:, multi:A|B or type:hex(N): and the value; else a "
            "string")
        .Run([shpoSet](Output& rOutput) { return Set(*shpoSet, rOutput); });
    const auto shpoDelete = std::make_shared<Options>();
    Command oDelete = rLine.Add("reg", "delete", "Delete a value, or with --key or --tree a key");
    shpoDelete->oPlace.Describe(oDelete);
    oDelete.OptionalArgument("NAME", shpoDelete->strName, "The value; else the key's default value")
        .Flag("--key", shpoDelete->bKey, "The key itself, which must have no keys below it")
        .Flag("--tree", shpoDelete->bTree, "The key itself with all below it")
        .Run([shpoDelete](Output& rOutput) { return Delete(*shpoDelete, rOutput); });
    const auto shpoList = std::make_shared<Options>();
    Command oList = rLine.Add("reg", "list", "Print the keys below a key, and its values");
    shpoList->oPlace.Describe(oList);
    oList.Run([shpoList](Output& rOutput) { return List(*shpoList, rOutput); });
}

}  // namespace vlm::tool
