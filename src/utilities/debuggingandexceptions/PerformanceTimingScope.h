/// @file
/// Measures how long a scope takes, when timing is switched on.
#pragma once

#include "platform/Export.h"
#include "platform/WinTypes.h"
#include "utilities/debuggingandexceptions/SourcePosition.h"
#include "utilities/utilitiesdll/CXString.h"

/// Put one on the stack:
///
///     const PerformanceTimingScope scope(VLM_HERE, VTEXT("Import the settings"));
///
/// **Ownership**: borrows the name, a literal.  **Threads**: ends on the thread that it began on.
/// **Failure**: none; with "PerfMeasureEnabled" off it costs two atomic reads.
class VLM_API PerformanceTimingScope {
public:
    /// @param kcsDetail shown behind the name, for example a printer's name.
    explicit PerformanceTimingScope(const vlm::SourcePosition& rPosition, const XCHAR* pszName,
                                    const CXString& kcsDetail = CXString()) noexcept;
    ~PerformanceTimingScope();
    PerformanceTimingScope(const PerformanceTimingScope&) = delete;
    PerformanceTimingScope& operator=(const PerformanceTimingScope&) = delete;

private:
    const vlm::SourcePosition& m_rPosition;
    const XCHAR* m_pszName;
    CXString m_csDetail;
    LONGLONG m_llStart;
};
