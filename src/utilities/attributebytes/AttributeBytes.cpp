/// @file
/// One print setting.
#include "utilities/attributebytes/AttributeBytes.h"

#include "utilities/attributebytes/AttributeBytesNumberIds.h"
#include "utilities/attributebytes/AttributeBytesNumberValues.h"
#include "utilities/attributebytes/detail/RecordReader.h"
#include "utilities/attributebytes/detail/StoreBytes.h"
#include "utilities/debuggingandexceptions/RaiseMacros.h"

AttributeBytes::AttributeBytes(std::unique_ptr<AttributeBytesId> apoId, std::unique_ptr<AttributeBytesValue> apoValue)
    : m_apoId(std::move(apoId)), m_apoValue(std::move(apoValue)) {
    VLM_ASSERT_IN(DebugCategory::AttrBytes, m_apoId && m_apoValue);
    if (!m_apoId) [[unlikely]]
        m_apoId = std::make_unique<AttributeBytesFeatureId>();
    if (!m_apoValue) [[unlikely]] {
        m_apoValue = std::make_unique<AttributeBytesIntegerValue>();
        m_apoValue->SetIsSpecified(false);
    }
}

AttributeBytes::AttributeBytes(const AttributeBytesId& rId, const AttributeBytesValue& rValue)
    : m_apoId(rId.Clone()), m_apoValue(rValue.Clone()) {}

AttributeBytes::AttributeBytes(std::unique_ptr<AttributeBytesId> apoId, const AttributeBytesValue& rValue)
    : AttributeBytes(std::move(apoId), rValue.Clone()) {}

AttributeBytes::AttributeBytes(const ByteBuffer& rbbState) {
    ImportAttributeBytesState(rbbState);
}

AttributeBytes::AttributeBytes(const AttributeBytes& rOther) : AttributeBytes(*rOther.m_apoId, *rOther.m_apoValue) {}

AttributeBytes& AttributeBytes::operator=(const AttributeBytes& rOther) {
    if (this != &rOther) *this = AttributeBytes(rOther);
    return *this;
}

bool AttributeBytes::operator==(const AttributeBytes& rOther) const noexcept {
    return m_apoId->IsEqual(*rOther.m_apoId) && m_apoValue->IsEqual(*rOther.m_apoValue);
}

bool AttributeBytes::operator<(const AttributeBytes& rOther) const noexcept {
    return m_apoId->LessThan(*rOther.m_apoId);
}

void AttributeBytes::SetAttributeBytesId(std::unique_ptr<AttributeBytesId> apoId) {
    VLM_ASSERT_IN(DebugCategory::AttrBytes, apoId != nullptr);
    if (apoId) m_apoId = std::move(apoId);
}
void AttributeBytes::SetAttributeBytesId(const AttributeBytesId& rId) {
    m_apoId = rId.Clone();
}

void AttributeBytes::SetAttributeBytesValue(std::unique_ptr<AttributeBytesValue> apoValue) {
    VLM_ASSERT_IN(DebugCategory::AttrBytes, apoValue != nullptr);
    if (apoValue) m_apoValue = std::move(apoValue);
}
void AttributeBytes::SetAttributeBytesValue(const AttributeBytesValue& rValue) {
    m_apoValue = rValue.Clone();
}

std::size_t AttributeBytes::GetAttributeBytesStateSize() const noexcept {
    return 3 + m_apoId->GetIdentifierStateSize() + m_apoValue->GetValueStateSize();
}

BYTE* AttributeBytes::StoreAttributeBytesState(BYTE* pbyOut) const {
    return m_apoValue->StoreTypeAndValueState(m_apoId->StoreTypeAndIdentifierState(pbyOut));
}

ByteBuffer AttributeBytes::GetAttributeBytesState() const {
    return vlm::MakeState(GetAttributeBytesStateSize(), [this](BYTE* pbyOut) { StoreAttributeBytesState(pbyOut); });
}

void AttributeBytes::GetAttributeBytesState(ByteBuffer& rbbOut) const {
    vlm::AppendState(rbbOut, GetAttributeBytesStateSize(), [this](BYTE* pbyOut) { StoreAttributeBytesState(pbyOut); });
}

void AttributeBytes::ImportAttributeBytesState(const ByteBuffer& rbbState) {
    const BYTE* pbyCursor = rbbState.data();
    DWORD dwRemaining = rbbState.GetLength();
    *this = vlm::RecordReader::ReadRecord(pbyCursor, dwRemaining, false);
}

AttributeBytesSharedPtr AttributeBytes::WalkBufferToCreateAttributeBytes(const BYTE*& rpbyCursor, DWORD& rdwRemaining) {
    return vlm::RecordReader::ReadSharedRecord(rpbyCursor, rdwRemaining, false);
}

AttributeBytesSharedPtr AttributeBytes::WalkBufferToCreateAttributeBytes(BYTE*& rpbyCursor, DWORD& rdwRemaining) {
    return vlm::WalkWritable(rpbyCursor, rdwRemaining, [](const BYTE*& rpbyRead, DWORD& rdwLeft) {
        return vlm::RecordReader::ReadSharedRecord(rpbyRead, rdwLeft, false);
    });
}

CXString AttributeBytes::GetDumpDisplayString(bool fShowSpecified) const {
    return CXString::FormatString(VTEXT("%s; %s"), m_apoId->GetDumpDisplayString(true),
                                  m_apoValue->GetDumpDisplayString(fShowSpecified));
}

void AttributeBytes::Dump() const {
#ifndef NDEBUG
    VLM_REPORT(DebugCategory::AttrDump, VTEXT("%s"), GetDumpDisplayString(true));
#endif
}
