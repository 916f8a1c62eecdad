/// @file
/// The host's data protection: keys that stay in the store, one for each user.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <functional>
#include <string>

#include "platform/CryptoPort.h"
#include "platform/Platform.h"
#include "platform/host/HostStore.h"
#include "support/Bytes.h"

namespace vlm::test {

namespace {

using Scope = CryptoPort::Scope;

class HostSecrets : public testing::Test {
protected:
    void SetUp() override {
        m_oFolder = std::filesystem::temp_directory_path() / ("q9-secrets-" + std::to_string(getpid()));
        std::filesystem::create_directories(m_oFolder);
        UseStore("store.db");
    }
    void TearDown() override {
        host::SetHostStorePath(nullptr);
        std::filesystem::remove_all(m_oFolder);
    }

    void UseStore(const std::string& rName) const { ASSERT_TRUE(host::SetHostStorePath((m_oFolder / rName).c_str())); }
    static std::vector<BYTE> Protect(Scope eScope) {
        CryptoPort& rCrypto = *GetSystemPlatform().pCrypto;
        BYTE* pby = nullptr;
        DWORD cb = 0;
        EXPECT_EQ(rCrypto.Protect("data", 4, nullptr, 0, eScope, pby, cb), Status::Success);
        const std::vector<BYTE> vbyBlob(pby, pby + cb);
        rCrypto.ReleaseBlob(pby, cb);
        return vbyBlob;
    }
    static Status Unprotect(const std::vector<BYTE>& rvbyBlob) {
        CryptoPort& rCrypto = *GetSystemPlatform().pCrypto;
        BYTE* pby = nullptr;
        DWORD cb = 0;
        const Status eStatus =
            rCrypto.Unprotect(rvbyBlob.data(), static_cast<DWORD>(rvbyBlob.size()), nullptr, 0, pby, cb);
        rCrypto.ReleaseBlob(pby, cb);
        return eStatus;
    }
    static int InChild(const std::function<int()>& work) {
        const pid_t iChild = fork();
        if (iChild == 0) _exit(work());
        int iStatus = 0;
        waitpid(iChild, &iStatus, 0);
        return WIFEXITED(iStatus) ? WEXITSTATUS(iStatus) : -1;
    }

    std::filesystem::path m_oFolder;
};

TEST_F(HostSecrets, TheKeyIsTheStoresAndOutlivesTheProcess) {
    const std::vector<BYTE> vbyBlob = Protect(Scope::User);
    UseStore("other.db");
    EXPECT_EQ(Unprotect(vbyBlob), Status::InvalidData) << "no key at all";
    EXPECT_EQ(Unprotect(Protect(Scope::User)), Status::Success);
    EXPECT_EQ(Unprotect(vbyBlob), Status::InvalidData) << "another key";
    UseStore("store.db");
    EXPECT_EQ(Unprotect(vbyBlob), Status::Success);
    EXPECT_EQ(InChild([&] { return Unprotect(vbyBlob) == Status::Success ? 0 : 1; }), 0);
}

TEST_F(HostSecrets, TheStoreIsItsOwnersAlone) {
    Protect(Scope::User);
    for (const auto& rEntry : std::filesystem::directory_iterator(m_oFolder)) {
        struct stat oStat {};
        ASSERT_EQ(stat(rEntry.path().c_str(), &oStat), 0);
        EXPECT_EQ(oStat.st_mode & 077, 0u) << rEntry.path();
    }
}

TEST_F(HostSecrets, TheScopeTellsWhoCanUndoIt) {
    if (getuid() != 0) GTEST_SKIP() << "only root can be another user";
    const std::vector<BYTE> vbyMine = Protect(Scope::User), vbyMachines = Protect(Scope::Machine);
    const int iAnswer = InChild([&] {
        if (setresuid(12345, 0, 0) != 0) return 4;
        Protect(Scope::User);
        return (Unprotect(vbyMine) == Status::InvalidData ? 0 : 1) +
               (Unprotect(vbyMachines) == Status::Success ? 0 : 2);
    });
    EXPECT_EQ(iAnswer, 0);
}

TEST_F(HostSecrets, EveryByteOfABlobCounts) {
    const std::vector<BYTE> vbyBlob = Protect(Scope::User);
    for (std::size_t i = 0; i < vbyBlob.size(); ++i) {
        std::vector<BYTE> vby = vbyBlob;
        vby[i] ^= 1;
        EXPECT_EQ(Unprotect(vby), Status::InvalidData) << i;
        vby.assign(vbyBlob.begin(), vbyBlob.begin() + static_cast<std::ptrdiff_t>(i));
        EXPECT_EQ(Unprotect(vby), Status::InvalidData) << "cut at " << i;
    }
}

}  // namespace

}  // namespace vlm::test
