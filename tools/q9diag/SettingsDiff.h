/// @file
/// What differs between two settings, by name space.
#pragma once

#include <optional>
#include <utility>
#include <vector>

#include "Settings.h"

namespace vlm::tool {

class Output;

/// What a name space is beside its records.
struct GroupTraits {
    BYTE byKind = 0;
    bool bSpecified = true;

    bool operator==(const GroupTraits&) const = default;
};

/// The differences of one name space; records are borrowed from the settings compared.
struct GroupDifference {
    std::optional<LONG> olNameSpace;
    std::optional<GroupTraits> ooOld;  ///< empty: the name space is new
    std::optional<GroupTraits> ooNew;  ///< empty: the name space is gone
    std::vector<const AttributeBytes*> vpAdded;
    std::vector<const AttributeBytes*> vpRemoved;
    std::vector<std::pair<const AttributeBytes*, const AttributeBytes*>> vChanged;

    bool IsEmpty() const noexcept { return ooOld == ooNew && vpAdded.empty() && vpRemoved.empty() && vChanged.empty(); }
};

/// The name spaces that differ, in ascending order.  Forms, versions and the order of records take no part.
std::vector<GroupDifference> CompareSettings(const Settings& rOld, const Settings& rNew);

/// Prints one line for each difference: "+", "-" or "~", the path and the values.
void PrintDifferences(const std::vector<GroupDifference>& rvDifferences, Output& rOutput);

}  // namespace vlm::tool
