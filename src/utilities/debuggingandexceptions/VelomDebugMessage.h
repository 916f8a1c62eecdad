/// @file
/// One debug message: a text and the place in the source that it comes from.
#pragma once

#include "platform/Export.h"
#include "platform/WinTypes.h"
#include "utilities/utilitiesdll/CXString.h"

/// A debug message on its way to the outputs.
/// **Ownership**: holds its texts by shared, counted blocks; copies are cheap.
/// **Threads**: as CXString; an object is not shared between threads without a lock.
class VLM_API VelomDebugMessage {
public:
    /// An empty message from nowhere: empty texts, line 0.
    VelomDebugMessage() noexcept = default;
    /// @param dwLineNumber 0: not known.
    /// @param kcsMethodName as it is to be shown, for example "RegistryKey::GetValue".
    /// Nothing fails: without memory for the copy of a locked string the message goes without that text.
    VelomDebugMessage(const CXString& kcsMessageText, const CXString& kcsFileName, DWORD dwLineNumber,
                      const CXString& kcsMethodName);
    VelomDebugMessage(const VelomDebugMessage&) = default;
    VelomDebugMessage& operator=(const VelomDebugMessage&) = default;

    const CXString& GetMessageText() const noexcept { return m_csMessageText; }
    const CXString& GetFileName() const noexcept { return m_csFileName; }
    DWORD GetLineNumber() const noexcept { return m_dwLineNumber; }
    const CXString& GetMethodName() const noexcept { return m_csMethodName; }

private:
    CXString m_csMessageText;
    CXString m_csFileName;
    DWORD m_dwLineNumber = 0;
    CXString m_csMethodName;
};
