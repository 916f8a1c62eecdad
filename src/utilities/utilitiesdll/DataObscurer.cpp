/// @file
/// Keeps texts from being read at a glance.
#include "utilities/utilitiesdll/DataObscurer.h"

#include <array>

namespace {

struct Group {
    unsigned uFirst;
    unsigned uLast;
};

constexpr Group PRINTABLE_ASCII = {0x20, 0x7E};
constexpr Group UPPER_HALF = {0x80, 0xFF};
constexpr std::array<Group, 5> WIDE_GROUPS = {PRINTABLE_ASCII, Group{0xA0, 0xD7FF}, Group{0xD800, 0xDBFF},
                                              Group{0xDC00, 0xDFFF}, Group{0xE000, 0xFFFD}};

/// A number that neighbouring positions do not share; the same on every system.
constexpr unsigned Scatter(int iPosition) noexcept {
    unsigned u = static_cast<unsigned>(iPosition) * 0x9E3779B1u + 0x7F4A7C15u;
    u ^= u >> 15;
    u *= 0x2C1B3C6Du;
    return u ^ u >> 12;
}

/// Reflects a member of the group at a point that depends on the position: twice is nothing.
constexpr unsigned Reflect(unsigned u, const Group& rGroup, int iPosition) noexcept {
    if (u < rGroup.uFirst || u > rGroup.uLast) return u;
    const unsigned cMembers = rGroup.uLast - rGroup.uFirst + 1;
    return rGroup.uFirst + (Scatter(iPosition) % cMembers + cMembers - (u - rGroup.uFirst)) % cMembers;
}

}  // namespace

char DataObscurer::ObscureUnobscureChar(char ch, int iPosition) noexcept {
    const unsigned u = static_cast<unsigned char>(ch);
    return static_cast<char>(Reflect(u, u < 0x80 ? PRINTABLE_ASCII : UPPER_HALF, iPosition));
}

XCHAR DataObscurer::ObscureUnobscureWchar(XCHAR ch, int iPosition) noexcept {
    // Groups do not overlap, and each keeps its own members.
    unsigned u = ch;
    for (const Group& rGroup : WIDE_GROUPS)
        u = Reflect(u, rGroup, iPosition);
    return static_cast<XCHAR>(u);
}

CXString DataObscurer::ObscureUnobscureCXString(const CXString& kcsText) {
    CXString csResult;
    const int iLength = kcsText.GetLength();
    XCHAR* const pch = csResult.GetBufferSetLength(iLength);
    for (int i = 0; i < iLength; ++i)
        pch[i] = ObscureUnobscureWchar(kcsText.GetAt(i), i);
    return csResult;
}
