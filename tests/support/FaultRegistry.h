/// @file
/// The fault layer's wrapper of the registry port.
#pragma once

#include "platform/RegistryPort.h"
#include "support/FaultWrappers.h"

namespace vlm::test {

class FaultRegistry final : public Wrapper<RegistryPort> {
public:
    using Wrapper::Wrapper;
    HKEY RootKey(Root eRoot) noexcept override { return m_rBelow.RootKey(eRoot); }
    Status Open(HKEY hParent, const XCHAR* pszSubKey, DWORD dwRights, HKEY& rhKey) noexcept override {
        return Guard([&] { return m_rBelow.Open(hParent, pszSubKey, dwRights, rhKey); });
    }
    Status Create(HKEY hParent, const XCHAR* pszSubKey, DWORD dwRights, bool fVolatile, HKEY& rhKey,
                  bool& rfCreated) noexcept override {
        return Guard([&] { return m_rBelow.Create(hParent, pszSubKey, dwRights, fVolatile, rhKey, rfCreated); });
    }
    Status CreateRestricted(HKEY hParent, const XCHAR* pszName, DWORD dwRights, const XCHAR* pszReaderSid, HKEY& rhKey,
                            bool& rfCreated) noexcept override {
        return Guard(
            [&] { return m_rBelow.CreateRestricted(hParent, pszName, dwRights, pszReaderSid, rhKey, rfCreated); });
    }
    Status OpenLink(HKEY hParent, const XCHAR* pszSubKey, DWORD dwRights, HKEY& rhKey, bool& rfLink) noexcept override {
        return Guard([&] { return m_rBelow.OpenLink(hParent, pszSubKey, dwRights, rhKey, rfLink); });
    }
    Status CreateLink(HKEY hParent, const XCHAR* pszName, HKEY hTarget) noexcept override {
        return Guard([&] { return m_rBelow.CreateLink(hParent, pszName, hTarget); });
    }
    Status Close(HKEY hKey) noexcept override {
        return GuardClose([&] { return m_rBelow.Close(hKey); });
    }
    Status QueryValue(HKEY hKey, const XCHAR* pszName, DWORD& rdwType, void* pTarget,
                      DWORD& rcbData) noexcept override {
        return GuardGrown(pTarget, rcbData,
                          [&](DWORD& rcb) { return m_rBelow.QueryValue(hKey, pszName, rdwType, pTarget, rcb); });
    }
    Status QueryMultipleValues(HKEY hKey, ValueQuery* pQueries, DWORD cQueries, void* pTarget,
                               DWORD& rcbData) noexcept override {
        return GuardGrown(pTarget, rcbData, [&](DWORD& rcb) {
            return m_rBelow.QueryMultipleValues(hKey, pQueries, cQueries, pTarget, rcb);
        });
    }
    Status SetValue(HKEY hKey, const XCHAR* pszName, DWORD dwType, const void* pData, DWORD cbData) noexcept override {
        return Guard([&] { return m_rBelow.SetValue(hKey, pszName, dwType, pData, cbData); });
    }
    Status DeleteValue(HKEY hKey, const XCHAR* pszName) noexcept override {
        return Guard([&] { return m_rBelow.DeleteValue(hKey, pszName); });
    }
    Status DeleteKey(HKEY hParent, const XCHAR* pszSubKey) noexcept override {
        return Guard([&] { return m_rBelow.DeleteKey(hParent, pszSubKey); });
    }
    Status DeleteOpenKey(HKEY hKey) noexcept override {
        return Guard([&] { return m_rBelow.DeleteOpenKey(hKey); });
    }
    Status QueryInfo(HKEY hKey, KeyInfo& rInfo) noexcept override {
        return Guard([&] { return m_rBelow.QueryInfo(hKey, rInfo); });
    }
    Status EnumerateKey(HKEY hKey, DWORD dwIndex, XCHAR* pszName, DWORD& rcName) noexcept override {
        return Guard([&] { return m_rBelow.EnumerateKey(hKey, dwIndex, pszName, rcName); });
    }
    Status EnumerateValue(HKEY hKey, DWORD dwIndex, XCHAR* pszName, DWORD& rcName, DWORD& rdwType, void* pTarget,
                          DWORD& rcbData) noexcept override {
        return GuardGrown(pTarget, rcbData, [&](DWORD& rcb) {
            return m_rBelow.EnumerateValue(hKey, dwIndex, pszName, rcName, rdwType, pTarget, rcb);
        });
    }
    Status OpenCurrentUser(DWORD dwRights, HKEY& rhKey) noexcept override {
        return Guard([&] { return m_rBelow.OpenCurrentUser(dwRights, rhKey); });
    }
    Status ConnectRemote(const XCHAR* pszMachine, HKEY& rhKey) noexcept override {
        return Guard([&] { return m_rBelow.ConnectRemote(pszMachine, rhKey); });
    }

private:
    /// A read of data: the short fault is a value that grew after its size was asked for.
    template <typename Call>
    Status GuardGrown(const void* pTarget, DWORD& rcbData, Call call) noexcept {
        switch (m_rScript.Decide()) {
            case Decision::Fail:
                return m_rScript.FaultStatus();
            case Decision::Short:
                if (pTarget != nullptr) {
                    rcbData = rcbData * 2 + 1;
                    return Status::MoreData;
                }
                [[fallthrough]];
            case Decision::Pass:
                return call(rcbData);
            default:
                return DEAD;
        }
    }
};

class FaultCrypto final : public Wrapper<CryptoPort> {
public:
    using Wrapper::Wrapper;
    Status AcquireProvider(HANDLE& rhProvider) noexcept override {
        return Guard([&] { return m_rBelow.AcquireProvider(rhProvider); });
    }
    void ReleaseProvider(HANDLE hProvider) noexcept override { m_rBelow.ReleaseProvider(hProvider); }
    Status Random(void* pTarget, DWORD cbTarget) noexcept override {
        return Guard([&] { return m_rBelow.Random(pTarget, cbTarget); });
    }
    Status CreateHash(HANDLE hProvider, HANDLE& rhHash) noexcept override {
        return Guard([&] { return m_rBelow.CreateHash(hProvider, rhHash); });
    }
    Status HashData(HANDLE hHash, const void* pData, DWORD cbData) noexcept override {
        return Guard([&] { return m_rBelow.HashData(hHash, pData, cbData); });
    }
    Status HashValue(HANDLE hHash, BYTE* pbyTarget) noexcept override {
        return Guard([&] { return m_rBelow.HashValue(hHash, pbyTarget); });
    }
    void DestroyHash(HANDLE hHash) noexcept override { m_rBelow.DestroyHash(hHash); }
    Status ImportKey(HANDLE hProvider, const void* pBlob, DWORD cbBlob, HANDLE& rhKey) noexcept override {
        return Guard([&] { return m_rBelow.ImportKey(hProvider, pBlob, cbBlob, rhKey); });
    }
    Status SetKeyParameter(HANDLE hKey, KeyParameter eParameter, const void* pValue) noexcept override {
        return Guard([&] { return m_rBelow.SetKeyParameter(hKey, eParameter, pValue); });
    }
    /// The short fault: the size that was asked for is too small for the call that follows.
    Status Encrypt(HANDLE hKey, const void* pSource, DWORD cbSource, void* pTarget,
                   DWORD& rcbTarget) noexcept override {
        switch (m_rScript.Decide()) {
            case Decision::Fail:
                return m_rScript.FaultStatus();
            case Decision::Short: {
                const Status eStatus = m_rBelow.Encrypt(hKey, pSource, cbSource, pTarget, rcbTarget);
                if (pTarget == nullptr) rcbTarget /= 2;
                return eStatus;
            }
            case Decision::Pass:
                return m_rBelow.Encrypt(hKey, pSource, cbSource, pTarget, rcbTarget);
            default:
                return DEAD;
        }
    }
    Status Decrypt(HANDLE hKey, const void* pSource, DWORD cbSource, void* pTarget,
                   DWORD& rcbTarget) noexcept override {
        return Guard([&] { return m_rBelow.Decrypt(hKey, pSource, cbSource, pTarget, rcbTarget); });
    }
    void DestroyKey(HANDLE hKey) noexcept override { m_rBelow.DestroyKey(hKey); }
    Status Protect(const void* pData, DWORD cbData, const void* pEntropy, DWORD cbEntropy, Scope eScope,
                   BYTE*& rpbyBlob, DWORD& rcbBlob) noexcept override {
        return Guard([&] { return m_rBelow.Protect(pData, cbData, pEntropy, cbEntropy, eScope, rpbyBlob, rcbBlob); });
    }
    Status Unprotect(const void* pBlob, DWORD cbBlob, const void* pEntropy, DWORD cbEntropy, BYTE*& rpbyData,
                     DWORD& rcbData) noexcept override {
        return Guard([&] { return m_rBelow.Unprotect(pBlob, cbBlob, pEntropy, cbEntropy, rpbyData, rcbData); });
    }
    void ReleaseBlob(BYTE* pbyBlob, DWORD cbBlob) noexcept override { m_rBelow.ReleaseBlob(pbyBlob, cbBlob); }
};

}  // namespace vlm::test
