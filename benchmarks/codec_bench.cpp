/// @file
/// UTF-8, Base64 and hexadecimal text against Qt and Abseil.
#include <absl/strings/escaping.h>
#include <benchmark/benchmark.h>

#include <QByteArray>
#include <QString>
#include <string>
#include <vector>

#include "utilities/utilitiesdll/Base64.h"
#include "utilities/utilitiesdll/HexText.h"
#include "utilities/utilitiesdll/TextCodec.h"

namespace {

std::string MakeUtf8(std::int64_t llBytes, bool bMixed) {
    const std::string strPattern = bMixed ? "Gr\xC3\xB6\xC3\x9F"
                                            "e \xE6\xBC\xA2\xE5\xAD\x97 \xF0\x9F\x98\x80 page "
                                          : "Printer settings, page ";
    std::string strText;
    while (strText.size() + strPattern.size() <= static_cast<std::size_t>(llBytes))
        strText += strPattern;
    return strText.append(static_cast<std::size_t>(llBytes) - strText.size(), 'x');
}
std::vector<BYTE> MakeBytes(std::int64_t llBytes) {
    std::vector<BYTE> vBytes(static_cast<std::size_t>(llBytes));
    unsigned uState = 1;
    for (BYTE& rby : vBytes)
        rby = static_cast<BYTE>((uState = uState * 1664525 + 1013904223) >> 24);
    return vBytes;
}
void Count(benchmark::State& roState) {
    roState.SetBytesProcessed(roState.iterations() * roState.range(0));
}

template <bool MIXED>
void To16Ours(benchmark::State& roState) {
    const std::string strBytes = MakeUtf8(roState.range(0), MIXED);
    for (auto _ : roState)
        benchmark::DoNotOptimize(TextCodec::Utf8ToUtf16(strBytes));
    Count(roState);
}
template <bool MIXED>
void To16Qt(benchmark::State& roState) {
    const std::string strBytes = MakeUtf8(roState.range(0), MIXED);
    for (auto _ : roState) {
        benchmark::DoNotOptimize(QString::fromUtf8(strBytes.data(), static_cast<int>(strBytes.size())));
    }
    Count(roState);
}
template <bool MIXED>
void To8Ours(benchmark::State& roState) {
    const CXString csText = TextCodec::Utf8ToUtf16(MakeUtf8(roState.range(0), MIXED));
    for (auto _ : roState)
        benchmark::DoNotOptimize(TextCodec::Utf16ToUtf8(csText));
    Count(roState);
}
template <bool MIXED>
void To8Qt(benchmark::State& roState) {
    const QString strText = QString::fromStdString(MakeUtf8(roState.range(0), MIXED));
    for (auto _ : roState)
        benchmark::DoNotOptimize(strText.toUtf8());
    Count(roState);
}
BENCHMARK(To16Ours<false>)->Arg(32)->Arg(1024)->Arg(65536);
BENCHMARK(To16Qt<false>)->Arg(32)->Arg(1024)->Arg(65536);
BENCHMARK(To16Ours<true>)->Arg(1024)->Arg(65536);
BENCHMARK(To16Qt<true>)->Arg(1024)->Arg(65536);
BENCHMARK(To8Ours<false>)->Arg(1024)->Arg(65536);
BENCHMARK(To8Qt<false>)->Arg(1024)->Arg(65536);
BENCHMARK(To8Ours<true>)->Arg(1024)->Arg(65536);
BENCHMARK(To8Qt<true>)->Arg(1024)->Arg(65536);

void HexEncodeOurs(benchmark::State& roState) {
    const std::vector<BYTE> vBytes = MakeBytes(roState.range(0));
    std::vector<char16_t> vchText(vBytes.size() * 2);
    for (auto _ : roState) {
        HexText::EncodeTo(vBytes, vchText.data());
        benchmark::ClobberMemory();
    }
    Count(roState);
}
void HexEncodeAbsl(benchmark::State& roState) {
    const std::vector<BYTE> vBytes = MakeBytes(roState.range(0));
    const std::string strBytes(vBytes.begin(), vBytes.end());
    for (auto _ : roState)
        benchmark::DoNotOptimize(absl::BytesToHexString(strBytes));
    Count(roState);
}
void HexDecodeOurs(benchmark::State& roState) {
    const std::vector<BYTE> vBytes = MakeBytes(roState.range(0));
    const CXString csText = HexText::Encode(vBytes);
    std::vector<BYTE> vTarget(vBytes.size());
    for (auto _ : roState)
        benchmark::DoNotOptimize(HexText::DecodeTo(csText, vTarget.data()));
    Count(roState);
}
void HexDecodeAbsl(benchmark::State& roState) {
    const std::vector<BYTE> vBytes = MakeBytes(roState.range(0));
    const std::string strText = absl::BytesToHexString(std::string(vBytes.begin(), vBytes.end()));
    for (auto _ : roState)
        benchmark::DoNotOptimize(absl::HexStringToBytes(strText));
    Count(roState);
}
void Base64EncodeOurs(benchmark::State& roState) {
    const std::vector<BYTE> vBytes = MakeBytes(roState.range(0));
    std::vector<char16_t> vchText(Base64::GetEncodedLength(vBytes.size()));
    for (auto _ : roState) {
        Base64::EncodeTo(vBytes, vchText.data());
        benchmark::ClobberMemory();
    }
    Count(roState);
}
void Base64EncodeAbsl(benchmark::State& roState) {
    const std::vector<BYTE> vBytes = MakeBytes(roState.range(0));
    const std::string strBytes(vBytes.begin(), vBytes.end());
    std::string strText;
    for (auto _ : roState)
        absl::Base64Escape(strBytes, &strText);
    Count(roState);
}
void Base64DecodeOurs(benchmark::State& roState) {
    const CXString csText = Base64::Encode(MakeBytes(roState.range(0)));
    std::vector<BYTE> vTarget;
    for (auto _ : roState)
        benchmark::DoNotOptimize(Base64::Decode(csText, vTarget));
    Count(roState);
}
void Base64DecodeAbsl(benchmark::State& roState) {
    const std::vector<BYTE> vBytes = MakeBytes(roState.range(0));
    std::string strText, strBytes;
    absl::Base64Escape(std::string(vBytes.begin(), vBytes.end()), &strText);
    for (auto _ : roState)
        benchmark::DoNotOptimize(absl::Base64Unescape(strText, &strBytes));
    Count(roState);
}
BENCHMARK(HexEncodeOurs)->Arg(16)->Arg(1024)->Arg(65536);
BENCHMARK(HexEncodeAbsl)->Arg(16)->Arg(1024)->Arg(65536);
BENCHMARK(HexDecodeOurs)->Arg(16)->Arg(1024)->Arg(65536);
BENCHMARK(HexDecodeAbsl)->Arg(16)->Arg(1024)->Arg(65536);
BENCHMARK(Base64EncodeOurs)->Arg(16)->Arg(1024)->Arg(65536);
BENCHMARK(Base64EncodeAbsl)->Arg(16)->Arg(1024)->Arg(65536);
BENCHMARK(Base64DecodeOurs)->Arg(16)->Arg(1024)->Arg(65536);
BENCHMARK(Base64DecodeAbsl)->Arg(16)->Arg(1024)->Arg(65536);

}  // namespace
