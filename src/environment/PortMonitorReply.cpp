/// @file
/// Writes replies of the port monitor and takes them apart.
#include "environment/PortMonitorReply.h"

#include <type_traits>

#include "utilities/Bounds.h"
#include "utilities/debuggingandexceptions/NoThrow.h"

namespace vlm {

namespace {

template <class T>
bool DecodeNumber(std::span<const BYTE> reply, T& rValue) noexcept {
    if (reply.size() != sizeof(T)) return false;
    std::make_unsigned_t<T> value = 0;
    for (std::size_t i = sizeof(T); i-- > 0;)
        value = static_cast<std::make_unsigned_t<T>>(value << 8 | reply[i]);
    rValue = static_cast<T>(value);
    return true;
}

DWORD DwordAt(std::span<const BYTE> reply, std::size_t cOffset) noexcept {
    DWORD dwValue = 0;
    DecodeNumber(reply.subspan(cOffset, sizeof(DWORD)), dwValue);
    return dwValue;
}

}  // namespace

DWORD PortMonitorReply::FixedSize(ReplyLayout eLayout) noexcept {
    switch (eLayout) {
        case ReplyLayout::KeyToken:
        case ReplyLayout::Long64:
            return 8;
        case ReplyLayout::Long:
        case ReplyLayout::Count:
            return 4;
        case ReplyLayout::Boolean:
            return 1;
        case ReplyLayout::Empty:
        case ReplyLayout::Text:
        case ReplyLayout::Bytes:
        case ReplyLayout::Names:
        case ReplyLayout::Values:
            break;
    }
    return 0;
}

void PortMonitorReply::AppendText(ByteBuffer& rbbReply, std::span<const BYTE> stored) {
    const std::span<const BYTE> units = stored.first(stored.size() & ~std::size_t{1});
    rbbReply.appendLpbyte(units.data(), units.size());
    if (units.empty() || units[units.size() - 1] != 0 || units[units.size() - 2] != 0) rbbReply.appendNullChar();
}

void PortMonitorReply::AppendNames(ByteBuffer& rbbReply, const std::vector<CXString>& kvcsNames) {
    rbbReply.appendDwordValue(static_cast<DWORD>(kvcsNames.size()));
    for (const CXString& kcsName : kvcsNames)
        rbbReply.appendCountedStringForRecord(kcsName);
}

void PortMonitorReply::AppendValueEntries(ByteBuffer& rbbReply, std::span<Value> values) {
    DWORD dwOffset = static_cast<DWORD>(values.size()) * VALUE_ENTRY_BYTES;
    for (Value& rValue : values) {
        rValue.m_dwOffset = dwOffset;
        dwOffset += rValue.m_cbData;
        rbbReply.appendLong64Value(0);
        rbbReply.appendDwordValue(rValue.m_cbData).appendDwordValue(0);
        rbbReply.appendLong64Value(rValue.m_dwOffset);
        rbbReply.appendDwordValue(rValue.m_dwType).appendDwordValue(0);
    }
}

bool PortMonitorReply::DecodeKeyToken(std::span<const BYTE> reply, ULONGLONG& rullToken) noexcept {
    ULONGLONG ullToken = 0;
    if (!DecodeNumber(reply, ullToken) || !IsKeyToken(ullToken)) return false;
    rullToken = ullToken;
    return true;
}

bool PortMonitorReply::DecodeBoolean(std::span<const BYTE> reply, bool& rbValue) noexcept {
    if (reply.size() != 1 || reply[0] > 1) return false;
    rbValue = reply[0] != 0;
    return true;
}

bool PortMonitorReply::DecodeLong(std::span<const BYTE> reply, LONG& rlValue) noexcept {
    return DecodeNumber(reply, rlValue);
}

bool PortMonitorReply::DecodeLong64(std::span<const BYTE> reply, LONGLONG& rllValue) noexcept {
    return DecodeNumber(reply, rllValue);
}

bool PortMonitorReply::DecodeCount(std::span<const BYTE> reply, DWORD& rdwCount) noexcept {
    return DecodeNumber(reply, rdwCount);
}

bool PortMonitorReply::DecodeText(std::span<const BYTE> reply, CXString& rcsText) {
    if (reply.size() < 2 || reply.size() % 2 != 0 || reply.size() > bounds::MAX_REPLY_BYTES) return false;
    if (reply[reply.size() - 1] != 0 || reply[reply.size() - 2] != 0) return false;
    rcsText = ByteBuffer(reply).getAsStringValue();
    return true;
}

bool PortMonitorReply::DecodeNames(std::span<const BYTE> reply, std::vector<CXString>& rvcsNames) {
    if (reply.size() < sizeof(DWORD) || reply.size() > bounds::MAX_REPLY_BYTES) return false;
    const BYTE* pbyCursor = reply.data();
    DWORD dwRemaining = static_cast<DWORD>(reply.size());
    const DWORD cNames = static_cast<DWORD>(ByteBuffer::WalkBufferToGetInt(pbyCursor, dwRemaining));
    // Each name takes two bytes at least, so a count that the bytes cannot hold never allocates.
    if (cNames > MAX_NAMES || cNames > dwRemaining / 2) return false;
    return TranslateOutOfMemory([&] {
        std::vector<CXString> vcsNames;
        vcsNames.reserve(cNames);
        for (DWORD i = 0; i < cNames; ++i) {
            if (dwRemaining < 2) return false;
            const DWORD cbName = (static_cast<DWORD>(pbyCursor[0]) | static_cast<DWORD>(pbyCursor[1]) << 8) * 2;
            if (dwRemaining - 2 < cbName) return false;
            vcsNames.push_back(ByteBuffer::WalkBufferToGetCountedString(pbyCursor, dwRemaining));
            // A name with a zero in it could not be handed on to the registry as it stands.
            if (vcsNames.back().Find(XCHAR()) >= 0) return false;
        }
        if (dwRemaining != 0) return false;
        rvcsNames.swap(vcsNames);
        return true;
    });
}

bool PortMonitorReply::DecodeValues(std::span<const BYTE> reply, std::size_t cAsked, std::vector<Value>& rvValues) {
    if (cAsked > bounds::MAX_VALUE_LIST_ENTRIES || reply.size() > bounds::MAX_REPLY_BYTES) return false;
    if (reply.size() < cAsked * VALUE_ENTRY_BYTES) return false;
    return TranslateOutOfMemory([&] {
        std::vector<Value> vValues(cAsked);
        std::size_t cNext = cAsked * VALUE_ENTRY_BYTES;
        for (std::size_t i = 0; i < cAsked; ++i) {
            const std::span<const BYTE> entry = reply.subspan(i * VALUE_ENTRY_BYTES, VALUE_ENTRY_BYTES);
            Value& rValue = vValues[i];
            rValue = {DwordAt(entry, 24), DwordAt(entry, 8), DwordAt(entry, 16)};
            const DWORD dwRest =
                DwordAt(entry, 0) | DwordAt(entry, 4) | DwordAt(entry, 12) | DwordAt(entry, 20) | DwordAt(entry, 28);
            if (dwRest != 0 || rValue.m_dwOffset != cNext || rValue.m_cbData > reply.size() - cNext) return false;
            cNext += rValue.m_cbData;
        }
        if (cNext != reply.size()) return false;
        rvValues.swap(vValues);
        return true;
    });
}

}  // namespace vlm
