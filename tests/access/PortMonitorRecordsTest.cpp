/// @file
/// Every registry operation of the client: the bytes that it sends, in both of its forms.
#include <gtest/gtest.h>

#include <array>
#include <functional>

#include "access/PortMonitorBench.h"

namespace {

using namespace vlm::test;

constexpr _HKEYREGISTRY_ MACHINE = HKeyRegistry::Hkey_Machine_Version;
constexpr _HKEYREGISTRY_ USER = HKeyRegistry::Hkey_User_Velom;
const char* const SID = "S-1-5-21-1-2-3-1001";
constexpr ULONGLONG TOKEN = 0x4123456789ABCDEF;

HKEY Key() {
    return reinterpret_cast<HKEY>(static_cast<std::uintptr_t>(TOKEN));
}

void Put(std::string& rHex, ULONGLONG ullValue, int iBytes) {
    for (int i = 0; i < iBytes; ++i) {
        const BYTE by = static_cast<BYTE>(ullValue >> (8 * i));
        rHex += ToHex(&by, 1);
    }
}

/// The record as its table says, put together without the library.
std::string Record(WORD wRoot, ULONGLONG ullKey, WORD wCode, DWORD dwMask, const std::array<std::string, 3>& rTexts,
                   const std::string& rDataHex) {
    std::string head;
    std::string body;
    Put(head, 0xD15EA5ED, 4);
    Put(head, wRoot, 2);
    Put(head, 0, 2);
    Put(head, ullKey, 8);
    Put(head, wCode, 2);
    Put(head, 0, 2);
    Put(head, dwMask, 4);
    for (const std::string& rText : rTexts) {
        Put(head, rText.empty() ? 0xFFFFFFFF : 48 + body.size() / 2, 4);
        for (const char ch : rText)
            Put(body, static_cast<BYTE>(ch), 2);
        if (!rText.empty()) Put(body, 0, 2);
    }
    Put(head, rDataHex.size() / 2, 4);
    Put(head, rDataHex.empty() ? 0xFFFFFFFF : 48 + body.size() / 2, 4);
    Put(head, 0, 4);
    return head + body + rDataHex + "0000";
}

/// What the operation gets and gives, whatever its kind.
struct Results {
    bool fBoolean = false;
    LONG lNumber = 0;
    LONGLONG llNumber = 0;
    DWORD dwCount = 0;
    CXString csText;
    ByteBuffer bbBytes;
    HKEY hKey = nullptr;
    std::vector<CXString> vcsNames;
};

struct Row {
    const char* pszOperation;
    WORD wCode;
    DWORD dwMaskByKey;
    DWORD dwMaskByRoot;
    std::string name;
    std::string dataHex;
    std::string replyHex;
    bool fTakesSubKey;
    std::function<bool(VelomPortMonitor&, Results&)> fnByKey;
    std::function<bool(VelomPortMonitor&, Results&, _HKEYREGISTRY_)> fnByRoot;
};

const CXString PATH = VTEXT("a\\b");
const CXString NAME = VTEXT("n");

#define Q9_BY_KEY(call) [](VelomPortMonitor& m, [[maybe_unused]] Results& r) { return m.call; }
#define Q9_BY_ROOT(call) [](VelomPortMonitor& m, [[maybe_unused]] Results& r, _HKEYREGISTRY_ eRoot) { return m.call; }

std::vector<Row> Rows() {
    constexpr DWORD READ = 0x20019, WRITE = 0x20006, BOTH = 0x2001F;
    return {
        {"CreateKey", 1, 0x2001F, 0x2001F, "", "", "EFCDAB8967452341", true,
         Q9_BY_KEY(CreateKey(Key(), PATH, 0x2001F, r.hKey)), Q9_BY_ROOT(CreateKey(eRoot, PATH, 0x2001F, r.hKey))},
        {"OpenKey", 2, 0x20019, 0x20019, "", "", "EFCDAB8967452341", true,
         Q9_BY_KEY(OpenKey(Key(), PATH, 0x20019, r.hKey)), Q9_BY_ROOT(OpenKey(eRoot, PATH, 0x20019, r.hKey))},
        {"CloseKey", 3, WRITE, 0, "", "", "", false, Q9_BY_KEY(CloseKey(Key())), nullptr},
        {"GetBooleanValue", 4, READ, READ, "n", "", "01", false, Q9_BY_KEY(GetBooleanValue(Key(), NAME, r.fBoolean)),
         Q9_BY_ROOT(GetBooleanValue(eRoot, PATH, NAME, r.fBoolean))},
        {"GetLongValue", 5, READ, READ, "n", "", "FEFFFFFF", false, Q9_BY_KEY(GetLongValue(Key(), NAME, r.lNumber)),
         Q9_BY_ROOT(GetLongValue(eRoot, PATH, NAME, r.lNumber))},
        {"GetLong64Value", 6, READ, READ, "n", "", "0100000000000080", false,
         Q9_BY_KEY(GetLong64Value(Key(), NAME, r.llNumber)), Q9_BY_ROOT(GetLong64Value(eRoot, PATH, NAME, r.llNumber))},
        {"GetStringValue", 7, READ, READ, "n", "", "410042000000", false,
         Q9_BY_KEY(GetStringValue(Key(), NAME, r.csText)), Q9_BY_ROOT(GetStringValue(eRoot, PATH, NAME, r.csText))},
        {"GetBytesValue", 8, READ, READ, "n", "", "00FF10", false, Q9_BY_KEY(GetBytesValue(Key(), NAME, r.bbBytes)),
         Q9_BY_ROOT(GetBytesValue(eRoot, PATH, NAME, r.bbBytes))},
        {"EnumKeyNames", 10, READ, READ, "", "", "02000000010041000000", false,
         Q9_BY_KEY(EnumKeyNames(Key(), r.vcsNames)), Q9_BY_ROOT(EnumKeyNames(eRoot, PATH, r.vcsNames))},
        {"GetCountOfSubKeys", 11, READ, READ, "", "", "07000000", false, Q9_BY_KEY(GetCountOfSubKeys(Key(), r.dwCount)),
         Q9_BY_ROOT(GetCountOfSubKeys(eRoot, PATH, r.dwCount))},
        {"GetCountOfValues", 13, READ, READ, "", "", "07000000", false, Q9_BY_KEY(GetCountOfValues(Key(), r.dwCount)),
         Q9_BY_ROOT(GetCountOfValues(eRoot, PATH, r.dwCount))},
        {"SetBooleanValue", 14, WRITE, WRITE, "n", "01", "", false, Q9_BY_KEY(SetBooleanValue(Key(), NAME, true)),
         Q9_BY_ROOT(SetBooleanValue(eRoot, PATH, NAME, true))},
        {"SetLongValue", 15, WRITE, WRITE, "n", "FEFFFFFF", "", false, Q9_BY_KEY(SetLongValue(Key(), NAME, -2)),
         Q9_BY_ROOT(SetLongValue(eRoot, PATH, NAME, -2))},
        {"SetLong64Value", 16, WRITE, WRITE, "n", "0807060504030201", "", false,
         Q9_BY_KEY(SetLong64Value(Key(), NAME, 0x0102030405060708)),
         Q9_BY_ROOT(SetLong64Value(eRoot, PATH, NAME, 0x0102030405060708))},
        {"SetStringValue", 17, WRITE, WRITE, "n", "410042000000", "", false,
         Q9_BY_KEY(SetStringValue(Key(), NAME, VTEXT("AB"))),
         Q9_BY_ROOT(SetStringValue(eRoot, PATH, NAME, VTEXT("AB")))},
        {"SetStringValue, empty", 17, WRITE, WRITE, "n", "0000", "", false,
         Q9_BY_KEY(SetStringValue(Key(), NAME, CXString())), Q9_BY_ROOT(SetStringValue(eRoot, PATH, NAME, CXString()))},
        {"SetBytesValue", 18, WRITE, WRITE, "n", "00FF10", "", false,
         Q9_BY_KEY(SetBytesValue(Key(), NAME, ByteBuffer(FromHex("00FF10")))),
         Q9_BY_ROOT(SetBytesValue(eRoot, PATH, NAME, ByteBuffer(FromHex("00FF10"))))},
        {"SetBytesValue, empty", 18, WRITE, WRITE, "n", "", "", false,
         Q9_BY_KEY(SetBytesValue(Key(), NAME, ByteBuffer())),
         Q9_BY_ROOT(SetBytesValue(eRoot, PATH, NAME, ByteBuffer()))},
        {"DeleteValue", 19, WRITE, WRITE, "n", "", "", false, Q9_BY_KEY(DeleteValue(Key(), NAME)),
         Q9_BY_ROOT(DeleteValue(eRoot, PATH, NAME))},
        {"RenameValue", 20, WRITE, WRITE, "n", "6E00650077000000", "", false,
         Q9_BY_KEY(RenameValue(Key(), NAME, VTEXT("new"))), Q9_BY_ROOT(RenameValue(eRoot, PATH, NAME, VTEXT("new")))},
        {"DeleteKey", 21, WRITE, WRITE, "", "", "", true, Q9_BY_KEY(DeleteKey(Key(), PATH)),
         Q9_BY_ROOT(DeleteKey(eRoot, PATH))},
        {"DeleteKeyAndSubkeys", 22, WRITE, BOTH, "", "", "", true, Q9_BY_KEY(DeleteKeyAndSubkeys(Key(), PATH)),
         Q9_BY_ROOT(DeleteKeyAndSubkeys(eRoot, PATH))},
        {"DoesValueExist", 24, READ, READ, "n", "", "", false, Q9_BY_KEY(DoesValueExist(Key(), NAME)),
         Q9_BY_ROOT(DoesValueExist(eRoot, PATH, NAME))},
        {"TestAccess", 25, 0x2001F, 0x2001F, "", "", "", false, Q9_BY_KEY(TestAccess(Key(), 0x2001F)),
         Q9_BY_ROOT(TestAccess(eRoot, PATH, 0x2001F))},
        {"EnumValueNames", 26, READ, READ, "", "", "00000000", false, Q9_BY_KEY(EnumValueNames(Key(), r.vcsNames)),
         Q9_BY_ROOT(EnumValueNames(eRoot, PATH, r.vcsNames))},
        {"GetClearBooleanValue", 28, BOTH, BOTH, "n", "", "00", false,
         Q9_BY_KEY(GetClearBooleanValue(Key(), NAME, r.fBoolean)),
         Q9_BY_ROOT(GetClearBooleanValue(eRoot, PATH, NAME, r.fBoolean))},
        {"GetIncLongValue", 29, BOTH, BOTH, "n", "03000000", "02000000", false,
         Q9_BY_KEY(GetIncLongValue(Key(), NAME, 5, 3, r.lNumber)),
         Q9_BY_ROOT(GetIncLongValue(eRoot, PATH, NAME, 5, 3, r.lNumber))},
        {"GetIncLong64Value", 30, BOTH, BOTH, "n", "0300000000000000", "0200000000000000", false,
         Q9_BY_KEY(GetIncLong64Value(Key(), NAME, 5, 3, r.llNumber)),
         Q9_BY_ROOT(GetIncLong64Value(eRoot, PATH, NAME, 5, 3, r.llNumber))},
    };
}

std::string OnlyInput(PortMonitorBench& rBench) {
    const std::string hex = rBench.vvbyInputs.size() == 1 ? ToHex(rBench.vvbyInputs[0]) : "not one command";
    rBench.vvbyInputs.clear();
    return hex;
}

TEST(PortMonitorRecords, EveryOperationSendsItsRecordInBothForms) {
    PortMonitorBench oBench;
    VelomPortMonitor oMonitor;
    for (const Row& rRow : Rows()) {
        SCOPED_TRACE(rRow.pszOperation);
        Results oResults;
        oBench.Reply(FromHex(rRow.replyHex));
        EXPECT_TRUE(rRow.fnByKey(oMonitor, oResults));
        EXPECT_EQ(OnlyInput(oBench), Record(0, TOKEN, rRow.wCode, rRow.dwMaskByKey,
                                            {rRow.fTakesSubKey ? "a\\b" : "", rRow.name, ""}, rRow.dataHex));
        if (!rRow.fnByRoot) continue;
        EXPECT_TRUE(rRow.fnByRoot(oMonitor, oResults, MACHINE));
        EXPECT_EQ(OnlyInput(oBench),
                  Record(5, 0, rRow.wCode, rRow.dwMaskByRoot, {"a\\b", rRow.name, ""}, rRow.dataHex));
        EXPECT_TRUE(rRow.fnByRoot(oMonitor, oResults, USER));
        EXPECT_EQ(OnlyInput(oBench),
                  Record(6, 0, rRow.wCode, rRow.dwMaskByRoot, {"a\\b", rRow.name, SID}, rRow.dataHex));
    }
    EXPECT_EQ(oBench.oFake.spooler.Commands().front(), VTEXT("xregistry"));
    EXPECT_EQ(oBench.oFake.spooler.OpenHandles(), 1u) << "one object, one channel";
}

TEST(PortMonitorRecords, ACopyCarriesItsSourceInPlaceOfTheSid) {
    PortMonitorBench oBench;
    VelomPortMonitor oMonitor;
    EXPECT_TRUE(oMonitor.CopyKeyAndSubkeysFrom(Key(), VTEXT("from\\\\there\\")));
    EXPECT_EQ(OnlyInput(oBench), Record(0, TOKEN, 0, 0x20019, {"", "", "from\\there"}, ""));
    EXPECT_TRUE(oMonitor.CopyKeyAndSubkeysFrom(MACHINE, VTEXT("to"), VTEXT("from")));
    EXPECT_EQ(OnlyInput(oBench), Record(5, 0, 0, 0x20019, {"to", "", "from"}, ""));
    EXPECT_FALSE(oMonitor.CopyKeyAndSubkeysFrom(USER, VTEXT("to"), VTEXT("from")));
    EXPECT_EQ(oMonitor.GetLastStatus(), 87u);
    EXPECT_TRUE(oBench.vvbyInputs.empty());
}

TEST(PortMonitorRecords, RepliesReachTheOutputs) {
    PortMonitorBench oBench;
    VelomPortMonitor oMonitor;
    Results r;
    for (const Row& rRow : Rows()) {
        oBench.Reply(FromHex(rRow.replyHex));
        const std::string operation = rRow.pszOperation;
        EXPECT_TRUE(rRow.fnByKey(oMonitor, r)) << operation;
        if (operation == "CreateKey") {
            EXPECT_EQ(r.hKey, Key());
        }
        if (operation == "GetBooleanValue") {
            EXPECT_TRUE(r.fBoolean);
        }
        if (operation == "GetClearBooleanValue") {
            EXPECT_FALSE(r.fBoolean);
        }
        if (operation == "GetLongValue") {
            EXPECT_EQ(r.lNumber, -2);
        }
        if (operation == "GetIncLongValue") {
            EXPECT_EQ(r.lNumber, 2);
        }
        if (operation == "GetLong64Value") {
            EXPECT_EQ(r.llNumber, static_cast<LONGLONG>(0x8000000000000001));
        }
        if (operation == "GetStringValue") {
            EXPECT_EQ(r.csText, VTEXT("AB"));
        }
        if (operation == "GetBytesValue") {
            EXPECT_EQ(ToHex(r.bbBytes.GetVector()), "00FF10");
        }
        if (operation == "EnumKeyNames") {
            EXPECT_EQ(r.vcsNames, (std::vector<CXString>{VTEXT("A"), VTEXT("")}));
        }
        if (operation == "EnumValueNames") {
            EXPECT_TRUE(r.vcsNames.empty());
        }
        if (operation == "GetCountOfSubKeys") {
            EXPECT_EQ(r.dwCount, 7u);
        }
    }
}

TEST(PortMonitorRecords, WhatTheMonitorWouldTakeForAForgeryIsNotSent) {
    PortMonitorBench oBench;
    const RecordingSink oSink;
    VelomPortMonitor m;
    LONG lValue = 77;
    const CXString csLong(VTEXT('x'), 300);
    const CXString csNone;
    EXPECT_FALSE(m.GetLongValue(nullptr, NAME, lValue));
    EXPECT_FALSE(m.GetLongValue(HKeyRegistry::Hkey_Local_Machine, PATH, NAME, lValue)) << "a root beyond 9";
    EXPECT_FALSE(m.GetLongValue(static_cast<_HKEYREGISTRY_>(21), PATH, NAME, lValue));
    EXPECT_FALSE(m.GetLongValue(MACHINE, csLong, NAME, lValue));
    EXPECT_FALSE(m.GetLongValue(MACHINE, VTEXT("\\a"), NAME, lValue));
    EXPECT_FALSE(m.GetLongValue(USER, PATH, NAME, lValue, VTEXT("S-1-5-18\\Software")));
    EXPECT_FALSE(m.SetLongValue(MACHINE, csNone, NAME, 1)) << "the base itself is not written";
    EXPECT_FALSE(m.DeleteKeyAndSubkeys(MACHINE, csNone));
    EXPECT_FALSE(m.DeleteKey(Key(), csNone));
    EXPECT_FALSE(m.RenameValue(Key(), NAME, csNone));
    EXPECT_FALSE(m.SetBytesValue(Key(), NAME, ByteBuffer(std::vector<BYTE>(1024 * 1024 + 1))));
    EXPECT_FALSE(m.GetIncLongValue(Key(), NAME, 0, 0, lValue));
    EXPECT_FALSE(m.GetIncLongValue(Key(), NAME, 2147483647, -1, lValue));
    EXPECT_EQ(m.GetLastStatus(), 87u);
    EXPECT_EQ(lValue, 77);
    EXPECT_TRUE(oBench.vvbyInputs.empty());
    EXPECT_EQ(oSink.Count("The port monitor did not do this."), 13u);
    EXPECT_EQ(oSink.Count("m_dwLastStatus"), 0u) << "only the monitor's own 87 is a failed assertion";
    // A root that needs a SID is not asked without one.
    oBench.oFake.identity.SetProcessIdentity({});
    EXPECT_FALSE(m.GetLongValue(USER, PATH, NAME, lValue));
    EXPECT_TRUE(oBench.vvbyInputs.empty());
    EXPECT_TRUE(m.DoesValueExist(USER, PATH, NAME)) << "no answer is not the answer \"absent\"";
}

TEST(PortMonitorRecords, TheRawFormsAgreeAndFillInWritesWhatItIsGiven) {
    PortMonitorBench oBench;
    oBench.Reply(FromHex("11223344"));
    VelomPortMonitor m;
    const auto eCode = _XPMRegistryFunction::SetLongValue;
    const ByteBuffer bbInput(FromHex("2A000000"));
    const std::string byRoot = Record(5, 0, 15, 0x20006, {"a", "n", ""}, "2A000000");
    const std::string byKey = Record(0, TOKEN, 15, 0x20006, {"", "n", "t"}, "2A000000");
    for (int i = 0; i < 8; ++i) {
        SCOPED_TRACE(i);
        ByteBuffer bbOutput;
        BYTE abyOutput[4] = {};
        DWORD cbNeeded = 99, dwStatus = 99;
        const BYTE* const p = bbInput.data();
        bool fDone = false;
        switch (i) {
            case 0:
                fDone = m.CallVelomPortMonitor(MACHINE, nullptr, eCode, 0x20006, VTEXT("a"), VTEXT("n"), nullptr,
                                               bbInput, bbOutput, &cbNeeded, &dwStatus);
                break;
            case 1:
                fDone = m.CallVelomPortMonitor(MACHINE, nullptr, eCode, 0x20006, VTEXT("a"), VTEXT("n"), nullptr,
                                               bbInput, abyOutput, 4, &cbNeeded, &dwStatus);
                break;
            case 2:
                fDone = m.CallVelomPortMonitor(MACHINE, nullptr, eCode, 0x20006, VTEXT("a"), VTEXT("n"), nullptr, p, 4,
                                               bbOutput, &cbNeeded, &dwStatus);
                break;
            case 3:
                fDone = m.CallVelomPortMonitor(MACHINE, nullptr, eCode, 0x20006, VTEXT("a"), VTEXT("n"), nullptr, p, 4,
                                               abyOutput, 4, &cbNeeded, &dwStatus);
                break;
            case 4:
                fDone = m.CallVelomPortMonitor(Key(), eCode, 0x20006, nullptr, VTEXT("n"), VTEXT("t"), bbInput,
                                               bbOutput, &cbNeeded, &dwStatus);
                break;
            case 5:
                fDone = m.CallVelomPortMonitor(Key(), eCode, 0x20006, nullptr, VTEXT("n"), VTEXT("t"), bbInput,
                                               abyOutput, 4, &cbNeeded, &dwStatus);
                break;
            case 6:
                fDone = m.CallVelomPortMonitor(Key(), eCode, 0x20006, nullptr, VTEXT("n"), VTEXT("t"), p, 4, bbOutput,
                                               &cbNeeded, &dwStatus);
                break;
            default:
                fDone = m.CallVelomPortMonitor(Key(), eCode, 0x20006, nullptr, VTEXT("n"), VTEXT("t"), p, 4, abyOutput,
                                               4, &cbNeeded, &dwStatus);
                break;
        }
        EXPECT_TRUE(fDone);
        EXPECT_EQ(cbNeeded, 4u);
        EXPECT_EQ(dwStatus, 0u);
        EXPECT_EQ(i % 2 == 0 ? ToHex(bbOutput.GetVector()) : ToHex(abyOutput, 4), "11223344");
        EXPECT_EQ(ToHex(oBench.vvbyInputs.back()), i < 4 ? byRoot : byKey);
    }
    ByteBuffer bbRecord(FromHex("FF"));
    EXPECT_TRUE(VelomPortMonitor::FillInXPMRegistryObject(MACHINE, nullptr, _XPMRegistryFunction::GetCountOfValues, 1,
                                                          VTEXT(""), nullptr, nullptr, nullptr, 0, bbRecord));
    EXPECT_EQ(ToHex(bbRecord.GetVector()), Record(5, 0, 13, 1, {"", "", ""}, ""));
    EXPECT_EQ(bbRecord.size(), 50u);
}

}  // namespace
