/// @file
/// The device's settings of a queue, and each user's cache of them.
#include <atomic>

#include "environment/PrinterImpl.h"
#include "environment/User.h"
#include "platform/ClockPort.h"
#include "utilities/registry/RegistryKey.h"
#include "utilities/utilitiesdll/Hash32.h"

using vlm::Status;
using vlm::TextOfStatus;
using vlm::ToDword;

namespace {

constexpr const XCHAR* DEVICE_SETTINGS = VTEXT("VlmDeviceSettings");
constexpr const XCHAR* CACHED_COPY = VTEXT("CachedVlmDeviceSettings");
constexpr const XCHAR* CACHE_TIME = VTEXT("CachedDeviceSettingsTimestamp");
constexpr const XCHAR* CHANGE_TIME = VTEXT("VlmDeviceSettingsTimestamp");
constexpr const XCHAR* SETTINGS_HASH = VTEXT("VlmDeviceSettingsHash");
constexpr DWORD TYPE_BYTES = 3;

constinit std::atomic<bool> gfRestrictOnRendering{false};
constinit std::atomic<bool> gfRestrictFromCapabilities{false};

/// The storage's key.  Its path holds the user's SID, so that it is the same without his impersonation.
std::unique_ptr<RegistryKey> StorageKey(const CXString& kcsPath) {
    return std::make_unique<RegistryKey>(LowRightsStorage::SHARED_ROOT, kcsPath, RegistryKey::AS_NEEDED,
                                         RegistryKey::OWN_TREE);
}

/// A number that must have exactly its size.
template <class T>
bool ReadNumber(RegistryKey& rKey, const XCHAR* pszName, T& rValue) {
    ByteBuffer bbValue;
    if (!rKey.GetBytesValue(pszName, bbValue) || bbValue.size() != sizeof(T)) return false;
    rValue = static_cast<T>(sizeof(T) == 8 ? bbValue.getAsLong64Value() : bbValue.getDword());
    return true;
}

}  // namespace

void Printer::SetflagToRestrictPrinterDriverDataOnRendering(bool fRestrict) noexcept {
    gfRestrictOnRendering.store(fRestrict, std::memory_order_relaxed);
}

bool Printer::GetflagToRestrictPrinterDriverDataOnRendering() noexcept {
    return gfRestrictOnRendering.load(std::memory_order_relaxed);
}

void Printer::SetflagToRestrictPrinterDriverDatFromDeviceCapabilities(bool fRestrict) noexcept {
    gfRestrictFromCapabilities.store(fRestrict, std::memory_order_relaxed);
}

bool Printer::GetflagToRestrictPrinterDriverDataFromDeviceCapabilities() noexcept {
    return gfRestrictFromCapabilities.load(std::memory_order_relaxed);
}

LONGLONG Printer::GetCurrentTimeInSeconds() noexcept {
    return vlm::GetPlatform().pClock->UtcSeconds();
}

DWORD Printer::GetHashOfPrinterDriverDataVLMDeviceSettings() noexcept {
    ByteBuffer bbSettings;
    return GetDeviceSettings(bbSettings) ? Hash32::GetHash32(bbSettings) : 0;
}

CXString Printer::GetLowRightsStorageName(const XCHAR* pszPrinterName) {
    return GetPrinterNameInStandardFormForUseAsRegKey(pszPrinterName) + VTEXT(".cache\\DeviceSettings");
}

LowRightsStorage* Printer::GetLowRightsStoragePtr() noexcept {
    if (m_apoLowRightsStorage) return m_apoLowRightsStorage.get();
    vlm::TryOperation([&] {
        auto apoStorage = std::make_unique<LowRightsStorage>(GetLowRightsStorageName(GetPrinterName()));
        if (apoStorage->IsAvailable()) m_apoLowRightsStorage = std::move(apoStorage);
        return true;
    });
    return m_apoLowRightsStorage.get();
}

bool Printer::SetCachedDeviceSettingsInRegistry(bool fIsCacheCopy, ByteBuffer bbData) noexcept {
    return vlm::TryOperation([&] {
        bool fRemote = true;
        if (vlm::FindRemote(m_hPrinter, fRemote) != Status::Success || fRemote) return false;
        const LowRightsStorage* const pStorage = GetLowRightsStoragePtr();
        if (!pStorage) return false;
        const CXString csPath = pStorage->GetKeyPath();
        const RevertToPrinterSelfWrapper oSelf;
        const LONGLONG llNow = GetCurrentTimeInSeconds();
        const DWORD dwHash = GetHashOfPrinterDriverDataVLMDeviceSettings();
        const auto apoKey = StorageKey(CXString());
        apoKey->CreateRegistryKey(csPath, RegistryKey::READ_WRITE_ACCESS);
        if (fIsCacheCopy) {
            apoKey->SetBytesValue(CACHED_COPY, bbData);
            apoKey->SetLong64Value(CACHE_TIME, llNow);
        } else {
            apoKey->SetLong64Value(CHANGE_TIME, llNow);
        }
        apoKey->SetLongValue(SETTINGS_HASH, static_cast<LONG>(dwHash));
        return true;
    });
}

bool Printer::GetCachedDeviceSettingsFromRegistry(ByteBuffer& rbbData) noexcept {
    rbbData.clear();
    return vlm::TryOperation([&] {
        bool fRemote = true;
        if (vlm::FindRemote(m_hPrinter, fRemote) != Status::Success || fRemote) return false;
        const LowRightsStorage* const pStorage = GetLowRightsStoragePtr();
        if (!pStorage) return false;
        const auto apoKey = StorageKey(pStorage->GetKeyPath());
        if (!apoKey->OpenRegistryKey(RegistryKey::READ_ACCESS, RegistryKey::NO_THROW)) return false;
        LONGLONG llCached = 0, llChanged = 0;
        DWORD dwHash = 0;
        if (!ReadNumber(*apoKey, CACHE_TIME, llCached) || !ReadNumber(*apoKey, CHANGE_TIME, llChanged) ||
            !ReadNumber(*apoKey, SETTINGS_HASH, dwHash))
            return false;
        if (llCached <= llChanged || dwHash != GetHashOfPrinterDriverDataVLMDeviceSettings()) return false;
        return apoKey->GetBytesValue(CACHED_COPY, rbbData) && !rbbData.empty();
    });
}

bool Printer::ClearDeviceSettingsCacheIfExists(bool fDefaultUser) noexcept {
    return vlm::TryOperation([&] {
        bool fRemote = true;
        if (vlm::FindRemote(m_hPrinter, fRemote) != Status::Success || fRemote) return false;
        const LowRightsStorage* const pStorage = GetLowRightsStoragePtr();
        const CXString csName = GetLowRightsStorageName(GetPrinterName());
        const CXString acsPath[] = {
            pStorage ? pStorage->GetKeyPath() : CXString(),
            fDefaultUser ? LowRightsStorage(csName, LowRightsStorage::DEFAULT_USER).GetKeyPath() : CXString()};
        const RevertToPrinterSelfWrapper oSelf;
        bool fCleared = false;
        for (const CXString& rcsPath : acsPath) {
            if (rcsPath.IsEmpty()) continue;
            const auto apoKey = StorageKey(rcsPath);
            fCleared = (apoKey->OpenRegistryKey(RegistryKey::WRITE_ACCESS, RegistryKey::NO_THROW) &&
                        apoKey->DeleteValue(CACHED_COPY)) ||
                       fCleared;
        }
        return fCleared;
    });
}

bool Printer::EnsureThatDeviceCapabilitiesAndInfoNuggetCachesAreReady() noexcept {
    return vlm::TryOperation([&] {
        ByteBuffer bbCached, bbSettings;
        if (GetCachedDeviceSettingsFromRegistry(bbCached)) return true;
        if (!GetDeviceSettings(bbSettings)) return false;
        const LowRightsStorage* const pStorage = GetLowRightsStoragePtr();
        if (!pStorage) return false;
        // A queue whose settings nobody has changed yet has no time of the last change.
        const auto apoKey = StorageKey(pStorage->GetKeyPath());
        LONGLONG llChanged = 0;
        const bool fChangeKnown = apoKey->OpenRegistryKey(RegistryKey::READ_ACCESS, RegistryKey::NO_THROW) &&
                                  ReadNumber(*apoKey, CHANGE_TIME, llChanged);
        if (!fChangeKnown && !SetCachedDeviceSettingsInRegistry(false, ByteBuffer())) return false;
        return SetCachedDeviceSettingsInRegistry(true, bbSettings) && GetCachedDeviceSettingsFromRegistry(bbCached);
    });
}

bool Printer::InvalidateAllPrintTicketProviderCaches() noexcept {
    return vlm::TryOperation([&] {
        const LowRightsStorage* const pStorage = GetLowRightsStoragePtr();
        if (!pStorage) return false;
        const CXString csPath = pStorage->GetKeyPath();
        const RevertToPrinterSelfWrapper oSelf;
        const auto apoKey = StorageKey(CXString());
        apoKey->CreateRegistryKey(csPath, RegistryKey::READ_WRITE_ACCESS);
        apoKey->GetIncLongValue(VTEXT("PtPcCacheGeneration"), 0, 0x7FFFFFFF);
        return apoKey->GetLastStatus() == 0;
    });
}

bool Printer::GetDeviceSettings(ByteBuffer& rbbSettings) noexcept {
    const DWORD dwStatus =
        CallGetPrinterDataExWithRetries(m_hPrinter, PRINTER_DRIVER_DATA, DEVICE_SETTINGS, nullptr, rbbSettings);
    return dwStatus == 0 && !rbbSettings.empty();
}

void Printer::SetDeviceSettings(const ByteBuffer& kbbSettings) {
    const DWORD dwStatus = SetPrinterDataExMandatoryWrapper(
        m_hPrinter, PRINTER_DRIVER_DATA, DEVICE_SETTINGS, TYPE_BYTES, kbbSettings.getLpbyte(), kbbSettings.GetLength());
    if (dwStatus != 0) {
        VLM_THROW(ExceptionPrinterFailure, VTEXT("The device settings of the printer cannot be written. %s"),
                  TextOfStatus(dwStatus));
    }
    SetCachedDeviceSettingsInRegistry(false, ByteBuffer());
}

bool Printer::ResetDeviceSettings() {
    ByteBuffer bbSettings;
    const bool fThere = GetDeviceSettings(bbSettings);
    DWORD dwStatus = DeletePrinterDataExMandatoryWrapper(m_hPrinter, PRINTER_DRIVER_DATA, DEVICE_SETTINGS);
    // Some spoolers cannot delete a value; an empty one counts as none.
    if (dwStatus == ToDword(Status::InvalidParameter)) {
        dwStatus =
            SetPrinterDataExMandatoryWrapper(m_hPrinter, PRINTER_DRIVER_DATA, DEVICE_SETTINGS, TYPE_BYTES, nullptr, 0);
    }
    if (dwStatus != 0 && dwStatus != ToDword(Status::FileNotFound)) {
        VLM_THROW(ExceptionPrinterFailure, VTEXT("The device settings of the printer cannot be deleted. %s"),
                  TextOfStatus(dwStatus));
    }
    SetCachedDeviceSettingsInRegistry(false, ByteBuffer());
    return fThere;
}
