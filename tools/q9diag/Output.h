/// @file
/// What the tool prints: aligned text or one JSON document on standard output, remarks on standard error.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "JsonText.h"

namespace vlm::tool {

struct FailureReport;

/// How a piece of text looks where colours are allowed.
enum class Style { Plain, Heading, Name, Added, Removed, Changed, Good, Bad };

enum class ColorChoice { Auto, Always, Never };

/// The program's output.  Text is UTF-8; whatever comes from a file goes through `Printable` first.
/// **Failure**: writing never throws; `Finish` tells whether everything arrived.
class Output {
public:
    /// @param fJson one JSON document instead of text.
    Output(bool fJson, ColorChoice eColor);

    bool IsJson() const noexcept { return m_bJson; }

    /// Prints one line for people; nothing with JSON.
    void Line(std::string_view strText = {});
    /// Text with its style where colours are allowed.
    std::string Styled(Style eStyle, std::string_view strText) const;
    /// Prints rows in aligned columns, the last one ragged; nothing with JSON.
    /// @param iIndent blanks before each row.  @param vStyles styles by column, plain where there are fewer.
    void Table(const std::vector<std::vector<std::string>>& rvRows, int iIndent = 0,
               const std::vector<Style>& rvStyles = {});
    /// Prints the command's JSON document, "schemaVersion" first; nothing without JSON.
    void Document(Json oDocument);
    /// Prints a text of many lines; with JSON a document whose one member it is.
    void Text(const char* pszMember, std::string_view strText);
    /// Prints bytes as they are, whatever the kind of output.
    void Bytes(std::string_view strBytes);
    /// Prints a remark for people on standard error.
    void Remark(std::string_view strText) const;
    /// Prints the one line on standard error; with JSON the document on standard output, too.
    /// @param strCommand the command's words, may be empty.
    void Error(const std::string& strCommand, const FailureReport& rReport);

    /// Flushes.  @return false when standard output takes no more, whether its reader has gone or the writing failed.
    bool Flush() noexcept;
    /// Flushes.  @return false when standard output did not take everything, although its reader wanted more.
    bool Finish() noexcept;

private:
    bool m_bJson;
    bool m_bColor;
};

/// Columns that a text takes on a terminal, one for each code point.
std::size_t Columns(std::string_view strUtf8) noexcept;

}  // namespace vlm::tool
