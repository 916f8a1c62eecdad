/// @file
/// The ids of execution contexts.
#pragma once

#include <cstdint>

/// What a thread is doing.  Ids at and above `ECIE_NO_MORE_ENUMS` are made at run time ("dynamically-generated").
enum ExecutionContextIdType : std::int32_t {
#define VLM_CONTEXT_ID(name) name,
#include "utilities/debuggingandexceptions/ExecutionContextIds.inl"
#undef VLM_CONTEXT_ID
};
