/// @file
/// The place in the source where something is reported, raised or begun, put together by the compiler.
#pragma once

#include <array>
#include <cstddef>
#include <string_view>

#include "platform/WinTypes.h"

namespace vlm {

/// File, line and method as literals.  **Ownership**: none; the texts live as long as the module that holds the code.
struct SourcePosition {
    const XCHAR* pszFile;    ///< path of the file, with backslashes
    DWORD dwLine;            ///< counted from 1
    const XCHAR* pszMethod;  ///< "Class::Method", or "Function" outside classes
};

namespace detail {

constexpr bool IsNameCharacter(char ch) noexcept {
    return (ch >= 'a' && ch <= 'z') || (ch >= 'A' && ch <= 'Z') || (ch >= '0' && ch <= '9') || ch == '_' || ch == '~';
}

/// Cuts what begins at the first `marker`: "A::B(int)::<lambda()>" to the text before the marker.
constexpr std::string_view Before(std::string_view text, std::string_view marker) noexcept {
    return text.substr(0, text.find(marker));
}

/// Where the argument list begins: at the partner of the last closing parenthesis.
constexpr std::size_t ArgumentList(std::string_view function) noexcept {
    int depth = 0;
    for (std::size_t i = function.size(); i > 0; --i) {
        if (function[i - 1] == ')') ++depth;
        if (function[i - 1] == '(' && --depth == 0) return i - 1;
    }
    return function.size();
}

/// Steps back over one name that ends at `end`, template arguments included.
constexpr std::size_t NameBegin(std::string_view text, std::size_t end) noexcept {
    int angles = 0;
    while (end > 0) {
        const char ch = text[end - 1];
        if (ch == '>') ++angles;
        if (ch == '<') --angles;
        if (angles == 0 && ch != '<' && !IsNameCharacter(ch)) break;
        --end;
    }
    return end;
}

/// Where "operator" begins when the function is one, npos otherwise.
constexpr std::size_t OperatorBegin(std::string_view name) noexcept {
    const std::size_t pos = name.rfind("operator");
    const bool fWhole = pos != std::string_view::npos && (pos == 0 || !IsNameCharacter(name[pos - 1]));
    return fWhole && pos + 8 < name.size() && !IsNameCharacter(name[pos + 8]) ? pos : std::string_view::npos;
}

/// "void RegistryKey::GetValue(int) const" to "RegistryKey::GetValue": the last two parts of the qualified name,
/// without result and arguments, and without what a lambda inside the method adds.
constexpr std::string_view QualifiedName(std::string_view function) noexcept {
    std::string_view name = Before(Before(Before(function, "::<lambda"), "::(anonymous class)"), "::(lambda");
    name = Before(name, " [");  // "[with T = int]", "[T = int]"
    name = name.substr(0, ArgumentList(name));

    std::size_t begin = OperatorBegin(name);
    if (begin == std::string_view::npos) begin = NameBegin(name, name.size());
    if (begin >= 2 && name.substr(begin - 2, 2) == "::") {
        // In front of an unnamed namespace stands a bracket, which is no name: the function is then shown alone.
        const std::size_t qualifier = NameBegin(name, begin - 2);
        if (qualifier < begin - 2) begin = qualifier;
    }
    return name.substr(begin);
}

/// A text of the compiler's as 16-bit text with static storage.
template <std::size_t N>
struct StaticText {
    std::array<XCHAR, N + 1> m_achText{};
};

template <std::size_t N>
consteval StaticText<N> WidenMethod(std::string_view function) {
    StaticText<N> oText;
    const std::string_view name = QualifiedName(function);
    for (std::size_t i = 0; i < name.size(); ++i)
        oText.m_achText[i] = static_cast<XCHAR>(name[i]);
    return oText;
}

template <std::size_t N>
consteval StaticText<N> WidenPath(std::string_view path) {
    StaticText<N> oText;
    for (std::size_t i = 0; i < path.size(); ++i) {
        oText.m_achText[i] = path[i] == '/' ? VTEXT('\\') : static_cast<XCHAR>(static_cast<unsigned char>(path[i]));
    }
    return oText;
}

/// Hands the position through.  Deliberate: not constexpr.  One compiler takes a statement expression that it can
/// compute for a constant, and then forgets to fill the static objects inside it.
inline const SourcePosition& AtRunTime(const SourcePosition& rPosition) noexcept {
    return rPosition;
}

}  // namespace detail
}  // namespace vlm

/// The place where it stands, as a `const vlm::SourcePosition&` with static storage; nothing is computed at run time.
/// Usable in any function that is not itself constant-evaluated.
#define VLM_HERE                                                                                                       \
    (*__extension__({                                                                                                  \
        static constexpr auto vlmFile = ::vlm::detail::WidenPath<sizeof(__FILE__) - 1>(__FILE__);                      \
        static constexpr auto vlmMethod =                                                                              \
            ::vlm::detail::WidenMethod<::vlm::detail::QualifiedName(__PRETTY_FUNCTION__).size()>(__PRETTY_FUNCTION__); \
        static constexpr ::vlm::SourcePosition vlmPosition{vlmFile.m_achText.data(), __LINE__,                         \
                                                           vlmMethod.m_achText.data()};                                \
        &::vlm::detail::AtRunTime(vlmPosition);                                                                        \
    }))
