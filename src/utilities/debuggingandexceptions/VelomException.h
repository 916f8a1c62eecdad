/// @file
/// The root of the exception hierarchy.
#pragma once

#include <atomic>
#include <exception>

#include "platform/Export.h"
#include "platform/WinTypes.h"
#include "utilities/debuggingandexceptions/DebugMessageCategories.h"
#include "utilities/debuggingandexceptions/ExecutionContextStack.h"
#include "utilities/utilitiesdll/CXString.h"

/// A failure, with the place where it was raised and the execution contexts that were open there.
///
/// One leaf class exists per kind of failure (VelomExceptions.h); raise them with `VLM_THROW` (RaiseMacros.h).
/// **Ownership**: holds copies of its texts and of the context stack, so it outlives the contexts.
/// **Threads**: an object is not shared between threads, except that `what()` may be called by several at once.
/// **Failure**: constructing never fails for bad text; without memory for the copy of the stack, the copy is empty;
/// so it is with a copy of the object.  Assigning fails whole then.
class VLM_API VelomException : public std::exception {
public:
    /// @param kcsFileName source file, full path.  @param iLine source line.
    /// @param kcsFunctionName the raising function, for example "RegistryKey::GetValue".
    /// @param pExecutionContextStack copied; null: the exception shows no contexts.
    VelomException(const CXString& kcsMessage, const CXString& kcsFileName, int iLine, const CXString& kcsFunctionName,
                   const ExecutionContextStack* pExecutionContextStack);
    /// Copies everything but the buffer of `what()`, which the copy makes for itself when asked.
    VelomException(const VelomException& rOther);
    VelomException& operator=(const VelomException& rOther);
    ~VelomException() noexcept override;

    /// The description in the ANSI code page, cut at 2,047 bytes, always terminated.
    /// Deliberate: each call makes a buffer of 2,048 bytes and forgets the former one, so texts handed out earlier stay
    /// readable for ever; only the last buffer goes with the object.  A fixed text when there is no memory.
    const char* what() const noexcept override;
    /// Does nothing in a release configuration, and nothing here.
    virtual void Dump() const;
    /// The type code: two three-digit fields joined by a colon, for example "065:003".
    virtual CXString GetExceptionTypeByNumericCode() const = 0;

    /// The message.  Deliberate: spelled as its callers spell it.
    const CXString& GetExceptionMesage() const noexcept { return m_csMessage; }
    const CXString& GetExceptionLocationFileName() const noexcept { return m_csFileName; }
    const CXString& GetExceptionLocationFunctionName() const noexcept { return m_csFunctionName; }
    DWORD GetExceptionLocationLineNumber() const noexcept { return m_dwLine; }
    const ExecutionContextStack& GetExecutionContextStack() const noexcept { return m_oExecutionContextStack; }

    /// The name of the object's class, for example "ExceptionFile".
    CXString GetExceptionType() const;
    /// Type code and line, for example "065:003:0057".
    CXString GetExceptionIdentifierForUserDisplay() const;
    /// The same for any exception; "000:000:000" for one that is not of this family.
    static CXString GetExceptionIdentifierForUserDisplay(const std::exception& rException);

    static bool IsVelomException(const std::exception& rException) noexcept;

    /// Class name, then the place, contexts and message of this family's exceptions, or `what()` of any other.
    static CXString GetExceptionDescription(const std::exception& rException);

    /// Path, file, method, line, contexts and message, one below the other.
    /// @param pExecutionContextStack null: no lines about contexts.
    static CXString GetLocationAndMessageDescription(const CXString& kcsMessage, const CXString& kcsFileName,
                                                     DWORD dwLine, const CXString& kcsFunctionName,
                                                     const ExecutionContextStack* pExecutionContextStack);

    /// Reports a failed assertion as an error of the given categories, if the sink allows them.
    /// An assertion that fails while another one of the same thread is being reported is dropped.
    /// @param kcsCondition the condition as it stands in the source, in parentheses.
    /// @return whether execution should break into a debugger: false, unless a sink made for developers asks for it.
    static bool ProcessFailedAssertion(const CXString& kcsCondition, const CXString& kcsFileName,
                                       const CXString& kcsFunctionName, DWORD dwLine, const CXString& kcsMessage,
                                       const ExecutionContextStack* pExecutionContextStack,
                                       DebugMessageCategories categories) noexcept;

    /// Shows a caught exception: always as a debug message (categories "errors", "errinfra"), and in a box where the
    /// process has a visible desktop.  Call it in a catch block.
    ///
    /// Customers see what happened, what to do and the identifier to quote, unless the display is suppressed; with
    /// "ShowMsgBoxOnThrow" off only when it is forced.  Where messages are enabled, too, a developer sees the whole
    /// description and what the customer would see, and may choose to throw the exception again.
    /// Deliberate: inline, so that it is thrown again in the caller's module, because another one may not know it; and
    /// templates, which no module exports.
    /// @param pException null: of a class that nobody knows.
    /// @param kcsFileName,dwLine,kcsFunctionName where it was caught.
    /// @param pExecutionContextStack the catching thread's; null: not available.
    /// @param hwndOwner owner of the box, may be null; its caption, or its parent's, is the title where none is given.
    /// @param kcsMessage stands in front of the customer's message; may be empty.
    /// @throws the exception being handled, when the developer asks for it.
    template <class Inline = void>
    [[gnu::always_inline]] static void DisplayExceptionMessage(bool fForceInReleaseBuild, bool fSuppressInReleaseBuild,
                                                               const std::exception* pException,
                                                               const CXString& kcsFileName, DWORD dwLine,
                                                               const CXString& kcsFunctionName,
                                                               const ExecutionContextStack* pExecutionContextStack,
                                                               HWND hwndOwner, const CXString& kcsTitle,
                                                               const CXString& kcsMessage) {
        if (ShowCaughtException(fForceInReleaseBuild, fSuppressInReleaseBuild, pException, kcsFileName, dwLine,
                                kcsFunctionName, pExecutionContextStack, hwndOwner, kcsTitle, 0, kcsMessage)) {
            throw;
        }
    }
    /// @param uTitleId string resource of the library; used when the windows have no caption.
    template <class Inline = void>
    [[gnu::always_inline]] static void DisplayExceptionMessage(bool fForceInReleaseBuild, bool fSuppressInReleaseBuild,
                                                               const std::exception* pException,
                                                               const CXString& kcsFileName, DWORD dwLine,
                                                               const CXString& kcsFunctionName,
                                                               const ExecutionContextStack* pExecutionContextStack,
                                                               HWND hwndOwner, UINT uTitleId,
                                                               const CXString& kcsMessage) {
        if (ShowCaughtException(fForceInReleaseBuild, fSuppressInReleaseBuild, pException, kcsFileName, dwLine,
                                kcsFunctionName, pExecutionContextStack, hwndOwner, CXString(), uTitleId, kcsMessage)) {
            throw;
        }
    }
    /// The work of DisplayExceptionMessage.  @return whether the exception is to be thrown again; the caller does that.
    static bool ShowCaughtException(bool fForceInReleaseBuild, bool fSuppressInReleaseBuild,
                                    const std::exception* pException, const CXString& kcsFileName, DWORD dwLine,
                                    const CXString& kcsFunctionName,
                                    const ExecutionContextStack* pExecutionContextStack, HWND hwndOwner,
                                    const CXString& kcsTitle, UINT uTitleId, const CXString& kcsMessage) noexcept;

    /// Hook for the debug reports of the C runtime: makes a failed assertion of each, and breaks into the debugger if
    /// that asks for it.  @param iReportType 0 warning, 1 error, 2 assertion.  @param pszMessage in the ANSI code page.
    /// @param piReturnValue set to 0, may be null.  @return 1, always: the runtime has nothing more to do.
    static int VelomCrtDbgReportHook(int iReportType, char* pszMessage, int* piReturnValue) noexcept;

    /// Should this exception stop in the debugger before it is thrown?  Always false in this build.
    static bool AllowForExceptionDebug(const std::exception& rException) noexcept;

private:
    static CXString GetCustomerTitleString(HWND hwndCurrentWindow, const CXString& kcsTitle, UINT uTitleId) noexcept;

    CXString m_csFileName;
    DWORD m_dwLine;
    CXString m_csFunctionName;
    CXString m_csMessage;
    ExecutionContextStack m_oExecutionContextStack;
    mutable std::atomic<char*> m_pszNarrowText{nullptr};
};
