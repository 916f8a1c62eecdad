// A registry value as the tool writes and reads it.
#include "RegValue.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <optional>

#include "Failure.h"
#include "Text.h"

namespace vlm::tool {

namespace {

constexpr DWORD REG_TEXT = 1, REG_EXPANDED = 2, REG_BYTES = 3, REG_NUMBER = 4, REG_LIST = 7, REG_NUMBER64 = 11;

constexpr std::array<const char*, 12> TYPE_NAMES = {"REG_NONE",
                                                    "REG_SZ",
                                                    "REG_EXPAND_SZ",
                                                    "REG_BINARY",
                                                    "REG_DWORD",
                                                    "REG_DWORD_BIG_ENDIAN",
                                                    "REG_LINK",
                                                    "REG_MULTI_SZ",
                                                    "REG_RESOURCE_LIST",
                                                    "REG_FULL_RESOURCE_DESCRIPTOR",
                                                    "REG_RESOURCE_REQUIREMENTS_LIST",
                                                    "REG_QWORD"};

std::string HexBytes(const ByteBuffer& kbbData) {
    return ToUtf8(kbbData.getAsHexBinaryString().View());
}

ByteBuffer ParseHexBytes(const std::string& strDigits) {
    ByteBuffer bbData;
    const CXString csDigits(XStringView(FromUtf8(strDigits, "value")));
    if (!ByteBuffer::ConvertHexBinaryStringToByteBuffer(csDigits, bbData, false))
        RefuseInput("value: " + Printable(std::string_view(strDigits)) + " is not pairs of hexadecimal digits");
    return bbData;
}

/// A whole number, decimal or 0x and hexadecimal digits, of at most `cBits` bits, signed or not.
std::int64_t ParseInteger(const std::string& strText, int cBits) {
    std::string_view strDigits = strText;
    const bool fNegative = strDigits.starts_with('-');
    if (fNegative) strDigits.remove_prefix(1);
    const bool fHexadecimal = strDigits.starts_with("0x") || strDigits.starts_with("0X");
    if (fHexadecimal) strDigits.remove_prefix(2);
    std::uint64_t ullValue = 0;
    const char* const pszEnd = strDigits.data() + strDigits.size();
    const auto [pszStop, eError] = std::from_chars(strDigits.data(), pszEnd, ullValue, fHexadecimal ? 16 : 10);
    const std::uint64_t ullMost = cBits == 32 ? 0xFFFFFFFF : ~std::uint64_t{0};
    const bool fFits = eError == std::errc() && pszStop == pszEnd && ullValue <= ullMost &&
                       (!fNegative || ullValue <= ullMost / 2 + 1);
    if (!fFits)
        RefuseInput("value: " + Printable(std::string_view(strText)) + " is not a whole number of " +
                    std::to_string(cBits) + " bits");
    return static_cast<std::int64_t>(fNegative ? 0 - ullValue : ullValue);
}

/// The units of a text with its terminator; nothing when the data is no such text.
std::optional<XText> TextOf(const ByteBuffer& kbbData) {
    if (kbbData.size() % 2 != 0 || kbbData.size() < 2) return std::nullopt;
    const CXString csText = kbbData.getAsStringValue();
    const bool fTerminated = kbbData[kbbData.size() - 1] == 0 && kbbData[kbbData.size() - 2] == 0;
    if (!fTerminated || csText.Find(XCHAR()) >= 0) return std::nullopt;
    return XText(csText.View());
}

/// The texts of a list that ends as a list does.
std::optional<std::vector<XText>> ListOf(const ByteBuffer& kbbData) {
    if (kbbData.size() % 2 != 0 || kbbData.size() < 2) return std::nullopt;
    XText strAll(kbbData.size() / 2, XCHAR());
    for (std::size_t i = 0; i < strAll.size(); ++i)
        strAll[i] = static_cast<XCHAR>(kbbData[2 * i] | kbbData[2 * i + 1] << 8);
    std::vector<XText> vTexts;
    std::size_t uStart = 0;
    while (uStart < strAll.size() && strAll[uStart] != 0) {
        const std::size_t uEnd = strAll.find(XCHAR(), uStart);
        if (uEnd == XText::npos) return std::nullopt;
        vTexts.push_back(strAll.substr(uStart, uEnd - uStart));
        uStart = uEnd + 1;
    }
    if (uStart + 1 != strAll.size()) return std::nullopt;
    return vTexts;
}

ByteBuffer BytesOfText(XStringView strText) {
    ByteBuffer bbData;
    bbData.append(CXString(strText));
    bbData.appendNullChar();
    return bbData;
}

/// A text may go into a list when the list's separator and the escape for people cannot change it.
bool IsPlain(XStringView strText) {
    return Printable(strText) == ToUtf8(strText) && strText.find(VTEXT('|')) == XStringView::npos;
}

}  // namespace

std::string RegTypeName(DWORD dwType) {
    return dwType < TYPE_NAMES.size() ? TYPE_NAMES[dwType] : "type " + std::to_string(dwType);
}

std::string RegValueText(const RegValue& rValue) {
    const ByteBuffer& kbbData = rValue.bbData;
    if (rValue.dwType == REG_BYTES) return "binary:" + HexBytes(kbbData);
    if (rValue.dwType == REG_NUMBER && kbbData.size() == sizeof(DWORD))
        return "dword:" + std::to_string(kbbData.getDword());
    if (rValue.dwType == REG_NUMBER64 && kbbData.size() == sizeof(LONGLONG))
        return "qword:" + std::to_string(static_cast<ULONGLONG>(kbbData.getAsLong64Value()));
    if (rValue.dwType == REG_TEXT || rValue.dwType == REG_EXPANDED) {
        const std::optional<XText> ostrText = TextOf(kbbData);
        const char* const pszWord = rValue.dwType == REG_TEXT ? "string:" : "expand:";
        if (ostrText && Printable(XStringView(*ostrText)) == ToUtf8(*ostrText)) return pszWord + ToUtf8(*ostrText);
    }
    if (rValue.dwType == REG_LIST) {
        const std::optional<std::vector<XText>> ovTexts = ListOf(kbbData);
        std::string strJoined;
        bool fPlain = ovTexts.has_value();
        for (std::size_t i = 0; fPlain && i < ovTexts->size(); ++i) {
            fPlain = IsPlain(ovTexts->at(i));
            if (i > 0) strJoined += '|';
            strJoined += ToUtf8(ovTexts->at(i));
        }
        if (fPlain) return "multi:" + strJoined;
    }
    return "type:hex(" + std::to_string(rValue.dwType) + "):" + HexBytes(kbbData);
}

std::string RegValueInList(const RegValue& rValue) {
    constexpr std::size_t MOST = 96;
    std::string strText = RegValueText(rValue);
    if (strText.size() <= MOST) return strText;
    std::size_t uCut = MOST;
    while ((static_cast<unsigned char>(strText[uCut]) & 0xC0) == 0x80)
        --uCut;  // not within a character
    return strText.substr(0, uCut) + "... (" + std::to_string(rValue.bbData.size()) + " bytes)";
}

Json RegValueJson(const RegValue& rValue) {
    const ByteBuffer& kbbData = rValue.bbData;
    if (rValue.dwType == REG_NUMBER && kbbData.size() == sizeof(DWORD)) return kbbData.getDword();
    if (rValue.dwType == REG_NUMBER64 && kbbData.size() == sizeof(LONGLONG))
        return static_cast<ULONGLONG>(kbbData.getAsLong64Value());
    if (rValue.dwType == REG_TEXT || rValue.dwType == REG_EXPANDED) {
        if (const std::optional<XText> ostrText = TextOf(kbbData)) return JsonString(XStringView(*ostrText));
    }
    if (rValue.dwType == REG_LIST) {
        if (const std::optional<std::vector<XText>> ovTexts = ListOf(kbbData)) {
            Json oTexts = Json::array();
            for (const XText& rText : *ovTexts)
                oTexts.push_back(JsonString(XStringView(rText)));
            return oTexts;
        }
    }
    return nullptr;
}

RegValue ParseRegValue(const std::string& strText) {
    const std::size_t uColon = strText.find(':');
    const std::string strWord = uColon == std::string::npos ? "" : strText.substr(0, uColon);
    const std::string strRest = uColon == std::string::npos ? strText : strText.substr(uColon + 1);
    RegValue oValue;
    if (strWord == "dword") {
        oValue.dwType = REG_NUMBER;
        oValue.bbData.appendDwordValue(static_cast<DWORD>(ParseInteger(strRest, 32)));
    } else if (strWord == "qword") {
        oValue.dwType = REG_NUMBER64;
        oValue.bbData.appendLong64Value(ParseInteger(strRest, 64));
    } else if (strWord == "boolean") {
        if (strRest != "true" && strRest != "false") RefuseInput("value: a boolean is true or false");
        oValue.dwType = REG_BYTES;
        oValue.bbData.appendBoolValue(strRest == "true");
    } else if (strWord == "binary") {
        oValue = {REG_BYTES, ParseHexBytes(strRest)};
    } else if (strWord == "expand") {
        oValue = {REG_EXPANDED, BytesOfText(FromUtf8(strRest, "value"))};
    } else if (strWord == "multi") {
        oValue.dwType = REG_LIST;
        for (std::size_t uStart = 0; uStart < strRest.size();) {
            const std::size_t uEnd = std::min(strRest.find('|', uStart), strRest.size());
            if (uEnd == uStart) RefuseInput("value: a list has no empty texts");
            oValue.bbData.append(BytesOfText(FromUtf8(strRest.substr(uStart, uEnd - uStart), "value")));
            uStart = uEnd + 1;
        }
        oValue.bbData.appendNullChar();
    } else if (strWord == "type") {
        const std::size_t uEnd = strRest.find("):");
        if (!strRest.starts_with("hex(") || uEnd == std::string::npos)
            RefuseInput("value: type is followed by hex(N): and digits");
        oValue.dwType = static_cast<DWORD>(ParseInteger(strRest.substr(4, uEnd - 4), 32));
        oValue.bbData = ParseHexBytes(strRest.substr(uEnd + 2));
    } else {
        oValue = {REG_TEXT, BytesOfText(FromUtf8(strWord == "string" ? strRest : strText, "value"))};
    }
    return oValue;
}

}  // namespace vlm::tool
