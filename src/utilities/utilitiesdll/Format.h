/// @file
/// The library's formatter: the wide printf language over arguments that know their own kind.
///
/// **Language.** `%[flags][width][.precision][size]conversion`, the language of the wide printf family on Windows, the
/// same on every platform; the full table is in docs/text.md.  In short: `%s` `%c` take wide text, `%S` `%C` narrow
/// text in the ANSI code page (sizes `h` and `l`/`w` force narrow and wide); `%d %i %u %x %X %o`; `%p` (16 upper-case
/// digits);
/// `%e %E %f %F %g %G %a %A`; `%%`.  Sizes `hh h l ll I32 I64 I z t j`; `l` means 32 bits.  Flags `- + space # 0`;
/// width and precision in digits or `*`.
///
/// **Safety.** The typed entry never reads what it was not given: an argument of the wrong kind is shown as what it is,
/// a missing one as "(missing)", a null text as "(null)"; `%n` is refused and copied, an unknown conversion is copied.
/// Widths and precisions are clamped, the whole text is bounded, and nothing depends on a locale.
#pragma once

#include <array>
#include <concepts>
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <type_traits>

#include "platform/Export.h"
#include "platform/WinTypes.h"

class CXString;

namespace vlm {

/// Largest width and precision; greater ones are clamped to it.
inline constexpr int FORMAT_MAX_WIDTH = 4096;
/// Longest text that one formatting produces, in code units (1 MiB); the rest is cut between characters.
inline constexpr std::size_t FORMAT_MAX_UNITS = 512 * 1024;
/// Most arguments that a `va_list` formatting reads; conversions beyond them show "(missing)".
inline constexpr std::size_t FORMAT_MAX_VARIADIC = 64;

/// What a formatting met on its way; a text is produced in any case.
enum FormatFlags : std::uint32_t {
    FMTF_NONE = 0,
    FMTF_MISSING_ARGUMENT = 1,  ///< more conversions than arguments
    FMTF_UNUSED_ARGUMENT = 2,   ///< more arguments than conversions
    FMTF_WRONG_KIND = 4,        ///< an argument does not fit its conversion; it was shown as what it is
    FMTF_NULL_TEXT = 8,         ///< a null text pointer, shown as "(null)"
    FMTF_BAD_CONVERSION = 16,   ///< an unknown conversion or `%n`, copied
    FMTF_CLAMPED = 32,          ///< a width or precision above the bound
    FMTF_TRUNCATED = 64,        ///< the text reached its bound or the end of the caller's buffer
    FMTF_OUT_OF_MEMORY = 128,   ///< no memory for the text
};

/// Outcome of a formatting.
struct FormatResult {
    std::size_t m_cUnits = 0;             ///< code units produced, without the terminator
    std::uint32_t m_dwFlags = FMTF_NONE;  ///< `FormatFlags`
    /// True when every conversion met an argument of its kind and nothing was cut.
    bool IsClean() const noexcept { return m_dwFlags == FMTF_NONE; }
};

/// One argument, by kind.  Borrowed: texts must live until the formatting returns.
class FormatArg {
public:
    enum Kind : std::uint8_t { FAK_SIGNED, FAK_UNSIGNED, FAK_FLOAT, FAK_WIDE, FAK_NARROW, FAK_POINTER };

    /// Marks a zero-terminated text whose length nobody has measured.
    static constexpr std::uint32_t TERMINATED = 0xFFFFFFFF;

    template <class T>
    requires(std::integral<T> || std::is_enum_v<T>) constexpr FormatArg(T value) noexcept {
        if constexpr (std::is_enum_v<T>) {
            *this = FormatArg(static_cast<std::underlying_type_t<T>>(value));
        } else {
            m_ullValue = static_cast<std::uint64_t>(value);  // sign-extended where T is signed
            m_byKind = std::is_signed_v<T> ? FAK_SIGNED : FAK_UNSIGNED;
            m_byWidth = sizeof(T);
        }
    }
    constexpr FormatArg(float fltValue) noexcept : FormatArg(static_cast<double>(fltValue)) {}
    constexpr FormatArg(double dblValue) noexcept : m_dblValue(dblValue), m_byKind(FAK_FLOAT), m_byWidth(8) {}
    constexpr FormatArg(long double ldblValue) noexcept : FormatArg(static_cast<double>(ldblValue)) {}
    constexpr FormatArg(const XCHAR* pszText) noexcept
        : m_pszWide(pszText), m_dwUnits(TERMINATED), m_byKind(FAK_WIDE) {}
    constexpr FormatArg(const char* pszText) noexcept
        : m_pszNarrow(pszText), m_dwUnits(TERMINATED), m_byKind(FAK_NARROW) {}
    constexpr FormatArg(std::nullptr_t) noexcept : m_pPointer(nullptr), m_byKind(FAK_POINTER) {}
    /// Any other pointer is shown as an address and never read.
    constexpr FormatArg(const volatile void* pPointer) noexcept : m_pPointer(pPointer), m_byKind(FAK_POINTER) {}
    /// Strings, views and standard strings.
    template <class T>
    requires(std::is_class_v<T> &&
             (std::convertible_to<const T&, XStringView> ||
              std::convertible_to<const T&, std::string_view>)) constexpr FormatArg(const T& rText) noexcept {
        if constexpr (std::convertible_to<const T&, XStringView>) {
            const XStringView text = rText;
            m_pszWide = text.data() ? text.data() : VTEXT("");
            m_dwUnits = Clamp(text.size());
            m_byKind = FAK_WIDE;
        } else {
            const std::string_view text = rText;
            m_pszNarrow = text.data() ? text.data() : "";
            m_dwUnits = Clamp(text.size());
            m_byKind = FAK_NARROW;
        }
    }

    constexpr Kind GetKind() const noexcept { return static_cast<Kind>(m_byKind); }
    /// Width of an integer argument in bytes.
    constexpr int GetWidth() const noexcept { return m_byWidth; }
    constexpr std::uint64_t GetInteger() const noexcept { return m_ullValue; }
    constexpr double GetDouble() const noexcept { return m_dblValue; }
    constexpr const XCHAR* GetWide() const noexcept { return m_pszWide; }
    constexpr const char* GetNarrow() const noexcept { return m_pszNarrow; }
    constexpr const volatile void* GetPointer() const noexcept { return m_pPointer; }
    /// Units of a text, or TERMINATED.
    constexpr std::uint32_t GetUnits() const noexcept { return m_dwUnits; }

private:
    static constexpr std::uint32_t Clamp(std::size_t cUnits) noexcept {
        return cUnits < TERMINATED ? static_cast<std::uint32_t>(cUnits) : TERMINATED - 1;
    }

    union {
        std::uint64_t m_ullValue = 0;
        double m_dblValue;
        const XCHAR* m_pszWide;
        const char* m_pszNarrow;
        const volatile void* m_pPointer;
    };
    std::uint32_t m_dwUnits = 0;
    std::uint8_t m_byKind = FAK_UNSIGNED;
    std::uint8_t m_byWidth = 0;
};
static_assert(sizeof(FormatArg) == 16);

/// Formats into a string, replacing its text.  The arguments may refer to that very string.
/// @throws out-of-memory as `CXString` does; `rcsTarget` is then unchanged.
VLM_API FormatResult FormatCore(CXString& rcsTarget, const XCHAR* pszFormat, const FormatArg* poArgs,
                                std::size_t cArgs);

/// As FormatCore, but never throws: without memory the target is unchanged and FMTF_OUT_OF_MEMORY is set.
VLM_API FormatResult TryFormatCore(CXString& rcsTarget, const XCHAR* pszFormat, const FormatArg* poArgs,
                                   std::size_t cArgs) noexcept;

/// Formats into the caller's buffer, always terminated when `cCapacity` (code units, with the terminator) is above 0,
/// cut between characters.  Allocates only for texts above 512 units that it then cuts.
VLM_API FormatResult FormatToBufferCore(XCHAR* pchTarget, std::size_t cCapacity, const XCHAR* pszFormat,
                                        const FormatArg* poArgs, std::size_t cArgs) noexcept;

/// The `va_list` form: reads each argument as its conversion says.  Integers are read as 32 bits except with the sizes
/// `ll`, `I64`, `I`, `z`, `t` and `j` (so pass LONG and DWORD for `%ld` and `%lu`); floating values as double; a `%s`
/// must get a zero-terminated text.  No object may be passed.  Prefer the typed entries, which cannot be given a wrong
/// argument.
VLM_API FormatResult FormatVCore(CXString& rcsTarget, const XCHAR* pszFormat, va_list args);

/// Formats the arguments into a string without throwing.  Floor for code that reports failures.
template <class... Args>
FormatResult TryFormat(CXString& rcsTarget, const XCHAR* pszFormat, const Args&... args) noexcept {
    const std::array<FormatArg, sizeof...(Args)> aoArgs{FormatArg(args)...};
    return TryFormatCore(rcsTarget, pszFormat, aoArgs.data(), aoArgs.size());
}

/// Formats the arguments into the caller's buffer; see FormatToBufferCore.
template <class... Args>
FormatResult FormatToBuffer(XCHAR* pchTarget, std::size_t cCapacity, const XCHAR* pszFormat,
                            const Args&... args) noexcept {
    const std::array<FormatArg, sizeof...(Args)> aoArgs{FormatArg(args)...};
    return FormatToBufferCore(pchTarget, cCapacity, pszFormat, aoArgs.data(), aoArgs.size());
}

}  // namespace vlm
