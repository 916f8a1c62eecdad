/// @file
/// Byte buffers: storage, writers, encoders, counted forms and the byte stream form.
#include "utilities/utilitiesdll/ByteBuffer.h"

#include <algorithm>
#include <functional>
#include <limits>
#include <utility>

#include "utilities/debuggingandexceptions/NoThrow.h"
#include "utilities/debuggingandexceptions/RaiseMacros.h"

namespace {

constexpr std::size_t COUNT16_BYTES = sizeof(WORD);
constexpr std::size_t COUNT32_BYTES = sizeof(DWORD);
constexpr std::size_t UNIT_BYTES = sizeof(XCHAR);

/// Units between the formats' byte order and the machine's, in place.
void SwapUnitsOnBigEndian(void* pUnits, std::size_t cUnits) noexcept {
    if constexpr (std::endian::native == std::endian::big) {
        BYTE* const pbyUnits = static_cast<BYTE*>(pUnits);
        for (std::size_t i = 0; i < cUnits; ++i)
            std::swap(pbyUnits[2 * i], pbyUnits[2 * i + 1]);
    }
}

/// A text from UTF-16 units in the formats' byte order, at any alignment.
CXString TextFromUnits(const BYTE* pbySource, std::size_t cUnits) {
    CXString csText;
    if (cUnits == 0) return csText;
    if (cUnits > static_cast<std::size_t>(std::numeric_limits<int>::max())) vlm::ThrowOutOfMemory();
    XCHAR* const pchText = csText.GetBufferSetLength(static_cast<int>(cUnits));
    std::memcpy(pchText, pbySource, cUnits * UNIT_BYTES);
    SwapUnitsOnBigEndian(pchText, cUnits);
    csText.ReleaseBuffer(static_cast<int>(cUnits));
    return csText;
}

/// The number as "%ld" can show it.
LONG Shown(ULONGLONG ullBytes) noexcept {
    return static_cast<LONG>(std::min<ULONGLONG>(ullBytes, std::numeric_limits<std::int32_t>::max()));
}

/// Is the pointer one into the run of bytes?
bool PointsInto(const BYTE* pby, const std::vector<BYTE>& vbyData) noexcept {
    const std::less<const BYTE*> before;
    return !vbyData.empty() && !before(pby, vbyData.data()) && before(pby, vbyData.data() + vbyData.size());
}

/// A null pointer goes with no bytes; otherwise the caller has lost its data.
std::size_t CheckedLength(const BYTE* pbyData, std::size_t cBytes) {
    VLM_ASSERT(nullptr != pbyData || 0 == cBytes, VTEXT("There is no data at a null pointer."));
    return pbyData ? cBytes : 0;
}

void CheckSize(std::size_t cBytes) {
    if (cBytes > ByteBuffer::MAX_BYTES) vlm::ThrowOutOfMemory();
}

/// Makes room for `cMore` bytes more, so that what is appended next comes together or not at all.  Where the buffer
/// must grow it doubles at least: repeated appending stays linear.
void ReserveMore(ByteBuffer& rbb, std::size_t cMore) {
    if (cMore > ByteBuffer::MAX_BYTES - rbb.size()) vlm::ThrowOutOfMemory();
    const std::size_t cAll = rbb.size() + cMore;
    if (rbb.capacity() < cAll) rbb.reserve(std::max(cAll, std::min(2 * rbb.capacity(), ByteBuffer::MAX_BYTES)));
}

}  // namespace

void ByteBuffer::ThrowNotEnoughBytes(DWORD dwRemaining, ULONGLONG ullNeeded) {
    VLM_THROW(ExceptionNotEnoughBytesForDesiredDataType,
              VTEXT("Cannot convert to the desired data type because the size of the source buffer is too small "
                    "(%ld bytes)! It needs to be at least %ld bytes."),
              Shown(dwRemaining), Shown(ullNeeded));
}

// ---- construction and storage ----

ByteBuffer::ByteBuffer(const ByteBuffer& kbbOther)
    : m_vbyData(vlm::TranslateOutOfMemory([&] { return kbbOther.m_vbyData; })) {}

ByteBuffer::ByteBuffer(const BYTE* pbyData, std::size_t cBytes) {
    setWithLpbyte(pbyData, cBytes);
}

ByteBuffer::ByteBuffer(std::vector<BYTE>&& rvbyData) {
    CheckSize(rvbyData.size());
    m_vbyData = std::move(rvbyData);
}

ByteBuffer& ByteBuffer::operator=(const ByteBuffer& kbbOther) {
    if (this != &kbbOther) vlm::TranslateOutOfMemory([&] { m_vbyData = kbbOther.m_vbyData; });
    return *this;
}

std::vector<BYTE> ByteBuffer::TakeVector() noexcept {
    return std::exchange(m_vbyData, {});
}

void ByteBuffer::reserve(std::size_t cBytes) {
    CheckSize(cBytes);
    vlm::TranslateOutOfMemory([&] { m_vbyData.reserve(cBytes); });
}

void ByteBuffer::resize(std::size_t cBytes) {
    CheckSize(cBytes);
    vlm::TranslateOutOfMemory([&] { m_vbyData.resize(cBytes); });
}

ByteBuffer& ByteBuffer::setWithLpbyte(const BYTE* pbyData, std::size_t cBytes) {
    cBytes = CheckedLength(pbyData, cBytes);
    CheckSize(cBytes);
    vlm::TranslateOutOfMemory([&] {
        if (cBytes <= m_vbyData.capacity() && !PointsInto(pbyData, m_vbyData)) {
            m_vbyData.assign(pbyData, pbyData + cBytes);
        } else {
            std::vector<BYTE>(pbyData, pbyData + cBytes).swap(m_vbyData);
        }
    });
    return *this;
}

ByteBuffer& ByteBuffer::AppendBytes(const BYTE* pbyData, std::size_t cBytes) {
    cBytes = CheckedLength(pbyData, cBytes);
    if (cBytes == 0) return *this;
    if (cBytes > MAX_BYTES - m_vbyData.size()) vlm::ThrowOutOfMemory();
    vlm::TranslateOutOfMemory([&] {
        if (PointsInto(pbyData, m_vbyData)) {
            // Growing moves the bytes away from under the pointer.
            const std::size_t cFrom = static_cast<std::size_t>(pbyData - m_vbyData.data());
            const std::size_t cOld = m_vbyData.size();
            m_vbyData.resize(cOld + cBytes);
            std::memmove(m_vbyData.data() + cOld, m_vbyData.data() + cFrom, cBytes);
        } else {
            m_vbyData.insert(m_vbyData.end(), pbyData, pbyData + cBytes);
        }
    });
    return *this;
}

ByteBuffer& ByteBuffer::AppendUnits(const XCHAR* pchText, std::size_t cUnits) {
    const std::size_t cOld = m_vbyData.size();
    AppendBytes(reinterpret_cast<const BYTE*>(pchText), cUnits * UNIT_BYTES);
    SwapUnitsOnBigEndian(m_vbyData.data() + cOld, cUnits);
    return *this;
}

// ---- writers ----

ByteBuffer& ByteBuffer::append(const CXString& kcsText) {
    return AppendUnits(kcsText.GetLpcwstr(), static_cast<std::size_t>(kcsText.GetLength()));
}

ByteBuffer& ByteBuffer::appendAscii(const CXString& kcsText) {
    if (kcsText.IsEmpty()) return *this;
    constexpr UINT ANSI_CODE_PAGE = 0;
    const std::vector<char> vchText = vlm::TranslateOutOfMemory([&] { return kcsText.GetAsMultiByte(ANSI_CODE_PAGE); });
    // The vector carries a terminator that is no part of the text.
    return AppendBytes(reinterpret_cast<const BYTE*>(vchText.data()), vchText.empty() ? 0 : vchText.size() - 1);
}

ByteBuffer& ByteBuffer::appendCountedStringForRecord(const CXString& kcsText) {
    VLM_ASSERT(kcsText.GetLength() <= MAX_COUNTED_UNITS,
               VTEXT("A text of %d characters does not fit a counted string. The first %d are written."),
               kcsText.GetLength(), MAX_COUNTED_UNITS);
    const int iUnits = std::min(kcsText.GetLength(), MAX_COUNTED_UNITS);
    ReserveMore(*this, COUNT16_BYTES + static_cast<std::size_t>(iUnits) * UNIT_BYTES);
    AppendValue(static_cast<WORD>(iUnits));
    return AppendUnits(kcsText.GetLpcwstr(), static_cast<std::size_t>(iUnits));
}

ByteBuffer& ByteBuffer::appendCountedBytes(const ByteBuffer& kbbData) {
    const std::size_t cData = kbbData.size();
    ReserveMore(*this, COUNT32_BYTES + cData);
    AppendValue(static_cast<DWORD>(cData));
    return AppendBytes(kbbData.data(), cData);
}

std::unique_ptr<BYTE[]> ByteBuffer::copyAsLpbyte(DWORD& rdwLength) const {
    return vlm::TranslateOutOfMemory([&] {
        if (empty()) VLM_REPORT(DebugCategory::Utils, VTEXT("Buffer empty. Setting single byte to NULL."));
        const DWORD dwLength = empty() ? 1 : GetLength();
        std::unique_ptr<BYTE[]> apbyCopy = std::make_unique<BYTE[]>(dwLength);
        std::copy(begin(), end(), apbyCopy.get());
        rdwLength = dwLength;
        return apbyCopy;
    });
}

// ---- encoders ----

ByteBuffer ByteBuffer::createFromByteValue(BYTE byValue) {
    return std::move(ByteBuffer().AppendValue(byValue));
}
ByteBuffer ByteBuffer::createFromBoolValue(bool bValue) {
    return std::move(ByteBuffer().appendBoolValue(bValue));
}
ByteBuffer ByteBuffer::createFromShortValue(short nValue) {
    return std::move(ByteBuffer().AppendValue(nValue));
}
ByteBuffer ByteBuffer::createFromWordValue(WORD wValue) {
    return std::move(ByteBuffer().AppendValue(wValue));
}
ByteBuffer ByteBuffer::createFromIntValue(int iValue) {
    return std::move(ByteBuffer().AppendValue(iValue));
}
ByteBuffer ByteBuffer::createFromLongValue(LONG lValue) {
    return std::move(ByteBuffer().AppendValue(lValue));
}
ByteBuffer ByteBuffer::createFromLong64Value(LONGLONG llValue) {
    return std::move(ByteBuffer().AppendValue(llValue));
}
ByteBuffer ByteBuffer::createFromTime64Value(LONGLONG llSeconds) {
    return createFromLong64Value(llSeconds);
}

ByteBuffer ByteBuffer::createCountedStringFormatFromString(const CXString& kcsText) {
    ByteBuffer bbResult;
    bbResult.reserve(COUNT16_BYTES + static_cast<std::size_t>(kcsText.GetLength()) * UNIT_BYTES);
    // Deliberate: the count keeps the low 16 bits of the length, see the header.
    bbResult.AppendValue(static_cast<WORD>(kcsText.GetLength()));
    return std::move(bbResult.append(kcsText));
}

ByteBuffer ByteBuffer::createCountedStringFormatForRecord(const CXString& kcsText) {
    return std::move(ByteBuffer().appendCountedStringForRecord(kcsText));
}

ByteBuffer ByteBuffer::createCountedBytesFormat(const ByteBuffer& kbbData) {
    return std::move(ByteBuffer().appendCountedBytes(kbbData));
}

// ---- texts and counted forms ----

CXString ByteBuffer::getAsStringValue() const {
    std::size_t cUnits = m_vbyData.size() / UNIT_BYTES;
    if (cUnits > 0 && m_vbyData[2 * cUnits - 2] == 0 && m_vbyData[2 * cUnits - 1] == 0) --cUnits;
    return TextFromUnits(m_vbyData.data(), cUnits);
}

CXString ByteBuffer::getAsStringValueFromAnsiBuffer() const {
    if (m_vbyData.size() > static_cast<std::size_t>(std::numeric_limits<int>::max())) vlm::ThrowOutOfMemory();
    return CXString(reinterpret_cast<const char*>(m_vbyData.data()), static_cast<int>(m_vbyData.size()));
}

CXString ByteBuffer::getAsStringValueFromCountedStringFormat() const {
    const BYTE* pbyCursor = m_vbyData.data();
    DWORD dwRemaining = GetLength();
    return WalkBufferToGetCountedString(pbyCursor, dwRemaining);
}

CXString ByteBuffer::WalkBufferToGetCountedString(const BYTE*& rpbyCursor, DWORD& rdwRemaining) {
    RequireBytes(rdwRemaining, COUNT16_BYTES);
    const DWORD dwUnits = LoadLittleEndian<WORD>(rpbyCursor);
    const DWORD dwAll = static_cast<DWORD>(COUNT16_BYTES + dwUnits * UNIT_BYTES);
    RequireBytes(rdwRemaining, dwAll);
    CXString csText = TextFromUnits(rpbyCursor + COUNT16_BYTES, dwUnits);
    rpbyCursor += dwAll;
    rdwRemaining -= dwAll;
    return csText;
}

void ByteBuffer::WalkBufferToGetCountedBytes(const BYTE*& rpbyCursor, DWORD& rdwRemaining, ByteBuffer& rbbTarget) {
    RequireBytes(rdwRemaining, COUNT32_BYTES);
    const DWORD dwBytes = LoadLittleEndian<DWORD>(rpbyCursor);
    const ULONGLONG ullAll = ULONGLONG{COUNT32_BYTES} + dwBytes;
    RequireBytes(rdwRemaining, ullAll);
    rbbTarget.setWithLpbyte(rpbyCursor + COUNT32_BYTES, dwBytes);
    rpbyCursor += ullAll;
    rdwRemaining -= static_cast<DWORD>(ullAll);
}

CXString ByteBuffer::WalkBufferToGetCountedString(BYTE*& rpbyCursor, DWORD& rdwRemaining) {
    const BYTE* pbyCursor = rpbyCursor;
    CXString csText = WalkBufferToGetCountedString(pbyCursor, rdwRemaining);
    rpbyCursor += pbyCursor - rpbyCursor;
    return csText;
}

void ByteBuffer::WalkBufferToGetCountedBytes(BYTE*& rpbyCursor, DWORD& rdwRemaining, ByteBuffer& rbbTarget) {
    const BYTE* pbyCursor = rpbyCursor;
    WalkBufferToGetCountedBytes(pbyCursor, rdwRemaining, rbbTarget);
    rpbyCursor += pbyCursor - rpbyCursor;
}

// ---- byte stream form ----

bool ByteBuffer::persistToByteStream(BYTE*& rpbyCursor) const {
    // Deliberate: the count keeps the low 16 bits of the length, see the header.
    const WORD wCount = InLittleEndian(static_cast<WORD>(m_vbyData.size()));
    std::memcpy(rpbyCursor, &wCount, COUNT16_BYTES);
    std::copy(begin(), end(), rpbyCursor + COUNT16_BYTES);
    rpbyCursor += COUNT16_BYTES + m_vbyData.size();
    return true;
}

bool ByteBuffer::persistToByteStream(BYTE*& rpbyCursor, DWORD& rdwRemaining) const {
    if (m_vbyData.size() > std::numeric_limits<WORD>::max() || m_vbyData.size() + COUNT16_BYTES > rdwRemaining) {
        VLM_REPORT_ERROR(DebugCategory::Utils,
                         VTEXT("A buffer of %llu bytes cannot be written as a byte stream into a room of %lu bytes."),
                         static_cast<ULONGLONG>(m_vbyData.size()), rdwRemaining);
        return false;
    }
    rdwRemaining -= static_cast<DWORD>(COUNT16_BYTES + m_vbyData.size());
    return persistToByteStream(rpbyCursor);
}

bool ByteBuffer::persistToByteStream(ByteBuffer& rbbTarget) const {
    const std::size_t cData = m_vbyData.size();
    ReserveMore(rbbTarget, COUNT16_BYTES + cData);
    rbbTarget.AppendValue(static_cast<WORD>(cData));
    rbbTarget.AppendBytes(m_vbyData.data(), cData);
    return true;
}

bool ByteBuffer::initializeFromByteStream(const BYTE*& rpbyCursor) {
    const WORD wCount = LoadLittleEndian<WORD>(rpbyCursor);
    setWithLpbyte(rpbyCursor + COUNT16_BYTES, wCount);
    rpbyCursor += COUNT16_BYTES + wCount;
    return true;
}

bool ByteBuffer::initializeFromByteStream(BYTE*& rpbyCursor) {
    const BYTE* pbyCursor = rpbyCursor;
    initializeFromByteStream(pbyCursor);
    rpbyCursor += pbyCursor - rpbyCursor;
    return true;
}

bool ByteBuffer::initializeFromByteStream(const BYTE*& rpbyCursor, DWORD& rdwRemaining) {
    RequireBytes(rdwRemaining, COUNT16_BYTES);
    const DWORD dwAll = static_cast<DWORD>(COUNT16_BYTES) + LoadLittleEndian<WORD>(rpbyCursor);
    RequireBytes(rdwRemaining, dwAll);
    initializeFromByteStream(rpbyCursor);
    rdwRemaining -= dwAll;
    return true;
}
