/// @file
/// The tables of entities, in the order of their names.
#include "environment/detail/product/AmpCommands.h"

#include <algorithm>
#include <array>

namespace vlm {

namespace {

struct Character {
    std::string_view name;
    int iCode;
};

template <class Row, std::size_t N>
consteval std::array<Row, N> InOrder(std::array<Row, N> aoRows) {
    std::sort(aoRows.begin(), aoRows.end(), [](const Row& r1, const Row& r2) { return r1.name < r2.name; });
    return aoRows;
}

template <class Row, std::size_t N>
consteval bool AreDistinct(const std::array<Row, N>& raoRows) {
    return std::adjacent_find(raoRows.begin(), raoRows.end(),
                              [](const Row& r1, const Row& r2) { return r1.name == r2.name; }) == raoRows.end();
}

template <class Row, std::size_t N>
const Row* Find(const std::array<Row, N>& raoRows, std::string_view name) noexcept {
    const auto it = std::lower_bound(raoRows.begin(), raoRows.end(), name,
                                     [](const Row& r, std::string_view wanted) { return r.name < wanted; });
    return it != raoRows.end() && it->name == name ? &*it : nullptr;
}

constexpr auto COMMANDS = InOrder(std::to_array<AmpCommand>({
#define VLM_AMP(kind, name, code, pcl5) {name, AmpKind::kind, code, nullptr, pcl5},
#define VLM_AMP_NAME(name, text, pcl5) {name, AmpKind::Name, 0, text, pcl5},
#include "environment/PdlEntities.inl"
#undef VLM_AMP_NAME
#undef VLM_AMP
}));
static_assert(AreDistinct(COMMANDS));

constexpr auto CHARACTERS = InOrder(std::to_array<Character>({
#define VLM_CHARACTER(name, code) {name, code},
#include "environment/PdlCharacterEntities.inl"
#undef VLM_CHARACTER
}));
static_assert(AreDistinct(CHARACTERS));

}  // namespace

const AmpCommand* FindAmpCommand(std::string_view name) noexcept {
    return Find(COMMANDS, name);
}

int FindCharacterEntity(std::string_view name) noexcept {
    const Character* const pCharacter = Find(CHARACTERS, name);
    return pCharacter ? pCharacter->iCode : -1;
}

}  // namespace vlm
