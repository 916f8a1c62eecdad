/// @file
/// The library's string: UTF-16 with value semantics, shared blocks and copy-on-write.
#pragma once

#include <compare>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <span>
#include <utility>
#include <vector>

#include "platform/Export.h"
#include "platform/WinTypes.h"
#include "utilities/utilitiesdll/CXStringArg.h"
#include "utilities/utilitiesdll/CXStringData.h"
#include "utilities/utilitiesdll/Format.h"

/// A UTF-16 text.  Copies share one block until one of them is changed; an empty string owns nothing.
///
/// Lengths, indexes and counts are `int`s in UTF-16 code units; a negative one counts as 0 and one beyond the text as
/// its end. A text argument may be part of the string that is being changed.  Case is folded for A to Z alone, as the C
/// runtime does in its C locale.  White space is the blank and the characters 9 to 13.  A text may hold zero code units
/// except where a zero-terminated one is asked for.
///
/// **Ownership**: blocks belong to all strings that share them.  **Threads**: different strings may be used by
/// different threads even while they share a block; one string object is not shared without a lock.  **Failure**: no
/// memory, or a length above MemoryPoolAllocatorServices::MAX_UNITS, raises out-of-memory
/// (`MemoryPool::RaiseOutOfMemory`; `std::bad_alloc` where it is a standard vector that finds none); the string is then
/// as it was.
class VLM_API CXString {
public:
    using value_type = XCHAR;
    using const_iterator = const XCHAR*;

    // ---- construction and assignment ----

    CXString() noexcept : m_pchData(EmptyText()) {}
    CXString(const CXString& kcsOther) : m_pchData(kcsOther.m_pchData) {
        std::atomic<std::int32_t>& rlRefs = Data()->m_lRefs;
        const std::int32_t lRefs = rlRefs.load(std::memory_order_relaxed);
        if (lRefs > 0) {
            rlRefs.fetch_add(1, std::memory_order_relaxed);
        } else if (lRefs == CXStringData::LOCKED) {
            CopyOfLocked(kcsOther);
        }
    }
    CXString(CXString&& rcsOther) noexcept : m_pchData(rcsOther.m_pchData) { rcsOther.m_pchData = EmptyText(); }
    CXString(std::nullptr_t) noexcept : CXString() {}
    /// A zero-terminated text; null gives the empty string.
    CXString(const XCHAR* pszText) : CXString(XStringView(pszText ? pszText : VTEXT(""))) {}
    /// `iLength` code units; null gives the empty string.
    CXString(const XCHAR* pchText, int iLength);
    CXString(XStringView text);
    /// Narrow text in the ANSI code page, zero-terminated or with its length in bytes; null gives the empty string.
    CXString(const char* pszText);
    CXString(const char* pchText, int iLength);
    /// `iRepeat` times the same code unit.
    explicit CXString(XCHAR ch, int iRepeat = 1);
    ~CXString() { Release(Data()); }

    CXString& operator=(const CXString& kcsOther) {
        if (IsLocked()) return AssignText(kcsOther);
        if (m_pchData != kcsOther.m_pchData) CXString(kcsOther).swap(*this);
        return *this;
    }
    CXString& operator=(CXString&& rcsOther) noexcept {
        CXString(static_cast<CXString&&>(rcsOther)).swap(*this);
        return *this;
    }
    CXString& operator=(const XCHAR* pszText) { return AssignText(pszText); }
    CXString& operator=(XStringView text) { return AssignText(text); }
    CXString& operator=(const char* pszText);
    CXString& operator=(XCHAR ch) { return AssignText(XStringView(&ch, 1)); }

    /// Makes the string empty and gives its block back.
    void Empty() noexcept {
        if (IsLocked()) return SetOwnLength(0);
        CXString().swap(*this);
    }
    void swap(CXString& rcsOther) noexcept {
        XCHAR* const pchData = m_pchData;
        m_pchData = rcsOther.m_pchData;
        rcsOther.m_pchData = pchData;
    }
    friend void swap(CXString& rcsLeft, CXString& rcsRight) noexcept { rcsLeft.swap(rcsRight); }

    // ---- buffer access ----

    int GetLength() const noexcept { return Data()->m_lLength; }
    bool IsEmpty() const noexcept { return Data()->m_lLength == 0; }
    /// The code unit at an index; 0 at and beyond the end, and for a negative index.
    XCHAR GetAt(int iIndex) const noexcept {
        return static_cast<std::uint32_t>(iIndex) < static_cast<std::uint32_t>(GetLength()) ? m_pchData[iIndex]
                                                                                            : XCHAR();
    }
    /// As GetAt, for an index of any integer type.
    template <std::integral Index>
    XCHAR operator[](Index index) const noexcept {
        return std::in_range<int>(index) ? GetAt(static_cast<int>(index)) : XCHAR();
    }
    /// Replaces one code unit; outside the text nothing happens.
    void SetAt(int iIndex, XCHAR ch);

    /// The text, zero-terminated; borrowed until the string is next changed or destroyed.  Never null.
    operator const XCHAR*() const noexcept { return m_pchData; }
    const XCHAR* GetLpcwstr() const noexcept { return m_pchData; }
    /// The text for interfaces that take a non-constant pointer but do not write.  Writing through it would change
    /// every string that shares the block.
    XCHAR* GetLpwstrForReadingOnly() const noexcept { return m_pchData; }
    operator XStringView() const noexcept { return View(); }
    /// The text as a view; write this where `XStringView(string)` would be ambiguous.
    XStringView View() const noexcept { return XStringView(m_pchData, static_cast<std::size_t>(GetLength())); }
    /// A string is never null, so a test for it is a mistake; ask IsEmpty.
    explicit operator bool() const = delete;
    const XCHAR* begin() const noexcept { return m_pchData; }
    const XCHAR* end() const noexcept { return m_pchData + GetLength(); }

    /// The header of the block.
    const CXStringData* GetData() const noexcept { return CXStringData::FromText(m_pchData); }
    /// Code units that fit into the block as it is.
    int GetAllocLength() const noexcept { return GetData()->m_lCapacity; }
    /// A buffer of the string's own, with room for at least `iMinLength` code units and a terminator, that holds the
    /// text. Call ReleaseBuffer when done.  Borrowed until then.
    XCHAR* GetBuffer(int iMinLength);
    /// GetBuffer, with the length already set to `iNewLength` (and terminated there); units beyond the old text hold
    /// anything.
    XCHAR* GetBufferSetLength(int iNewLength);
    /// Sets the length after the buffer was written; −1 measures up to the first zero code unit (within the capacity).
    void ReleaseBuffer(int iNewLength = -1);
    /// Gives back the room that the text does not use.
    void FreeExtra();
    /// A buffer that stays the string's alone until UnlockBuffer: copies made meanwhile get blocks of their own.
    XCHAR* LockBuffer();
    void UnlockBuffer() noexcept;
    /// Length of a zero-terminated text, 0 for null.
    static int SafeStrlen(const XCHAR* pszText) noexcept;
    static int SafeStrlen(const char* pszText) noexcept;

    // ---- concatenation; see also the operators + in CXStringOperators.h ----

    CXString& operator+=(XStringArg text);
    CXString& operator+=(XCHAR ch) { return *this += XStringView(&ch, 1); }

    // ---- comparison ----

    /// Ordinal, code unit by code unit: the difference of the first units that differ, 0 when equal.  A text that ends
    /// first has the terminator, 0, there.
    int Compare(XStringArg text) const noexcept;
    /// As Compare, with A to Z taken as a to z.
    int CompareNoCase(XStringArg text) const noexcept;
    /// The same as Compare, under the standard string's name.
    int compare(XStringArg text) const noexcept { return Compare(text); }

    // All six relations, built on Compare, with strings, views and zero-terminated texts on either side.  They are
    // hidden friends so that they take part only where a string does: a view and a literal are compared by the
    // standard's operators.
    friend bool operator==(const CXString& kcsLeft, const CXString& kcsRight) noexcept {
        return kcsLeft.m_pchData == kcsRight.m_pchData ||
               (kcsLeft.GetLength() == kcsRight.GetLength() && kcsLeft.Compare(kcsRight) == 0);
    }
    friend bool operator==(const CXString& kcsLeft, XStringView right) noexcept {
        return kcsLeft.View().size() == right.size() && kcsLeft.Compare(right) == 0;
    }
    friend bool operator==(const CXString& kcsLeft, const XCHAR* pszRight) noexcept {
        return kcsLeft.Compare(pszRight) == 0;
    }
    friend std::strong_ordering operator<=>(const CXString& kcsLeft, const CXString& kcsRight) noexcept {
        return kcsLeft.Compare(kcsRight) <=> 0;
    }
    friend std::strong_ordering operator<=>(const CXString& kcsLeft, XStringView right) noexcept {
        return kcsLeft.Compare(right) <=> 0;
    }
    friend std::strong_ordering operator<=>(const CXString& kcsLeft, const XCHAR* pszRight) noexcept {
        return kcsLeft.Compare(pszRight) <=> 0;
    }

    // ---- search: an index, or −1 when absent ----

    int Find(XCHAR ch) const noexcept { return Find(ch, 0); }
    int Find(XCHAR ch, int iStart) const noexcept;
    /// An empty text is found at the start index, if that is within the text.
    int Find(XStringArg text) const noexcept { return Find(text, 0); }
    int Find(XStringArg text, int iStart) const noexcept;
    int FindNoCase(XCHAR ch) const noexcept { return FindNoCase(ch, 0); }
    int FindNoCase(XCHAR ch, int iStart) const noexcept;
    int FindNoCase(XStringArg text) const noexcept { return FindNoCase(text, 0); }
    int FindNoCase(XStringArg text, int iStart) const noexcept;
    /// The last occurrence.
    int ReverseFind(XCHAR ch) const noexcept;
    /// The leading part that holds only characters of the set, or none of them.
    CXString SpanIncluding(XStringArg set) const;
    CXString SpanExcluding(XStringArg set) const;

    // ---- extraction ----

    CXString Left(int iCount) const { return Mid(0, iCount); }
    CXString Right(int iCount) const;
    CXString Mid(int iFirst) const { return Mid(iFirst, GetLength()); }
    CXString Mid(int iFirst, int iCount) const;

    // ---- editing ----

    CXString& MakeUpper();
    CXString& MakeLower();
    /// Reverses the order of the characters; the halves of a surrogate pair keep theirs.
    CXString& MakeReverse();
    /// Replaces every occurrence.  @return how many.  Texts are searched from the left without overlap; an empty one
    /// occurs nowhere.
    int Replace(XCHAR chOld, XCHAR chNew);
    int Replace(XStringArg oldText, XStringArg newText);
    int ReplaceNoCase(XStringArg oldText, XStringArg newText);
    /// Removes all occurrences of a character.  @return how many.
    int Remove(XCHAR ch);
    /// Inserts before an index.  @return the new length.
    int Insert(int iIndex, XCHAR ch) { return Insert(iIndex, XStringView(&ch, 1)); }
    int Insert(int iIndex, XStringArg text);
    /// Deletes `iCount` characters from an index on.  @return the new length.
    int Delete(int iIndex, int iCount = 1);
    /// Removes white space, one character, or characters of a set from one end.
    CXString& TrimLeft();
    CXString& TrimLeft(XCHAR ch);
    CXString& TrimLeft(XStringArg set);
    CXString& TrimRight();
    CXString& TrimRight(XCHAR ch);
    CXString& TrimRight(XStringArg set);
    /// Writes the characters of this text that occur in `set` to `rcsResult` (which may be this string).
    /// @return how many characters were left out.
    int Filter(XStringArg set, CXString& rcsResult) const { return Filter(set, rcsResult, true, false); }
    /// @param fKeep true: the characters of the set stay; false: they go and the others stay.
    /// @param fIgnoreCase true: A to Z and a to z count as the same.
    int Filter(XStringArg set, CXString& rcsResult, bool fKeep, bool fIgnoreCase) const;

    // ---- tokens ----

    /// The next run of characters outside `delimiters` from `riPosition` on, which moves behind the delimiter that
    /// ended it. When no token is left the result is empty and `riPosition` −1.  Without delimiters the rest is one
    /// token.
    CXString Tokenize(XStringArg delimiters, int& riPosition) const;
    /// The same with white space as delimiters.
    CXString TokenizeUsingWhitespace(int& riPosition) const;

    // ---- formatting: the language is described in Format.h ----

    /// Makes the string the formatted text.  Arguments may refer to the string itself.
    template <class... Args>
    vlm::FormatResult Format(const XCHAR* pszFormat, const Args&... args) {
        const std::array<vlm::FormatArg, sizeof...(Args)> aoArgs{vlm::FormatArg(args)...};
        return vlm::FormatCore(*this, pszFormat, aoArgs.data(), aoArgs.size());
    }
    /// The same with the format text from a string resource.  @param hModule null: the library itself.
    /// @return false when there is no such resource; the string is then unchanged.
    template <class... Args>
    bool Format(HINSTANCE hModule, UINT uId, const Args&... args) {
        CXString csFormat;
        if (!csFormat.LoadStringW(hModule, uId)) return false;
        Format(csFormat.GetLpcwstr(), args...);
        return true;
    }
    /// The variadic form for callers that have a `va_list`; see vlm::FormatVCore for what it reads.
    vlm::FormatResult FormatV(const XCHAR* pszFormat, va_list args) { return vlm::FormatVCore(*this, pszFormat, args); }
    /// A new string with the formatted text.
    template <class... Args>
    static CXString FormatString(const XCHAR* pszFormat, const Args&... args) {
        CXString csResult;
        csResult.Format(pszFormat, args...);
        return csResult;
    }
    /// Makes the string a message text with its inserts "%1" to "%99" filled in by the system's message formatter.
    /// Inserts are texts; numbers are given in decimal, so a format between exclamation marks behind an insert may only
    /// be "!s!".
    /// @return false with a malformed text, a missing insert, or an empty result, which the system does not tell from
    ///         a failure; the string is then unchanged.
    template <class... Args>
    bool FormatMessageW(const XCHAR* pszFormat, const Args&... args) {
        const std::array<vlm::FormatArg, sizeof...(Args)> aoArgs{vlm::FormatArg(args)...};
        return FormatMessageCore(pszFormat, aoArgs.data(), aoArgs.size());
    }
    template <class... Args>
    bool FormatMessageW(HINSTANCE hModule, UINT uId, const Args&... args) {
        CXString csFormat;
        return csFormat.LoadStringW(hModule, uId) && FormatMessageW(csFormat.GetLpcwstr(), args...);
    }

    // ---- conversions ----

    /// The text in a code page (0: ANSI, 65001: UTF-8), with a terminating zero; characters without a counterpart
    /// become "?".  Of a code page that the system does not know, the terminating zero alone.
    std::vector<char> GetAsMultiByte(UINT uCodePage) const;
    /// The text in the ANSI code page into the caller's buffer, always terminated, cut between characters.
    /// @return bytes written, without the terminator; 0 without room.
    int GetAsMultiByte(char* pchBuffer, int iBufferBytes) const;
    /// Makes the string a string resource of a module (null: the library).  @return false when absent; then unchanged.
    bool LoadStringW(HINSTANCE hModule, UINT uId);
    /// Makes the string a window's caption.  @return false when the system refuses; then unchanged.
    bool GetWindowTextW(HWND hwnd);
    bool SetWindowTextW(HWND hwnd) const;

    // ---- Base64 (RFC 4648 section 4: standard alphabet, padded, one line) ----

    /// Makes the string the encoding of the bytes.
    void Base64EncodeBinaryData(const BYTE* pbyData, DWORD dwLength);
    void Base64EncodeBinaryData(std::span<const BYTE> data);
    /// The encoding of this text, taken as its UTF-16 code units in little-endian order.
    CXString Base64EncodeUnicodeString() const;
    /// Decodes this text.  White space is skipped; anything else outside the alphabet, bad padding, and set bits behind
    /// the last byte are refused.  @return false when refused; `rvResult` is then empty.
    bool Base64DecodeAsBinaryData(std::vector<BYTE>& rvResult) const;
    /// The same, with the bytes taken as UTF-16 little-endian; an odd number of bytes is refused.
    bool Base64DecodeAsUnicodeString(CXString& rcsResult) const;

    // ---- predicates and hash ----

    /// True when the text is empty or all blanks (code 32 only).
    bool IsBlank() const noexcept;
    /// True when the text is not empty and all of it is 0 to 9.
    bool IsContainNumericCharsOnly() const noexcept;
    /// h = h * 31 + c over the code units up to the first zero one, in 64 bits; 0 for the empty text.
    ULONGLONG GetHashValue() const noexcept;

protected:
    /// Points to the empty block, without giving anything back.
    void Init() noexcept { m_pchData = EmptyText(); }
    /// Points to a new block with room for `iLength` code units, without giving the former back.
    void AllocBuffer(int iLength);
    /// Makes `rcsTarget` a copy of `iCopyLength` units from `iCopyIndex` on, with room for `iExtraLength` more.
    void AllocCopy(CXString& rcsTarget, int iCopyLength, int iCopyIndex, int iExtraLength) const;
    void AssignCopy(std::size_t cUnits, const XCHAR* pchText);
    void ConcatCopy(XStringView left, XStringView right);
    void ConcatInPlace(std::size_t cUnits, const XCHAR* pchText);
    /// Makes the block the string's own, keeping the text.
    void CopyBeforeWrite();
    /// Makes the block the string's own with room for `iLength` units; the text is lost if a new one was needed.
    void AllocBeforeWrite(int iLength);
    static void FreeData(CXStringData* pData) noexcept;
    /// Gives the block back and becomes empty.
    void Release() noexcept { Empty(); }
    static void Release(CXStringData* pData) noexcept {
        const std::int32_t lRefs = pData->m_lRefs.load(std::memory_order_acquire);
        if (lRefs == CXStringData::STATIC) return;
        // A count of 1 is this string's alone, so nobody can raise it meanwhile: the last drop needs no atomic write.
        if (lRefs > 1 && pData->m_lRefs.fetch_sub(1, std::memory_order_acq_rel) != 1) return;
        FreeData(pData);
    }

private:
    /// What every empty string points to.
    static const CXStringEmptyBlock m_soEmptyBlock;
    static XCHAR* EmptyText() noexcept { return const_cast<XCHAR*>(&m_soEmptyBlock.m_chEnd); }

    CXStringData* Data() const noexcept { return CXStringData::FromText(m_pchData); }
    bool IsLocked() const noexcept { return Data()->m_lRefs.load(std::memory_order_relaxed) == CXStringData::LOCKED; }
    /// True when no other string can see a change of the block.
    bool IsOwn() const noexcept {
        const std::int32_t lRefs = Data()->m_lRefs.load(std::memory_order_acquire);
        return lRefs == 1 || lRefs == CXStringData::LOCKED;
    }
    /// Replaces the block by a new one, keeping a lock.
    void TakeBlock(CXStringData* pData) noexcept;
    /// Shortens (or, within the capacity, lengthens) the text of an own block.
    void SetOwnLength(std::size_t cUnits) noexcept;
    void CopyOfLocked(const CXString& kcsOther);
    CXString& AssignText(XStringArg text) {
        AssignCopy(text.size(), text.data());
        return *this;
    }
    /// Takes a result over; a locked string gets a copy, so that its buffer stays its own.
    void AssignResult(CXString& rcsResult);
    template <class Unwanted>
    CXString& TrimLeftIf(Unwanted unwanted);
    template <class Unwanted>
    CXString& TrimRightIf(Unwanted unwanted);
    bool FormatMessageCore(const XCHAR* pszFormat, const vlm::FormatArg* poArgs, std::size_t cArgs);

    XCHAR* m_pchData;
};
static_assert(sizeof(CXString) == sizeof(void*));

inline XStringArg::XStringArg(const CXString& kcsText) noexcept : XStringArg(kcsText.View()) {}

#include "utilities/utilitiesdll/CXStringOperators.h"
