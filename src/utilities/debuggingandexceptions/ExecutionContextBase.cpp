/// @file
/// One execution context: its comparison, its displays and the names of the ids.
#include "utilities/debuggingandexceptions/ExecutionContextBase.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <utility>

#include "utilities/debuggingandexceptions/RaiseMacros.h"
#include "utilities/debuggingandexceptions/detail/failure/SafeText.h"

namespace {

struct IdName {
    ExecutionContextIdType m_eContext;
    const XCHAR* m_pszName;
};

constexpr auto STATIC_ID_NAMES = std::to_array<IdName>({
#define VLM_CONTEXT_ID(name) {name, VTEXT(#name)},
#include "utilities/debuggingandexceptions/ExecutionContextIds.inl"
#undef VLM_CONTEXT_ID
});

// The map from id to name: the ids are consecutive, so an id is its own place.  Filled once under the string map's
// lock.
constinit std::array<const XCHAR*, STATIC_ID_NAMES.size()> gapszIdNames{};
constinit std::atomic<bool> gfIdNamesPopulated{false};

/// Made while the process runs, without a name of its own?
bool IsDynamicallyGenerated(ExecutionContextIdType eContext) noexcept {
    return eContext > ECIE_NO_MORE_ENUMS;
}

}  // namespace

constinit CriticalResource ExecutionContextBase::m_soStringMapResource;

ExecutionContextBase::ExecutionContextBase(ExecutionContextIdType eContext, const CXString& kcsFile,
                                           const CXString& kcsFunction, DWORD dwLineNumber, bool fLocationEmbeddedInMsg,
                                           const CXString& kcsMessage)
    : m_eExecutionContextIdType(CheckedId(eContext)),
      m_dwLineNumWhereConstructed(dwLineNumber),
      m_oMessage(kcsMessage),
      m_oFileWhereConstructed(kcsFile),
      m_oFunctionWhereConstructed(kcsFunction),
      m_fLocationEmbeddedInMsg(fLocationEmbeddedInMsg) {}

ExecutionContextBase::ExecutionContextBase(ExecutionContextIdType eContext, const vlm::SourcePosition& rPosition,
                                           bool fLocationEmbeddedInMsg, const CXString& kcsMessage)
    : m_eExecutionContextIdType(CheckedId(eContext)),
      m_dwLineNumWhereConstructed(rPosition.dwLine),
      m_oMessage(kcsMessage),
      m_oFileWhereConstructed(rPosition.pszFile),
      m_oFunctionWhereConstructed(rPosition.pszMethod),
      m_fLocationEmbeddedInMsg(fLocationEmbeddedInMsg) {}

ExecutionContextBase::~ExecutionContextBase() = default;

ExecutionContextIdType ExecutionContextBase::ReplaceBadId(ExecutionContextIdType eContext) noexcept {
    AssertValidContextIdType(eContext);
    return ECIE_NOT_SPECIFIED;
}

std::strong_ordering ExecutionContextBase::CompareFields(const ExecutionContextBase& rOther) const noexcept {
    const auto byId = m_eExecutionContextIdType <=> rOther.m_eExecutionContextIdType;
    if (byId != 0) return byId;
    const auto byFile = m_oFileWhereConstructed.View() <=> rOther.m_oFileWhereConstructed.View();
    if (byFile != 0) return byFile;
    const auto byFunction = m_oFunctionWhereConstructed.View() <=> rOther.m_oFunctionWhereConstructed.View();
    if (byFunction != 0) return byFunction;
    const auto byLine = m_dwLineNumWhereConstructed <=> rOther.m_dwLineNumWhereConstructed;
    if (byLine != 0) return byLine;
    const auto byFlag = m_fLocationEmbeddedInMsg <=> rOther.m_fLocationEmbeddedInMsg;
    return byFlag != 0 ? byFlag : m_oMessage.View() <=> rOther.m_oMessage.View();
}

CXString ExecutionContextBase::GetSingleLineLocationString() const {
    const XStringView function = m_oFunctionWhereConstructed.View();
    vlm::SafeText text;
    if (function.find(VTEXT("::")) != XStringView::npos) {
        text.Format(VTEXT("%s line %ld"), function, m_dwLineNumWhereConstructed);
    } else {
        text.Format(VTEXT("%s, %s line %ld"), m_oFileWhereConstructed.View(), function, m_dwLineNumWhereConstructed);
    }
    return std::move(text.Get());
}

CXString ExecutionContextBase::GetContextDebugDisplayString(bool fWithLocation) const {
    vlm::SafeText text;
    text.Append(GetDebugDisplayString(m_eExecutionContextIdType, false).View());
    if (!m_oMessage.View().empty()) text.Append(VTEXT(": ")).Append(m_oMessage.View());
    if (fWithLocation && !m_fLocationEmbeddedInMsg) text.Format(VTEXT(" (%s)"), GetSingleLineLocationString());
    return std::move(text.Get());
}

void ExecutionContextBase::PopulateStringMapForExecutionContextIdType() {
    if (gfIdNamesPopulated.load(std::memory_order_acquire)) return;
    {
        const CriticalResourceLock lock(m_soStringMapResource);
        if (gfIdNamesPopulated.load(std::memory_order_relaxed)) return;
        for (const IdName& rEntry : STATIC_ID_NAMES) {
            gapszIdNames[static_cast<std::size_t>(rEntry.m_eContext)] = rEntry.m_pszName;
        }
        gfIdNamesPopulated.store(true, std::memory_order_release);
    }
    VLM_REPORT(DebugCategory::ErrInfra,
               VTEXT("Populate the ExecutionContextIdType to String map from the static array."));
}

CXString ExecutionContextBase::GetDebugDisplayString(ExecutionContextIdType eContext, bool fWithNumber) {
    PopulateStringMapForExecutionContextIdType();
    vlm::SafeText text;
    const auto uIndex = static_cast<std::size_t>(eContext);  // a negative id becomes a great index
    if (uIndex < gapszIdNames.size()) {
        text.Append(gapszIdNames[uIndex]);
    } else if (IsDynamicallyGenerated(eContext)) {
        text.Format(VTEXT("Dynamic context %ld"), eContext);
    } else {
        VLM_REPORT_ERROR(DebugCategory::ErrInfra,
                         VTEXT("The specified ExecutionContextIdType, %ld (0x%lx), is not a dynamically-generated "
                               "ExecutionContextIdType, yet it does not have an enum-to-string mapping defined for it. "
                               "Did you use the X_DEFINE_ENUM_IM() or X_DEFINE_ENUM_EX() macro to define it?"),
                         eContext, eContext);
        text.Format(VTEXT("<Unknown context %ld>"), eContext);
    }
    if (fWithNumber) text.Format(VTEXT(" (%ld)"), eContext);
    return std::move(text.Get());
}

bool ExecutionContextBase::AssertValidContextIdType(ExecutionContextIdType eContext) noexcept {
    VLM_ASSERT((eContext >= ECIE_NOT_SPECIFIED) && (eContext < ECIE_NO_MORE_ENUMS),
               VTEXT("Invalid ExecutionContextIdType of %ld (0x%lx). Legal values are between %ld and %ld, inclusive"),
               eContext, eContext, ECIE_NOT_SPECIFIED, ECIE_NO_MORE_ENUMS - 1);
    return (eContext >= ECIE_NOT_SPECIFIED) && (eContext < ECIE_NO_MORE_ENUMS);
}
