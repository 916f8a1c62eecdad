/// @file
/// The value that holds further records.
#include "utilities/attributebytes/AttributeBytesListValue.h"

#include "utilities/Bounds.h"
#include "utilities/attributebytes/AttributeBytesRawList.h"
#include "utilities/attributebytes/detail/RecordScan.h"
#include "utilities/attributebytes/detail/StoreBytes.h"
#include "utilities/debuggingandexceptions/RaiseMacros.h"

AttributeBytesListValue::AttributeBytesListValue() : m_apoRawList(std::make_unique<AttributeBytesRawList>()) {}
AttributeBytesListValue::AttributeBytesListValue(const AttributeBytesRawList& rRawList, BYTE byKindOfList)
    : m_byKindOfList(byKindOfList) {
    SetAttributeBytesRawList(rRawList);
}
AttributeBytesListValue::AttributeBytesListValue(std::unique_ptr<AttributeBytesRawList> apoRawList, BYTE byKindOfList)
    : m_byKindOfList(byKindOfList) {
    SetAttributeBytesRawList(std::move(apoRawList));
}
AttributeBytesListValue::AttributeBytesListValue(const AttributeBytesListValue& rOther)
    : AttributeBytesValue(rOther),
      m_apoRawList(std::make_unique<AttributeBytesRawList>(*rOther.m_apoRawList)),
      m_byKindOfList(rOther.m_byKindOfList) {}
AttributeBytesListValue& AttributeBytesListValue::operator=(const AttributeBytesListValue& rOther) {
    if (this != &rOther) {
        *m_apoRawList = *rOther.m_apoRawList;
        m_byKindOfList = rOther.m_byKindOfList;
        AttributeBytesValue::operator=(rOther);
    }
    return *this;
}
AttributeBytesListValue::~AttributeBytesListValue() = default;

bool AttributeBytesListValue::IsList() const noexcept {
    return true;
}
AttributeBytesValueEnum AttributeBytesListValue::GetAttributeBytesValueType() const noexcept {
    return ABVTE_LIST;
}
std::unique_ptr<AttributeBytesValue> AttributeBytesListValue::Clone() const {
    return std::make_unique<AttributeBytesListValue>(*this);
}

void AttributeBytesListValue::WalkBufferToSetValue(const BYTE*& rpbyCursor, DWORD& rdwRemaining) {
    ReadPayload(rpbyCursor, rdwRemaining, false);
}

void AttributeBytesListValue::ReadPayload(const BYTE*& rpbyCursor, DWORD& rdwRemaining, bool fNestingChecked) {
    const BYTE byKindOfList = ByteBuffer::WalkBufferToGetByte(rpbyCursor, rdwRemaining);
    const DWORD dwState = static_cast<DWORD>(ByteBuffer::WalkBufferToGetLong(rpbyCursor, rdwRemaining));
    ByteBuffer::RequireBytes(rdwRemaining, dwState);
    const BYTE* pbyRecords = rpbyCursor;
    DWORD dwRecords = dwState;
    vlm::WalkBufferToCheckSignature(pbyRecords, dwRecords, AttributeBytesRawList::SIGNATURE);
    const unsigned uDepth = fNestingChecked
                                ? AttributeBytesRawList::UNKNOWN_DEPTH
                                : vlm::MeasureListNesting(pbyRecords, dwRecords, vlm::bounds::MAX_LIST_NESTING - 1);
    m_apoRawList->AssignChecked(pbyRecords, dwRecords, uDepth);
    m_byKindOfList = byKindOfList;
    rpbyCursor += dwState;
    rdwRemaining -= dwState;
}

std::size_t AttributeBytesListValue::GetValueStateSize() const noexcept {
    return 5 + m_apoRawList->GetAttributeBytesRawListStateSize();
}

BYTE* AttributeBytesListValue::StoreTypeAndValueState(BYTE* pbyOut) const {
    pbyOut = vlm::StoreByte(StoreHead(pbyOut, ABVTE_LIST), m_byKindOfList);
    pbyOut = vlm::StoreDword(pbyOut, static_cast<DWORD>(m_apoRawList->GetAttributeBytesRawListStateSize()));
    return m_apoRawList->StoreAttributeBytesRawListState(pbyOut);
}

std::strong_ordering AttributeBytesListValue::CompareMembers(const AttributeBytesValue& rSameType) const noexcept {
    const auto& rOther = static_cast<const AttributeBytesListValue&>(rSameType);
    if (m_byKindOfList != rOther.m_byKindOfList) return m_byKindOfList <=> rOther.m_byKindOfList;
    return m_apoRawList->GetRecordBytes().GetVector() <=> rOther.m_apoRawList->GetRecordBytes().GetVector();
}

CXString AttributeBytesListValue::GetMembersDisplayString() const {
    return CXString::FormatString(VTEXT("%s: Value is a list (of type %d / 0x%lx)"), GetDebugDisplayString(ABVTE_LIST),
                                  static_cast<int>(m_byKindOfList), static_cast<LONG>(m_byKindOfList));
}

void AttributeBytesListValue::SetAttributeBytesRawList(const AttributeBytesRawList& rRawList) {
    SetAttributeBytesRawList(std::make_unique<AttributeBytesRawList>(rRawList));
}

void AttributeBytesListValue::SetAttributeBytesRawList(std::unique_ptr<AttributeBytesRawList> apoRawList) {
    if (!apoRawList) apoRawList = std::make_unique<AttributeBytesRawList>();
    if (apoRawList->GetNestingDepth() >= vlm::bounds::MAX_LIST_NESTING) {
        VLM_THROW(ExceptionMissingOrBadAttributeBytesFormat,
                  VTEXT("A list with %ld levels of lists in it cannot become a list value!"),
                  static_cast<LONG>(apoRawList->GetNestingDepth()));
    }
    m_apoRawList = std::move(apoRawList);
}
