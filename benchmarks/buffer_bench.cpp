/// @file
/// Cursor reads, appends, hexadecimal text and dimension comparison, beside Abseil, the standard library and bare
/// copies.
#include <absl/strings/escaping.h>
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstring>
#include <string>
#include <vector>

#include "utilities/utilitiesdll/ByteBuffer.h"
#include "utilities/utilitiesdll/Dimension.h"
#include "utilities/utilitiesdll/HexText.h"

namespace {

constexpr int READS = 1000;

void CursorReads(benchmark::State& rState) {
    ByteBuffer bb;
    for (int i = 0; i < READS; ++i)
        bb.appendLongValue(i);
    for (auto _ : rState) {
        const BYTE* pbyCursor = bb.data();
        DWORD dwRemaining = bb.GetLength();
        LONG lSum = 0;
        while (dwRemaining > 0)
            lSum ^= ByteBuffer::WalkBufferToGetLong(pbyCursor, dwRemaining);
        benchmark::DoNotOptimize(lSum);
    }
    rState.SetItemsProcessed(rState.iterations() * READS);
}
void BareReads(benchmark::State& rState) {
    const std::vector<BYTE> vby(READS * 4);
    for (auto _ : rState) {
        LONG lSum = 0;
        for (std::size_t i = 0; i < vby.size(); i += 4) {
            LONG lValue;
            std::memcpy(&lValue, vby.data() + i, 4);
            lSum ^= lValue;
            benchmark::DoNotOptimize(lSum);
        }
    }
    rState.SetItemsProcessed(rState.iterations() * READS);
}
void AppendLongs(benchmark::State& rState) {
    for (auto _ : rState) {
        ByteBuffer bb;
        bb.reserve(READS * 4);
        for (int i = 0; i < READS; ++i)
            bb.appendLongValue(i);
        benchmark::DoNotOptimize(bb.data());
    }
    rState.SetItemsProcessed(rState.iterations() * READS);
}
void VectorInserts(benchmark::State& rState) {
    for (auto _ : rState) {
        std::vector<BYTE> vby;
        vby.reserve(READS * 4);
        for (int i = 0; i < READS; ++i) {
            const BYTE* const pby = reinterpret_cast<const BYTE*>(&i);
            vby.insert(vby.end(), pby, pby + 4);
        }
        benchmark::DoNotOptimize(vby.data());
    }
    rState.SetItemsProcessed(rState.iterations() * READS);
}

std::string MakeBytes(std::int64_t llBytes) {
    std::string bytes(static_cast<std::size_t>(llBytes), '\0');
    unsigned uState = 1;
    for (char& rch : bytes)
        rch = static_cast<char>((uState = uState * 1664525 + 1013904223) >> 24);
    return bytes;
}
void HexEncode(benchmark::State& rState) {
    const std::string bytes = MakeBytes(rState.range(0));
    const ByteBuffer kbb(reinterpret_cast<const BYTE*>(bytes.data()), bytes.size());
    for (auto _ : rState)
        benchmark::DoNotOptimize(kbb.getAsHexBinaryString());
}
void HexEncodeToRoom(benchmark::State& rState) {
    const std::string bytes = MakeBytes(rState.range(0));
    std::vector<XCHAR> vch(2 * bytes.size());
    for (auto _ : rState) {
        HexText::EncodeTo(std::span(reinterpret_cast<const BYTE*>(bytes.data()), bytes.size()), vch.data());
        benchmark::DoNotOptimize(vch.data());
        benchmark::ClobberMemory();
    }
}
void HexEncodeAbsl(benchmark::State& rState) {
    const std::string bytes = MakeBytes(rState.range(0));
    for (auto _ : rState)
        benchmark::DoNotOptimize(absl::BytesToHexString(bytes));
}
void HexDecode(benchmark::State& rState) {
    const std::string bytes = MakeBytes(rState.range(0));
    const CXString csHex = ByteBuffer(reinterpret_cast<const BYTE*>(bytes.data()), bytes.size()).getAsHexBinaryString();
    for (auto _ : rState) {
        ByteBuffer bb;
        benchmark::DoNotOptimize(ByteBuffer::ConvertHexBinaryStringToByteBuffer(csHex, bb));
        benchmark::DoNotOptimize(bb.data());
    }
}
void HexDecodeAbsl(benchmark::State& rState) {
    const std::string hex = absl::BytesToHexString(MakeBytes(rState.range(0)));
    for (auto _ : rState)
        benchmark::DoNotOptimize(absl::HexStringToBytes(hex));
}

void DimensionCompare(benchmark::State& rState) {
    std::vector<Dimension> vo;
    for (int i = 0; i < 64; ++i)
        vo.emplace_back(i * 1.5, i % 2 == 0 ? Dimension::DUE_INCHES : Dimension::DUE_MM);
    std::size_t i = 0;
    for (auto _ : rState) {
        benchmark::DoNotOptimize(vo[i % 64] < vo[(i + 7) % 64]);
        ++i;
    }
}
void LlroundCompare(benchmark::State& rState) {
    const double aFactors[] = {25400.0, 1000.0};
    std::size_t i = 0;
    for (auto _ : rState) {
        const double dblLeft = static_cast<double>(i % 64) * 1.5 * aFactors[i % 2];
        const double dblRight = static_cast<double>((i + 7) % 64) * 1.5 * aFactors[(i + 1) % 2];
        benchmark::DoNotOptimize(std::llround(dblLeft) < std::llround(dblRight));
        ++i;
    }
}

BENCHMARK(CursorReads);
BENCHMARK(BareReads);
BENCHMARK(AppendLongs);
BENCHMARK(VectorInserts);
BENCHMARK(HexEncode)->Arg(16)->Arg(1 << 10)->Arg(1 << 16);
BENCHMARK(HexEncodeToRoom)->Arg(16)->Arg(1 << 10)->Arg(1 << 16);
BENCHMARK(HexEncodeAbsl)->Arg(16)->Arg(1 << 10)->Arg(1 << 16);
BENCHMARK(HexDecode)->Arg(16)->Arg(1 << 10)->Arg(1 << 16);
BENCHMARK(HexDecodeAbsl)->Arg(16)->Arg(1 << 10)->Arg(1 << 16);
BENCHMARK(DimensionCompare);
BENCHMARK(LlroundCompare);

}  // namespace
