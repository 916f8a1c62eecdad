/// @file
/// The ids of constraint execution contexts.
#pragma once

#include <cstdint>

/// Which group of constraints is being added.  Ids above `CECIE_NO_MORE_ENUMS` are made at run time
/// ("dynamically-generated").
enum ConstraintExecutionContextIdType : std::int32_t {
#define VLM_CONTEXT_ID(name) name,
#include "utilities/debuggingandexceptions/ConstraintExecutionContextIds.inl"
#undef VLM_CONTEXT_ID
};
