/// @file
/// The concrete constraint execution context.
#pragma once

#include "utilities/debuggingandexceptions/ConstraintExecutionContextBase.h"

/// A constraint execution context without anything of its own.
class VLM_API BasicConstraintExecutionContext : public ConstraintExecutionContextBase {
public:
    using ConstraintExecutionContextBase::ConstraintExecutionContextBase;
    BasicConstraintExecutionContext(const BasicConstraintExecutionContext&) = default;
    BasicConstraintExecutionContext& operator=(const BasicConstraintExecutionContext&) = default;
    ~BasicConstraintExecutionContext() override;

    std::unique_ptr<ConstraintExecutionContextBase> Clone() const override;
    bool IsEqual(const ConstraintExecutionContextBase& rOther) const override;
    bool LessThan(const ConstraintExecutionContextBase& rOther) const override;
};
