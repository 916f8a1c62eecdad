/// @file
/// Map files and look-ups in them, beside reading lines into strings, and a hash map of names made ready.
#include <absl/container/flat_hash_map.h>
#include <benchmark/benchmark.h>

#include <istream>
#include <sstream>
#include <string>
#include <vector>

#include "environment/MapFile.h"
#include "environment/detail/product/MappingDataIndex.h"

namespace {

/// About 160 characters a line, as map files have them.
std::string MapOf(int cModels) {
    std::string str;
    for (int i = 0; i < cModels; ++i) {
        const std::string n = std::to_string(i);
        str += (i % 2 ? "Velom KX " : "KX ") + n + "C,1.3.6.1.4.1.99999.8." + std::to_string(i / 25) + "." +
               std::to_string(i % 25) + ":FAMPATH=kx100;PRODUCTNAME=KX " + n +
               " Series;CONTROLLERFAMILY=KESTRIX;COLORCAPABLE=color;RATEDSPEED=45;PRINTERLANG=PCL6 PSCRIPT\r\n";
    }
    return str;
}

ByteBuffer BytesOf(const std::string& rText) {
    return ByteBuffer(reinterpret_cast<const BYTE*>(rText.data()), rText.size());
}

using Text = std::basic_string<XCHAR>;

/// 64 names, in the form that the map does not have them in.
std::vector<Text> NamesOf(int cModels) {
    std::vector<Text> vNames;
    for (int i = 0; i < 64; ++i) {
        const std::string n = std::to_string(static_cast<long long>(i) * 7919 % cModels);
        const std::string str = "KX " + n + "C Velom";
        vNames.emplace_back(str.begin(), str.end());
    }
    return vNames;
}

void Count(benchmark::State& rState) {
    rState.SetItemsProcessed(rState.iterations() * rState.range(0));
}

void ParseMap(benchmark::State& rState) {
    const ByteBuffer bbMap = BytesOf(MapOf(static_cast<int>(rState.range(0))));
    for (auto _ : rState)
        benchmark::DoNotOptimize(MapFile::Parse(bbMap));
    Count(rState);
}
/// Lines into owned UTF-16 strings: name, ids, right side.
void ParseByLines(benchmark::State& rState) {
    struct Record {
        Text name, ids, data;
    };
    const std::string strMap = MapOf(static_cast<int>(rState.range(0)));
    for (auto _ : rState) {
        std::vector<Record> vRecords;
        std::istringstream oStream(strMap);
        for (std::string str; std::getline(oStream, str);) {
            const std::size_t uColon = str.find(':'), uComma = str.find(',');
            if (uColon == std::string::npos || uComma > uColon) continue;
            const auto Part = [&](std::size_t uFrom, std::size_t uTo) {
                return Text(str.begin() + static_cast<std::ptrdiff_t>(uFrom),
                            str.begin() + static_cast<std::ptrdiff_t>(uTo));
            };
            vRecords.push_back({Part(0, uComma), Part(uComma, uColon), Part(uColon + 1, str.size())});
        }
        benchmark::DoNotOptimize(vRecords.data());
    }
    Count(rState);
}

void BuildIndex(benchmark::State& rState) {
    const auto voRecords = MapFile::Parse(BytesOf(MapOf(static_cast<int>(rState.range(0)))));
    for (auto _ : rState) {
        vlm::MappingDataIndex oIndex;
        benchmark::DoNotOptimize(oIndex.FindModel(voRecords, VTEXT("KX")));
    }
    Count(rState);
}

void FindByName(benchmark::State& rState) {
    const auto voRecords = MapFile::Parse(BytesOf(MapOf(static_cast<int>(rState.range(0)))));
    const std::vector<Text> vNames = NamesOf(static_cast<int>(rState.range(0)));
    vlm::MappingDataIndex oIndex;
    std::size_t u = 0;
    for (auto _ : rState)
        benchmark::DoNotOptimize(oIndex.FindModel(voRecords, vNames[u++ % vNames.size()]));
}
/// The names without the maker's word and with single blanks, as a program would keep them.
Text Normalised(XStringView name) {
    Text strNormal;
    while (!name.empty()) {
        const std::size_t uEnd = std::min(name.find(VTEXT(' ')), name.size());
        const XStringView token = name.substr(0, uEnd);
        if (!token.empty() && token != VTEXT("Velom")) {
            if (!strNormal.empty()) strNormal += VTEXT(' ');
            strNormal += token;
        }
        name.remove_prefix(std::min(uEnd + 1, name.size()));
    }
    return strNormal;
}
void FindByNameInHashMap(benchmark::State& rState) {
    const auto voRecords = MapFile::Parse(BytesOf(MapOf(static_cast<int>(rState.range(0)))));
    const std::vector<Text> vNames = NamesOf(static_cast<int>(rState.range(0)));
    absl::flat_hash_map<Text, std::size_t> mapNames;
    for (std::size_t u = 0; u < voRecords.size(); ++u)
        mapNames.try_emplace(Normalised(voRecords[u].GetModel().View()), u);
    std::size_t u = 0;
    for (auto _ : rState)
        benchmark::DoNotOptimize(mapNames.find(Normalised(vNames[u++ % vNames.size()])));
}

void FindBySysObjectId(benchmark::State& rState) {
    const auto voRecords = MapFile::Parse(BytesOf(MapOf(static_cast<int>(rState.range(0)))));
    std::vector<CXString> vcsOids;
    for (std::size_t u = 0; u < 64; ++u)
        vcsOids.push_back(voRecords[u * 7919 % voRecords.size()].GetSysObjectIds()[0] + VTEXT(".1.5"));
    vlm::MappingDataIndex oIndex;
    std::size_t u = 0;
    for (auto _ : rState)
        benchmark::DoNotOptimize(oIndex.FindSysObjectId(voRecords, vcsOids[u++ % vcsOids.size()].View()));
}

void GetData(benchmark::State& rState) {
    const auto voRecords = MapFile::Parse(BytesOf(MapOf(1)));
    for (auto _ : rState)
        benchmark::DoNotOptimize(voRecords[0].GetData(VTEXT("PRINTERLANG")));
}
/// The same search in a standard string, with the value as one.
void GetDataFromStandardString(benchmark::State& rState) {
    const auto voRecords = MapFile::Parse(BytesOf(MapOf(1)));
    const Text strData(voRecords[0].GetMapData().View());
    for (auto _ : rState) {
        const std::size_t uKey = strData.find(VTEXT("PRINTERLANG"));
        const std::size_t uValue = strData.find(VTEXT('='), uKey) + 1;
        benchmark::DoNotOptimize(strData.substr(uValue, strData.find(VTEXT(';'), uValue) - uValue));
    }
}

BENCHMARK(ParseMap)->Arg(200)->Arg(5000)->Arg(100000);
BENCHMARK(ParseByLines)->Arg(200)->Arg(5000)->Arg(100000);
BENCHMARK(BuildIndex)->Arg(200)->Arg(5000)->Arg(100000);
BENCHMARK(FindByName)->Arg(200)->Arg(5000)->Arg(100000);
BENCHMARK(FindByNameInHashMap)->Arg(200)->Arg(5000)->Arg(100000);
BENCHMARK(FindBySysObjectId)->Arg(200)->Arg(5000)->Arg(100000);
BENCHMARK(GetData);
BENCHMARK(GetDataFromStandardString);

}  // namespace
