/// @file
/// Information blocks: records in front, what they point to behind.
#include "platform/host/spooler/BlockBuilder.h"

namespace vlm::host {

namespace {
constexpr std::size_t DATA_ALIGNMENT = 8;

constexpr std::size_t Aligned(std::size_t cb) noexcept {
    return (cb + DATA_ALIGNMENT - 1) / DATA_ALIGNMENT * DATA_ALIGNMENT;
}
}  // namespace

void BlockCore::AddRecord(const void* pRecord) {
    const BYTE* const pby = static_cast<const BYTE*>(pRecord);
    m_vbyRecords.insert(m_vbyRecords.end(), pby, pby + m_cbRecord);
}

void BlockCore::Point(std::size_t ofsInRecord, const void* pData, std::size_t cbData) {
    const std::size_t ofsData = Aligned(m_vbyData.size());
    m_vPointers.push_back({m_vbyRecords.size() - m_cbRecord + ofsInRecord, ofsData});
    m_vbyData.resize(ofsData);
    const BYTE* const pby = static_cast<const BYTE*>(pData);
    m_vbyData.insert(m_vbyData.end(), pby, pby + cbData);
}

Status BlockCore::Finish(void* pInfo, DWORD cbInfo, Status eTooSmall, DWORD& rcbNeeded) const noexcept {
    const std::size_t ofsData = Aligned(m_vbyRecords.size()), cbNeeded = ofsData + m_vbyData.size();
    if (cbNeeded > 0x7FFFFFFF) return Status::NotEnoughMemory;
    rcbNeeded = static_cast<DWORD>(m_vbyRecords.empty() ? 0 : cbNeeded);
    if (m_vbyRecords.empty()) return Status::Success;
    if (pInfo == nullptr || cbInfo < rcbNeeded) return eTooSmall;
    BYTE* const pbyInfo = static_cast<BYTE*>(pInfo);
    std::memcpy(pbyInfo, m_vbyRecords.data(), m_vbyRecords.size());
    if (!m_vbyData.empty()) std::memcpy(pbyInfo + ofsData, m_vbyData.data(), m_vbyData.size());
    for (const Pointer& rPointer : m_vPointers) {
        const BYTE* const pbyTarget = pbyInfo + ofsData + rPointer.ofsData;
        std::memcpy(pbyInfo + rPointer.ofsField, &pbyTarget, sizeof(pbyTarget));
    }
    return Status::Success;
}

}  // namespace vlm::host
