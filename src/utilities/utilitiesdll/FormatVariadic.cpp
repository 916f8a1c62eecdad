/// @file
/// The formatter over a `va_list`: reads the arguments as the conversions say, then formats as always.
#include <array>
#include <cstdarg>

#include "utilities/utilitiesdll/CXString.h"
#include "utilities/utilitiesdll/Format.h"
#include "utilities/utilitiesdll/detail/text/FormatSpec.h"

namespace vlm {

FormatResult FormatVCore(CXString& rcsTarget, const XCHAR* pszFormat, va_list args) {
    using format::FormatSpec;
    using format::Size;
    std::array<FormatArg, FORMAT_MAX_VARIADIC> aoArgs = [] {
        return []<std::size_t... I>(std::index_sequence<I...>) {
            return std::array<FormatArg, sizeof...(I)>{((void)I, FormatArg(0))...};
        }
        (std::make_index_sequence<FORMAT_MAX_VARIADIC>());
    }();
    std::size_t cArgs = 0;
    const auto add = [&](FormatArg oArg) { aoArgs[cArgs++] = oArg; };
    const XCHAR* pch = pszFormat ? pszFormat : VTEXT("");
    while (true) {
        while (*pch && *pch != XCHAR('%'))
            ++pch;
        if (!*pch) break;
        const FormatSpec oSpec = format::ParseSpec(pch);
        pch = oSpec.m_pchEnd;
        const XCHAR ch = oSpec.m_chConversion;
        if (!ch || XStringView(VTEXT("diuxXocCsSpeEfFgGaAn")).find(ch) == XStringView::npos) continue;
        const std::size_t cStars = (oSpec.m_iWidth == FormatSpec::STAR) + (oSpec.m_iPrecision == FormatSpec::STAR);
        if (cArgs + cStars + 1 > FORMAT_MAX_VARIADIC) break;
        if (oSpec.m_iWidth == FormatSpec::STAR) add(va_arg(args, int));
        if (oSpec.m_iPrecision == FormatSpec::STAR) add(va_arg(args, int));
        switch (ch) {
            case 'd':
            case 'i':
                if (oSpec.m_eSize == Size::Bits64) {
                    add(va_arg(args, long long));
                } else {
                    add(va_arg(args, int));
                }
                break;
            case 'u':
            case 'x':
            case 'X':
            case 'o':
                if (oSpec.m_eSize == Size::Bits64) {
                    add(va_arg(args, unsigned long long));
                } else {
                    add(va_arg(args, unsigned int));
                }
                break;
            case 'c':
            case 'C':
                add(va_arg(args, int));
                break;
            case 's':
            case 'S':
                if (oSpec.IsNarrowText()) {
                    add(static_cast<const char*>(va_arg(args, const char*)));
                } else {
                    add(static_cast<const XCHAR*>(va_arg(args, const XCHAR*)));
                }
                break;
            case 'p':
            case 'n':
                add(static_cast<const volatile void*>(va_arg(args, void*)));
                break;
            default:
                add(va_arg(args, double));
                break;
        }
    }
    return FormatCore(rcsTarget, pszFormat, aoArgs.data(), cArgs);
}

}  // namespace vlm
