/// @file
/// Makes the floor below raise this floor's exception.
#pragma once

namespace vlm {

/// Installs the handler that turns the pools' lack of memory into `ExceptionOutOfMemory`.  Called at start, by one
/// thread.
void InstallOutOfMemoryHandler() noexcept;

}  // namespace vlm
