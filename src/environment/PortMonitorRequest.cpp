/// @file
/// Writes the request record and takes it apart.
#include "environment/PortMonitorRequest.h"

#include <array>
#include <cstring>
#include <new>

#include "environment/PortMonitorRequestRules.h"
#include "utilities/Bounds.h"

namespace vlm {

namespace {

constexpr DWORD ANY_MASK = RequestOperation::ANY_MASK;
constexpr DWORD BY_ADDRESS = RequestOperation::BY_ADDRESS;

constexpr std::array OPERATIONS = {
#define X(code, operation, mask, effect, name, data, reply) \
    RequestOperation{_XPMRegistryFunction::operation,       \
                     VTEXT(#operation),                     \
                     mask,                                  \
                     RequestEffect::effect,                 \
                     RequestName::name,                     \
                     RequestData::data,                     \
                     ReplyLayout::reply},
#include "environment/PortMonitorOperations.inl"
#undef X
};

template <class T>
T LoadAt(std::span<const BYTE> record, std::size_t cOffset) noexcept {
    T value = 0;
    for (std::size_t i = sizeof(T); i-- > 0;)
        value = static_cast<T>(value << 8 | record[cOffset + i]);
    return value;
}

/// Bytes that a string takes in the record; 0 when it is absent.
DWORD SizeInRecord(const CXString& kcsText) noexcept {
    return kcsText.IsEmpty() ? 0 : (static_cast<DWORD>(kcsText.GetLength()) + 1) * 2;
}

void AppendString(ByteBuffer& rbbTarget, const CXString& kcsText) {
    if (kcsText.IsEmpty()) return;
    rbbTarget.append(kcsText);
    rbbTarget.appendNullChar();
}

/// Reads the string at the canonical place `rdwNext`, which moves behind it.  @return false when it does not stand
/// there.
bool TakeString(std::span<const BYTE> record, DWORD dwOffset, DWORD& rdwNext, CXString& rcsText) {
    rcsText.Empty();
    if (dwOffset == PortMonitorRequest::ABSENT) return true;
    if (dwOffset != rdwNext) return false;
    std::size_t cEnd = dwOffset;
    while (cEnd + 2 <= record.size() && (record[cEnd] != 0 || record[cEnd + 1] != 0))
        cEnd += 2;
    if (cEnd + 2 > record.size()) return false;
    const int iUnits = static_cast<int>((cEnd - dwOffset) / 2);
    if (iUnits == 0) return false;
    XCHAR* const pchText = rcsText.GetBufferSetLength(iUnits);
    for (int i = 0; i < iUnits; ++i) {
        pchText[i] = static_cast<XCHAR>(LoadAt<WORD>(record, dwOffset + static_cast<std::size_t>(i) * 2));
    }
    rcsText.ReleaseBuffer(iUnits);
    rdwNext = static_cast<DWORD>(cEnd) + 2;
    return true;
}

/// The record with every field where AppendTo puts it; the rules of content come afterwards.
bool TakeApart(std::span<const BYTE> record, PortMonitorRequest& rRequest) {
    if (record.size() < bounds::MIN_REQUEST_BYTES || record.size() > bounds::MAX_REQUEST_BYTES) return false;
    if (LoadAt<DWORD>(record, 0) != PortMonitorRequest::MAGIC) return false;
    if (LoadAt<WORD>(record, 6) != 0 || LoadAt<WORD>(record, 18) != 0 || LoadAt<DWORD>(record, 44) != 0) return false;
    const WORD wRoot = LoadAt<WORD>(record, 4);
    if (wRoot > HKeyRegistry::Hkey_Last) return false;
    const RequestOperation* const pOperation = FindRequestOperation(LoadAt<WORD>(record, 16));
    if (!pOperation) return false;
    rRequest.m_eRoot = static_cast<_HKEYREGISTRY_>(wRoot);
    rRequest.m_ullKeyHandle = LoadAt<ULONGLONG>(record, 8);
    rRequest.m_eFunction = pOperation->m_eFunction;
    rRequest.m_dwAccessMask = LoadAt<DWORD>(record, 20);

    DWORD dwNext = PortMonitorRequest::HEADER_BYTES;
    if (!TakeString(record, LoadAt<DWORD>(record, 24), dwNext, rRequest.m_csKeyPath)) return false;
    if (!TakeString(record, LoadAt<DWORD>(record, 28), dwNext, rRequest.m_csValueName)) return false;
    if (!TakeString(record, LoadAt<DWORD>(record, 32), dwNext, rRequest.m_csThird)) return false;
    const DWORD cbData = LoadAt<DWORD>(record, 36);
    const DWORD dwDataOffset = LoadAt<DWORD>(record, 40);
    if (cbData == 0 ? dwDataOffset != PortMonitorRequest::ABSENT : dwDataOffset != dwNext) return false;
    // Everything adds up to the record's own size, so no sum below can pass the bound that was checked above.
    if (ULONGLONG{dwNext} + cbData + 2 != record.size()) return false;
    if (record[record.size() - 2] != 0 || record[record.size() - 1] != 0) return false;
    rRequest.m_bbData.setWithLpbyte(record.data() + dwNext, cbData);
    return true;
}

}  // namespace

const RequestOperation* FindRequestOperation(WORD wCode) noexcept {
    for (const RequestOperation& rOperation : OPERATIONS) {
        if (static_cast<WORD>(rOperation.m_eFunction) == wCode) return &rOperation;
    }
    return nullptr;
}

void PortMonitorRequest::AppendTo(ByteBuffer& rbbTarget) const {
    ByteBuffer bbRecord;
    DWORD dwNext = HEADER_BYTES;
    const auto Place = [&dwNext](DWORD cbSize) {
        const DWORD dwOffset = cbSize == 0 ? ABSENT : dwNext;
        dwNext += cbSize;
        return ByteBuffer::createFromIntValue(static_cast<LONG>(dwOffset));
    };
    const DWORD cbData = static_cast<DWORD>(m_bbData.size());
    bbRecord.append(ByteBuffer::createFromIntValue(static_cast<LONG>(MAGIC)));
    bbRecord.append(ByteBuffer::createFromWordValue(static_cast<WORD>(m_eRoot)));
    bbRecord.append(ByteBuffer::createFromWordValue(0));
    bbRecord.append(ByteBuffer::createFromLong64Value(static_cast<LONGLONG>(m_ullKeyHandle)));
    bbRecord.append(ByteBuffer::createFromWordValue(static_cast<WORD>(m_eFunction)));
    bbRecord.append(ByteBuffer::createFromWordValue(0));
    bbRecord.append(ByteBuffer::createFromIntValue(static_cast<LONG>(m_dwAccessMask)));
    bbRecord.append(Place(SizeInRecord(m_csKeyPath)));
    bbRecord.append(Place(SizeInRecord(m_csValueName)));
    bbRecord.append(Place(SizeInRecord(m_csThird)));
    bbRecord.append(ByteBuffer::createFromIntValue(static_cast<LONG>(cbData)));
    bbRecord.append(Place(cbData));
    bbRecord.append(ByteBuffer::createFromIntValue(0));
    AppendString(bbRecord, m_csKeyPath);
    AppendString(bbRecord, m_csValueName);
    AppendString(bbRecord, m_csThird);
    bbRecord.append(m_bbData);
    bbRecord.appendNullChar();
    rbbTarget.append(bbRecord);
}

Status PortMonitorRequest::Decode(std::span<const BYTE> record, PortMonitorRequest& rRequest) noexcept {
    try {
        PortMonitorRequest oRequest;
        if (!TakeApart(record, oRequest) || !ObeysRequestRules(oRequest)) return Status::InvalidParameter;
        rRequest = std::move(oRequest);
        return Status::Success;
    } catch (...) {
        return Status::NotEnoughMemory;
    }
}

}  // namespace vlm
