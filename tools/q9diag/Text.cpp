// Conversions between UTF-8 and UTF-16, and text made fit for a terminal.
#include "Text.h"

#include <optional>

#include "Failure.h"

namespace vlm::tool {

namespace {

/// Takes one code point from UTF-8; empty, and nothing taken, when the bytes are not well-formed.
std::optional<char32_t> TakeUtf8(std::string_view& rText) noexcept {
    const auto byteAt = [&](std::size_t uIndex) { return static_cast<unsigned char>(rText[uIndex]); };
    const unsigned char byFirst = byteAt(0);
    if (byFirst < 0x80) {
        rText.remove_prefix(1);
        return byFirst;
    }
    const std::size_t cBytes = byFirst >= 0xF0 ? 4 : byFirst >= 0xE0 ? 3 : 2;
    if (byFirst < 0xC2 || byFirst > 0xF4 || rText.size() < cBytes) return std::nullopt;
    char32_t codePoint = byFirst & (0xFFu >> (cBytes + 1));
    for (std::size_t i = 1; i < cBytes; ++i) {
        if ((byteAt(i) & 0xC0) != 0x80) return std::nullopt;
        codePoint = (codePoint << 6) | (byteAt(i) & 0x3Fu);
    }
    constexpr char32_t LEAST[] = {0, 0, 0x80, 0x800, 0x10000};
    if (codePoint < LEAST[cBytes] || codePoint > 0x10FFFF || IsSurrogate(codePoint)) return std::nullopt;
    rText.remove_prefix(cBytes);
    return codePoint;
}

/// What would move the cursor, start an escape code or reorder the line.
bool IsUnfitForTerminal(char32_t codePoint) noexcept {
    return codePoint < 0x20 || (codePoint >= 0x7F && codePoint < 0xA0) ||
           (codePoint >= 0x202A && codePoint <= 0x202E) || (codePoint >= 0x2066 && codePoint <= 0x2069) ||
           codePoint == 0x2028 || codePoint == 0x2029 || codePoint == 0xFFFE || codePoint == 0xFFFF ||
           IsSurrogate(codePoint);
}

void AppendPrintable(std::string& rTarget, char32_t codePoint) {
    if (IsUnfitForTerminal(codePoint))
        rTarget += "\\u" + Hex(codePoint, 4);
    else
        AppendUtf8(rTarget, codePoint);
}

}  // namespace

char32_t TakeCodePoint(XStringView& rText) noexcept {
    const char32_t unit = rText.front();
    rText.remove_prefix(1);
    if (!IsHighSurrogate(unit) || rText.empty() || !IsLowSurrogate(rText.front())) return unit;
    const char32_t low = rText.front();
    rText.remove_prefix(1);
    return 0x10000 + ((unit - 0xD800) << 10) + (low - 0xDC00);
}

void AppendUtf8(std::string& rTarget, char32_t codePoint) {
    const auto append = [&](char32_t byte) { rTarget += static_cast<char>(static_cast<unsigned char>(byte)); };
    if (codePoint < 0x80) {
        append(codePoint);
        return;
    }
    if (codePoint < 0x800) {
        append(0xC0 | (codePoint >> 6));
    } else {
        if (codePoint < 0x10000) {
            append(0xE0 | (codePoint >> 12));
        } else {
            append(0xF0 | (codePoint >> 18));
            append(0x80 | ((codePoint >> 12) & 0x3F));
        }
        append(0x80 | ((codePoint >> 6) & 0x3F));
    }
    append(0x80 | (codePoint & 0x3F));
}

void AppendUtf16(XText& rTarget, char32_t codePoint) {
    if (codePoint < 0x10000) {
        rTarget += static_cast<XCHAR>(codePoint);
    } else {
        rTarget += static_cast<XCHAR>(0xD800 + ((codePoint - 0x10000) >> 10));
        rTarget += static_cast<XCHAR>(0xDC00 + ((codePoint - 0x10000) & 0x3FF));
    }
}

XText FromUtf8(std::string_view strText, const char* pszWhat) {
    XText strResult;
    strResult.reserve(strText.size());
    const std::size_t cBytes = strText.size();
    while (!strText.empty()) {
        const auto codePoint = TakeUtf8(strText);
        if (!codePoint)
            RefuseInput(std::string(pszWhat) + ": not well-formed UTF-8 at byte " +
                        std::to_string(cBytes - strText.size()));
        AppendUtf16(strResult, *codePoint);
    }
    return strResult;
}

XText FromAnyUtf8(std::string_view strText) {
    XText strResult;
    strResult.reserve(strText.size());
    while (!strText.empty()) {
        if (const auto codePoint = TakeUtf8(strText)) {
            AppendUtf16(strResult, *codePoint);
        } else {
            for (const char c : "\\x" + Hex(static_cast<unsigned char>(strText.front()), 2))
                strResult += static_cast<XCHAR>(c);
            strText.remove_prefix(1);
        }
    }
    return strResult;
}

std::string ToUtf8(XStringView strText) {
    std::string strResult;
    while (!strText.empty()) {
        const char32_t codePoint = TakeCodePoint(strText);
        AppendUtf8(strResult, IsSurrogate(codePoint) ? U'\uFFFD' : codePoint);
    }
    return strResult;
}

std::string Printable(XStringView strText) {
    std::string strResult;
    while (!strText.empty())
        AppendPrintable(strResult, TakeCodePoint(strText));
    return strResult;
}

std::string Printable(std::string_view strText) {
    return Printable(XStringView(FromAnyUtf8(strText)));
}

std::string Hex(unsigned long long value, int cDigits) {
    std::string strResult(static_cast<std::size_t>(cDigits), '0');
    for (auto it = strResult.rbegin(); it != strResult.rend(); ++it, value >>= 4)
        *it = "0123456789ABCDEF"[value & 0xF];
    return strResult;
}

}  // namespace vlm::tool
