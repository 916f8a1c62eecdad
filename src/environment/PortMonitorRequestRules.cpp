/// @file
/// The rules of content of a request.
#include "environment/PortMonitorRequestRules.h"

#include "utilities/Bounds.h"

namespace vlm {

namespace {

constexpr DWORD KEY_WRITE_MASK = 0x20006;
constexpr DWORD KEY_READ_WRITE_MASK = 0x2001F;

WORD UnitAt(std::span<const BYTE> data, std::size_t cOffset) noexcept {
    return static_cast<WORD>(data[cOffset] | data[cOffset + 1] << 8);
}

DWORD DwordAt(std::span<const BYTE> data, std::size_t cOffset) noexcept {
    return UnitAt(data, cOffset) | static_cast<DWORD>(UnitAt(data, cOffset + 2)) << 16;
}

bool IsSubKeyOperation(_XPMRegistryFunction eFunction) noexcept {
    using enum _XPMRegistryFunction;
    return eFunction == CreateKey || eFunction == OpenKey || eFunction == DeleteKey || eFunction == DeleteKeyAndSubkeys;
}

bool IsMaskRegular(const RequestOperation& rOperation, const PortMonitorRequest& rRequest, bool fByHandle) noexcept {
    switch (rOperation.m_dwMask) {
        case RequestOperation::ANY_MASK:
            return true;
        case RequestOperation::BY_ADDRESS:
            return rRequest.m_dwAccessMask == (fByHandle ? KEY_WRITE_MASK : KEY_READ_WRITE_MASK);
        default:
            return rRequest.m_dwAccessMask == rOperation.m_dwMask;
    }
}

bool IsKeyPathRegular(const RequestOperation& rOperation, const PortMonitorRequest& rRequest, bool fByHandle) noexcept {
    const bool fPresent = !rRequest.m_csKeyPath.IsEmpty();
    if (fPresent && !IsRegularKeyPath(rRequest.m_csKeyPath)) return false;
    // A key is deleted through its parent's handle and its own name, never through a handle of its own.
    if (fByHandle)
        return fPresent ? IsSubKeyOperation(rRequest.m_eFunction) : rOperation.m_eEffect != RequestEffect::DeleteKey;
    if (fPresent) return true;
    // The base itself is not written, created or deleted; it may be read and opened for reading.
    return rOperation.m_eEffect == RequestEffect::Read || rRequest.m_eFunction == _XPMRegistryFunction::OpenKey;
}

bool IsValueNameRegular(const RequestOperation& rOperation, const CXString& kcsName) noexcept {
    if (kcsName.View().size() > bounds::MAX_VALUE_NAME_UNITS) return false;
    switch (rOperation.m_eName) {
        case RequestName::No:
            return kcsName.IsEmpty();
        case RequestName::Needed:
            return !kcsName.IsEmpty();
        case RequestName::Optional:
            break;
    }
    return true;
}

bool IsThirdRegular(const RequestOperation& rOperation, const PortMonitorRequest& rRequest, bool fByHandle) noexcept {
    const bool fNeedsSid = !fByHandle && DoesRootNeedSid(rRequest.m_eRoot);
    if (rOperation.m_eEffect == RequestEffect::Copy) {
        // One string cannot carry both the source path and a SID: such a copy goes through a key handle.
        return !fNeedsSid && IsRegularKeyPath(rRequest.m_csThird);
    }
    return fNeedsSid ? IsRegularSid(rRequest.m_csThird) : rRequest.m_csThird.IsEmpty();
}

bool IsDataRegular(const RequestOperation& rOperation, std::span<const BYTE> data) noexcept {
    if (data.size() > bounds::MAX_REQUEST_DATA_BYTES) return false;
    DWORD cEntries = 0;
    switch (rOperation.m_eData) {
        case RequestData::None:
            return data.empty();
        case RequestData::Bytes1:
            return data.size() == 1;
        case RequestData::Bytes4:
            return data.size() == 4;
        case RequestData::Bytes8:
            return data.size() == 8;
        case RequestData::Text:
            return IsRegularText(data);
        case RequestData::ValueName: {
            if (!IsRegularText(data) || data.size() == 2 || data.size() / 2 - 1 > bounds::MAX_VALUE_NAME_UNITS)
                return false;
            for (std::size_t i = 0; i + 2 < data.size(); i += 2) {
                if (UnitAt(data, i) == 0) return false;
            }
            return true;
        }
        case RequestData::Bytes:
            return true;
        case RequestData::ValueList:
            return IsRegularValueList(data, cEntries);
    }
    return false;
}

}  // namespace

bool IsRegularText(std::span<const BYTE> data) noexcept {
    return data.size() >= 2 && data.size() % 2 == 0 && UnitAt(data, data.size() - 2) == 0;
}

bool IsRegularKeyPath(XStringView path) noexcept {
    if (path.empty() || path.size() > bounds::MAX_KEY_PATH_UNITS) return false;
    std::size_t cComponents = 1;
    std::size_t cUnits = 0;
    for (const XCHAR ch : path) {
        if (ch < 0x20 || ch == 0x7F) return false;
        if (ch != VTEXT('\\')) {
            if (++cUnits > bounds::MAX_KEY_COMPONENT_UNITS) return false;
            continue;
        }
        if (cUnits == 0 || ++cComponents > bounds::MAX_KEY_COMPONENTS) return false;
        cUnits = 0;
    }
    return cUnits > 0;
}

bool IsRegularSid(XStringView sid) noexcept {
    constexpr XStringView PREFIX = VTEXT("S-1-");
    constexpr std::size_t MAX_SID_TEXT = 184;
    constexpr int MAX_FIELDS = 15;
    if (sid == XStringView(VTEXT(".DEFAULT"))) return true;
    if (sid.size() > MAX_SID_TEXT || !sid.starts_with(PREFIX)) return false;
    int iFields = 1;
    std::size_t cStart = PREFIX.size();
    for (std::size_t i = PREFIX.size(); i <= sid.size(); ++i) {
        if (i < sid.size() && sid[i] >= VTEXT('0') && sid[i] <= VTEXT('9')) continue;
        const std::size_t cDigits = i - cStart;
        if (cDigits == 0 || (cDigits > 1 && sid[cStart] == VTEXT('0'))) return false;
        if (i == sid.size()) break;
        if (sid[i] != VTEXT('-') || ++iFields > MAX_FIELDS) return false;
        cStart = i + 1;
    }
    return true;
}

bool DoesRootNeedSid(_HKEYREGISTRY_ eRoot) noexcept {
    return eRoot == HKeyRegistry::Hkey_Low_Rights_Storage_User ||
           (eRoot >= HKeyRegistry::Hkey_User_Velom && eRoot <= HKeyRegistry::Hkey_Current_User);
}

bool IsRegularValueList(std::span<const BYTE> data, DWORD& rcEntries) noexcept {
    // Entry: name offset (8 bytes), then 24 bytes that are zero in a request.  The first name's offset tells where the
    // entries end.
    constexpr std::size_t ENTRY_BYTES = 32;
    if (data.size() < ENTRY_BYTES) return false;
    const std::size_t cbEntries = DwordAt(data, 0);
    if (cbEntries == 0 || cbEntries % ENTRY_BYTES != 0 || cbEntries > data.size()) return false;
    if (cbEntries / ENTRY_BYTES > bounds::MAX_VALUE_LIST_ENTRIES) return false;
    std::size_t cNext = cbEntries;
    for (std::size_t cEntry = 0; cEntry < cbEntries; cEntry += ENTRY_BYTES) {
        if (DwordAt(data, cEntry) != cNext || DwordAt(data, cEntry + 4) != 0) return false;
        for (std::size_t i = 8; i < ENTRY_BYTES; ++i) {
            if (data[cEntry + i] != 0) return false;
        }
        const std::size_t cName = cNext;
        while (cNext + 2 <= data.size() && UnitAt(data, cNext) != 0)
            cNext += 2;
        if (cNext + 2 > data.size() || cNext == cName || (cNext - cName) / 2 > bounds::MAX_VALUE_NAME_UNITS)
            return false;
        cNext += 2;
    }
    rcEntries = static_cast<DWORD>(cbEntries / ENTRY_BYTES);
    return cNext == data.size();
}

std::vector<CXString> ValueListNames(std::span<const BYTE> data) {
    DWORD cEntries = 0;
    std::vector<CXString> vcsNames;
    if (!IsRegularValueList(data, cEntries)) return vcsNames;
    vcsNames.reserve(cEntries);
    std::size_t cNext = DwordAt(data, 0);
    for (DWORD i = 0; i < cEntries; ++i) {
        std::size_t cEnd = cNext;
        while (UnitAt(data, cEnd) != 0)
            cEnd += 2;
        vcsNames.push_back(ByteBuffer(data.subspan(cNext, cEnd - cNext)).getAsStringValue());
        cNext = cEnd + 2;
    }
    return vcsNames;
}

bool ObeysRequestRules(const PortMonitorRequest& rRequest) {
    const RequestOperation* const pOperation = FindRequestOperation(static_cast<WORD>(rRequest.m_eFunction));
    if (!pOperation) return false;
    const bool fByHandle = rRequest.m_ullKeyHandle != 0;
    const bool fByRoot = rRequest.m_eRoot >= HKeyRegistry::Hkey_Low_Rights_Storage &&
                         rRequest.m_eRoot <= HKeyRegistry::Hkey_Current_User;
    if (fByHandle ? rRequest.m_eRoot != HKeyRegistry::Hkey_None : !fByRoot) return false;
    if (pOperation->m_eEffect == RequestEffect::Close && !fByHandle) return false;
    return IsMaskRegular(*pOperation, rRequest, fByHandle) && IsKeyPathRegular(*pOperation, rRequest, fByHandle) &&
           IsValueNameRegular(*pOperation, rRequest.m_csValueName) &&
           IsThirdRegular(*pOperation, rRequest, fByHandle) &&
           IsDataRegular(*pOperation, {rRequest.m_bbData.getLpbyte(), rRequest.m_bbData.size()});
}

}  // namespace vlm
