/// @file
/// One model's record: its parts, its matching rules and its values.
#include "environment/MappingData.h"

#include "environment/detail/product/FolderTree.h"
#include "environment/detail/product/Tokens.h"
#include "utilities/compression/CabinetArchive.h"
#include "utilities/debuggingandexceptions/NoThrow.h"
#include "utilities/debuggingandexceptions/RaiseMacros.h"
#include "utilities/registry/RegistryKey.h"
#include "utilities/utilitiesdll/detail/text/TextKernels.h"

namespace {

constexpr XStringView BLANKS = VTEXT(" \t");

XStringView Trim(XStringView text) noexcept {
    const std::size_t uFirst = text.find_first_not_of(BLANKS);
    if (uFirst == XStringView::npos) return {};
    return text.substr(uFirst, text.find_last_not_of(BLANKS) - uFirst + 1);
}

bool HasComponents(XStringView oid) noexcept {
    return oid.find_first_not_of(VTEXT('.')) != XStringView::npos;
}

}  // namespace

MappingData::MappingData(XStringView left, XStringView right)
    : m_csModel(left.substr(0, left.find(VTEXT(',')))), m_csMapData(right) {
    vlm::TranslateOutOfMemory([&] {
        while (left.find(VTEXT(',')) != XStringView::npos) {
            left.remove_prefix(left.find(VTEXT(',')) + 1);
            const XStringView oid = Trim(left.substr(0, left.find(VTEXT(','))));
            if (HasComponents(oid)) m_vcsSysObjectIds.emplace_back(oid);
        }
    });
}

MappingData::MappingData(const MappingData& rOther) : m_csModel(rOther.m_csModel), m_csMapData(rOther.m_csMapData) {
    vlm::TranslateOutOfMemory([&] { m_vcsSysObjectIds = rOther.m_vcsSysObjectIds; });
}

MappingData& MappingData::operator=(const MappingData& rOther) {
    return *this = MappingData(rOther);
}

void MappingData::Clear() noexcept {
    m_csModel.Empty();
    m_vcsSysObjectIds.clear();
    m_csMapData.Empty();
}

CXString MappingData::GetLeftSide() const {
    CXString csLeft(m_csModel);
    for (const CXString& rcsOid : m_vcsSysObjectIds) {
        csLeft += VTEXT(',');
        csLeft += rcsOid;
    }
    return csLeft;
}

bool MappingData::MatchesModel(XStringView name) const noexcept {
    vlm::ModelTokens own(m_csModel.View()), asked(name);
    XStringView ownToken, askedToken;
    while (own.Next(ownToken)) {
        if (!asked.Next(askedToken) || ownToken != askedToken) return false;
    }
    return !asked.Next(askedToken);
}

bool MappingData::MatchesSysObjectId(XStringView oid) const noexcept {
    for (std::size_t u = 0; u < m_vcsSysObjectIds.size(); ++u) {
        if (MatchesOneSysObjectId(u, oid)) return true;
    }
    return false;
}

bool MappingData::MatchesOneSysObjectId(std::size_t uIndex, XStringView oid) const noexcept {
    const XStringView stored = m_vcsSysObjectIds[uIndex].View();
    return oid.find(stored) != XStringView::npos &&
           vlm::IsPrefix(vlm::TokenWalk(stored, VTEXT('.')), vlm::TokenWalk(oid, VTEXT('.')));
}

XStringView MappingData::FindValue(XStringView key) const noexcept {
    XStringView data = m_csMapData.View();
    data.remove_prefix(std::min(data.find_first_not_of(VTEXT(' ')), data.size()));
    const std::size_t uKey =
        key.empty() ? XStringView::npos : vlm::text::FindText(data.data(), data.size(), key.data(), key.size());
    if (uKey == XStringView::npos) return {};
    const std::size_t uEquals = data.find(VTEXT('='), uKey + key.size());
    if (uEquals == XStringView::npos) return {};
    data.remove_prefix(uEquals + 1);
    return data.substr(0, data.find(VTEXT(';')));
}

CXString MappingData::GetData(XStringView key, bool fRequired) const {
    CXString csValue(FindValue(key));
    if (csValue.IsEmpty() && key == VTEXT("XMLCONSTRAINT")) csValue = GetConstraintFileName();
    if (fRequired && csValue.IsBlank()) {
        const CXString csFailure =
            CXString::FormatString(VTEXT("MappingData::GetData(): Failed - Could not find value, %s, for model, %s."),
                                   CXString(key), m_csModel);
        if (key == VTEXT("JCAP")) {
            VLM_ASSERT(csValue.GetLength(), VTEXT("%s"), csFailure);
        } else {
            VLM_ASSERT(!csValue.IsBlank(), VTEXT("%s"), csFailure);
        }
    }
    return csValue;
}

CXString MappingData::GetConstraintFileName() const {
    const XCHAR* const pszValueName = VTEXT("XMLConstraint");
    const CXString csFamily(FindValue(VTEXT("FAMPATH")));
    const bool fFamily = CabinetArchive::IsSafeName(csFamily);
    const CXString csKey = CXString(FAMILIES_KEY) + VTEXT("\\") + csFamily;
    if (fFamily) {
        RegistryKey oKey(HKeyRegistry::Hkey_Machine_Version, csKey, RegistryKey::AS_NEEDED, RegistryKey::OWN_TREE);
        if (oKey.OpenRegistryKey(RegistryKey::READ_ACCESS, RegistryKey::NO_THROW)) {
            CXString csStored = oKey.GetStringValue(pszValueName, CXString());
            if (!csStored.IsEmpty() && vlm::folders::IsLeafName(csStored)) return csStored;
        }
    }
    CXString csName = CXString(FindValue(VTEXT("PRODUCTNAME"))) + VTEXT(".xcf");
    if (!fFamily || !vlm::folders::IsLeafName(csName)) return csName;  // nothing that others would have to distrust
    if (const auto apoKey = RegistryKey::CreateRegistryKey(std::nothrow, HKeyRegistry::Hkey_Machine_Version, csKey,
                                                           RegistryKey::READ_WRITE_ACCESS)) {
        vlm::NoThrow([&] { apoKey->SetStringValue(pszValueName, csName); });
    }
    return csName;
}
