// The library's debug messages on standard error.
#include "LogSink.h"

#include <cstdio>
#include <string_view>

#include "Failure.h"
#include "Text.h"
#include "utilities/debuggingandexceptions/VelomDebugMessage.h"

namespace vlm::tool {

namespace {

struct Category {
    const char* pszName;
    DebugMessageCategory ullMask;
};

constexpr Category CATEGORIES[] = {
#define VLM_CATEGORY(constant, mask, text) {text, mask},
#include "utilities/debuggingandexceptions/DebugMessageCategories.inl"
#undef VLM_CATEGORY
};

DebugMessageCategories MaskOf(std::string_view strName, const char* pszOption) {
    if (strName == "all") return DebugCategory::All;
    for (const Category& rCategory : CATEGORIES)
        if (strName == rCategory.pszName) return rCategory.ullMask;
    std::string strKnown = "all";
    for (const Category& rCategory : CATEGORIES)
        strKnown.append(", ").append(rCategory.pszName);
    throw UsageError(std::string(pszOption) + ": no such category: " + Printable(strName) + " (one of " + strKnown +
                     ")");
}

std::string NamesOf(DebugMessageCategories categories) {
    std::string strNames;
    for (const Category& rCategory : CATEGORIES)
        if ((categories & rCategory.ullMask) != 0)
            strNames.append(strNames.empty() ? "" : ",").append(rCategory.pszName);
    return strNames;
}

}  // namespace

DebugMessageCategories ParseCategories(const std::string& strNames, const char* pszOption) {
    DebugMessageCategories categories = DebugCategory::None;
    std::string_view strRest = strNames;
    while (!strRest.empty()) {
        const std::size_t uComma = strRest.find(',');
        categories |= MaskOf(strRest.substr(0, uComma), pszOption);
        strRest = uComma == std::string_view::npos ? std::string_view() : strRest.substr(uComma + 1);
    }
    return categories;
}

LogSink::LogSink(DebugMessageCategories categories) : m_ullCategories(categories) {
    if (m_ullCategories == DebugCategory::None) return;
    m_pFormer = ExchangeReportSink(this);
    m_ullFormerMask = SetReportMask(m_ullCategories);
}

LogSink::~LogSink() {
    if (m_ullCategories == DebugCategory::None) return;
    SetReportMask(m_ullFormerMask);
    ExchangeReportSink(m_pFormer);
}

bool LogSink::Allows(DebugMessageCategories categories) const noexcept {
    return categories == DebugCategory::None ? m_ullCategories == DebugCategory::All
                                             : (categories & m_ullCategories) != 0;
}

void LogSink::Write(bool fError, DebugMessageCategories categories, const VelomDebugMessage& rMessage) noexcept {
    try {
        std::string strLines = std::string(fError ? "error " : "debug ") + NamesOf(categories) + " " +
                               Printable(rMessage.GetMethodName().View()) + ":";
        XStringView strText = rMessage.GetMessageText().View();
        while (!strText.empty()) {
            const std::size_t uEnd = strText.find_first_of(VTEXT("\r\n"));
            const XStringView strLine = strText.substr(0, uEnd);
            if (!strLine.empty()) strLines += (strLines.back() == ':' ? " " : "\n    ") + Printable(strLine);
            strText = uEnd == XStringView::npos ? XStringView() : strText.substr(uEnd + 1);
        }
        strLines += '\n';
        const std::lock_guard oLock(m_scWrite);
        std::fwrite(strLines.data(), 1, strLines.size(), stderr);
    } catch (...) {
        std::fputs("debug message lost: no memory\n", stderr);
    }
}

int LogSink::Ask(HWND, const XCHAR*, const XCHAR*, DWORD) noexcept {
    return 0;
}

}  // namespace vlm::tool
