/// @file
/// One debug message: a text and the place in the source that it comes from.
#include "utilities/debuggingandexceptions/VelomDebugMessage.h"

#include "utilities/debuggingandexceptions/detail/failure/SafeText.h"

VelomDebugMessage::VelomDebugMessage(const CXString& kcsMessageText, const CXString& kcsFileName, DWORD dwLineNumber,
                                     const CXString& kcsMethodName)
    : m_csMessageText(vlm::CopyOrEmpty(kcsMessageText)),
      m_csFileName(vlm::CopyOrEmpty(kcsFileName)),
      m_dwLineNumber(dwLineNumber),
      m_csMethodName(vlm::CopyOrEmpty(kcsMethodName)) {}
