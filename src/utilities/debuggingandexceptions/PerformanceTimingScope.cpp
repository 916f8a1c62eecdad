/// @file
/// Measures how long a scope takes.
#include "utilities/debuggingandexceptions/PerformanceTimingScope.h"

#include "utilities/debuggingandexceptions/DebugMessageManager.h"
#include "utilities/debuggingandexceptions/detail/failure/SafeText.h"

PerformanceTimingScope::PerformanceTimingScope(const vlm::SourcePosition& rPosition, const XCHAR* pszName,
                                               const CXString& kcsDetail) noexcept
    : m_rPosition(rPosition),
      m_pszName(pszName),
      m_csDetail(vlm::CopyOrEmpty(kcsDetail)),
      m_llStart(GetDebugMessageManager().NotifyTimingScopeStarted(rPosition, pszName, kcsDetail.View())) {}

PerformanceTimingScope::~PerformanceTimingScope() {
    if (m_llStart != 0) {
        GetDebugMessageManager().NotifyTimingScopeEnded(m_rPosition, m_pszName, m_csDetail.View(), m_llStart);
    }
}
