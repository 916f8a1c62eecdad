/// @file
/// Mutates compressed states: keeps a footer at the end, varies it, and varies the image before it.
#pragma once

#include <random>

#include "Fuzz.h"
#include "support/CabinetImages.h"

namespace vlm::test {

inline std::size_t MutateState(std::uint8_t* pby, std::size_t cBytes, std::size_t cMost, unsigned uSeed) {
    std::mt19937 random(uSeed);
    const std::size_t cImage = cBytes - std::min<std::size_t>(cBytes, 13);
    ImageBytes state(pby, pby + cImage), footer(pby + cImage, pby + cBytes);
    if (random() % 4 != 0) MutateImage(state, random);
    if (!footer.empty() && random() % 4 == 0) {
        BYTE& rby = footer[random() % footer.size()];
        rby = static_cast<BYTE>(random() % 2 ? rby ^ (1U << (random() % 8)) : random());
    }
    state.insert(state.end(), footer.begin(), footer.end());
    return GiveBack(state, pby, cMost);
}

}  // namespace vlm::test
