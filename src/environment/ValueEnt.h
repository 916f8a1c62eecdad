/// @file
/// The entry of a multi-value query, as the system's registry interface lays it out.
#pragma once

#include <cstddef>

#include "platform/WinTypes.h"

extern "C" {
/// The system's own name of the entry; the library never needs its definition.
struct value_entW;
}

namespace vlm {

/// The same bytes as the system's `value_entW` of a 64-bit process:
///
///     offset  0  8  before: pointer to the value's name, zero-terminated; unchanged by a query
///     offset  8  4  after: bytes of the value's data
///     offset 12  4  -
///     offset 16  8  after: pointer to the data, inside the caller's buffer
///     offset 24  4  after: type of the value
///     offset 28  4  -
///
/// **Ownership**: none; it borrows the name and, after a query, the data.
struct ValueEnt {
    const XCHAR* ve_valuename = nullptr;
    DWORD ve_valuelen = 0;
    const BYTE* ve_valueptr = nullptr;
    DWORD ve_type = 0;
};
static_assert(sizeof(ValueEnt) == 32 && offsetof(ValueEnt, ve_valuelen) == 8 && offsetof(ValueEnt, ve_valueptr) == 16 &&
              offsetof(ValueEnt, ve_type) == 24);

/// An array of entries under the system's name, and back.
inline value_entW* AsSystemEntries(ValueEnt* pEntries) noexcept {
    return reinterpret_cast<value_entW*>(pEntries);
}

}  // namespace vlm
