// q9diag: the diagnostic tool of the printer drivers' utility library.
#include <algorithm>
#include <cstdio>

#include "CommandLine.h"
#include "Commands.h"
#include "Failure.h"
#include "LogSink.h"
#include "Output.h"
#include "platform/ProgramImpl.h"
#include "platform/StoreChoice.h"
#include "utilities/debuggingandexceptions/DebugMessageManager.h"

namespace vlm::tool {

namespace {

void DescribeCommands(CommandLine& rLine) {
    rLine.Noun("settings", "Stored print settings");
    AddSettingsShow(rLine);
    AddSettingsBuild(rLine);
    AddSettingsEdit(rLine);
    AddSettingsDiff(rLine);
    AddSettingsVerify(rLine);
    AddState(rLine);
    AddCab(rLine);
    AddHash(rLine);
    AddFind(rLine);
    AddDimension(rLine);
    AddFile(rLine);
    AddProtect(rLine);
    AddIni(rLine);
    AddReg(rLine);
    AddRegTree(rLine);
    AddCounters(rLine);
    AddDebug(rLine);
    AddDebugLog(rLine);
    AddDriver(rLine);
    AddPort(rLine);
    AddPortMon(rLine);
    AddPortMonRequest(rLine);
    rLine.Noun("queue", "Print queues, their data and stored settings");
    AddQueue(rLine);
    AddQueueShow(rLine);
    AddQueueSettings(rLine);
    AddModel(rLine);
    AddDemo(rLine);
    AddHelp(rLine);
}

ColorChoice ColorOf(const std::string& strColor) {
    return strColor == "always" ? ColorChoice::Always : strColor == "never" ? ColorChoice::Never : ColorChoice::Auto;
}

int RunCommand(CommandLine& rLine, const std::vector<std::string>& rvArguments) {
    // Looked for before all else, since what is wrong with the command line is told as JSON, too.
    const auto itOptionsEnd = std::find(rvArguments.begin(), rvArguments.end(), "--");
    bool fJson = std::find(rvArguments.begin(), itOptionsEnd, "--json") != itOptionsEnd;
    try {
        // A command is over before anybody changes its settings.
        GetDebugMessageManager().StopConfigUpdater();
        const CommandBody body = rLine.Parse(rvArguments);
        fJson = fJson || rLine.Globals().bJson;
        const std::string& rStore = rLine.Globals().strStore;
        if (!rStore.empty() && !ChooseStore(rStore.c_str()))
            RefuseFile(FileStep::Open, rStore, Status::NotEnoughMemory);
        const LogSink oSink(ParseCategories(rLine.Globals().strLog));
        Output oOutput(fJson, ColorOf(rLine.Globals().strColor));
        const int iStatus = body(oOutput);
        if (!oOutput.Finish()) RefuseFile(FileStep::Write, "standard output", Status::GeneralFailure);
        return iStatus;
    } catch (const std::exception& rException) {
        const FailureReport oReport = Describe(rException);
        Output oOutput(fJson, ColorChoice::Never);
        oOutput.Error(rLine.CommandWords(), oReport);
        oOutput.Finish();
        return oReport.iExitStatus;
    }
}

}  // namespace

}  // namespace vlm::tool

int main(int cArguments, char** ppszArguments) {
    const vlm::StandardStreams oStreams;
    try {
        const auto vArguments = vlm::ProgramArguments(cArguments, ppszArguments);
        vlm::tool::CommandLine oLine;
        vlm::tool::DescribeCommands(oLine);
        return vlm::tool::RunCommand(oLine, vArguments);
    } catch (const std::exception& rException) {
        std::fprintf(stderr, "q9diag: std::exception 000:000:000: %s\n", rException.what());
        return vlm::tool::EXIT_REFUSED;
    }
}
