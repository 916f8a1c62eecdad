/// @file
/// Makes a value from its wire tag.
#pragma once

#include "utilities/attributebytes/AttributeBytesValue.h"

class VLM_API AttributeBytesValueFactory {
public:
    AttributeBytesValueFactory() = delete;

    /// A default-constructed value of the class that belongs to the type: numbers 0, texts and lists empty, the option
    /// value with an AttributeBytesListOfValuesItemId of 0 inside.
    /// @return null for ABVTE_UNSPECIFIED, which is reported as a failed assertion.
    /// @throws ExceptionUnhandledSyntax for any other number without a class.
    static std::unique_ptr<AttributeBytesValue> CreateAttributeBytesValue(AttributeBytesValueEnum abvteValueType);
};
