/// @file
/// Where exceptions end, and where a lack of memory becomes one.
#include "utilities/debuggingandexceptions/NoThrow.h"

#include <atomic>

#include "utilities/debuggingandexceptions/RaiseMacros.h"
#include "utilities/debuggingandexceptions/detail/failure/OutOfMemory.h"
#include "utilities/debuggingandexceptions/detail/failure/SafeText.h"
#include "utilities/debuggingandexceptions/detail/failure/ThreadGuard.h"
#include "utilities/utilitiesdll/MemoryPool.h"

namespace vlm {

namespace {

constexpr const XCHAR* NO_MEMORY = VTEXT("There is not enough memory.");

/// The strings of the exception, made while there is memory, so that raising it needs none.
struct PreparedTexts {
    CXString m_csMessage;
    CXString m_csFile;
    CXString m_csMethod;
};

/// Room for them that is never torn down.
union PreparedStorage {
    constexpr PreparedStorage() noexcept : m_byNothing(0) {}
    ~PreparedStorage() {}
    unsigned char m_byNothing;
    PreparedTexts m_oTexts;
};
constinit PreparedStorage gPreparedStorage;
// Null until the texts are there.
constinit std::atomic<const PreparedTexts*> gpPreparedTexts{nullptr};
constinit ThreadGuard goRaising;

const SourcePosition& RaisePosition() noexcept {
    static constexpr auto PATH = detail::WidenPath<sizeof(__FILE__) - 1>(__FILE__);
    static constexpr SourcePosition POSITION{PATH.m_achText.data(), __LINE__, VTEXT("MemoryPool::RaiseOutOfMemory")};
    return POSITION;
}

void OnOutOfMemory() {
    // Raising the exception may itself run out of memory; the standard exception then takes its place.
    if (!goRaising.Holds()) ThrowOutOfMemory();
}

}  // namespace

void ReportSwallowed(const std::exception* pException) noexcept {
    if (pException) {
        VLM_REPORT_ERROR(DebugCategory::ErrInfra, VTEXT("This exception was caught and goes no further: %s"),
                         VelomException::GetExceptionDescription(*pException));
    } else {
        VLM_REPORT_ERROR(DebugCategory::ErrInfra,
                         VTEXT("An exception of an unknown class was caught and goes no further."));
    }
}

void ThrowOutOfMemory() {
    const ThreadGuard::Scope scope(goRaising);
    if (!scope.HasEntered()) throw std::bad_alloc();
    const SourcePosition& rPosition = RaisePosition();
    const PreparedTexts* const pTexts = gpPreparedTexts.load(std::memory_order_acquire);
    const PreparedTexts texts = pTexts ? *pTexts : PreparedTexts();
    ReportThrowing(rPosition, VTEXT("*Throwing* ExceptionOutOfMemory: %s"), texts.m_csMessage);
    throw GetExceptionOutOfMemory(texts.m_csMessage, texts.m_csFile, static_cast<int>(rPosition.dwLine),
                                  texts.m_csMethod, GetStackForException());
}

void InstallOutOfMemoryHandler() noexcept {
    if (!gpPreparedTexts.load(std::memory_order_relaxed)) {
        const PositionText place(RaisePosition());
        gpPreparedTexts.store(new (&gPreparedStorage.m_oTexts)
                                  PreparedTexts{TextOrEmpty(NO_MEMORY), place.File(), place.Method()},
                              std::memory_order_release);
    }
    MemoryPool::ExchangeOutOfMemoryHandler(&OnOutOfMemory);
}

}  // namespace vlm
