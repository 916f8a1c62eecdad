/// @file
/// Holds the sink in force and hands it what is reported.
#include "utilities/debuggingandexceptions/ReportSink.h"

#include "utilities/debuggingandexceptions/RaiseMacros.h"
#include "utilities/debuggingandexceptions/VelomDebugMessage.h"

namespace vlm {

namespace {
constinit std::atomic<ReportSink*> gpReportSink{nullptr};
}

namespace detail {

constinit std::atomic<DebugMessageCategories> gullReportMask{DebugCategory::None};

bool SinkAllows(DebugMessageCategories categories) noexcept {
    const ReportSink* const pSink = GetReportSink();
    return pSink && pSink->Allows(categories);
}

}  // namespace detail

ReportSink::~ReportSink() = default;

bool ReportSink::WantsBreak(DebugMessageCategories) const noexcept {
    return false;
}

ReportSink* ExchangeReportSink(ReportSink* pSink) noexcept {
    return gpReportSink.exchange(pSink, std::memory_order_acq_rel);
}

ReportSink* GetReportSink() noexcept {
    return gpReportSink.load(std::memory_order_acquire);
}

DebugMessageCategories SetReportMask(DebugMessageCategories mask) noexcept {
    return detail::gullReportMask.exchange(mask, std::memory_order_relaxed);
}

void WriteReport(bool fError, DebugMessageCategories categories, const SourcePosition& rPosition,
                 const CXString& kcsText) noexcept {
    ReportSink* const pSink = GetReportSink();
    if (!pSink) return;
    const PositionText place(rPosition);
    pSink->Write(fError, categories, VelomDebugMessage(kcsText, place.File(), rPosition.dwLine, place.Method()));
}

}  // namespace vlm
