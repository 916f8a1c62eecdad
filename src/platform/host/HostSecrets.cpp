/// @file
/// Keys in the store's table "state", as hexadecimal text under "protection/machine" and "protection/<user number>".
#include "platform/host/HostSecrets.h"

#include <openssl/crypto.h>
#include <sys/random.h>
#include <unistd.h>

#include <cerrno>
#include <string>
#include <string_view>

#include "platform/host/HostStore.h"

namespace vlm::host {

namespace {

constexpr char DIGITS[] = "0123456789ABCDEF";

using SecretText = std::array<char, 2 * CryptoPort::KEY_BYTES>;

/// @throws StoreFailure when the text is no key.
void Decode(std::string_view svDigits, SecretKey& rKey) {
    if (svDigits.size() != 2 * rKey.size()) throw StoreFailure{Status::BadDatabase};
    for (std::size_t i = 0; i < rKey.size(); ++i) {
        const std::size_t iHigh = std::string_view(DIGITS).find(svDigits[2 * i]);
        const std::size_t iLow = std::string_view(DIGITS).find(svDigits[2 * i + 1]);
        if (iHigh > 15 || iLow > 15) throw StoreFailure{Status::BadDatabase};
        rKey[i] = static_cast<BYTE>(iHigh * 16 + iLow);
    }
}

bool Find(StoreTransaction& rTransaction, const std::string& rName, SecretKey& rKey) {
    StoreStatement oSelect = rTransaction.Prepare("SELECT value FROM state WHERE name = ?");
    if (!oSelect.Bind(1, rName).Step()) return false;
    Decode(oSelect.Text(0), rKey);
    return true;
}

}  // namespace

bool FillRandom(void* pTarget, std::size_t cBytes) noexcept {
    for (std::size_t cDone = 0; cDone < cBytes;) {
        const ssize_t cRead = getrandom(static_cast<char*>(pTarget) + cDone, cBytes - cDone, 0);
        if (cRead > 0) {
            cDone += static_cast<std::size_t>(cRead);
        } else if (errno != EINTR) {
            return false;
        }
    }
    return true;
}

void LoadSecretKey(CryptoPort::Scope eScope, bool fMake, SecretKey& rKey) {
    const std::string name =
        "protection/" + (eScope == CryptoPort::Scope::Machine ? std::string("machine") : std::to_string(getuid()));
    {
        StoreTransaction oTransaction(StoreTransaction::Kind::Read);
        if (Find(oTransaction, name, rKey)) return;
    }
    // Without a key there is nothing that it could undo.
    if (!fMake) throw StoreFailure{Status::InvalidData};
    {
        StoreTransaction oTransaction(StoreTransaction::Kind::Write);
        if (Find(oTransaction, name, rKey)) return;
        if (!FillRandom(rKey.data(), rKey.size())) throw StoreFailure{Status::GeneralFailure};
        SecretText achDigits{};
        for (std::size_t i = 0; i < rKey.size(); ++i) {
            achDigits[2 * i] = DIGITS[rKey[i] >> 4];
            achDigits[2 * i + 1] = DIGITS[rKey[i] & 15];
        }
        oTransaction.Prepare("INSERT INTO state VALUES(?, ?)")
            .Bind(1, name)
            .Bind(2, std::string_view(achDigits.data(), achDigits.size()))
            .Step();
        OPENSSL_cleanse(achDigits.data(), achDigits.size());
        oTransaction.Commit();
    }
    FlushStore();
}

}  // namespace vlm::host
