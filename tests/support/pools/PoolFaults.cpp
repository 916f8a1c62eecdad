/// @file
/// Part of every test program that has the pools: their blocks fail like all other allocations.
#include "support/AllocationFaults.h"
#include "utilities/utilitiesdll/MemoryPool.h"

namespace vlm::test {
namespace {

[[maybe_unused]] const bool gfRegistered = [] {
    RegisterPools({&MemoryPool::ExchangeAllocationGate, &MemoryPool::CleanUpDueToThreadDetach,
                   &MemoryPool::GetOutstandingBlocks});
    return true;
}();

}  // namespace
}  // namespace vlm::test
