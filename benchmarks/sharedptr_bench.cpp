/// @file
/// The shared pointer and its pools against the standard one and Boost's intrusive one.
#include <benchmark/benchmark.h>

#include <boost/smart_ptr/intrusive_ptr.hpp>
#include <boost/smart_ptr/intrusive_ref_counter.hpp>
#include <chrono>
#include <memory>
#include <thread>
#include <vector>

#include "utilities/utilitiesdll/VlmSharedPtr.h"

namespace {

/// See string_bench.cpp: a second thread lives, so nobody skips atomic operations.
const bool gbThreaded = [] {
    std::thread([] { std::this_thread::sleep_for(std::chrono::hours(24)); }).detach();
    return true;
}();

struct Plain {
    explicit Plain(int i) : iValue(i) {}
    int iValue;
    char achRest[44] = {};
};
struct Pooled : PooledObject {
    explicit Pooled(int i) : iValue(i) {}
    int iValue;
    char achRest[44] = {};
};
struct Intrusive : boost::intrusive_ref_counter<Intrusive> {
    explicit Intrusive(int i) : iValue(i) {}
    int iValue;
    char achRest[44] = {};
};

template <class Make>
void Create(benchmark::State& roState, Make make) {
    for (auto _ : roState) {
        auto pointer = make(1);
        benchmark::DoNotOptimize(pointer);
    }
}
template <class Make>
void CreateMany(benchmark::State& roState, Make make) {
    std::vector<decltype(make(0))> vPointers;
    vPointers.reserve(1000);
    for (auto _ : roState) {
        for (int i = 0; i < 1000; ++i)
            vPointers.push_back(make(i));
        vPointers.clear();
    }
    roState.SetItemsProcessed(roState.iterations() * 1000);
}
template <class Make>
void CopyOne(benchmark::State& roState, Make make) {
    const auto pointer = make(1);
    for (auto _ : roState) {
        auto copy = pointer;
        benchmark::DoNotOptimize(copy);
    }
}
template <class Make>
void CopyVector(benchmark::State& roState, Make make) {
    std::vector<decltype(make(0))> vPointers;
    for (int i = 0; i < 1000; ++i)
        vPointers.push_back(make(i));
    for (auto _ : roState) {
        auto vCopy = vPointers;
        benchmark::DoNotOptimize(vCopy.data());
    }
    roState.SetItemsProcessed(roState.iterations() * 1000);
}

const auto makeOurs = [](int i) { return MakeVlmShared<Pooled>(i); };
const auto makeOursPlain = [](int i) { return MakeVlmShared<Plain>(i); };
const auto makeStd = [](int i) { return std::make_shared<Plain>(i); };
const auto makeBoost = [](int i) { return boost::intrusive_ptr<Intrusive>(new Intrusive(i)); };

BENCHMARK_CAPTURE(Create, ours, makeOurs);
BENCHMARK_CAPTURE(Create, ours_object_by_new, makeOursPlain);
BENCHMARK_CAPTURE(Create, std, makeStd);
BENCHMARK_CAPTURE(Create, boost_intrusive, makeBoost);
BENCHMARK_CAPTURE(CreateMany, ours, makeOurs);
BENCHMARK_CAPTURE(CreateMany, std, makeStd);
BENCHMARK_CAPTURE(CreateMany, boost_intrusive, makeBoost);
BENCHMARK_CAPTURE(CopyOne, ours, makeOurs);
BENCHMARK_CAPTURE(CopyOne, std, makeStd);
BENCHMARK_CAPTURE(CopyOne, boost_intrusive, makeBoost);
BENCHMARK_CAPTURE(CopyVector, ours, makeOurs);
BENCHMARK_CAPTURE(CopyVector, std, makeStd);

}  // namespace
