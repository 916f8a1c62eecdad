/// @file
/// Debug messages through the manager: those that nobody wants, the line alone, and lines in a file, beside spdlog and
/// a bare write in append mode.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/sinks/null_sink.h>
#include <spdlog/spdlog.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "platform/StoreChoice.h"
#include "utilities/debuggingandexceptions/DebugMessageManager.h"
#include "utilities/debuggingandexceptions/RaiseMacros.h"
#include "utilities/utilitiesdll/TextCodec.h"

namespace {

enum class Output { None, Null, File };

/// A folder for the benchmark's files, gone at the end.
class Folder {
public:
    Folder() : m_path(std::filesystem::temp_directory_path() / ("q9-bench-" + std::to_string(getpid()))) {
        std::filesystem::create_directories(m_path);
    }
    ~Folder() {
        std::error_code oIgnored;
        std::filesystem::remove_all(m_path, oIgnored);
    }
    std::string File(const char* pszName) const { return (m_path / pszName).string(); }

private:
    std::filesystem::path m_path;
};

const Folder& TheFolder() {
    static const Folder soFolder;
    return soFolder;
}

DebugMessageManager& Manager() {
    static DebugMessageManager& srManager = []() -> DebugMessageManager& {
        vlm::ChooseStore(":memory:");
        static DebugMessageManager soManager(CXString(VTEXT("BenchDebugConfig")));
        return soManager;
    }();
    return srManager;
}

/// Messages of one category go to a file, or nowhere.
void Listen(Output eOutput) {
    DebugMessageConfiguration& rSettings = Manager().GetConfiguration();
    const CXString csPath =
        TextCodec::Utf8ToUtf16(eOutput == Output::Null ? "/dev/null" : TheFolder().File("ours.log"));
    rSettings.SetMessagesEnabled(true);
    rSettings.SetAllCategoriesRequired(false);
    rSettings.SetIncludedMsgCategories(CXString(VTEXT("perf")));
    rSettings.SetShowTime(true);
    rSettings.SetLogFileName(csPath);
    rSettings.SetUseLogFile(eOutput != Output::None);
}

void FilteredInline(benchmark::State& rState) {
    Listen(Output::None);
    int i = 0;
    for (auto _ : rState) {
        VLM_REPORT(DebugCategory::Registry, VTEXT("value %d"), ++i);
        benchmark::ClobberMemory();
    }
}
void FilteredThroughTheFunction(benchmark::State& rState) {
    Listen(Output::None);
    DebugMessageCategories effective = DebugCategory::None;
    for (auto _ : rState)
        benchmark::DoNotOptimize(Manager().AllowsMessageWithTheseCategories(DebugCategory::Registry, effective));
}
void FilteredSpdlog(benchmark::State& rState) {
    spdlog::logger oLogger("off", std::make_shared<spdlog::sinks::null_sink_mt>());
    oLogger.set_level(spdlog::level::err);
    int i = 0;
    for (auto _ : rState)
        oLogger.info("value {}", ++i);
}

/// About 120 bytes, with a text and two numbers; the write costs the call alone.
void LineToNothing(benchmark::State& rState) {
    Listen(Output::Null);
    int i = 0;
    for (auto _ : rState) {
        ++i;
        VLM_REPORT(DebugCategory::Perf, VTEXT("the attribute %d of %s has the value %d, which is what was expected"), i,
                   VTEXT("the stored settings of the queue"), i * 3);
    }
}
void LineToNothingSpdlog(benchmark::State& rState) {
    spdlog::logger oLogger("line", std::make_shared<spdlog::sinks::basic_file_sink_mt>("/dev/null"));
    oLogger.flush_on(spdlog::level::info);
    int i = 0;
    for (auto _ : rState) {
        ++i;
        oLogger.info("the attribute {} of {} has the value {}, which is what was expected", i,
                     "the stored settings of the queue", i * 3);
    }
}

void LineInFile(benchmark::State& rState) {
    if (rState.thread_index() == 0) Listen(Output::File);
    int i = 0;
    for (auto _ : rState) {
        ++i;
        VLM_REPORT(DebugCategory::Perf, VTEXT("the attribute %d of %s has the value %d, which is what was expected"), i,
                   VTEXT("the stored settings of the queue"), i * 3);
    }
    if (rState.thread_index() == 0) Manager().CloseDebugMessageOutput();
}
void LineInFileSpdlogFlushed(benchmark::State& rState) {
    static const std::shared_ptr<spdlog::logger> sshpLogger = [] {
        auto shpLogger = std::make_shared<spdlog::logger>(
            "file", std::make_shared<spdlog::sinks::basic_file_sink_mt>(TheFolder().File("spdlog.log"), true));
        shpLogger->flush_on(spdlog::level::info);
        return shpLogger;
    }();
    int i = 0;
    for (auto _ : rState) {
        ++i;
        sshpLogger->info("the attribute {} of {} has the value {}, which is what was expected", i,
                         "the stored settings of the queue", i * 3);
    }
}
void BareAppend(benchmark::State& rState) {
    const int iFile = open(TheFolder().File("bare.log").c_str(), O_WRONLY | O_CREAT | O_APPEND | O_TRUNC, 0600);
    const std::string line(118, 'x');
    for (auto _ : rState) {
        const ssize_t cWritten = write(iFile, (line + "\r\n").data(), line.size() + 2);
        if (cWritten != 120) rState.SkipWithError("the write failed");
    }
    close(iFile);
}

void TimingScopeNotMeasured(benchmark::State& rState) {
    Listen(Output::None);
    for (auto _ : rState) {
        const LONGLONG llStart = Manager().NotifyTimingScopeStarted(VLM_HERE, VTEXT("Scope"), {});
        Manager().NotifyTimingScopeEnded(VLM_HERE, VTEXT("Scope"), {}, llStart);
    }
}

BENCHMARK(FilteredInline);
BENCHMARK(FilteredThroughTheFunction);
BENCHMARK(FilteredSpdlog);
BENCHMARK(LineToNothing);
BENCHMARK(LineToNothingSpdlog);
BENCHMARK(LineInFile)->Threads(1)->Threads(2)->UseRealTime();
BENCHMARK(LineInFileSpdlogFlushed)->Threads(1)->Threads(2)->UseRealTime();
BENCHMARK(BareAppend)->UseRealTime();
BENCHMARK(TimingScopeNotMeasured);

}  // namespace
