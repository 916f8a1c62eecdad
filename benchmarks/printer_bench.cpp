/// @file
/// Printer data through the mandatory wrappers beside the bare calls of the port, on a store in memory.
#include <benchmark/benchmark.h>

#include "environment/Printer.h"
#include "platform/Platform.h"
#include "platform/PrinterDataPort.h"
#include "platform/StoreChoice.h"
#include "utilities/registry/RegistryKey.h"

namespace {

constexpr const XCHAR* DATA = VTEXT("PrinterDriverData");
constexpr const XCHAR* VALUE = VTEXT("xModelId");

/// A queue of the embedded spooler, opened once for all benchmarks.
Printer& Queue() {
    static Printer& srPrinter = []() -> Printer& {
        vlm::ChooseStore(":memory:");
        const CXString csPrint(VTEXT("System\\CurrentControlSet\\Control\\Print\\"));
        const auto put = [&](const XCHAR* pszKey, const XCHAR* pszName, const XCHAR* pszValue) {
            RegistryKey oKey(HKeyRegistry::Hkey_Local_Machine, RegistryKey::DIRECT, RegistryKey::OWN_TREE);
            oKey.CreateRegistryKey(csPrint + pszKey, RegistryKey::FULL_ACCESS);
            oKey.SetStringValue(pszName, pszValue);
        };
        put(VTEXT("Environments\\Windows x64\\Drivers\\Version-3\\bench"), VTEXT("Driver"), VTEXT("pdrv.dll"));
        put(VTEXT("Printers\\bench"), VTEXT("Name"), VTEXT("bench"));
        put(VTEXT("Printers\\bench"), VTEXT("Port"), VTEXT("LPT1:"));
        put(VTEXT("Printers\\bench"), VTEXT("Printer Driver"), VTEXT("bench"));
        put(VTEXT("Printers\\bench\\PrinterDriverData"), VALUE, VTEXT("17"));
        static Printer soPrinter;
        soPrinter.CreateAllAccessHandle(VTEXT("bench"));
        return soPrinter;
    }();
    return srPrinter;
}

vlm::PrinterDataPort& Port() {
    return *vlm::GetPlatform().pPrinterData;
}

void GetBare(benchmark::State& rState) {
    const HANDLE hPrinter = Queue().GetPrinterHandle();
    BYTE abyData[64];
    for (auto _ : rState) {
        DWORD dwType = 0, cbNeeded = 0;
        benchmark::DoNotOptimize(Port().GetData(hPrinter, DATA, VALUE, dwType, abyData, sizeof abyData, cbNeeded));
    }
}
void GetThroughTheWrapper(benchmark::State& rState) {
    const HANDLE hPrinter = Queue().GetPrinterHandle();
    BYTE abyData[64];
    for (auto _ : rState) {
        DWORD dwType = 0, cbNeeded = 0;
        benchmark::DoNotOptimize(Printer::GetPrinterDataExMandatoryWrapper(hPrinter, DATA, VALUE, &dwType, abyData,
                                                                           sizeof abyData, &cbNeeded));
    }
}

/// The size, then the value: what a read of unknown size consists of.
void GetTwiceBare(benchmark::State& rState) {
    const HANDLE hPrinter = Queue().GetPrinterHandle();
    for (auto _ : rState) {
        DWORD dwType = 0, cbNeeded = 0;
        Port().GetData(hPrinter, DATA, VALUE, dwType, nullptr, 0, cbNeeded);
        ByteBuffer bbData;
        bbData.resize(cbNeeded);
        benchmark::DoNotOptimize(Port().GetData(hPrinter, DATA, VALUE, dwType, bbData.getLpbyte(), cbNeeded, cbNeeded));
    }
}
void GetWithRetries(benchmark::State& rState) {
    const HANDLE hPrinter = Queue().GetPrinterHandle();
    for (auto _ : rState) {
        ByteBuffer bbData;
        benchmark::DoNotOptimize(Printer::CallGetPrinterDataExWithRetries(hPrinter, DATA, VALUE, nullptr, bbData));
    }
}

void SetBare(benchmark::State& rState) {
    const HANDLE hPrinter = Queue().GetPrinterHandle();
    const BYTE abyData[16] = {};
    for (auto _ : rState)
        benchmark::DoNotOptimize(Port().SetData(hPrinter, DATA, VTEXT("v"), 3, abyData, sizeof abyData));
}
void SetThroughTheWrapper(benchmark::State& rState) {
    const HANDLE hPrinter = Queue().GetPrinterHandle();
    const BYTE abyData[16] = {};
    for (auto _ : rState)
        benchmark::DoNotOptimize(
            Printer::SetPrinterDataExMandatoryWrapper(hPrinter, DATA, VTEXT("v"), 3, abyData, sizeof abyData));
}

BENCHMARK(GetBare);
BENCHMARK(GetThroughTheWrapper);
BENCHMARK(GetTwiceBare);
BENCHMARK(GetWithRetries);
BENCHMARK(SetBare);
BENCHMARK(SetThroughTheWrapper);

}  // namespace
