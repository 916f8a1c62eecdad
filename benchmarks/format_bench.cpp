/// @file
/// The formatter against the C library's, fmt and the bare conversion of the digits.
#include <benchmark/benchmark.h>
#include <fmt/format.h>
#include <fmt/printf.h>

#include <cstdio>
#include <string>

#include "utilities/utilitiesdll/CXString.h"

namespace {

constexpr int VALUE = 123456;
constexpr unsigned STATUS = 0x80070005;

void FormatOurs(benchmark::State& roState) {
    const CXString csName(u"ProductKey"), csClass(u"RegistryKey::GetValue");
    CXString csText;
    for (auto _ : roState) {
        csText.Format(u"%s: Value=%ld (0x%lx), line %d, %s", csName, VALUE, STATUS, 742, csClass);
        benchmark::DoNotOptimize(csText);
        csText.Empty();
    }
}
void FormatOursToBuffer(benchmark::State& roState) {
    const CXString csName(u"ProductKey"), csClass(u"RegistryKey::GetValue");
    char16_t achText[256];
    for (auto _ : roState) {
        vlm::FormatToBuffer(achText, 256, u"%s: Value=%ld (0x%lx), line %d, %s", csName, VALUE, STATUS, 742, csClass);
        benchmark::DoNotOptimize(achText);
    }
}
void FormatSnprintf(benchmark::State& roState) {
    const std::string strName("ProductKey"), strClass("RegistryKey::GetValue");
    for (auto _ : roState) {
        char achText[256];
        const int i = std::snprintf(achText, sizeof achText, "%s: Value=%d (0x%x), line %d, %s", strName.c_str(), VALUE,
                                    STATUS, 742, strClass.c_str());
        std::string strText(achText, static_cast<std::size_t>(i));
        benchmark::DoNotOptimize(strText);
    }
}
void FormatFmt(benchmark::State& roState) {
    const std::string strName("ProductKey"), strClass("RegistryKey::GetValue");
    for (auto _ : roState) {
        std::string strText = fmt::format("{}: Value={} (0x{:x}), line {}, {}", strName, VALUE, STATUS, 742, strClass);
        benchmark::DoNotOptimize(strText);
    }
}
void FormatFmtSprintf(benchmark::State& roState) {
    const std::string strName("ProductKey"), strClass("RegistryKey::GetValue");
    for (auto _ : roState) {
        std::string strText = fmt::sprintf("%s: Value=%d (0x%x), line %d, %s", strName, VALUE, STATUS, 742, strClass);
        benchmark::DoNotOptimize(strText);
    }
}
BENCHMARK(FormatOurs);
BENCHMARK(FormatOursToBuffer);
BENCHMARK(FormatSnprintf);
BENCHMARK(FormatFmt);
BENCHMARK(FormatFmtSprintf);

void FloatOurs(benchmark::State& roState) {
    char16_t achText[64];
    for (auto _ : roState) {
        vlm::FormatToBuffer(achText, 64, u"%.3f %g", 297.0394, 8.26771653);
        benchmark::DoNotOptimize(achText);
    }
}
void FloatSnprintf(benchmark::State& roState) {
    char achText[64];
    for (auto _ : roState) {
        std::snprintf(achText, sizeof achText, "%.3f %g", 297.0394, 8.26771653);
        benchmark::DoNotOptimize(achText);
    }
}
BENCHMARK(FloatOurs);
BENCHMARK(FloatSnprintf);

}  // namespace
