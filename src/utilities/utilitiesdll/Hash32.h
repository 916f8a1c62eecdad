/// @file
/// A 32-bit fingerprint of bytes, never zero for real data.
#pragma once

#include "platform/Export.h"
#include "platform/WinTypes.h"

class ByteBuffer;
class CXString;

/// The ELF hash of the bytes (System V ABI, "hash table" section) XOR their CRC-32; 1 where that would be 0.
/// 0 therefore means: no data.  A fingerprint, not a defence: collisions are easy to make.
/// **Threads**: no state; any.  **Failure**: none; a null pointer counts as no data.
class VLM_API Hash32 {
public:
    static DWORD GetHash32(const BYTE* pbyData, DWORD dwLength) noexcept;
    static DWORD GetHash32(const ByteBuffer& kbbData) noexcept;
    /// The text's UTF-16 units as little-endian bytes, without terminator.
    static DWORD GetHash32(const CXString& kcsText) noexcept;
    /// The first dmSize + dmDriverExtra bytes of a device mode, as these two fields of it say.  The caller vouches for
    /// the block; for one that comes from outside use GetBoundedHash32.
    static DWORD GetHash32(const DEVMODEW* pDevMode) noexcept;
    /// The same for a device mode in a block of `dwBlockLength` bytes.
    /// @return 0, and a debug message, when the block does not hold what its fields claim, or dmSize is too small to
    ///         hold the fields themselves (72 bytes).
    static DWORD GetBoundedHash32(const DEVMODEW* pDevMode, DWORD dwBlockLength) noexcept;

    /// Goes on from the hash of earlier pieces: their sum modulo 2^32, 0xFFFFFFFF where that would be 0.
    /// Without data it is `dwPrevious` unchanged.
    static DWORD AddToHash32(DWORD dwPrevious, const BYTE* pbyData, DWORD dwLength) noexcept;

    /// The 32-bit hash folded to 16 bits.
    static WORD GetHash16(const BYTE* pbyData, DWORD dwLength) noexcept;
    /// (upper half + lower half) modulo 2^16.
    static WORD Hash16FromHash32(DWORD dwHash) noexcept;
};
