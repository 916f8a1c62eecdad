/// @file
/// Compression: ours beside the bare engine (zlib in blocks of 32 KiB with history) and beside other compressors.
///
/// The engine does the work, so what counts is ours / engine.  "ratio" is original / compressed size.  Decompression of
/// ours holds the whole check of the image, and libmspack as the engine; "check" is that part alone.
#include <benchmark/benchmark.h>
#include <isa-l/igzip_lib.h>
#include <libdeflate.h>
#include <zlib.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <random>
#include <vector>

#include "utilities/compression/CabCompressedBuffer.h"
#include "utilities/compression/CabinetImage.h"

namespace {

using Bytes = std::vector<BYTE>;

constexpr std::size_t BLOCK = 32768;
constexpr int ENGINE_MEMORY = 9;

/// Records of settings: tag, number, flag, a value that is mostly small, now and then a text.
Bytes Records(std::size_t cBytes) {
    std::mt19937 random(1);
    Bytes bytes;
    while (bytes.size() < cBytes) {
        const unsigned uId = 256 + random() % 900;
        const BYTE abyHead[] = {
            2, static_cast<BYTE>(uId), static_cast<BYTE>(uId >> 8), 0, 0, 1, static_cast<BYTE>(3 + random() % 4)};
        bytes.insert(bytes.end(), abyHead, abyHead + sizeof abyHead);
        if (random() % 6 == 0) {
            for (unsigned c = 4 + random() % 12; c > 0; --c) {
                bytes.push_back(static_cast<BYTE>('a' + random() % 16));
                bytes.push_back(0);
            }
        } else {
            const unsigned uValue = random() % 4 ? random() % 100 : static_cast<unsigned>(random());
            for (unsigned i = 0; i < 4; ++i)
                bytes.push_back(static_cast<BYTE>(uValue >> (8 * i)));
        }
    }
    bytes.resize(cBytes);
    return bytes;
}

/// Half text of a vocabulary with skewed use, a quarter records, the rest noise.
Bytes Mixed(std::size_t cBytes) {
    std::mt19937 random(2);
    std::vector<std::string> vWords(4000);
    for (std::string& rWord : vWords) {
        for (unsigned c = 2 + random() % 8; c > 0; --c)
            rWord += static_cast<char>('a' + random() % 26);
    }
    const Bytes records = Records(cBytes);
    Bytes bytes;
    std::size_t uRecord = 0;
    while (bytes.size() < cBytes) {
        const unsigned uKind = random() % 8;
        const std::size_t cPart = 2000 + random() % 6000;
        const std::size_t uEnd = bytes.size() + cPart;
        if (uKind < 5) {
            while (bytes.size() < uEnd) {
                const std::string& rWord = vWords[std::min({random() % 4000, random() % 4000, random() % 4000})];
                bytes.insert(bytes.end(), rWord.begin(), rWord.end());
                bytes.push_back(' ');
            }
        } else if (uKind < 7) {
            while (bytes.size() < uEnd)
                bytes.push_back(records[uRecord++ % records.size()]);
        } else {
            while (bytes.size() < uEnd)
                bytes.push_back(static_cast<BYTE>(random()));
        }
    }
    bytes.resize(cBytes);
    return bytes;
}

const Bytes& Data(std::int64_t iSet) {
    static const Bytes SETS[] = {Records(1000), Records(20 * 1024), Mixed(1 << 20), Mixed(10 << 20)};
    return SETS[iSet];
}
constexpr const char* SET_NAMES[] = {"records 1 KB", "records 20 KB", "mixed 1 MiB", "mixed 10 MiB"};

void Account(benchmark::State& rState, std::size_t cCompressed) {
    const std::size_t cOriginal = Data(rState.range(0)).size();
    rState.SetLabel(SET_NAMES[rState.range(0)]);
    rState.SetBytesProcessed(static_cast<std::int64_t>(rState.iterations() * cOriginal));
    if (cCompressed > 0) rState.counters["ratio"] = static_cast<double>(cOriginal) / static_cast<double>(cCompressed);
}

/// One engine for all blocks, as the writer of images uses it, without the image.
std::vector<Bytes> EngineBlocks(const Bytes& rData, int iLevel) {
    std::vector<Bytes> vBlocks;
    z_stream oEngine{};
    deflateInit2(&oEngine, iLevel, Z_DEFLATED, -15, ENGINE_MEMORY, Z_DEFAULT_STRATEGY);
    Bytes out(BLOCK + 1024);
    for (std::size_t u = 0; u < rData.size(); u += BLOCK) {
        deflateReset(&oEngine);
        if (u > 0) deflateSetDictionary(&oEngine, rData.data() + u - BLOCK, BLOCK);
        oEngine.next_in = const_cast<Bytef*>(rData.data() + u);
        oEngine.avail_in = static_cast<uInt>(std::min(BLOCK, rData.size() - u));
        oEngine.next_out = out.data();
        oEngine.avail_out = static_cast<uInt>(out.size());
        deflate(&oEngine, Z_FINISH);
        vBlocks.emplace_back(out.begin(), out.end() - oEngine.avail_out);
    }
    deflateEnd(&oEngine);
    return vBlocks;
}

void CompressEngine(benchmark::State& rState) {
    std::size_t cCompressed = 0;
    for (auto _ : rState) {
        cCompressed = 0;
        for (const Bytes& rBlock : EngineBlocks(Data(rState.range(0)), static_cast<int>(rState.range(1)))) {
            cCompressed += rBlock.size();
        }
    }
    Account(rState, cCompressed);
}

void CompressOurs(benchmark::State& rState) {
    const Bytes& rData = Data(rState.range(0));
    std::size_t cCompressed = 0;
    for (auto _ : rState) {
        ByteBuffer bb;
        CabCompressedBuffer::CompressBuffer(rData.data(), static_cast<DWORD>(rData.size()), bb,
                                            static_cast<LONG>(rState.range(1)));
        cCompressed = bb.size();
    }
    Account(rState, cCompressed);
}

void CompressLibdeflate(benchmark::State& rState) {
    const Bytes& rData = Data(rState.range(0));
    libdeflate_compressor* const pEngine = libdeflate_alloc_compressor(static_cast<int>(rState.range(1)));
    Bytes out(libdeflate_deflate_compress_bound(pEngine, rData.size()));
    std::size_t cCompressed = 0;
    for (auto _ : rState) {
        cCompressed = libdeflate_deflate_compress(pEngine, rData.data(), rData.size(), out.data(), out.size());
    }
    libdeflate_free_compressor(pEngine);
    Account(rState, cCompressed);
}

void CompressIsal(benchmark::State& rState) {
    const Bytes& rData = Data(rState.range(0));
    Bytes out(rData.size() + 4096);
    Bytes work(ISAL_DEF_LVL1_DEFAULT);
    std::size_t cCompressed = 0;
    for (auto _ : rState) {
        isal_zstream oEngine;
        isal_deflate_stateless_init(&oEngine);
        oEngine.level = 1;
        oEngine.level_buf = work.data();
        oEngine.level_buf_size = static_cast<std::uint32_t>(work.size());
        oEngine.next_in = const_cast<std::uint8_t*>(rData.data());
        oEngine.avail_in = static_cast<std::uint32_t>(rData.size());
        oEngine.next_out = out.data();
        oEngine.avail_out = static_cast<std::uint32_t>(out.size());
        isal_deflate_stateless(&oEngine);
        cCompressed = oEngine.total_out;
    }
    Account(rState, cCompressed);
}

ByteBuffer ImageOf(const Bytes& rData) {
    ByteBuffer bb;
    CabCompressedBuffer::CompressBuffer(rData.data(), static_cast<DWORD>(rData.size()), bb, -1);
    return bb;
}

void DecompressEngine(benchmark::State& rState) {
    const Bytes& rData = Data(rState.range(0));
    const std::vector<Bytes> vBlocks = EngineBlocks(rData, 6);
    for (auto _ : rState) {
        Bytes out(rData.size());
        z_stream oEngine{};
        inflateInit2(&oEngine, -15);
        for (std::size_t i = 0; i < vBlocks.size(); ++i) {
            inflateReset(&oEngine);
            if (i > 0) inflateSetDictionary(&oEngine, out.data() + (i - 1) * BLOCK, BLOCK);
            oEngine.next_in = const_cast<Bytef*>(vBlocks[i].data());
            oEngine.avail_in = static_cast<uInt>(vBlocks[i].size());
            oEngine.next_out = out.data() + i * BLOCK;
            oEngine.avail_out = static_cast<uInt>(std::min(BLOCK, out.size() - i * BLOCK));
            inflate(&oEngine, Z_FINISH);
        }
        inflateEnd(&oEngine);
        benchmark::DoNotOptimize(out.data());
    }
    Account(rState, 0);
}

void DecompressOurs(benchmark::State& rState) {
    const ByteBuffer bbImage = ImageOf(Data(rState.range(0)));
    for (auto _ : rState) {
        ByteBuffer bb;
        CabCompressedBuffer::UncompressBuffer(bbImage, bb);
        benchmark::DoNotOptimize(bb.data());
    }
    Account(rState, 0);
}

void DecompressCheckAlone(benchmark::State& rState) {
    const ByteBuffer bbImage = ImageOf(Data(rState.range(0)));
    for (auto _ : rState) {
        const auto verdict = vlm::ValidateCabinetImage(bbImage.data(), bbImage.size(), vlm::SINGLE_MEMBER_CABINET);
        if (!verdict.IsAccepted()) rState.SkipWithError("refused");
    }
    Account(rState, 0);
}

void DecompressLibdeflate(benchmark::State& rState) {
    const Bytes& rData = Data(rState.range(0));
    libdeflate_compressor* const pCompressor = libdeflate_alloc_compressor(6);
    Bytes compressed(libdeflate_deflate_compress_bound(pCompressor, rData.size()));
    compressed.resize(
        libdeflate_deflate_compress(pCompressor, rData.data(), rData.size(), compressed.data(), compressed.size()));
    libdeflate_free_compressor(pCompressor);
    libdeflate_decompressor* const pEngine = libdeflate_alloc_decompressor();
    for (auto _ : rState) {
        Bytes out(rData.size());
        libdeflate_deflate_decompress(pEngine, compressed.data(), compressed.size(), out.data(), out.size(), nullptr);
        benchmark::DoNotOptimize(out.data());
    }
    libdeflate_free_decompressor(pEngine);
    Account(rState, 0);
}

void DecompressIsal(benchmark::State& rState) {
    const Bytes& rData = Data(rState.range(0));
    const std::vector<Bytes> vBlocks = EngineBlocks(rData, 6);
    for (auto _ : rState) {
        Bytes out(rData.size());
        const auto apoEngine = std::make_unique<inflate_state>();
        isal_inflate_init(apoEngine.get());
        for (std::size_t i = 0; i < vBlocks.size(); ++i) {
            isal_inflate_reset(apoEngine.get());
            if (i > 0) isal_inflate_set_dict(apoEngine.get(), out.data() + (i - 1) * BLOCK, BLOCK);
            apoEngine->next_in = const_cast<std::uint8_t*>(vBlocks[i].data());
            apoEngine->avail_in = static_cast<std::uint32_t>(vBlocks[i].size());
            apoEngine->next_out = out.data() + i * BLOCK;
            apoEngine->avail_out = static_cast<std::uint32_t>(std::min(BLOCK, out.size() - i * BLOCK));
            isal_inflate(apoEngine.get());
        }
        benchmark::DoNotOptimize(out.data());
    }
    Account(rState, 0);
}

BENCHMARK(CompressEngine)->ArgsProduct({{0, 1, 2, 3}, {-1}})->ArgsProduct({{1, 3}, {1, 9}});
BENCHMARK(CompressOurs)->ArgsProduct({{0, 1, 2, 3}, {-1}})->ArgsProduct({{1, 3}, {1, 9}});
BENCHMARK(CompressLibdeflate)->ArgsProduct({{1, 3}, {1, 6}});
BENCHMARK(CompressIsal)->ArgsProduct({{1, 3}, {1}});
BENCHMARK(DecompressEngine)->DenseRange(0, 3);
BENCHMARK(DecompressOurs)->DenseRange(0, 3);
BENCHMARK(DecompressCheckAlone)->DenseRange(0, 3);
BENCHMARK(DecompressLibdeflate)->DenseRange(0, 3);
BENCHMARK(DecompressIsal)->DenseRange(0, 3);

}  // namespace
