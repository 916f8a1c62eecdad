/// @file
/// Mutates runs of attribute records as records: drops, doubles, swaps, replaces and nests them.
#pragma once

#include <random>

#include "Fuzz.h"
#include "utilities/attributebytes/AttributeBytes.h"
#include "utilities/debuggingandexceptions/VelomExceptions.h"

namespace vlm::test {

/// Reads a state, or records; refused ones end in one of these.
template <class Operation>
bool IsRead(const Operation& rOperation) {
    return IsTaken<ExceptionNotEnoughBytesForDesiredDataType, ExceptionUnhandledSyntax,
                   ExceptionMissingOrBadAttributeBytesFormat, ExceptionDuplicateAttributeId>(rOperation);
}

class RecordMutator {
public:
    explicit RecordMutator(unsigned uSeed) : m_oRandom(uSeed) {}

    unsigned Below(std::size_t n) { return static_cast<unsigned>(m_oRandom() % n); }

    /// One to three changes to a run of records; what is behind the last good record stays as it is.
    void MutateRecords(FuzzBytes& rBytes) {
        for (unsigned u = 0; u <= Below(3); ++u) {
            if (Below(3) == 0) {
                MutateBytes(rBytes);
            } else {
                MutateOneRecord(rBytes);
            }
        }
    }

    /// A change that knows nothing of records.
    void MutateBytes(FuzzBytes& rBytes) {
        if (rBytes.empty() || Below(8) == 0) {
            rBytes.insert(rBytes.begin() + Below(rBytes.size() + 1), static_cast<std::uint8_t>(m_oRandom()));
            return;
        }
        const std::size_t at = Below(rBytes.size());
        switch (Below(4)) {
            case 0:
                rBytes[at] ^= static_cast<std::uint8_t>(1U << Below(8));
                break;
            case 1:
                rBytes[at] = static_cast<std::uint8_t>(m_oRandom());
                break;
            case 2:
                rBytes.erase(rBytes.begin() + static_cast<std::ptrdiff_t>(at));
                break;
            default: {  // a number that sizes get wrong
                static constexpr std::uint32_t NUMBERS[] = {0,      1,      3,          4,          0x7FFF,
                                                            0x8000, 0xFFFF, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF};
                const std::uint32_t dw = NUMBERS[Below(std::size(NUMBERS))];
                for (std::size_t i = 0; i < 4 && at + i < rBytes.size(); ++i) {
                    rBytes[at + i] = static_cast<std::uint8_t>(dw >> (8 * i));
                }
            }
        }
    }

    /// A record of any kind; `uDepth` bounds the lists in it.
    FuzzBytes MakeRecord(unsigned uDepth = 3) {
        FuzzBytes bytes;
        AppendIdentifier(bytes);
        static constexpr std::uint8_t FIXED[] = {0, 0, 0, 4, 0, 1, 8, 8, 4, 10, 0, 0, 8};
        const auto byTag = static_cast<std::uint8_t>(2 + Below(11));
        bytes.push_back(byTag);
        bytes.push_back(Below(4) == 0);
        if (byTag == 2) AppendIdentifier(bytes);
        if (byTag == 4) AppendText(bytes);
        for (int i = 0; i < FIXED[byTag]; ++i)
            bytes.push_back(static_cast<std::uint8_t>(Below(3)));
        FuzzBytes payload;
        if (byTag == 10) payload.assign(Below(9), 0xAB);
        if (byTag == 11) {
            bytes.push_back(static_cast<std::uint8_t>(Below(4)));
            payload = {'A', 'B', 'R', 'L'};
            for (unsigned u = uDepth == 0 ? 0 : Below(3); u > 0; --u)
                Append(payload, MakeRecord(uDepth - 1));
        }
        if (byTag == 10 || byTag == 11) {
            for (int i = 0; i < 4; ++i)
                bytes.push_back(static_cast<std::uint8_t>(payload.size() >> (8 * i)));
            Append(bytes, payload);
        }
        return bytes;
    }

private:
    static void Append(FuzzBytes& rTo, const FuzzBytes& rMore) { rTo.insert(rTo.end(), rMore.begin(), rMore.end()); }

    void AppendText(FuzzBytes& rBytes) {
        const unsigned cUnits = Below(4);
        rBytes.insert(rBytes.end(), {static_cast<std::uint8_t>(cUnits), 0});
        for (unsigned u = 0; u < cUnits; ++u) {
            rBytes.insert(rBytes.end(), {static_cast<std::uint8_t>('A' + Below(3)), 0});
        }
    }
    void AppendIdentifier(FuzzBytes& rBytes) {
        const auto byTag = static_cast<std::uint8_t>(2 + Below(8));
        rBytes.push_back(byTag);
        if (byTag == 7 || byTag == 8) rBytes.insert(rBytes.end(), {static_cast<std::uint8_t>(Below(3)), 0});
        if (byTag == 3 || byTag == 5 || byTag == 8) {
            AppendText(rBytes);
        } else {
            rBytes.insert(rBytes.end(), {static_cast<std::uint8_t>(Below(8)), 0, 0, 0});
        }
    }

    void MutateOneRecord(FuzzBytes& rBytes) {
        // Where the good records begin and end.
        std::vector<std::size_t> bounds{0};
        const BYTE* pbyCursor = rBytes.data();
        auto dwRemaining = static_cast<DWORD>(rBytes.size());
        try {
            while (dwRemaining != 0) {
                AttributeBytes::WalkBufferToCreateAttributeBytes(pbyCursor, dwRemaining);
                bounds.push_back(rBytes.size() - dwRemaining);
            }
        } catch (const VelomException&) {  // the good ones end here
        }
        const auto at = [&rBytes](std::size_t i) { return rBytes.begin() + static_cast<std::ptrdiff_t>(i); };
        const std::size_t cRecords = bounds.size() - 1;
        const std::size_t i = cRecords == 0 ? 0 : Below(cRecords);
        const FuzzBytes made = MakeRecord();
        switch (cRecords == 0 ? 0 : Below(5)) {
            case 1:  // drop
                rBytes.erase(at(bounds[i]), at(bounds[i + 1]));
                break;
            case 2: {  // double
                const FuzzBytes record(at(bounds[i]), at(bounds[i + 1]));
                rBytes.insert(at(bounds[Below(bounds.size())]), record.begin(), record.end());
                break;
            }
            case 3:  // swap with the next
                if (i + 1 < cRecords) std::rotate(at(bounds[i]), at(bounds[i + 1]), at(bounds[i + 2]));
                break;
            case 4:  // replace
                rBytes.erase(at(bounds[i]), at(bounds[i + 1]));
                rBytes.insert(at(bounds[i]), made.begin(), made.end());
                break;
            default:  // insert
                rBytes.insert(at(bounds[i]), made.begin(), made.end());
        }
    }

    std::mt19937 m_oRandom;
};

/// Keeps the head of a state, most of the time, and changes the records behind it.
inline std::size_t MutateBehindHead(std::size_t cHead, std::uint8_t* pby, std::size_t cBytes, std::size_t cMost,
                                    unsigned uSeed) {
    RecordMutator oMutator(uSeed);
    FuzzBytes state(pby, pby + cBytes);
    if (cBytes < cHead || oMutator.Below(16) == 0) {
        oMutator.MutateBytes(state);
        return GiveBack(state, pby, cMost);
    }
    FuzzBytes records(state.begin() + static_cast<std::ptrdiff_t>(cHead), state.end());
    oMutator.MutateRecords(records);
    state.resize(cHead);
    state.insert(state.end(), records.begin(), records.end());
    return GiveBack(state, pby, cMost);
}

}  // namespace vlm::test
