/// @file
/// A report sink that remembers: how tests see what was reported.
#pragma once

#include <cstddef>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "support/AllocationFaults.h"
#include "support/Narrow.h"
#include "utilities/debuggingandexceptions/ReportSink.h"
#include "utilities/debuggingandexceptions/VelomDebugMessage.h"

namespace vlm::test {

/// Takes all reports for its own lifetime, from any thread.
class RecordingSink final : public ReportSink {
public:
    struct Report {
        bool fError;
        DebugMessageCategories categories;
        std::string text;
        std::string file;
        DWORD dwLine;
        std::string method;
    };

    /// @param allowed a report passes when it shares a category with these.
    explicit RecordingSink(DebugMessageCategories allowed = DebugCategory::All)
        : m_allowed(allowed), m_formerMask(SetReportMask(allowed)), m_pFormer(ExchangeReportSink(this)) {}
    ~RecordingSink() override {
        ExchangeReportSink(m_pFormer);
        SetReportMask(m_formerMask);
    }
    RecordingSink(const RecordingSink&) = delete;
    RecordingSink& operator=(const RecordingSink&) = delete;

    bool Allows(DebugMessageCategories categories) const noexcept override { return (m_allowed & categories) != 0; }
    void Write(bool fError, DebugMessageCategories categories, const VelomDebugMessage& rMessage) noexcept override {
        {
            const AllocationExempt oExempt;
            const std::lock_guard lock(m_oMutex);
            m_voReports.push_back({fError, categories, Narrow(rMessage.GetMessageText().View()),
                                   Narrow(rMessage.GetFileName().View()), rMessage.GetLineNumber(),
                                   Narrow(rMessage.GetMethodName().View())});
        }
        if (onWrite) onWrite();
    }
    int Ask(HWND, const XCHAR* pszText, const XCHAR* pszCaption, DWORD) noexcept override {
        const AllocationExempt oExempt;
        const std::lock_guard lock(m_oMutex);
        m_vQuestions.push_back(Narrow(pszCaption) + ": " + Narrow(pszText));
        return iAnswer;
    }
    bool WantsBreak(DebugMessageCategories) const noexcept override { return fWantsBreak; }

    std::vector<Report> Reports() const {
        const std::lock_guard lock(m_oMutex);
        return m_voReports;
    }
    std::vector<std::string> Texts() const {
        std::vector<std::string> vTexts;
        for (const Report& rReport : Reports())
            vTexts.push_back(rReport.text);
        return vTexts;
    }
    std::vector<std::string> Questions() const {
        const std::lock_guard lock(m_oMutex);
        return m_vQuestions;
    }
    /// Reports whose text holds `part`.
    std::size_t Count(const std::string& part) const {
        std::size_t cFound = 0;
        for (const std::string& rText : Texts())
            cFound += rText.find(part) != std::string::npos;
        return cFound;
    }
    void Clear() {
        const std::lock_guard lock(m_oMutex);
        m_voReports.clear();
        m_vQuestions.clear();
    }

    /// Called after each report, on the reporting thread: for what happens while a report is being made.
    std::function<void()> onWrite;
    /// What `Ask` answers.
    int iAnswer = 1;
    bool fWantsBreak = false;

private:
    mutable std::mutex m_oMutex;
    std::vector<Report> m_voReports;
    std::vector<std::string> m_vQuestions;
    DebugMessageCategories m_allowed;
    DebugMessageCategories m_formerMask;
    ReportSink* m_pFormer;
};

}  // namespace vlm::test
