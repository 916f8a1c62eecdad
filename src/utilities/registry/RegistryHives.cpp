/// @file
/// The logical hives by name.
#include "utilities/registry/RegistryHives.h"

#include <algorithm>
#include <array>

#include "environment/PortMonitor.h"

namespace {

struct Hive {
    _HKEYREGISTRY_ m_eHive;
    XStringView m_constant;
    XStringView m_name;
    XStringView m_root;
    XStringView m_usersRoot;
};

constexpr std::array HIVES = {
#define VLM_HIVE(constant, name, root, usersRoot) \
    Hive{HKeyRegistry::constant, VTEXT(#constant), VTEXT(name), VTEXT(root), VTEXT(usersRoot)},
#include "utilities/registry/RegistryHives.inl"
#undef VLM_HIVE
};

constexpr bool AreInOrder() {
    for (std::size_t i = 0; i < HIVES.size(); ++i) {
        if (HIVES[i].m_eHive != i) return false;
    }
    return HIVES.size() == HKeyRegistry::Hkey_Last + std::size_t{1};
}
static_assert(AreInOrder());

const Hive* Find(_HKEYREGISTRY_ eHive) noexcept {
    return eHive < HIVES.size() ? &HIVES[eHive] : nullptr;
}

}  // namespace

XStringView RegistryHives::GetName(_HKEYREGISTRY_ eHive) noexcept {
    const Hive* const pHive = Find(eHive);
    return pHive ? pHive->m_name : XStringView();
}

XStringView RegistryHives::GetRootName(_HKEYREGISTRY_ eHive, bool fUsersTree) noexcept {
    const Hive* const pHive = Find(eHive);
    if (!pHive) return {};
    return fUsersTree ? pHive->m_usersRoot : pHive->m_root;
}

CXString RegistryHives::GetBasePath(_HKEYREGISTRY_ eHive) {
    return VelomPortMonitor::GetKeyPathFromHkey(eHive, false, CXString());
}

bool RegistryHives::TryParse(XStringView text, _HKEYREGISTRY_& reHive) noexcept {
    const auto SameText = [&](XStringView other) {
        return text.size() == other.size() &&
               std::equal(text.begin(), text.end(), other.begin(), [](XCHAR chLeft, XCHAR chRight) {
                   const auto Fold = [](XCHAR ch) {
                       return ch >= VTEXT('A') && ch <= VTEXT('Z') ? static_cast<XCHAR>(ch + 32) : ch;
                   };
                   return Fold(chLeft) == Fold(chRight);
               });
    };
    for (const Hive& rHive : HIVES) {
        const XCHAR achDigits[] = {static_cast<XCHAR>(VTEXT('0') + rHive.m_eHive / 10),
                                   static_cast<XCHAR>(VTEXT('0') + rHive.m_eHive % 10)};
        const XStringView number(rHive.m_eHive < 10 ? achDigits + 1 : achDigits, rHive.m_eHive < 10 ? 1 : 2);
        if (SameText(rHive.m_name) || SameText(rHive.m_constant) || text == number) {
            reHive = rHive.m_eHive;
            return true;
        }
    }
    return false;
}
