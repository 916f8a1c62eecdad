/// @file
/// Keeps the channels.
#include "portmonitor/MonitorChannels.h"

#include <algorithm>
#include <new>

#include "portmonitor/SystemIdentity.h"
#include "utilities/Bounds.h"
#include "utilities/debuggingandexceptions/NoThrow.h"

namespace vlm {

Status MonitorChannels::Open(DWORD dwGrantedAccess, HANDLE& rhChannel) noexcept {
    return NoThrow(
        [&] {
            RequestCaller oCaller;
            if (IdentifyCaller(dwGrantedAccess, oCaller) != Status::Success) return Status::AccessDenied;
            Channel oChannel{oCaller.m_csSid, std::make_shared<RequestServer>(m_oState, dwGrantedAccess)};
            const CriticalResourceLock oLock(m_oLock);
            const auto cUsers = std::count_if(m_mapChannels.begin(), m_mapChannels.end(), [&](const auto& rPair) {
                return rPair.second.m_csSid == oCaller.m_csSid;
            });
            if (m_mapChannels.size() >= bounds::MAX_CHANNELS ||
                static_cast<std::size_t>(cUsers) >= bounds::MAX_USER_CHANNELS) {
                return Status::NoSystemResources;
            }
            // Multiples of 4, as the system's own handles.
            const HANDLE hChannel = reinterpret_cast<HANDLE>(m_uiLastHandle + 4);
            m_mapChannels.emplace(hChannel, std::move(oChannel));
            m_uiLastHandle += 4;
            rhChannel = hChannel;
            return Status::Success;
        },
        Status::NotEnoughMemory);
}

Status MonitorChannels::Close(HANDLE hChannel) noexcept {
    Channel oChannel;  // goes after the lock: closing its keys may take a while
    const CriticalResourceLock oLock(m_oLock);
    const auto it = m_mapChannels.find(hChannel);
    if (it == m_mapChannels.end()) return Status::InvalidHandle;
    oChannel = std::move(it->second);
    m_mapChannels.erase(it);
    return Status::Success;
}

Status MonitorChannels::Transceive(HANDLE hChannel, XStringView command, std::span<const BYTE> input,
                                   std::span<BYTE> output, DWORD& rcbNeeded) noexcept {
    rcbNeeded = 0;
    std::shared_ptr<RequestServer> shpoServer;
    {
        const CriticalResourceLock oLock(m_oLock);
        const auto it = m_mapChannels.find(hChannel);
        if (it == m_mapChannels.end()) return Status::InvalidHandle;
        shpoServer = it->second.m_shpoServer;
    }
    return shpoServer->Transceive(command, input, output, rcbNeeded);
}

void MonitorChannels::CloseAll() noexcept {
    std::map<HANDLE, Channel> mapChannels;
    {
        const CriticalResourceLock oLock(m_oLock);
        mapChannels.swap(m_mapChannels);
    }
    const CriticalResourceLock oLock(m_oState.m_oLock);
    m_oState.m_oUsage = StorageUsage();
}

}  // namespace vlm
