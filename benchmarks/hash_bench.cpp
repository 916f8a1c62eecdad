/// @file
/// ELF hash, 32-bit fingerprint and 16-bit checksum against the loops as written, with zlib's CRC where one is needed.
#include <benchmark/benchmark.h>
#include <zlib.h>

#include <vector>

#include "utilities/utilitiesdll/Checksum.h"
#include "utilities/utilitiesdll/Hash32.h"
#include "utilities/utilitiesdll/detail/values/CpuLevel.h"
#include "utilities/utilitiesdll/detail/values/ElfHash.h"

namespace {

using vlm::CpuLevel;

std::vector<BYTE> MakeBytes(std::int64_t llBytes, bool fText) {
    static constexpr char TEXT[] = "Printer settings of the queue on the second floor, tray 2, duplex. ";
    std::vector<BYTE> vby(static_cast<std::size_t>(llBytes));
    unsigned uState = 1;
    for (std::size_t i = 0; i < vby.size(); ++i) {
        uState = uState * 1664525 + 1013904223;
        vby[i] = fText ? static_cast<BYTE>(TEXT[i % (sizeof TEXT - 1)]) : static_cast<BYTE>(uState >> 24);
    }
    return vby;
}

template <class Body>
void Run(benchmark::State& rState, bool fText, Body body) {
    std::vector<BYTE> vby = MakeBytes(rState.range(0), fText);
    for (auto _ : rState) {
        benchmark::DoNotOptimize(vby.data());
        benchmark::ClobberMemory();
        benchmark::DoNotOptimize(body(vby.data(), vby.size()));
    }
    rState.SetBytesProcessed(rState.iterations() * rState.range(0));
}

template <bool TEXT>
void Elf(benchmark::State& rState) {
    Run(rState, TEXT, vlm::ElfHash);
}
template <bool TEXT>
void ElfAsWritten(benchmark::State& rState) {
    Run(rState, TEXT, vlm::ElfHashPlain);
}
void Hash(benchmark::State& rState) {
    Run(rState, true, [](const BYTE* pby, std::size_t c) { return Hash32::GetHash32(pby, static_cast<DWORD>(c)); });
}
void HashAsWritten(benchmark::State& rState) {
    Run(rState, true, [](const BYTE* pby, std::size_t c) {
        const DWORD dwCrc = static_cast<DWORD>(crc32(0, pby, static_cast<uInt>(c)));
        const DWORD dwHash = vlm::ElfHashPlain(pby, c) ^ dwCrc;
        return dwHash != 0 ? dwHash : DWORD{1};
    });
}
template <CpuLevel LEVEL>
void Sum(benchmark::State& rState) {
    const CpuLevel eFormer = vlm::ExchangeCpuLevel(LEVEL);
    Run(rState, false,
        [](const BYTE* pby, std::size_t c) { return Checksum::GetChecksum(pby, static_cast<DWORD>(c)); });
    vlm::ExchangeCpuLevel(eFormer);
}
/// A dependent chain of a thousand additions: the yardstick for cycles.
void ThousandAdds(benchmark::State& rState) {
    std::uint64_t value = 1;
    for (auto _ : rState) {
        for (int i = 0; i < 1000; ++i) {
            value += 3;
            benchmark::DoNotOptimize(value);
        }
    }
}

void Sizes(benchmark::internal::Benchmark* pBenchmark) {
    for (const int iBytes : {16, 64, 1 << 10, 1 << 20})
        pBenchmark->Arg(iBytes);
}
BENCHMARK(Elf<false>)->Apply(Sizes);
BENCHMARK(Elf<true>)->Apply(Sizes);
BENCHMARK(ElfAsWritten<false>)->Apply(Sizes);
BENCHMARK(ElfAsWritten<true>)->Apply(Sizes);
BENCHMARK(Hash)->Apply(Sizes);
BENCHMARK(HashAsWritten)->Apply(Sizes);
BENCHMARK(Sum<CpuLevel::Plain>)->Apply(Sizes);
BENCHMARK(Sum<CpuLevel::Avx2>)->Apply(Sizes);
BENCHMARK(ThousandAdds);

}  // namespace
