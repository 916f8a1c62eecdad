/// @file
/// A 16-bit ones'-complement checksum.
#pragma once

#include "platform/Export.h"
#include "platform/WinTypes.h"

/// The complement of the ones'-complement sum of 16-bit little-endian words (compare RFC 1071), with the length added.
/// **Threads**: no state; any.  **Failure**: none; a null pointer counts as no bytes.
class VLM_API Checksum {
public:
    /// The checksum of `dwLength` bytes; 0xFFFF for none.
    ///
    /// Deliberate: when `dwLength` is odd, the routine also reads the **two bytes behind the data** and they enter the
    /// result: the first as the upper half of the last word, the second as a byte of its own.  The buffer must
    /// therefore be `dwLength` + 2 bytes long; give two zero bytes there unless stored checksums were made otherwise.
    static WORD GetChecksum(const BYTE* pbyData, DWORD dwLength) noexcept;
};
