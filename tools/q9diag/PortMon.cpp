// portmon status, install, upgrade, remove: the family's port monitor.
#include "CommandLine.h"
#include "Commands.h"
#include "Failure.h"
#include "Output.h"
#include "Text.h"
#include "environment/PortMonitor.h"

namespace vlm::tool {

namespace {

std::string Utf8(const CXString& kcsText) {
    return Printable(kcsText.View());
}

Status LastStatus(const VelomPortMonitor& rMonitor) {
    return static_cast<Status>(rMonitor.GetLastStatus());
}

int RunStatus(Output& rOutput) {
    VelomPortMonitor oMonitor;
    const std::string strName = Utf8(VelomPortMonitor::GetPortMonitorName());
    const bool fInstalled = oMonitor.IsVelomPortMonitorInstalled(false);
    const bool fWorking = fInstalled && oMonitor.IsVelomPortMonitorFunctional(true);
    const DWORD dwStatus = oMonitor.GetLastStatus();
    const auto Answer = [&rOutput](bool fYes) {
        return rOutput.Styled(fYes ? Style::Good : Style::Bad, fYes ? "yes" : "no");
    };
    std::vector<std::vector<std::string>> vRows = {
        {"monitor", strName}, {"installed", Answer(fInstalled)}, {"working", Answer(fWorking)}};
    Json oDocument = {{"monitor", strName}, {"installed", fInstalled}, {"working", fWorking}};
    if (fInstalled && !fWorking) {
        vRows.push_back({"status", StatusText(static_cast<Status>(dwStatus))});
        oDocument["status"] = dwStatus;
    }
    rOutput.Table(vRows, 0, {Style::Name});
    rOutput.Document(std::move(oDocument));
    return fWorking ? EXIT_DONE : EXIT_ANSWER_NO;
}

int RunInstall(Output& rOutput) {
    VelomPortMonitor oMonitor;
    const bool fThere = oMonitor.IsVelomPortMonitorInstalled(false);
    if (!oMonitor.InstallAndUpgrade(true)) RefuseMonitor("the monitor is not installed", LastStatus(oMonitor));
    rOutput.Line(fThere ? "The port monitor was installed already, and works." : "The port monitor is installed.");
    rOutput.Document({{"installed", true}, {"wasInstalled", fThere}});
    return EXIT_DONE;
}

int RunUpgrade(Output& rOutput) {
    VelomPortMonitor oMonitor;
    if (!oMonitor.IsVelomPortMonitorInstalled(false)) RefuseMonitor("nothing to upgrade", LastStatus(oMonitor));
    if (!oMonitor.UpgradeVelomPortMonitor()) RefuseMonitor("the monitor is not upgraded", LastStatus(oMonitor));
    rOutput.Line("The port monitor is up to date.");
    rOutput.Document({{"upgraded", true}});
    return EXIT_DONE;
}

int RunRemove(bool fKeepFiles, Output& rOutput) {
    VelomPortMonitor oMonitor;
    const bool fThere = oMonitor.IsVelomPortMonitorInstalled(false);
    if (!oMonitor.DeleteOurMonitor(!fKeepFiles)) RefuseMonitor("the monitor is not removed", LastStatus(oMonitor));
    rOutput.Line(fThere ? "The port monitor is removed." : "The port monitor was not installed.");
    rOutput.Document({{"installed", false}, {"wasInstalled", fThere}});
    return EXIT_DONE;
}

}  // namespace

void AddPortMon(CommandLine& rLine) {
    rLine.Noun("portmon", "The family's port monitor");
    rLine.Add("portmon", "status", "Tell whether the monitor is installed and works").Run(RunStatus);
    rLine.Add("portmon", "install", "Install the monitor, or bring the one that is there up to date").Run(RunInstall);
    rLine.Add("portmon", "upgrade", "Have the monitor take the driver's DLL, if that is newer").Run(RunUpgrade);
    const auto shpfKeepFiles = std::make_shared<bool>(false);
    rLine.Add("portmon", "remove", "Remove the monitor and its files")
        .Flag("--keep-files", *shpfKeepFiles, "Leave the DLLs where they are")
        .Run([shpfKeepFiles](Output& rOutput) { return RunRemove(*shpfKeepFiles, rOutput); });
}

}  // namespace vlm::tool
