/// @file
/// The way of a command through the monitor: what is checked before what, with whose identity, and what a failure
/// leaves.
#include <optional>

#include "MonitorBench.h"
#include "WatchedRegistry.h"
#include "portmonitor/SystemIdentity.h"
#include "support/FaultPlatform.h"

namespace vlm::test {

namespace {

constexpr auto VERSION = HKeyRegistry::Hkey_Machine_Version;
constexpr DWORD ADMINISTER = SpoolerPort::ACCESS_ADMINISTER;

TEST(RequestServer, TheRoomForAReplyIsAskedForBeforeAnythingChanges) {
    using enum _XPMRegistryFunction;
    MonitorBench oBench;
    const XString path = XString(VERSION_PATH) + VTEXT("\\Key");
    oBench.oFake.registry.AddValue(path, VTEXT("v"), 3, FromHex("0100000000000000"));
    const std::string before = oBench.Everything();
    const struct {
        Function eFunction;
        const XCHAR* pszPath;
        ByteBuffer bbData;
        DWORD cbReply;
    } aRows[] = {
        {CreateKey, VTEXT("New"), ByteBuffer(), 8},
        {OpenKey, VTEXT("Key"), ByteBuffer(), 8},
        {GetClearBooleanValue, VTEXT("Key"), ByteBuffer(), 1},
        {GetIncLongValue, VTEXT("Key"), ByteBuffer::createFromLongValue(9), 4},
        {GetIncLong64Value, VTEXT("Key"), ByteBuffer::createFromLong64Value(9), 8},
    };
    for (const auto& rRow : aRows) {
        const bool fNamed = FindRequestOperation(static_cast<WORD>(rRow.eFunction))->m_eName != RequestName::No;
        const PortMonitorRequest oRequest =
            MakeRequest(rRow.eFunction, VERSION, rRow.pszPath, fNamed ? VTEXT("v") : VTEXT(""), rRow.bbData);
        for (DWORD cbRoom = 0; cbRoom < rRow.cbReply; ++cbRoom) {
            const Answer oAnswer = oBench.Send(oRequest, cbRoom);
            EXPECT_EQ(oAnswer, Status::InsufficientBuffer);
            EXPECT_EQ(oAnswer.cbNeeded, rRow.cbReply);
        }
        EXPECT_EQ(oBench.Everything(), before) << static_cast<int>(rRow.eFunction);
        EXPECT_EQ(oBench.oFake.registry.OpenHandles(), 0u);
    }
    // A refusal comes first: whoever may not must not learn what there is.
    oBench.ActAs(OWN_SID, IdentityPort::INTEGRITY_LOW);
    EXPECT_EQ(oBench.Send(MakeRequest(GetClearBooleanValue, VERSION, VTEXT("Key"), VTEXT("v")), 0),
              Status::AccessDenied);
}

TEST(RequestServer, TheRegistryIsTouchedWithTheIdentityDecidedOnAndNoOther) {
    MonitorBench oBench;
    oBench.oFake.registry.AddText(XString(VERSION_PATH) + VTEXT("\\Key"), VTEXT("v"), VTEXT("x"));
    WatchedRegistry oWatched(oBench.oFake.registry);
    Platform oPlatform = oBench.oFake.Get();
    oPlatform.pRegistry = &oWatched;
    const PlatformScope oScope(oPlatform);
    int iAsSystem = 0, iAsCaller = 0;
    oWatched.SetWatcher([&](WatchedRegistry::Access, const std::string&, const XCHAR*) {
        IdentityPort::Identity oIdentity;
        EXPECT_EQ(oBench.oFake.identity.CurrentIdentity(oIdentity), Status::Success);
        ++(oIdentity.fImpersonating ? iAsCaller : iAsSystem);
    });
    MonitorChannels oChannels;
    HANDLE hChannel = nullptr;
    ASSERT_EQ(oChannels.Open(0, hChannel), Status::Success);
    EXPECT_EQ(SendRequest(oChannels, hChannel, MakeRequest(Function::GetStringValue, VERSION, VTEXT("Key"), VTEXT("v")))
                  .eStatus,
              Status::Success);
    EXPECT_GT(iAsSystem, 0);
    EXPECT_EQ(iAsCaller, 0);
    iAsSystem = 0;
    PortMonitorRequest oOwn = MakeRequest(Function::SetBytesValue, HKeyRegistry::Hkey_Current_User,
                                          VTEXT("Software\\x"), VTEXT("v"), ByteBuffer(FromHex("01")));
    oOwn.m_csThird = OWN_SID;
    EXPECT_EQ(SendRequest(oChannels, hChannel, oOwn), Status::Success);
    EXPECT_GT(iAsCaller, 0);
    EXPECT_EQ(iAsSystem, 0);
    IdentityPort::Identity oIdentity;
    EXPECT_EQ(oBench.oFake.identity.CurrentIdentity(oIdentity), Status::Success);
    EXPECT_TRUE(oIdentity.fImpersonating);
    EXPECT_EQ(oBench.oFake.identity.OpenTokens(), 0u);
}

TEST(RequestServer, AnIdentityThatCannotBeRestoredEndsTheProcess) {
    bool fEnded = false;
    for (std::uint64_t ullCall = 1; ullCall < 100 && !fEnded; ++ullCall) {
        MonitorBench oBench;
        const HANDLE hChannel = oBench.Open();
        FaultPlatform oFaults(oBench.oFake.Get());
        const PlatformScope oScope(oFaults.Get());
        oFaults.Script().Arm(FaultMode::FailOnce, ullCall);
        const Answer oAnswer = SendRequest(oBench.oChannels, hChannel,
                                           MakeRequest(Function::SetBytesValue, VERSION, VTEXT("Key"), VTEXT("v")));
        const std::optional<DWORD> oEnded = oBench.oFake.identity.EndedWith();
        fEnded = oEnded.has_value();
        if (!fEnded) continue;
        EXPECT_EQ(*oEnded, SystemIdentity::EXIT_CODE);
        EXPECT_EQ(oFaults.Script().Calls(), ullCall) << "calls were made after the process should have been gone";
        EXPECT_EQ(oAnswer, Status::GeneralFailure);
    }
    EXPECT_TRUE(fEnded);
}

TEST(RequestServer, OtherCommandsAndTheirInput) {
    MonitorBench oBench;
    const auto Text = [](const XCHAR* pszText) { return TextData(pszText); };
    EXPECT_EQ(oBench.Command(VTEXT("isready")), Status::Success);
    EXPECT_EQ(oBench.Command(VTEXT("isready"), ByteBuffer(FromHex("00"))), Status::InvalidParameter);
    for (const XCHAR* pszCommand :
         {VTEXT(""), VTEXT("IsReady"), VTEXT("isready "), VTEXT("xregistry2"), VTEXT("xregistry")})
        EXPECT_EQ(oBench.Command(pszCommand), Status::InvalidParameter);
    for (const XCHAR* pszSid : {VTEXT(""), VTEXT(".DEFAULT"), VTEXT("S-1-5-18\\x"), VTEXT("Software")})
        EXPECT_EQ(oBench.Command(VTEXT("XRemoveSID"), Text(pszSid)), Status::InvalidParameter);
    EXPECT_EQ(oBench.Command(VTEXT("XRemoveSID"), ByteBuffer(FromHex("53002D00"))), Status::InvalidParameter);
    EXPECT_EQ(oBench.Command(VTEXT("XRemoveSID"), Text(OTHER_SID)), Status::AccessDenied);
    EXPECT_EQ(oBench.Command(VTEXT("XRemoveSID"), Text(OWN_SID)), Status::Success);  // there is nothing
    oBench.ActAsAdministrator();
    EXPECT_EQ(oBench.Command(VTEXT("upgrade"), {}, 0), Status::AccessDenied);
    EXPECT_EQ(oBench.Command(VTEXT("upgrade"), {}, ADMINISTER), Status::Success);
}

}  // namespace

}  // namespace vlm::test
