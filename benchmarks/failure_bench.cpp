/// @file
/// Reports that nobody wants, execution contexts, and exceptions beside the standard library's.
#include <benchmark/benchmark.h>
#include <pthread.h>

#include <stdexcept>

#include "utilities/debuggingandexceptions/ExecutionContextLifetime.h"
#include "utilities/debuggingandexceptions/RaiseMacros.h"
#include "utilities/debuggingandexceptions/VelomDebugMessage.h"
#include "utilities/utilitiesdll/UtilitiesDllPerThreadStorage.h"

namespace {

/// A sink that wants one category and drops what it gets.
class QuietSink final : public vlm::ReportSink {
public:
    QuietSink() : m_pFormer(vlm::ExchangeReportSink(this)), m_formerMask(vlm::SetReportMask(DebugCategory::Perf)) {}
    ~QuietSink() override {
        vlm::SetReportMask(m_formerMask);
        vlm::ExchangeReportSink(m_pFormer);
    }
    bool Allows(DebugMessageCategories categories) const noexcept override {
        return (categories & DebugCategory::Perf) != 0;
    }
    void Write(bool, DebugMessageCategories, const VelomDebugMessage& rMessage) noexcept override {
        benchmark::DoNotOptimize(rMessage.GetMessageText().GetLength());
    }
    int Ask(HWND, const XCHAR*, const XCHAR*, DWORD) noexcept override { return 0; }

private:
    vlm::ReportSink* m_pFormer;
    DebugMessageCategories m_formerMask;
};

void ReportFilteredOut(benchmark::State& rState) {
    const QuietSink sink;
    int i = 0;
    for (auto _ : rState) {
        VLM_REPORT(DebugCategory::Registry, VTEXT("value %d"), ++i);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(ReportFilteredOut);

void ReportWritten(benchmark::State& rState) {
    const QuietSink sink;
    int i = 0;
    for (auto _ : rState)
        VLM_REPORT(DebugCategory::Perf, VTEXT("value %d of %s"), ++i, VTEXT("a name"));
}
BENCHMARK(ReportWritten);

void ThreadsStack(benchmark::State& rState) {
    for (auto _ : rState)
        benchmark::DoNotOptimize(&UtilitiesDllPerThreadStorage::GetExecutionContextStack());
}
BENCHMARK(ThreadsStack);

void SystemsSlotAlone(benchmark::State& rState) {
    pthread_key_t key = 0;
    pthread_key_create(&key, nullptr);
    pthread_setspecific(key, &key);
    for (auto _ : rState)
        benchmark::DoNotOptimize(pthread_getspecific(key));
    pthread_key_delete(key);
}
BENCHMARK(SystemsSlotAlone);

void PushAndPopLiterals(benchmark::State& rState) {
    for (auto _ : rState) {
        const ExecutionContextLifetime lifetime(
            MakeExecutionContext(ECIE_IMPORT_JCAP, VLM_HERE, VTEXT("from the device")));
        benchmark::ClobberMemory();
    }
}
BENCHMARK(PushAndPopLiterals);

void PushAndPopThreeSharedStrings(benchmark::State& rState) {
    const CXString csFile(VTEXT("c:\\src\\file.cpp"));
    const CXString csFunction(VTEXT("Importer::Run"));
    const CXString csMessage(VTEXT("from the device"));
    for (auto _ : rState) {
        const ExecutionContextLifetime lifetime(
            std::make_unique<BasicExecutionContext>(ECIE_IMPORT_JCAP, csFile, csFunction, 1u, false, csMessage));
        benchmark::ClobberMemory();
    }
}
BENCHMARK(PushAndPopThreeSharedStrings);

/// A stack of five contexts.
ExecutionContextStack& FiveLevels() {
    static ExecutionContextStack stack = [] {
        ExecutionContextStack made;
        for (int i = 0; i < 5; ++i) {
            made.PushContext(ExecutionContextPointer(MakeExecutionContext(ECIE_IMPORT_JCAP, VLM_HERE)));
        }
        return made;
    }();
    return stack;
}

void ConstructException(benchmark::State& rState) {
    const CXString csMessage(VTEXT("no feature"));
    const CXString csFile(VTEXT("c:\\src\\file.cpp"));
    const CXString csFunction(VTEXT("Importer::Run"));
    for (auto _ : rState) {
        benchmark::DoNotOptimize(GetExceptionFeatureNotFound(csMessage, csFile, 57, csFunction, &FiveLevels()));
    }
}
BENCHMARK(ConstructException);

volatile bool gfRaise = true;

template <class Raise>
[[gnu::noinline]] int Deep(int iDepth, const Raise& raise) {
    if (iDepth == 0) {
        if (gfRaise) raise();
        return 0;
    }
    const int iResult = Deep(iDepth - 1, raise);
    benchmark::ClobberMemory();
    return iResult + 1;
}

template <class Raise>
void ThrowAtDepthFive(benchmark::State& rState, const Raise& raise) {
    for (auto _ : rState) {
        try {
            benchmark::DoNotOptimize(Deep(5, raise));
        } catch (const std::exception& rException) {
            benchmark::DoNotOptimize(&rException);
        }
    }
}

void ThrowStandardException(benchmark::State& rState) {
    ThrowAtDepthFive(rState, [] { throw std::runtime_error("no feature"); });
}
BENCHMARK(ThrowStandardException);

void ThrowOurException(benchmark::State& rState) {
    const CXString csMessage(VTEXT("no feature"));
    const CXString csFile(VTEXT("c:\\src\\file.cpp"));
    const CXString csFunction(VTEXT("Importer::Run"));
    ThrowAtDepthFive(rState,
                     [&] { throw GetExceptionFeatureNotFound(csMessage, csFile, 57, csFunction, &FiveLevels()); });
}
BENCHMARK(ThrowOurException);

void ThrowByMacro(benchmark::State& rState) {
    ThrowAtDepthFive(rState, [] { VLM_THROW(ExceptionFeatureNotFound, VTEXT("no feature %d"), 5); });
}
BENCHMARK(ThrowByMacro);

}  // namespace
