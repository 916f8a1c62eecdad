/// @file
/// Feeds every file of the folders named on the command line to a fuzz target: the corpus as a plain test.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pby, std::size_t cBytes);

namespace {

std::vector<std::uint8_t> ReadAll(const std::filesystem::path& rPath) {
    std::ifstream oFile(rPath, std::ios::binary);
    return {std::istreambuf_iterator<char>(oFile), std::istreambuf_iterator<char>()};
}

int Replay(int cArguments, char** ppszArguments) {
    int cReplayed = 0;
    for (int i = 1; i < cArguments; ++i) {
        for (const auto& rEntry : std::filesystem::recursive_directory_iterator(ppszArguments[i])) {
            if (!rEntry.is_regular_file()) continue;
            const std::vector<std::uint8_t> vby = ReadAll(rEntry.path());
            std::printf("%s (%zu bytes)\n", rEntry.path().filename().string().c_str(), vby.size());
            std::fflush(stdout);  // the last name printed is the one that crashed
            LLVMFuzzerTestOneInput(vby.data(), vby.size());
            ++cReplayed;
        }
    }
    LLVMFuzzerTestOneInput(nullptr, 0);
    std::printf("%d inputs replayed\n", cReplayed);
    return cReplayed > 0 ? 0 : 1;
}

}  // namespace

int main(int cArguments, char** ppszArguments) {
    try {
        return Replay(cArguments, ppszArguments);
    } catch (const std::exception& rException) {
        std::printf("not replayed: %s\n", rException.what());
        return 2;
    }
}
