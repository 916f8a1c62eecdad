/// @file
/// The text of a UTF-8 INI file: how its lines are read, and how it is edited in place.
#include "environment/detail/ini/IniText.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace vlm::ini {

namespace {

using std::string_view;

constexpr string_view LINE_END = "\r\n", BYTE_ORDER_MARK = "\xEF\xBB\xBF", PLACE = "%s", TERMINATOR("\0", 1),
                      NO_PART_HAS("\r\n\0", 3);

constexpr bool IsLineEnd(char ch) noexcept {
    return ch == '\r' || ch == '\n';
}

/// Where the first line begins.
std::size_t Start(string_view svText) noexcept {
    return svText.starts_with(BYTE_ORDER_MARK) ? BYTE_ORDER_MARK.size() : 0;
}

bool BeginsLine(string_view svText, std::size_t cAt) noexcept {
    return cAt == Start(svText) || (cAt > 0 && IsLineEnd(svText[cAt - 1]));
}

/// The end of a line, in short steps: neither kind of line end is looked for far beyond the other.
std::size_t LineEnd(string_view svText, std::size_t cAt) noexcept {
    constexpr std::size_t STEP = 128;
    while (cAt < svText.size()) {
        const string_view svStep = svText.substr(cAt, STEP);
        const std::size_t cLf = std::min(svStep.find('\n'), svStep.size());
        const std::size_t cEnd = std::min(svStep.find('\r'), cLf);
        if (cEnd < svStep.size()) return cAt + cEnd;
        cAt += svStep.size();
    }
    return svText.size();
}

/// Goes through the lines that say something.
class Lines {
public:
    Lines(string_view svText, std::size_t cFrom) noexcept : m_svText(svText), m_cNext(cFrom) {}

    bool Next() noexcept {
        do {
            while (m_cNext < m_svText.size() && IsLineEnd(m_svText[m_cNext]))
                ++m_cNext;
            if (m_cNext >= m_svText.size()) return false;
            m_cBegin = m_cNext;
            m_cNext = LineEnd(m_svText, m_cBegin);
        } while (m_cNext - m_cBegin < MIN_LINE_BYTES || m_cNext - m_cBegin > MAX_LINE_BYTES);
        return true;
    }
    std::size_t Begin() const noexcept { return m_cBegin; }
    string_view Line() const noexcept { return m_svText.substr(m_cBegin, m_cNext - m_cBegin); }
    bool IsHeader() const noexcept { return m_svText[m_cBegin] == '[' && m_svText[m_cNext - 1] == ']'; }

private:
    string_view m_svText;
    std::size_t m_cNext;
    std::size_t m_cBegin = 0;
};

/// The next "[" at the beginning of a line; the text's length when there is none.
std::size_t NextBracket(string_view svText, std::size_t cFrom) noexcept {
    for (std::size_t i = cFrom; (i = svText.find('[', i)) != string_view::npos; ++i)
        if (BeginsLine(svText, i)) return i;
    return svText.size();
}

std::size_t FindHeader(string_view svText, string_view svSection) noexcept {
    if (svSection.find_first_of(LINE_END) != string_view::npos) return ABSENT;
    const std::size_t cHeader = svSection.size() + 2;
    for (std::size_t i = NextBracket(svText, 0); i < svText.size(); i = NextBracket(svText, i + 1)) {
        const string_view svLine = svText.substr(i);
        if (svLine.size() >= cHeader && svLine[cHeader - 1] == ']' && svLine.substr(1).starts_with(svSection) &&
            (svLine.size() == cHeader || IsLineEnd(svLine[cHeader]))) {
            return i;
        }
    }
    return ABSENT;
}

std::size_t BehindHeader(std::size_t cHeader, string_view svSection) noexcept {
    return cHeader + svSection.size() + 2;
}

}  // namespace

string_view WithoutRoom(string_view svBytes) noexcept {
    while (!svBytes.empty() && svBytes.back() == '\0')
        svBytes.remove_suffix(1);
    return svBytes;
}

Place Find(string_view svText, string_view svSection, std::optional<string_view> oKey) noexcept {
    Place oPlace{FindHeader(svText, svSection)};
    if (oPlace.cHeader == ABSENT || !oKey) return oPlace;
    for (Lines oLines(svText, BehindHeader(oPlace.cHeader, svSection)); oLines.Next() && !oLines.IsHeader();) {
        const string_view svLine = oLines.Line();
        if (svLine.size() > oKey->size() && svLine[oKey->size()] == '=' && svLine.starts_with(*oKey)) {
            oPlace.cValue = oLines.Begin() + oKey->size() + 1;
            break;
        }
    }
    return oPlace;
}

string_view ValueAt(string_view svText, std::size_t cValue) noexcept {
    return svText.substr(cValue, LineEnd(svText, cValue) - cValue);
}

void NameList::Put(string_view svBytes) noexcept {
    if (m_pszBuffer && m_cNeeded < m_cb) svBytes.copy(m_pszBuffer + m_cNeeded, m_cb - m_cNeeded);
    m_cNeeded += svBytes.size();
}

void NameList::Add(string_view svName) noexcept {
    if (svName.empty()) return;
    Put(svName);
    Put(TERMINATOR);
}

std::size_t NameList::Finish() noexcept {
    const std::size_t cList = m_cNeeded;
    Put(TERMINATOR);
    if (cList == 0) Put(TERMINATOR);
    if (!m_pszBuffer || cList < m_cb) return m_pszBuffer ? cList : 0;
    const std::size_t cZeros = std::min<std::size_t>(m_cb, 2);
    std::fill_n(m_pszBuffer + m_cb - cZeros, cZeros, '\0');
    return m_cb - cZeros;
}

void ListSections(string_view svText, NameList& rNames) noexcept {
    for (Lines oLines(svText, Start(svText)); oLines.Next();)
        if (oLines.IsHeader()) rNames.Add(oLines.Line().substr(1, oLines.Line().size() - 2));
}

void ListKeys(string_view svText, string_view svSection, NameList& rNames) noexcept {
    const std::size_t cHeader = FindHeader(svText, svSection);
    if (cHeader == ABSENT) return;
    for (Lines oLines(svText, BehindHeader(cHeader, svSection)); oLines.Next() && !oLines.IsHeader();) {
        const std::size_t cEquals = oLines.Line().find('=');
        if (cEquals != string_view::npos && oLines.Line().front() != ';') rNames.Add(oLines.Line().substr(0, cEquals));
    }
}

bool IsWritable(string_view svSection, string_view svKey, string_view svValue) noexcept {
    for (const string_view svPart : {svSection, svKey, svValue})
        if (svPart.find_first_of(NO_PART_HAS) != string_view::npos) return false;
    const std::size_t cLine = svKey.size() + 1 + svValue.size();
    return svSection.find_first_of("[]") == string_view::npos && svKey.find('=') == string_view::npos &&
           !svKey.starts_with('[') && svSection.size() + 2 < HEADER_LIMIT && cLine >= MIN_LINE_BYTES &&
           cLine <= MAX_LINE_BYTES;
}

bool Editor::Replace(std::size_t cAt, std::size_t cOld, std::span<const string_view> vNew) noexcept {
    std::size_t cNew = 0;
    for (const string_view svPart : vNew)
        cNew += svPart.size();
    const std::size_t cLength = m_cLength - cOld + cNew;
    if (cNew > cOld && cLength > m_cRoom) return false;
    char* pchTarget = m_pchText + cAt;
    std::memmove(pchTarget + cNew, pchTarget + cOld, m_cLength - cAt - cOld);
    for (const string_view svPart : vNew)
        pchTarget += svPart.copy(pchTarget, svPart.size());
    if (cLength < m_cLength) std::memset(m_pchText + cLength, 0, m_cLength - cLength);
    m_cLength = cLength;
    return true;
}

bool Editor::Insert(std::size_t cAt, string_view svFormat, std::span<const string_view> vParts) noexcept {
    std::array<string_view, 8> asvPieces;
    std::size_t cPieces = 0;
    if (cAt != Start(Text()) && !IsLineEnd(m_pchText[cAt - 1])) asvPieces[cPieces++] = LINE_END;
    for (const string_view svPart : vParts) {
        const std::size_t cPlace = svFormat.find(PLACE);
        asvPieces[cPieces++] = svFormat.substr(0, cPlace);
        asvPieces[cPieces++] = svPart;
        svFormat.remove_prefix(cPlace + PLACE.size());
    }
    asvPieces[cPieces++] = svFormat;
    return Replace(cAt, 0, {asvPieces.data(), cPieces});
}

bool Editor::Write(string_view svSection, string_view svKey, string_view svValue) noexcept {
    const string_view asvParts[] = {svSection, svKey, svValue};
    const Place oPlace = Find(Text(), svSection, svKey);
    if (oPlace.cHeader == ABSENT) return Insert(m_cLength, "[%s]\r\n%s=%s\r\n", asvParts);
    if (oPlace.cValue == ABSENT) {
        const std::size_t cEnd = NextBracket(Text(), BehindHeader(oPlace.cHeader, svSection));
        return Insert(cEnd, "%s=%s\r\n", std::span(asvParts).subspan(1));
    }
    return Replace(oPlace.cValue, ValueAt(Text(), oPlace.cValue).size(), std::span(asvParts).subspan(2));
}

bool Editor::DeleteSection(string_view svSection) noexcept {
    const std::size_t cHeader = FindHeader(Text(), svSection);
    if (cHeader == ABSENT) return false;
    Lines oLines(Text(), BehindHeader(cHeader, svSection));
    bool fNext = false;
    while ((fNext = oLines.Next()) && !oLines.IsHeader()) {
    }
    return Replace(cHeader, (fNext ? oLines.Begin() : m_cLength) - cHeader, {});
}

bool Editor::DeleteKey(string_view svSection, string_view svKey) noexcept {
    const std::size_t cValue = Find(Text(), svSection, svKey).cValue;
    if (cValue == ABSENT) return false;
    const std::size_t cBegin = cValue - 1 - svKey.size();
    const string_view svRest = Text().substr(LineEnd(Text(), cValue));
    const std::size_t cEnd = svRest.starts_with(LINE_END) ? 2 : svRest.empty() ? 0 : 1;
    return Replace(cBegin, m_cLength - svRest.size() + cEnd - cBegin, {});
}

}  // namespace vlm::ini
