/// @file
/// Many callers at once: on one channel, on channels that close under them, and while long work is under way.
#include <atomic>
#include <thread>

#include "MonitorBench.h"
#include "support/Gate.h"

namespace vlm::test {

namespace {

constexpr auto VERSION = HKeyRegistry::Hkey_Machine_Version;
constexpr int THREADS = 8;

/// Runs the body on several threads that begin together, each impersonating the same user.
template <class Body>
void OnThreads(MonitorBench& rBench, Body body) {
    Gate oGate(THREADS);
    std::vector<std::thread> vThreads;
    for (int i = 0; i < THREADS; ++i) {
        vThreads.emplace_back([&, i] {
            rBench.ActAs(OWN_SID);
            oGate.ArriveAndWait();
            body(i);
            rBench.oFake.identity.StopImpersonating();
        });
    }
    for (std::thread& rThread : vThreads)
        rThread.join();
}

Status SendQuietly(MonitorBench& rBench, HANDLE hChannel, const PortMonitorRequest& rRequest, std::span<BYTE> reply) {
    ByteBuffer bbRecord;
    rRequest.AppendTo(bbRecord);
    DWORD cbNeeded = 0;
    return rBench.oChannels.Transceive(hChannel, VTEXT("xregistry"), bbRecord, reply, cbNeeded);
}

TEST(ConcurrentRequests, NoIncrementIsLost) {
    constexpr int EACH = 300;
    MonitorBench oBench;
    oBench.oFake.registry.AddDword(XString(VERSION_PATH) + VTEXT("\\Key"), VTEXT("n"), 0);
    const HANDLE hShared = oBench.Open();
    const PortMonitorRequest oIncrement = MakeRequest(Function::GetIncLongValue, VERSION, VTEXT("Key"), VTEXT("n"),
                                                      ByteBuffer::createFromLongValue(0x7FFFFFFF));
    std::atomic<int> iFailed = 0;
    std::vector<std::atomic<int>> vSeen(THREADS * EACH);
    OnThreads(oBench, [&](int) {
        for (int i = 0; i < EACH; ++i) {
            BYTE abyReply[4] = {};
            if (SendQuietly(oBench, hShared, oIncrement, abyReply) != Status::Success) ++iFailed;
            LONG lValue = -1;
            PortMonitorReply::DecodeLong(abyReply, lValue);
            if (lValue >= 0 && lValue < THREADS * EACH) ++vSeen[static_cast<std::size_t>(lValue)];
        }
    });
    EXPECT_EQ(iFailed, 0);
    for (const std::atomic<int>& riSeen : vSeen)
        ASSERT_EQ(riSeen, 1);
}

TEST(ConcurrentRequests, ChannelsAndKeysCloseUnderTheirUsers) {
    MonitorBench oBench;
    oBench.oFake.registry.AddText(XString(VERSION_PATH) + VTEXT("\\Key"), VTEXT("v"), VTEXT("x"));
    std::atomic<HANDLE> hChannel{oBench.Open()};
    std::atomic<int> iOdd = 0;
    OnThreads(oBench, [&](int iThread) {
        for (int i = 0; i < 200; ++i) {
            BYTE abyReply[16] = {};
            const HANDLE hMine = hChannel;
            const Status eOpen =
                SendQuietly(oBench, hMine, MakeRequest(Function::CreateKey, VERSION, VTEXT("Key")), {abyReply, 8});
            ULONGLONG ullToken = 0;
            if (eOpen == Status::Success && PortMonitorReply::DecodeKeyToken({abyReply, 8}, ullToken)) {
                const Status eRead = SendQuietly(
                    oBench, hMine, MakeRequest(Function::GetStringValue, ullToken, CXString(), VTEXT("v")), abyReply);
                const Status eClose = SendQuietly(oBench, hMine, MakeRequest(Function::CloseKey, ullToken), {});
                if (eRead != Status::Success && eRead != Status::InvalidHandle) ++iOdd;
                if (eClose != Status::Success && eClose != Status::InvalidHandle) ++iOdd;
            } else if (eOpen != Status::InvalidHandle) {
                ++iOdd;
            }
            if (iThread == 0 && i % 10 == 0) {
                const HANDLE hOld = hChannel.exchange(oBench.Open());
                if (oBench.oChannels.Close(hOld) != Status::Success) ++iOdd;
            }
        }
    });
    EXPECT_EQ(iOdd, 0);
    oBench.oChannels.CloseAll();
    EXPECT_EQ(oBench.oFake.registry.OpenHandles(), 0u);
    EXPECT_EQ(oBench.oFake.identity.OpenTokens(), 0u);
}

TEST(ConcurrentRequests, TreesAreCopiedAndDeletedWhileOthersWriteIntoThem) {
    MonitorBench oBench;
    for (int i = 0; i < 30; ++i)
        oBench.oFake.registry.AddDword(XString(VERSION_PATH) + VTEXT("\\a\\b\\") + Wide(std::to_string(i)), VTEXT("v"),
                                       1);
    const HANDLE hShared = oBench.Open();
    std::atomic<int> iOdd = 0;
    OnThreads(oBench, [&](int iThread) {
        for (int i = 0; i < 20; ++i) {
            PortMonitorRequest oRequest = MakeRequest(Function::SetLongValue, VERSION, VTEXT("a\\b\\new\\key"),
                                                      VTEXT("v"), ByteBuffer::createFromLongValue(i));
            if (iThread % 3 == 0) {
                oRequest = MakeRequest(Function::CopyKeyAndSubkeysFrom, VERSION, VTEXT("c\\d"));
                oRequest.m_csThird = VTEXT("a");
            } else if (iThread % 3 == 1) {
                oRequest = MakeRequest(Function::DeleteKeyAndSubkeys, VERSION, VTEXT("c\\d"));
            }
            const Status eStatus = SendQuietly(oBench, hShared, oRequest, {});
            // What others delete or fill in the middle of it may stop it, and nothing else.
            if (eStatus != Status::Success && eStatus != Status::FileNotFound && eStatus != Status::KeyDeleted &&
                eStatus != Status::AccessDenied) {
                ++iOdd;
            }
        }
    });
    EXPECT_EQ(iOdd, 0);
    oBench.oChannels.CloseAll();
    EXPECT_EQ(oBench.oFake.registry.OpenHandles(), 0u);
}

}  // namespace

}  // namespace vlm::test
