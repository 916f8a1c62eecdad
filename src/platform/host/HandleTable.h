/// @file
/// Handles that know when they are used after their close.
#pragma once

#include <cstdint>
#include <mutex>
#include <optional>
#include <vector>

namespace vlm::host {

/// Maps handles to small values.  A handle is the entry's place and a count of its uses, so that a closed one is
/// refused even when its place is taken again. Threads: any.  Failure: Add throws std::bad_alloc; the table is
/// unchanged then.
template <typename T>
class HandleTable {
public:
    std::uintptr_t Add(const T& rValue) {
        const std::lock_guard oLock(m_oMutex);
        std::size_t i = 0;
        while (i < m_vEntries.size() && m_vEntries[i].oValue)
            ++i;
        if (i == m_vEntries.size()) m_vEntries.push_back({});
        m_vEntries[i].oValue = rValue;
        m_vEntries[i].uiUse = (m_vEntries[i].uiUse + 1) & USE_MASK;
        return Handle(i, m_vEntries[i].uiUse);
    }

    std::optional<T> Find(std::uintptr_t uiHandle) const noexcept {
        const std::lock_guard oLock(m_oMutex);
        const std::size_t i = Place(uiHandle);
        return i < m_vEntries.size() ? m_vEntries[i].oValue : std::nullopt;
    }

    std::optional<T> Remove(std::uintptr_t uiHandle) noexcept {
        const std::lock_guard oLock(m_oMutex);
        const std::size_t i = Place(uiHandle);
        if (i >= m_vEntries.size()) return std::nullopt;
        std::optional<T> oValue = m_vEntries[i].oValue;
        m_vEntries[i].oValue.reset();
        return oValue;
    }

private:
    struct Entry {
        std::optional<T> oValue;
        std::uintptr_t uiUse = 0;
    };
    // Multiples of 4, as the system's own handles; the use count stands above the place.
    static constexpr unsigned PLACE_SHIFT = 2, USE_SHIFT = 26;
    static constexpr std::uintptr_t USE_MASK = 0xFFFFFFF;

    static std::uintptr_t Handle(std::size_t i, std::uintptr_t uiUse) noexcept {
        return (uiUse << USE_SHIFT) | ((i + 1) << PLACE_SHIFT);
    }
    /// The place of a handle in force, or one beyond the end.
    std::size_t Place(std::uintptr_t uiHandle) const noexcept {
        const std::size_t i = ((uiHandle & ((std::uintptr_t{1} << USE_SHIFT) - 1)) >> PLACE_SHIFT) - 1;
        if (i < m_vEntries.size() && m_vEntries[i].oValue && Handle(i, m_vEntries[i].uiUse) == uiHandle) return i;
        return m_vEntries.size();
    }

    mutable std::mutex m_oMutex;
    std::vector<Entry> m_vEntries;
};

}  // namespace vlm::host
