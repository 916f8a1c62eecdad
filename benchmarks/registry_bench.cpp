/// @file
/// Registry reads through the class beside the bare calls of the port, on a store in memory.
#include <benchmark/benchmark.h>

#include "environment/PortMonitor.h"
#include "platform/Platform.h"
#include "platform/RegistryPort.h"
#include "platform/SpoolerPort.h"
#include "platform/StoreChoice.h"
#include "utilities/registry/RegistryKey.h"
#include "utilities/registry/RegistryMultiValueOperations.h"

namespace {

constexpr const XCHAR* PATH = VTEXT("Software\\q9-bench");
constexpr int VALUES = 16;

/// A key with numbers, opened once for all benchmarks.
RegistryKey& Key() {
    static RegistryKey& srKey = []() -> RegistryKey& {
        vlm::ChooseStore(":memory:");
        static RegistryKey soKey(HKeyRegistry::Hkey_Current_User, RegistryKey::DIRECT, RegistryKey::OWN_TREE);
        soKey.CreateRegistryKey(PATH, RegistryKey::FULL_ACCESS);
        for (int i = 0; i < VALUES; ++i)
            soKey.SetLongValue(CXString::FormatString(VTEXT("value%d"), i), i);
        return soKey;
    }();
    return srKey;
}

HKEY BareKey() {
    Key();
    vlm::RegistryPort& rPort = *vlm::GetPlatform().pRegistry;
    HKEY hKey = nullptr;
    rPort.Open(rPort.RootKey(vlm::RegistryPort::Root::CurrentUser), PATH, RegistryKey::READ_ACCESS, hKey);
    return hKey;
}

/// The two calls that a read consists of.
void ReadBare(benchmark::State& rState) {
    const HKEY hKey = BareKey();
    vlm::RegistryPort& rPort = *vlm::GetPlatform().pRegistry;
    for (auto _ : rState) {
        DWORD dwType = 0, cbData = 0, dwValue = 0;
        rPort.QueryValue(hKey, VTEXT("value7"), dwType, nullptr, cbData);
        rPort.QueryValue(hKey, VTEXT("value7"), dwType, &dwValue, cbData);
        benchmark::DoNotOptimize(dwValue);
    }
    rPort.Close(hKey);
}
void ReadThroughTheClass(benchmark::State& rState) {
    RegistryKey& rKey = Key();
    const CXString csName = VTEXT("value7");
    for (auto _ : rState)
        benchmark::DoNotOptimize(rKey.GetLongValue(csName, 0));
}
void ReadAbsentThroughTheClass(benchmark::State& rState) {
    RegistryKey& rKey = Key();
    const CXString csName = VTEXT("absent");
    for (auto _ : rState)
        benchmark::DoNotOptimize(rKey.GetLongValue(csName, 0));
}

void QueryManyBare(benchmark::State& rState) {
    const HKEY hKey = BareKey();
    vlm::RegistryPort& rPort = *vlm::GetPlatform().pRegistry;
    std::vector<CXString> vcsNames;
    std::vector<vlm::RegistryPort::ValueQuery> vQueries(VALUES);
    for (int i = 0; i < VALUES; ++i)
        vcsNames.push_back(CXString::FormatString(VTEXT("value%d"), i));
    for (std::size_t i = 0; i < vQueries.size(); ++i)
        vQueries[i].pszName = vcsNames[i];
    BYTE abyData[1024];
    for (auto _ : rState) {
        DWORD cbData = sizeof abyData;
        rPort.QueryMultipleValues(hKey, vQueries.data(), VALUES, abyData, cbData);
        benchmark::DoNotOptimize(abyData);
    }
    rPort.Close(hKey);
}
void QueryManyThroughTheClass(benchmark::State& rState) {
    RegistryKey& rKey = Key();
    RegistryMultiValueOperations oValues;
    for (int i = 0; i < VALUES; ++i)
        oValues.Add(CXString::FormatString(VTEXT("value%d"), i));
    for (auto _ : rState)
        benchmark::DoNotOptimize(rKey.QueryMultipleValues(oValues));
}

void OpenBare(benchmark::State& rState) {
    for (auto _ : rState)
        vlm::GetPlatform().pRegistry->Close(BareKey());
}
void OpenThroughTheClass(benchmark::State& rState) {
    Key();
    for (auto _ : rState)
        benchmark::DoNotOptimize(RegistryKey::TryOpenRegistryKey(HKeyRegistry::Hkey_Current_User, PATH));
}

/// The same read as a request to the port monitor, which the embedded spooler has in this process.
void ReadForwarded(benchmark::State& rState) {
    Key();
    vlm::SpoolerPort& rSpooler = *vlm::GetPlatform().pSpooler;
    rSpooler.AddMonitorDll(VTEXT("Velom Virtualization Port"), vlm::SpoolerPort::ENVIRONMENT, VTEXT("q7lrsl.dll"));
    VelomPortMonitor oMonitor;
    HKEY hKey = nullptr;
    const CXString csName = VTEXT("value7");
    if (!oMonitor.CreateKey(HKeyRegistry::Hkey_Machine_Version, CXString(VTEXT("Bench")), RegistryKey::FULL_ACCESS,
                            hKey) ||
        !oMonitor.SetLongValue(hKey, csName, 7)) {
        rState.SkipWithError("the monitor refused");
        return;
    }
    LONG lValue = 0;
    for (auto _ : rState)
        benchmark::DoNotOptimize(oMonitor.GetLongValue(hKey, csName, lValue));
    oMonitor.CloseKey(hKey);
}

BENCHMARK(ReadBare);
BENCHMARK(ReadForwarded);
BENCHMARK(ReadThroughTheClass);
BENCHMARK(ReadAbsentThroughTheClass);
BENCHMARK(QueryManyBare);
BENCHMARK(QueryManyThroughTheClass);
BENCHMARK(OpenBare);
BENCHMARK(OpenThroughTheClass);

}  // namespace
