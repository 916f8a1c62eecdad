/// @file
/// Impersonation on the host, and what follows it.
#include "platform/host/HostIdentityPort.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <string>
#include <thread>

#include "platform/Platform.h"
#include "platform/RegistryPort.h"
#include "support/Bytes.h"
#include "support/FakeIdentityPort.h"

namespace vlm::test {

namespace {

TEST(HostIdentityPort, AClientsNameAndHiveAreItsOwn) {
    const Platform& rSystem = GetSystemPlatform();
    std::thread([&] {
        XCHAR szName[64] = {};
        HKEY hKey = nullptr;
        const XString own = Wide("S-1-5-21-0-0-0-" + std::to_string(getuid()));
        ASSERT_EQ(host::ImpersonateOnHost(FakeIdentityPort::MakeIdentity(own)), Status::Success);
        EXPECT_EQ(rSystem.pRegistry->OpenCurrentUser(RegistryPort::RIGHTS_READ, hKey), Status::Success);
        EXPECT_EQ(rSystem.pRegistry->Close(hKey), Status::Success);
        // Somebody whom this machine does not know: a number for a name, and no hive.
        ASSERT_EQ(host::ImpersonateOnHost(FakeIdentityPort::MakeIdentity(VTEXT("S-1-5-21-0-0-0-4000000001"))),
                  Status::Success);
        EXPECT_EQ(rSystem.pIdentity->CurrentUserName(szName, 64), 10u);
        EXPECT_EQ(XStringView(szName), XStringView(VTEXT("4000000001")));
        EXPECT_EQ(rSystem.pRegistry->OpenCurrentUser(RegistryPort::RIGHTS_READ, hKey), Status::FileNotFound);
        // Not even a user of this machine.
        ASSERT_EQ(host::ImpersonateOnHost(FakeIdentityPort::MakeIdentity(VTEXT("S-1-5-18"))), Status::Success);
        EXPECT_EQ(rSystem.pIdentity->CurrentUserName(szName, 64), 0u);
        bool fFormer = false;
        EXPECT_EQ(rSystem.pIdentity->SetPrivilege(VTEXT("SeLoadDriverPrivilege"), true, fFormer),
                  Status::NotAllAssigned);
    }).join();
}

}  // namespace

}  // namespace vlm::test
