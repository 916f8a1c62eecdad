/// @file
/// Keeps the open keys of a channel.
#include "portmonitor/KeyTokens.h"

#include "platform/CryptoPort.h"
#include "utilities/Bounds.h"

namespace vlm {

namespace {

constexpr ULONGLONG TOKEN_MARK = 1ULL << 62;
constexpr ULONGLONG RANDOM_BITS = (TOKEN_MARK - 1) & ~0xFFFFULL;

}  // namespace

Status KeyTokens::Reserve(const CXString& kcsSid, ULONGLONG& rullToken) {
    ULONGLONG ullRandom = 0;
    const Status eStatus = GetPlatform().pCrypto->Random(&ullRandom, sizeof(ullRandom));
    if (eStatus != Status::Success) return eStatus;
    const CriticalResourceLock oLock(m_oLock);
    std::size_t i = 0;
    while (i < m_vSlots.size() && m_vSlots[i].m_ullToken != 0)
        ++i;
    if (i == bounds::MAX_CHANNEL_KEYS) return Status::NoSystemResources;
    if (i == m_vSlots.size()) m_vSlots.emplace_back();
    Slot& rSlot = m_vSlots[i];
    rSlot.m_csSid = kcsSid;
    rSlot.m_ullToken = TOKEN_MARK | (ullRandom & RANDOM_BITS) | i;
    rullToken = rSlot.m_ullToken;
    return Status::Success;
}

const KeyTokens::Slot* KeyTokens::At(ULONGLONG ullToken) const noexcept {
    const std::size_t i = SlotOf(ullToken);
    return ullToken != 0 && i < m_vSlots.size() && m_vSlots[i].m_ullToken == ullToken ? &m_vSlots[i] : nullptr;
}

void KeyTokens::Commit(ULONGLONG ullToken, std::shared_ptr<const TokenKey> shpoKey) noexcept {
    const CriticalResourceLock oLock(m_oLock);
    if (At(ullToken)) m_vSlots[SlotOf(ullToken)].m_shpoKey = std::move(shpoKey);
}

std::shared_ptr<const TokenKey> KeyTokens::Find(ULONGLONG ullToken, const CXString& kcsSid) const noexcept {
    const CriticalResourceLock oLock(m_oLock);
    const Slot* const pSlot = At(ullToken);
    return pSlot && pSlot->m_csSid == kcsSid ? pSlot->m_shpoKey : nullptr;
}

std::shared_ptr<const TokenKey> KeyTokens::Release(ULONGLONG ullToken) noexcept {
    const CriticalResourceLock oLock(m_oLock);
    if (!At(ullToken)) return nullptr;
    Slot& rSlot = m_vSlots[SlotOf(ullToken)];
    rSlot.m_ullToken = 0;
    rSlot.m_csSid.Empty();
    return std::exchange(rSlot.m_shpoKey, nullptr);
}

}  // namespace vlm
