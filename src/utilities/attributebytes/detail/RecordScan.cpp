/// @file
/// Walking the bytes of records without making objects.
#include "utilities/attributebytes/detail/RecordScan.h"

#include <array>
#include <iterator>

#include "utilities/Bounds.h"
#include "utilities/attributebytes/AttributeBytesRawList.h"
#include "utilities/debuggingandexceptions/RaiseMacros.h"

namespace vlm {
namespace {

struct Shape {
    BYTE m_byTag;
    BYTE m_byFixedBytes;
    ShapeTail m_eTail;
};

constexpr Shape IDENTIFIER_SHAPES[] = {
#define VLM_ATTRIBUTE_ID(tag, enumerator, className, fixedBytes, tail) {tag, fixedBytes, ShapeTail::tail},
#include "utilities/attributebytes/AttributeBytesIdList.inl"
};
constexpr Shape VALUE_SHAPES[] = {
#define VLM_ATTRIBUTE_VALUE(tag, enumerator, className, fixedBytes, tail) {tag, fixedBytes, ShapeTail::tail},
#include "utilities/attributebytes/AttributeBytesValueList.inl"
};
constexpr BYTE FIRST_TAG = 2;
static_assert(IDENTIFIER_SHAPES[0].m_byTag == FIRST_TAG && VALUE_SHAPES[0].m_byTag == FIRST_TAG);
static_assert(std::end(IDENTIFIER_SHAPES)[-1].m_byTag == FIRST_TAG + std::size(IDENTIFIER_SHAPES) - 1);
static_assert(std::end(VALUE_SHAPES)[-1].m_byTag == FIRST_TAG + std::size(VALUE_SHAPES) - 1);

/// A run of bytes that is walked; a step that does not fit answers false.
class Run {
public:
    Run(const BYTE* pbyBegin, const BYTE* pbyEnd) noexcept : m_pbyAt(pbyBegin), m_pbyEnd(pbyEnd) {}

    const BYTE* At() const noexcept { return m_pbyAt; }
    const BYTE* End() const noexcept { return m_pbyEnd; }
    bool IsAtEnd() const noexcept { return m_pbyAt == m_pbyEnd; }

    bool Skip(std::size_t cbBytes) noexcept {
        if (static_cast<std::size_t>(m_pbyEnd - m_pbyAt) < cbBytes) return false;
        m_pbyAt += cbBytes;
        return true;
    }
    bool ReadCount(std::size_t cbWidth, std::size_t& rcValue) noexcept {
        const BYTE* const pbyCount = m_pbyAt;
        if (!Skip(cbWidth)) return false;
        rcValue = 0;
        for (std::size_t i = cbWidth; i > 0; --i)
            rcValue = rcValue << 8 | pbyCount[i - 1];
        return true;
    }
    bool SkipCounted(std::size_t cbCountWidth, std::size_t cbUnit) noexcept {
        std::size_t cCount = 0;
        return ReadCount(cbCountWidth, cCount) && Skip(cCount * cbUnit);
    }
    template <std::size_t N>
    const Shape* ReadTag(const Shape (&raoShapes)[N]) noexcept {
        std::size_t cTag = 0;
        return ReadCount(1, cTag) && cTag >= FIRST_TAG && cTag < FIRST_TAG + N ? &raoShapes[cTag - FIRST_TAG] : nullptr;
    }
    bool SkipIdentifier() noexcept {
        const Shape* const pShape = ReadTag(IDENTIFIER_SHAPES);
        return pShape && Skip(pShape->m_byFixedBytes) && (pShape->m_eTail == ShapeTail::None || SkipCounted(2, 2));
    }

private:
    const BYTE* m_pbyAt;
    const BYTE* m_pbyEnd;
};

enum class Step { Record, List, Bad };

/// Walks over one record; of a list value, to its first record, with the list's end in `rpbyListEnd`.
Step StepRecord(Run& rRun, const BYTE*& rpbyListEnd) noexcept {
    if (!rRun.SkipIdentifier()) return Step::Bad;
    const Shape* const pShape = rRun.ReadTag(VALUE_SHAPES);
    if (!pShape || !rRun.Skip(1U + pShape->m_byFixedBytes)) return Step::Bad;
    bool bFits = true;
    switch (pShape->m_eTail) {
        case ShapeTail::None:
            break;
        case ShapeTail::Text:
            bFits = rRun.SkipCounted(2, 2);
            break;
        case ShapeTail::Bytes:
            bFits = rRun.SkipCounted(4, 1);
            break;
        case ShapeTail::Identifier:
            bFits = rRun.SkipIdentifier();
            break;
        case ShapeTail::List: {
            std::size_t cbState = 0;
            std::size_t cSignature = 0;
            if (!rRun.ReadCount(4, cbState)) return Step::Bad;
            const BYTE* const pbyState = rRun.At();
            if (!rRun.Skip(cbState)) return Step::Bad;
            rpbyListEnd = rRun.At();
            Run oList(pbyState, rpbyListEnd);
            if (!oList.ReadCount(4, cSignature) || cSignature != AttributeBytesRawList::SIGNATURE) return Step::Bad;
            rRun = Run(oList.At(), rRun.End());
            return Step::List;
        }
    }
    return bFits ? Step::Record : Step::Bad;
}

}  // namespace

unsigned MeasureListNesting(const BYTE* pbyRecords, DWORD dwBytes, unsigned uLimit) {
    std::array<const BYTE*, bounds::MAX_LIST_NESTING> apbyOuterEnds;  // ends of the runs around the present one
    unsigned uLevel = 0;
    unsigned uDeepest = 0;
    Run oRun(pbyRecords, pbyRecords + dwBytes);
    for (;;) {
        const BYTE* pbyListEnd = nullptr;
        const Step eStep = oRun.IsAtEnd() ? Step::Bad : StepRecord(oRun, pbyListEnd);
        if (eStep == Step::List) {
            if (uLevel == uLimit) {
                VLM_THROW(ExceptionMissingOrBadAttributeBytesFormat,
                          VTEXT("The lists of the attribute data are nested more than %ld levels deep!"),
                          static_cast<LONG>(bounds::MAX_LIST_NESTING));
            }
            apbyOuterEnds[uLevel++] = oRun.End();
            if (uLevel > uDeepest) uDeepest = uLevel;
            oRun = Run(oRun.At(), pbyListEnd);
        } else if (eStep == Step::Bad) {  // this run has ended, or no reader gets further in it
            if (uLevel == 0) return uDeepest;
            oRun = Run(oRun.End(), apbyOuterEnds[--uLevel]);
        }
    }
}

void WalkBufferToCheckSignature(const BYTE*& rpbyCursor, DWORD& rdwRemaining, DWORD dwSignature) {
    const DWORD dwFound = static_cast<DWORD>(ByteBuffer::WalkBufferToGetLong(rpbyCursor, rdwRemaining));
    if (dwFound == dwSignature) return;
    VLM_REPORT_ERROR(DebugCategory::AttrBytes,
                     VTEXT("Import request ignored. This expected signature is missing or doesn't match."));
    VLM_THROW(ExceptionMissingOrBadAttributeBytesFormat,
              VTEXT("The attribute data begins with 0x%08lx, not with the signature 0x%08lx!"), dwFound, dwSignature);
}

}  // namespace vlm
