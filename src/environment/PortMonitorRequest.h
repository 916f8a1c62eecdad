/// @file
/// The "xregistry" request: the record that the client sends to the port monitor and the monitor takes apart.
#pragma once

#include <span>

#include "environment/HKeyRegistry.h"
#include "platform/Export.h"
#include "utilities/utilitiesdll/ByteBuffer.h"
#include "utilities/utilitiesdll/CXString.h"

/// The operation codes of a request; the numbers are a wire format.
// NOLINTNEXTLINE(bugprone-reserved-identifier): the enumeration's established name
enum class _XPMRegistryFunction : std::uint16_t {
#define X(code, operation, mask, effect, name, data, reply) operation = code,
#include "environment/PortMonitorOperations.inl"
#undef X
};

namespace vlm {

/// What an operation does to the registry, as far as rights are concerned.
enum class RequestEffect : std::uint8_t { Read, Write, DeleteKey, Copy, Open, Close };

/// Whether a value name stands in a request.
enum class RequestName : std::uint8_t { No, Optional, Needed };

/// What the data of a request must look like.
enum class RequestData : std::uint8_t { None, Bytes1, Bytes4, Bytes8, Text, ValueName, Bytes, ValueList };

/// What the reply to a request that succeeded looks like; see PortMonitorReply.
enum class ReplyLayout : std::uint8_t { Empty, KeyToken, Boolean, Long, Long64, Count, Text, Bytes, Names, Values };

/// One row of the operation table.
struct RequestOperation {
    /// Marks a mask that the caller chooses, and one that depends on how the key is addressed.
    static constexpr DWORD ANY_MASK = 0xFFFFFFFF, BY_ADDRESS = 0xFFFFFFFE;

    _XPMRegistryFunction m_eFunction;
    const XCHAR* m_pszName;
    DWORD m_dwMask;
    RequestEffect m_eEffect;
    RequestName m_eName;
    RequestData m_eData;
    ReplyLayout m_eReply;
};

/// The row of an operation code; null when no operation has it.
VLM_API const RequestOperation* FindRequestOperation(WORD wCode) noexcept;

/// A request, taken apart.  The record, little-endian, one contiguous run of bytes:
///
///     offset  size  field
///          0     4  magic 0xD15EA5ED
///          4     2  registry root, 0 when a key handle is given
///          6     2  0
///          8     8  key handle from an earlier CreateKey or OpenKey, 0 when a root is given
///         16     2  operation
///         18     2  0
///         20     4  access mask
///         24     4  offset of the key path, 0xFFFFFFFF when absent
///         28     4  offset of the value name, likewise
///         32     4  offset of the third string, likewise: the user's SID where the root needs it, else the source
///                   path of a copy
///         36     4  bytes of data
///         40     4  offset of the data, likewise
///         44     4  0
///         48     .  the strings that are present, in that order, each UTF-16 with its zero; the data; two zero bytes
///
/// **Ownership**: holds its own copies.  **Threads**: as any value.
struct VLM_API PortMonitorRequest {
    static constexpr DWORD MAGIC = 0xD15EA5ED;
    static constexpr DWORD HEADER_BYTES = 48;
    /// Stands for an absent string or absent data.
    static constexpr DWORD ABSENT = 0xFFFFFFFF;

    _HKEYREGISTRY_ m_eRoot = HKeyRegistry::Hkey_None;
    ULONGLONG m_ullKeyHandle = 0;
    _XPMRegistryFunction m_eFunction = _XPMRegistryFunction::CopyKeyAndSubkeysFrom;
    DWORD m_dwAccessMask = 0;
    CXString m_csKeyPath;  ///< an empty string counts as absent, here and below
    CXString m_csValueName;
    CXString m_csThird;
    ByteBuffer m_bbData;

    /// Appends the record.  @throws ExceptionOutOfMemory; the buffer is then unchanged.
    void AppendTo(ByteBuffer& rbbTarget) const;

    /// Takes a record apart that a stranger sent.  Accepts exactly what AppendTo writes for a request that obeys every
    /// rule of docs/formats/xregistry.md; it has no side effect and allocates at most three times the record's size.
    /// @return Success, or InvalidParameter with `rRequest` unchanged, or NotEnoughMemory.
    static vlm::Status Decode(std::span<const BYTE> record, PortMonitorRequest& rRequest) noexcept;
};

}  // namespace vlm
