/// @file
/// What the sources of the registry key share.
#pragma once

#include "utilities/debuggingandexceptions/NoThrow.h"
#include "utilities/registry/RegistryKey.h"

namespace vlm {

/// The text in a value's data: to the first zero unit where the type says that it is one text, else all of it without
/// one trailing zero.
CXString TextOfValue(const ByteBuffer& kbbData, DWORD dwType);

}  // namespace vlm

template <class Body>
bool RegistryKey::Quietly(Body&& body) noexcept {
    if (vlm::NoThrow(body)) return true;
    // Nothing but a lack of memory is thrown inside.
    m_dwLastStatus = vlm::ToDword(vlm::Status::NotEnoughMemory);
    return false;
}
