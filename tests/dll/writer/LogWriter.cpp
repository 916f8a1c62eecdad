/// @file
/// Writes numbered lines to a log file, as one of several processes that share it:  log_writer FILE NAME LINES
#include <cstdlib>

#include "utilities/debuggingandexceptions/DebugMessageManager.h"
#include "utilities/debuggingandexceptions/RaiseMacros.h"

int main(int cArguments, char** ppszArguments) {
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
