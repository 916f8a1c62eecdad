/// @file
/// Which functions met a fault: for the table of public operations that `./dev faults` makes.
#pragma once

namespace vlm::test {

#ifdef Q9_FAULT_TRACE
/// A call or an allocation of this thread is about to fail.
void TraceFault() noexcept;
#else
inline void TraceFault() noexcept {}
#endif

}  // namespace vlm::test
