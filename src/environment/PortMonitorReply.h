/// @file
/// The replies to an "xregistry" request: what the port monitor writes and the client takes apart.
#pragma once

#include <span>
#include <vector>

#include "environment/PortMonitorRequest.h"

namespace vlm {

/// Writes replies and takes them apart.  A reply has exactly the size that the monitor names as needed; a request that
/// failed has none.  All integers little-endian:
///
///     layout    bytes   contents
///     Empty     0       the status says it all
///     KeyToken  8       stands for the open key on this channel; see IsKeyToken
///     Boolean   1       0 or 1
///     Long      4       the first four bytes of the value
///     Long64    8       the first eight
///     Count     4
///     Text      2n + 2  UTF-16 with its zero; a value stored without one gets it, a stored text ends at its first
///     Bytes     any     the value's data as stored
///     Names     4 + ..  count; then each name as a counted string (2 bytes count, UTF-16 units)
///     Values    ..      an entry of 32 bytes for each value asked for, in that order; then the data, in that order and
///                       without a gap
///
///     entry     offset  size  field
///                    0     8  0 (in a request the offset of the name)
///                    8     4  bytes of data
///                   12     4  0
///                   16     8  offset of the data, from the start of the reply
///                   24     4  type, as the registry numbers it
///                   28     4  0
///
/// The decoders take nothing on trust: whatever is not exactly a layout answers false and leaves the target as it was.
/// **Threads**: static functions only.  **Failure**: the encoders throw ExceptionOutOfMemory; so do decoders that
/// allocate.
struct VLM_API PortMonitorReply {
    static constexpr DWORD VALUE_ENTRY_BYTES = 32;
    /// A name list never holds more.
    static constexpr DWORD MAX_NAMES = 65536;

    /// One value of a Values reply.
    struct Value {
        DWORD m_dwType = 0;
        DWORD m_cbData = 0;
        DWORD m_dwOffset = 0;  ///< of the data, from the start of the reply
    };

    /// The size of a layout; 0 for those whose size depends on what is read, and for Empty.
    static DWORD FixedSize(ReplyLayout eLayout) noexcept;
    /// Whether a number can be a key token: bit 63 is 0 and bit 62 is 1, so that no handle of the system is one.
    static constexpr bool IsKeyToken(ULONGLONG ullValue) noexcept { return ullValue >> 62 == 1; }

    // ---- encoders: each appends ----

    static void AppendText(ByteBuffer& rbbReply, std::span<const BYTE> stored);
    static void AppendNames(ByteBuffer& rbbReply, const std::vector<CXString>& kvcsNames);
    /// The entries alone; the caller appends the data.
    /// @param values their sizes and types; the offsets are set here.
    static void AppendValueEntries(ByteBuffer& rbbReply, std::span<Value> values);

    // ---- decoders ----

    static bool DecodeKeyToken(std::span<const BYTE> reply, ULONGLONG& rullToken) noexcept;
    static bool DecodeBoolean(std::span<const BYTE> reply, bool& rbValue) noexcept;
    static bool DecodeLong(std::span<const BYTE> reply, LONG& rlValue) noexcept;
    static bool DecodeLong64(std::span<const BYTE> reply, LONGLONG& rllValue) noexcept;
    static bool DecodeCount(std::span<const BYTE> reply, DWORD& rdwCount) noexcept;
    /// The text without its zero.
    static bool DecodeText(std::span<const BYTE> reply, CXString& rcsText);
    static bool DecodeNames(std::span<const BYTE> reply, std::vector<CXString>& rvcsNames);
    /// @param cAsked how many values were asked for: no reply has more or fewer.
    static bool DecodeValues(std::span<const BYTE> reply, std::size_t cAsked, std::vector<Value>& rvValues);
};

}  // namespace vlm
