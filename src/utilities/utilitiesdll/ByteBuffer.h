/// @file
/// The library's binary value: a growable run of bytes, and the little-endian primitives of every binary format.
#pragma once

#include <bit>
#include <cstddef>
#include <cstring>
#include <memory>
#include <span>
#include <type_traits>
#include <vector>

#include "platform/Export.h"
#include "platform/WinTypes.h"
#include "utilities/utilitiesdll/CXString.h"

/// A contiguous run of bytes with value semantics; copying copies the bytes.
///
/// The primitives that all formats are made of (every integer little-endian, on any machine):
///
///     byte, bool                1 byte; a bool is written as 0 or 1, and any non-zero byte reads as true
///     short, word               2 bytes
///     int, long                 4 bytes
///     long64, time64            8 bytes; a time64 counts seconds
///     counted string            2 bytes: the low 16 bits of the count of UTF-16 units; then all units, no terminator
///     counted bytes             4 bytes: count; then the bytes
///     byte stream form          2 bytes: the low 16 bits of the count; then all bytes
///
/// A *cursor* is a pointer to the next byte and the count of bytes that remain behind it.  A reader checks first and
/// moves then: when it throws, pointer and count are what they were.  A null pointer is fine where 0 bytes remain.
/// A pointer argument of a writer may point into the buffer itself.
///
/// **Threads**: different buffers may be used by different threads; one buffer is not shared without a lock.
/// **Failure**: a read beyond the data throws `ExceptionNotEnoughBytesForDesiredDataType`; no memory, or more than
/// MAX_BYTES bytes, throws `ExceptionOutOfMemory`.  A failed operation leaves the buffer as it was.
class VLM_API ByteBuffer {
public:
    using value_type = BYTE;
    using const_iterator = std::vector<BYTE>::const_iterator;

    /// A buffer never holds more: what the 32-bit count of a cursor can tell.
    static constexpr std::size_t MAX_BYTES = 0xFFFFFFFF;
    /// The most code units that the count of a counted string can tell.
    static constexpr int MAX_COUNTED_UNITS = 0xFFFF;

    // ---- construction ----

    ByteBuffer() noexcept = default;
    ByteBuffer(const ByteBuffer& kbbOther);
    ByteBuffer(ByteBuffer&& rbbOther) noexcept = default;
    /// A copy of `cBytes` bytes; null is allowed with 0 bytes.
    ByteBuffer(const BYTE* pbyData, std::size_t cBytes);
    explicit ByteBuffer(std::span<const BYTE> data) : ByteBuffer(data.data(), data.size()) {}
    /// Takes the vector over without copying.
    explicit ByteBuffer(std::vector<BYTE>&& rvbyData);
    ~ByteBuffer() = default;
    ByteBuffer& operator=(const ByteBuffer& kbbOther);
    ByteBuffer& operator=(ByteBuffer&& rbbOther) noexcept = default;

    // ---- the bytes as a container; pointers, spans and iterators are borrowed until the buffer changes ----

    std::size_t size() const noexcept { return m_vbyData.size(); }
    bool empty() const noexcept { return m_vbyData.empty(); }
    std::size_t capacity() const noexcept { return m_vbyData.capacity(); }
    const BYTE* data() const noexcept { return m_vbyData.data(); }
    BYTE* data() noexcept { return m_vbyData.data(); }
    const_iterator begin() const noexcept { return m_vbyData.begin(); }
    const_iterator end() const noexcept { return m_vbyData.end(); }
    /// The byte at an index below `size()`.
    BYTE operator[](std::size_t index) const noexcept { return m_vbyData[index]; }
    BYTE& operator[](std::size_t index) noexcept { return m_vbyData[index]; }
    operator std::span<const BYTE>() const noexcept { return m_vbyData; }
    const std::vector<BYTE>& GetVector() const noexcept { return m_vbyData; }
    /// Makes the buffer empty and gives its bytes away.
    std::vector<BYTE> TakeVector() noexcept;
    void clear() noexcept { m_vbyData.clear(); }
    /// Makes room for `cBytes` bytes in all; throws above MAX_BYTES.
    void reserve(std::size_t cBytes);
    /// Cuts the buffer, or extends it with zero bytes.
    void resize(std::size_t cBytes);
    void swap(ByteBuffer& rbbOther) noexcept { m_vbyData.swap(rbbOther.m_vbyData); }
    friend void swap(ByteBuffer& rbbLeft, ByteBuffer& rbbRight) noexcept { rbbLeft.swap(rbbRight); }
    friend bool operator==(const ByteBuffer& kbbLeft, const ByteBuffer& kbbRight) noexcept {
        return kbbLeft.m_vbyData == kbbRight.m_vbyData;
    }
    /// The first byte; null when the buffer is empty.  Borrowed until the buffer changes.
    BYTE* getLpbyte() noexcept { return empty() ? nullptr : m_vbyData.data(); }
    const BYTE* getLpbyte() const noexcept { return empty() ? nullptr : m_vbyData.data(); }
    /// The count of bytes, as cursors take it.
    DWORD GetLength() const noexcept { return static_cast<DWORD>(m_vbyData.size()); }

    // ---- encoders: each returns a new buffer ----

    static ByteBuffer createFromByteValue(BYTE byValue);
    static ByteBuffer createFromBoolValue(bool bValue);
    static ByteBuffer createFromShortValue(short nValue);
    static ByteBuffer createFromWordValue(WORD wValue);
    static ByteBuffer createFromIntValue(int iValue);
    static ByteBuffer createFromLongValue(LONG lValue);
    static ByteBuffer createFromLong64Value(LONGLONG llValue);
    static ByteBuffer createFromTime64Value(LONGLONG llSeconds);
    /// The counted-string form.  Deliberate: a text of 65,536 units or more keeps the low 16 bits of its length as
    /// count and is followed by all its units, so a reader takes the rest for other data.  Formats that must read back
    /// use createCountedStringFormatForRecord.
    static ByteBuffer createCountedStringFormatFromString(const CXString& kcsText);
    /// The counted-string form whose count and units always agree: a text above MAX_COUNTED_UNITS is a failed
    /// assertion, and its first MAX_COUNTED_UNITS units are written.
    static ByteBuffer createCountedStringFormatForRecord(const CXString& kcsText);
    static ByteBuffer createCountedBytesFormat(const ByteBuffer& kbbData);
    /// The bytes of a hexadecimal text; an empty buffer when the text is bad (see ConvertHexBinaryStringToByteBuffer).
    static ByteBuffer createFromHexBinaryString(const CXString& kcsHex);

    // ---- whole-buffer decoders: read from the first byte, and throw like the cursor readers ----

    BYTE getAsByteValue() const { return Decode<BYTE>(); }
    bool getAsBoolValue() const { return Decode<BYTE>() != 0; }
    short getAsShortValue() const { return Decode<short>(); }
    WORD getAsWordValue() const { return Decode<WORD>(); }
    int getAsIntValue() const { return Decode<int>(); }
    LONG getAsLongValue() const { return Decode<LONG>(); }
    LONGLONG getAsLong64Value() const { return Decode<LONGLONG>(); }
    LONGLONG getAsTime64Value() const { return Decode<LONGLONG>(); }
    DWORD getDword() const { return Decode<DWORD>(); }
    /// All bytes as UTF-16 units.  An odd last byte and then one trailing zero unit are dropped, nothing else: further
    /// zero units stay part of the text.
    CXString getAsStringValue() const;
    /// All bytes as text in the ANSI code page; zero bytes become zero units.
    CXString getAsStringValueFromAnsiBuffer() const;
    CXString getAsStringValueFromCountedStringFormat() const;
    /// Two upper-case hexadecimal digits per byte, high digit first; empty for an empty buffer.
    CXString getAsHexBinaryString() const { return ConvertByteBufferToHexBinaryString(*this); }

    // ---- cursor readers: advance the pointer and lower the count, or throw and leave both alone ----

    static BYTE WalkBufferToGetByte(const BYTE*& rpbyCursor, DWORD& rdwRemaining) {
        return Walk<BYTE>(rpbyCursor, rdwRemaining);
    }
    static bool WalkBufferToGetBool(const BYTE*& rpbyCursor, DWORD& rdwRemaining) {
        return Walk<BYTE>(rpbyCursor, rdwRemaining) != 0;
    }
    static short WalkBufferToGetShort(const BYTE*& rpbyCursor, DWORD& rdwRemaining) {
        return Walk<short>(rpbyCursor, rdwRemaining);
    }
    static WORD WalkBufferToGetWord(const BYTE*& rpbyCursor, DWORD& rdwRemaining) {
        return Walk<WORD>(rpbyCursor, rdwRemaining);
    }
    static int WalkBufferToGetInt(const BYTE*& rpbyCursor, DWORD& rdwRemaining) {
        return Walk<int>(rpbyCursor, rdwRemaining);
    }
    static LONG WalkBufferToGetLong(const BYTE*& rpbyCursor, DWORD& rdwRemaining) {
        return Walk<LONG>(rpbyCursor, rdwRemaining);
    }
    static LONGLONG WalkBufferToGetLong64(const BYTE*& rpbyCursor, DWORD& rdwRemaining) {
        return Walk<LONGLONG>(rpbyCursor, rdwRemaining);
    }
    static LONGLONG WalkBufferToGetTime64(const BYTE*& rpbyCursor, DWORD& rdwRemaining) {
        return Walk<LONGLONG>(rpbyCursor, rdwRemaining);
    }
    /// Reads a counted string.  When its units are short of the count, the exception names the bytes that remain at
    /// the count and the bytes that count and units need together, and the cursor stays before the count.
    static CXString WalkBufferToGetCountedString(const BYTE*& rpbyCursor, DWORD& rdwRemaining);
    /// Reads counted bytes into `rbbTarget`, replacing what it held; fails as WalkBufferToGetCountedString does.
    static void WalkBufferToGetCountedBytes(const BYTE*& rpbyCursor, DWORD& rdwRemaining, ByteBuffer& rbbTarget);

    // The same for a cursor that points to writable bytes.
    static BYTE WalkBufferToGetByte(BYTE*& rpbyCursor, DWORD& rdwRemaining) {
        return Walk<BYTE>(rpbyCursor, rdwRemaining);
    }
    static bool WalkBufferToGetBool(BYTE*& rpbyCursor, DWORD& rdwRemaining) {
        return Walk<BYTE>(rpbyCursor, rdwRemaining) != 0;
    }
    static short WalkBufferToGetShort(BYTE*& rpbyCursor, DWORD& rdwRemaining) {
        return Walk<short>(rpbyCursor, rdwRemaining);
    }
    static WORD WalkBufferToGetWord(BYTE*& rpbyCursor, DWORD& rdwRemaining) {
        return Walk<WORD>(rpbyCursor, rdwRemaining);
    }
    static int WalkBufferToGetInt(BYTE*& rpbyCursor, DWORD& rdwRemaining) {
        return Walk<int>(rpbyCursor, rdwRemaining);
    }
    static LONG WalkBufferToGetLong(BYTE*& rpbyCursor, DWORD& rdwRemaining) {
        return Walk<LONG>(rpbyCursor, rdwRemaining);
    }
    static LONGLONG WalkBufferToGetLong64(BYTE*& rpbyCursor, DWORD& rdwRemaining) {
        return Walk<LONGLONG>(rpbyCursor, rdwRemaining);
    }
    static LONGLONG WalkBufferToGetTime64(BYTE*& rpbyCursor, DWORD& rdwRemaining) {
        return Walk<LONGLONG>(rpbyCursor, rdwRemaining);
    }
    static CXString WalkBufferToGetCountedString(BYTE*& rpbyCursor, DWORD& rdwRemaining);
    static void WalkBufferToGetCountedBytes(BYTE*& rpbyCursor, DWORD& rdwRemaining, ByteBuffer& rbbTarget);

    /// For readers of longer runs: throws as the readers above do when fewer than `ullNeeded` bytes remain.
    static void RequireBytes(DWORD dwRemaining, ULONGLONG ullNeeded) {
        if (dwRemaining < ullNeeded) ThrowNotEnoughBytes(dwRemaining, ullNeeded);
    }

    // ---- writers: each returns the buffer itself ----

    ByteBuffer& append(const ByteBuffer& kbbOther) { return AppendBytes(kbbOther.data(), kbbOther.size()); }
    /// The text's UTF-16 units, little-endian, without terminator.
    ByteBuffer& append(const CXString& kcsText);
    /// The text in the ANSI code page, without terminator; characters without a counterpart become "?".
    ByteBuffer& appendAscii(const CXString& kcsText);
    ByteBuffer& appendByte(BYTE byValue) { return AppendValue(byValue); }
    /// Null is allowed with 0 bytes; with more it is a failed assertion, and nothing is appended.
    ByteBuffer& appendLpbyte(const BYTE* pbyData, std::size_t cBytes) { return AppendBytes(pbyData, cBytes); }
    ByteBuffer& appendNullByte() { return appendByte(0); }
    /// One zero UTF-16 unit: two zero bytes.
    ByteBuffer& appendNullChar() { return AppendValue(WORD{0}); }
    /// Replaces the contents; null as for appendLpbyte (the buffer is then empty).
    ByteBuffer& setWithLpbyte(const BYTE* pbyData, std::size_t cBytes);

    // The encoders again, appending without a buffer in between.
    ByteBuffer& appendBoolValue(bool bValue) { return AppendValue(static_cast<BYTE>(bValue ? 1 : 0)); }
    ByteBuffer& appendShortValue(short nValue) { return AppendValue(nValue); }
    ByteBuffer& appendWordValue(WORD wValue) { return AppendValue(wValue); }
    ByteBuffer& appendIntValue(int iValue) { return AppendValue(iValue); }
    ByteBuffer& appendLongValue(LONG lValue) { return AppendValue(lValue); }
    ByteBuffer& appendDwordValue(DWORD dwValue) { return AppendValue(dwValue); }
    ByteBuffer& appendLong64Value(LONGLONG llValue) { return AppendValue(llValue); }
    ByteBuffer& appendCountedStringForRecord(const CXString& kcsText);
    ByteBuffer& appendCountedBytes(const ByteBuffer& kbbData);

    /// A newly allocated copy of the bytes that the caller owns.
    /// @param rdwLength its length in bytes.  For an empty buffer one zero byte is handed back (length 1) and reported.
    std::unique_ptr<BYTE[]> copyAsLpbyte(DWORD& rdwLength) const;

    // ---- byte stream form ----

    /// Writes the byte stream form at the cursor and moves it behind.  The caller vouches for 2 + size() bytes of room.
    /// Deliberate: the count is the length modulo 65,536 while all bytes are written, so keep such buffers below that.
    /// @return true.
    bool persistToByteStream(BYTE*& rpbyCursor) const;
    /// The same within `rdwRemaining` bytes of room, which are lowered by what was written.
    /// @return false when the room is too small or the buffer has 65,536 bytes or more; nothing is written then.
    bool persistToByteStream(BYTE*& rpbyCursor, DWORD& rdwRemaining) const;
    /// Appends the byte stream form to another buffer (which may be this one).  @return true.
    bool persistToByteStream(ByteBuffer& rbbTarget) const;
    /// Replaces the contents by the byte stream form at the cursor and moves it behind.  The caller vouches for the
    /// bytes: nothing tells where they end, so give no data from outside to this form.  @return true.
    bool initializeFromByteStream(const BYTE*& rpbyCursor);
    bool initializeFromByteStream(BYTE*& rpbyCursor);
    /// The same within `rdwRemaining` bytes; throws as the counted cursor readers do.  @return true.
    bool initializeFromByteStream(const BYTE*& rpbyCursor, DWORD& rdwRemaining);

    // ---- hexadecimal text ----

    static CXString ConvertByteBufferToHexBinaryString(const ByteBuffer& kbbData);
    /// Reads pairs of hexadecimal digits, either case, nothing else; a text of odd length ends in a bad pair.
    /// @param fReport false: keeps a bad pair out of the debug messages.
    /// @return false at a bad pair; `rbbTarget` is then empty.
    static bool ConvertHexBinaryStringToByteBuffer(const CXString& kcsHex, ByteBuffer& rbbTarget, bool fReport = true);
    /// The digit of a value 0 to 15.
    /// @param fReport false: keeps a bad value out of the debug messages.
    /// @return false for a larger value; `rchDigit` is then '0'.
    static bool ConvertValueToSingleHexChar(BYTE byValue, XCHAR& rchDigit, bool fLowerCase = false,
                                            bool fReport = true);
    /// The value of a digit.
    /// @return false for any other character; `rbyValue` is then 0.
    static bool ConvertSingleHexCharToValue(XCHAR chDigit, BYTE& rbyValue, bool fReport = true);

    // ---- diagnostics ----

    /// The hexadecimal text of the bytes.
    CXString GetDumpDisplayString() const { return getAsHexBinaryString(); }
    /// Writes the contents as debug messages, 16 bytes a line: offset, hexadecimal bytes.
    void DumpAsHexBinary() const;
    /// The same as characters; bytes outside the printable ASCII range appear as dots.
    void dumpAsCharacters() const;

private:
    /// The one place where a short read turns into an exception.
    [[noreturn]] static void ThrowNotEnoughBytes(DWORD dwRemaining, ULONGLONG ullNeeded);

    template <class T>
    static T LoadLittleEndian(const BYTE* pbySource) noexcept {
        T value;
        std::memcpy(&value, pbySource, sizeof value);
        return InLittleEndian(value);
    }
    /// Turns a value between the machine's byte order and the formats'.
    template <class T>
    static T InLittleEndian(T value) noexcept {
        if constexpr (std::endian::native == std::endian::big && sizeof(T) > 1) {
            BYTE abyValue[sizeof(T)];
            for (std::size_t i = 0; i < sizeof(T); ++i) {
                abyValue[i] = static_cast<BYTE>(static_cast<std::make_unsigned_t<T>>(value) >> (8 * i));
            }
            std::memcpy(&value, abyValue, sizeof value);
        }
        return value;
    }

    template <class T, class TByte>
    static T Walk(TByte*& rpbyCursor, DWORD& rdwRemaining) {
        RequireBytes(rdwRemaining, sizeof(T));
        const T value = LoadLittleEndian<T>(rpbyCursor);
        rpbyCursor += sizeof(T);
        rdwRemaining -= static_cast<DWORD>(sizeof(T));
        return value;
    }
    template <class T>
    T Decode() const {
        const BYTE* pbyCursor = m_vbyData.data();
        DWORD dwRemaining = GetLength();
        return Walk<T>(pbyCursor, dwRemaining);
    }
    template <class T>
    ByteBuffer& AppendValue(T value) {
        const T ordered = InLittleEndian(value);
        BYTE abyValue[sizeof(T)];
        std::memcpy(abyValue, &ordered, sizeof ordered);
        if (m_vbyData.capacity() - m_vbyData.size() < sizeof abyValue) return AppendBytes(abyValue, sizeof abyValue);
        m_vbyData.insert(m_vbyData.end(), abyValue, abyValue + sizeof abyValue);
        return *this;
    }
    ByteBuffer& AppendBytes(const BYTE* pbyData, std::size_t cBytes);
    ByteBuffer& AppendUnits(const XCHAR* pchText, std::size_t cUnits);

    std::vector<BYTE> m_vbyData;
};
