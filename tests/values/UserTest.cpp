/// @file
/// Whom a thread acts for, and how it steps back and returns.
#include "environment/User.h"

#include <gtest/gtest.h>

#include <tuple>

#include "support/FakePlatform.h"
#include "support/FaultLoop.h"
#include "support/FaultPlatform.h"
#include "support/RecordingSink.h"
#include "utilities/debuggingandexceptions/VelomExceptions.h"
#include "utilities/utilitiesdll/CriticalResource.h"
#include "utilities/utilitiesdll/GrowUntilItFits.h"

namespace {

using namespace vlm;
using namespace vlm::test;

TEST(UserTest, AnswersForTheThreadAndForTheProcess) {
    FakePlatform oFake;
    const PlatformScope oScope(oFake.Get());
    oFake.identity.SetProcessIdentity(
        FakeIdentityPort::MakeIdentity(VTEXT("S-1-5-18"), IdentityPort::INTEGRITY_SYSTEM));
    oFake.identity.AddAccount(VTEXT("HOME\\ann"), VTEXT("S-1-5-21-7-7-7-1005"));
    EXPECT_TRUE(User::IsLocalSystem());
    EXPECT_TRUE(User::IsAdministrator()) << "the system may do what an administrator may";
    EXPECT_FALSE(User::IsImpersonating());
    EXPECT_EQ(User::GetSIDOfAccount(VTEXT("HOME\\ann")), VTEXT("S-1-5-21-7-7-7-1005"));
    EXPECT_EQ(User::GetSIDOfAccount(VTEXT("HOME\\bob")), VTEXT(""));
    oFake.identity.Impersonate(FakeIdentityPort::MakeIdentity(VTEXT("S-1-5-21-7-7-7-1005"), 0x1000));
    EXPECT_TRUE(User::IsImpersonating());
    EXPECT_FALSE(User::IsAdministrator());
    EXPECT_TRUE(User::IsProcessAdministrator());
    EXPECT_TRUE(User::HasLowIntegrity());
    EXPECT_EQ(User::GetCurrentUserSID(), VTEXT("S-1-5-21-7-7-7-1005"));
    EXPECT_EQ(User::GetProcessUserSID(), VTEXT("S-1-5-18"));
    EXPECT_EQ(User::GetCurrentUserName(), VTEXT("ann"));
    oFake.identity.StopImpersonating();
}

TEST(UserTest, WhatTheSystemRefusesToTellCountsAsLeastTrust) {
    FakePlatform oFake;
    FaultPlatform oFaults(oFake.Get());
    const PlatformScope oScope(oFaults.Get());
    const RecordingSink oSink;
    oFake.identity.SetProcessIdentity(FakeIdentityPort::MakeIdentity(VTEXT("S-1-5-18"), 0x4000, true));
    oFaults.Script().Arm(FaultMode::FailFrom, 1);
    EXPECT_FALSE(User::IsAdministrator());
    EXPECT_FALSE(User::IsProcessAdministrator());
    EXPECT_FALSE(User::IsLocalSystem());
    EXPECT_TRUE(User::HasLowIntegrity());
    EXPECT_EQ(User::GetCurrentUserSID(), VTEXT(""));
    EXPECT_EQ(User::GetCurrentUserName(), VTEXT(""));
    EXPECT_EQ(oSink.Count("The identity of the "), 5u);
}

TEST(UserTest, PrivilegesAreHeldForAWhile) {
    FakePlatform oFake;
    const PlatformScope oScope(oFake.Get());
    const auto IsOn = [&] { return oFake.identity.IsPrivilegeOn(PrivilegeScope::LOAD_DRIVER); };
    {
        const PrivilegeScope oOuter(PrivilegeScope::LOAD_DRIVER);
        EXPECT_TRUE(oOuter.IsHeld() && IsOn());
        { const PrivilegeScope oInner(PrivilegeScope::LOAD_DRIVER); }
        EXPECT_TRUE(IsOn()) << "what was in force before stays so";
    }
    EXPECT_FALSE(IsOn());
    oFake.identity.SetPrivilegeHeld(PrivilegeScope::LOAD_DRIVER, false);
    EXPECT_FALSE(PrivilegeScope(PrivilegeScope::LOAD_DRIVER).IsHeld());
}

TEST(UserTest, StepsBackAndReturnsOrEnds) {
    FakePlatform oFake;
    FaultPlatform oFaults(oFake.Get());
    const PlatformScope oScope(oFaults.Get());
    oFake.identity.Impersonate(FakeIdentityPort::MakeIdentity(VTEXT("S-1-5-21-7-7-7-1005")));
    {
        const RevertToPrinterSelfWrapper oSelf;
        EXPECT_TRUE(oSelf.IsReverted());
        EXPECT_FALSE(User::IsImpersonating());
        { const RevertToPrinterSelfWrapper oNested; }
        EXPECT_FALSE(User::IsImpersonating());
    }
    EXPECT_TRUE(User::IsImpersonating());
    EXPECT_EQ(oFake.identity.OpenTokens(), 0u);
    {
        oFaults.Script().Arm(FaultMode::FailOnce, 1);
        const RevertToPrinterSelfWrapper oSelf;
        EXPECT_FALSE(oSelf.IsReverted());
        EXPECT_TRUE(User::IsImpersonating()) << "still the user's own rights";
    }
    EXPECT_FALSE(oFake.identity.EndedWith());
    const RecordingSink oSink;
    {
        const RevertToPrinterSelfWrapper oSelf;
        oFaults.Script().Arm(FaultMode::FailOnce, 1);
    }
    EXPECT_EQ(oFake.identity.EndedWith(), RevertToPrinterSelfWrapper::EXIT_CODE_IDENTITY_LOST);
    EXPECT_TRUE(oSink.Texts().empty()) << "no further step with the wrong rights";
    oFake.identity.StopImpersonating();
}

TEST(UserTest, WhateverFailsTheAnswerIsTrueOrOfLeastTrust) {
    static const CXString csAnn = VTEXT("S-1-5-21-7-7-7-1005"), csSystem = VTEXT("S-1-5-18"), csName = VTEXT("ann");
    const auto IsHad = [](const CXString& kcsAnswer, const CXString& kcsExpected) {
        if (!kcsAnswer.IsEmpty() && kcsAnswer != kcsExpected) throw std::logic_error("somebody else");
        return !kcsAnswer.IsEmpty();
    };
    FaultLoop oLoop;
    oLoop.fnPrepare = [](FakePlatform& rFake) {
        rFake.identity.SetMisuseFailsTest(false);
        rFake.identity.SetProcessIdentity(FakeIdentityPort::MakeIdentity(csSystem));
        rFake.identity.AddAccount(csName, csAnn);
        rFake.identity.SetLoggedOnUser(FakeIdentityPort::MakeIdentity(csAnn));
    };
    int iEnded = 0;
    oLoop.fnCheck = [&](FakePlatform& rFake, FaultOutcome) {
        IdentityPort::Identity oIdentity;
        EXPECT_EQ(rFake.identity.CurrentIdentity(oIdentity), Status::Success);
        EXPECT_FALSE(oIdentity.fImpersonating);
        if (rFake.identity.EndedWith()) ++iEnded;
    };
    const FaultRow aoRows[] = {
        {"SIDs and names",
         [=] {
             bool fDone = false;
             Attempt<ExceptionOutOfMemory>([&] {
                 const bool fProcess = IsHad(User::GetProcessUserSID(), csSystem);
                 const bool fCurrent = IsHad(User::GetCurrentUserSID(), csSystem);
                 fDone = IsHad(User::GetSIDOfAccount(csName), csAnn) && fProcess && fCurrent;
             });
             return fDone ? FaultOutcome::Succeeded : FaultOutcome::Failed;
         }},
        {"the logged-on user",
         [=] {
             bool fDone = false;
             Attempt<ExceptionOutOfMemory>([&] {
                 const ImpersonateLoggedOnUserWrapper oUser;
                 fDone = oUser.IsImpersonating() && IsHad(User::GetCurrentUserSID(), csAnn) &&
                         IsHad(User::GetCurrentUserName(), csName);
             });
             return fDone ? FaultOutcome::Succeeded : FaultOutcome::Failed;
         }},
    };
    RunFaultRows(aoRows, oLoop);
    EXPECT_GT(iEnded, 0) << "whoever cannot give an identity back must not go on";
}

TEST(DriverLoadedContextTest, IsToldByTheProgramsName) {
    FakePlatform oFake;
    const PlatformScope oScope(oFake.Get());
    for (const auto& [pszPath, eContext, fSpoolerSide] :
         {std::tuple{VTEXT("C:\\Windows\\System32\\SPOOLSV.exe"), DriverLoadedContext::DLC_SPOOLER, true},
          {VTEXT("C:\\Windows\\System32\\PrintIsolationHost.exe"), DriverLoadedContext::DLC_SPOOLER_COMPONENT, true},
          {VTEXT("C:\\Windows\\System32\\wbem\\WmiPrvSE.exe"), DriverLoadedContext::DLC_WMI_PROVIDER, false},
          {VTEXT("/opt/msiexec.exe"), DriverLoadedContext::DLC_INSTALLER, false},
          {VTEXT("C:\\spoolsv.exe\\x.exe"), DriverLoadedContext::DLC_APPLICATION, false},
          {VTEXT(""), DriverLoadedContext::DLC_UNKNOWN, false}}) {
        oFake.process.SetModulePath(nullptr, pszPath);
        EXPECT_EQ(CriticalResource::GetDriverLoadedContext(), eContext) << Narrow(pszPath);
        EXPECT_EQ(DriverLoadedContext::IsSpoolerSide(), fSpoolerSide);
    }
}

TEST(GrowUntilItFitsTest, AsksAgainUntilTheValueFits) {
    using Needs = std::vector<DWORD>;  // at each call; the last one stays
    for (const auto& [pszWhat, vcbNeeded, eTooSmall, eAnswer, cbAnswer, cExpectedCalls] :
         {std::tuple{"size query answers success", Needs{10}, Status::Success, Status::Success, 10u, 2u},
          {"grows meanwhile", Needs{10, 20, 30}, Status::MoreData, Status::Success, 30u, 4u},
          {"grows for ever", Needs{10, 20, 30, 40, 50, 60}, Status::MoreData, Status::MoreData, 0u, 5u},
          {"beyond the limit", Needs{1001}, Status::MoreData, Status::InsufficientBuffer, 0u, 1u},
          {"at the limit", Needs{1000}, Status::InsufficientBuffer, Status::Success, 1000u, 2u}}) {
        ByteBuffer bbTarget;
        std::size_t cCalls = 0;
        const auto Call = [&, &rvcbNeeded = vcbNeeded, eShort = eTooSmall](BYTE* pbyTarget, DWORD cbTarget,
                                                                           DWORD& rcbNeeded) {
            rcbNeeded = rvcbNeeded[std::min(cCalls, rvcbNeeded.size() - 1)];
            ++cCalls;
            if (rcbNeeded > cbTarget) return eShort;
            std::fill_n(pbyTarget, rcbNeeded, BYTE{1});
            return Status::Success;
        };
        EXPECT_EQ(GrowUntilItFits(Call, 1000, bbTarget), eAnswer) << pszWhat;
        EXPECT_EQ(bbTarget.size(), cbAnswer) << pszWhat;
        EXPECT_EQ(cCalls, cExpectedCalls) << pszWhat;
    }
    // A call that does not say how much there is gets more room each time; any other status ends the matter.
    ByteBuffer bbTarget;
    std::vector<DWORD> vcbRooms;
    const auto Mute = [&](BYTE*, DWORD cbTarget, DWORD&) {
        vcbRooms.push_back(cbTarget);
        return vcbRooms.size() < 4 ? Status::MoreData : Status::AccessDenied;
    };
    EXPECT_EQ(GrowUntilItFits(Mute, 1000, bbTarget), Status::AccessDenied);
    EXPECT_EQ(vcbRooms, (std::vector<DWORD>{0, 64, 128, 256}));
}

}  // namespace
