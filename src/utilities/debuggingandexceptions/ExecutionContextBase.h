/// @file
/// One execution context: what a thread is doing, and where that began.
#pragma once

#include <compare>
#include <memory>

#include "platform/Export.h"
#include "platform/WinTypes.h"
#include "utilities/debuggingandexceptions/ExecutionContextFields.h"
#include "utilities/debuggingandexceptions/ExecutionContextIdType.h"
#include "utilities/debuggingandexceptions/SourcePosition.h"
#include "utilities/utilitiesdll/CXString.h"
#include "utilities/utilitiesdll/CriticalResource.h"
#include "utilities/utilitiesdll/MemoryPool.h"
#include "utilities/utilitiesdll/VlmSharedPtr.h"

/// Base of execution contexts.  A context does not change once it is built, so stacks and exceptions share it freely.
/// **Ownership**: contexts built from literals borrow them; the module that holds the literals must outlive the
/// context.
/// **Threads**: may be read and released by any thread.
/// **Failure**: the constructors report an id below `ECIE_NOT_SPECIFIED` and go on with that one.
class VLM_API ExecutionContextBase : public PooledObject {
public:
    virtual ~ExecutionContextBase();

    /// A new copy of the same class.
    virtual std::unique_ptr<ExecutionContextBase> Clone() const = 0;
    /// Are all fields equal?
    virtual bool IsEqual(const ExecutionContextBase& rOther) const = 0;
    /// Order by id, file, function, line, location flag and message, in that order.
    virtual bool LessThan(const ExecutionContextBase& rOther) const = 0;

    bool operator==(const ExecutionContextBase& rOther) const { return IsEqual(rOther); }
    bool operator<(const ExecutionContextBase& rOther) const { return LessThan(rOther); }

    ExecutionContextIdType GetExecutionContextIdType() const noexcept { return m_oFields.m_eContext; }
    /// The free text, possibly empty.
    CXString GetMessageW() const { return m_oFields.m_oMessage.Get(); }
    CXString GetFileWhereConstructed() const { return m_oFields.m_oFile.Get(); }
    CXString GetFunctionWhereConstructed() const { return m_oFields.m_oFunction.Get(); }
    DWORD GetLineNumWhereConstructed() const noexcept { return m_oFields.m_dwLine; }
    /// Does the message name the place itself?
    bool IsLocationEmbeddedInMsg() const noexcept { return m_oFields.m_fLocationEmbeddedInMsg; }

    /// "%s line %ld" (function, line) for a qualified function name, else "%s, %s line %ld" (file, function, line).
    CXString GetSingleLineLocationString() const;

    /// The context in one line: "NAME: message (location)".  Without a message ": message" is left out.
    /// @param fWithLocation adds the location, unless the message holds it already.
    CXString GetContextDebugDisplayString(bool fWithLocation) const;

    /// The name of an id, for example "ECIE_IMPORT_JCAP"; "Dynamic context %ld" for one made at run time.  An id that
    /// has no name is reported and shown as "<Unknown context %ld>".
    /// @param fWithNumber adds the number: "ECIE_IMPORT_JCAP (79)".
    static CXString GetDebugDisplayString(ExecutionContextIdType eContext, bool fWithNumber);

    /// Is the id one of the fixed ones?  Reports it when it is not.
    static bool AssertValidContextIdType(ExecutionContextIdType eContext) noexcept;

protected:
    ExecutionContextBase(ExecutionContextIdType eContext, const CXString& kcsFile, const CXString& kcsFunction,
                         DWORD dwLineNumber, bool fLocationEmbeddedInMsg, const CXString& kcsMessage);
    /// From literals: nothing is copied.  Here, because contexts are made all the time.
    ExecutionContextBase(ExecutionContextIdType eContext, const vlm::SourcePosition& rPosition,
                         bool fLocationEmbeddedInMsg, LiteralText literalMessage) noexcept
        : m_oFields{CheckedId(eContext),
                    rPosition.dwLine,
                    ExecutionContextText(literalMessage),
                    ExecutionContextText(rPosition.pszFile),
                    ExecutionContextText(rPosition.pszMethod),
                    fLocationEmbeddedInMsg} {}
    /// At a place given by literals, with a string for a message.
    ExecutionContextBase(ExecutionContextIdType eContext, const vlm::SourcePosition& rPosition,
                         bool fLocationEmbeddedInMsg, const CXString& kcsMessage);
    ExecutionContextBase(const ExecutionContextBase&) = default;
    ExecutionContextBase& operator=(const ExecutionContextBase&) = default;

    /// Three-way comparison of all fields, for IsEqual and LessThan.
    std::strong_ordering CompareFields(const ExecutionContextBase& rOther) const noexcept;

private:
    static ExecutionContextIdType CheckedId(ExecutionContextIdType eContext) noexcept {
        return eContext >= ECIE_NOT_SPECIFIED ? eContext : ReplaceBadId(eContext);
    }
    static ExecutionContextIdType ReplaceBadId(ExecutionContextIdType eContext) noexcept;
    static void PopulateStringMapForExecutionContextIdType();

    static CriticalResource m_soStringMapResource;

    vlm::ExecutionContextFields<ExecutionContextIdType> m_oFields;
};

/// Orders shared contexts by value; null comes first.
using ExecutionContextBaseCompare = SharedPtrCompare<ExecutionContextBase>;
/// How stacks hold contexts.
using ExecutionContextPointer = VlmSharedPtr<ExecutionContextBase, ExecutionContextBaseCompare>;
