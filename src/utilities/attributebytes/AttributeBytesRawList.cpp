/// @file
/// Attribute records laid end to end in one buffer.
#include "utilities/attributebytes/AttributeBytesRawList.h"

#include <algorithm>

#include "utilities/Bounds.h"
#include "utilities/attributebytes/AttributeBytesIndexedList.h"
#include "utilities/attributebytes/AttributeBytesListValue.h"
#include "utilities/attributebytes/detail/RecordReader.h"
#include "utilities/attributebytes/detail/RecordScan.h"
#include "utilities/attributebytes/detail/StoreBytes.h"
#include "utilities/debuggingandexceptions/RaiseMacros.h"

namespace {

/// How deep lists nest in one record.
unsigned GetRecordDepth(const AttributeBytes& rRecord) {
    const AttributeBytesValue& rValue = rRecord.GetAttributeBytesValue();
    if (!rValue.IsList()) return 0;
    return 1 + static_cast<const AttributeBytesListValue&>(rValue).GetAttributeBytesRawList().GetNestingDepth();
}

}  // namespace

AttributeBytesRawListIterator::~AttributeBytesRawListIterator() = default;
std::unique_ptr<AttributeBytesListIterator> AttributeBytesRawListIterator::Clone() const {
    return std::make_unique<AttributeBytesRawListIterator>(*this);
}

AttributeBytesRawList::AttributeBytesRawList() = default;
AttributeBytesRawList::AttributeBytesRawList(const AttributeBytesRawList& rOther)
    : AttributeBytesList(rOther), PooledObject(rOther), m_bbRecords(rOther.m_bbRecords), m_uDepth(rOther.m_uDepth) {}
AttributeBytesRawList& AttributeBytesRawList::operator=(const AttributeBytesRawList& rOther) {
    if (this != &rOther) {
        m_bbRecords = rOther.m_bbRecords;
        m_uDepth = rOther.m_uDepth;
        ++m_ullGeneration;
    }
    return *this;
}
AttributeBytesRawList::~AttributeBytesRawList() = default;

bool AttributeBytesRawList::IsEmpty() const noexcept {
    return m_bbRecords.empty();
}

bool AttributeBytesRawList::LengthIsExactlyOne() const {
    if (IsEmpty()) return false;
    AttributeBytesRawListIterator oIterator = GetRawListIterator();
    GetNextAttributeBytesFromRawListIterator(oIterator);
    return !IsValidRawListIterator(oIterator);
}

// ---- iterators ----

std::unique_ptr<AttributeBytesListIterator> AttributeBytesRawList::GetIterator() const {
    return GetRawListIterator().Clone();
}

AttributeBytesRawListIterator AttributeBytesRawList::GetRawListIterator() const noexcept {
    return {this, m_ullGeneration};
}

bool AttributeBytesRawList::IsValid(const AttributeBytesListIterator& rIterator) const {
    return IsValidRawListIterator(AsOwn<const AttributeBytesRawListIterator>(rIterator));
}

bool AttributeBytesRawList::IsValidRawListIterator(const AttributeBytesRawListIterator& rIterator) const noexcept {
    return rIterator.m_pList == this && rIterator.m_ullGeneration == m_ullGeneration &&
           rIterator.m_cbOffset < m_bbRecords.size();
}

/// Reads the record at the iterator by `read` and moves the iterator behind it.
template <class Read>
auto AttributeBytesRawList::ReadAt(AttributeBytesRawListIterator& rIterator, Read read) const {
    if (!IsValidRawListIterator(rIterator)) ThrowInvalidIterator();
    const BYTE* pbyCursor = m_bbRecords.data() + rIterator.m_cbOffset;
    DWORD dwRemaining = static_cast<DWORD>(m_bbRecords.size() - rIterator.m_cbOffset);
    auto record = read(pbyCursor, dwRemaining, true);
    rIterator.m_cbOffset = m_bbRecords.size() - dwRemaining;
    return record;
}

AttributeBytes AttributeBytesRawList::GetNextAttributeBytes(AttributeBytesListIterator& rIterator) const {
    return ReadAt(AsOwn<AttributeBytesRawListIterator>(rIterator), vlm::RecordReader::ReadRecord);
}

AttributeBytesSharedPtr AttributeBytesRawList::GetNextAttributeBytesSharedPtr(
    AttributeBytesListIterator& rIterator) const {
    return GetNextAttributeBytesFromRawListIterator(AsOwn<AttributeBytesRawListIterator>(rIterator));
}

AttributeBytesSharedPtr AttributeBytesRawList::GetNextAttributeBytesFromRawListIterator(
    AttributeBytesRawListIterator& rIterator) const {
    return ReadAt(rIterator, vlm::RecordReader::ReadSharedRecord);
}

AttributeBytesRawList::const_iterator AttributeBytesRawList::begin() const {
    const_iterator oIterator;
    oIterator.m_pList = this;
    return ++oIterator;
}

AttributeBytesRawList::const_iterator AttributeBytesRawList::end() const noexcept {
    return {};
}

AttributeBytesRawList::const_iterator& AttributeBytesRawList::const_iterator::operator++() {
    const ByteBuffer& rbbRecords = m_pList->m_bbRecords;
    m_shpoRecord.reset();
    if (m_cbOffset < rbbRecords.size()) {
        const BYTE* pbyCursor = rbbRecords.data() + m_cbOffset;
        DWORD dwRemaining = static_cast<DWORD>(rbbRecords.size() - m_cbOffset);
        m_shpoRecord = vlm::RecordReader::ReadSharedRecord(pbyCursor, dwRemaining, true);
        m_cbOffset = rbbRecords.size() - dwRemaining;
    }
    return *this;
}

// ---- changes ----

void AttributeBytesRawList::AddAttributeBytes(const AttributeBytesSharedPtr& rshpoAttributeBytes) {
    VLM_ASSERT_IN(DebugCategory::AttrBytes, rshpoAttributeBytes != nullptr);
    if (rshpoAttributeBytes) AddAttributeBytes(*rshpoAttributeBytes);
}

void AttributeBytesRawList::AddAttributeBytes(const AttributeBytes& rAttributeBytes) {
    const unsigned uDepth = GetRecordDepth(rAttributeBytes);
    rAttributeBytes.GetAttributeBytesState(m_bbRecords);
    if (m_uDepth != UNKNOWN_DEPTH) m_uDepth = std::max(m_uDepth, uDepth);
}

void AttributeBytesRawList::DeleteAllAttributeBytes() noexcept {
    m_bbRecords.clear();
    m_uDepth = 0;
    ++m_ullGeneration;
}

void AttributeBytesRawList::AssignChecked(const BYTE* pbyRecords, std::size_t cbRecords, unsigned uDepth) {
    m_bbRecords.setWithLpbyte(pbyRecords, cbRecords);
    m_uDepth = uDepth;
    ++m_ullGeneration;
}

void AttributeBytesRawList::ReplaceAllAttributeBytes(const std::vector<AttributeBytesSharedPtr>& rvshpoRecords) {
    AttributeBytesRawList oBuiltAside;
    for (const AttributeBytesSharedPtr& rshpoRecord : rvshpoRecords)
        oBuiltAside.AddAttributeBytes(rshpoRecord);
    m_bbRecords.swap(oBuiltAside.m_bbRecords);
    m_uDepth = oBuiltAside.m_uDepth;
    ++m_ullGeneration;
}

void AttributeBytesRawList::ImportFromIndexedList(const AttributeBytesIndexedList& rList) {
    std::size_t cbRecords = 0;
    unsigned uDepth = 0;
    for (const AttributeBytesSharedPtr& rshpoRecord : rList) {
        cbRecords += rshpoRecord->GetAttributeBytesStateSize();
        uDepth = std::max(uDepth, GetRecordDepth(*rshpoRecord));
    }
    ByteBuffer bbRecords = vlm::MakeState(cbRecords, [&rList](BYTE* pbyOut) {
        for (const AttributeBytesSharedPtr& rshpoRecord : rList)
            pbyOut = rshpoRecord->StoreAttributeBytesState(pbyOut);
    });
    m_bbRecords.swap(bbRecords);
    m_uDepth = uDepth;
    ++m_ullGeneration;
}

// ---- state ----

ByteBuffer AttributeBytesRawList::GetAttributeBytesRawListState() const {
    VLM_REPORT(DebugCategory::AttrBytes, VTEXT("Getting AttributeBytesRawList state (size=%ld bytes)"),
               static_cast<DWORD>(GetAttributeBytesRawListStateSize()));
    return vlm::MakeState(GetAttributeBytesRawListStateSize(),
                          [this](BYTE* pbyOut) { StoreAttributeBytesRawListState(pbyOut); });
}

BYTE* AttributeBytesRawList::StoreAttributeBytesRawListState(BYTE* pbyOut) const noexcept {
    return vlm::StoreBytes(vlm::StoreDword(pbyOut, SIGNATURE), m_bbRecords.data(), m_bbRecords.size());
}

void AttributeBytesRawList::ImportAttributeBytesRawListState(const ByteBuffer& rbbState) {
    const BYTE* pbyCursor = rbbState.data();
    DWORD dwRemaining = rbbState.GetLength();
    vlm::WalkBufferToCheckSignature(pbyCursor, dwRemaining, SIGNATURE);
    const unsigned uDepth = vlm::MeasureListNesting(pbyCursor, dwRemaining, vlm::bounds::MAX_LIST_NESTING);
    AssignChecked(pbyCursor, dwRemaining, uDepth);
}

unsigned AttributeBytesRawList::GetNestingDepth() const {
    if (m_uDepth != UNKNOWN_DEPTH) return m_uDepth;
    return vlm::MeasureListNesting(m_bbRecords.data(), m_bbRecords.GetLength(), vlm::bounds::MAX_LIST_NESTING);
}

bool AttributeBytesRawList::operator==(const AttributeBytesRawList& rOther) const noexcept {
    return m_bbRecords == rOther.m_bbRecords;
}
