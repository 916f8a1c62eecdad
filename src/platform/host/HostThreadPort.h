/// @file
/// Thread slots and identity over POSIX threads.
#pragma once

#include "platform/ThreadPort.h"

namespace vlm::host {

class HostThreadPort final : public ThreadPort {
public:
    DWORD AllocSlot(void (*pfnThreadEnd)(void*)) noexcept override;
    Status FreeSlot(DWORD dwSlot) noexcept override;
    void* GetSlot(DWORD dwSlot, Status& rStatus) noexcept override;
    Status SetSlot(DWORD dwSlot, void* pValue) noexcept override;
    void* LocalAllocate(std::size_t cBytes) noexcept override;
    void LocalRelease(void* pMemory) noexcept override;
    DWORD CurrentThreadId() noexcept override;
    DWORD LastError() noexcept override;
    void LeaveLastError(DWORD dwError) noexcept override;
};

}  // namespace vlm::host
