/// @file
/// One constraint execution context: which group of constraints a thread is working on.
#pragma once

#include <compare>
#include <memory>

#include "platform/Export.h"
#include "platform/WinTypes.h"
#include "utilities/debuggingandexceptions/ConstraintExecutionContextIdType.h"
#include "utilities/debuggingandexceptions/ExecutionContextFields.h"
#include "utilities/utilitiesdll/CXString.h"
#include "utilities/utilitiesdll/CriticalResource.h"
#include "utilities/utilitiesdll/MemoryPool.h"
#include "utilities/utilitiesdll/VlmSharedPtr.h"

/// Base of constraint execution contexts, a family beside the general ones.  A context does not change once it is
/// built, so stacks share it freely.
///
/// A message without a group of constraints, that is with `CECIE_NOT_SPECIFIED`, is a comment and shown as one.
///
/// **Threads**: may be read and released by any thread.
/// **Failure**: the constructors report an id below `CECIE_NOT_SPECIFIED` and go on with that one.
class VLM_API ConstraintExecutionContextBase : public PooledObject {
public:
    /// @param kcsFile path of the source file.  @param kcsFunction for example "ConstraintEngine::AddAll".
    /// @param fLocationEmbeddedInMsg the message names the place itself, so displays leave the location out.
    ConstraintExecutionContextBase(ConstraintExecutionContextIdType eContext, const CXString& kcsFile,
                                   const CXString& kcsFunction, DWORD dwLineNumber, bool fLocationEmbeddedInMsg,
                                   const CXString& kcsMessage);
    /// Without a location; displays leave it out.
    ConstraintExecutionContextBase(ConstraintExecutionContextIdType eContext, const CXString& kcsMessage);
    virtual ~ConstraintExecutionContextBase();

    /// A new copy of the same class.
    virtual std::unique_ptr<ConstraintExecutionContextBase> Clone() const = 0;
    /// Are all fields equal?
    virtual bool IsEqual(const ConstraintExecutionContextBase& rOther) const = 0;
    /// Order by id, file, function, line, location flag and message, in that order.
    virtual bool LessThan(const ConstraintExecutionContextBase& rOther) const = 0;

    bool operator==(const ConstraintExecutionContextBase& rOther) const { return IsEqual(rOther); }
    bool operator<(const ConstraintExecutionContextBase& rOther) const { return LessThan(rOther); }

    ConstraintExecutionContextIdType GetConstraintExecutionContextIdType() const noexcept {
        return m_oFields.m_eContext;
    }
    CXString GetMessageW() const { return m_oFields.m_oMessage.Get(); }
    bool HasMessage() const noexcept { return !m_oFields.m_oMessage.View().empty(); }
    CXString GetFileWhereConstructed() const { return m_oFields.m_oFile.Get(); }
    CXString GetFunctionWhereConstructed() const { return m_oFields.m_oFunction.Get(); }
    DWORD GetLineNumWhereConstructed() const noexcept { return m_oFields.m_dwLine; }
    bool IsLocationEmbeddedInMsg() const noexcept { return m_oFields.m_fLocationEmbeddedInMsg; }

    /// "%s line %ld" (function, line) for a qualified function name, else "%s, %s line %ld" (file, function, line).
    CXString GetSingleLineLocationString() const;

    /// "NAME (message)"; the name alone without a message.  A comment's message begins with "::COMMENT:: ".
    CXString GetContextAndMessage() const;

    /// The context on its own: as GetContextAndMessage, or with its location "NAME: message (location)" and, without a
    /// message, "NAME (location)".
    /// @param fWithLocation adds the location, if there is one and the message does not hold it already.
    CXString GetContextDebugDisplayString(bool fWithLocation) const;

    /// The name of an id, for example "CECIE_ADD_UI_COMMON_CONSTRAINTS"; "Dynamic context %ld" for one made at run
    /// time. An id that has no name is reported and shown as "<Unknown context %ld>".
    /// @param fWithNumber adds the number: "CECIE_ADD_UI_COMMON_CONSTRAINTS (2)".
    static CXString GetDebugDisplayString(ConstraintExecutionContextIdType eContext, bool fWithNumber);

    /// Is the id one of the fixed ones?  Reports it when it is not.
    static bool AssertValidContextIdType(ConstraintExecutionContextIdType eContext) noexcept;

protected:
    ConstraintExecutionContextBase(const ConstraintExecutionContextBase&) = default;
    ConstraintExecutionContextBase& operator=(const ConstraintExecutionContextBase&) = default;

    /// Three-way comparison of all fields, for IsEqual and LessThan.
    std::strong_ordering CompareFields(const ConstraintExecutionContextBase& rOther) const noexcept;

private:
    static ConstraintExecutionContextIdType CheckedId(ConstraintExecutionContextIdType eContext) noexcept;
    static void PopulateStringMapForConstraintExecutionContextIdType();
    CXString GetMarkedMessage() const;

    static CriticalResource m_soStringMapResource;

    vlm::ExecutionContextFields<ConstraintExecutionContextIdType> m_oFields;
};

/// Orders shared contexts by value; null comes first.
using ConstraintExecutionContextBaseCompare = SharedPtrCompare<ConstraintExecutionContextBase>;
/// How stacks hold contexts.
using ConstraintExecutionContextPointer =
    VlmSharedPtr<ConstraintExecutionContextBase, ConstraintExecutionContextBaseCompare>;
