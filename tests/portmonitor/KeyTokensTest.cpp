/// @file
/// Key handles outside the monitor: whose they are, how long they live, and that none can be made up.
#include <set>

#include "MonitorBench.h"

namespace vlm::test {

namespace {

constexpr auto VERSION = HKeyRegistry::Hkey_Machine_Version;

Status StatusOf(MonitorBench& rBench, ULONGLONG ullToken) {
    return rBench.Send(MakeRequest(Function::GetCountOfSubKeys, ullToken)).eStatus;
}

TEST(KeyTokens, AKeyThatWasDeletedIsStillClosed) {
    MonitorBench oBench;
    const ULONGLONG ullOne = oBench.OpenToken(Function::CreateKey, VTEXT("One"));
    const ULONGLONG ullTwo = TokenIn(oBench.Send(MakeRequest(Function::CreateKey, ullOne, VTEXT("Two"))));
    EXPECT_EQ(oBench.Send(MakeRequest(Function::DeleteKeyAndSubkeys, ullOne, VTEXT("Two"))), Status::Success);
    EXPECT_EQ(StatusOf(oBench, ullTwo), Status::KeyDeleted);
    for (const ULONGLONG ullToken : {ullOne, ullTwo})
        EXPECT_EQ(oBench.Send(MakeRequest(Function::CloseKey, ullToken)), Status::Success);
    EXPECT_EQ(oBench.oFake.registry.OpenHandles(), 0u);
}

TEST(KeyTokens, RightsAreThoseAskedForAndNeverMore) {
    MonitorBench oBench;
    oBench.oFake.registry.AddText(XString(VERSION_PATH) + VTEXT("\\Key"), VTEXT("v"), VTEXT("x"));
    const auto Try = [&](DWORD dwMask, Function eFunction) {
        const ULONGLONG ullToken = oBench.OpenToken(Function::OpenKey, VTEXT("Key"), dwMask);
        const bool fWrite = eFunction == Function::SetBytesValue;
        return oBench
            .Send(MakeRequest(eFunction, ullToken, CXString(), VTEXT("v"),
                              fWrite ? ByteBuffer(FromHex("01")) : ByteBuffer()))
            .eStatus;
    };
    constexpr DWORD MAXIMUM = 0x02000000, ALL = 0x10000000, GENERIC_READ_MASK = 0x80000000;
    EXPECT_EQ(Try(0x20019, Function::GetBytesValue), Status::Success);
    EXPECT_EQ(Try(0x20019, Function::SetBytesValue), Status::AccessDenied);
    EXPECT_EQ(Try(0x20006, Function::GetBytesValue), Status::AccessDenied);  // although the monitor's handle could
    EXPECT_EQ(Try(0x20006, Function::SetBytesValue), Status::Success);
    EXPECT_EQ(Try(MAXIMUM, Function::GetBytesValue), Status::Success);
    EXPECT_EQ(Try(MAXIMUM, Function::SetBytesValue), Status::AccessDenied);
    EXPECT_EQ(Try(GENERIC_READ_MASK, Function::SetBytesValue), Status::AccessDenied);
    EXPECT_EQ(Try(ALL, Function::SetBytesValue), Status::Success);
    // Of the rights that nobody gets nothing reaches the registry.
    oBench.oFake.registry.Deny(XString(VERSION_PATH) + VTEXT("\\Key"), 0xC0020);
    EXPECT_EQ(Try(0xF003F, Function::SetBytesValue), Status::Success);
    EXPECT_EQ(Try(ALL, Function::SetBytesValue), Status::Success);
}

TEST(KeyTokens, AccessIsTestedWithoutAnythingLeftOpen) {
    MonitorBench oBench;
    oBench.oFake.registry.AddKey(XString(VERSION_PATH) + VTEXT("\\Key"));
    oBench.oFake.registry.Deny(XString(VERSION_PATH) + VTEXT("\\Key"), RegistryPort::SET_VALUE);
    PortMonitorRequest oRequest = MakeRequest(Function::TestAccess, VERSION, VTEXT("Key"));
    for (const DWORD dwMask : {0x20006u, 0x20019u}) {
        oRequest.m_dwAccessMask = dwMask;
        EXPECT_EQ(oBench.Send(oRequest), dwMask == 0x20006 ? Status::AccessDenied : Status::Success);
    }
    EXPECT_EQ(oBench.oFake.registry.OpenHandles(), 0u);
}

TEST(KeyTokens, ATokenCountsOnItsOwnChannelForItsOwnUserAlone) {
    MonitorBench oBench;
    const ULONGLONG ullToken = oBench.OpenToken(Function::OpenKey, CXString(), 0x20019);
    const HANDLE hOther = oBench.Open();
    const PortMonitorRequest oUse = MakeRequest(Function::GetCountOfSubKeys, ullToken);
    EXPECT_EQ(SendRequest(oBench.oChannels, hOther, oUse), Status::InvalidHandle);
    EXPECT_EQ(SendRequest(oBench.oChannels, hOther, MakeRequest(Function::CloseKey, ullToken)), Status::InvalidHandle);
    oBench.ActAs(OTHER_SID);
    EXPECT_EQ(oBench.Send(oUse), Status::InvalidHandle);
    EXPECT_EQ(oBench.Send(MakeRequest(Function::CloseKey, ullToken)), Status::InvalidHandle);
    oBench.ActAs(OWN_SID);
    EXPECT_EQ(oBench.Send(oUse).eStatus, Status::Success);
    // What the token's path allowed its caller once is asked again: he may be worth less by now.
    oBench.oFake.registry.AddKey(XString(VERSION_PATH) + VTEXT("\\Key"));
    const ULONGLONG ullWriter = oBench.OpenToken(Function::OpenKey, VTEXT("Key"));
    oBench.ActAs(OWN_SID, IdentityPort::INTEGRITY_LOW);
    EXPECT_EQ(
        oBench.Send(MakeRequest(Function::SetBytesValue, ullWriter, CXString(), VTEXT("v"), ByteBuffer(FromHex("01")))),
        Status::AccessDenied);
}

TEST(KeyTokens, NoNumberThatWasNotGivenOutIsAccepted) {
    MonitorBench oBench;
    std::set<ULONGLONG> setLive;
    for (int i = 0; i < 20; ++i)
        setLive.insert(oBench.OpenToken(Function::OpenKey, CXString(), 0x20019));
    EXPECT_EQ(setLive.size(), 20u);
    std::vector<ULONGLONG> vForged{
        0xFFFFFFFF80000000, 0xFFFFFFFF80000001, 0xFFFFFFFF80000002, 0xFFFFFFFF80000003, 0x80000002, ~0ULL, 1, 0x114};
    for (const ULONGLONG ullLive : setLive) {
        EXPECT_TRUE(PortMonitorReply::IsKeyToken(ullLive));
        for (int iBit = 0; iBit < 64; ++iBit)
            vForged.push_back(ullLive ^ 1ULL << iBit);
        vForged.push_back(ullLive + 1);
        vForged.push_back(ullLive - 1);
    }
    for (const ULONGLONG ullForged : vForged) {
        if (ullForged == 0 || setLive.count(ullForged) != 0) continue;
        ASSERT_EQ(StatusOf(oBench, ullForged), Status::InvalidHandle) << std::hex << ullForged;
    }
    // A slot that is used again has another number.
    for (int i = 0; i < 100; ++i) {
        const ULONGLONG ullOld = *setLive.begin();
        EXPECT_EQ(oBench.Send(MakeRequest(Function::CloseKey, ullOld)), Status::Success);
        setLive.erase(ullOld);
        setLive.insert(oBench.OpenToken(Function::OpenKey, CXString(), 0x20019));
        EXPECT_EQ(StatusOf(oBench, ullOld), Status::InvalidHandle);
    }
    EXPECT_EQ(oBench.oFake.registry.OpenHandles(), 20u);
}

TEST(KeyTokens, AChannelHasABoundedNumberOfKeysThatGoWithIt) {
    MonitorBench oBench;
    const PortMonitorRequest oOpen = [] {
        PortMonitorRequest oRequest = MakeRequest(Function::OpenKey, VERSION, CXString());
        oRequest.m_dwAccessMask = 0x20019;
        return oRequest;
    }();
    ULONGLONG ullLast = 0;
    for (std::size_t i = 0; i < bounds::MAX_CHANNEL_KEYS; ++i)
        ullLast = TokenIn(oBench.Send(oOpen));
    EXPECT_EQ(oBench.Send(oOpen), Status::NoSystemResources);
    // A creation beyond the quota creates nothing.
    EXPECT_EQ(oBench.Send(MakeRequest(Function::CreateKey, VERSION, VTEXT("New"))), Status::NoSystemResources);
    EXPECT_FALSE(oBench.oFake.registry.HasKey(XString(VERSION_PATH) + VTEXT("\\New")));
    EXPECT_EQ(oBench.Send(MakeRequest(Function::CloseKey, ullLast)), Status::Success);
    EXPECT_EQ(oBench.Send(oOpen).eStatus, Status::Success);
    EXPECT_EQ(oBench.oChannels.Close(oBench.hChannel), Status::Success);
    EXPECT_EQ(oBench.oFake.registry.OpenHandles(), 0u);
}

TEST(MonitorChannels, ChannelsAreBoundedForEachUserAndInAll) {
    MonitorBench oBench;
    std::vector<HANDLE> vhChannels;
    HANDLE hChannel = nullptr;
    for (std::size_t i = 0; i < bounds::MAX_USER_CHANNELS; ++i)
        vhChannels.push_back(oBench.Open());
    EXPECT_EQ(oBench.oChannels.Open(0, hChannel), Status::NoSystemResources);
    for (std::size_t i = bounds::MAX_USER_CHANNELS; i < bounds::MAX_CHANNELS; ++i) {
        oBench.ActAs(CXString::FormatString(VTEXT("S-1-5-21-9-%d"), static_cast<int>(i / bounds::MAX_USER_CHANNELS)));
        vhChannels.push_back(oBench.Open());
    }
    oBench.ActAs(VTEXT("S-1-5-21-9-9999"));
    EXPECT_EQ(oBench.oChannels.Open(0, hChannel), Status::NoSystemResources);
    EXPECT_EQ(oBench.oChannels.Close(vhChannels.back()), Status::Success);
    EXPECT_EQ(oBench.oChannels.Close(vhChannels.back()), Status::InvalidHandle);
    EXPECT_EQ(oBench.oChannels.Open(0, hChannel), Status::Success);
    EXPECT_EQ(std::count(vhChannels.begin(), vhChannels.end(), hChannel), 0);
    DWORD cbNeeded = 0;
    EXPECT_EQ(oBench.oChannels.Transceive(vhChannels.back(), VTEXT("isready"), {}, {}, cbNeeded),
              Status::InvalidHandle);
    oBench.oChannels.CloseAll();
    EXPECT_EQ(oBench.oChannels.Close(hChannel), Status::InvalidHandle);
}

}  // namespace

}  // namespace vlm::test
