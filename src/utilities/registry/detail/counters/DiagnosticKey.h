/// @file
/// Where the diagnostic counters stand in the registry; ProcmonDiagnosticCounters.h has the table.
#pragma once

#include "platform/XChar.h"

namespace vlm {

inline constexpr const XCHAR* DIAGNOSTICS_KEY = VTEXT("SOFTWARE\\Velom\\VelomPrintDiag\\Diagnostics");
inline constexpr const XCHAR* RENDERING_KEY = VTEXT("SOFTWARE\\Velom\\VelomPrintDiag\\Rendering");
inline constexpr const XCHAR* ENABLED_VALUE = VTEXT("ProcmonDiagnosticEnabled");
inline constexpr const XCHAR* MESSAGES_ENABLED_VALUE = VTEXT("ProcmonDiagnosticMessagesEnabled");

}  // namespace vlm
