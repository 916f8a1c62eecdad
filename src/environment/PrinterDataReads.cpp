/// @file
/// Reads and writes of whole values: of any size, as texts, with a CRC.
#include <algorithm>
#include <cstring>
#include <thread>

#include "environment/PrinterImpl.h"
#include "utilities/debuggingandexceptions/NoThrow.h"
#include "utilities/utilitiesdll/Crc32.h"

using vlm::Status;
using vlm::TextOfStatus;
using vlm::ToDword;

namespace {

constexpr DWORD TYPE_STRING = 1, TYPE_EXPANDABLE = 2, TYPE_STRINGS = 7;

bool IsTooSmall(DWORD dwStatus) noexcept {
    return dwStatus == ToDword(Status::MoreData) || dwStatus == ToDword(Status::InsufficientBuffer);
}

/// Reports what became of the attempts: `i` of them were made again after `dwFirst`.
void ReportRetries(DWORD dwStatus, DWORD dwFirst, unsigned i, bool fYielded, unsigned iMaxRetries) noexcept {
    // The conditions' texts are fixed:
    // clang-format off
    if (fYielded && dwStatus == 0) {
        VLM_REPORT_ERROR(vlm::PRINTER_CATEGORIES,
                         VTEXT("::GetPrinterDataEx() initially failed with error %u, failed %u retries, and only "
                               "succeeded after calling sleep(0) to let other threads run. The %uth retry was "
                               "successful and the driver has fully recovered, but this indicates a bug: somebody "
                               "writes the value again and again."),
                         dwFirst, i - 1, i);
    } else if (dwStatus == 0) {
        VLM_ASSERT(i<2 || i == iMaxRetries,
                   VTEXT("::GetPrinterDataEx() initially failed with error %u, and required %u retries before it "
                         "succeeded. The driver has fully recovered."),
                   dwFirst, i);
    }
    VLM_ASSERT(i<iMaxRetries, VTEXT("%s"), TextOfStatus(dwStatus));
    // clang-format on
}

DWORD ReadWithRetries(HANDLE hPrinter, const XCHAR* pszKeyName, const XCHAR* pszValueName, DWORD* pdwType,
                      ByteBuffer& rbbData) {
    constexpr unsigned iMaxRetries = Printer::MAX_READ_ATTEMPTS;
    unsigned i = 0;
    DWORD dwFirst = 0;
    bool fYielded = false;
    for (;;) {
        DWORD cbNeeded = 0;
        const DWORD dwStatus = Printer::GetPrinterDataExMandatoryWrapper(
            hPrinter, pszKeyName, pszValueName, pdwType, rbbData.getLpbyte(), rbbData.GetLength(), &cbNeeded);
        if (IsTooSmall(dwStatus) && cbNeeded <= vlm::bounds::MAX_SPOOLER_BLOCK_BYTES) {
            if (i == 0) dwFirst = dwStatus;
            if (++i < iMaxRetries) {
                VLM_REPORT(vlm::PRINTER_CATEGORIES,
                           VTEXT("!!!Printer::CallGetPrinterDataExWithRetries: Retrying GetPrinterData(%s) due to "
                                 "ERROR_MORE_DATA."),
                           pszValueName);
                rbbData.resize(std::max<std::size_t>(cbNeeded, rbbData.size()));
                fYielded = i + 1 == iMaxRetries;
                if (fYielded) std::this_thread::yield();
                continue;
            }
        }
        ReportRetries(dwStatus, dwFirst, i, fYielded, iMaxRetries);
        rbbData.resize(dwStatus == 0 ? cbNeeded : 0);
        return dwStatus;
    }
}

}  // namespace

DWORD Printer::CallGetPrinterDataExWithRetries(HANDLE hPrinter, const XCHAR* pszKeyName, const XCHAR* pszValueName,
                                               DWORD* pdwType, ByteBuffer& rbbData) noexcept {
    const DWORD dwNoMemory = ToDword(Status::NotEnoughMemory);
    const DWORD dwStatus =
        vlm::NoThrow([&] { return ReadWithRetries(hPrinter, pszKeyName, pszValueName, pdwType, rbbData); }, dwNoMemory);
    if (dwStatus == dwNoMemory) rbbData.clear();
    return dwStatus;
}

DWORD vlm::ReadPrinterDataText(HANDLE hPrinter, const XCHAR* pszKeyName, const XCHAR* pszValueName,
                               CXString& rcsValue) noexcept {
    return NoThrow(
        [&] {
            rcsValue.Empty();
            ByteBuffer bbData;
            DWORD dwType = 0;
            const DWORD dwStatus =
                Printer::CallGetPrinterDataExWithRetries(hPrinter, pszKeyName, pszValueName, &dwType, bbData);
            if (dwStatus != 0) return dwStatus;
            if (dwType != TYPE_STRING && dwType != TYPE_EXPANDABLE && dwType != TYPE_STRINGS)
                return ToDword(Status::InvalidData);
            const CXString csAll = bbData.getAsStringValue();
            rcsValue = csAll.GetLpcwstr();  // up to the first terminator
            return dwStatus;
        },
        ToDword(Status::NotEnoughMemory));
}

bool Printer::GetPrinterDataString(const XCHAR* pszValueName, CXString& rcsValue) noexcept {
    const DWORD dwStatus = vlm::ReadPrinterDataText(m_hPrinter, PRINTER_DRIVER_DATA, pszValueName, rcsValue);
    if (dwStatus == 0) return true;
    VLM_REPORT(vlm::PRINTER_CATEGORIES, VTEXT("There is no text '%s' in PrinterDriverData. %s"), pszValueName,
               TextOfStatus(dwStatus));
    return false;
}

bool Printer::SetPrinterDataString(const XCHAR* pszValueName, const CXString& kcsValue) noexcept {
    return SetPrinterDataString(m_hPrinter, pszValueName, kcsValue);
}

bool Printer::SetPrinterDataString(HANDLE hPrinter, const XCHAR* pszValueName, const CXString& kcsValue) noexcept {
    const auto cbData = static_cast<DWORD>((kcsValue.View().size() + 1) * sizeof(XCHAR));
    const DWORD dwStatus =
        SetPrinterDataExMandatoryWrapper(hPrinter, PRINTER_DRIVER_DATA, pszValueName, TYPE_STRING,
                                         reinterpret_cast<const BYTE*>(kcsValue.GetLpcwstr()), cbData);
    if (dwStatus == 0) return true;
    VLM_REPORT_ERROR(vlm::PRINTER_CATEGORIES, VTEXT("The text '%s' cannot be written to PrinterDriverData. %s"),
                     pszValueName, TextOfStatus(dwStatus));
    return false;
}

void* Printer::GetCrc32PrinterData(HANDLE hPrinter, const XCHAR* kszPrinterFeatureName) noexcept {
    constexpr std::size_t CRC_BYTES = 4;
    m_bbCrc32PrinterData.clear();
    VLM_ASSERT(IsValidHandle(hPrinter));
    VLM_ASSERT(kszPrinterFeatureName);
    ByteBuffer bbData;
    DWORD dwStatus = ToDword(Status::InvalidParameter);
    if (IsValidHandle(hPrinter) && kszPrinterFeatureName && *kszPrinterFeatureName) {
        dwStatus =
            CallGetPrinterDataExWithRetries(hPrinter, PRINTER_DRIVER_DATA, kszPrinterFeatureName, nullptr, bbData);
    }
    if (dwStatus == 0) {
        dwStatus = ToDword(Status::InvalidData);
        if (bbData.size() > CRC_BYTES) {
            const DWORD cbPayload = bbData.GetLength() - static_cast<DWORD>(CRC_BYTES);
            const BYTE* pbyCrc = bbData.data() + cbPayload;
            DWORD dwRemaining = CRC_BYTES;
            if (static_cast<DWORD>(ByteBuffer::WalkBufferToGetLong(pbyCrc, dwRemaining)) ==
                Crc32::GetCrc(bbData.data(), cbPayload)) {
                m_bbCrc32PrinterData.swap(bbData);
                m_bbCrc32PrinterData.resize(cbPayload);  // smaller: takes no memory
                return m_bbCrc32PrinterData.getLpbyte();
            }
        }
    }
    VLM_REPORT_ERROR(vlm::PRINTER_CATEGORIES, VTEXT("Printer:GetCrc32PrinterData(LPCTSTR, LPCTSTR) failed because %s"),
                     TextOfStatus(dwStatus));
    return nullptr;
}

bool Printer::SetCrc32PrinterData(HANDLE hPrinter, const XCHAR* kszPrinterFeatureName, DWORD dwType, void* pPrinterData,
                                  DWORD dwSize) noexcept {
    VLM_ASSERT(IsValidHandle(hPrinter));
    VLM_ASSERT(kszPrinterFeatureName);
    VLM_ASSERT(pPrinterData);
    const DWORD dwStatus = vlm::NoThrow(
        [&] {
            if (!IsValidHandle(hPrinter) || !kszPrinterFeatureName || !*kszPrinterFeatureName || !pPrinterData ||
                dwSize == 0) {
                return ToDword(Status::InvalidParameter);
            }
            VLM_ASSERT(!IsRemotePrinterConnection(hPrinter));
            ByteBuffer bbData(static_cast<const BYTE*>(pPrinterData), dwSize);
            bbData.appendDwordValue(Crc32::GetCrc(bbData.data(), dwSize));
            // Refuses on a connection to another machine.
            return SetPrinterDataExMandatoryWrapper(hPrinter, PRINTER_DRIVER_DATA, kszPrinterFeatureName, dwType,
                                                    bbData.data(), bbData.GetLength());
        },
        ToDword(Status::NotEnoughMemory));
    if (dwStatus == 0) return true;
    VLM_REPORT_ERROR(vlm::PRINTER_CATEGORIES,
                     VTEXT("Printer:SetCrc32PrinterData(LPCTSTR, LPCTSTR, DWORD, PVOID, DWORD) failed because %s"),
                     TextOfStatus(dwStatus));
    return false;
}

void Printer::ZeroOutPrinterData() noexcept {
    std::fill_n(m_bbPrinterData.data(), m_bbPrinterData.size(), BYTE{0});
    std::fill_n(m_bbCrc32PrinterData.data(), m_bbCrc32PrinterData.size(), BYTE{0});
}

void Printer::ClearPrinterData() noexcept {
    m_bbPrinterData.clear();
    m_bbCrc32PrinterData.clear();
    m_dwPrinterDataType = 0;
}

bool Printer::TestWritePermissionToPrinterDataFolder(HANDLE hPrinter) noexcept {
    if (IsRemotePrinterConnection(hPrinter)) return false;  // the server's
    const XCHAR* const pszProbe = VTEXT("VlmWriteTest");
    const BYTE abyNothing[4] = {};
    const DWORD dwStatus = SetPrinterDataExMandatoryWrapper(hPrinter, PRINTER_DRIVER_DATA, pszProbe, 3, abyNothing, 4);
    VLM_REPORT(vlm::PRINTER_CATEGORIES, VTEXT("Writing to PrinterDriverData, as a test: %s"), TextOfStatus(dwStatus));
    if (dwStatus != 0) return false;
    DeletePrinterDataExMandatoryWrapper(hPrinter, PRINTER_DRIVER_DATA, pszProbe);
    return true;
}
