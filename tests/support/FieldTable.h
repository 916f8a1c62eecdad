/// @file
/// Malformed inputs from a description of well-formed ones: a format's sample with the meaning of each field.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "platform/WinTypes.h"

namespace vlm::test {

/// What a field of a sample means; it decides what is done to it.
enum class FieldKind {
    Data,  ///< plain bytes
    Tag,   ///< one byte that chooses what follows: takes all 256 values
    Size,  ///< a count, length or offset: takes the values that readers get wrong
};

/// A sample of a format, built field by field.
///
///     FieldTable oTable("integer record");
///     oTable.Tag(2).Number(4, 258).Tag(3).Data({0}).Number(4, 7).EndUnit();
class FieldTable {
public:
    struct Field {
        std::size_t offset;
        std::size_t width;
        FieldKind eKind;
        bool bBigEndian;
    };

    explicit FieldTable(std::string name) : m_name(std::move(name)) {}

    FieldTable& Data(const std::vector<BYTE>& rvbyData) { return Append(rvbyData, FieldKind::Data, false); }
    FieldTable& Tag(BYTE byTag) { return Append({byTag}, FieldKind::Tag, false); }
    /// A number that is no size, little-endian.
    FieldTable& Number(std::size_t width, std::uint64_t value) {
        return Append(Encode(width, value, false), FieldKind::Data, false);
    }
    FieldTable& Size(std::size_t width, std::uint64_t value, bool fBigEndian = false) {
        return Append(Encode(width, value, fBigEndian), FieldKind::Size, fBigEndian);
    }
    /// Ends a unit (a record, a block) that can stand alone, be dropped or repeated; what is before the first unit ends
    /// with EndHeader.
    FieldTable& EndHeader() {
        m_unitBegins.assign(1, m_bytes.size());
        return *this;
    }
    FieldTable& EndUnit() {
        if (m_unitBegins.empty()) m_unitBegins.push_back(0);
        m_unitBegins.push_back(m_bytes.size());
        return *this;
    }

    const std::string& Name() const { return m_name; }
    const std::vector<BYTE>& Bytes() const { return m_bytes; }

    /// Calls `use(bytes, description)` with every malformed (and now and then still well-formed) variant: each prefix;
    /// each bit flipped; each tag with all values; each size with the values around its bounds; neighbouring fields
    /// swapped; units doubled, dropped, repeated 1,000 times; garbage behind the end.
    template <class Use>
    void ForEachVariant(Use use) const {
        for (std::size_t i = 0; i < m_bytes.size(); ++i) {
            use(Slice(0, i), "prefix of " + std::to_string(i));
            for (int iBit = 0; iBit < 8; ++iBit) {
                use(With(i, {static_cast<BYTE>(m_bytes[i] ^ (1 << iBit))}), "bit " + std::to_string(iBit) + At(i));
            }
        }
        for (std::size_t f = 0; f < m_fields.size(); ++f) {
            const Field& rField = m_fields[f];
            if (rField.eKind == FieldKind::Tag) {
                for (int iTag = 0; iTag < 256; ++iTag) {
                    use(With(rField.offset, {static_cast<BYTE>(iTag)}),
                        "tag " + std::to_string(iTag) + At(rField.offset));
                }
            }
            if (rField.eKind == FieldKind::Size) {
                for (const std::uint64_t value : WrongSizes(rField)) {
                    use(With(rField.offset, Encode(rField.width, value, rField.bBigEndian)),
                        "size " + std::to_string(value) + At(rField.offset));
                }
            }
            if (f > 0) {
                std::vector<BYTE> swapped = Slice(0, m_fields[f - 1].offset);
                Add(swapped, Slice(rField.offset, rField.offset + rField.width));
                Add(swapped, Slice(m_fields[f - 1].offset, rField.offset));
                Add(swapped, Slice(rField.offset + rField.width, m_bytes.size()));
                use(swapped, "swapped" + At(rField.offset));
            }
        }
        for (std::size_t u = 0; u + 1 < m_unitBegins.size(); ++u) {
            const std::vector<BYTE> unit = Slice(m_unitBegins[u], m_unitBegins[u + 1]);
            for (const int iTimes : {0, 2, 1000}) {
                std::vector<BYTE> repeated = Slice(0, m_unitBegins[u]);
                for (int i = 0; i < iTimes; ++i)
                    Add(repeated, unit);
                Add(repeated, Slice(m_unitBegins[u + 1], m_bytes.size()));
                use(repeated, "unit " + std::to_string(u) + " times " + std::to_string(iTimes));
            }
        }
        for (const std::size_t cGarbage : {1, 12, 13, 4096}) {
            std::vector<BYTE> longer = m_bytes;
            for (std::size_t i = 0; i < cGarbage; ++i)
                longer.push_back(static_cast<BYTE>(i * 37 + 11));
            use(longer, "garbage of " + std::to_string(cGarbage));
        }
    }

private:
    static std::vector<BYTE> Encode(std::size_t width, std::uint64_t value, bool fBigEndian) {
        std::vector<BYTE> bytes;
        for (std::size_t i = 0; i < width; ++i)
            bytes.push_back(static_cast<BYTE>(value >> (8 * i)));
        if (fBigEndian) std::reverse(bytes.begin(), bytes.end());
        return bytes;
    }
    static void Add(std::vector<BYTE>& rvbyTo, const std::vector<BYTE>& rvbyMore) {
        rvbyTo.insert(rvbyTo.end(), rvbyMore.begin(), rvbyMore.end());
    }
    static std::string At(std::size_t offset) { return " at " + std::to_string(offset); }

    FieldTable& Append(const std::vector<BYTE>& rvbyData, FieldKind eKind, bool fBigEndian) {
        m_fields.push_back({m_bytes.size(), rvbyData.size(), eKind, fBigEndian});
        Add(m_bytes, rvbyData);
        return *this;
    }
    std::vector<BYTE> Slice(std::size_t begin, std::size_t end) const {
        return {m_bytes.begin() + static_cast<std::ptrdiff_t>(begin),
                m_bytes.begin() + static_cast<std::ptrdiff_t>(end)};
    }
    std::vector<BYTE> With(std::size_t offset, const std::vector<BYTE>& rvbyNew) const {
        std::vector<BYTE> bytes = m_bytes;
        std::copy(rvbyNew.begin(), rvbyNew.end(), bytes.begin() + static_cast<std::ptrdiff_t>(offset));
        return bytes;
    }
    std::vector<std::uint64_t> WrongSizes(const Field& rField) const {
        std::uint64_t value = 0;
        std::uint64_t reversed = 0;
        for (std::size_t i = 0; i < rField.width; ++i) {
            value = value << 8 | m_bytes[rField.offset + (rField.bBigEndian ? i : rField.width - 1 - i)];
            reversed = reversed << 8 | m_bytes[rField.offset + (rField.bBigEndian ? rField.width - 1 - i : i)];
        }
        const std::uint64_t remaining = m_bytes.size() - rField.offset - rField.width;
        return {0,      1,      value - 1, value + 1,  remaining - 1, remaining,  remaining + 1,
                0x7FFF, 0x8000, 0xFFFF,    0x7FFFFFFF, 0x80000000,    0xFFFFFFFF, reversed};
    }

    std::string m_name;
    std::vector<BYTE> m_bytes;
    std::vector<Field> m_fields;
    std::vector<std::size_t> m_unitBegins;
};

}  // namespace vlm::test
