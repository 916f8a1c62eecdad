/// @file
/// The contract of the identity port.
#include "platform/IdentityPort.h"

#include <algorithm>
#include <thread>

#include "PortContract.h"

#ifdef _WIN32
#include "platform/win32/System.h"
#else
#include "platform/host/HostIdentityPort.h"
#endif

namespace vlm::test {

namespace {

using Identity = IdentityPort::Identity;

class IdentityPortContract : public PortContract {
protected:
    IdentityPort& Identities() const { return *Ports().pIdentity; }
    /// The calling thread acts for somebody, as it would for a client of the spooler.
    bool Impersonate() {
        const Identity oClient = FakeIdentityPort::MakeIdentity(VTEXT("S-1-5-21-0-0-0-4242"));
        if (IsFake()) {
            m_oFake.identity.Impersonate(oClient);
            return true;
        }
#ifdef _WIN32
        return ImpersonateSelf(SecurityImpersonation) != FALSE;
#else
        return host::ImpersonateOnHost(oClient) == Status::Success;
#endif
    }
    bool IsImpersonating() const {
        Identity oIdentity;
        EXPECT_EQ(Identities().CurrentIdentity(oIdentity), Status::Success);
        return oIdentity.fImpersonating;
    }
};

TEST_P(IdentityPortContract, AThreadActsForTheProcessAtFirst) {
    Identity oProcess, oThread;
    oThread.fImpersonating = true;
    ASSERT_EQ(Identities().ProcessIdentity(oProcess), Status::Success);
    ASSERT_EQ(Identities().CurrentIdentity(oThread), Status::Success);
    EXPECT_TRUE(XStringView(oProcess.szSid).starts_with(VTEXT("S-1-5-")));
    EXPECT_EQ(XStringView(oProcess.szSid), XStringView(oThread.szSid));
    EXPECT_EQ(oProcess.dwIntegrity, oThread.dwIntegrity);
    EXPECT_GE(oProcess.dwIntegrity, IdentityPort::INTEGRITY_LOW);
    EXPECT_LE(oProcess.dwIntegrity, IdentityPort::INTEGRITY_SYSTEM);
    EXPECT_FALSE(oThread.fImpersonating);
    EXPECT_FALSE(oThread.fAppContainer);
    HANDLE hToken = &oThread;
    EXPECT_EQ(Identities().Revert(hToken), Status::Success);
    EXPECT_EQ(hToken, nullptr);
    EXPECT_EQ(Identities().Restore(hToken), Status::Success);
}

TEST_P(IdentityPortContract, TheOwnNameLeadsToTheOwnSid) {
    XCHAR szSid[IdentityPort::MAX_SID_UNITS];
    const XString name = Whole([&](XCHAR* psz, std::size_t c) { return Identities().CurrentUserName(psz, c); });
    const XCHAR* const pszName = name.c_str();
    ASSERT_EQ(Identities().SidOfAccount(pszName, szSid, std::size(szSid)), Status::Success);
    Identity oProcess;
    ASSERT_EQ(Identities().ProcessIdentity(oProcess), Status::Success);
    EXPECT_EQ(XStringView(szSid), XStringView(oProcess.szSid));
    const std::size_t cSid = XStringView(szSid).size();
    EXPECT_EQ(Identities().SidOfAccount(pszName, szSid, cSid), Status::InsufficientBuffer);
    EXPECT_EQ(Identities().SidOfAccount(pszName, szSid, cSid + 1), Status::Success);
}

TEST_P(IdentityPortContract, NamesThatNobodyHasAreRefused) {
    XCHAR szSid[IdentityPort::MAX_SID_UNITS];
    for (const XCHAR* pszNobody : {VTEXT("no such user 4711"), VTEXT("NO-SUCH-DOMAIN\\user")})
        EXPECT_EQ(Identities().SidOfAccount(pszNobody, szSid, std::size(szSid)), Status::NoneMapped);
    EXPECT_EQ(Identities().SidOfAccount(nullptr, szSid, std::size(szSid)), Status::InvalidParameter);
    EXPECT_EQ(Identities().SidOfAccount(VTEXT(""), szSid, std::size(szSid)), Status::InvalidParameter);
    bool fFormer = false;
    EXPECT_EQ(Identities().SetPrivilege(VTEXT("NoSuchThing"), true, fFormer), Status::NoSuchPrivilege);
    EXPECT_EQ(Identities().SetPrivilege(nullptr, true, fFormer), Status::NoSuchPrivilege);
}

TEST_P(IdentityPortContract, PrivilegesTellWhatTheyWere) {
    bool fOriginal = false, fFormer = false;
    const Status eStatus = Identities().SetPrivilege(VTEXT("SeLoadDriverPrivilege"), true, fOriginal);
    if (eStatus == Status::NotAllAssigned) GTEST_SKIP() << "this user does not hold the privilege";
    ASSERT_EQ(eStatus, Status::Success);
    EXPECT_EQ(Identities().SetPrivilege(VTEXT("SeLoadDriverPrivilege"), true, fFormer), Status::Success);
    EXPECT_TRUE(fFormer);
    EXPECT_EQ(Identities().SetPrivilege(VTEXT("SeLoadDriverPrivilege"), false, fFormer), Status::Success);
    EXPECT_TRUE(fFormer);
    EXPECT_EQ(Identities().SetPrivilege(VTEXT("SeLoadDriverPrivilege"), fOriginal, fFormer), Status::Success);
    EXPECT_FALSE(fFormer);
}

TEST_P(IdentityPortContract, ImpersonationBelongsToItsThreadAndCanBeSuspended) {
    std::thread([&] {
        ASSERT_TRUE(Impersonate());
        EXPECT_TRUE(IsImpersonating());
        Identity oProcess;
        EXPECT_EQ(Identities().ProcessIdentity(oProcess), Status::Success);
        EXPECT_FALSE(oProcess.fImpersonating);
        std::thread([&] { EXPECT_FALSE(IsImpersonating()); }).join();
        HANDLE hToken = nullptr, hNone = &hToken;
        EXPECT_EQ(Identities().Revert(hToken), Status::Success);
        EXPECT_NE(hToken, nullptr);
        EXPECT_FALSE(IsImpersonating());
        EXPECT_EQ(Identities().Revert(hNone), Status::Success);
        EXPECT_EQ(hNone, nullptr);
        EXPECT_EQ(Identities().Restore(hToken), Status::Success);
        EXPECT_TRUE(IsImpersonating());
        EXPECT_EQ(Identities().Revert(hToken), Status::Success);
        EXPECT_EQ(Identities().Restore(hToken), Status::Success);
        EXPECT_TRUE(IsImpersonating());
        // Nobody is put in the place of the user that the thread acts for.
        EXPECT_EQ(Identities().ImpersonateLoggedOnUser(), Status::InvalidParameter);
#ifndef _WIN32  // where its number may be another's by now
        // A token is good for one restore.
        EXPECT_EQ(Identities().Revert(hNone), Status::Success);
        EXPECT_EQ(Identities().Restore(hNone), Status::Success);
        EXPECT_EQ(Identities().Restore(hNone), Status::InvalidHandle);
#endif
    }).join();
    EXPECT_FALSE(IsImpersonating());
    EXPECT_EQ(m_oFake.identity.OpenTokens(), 0u);
}

Q9_CONTRACT_SUITE(IdentityPortContract);

}  // namespace

}  // namespace vlm::test
