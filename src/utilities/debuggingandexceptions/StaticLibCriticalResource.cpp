/// @file
/// The one lock of the diagnostics.
#include "utilities/debuggingandexceptions/StaticLibCriticalResource.h"

#include "utilities/debuggingandexceptions/detail/failure/NeverDestroyed.h"

namespace {
constinit vlm::NeverDestroyed<StaticLibCriticalResource> gscDiagnostics;
}

StaticLibCriticalResource& StaticLibCriticalResource::Get() noexcept {
    return gscDiagnostics.m_oObject;
}
