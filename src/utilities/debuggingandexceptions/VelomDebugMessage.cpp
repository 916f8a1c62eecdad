/// @file
/// One debug message: a text and the place in the source that it comes from.
#include "utilities/debuggingandexceptions/VelomDebugMessage.h"

VelomDebugMessage::VelomDebugMessage(const CXString& kcsMessageText, const CXString& kcsFileName, DWORD dwLineNumber,
                                     const CXString& kcsMethodName)
    : m_csMessageText(kcsMessageText),
      m_csFileName(kcsFileName),
      m_dwLineNumber(dwLineNumber),
      m_csMethodName(kcsMethodName) {}
