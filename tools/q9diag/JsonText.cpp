// JSON text in and out, for strings of any UTF-16 code units.
#include "JsonText.h"

#include <algorithm>
#include <optional>
#include <set>
#include <vector>

#include "Failure.h"

namespace vlm::tool {

namespace {

constexpr char32_t MARK = 0xFFFF;
constexpr std::string_view MARK_UTF8 = "\xEF\xBF\xBF";
constexpr std::string_view MARK_ITSELF = "fff";  // no surrogate is this far from U+D800

std::string Marked(char32_t surrogate) {
    std::string strDigits = Hex(surrogate - 0xD800, 3);
    return std::string(MARK_UTF8) + strDigits;
}

std::optional<unsigned> HexValue(std::string_view strDigits) noexcept {
    unsigned uValue = 0;
    for (const char c : strDigits) {
        const bool fDigit = c >= '0' && c <= '9';
        const bool fLetter = (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
        if (!fDigit && !fLetter) return std::nullopt;
        uValue = uValue * 16 + static_cast<unsigned>(fDigit ? c - '0' : (c | 0x20) - 'a' + 10);
    }
    return uValue;
}

/// The code unit of an escape `\uXXXX` at the start of the text.
std::optional<char32_t> UnitOfEscape(std::string_view strText) noexcept {
    if (strText.size() < 6 || strText[0] != '\\' || strText[1] != 'u') return std::nullopt;
    return HexValue(strText.substr(2, 4));
}

/// Rewrites what the library would refuse.  Each escape keeps its length, so that positions in error texts hold.
std::string MarkEscapes(std::string_view strText) {
    std::string strResult;
    strResult.reserve(strText.size());
    bool fInString = false;
    for (std::size_t i = 0; i < strText.size();) {
        const std::string_view strRest = strText.substr(i);
        std::size_t cTaken = 1;
        if (strRest.front() == '"') {
            fInString = !fInString;
        } else if (fInString && strRest.starts_with(MARK_UTF8)) {
            strResult.append(MARK_UTF8).append(MARK_ITSELF);
            i += MARK_UTF8.size();
            continue;
        } else if (fInString && strRest.front() == '\\') {
            cTaken = strRest.size() > 1 ? 2 : 1;
            if (const auto unit = UnitOfEscape(strRest)) {
                cTaken = 6;
                const auto next = UnitOfEscape(strRest.substr(6));
                if (*unit == MARK) {
                    strResult.append(MARK_UTF8).append(MARK_ITSELF);
                    i += cTaken;
                    continue;
                }
                if (IsHighSurrogate(*unit) && next && IsLowSurrogate(*next)) {
                    cTaken = 12;
                } else if (IsSurrogate(*unit)) {
                    strResult += Marked(*unit);
                    i += cTaken;
                    continue;
                }
            }
        }
        strResult.append(strRest.substr(0, cTaken));
        i += cTaken;
    }
    return strResult;
}

/// Watches the parser: refuses members that stand twice and documents that are too deep, by their path.
class ParseGuard {
public:
    bool operator()(int depth, Json::parse_event_t eEvent, const Json& rParsed) {
        using Event = Json::parse_event_t;
        switch (eEvent) {
            case Event::object_start:
            case Event::array_start:
                CountElement();
                if (depth >= MAX_JSON_DEPTH)
                    RefuseInput(Path() + ": nested more than " + std::to_string(MAX_JSON_DEPTH) + " levels deep");
                m_vFrames.push_back({eEvent == Event::array_start, 0, {}, {}});
                break;
            case Event::object_end:
            case Event::array_end:
                m_vFrames.pop_back();
                break;
            case Event::key: {
                Frame& rFrame = m_vFrames.back();
                rFrame.strKey = rParsed.get<std::string>();
                if (!rFrame.setKeys.insert(rFrame.strKey).second) RefuseInput(Path() + ": the member stands twice");
                break;
            }
            case Event::value:
                CountElement();
                break;
        }
        return true;
    }

private:
    struct Frame {
        bool bArray;
        std::size_t cElements;
        std::string strKey;
        std::set<std::string> setKeys;
    };

    void CountElement() noexcept {
        if (!m_vFrames.empty() && m_vFrames.back().bArray) ++m_vFrames.back().cElements;
    }

    std::string Path() const {
        std::string strPath;
        for (const Frame& rFrame : m_vFrames) {
            if (rFrame.bArray)
                strPath.append("[").append(std::to_string(rFrame.cElements - 1)).append("]");
            else
                strPath += (strPath.empty() ? "" : ".") + rFrame.strKey;
        }
        return Printable(XStringView(JsonUnits(Json(strPath))));
    }

    std::vector<Frame> m_vFrames;
};

/// The parser's own words without its identification and position.
std::string ReasonOf(const Json::parse_error& rError) {
    std::string strReason = rError.what();
    const std::size_t uStart = strReason.find(": ", strReason.find("parse error"));
    if (uStart != std::string::npos) strReason.erase(0, uStart + 2);
    return strReason;
}

std::string PlaceOf(std::string_view strText, std::size_t uByte) {
    std::size_t cLine = 1;
    std::size_t cColumn = 1;
    for (const char c : strText.substr(0, uByte > 0 ? uByte - 1 : 0)) {
        cColumn = c == '\n' ? 1 : cColumn + 1;
        cLine += c == '\n' ? 1 : 0;
    }
    return "line " + std::to_string(cLine) + ", column " + std::to_string(cColumn);
}

}  // namespace

Json JsonString(XStringView strText) {
    std::string strResult;
    strResult.reserve(strText.size());
    while (!strText.empty()) {
        const char32_t codePoint = TakeCodePoint(strText);
        if (IsSurrogate(codePoint))
            strResult += Marked(codePoint);
        else if (codePoint == MARK)
            strResult.append(MARK_UTF8).append(MARK_ITSELF);
        else
            AppendUtf8(strResult, codePoint);
    }
    return Json(std::move(strResult));
}

Json JsonString(std::string_view strUtf8) {
    return JsonString(XStringView(FromAnyUtf8(strUtf8)));
}

XText JsonUnits(const Json& rString) {
    XText strUnits = FromUtf8(rString.get_ref<const std::string&>(), "JSON string");
    XText strResult;
    strResult.reserve(strUnits.size());
    for (std::size_t i = 0; i < strUnits.size(); ++i) {
        if (strUnits[i] != static_cast<XCHAR>(MARK) || i + 3 >= strUnits.size()) {
            strResult += strUnits[i];
            continue;
        }
        const unsigned uDistance = HexValue(ToUtf8(XStringView(strUnits).substr(i + 1, 3))).value_or(0xFFF);
        strResult += static_cast<XCHAR>(uDistance == 0xFFF ? MARK : 0xD800 + uDistance);
        i += 3;
    }
    return strResult;
}

Json ParseJson(std::string_view strText) {
    // The library takes a zero byte for the end, whatever follows.
    if (const std::size_t uZero = strText.find('\0'); uZero != std::string_view::npos)
        RefuseInput(PlaceOf(strText, uZero + 1) + ": a zero byte");
    const std::string strMarked = MarkEscapes(strText);
    ParseGuard guard;
    try {
        return Json::parse(strMarked, [&](int depth, Json::parse_event_t eEvent, Json& rParsed) {
            return guard(depth, eEvent, rParsed);
        });
    } catch (const Json::parse_error& rError) {
        RefuseInput(PlaceOf(strMarked, rError.byte) + ": " + Printable(std::string_view(ReasonOf(rError))));
    } catch (const Json::out_of_range& rError) {
        RefuseInput(std::string("a number is out of range: ") + Printable(std::string_view(rError.what())));
    }
}

std::string JsonName(XStringView strText) {
    return JsonString(strText).get<std::string>();
}

std::string WriteJson(const Json& rDocument, JsonLayout eLayout) {
    const std::string strMarked = rDocument.dump(static_cast<int>(eLayout));
    std::string strUnmarked;
    strUnmarked.reserve(strMarked.size() + 1);
    for (std::size_t i = 0; i < strMarked.size();) {
        const std::string_view strRest = std::string_view(strMarked).substr(i);
        if (!strRest.starts_with(MARK_UTF8)) {
            strUnmarked += strRest.front();
            ++i;
            continue;
        }
        const std::string_view strDigits = strRest.substr(MARK_UTF8.size(), 3);
        const unsigned uUnit = strDigits == MARK_ITSELF ? MARK : 0xD800 + HexValue(strDigits).value_or(0);
        strUnmarked.append("\\u").append(Hex(uUnit, 4));
        i += MARK_UTF8.size() + 3;
    }
    // Line ends stand between members only, never in a string.
    std::string strResult;
    strResult.reserve(strUnmarked.size() + 1);
    for (std::size_t uBegin = 0; uBegin < strUnmarked.size();) {
        const std::size_t uEnd = std::min(strUnmarked.find('\n', uBegin), strUnmarked.size());
        strResult.append(Printable(std::string_view(strUnmarked).substr(uBegin, uEnd - uBegin))) += '\n';
        uBegin = uEnd + 1;
    }
    return strResult;
}

}  // namespace vlm::tool
