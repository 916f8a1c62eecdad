/// @file
/// Operators and standard-library views of the string.  Included by CXString.h.
#pragma once

#include <functional>
#include <utility>
#include <version>

#include "utilities/utilitiesdll/CXString.h"

#ifdef __cpp_lib_format
#include <format>
#endif

/// @name Concatenation
/// A left operand that is about to vanish lends its block, so chains copy each part once.
/// @{
VLM_API CXString operator+(const CXString& kcsLeft, const CXString& kcsRight);
VLM_API CXString operator+(const CXString& kcsLeft, const XCHAR* pszRight);
VLM_API CXString operator+(const XCHAR* pszLeft, const CXString& kcsRight);
VLM_API CXString operator+(const CXString& kcsLeft, XStringView right);
VLM_API CXString operator+(XStringView left, const CXString& kcsRight);
VLM_API CXString operator+(const CXString& kcsLeft, XCHAR chRight);
VLM_API CXString operator+(XCHAR chLeft, const CXString& kcsRight);
inline CXString operator+(CXString&& rcsLeft, const CXString& kcsRight) {
    return std::move(rcsLeft += kcsRight);
}
inline CXString operator+(CXString&& rcsLeft, const XCHAR* pszRight) {
    return std::move(rcsLeft += pszRight);
}
inline CXString operator+(CXString&& rcsLeft, XStringView right) {
    return std::move(rcsLeft += right);
}
inline CXString operator+(CXString&& rcsLeft, XCHAR chRight) {
    return std::move(rcsLeft += chRight);
}
/// @}

template <>
struct std::hash<CXString> {
    std::size_t operator()(const CXString& kcsText) const noexcept {
        return static_cast<std::size_t>(kcsText.GetHashValue());
    }
};

#ifdef __cpp_lib_format
/// Formats a string as the view that it is, in a format text of the same unit.
template <>
struct std::formatter<CXString, XCHAR> : std::formatter<XStringView, XCHAR> {
    template <class Context>
    auto format(const CXString& kcsText, Context& rContext) const {
        return std::formatter<XStringView, XCHAR>::format(kcsText.View(), rContext);
    }
};
#endif

#ifdef FMT_VERSION
/// The same for the fmt library, when its header was included first.
template <>
struct fmt::formatter<CXString, XCHAR> : fmt::formatter<fmt::basic_string_view<XCHAR>, XCHAR> {
    template <class Context>
    auto format(const CXString& kcsText, Context& rContext) const {
        return fmt::formatter<fmt::basic_string_view<XCHAR>, XCHAR>::format(
            {kcsText.GetLpcwstr(), static_cast<std::size_t>(kcsText.GetLength())}, rContext);
    }
};
#endif
