/// @file
/// Reads what is in an open key: names, counts, and the data of values.
#pragma once

#include <functional>
#include <vector>

#include "platform/RegistryHandleImpl.h"
#include "utilities/utilitiesdll/CXString.h"

namespace vlm {

/// A value with its data.
struct StoredValue {
    CXString m_csName;
    DWORD m_dwType = 0;
    std::vector<BYTE> m_vbyData;
};

/// Reads one value, which may change between the question for its size and the read.
/// @return FileNotFound, NoSystemResources when it is larger than the monitor handles, MoreData when it keeps growing.
Status ReadValue(HKEY hKey, const CXString& kcsName, StoredValue& roValue);

/// The names of all sub-keys or values, in the registry's order.
/// @return NoSystemResources when they are more than one reply holds.
Status ReadKeyNames(HKEY hKey, std::vector<CXString>& rvcsNames);
Status ReadValueNames(HKEY hKey, std::vector<CXString>& rvcsNames);

/// The name of the sub-key at an index.  @return NoMoreItems at the end.
Status ReadKeyName(HKEY hKey, DWORD dwIndex, CXString& rcsName);

/// What is done with each value; anything but Success ends the enumeration.
using OnValueName = std::function<Status(const CXString& kcsName, DWORD dwType, DWORD cbData)>;

/// Calls `fnValue` for each value.  @return its failure, or the registry's.
Status ForEachValue(HKEY hKey, const OnValueName& rfnValue);

}  // namespace vlm
