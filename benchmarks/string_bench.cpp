/// @file
/// The string against Qt's, the standard one and the limits of the machine.
#include <benchmark/benchmark.h>

#include <QString>
#include <atomic>
#include <chrono>
#include <cstring>
#include <string>
#include <thread>

#include "utilities/utilitiesdll/CXString.h"

namespace {

using Text = std::u16string;

/// libstdc++ skips atomic operations while a process has one thread only; a library inside a spooler never has.
const bool gbThreaded = [] {
    std::thread([] { std::this_thread::sleep_for(std::chrono::hours(24)); }).detach();
    return true;
}();

Text MakeText(std::int64_t llUnits) {
    Text strText;
    for (std::int64_t ll = 0; ll < llUnits; ++ll)
        strText += static_cast<char16_t>(u"PrinterDriverData "[ll % 18]);
    return strText;
}
QString ToQt(const Text& kstrText) {
    return QString::fromUtf16(kstrText.data(), static_cast<int>(kstrText.size()));
}

void LimitAtomicPair(benchmark::State& roState) {
    std::atomic<int> iCount{1};
    for (auto _ : roState) {
        iCount.fetch_add(1, std::memory_order_relaxed);
        benchmark::DoNotOptimize(iCount.fetch_sub(1, std::memory_order_acq_rel));
    }
}
BENCHMARK(LimitAtomicPair);

template <class String>
void Copy(benchmark::State& roState, const String& krText) {
    for (auto _ : roState) {
        String copy(krText);
        benchmark::DoNotOptimize(copy);
    }
}
void CopyOurs(benchmark::State& roState) {
    Copy(roState, CXString(MakeText(roState.range(0))));
}
void CopyQt(benchmark::State& roState) {
    Copy(roState, ToQt(MakeText(roState.range(0))));
}
void CopyStd(benchmark::State& roState) {
    Copy(roState, MakeText(roState.range(0)));
}
BENCHMARK(CopyOurs)->Arg(10)->Arg(1000);
BENCHMARK(CopyQt)->Arg(10)->Arg(1000);
BENCHMARK(CopyStd)->Arg(10)->Arg(1000);

void CreateOurs(benchmark::State& roState) {
    const Text strText = MakeText(roState.range(0));
    for (auto _ : roState) {
        CXString csText{XStringView(strText)};
        benchmark::DoNotOptimize(csText);
    }
}
void CreateQt(benchmark::State& roState) {
    const Text strText = MakeText(roState.range(0));
    for (auto _ : roState) {
        QString strCreated(reinterpret_cast<const QChar*>(strText.data()), static_cast<int>(strText.size()));
        benchmark::DoNotOptimize(strCreated);
    }
}
BENCHMARK(CreateOurs)->Arg(10)->Arg(40)->Arg(1000);
BENCHMARK(CreateQt)->Arg(10)->Arg(40)->Arg(1000);

void CompareOurs(benchmark::State& roState) {
    const CXString csLeft(MakeText(roState.range(0))), csRight(MakeText(roState.range(0)) + u"x");
    for (auto _ : roState)
        benchmark::DoNotOptimize(csLeft.Compare(csRight));
}
void CompareQt(benchmark::State& roState) {
    const QString strLeft = ToQt(MakeText(roState.range(0))), strRight = ToQt(MakeText(roState.range(0)) + u"x");
    for (auto _ : roState)
        benchmark::DoNotOptimize(strLeft.compare(strRight));
}
void CompareNoCaseOurs(benchmark::State& roState) {
    const CXString csLeft(MakeText(roState.range(0))), csRight = CXString(csLeft).MakeUpper();
    for (auto _ : roState)
        benchmark::DoNotOptimize(csLeft.CompareNoCase(csRight));
}
void CompareNoCaseQt(benchmark::State& roState) {
    const QString strLeft = ToQt(MakeText(roState.range(0))), strRight = strLeft.toUpper();
    for (auto _ : roState)
        benchmark::DoNotOptimize(strLeft.compare(strRight, Qt::CaseInsensitive));
}
BENCHMARK(CompareOurs)->Arg(10)->Arg(40)->Arg(1000);
BENCHMARK(CompareQt)->Arg(10)->Arg(40)->Arg(1000);
BENCHMARK(CompareNoCaseOurs)->Arg(10)->Arg(40)->Arg(1000);
BENCHMARK(CompareNoCaseQt)->Arg(10)->Arg(40)->Arg(1000);

void UpperOurs(benchmark::State& roState) {
    const CXString csText(MakeText(roState.range(0)));
    for (auto _ : roState) {
        CXString csCopy(csText);
        benchmark::DoNotOptimize(csCopy.MakeUpper());
    }
}
void UpperQt(benchmark::State& roState) {
    const QString strText = ToQt(MakeText(roState.range(0)));
    for (auto _ : roState)
        benchmark::DoNotOptimize(strText.toUpper());
}
BENCHMARK(UpperOurs)->Arg(10)->Arg(40)->Arg(1000);
BENCHMARK(UpperQt)->Arg(10)->Arg(40)->Arg(1000);

void FindOurs(benchmark::State& roState) {
    const CXString csText(MakeText(roState.range(0) - 6) + u"needle");
    for (auto _ : roState)
        benchmark::DoNotOptimize(csText.Find(u"needle"));
}
void FindQt(benchmark::State& roState) {
    const QString strText = ToQt(MakeText(roState.range(0) - 6) + u"needle"), strNeedle = ToQt(u"needle");
    for (auto _ : roState)
        benchmark::DoNotOptimize(strText.indexOf(strNeedle));
}
void FindStd(benchmark::State& roState) {
    const Text strText = MakeText(roState.range(0) - 6) + u"needle";
    for (auto _ : roState)
        benchmark::DoNotOptimize(strText.find(u"needle"));
}
BENCHMARK(FindOurs)->Arg(40)->Arg(1000)->Arg(65536);
BENCHMARK(FindQt)->Arg(40)->Arg(1000)->Arg(65536);
BENCHMARK(FindStd)->Arg(40)->Arg(1000)->Arg(65536);

void AppendOurs(benchmark::State& roState) {
    for (auto _ : roState) {
        CXString csText;
        for (int i = 0; i < 100; ++i)
            csText += XStringView(u"0123456789", 10);
        benchmark::DoNotOptimize(csText);
    }
}
void AppendStd(benchmark::State& roState) {
    for (auto _ : roState) {
        Text strText;
        for (int i = 0; i < 100; ++i)
            strText.append(u"0123456789", 10);
        benchmark::DoNotOptimize(strText);
    }
}
BENCHMARK(AppendOurs);
BENCHMARK(AppendStd);

void HashOurs(benchmark::State& roState) {
    const CXString csText(MakeText(roState.range(0)));
    for (auto _ : roState)
        benchmark::DoNotOptimize(csText.GetHashValue());
}
void HashSerial(benchmark::State& roState) {
    const Text strText = MakeText(roState.range(0));
    for (auto _ : roState) {
        std::uint64_t ullHash = 0;
        for (const char16_t* pch = strText.c_str(); *pch; ++pch)
            ullHash = ullHash * 31 + *pch;
        benchmark::DoNotOptimize(ullHash);
    }
}
BENCHMARK(HashOurs)->Arg(64)->Arg(1024);
BENCHMARK(HashSerial)->Arg(64)->Arg(1024);

}  // namespace
