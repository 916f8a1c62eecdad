/// @file
/// What the fuzz targets share.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "utilities/debuggingandexceptions/VelomException.h"

namespace vlm::test {

using FuzzBytes = std::vector<std::uint8_t>;

/// A broken promise is a finding.
inline void Require(bool fHolds, const char* pszWhat = "") {
    if (fHolds) return;
    std::fprintf(stderr, "broken promise: %s\n", pszWhat);
    std::abort();
}

/// Runs what may be refused by one of the exceptions named; any other leaves, which is a finding.
/// @return whether it was not refused.
template <class... Refusals, class Operation>
bool IsTaken(const Operation& rOperation) {
    try {
        rOperation();
        return true;
    } catch (const VelomException& rException) {
        if (((dynamic_cast<const Refusals*>(&rException) == nullptr) && ...)) throw;
        return false;
    }
}

/// Takes numbers from an input; 0 when it is used up.
class Choices {
public:
    Choices(const std::uint8_t* pby, std::size_t cBytes) : m_pby(pby), m_cBytes(cBytes) {}
    bool IsEmpty() const { return m_cBytes == 0; }
    std::uint8_t Byte() {
        if (m_cBytes == 0) return 0;
        --m_cBytes;
        return *m_pby++;
    }
    std::uint16_t Word() {
        const std::uint16_t wLow = Byte();
        return static_cast<std::uint16_t>(wLow | Byte() << 8);
    }
    unsigned Next(unsigned cChoices) { return Byte() % cChoices; }

private:
    const std::uint8_t* m_pby;
    std::size_t m_cBytes;
};

/// Hands a mutated input back to the fuzzer: as much of it as fits.
inline std::size_t GiveBack(const FuzzBytes& rBytes, std::uint8_t* pby, std::size_t cMost) {
    const std::size_t cBytes = std::min(rBytes.size(), cMost);
    std::copy_n(rBytes.begin(), cBytes, pby);
    return cBytes;
}

}  // namespace vlm::test
