/// @file
/// The texts that customers read when an exception is caught.
#pragma once

#include <exception>

#include "platform/Export.h"
#include "platform/WinTypes.h"
#include "utilities/utilitiesdll/CXString.h"

/// String resources of the library.
enum CustomerMessageId : UINT {
    IDS_NONE = 0,  ///< no text of its own
#define VLM_CUSTOMER_MESSAGE(constant, id, text) constant = id,
#include "utilities/debuggingandexceptions/CustomerMessages.inl"
#undef VLM_CUSTOMER_MESSAGE
};

/// What happened, and what to do about it.
struct CustomerMessageIDs {
    CustomerMessageId eMessage = IDS_NONE;
    CustomerMessageId eAdvice = IDS_NONE;
};

/// The pair for an exception's kind; both IDS_NONE for one that customers have nothing to learn from.
VLM_API CustomerMessageIDs GetCustomerMessageIDsForException(const std::exception* pException) noexcept;

/// The text of a string resource of the library, in the language of its resources; the compiled-in text where there is
/// no resource, empty for an id that is unknown.  **Failure**: without memory the text is empty.
VLM_API CXString LoadTextResource(UINT uId) noexcept;
