/// @file
/// Attribute records in the order of their identifiers.
#include "utilities/attributebytes/AttributeBytesIndexedList.h"

#include "utilities/attributebytes/AttributeBytesRawList.h"
#include "utilities/attributebytes/detail/RecordReader.h"
#include "utilities/attributebytes/detail/RecordScan.h"
#include "utilities/attributebytes/detail/StoreBytes.h"
#include "utilities/debuggingandexceptions/NoThrow.h"
#include "utilities/debuggingandexceptions/RaiseMacros.h"

AttributeBytesIndexedListIterator::~AttributeBytesIndexedListIterator() = default;
std::unique_ptr<AttributeBytesListIterator> AttributeBytesIndexedListIterator::Clone() const {
    return std::make_unique<AttributeBytesIndexedListIterator>(*this);
}

AttributeBytesIndexedList::AttributeBytesIndexedList() = default;
AttributeBytesIndexedList::AttributeBytesIndexedList(const AttributeBytesIndexedList& rOther)
    : AttributeBytesList(rOther),
      PooledObject(rOther),
      m_oSet(vlm::TranslateOutOfMemory([&] { return vlm::AttributeBytesOrderedSet(rOther.m_oSet); })) {}
AttributeBytesIndexedList::AttributeBytesIndexedList(AttributeBytesIndexedList&& rOther) noexcept
    : AttributeBytesList(rOther), PooledObject(rOther), m_oSet(std::move(rOther.m_oSet)) {
    rOther.DeleteAllAttributeBytes();
}
AttributeBytesIndexedList& AttributeBytesIndexedList::operator=(const AttributeBytesIndexedList& rOther) {
    if (this != &rOther) *this = AttributeBytesIndexedList(rOther);
    return *this;
}
AttributeBytesIndexedList& AttributeBytesIndexedList::operator=(AttributeBytesIndexedList&& rOther) noexcept {
    if (this != &rOther) {
        m_oSet = std::move(rOther.m_oSet);
        ++m_ullGeneration;
        rOther.DeleteAllAttributeBytes();
    }
    return *this;
}
AttributeBytesIndexedList::~AttributeBytesIndexedList() = default;

bool AttributeBytesIndexedList::IsEmpty() const noexcept {
    return m_oSet.size() == 0;
}
bool AttributeBytesIndexedList::LengthIsExactlyOne() const noexcept {
    return m_oSet.size() == 1;
}
DWORD AttributeBytesIndexedList::GetNumberOfAttributeBytes() const noexcept {
    return static_cast<DWORD>(m_oSet.size());
}

// ---- iterators ----

AttributeBytesIndexedListIterator AttributeBytesIndexedList::GetIndexedListIterator() const {
    return {this, m_ullGeneration, m_oSet.Begin(), IsEmpty() ? nullptr : m_oSet.At(m_oSet.Begin())};
}

std::unique_ptr<AttributeBytesListIterator> AttributeBytesIndexedList::GetIterator() const {
    return GetIndexedListIterator().Clone();
}

/// The present place of the iterator's record; false when it has left the list.
bool AttributeBytesIndexedList::FindCurrent(const AttributeBytesIndexedListIterator& rIterator,
                                            vlm::AttributeBytesOrderedSet::Position& rPosition) const noexcept {
    if (rIterator.m_pList != this || !rIterator.m_shpoRecord) return false;
    rPosition = rIterator.m_oPosition;
    if (rIterator.m_ullGeneration == m_ullGeneration) return true;
    rPosition = m_oSet.Find(rIterator.m_shpoRecord->GetAttributeBytesId());
    return rPosition != m_oSet.End() && m_oSet.At(rPosition) == rIterator.m_shpoRecord;
}

bool AttributeBytesIndexedList::IsValidIndexedListIterator(const AttributeBytesIndexedListIterator& rIterator) const {
    vlm::AttributeBytesOrderedSet::Position oPosition{};
    return FindCurrent(rIterator, oPosition);
}

bool AttributeBytesIndexedList::IsValid(const AttributeBytesListIterator& rIterator) const {
    return IsValidIndexedListIterator(AsOwn<const AttributeBytesIndexedListIterator>(rIterator));
}

AttributeBytesSharedPtr AttributeBytesIndexedList::GetNextAttributeBytesSharedPtr(
    AttributeBytesListIterator& rIterator) const {
    auto& rOwn = AsOwn<AttributeBytesIndexedListIterator>(rIterator);
    vlm::AttributeBytesOrderedSet::Position oPosition{};
    if (!FindCurrent(rOwn, oPosition)) ThrowInvalidIterator();
    AttributeBytesSharedPtr shpoRecord = std::move(rOwn.m_shpoRecord);
    rOwn.m_oPosition = m_oSet.Next(oPosition);
    rOwn.m_ullGeneration = m_ullGeneration;
    if (rOwn.m_oPosition != m_oSet.End()) rOwn.m_shpoRecord = m_oSet.At(rOwn.m_oPosition);
    return shpoRecord;
}

AttributeBytes AttributeBytesIndexedList::GetNextAttributeBytes(AttributeBytesListIterator& rIterator) const {
    auto& rOwn = AsOwn<AttributeBytesIndexedListIterator>(rIterator);
    if (!IsValidIndexedListIterator(rOwn)) ThrowInvalidIterator();
    AttributeBytes oCopy(*rOwn.m_shpoRecord);
    GetNextAttributeBytesSharedPtr(rOwn);
    return oCopy;
}

AttributeBytesIndexedListIterator AttributeBytesIndexedList::FindAttributeBytes(const AttributeBytesId& rId) const {
    const vlm::AttributeBytesOrderedSet::Position oPosition = m_oSet.Find(rId);
    return {this, m_ullGeneration, oPosition, oPosition == m_oSet.End() ? nullptr : m_oSet.At(oPosition)};
}

// ---- look-up ----

const AttributeBytes* AttributeBytesIndexedList::GetAttributeBytesPtr(const AttributeBytesId& rId) const noexcept {
    const vlm::AttributeBytesOrderedSet::Position oPosition = m_oSet.Find(rId);
    return oPosition == m_oSet.End() ? nullptr : m_oSet.At(oPosition).get();
}

const AttributeBytes& AttributeBytesIndexedList::GetAttributeBytesRef(const AttributeBytesId& rId) const {
    const AttributeBytes* const pRecord = GetAttributeBytesPtr(rId);
    if (!pRecord) {
        VLM_THROW(ExceptionFeatureNotFound,
                  VTEXT("Request for a non-existent attribute (%s)! Consider using the 'xxxPtr' method, instead, and "
                        "check the return code."),
                  rId.GetDumpDisplayString(true));
    }
    return *pRecord;
}

// ---- changes ----

void AttributeBytesIndexedList::AddAttributeBytes(AttributeBytesSharedPtr&& rshpoAttributeBytes) {
    VLM_ASSERT_IN(DebugCategory::AttrBytes, rshpoAttributeBytes != nullptr);
    if (!rshpoAttributeBytes) return;
    if (!m_oSet.Insert(std::move(rshpoAttributeBytes))) {  // not moved from when it answers false
        VLM_THROW(
            ExceptionDuplicateAttributeId, VTEXT("An entry already exists in the list for=%s! Insertion failed!\r\n"),
            rshpoAttributeBytes->GetAttributeBytesId().GetDumpDisplayString(true));  // NOLINT(bugprone-use-after-move)
    }
    ++m_ullGeneration;
}

void AttributeBytesIndexedList::AddAttributeBytes(const AttributeBytesSharedPtr& rshpoAttributeBytes) {
    AddAttributeBytes(AttributeBytesSharedPtr(rshpoAttributeBytes));
}

void AttributeBytesIndexedList::AddAttributeBytes(const AttributeBytes& rAttributeBytes) {
    AddAttributeBytes(AttributeBytesSharedPtr(std::make_unique<AttributeBytes>(rAttributeBytes)));
}

void AttributeBytesIndexedList::SetAttributeBytes(const AttributeBytesId& rId, const AttributeBytesValue& rValue) {
    AttributeBytesSharedPtr shpoRecord(std::make_unique<AttributeBytes>(rId, rValue));
    const vlm::AttributeBytesOrderedSet::Position oPosition = m_oSet.Find(rId);
    if (oPosition == m_oSet.End()) {
        AddAttributeBytes(std::move(shpoRecord));
    } else {
        m_oSet.Replace(oPosition, std::move(shpoRecord));
        ++m_ullGeneration;
    }
}

void AttributeBytesIndexedList::DeleteAttributesBytes(const AttributeBytesId& rId) noexcept {
    const vlm::AttributeBytesOrderedSet::Position oPosition = m_oSet.Find(rId);
    if (oPosition == m_oSet.End()) return;
    ++m_ullGeneration;
    m_oSet.Erase(oPosition);
}

void AttributeBytesIndexedList::DeleteAllAttributeBytes() noexcept {
    m_oSet = vlm::AttributeBytesOrderedSet();
    ++m_ullGeneration;
}

void AttributeBytesIndexedList::ReplaceAllAttributeBytes(const std::vector<AttributeBytesSharedPtr>& rvshpoRecords) {
    AttributeBytesIndexedList oBuiltAside;
    for (const AttributeBytesSharedPtr& rshpoRecord : rvshpoRecords)
        oBuiltAside.AddAttributeBytes(rshpoRecord);
    *this = std::move(oBuiltAside);
}

void AttributeBytesIndexedList::ImportRecords(const BYTE* pbyCursor, DWORD dwRemaining, bool fNestingChecked) {
    AttributeBytesIndexedList oBuiltAside;
    while (dwRemaining != 0) {
        AttributeBytesSharedPtr shpoRecord =
            vlm::RecordReader::ReadSharedRecord(pbyCursor, dwRemaining, fNestingChecked);
        if (!oBuiltAside.m_oSet.Insert(std::move(shpoRecord))) {
            // Still ours after the answer false; this fails with its own text.
            oBuiltAside.AddAttributeBytes(std::move(shpoRecord));  // NOLINT(bugprone-use-after-move)
        }
    }
    *this = std::move(oBuiltAside);
}

void AttributeBytesIndexedList::ImportFromRawList(const AttributeBytesRawList& rList) {
    ImportRecords(rList.GetRecordBytes().data(), rList.GetRecordBytes().GetLength(), true);
}

// ---- state ----

std::size_t AttributeBytesIndexedList::GetAttributeBytesIndexedListStateSize() const noexcept {
    std::size_t cbState = 4 + AttributeBytesRawList::SIGNATURE_BYTES;
    m_oSet.ForEach([&](const AttributeBytes& rRecord) { cbState += rRecord.GetAttributeBytesStateSize(); });
    return cbState;
}

BYTE* AttributeBytesIndexedList::StoreAttributeBytesIndexedListState(BYTE* pbyOut) const {
    pbyOut = vlm::StoreDword(vlm::StoreDword(pbyOut, SIGNATURE), AttributeBytesRawList::SIGNATURE);
    m_oSet.ForEach([&](const AttributeBytes& rRecord) { pbyOut = rRecord.StoreAttributeBytesState(pbyOut); });
    return pbyOut;
}

ByteBuffer AttributeBytesIndexedList::GetAttributeBytesIndexedListState() const {
    return vlm::MakeState(GetAttributeBytesIndexedListStateSize(),
                          [this](BYTE* pbyOut) { StoreAttributeBytesIndexedListState(pbyOut); });
}

void AttributeBytesIndexedList::ImportAttributeBytesIndexedListState(const ByteBuffer& rbbState) {
    const BYTE* pbyCursor = rbbState.data();
    DWORD dwRemaining = rbbState.GetLength();
    ImportAttributeBytesIndexedListState(pbyCursor, dwRemaining);
}

void AttributeBytesIndexedList::ImportAttributeBytesIndexedListState(const BYTE* pbyCursor, DWORD dwRemaining) {
    vlm::WalkBufferToCheckSignature(pbyCursor, dwRemaining, SIGNATURE);
    vlm::WalkBufferToCheckSignature(pbyCursor, dwRemaining, AttributeBytesRawList::SIGNATURE);
    ImportRecords(pbyCursor, dwRemaining, false);
}
