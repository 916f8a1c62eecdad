/// @file
/// Per-thread pools of small blocks, and the string blocks that come from them.
#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/Export.h"

struct CXStringData;

/// Fixed-size blocks from the calling thread's free lists.
/// A block is released into the lists of the releasing thread; a list that holds 64 KiB hands half of that to a
/// process-wide reserve, and every list hands over all when its thread ends.  The memory behind the blocks belongs to
/// the reserve and stays until the process ends, so blocks may outlive the thread that took them.
/// **Threads**: any.  **Failure**: no memory calls the handler, then throws `std::bad_alloc`.
class VLM_API MemoryPool {
public:
    /// Requests above this many bytes go to the C heap.
    static constexpr std::size_t MAX_POOLED_BYTES = 1040;

    MemoryPool() = delete;

    /// A block of at least `cBytes` bytes, aligned for any ordinary object.
    static void* Allocate(std::size_t cBytes);
    /// As Allocate; null without memory.
    static void* TryAllocate(std::size_t cBytes) noexcept;
    /// Gives a block back.  @param cBytes the size that was asked for.  Null is ignored.
    static void Release(void* pBlock, std::size_t cBytes) noexcept;

    /// Blocks handed out and not yet released, of all threads; exact while no other thread allocates or releases.
    static std::int64_t GetOutstandingBlocks() noexcept;

    /// Hands the calling thread's free lists to the reserve.  The system calls it at a thread's end on its own where it
    /// can; on Windows the entry point does, at thread detach.  Harmless without lists; they are made anew when needed
    /// again.
    static void CleanUpDueToThreadDetach() noexcept;
    /// Called when the library is unloaded while its process goes on, and no thread is inside it any more: gives the
    /// memory of all threads' lists back to the system, and that of the blocks too unless somebody still holds one.
    static void CleanUpDueToProcessDetach() noexcept;

    /// The function that memory comes from (default: the C heap's `malloc`); for tests that make memory run out.
    using RawAllocator = void* (*)(std::size_t cBytes) noexcept;
    /// Puts another one in force (null: the default) and returns the former; memory always goes back to `free`.
    static RawAllocator ExchangeRawAllocator(RawAllocator pfnAllocate) noexcept;

    /// Asked before each block that a thread without lists takes; false: there is no memory.
    using AllocationGate = bool (*)(std::size_t cBytes) noexcept;
    /// Puts a gate in force (null: none) and returns the former; for tests that make chosen blocks fail.  Meanwhile no
    /// thread gets new lists, so that one that cleaned up before asks for every block.
    static AllocationGate ExchangeAllocationGate(AllocationGate pfnGate) noexcept;

    /// Called when there is no memory, before `std::bad_alloc` is thrown; it may throw something better itself.
    using OutOfMemoryHandler = void (*)();
    /// Installs a handler (null: none) and returns the former.
    static OutOfMemoryHandler ExchangeOutOfMemoryHandler(OutOfMemoryHandler pfnHandler) noexcept;
    /// Runs the handler, then throws `std::bad_alloc`.
    [[noreturn]] static void RaiseOutOfMemory();
};

/// Blocks for strings, in the capacities that strings come in.
/// **Threads**, **Failure**: as MemoryPool.
class VLM_API MemoryPoolAllocatorServices {
public:
    /// Longest text in code units; a longer one is refused like a lack of memory.
    static constexpr std::size_t MAX_UNITS = 0x7FFFFFFF - 7;

    MemoryPoolAllocatorServices() = delete;

    /// Capacity that a request of `cUnits` (1 to MAX_UNITS) gets: 6, 12, 16, 20, 24, 32, 64, 128, 256, 512, or exactly
    /// that many.
    static std::int32_t GetCapacity(std::size_t cUnits) noexcept;
    /// A new block for `cUnits` units: count 1, length `cUnits`, terminated there; the text itself is not initialised.
    static CXStringData* AllocateBlock(std::size_t cUnits);
    /// The same with a capacity given by the caller, who keeps it at or above `cUnits`; a pooled capacity is rounded
    /// up.
    static CXStringData* AllocateBlock(std::size_t cUnits, std::size_t cCapacity);
    /// Gives a block back whose last owner has gone.
    static void ReleaseBlock(CXStringData* pData) noexcept;
    /// See MemoryPool::GetOutstandingBlocks; string blocks and all others together.
    static std::int64_t GetOutstandingBlocks() noexcept;
};

/// Base of classes whose objects come from the pools: derive from it, and `new` and `delete` use them.
class PooledObject {
public:
    static void* operator new(std::size_t cBytes) { return MemoryPool::Allocate(cBytes); }
    static void operator delete(void* pObject, std::size_t cBytes) noexcept { MemoryPool::Release(pObject, cBytes); }
    static void* operator new(std::size_t, void* pPlace) noexcept { return pPlace; }
    static void operator delete(void*, void*) noexcept {}

protected:
    PooledObject() = default;
    ~PooledObject() = default;
    PooledObject(const PooledObject&) = default;
    PooledObject& operator=(const PooledObject&) = default;
};
