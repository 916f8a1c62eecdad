/// @file
/// Leads calls on, and exchanges the monitor.
#include "portmonitor/entry/q7lrsl/MonitorLoader.h"

#include <algorithm>
#include <cwchar>
#include <new>

namespace loader {

DWORD MonitorLoader::Start(const MONITORINIT& rInit) noexcept try {
    const ExclusiveHold oHold(m_oLock);
    if (m_oMonitor.IsLoaded()) return ERROR_ALREADY_INITIALIZED;
    m_apoFiles = std::make_unique<MonitorFiles>();
    m_oInit = rInit;
    // An administrator's new file that found no running monitor to tell.
    const bool fTaken = m_apoFiles->CheckNew() == ERROR_SUCCESS && m_apoFiles->TakeNew() == ERROR_SUCCESS;
    DWORD dwStatus = m_oMonitor.Load(m_apoFiles->Monitor(), m_oInit);
    if (dwStatus != ERROR_SUCCESS && fTaken && m_apoFiles->TakeBack() == ERROR_SUCCESS)
        dwStatus = m_oMonitor.Load(m_apoFiles->Monitor(), m_oInit);
    if (fTaken) m_apoFiles->Forget();
    return dwStatus;
} catch (const std::bad_alloc&) {
    return ERROR_NOT_ENOUGH_MEMORY;
}

void MonitorLoader::Stop() noexcept {
    const ExclusiveHold oHold(m_oLock);
    CloseInner();
    m_lapoChannels.clear();
    m_oMonitor.Unload();
}

DWORD MonitorLoader::OpenChannel(ACCESS_MASK dwGrantedAccess, HANDLE& rhXcv) noexcept try {
    auto apoChannel = std::make_unique<Channel>();
    apoChannel->m_dwGrantedAccess = dwGrantedAccess;
    const ExclusiveHold oHold(m_oLock);
    // Opened at once, so that the monitor can refuse it.
    HANDLE hInner = nullptr;
    const DWORD dwStatus = InnerOf(*apoChannel, hInner);
    if (dwStatus != ERROR_SUCCESS) return dwStatus;
    const HANDLE hXcv = apoChannel.get();
    try {
        m_lapoChannels.push_back(std::move(apoChannel));
    } catch (const std::bad_alloc&) {
        m_oMonitor.CloseChannel(hInner);
        return ERROR_NOT_ENOUGH_MEMORY;
    }
    rhXcv = hXcv;
    return ERROR_SUCCESS;
} catch (const std::bad_alloc&) {
    return ERROR_NOT_ENOUGH_MEMORY;
}

DWORD MonitorLoader::CloseChannel(HANDLE hXcv) noexcept {
    const ExclusiveHold oHold(m_oLock);
    const auto it = Find(hXcv);
    if (it == m_lapoChannels.end()) return ERROR_INVALID_HANDLE;
    if ((*it)->m_hInner) m_oMonitor.CloseChannel((*it)->m_hInner);
    m_lapoChannels.erase(it);
    return ERROR_SUCCESS;
}

DWORD MonitorLoader::Transceive(HANDLE hXcv, LPCWSTR pszDataName, PBYTE pbyInput, DWORD cbInput, PBYTE pbyOutput,
                                DWORD cbOutput, PDWORD pcbNeeded) noexcept {
    if (!pszDataName || !pcbNeeded || (!pbyInput && cbInput != 0) || (!pbyOutput && cbOutput != 0))
        return ERROR_INVALID_PARAMETER;
    *pcbNeeded = 0;
    {
        const SharedHold oHold(m_oLock);
        const auto it = Find(hXcv);
        if (it == m_lapoChannels.end()) return ERROR_INVALID_HANDLE;
        HANDLE hInner = nullptr;
        const DWORD dwOpen = InnerOf(**it, hInner);
        if (dwOpen != ERROR_SUCCESS) return dwOpen;
        const DWORD dwStatus =
            m_oMonitor.Transceive(hInner, pszDataName, pbyInput, cbInput, pbyOutput, cbOutput, pcbNeeded);
        if (dwStatus != ERROR_SUCCESS || std::wcscmp(pszDataName, L"upgrade") != 0) return dwStatus;
    }
    // Allowed: the rest is the loader's.  Calls that are under way end first.
    return Upgrade();
}

MonitorLoader::Channels::iterator MonitorLoader::Find(HANDLE hXcv) noexcept {
    return std::find_if(m_lapoChannels.begin(), m_lapoChannels.end(),
                        [hXcv](const std::unique_ptr<Channel>& rapoChannel) { return rapoChannel.get() == hXcv; });
}

DWORD MonitorLoader::InnerOf(Channel& rChannel, HANDLE& rhInner) noexcept {
    const ExclusiveHold oHold(rChannel.m_oLock);
    if (!rChannel.m_hInner && !m_oMonitor.OpenChannel(rChannel.m_dwGrantedAccess, &rChannel.m_hInner)) {
        rChannel.m_hInner = nullptr;
        return GetLastError();
    }
    rhInner = rChannel.m_hInner;
    return ERROR_SUCCESS;
}

void MonitorLoader::CloseInner() noexcept {
    for (const std::unique_ptr<Channel>& rapoChannel : m_lapoChannels) {
        if (rapoChannel->m_hInner) m_oMonitor.CloseChannel(rapoChannel->m_hInner);
        rapoChannel->m_hInner = nullptr;
    }
}

DWORD MonitorLoader::Upgrade() noexcept {
    const ExclusiveHold oHold(m_oLock);
    DWORD dwStatus = m_apoFiles->CheckNew();
    if (dwStatus != ERROR_SUCCESS) return dwStatus;
    CloseInner();
    m_oMonitor.Unload();
    dwStatus = m_apoFiles->TakeNew();
    if (dwStatus == ERROR_SUCCESS) {
        dwStatus = m_oMonitor.Load(m_apoFiles->Monitor(), m_oInit);
        if (dwStatus != ERROR_SUCCESS) m_apoFiles->TakeBack();
    }
    if (dwStatus != ERROR_SUCCESS) m_oMonitor.Load(m_apoFiles->Monitor(), m_oInit);
    m_apoFiles->Forget();
    return dwStatus;
}

}  // namespace loader
