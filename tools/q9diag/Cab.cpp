// cab list, test and extract: cabinet files.
#include <cstdio>
#include <set>

#include "CommandLine.h"
#include "Commands.h"
#include "Failure.h"
#include "Files.h"
#include "Output.h"
#include "Progress.h"
#include "platform/FilePort.h"
#include "platform/Platform.h"
#include "utilities/compression/CabinetArchive.h"

namespace vlm::tool {

namespace {

using Member = CabinetArchive::Member;

struct Options {
    std::string strFile;
    std::string strFolder = ".";
};

/// Date and time as the cabinet holds them, local to whoever made it: "1997-03-12T11:13:52".
std::string TimeText(const Member& rMember) {
    char achText[32];
    std::snprintf(achText, sizeof achText, "%04d-%02d-%02dT%02d:%02d:%02d", 1980 + (rMember.wDate >> 9),
                  (rMember.wDate >> 5) & 15, rMember.wDate & 31, rMember.wTime >> 11, (rMember.wTime >> 5) & 63,
                  2 * (rMember.wTime & 31));
    return achText;
}

std::string NameText(const Member& rMember) {
    return Printable(rMember.csName.View());
}

int List(const Options& rOptions, Output& rOutput) {
    const CabinetArchive oArchive(ReadInput(rOptions.strFile));
    std::vector<std::vector<std::string>> vRows = {{"bytes", "modified", "name"}};
    Json oMembers = Json::array();
    for (const Member& rMember : oArchive.GetMembers()) {
        vRows.push_back({std::to_string(rMember.dwBytes), TimeText(rMember), NameText(rMember)});
        oMembers.push_back({{"name", JsonString(rMember.csName.View())},
                            {"bytes", rMember.dwBytes},
                            {"modified", TimeText(rMember)},
                            {"attributes", rMember.wAttributes},
                            {"safeName", CabinetArchive::IsSafeName(rMember.csName)}});
    }
    rOutput.Table(vRows, 0, {Style::Plain, Style::Plain, Style::Name});
    rOutput.Document({{"originalBytes", oArchive.GetOriginalDataSize()}, {"members", std::move(oMembers)}});
    return EXIT_DONE;
}

int Test(const Options& rOptions, Output& rOutput) {
    const CabinetArchive oArchive(ReadInput(rOptions.strFile));
    const Progress oProgress("unpacking");
    const std::size_t cMembers = oArchive.ExtractAll().size();
    rOutput.Line(rOutput.Styled(Style::Good, "ok") + ": " + std::to_string(cMembers) + " members, " +
                 std::to_string(oArchive.GetOriginalDataSize()) + " bytes");
    rOutput.Document({{"ok", true}, {"members", cMembers}, {"originalBytes", oArchive.GetOriginalDataSize()}});
    return EXIT_DONE;
}

/// A member's name with "/" between its parts.
XText PathOf(const Member& rMember) {
    XText strPath(rMember.csName.View());
    for (XCHAR& rUnit : strPath)
        if (rUnit == VTEXT('\\')) rUnit = VTEXT('/');
    return strPath;
}

/// Names that differ in the case of A to Z alone are one name on Windows.
XText Folded(XText strPath) {
    for (XCHAR& rUnit : strPath)
        if (rUnit >= VTEXT('A') && rUnit <= VTEXT('Z')) rUnit = static_cast<XCHAR>(rUnit + 32);
    return strPath;
}

/// The folders that the members need, parents first.
/// @throws ExceptionInvalidArgument, before anything is written, when one name could not become a file below the
///         target folder, or two could not stand there side by side.
std::set<XText> CheckNames(const std::vector<Member>& rvMembers) {
    std::set<XText> setFolders;
    std::set<XText> setFoldedFolders;
    std::set<XText> setFoldedFiles;
    for (const Member& rMember : rvMembers) {
        if (!CabinetArchive::IsSafeName(rMember.csName))
            RefuseInput("the member's name is not safe, nothing is extracted: " + NameText(rMember));
        const XText strPath = PathOf(rMember);
        if (!setFoldedFiles.insert(Folded(strPath)).second)
            RefuseInput("two members have this name, nothing is extracted: " + NameText(rMember));
        for (std::size_t uEnd = strPath.find(VTEXT('/')); uEnd != XText::npos;
             uEnd = strPath.find(VTEXT('/'), uEnd + 1)) {
            setFolders.insert(strPath.substr(0, uEnd));
            setFoldedFolders.insert(Folded(strPath.substr(0, uEnd)));
        }
    }
    for (const XText& rFile : setFoldedFiles)
        if (setFoldedFolders.contains(rFile))
            RefuseInput("a member's name is another one's folder, nothing is extracted: " +
                        Printable(XStringView(rFile)));
    return setFolders;
}

void MakeFolder(const XText& rstrPath) {
    FilePort& rFiles = *GetPlatform().pFiles;
    DWORD dwAttributes = 0;
    if (rFiles.GetAttributes(rstrPath.c_str(), dwAttributes) == Status::Success &&
        (dwAttributes & FilePort::ATTRIBUTE_DIRECTORY) != 0)
        return;
    const Status status = rFiles.CreateDirectoryAt(rstrPath.c_str());
    if (status != Status::Success) RefuseFile(FileStep::Create, ToUtf8(rstrPath), status);
}

int Extract(const Options& rOptions, Output& rOutput) {
    const XText strTarget = FromUtf8(rOptions.strFolder, "folder name");
    const XText strInside = strTarget + VTEXT("/");
    const CabinetArchive oArchive(ReadInput(rOptions.strFile));
    const std::vector<Member>& rvMembers = oArchive.GetMembers();
    const std::set<XText> setFolders = CheckNames(rvMembers);
    Progress oProgress("unpacking");
    const std::vector<ByteBuffer> vbbContents = oArchive.ExtractAll();
    MakeFolder(strTarget);
    for (const XText& rFolder : setFolders)
        MakeFolder(strInside + rFolder);
    Json oNames = Json::array();
    for (std::size_t i = 0; i < rvMembers.size(); ++i) {
        oProgress.Say("writing " + NameText(rvMembers[i]));
        WriteResult(ToUtf8(strInside + PathOf(rvMembers[i])), vbbContents[i], rOutput);
        rOutput.Line(NameText(rvMembers[i]));
        oNames.push_back(JsonString(rvMembers[i].csName.View()));
    }
    rOutput.Document({{"extracted", std::move(oNames)}});
    return EXIT_DONE;
}

}  // namespace

void AddCab(CommandLine& rLine) {
    rLine.Noun("cab", "Cabinet files");
    const auto shpoList = std::make_shared<Options>();
    rLine.Add("cab", "list", "Print the members of a cabinet")
        .Argument("FILE", shpoList->strFile, "The cabinet")
        .Run([shpoList](Output& rOutput) { return List(*shpoList, rOutput); });
    const auto shpoTest = std::make_shared<Options>();
    rLine.Add("cab", "test", "Unpack every member and throw the result away")
        .Argument("FILE", shpoTest->strFile, "The cabinet")
        .Run([shpoTest](Output& rOutput) { return Test(*shpoTest, rOutput); });
    const auto shpoExtract = std::make_shared<Options>();
    rLine.Add("cab", "extract", "Unpack every member into a folder; nothing at all when one name is not safe")
        .Argument("FILE", shpoExtract->strFile, "The cabinet")
        .Option("-C,--directory", "DIR", shpoExtract->strFolder,
                "The folder, made when it is missing; else the current one")
        .Run([shpoExtract](Output& rOutput) { return Extract(*shpoExtract, rOutput); });
}

}  // namespace vlm::tool
