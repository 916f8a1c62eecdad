/// @file
/// The standard CRC-32.
#pragma once

#include "platform/Export.h"
#include "platform/WinTypes.h"

/// CRC-32 as Ethernet, zip and PNG use it (ISO-HDLC, ITU-T V.42: polynomial 0x04C11DB7, reflected 0xEDB88320, start
/// 0xFFFFFFFF, result complemented; check value 0xCBF43926).
/// **Threads**: no state; any.  **Failure**: none; a null pointer counts as no bytes.
class VLM_API Crc32 {
public:
    /// The CRC of `dwLength` bytes; 0 for none.
    static DWORD GetCrc(const BYTE* pbyData, DWORD dwLength) noexcept;

    /// The same with the register starting at `dwSeed`, exactly as given; NOT `dwSeed` for no bytes.  To go on from an
    /// earlier result `dwCrc`, pass `~dwCrc`.
    static DWORD GetCrc(const BYTE* pbyData, DWORD dwLength, DWORD dwSeed) noexcept;
};
