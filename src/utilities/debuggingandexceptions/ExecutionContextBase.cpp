/// @file
/// One execution context: its comparison, its displays and the names of the ids.
#include "utilities/debuggingandexceptions/ExecutionContextBase.h"

#include <array>
#include <utility>

#include "utilities/debuggingandexceptions/RaiseMacros.h"
#include "utilities/debuggingandexceptions/detail/failure/ContextIdNames.h"
#include "utilities/debuggingandexceptions/detail/failure/SafeText.h"

namespace {

using IdNames = vlm::ContextIdNames<ExecutionContextIdType, ECIE_NO_MORE_ENUMS + 1>;

constexpr IdNames::Entries STATIC_ID_NAMES{{
#define VLM_CONTEXT_ID(name) {name, VTEXT(#name)},
#include "utilities/debuggingandexceptions/ExecutionContextIds.inl"
#undef VLM_CONTEXT_ID
}};

constinit IdNames goIdNames;

}  // namespace

constinit CriticalResource ExecutionContextBase::m_soStringMapResource;

ExecutionContextBase::ExecutionContextBase(ExecutionContextIdType eContext, const CXString& kcsFile,
                                           const CXString& kcsFunction, DWORD dwLineNumber, bool fLocationEmbeddedInMsg,
                                           const CXString& kcsMessage)
    : m_oFields{CheckedId(eContext),
                dwLineNumber,
                ExecutionContextText(kcsMessage),
                ExecutionContextText(kcsFile),
                ExecutionContextText(kcsFunction),
                fLocationEmbeddedInMsg} {}

ExecutionContextBase::ExecutionContextBase(ExecutionContextIdType eContext, const vlm::SourcePosition& rPosition,
                                           bool fLocationEmbeddedInMsg, const CXString& kcsMessage)
    : m_oFields{CheckedId(eContext),
                rPosition.dwLine,
                ExecutionContextText(kcsMessage),
                ExecutionContextText(rPosition.pszFile),
                ExecutionContextText(rPosition.pszMethod),
                fLocationEmbeddedInMsg} {}

ExecutionContextBase::~ExecutionContextBase() = default;

ExecutionContextIdType ExecutionContextBase::ReplaceBadId(ExecutionContextIdType eContext) noexcept {
    AssertValidContextIdType(eContext);
    return ECIE_NOT_SPECIFIED;
}

std::strong_ordering ExecutionContextBase::CompareFields(const ExecutionContextBase& rOther) const noexcept {
    return m_oFields.Compare(rOther.m_oFields);
}

CXString ExecutionContextBase::GetSingleLineLocationString() const {
    return m_oFields.GetLocationString();
}

CXString ExecutionContextBase::GetContextDebugDisplayString(bool fWithLocation) const {
    vlm::SafeText text;
    text.Append(GetDebugDisplayString(GetExecutionContextIdType(), false).View());
    const XStringView message = m_oFields.m_oMessage.View();
    if (!message.empty()) text.Append(VTEXT(": ")).Append(message);
    if (fWithLocation && !IsLocationEmbeddedInMsg()) text.Format(VTEXT(" (%s)"), GetSingleLineLocationString());
    return std::move(text.Get());
}

void ExecutionContextBase::PopulateStringMapForExecutionContextIdType() {
    if (!goIdNames.Populate(STATIC_ID_NAMES, m_soStringMapResource)) return;
    VLM_REPORT(DebugCategory::ErrInfra,
               VTEXT("Populate the ExecutionContextIdType to String map from the static array."));
}

CXString ExecutionContextBase::GetDebugDisplayString(ExecutionContextIdType eContext, bool fWithNumber) {
    PopulateStringMapForExecutionContextIdType();
    return goIdNames.GetDisplayString(eContext, fWithNumber, [&] {
        VLM_REPORT_ERROR(DebugCategory::ErrInfra,
                         VTEXT("The specified ExecutionContextIdType, %ld (0x%lx), is not a dynamically-generated "
                               "ExecutionContextIdType, yet it does not have an enum-to-string mapping defined for it. "
                               "Did you use the X_DEFINE_ENUM_IM() or X_DEFINE_ENUM_EX() macro to define it?"),
                         eContext, eContext);
    });
}

bool ExecutionContextBase::AssertValidContextIdType(ExecutionContextIdType eContext) noexcept {
    VLM_ASSERT((eContext >= ECIE_NOT_SPECIFIED) && (eContext < ECIE_NO_MORE_ENUMS),
               VTEXT("Invalid ExecutionContextIdType of %ld (0x%lx). Legal values are between %ld and %ld, inclusive"),
               eContext, eContext, ECIE_NOT_SPECIFIED, ECIE_NO_MORE_ENUMS - 1);
    return (eContext >= ECIE_NOT_SPECIFIED) && (eContext < ECIE_NO_MORE_ENUMS);
}
