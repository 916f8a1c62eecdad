/// @file
/// The channel: how it is opened, what is made of statuses, and that no reply is believed.
#include <gtest/gtest.h>

#include <functional>

#include "access/PortMonitorBench.h"
#include "support/FaultLoop.h"
#include "utilities/utilitiesdll/LoaderLock.h"

namespace {

using namespace vlm;
using namespace vlm::test;

constexpr _HKEYREGISTRY_ MACHINE = HKeyRegistry::Hkey_Machine_Version;

TEST(PortMonitorChannel, IsOpenedWithTheRightsOfItsUserWhenItIsNeeded) {
    PortMonitorBench oBench;
    FakeSpoolerPort& rSpooler = oBench.oFake.spooler;
    LONG lValue = 0;
    {
        VelomPortMonitor oMonitor;
        EXPECT_EQ(rSpooler.OpenHandles(), 0u);
        oMonitor.GetLongValue(MACHINE, CXString(), CXString(), lValue);
        EXPECT_EQ(rSpooler.LastAccess(), SpoolerPort::ACCESS_ENUMERATE);
        VelomPortMonitor oMoved(std::move(oMonitor));
        EXPECT_TRUE(oMoved.IsChannelOpen());
        EXPECT_FALSE(oMonitor.IsChannelOpen());  // NOLINT(bugprone-use-after-move): what is left is promised
        oMonitor = std::move(oMoved);
        EXPECT_EQ(rSpooler.OpenHandles(), 1u);
    }
    EXPECT_EQ(rSpooler.OpenHandles(), 0u);
    oBench.oFake.identity.SetProcessIdentity(
        FakeIdentityPort::MakeIdentity(VTEXT("S-1-5-21-1-2-3-500"), IdentityPort::INTEGRITY_HIGH, true));
    EXPECT_TRUE(VelomPortMonitor(true).IsChannelOpen());
    EXPECT_EQ(rSpooler.LastAccess(), SpoolerPort::ACCESS_ADMINISTER);
}

TEST(PortMonitorChannel, WithoutItOperationsFailAndTryAgain) {
    PortMonitorBench oBench;
    oBench.Reply(FromHex("01000000"));
    LONG lValue = 77;
    VelomPortMonitor oMonitor;
    const auto Read = [&] { return oMonitor.GetLongValue(MACHINE, CXString(), CXString(), lValue); };
    {
        const LoaderLockScope oLocked;
        EXPECT_FALSE(Read());
        EXPECT_EQ(oMonitor.GetLastStatus(), ToDword(Status::Busy));
    }
    oBench.oFake.spooler.RefuseOpen(static_cast<Status>(SpoolerPort::UNKNOWN_PORT));
    EXPECT_FALSE(Read());
    EXPECT_EQ(oMonitor.GetLastStatus(), SpoolerPort::UNKNOWN_PORT);
    EXPECT_EQ(lValue, 77);
    oBench.oFake.spooler.RefuseOpen(Status::Success);
    EXPECT_TRUE(Read());
    // The spooler went away: the channel is worth nothing any more, and the next call opens another.
    oBench.oFake.spooler.RefuseTransceive(static_cast<Status>(1722));
    EXPECT_FALSE(Read());
    EXPECT_FALSE(oMonitor.IsChannelOpen());
    oBench.oFake.spooler.RefuseTransceive(Status::Success);
    EXPECT_TRUE(Read());
    EXPECT_EQ(oBench.oFake.spooler.OpenHandles(), 1u);
}

TEST(PortMonitorChannel, StatusesAreToldApart) {
    PortMonitorBench oBench;
    const RecordingSink oSink;
    const struct {
        Status status;
        bool fExists;
        bool fAssertion;
        bool fError;
    } aRows[] = {
        {Status::FileNotFound, false, false, false},    {Status::AccessDenied, true, false, true},
        {Status::InvalidHandle, true, true, true},      {Status::InvalidParameter, true, true, true},
        {Status::NoSystemResources, true, false, true}, {Status::KeyDeleted, true, false, true},
    };
    VelomPortMonitor oMonitor;
    for (const auto& rRow : aRows) {
        SCOPED_TRACE(ToDword(rRow.status));
        const_cast<RecordingSink&>(oSink).Clear();
        oBench.Reply({}, rRow.status);
        LONG lValue = 77;
        EXPECT_FALSE(oMonitor.GetLongValue(MACHINE, VTEXT("a"), VTEXT("n"), lValue));
        EXPECT_EQ(oMonitor.GetLastStatus(), ToDword(rRow.status));
        EXPECT_EQ(lValue, 77);
        EXPECT_EQ(oSink.Count("XcvDataPort - "), 1u);
        EXPECT_EQ(oSink.Count("(m_dwLastStatus != (DWORD)6L) && (m_dwLastStatus != (DWORD)87L)"),
                  rRow.fAssertion ? 1u : 0u);
        std::size_t cOwn = 0;
        for (const RecordingSink::Report& rReport : oSink.Reports()) {
            if (rReport.method != "VelomPortMonitor::GetLongValue") continue;
            ++cOwn;
            EXPECT_EQ(rReport.fError, rRow.fError);
        }
        EXPECT_EQ(cOwn, 1u) << "the failure stands under the operation's name";
        EXPECT_EQ(oMonitor.DoesValueExist(MACHINE, VTEXT("a"), VTEXT("n")), rRow.fExists);
        EXPECT_EQ(oMonitor.GetLastStatus(), ToDword(rRow.status));
    }
}

/// One operation of each reply layout; answers what it wrote to its output.
struct Reader {
    const char* pszLayout;
    std::string goodHex;
    std::function<bool(VelomPortMonitor&, bool& rfTouched)> fnRead;
};

std::vector<Reader> Readers() {
    const CXString csPath = VTEXT("a");
    return {
        {"KeyToken", "EFCDAB8967452341",
         [=](VelomPortMonitor& m, bool& rfTouched) {
             HKEY h = nullptr;
             const bool f = m.OpenKey(MACHINE, csPath, 1, h);
             rfTouched = h != nullptr;
             return f;
         }},
        {"Boolean", "01",
         [=](VelomPortMonitor& m, bool& rfTouched) {
             bool fValue = false;
             const bool f = m.GetBooleanValue(MACHINE, csPath, csPath, fValue);
             rfTouched = fValue;
             return f;
         }},
        {"Long", "01000000",
         [=](VelomPortMonitor& m, bool& rfTouched) {
             LONG l = 0;
             const bool f = m.GetLongValue(MACHINE, csPath, csPath, l);
             rfTouched = l != 0;
             return f;
         }},
        {"Text", "410042000000",
         [=](VelomPortMonitor& m, bool& rfTouched) {
             CXString cs;
             const bool f = m.GetStringValue(MACHINE, csPath, csPath, cs);
             rfTouched = !cs.IsEmpty();
             return f;
         }},
        {"Names", "0200000001004100020042004300",
         [=](VelomPortMonitor& m, bool& rfTouched) {
             std::vector<CXString> v;
             const bool f = m.EnumKeyNames(MACHINE, csPath, v);
             rfTouched = !v.empty();
             return f;
         }},
        {"Values", "0000000000000000 04000000 00000000 2000000000000000 04000000 00000000 01000000",
         [=](VelomPortMonitor& m, bool& rfTouched) {
             ValueEnt oEntry{VTEXT("n"), 0, nullptr, 0};
             ByteBuffer bb;
             const bool f = m.QueryMultipleValues(MACHINE, csPath, AsSystemEntries(&oEntry), 1, bb);
             rfTouched = oEntry.ve_valueptr != nullptr || !bb.empty();
             return f;
         }},
        {"Empty", "",
         [=](VelomPortMonitor& m, bool& rfTouched) {
             rfTouched = false;
             return m.DeleteValue(MACHINE, csPath, csPath);
         }},
    };
}

TEST(PortMonitorChannel, ReplyThatIsNoneLeavesTheOutputAlone) {
    PortMonitorBench oBench;
    VelomPortMonitor oMonitor;
    for (const Reader& rReader : Readers()) {
        SCOPED_TRACE(rReader.pszLayout);
        const std::vector<BYTE> vbyGood = FromHex(rReader.goodHex);
        bool fTouched = false;
        oBench.Reply(vbyGood);
        EXPECT_TRUE(rReader.fnRead(oMonitor, fTouched));
        EXPECT_EQ(fTouched, !vbyGood.empty());
        const auto Refuses = [&](const std::vector<BYTE>& rvbyReply) {
            oBench.Reply(rvbyReply);
            EXPECT_FALSE(rReader.fnRead(oMonitor, fTouched)) << ToHex(rvbyReply);
            EXPECT_FALSE(fTouched) << ToHex(rvbyReply);
            EXPECT_EQ(oMonitor.GetLastStatus(), ToDword(Status::InvalidData)) << ToHex(rvbyReply);
        };
        for (std::size_t cBytes = 0; cBytes < vbyGood.size(); ++cBytes)
            Refuses({vbyGood.begin(), vbyGood.begin() + static_cast<std::ptrdiff_t>(cBytes)});
        std::vector<BYTE> vbyLonger = vbyGood;
        vbyLonger.push_back(1);
        if (vbyLonger.size() > 8 || vbyGood.empty()) Refuses(vbyLonger);
    }
}

TEST(PortMonitorChannel, RepliesThatGrowForEverAreGivenUp) {
    PortMonitorBench oBench;
    VelomPortMonitor oMonitor;
    std::size_t cCalls = 0;
    std::size_t cbGrowth = 100;
    oBench.oFake.spooler.SetScript(
        [&](XStringView, std::span<const BYTE>, std::size_t cbRoom, std::vector<BYTE>& rvbyOutput) {
            ++cCalls;
            rvbyOutput.resize(cbRoom + cbGrowth);
            return Status::InsufficientBuffer;
        });
    ByteBuffer bbValue(FromHex("AA"));
    EXPECT_FALSE(oMonitor.GetBytesValue(MACHINE, CXString(), CXString(), bbValue));
    EXPECT_EQ(cCalls, 5u);
    EXPECT_EQ(oMonitor.GetLastStatus(), ToDword(Status::InsufficientBuffer));
    cCalls = 0;
    cbGrowth = 64 * 1024 * 1024;
    EXPECT_FALSE(oMonitor.GetBytesValue(MACHINE, CXString(), CXString(), bbValue));
    EXPECT_EQ(cCalls, 1u) << "no room is made for what no monitor sends";
    EXPECT_EQ(ToHex(bbValue.GetVector()), "AA");
}

TEST(PortMonitorChannel, AnAbsentCounterBeginsOnThisSide) {
    PortMonitorBench oBench;
    VelomPortMonitor oMonitor;
    std::vector<std::string> vWritten;
    oBench.oFake.spooler.SetScript([&](XStringView, std::span<const BYTE> input, std::size_t, std::vector<BYTE>&) {
        if (input[16] == 29) return Status::FileNotFound;
        vWritten.push_back(ToHex(input.data() + 16, 1) + " " + ToHex(input.data() + input.size() - 6, 4));
        return Status::Success;
    });
    LONG lValue = 0;
    EXPECT_TRUE(oMonitor.GetIncLongValue(MACHINE, VTEXT("a"), VTEXT("n"), 5, 3, lValue));
    EXPECT_EQ(lValue, 5);
    EXPECT_TRUE(oMonitor.GetIncLongValue(MACHINE, VTEXT("a"), VTEXT("n"), 2147483647, 1000, lValue));
    EXPECT_EQ(lValue, 2147483647);
    EXPECT_EQ(vWritten, (std::vector<std::string>{"0F 00000000", "0F 78FDFFFF"}));
}

TEST(PortMonitorChannel, ValueListsTravelWithOffsetsAndComeBackAsPointers) {
    ValueEnt aoEntries[] = {{VTEXT("b"), 0, nullptr, 0}, {VTEXT("Ab"), 0, nullptr, 0}};
    ByteBuffer bbCompatible;
    ASSERT_TRUE(VelomPortMonitor::MakeVALENTArraySpoolerCompatible(AsSystemEntries(aoEntries), 2, bbCompatible));
    const std::string zeros(48, '0');
    EXPECT_EQ(ToHex(bbCompatible.GetVector()),
              "4000000000000000" + zeros + "4400000000000000" + zeros + "62000000" + "410062000000");
    const ByteBuffer bbReply(
        FromHex("0000000000000000 03000000 00000000 4000000000000000 03000000 00000000"
                "0000000000000000 00000000 00000000 4300000000000000 01000000 00000000 0A0B0C"));
    ASSERT_TRUE(VelomPortMonitor::UpdateVALENTArrayFromSpooler(AsSystemEntries(aoEntries), 2, bbReply));
    EXPECT_EQ(ToHex(aoEntries[0].ve_valueptr, aoEntries[0].ve_valuelen), "0A0B0C");
    EXPECT_EQ(aoEntries[0].ve_type, 3u);
    EXPECT_EQ(aoEntries[1].ve_valuelen, 0u);
    EXPECT_EQ(aoEntries[1].ve_type, 1u);
    EXPECT_EQ(CXString(aoEntries[1].ve_valuename), VTEXT("Ab"));
    EXPECT_FALSE(VelomPortMonitor::UpdateVALENTArrayFromSpooler(AsSystemEntries(aoEntries), 1, bbReply));
    EXPECT_FALSE(VelomPortMonitor::UpdateVALENTArrayFromSpooler(nullptr, 2, bbReply));

    const std::vector<ValueEnt> vTooMany(4097, ValueEnt{VTEXT("n"), 0, nullptr, 0});
    ValueEnt oNameless;
    const auto Compatible = [&](const ValueEnt* pEntries, DWORD cEntries) {
        return VelomPortMonitor::MakeVALENTArraySpoolerCompatible(AsSystemEntries(const_cast<ValueEnt*>(pEntries)),
                                                                  cEntries, bbCompatible);
    };
    EXPECT_TRUE(Compatible(vTooMany.data(), 4096));
    EXPECT_FALSE(Compatible(vTooMany.data(), 4097));
    EXPECT_TRUE(bbCompatible.empty());
    EXPECT_FALSE(Compatible(&oNameless, 1));
    EXPECT_FALSE(Compatible(aoEntries, 0));
    EXPECT_FALSE(Compatible(nullptr, 1));
}

TEST(PortMonitorChannel, WhateverFailsTheOutputIsOldOrNew) {
    static const CXString csName = VTEXT("n");
    FaultLoop oLoop;
    oLoop.vStatuses = {Status::AccessDenied, static_cast<Status>(1726)};
    oLoop.fnPrepare = [](FakePlatform& rFake) {
        rFake.spooler.AddMonitor(MONITOR_NAME, VTEXT("q7lrsl.dll"));
        rFake.spooler.SetScript(
            [](XStringView, std::span<const BYTE>, std::size_t cbRoom, std::vector<BYTE>& rvbyOutput) {
                rvbyOutput.assign(2000, 'x');
                return cbRoom < 2000 ? Status::InsufficientBuffer : Status::Success;
            });
    };
    oLoop.fnRun = [] {
        VelomPortMonitor oMonitor;
        ByteBuffer bbValue;
        const bool fDone = oMonitor.GetBytesValue(HKeyRegistry::Hkey_User_Version, csName, csName, bbValue);
        if (fDone != (bbValue.size() == 2000) || fDone != (oMonitor.GetLastStatus() == 0))
            throw std::logic_error("neither done nor undone");
        return fDone ? FaultOutcome::Succeeded : FaultOutcome::Failed;
    };
    EXPECT_GT(RunFaultLoop(oLoop).ullCalls, 3u);
}

}  // namespace
