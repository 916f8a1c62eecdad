/// @file
/// The names of the message categories, in both directions.
#include "utilities/debuggingandexceptions/DebugMessageCategoryHelper.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <memory>
#include <span>

#include "utilities/debuggingandexceptions/NoThrow.h"
#include "utilities/debuggingandexceptions/RaiseMacros.h"
#include "utilities/utilitiesdll/CriticalResource.h"

namespace {

struct NamedCategory {
    DebugMessageCategories m_categories;
    XStringView m_name;
};

/// A map over the table of categories and "all", ordered by one of its fields.
template <auto Field>
class CategoryMap {
public:
    static constexpr std::size_t SIZE = 65;

    consteval CategoryMap() { std::ranges::sort(m_aoEntries, {}, Field); }
    constexpr auto begin() const noexcept { return m_aoEntries.begin(); }
    constexpr auto end() const noexcept { return m_aoEntries.end(); }
    template <class Key>
    constexpr auto find(const Key& rKey) const noexcept {
        const auto it = std::ranges::lower_bound(m_aoEntries, rKey, {}, Field);
        return it != end() && (*it).*Field == rKey ? it : end();
    }

private:
    std::array<NamedCategory, SIZE> m_aoEntries{{
#define VLM_CATEGORY(constant, mask, text) {mask, VTEXT(text)},
#include "utilities/debuggingandexceptions/DebugMessageCategories.inl"
#undef VLM_CATEGORY
        {DebugCategory::All, VTEXT("all")},
    }};
};

constexpr CategoryMap<&NamedCategory::m_categories> m_smapCategoryBitMaskToNamesPtr;
constexpr CategoryMap<&NamedCategory::m_name> m_smapCategoryNamesToBitMaskPtr;

constexpr std::size_t CATEGORIES = m_smapCategoryBitMaskToNamesPtr.SIZE;

/// The names as strings in the order of the masks, and an empty one behind them.
using CategoryStrings = std::array<CXString, CATEGORIES + 1>;
union CategoryStringsStorage {
    constexpr CategoryStringsStorage() noexcept : m_byNothing(0) {}
    ~CategoryStringsStorage() {}
    unsigned char m_byNothing;
    CategoryStrings m_acsNames;
};
constinit CategoryStringsStorage gStorage;

enum CategoryStringsState { STRINGS_NONE, STRINGS_EMPTY, STRINGS_READY };
constinit std::atomic<CategoryStringsState> geStrings{STRINGS_NONE};
constinit CriticalResource gscStrings;

/// Appends to a zero-terminated text and cuts off what does not fit.
class BufferEnd {
public:
    BufferEnd(XCHAR* pszBuffer, std::size_t cCapacity) noexcept
        : m_pchEnd(std::find(pszBuffer, pszBuffer + cCapacity, XCHAR())), m_pchLast(pszBuffer + cCapacity - 1) {}
    bool IsTerminated() const noexcept { return m_pchEnd <= m_pchLast; }
    void Append(XStringView text) noexcept {
        const auto cRoom = static_cast<std::size_t>(m_pchLast - m_pchEnd);
        m_pchEnd = std::copy_n(text.data(), std::min(text.size(), cRoom), m_pchEnd);
        *m_pchEnd = XCHAR();
    }

private:
    XCHAR* m_pchEnd;
    XCHAR* m_pchLast;
};

}  // namespace

/// Makes the strings, all or none.
void DebugMessageCategoryHelper::InitializeCategoryMappings() {
    if (geStrings.load(std::memory_order_relaxed) == STRINGS_NONE) {
        std::construct_at(&gStorage.m_acsNames);
        geStrings.store(STRINGS_EMPTY, std::memory_order_release);
    }
    std::array<CXString, CATEGORIES> acsNames;
    std::ranges::transform(m_smapCategoryBitMaskToNamesPtr, acsNames.begin(),
                           [](const NamedCategory& rEntry) { return CXString(rEntry.m_name); });
    // The empty string is left alone: somebody may be reading it already.
    std::ranges::swap_ranges(acsNames, std::span(gStorage.m_acsNames).first(CATEGORIES));
    geStrings.store(STRINGS_READY, std::memory_order_release);
}

/// The strings, with the empty one last; null when there is no memory for them, but the empty one is there then, too.
const CXString* DebugMessageCategoryHelper::EnsureMappingsAreInitialized() noexcept {
    if (geStrings.load(std::memory_order_acquire) != STRINGS_READY) {
        const CriticalResourceLock lock(gscStrings);
        if (geStrings.load(std::memory_order_relaxed) != STRINGS_READY) vlm::NoThrow(&InitializeCategoryMappings);
    }
    return geStrings.load(std::memory_order_acquire) == STRINGS_READY ? gStorage.m_acsNames.data() : nullptr;
}

const CXString& DebugMessageCategoryHelper::GetCategoryString(DebugMessageCategories categories) noexcept {
    const auto posMatchingEntry = m_smapCategoryBitMaskToNamesPtr.find(categories);
    VLM_ASSERT(posMatchingEntry != m_smapCategoryBitMaskToNamesPtr.end(),
               VTEXT("Invalid category mask: 0x%I64x. Does it represent more than one category?"), categories);
    const CXString* const pcsNames = EnsureMappingsAreInitialized();
    if (!pcsNames) return gStorage.m_acsNames.back();
    return pcsNames[posMatchingEntry - m_smapCategoryBitMaskToNamesPtr.begin()];
}

DebugMessageCategories DebugMessageCategoryHelper::GetCategoryFromString(const CXString& kcsName) noexcept {
    const auto pos = m_smapCategoryNamesToBitMaskPtr.find(kcsName.View());
    return pos != m_smapCategoryNamesToBitMaskPtr.end() ? pos->m_categories : DebugCategory::None;
}

void DebugMessageCategoryHelper::AddCategoryStringsToBuffer(const DebugMessageCategories& rCategories, XCHAR* pszBuffer,
                                                            std::size_t cCapacity) noexcept {
    if (!pszBuffer || cCapacity < 1 || cCapacity > 0x7FFFFFFF) return;
    BufferEnd end(pszBuffer, cCapacity);
    if (!end.IsTerminated()) return;
    end.Append(VTEXT("["));
    for (const NamedCategory& rEntry : m_smapCategoryBitMaskToNamesPtr) {
        if (rEntry.m_categories == DebugCategory::All || (rEntry.m_categories & rCategories) == 0) continue;
        end.Append(VTEXT(" "));
        end.Append(rEntry.m_name);
    }
    end.Append(VTEXT(" ]"));
}
