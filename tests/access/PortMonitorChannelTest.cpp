/// @file
/// The channel: how it is opened, what goes over it, what is made of statuses, and that no reply is believed.
#include <gtest/gtest.h>

#include "access/PortMonitorBench.h"
#include "support/FaultLoop.h"
#include "utilities/utilitiesdll/LoaderLock.h"

namespace {

using namespace vlm;
using namespace vlm::test;

constexpr _HKEYREGISTRY_ MACHINE = HKeyRegistry::Hkey_Machine_Version;
constexpr _HKEYREGISTRY_ USER = HKeyRegistry::Hkey_User_Velom;
constexpr ULONGLONG TOKEN = 0x4123456789ABCDEF;
const CXString NAME = VTEXT("n");

HKEY Key() {
    return reinterpret_cast<HKEY>(static_cast<std::uintptr_t>(TOKEN));
}

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

TEST(PortMonitorChannel, AReplyThatIsNoneLeavesTheOutputAlone) {
    PortMonitorBench oBench;
    VelomPortMonitor m;
    LONG lValue = 77;
    HKEY hKey = nullptr;
    std::vector<CXString> vcsNames(1);
    ValueEnt oEntry{VTEXT("n"), 0, nullptr, 0};
    ByteBuffer bbValues;
    for (const char* const pszHex : {"01", "010000", "0000000000"}) {
        oBench.Reply(FromHex(pszHex));
        EXPECT_FALSE(m.GetLongValue(MACHINE, NAME, NAME, lValue));
        EXPECT_FALSE(m.OpenKey(MACHINE, NAME, 1, hKey));
        EXPECT_FALSE(m.EnumKeyNames(MACHINE, NAME, vcsNames));
        EXPECT_FALSE(m.QueryMultipleValues(MACHINE, NAME, AsSystemEntries(&oEntry), 1, bbValues));
        EXPECT_FALSE(m.DeleteValue(MACHINE, NAME, NAME)) << "an answer where none belongs";
        EXPECT_EQ(m.GetLastStatus(), ToDword(Status::InvalidData));
    }
    EXPECT_TRUE(lValue == 77 && !hKey && vcsNames.size() == 1 && !oEntry.ve_valueptr && bbValues.empty());
}

TEST(PortMonitorChannel, EveryOperationHasItsNumberAndMask) {
    std::string table;
    for (WORD w = 0; w < 64; ++w) {
        const RequestOperation* const pRow = FindRequestOperation(w);
        if (!pRow) continue;
        const DWORD dwMask = pRow->m_dwMask;
        table += std::to_string(w) + Printable(pRow->m_pszName) +
                 (dwMask == 0x20019   ? "R "
                  : dwMask == 0x20006 ? "W "
                  : dwMask == 0x2001F ? "RW "
                                      : "* ");
    }
    EXPECT_EQ(table,
              "0CopyKeyAndSubkeysFromR 1CreateKey* 2OpenKey* 3CloseKeyW 4GetBooleanValueR 5GetLongValueR "
              "6GetLong64ValueR 7GetStringValueR 8GetBytesValueR 10EnumKeyNamesR 11GetCountOfSubKeysR "
              "13GetCountOfValuesR 14SetBooleanValueW 15SetLongValueW 16SetLong64ValueW 17SetStringValueW "
              "18SetBytesValueW 19DeleteValueW 20RenameValueW 21DeleteKeyW 22DeleteKeyAndSubkeys* 24DoesValueExistR "
              "25TestAccess* 26EnumValueNamesR 27QueryMultipleValuesR 28GetClearBooleanValueRW 29GetIncLongValueRW "
              "30GetIncLong64ValueRW ");
}

TEST(PortMonitorChannel, AReplyIsAlsoTakenIntoAFixedBuffer) {
    PortMonitorBench oBench;
    VelomPortMonitor m;
    BYTE abyOutput[4] = {};
    for (const char* const pszHex : {"11223344", "1122334455"}) {
        oBench.Reply(FromHex(pszHex));
        const bool fFits = oBench.vbyReply.size() == sizeof abyOutput;
        DWORD cbNeeded = 99, dwStatus = 99;
        EXPECT_EQ(m.CallVelomPortMonitor(Key(), _XPMRegistryFunction::GetBytesValue, 0x20019, nullptr, NAME, nullptr,
                                         ByteBuffer(), abyOutput, sizeof abyOutput, &cbNeeded, &dwStatus),
                  fFits);
        EXPECT_EQ(cbNeeded, oBench.vbyReply.size());
        EXPECT_EQ(dwStatus, ToDword(fFits ? Status::Success : Status::InsufficientBuffer));
        EXPECT_EQ(ToHex(abyOutput, 4), "11223344");
    }
}

TEST(PortMonitorChannel, WhatTheMonitorWouldTakeForAForgeryIsNotSent) {
    PortMonitorBench oBench;
    const RecordingSink oSink;
    VelomPortMonitor m;
    LONG lValue = 77;
    const CXString csPath = VTEXT("a\\b"), csLong(VTEXT('x'), 300), csNone;
    EXPECT_FALSE(m.GetLongValue(nullptr, NAME, lValue));
    EXPECT_FALSE(m.GetLongValue(HKeyRegistry::Hkey_Local_Machine, csPath, NAME, lValue)) << "a root beyond 9";
    EXPECT_FALSE(m.GetLongValue(static_cast<_HKEYREGISTRY_>(21), csPath, NAME, lValue));
    EXPECT_FALSE(m.GetLongValue(MACHINE, csLong, NAME, lValue));
    EXPECT_FALSE(m.GetLongValue(MACHINE, VTEXT("\\a"), NAME, lValue));
    EXPECT_FALSE(m.GetLongValue(USER, csPath, NAME, lValue, VTEXT("S-1-5-18\\Software")));
    EXPECT_FALSE(m.SetLongValue(MACHINE, csNone, NAME, 1)) << "the base itself is not written";
    EXPECT_FALSE(m.DeleteKeyAndSubkeys(MACHINE, csNone));
    EXPECT_FALSE(m.DeleteKey(Key(), csNone));
    EXPECT_FALSE(m.RenameValue(Key(), NAME, csNone));
    EXPECT_FALSE(m.SetBytesValue(Key(), NAME, ByteBuffer(std::vector<BYTE>(1024 * 1024 + 1))));
    EXPECT_FALSE(m.GetIncLongValue(Key(), NAME, 0, 0, lValue));
    EXPECT_FALSE(m.CopyKeyAndSubkeysFrom(USER, VTEXT("to"), VTEXT("from"))) << "no room for the SID";
    EXPECT_EQ(m.GetLastStatus(), 87u);
    EXPECT_EQ(lValue, 77);
    EXPECT_EQ(oSink.Count("The port monitor did not do this."), 13u);
    EXPECT_EQ(oSink.Count("m_dwLastStatus"), 0u) << "only the monitor's own 87 is a failed assertion";
    // A root that needs a SID is not asked without one.
    oBench.oFake.identity.SetProcessIdentity({});
    EXPECT_FALSE(m.GetLongValue(USER, csPath, NAME, lValue));
    EXPECT_TRUE(m.DoesValueExist(USER, csPath, NAME)) << "no answer is not the answer \"absent\"";
    EXPECT_TRUE(oBench.vvbyInputs.empty());
    // Backslashes that the registry would overlook are no forgery.
    EXPECT_TRUE(m.CopyKeyAndSubkeysFrom(Key(), VTEXT("from\\\\there\\")));
    PortMonitorRequest oSent;
    EXPECT_EQ(PortMonitorRequest::Decode(oBench.vvbyInputs.at(0), oSent), Status::Success);
    EXPECT_EQ(oSent.m_csThird, VTEXT("from\\there"));
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
    EXPECT_EQ(aoEntries[1].ve_valuelen, 0u);
    EXPECT_EQ(CXString(aoEntries[1].ve_valuename), VTEXT("Ab"));
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
    static const ByteBuffer bbReply(
        FromHex("0000000000000000 01000000 00000000 2000000000000000 03000000 00000000 0A"));
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
    const FaultRow aoRows[] = {
        {"a reply that grows",
         [] {
             VelomPortMonitor oMonitor;
             ByteBuffer bbValue;
             const bool fDone = oMonitor.GetBytesValue(HKeyRegistry::Hkey_User_Version, csName, csName, bbValue);
             if (fDone != (bbValue.size() == 2000) || fDone != (oMonitor.GetLastStatus() == 0))
                 throw std::logic_error("neither done nor undone");
             return fDone ? FaultOutcome::Succeeded : FaultOutcome::Failed;
         }},
        {"a list of values",
         [] {
             ValueEnt oEntry{csName, 0, nullptr, 0};
             ByteBuffer bbCompatible;
             const bool fMade =
                 VelomPortMonitor::MakeVALENTArraySpoolerCompatible(AsSystemEntries(&oEntry), 1, bbCompatible);
             const bool fTaken = VelomPortMonitor::UpdateVALENTArrayFromSpooler(AsSystemEntries(&oEntry), 1, bbReply);
             if (fMade == bbCompatible.empty() || fTaken != (oEntry.ve_valuelen == 1))
                 throw std::logic_error("neither done nor undone");
             return fMade && fTaken ? FaultOutcome::Succeeded : FaultOutcome::Failed;
         }},
    };
    RunFaultRows(aoRows, oLoop);
}

}  // namespace
