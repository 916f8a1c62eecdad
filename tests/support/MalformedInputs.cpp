/// @file
/// The generator of malformed inputs.
#include "support/MalformedInputs.h"

#include <set>
#include <stdexcept>

namespace vlm::test {

namespace {

using Bytes = std::vector<BYTE>;

class Generator {
public:
    Generator(const Bytes& rvbyGood, const MalformedInputTaker& rTake) : m_rvbyGood(rvbyGood), m_rTake(rTake) {}

    void Prefixes() {
        for (std::size_t c = 0; c < m_rvbyGood.size(); ++c) {
            Take(Bytes(m_rvbyGood.begin(), At(m_rvbyGood, c)), "cut to " + std::to_string(c) + " bytes");
        }
    }

    void FlippedBits() {
        for (std::size_t i = 0; i < m_rvbyGood.size() * 8; ++i) {
            Bytes vby = m_rvbyGood;
            vby[i / 8] = static_cast<BYTE>(vby[i / 8] ^ (1u << (i % 8)));
            Take(vby, "byte " + std::to_string(i / 8) + ": bit " + std::to_string(i % 8) + " flipped");
        }
    }

    void Number(const InputField& rField) {
        const ULONGLONG ullValue = Get(rField);
        const ULONGLONG ullRest = m_rvbyGood.size() - rField.cOffset - rField.cWidth;
        std::set<ULONGLONG> values{0,           1,          ullValue - 1, ullValue + 1, ullRest - 1, ullRest,
                                   ullRest + 1, 0x7FFF,     0x8000,       0xFFFF,       0x7FFFFFFF,  0x80000000,
                                   0xFFFFFFFF,  1ull << 63, ~0ull >> 1,   ~0ull};
        InputField oTurned = rField;
        oTurned.fBigEndian = !rField.fBigEndian;
        values.insert(Get(oTurned));
        for (const ULONGLONG ull : values) {
            Bytes vby = m_rvbyGood;
            Put(vby, rField, ull);
            Take(vby, std::string(rField.pszName) + " set to " + std::to_string(ull));
        }
    }

    void Tag(const InputField& rField) {
        for (unsigned i = 0; i < 256; ++i) {
            Bytes vby = m_rvbyGood;
            vby[rField.cOffset] = static_cast<BYTE>(i);
            Take(vby, std::string(rField.pszName) + " set to " + std::to_string(i));
        }
    }

    void Record(const InputField& rField) {
        const Bytes vbyRecord(At(m_rvbyGood, rField.cOffset), At(m_rvbyGood, rField.cOffset + rField.cWidth));
        for (const std::size_t cTimes : {0u, 2u, 1000u}) {
            Bytes vby(m_rvbyGood.begin(), At(m_rvbyGood, rField.cOffset));
            for (std::size_t i = 0; i < cTimes; ++i)
                vby.insert(vby.end(), vbyRecord.begin(), vbyRecord.end());
            vby.insert(vby.end(), At(m_rvbyGood, rField.cOffset + rField.cWidth), m_rvbyGood.end());
            Take(vby, std::string(rField.pszName) + " " + std::to_string(cTimes) + " times");
        }
    }

    void Swapped(const InputField& rFirst, const InputField& rSecond) {
        if (rFirst.cOffset + rFirst.cWidth > rSecond.cOffset) return;
        Bytes vby(m_rvbyGood.begin(), At(m_rvbyGood, rFirst.cOffset));
        const auto append = [&](std::size_t cFrom, std::size_t cTo) {
            vby.insert(vby.end(), At(m_rvbyGood, cFrom), At(m_rvbyGood, cTo));
        };
        append(rSecond.cOffset, rSecond.cOffset + rSecond.cWidth);
        append(rFirst.cOffset + rFirst.cWidth, rSecond.cOffset);
        append(rFirst.cOffset, rFirst.cOffset + rFirst.cWidth);
        append(rSecond.cOffset + rSecond.cWidth, m_rvbyGood.size());
        Take(vby, std::string(rFirst.pszName) + " and " + rSecond.pszName + " swapped");
    }

    void TrailingBytes() {
        for (const std::size_t c : {1u, 12u, 13u, 4096u}) {
            Bytes vby = m_rvbyGood;
            for (std::size_t i = 0; i < c; ++i)
                vby.push_back(static_cast<BYTE>(i * 37 + 1));
            Take(vby, std::to_string(c) + " bytes more");
        }
    }

    std::size_t Count() const { return m_cInputs; }

private:
    static Bytes::const_iterator At(const Bytes& rvby, std::size_t i) {
        return rvby.begin() + static_cast<std::ptrdiff_t>(i);
    }

    /// The place of a field's i-th byte, counted from the lowest.
    static std::size_t Place(const InputField& rField, std::size_t i) {
        return rField.cOffset + (rField.fBigEndian ? rField.cWidth - 1 - i : i);
    }
    ULONGLONG Get(const InputField& rField) const {
        ULONGLONG ull = 0;
        for (std::size_t i = rField.cWidth; i-- > 0;)
            ull = (ull << 8) | m_rvbyGood[Place(rField, i)];
        return ull;
    }
    static void Put(Bytes& rvby, const InputField& rField, ULONGLONG ull) {
        for (std::size_t i = 0; i < rField.cWidth; ++i)
            rvby[Place(rField, i)] = static_cast<BYTE>(ull >> (8 * i));
    }

    /// Some changes give the good input back; they are none.
    void Take(const Bytes& rvby, const std::string& rWhat) {
        if (rvby == m_rvbyGood) return;
        ++m_cInputs;
        m_rTake(rvby, rWhat);
    }

    const Bytes& m_rvbyGood;
    const MalformedInputTaker& m_rTake;
    std::size_t m_cInputs = 0;
};

}  // namespace

std::size_t ForEachMalformedInput(const Bytes& rvbyGood, const std::vector<InputField>& rvFields,
                                  const MalformedInputTaker& rTake) {
    Generator oGenerator(rvbyGood, rTake);
    oGenerator.Prefixes();
    oGenerator.FlippedBits();
    for (std::size_t i = 0; i < rvFields.size(); ++i) {
        const InputField& rField = rvFields[i];
        const bool fNumber = rField.eMeaning == InputField::Meaning::Number;
        if (rField.cOffset + rField.cWidth > rvbyGood.size() || rField.cWidth == 0 || (fNumber && rField.cWidth > 8)) {
            throw std::invalid_argument(std::string("not a field of the input: ") + rField.pszName);
        }
        if (fNumber) oGenerator.Number(rField);
        if (rField.eMeaning == InputField::Meaning::Tag) oGenerator.Tag(rField);
        if (rField.eMeaning == InputField::Meaning::Record) oGenerator.Record(rField);
        if (i > 0) oGenerator.Swapped(rvFields[i - 1], rField);
    }
    oGenerator.TrailingBytes();
    return oGenerator.Count();
}

}  // namespace vlm::test
