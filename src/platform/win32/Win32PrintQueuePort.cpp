/// @file
/// Print queues over winspool.
#include "platform/win32/Win32PrintQueuePort.h"

#include "platform/win32/Win32Blocks.h"

namespace vlm::win32 {

namespace {

static_assert(PrintQueuePort::ATTRIBUTE_DEFAULT == PRINTER_ATTRIBUTE_DEFAULT &&
              PrintQueuePort::ATTRIBUTE_SHARED == PRINTER_ATTRIBUTE_SHARED &&
              PrintQueuePort::ATTRIBUTE_NETWORK == PRINTER_ATTRIBUTE_NETWORK &&
              PrintQueuePort::ATTRIBUTE_HIDDEN == PRINTER_ATTRIBUTE_HIDDEN &&
              PrintQueuePort::ATTRIBUTE_LOCAL == PRINTER_ATTRIBUTE_LOCAL &&
              PrintQueuePort::ATTRIBUTE_PUBLISHED == PRINTER_ATTRIBUTE_PUBLISHED);
static_assert(PrintQueuePort::LIST_LOCAL == PRINTER_ENUM_LOCAL &&
              PrintQueuePort::LIST_CONNECTIONS == PRINTER_ENUM_CONNECTIONS &&
              PrintQueuePort::LIST_OF_SERVER == PRINTER_ENUM_NAME &&
              PrintQueuePort::LIST_SHARED == PRINTER_ENUM_SHARED);
static_assert(PrintQueuePort::COMMAND_PAUSE == PRINTER_CONTROL_PAUSE &&
              PrintQueuePort::COMMAND_RESUME == PRINTER_CONTROL_RESUME &&
              PrintQueuePort::COMMAND_PURGE == PRINTER_CONTROL_PURGE &&
              PrintQueuePort::STATUS_PAUSED == PRINTER_STATUS_PAUSED);
static_assert(PrintQueuePort::ACTION_PUBLISH == DSPRINT_PUBLISH && PrintQueuePort::ACTION_UPDATE == DSPRINT_UPDATE &&
              PrintQueuePort::ACTION_UNPUBLISH == DSPRINT_UNPUBLISH &&
              PrintQueuePort::ACTION_REPUBLISH == DSPRINT_REPUBLISH);
static_assert(SpoolerPort::QUEUE_ADMINISTER == PRINTER_ACCESS_ADMINISTER &&
              SpoolerPort::ACCESS_USE == PRINTER_ACCESS_USE && SpoolerPort::ALL_ACCESS == PRINTER_ALL_ACCESS);

/// What one element of a capability's answer takes, in bytes; 0 for plain numbers.
struct Capability {
    WORD wCapability;
    DWORD cbElement;
};
constexpr Capability CAPABILITIES[] = {
    {PrintQueuePort::CAPABILITY_PAPERS, sizeof(WORD)},
    {PrintQueuePort::CAPABILITY_BINS, sizeof(WORD)},
    {PrintQueuePort::CAPABILITY_DUPLEX, 0},
    {PrintQueuePort::CAPABILITY_BINNAMES, 24 * sizeof(XCHAR)},
    {PrintQueuePort::CAPABILITY_PAPERNAMES, 64 * sizeof(XCHAR)},
    {PrintQueuePort::CAPABILITY_COLORDEVICE, 0},
};
static_assert(PrintQueuePort::CAPABILITY_PAPERS == DC_PAPERS && PrintQueuePort::CAPABILITY_BINS == DC_BINS &&
              PrintQueuePort::CAPABILITY_DUPLEX == DC_DUPLEX && PrintQueuePort::CAPABILITY_BINNAMES == DC_BINNAMES &&
              PrintQueuePort::CAPABILITY_PAPERNAMES == DC_PAPERNAMES &&
              PrintQueuePort::CAPABILITY_COLORDEVICE == DC_COLORDEVICE);

/// A driver that fails may leave no error behind.
Status StatusOrGeneral() noexcept {
    const Status eStatus = LastStatus();
    return eStatus == Status::Success ? Status::GeneralFailure : eStatus;
}

}  // namespace

Status Win32PrintQueuePort::GetQueueInfo(HANDLE hPrinter, DWORD dwLevel, void* pInfo, DWORD cbInfo,
                                         DWORD& rcbNeeded) noexcept {
    DWORD cbNeeded = 0;
    const Status eStatus = StatusOf(GetPrinterW(hPrinter, dwLevel, static_cast<BYTE*>(pInfo), cbInfo, &cbNeeded));
    rcbNeeded = cbNeeded;
    return eStatus;
}

Status Win32PrintQueuePort::SetQueueInfo(HANDLE hPrinter, DWORD dwLevel, const void* pInfo, DWORD dwCommand) noexcept {
    if (pInfo == nullptr && dwLevel != 0) return Status::InvalidParameter;
    return StatusOf(SetPrinterW(hPrinter, dwLevel, Writable(pInfo), dwCommand));
}

Status Win32PrintQueuePort::EnumerateQueueInfo(DWORD dwFlags, const XCHAR* pszServer, DWORD dwLevel, void* pInfo,
                                               DWORD cbInfo, DWORD& rcbNeeded, DWORD& rcReturned) noexcept {
    DWORD cbNeeded = 0, cReturned = 0;
    const Status eStatus = StatusOf(
        EnumPrintersW(dwFlags, Writable(pszServer), dwLevel, static_cast<BYTE*>(pInfo), cbInfo, &cbNeeded, &cReturned));
    rcbNeeded = cbNeeded;
    rcReturned = cReturned;
    return eStatus;
}

Status Win32PrintQueuePort::AddQueue(const XCHAR* pszServer, const PrinterInfo2& rInfo, HANDLE& rhPrinter) noexcept {
    if (IsEmpty(rInfo.pPrintProcessor)) return static_cast<Status>(SpoolerPort::UNKNOWN_PRINT_PROCESSOR);
    PrinterInfo2 oInfo = rInfo;
    // Wine's spooler does not open a queue that has none.
    XCHAR szDatatype[] = L"RAW";
    if (IsEmpty(oInfo.pDatatype)) oInfo.pDatatype = szDatatype;
    const HANDLE hPrinter = AddPrinterW(Writable(pszServer), 2, reinterpret_cast<BYTE*>(&oInfo));
    if (hPrinter == nullptr) return StatusOrGeneral();
    rhPrinter = hPrinter;
    return Status::Success;
}

Status Win32PrintQueuePort::DeleteQueue(HANDLE hPrinter) noexcept {
    return StatusOf(::DeletePrinter(hPrinter));
}

Status Win32PrintQueuePort::AddConnection(const XCHAR* pszName) noexcept {
    return AddPrinterConnectionW(Writable(pszName)) ? Status::Success : StatusOrGeneral();
}

Status Win32PrintQueuePort::DeleteConnection(const XCHAR* pszName) noexcept {
    return DeletePrinterConnectionW(Writable(pszName)) ? Status::Success : StatusOrGeneral();
}

Status Win32PrintQueuePort::GetDefaultQueue(XCHAR* pszName, DWORD& rcName) noexcept {
    DWORD cName = pszName ? rcName : 0;
    const Status eStatus = StatusOf(GetDefaultPrinterW(pszName, &cName));
    if (eStatus == Status::Success || eStatus == Status::InsufficientBuffer) rcName = cName;
    return eStatus;
}

Status Win32PrintQueuePort::SetDefaultQueue(const XCHAR* pszName) noexcept {
    return StatusOf(SetDefaultPrinterW(pszName));
}

Status Win32PrintQueuePort::GetDeviceCapability(const XCHAR* pszDevice, const XCHAR* pszPort, WORD wCapability,
                                                void* pOutput, DWORD cbOutput, LONG& rlAnswer) noexcept {
    SetLastError(0);
    if (pOutput != nullptr) {
        DWORD cbElement = 0;
        for (const Capability& rCapability : CAPABILITIES) {
            if (rCapability.wCapability == wCapability) cbElement = rCapability.cbElement;
        }
        if (cbElement == 0) return Status::InvalidParameter;
        const int iCount = DeviceCapabilitiesW(pszDevice, pszPort, wCapability, nullptr, nullptr);
        if (iCount < 0) return StatusOrGeneral();
        if (static_cast<DWORD>(iCount) > cbOutput / cbElement) return Status::InsufficientBuffer;
    }
    rlAnswer = DeviceCapabilitiesW(pszDevice, pszPort, wCapability, static_cast<XCHAR*>(pOutput), nullptr);
    return rlAnswer < 0 ? StatusOrGeneral() : Status::Success;
}

}  // namespace vlm::win32
