// reg tree and copy: whole trees of keys.
#include <cstdint>
#include <optional>

#include "CommandLine.h"
#include "Commands.h"
#include "Failure.h"
#include "Output.h"
#include "RegPlace.h"
#include "RegValue.h"

namespace vlm::tool {

namespace {

/// The registry's own limit.
constexpr int DEEPEST = 512;

struct TreeOptions {
    RegPlace oPlace;
    std::optional<std::int64_t> ollDepth;
};

struct CopyOptions {
    RegPlace oSource;
    std::string strTargetHive;
    std::string strTargetPath;
};

/// Prints a key and what is below it.  @return its document.
Json Show(const RegPlace& rPlace, const CXString& kcsPath, int iLevel, int iDeepest, Output& rOutput) {
    RegistryKey oKey(rPlace.Hive(), kcsPath, rPlace.bDirect, rPlace.bUsersTree);
    RegPlace::Require(oKey, RegistryKey::READ_ACCESS);
    std::vector<CXString> vcsKeys, vcsValues;
    if (!oKey.EnumKeyNamesAndValueNames(&vcsKeys, &vcsValues)) RefuseRegistry("cannot list", oKey.GetLastStatus());
    Json oValues = Json::object(), oKeys = Json::object();
    std::vector<std::vector<std::string>> vRows;
    for (const CXString& rcsName : vcsValues) {
        RegValue oValue;
        if (!oKey.GetValue(rcsName, oValue.bbData, &oValue.dwType)) continue;
        vRows.push_back({rcsName.IsEmpty() ? "(default)" : Printable(rcsName.View()), RegValueText(oValue)});
        oValues[JsonName(rcsName.View())] = RegValueText(oValue);
    }
    rOutput.Table(vRows, 2 * iLevel);
    for (const CXString& rcsName : vcsKeys) {
        rOutput.Line(std::string(static_cast<std::size_t>(2 * iLevel), ' ') +
                     rOutput.Styled(Style::Name, Printable(rcsName.View()) + "\\"));
        if (iLevel < iDeepest) {
            const CXString csBelow = kcsPath.IsEmpty() ? rcsName : kcsPath + VTEXT("\\") + rcsName;
            oKeys[JsonName(rcsName.View())] = Show(rPlace, csBelow, iLevel + 1, iDeepest, rOutput);
        } else {
            oKeys[JsonName(rcsName.View())] = nullptr;
        }
    }
    return {{"values", std::move(oValues)}, {"keys", std::move(oKeys)}};
}

int Tree(const TreeOptions& rOptions, Output& rOutput) {
    const int iDeepest = static_cast<int>(rOptions.ollDepth.value_or(DEEPEST));
    Json oDocument = rOptions.oPlace.Document();
    oDocument.update(Show(rOptions.oPlace, rOptions.oPlace.Path(), 0, iDeepest, rOutput));
    rOutput.Document(std::move(oDocument));
    return EXIT_DONE;
}

int Copy(const CopyOptions& rOptions, Output& rOutput) {
    const RegPlace oTarget = rOptions.oSource.At(rOptions.strTargetHive, rOptions.strTargetPath);
    RegistryKey oSource = rOptions.oSource.Key();
    RegPlace::Require(oSource, RegistryKey::READ_ACCESS);
    RegistryKey oKey = oTarget.Key();
    oKey.CreateRegistryKey(oTarget.Path(), RegistryKey::READ_WRITE_ACCESS);
    if (!oKey.CopyKeyAndSubkeysFrom(oSource)) RefuseRegistry("cannot copy everything", oKey.GetLastStatus());
    rOutput.Line("copied");
    rOutput.Document({{"source", rOptions.oSource.Document()}, {"target", oTarget.Document()}});
    return EXIT_DONE;
}

}  // namespace

void AddRegTree(CommandLine& rLine) {
    const auto shpoTree = std::make_shared<TreeOptions>();
    Command oTree = rLine.Add("reg", "tree", "Print a key with all keys and values below it");
    shpoTree->oPlace.Describe(oTree);
    oTree.Number("--depth", shpoTree->ollDepth, 0, DEEPEST, "Levels of keys to go down")
        .Run([shpoTree](Output& rOutput) { return Tree(*shpoTree, rOutput); });
    const auto shpoCopy = std::make_shared<CopyOptions>();
    Command oCopy = rLine.Add("reg", "copy", "Copy a key with all below it into another key; what is there stays");
    shpoCopy->oSource.Describe(oCopy);
    oCopy.Argument("TARGETHIVE", shpoCopy->strTargetHive, "Hive of the other key")
        .Argument("TARGETPATH", shpoCopy->strTargetPath, "The other key, made when it is missing")
        .Run([shpoCopy](Output& rOutput) { return Copy(*shpoCopy, rOutput); });
}

}  // namespace vlm::tool
