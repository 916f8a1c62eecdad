/// @file
/// The value that holds further records.
#pragma once

#include "utilities/attributebytes/AttributeBytesValue.h"

class AttributeBytesRawList;
namespace vlm {
class RecordReader;
}

/// A list of records (tag 11).  Payload:
///
///     offset  size  field
///          0     1  kind of list (its meaning is the callers')
///          1     4  length of the raw-list state in bytes
///          5        the raw-list state, see AttributeBytesRawList
///
/// The records inside stay bytes until somebody asks for them: reading checks the signature and the nesting of lists
/// alone.  A list value, itself included, nests at most vlm::bounds::MAX_LIST_NESTING lists.  Two lists are equal when
/// their kinds and their bytes are.
/// **Ownership**: the value owns its raw list.
class VLM_API AttributeBytesListValue : public AttributeBytesValue {
public:
    /// An empty list of kind 0.
    AttributeBytesListValue();
    /// Copies the list.  @throws ExceptionMissingOrBadAttributeBytesFormat when the lists in it nest too deep.
    explicit AttributeBytesListValue(const AttributeBytesRawList& rRawList, BYTE byKindOfList = 0);
    /// Takes the list over; null counts as an empty list.
    explicit AttributeBytesListValue(std::unique_ptr<AttributeBytesRawList> apoRawList, BYTE byKindOfList = 0);
    AttributeBytesListValue(const AttributeBytesListValue& rOther);
    AttributeBytesListValue& operator=(const AttributeBytesListValue& rOther);
    ~AttributeBytesListValue() override;
    bool IsList() const noexcept override;
    AttributeBytesValueEnum GetAttributeBytesValueType() const noexcept override;
    std::unique_ptr<AttributeBytesValue> Clone() const override;
    void WalkBufferToSetValue(const BYTE*& rpbyCursor, DWORD& rdwRemaining) override;
    std::size_t GetValueStateSize() const noexcept override;
    BYTE* StoreTypeAndValueState(BYTE* pbyOut) const override;
    std::strong_ordering CompareMembers(const AttributeBytesValue& rSameType) const noexcept override;

    BYTE GetKindOfList() const noexcept { return m_byKindOfList; }
    void SetKindOfList(BYTE byKindOfList) noexcept { m_byKindOfList = byKindOfList; }
    /// The list, borrowed until the value is changed or destroyed.
    const AttributeBytesRawList& GetAttributeBytesRawList() const noexcept { return *m_apoRawList; }
    /// Replaces the list, by a copy or by taking it over (null counts as an empty list).
    /// @throws ExceptionMissingOrBadAttributeBytesFormat when the lists in it nest too deep; the value is unchanged.
    void SetAttributeBytesRawList(const AttributeBytesRawList& rRawList);
    void SetAttributeBytesRawList(std::unique_ptr<AttributeBytesRawList> apoRawList);

protected:
    CXString GetMembersDisplayString() const override;

private:
    friend class vlm::RecordReader;

    /// Reads the payload of a list whose nesting is known to be within the bounds, or to be checked here.
    void ReadPayload(const BYTE*& rpbyCursor, DWORD& rdwRemaining, bool fNestingChecked);

    std::unique_ptr<AttributeBytesRawList> m_apoRawList;
    BYTE m_byKindOfList = 0;
};
