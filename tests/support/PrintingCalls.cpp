/// @file
/// The calls of the ports of queues, printer data and drivers, each described.
#include "support/PrintingCalls.h"

namespace vlm::test {

namespace {

XStringView ViewOf(const XCHAR* pszText) {
    return pszText ? XStringView(pszText) : XStringView();
}

SpoolerCall On(const char* pszName, HANDLE hPrinter, const XCHAR* pszWhat = nullptr) {
    return {.pszName = pszName, .hPrinter = hPrinter, .svName = ViewOf(pszWhat)};
}

/// A call that fills a buffer.
SpoolerCall Filling(SpoolerCall oCall, DWORD dwLevel, void* pTarget, DWORD cbTarget, DWORD* pcbNeeded,
                    DWORD* pcReturned = nullptr) {
    oCall.dwLevel = dwLevel;
    oCall.pTarget = pTarget;
    oCall.cbTarget = cbTarget;
    oCall.pcbNeeded = pcbNeeded;
    oCall.pcReturned = pcReturned;
    return oCall;
}

/// The same with printer data, whose status is another one.
SpoolerCall Reading(SpoolerCall oCall, void* pTarget, DWORD cbTarget, DWORD& rcbNeeded, DWORD* pcReturned = nullptr) {
    oCall = Filling(oCall, 0, pTarget, cbTarget, &rcbNeeded, pcReturned);
    oCall.eTooSmall = Status::MoreData;
    return oCall;
}

}  // namespace

Status PrintingCalls::GetQueueInfo(HANDLE hPrinter, DWORD dwLevel, void* pInfo, DWORD cbInfo,
                                   DWORD& rcbNeeded) noexcept {
    return Pass(Filling(On("GetQueueInfo", hPrinter), dwLevel, pInfo, cbInfo, &rcbNeeded),
                Made([&] { return m_rQueues.GetQueueInfo(hPrinter, dwLevel, pInfo, cbInfo, rcbNeeded); }));
}

Status PrintingCalls::SetQueueInfo(HANDLE hPrinter, DWORD dwLevel, const void* pInfo, DWORD dwCommand) noexcept {
    return Pass({.pszName = "SetQueueInfo", .hPrinter = hPrinter, .dwLevel = dwLevel, .pSource = pInfo},
                Made([&] { return m_rQueues.SetQueueInfo(hPrinter, dwLevel, pInfo, dwCommand); }));
}

Status PrintingCalls::EnumerateQueueInfo(DWORD dwFlags, const XCHAR* pszServer, DWORD dwLevel, void* pInfo,
                                         DWORD cbInfo, DWORD& rcbNeeded, DWORD& rcReturned) noexcept {
    return Pass(Filling(On("EnumerateQueueInfo", nullptr, pszServer), dwLevel, pInfo, cbInfo, &rcbNeeded, &rcReturned),
                Made([&] {
                    return m_rQueues.EnumerateQueueInfo(dwFlags, pszServer, dwLevel, pInfo, cbInfo, rcbNeeded,
                                                        rcReturned);
                }));
}

Status PrintingCalls::AddQueue(const XCHAR* pszServer, const PrinterInfo2& rInfo, HANDLE& rhPrinter) noexcept {
    return Pass(On("AddQueue", nullptr, rInfo.pPrinterName),
                Made([&] { return m_rQueues.AddQueue(pszServer, rInfo, rhPrinter); }));
}

Status PrintingCalls::DeleteQueue(HANDLE hPrinter) noexcept {
    return Pass(On("DeleteQueue", hPrinter), Made([&] { return m_rQueues.DeleteQueue(hPrinter); }));
}

Status PrintingCalls::AddConnection(const XCHAR* pszName) noexcept {
    return Pass(On("AddConnection", nullptr, pszName), Made([&] { return m_rQueues.AddConnection(pszName); }));
}

Status PrintingCalls::DeleteConnection(const XCHAR* pszName) noexcept {
    return Pass(On("DeleteConnection", nullptr, pszName), Made([&] { return m_rQueues.DeleteConnection(pszName); }));
}

Status PrintingCalls::GetDefaultQueue(XCHAR* pszName, DWORD& rcName) noexcept {
    return Pass(Filling(On("GetDefaultQueue", nullptr), 0, pszName, rcName, &rcName),
                Made([&] { return m_rQueues.GetDefaultQueue(pszName, rcName); }));
}

Status PrintingCalls::SetDefaultQueue(const XCHAR* pszName) noexcept {
    return Pass(On("SetDefaultQueue", nullptr, pszName), Made([&] { return m_rQueues.SetDefaultQueue(pszName); }));
}

Status PrintingCalls::GetDeviceCapability(const XCHAR* pszDevice, const XCHAR* pszPort, WORD wCapability, void* pOutput,
                                          DWORD cbOutput, LONG& rlAnswer) noexcept {
    SpoolerCall oCall = Filling(On("GetDeviceCapability", nullptr, pszDevice), wCapability, pOutput, cbOutput, nullptr);
    oCall.plAnswer = &rlAnswer;
    return Pass(oCall, Made([&] {
                    return m_rQueues.GetDeviceCapability(pszDevice, pszPort, wCapability, pOutput, cbOutput, rlAnswer);
                }));
}

Status PrintingCalls::GetData(HANDLE hPrinter, const XCHAR* pszKey, const XCHAR* pszValue, DWORD& rdwType, void* pData,
                              DWORD cbData, DWORD& rcbNeeded) noexcept {
    SpoolerCall oCall = Reading(On("GetData", hPrinter, pszValue), pData, cbData, rcbNeeded);
    oCall.pdwType = &rdwType;
    return Pass(oCall,
                Made([&] { return m_rData.GetData(hPrinter, pszKey, pszValue, rdwType, pData, cbData, rcbNeeded); }));
}

Status PrintingCalls::SetData(HANDLE hPrinter, const XCHAR* pszKey, const XCHAR* pszValue, DWORD dwType,
                              const void* pData, DWORD cbData) noexcept {
    return Pass(On("SetData", hPrinter, pszValue),
                Made([&] { return m_rData.SetData(hPrinter, pszKey, pszValue, dwType, pData, cbData); }));
}

Status PrintingCalls::EnumerateData(HANDLE hPrinter, const XCHAR* pszKey, void* pValues, DWORD cbValues,
                                    DWORD& rcbNeeded, DWORD& rcReturned) noexcept {
    return Pass(Reading(On("EnumerateData", hPrinter), pValues, cbValues, rcbNeeded, &rcReturned), Made([&] {
                    return m_rData.EnumerateData(hPrinter, pszKey, pValues, cbValues, rcbNeeded, rcReturned);
                }));
}

Status PrintingCalls::DeleteData(HANDLE hPrinter, const XCHAR* pszKey, const XCHAR* pszValue) noexcept {
    return Pass(On("DeleteData", hPrinter, pszValue),
                Made([&] { return m_rData.DeleteData(hPrinter, pszKey, pszValue); }));
}

Status PrintingCalls::EnumerateDataKeys(HANDLE hPrinter, const XCHAR* pszKey, XCHAR* pszzKeys, DWORD cbKeys,
                                        DWORD& rcbNeeded) noexcept {
    return Pass(Reading(On("EnumerateDataKeys", hPrinter), pszzKeys, cbKeys, rcbNeeded),
                Made([&] { return m_rData.EnumerateDataKeys(hPrinter, pszKey, pszzKeys, cbKeys, rcbNeeded); }));
}

Status PrintingCalls::DeleteDataKey(HANDLE hPrinter, const XCHAR* pszKey) noexcept {
    return Pass(On("DeleteDataKey", hPrinter), Made([&] { return m_rData.DeleteDataKey(hPrinter, pszKey); }));
}

Status PrintingCalls::GetDriverBlock(HANDLE hPrinter, const XCHAR* pszEnvironment, DWORD dwLevel, void* pInfo,
                                     DWORD cbInfo, DWORD& rcbNeeded) noexcept {
    return Pass(Filling(On("GetDriverBlock", hPrinter), dwLevel, pInfo, cbInfo, &rcbNeeded), Made([&] {
                    return m_rDrivers.GetDriverBlock(hPrinter, pszEnvironment, dwLevel, pInfo, cbInfo, rcbNeeded);
                }));
}

Status PrintingCalls::EnumerateDriverInfo(const XCHAR* pszServer, const XCHAR* pszEnvironment, DWORD dwLevel,
                                          void* pInfo, DWORD cbInfo, DWORD& rcbNeeded, DWORD& rcReturned) noexcept {
    return Pass(Filling(On("EnumerateDriverInfo", nullptr, pszServer), dwLevel, pInfo, cbInfo, &rcbNeeded, &rcReturned),
                Made([&] {
                    return m_rDrivers.EnumerateDriverInfo(pszServer, pszEnvironment, dwLevel, pInfo, cbInfo, rcbNeeded,
                                                          rcReturned);
                }));
}

Status PrintingCalls::GetDriverDirectory(const XCHAR* pszServer, const XCHAR* pszEnvironment, DWORD dwLevel,
                                         XCHAR* pszDirectory, DWORD cbDirectory, DWORD& rcbNeeded) noexcept {
    return Pass(Filling(On("GetDriverDirectory", nullptr, pszServer), dwLevel, pszDirectory, cbDirectory, &rcbNeeded),
                Made([&] {
                    return m_rDrivers.GetDriverDirectory(pszServer, pszEnvironment, dwLevel, pszDirectory, cbDirectory,
                                                         rcbNeeded);
                }));
}

Status PrintingCalls::AddDriver(const XCHAR* pszServer, DWORD dwLevel, const void* pInfo, DWORD dwFlags) noexcept {
    return Pass(On("AddDriver", nullptr),
                Made([&] { return m_rDrivers.AddDriver(pszServer, dwLevel, pInfo, dwFlags); }));
}

Status PrintingCalls::DeleteDriver(const XCHAR* pszServer, const XCHAR* pszEnvironment, const XCHAR* pszDriver,
                                   DWORD dwFlags, DWORD dwVersion) noexcept {
    return Pass(On("DeleteDriver", nullptr, pszDriver), Made([&] {
                    return m_rDrivers.DeleteDriver(pszServer, pszEnvironment, pszDriver, dwFlags, dwVersion);
                }));
}

Status PrintingCalls::OpenPrinterUi(const XCHAR* pszModule, HANDLE& rhUi) noexcept {
    return Pass(On("OpenPrinterUi", nullptr, pszModule),
                Made([&] { return m_rDrivers.OpenPrinterUi(pszModule, rhUi); }));
}

Status PrintingCalls::RunPrinterUi(HANDLE hUi, const XCHAR* pszCommandLine, DWORD& rdwAnswer) noexcept {
    return Pass(On("RunPrinterUi", nullptr, pszCommandLine),
                Made([&] { return m_rDrivers.RunPrinterUi(hUi, pszCommandLine, rdwAnswer); }));
}

Status PrintingCalls::ClosePrinterUi(HANDLE hUi) noexcept {
    return Pass(On("ClosePrinterUi", nullptr), Made([&] { return m_rDrivers.ClosePrinterUi(hUi); }));
}

}  // namespace vlm::test
