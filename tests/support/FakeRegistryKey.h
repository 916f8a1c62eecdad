/// @file
/// One key of the registry in memory.
#pragma once

#include "support/FakeRegistryPort.h"

namespace vlm::test {

/// A name as it compares.
inline XString Fold(XStringView svName) {
    XString folded(svName);
    for (XCHAR& runit : folded) {
        if (runit >= VTEXT('a') && runit <= VTEXT('z')) runit = static_cast<XCHAR>(runit - 0x20);
    }
    return folded;
}

struct FakeRegistryPort::Key {
    XString name;
    XString reader;
    std::weak_ptr<Key> wpoParent;
    std::weak_ptr<Key> wpoTarget;  ///< of a link
    bool fLink = false;
    bool fVolatile = false;
    bool fDeleted = false;
    DWORD dwDenied = 0;
    std::map<XString, KeyPointer> mapKeys;
    std::map<XString, std::pair<XString, Value>> mapValues;
};

}  // namespace vlm::test
