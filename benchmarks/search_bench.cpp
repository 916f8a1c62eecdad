/// @file
/// Pattern search against memmem, string_view::find and the standard searchers.  The pattern stands at the very end.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <string>

#include "utilities/utilitiesdll/HorspoolMatch.h"
#include "utilities/utilitiesdll/detail/values/CpuLevel.h"

namespace {

using vlm::CpuLevel;

struct Task {
    std::string data;
    std::string pattern;
};

enum Kind : std::int64_t { RANDOM, TEXT, ADVERSE };

Task MakeTask(const benchmark::State& rState) {
    static constexpr char WORDS[] = "the printer settings of the queue on the second floor are stored in the registry ";
    const std::size_t cData = static_cast<std::size_t>(rState.range(0));
    const std::size_t cPattern = static_cast<std::size_t>(rState.range(1));
    Task task;
    unsigned uState = 1;
    const auto next = [&] { return (uState = uState * 1664525 + 1013904223) >> 16; };
    while (task.data.size() < cData) {
        switch (rState.range(2)) {
            case RANDOM:
                task.data += static_cast<char>(next());
                break;
            case TEXT: {
                const std::string words = WORDS;
                const std::size_t cAt = words.find(' ', next() % 70) + 1;
                task.data += words.substr(cAt, words.find(' ', cAt) + 1 - cAt);
                break;
            }
            default:
                task.data += 'a';
        }
    }
    task.data.resize(cData);
    if (rState.range(2) == ADVERSE) {
        // Both ends match everywhere, the middle nowhere, and the classic loop leaps.
        task.pattern = 'a' + std::string(cPattern - 2, 'b') + 'a';
    } else {
        const char* const pszSource = rState.range(2) == TEXT
                                          ? "tray second setting zone of the queue, then the registry "
                                          : "\x81\x12\xF3\x44\x95\x16\xE7\x58\xA9\x1A\xDB\x6C\xBD\x1E\xCF\x70";
        while (task.pattern.size() < cPattern)
            task.pattern += pszSource;
        task.pattern.resize(cPattern);
    }
    task.data.replace(cData - cPattern, cPattern, task.pattern);
    return task;
}

template <class Body>
void Run(benchmark::State& rState, Body body) {
    const Task task = MakeTask(rState);
    const auto search = body(task.pattern);
    std::ptrdiff_t position = 0;
    for (auto _ : rState) {
        benchmark::ClobberMemory();
        benchmark::DoNotOptimize(position = search(task.data));
    }
    if (position != static_cast<std::ptrdiff_t>(task.data.find(task.pattern))) rState.SkipWithError("wrong result");
    rState.SetBytesProcessed(rState.iterations() * rState.range(0));
}

template <CpuLevel LEVEL>
void Ours(benchmark::State& rState) {
    const CpuLevel eFormer = vlm::ExchangeCpuLevel(LEVEL);
    Run(rState, [](const std::string& rPattern) {
        return [match = HorspoolMatch(rPattern.data(), static_cast<int>(rPattern.size()))](const std::string& rData) {
            return std::ptrdiff_t{
                match.Search(reinterpret_cast<const BYTE*>(rData.data()), static_cast<DWORD>(rData.size()), 0)};
        };
    });
    vlm::ExchangeCpuLevel(eFormer);
}
void Memmem(benchmark::State& rState) {
    Run(rState, [](const std::string& rPattern) {
        return [&rPattern](const std::string& rData) {
            const void* const pv = memmem(rData.data(), rData.size(), rPattern.data(), rPattern.size());
            return static_cast<const char*>(pv) - rData.data();
        };
    });
}
void Find(benchmark::State& rState) {
    Run(rState, [](const std::string& rPattern) {
        return [&rPattern](const std::string& rData) { return static_cast<std::ptrdiff_t>(rData.find(rPattern)); };
    });
}
void StdHorspool(benchmark::State& rState) {
    Run(rState, [](const std::string& rPattern) {
        return
            [searcher = std::boyer_moore_horspool_searcher(rPattern.begin(), rPattern.end())](
                const std::string& rData) { return std::search(rData.begin(), rData.end(), searcher) - rData.begin(); };
    });
}
/// The loop as the class's algorithm is written.
void ClassicLoop(benchmark::State& rState) {
    Run(rState, [](const std::string& rPattern) {
        std::array<int, 256> aiShift;
        const int m = static_cast<int>(rPattern.size());
        aiShift.fill(m);
        for (int i = 0; i + 1 < m; ++i)
            aiShift[static_cast<BYTE>(rPattern[static_cast<std::size_t>(i)])] = m - 1 - i;
        return [aiShift, m, &rPattern](const std::string& rData) {
            const char* const p = rPattern.data();
            const char* const d = rData.data();
            const int n = static_cast<int>(rData.size());
            for (int at = 0; at + m <= n; at += aiShift[static_cast<BYTE>(d[at + m - 1])]) {
                if (d[at + m - 1] != p[m - 1]) continue;
                int i = m - 2;
                while (i >= 0 && p[i] == d[at + i])
                    --i;
                if (i < 0) return std::ptrdiff_t{at};
            }
            return std::ptrdiff_t{-1};
        };
    });
}
void Memchr(benchmark::State& rState) {
    const std::string data(static_cast<std::size_t>(rState.range(0)), 'x');
    for (auto _ : rState) {
        benchmark::ClobberMemory();
        benchmark::DoNotOptimize(std::memchr(data.data(), 'y', data.size()));
    }
}

void Tasks(benchmark::internal::Benchmark* pBenchmark) {
    for (const int iData : {1 << 10, 1 << 20}) {
        for (const int iPattern : {4, 16, 64, 400}) {
            for (const Kind eKind : {RANDOM, TEXT, ADVERSE})
                pBenchmark->Args({iData, iPattern, eKind});
        }
    }
}
BENCHMARK(Ours<CpuLevel::Plain>)->Apply(Tasks);
BENCHMARK(Ours<CpuLevel::Avx2>)->Apply(Tasks);
BENCHMARK(Memmem)->Apply(Tasks);
BENCHMARK(Find)->Apply(Tasks);
BENCHMARK(StdHorspool)->Apply(Tasks);
BENCHMARK(ClassicLoop)->Apply(Tasks);
BENCHMARK(Memchr)->Arg(1 << 10)->Arg(1 << 20);

}  // namespace
