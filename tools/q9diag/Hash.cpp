// hash: checksums of a file.
#include <array>

#include "CommandLine.h"
#include "Commands.h"
#include "Failure.h"
#include "Files.h"
#include "Output.h"
#include "utilities/utilitiesdll/Checksum.h"
#include "utilities/utilitiesdll/Crc32.h"
#include "utilities/utilitiesdll/Hash32.h"

namespace vlm::tool {

namespace {

struct Options {
    std::string strFile;
    std::string strKind;
    std::optional<std::int64_t> ollSeed;
};

struct Kind {
    const char* pszName;
    int cDigits;
    bool bSeed;
    DWORD (*pfnCompute)(const BYTE* pbyData, DWORD dwBytes, const std::optional<std::int64_t>& rollSeed);
};

constexpr std::array<Kind, 4> KINDS = {{
    {"crc32", 8, true,
     [](const BYTE* pbyData, DWORD dwBytes, const std::optional<std::int64_t>& rollSeed) -> DWORD {
         return rollSeed ? Crc32::GetCrc(pbyData, dwBytes, static_cast<DWORD>(*rollSeed))
                         : Crc32::GetCrc(pbyData, dwBytes);
     }},
    {"hash32", 8, true,
     [](const BYTE* pbyData, DWORD dwBytes, const std::optional<std::int64_t>& rollSeed) -> DWORD {
         return rollSeed ? Hash32::AddToHash32(static_cast<DWORD>(*rollSeed), pbyData, dwBytes)
                         : Hash32::GetHash32(pbyData, dwBytes);
     }},
    {"hash16", 4, false,
     [](const BYTE* pbyData, DWORD dwBytes, const std::optional<std::int64_t>&) -> DWORD {
         return Hash32::GetHash16(pbyData, dwBytes);
     }},
    {"checksum", 4, false,
     [](const BYTE* pbyData, DWORD dwBytes, const std::optional<std::int64_t>&) -> DWORD {
         return Checksum::GetChecksum(pbyData, dwBytes);
     }},
}};

int Run(const Options& rOptions, Output& rOutput) {
    for (const Kind& rKind : KINDS)
        if (rOptions.ollSeed && rOptions.strKind == rKind.pszName && !rKind.bSeed)
            throw UsageError("--seed: " + rOptions.strKind + " takes none; crc32 and hash32 do");
    ByteBuffer bbData = ReadInput(rOptions.strFile);
    const DWORD dwBytes = bbData.GetLength();
    bbData.appendNullChar();  // the checksum of an odd length reads two bytes behind the data
    Json oHashes = Json::object();
    std::vector<std::vector<std::string>> vRows;
    for (const Kind& rKind : KINDS) {
        const bool fWanted = rOptions.strKind.empty() || rOptions.strKind == rKind.pszName;
        if (!fWanted || (rOptions.ollSeed && !rKind.bSeed)) continue;
        const DWORD dwValue = rKind.pfnCompute(bbData.data(), dwBytes, rOptions.ollSeed);
        const std::string strHex = Hex(dwValue, rKind.cDigits);
        vRows.push_back({rKind.pszName, strHex});
        oHashes[rKind.pszName] = {{"value", dwValue}, {"hex", strHex}};
    }
    if (rOptions.strKind.empty())
        rOutput.Table(vRows, 0, {Style::Name});
    else
        rOutput.Line(vRows.at(0).at(1));
    rOutput.Document({{"bytes", dwBytes}, {"hashes", std::move(oHashes)}});
    return EXIT_DONE;
}

}  // namespace

void AddHash(CommandLine& rLine) {
    const auto shpoOptions = std::make_shared<Options>();
    rLine.Add("hash", nullptr, "Print checksums of a file in hexadecimal")
        .Argument("FILE", shpoOptions->strFile, "Any file")
        .Choice("--kind", shpoOptions->strKind, {"crc32", "hash32", "hash16", "checksum"}, "One alone instead of all")
        .Number("--seed", shpoOptions->ollSeed, 0, 0xFFFFFFFF,
                "crc32: the register's start, as it is; hash32: the hash of the pieces before")
        .Run([shpoOptions](Output& rOutput) { return Run(*shpoOptions, rOutput); });
}

}  // namespace vlm::tool
