/// @file
/// The cryptography of tests.
#include "support/FakeCryptoPort.h"

#include <algorithm>
#include <cstdlib>
#include <string>

#include "platform/Platform.h"
#include "support/AllocationFaults.h"
#include "support/FakeCalls.h"

namespace vlm::test {

namespace {

CryptoPort& System() {
    return *GetSystemPlatform().pCrypto;
}

constexpr std::string_view MAGIC = "FAKE";

const char* Chars(const void* p) {
    return p ? static_cast<const char*>(p) : "";
}

BYTE* NewBlob(const std::string& rBytes) {
    auto* const pby = static_cast<BYTE*>(std::malloc(rBytes.size() + 1));
    std::copy(rBytes.begin(), rBytes.end(), pby);
    return pby;
}

std::string Entropy(const void* pEntropy, DWORD cbEntropy) {
    return std::to_string(cbEntropy) + ":" + std::string(Chars(pEntropy), cbEntropy);
}

/// A sum over all bytes that tells any changed one.
std::string SumOf(const std::string& rBytes) {
    std::uint32_t ui = 1;
    for (const char c : rBytes)
        ui = ui * 16777619 + static_cast<BYTE>(c) + 1;
    return std::to_string(ui) + ";";
}

}  // namespace

std::size_t FakeCryptoPort::OpenHandles() const {
    const std::lock_guard oLock(m_oMutex);
    return m_mapOpen.size();
}

void FakeCryptoPort::DropHandles() {
    const AllocationExempt oExempt;
    for (const auto& [h, eKind] : std::multimap<HANDLE, Kind>(m_mapOpen)) {
        switch (eKind) {
            case Kind::Provider:
                ReleaseProvider(h);
                break;
            case Kind::Hash:
                DestroyHash(h);
                break;
            case Kind::Key:
                DestroyKey(h);
                break;
            case Kind::Blob:
                ReleaseBlob(static_cast<BYTE*>(h), 0);
                break;
        }
    }
}

Status FakeCryptoPort::Note(Status eStatus, Kind eKind, HANDLE h) noexcept {
    const FakeCall oCall(m_oMutex);
    if (eStatus == Status::Success) m_mapOpen.emplace(h, eKind);
    return eStatus;
}

bool FakeCryptoPort::IsOpen(HANDLE h, Kind eKind) const noexcept {
    const FakeCall oCall(m_oMutex);
    const auto [begin, end] = m_mapOpen.equal_range(h);
    const bool fOpen = std::any_of(begin, end, [&](const auto& rPair) { return rPair.second == eKind; });
    if (!fOpen) ReportMisuse("a call on a cryptographic handle that is not open", h);
    return fOpen;
}

bool FakeCryptoPort::Forget(HANDLE h, Kind eKind) noexcept {
    if (h == nullptr || !IsOpen(h, eKind)) return false;
    const FakeCall oCall(m_oMutex);
    const auto [begin, end] = m_mapOpen.equal_range(h);
    m_mapOpen.erase(std::find_if(begin, end, [&](const auto& rPair) { return rPair.second == eKind; }));
    return true;
}

Status FakeCryptoPort::AcquireProvider(HANDLE& rhProvider) noexcept {
    const AllocationExempt oExempt;
    const Status eStatus = System().AcquireProvider(rhProvider);
    return Note(eStatus, Kind::Provider, rhProvider);
}

void FakeCryptoPort::ReleaseProvider(HANDLE hProvider) noexcept {
    if (Forget(hProvider, Kind::Provider)) System().ReleaseProvider(hProvider);
}

Status FakeCryptoPort::Random(void* pTarget, DWORD cbTarget) noexcept {
    BYTE* const pbyTarget = static_cast<BYTE*>(pTarget);
    for (DWORD i = 0; i < cbTarget; ++i) {
        std::uint64_t ull = m_ullState += 0x9E3779B97F4A7C15;
        ull = (ull ^ ull >> 30) * 0xBF58476D1CE4E5B9;
        ull = (ull ^ ull >> 27) * 0x94D049BB133111EB;
        pbyTarget[i] = static_cast<BYTE>(ull >> 56);
    }
    return Status::Success;
}

Status FakeCryptoPort::CreateHash(HANDLE hProvider, HANDLE& rhHash) noexcept {
    const AllocationExempt oExempt;
    if (!IsOpen(hProvider, Kind::Provider)) return Status::InvalidParameter;
    const Status eStatus = System().CreateHash(hProvider, rhHash);
    return Note(eStatus, Kind::Hash, rhHash);
}

Status FakeCryptoPort::HashData(HANDLE hHash, const void* pData, DWORD cbData) noexcept {
    return IsOpen(hHash, Kind::Hash) ? System().HashData(hHash, pData, cbData) : Status::InvalidParameter;
}

Status FakeCryptoPort::HashValue(HANDLE hHash, BYTE* pbyTarget) noexcept {
    return IsOpen(hHash, Kind::Hash) ? System().HashValue(hHash, pbyTarget) : Status::InvalidParameter;
}

void FakeCryptoPort::DestroyHash(HANDLE hHash) noexcept {
    if (Forget(hHash, Kind::Hash)) System().DestroyHash(hHash);
}

Status FakeCryptoPort::ImportKey(HANDLE hProvider, const void* pBlob, DWORD cbBlob, HANDLE& rhKey) noexcept {
    const AllocationExempt oExempt;
    if (!IsOpen(hProvider, Kind::Provider)) return Status::InvalidParameter;
    const Status eStatus = System().ImportKey(hProvider, pBlob, cbBlob, rhKey);
    return Note(eStatus, Kind::Key, rhKey);
}

Status FakeCryptoPort::SetKeyParameter(HANDLE hKey, KeyParameter eParameter, const void* pValue) noexcept {
    return IsOpen(hKey, Kind::Key) ? System().SetKeyParameter(hKey, eParameter, pValue) : Status::InvalidParameter;
}

Status FakeCryptoPort::Encrypt(HANDLE hKey, const void* pSource, DWORD cbSource, void* pTarget,
                               DWORD& rcbTarget) noexcept {
    return IsOpen(hKey, Kind::Key) ? System().Encrypt(hKey, pSource, cbSource, pTarget, rcbTarget)
                                   : Status::InvalidParameter;
}

Status FakeCryptoPort::Decrypt(HANDLE hKey, const void* pSource, DWORD cbSource, void* pTarget,
                               DWORD& rcbTarget) noexcept {
    return IsOpen(hKey, Kind::Key) ? System().Decrypt(hKey, pSource, cbSource, pTarget, rcbTarget)
                                   : Status::InvalidParameter;
}

void FakeCryptoPort::DestroyKey(HANDLE hKey) noexcept {
    const AllocationExempt oExempt;
    if (Forget(hKey, Kind::Key)) System().DestroyKey(hKey);
}

Status FakeCryptoPort::Protect(const void* pData, DWORD cbData, const void* pEntropy, DWORD cbEntropy, Scope eScope,
                               BYTE*& rpbyBlob, DWORD& rcbBlob) noexcept {
    const AllocationExempt oExempt;
    const std::string inside = std::to_string(++m_dwBlobs) + (eScope == Scope::User ? "u" : "m") +
                               Entropy(pEntropy, cbEntropy) + std::string(Chars(pData), cbData);
    std::string bytes = std::string(MAGIC) + SumOf(inside) + inside;
    bytes.back() = static_cast<char>(bytes.back() ^ 0x55);
    rpbyBlob = NewBlob(bytes);
    rcbBlob = static_cast<DWORD>(bytes.size());
    return Note(Status::Success, Kind::Blob, rpbyBlob);
}

Status FakeCryptoPort::Unprotect(const void* pBlob, DWORD cbBlob, const void* pEntropy, DWORD cbEntropy,
                                 BYTE*& rpbyData, DWORD& rcbData) noexcept {
    const AllocationExempt oExempt;
    std::string bytes(Chars(pBlob), cbBlob);
    if (!bytes.starts_with(MAGIC)) return Status::InvalidData;
    bytes.back() = static_cast<char>(bytes.back() ^ 0x55);
    const std::size_t iInside = bytes.find(';') + 1;
    const std::string inside = bytes.substr(iInside);
    const std::size_t iEntropy = inside.find_first_of("um") + 1;
    const std::string entropy = Entropy(pEntropy, cbEntropy);
    if (iInside == 0 || iEntropy == 0 || bytes.substr(MAGIC.size(), iInside - MAGIC.size()) != SumOf(inside) ||
        inside.compare(iEntropy, entropy.size(), entropy) != 0) {
        return Status::InvalidData;
    }
    const std::string data = inside.substr(iEntropy + entropy.size());
    rpbyData = NewBlob(data);
    rcbData = static_cast<DWORD>(data.size());
    return Note(Status::Success, Kind::Blob, rpbyData);
}

void FakeCryptoPort::ReleaseBlob(BYTE* pbyBlob, DWORD) noexcept {
    if (Forget(pbyBlob, Kind::Blob)) std::free(pbyBlob);
}

}  // namespace vlm::test
