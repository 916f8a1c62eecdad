/// @file
/// Lays out information blocks in a caller's buffer.
#pragma once

#include <cstddef>
#include <cstring>
#include <type_traits>
#include <vector>

#include "platform/SpoolerBlocks.h"
#include "platform/host/spooler/SpoolerGround.h"

namespace vlm::host {

/// The untyped core: records, and for each pointer of theirs what it is to lead to.
class BlockCore {
public:
    explicit BlockCore(std::size_t cbRecord) noexcept : m_cbRecord(cbRecord) {}
    void AddRecord(const void* pRecord);
    /// Has the pointer at this offset of the last record lead to a copy of the data.
    void Point(std::size_t ofsInRecord, const void* pData, std::size_t cbData);
    /// Writes the block, when it fits; the size needed is told in any case.
    /// @param eTooSmall what to answer when it does not fit.
    Status Finish(void* pInfo, DWORD cbInfo, Status eTooSmall, DWORD& rcbNeeded) const noexcept;
    DWORD Count() const noexcept { return static_cast<DWORD>(m_vbyRecords.size() / m_cbRecord); }

private:
    struct Pointer {
        std::size_t ofsField;  ///< of the pointer, in the records
        std::size_t ofsData;   ///< of what it leads to, in the data
    };
    std::size_t m_cbRecord;
    std::vector<BYTE> m_vbyRecords;
    std::vector<BYTE> m_vbyData;
    std::vector<Pointer> m_vPointers;
};

/// A block of records of one level.  Failure: throws std::bad_alloc.
template <typename Record>
class BlockBuilder {
public:
    static_assert(std::is_trivially_copyable_v<Record>);

    /// Begins a record; its pointers are null until they are set.
    void Add(const Record& rRecord) { m_oCore.AddRecord(&rRecord); }
    void Text(XCHAR* Record::*pMember, XStringView svText) {
        XText text(svText);
        m_oCore.Point(OffsetOf(pMember), text.c_str(), (text.size() + 1) * sizeof(XCHAR));
    }
    /// A list of texts with its ends; an empty one stays null.
    void List(XCHAR* Record::*pMember, const XText& rList) {
        if (!rList.empty()) m_oCore.Point(OffsetOf(pMember), rList.data(), rList.size() * sizeof(XCHAR));
    }
    /// Bytes; none stay null.
    template <typename Target>
    void Bytes(Target* Record::*pMember, const std::vector<BYTE>& rvbyData) {
        if (!rvbyData.empty()) m_oCore.Point(OffsetOf(pMember), rvbyData.data(), rvbyData.size());
    }
    Status Finish(void* pInfo, DWORD cbInfo, DWORD& rcbNeeded,
                  Status eTooSmall = Status::InsufficientBuffer) const noexcept {
        return m_oCore.Finish(pInfo, cbInfo, eTooSmall, rcbNeeded);
    }
    /// The same for a list; the count is 0 when it does not fit.
    Status FinishList(void* pInfo, DWORD cbInfo, DWORD& rcbNeeded, DWORD& rcReturned,
                      Status eTooSmall = Status::InsufficientBuffer) const noexcept {
        const Status eStatus = Finish(pInfo, cbInfo, rcbNeeded, eTooSmall);
        rcReturned = eStatus == Status::Success ? m_oCore.Count() : 0;
        return eStatus;
    }

private:
    template <typename Target>
    static std::size_t OffsetOf(Target* Record::*pMember) noexcept {
        const Record oRecord{};
        return static_cast<std::size_t>(reinterpret_cast<const BYTE*>(&(oRecord.*pMember)) -
                                        reinterpret_cast<const BYTE*>(&oRecord));
    }
    BlockCore m_oCore{sizeof(Record)};
};

}  // namespace vlm::host
