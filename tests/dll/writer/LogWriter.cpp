/// @file
/// Writes numbered lines to a log file, as one of several processes that share it:  log_writer FILE NAME LINES
/// Or reports where the stored settings say, until a file appears, a minute at most:  log_writer --until STOPFILE
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <thread>

#include "utilities/debuggingandexceptions/DebugMessageManager.h"
#include "utilities/debuggingandexceptions/RaiseMacros.h"

namespace {

int ReportUntil(const char* pszStopFile) {
    for (int i = 0; i < 12000; ++i) {
        if (std::filesystem::exists(pszStopFile)) return 0;
        VLM_REPORT(DebugCategory::Perf, VTEXT("<beat %d>"), i);
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return 1;
}

}  // namespace

int main(int cArguments, char** ppszArguments) {
    if (cArguments == 3 && std::strcmp(ppszArguments[1], "--until") == 0) return ReportUntil(ppszArguments[2]);
    if (cArguments != 4) return 2;
    DebugMessageConfiguration& rSettings = GetDebugMessageManager().GetConfiguration();
    rSettings.SetLogFileName(CXString(ppszArguments[1]));
    rSettings.SetUseLogFile(true);
    rSettings.SetIncludedMsgCategories(CXString(VTEXT("perf")));
    rSettings.SetMessagesEnabled(true);
    const int iLines = std::atoi(ppszArguments[3]);
    for (int i = 0; i < iLines; ++i) {
        VLM_REPORT(DebugCategory::Perf, VTEXT("<%S line %d of %d, which is long enough to be torn in two>"),
                   static_cast<const char*>(ppszArguments[2]), i, iLines);
    }
    rSettings.SetMessagesEnabled(false);  // the library's own farewell is not counted
    return 0;
}
