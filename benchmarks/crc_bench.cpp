/// @file
/// CRC-32 against zlib, libdeflate, ISA-L and Boost; ours at each processor level.
#include <benchmark/benchmark.h>
#include <isa-l/crc.h>
#include <libdeflate.h>
#include <zlib.h>

#include <boost/crc.hpp>
#include <vector>

#include "utilities/utilitiesdll/Crc32.h"
#include "utilities/utilitiesdll/detail/values/CpuLevel.h"
#include "utilities/utilitiesdll/detail/values/CrcKernels.h"

namespace {

using vlm::CpuLevel;

std::vector<BYTE> MakeBytes(std::int64_t llBytes) {
    std::vector<BYTE> vby(static_cast<std::size_t>(llBytes));
    unsigned uState = 1;
    for (BYTE& rby : vby)
        rby = static_cast<BYTE>((uState = uState * 1664525 + 1013904223) >> 24);
    return vby;
}

template <class Body>
void Run(benchmark::State& rState, Body body) {
    std::vector<BYTE> vby = MakeBytes(rState.range(0));
    for (auto _ : rState) {
        benchmark::DoNotOptimize(vby.data());
        benchmark::ClobberMemory();
        benchmark::DoNotOptimize(body(vby.data(), vby.size()));
    }
    rState.SetBytesProcessed(rState.iterations() * rState.range(0));
}

template <CpuLevel LEVEL>
void Ours(benchmark::State& rState) {
    const CpuLevel eFormer = vlm::ExchangeCpuLevel(LEVEL);
    if (vlm::GetCpuLevel() == LEVEL) {
        Run(rState, [](const BYTE* pby, std::size_t c) { return Crc32::GetCrc(pby, static_cast<DWORD>(c)); });
    } else {
        rState.SkipWithError("this processor does not reach the level");
    }
    vlm::ExchangeCpuLevel(eFormer);
}
void OursPlainLoop(benchmark::State& rState) {
    Run(rState, [](const BYTE* pby, std::size_t c) { return vlm::UpdateCrcPlain(0xFFFFFFFF, pby, c); });
}
void Zlib(benchmark::State& rState) {
    Run(rState, [](const BYTE* pby, std::size_t c) { return crc32(0, pby, static_cast<uInt>(c)); });
}
void Libdeflate(benchmark::State& rState) {
    Run(rState, [](const BYTE* pby, std::size_t c) { return libdeflate_crc32(0, pby, c); });
}
void IsaL(benchmark::State& rState) {
    Run(rState, [](const BYTE* pby, std::size_t c) { return crc32_gzip_refl(0, pby, c); });
}
void BoostCrc(benchmark::State& rState) {
    Run(rState, [](const BYTE* pby, std::size_t c) {
        boost::crc_32_type crc;
        crc.process_bytes(pby, c);
        return crc.checksum();
    });
}

void Sizes(benchmark::internal::Benchmark* pBenchmark) {
    for (const int iBytes : {16, 64, 79, 1 << 10, 1 << 20})
        pBenchmark->Arg(iBytes);
}
BENCHMARK(Ours<CpuLevel::Plain>)->Apply(Sizes);
BENCHMARK(Ours<CpuLevel::Clmul>)->Apply(Sizes);
BENCHMARK(Ours<CpuLevel::Avx2>)->Apply(Sizes);
BENCHMARK(Ours<CpuLevel::Avx512>)->Apply(Sizes);
BENCHMARK(OursPlainLoop)->Apply(Sizes);
BENCHMARK(Zlib)->Apply(Sizes);
BENCHMARK(Libdeflate)->Apply(Sizes);
BENCHMARK(IsaL)->Apply(Sizes);
BENCHMARK(BoostCrc)->Apply(Sizes);

}  // namespace
