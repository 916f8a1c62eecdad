/// @file
/// The two ways to end an exception's journey at the edge of the library.
#pragma once

#include <exception>
#include <new>
#include <stdexcept>
#include <type_traits>
#include <utility>

#include "platform/Export.h"
#include "utilities/debuggingandexceptions/SourcePosition.h"

namespace vlm {

/// Reports an exception that goes no further; null for one that is not a standard exception.
VLM_API void ReportSwallowed(const std::exception* pException) noexcept;

/// Throws `ExceptionOutOfMemory`; `std::bad_alloc` if even that takes more memory than there is.
[[noreturn]] VLM_API void ThrowOutOfMemory();

/// Runs `body` and answers what it answers.  If it throws, that is reported and the answer is `neutralAnswer`.
template <class Body, class Answer>
Answer NoThrow(Body&& body, Answer neutralAnswer) noexcept {
    try {
        return std::forward<Body>(body)();
    } catch (const std::exception& rException) {
        ReportSwallowed(&rException);
    } catch (...) {
        ReportSwallowed(nullptr);
    }
    return neutralAnswer;
}

/// Runs `body`; if it throws, that is reported.  @return whether it ran to its end.
template <class Body>
requires std::is_void_v<std::invoke_result_t<Body>>
bool NoThrow(Body&& body) noexcept {
    return NoThrow(
        [&] {
            std::forward<Body>(body)();
            return true;
        },
        false);
}

/// Runs `body` and answers what it answers, with the standard library's lack of memory turned into
/// `ExceptionOutOfMemory`: for public operations that use standard containers.
template <class Body>
decltype(auto) TranslateOutOfMemory(Body&& body) {
    try {
        return std::forward<Body>(body)();
    } catch (const std::bad_alloc&) {
        ThrowOutOfMemory();
    } catch (const std::length_error&) {
        ThrowOutOfMemory();
    }
}

}  // namespace vlm
