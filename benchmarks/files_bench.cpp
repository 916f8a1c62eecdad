/// @file
/// Whole files: ours beside the bare system calls, and what checksum, compression and encryption add.
///
/// The peer reads into a fresh vector of the file's size and writes in one call, as ours does; what counts is ours /
/// peer.  Files of 1 KB, 64 KB and 1 MiB in the system's folder for temporary files.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <vector>

#include "utilities/utilitiesdll/SimpleFileWithCompression.h"
#include "utilities/utilitiesdll/SimpleFileWithCrc.h"
#include "utilities/utilitiesdll/simplefilewithencryption.h"

namespace {

namespace fs = std::filesystem;

/// A folder that goes with the program.
const fs::path& Folder() {
    struct Own {
        Own() {
            std::string name = (fs::temp_directory_path() / "q9-files-bench-XXXXXX").string();
            if (mkdtemp(name.data())) path = name;
        }
        ~Own() {
            std::error_code error;
            if (!path.empty()) fs::remove_all(path, error);
        }
        Own(const Own&) = delete;
        Own& operator=(const Own&) = delete;
        fs::path path;
    };
    static const Own soOwn;
    return soOwn.path;
}

std::string NarrowPath() {
    return (Folder() / "file.bin").string();
}

CXString Path() {
    return CXString(XStringView(fs::path(NarrowPath()).u16string()));
}

ByteBuffer Data(std::int64_t llBytes) {
    std::vector<BYTE> vby(static_cast<std::size_t>(llBytes));
    unsigned uState = 1;
    for (BYTE& rby : vby)
        rby = static_cast<BYTE>((uState = uState * 1664525 + 1013904223) >> 26);
    return ByteBuffer(std::move(vby));
}

void Account(benchmark::State& rState) {
    rState.SetBytesProcessed(static_cast<std::int64_t>(rState.iterations()) * rState.range(0));
}

void ReadSystemCalls(benchmark::State& rState) {
    SimpleFile(Path()).WriteTheFile(Data(rState.range(0)), SimpleFile::FAA_LEAVE);
    const std::string path = NarrowPath();
    for (auto _ : rState) {
        const int iFile = open(path.c_str(), O_RDONLY | O_CLOEXEC);
        struct stat oStat {};
        fstat(iFile, &oStat);
        std::vector<BYTE> vby(static_cast<std::size_t>(oStat.st_size));
        const ssize_t cRead = read(iFile, vby.data(), vby.size());
        close(iFile);
        benchmark::DoNotOptimize(cRead);
        benchmark::DoNotOptimize(vby.data());
    }
    Account(rState);
}

void WriteSystemCalls(benchmark::State& rState) {
    const ByteBuffer bb = Data(rState.range(0));
    const std::string path = NarrowPath();
    for (auto _ : rState) {
        const int iFile = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
        const ssize_t cWritten = write(iFile, bb.data(), bb.size());
        close(iFile);
        benchmark::DoNotOptimize(cWritten);
    }
    Account(rState);
}

void Read(benchmark::State& rState, const SimpleFile& rFile) {
    rFile.WriteTheFile(Data(rState.range(0)), SimpleFile::FAA_LEAVE);
    for (auto _ : rState) {
        ByteBuffer bb;
        rFile.ReadTheFile(bb);
        benchmark::DoNotOptimize(bb.data());
    }
    Account(rState);
}

void Write(benchmark::State& rState, const SimpleFile& rFile) {
    const ByteBuffer bb = Data(rState.range(0));
    for (auto _ : rState)
        rFile.WriteTheFile(bb, SimpleFile::FAA_LEAVE);
    Account(rState);
}

void ReadPlain(benchmark::State& rState) {
    Read(rState, SimpleFile(Path()));
}
void WritePlain(benchmark::State& rState) {
    Write(rState, SimpleFile(Path()));
}
void ReadCrc(benchmark::State& rState) {
    Read(rState, SimpleFileWithCrc(Path()));
}
void WriteCrc(benchmark::State& rState) {
    Write(rState, SimpleFileWithCrc(Path()));
}
void ReadCompressed(benchmark::State& rState) {
    Read(rState, SimpleFileWithCompression(Path()));
}
void WriteCompressed(benchmark::State& rState) {
    Write(rState, SimpleFileWithCompression(Path()));
}
void ReadEncrypted(benchmark::State& rState) {
    Read(rState, SimpleFileWithEncryption(Path(), SimpleFileWithEncryption::SFE_WINCRYPT));
}
void WriteEncrypted(benchmark::State& rState) {
    Write(rState, SimpleFileWithEncryption(Path(), SimpleFileWithEncryption::SFE_WINCRYPT));
}

#define Q9_SIZES Arg(1000)->Arg(64 * 1024)->Arg(1 << 20)
BENCHMARK(ReadSystemCalls)->Q9_SIZES;
BENCHMARK(ReadPlain)->Q9_SIZES;
BENCHMARK(ReadCrc)->Q9_SIZES;
BENCHMARK(ReadCompressed)->Q9_SIZES;
BENCHMARK(ReadEncrypted)->Q9_SIZES;
BENCHMARK(WriteSystemCalls)->Q9_SIZES;
BENCHMARK(WritePlain)->Q9_SIZES;
BENCHMARK(WriteCrc)->Q9_SIZES;
BENCHMARK(WriteCompressed)->Q9_SIZES;
BENCHMARK(WriteEncrypted)->Q9_SIZES;

}  // namespace
