/// @file
/// Questions about a driver and ports through the classes beside the bare calls of the ports, on a store in memory.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <vector>

#include "environment/PrintDriver.h"
#include "environment/TCPMonPort.h"
#include "platform/Platform.h"
#include "platform/PrintQueuePort.h"
#include "platform/PrinterDataPort.h"
#include "platform/PrinterDriverPort.h"
#include "platform/SpoolerPort.h"
#include "platform/StoreChoice.h"
#include "utilities/registry/RegistryKey.h"

namespace {

using vlm::SpoolerPort;
using vlm::Status;

constexpr const XCHAR* QUEUE = VTEXT("q9-bench");
constexpr const XCHAR* DRIVER = VTEXT("q9-bench driver");
constexpr const XCHAR* PORT = VTEXT("X_host.example");

const vlm::Platform& Ports() {
    return vlm::GetPlatform();
}

void Require(bool fDone) {
    if (!fDone) std::abort();
}

XCHAR* Writable(const XCHAR* pszText) {
    return const_cast<XCHAR*>(pszText);
}

void InstallDriver() {
    const auto apoKey = RegistryKey::CreateRegistryKey(
        HKeyRegistry::Hkey_Local_Machine,
        CXString(VTEXT("System\\CurrentControlSet\\Control\\Print\\Environments\\Windows x64\\Drivers\\Version-3\\")) +
            DRIVER,
        RegistryKey::FULL_ACCESS, RegistryKey::DIRECT);
    apoKey->SetStringValue(VTEXT("Driver"), VTEXT("unidrv.dll"));
    apoKey->SetStringValue(VTEXT("Data File"), VTEXT("xmodel.gpd"));
    apoKey->SetStringValue(VTEXT("Configuration File"), VTEXT("unidrvui.dll"));
    apoKey->SetLongValue(VTEXT("Version"), vlm::PrinterDriverPort::DRIVER_VERSION);
}

/// A queue with a driver and a TCP/IP port, open for all benchmarks.
HANDLE Queue() {
    static const HANDLE shQueue = [] {
        vlm::ChooseStore(":memory:");
        InstallDriver();
        Require(TCPMonPort().AddTCPPort(VTEXT("host.example"), TCPMonPort::PortType::PT_RAW_TCP));
        vlm::PrinterInfo2 oQueue{};
        oQueue.pPrinterName = Writable(QUEUE);
        oQueue.pPortName = Writable(PORT);
        oQueue.pDriverName = Writable(DRIVER);
        oQueue.pPrintProcessor = Writable(VTEXT("winprint"));
        HANDLE hQueue = nullptr;
        Require(Ports().pQueues->AddQueue(nullptr, oQueue, hQueue) == Status::Success);
        constexpr XCHAR PDL[] = VTEXT("pclxl");
        Require(Ports().pPrinterData->SetData(hQueue, VTEXT("PrinterDriverData"), VTEXT("xPDL"), 1, PDL, sizeof(PDL)) ==
                Status::Success);
        return hQueue;
    }();
    return shQueue;
}

void DriverBlockBare(benchmark::State& rState) {
    const HANDLE hQueue = Queue();
    for (auto _ : rState) {
        DWORD cbNeeded = 0;
        Ports().pDrivers->GetDriverBlock(hQueue, nullptr, 3, nullptr, 0, cbNeeded);
        std::vector<BYTE> vbyBlock(cbNeeded);
        Ports().pDrivers->GetDriverBlock(hQueue, nullptr, 3, vbyBlock.data(), cbNeeded, cbNeeded);
        benchmark::DoNotOptimize(vbyBlock.data());
    }
}
void DriverBlockThroughTheClass(benchmark::State& rState) {
    const HANDLE hQueue = Queue();
    PrintDriver oDriver;
    for (auto _ : rState)
        benchmark::DoNotOptimize(oDriver.GetDriverInfo(hQueue, 3));
}
void FileThroughTheClass(benchmark::State& rState) {
    const HANDLE hQueue = Queue();
    PrintDriver oDriver;
    for (auto _ : rState)
        benchmark::DoNotOptimize(oDriver.GetDriverFiles(hQueue, PrintDriver::FileType::FT_CORE));
}

void ValueBare(benchmark::State& rState) {
    const HANDLE hQueue = Queue();
    for (auto _ : rState) {
        XCHAR szValue[128];
        DWORD dwType = 0, cbNeeded = 0;
        Ports().pPrinterData->GetData(hQueue, VTEXT("PrinterDriverData"), VTEXT("xPDL"), dwType, szValue,
                                      sizeof(szValue), cbNeeded);
        benchmark::DoNotOptimize(szValue);
    }
}
void ValueThroughTheClass(benchmark::State& rState) {
    const HANDLE hQueue = Queue();
    PrintDriver oDriver;
    for (auto _ : rState)
        benchmark::DoNotOptimize(oDriver.GetPDLTypeFromHandle(hQueue));
}

void PortBare(benchmark::State& rState) {
    Queue();
    SpoolerPort& rSpooler = *Ports().pSpooler;
    BYTE abyQuestion[vlm::TCPPortQuestion::SIZE] = {};
    abyQuestion[128] = 1;
    for (auto _ : rState) {
        HANDLE hPort = nullptr;
        BYTE abyData[vlm::TCPPortData::SIZE];
        DWORD cbNeeded = 0, dwStatus = 0;
        rSpooler.OpenPrinterHandle(VTEXT(",XcvPort X_host.example"), SpoolerPort::ACCESS_ENUMERATE, hPort);
        rSpooler.Transceive(hPort, VTEXT("GetConfigInfo"), abyQuestion, sizeof(abyQuestion), abyData, sizeof(abyData),
                            cbNeeded, dwStatus);
        rSpooler.ClosePrinterHandle(hPort);
        Require(dwStatus == 0);
        benchmark::DoNotOptimize(abyData);
    }
}
void PortThroughTheClass(benchmark::State& rState) {
    Queue();
    TCPMonPort oPort;
    for (auto _ : rState)
        Require(oPort.OpenPort(PORT));
}

BENCHMARK(DriverBlockBare);
BENCHMARK(DriverBlockThroughTheClass);
BENCHMARK(FileThroughTheClass);
BENCHMARK(ValueBare);
BENCHMARK(ValueThroughTheClass);
BENCHMARK(PortBare);
BENCHMARK(PortThroughTheClass);

}  // namespace
