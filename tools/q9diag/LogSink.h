/// @file
/// The library's debug messages on standard error: what --log asks for.
#pragma once

#include <mutex>
#include <string>

#include "utilities/debuggingandexceptions/ReportSink.h"

namespace vlm::tool {

/// The mask of category names with commas between, or "all".
/// @param pszOption named when something is no category.  @throws UsageError
DebugMessageCategories ParseCategories(const std::string& strNames, const char* pszOption = "--log");

/// Writes the messages of some categories to standard error while it lives; with no category nothing is installed.
/// **Threads**: messages of any thread, one at a time.
class LogSink : public ReportSink {
public:
    explicit LogSink(DebugMessageCategories categories);
    ~LogSink() override;
    LogSink(const LogSink&) = delete;
    LogSink& operator=(const LogSink&) = delete;

    bool Allows(DebugMessageCategories categories) const noexcept override;
    void Write(bool fError, DebugMessageCategories categories, const VelomDebugMessage& rMessage) noexcept override;
    /// Shows nothing: a command-line tool does not put up boxes.
    int Ask(HWND hwndOwner, const XCHAR* pszText, const XCHAR* pszCaption, DWORD dwStyle) noexcept override;

private:
    const DebugMessageCategories m_ullCategories;
    std::mutex m_scWrite;
    ReportSink* m_pFormer = nullptr;
    DebugMessageCategories m_ullFormerMask = 0;
};

}  // namespace vlm::tool
