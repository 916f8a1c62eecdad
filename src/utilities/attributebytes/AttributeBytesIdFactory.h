/// @file
/// Makes an identifier from its wire tag.
#pragma once

#include "utilities/attributebytes/AttributeBytesId.h"

class VLM_API AttributeBytesIdFactory {
public:
    AttributeBytesIdFactory() = delete;

    /// A default-constructed identifier (number 0, empty name) of the class that belongs to the type.
    /// @return null for ABIDE_UNSPECIFIED, which is reported as a failed assertion.
    /// @throws ExceptionUnhandledSyntax for any other number without a class.
    static std::unique_ptr<AttributeBytesId> CreateAttributeBytesId(AttributeBytesIdEnum abideType);
};
