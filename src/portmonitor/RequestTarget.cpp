/// @file
/// Resolves, confines and classifies what a request acts on.
#include "portmonitor/RequestTarget.h"

#include <algorithm>
#include <array>

#include "environment/PortMonitorRequestRules.h"

namespace vlm {

namespace {

constexpr XStringView FAMILY_BASE = VTEXT("Software\\Velom");
constexpr XStringView DRIVER_BASE = VTEXT("Software\\Velom\\PrinterDriver");
constexpr XStringView VERSION_BASE = VTEXT("Software\\Velom\\PrinterDriver\\V5.0");
constexpr XStringView LOW_RIGHTS_BASE = VTEXT("Software\\Velom\\PrinterDriver\\V5.0\\LowRightsStorage");
constexpr XStringView DEBUG_BASE = VTEXT("Software\\Velom\\KestrixDebugConfig");
constexpr XStringView MIRRORED_COMPONENT = VTEXT("Mirrored");
constexpr XStringView DEFAULT_USER = VTEXT(".DEFAULT");

constexpr std::array<XStringView, 9> TRUSTED_VALUES = {
    VTEXT("XMLConstraint"),
    VTEXT("Mirroring"),
    VTEXT("PreventInitOfMirroring"),
    VTEXT("LogFileName"),
    VTEXT("PerfReportFileName"),
    VTEXT("CapValReportLogFileName"),
    VTEXT("CapValDefReportLogFileName"),
    VTEXT("TPath"),
    VTEXT("MirroredPath"),
};

constexpr std::array<XStringView, 3> DEFAULT_USER_VALUES = {
    VTEXT("VRCheck"),
    VTEXT("CachedDeviceSettings"),
    VTEXT("CachedDeviceSettingsTime"),
};

constexpr XCHAR FoldCase(XCHAR ch) noexcept {
    return ch >= VTEXT('A') && ch <= VTEXT('Z') ? static_cast<XCHAR>(ch + 32) : ch;
}

/// The same with the letters beyond A to Z that one registry or another takes for one of them.  What decides against a
/// caller is compared like this, so that no spelling of a protected name is overlooked; what decides for him, exactly.
constexpr XCHAR FoldAlike(XCHAR ch) noexcept {
    switch (ch) {
        case 0x0130:  // capital I with a dot
        case 0x0131:  // small i without one
            return VTEXT('i');
        case 0x017F:  // long s
            return VTEXT('s');
        case 0x212A:  // Kelvin sign
            return VTEXT('k');
        default:
            return FoldCase(ch);
    }
}

using Fold = XCHAR (*)(XCHAR) noexcept;

template <Fold FOLD>
bool Equal(XStringView left, XStringView right) noexcept {
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [](XCHAR chLeft, XCHAR chRight) { return FOLD(chLeft) == FOLD(chRight); });
}

template <Fold FOLD>
bool IsWithinBy(XStringView path, XStringView base) noexcept {
    if (path.size() < base.size() || !Equal<FOLD>(path.substr(0, base.size()), base)) return false;
    return base.empty() || path.size() == base.size() || path[base.size()] == VTEXT('\\');
}

bool ContainsNoCase(XStringView text, XStringView part) noexcept {
    return std::search(text.begin(), text.end(), part.begin(), part.end(),
                       [](XCHAR chLeft, XCHAR chRight) { return FoldCase(chLeft) == FoldCase(chRight); }) != text.end();
}

/// The component at the front of `rPath`, which loses it and the backslash behind it.
XStringView TakeComponent(XStringView& rPath) noexcept {
    const std::size_t cUnits = std::min(rPath.find(VTEXT('\\')), rPath.size());
    const XStringView component = rPath.substr(0, cUnits);
    rPath.remove_prefix(std::min(cUnits + 1, rPath.size()));
    return component;
}

int CountComponents(XStringView path) noexcept {
    return path.empty() ? 0 : static_cast<int>(std::count(path.begin(), path.end(), VTEXT('\\'))) + 1;
}

bool HasComponent(XStringView path, XStringView wanted) noexcept {
    while (!path.empty()) {
        if (Equal<FoldAlike>(TakeComponent(path), wanted)) return true;
    }
    return false;
}

bool IsUserRoot(_HKEYREGISTRY_ eRoot) noexcept {
    return eRoot >= HKeyRegistry::Hkey_User_Velom && eRoot <= HKeyRegistry::Hkey_Current_User;
}

/// The path below a base; empty for the base itself.
XStringView Below(XStringView path, XStringView base) noexcept {
    path.remove_prefix(std::min(base.empty() ? 0 : base.size() + 1, path.size()));
    return path;
}

RequestTarget ClassifyLowRights(XStringView path, const CXString& kcsCallerSid) {
    const CXString csOwner = StorageOwnerOf(path);
    if (csOwner.IsEmpty()) return RequestTarget::LowRightsShared;
    return csOwner == kcsCallerSid ? RequestTarget::LowRightsOwn : RequestTarget::LowRightsOther;
}

}  // namespace

bool IsWithin(XStringView path, XStringView base) noexcept {
    return IsWithinBy<FoldCase>(path, base);
}

bool IsInStorage(const ResolvedKey& rKey) noexcept {
    return rKey.m_eTree == ResolvedKey::Tree::Machine && IsWithinBy<FoldAlike>(rKey.m_csPath, LOW_RIGHTS_BASE);
}

CXString StorageOwnerOf(XStringView path) {
    XStringView rest = Below(path, LOW_RIGHTS_BASE);
    CXString csFirst(TakeComponent(rest));
    if (!csFirst.IsEmpty() && FoldAlike(csFirst.GetAt(0)) == VTEXT('s')) csFirst.SetAt(0, VTEXT('S'));
    if (Equal<FoldAlike>(csFirst, DEFAULT_USER)) return DEFAULT_USER;
    return IsRegularSid(csFirst) ? csFirst : CXString();
}

bool IsTrustedValueName(XStringView name) noexcept {
    return std::any_of(TRUSTED_VALUES.begin(), TRUSTED_VALUES.end(),
                       [name](XStringView trusted) { return Equal<FoldAlike>(name, trusted); });
}

bool IsDefaultUserValueName(XStringView name) noexcept {
    return std::any_of(DEFAULT_USER_VALUES.begin(), DEFAULT_USER_VALUES.end(),
                       [name](XStringView allowed) { return Equal<FoldCase>(name, allowed); });
}

XStringView BasePathOfRoot(_HKEYREGISTRY_ eRoot) noexcept {
    switch (eRoot) {
        case HKeyRegistry::Hkey_Low_Rights_Storage:
        case HKeyRegistry::Hkey_Low_Rights_Storage_User:
            return LOW_RIGHTS_BASE;
        case HKeyRegistry::Hkey_Machine_Velom:
        case HKeyRegistry::Hkey_User_Velom:
            return FAMILY_BASE;
        case HKeyRegistry::Hkey_Machine_Printer_Driver:
        case HKeyRegistry::Hkey_User_Printer_Driver:
            return DRIVER_BASE;
        case HKeyRegistry::Hkey_Machine_Version:
        case HKeyRegistry::Hkey_User_Version:
            return VERSION_BASE;
        default:
            return {};
    }
}

Status ResolveKey(_HKEYREGISTRY_ eRoot, const CXString& kcsSid, const CXString& kcsSubKey, ResolvedKey& rKey) {
    ResolvedKey oKey;
    oKey.m_eRoot = eRoot;
    if (DoesRootNeedSid(eRoot)) oKey.m_csSid = kcsSid;
    if (IsUserRoot(eRoot)) oKey.m_eTree = ResolvedKey::Tree::User;
    CXString csBase = BasePathOfRoot(eRoot);
    if (eRoot == HKeyRegistry::Hkey_Low_Rights_Storage_User) csBase += VTEXT("\\") + kcsSid;
    if (kcsSubKey.IsEmpty()) {
        oKey.m_csPath = csBase;
    } else if (csBase.IsEmpty() || ContainsNoCase(kcsSubKey, csBase)) {
        oKey.m_csPath = kcsSubKey;
    } else {
        oKey.m_csPath = csBase + VTEXT("\\") + kcsSubKey;
    }
    // "Contains" would let "SYSTEM\x\Software\Velom" through: only what lies at or below the base is the family's.
    if (!IsWithin(oKey.m_csPath, csBase)) return Status::AccessDenied;
    rKey = std::move(oKey);
    return Status::Success;
}

Status ResolveSubKey(const ResolvedKey& rParent, const CXString& kcsSubKey, ResolvedKey& rKey) {
    ResolvedKey oKey = rParent;
    if (!kcsSubKey.IsEmpty()) {
        if (!oKey.m_csPath.IsEmpty()) oKey.m_csPath += VTEXT("\\");
        oKey.m_csPath += kcsSubKey;
    }
    rKey = std::move(oKey);
    return Status::Success;
}

RequestTarget ClassifyTarget(const ResolvedKey& rKey, const CXString& kcsValueName, const CXString& kcsCallerSid) {
    if (rKey.m_eTree == ResolvedKey::Tree::Machine) {
        if (IsInStorage(rKey)) return ClassifyLowRights(rKey.m_csPath, kcsCallerSid);
        const bool fTrusted = IsWithinBy<FoldAlike>(rKey.m_csPath, DEBUG_BASE) ||
                              HasComponent(rKey.m_csPath, MIRRORED_COMPONENT) || IsTrustedValueName(kcsValueName);
        return fTrusted ? RequestTarget::FamilyTrusted : RequestTarget::Family;
    }
    const bool fFamilyRoot = rKey.m_eRoot != HKeyRegistry::Hkey_Current_User;
    if (Equal<FoldAlike>(rKey.m_csSid, DEFAULT_USER))
        return fFamilyRoot ? RequestTarget::UserDefault : RequestTarget::UserOther;
    if (rKey.m_csSid != kcsCallerSid) return RequestTarget::UserOther;
    return fFamilyRoot ? RequestTarget::UserFamily : RequestTarget::User;
}

int DepthBelowBase(const ResolvedKey& rKey) {
    const XStringView path = rKey.m_csPath;
    if (IsInStorage(rKey)) {
        return CountComponents(Below(path, LOW_RIGHTS_BASE));
    }
    return CountComponents(Below(path, BasePathOfRoot(rKey.m_eRoot)));
}

bool IsAtOrAboveABasePath(const ResolvedKey& rKey) {
    const XStringView path = rKey.m_csPath;
    return IsWithinBy<FoldAlike>(LOW_RIGHTS_BASE, path) || IsWithinBy<FoldAlike>(DEBUG_BASE, path);
}

}  // namespace vlm
