/// @file
/// The monitor under load for a long time: nothing that callers leave behind grows, and no number that was made up
/// opens a key.  The environment variable Q9_MONITOR_SOAK gives the number of calls (20,000 when it is not set) and of
/// forged tokens (ten times as many).
#include <atomic>
#include <cstdlib>
#include <random>
#include <set>
#include <thread>

#include "MonitorBench.h"
#include "portmonitor/KeyTokens.h"
#include "support/Gate.h"

namespace vlm::test {

namespace {

constexpr auto VERSION = HKeyRegistry::Hkey_Machine_Version;

long Calls() {
    const char* const pszCalls = std::getenv("Q9_MONITOR_SOAK");
    return pszCalls ? std::atol(pszCalls) : 20'000;
}

TEST(MonitorSoak, NoForgedTokenIsAccepted) {
    MonitorBench oBench;
    KeyTokens oTokens;
    std::set<ULONGLONG> setLive;
    for (std::size_t i = 0; i < bounds::MAX_CHANNEL_KEYS; ++i) {
        ULONGLONG ullToken = 0;
        ASSERT_EQ(oTokens.Reserve(OWN_SID, ullToken), Status::Success);
        oTokens.Commit(ullToken, std::make_shared<TokenKey>());
        setLive.insert(ullToken);
    }
    const CXString csSid = OWN_SID;
    std::mt19937_64 oRandom(1);  // NOLINT(bugprone-random-generator-seed): the same numbers in every run
    for (long l = 0; l < Calls() * 10; ++l) {
        // Every second one has the marks of a token and a slot that is in use.
        const ULONGLONG ullAny = oRandom();
        const ULONGLONG ullForged =
            l % 2 ? ullAny : (ullAny >> 2 & ~0xFFFFULL) | 1ULL << 62 | ullAny % bounds::MAX_CHANNEL_KEYS;
        if (oTokens.Find(ullForged, csSid)) {
            ASSERT_TRUE(setLive.contains(ullForged)) << std::hex << ullForged;
        }
    }
    for (const ULONGLONG ullLive : setLive)
        EXPECT_TRUE(oTokens.Find(ullLive, csSid));
}

TEST(MonitorSoak, CallsOfManyThreadsLeaveNothingBehind) {
    constexpr int THREADS = 32, CHANNELS = 8;
    MonitorBench oBench;
    const XString path = XString(VERSION_PATH) + VTEXT("\\Key");
    oBench.oFake.registry.AddText(path, VTEXT("v"), VTEXT("x"));
    const long lEach = Calls() / THREADS;
    std::atomic<long> lOdd = 0;
    Gate oGate(THREADS);
    std::vector<std::thread> vThreads;
    for (int iThread = 0; iThread < THREADS; ++iThread) {
        vThreads.emplace_back([&, iThread] {
            // A user may have 64 channels at a time.
            oBench.ActAs(XString(VTEXT("S-1-5-21-1-2-3-")) + Wide(std::to_string(2000 + iThread)));
            std::vector<HANDLE> vhChannels;
            for (int i = 0; i < CHANNELS; ++i)
                vhChannels.push_back(oBench.Open());
            oGate.ArriveAndWait();
            const auto Send = [&](long l, const PortMonitorRequest& rRequest, std::span<BYTE> reply) {
                ByteBuffer bbRecord;
                rRequest.AppendTo(bbRecord);
                DWORD cbNeeded = 0;
                return oBench.oChannels.Transceive(vhChannels[static_cast<std::size_t>(l % CHANNELS)],
                                                   VTEXT("xregistry"), bbRecord, reply, cbNeeded);
            };
            // Four calls a round: open, read by the token, close, and a token that is no longer one.
            for (long l = 0; l < lEach / 4; ++l) {
                BYTE abyToken[8] = {}, abyReply[16] = {};
                ULONGLONG ullToken = 0;
                PortMonitorRequest oOpen = MakeRequest(Function::OpenKey, VERSION, VTEXT("Key"));
                oOpen.m_dwAccessMask = 0x20019;
                if (Send(l, oOpen, abyToken) != Status::Success ||
                    !PortMonitorReply::DecodeKeyToken(abyToken, ullToken) ||
                    Send(l, MakeRequest(Function::GetStringValue, ullToken, CXString(), VTEXT("v")), abyReply) !=
                        Status::Success ||
                    Send(l, MakeRequest(Function::CloseKey, ullToken), {}) != Status::Success ||
                    Send(l, MakeRequest(Function::CloseKey, ullToken), {}) != Status::InvalidHandle) {
                    ++lOdd;
                }
                if (l % 1000 == 999) {  // channels come and go
                    HANDLE& rhChannel = vhChannels[static_cast<std::size_t>(l / 1000 % CHANNELS)];
                    if (oBench.oChannels.Close(rhChannel) != Status::Success) ++lOdd;
                    rhChannel = oBench.Open();
                }
            }
            for (const HANDLE hChannel : vhChannels)
                if (oBench.oChannels.Close(hChannel) != Status::Success) ++lOdd;
            oBench.oFake.identity.StopImpersonating();
        });
    }
    for (std::thread& rThread : vThreads)
        rThread.join();
    EXPECT_EQ(lOdd, 0);
    EXPECT_EQ(oBench.oFake.registry.OpenHandles(), 0u);
    EXPECT_EQ(oBench.oFake.identity.OpenTokens(), 0u);
}

}  // namespace

}  // namespace vlm::test
