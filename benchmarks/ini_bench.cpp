/// @file
/// INI files: one read and one edit, opened anew each time, beside inih and bare system calls.
///
/// Files of 10, 1,000 and 100,000 entries in sections of ten; the entry is the third from the end.  inih parses the
/// whole file, as its users do for one entry.  "Bare" reads the whole file and looks for the section's and the entry's
/// text with memmem, without any rules; its edit writes the changed tail and cuts the file.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <ini.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>

#include "environment/UTF8Ini.h"

namespace {

namespace fs = std::filesystem;

constexpr std::int64_t SECTION_ENTRIES = 10;
const char* const VALUES[] = {"a value of some length", "another one that is longer"};

/// A file of so many entries, gone with the object.
class File {
public:
    explicit File(std::int64_t cEntries) {
        std::string folder = (fs::temp_directory_path() / "q9-ini-bench-XXXXXX").string();
        if (mkdtemp(folder.data()) == nullptr) std::abort();
        m_path = fs::path(folder) / "marks.ini";
        std::ofstream oFile(m_path, std::ios::binary);
        for (std::int64_t i = 0; i < cEntries; ++i) {
            if (i % SECTION_ENTRIES == 0) oFile << "[section" << i / SECTION_ENTRIES << "]\r\n";
            oFile << "key" << i << "=" << VALUES[0] << "\r\n";
        }
        const std::int64_t iWanted = cEntries - 3;
        section = "section" + std::to_string(iWanted / SECTION_ENTRIES);
        key = "key" + std::to_string(iWanted);
        narrow = m_path.string();
        wide = m_path.u16string();
    }
    ~File() {
        std::error_code error;
        fs::remove_all(m_path.parent_path(), error);
    }
    File(const File&) = delete;
    File& operator=(const File&) = delete;

    std::string section, key, narrow;
    std::u16string wide;

private:
    fs::path m_path;
};

void ReadOurs(benchmark::State& rState) {
    const File oFile(rState.range(0));
    UTF8Ini oIni;
    char szValue[100];
    for (auto _ : rState) {
        const DWORD dwCopied = oIni.CustomGetPrivateProfileStringA(oFile.section.c_str(), oFile.key.c_str(), "",
                                                                   szValue, sizeof(szValue), oFile.wide.c_str());
        if (dwCopied != std::strlen(VALUES[0])) rState.SkipWithError("not found");
        benchmark::DoNotOptimize(szValue);
    }
}

void ReadInih(benchmark::State& rState) {
    struct Wanted {
        const File& rFile;
        std::string value;
    };
    const File oFile(rState.range(0));
    const auto handler = [](void* pUser, const char* pszSection, const char* pszKey, const char* pszValue) {
        auto& rWanted = *static_cast<Wanted*>(pUser);
        if (rWanted.rFile.section == pszSection && rWanted.rFile.key == pszKey) rWanted.value = pszValue;
        return 1;
    };
    for (auto _ : rState) {
        Wanted oWanted{oFile, {}};
        if (ini_parse(oFile.narrow.c_str(), handler, &oWanted) != 0 || oWanted.value.empty())
            rState.SkipWithError("not found");
        benchmark::DoNotOptimize(oWanted.value.data());
    }
}

/// The whole file, and where the value stands in it.
struct Bare {
    explicit Bare(const File& rFile) : iFile(open(rFile.narrow.c_str(), O_RDWR | O_CLOEXEC)) {
        struct stat oStat {};
        fstat(iFile, &oStat);
        text.resize(static_cast<std::size_t>(oStat.st_size));
        if (read(iFile, text.data(), text.size()) != oStat.st_size) std::abort();
        const std::string header = "[" + rFile.section + "]", entry = rFile.key + "=";
        const char* const pch = static_cast<char*>(memmem(text.data(), text.size(), header.data(), header.size()));
        const std::size_t cRest = text.size() - static_cast<std::size_t>(pch - text.data());
        cValue =
            static_cast<std::size_t>(static_cast<char*>(memmem(pch, cRest, entry.data(), entry.size())) - text.data()) +
            entry.size();
    }
    ~Bare() { close(iFile); }
    Bare(const Bare&) = delete;
    Bare& operator=(const Bare&) = delete;

    int iFile;
    std::string text;
    std::size_t cValue;
};

void ReadBare(benchmark::State& rState) {
    const File oFile(rState.range(0));
    for (auto _ : rState) {
        const Bare oBare(oFile);
        benchmark::DoNotOptimize(
            oBare.text.substr(oBare.cValue, oBare.text.find('\r', oBare.cValue) - oBare.cValue).data());
    }
}

void EditOurs(benchmark::State& rState) {
    const File oFile(rState.range(0));
    UTF8Ini oIni;
    for (std::size_t i = 1; auto _ : rState) {
        if (oIni.CustomWritePrivateProfileStringA(oFile.section.c_str(), oFile.key.c_str(), VALUES[i++ % 2],
                                                  oFile.wide.c_str()) != 1)
            rState.SkipWithError("not written");
    }
}

void EditBare(benchmark::State& rState) {
    const File oFile(rState.range(0));
    for (std::size_t i = 1; auto _ : rState) {
        Bare oBare(oFile);
        oBare.text.replace(oBare.cValue, oBare.text.find('\r', oBare.cValue) - oBare.cValue, VALUES[i++ % 2]);
        const std::size_t cTail = oBare.text.size() - oBare.cValue;
        const ssize_t cWritten =
            pwrite(oBare.iFile, oBare.text.data() + oBare.cValue, cTail, static_cast<off_t>(oBare.cValue));
        if (cWritten != static_cast<ssize_t>(cTail) ||
            ftruncate(oBare.iFile, static_cast<off_t>(oBare.text.size())) != 0)
            rState.SkipWithError("not written");
    }
}

void Sizes(benchmark::internal::Benchmark* pBenchmark) {
    for (const std::int64_t cEntries : {10, 1000, 100000})
        pBenchmark->Arg(cEntries);
}
BENCHMARK(ReadOurs)->Apply(Sizes);
BENCHMARK(ReadInih)->Apply(Sizes);
BENCHMARK(ReadBare)->Apply(Sizes);
BENCHMARK(EditOurs)->Apply(Sizes);
BENCHMARK(EditBare)->Apply(Sizes);

/// The first entry of a large file: what is behind it costs nothing but the file's mapping.
void ReadFirst(benchmark::State& rState) {
    const File oFile(rState.range(0));
    UTF8Ini oIni;
    char szValue[100];
    for (auto _ : rState) {
        oIni.CustomGetPrivateProfileStringA("section0", "key0", "", szValue, sizeof(szValue), oFile.wide.c_str());
        benchmark::DoNotOptimize(szValue);
    }
}
BENCHMARK(ReadFirst)->Apply(Sizes);

}  // namespace
