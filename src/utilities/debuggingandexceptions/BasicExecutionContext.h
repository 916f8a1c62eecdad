/// @file
/// The concrete execution context.
#pragma once

#include <concepts>

#include "utilities/debuggingandexceptions/ExecutionContextBase.h"

/// An execution context without anything of its own.
///
/// The cheap way to make one is from literals:
///
///     ExecutionContextLifetime lifetime(MakeExecutionContext(ECIE_IMPORT_JCAP, VLM_HERE, VTEXT("from the device")));
class VLM_API BasicExecutionContext : public ExecutionContextBase {
public:
    /// @param kcsFile path of the source file.  @param kcsFunction for example "Importer::Run".
    /// @param fLocationEmbeddedInMsg the message names the place itself, so displays leave the location out.
    BasicExecutionContext(ExecutionContextIdType eContext, const CXString& kcsFile, const CXString& kcsFunction,
                          DWORD dwLineNumber, bool fLocationEmbeddedInMsg, const CXString& kcsMessage);
    /// At a place given by `VLM_HERE`, with a literal for a message.
    BasicExecutionContext(ExecutionContextIdType eContext, const vlm::SourcePosition& rPosition,
                          LiteralText literalMessage = VTEXT(""), bool fLocationEmbeddedInMsg = false) noexcept
        : ExecutionContextBase(eContext, rPosition, fLocationEmbeddedInMsg, literalMessage) {}
    /// At a place given by `VLM_HERE`, with a string for a message.
    template <std::same_as<CXString> Text>
    BasicExecutionContext(ExecutionContextIdType eContext, const vlm::SourcePosition& rPosition, const Text& rcsMessage,
                          bool fLocationEmbeddedInMsg = false)
        : ExecutionContextBase(eContext, rPosition, fLocationEmbeddedInMsg, rcsMessage) {}
    BasicExecutionContext(const BasicExecutionContext&) = default;
    BasicExecutionContext& operator=(const BasicExecutionContext&) = default;
    ~BasicExecutionContext() override;

    std::unique_ptr<ExecutionContextBase> Clone() const override;
    bool IsEqual(const ExecutionContextBase& rOther) const override;
    bool LessThan(const ExecutionContextBase& rOther) const override;
};

/// A context from literals.
inline std::unique_ptr<ExecutionContextBase> MakeExecutionContext(ExecutionContextIdType eContext,
                                                                  const vlm::SourcePosition& rPosition,
                                                                  LiteralText literalMessage = VTEXT("")) {
    return std::make_unique<BasicExecutionContext>(eContext, rPosition, literalMessage);
}
/// A context with a string for a message.
template <std::same_as<CXString> Text>
std::unique_ptr<ExecutionContextBase> MakeExecutionContext(ExecutionContextIdType eContext,
                                                           const vlm::SourcePosition& rPosition,
                                                           const Text& rcsMessage) {
    return std::make_unique<BasicExecutionContext>(eContext, rPosition, rcsMessage);
}
