/// @file
/// One constraint execution context: its comparison, its displays and the names of the ids.
#include "utilities/debuggingandexceptions/ConstraintExecutionContextBase.h"

#include <utility>

#include "utilities/debuggingandexceptions/RaiseMacros.h"
#include "utilities/debuggingandexceptions/detail/failure/ContextIdNames.h"
#include "utilities/debuggingandexceptions/detail/failure/SafeText.h"

namespace {

using IdNames = vlm::ContextIdNames<ConstraintExecutionContextIdType, CECIE_NO_MORE_ENUMS + 1>;

constexpr IdNames::Entries STATIC_ID_NAMES{{
#define VLM_CONTEXT_ID(name) {name, VTEXT(#name)},
#include "utilities/debuggingandexceptions/ConstraintExecutionContextIds.inl"
#undef VLM_CONTEXT_ID
}};

constinit IdNames goIdNames;

constexpr DebugMessageCategories CATEGORIES = DebugCategory::ErrInfra | DebugCategory::ConstraintExecutionContext;

}  // namespace

constinit CriticalResource ConstraintExecutionContextBase::m_soStringMapResource;

ConstraintExecutionContextBase::ConstraintExecutionContextBase(ConstraintExecutionContextIdType eContext,
                                                               const CXString& kcsFile, const CXString& kcsFunction,
                                                               DWORD dwLineNumber, bool fLocationEmbeddedInMsg,
                                                               const CXString& kcsMessage)
    : m_oFields{CheckedId(eContext),
                dwLineNumber,
                ExecutionContextText(kcsMessage),
                ExecutionContextText(kcsFile),
                ExecutionContextText(kcsFunction),
                fLocationEmbeddedInMsg} {}

ConstraintExecutionContextBase::ConstraintExecutionContextBase(ConstraintExecutionContextIdType eContext,
                                                               const CXString& kcsMessage)
    : ConstraintExecutionContextBase(eContext, CXString(), CXString(), 0, false, kcsMessage) {}

ConstraintExecutionContextBase::~ConstraintExecutionContextBase() = default;

ConstraintExecutionContextIdType ConstraintExecutionContextBase::CheckedId(
    ConstraintExecutionContextIdType eContext) noexcept {
    if (eContext >= CECIE_NOT_SPECIFIED) return eContext;
    AssertValidContextIdType(eContext);
    return CECIE_NOT_SPECIFIED;
}

std::strong_ordering ConstraintExecutionContextBase::CompareFields(
    const ConstraintExecutionContextBase& rOther) const noexcept {
    return m_oFields.Compare(rOther.m_oFields);
}

CXString ConstraintExecutionContextBase::GetSingleLineLocationString() const {
    return m_oFields.GetLocationString();
}

CXString ConstraintExecutionContextBase::GetMarkedMessage() const {
    const bool fComment = HasMessage() && GetConstraintExecutionContextIdType() == CECIE_NOT_SPECIFIED;
    vlm::SafeText text;
    if (fComment) text.Append(VTEXT("::COMMENT:: "));
    text.Append(m_oFields.m_oMessage.View());
    return std::move(text.Get());
}

CXString ConstraintExecutionContextBase::GetContextAndMessage() const {
    CXString csName = GetDebugDisplayString(GetConstraintExecutionContextIdType(), false);
    if (!HasMessage()) return csName;
    return std::move(vlm::SafeText().Format(VTEXT("%s (%s)"), csName, GetMarkedMessage()).Get());
}

CXString ConstraintExecutionContextBase::GetContextDebugDisplayString(bool fWithLocation) const {
    const bool fHasLocation = !m_oFields.m_oFile.View().empty() || !m_oFields.m_oFunction.View().empty();
    if (!fWithLocation || !fHasLocation || IsLocationEmbeddedInMsg()) return GetContextAndMessage();
    const CXString csName = GetDebugDisplayString(GetConstraintExecutionContextIdType(), false);
    vlm::SafeText text;
    if (HasMessage()) {
        text.Format(VTEXT("%s: %s (%s)"), csName, GetMarkedMessage(), GetSingleLineLocationString());
    } else {
        text.Format(VTEXT("%s (%s)"), csName, GetSingleLineLocationString());
    }
    return std::move(text.Get());
}

void ConstraintExecutionContextBase::PopulateStringMapForConstraintExecutionContextIdType() {
    if (!goIdNames.Populate(STATIC_ID_NAMES, m_soStringMapResource)) return;
    VLM_REPORT(CATEGORIES, VTEXT("Populate the ConstraintExecutionContextIdType to String map from the static array."));
}

CXString ConstraintExecutionContextBase::GetDebugDisplayString(ConstraintExecutionContextIdType eContext,
                                                               bool fWithNumber) {
    PopulateStringMapForConstraintExecutionContextIdType();
    return goIdNames.GetDisplayString(eContext, fWithNumber, [&] {
        VLM_REPORT_ERROR(CATEGORIES,
                         VTEXT("The specified ConstraintExecutionContextIdType, %ld (0x%lx), is not a "
                               "dynamically-generated ConstraintExecutionContextIdType, yet it does not have an "
                               "enum-to-string mapping defined for it. Did you use the X_DEFINE_ENUM_IM() or "
                               "X_DEFINE_ENUM_EX() macro to define it?"),
                         eContext, eContext);
    });
}

bool ConstraintExecutionContextBase::AssertValidContextIdType(ConstraintExecutionContextIdType eContext) noexcept {
    VLM_ASSERT((eContext >= CECIE_NOT_SPECIFIED) && (eContext < CECIE_NO_MORE_ENUMS),
               VTEXT("Invalid ConstraintExecutionContextIdType of %ld (0x%lx). Legal values are between %ld and %ld, "
                     "inclusive"),
               eContext, eContext, CECIE_NOT_SPECIFIED, CECIE_NO_MORE_ENUMS - 1);
    return (eContext >= CECIE_NOT_SPECIFIED) && (eContext < CECIE_NO_MORE_ENUMS);
}
