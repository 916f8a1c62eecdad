/// @file
/// The text of a UTF-8 INI file: how its lines are read, and how it is edited in place.
#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string_view>

namespace vlm::ini {

/// A line ends at CR or LF, or with the text.  Shorter and longer lines than these say nothing, whatever is in them.
inline constexpr std::size_t MIN_LINE_BYTES = 2, MAX_LINE_BYTES = 1024;
/// A header, with its brackets, is shorter than this.
inline constexpr std::size_t HEADER_LIMIT = 260;
inline constexpr std::size_t ABSENT = ~std::size_t{0};

/// The bytes without the zeros at their end: room that an editor has left behind is no text.
std::string_view WithoutRoom(std::string_view svBytes) noexcept;

/// Where an entry is.
struct Place {
    std::size_t cHeader = ABSENT;  ///< the section's "["
    std::size_t cValue = ABSENT;   ///< the first byte of the value
};
/// Looks for the first section of that name, and in it for the first line that begins with the key and "=".  Letters
/// count as they are, blanks too.  The cost is linear in the bytes before the entry.
/// @param oKey nothing: only the section is looked for.
Place Find(std::string_view svText, std::string_view svSection, std::optional<std::string_view> oKey) noexcept;
/// A value from its first byte to the end of its line.
std::string_view ValueAt(std::string_view svText, std::size_t cValue) noexcept;

/// Lists names in a caller's buffer: each with a zero behind it, and one more zero at the end.  A list that does not
/// fit is cut and ends with two zeros.  An empty name would end the list, and is left out.
class NameList {
public:
    /// @param pszBuffer null, or `cbBuffer` bytes.
    NameList(char* pszBuffer, std::size_t cbBuffer) noexcept : m_pszBuffer(pszBuffer), m_cb(cbBuffer) {}
    void Add(std::string_view svName) noexcept;
    /// @return bytes without the last zero.
    std::size_t Finish() noexcept;

private:
    void Put(std::string_view svBytes) noexcept;
    char* m_pszBuffer;
    std::size_t m_cb;
    std::size_t m_cNeeded = 0;
};
void ListSections(std::string_view svText, NameList& rNames) noexcept;
/// The keys of the first section of that name: what stands before "=" in its lines, without lines that begin with ";".
void ListKeys(std::string_view svText, std::string_view svSection, NameList& rNames) noexcept;

/// Whether an entry of these parts would be found again, and would be nothing else beside: no CR, LF or zero byte
/// anywhere, no bracket in the section's name, no "=" in the key and no "[" at its start, a line and a header within
/// their bounds.
bool IsWritable(std::string_view svSection, std::string_view svKey, std::string_view svValue) noexcept;

/// A text that is edited where it stands.  Whatever an edit makes longer moves up first, from its end; whatever it
/// makes shorter leaves zeros behind: nothing before the edit is wrong at any moment.
/// **Ownership**: borrows the memory.  **Failure**: false when the room does not do; nothing has changed then.
class Editor {
public:
    /// @param cRoom bytes that the text may grow to, in the same memory.
    Editor(char* pchText, std::size_t cLength, std::size_t cRoom) noexcept
        : m_pchText(pchText), m_cLength(cLength), m_cRoom(cRoom) {}

    std::string_view Text() const noexcept { return {m_pchText, m_cLength}; }

    /// Replaces the value of an entry; puts a new one at the end of its section, before the next "[" that begins a
    /// line; puts a new section at the end of the text.  @param parts that IsWritable approves.
    bool Write(std::string_view svSection, std::string_view svKey, std::string_view svValue) noexcept;
    /// Removes the first section of that name up to the next header.  @return whether there was one.
    bool DeleteSection(std::string_view svSection) noexcept;
    /// Removes the line of an entry.  @return whether there was one.
    bool DeleteKey(std::string_view svSection, std::string_view svKey) noexcept;

private:
    /// Puts lines in where a line begins; ends the one before first when it has no end.
    bool Insert(std::size_t cAt, std::string_view svFormat, std::span<const std::string_view> vParts) noexcept;
    bool Replace(std::size_t cAt, std::size_t cOld, std::span<const std::string_view> vNew) noexcept;

    char* m_pchText;
    std::size_t m_cLength;
    std::size_t m_cRoom;
};

}  // namespace vlm::ini
