/// @file
/// Printer data over the store's keys.
#include "platform/host/spooler/HostPrinterDataPort.h"

#include <cstring>
#include <vector>

#include "platform/host/spooler/BlockBuilder.h"
#include "platform/host/spooler/SpoolerKey.h"

namespace vlm::host {

namespace {

/// The server's one value that is there without having been set.
constexpr const XCHAR* SPOOL_DIRECTORY_VALUE = VTEXT("DefaultSpoolDirectory");

/// What a data key may be called: components the registry takes, none of them empty.
bool IsDataKey(XStringView svKey) noexcept {
    while (!svKey.empty()) {
        const std::size_t iEnd = svKey.find(VTEXT('\\'));
        if (!IsComponent(svKey.substr(0, iEnd))) return false;
        if (iEnd == XStringView::npos) return true;
        svKey.remove_prefix(iEnd + 1);
    }
    return false;
}

/// The path of a handle's data.  The server's is the same for every key.
XText DataPath(const OpenedPrinter& rPrinter, const XCHAR* pszKey) {
    if (rPrinter.eKind == OpenedPrinter::Kind::Server) return QUEUES_PATH;
    if (rPrinter.eKind != OpenedPrinter::Kind::Queue) throw SpoolerFailure{Status::InvalidHandle};
    if (!IsDataKey(ViewOf(pszKey))) throw SpoolerFailure{Status::InvalidParameter};
    return rPrinter.path + VTEXT("\\") + pszKey;
}

Status CopyOut(const void* pSource, std::size_t cbSource, void* pTarget, DWORD cbTarget, DWORD& rcbNeeded) {
    if (cbSource > 0x7FFFFFFF) return Status::NotEnoughMemory;
    rcbNeeded = static_cast<DWORD>(cbSource);
    if (cbSource == 0) return Status::Success;
    if (pTarget == nullptr || cbTarget < cbSource) return Status::MoreData;
    std::memcpy(pTarget, pSource, cbSource);
    return Status::Success;
}

}  // namespace

Status HostPrinterDataPort::GetData(HANDLE hPrinter, const XCHAR* pszKey, const XCHAR* pszValue, DWORD& rdwType,
                                    void* pData, DWORD cbData, DWORD& rcbNeeded) noexcept {
    return Guarded([&] {
        const auto shpoPrinter = m_rGround.Find(hPrinter);
        const XText path = DataPath(*shpoPrinter, pszKey);
        if (pszValue == nullptr) return Status::InvalidParameter;
        SpoolerKey oKey(m_rGround);
        std::vector<BYTE> vbyData;
        DWORD dwType = RegistryPort::TYPE_SZ;
        if (!oKey.Open(path) || !oKey.Value(pszValue, dwType, vbyData)) {
            if (shpoPrinter->eKind != OpenedPrinter::Kind::Server || !IsSameName(pszValue, SPOOL_DIRECTORY_VALUE)) {
                return Status::FileNotFound;
            }
            const XText folder = m_rGround.SpoolFolder() + VTEXT("\\PRINTERS");
            rdwType = dwType;
            return CopyOut(folder.c_str(), (folder.size() + 1) * sizeof(XCHAR), pData, cbData, rcbNeeded);
        }
        rdwType = dwType;
        return CopyOut(vbyData.data(), vbyData.size(), pData, cbData, rcbNeeded);
    });
}

Status HostPrinterDataPort::SetData(HANDLE hPrinter, const XCHAR* pszKey, const XCHAR* pszValue, DWORD dwType,
                                    const void* pData, DWORD cbData) noexcept {
    return Guarded([&] {
        const auto shpoPrinter = m_rGround.Find(hPrinter);
        const XText path = DataPath(*shpoPrinter, pszKey);
        if (pszValue == nullptr || (pData == nullptr && cbData != 0)) return Status::InvalidParameter;
        if (!shpoPrinter->MayChange()) return Status::AccessDenied;
        SpoolerKey oKey(m_rGround);
        // A queue that was deleted meanwhile is not to come back as a key of data.
        if (shpoPrinter->eKind == OpenedPrinter::Kind::Queue && !oKey.Open(shpoPrinter->path)) {
            return Status::FileNotFound;
        }
        oKey.Create(path);
        oKey.Set(pszValue, dwType, pData, cbData);
        return Status::Success;
    });
}

Status HostPrinterDataPort::EnumerateData(HANDLE hPrinter, const XCHAR* pszKey, void* pValues, DWORD cbValues,
                                          DWORD& rcbNeeded, DWORD& rcReturned) noexcept {
    return Guarded([&] {
        const auto shpoPrinter = m_rGround.FindQueue(hPrinter);
        SpoolerKey oKey(m_rGround);
        if (!oKey.Open(DataPath(*shpoPrinter, pszKey))) return Status::FileNotFound;
        BlockBuilder<PrinterEnumValues> oBuilder;
        for (const XText& rName : oKey.ValueNames()) {
            DWORD dwType = 0;
            std::vector<BYTE> vbyData;
            if (!oKey.Value(rName.c_str(), dwType, vbyData)) continue;  // gone meanwhile
            oBuilder.Add({.pValueName = nullptr,
                          .cbValueName = static_cast<DWORD>((rName.size() + 1) * sizeof(XCHAR)),
                          .dwType = dwType,
                          .pData = nullptr,
                          .cbData = static_cast<DWORD>(vbyData.size())});
            oBuilder.Text(&PrinterEnumValues::pValueName, rName);
            oBuilder.Bytes(&PrinterEnumValues::pData, vbyData);
        }
        return oBuilder.FinishList(pValues, cbValues, rcbNeeded, rcReturned, Status::MoreData);
    });
}

Status HostPrinterDataPort::DeleteData(HANDLE hPrinter, const XCHAR* pszKey, const XCHAR* pszValue) noexcept {
    return Guarded([&] {
        const auto shpoPrinter = m_rGround.Find(hPrinter);
        const XText path = DataPath(*shpoPrinter, pszKey);
        if (pszValue == nullptr) return Status::InvalidParameter;
        if (!shpoPrinter->MayChange()) return Status::AccessDenied;
        SpoolerKey oKey(m_rGround);
        const bool bDeleted = oKey.Open(path, RegistryPort::RIGHTS_ALL) && oKey.DeleteValue(pszValue);
        return bDeleted ? Status::Success : Status::FileNotFound;
    });
}

Status HostPrinterDataPort::EnumerateDataKeys(HANDLE hPrinter, const XCHAR* pszKey, XCHAR* pszzKeys, DWORD cbKeys,
                                              DWORD& rcbNeeded) noexcept {
    return Guarded([&] {
        const auto shpoPrinter = m_rGround.FindQueue(hPrinter);
        if (pszKey == nullptr) return Status::InvalidParameter;
        SpoolerKey oKey(m_rGround);
        if (!oKey.Open(*pszKey == 0 ? shpoPrinter->path : DataPath(*shpoPrinter, pszKey))) return Status::FileNotFound;
        XText names;
        for (const XText& rName : oKey.KeyNames())
            names.append(rName).append(1, 0);
        names.append(1, 0);
        return CopyOut(names.data(), names.size() * sizeof(XCHAR), pszzKeys, cbKeys, rcbNeeded);
    });
}

Status HostPrinterDataPort::DeleteDataKey(HANDLE hPrinter, const XCHAR* pszKey) noexcept {
    return Guarded([&] {
        const auto shpoPrinter = m_rGround.FindQueue(hPrinter);
        const XText path = DataPath(*shpoPrinter, pszKey);
        if (!shpoPrinter->MayChange()) return Status::AccessDenied;
        return DeleteTree(m_rGround, path) ? Status::Success : Status::FileNotFound;
    });
}

}  // namespace vlm::host
