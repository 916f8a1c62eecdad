// What the tool prints.
#include "Output.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>

#include "Failure.h"
#include "platform/ProgramImpl.h"

namespace vlm::tool {

namespace {

constexpr int SCHEMA_VERSION = 1;

bool WantsColor(ColorChoice eColor) {
    if (eColor != ColorChoice::Auto) return eColor == ColorChoice::Always;
    const char* pszNoColor = std::getenv("NO_COLOR");
    if (pszNoColor && *pszNoColor != '\0') return false;
    const char* pszTerminal = std::getenv("TERM");
    if (pszTerminal && std::string_view(pszTerminal) == "dumb") return false;
    return IsTerminal(StandardStream::Output);
}

std::string_view CodeOf(Style eStyle) noexcept {
    switch (eStyle) {
        case Style::Plain:
            break;
        case Style::Heading:
            return "\x1b[1m";
        case Style::Name:
            return "\x1b[36m";
        case Style::Added:
        case Style::Good:
            return "\x1b[32m";
        case Style::Removed:
        case Style::Bad:
            return "\x1b[31m";
        case Style::Changed:
            return "\x1b[33m";
    }
    return {};
}

// A reader that closes the pipe has seen all that it wanted.
bool gfReaderHasGone = false;

void NoteFailedWrite(std::FILE* pStream) noexcept {
    if (pStream == stdout && errno == EPIPE) gfReaderHasGone = true;
}

void Put(std::FILE* pStream, std::string_view strText) noexcept {
    if (std::fwrite(strText.data(), 1, strText.size(), pStream) != strText.size()) NoteFailedWrite(pStream);
}

}  // namespace

std::size_t Columns(std::string_view strUtf8) noexcept {
    return static_cast<std::size_t>(std::count_if(
        strUtf8.begin(), strUtf8.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }));
}

Output::Output(bool fJson, ColorChoice eColor) : m_bJson(fJson), m_bColor(WantsColor(eColor)) {}

void Output::Line(std::string_view strText) {
    if (m_bJson) return;
    Put(stdout, strText);
    Put(stdout, "\n");
}

std::string Output::Styled(Style eStyle, std::string_view strText) const {
    const std::string_view strCode = CodeOf(eStyle);
    if (!m_bColor || strCode.empty()) return std::string(strText);
    return std::string(strCode).append(strText).append("\x1b[0m");
}

void Output::Table(const std::vector<std::vector<std::string>>& rvRows, int iIndent,
                   const std::vector<Style>& rvStyles) {
    std::vector<std::size_t> vWidths;
    for (const auto& rRow : rvRows) {
        vWidths.resize(std::max(vWidths.size(), rRow.size()));
        for (std::size_t i = 0; i + 1 < rRow.size(); ++i)
            vWidths[i] = std::max(vWidths[i], Columns(rRow[i]));
    }
    for (const auto& rRow : rvRows) {
        std::string strLine(static_cast<std::size_t>(iIndent), ' ');
        for (std::size_t i = 0; i < rRow.size(); ++i) {
            strLine += Styled(i < rvStyles.size() ? rvStyles[i] : Style::Plain, rRow[i]);
            if (i + 1 < rRow.size()) strLine.append(vWidths[i] - Columns(rRow[i]) + 2, ' ');
        }
        Line(strLine);
    }
}

void Output::Document(Json oDocument) {
    if (!m_bJson) return;
    Json oWhole = {{"schemaVersion", SCHEMA_VERSION}};
    for (auto& [strName, oMember] : oDocument.items())
        oWhole[strName] = std::move(oMember);
    Put(stdout, WriteJson(oWhole));
}

void Output::Text(const char* pszMember, std::string_view strText) {
    if (m_bJson)
        Document({{pszMember, JsonString(strText)}});
    else
        Bytes(strText);
}

void Output::Bytes(std::string_view strBytes) {
    Put(stdout, strBytes);
}

void Output::Remark(std::string_view strText) const {
    Put(stderr, std::string(strText).append("\n"));
}

void Output::Error(const std::string& strCommand, const FailureReport& rReport) {
    Remark("q9diag: " + (strCommand.empty() ? "" : strCommand + ": ") + rReport.strClass + " " + rReport.strIdentifier +
           ": " + rReport.strMessage);
    Document({{"error",
               {{"class", JsonString(std::string_view(rReport.strClass))},
                {"identifier", JsonString(std::string_view(rReport.strIdentifier))},
                {"message", JsonString(std::string_view(rReport.strMessage))}}}});
}

bool Output::Flush() noexcept {
    if (std::fflush(stdout) != 0) NoteFailedWrite(stdout);
    return std::ferror(stdout) == 0;
}

bool Output::Finish() noexcept {
    return Flush() || gfReaderHasGone;
}

}  // namespace vlm::tool
