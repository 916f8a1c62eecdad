/// @file
/// What the sources of ProductData share.
#pragma once

#include <map>
#include <vector>

#include "environment/ProductData.h"
#include "environment/detail/product/MappingDataIndex.h"

/// What all objects of the process share; behind ProductData::m_CriticalStaticResource.
struct ProductData::StaticCaches {
    std::map<CXString, std::vector<MappingData>> m_productMappings;  ///< records by printer name
    std::map<CXString, vlm::MappingDataIndex> m_oProductMappings;    ///< and the tables over them
    CXString m_sTransientPath;
};

/// Looks for a record in a printer's records.  @return an index, or vlm::MappingDataIndex::NOT_FOUND.
template <class Find>
bool ProductData::FindMapping(Find&& find, MappingData& rRecord) {
    if (!m_bTransient) UpdateCachedMapData(AS_NEEDED);
    const CXString csKey = GetCacheKey();
    const CriticalResourceLock oLock(m_CriticalStaticResource);
    const auto it = Caches().m_productMappings.find(csKey);
    if (it == Caches().m_productMappings.end()) return false;
    const std::size_t uFound = find(it->second, Caches().m_oProductMappings[csKey]);
    if (uFound >= it->second.size()) return false;
    rRecord = it->second[uFound];
    return true;
}

namespace vlm {

/// Keys and names of the family that product data and its clean-up share.
inline constexpr const XCHAR* VERSION_LEVEL = VTEXT("V5.0");
/// The folder, below the product data folder, of what came from a print server.
inline constexpr const XCHAR* PUBLIC_DCPS = VTEXT("Public\\DCPs");
inline constexpr const XCHAR* VALUE_OF_MAPPINGS = VTEXT("XProductData");
inline constexpr const XCHAR* PREFIX_OF_MAPPINGS = VTEXT("PDMap-");

/// Is a version of data greater than another?
bool IsNewer(const CXString& kcsVersion, const CXString& kcsThan);
/// Does the text of a list of languages name one?  Any letter case; a word counts wherever it stands.
bool NamesLanguage(const CXString& kcsList, XStringView word);

}  // namespace vlm
