/// @file
/// A printer's information blocks.
#include <algorithm>
#include <cstring>

#include "environment/PrinterImpl.h"
#include "environment/User.h"

using vlm::PrinterInfo2;
using vlm::PrinterInfo4;
using vlm::PrinterInfo5;
using vlm::PrinterInfo9;
using vlm::PrintQueuePort;
using vlm::Status;
using vlm::TextOfStatus;

namespace {

/// The bytes of a block's device mode; empty when there is none.
ByteBuffer DevmodeOf(const DEVMODEW* pDevMode) {
    return pDevMode ? ByteBuffer(reinterpret_cast<const BYTE*>(pDevMode), vlm::DeviceModeSize(pDevMode)) : ByteBuffer();
}

const XCHAR* TrueOrFalse(bool f) noexcept {
    return f ? VTEXT("True") : VTEXT("False");
}

}  // namespace

const BYTE* Printer::GetPrinterInfo(DWORD dwLevel) {
    return GetPrinterInfo(m_hPrinter, dwLevel);
}

const BYTE* Printer::GetPrinterInfo(HANDLE hPrinter, DWORD dwLevel) {
    m_bbPrinterInfo.clear();
    ByteBuffer bbInfo;
    Status eStatus = vlm::ReadQueueInfo(hPrinter, dwLevel, bbInfo);
    if (eStatus == Status::Success) {
        m_bbPrinterInfo.swap(bbInfo);
        return m_bbPrinterInfo.getLpbyte();
    }
    if ((dwLevel != 2 && dwLevel != 8) || User::IsImpersonating()) {
        VLM_THROW(ExceptionPrinterFailure, VTEXT("Unable to get PRINTER_INFO_%d due to Windows error %s."),
                  static_cast<int>(dwLevel), TextOfStatus(eStatus));
    }
    {
        const ImpersonateLoggedOnUserWrapper oUser;
        if (oUser.IsImpersonating()) eStatus = vlm::ReadQueueInfo(hPrinter, dwLevel, bbInfo);
    }
    if (eStatus != Status::Success) {
        VLM_ASSERT(
            dwLevel != 2,
            VTEXT("GetPrinterInfo() failed for Level 2. (See next assertion for more info.)\n\nThe thread is not "
                  "impersonating the user, but retrying while impersonating the logged in user was not "
                  "successful. Impersonation is often required for IPP printers, whose spooler asks for the "
                  "user's name."));
        VLM_THROW(ExceptionPrinterFailure,
                  VTEXT("Printer::GetPrinterInfo(): Retry failed: Unable to get PRINTER_INFO_%d due to Windows error "
                        "%s."),
                  static_cast<int>(dwLevel), TextOfStatus(eStatus));
    }
    m_bbPrinterInfo.swap(bbInfo);
    return m_bbPrinterInfo.getLpbyte();
}

bool Printer::GetPrinterInfo(HANDLE hPrinter, DWORD dwLevel, ByteBuffer& rbbInfo) noexcept {
    rbbInfo.clear();
    return vlm::TryOperation([&] {
        Printer oPrinter;
        oPrinter.GetPrinterInfo(hPrinter, dwLevel);
        rbbInfo.swap(oPrinter.m_bbPrinterInfo);
        return true;
    });
}

void Printer::SetPrinterInfo(DWORD dwLevel, const BYTE* pbyInfo) {
    SetPrinterInfo(m_hPrinter, dwLevel, pbyInfo);
}

void Printer::SetPrinterInfo(HANDLE hPrinter, DWORD dwLevel, const BYTE* pbyInfo) {
    const Status eStatus = vlm::Queues().SetQueueInfo(hPrinter, dwLevel, pbyInfo, 0);
    if (eStatus == Status::Success) return;
    VLM_THROW(ExceptionPrinterFailure, VTEXT("Unable to set PRINTER_INFO_%d due to Windows error %s."),
              static_cast<int>(dwLevel), TextOfStatus(eStatus));
}

bool Printer::SetPrinterInfo(HANDLE hPrinter, DWORD dwLevel, const BYTE* pbyInfo, DWORD dwCommand) noexcept {
    const Status eStatus = vlm::Queues().SetQueueInfo(hPrinter, dwLevel, pbyInfo, dwCommand);
    if (eStatus == Status::Success) return true;
    VLM_REPORT_ERROR(vlm::PRINTER_CATEGORIES, VTEXT("SetPrinter(%d, %lu) failed. %s"), static_cast<int>(dwLevel),
                     dwCommand, TextOfStatus(eStatus));
    return false;
}

const BYTE* Printer::GetPrinterInfo2AndConvertToPrinterInfo5() {
    GetPrinterInfo(2);
    const auto& rInfo2 = vlm::FirstRecord<PrinterInfo2>(m_bbPrinterInfo);
    const XStringView avText[] = {rInfo2.pPrinterName ? rInfo2.pPrinterName : VTEXT(""),
                                  rInfo2.pPortName ? rInfo2.pPortName : VTEXT("")};
    PrinterInfo5 oInfo5{};
    oInfo5.Attributes = rInfo2.Attributes;
    // What the system fills in where the queue has no values of its own, in milliseconds.
    oInfo5.DeviceNotSelectedTimeout = 15000;
    oInfo5.TransmissionRetryTimeout = 45000;
    ByteBuffer bbInfo5;
    bbInfo5.resize(sizeof oInfo5 + (avText[0].size() + avText[1].size() + 2) * sizeof(XCHAR));
    auto* pchText = reinterpret_cast<XCHAR*>(bbInfo5.data() + sizeof oInfo5);
    for (XCHAR** ppszText : {&oInfo5.pPrinterName, &oInfo5.pPortName}) {
        const XStringView svText = avText[ppszText == &oInfo5.pPortName];
        *ppszText = pchText;
        pchText = std::copy(svText.begin(), svText.end(), pchText) + 1;
    }
    std::memcpy(bbInfo5.data(), &oInfo5, sizeof oInfo5);
    m_bbPrinterInfo.swap(bbInfo5);
    return m_bbPrinterInfo.getLpbyte();
}

const BYTE* Printer::GetPrinterInfo2AndConvertToPrinterInfo9() {
    GetPrinterInfo(2);
    const ByteBuffer bbDevmode = DevmodeOf(vlm::FirstRecord<PrinterInfo2>(m_bbPrinterInfo).pDevMode);
    ByteBuffer bbInfo9;
    bbInfo9.resize(sizeof(PrinterInfo9));
    bbInfo9.append(bbDevmode);
    PrinterInfo9 oInfo9{};
    if (!bbDevmode.empty()) oInfo9.pDevMode = reinterpret_cast<DEVMODEW*>(bbInfo9.data() + sizeof oInfo9);
    std::memcpy(bbInfo9.data(), &oInfo9, sizeof oInfo9);
    m_bbPrinterInfo.swap(bbInfo9);
    return m_bbPrinterInfo.getLpbyte();
}

bool Printer::GetRawSystemDefaultDevmode(ByteBuffer& rbbDevmode) {
    GetPrinterInfo(8);
    const DEVMODEW* const pDevMode = vlm::FirstRecord<vlm::PrinterInfo8>(m_bbPrinterInfo).pDevMode;
    ByteBuffer bbDevmode = DevmodeOf(pDevMode);
    if (pDevMode && bbDevmode.empty())
        VLM_THROW(ExceptionPrinterFailure, VTEXT("GetPrinterInfo(8) returned an invalid zero-length devmode!"));
    rbbDevmode.swap(bbDevmode);
    return pDevMode != nullptr;
}

bool Printer::GetRawUserDefaultDevmode(ByteBuffer& rbbDevmode) {
    GetPrinterInfo(9);
    const DEVMODEW* const pDevMode = vlm::FirstRecord<PrinterInfo9>(m_bbPrinterInfo).pDevMode;
    ByteBuffer bbDevmode = DevmodeOf(pDevMode);
    if (pDevMode && bbDevmode.empty())
        VLM_THROW(ExceptionPrinterFailure, VTEXT("GetPrinterInfo(9) returned an invalid zero-length devmode!"));
    rbbDevmode.swap(bbDevmode);
    return pDevMode != nullptr;
}

Status vlm::FindRemote(HANDLE hPrinter, bool& rfRemote) {
    rfRemote = false;
    // Asked before every write, so that one call suffices for all but the longest names.
    alignas(PrinterInfo4) BYTE abyInfo[1024] = {};
    DWORD cbNeeded = 0;
    Status eStatus = Queues().GetQueueInfo(hPrinter, 4, abyInfo, sizeof abyInfo, cbNeeded);
    DWORD dwAttributes = 0;
    if (eStatus == Status::Success) {
        if (!IsSoundBlock(BlockKind::Printer, 4, 1, abyInfo, sizeof abyInfo)) return Status::InvalidData;
        dwAttributes = reinterpret_cast<const PrinterInfo4*>(abyInfo)->Attributes;
    } else if (eStatus == Status::InsufficientBuffer) {
        ByteBuffer bbInfo;
        eStatus = ReadQueueInfo(hPrinter, 4, bbInfo);
        if (eStatus == Status::Success) dwAttributes = FirstRecord<PrinterInfo4>(bbInfo).Attributes;
    }
    if (eStatus != Status::Success) return eStatus;
    const bool fNetwork = (dwAttributes & PrintQueuePort::ATTRIBUTE_NETWORK) != 0;
    const bool fLocal = (dwAttributes & PrintQueuePort::ATTRIBUTE_LOCAL) != 0;
    VLM_REPORT(PRINTER_CATEGORIES, VTEXT("PRINTER_ATTRIBUTE_NETWORK = %s and PRINTER_ATTRIBUTE_LOCAL = %s"),
               TrueOrFalse(fNetwork), TrueOrFalse(fLocal));
    rfRemote = fNetwork && !fLocal;
    return eStatus;
}

bool Printer::IsRemotePrinterConnection(HANDLE hPrinter) noexcept {
    return vlm::TryOperation([&] {
        bool fRemote = false;
        const Status eStatus = vlm::FindRemote(hPrinter, fRemote);
        const bool ppi4 = eStatus == Status::Success;
        VLM_ASSERT(ppi4, VTEXT("Unable to get PRINTER_INFO_4. %s"), TextOfStatus(eStatus));
        return fRemote;
    });
}

bool Printer::IsRemotePrinterConnection(const XCHAR* pszPrinterName) noexcept {
    return vlm::TryOperation([&] {
        Printer oPrinter(pszPrinterName, NO_THROW);
        return oPrinter.IsValidHandle() && oPrinter.IsRemotePrinterConnection();
    });
}

bool Printer::IsMSSeparatorPageSelected() {
    GetPrinterInfo(2);
    const XCHAR* const pszSepFile = vlm::FirstRecord<PrinterInfo2>(m_bbPrinterInfo).pSepFile;
    return pszSepFile && *pszSepFile;
}

bool Printer::GetSupportedTrays(std::vector<CXString>& rvcsTrays) noexcept {
    /// Units of one name in the driver's answer, which is terminated only when it is shorter.
    constexpr std::size_t TRAY_UNITS = 24;
    rvcsTrays.clear();
    return vlm::TryOperation([&] {
        std::vector<CXString> vcsTrays;
        const CXString csName = GetPrinterName();
        const CXString csPort = GetPrinterPort();
        LONG lTrays = 0;
        Status eStatus =
            vlm::Queues().GetDeviceCapability(csName, csPort, PrintQueuePort::CAPABILITY_BINNAMES, nullptr, 0, lTrays);
        if (eStatus == Status::Success && lTrays > 0 &&
            static_cast<std::size_t>(lTrays) <= vlm::bounds::MAX_SPOOLER_BLOCK_BYTES / (TRAY_UNITS * sizeof(XCHAR))) {
            std::vector<XCHAR> vchNames(static_cast<std::size_t>(lTrays) * TRAY_UNITS);
            eStatus =
                vlm::Queues().GetDeviceCapability(csName, csPort, PrintQueuePort::CAPABILITY_BINNAMES, vchNames.data(),
                                                  static_cast<DWORD>(vchNames.size() * sizeof(XCHAR)), lTrays);
            for (std::size_t i = 0; eStatus == Status::Success && i < vchNames.size(); i += TRAY_UNITS) {
                const XStringView svField(vchNames.data() + i, TRAY_UNITS);
                const XStringView svName = svField.substr(0, svField.find(XCHAR{0}));
                if (!svName.empty()) vcsTrays.emplace_back(svName);
            }
        }
        // Where no driver can be asked there is what it published for the directory.
        ByteBuffer bbNames;
        if (vcsTrays.empty() && CallGetPrinterDataExWithRetries(m_hPrinter, VTEXT("DsDriver"), VTEXT("printBinNames"),
                                                                nullptr, bbNames) == 0) {
            CXString csNames = bbNames.getAsStringValue();
            for (XStringView svRest = csNames.View(); !svRest.empty();) {
                const std::size_t cUnits = std::min(svRest.find(XCHAR{0}), svRest.size());
                if (cUnits != 0) vcsTrays.emplace_back(svRest.substr(0, cUnits));
                svRest.remove_prefix(std::min(cUnits + 1, svRest.size()));
            }
        }
        rvcsTrays.swap(vcsTrays);
        return !rvcsTrays.empty();
    });
}
