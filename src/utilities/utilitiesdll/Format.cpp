/// @file
/// The formatter's core: walks the format text, fetches arguments and lays out text conversions.
#include "utilities/utilitiesdll/Format.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "utilities/utilitiesdll/CXString.h"
#include "utilities/utilitiesdll/MemoryPool.h"
#include "utilities/utilitiesdll/detail/text/FormatNumber.h"
#include "utilities/utilitiesdll/detail/text/FormatSpec.h"
#include "utilities/utilitiesdll/detail/text/FormatWriter.h"
#include "utilities/utilitiesdll/detail/text/NarrowText.h"
#include "utilities/utilitiesdll/detail/text/TextKernels.h"

namespace vlm {

namespace {

using format::FormatSpec;
using format::FormatWriter;
using format::Size;

/// Longest text that is formatted without the heap.
constexpr std::size_t STACK_UNITS = 512;

class FormatEngine {
public:
    FormatEngine(FormatWriter& roWriter, const FormatArg* poArgs, std::size_t cArgs) noexcept
        : m_roWriter(roWriter), m_poNext(poArgs), m_poEnd(poArgs + cArgs) {}

    /// Formats everything.  @return the flags met.
    std::uint32_t Run(const XCHAR* pszFormat) noexcept {
        if (!pszFormat) {
            m_dwFlags |= FMTF_NULL_TEXT;
            pszFormat = VTEXT("");
        }
        const XCHAR* pch = pszFormat;
        while (true) {
            pch = m_roWriter.AppendUpTo(pch, XCHAR('%'));
            if (!*pch) break;
            FormatSpec oSpec = format::ParseSpec(pch);
            pch = oSpec.m_pchEnd;
            if (oSpec.m_bClamped) m_dwFlags |= FMTF_CLAMPED;
            Convert(oSpec);
        }
        if (m_poNext != m_poEnd) m_dwFlags |= FMTF_UNUSED_ARGUMENT;
        return m_dwFlags | m_roWriter.Flags();
    }

private:
    void Convert(FormatSpec& roSpec) noexcept {
        switch (roSpec.m_chConversion) {
            case '%':
                return m_roWriter.Append(VTEXT("%"), 1);
            case 'd':
            case 'i':
            case 'u':
            case 'x':
            case 'X':
            case 'o':
            case 'c':
            case 'C':
            case 's':
            case 'S':
            case 'p':
            case 'e':
            case 'E':
            case 'f':
            case 'F':
            case 'g':
            case 'G':
            case 'a':
            case 'A':
                break;
            case 'n':  // refused: it would write; its argument is passed over so that the others keep their places
                ResolveStars(roSpec);
                NextArgument();
                [[fallthrough]];
            default:
                m_dwFlags |= FMTF_BAD_CONVERSION;
                return m_roWriter.Append(roSpec.m_pchFirst,
                                         static_cast<std::size_t>(roSpec.m_pchEnd - roSpec.m_pchFirst));
        }
        ResolveStars(roSpec);
        if (const FormatArg* const poArg = NextArgument()) {
            ConvertArgument(roSpec, *poArg);
        } else {
            m_dwFlags |= FMTF_MISSING_ARGUMENT;
            PutWide(roSpec, VTEXT("(missing)"));
        }
    }

    void ConvertArgument(const FormatSpec& koSpec, const FormatArg& koArg) noexcept {
        switch (koSpec.m_chConversion) {
            case 'c':
            case 'C':
                return PutChar(koSpec, koArg);
            case 's':
            case 'S':
                return PutTextOf(koSpec, koArg);
            case 'p':
                return PutPointer(koSpec, koArg);
            case 'd':
            case 'i':
            case 'u':
            case 'x':
            case 'X':
            case 'o':
                return PutIntegerOf(koSpec, koArg);
            default:
                return PutFloatOf(koSpec, koArg);
        }
    }

    // ---- arguments ----

    const FormatArg* NextArgument() noexcept { return m_poNext != m_poEnd ? m_poNext++ : nullptr; }

    void ResolveStars(FormatSpec& roSpec) noexcept {
        if (roSpec.m_iWidth == FormatSpec::STAR) {
            const std::int64_t llWidth = StarValue();
            if (llWidth < 0) roSpec.m_byFlags |= format::FLAG_LEFT;
            roSpec.m_iWidth = Clamp(llWidth < 0 ? -llWidth : llWidth);
        }
        if (roSpec.m_iPrecision == FormatSpec::STAR) {
            const std::int64_t llPrecision = StarValue();
            roSpec.m_iPrecision = llPrecision < 0 ? FormatSpec::ABSENT : Clamp(llPrecision);
        }
    }

    /// An argument for a star, read as 32 bits; a missing or unfit one counts as none.
    std::int64_t StarValue() noexcept {
        const FormatArg* const poArg = NextArgument();
        if (!poArg) {
            m_dwFlags |= FMTF_MISSING_ARGUMENT;
            return 0;
        }
        if (poArg->GetKind() != FormatArg::FAK_SIGNED && poArg->GetKind() != FormatArg::FAK_UNSIGNED) {
            m_dwFlags |= FMTF_WRONG_KIND;
            return 0;
        }
        const std::int64_t llValue = static_cast<std::int64_t>(poArg->GetInteger());
        if (poArg->GetWidth() <= 4) return static_cast<std::int32_t>(llValue);
        return std::clamp<std::int64_t>(llValue, -0x7FFFFFFF, 0x7FFFFFFF);
    }

    int Clamp(std::int64_t llCount) noexcept {
        if (llCount <= FORMAT_MAX_WIDTH) return static_cast<int>(llCount);
        m_dwFlags |= FMTF_CLAMPED;
        return FORMAT_MAX_WIDTH;
    }

    // ---- text ----

    void PutTextOf(const FormatSpec& koSpec, const FormatArg& koArg) noexcept {
        switch (koArg.GetKind()) {
            case FormatArg::FAK_WIDE:
                if (koSpec.IsNarrowText()) m_dwFlags |= FMTF_WRONG_KIND;
                return PutWideArg(koSpec, koArg);
            case FormatArg::FAK_NARROW:
                if (!koSpec.IsNarrowText()) m_dwFlags |= FMTF_WRONG_KIND;
                return PutNarrowArg(koSpec, koArg);
            case FormatArg::FAK_POINTER:
                if (!koArg.GetPointer()) return PutNull(koSpec);
                break;
            default:
                break;
        }
        m_dwFlags |= FMTF_WRONG_KIND;
        PutPlain(koSpec, koArg);
    }

    void PutNull(const FormatSpec& koSpec) noexcept {
        m_dwFlags |= FMTF_NULL_TEXT;
        PutWide(koSpec, VTEXT("(null)"));
    }

    /// Longest part of a text that a precision lets through; a zero-terminated text is not read beyond it.
    template <class Char>
    static std::size_t Length(const FormatSpec& koSpec, const Char* pszText, std::uint32_t dwUnits) noexcept {
        const std::size_t cMost = koSpec.m_iPrecision >= 0 ? static_cast<std::size_t>(koSpec.m_iPrecision)
                                                           : std::size_t{FORMAT_MAX_UNITS} + 2;
        if (dwUnits != FormatArg::TERMINATED) return std::min<std::size_t>(dwUnits, cMost);
        std::size_t cUnits = 0;
        while (cUnits < cMost && pszText[cUnits])
            ++cUnits;
        return cUnits;
    }

    void PutWideArg(const FormatSpec& koSpec, const FormatArg& koArg) noexcept {
        const XCHAR* const pszText = koArg.GetWide();
        if (!pszText) return PutNull(koSpec);
        std::size_t cUnits = Length(koSpec, pszText, koArg.GetUnits());
        // A precision does not part the halves of a character.
        if (koSpec.m_iPrecision >= 0 && cUnits > 0 && cUnits == static_cast<std::size_t>(koSpec.m_iPrecision) &&
            text::IsHighSurrogate(pszText[cUnits - 1]) && cUnits < Whole(koArg) &&
            text::IsLowSurrogate(pszText[cUnits])) {
            --cUnits;
        }
        PutWide(koSpec, XStringView(pszText, cUnits));
    }
    static std::size_t Whole(const FormatArg& koArg) noexcept {
        return koArg.GetUnits() == FormatArg::TERMINATED ? ~std::size_t{0} : koArg.GetUnits();
    }

    void PutNarrowArg(const FormatSpec& koSpec, const FormatArg& koArg) noexcept {
        const char* const pszText = koArg.GetNarrow();
        if (!pszText) return PutNull(koSpec);
        PutNarrow(koSpec, pszText, Length(koSpec, pszText, koArg.GetUnits()));
    }

    void PutWide(const FormatSpec& koSpec, XStringView text) noexcept {
        const std::size_t cPad = format::PadCount(koSpec, text.size());
        if (!koSpec.Has(format::FLAG_LEFT)) m_roWriter.Fill(Padding(koSpec), cPad);
        m_roWriter.Append(text);
        if (koSpec.Has(format::FLAG_LEFT)) m_roWriter.Fill(XCHAR(' '), cPad);
    }

    /// Converts straight into the target: narrow text never has more units than bytes.
    void PutNarrow(const FormatSpec& koSpec, const char* pchText, std::size_t cBytes) noexcept {
        XCHAR* const pchTarget = m_roWriter.Reserve(cBytes);
        if (!pchTarget) return;
        const std::size_t cUnits = text::WidenAnsi(pchText, cBytes, pchTarget);
        const std::size_t cPad = format::PadCount(koSpec, cUnits);
        if (cPad == 0) return m_roWriter.Advance(cUnits);
        if (koSpec.Has(format::FLAG_LEFT)) {
            m_roWriter.Advance(cUnits);
            return m_roWriter.Fill(XCHAR(' '), cPad);
        }
        XCHAR* const pchPadded = m_roWriter.Reserve(cBytes + cPad);
        if (!pchPadded) return;
        text::WidenAnsi(pchText, cBytes, pchPadded + cPad);  // again: what lay behind the end may have been left behind
        std::fill_n(pchPadded, cPad, Padding(koSpec));
        m_roWriter.Advance(cPad + cUnits);
    }

    /// The zero flag pads text with zeros, too, as on Windows.
    static XCHAR Padding(const FormatSpec& koSpec) noexcept { return XCHAR(koSpec.Has(format::FLAG_ZERO) ? '0' : ' '); }

    void PutChar(const FormatSpec& koSpec, const FormatArg& koArg) noexcept {
        FormatSpec oSpec = koSpec;
        oSpec.m_iPrecision = FormatSpec::ABSENT;
        if (koArg.GetKind() != FormatArg::FAK_SIGNED && koArg.GetKind() != FormatArg::FAK_UNSIGNED) {
            return PutTextOf(oSpec, koArg);
        }
        const std::uint64_t ullValue = koArg.GetInteger();
        if (koSpec.IsNarrowText() || (koArg.GetKind() == FormatArg::FAK_SIGNED && koArg.GetWidth() == 1)) {
            const char ch = static_cast<char>(ullValue);
            return PutNarrow(oSpec, &ch, 1);
        }
        if (koArg.GetWidth() == 4 && ullValue > 0xFFFF && ullValue <= 0x10FFFF) {
            const std::uint32_t dwRest = static_cast<std::uint32_t>(ullValue) - 0x10000;
            const XCHAR achPair[] = {static_cast<XCHAR>(0xD800 + (dwRest >> 10)),
                                     static_cast<XCHAR>(0xDC00 + (dwRest & 0x3FF))};
            return PutWide(oSpec, XStringView(achPair, 2));
        }
        const XCHAR ch = static_cast<XCHAR>(ullValue);
        PutWide(oSpec, XStringView(&ch, 1));
    }

    // ---- numbers ----

    void PutPointer(const FormatSpec& koSpec, const FormatArg& koArg) noexcept {
        if (koArg.GetKind() == FormatArg::FAK_FLOAT) {
            m_dwFlags |= FMTF_WRONG_KIND;
            return PutPlain(koSpec, koArg);
        }
        FormatSpec oSpec = koSpec;
        oSpec.m_chConversion = XCHAR('X');
        oSpec.m_iPrecision = 16;
        format::PutInteger(m_roWriter, oSpec, koArg.GetInteger(), false);
    }

    void PutIntegerOf(const FormatSpec& koSpec, const FormatArg& koArg) noexcept {
        const FormatArg::Kind eKind = koArg.GetKind();
        const bool bInteger = eKind == FormatArg::FAK_SIGNED || eKind == FormatArg::FAK_UNSIGNED;
        if (!bInteger) {
            m_dwFlags |= FMTF_WRONG_KIND;
            if (eKind != FormatArg::FAK_POINTER) return PutPlain(koSpec, koArg);
        }
        // Without a size an argument counts with its own width, at least 32 bits, as if it had been promoted.
        int iBits = std::max(32, koArg.GetWidth() * 8);
        if (!bInteger || koSpec.m_eSize == Size::Bits64) iBits = 64;
        if (koSpec.m_eSize == Size::Short) iBits = 16;
        if (koSpec.m_eSize == Size::Char) iBits = 8;
        std::uint64_t ullValue = koArg.GetInteger() << (64 - iBits);
        const bool bSigned = koSpec.m_chConversion == XCHAR('d') || koSpec.m_chConversion == XCHAR('i');
        if (bSigned && static_cast<std::int64_t>(ullValue) < 0) {
            ullValue = static_cast<std::uint64_t>(static_cast<std::int64_t>(ullValue) >> (64 - iBits));
            return format::PutInteger(m_roWriter, koSpec, 0 - ullValue, true);
        }
        format::PutInteger(m_roWriter, koSpec, ullValue >> (64 - iBits), false);
    }

    void PutFloatOf(const FormatSpec& koSpec, const FormatArg& koArg) noexcept {
        double dblValue = 0;
        switch (koArg.GetKind()) {
            case FormatArg::FAK_FLOAT:
                dblValue = koArg.GetDouble();
                break;
            case FormatArg::FAK_SIGNED:
                dblValue = static_cast<double>(static_cast<std::int64_t>(koArg.GetInteger()));
                break;
            case FormatArg::FAK_UNSIGNED:
                dblValue = static_cast<double>(koArg.GetInteger());
                break;
            default:
                m_dwFlags |= FMTF_WRONG_KIND;
                return PutPlain(koSpec, koArg);
        }
        if (koArg.GetKind() != FormatArg::FAK_FLOAT) m_dwFlags |= FMTF_WRONG_KIND;
        format::PutFloat(m_roWriter, koSpec, dblValue);
    }

    /// Shows an argument as what it is, for a conversion that does not fit it.
    void PutPlain(const FormatSpec& koSpec, const FormatArg& koArg) noexcept {
        FormatSpec oSpec = koSpec;
        oSpec.m_iPrecision = FormatSpec::ABSENT;
        oSpec.m_eSize = Size::None;
        switch (koArg.GetKind()) {
            case FormatArg::FAK_SIGNED:
                oSpec.m_chConversion = XCHAR('d');
                return PutIntegerOf(oSpec, koArg);
            case FormatArg::FAK_UNSIGNED:
                oSpec.m_chConversion = XCHAR('u');
                return PutIntegerOf(oSpec, koArg);
            case FormatArg::FAK_FLOAT:
                oSpec.m_chConversion = XCHAR('g');
                return PutFloatOf(oSpec, koArg);
            case FormatArg::FAK_POINTER:
                return PutPointer(oSpec, koArg);
            case FormatArg::FAK_WIDE:
                return PutWideArg(oSpec, koArg);
            case FormatArg::FAK_NARROW:
                return PutNarrowArg(oSpec, koArg);
        }
    }

    FormatWriter& m_roWriter;
    const FormatArg* m_poNext;
    const FormatArg* m_poEnd;
    std::uint32_t m_dwFlags = 0;
};

}  // namespace

FormatResult FormatCore(CXString& rcsTarget, const XCHAR* pszFormat, const FormatArg* poArgs, std::size_t cArgs) {
    XCHAR achText[STACK_UNITS];
    FormatWriter oWriter(achText, STACK_UNITS, FORMAT_MAX_UNITS);
    const std::uint32_t dwFlags = FormatEngine(oWriter, poArgs, cArgs).Run(pszFormat);
    if (dwFlags & FMTF_OUT_OF_MEMORY) MemoryPool::RaiseOutOfMemory();
    rcsTarget = XStringView(oWriter.Text(), oWriter.Count());
    return {oWriter.Count(), dwFlags};
}

FormatResult TryFormatCore(CXString& rcsTarget, const XCHAR* pszFormat, const FormatArg* poArgs,
                           std::size_t cArgs) noexcept {
    try {
        return FormatCore(rcsTarget, pszFormat, poArgs, cArgs);
    } catch (...) {  // the only failure is a lack of memory, whatever the handler made of it
        return {0, FMTF_OUT_OF_MEMORY};
    }
}

FormatResult FormatToBufferCore(XCHAR* pchTarget, std::size_t cCapacity, const XCHAR* pszFormat,
                                const FormatArg* poArgs, std::size_t cArgs) noexcept {
    const std::size_t cRoom = pchTarget && cCapacity ? cCapacity - 1 : 0;
    FormatWriter oWriter(pchTarget, cRoom, cRoom);
    const std::uint32_t dwFlags = FormatEngine(oWriter, poArgs, cArgs).Run(pszFormat);
    if (pchTarget && cCapacity) pchTarget[oWriter.Count()] = XCHAR();
    return {oWriter.Count(), dwFlags};
}

}  // namespace vlm
