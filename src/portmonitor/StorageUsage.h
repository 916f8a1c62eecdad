/// @file
/// How much of the low-rights storage each user has taken.
#pragma once

#include <map>

#include "portmonitor/RequestTarget.h"

namespace vlm {

/// Keeps the quota of the storage.  An estimate is kept for each user and only ever grows; when it passes the quota,
/// the user's tree is counted, so that a refusal always rests on a count.
/// **Threads**: under the monitor's lock, with the system's identity.  **Failure**: by status; throws when memory runs
/// out.
class StorageUsage {
public:
    /// What a key or a value counts beside its name and data.
    static constexpr ULONGLONG ITEM_BYTES = 64;

    /// Room for so much more in the storage that `rKey` lies in; keys outside the storage have no quota.
    /// @return NoSystemResources when it would be too much, or the registry's failure.
    Status Reserve(const ResolvedKey& rKey, DWORD cKeys, ULONGLONG cbBytes);

    struct Usage {
        DWORD m_cKeys = 0;
        ULONGLONG m_cbBytes = 0;
    };

private:
    std::map<CXString, Usage> m_mapUsers;  ///< by SID; empty for the shared part
};

}  // namespace vlm
