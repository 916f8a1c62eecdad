/// @file
/// The name of an object's class, readable and the same on every platform.
#include "utilities/debuggingandexceptions/detail/failure/ClassName.h"

#include <cxxabi.h>

#include <cstdlib>

namespace vlm {

void FreeNarrowText::operator()(char* pszText) const noexcept {
    std::free(pszText);
}

ClassName::ClassName(const std::type_info& rType) noexcept
    : m_pszRaw(rType.name()), m_apszReadable(abi::__cxa_demangle(rType.name(), nullptr, nullptr, nullptr)) {}

}  // namespace vlm
