/// @file
/// Little-endian stores into room that has been measured before, and the order keys of names.
#pragma once

#include <algorithm>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "platform/WinTypes.h"
#include "utilities/Bounds.h"
#include "utilities/debuggingandexceptions/RaiseMacros.h"
#include "utilities/utilitiesdll/ByteBuffer.h"
#include "utilities/utilitiesdll/CXString.h"

namespace vlm {

// Each answers the position behind what it stored.

inline BYTE* StoreByte(BYTE* pbyOut, BYTE by) noexcept {
    *pbyOut = by;
    return pbyOut + 1;
}
template <class Unsigned>
inline BYTE* StoreLittleEndian(BYTE* pbyOut, Unsigned value) noexcept {
    for (std::size_t i = 0; i < sizeof(Unsigned); ++i)
        pbyOut[i] = static_cast<BYTE>(value >> (8 * i));
    return pbyOut + sizeof(Unsigned);
}
inline BYTE* StoreShort(BYTE* pbyOut, std::int16_t nValue) noexcept {
    return StoreLittleEndian(pbyOut, static_cast<std::uint16_t>(nValue));
}
inline BYTE* StoreLong(BYTE* pbyOut, LONG lValue) noexcept {
    return StoreLittleEndian(pbyOut, static_cast<std::uint32_t>(lValue));
}
inline BYTE* StoreDword(BYTE* pbyOut, DWORD dwValue) noexcept {
    return StoreLittleEndian(pbyOut, static_cast<std::uint32_t>(dwValue));
}
inline BYTE* StoreLong64(BYTE* pbyOut, LONGLONG llValue) noexcept {
    return StoreLittleEndian(pbyOut, static_cast<std::uint64_t>(llValue));
}
inline BYTE* StoreBytes(BYTE* pbyOut, const BYTE* pbyBytes, std::size_t cbBytes) noexcept {
    if (cbBytes != 0) std::memcpy(pbyOut, pbyBytes, cbBytes);
    return pbyOut + cbBytes;
}

/// Bytes of a text as it stands in a record: count and at most 65,535 units.
inline std::size_t GetRecordTextSize(const CXString& kcsText) noexcept {
    const std::size_t cUnits = static_cast<std::size_t>(kcsText.GetLength());
    return 2 + 2 * (cUnits < bounds::MAX_RECORD_TEXT_UNITS ? cUnits : bounds::MAX_RECORD_TEXT_UNITS);
}
/// Stores count and units.  Count and units always agree, so that no part of a text can be read as a record.
BYTE* StoreRecordText(BYTE* pbyOut, const CXString& kcsText);

/// Appends exactly `cbState` bytes that `store` fills; a buffer that cannot hold them stays as it was.
template <class Store>
void AppendState(ByteBuffer& rbbOut, std::size_t cbState, Store store) {
    if (cbState == 0) return;
    const std::size_t cbFormer = rbbOut.size();
    if (rbbOut.capacity() - cbFormer < cbState) rbbOut.reserve(std::max(cbFormer + cbState, 2 * rbbOut.capacity()));
    rbbOut.resize(cbFormer + cbState);
    store(rbbOut.data() + cbFormer);
}
/// A buffer of exactly `cbState` bytes that `store` fills.
template <class Store>
ByteBuffer MakeState(std::size_t cbState, Store store) {
    ByteBuffer bbState;
    bbState.resize(cbState);
    if (cbState != 0) store(bbState.data());
    return bbState;
}

/// Order of texts, code unit by code unit over their whole lengths.
inline std::strong_ordering CompareTexts(const CXString& kcsLeft, const CXString& kcsRight) noexcept {
    return kcsLeft.View().compare(kcsRight.View()) <=> 0;
}

/// The order key of an identifier that is a number.
constexpr ULONGLONG MakeNumberKey(int iType, LONG lNumber) noexcept {
    return static_cast<ULONGLONG>(iType) << 56 | (static_cast<std::uint32_t>(lNumber) ^ 0x80000000U);
}
/// The order key of an identifier that is a name: as much of its beginning as fits.
inline ULONGLONG MakeNameKey(int iType, const CXString& kcsName) noexcept {
    const XStringView name = kcsName.View();
    const auto unit = [&](std::size_t i) { return i < name.size() ? static_cast<ULONGLONG>(name[i]) : 0; };
    return static_cast<ULONGLONG>(iType) << 56 | unit(0) << 40 | unit(1) << 24 | unit(2) << 8 | unit(3) >> 8;
}

/// A display text with or without the "NAME: " that it begins with.
inline CXString WithTypeName(const CXString& kcsText, bool fShowType) {
    return fShowType ? kcsText : kcsText.Mid(kcsText.Find(VTEXT(": ")) + 2);
}

}  // namespace vlm
