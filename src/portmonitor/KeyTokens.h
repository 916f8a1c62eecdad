/// @file
/// The numbers that stand for open keys outside the monitor.
#pragma once

#include <memory>
#include <vector>

#include "platform/RegistryHandleImpl.h"
#include "portmonitor/RequestTarget.h"
#include "utilities/utilitiesdll/CriticalResource.h"

namespace vlm {

/// A key that a caller has open.
struct TokenKey {
    RegistryHandle m_oHandle;
    DWORD m_dwRights = 0;  ///< what the caller asked for and got; generic rights spelt out
    ResolvedKey m_oKey;
};

/// The open keys of one channel.  A caller never sees a handle of the system, and no number that he makes up is taken
/// for one of ours:
///
///     bit 63    0
///     bit 62    1, so that no handle of the system looks like it
///     bits 16-61  random, anew for each key
///     bits 0-15   slot
///
/// A token counts only in the whole, on its own channel, and for the user who got it.
/// **Ownership**: a key lives until it is closed and no call uses it any more.  **Threads**: any.
/// **Failure**: by status; Reserve throws when memory runs out.
class KeyTokens {
public:
    /// Takes a slot for `kcsSid` before the key is opened.
    /// @return NoSystemResources when the channel has as many keys as it may, or the random source's failure.
    Status Reserve(const CXString& kcsSid, ULONGLONG& rullToken);
    /// Puts a key into a reserved slot.
    void Commit(ULONGLONG ullToken, std::shared_ptr<const TokenKey> shpoKey) noexcept;
    /// @return null for anything but a live token of this user.
    std::shared_ptr<const TokenKey> Find(ULONGLONG ullToken, const CXString& kcsSid) const noexcept;
    /// Gives a slot back, reserved or in use.  The key itself is handed out, so that it is closed without a lock.
    std::shared_ptr<const TokenKey> Release(ULONGLONG ullToken) noexcept;

private:
    struct Slot {
        ULONGLONG m_ullToken = 0;  ///< 0: free
        CXString m_csSid;
        std::shared_ptr<const TokenKey> m_shpoKey;
    };

    static std::size_t SlotOf(ULONGLONG ullToken) noexcept { return static_cast<std::size_t>(ullToken & 0xFFFF); }
    const Slot* At(ULONGLONG ullToken) const noexcept;

    mutable CriticalResource m_oLock;
    std::vector<Slot> m_vSlots;
};

/// A reserved token, given back unless it was committed.
class TokenReservation {
public:
    explicit TokenReservation(KeyTokens& rTokens) noexcept : m_rTokens(rTokens) {}
    ~TokenReservation() {
        if (m_ullToken != 0) m_rTokens.Release(m_ullToken);
    }
    TokenReservation(const TokenReservation&) = delete;
    TokenReservation& operator=(const TokenReservation&) = delete;

    Status Reserve(const CXString& kcsSid) { return m_rTokens.Reserve(kcsSid, m_ullToken); }
    /// @return the token, from now on its user's.
    ULONGLONG Commit(std::shared_ptr<const TokenKey> shpoKey) noexcept {
        m_rTokens.Commit(m_ullToken, std::move(shpoKey));
        return std::exchange(m_ullToken, 0);
    }

private:
    KeyTokens& m_rTokens;
    ULONGLONG m_ullToken = 0;
};

}  // namespace vlm
