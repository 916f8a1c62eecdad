/// @file
/// The settings of the debug messages: their names, kinds and defaults.
#pragma once

#include <array>
#include <concepts>
#include <cstddef>

#include "platform/Export.h"
#include "platform/WinTypes.h"

/// How a setting is stored in the registry.
enum class DebugSettingKind : BYTE {
    Switch,    ///< REG_BINARY, one byte, 0 or not
    Number,    ///< REG_DWORD
    Number64,  ///< REG_QWORD
    Text,      ///< REG_SZ
};

/// One setting each, in the order of DebugSettings.inl.
enum DebugSettingId : BYTE {
#define VLM_SETTING(kind, name, standard, getter, setter) DMS_##name,
#include "utilities/debuggingandexceptions/DebugSettings.inl"
#undef VLM_SETTING
    DMS_COUNT,  ///< marks the end
};

/// What is fixed about a setting.
struct DebugSetting {
    template <std::integral Number>
    constexpr DebugSetting(DebugSettingKind eSettingKind, const XCHAR* pszSettingName, Number standard) noexcept
        : eKind(eSettingKind), pszName(pszSettingName), ullDefault(static_cast<ULONGLONG>(standard)) {}
    constexpr DebugSetting(DebugSettingKind eSettingKind, const XCHAR* pszSettingName,
                           const XCHAR* pszStandard) noexcept
        : eKind(eSettingKind), pszName(pszSettingName), pszDefault(pszStandard) {}

    DebugSettingKind eKind;
    const XCHAR* pszName;                 ///< the registry value's name
    ULONGLONG ullDefault = 0;             ///< of a switch (0 or 1) or a number
    const XCHAR* pszDefault = VTEXT("");  ///< of a text
};

/// All settings, by id.
inline constexpr std::array<DebugSetting, DMS_COUNT> DEBUG_SETTINGS{{
#define VLM_SETTING(kind, name, standard, getter, setter) {DebugSettingKind::kind, VTEXT(#name), standard},
#include "utilities/debuggingandexceptions/DebugSettings.inl"
#undef VLM_SETTING
}};

/// Where the settings stand, below HKEY_LOCAL_MACHINE.
inline constexpr const XCHAR* DEBUG_SETTINGS_PATH = VTEXT("SOFTWARE\\Velom\\KestrixDebugConfig");
/// The name of that key, which a `DebugMessageConfiguration` is made with.
inline constexpr const XCHAR* DEBUG_SETTINGS_KEY = VTEXT("KestrixDebugConfig");
