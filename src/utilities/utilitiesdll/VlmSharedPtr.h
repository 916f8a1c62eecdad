/// @file
/// The reference-counted owning pointer of lists, contexts and records.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <utility>

#include "utilities/utilitiesdll/MemoryPool.h"

template <class T, class Compare>
class VlmSharedPtr;

/// Orders two shared pointers by `<` of the objects that they point to; null comes before every object.
template <class T>
struct SharedPtrCompare {
    template <class Compare>
    bool operator()(const VlmSharedPtr<T, Compare>& rLeft, const VlmSharedPtr<T, Compare>& rRight) const {
        if (!rLeft || !rRight) return !rLeft && rRight;
        return *rLeft < *rRight;
    }
};

/// An owning pointer shared by counting.
///
/// Its control block of 16 bytes comes from the calling thread's pool and returns to the pool of the thread that
/// releases it:
///
///     offset  size  field
///          0     8  the object
///          8     4  reference count, starts at 1
///         12     4  owns: 1 while the object is to be deleted with the last pointer
///
/// **Ownership**: shared; the object is deleted with the last pointer.  **Threads**: pointers to one object may be used
/// by different threads; one pointer object is not shared without a lock.  **Failure**: making the first pointer needs
/// memory and throws as MemoryPool does; the object given is then deleted, so nothing leaks.  All else does not throw.
template <class T, class Compare = SharedPtrCompare<T>>
class VlmSharedPtr {
public:
    using element_type = T;
    using compare_type = Compare;

    constexpr VlmSharedPtr() noexcept = default;
    constexpr VlmSharedPtr(std::nullptr_t) noexcept {}
    /// Takes over an object; null gives a null pointer.
    explicit VlmSharedPtr(T* pObject) : VlmSharedPtr(std::unique_ptr<T>(pObject)) {}
    /// Takes over an object from its owner; when that fails, the owner's object is deleted with the exception.
    template <class U>
    requires(std::is_convertible_v<U*, T*>) VlmSharedPtr(std::unique_ptr<U> apoObject) {
        if (!apoObject) return;
        m_pBlock = new (MemoryPool::Allocate(sizeof(Block))) Block{apoObject.get()};
        static_cast<void>(apoObject.release());
    }
    VlmSharedPtr(const VlmSharedPtr& rOther) noexcept : m_pBlock(rOther.m_pBlock) {
        if (m_pBlock) m_pBlock->m_lRefs.fetch_add(1, std::memory_order_relaxed);
    }
    VlmSharedPtr(VlmSharedPtr&& rOther) noexcept : m_pBlock(std::exchange(rOther.m_pBlock, nullptr)) {}
    ~VlmSharedPtr() { Release(m_pBlock); }

    VlmSharedPtr& operator=(const VlmSharedPtr& rOther) noexcept {
        VlmSharedPtr(rOther).swap(*this);
        return *this;
    }
    VlmSharedPtr& operator=(VlmSharedPtr&& rOther) noexcept {
        VlmSharedPtr(std::move(rOther)).swap(*this);
        return *this;
    }

    /// The object, borrowed; null for a null pointer.
    T* get() const noexcept { return m_pBlock ? m_pBlock->m_pObject : nullptr; }
    T& operator*() const noexcept { return *m_pBlock->m_pObject; }
    T* operator->() const noexcept { return get(); }
    explicit operator bool() const noexcept { return m_pBlock != nullptr; }

    /// Lets go of the object.
    void reset() noexcept { Release(std::exchange(m_pBlock, nullptr)); }
    /// Lets go of the object and takes over another; when that fails, this pointer is unchanged and the new object
    /// deleted.
    void reset(T* pObject) { VlmSharedPtr(pObject).swap(*this); }
    void swap(VlmSharedPtr& rOther) noexcept { std::swap(m_pBlock, rOther.m_pBlock); }
    friend void swap(VlmSharedPtr& rLeft, VlmSharedPtr& rRight) noexcept { rLeft.swap(rRight); }

    /// Pointers that share the object at this moment; 0 for a null pointer.
    std::int32_t use_count() const noexcept { return m_pBlock ? m_pBlock->m_lRefs.load(std::memory_order_relaxed) : 0; }
    /// Says whether the object is deleted with the last pointer (true at first); it holds for all pointers that share
    /// it.
    void SetOwns(bool fOwns) noexcept {
        if (m_pBlock) m_pBlock->m_lOwns.store(fOwns ? 1 : 0, std::memory_order_relaxed);
    }

    /// The very same object?  (The order of `Compare` is by value; this is identity.)
    friend bool operator==(const VlmSharedPtr& rLeft, const VlmSharedPtr& rRight) noexcept {
        return rLeft.get() == rRight.get();
    }
    friend bool operator==(const VlmSharedPtr& rLeft, std::nullptr_t) noexcept { return !rLeft; }
    /// Order by `Compare`, that is by value.
    friend bool operator<(const VlmSharedPtr& rLeft, const VlmSharedPtr& rRight) { return Compare()(rLeft, rRight); }

private:
    struct Block {
        T* m_pObject;
        std::atomic<std::int32_t> m_lRefs{1};
        std::atomic<std::int32_t> m_lOwns{1};
    };
    static_assert(sizeof(Block) == 16);

    static void Release(Block* pBlock) noexcept {
        if (!pBlock) return;
        // A count of 1 is ours alone, so nobody can raise it meanwhile: no atomic write is needed for the last pointer.
        if (pBlock->m_lRefs.load(std::memory_order_acquire) != 1 &&
            pBlock->m_lRefs.fetch_sub(1, std::memory_order_acq_rel) != 1) {
            return;
        }
        if (pBlock->m_lOwns.load(std::memory_order_relaxed) != 0) std::unique_ptr<T>(pBlock->m_pObject).reset();
        MemoryPool::Release(pBlock, sizeof(Block));
    }

    Block* m_pBlock = nullptr;
};

/// Makes an object and its first shared pointer.
template <class T, class Compare = SharedPtrCompare<T>, class... Args>
VlmSharedPtr<T, Compare> MakeVlmShared(Args&&... args) {
    return VlmSharedPtr<T, Compare>(std::make_unique<T>(std::forward<Args>(args)...));
}

template <class T, class Compare>
struct std::hash<VlmSharedPtr<T, Compare>> {
    std::size_t operator()(const VlmSharedPtr<T, Compare>& rPointer) const noexcept {
        return std::hash<T*>()(rPointer.get());
    }
};
