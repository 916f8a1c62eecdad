/// @file
/// The settings of the debug messages: construction, reading and seeding.
#include "utilities/debuggingandexceptions/DebugMessageConfiguration.h"

#include <algorithm>
#include <utility>

#include "platform/Platform.h"
#include "platform/ProcessPort.h"
#include "platform/ThreadPort.h"
#include "utilities/debuggingandexceptions/DebugMessageCategoryHelper.h"
#include "utilities/debuggingandexceptions/NoThrow.h"
#include "utilities/debuggingandexceptions/RaiseMacros.h"
#include "utilities/debuggingandexceptions/detail/diagnostics/EmissionGuard.h"
#include "utilities/debuggingandexceptions/detail/failure/SafeText.h"
#include "utilities/registry/RegistryKey.h"
#include "utilities/registry/detail/RegistryKeyImpl.h"
#include "utilities/utilitiesdll/VelomUtilities_Text.h"

namespace {

/// Longest command line of the system, with its terminator.
constexpr std::size_t MAX_COMMAND_LINE = 32768;
constexpr int NOT_BOUND = -1;

/// Calls `body` with the id of each setting, in the order of the table.
template <class Body>
void ForEachSetting(Body&& body) {
    for (std::size_t i = 0; i < DMS_COUNT; ++i)
        body(static_cast<DebugSettingId>(i));
}

/// The four switches that stay off in a process that is never traced.
constexpr bool IsTraceSwitch(DebugSettingId eSetting) noexcept {
    return eSetting == DMS_MessagesEnabled || eSetting == DMS_XMsgMessagesEnabled ||
           eSetting == DMS_PerfMeasureEnabled || eSetting == DMS_PerfShowXTimingOutput;
}

DebugMessageCategories CategoriesOf(const CXString& kcsList) {
    DebugMessageCategories categories = DebugCategory::None;
    for (CXString& rcsName : VelomUtilities::parseCharacterSeparatedStrings(kcsList, VTEXT(',')))
        categories |= DebugMessageCategoryHelper::GetCategoryFromString(rcsName.TrimLeft().TrimRight());
    return categories;
}

}  // namespace

DebugMessageConfiguration::DebugMessageConfiguration(const CXString& kcsKeyName) noexcept
    : m_csKeyName(vlm::CopyOrEmpty(kcsKeyName)),
      m_csProcessName(vlm::TextOrEmpty(VTEXT("Not initialized"))),
      m_oConstructionTime(vlm::GetPlatform().pClock->LocalTime()),
      m_dwThreadId(vlm::GetPlatform().pThreads->CurrentThreadId()) {
    m_aiValues.fill(NOT_BOUND);
    vlm::NoThrow([&] { SetDefaults(); });
    vlm::NoThrow([&] {
        OpenKeys();
        SeedMissingValues();
    });
    GetLatestConfigurationInformation(m_apoConfigurationKey != nullptr);
    vlm::NoThrow([&] { FindProcessName(); });
    m_fNeverTraced = m_csProcessName == VTEXT("wmiprvse");
    ForEachSetting([&](DebugSettingId eSetting) {
        if (m_fNeverTraced && IsTraceSwitch(eSetting)) StoreNumber(eSetting, 0);
    });
    if (IsMessagesEnabled() || IsXMsgMessagesEnabled() || IsPerformanceMeasurementEnabled()) BeginOrContinueSession();
}

DebugMessageConfiguration::~DebugMessageConfiguration() = default;

void DebugMessageConfiguration::SetDefaults() {
    ForEachSetting([&](DebugSettingId eSetting) { StoreNumber(eSetting, DEBUG_SETTINGS[eSetting].ullDefault); });
    ForEachSetting([&](DebugSettingId eSetting) { m_acsTexts[eSetting] = DEBUG_SETTINGS[eSetting].pszDefault; });
}

void DebugMessageConfiguration::FindProcessName() {
    std::vector<XCHAR> vchLine(MAX_COMMAND_LINE);
    XStringView name(vchLine.data(), vlm::GetPlatform().pProcess->CommandLine(vchLine.data(), vchLine.size()));
    if (name.empty()) return;
    name.remove_prefix(name.rfind(VTEXT('\\')) + 1);
    name = name.substr(0, name.find(VTEXT('.')));
    m_csProcessName = name.substr(0, MAX_PROCESS_NAME);
}

// ---- the registry ----

void DebugMessageConfiguration::OpenKeys() {
    const auto open = [&](DWORD dwAccess) {
        auto apoKey =
            std::make_unique<RegistryKey>(HKeyRegistry::Hkey_Machine_Velom, RegistryKey::DIRECT, RegistryKey::OWN_TREE);
        const bool fOpen = apoKey->OpenRegistryKey(m_csKeyName, dwAccess, RegistryKey::NO_THROW);
        m_dwWritingStatus = apoKey->GetLastStatus();
        if (!fOpen) apoKey.reset();
        return apoKey;
    };
    m_apoConfigurationKeyForWriting.reset();
    m_apoConfigurationKey = open(RegistryKey::READ_ACCESS);
    m_apoConfigurationKeyForWriting = open(RegistryKey::FULL_ACCESS);
}

void DebugMessageConfiguration::SeedMissingValues() {
    if (!m_apoConfigurationKey || !m_apoConfigurationKeyForWriting) return;
    ForEachSetting([&](DebugSettingId eSetting) {
        if (m_apoConfigurationKey->DoesValueExist(DEBUG_SETTINGS[eSetting].pszName)) return;
        vlm::NoThrow([&] { WriteSetting(eSetting); });
    });
}

void DebugMessageConfiguration::WriteSetting(DebugSettingId eSetting) {
    const DebugSetting& rSetting = DEBUG_SETTINGS[eSetting];
    RegistryKey& rKey = *m_apoConfigurationKeyForWriting;
    const ULONGLONG ullNumber = GetSettingNumber(eSetting);
    switch (rSetting.eKind) {
        case DebugSettingKind::Switch:
            return rKey.SetBooleanValue(rSetting.pszName, ullNumber != 0);
        case DebugSettingKind::Number:
            return rKey.SetLongValue(rSetting.pszName, static_cast<LONG>(ullNumber));
        case DebugSettingKind::Number64:
            return rKey.SetLong64Value(rSetting.pszName, static_cast<LONGLONG>(ullNumber));
        case DebugSettingKind::Text:
            return rKey.SetStringValue(rSetting.pszName, GetSettingText(eSetting));
    }
}

bool DebugMessageConfiguration::GetLatestConfigurationInformation(bool fReadingKeyExists) noexcept {
    const DWORD dwSelf = vlm::GetPlatform().pThreads->CurrentThreadId();
    if (m_dwReadingThread.load(std::memory_order_relaxed) == dwSelf) return false;
    bool fRead = false;
    {
        const vlm::EmissionScope quiet;
        const CriticalResourceLock lock(m_oRegistryResource);
        m_dwReadingThread.store(dwSelf, std::memory_order_relaxed);
        if (fReadingKeyExists) fRead = vlm::NoThrow([&] { return ReadValues(); }, false);
        ComputeAllowedCategories();
        m_dwReadingThread.store(0, std::memory_order_relaxed);
    }
    NotifyListener();
    return fRead;
}

void DebugMessageConfiguration::RefreshBeforeUse() noexcept {
    if (IsAlwaysReadConfig()) GetLatestConfigurationInformation(true);
}

bool DebugMessageConfiguration::ReadValues() {
    const auto forget = [&] {
        m_oValues = RegistryMultiValueOperations();
        m_aiValues.fill(NOT_BOUND);
    };
    // The second round is for a value or the key that has gone since the last read.
    for (int iRound = 0; iRound < 2; ++iRound) {
        if (!m_apoConfigurationKey) {
            OpenKeys();
            SeedMissingValues();
        }
        if (!m_apoConfigurationKey) return false;
        if (BindExistingValues() && m_apoConfigurationKey->QueryMultipleValues(m_oValues)) {
            if (!m_oValues.HasChanged() || vlm::NoThrow([&] { ApplyValues(); })) return true;
            forget();  // so that the next read brings them again
            return false;
        }
        const DWORD dwStatus = m_apoConfigurationKey->GetLastStatus();
        forget();
        if (dwStatus == vlm::ToDword(vlm::Status::KeyDeleted)) m_apoConfigurationKey.reset();
    }
    return false;
}

/// Binds the values that are there and were not before.  @return whether any are bound.
bool DebugMessageConfiguration::BindExistingValues() {
    ForEachSetting([&](DebugSettingId eSetting) {
        const XCHAR* const pszName = DEBUG_SETTINGS[eSetting].pszName;
        if (m_aiValues[eSetting] != NOT_BOUND || !m_apoConfigurationKey->DoesValueExist(pszName)) return;
        m_aiValues[eSetting] = static_cast<int>(m_oValues.Add(pszName));
    });
    return m_oValues.GetCount() != 0;
}

void DebugMessageConfiguration::ApplyValues() {
    ForEachSetting([&](DebugSettingId eSetting) { ApplyValue(eSetting); });
}

void DebugMessageConfiguration::ApplyValue(DebugSettingId eSetting) {
    // The getters answer the default for a place that there is not, as for data that do not fit.
    const auto cPlace = static_cast<std::size_t>(m_aiValues[eSetting]);
    const DebugSetting& rSetting = DEBUG_SETTINGS[eSetting];
    const auto llDefault = static_cast<LONGLONG>(rSetting.ullDefault);
    switch (rSetting.eKind) {
        case DebugSettingKind::Switch:
            return StoreNumber(eSetting, m_oValues.GetBoolean(cPlace, llDefault != 0) ? 1U : 0U);
        case DebugSettingKind::Number:
            return StoreNumber(eSetting, static_cast<DWORD>(m_oValues.GetLong(cPlace, static_cast<LONG>(llDefault))));
        case DebugSettingKind::Number64:
            return StoreNumber(eSetting, static_cast<ULONGLONG>(m_oValues.GetLong64(cPlace, llDefault)));
        case DebugSettingKind::Text:
            break;
    }
    CXString csText(rSetting.pszDefault);
    if (m_oValues.GetType(cPlace) == RegistryKey::TYPE_STRING) {
        ByteBuffer bbText;
        if (!m_oValues.GetBytes(cPlace, bbText)) vlm::ThrowOutOfMemory();  // read it was
        csText = vlm::TextOfValue(bbText, RegistryKey::TYPE_STRING);
    }
    StoreText(eSetting, csText);
}

// ---- what is in force ----

/// Puts a number in force; what is never traced stays off.
void DebugMessageConfiguration::StoreNumber(DebugSettingId eSetting, ULONGLONG ullValue) noexcept {
    const bool fKeepOff = m_fNeverTraced && IsTraceSwitch(eSetting);
    m_aullNumbers[eSetting].store(fKeepOff ? 0 : ullValue, std::memory_order_relaxed);
}

/// Puts a text in force and leaves the former one with the caller, to be given back without the lock.
void DebugMessageConfiguration::StoreText(DebugSettingId eSetting, CXString& rcsValue) noexcept {
    const CriticalResourceLock lock(m_oValuesResource);
    m_acsTexts[eSetting].swap(rcsValue);
}

void DebugMessageConfiguration::SetSettingNumber(DebugSettingId eSetting, ULONGLONG ullValue) noexcept {
    if (eSetting >= DMS_COUNT) return;
    StoreNumber(eSetting, ullValue);
    NotifyListener();
}

CXString DebugMessageConfiguration::GetSettingText(DebugSettingId eSetting) const noexcept {
    if (eSetting >= DMS_COUNT) return CXString();
    const CriticalResourceLock lock(m_oValuesResource);
    return m_acsTexts[eSetting];
}

void DebugMessageConfiguration::SetSettingText(DebugSettingId eSetting, const CXString& kcsValue) noexcept {
    if (eSetting >= DMS_COUNT || DEBUG_SETTINGS[eSetting].eKind != DebugSettingKind::Text) return;
    CXString csValue = vlm::CopyOrEmpty(kcsValue);
    if (csValue.IsEmpty() && !kcsValue.IsEmpty()) return;
    StoreText(eSetting, csValue);
    if (eSetting == DMS_IncludedMsgCategories || eSetting == DMS_ExcludedMsgCategories) ComputeAllowedCategories();
    NotifyListener();
}

DebugMessageCategories DebugMessageConfiguration::ParseCategoryString(const CXString& kcsList) noexcept {
    return vlm::NoThrow([&] { return CategoriesOf(kcsList); }, DebugCategory::None);
}

/// An exclusion wins over an inclusion.  Without memory what was allowed stays so.
void DebugMessageConfiguration::ComputeAllowedCategories() noexcept {
    vlm::NoThrow([&] {
        const DebugMessageCategories included = CategoriesOf(GetIncludedMsgCategories());
        const DebugMessageCategories excluded = CategoriesOf(GetExcludedMsgCategories());
        m_ullAllowedCategories.store(included & ~excluded, std::memory_order_relaxed);
    });
}

void DebugMessageConfiguration::SetChangeListener(ChangeListener pfnListener, void* pContext) noexcept {
    m_pListenerContext = pContext;
    m_pfnListener = pfnListener;
    NotifyListener();
}

void DebugMessageConfiguration::NotifyListener() noexcept {
    if (m_pfnListener) m_pfnListener(m_pListenerContext);
}
