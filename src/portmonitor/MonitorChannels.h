/// @file
/// The monitor as the spooler sees it: channels by handle.
#pragma once

#include <map>
#include <memory>

#include "portmonitor/RequestServer.h"

namespace vlm {

/// Opens channels, leads commands to them and closes them.  A handle is a number that is never used twice; a channel
/// that is closed while a command runs on it goes when the command is done.
/// **Threads**: any.  **Failure**: by status; nothing throws.
class MonitorChannels {
public:
    MonitorChannels() noexcept = default;
    MonitorChannels(const MonitorChannels&) = delete;
    MonitorChannels& operator=(const MonitorChannels&) = delete;

    /// @return NoSystemResources when the caller, or all together, have as many channels as they may; AccessDenied when
    /// it cannot be told who asks.
    Status Open(DWORD dwGrantedAccess, HANDLE& rhChannel) noexcept;
    /// @return InvalidHandle for a handle that is not open.
    Status Close(HANDLE hChannel) noexcept;
    /// See RequestServer::Transceive.  @return InvalidHandle for a handle that is not open.
    Status Transceive(HANDLE hChannel, XStringView command, std::span<const BYTE> input, std::span<BYTE> output,
                      DWORD& rcbNeeded) noexcept;
    /// Closes every channel and forgets everything: the monitor is being unloaded.
    void CloseAll() noexcept;

private:
    struct Channel {
        CXString m_csSid;
        std::shared_ptr<RequestServer> m_shpoServer;
    };

    MonitorState m_oState;
    CriticalResource m_oLock;
    std::map<HANDLE, Channel> m_mapChannels;
    std::uintptr_t m_uiLastHandle = 0;
};

}  // namespace vlm
