/// @file
/// A forwarded registry key: what it asks of the port monitor, and what it makes of the answers.
#include <gtest/gtest.h>

#include <vector>

#include "environment/PortMonitor.h"
#include "environment/PortMonitorReply.h"
#include "environment/PortMonitorRequest.h"
#include "support/Bytes.h"
#include "support/FakePlatform.h"
#include "support/RecordingSink.h"
#include "utilities/debuggingandexceptions/VelomExceptions.h"
#include "utilities/registry/RegistryKey.h"
#include "utilities/registry/RegistryMultiValueOperations.h"
#include "utilities/utilitiesdll/VelomUtilities_Registry.h"

namespace vlm::test {

namespace {

constexpr ULONGLONG TOKEN = 0x4000'0000'0001'0002;
constexpr bool AS_NEEDED = RegistryKey::AS_NEEDED, OWN = RegistryKey::OWN_TREE;

/// A caller of few rights, and a monitor that writes down what it is asked and answers with fixed data.
class RegistryKeyForward : public testing::Test {
protected:
    RegistryKeyForward() {
        m_oFake.spooler.AddMonitor(VelomPortMonitor::GetPortMonitorName(), VelomPortMonitor::LOADER_DLL);
        m_oFake.spooler.SetScript([this](XStringView svCommand, std::span<const BYTE> input, std::size_t cbRoom,
                                         std::vector<BYTE>& rvbyOutput) {
            if (svCommand != VTEXT("xregistry")) return Status::Success;
            return Answer(input, cbRoom, rvbyOutput);
        });
    }

    Status Answer(std::span<const BYTE> input, std::size_t cbRoom, std::vector<BYTE>& rvbyOutput) {
        PortMonitorRequest oRequest;
        if (PortMonitorRequest::Decode(input, oRequest) != Status::Success) {
            ADD_FAILURE() << "a request that no monitor takes";
            return Status::InvalidParameter;
        }
        const RequestOperation* const pOperation = FindRequestOperation(static_cast<WORD>(oRequest.m_eFunction));
        ByteBuffer bbReply;
        switch (pOperation->m_eReply) {
            case ReplyLayout::KeyToken:
                bbReply.appendLong64Value(static_cast<LONGLONG>(TOKEN));
                break;
            case ReplyLayout::Boolean:
                bbReply.appendByte(1);
                break;
            case ReplyLayout::Long:
            case ReplyLayout::Count:
                bbReply.appendLongValue(7);
                break;
            case ReplyLayout::Long64:
                bbReply.appendLong64Value(8);
                break;
            case ReplyLayout::Text:
                bbReply.append(CXString(VTEXT("answer"))).appendNullChar();
                break;
            case ReplyLayout::Bytes:
                bbReply.appendByte(9);
                break;
            case ReplyLayout::Names:
                PortMonitorReply::AppendNames(bbReply, {CXString(VTEXT("one")), CXString(VTEXT("two"))});
                break;
            case ReplyLayout::Values: {
                PortMonitorReply::Value aValues[] = {{4, 4, 0}};
                PortMonitorReply::AppendValueEntries(bbReply, aValues);
                bbReply.appendLongValue(11);
                break;
            }
            default:
                break;
        }
        rvbyOutput.assign(bbReply.begin(), bbReply.end());
        if (m_eStatus == Status::Success && cbRoom < rvbyOutput.size()) return Status::InsufficientBuffer;
        m_vRequests.push_back(oRequest);
        if (m_eStatus != Status::Success) rvbyOutput.clear();
        return m_eStatus;
    }

    /// The operations asked for since the last call.
    std::vector<std::string> Asked() {
        std::vector<std::string> vNames;
        for (const PortMonitorRequest& rRequest : m_vRequests)
            vNames.push_back(Printable(FindRequestOperation(static_cast<WORD>(rRequest.m_eFunction))->m_pszName));
        m_vRequests.clear();
        return vNames;
    }

    FakePlatform m_oFake;
    PlatformScope m_oScope{m_oFake.Get()};
    std::vector<PortMonitorRequest> m_vRequests;
    Status m_eStatus = Status::Success;
};

using Names = std::vector<std::string>;

TEST_F(RegistryKeyForward, TheKeyIsOpenedByRootAndUsedByItsNumber) {
    {
        RegistryKey oKey(HKeyRegistry::Hkey_Machine_Version, VTEXT("Sub"), AS_NEEDED, OWN);
        EXPECT_TRUE(oKey.OpenRegistryKey(RegistryKey::READ_WRITE_ACCESS));
        EXPECT_TRUE(oKey.IsForwarded());
        EXPECT_TRUE(oKey.GetPortMonitor());
        ASSERT_EQ(m_vRequests.size(), 1u);
        EXPECT_EQ(m_vRequests[0].m_eRoot, HKeyRegistry::Hkey_Machine_Version);
        EXPECT_EQ(m_vRequests[0].m_csKeyPath, CXString(VTEXT("Sub"))) << "the monitor puts the base path in front";
        EXPECT_EQ(m_vRequests[0].m_dwAccessMask, RegistryKey::READ_WRITE_ACCESS);
        EXPECT_EQ(oKey.GetLongValue(VTEXT("n"), 0), 7);
        EXPECT_EQ(m_vRequests[1].m_ullKeyHandle, TOKEN);
        EXPECT_EQ(m_vRequests[1].m_csValueName, CXString(VTEXT("n")));
        RegistryKey oTaken(oKey);
        EXPECT_FALSE(oKey.GetPortMonitor());
        EXPECT_EQ(oTaken.GetLongValue(VTEXT("n"), 0), 7);
        EXPECT_EQ(oKey.GetLongValue(VTEXT("n"), 5), 5);
    }
    EXPECT_EQ(Asked(), (Names{"OpenKey", "GetLongValue", "GetLongValue", "CloseKey"}));
    EXPECT_EQ(m_oFake.TakenResources(), 0u);
}

TEST_F(RegistryKeyForward, EveryOperationIsTheMonitors) {
    RegistryKey oKey(HKeyRegistry::Hkey_Machine_Version, AS_NEEDED, OWN);
    oKey.CreateRegistryKey(VTEXT("Sub"), RegistryKey::READ_WRITE_ACCESS);
    EXPECT_EQ(Asked(), Names{"CreateKey"});
    ByteBuffer bbData;
    std::vector<CXString> vcsNames;
    RegistryMultiValueOperations oValues;
    oValues.Add(VTEXT("v"));
    EXPECT_TRUE(oKey.GetBooleanValue(VTEXT("v"), false));
    EXPECT_EQ(oKey.GetLong64Value(VTEXT("v"), 0), 8);
    EXPECT_EQ(oKey.GetStringValue(VTEXT("v"), VTEXT("")), CXString(VTEXT("answer")));
    EXPECT_TRUE(oKey.GetBytesValue(VTEXT("v"), bbData));
    EXPECT_EQ(ToHex(bbData.data(), bbData.size()), "09");
    EXPECT_TRUE(oKey.DoesValueExist(VTEXT("v")));
    EXPECT_TRUE(oKey.GetClearBooleanValue(VTEXT("v"), false));
    EXPECT_EQ(oKey.GetIncLongValue(VTEXT("v"), 1, 10), 7);
    EXPECT_EQ(oKey.GetIncLong64Value(VTEXT("v"), 1, 10), 8);
    EXPECT_TRUE(oKey.QueryMultipleValues(oValues));
    EXPECT_EQ(oValues.GetLong(0, 0), 11);
    EXPECT_EQ(Asked(), (Names{"GetBooleanValue", "GetLong64Value", "GetStringValue", "GetBytesValue", "DoesValueExist",
                              "GetClearBooleanValue", "GetIncLongValue", "GetIncLong64Value", "QueryMultipleValues"}));
    oKey.SetBooleanValue(VTEXT("v"), true);
    oKey.SetLongValue(VTEXT("v"), 1);
    oKey.SetLong64Value(VTEXT("v"), 1);
    oKey.SetStringValue(VTEXT("v"), VTEXT(""));
    oKey.SetBytesValue(VTEXT("v"), bbData);
    EXPECT_TRUE(oKey.DeleteValue(VTEXT("v")));
    EXPECT_TRUE(oKey.RenameValue(VTEXT("v"), VTEXT("w")));
    EXPECT_EQ(Asked(), (Names{"SetBooleanValue", "SetLongValue", "SetLong64Value", "SetStringValue", "SetBytesValue",
                              "DeleteValue", "RenameValue"}));
    EXPECT_EQ(oKey.GetCountOfSubKeys(), 7u);
    EXPECT_EQ(oKey.GetCountOfValues(), 7u);
    EXPECT_TRUE(oKey.AnySubKeysExist());
    EXPECT_TRUE(oKey.EnumKeyNames(vcsNames));
    EXPECT_EQ(vcsNames.size(), 2u);
    EXPECT_TRUE(oKey.EnumValueNames(vcsNames));
    EXPECT_TRUE(oKey.DeleteKey(VTEXT("k")));
    EXPECT_TRUE(oKey.DeleteKeyAndSubkeys(VTEXT("k")));
    EXPECT_TRUE(oKey.CopyKeyAndSubkeysFrom(HKeyRegistry::Hkey_Machine_Version, VTEXT("Other")));
    EXPECT_EQ(Asked(), (Names{"GetCountOfSubKeys", "GetCountOfValues", "GetCountOfSubKeys", "EnumKeyNames",
                              "EnumValueNames", "DeleteKey", "DeleteKeyAndSubkeys", "CopyKeyAndSubkeysFrom"}));
    EXPECT_FALSE(oKey.CopyKeyAndSubkeysFrom(HKeyRegistry::Hkey_Current_User, VTEXT("Other")));
    EXPECT_EQ(oKey.GetLastStatus(), ToDword(Status::NotSupported));
    EXPECT_THROW(oKey.SetValue(VTEXT("v"), 7, bbData), ExceptionRegistryRequest);
    EXPECT_EQ(Asked(), Names{});
}

TEST_F(RegistryKeyForward, AFailedReadGivesTheDefaultAndAFailedWriteThrows) {
    RegistryKey oKey(HKeyRegistry::Hkey_Machine_Version, AS_NEEDED, OWN);
    oKey.CreateRegistryKey(VTEXT("Sub"), RegistryKey::READ_WRITE_ACCESS);
    for (const Status eStatus : {Status::FileNotFound, Status::AccessDenied}) {
        m_eStatus = eStatus;
        ByteBuffer bbData;
        EXPECT_TRUE(oKey.GetBooleanValue(VTEXT("v"), true));
        EXPECT_EQ(oKey.GetLongValue(VTEXT("v"), 5), 5);
        EXPECT_EQ(oKey.GetLastStatus(), ToDword(eStatus));
        EXPECT_EQ(oKey.GetStringValue(VTEXT("v"), VTEXT("x")), CXString(VTEXT("x")));
        EXPECT_FALSE(oKey.GetBytesValue(VTEXT("v"), bbData));
        EXPECT_EQ(oKey.DoesValueExist(VTEXT("v")), eStatus != Status::FileNotFound);
        EXPECT_THROW(oKey.SetLongValue(VTEXT("v"), 1), ExceptionRegistryRequest);
        EXPECT_THROW(oKey.SetBooleanValue(VTEXT("v"), true), ExceptionRegistryRequest);
        EXPECT_FALSE(oKey.DeleteKey(VTEXT("k")));
        EXPECT_EQ(oKey.GetCountOfSubKeys(), 0u);
    }
    EXPECT_THROW(VelomUtilities::WriteStringValueIntoRegistry(HKeyRegistry::Hkey_Machine_Velom, VTEXT("k"), VTEXT("v"),
                                                              VTEXT("t")),
                 ExceptionRegistryRequest);
    m_eStatus = Status::Success;
    Asked();
    VelomUtilities::Write32BitValueIntoRegistry(HKeyRegistry::Hkey_Machine_Velom, VTEXT("k"), VTEXT("v"), 1);
    EXPECT_EQ(m_vRequests.at(0).m_csKeyPath, CXString(VTEXT("k")));
    EXPECT_TRUE(VelomUtilities::DeleteRegistryKey(HKeyRegistry::Hkey_Machine_Velom, VTEXT("k")));
    EXPECT_EQ(Asked(), (Names{"SetLongValue", "DeleteKey"}));
}

TEST_F(RegistryKeyForward, OnlyMachineWideKeysOfUnprivilegedCallersAreForwarded) {
    const auto IsForwarded = [](_HKEYREGISTRY_ eHive, bool fDirect) {
        RegistryKey oKey(eHive, fDirect, OWN);
        oKey.InitializeRegistryKey();
        return oKey.IsForwarded();
    };
    for (int i = 0; i < HKeyRegistry::Hkey_Port_Monitor_Key; ++i) {
        const auto eHive = static_cast<_HKEYREGISTRY_>(i);
        EXPECT_EQ(IsForwarded(eHive, AS_NEEDED), i >= 1 && i <= 5) << i;
        EXPECT_FALSE(IsForwarded(eHive, RegistryKey::DIRECT)) << i;
    }
    m_oFake.identity.SetProcessIdentity(
        FakeIdentityPort::MakeIdentity(VTEXT("S-1-5-21-1-1-1-1"), IdentityPort::INTEGRITY_HIGH, true));
    EXPECT_FALSE(IsForwarded(HKeyRegistry::Hkey_Machine_Velom, AS_NEEDED));
    m_oFake.identity.SetProcessIdentity(FakeIdentityPort::MakeIdentity(VTEXT("S-1-5-21-1-1-1-1")));
    m_oFake.process.SetModulePath(nullptr, VTEXT("C:\\Windows\\System32\\spoolsv.exe"));
    EXPECT_FALSE(IsForwarded(HKeyRegistry::Hkey_Machine_Velom, AS_NEEDED));
}

TEST_F(RegistryKeyForward, WithoutAMonitorTheKeyIsOpenedDirectly) {
    m_oFake.spooler.RefuseOpen(static_cast<Status>(SpoolerPort::INVALID_PRINTER_NAME));
    m_oFake.registry.AddDword(VTEXT("HKEY_LOCAL_MACHINE\\Software\\Velom\\Sub"), VTEXT("n"), 4);
    const auto apoKey = RegistryKey::TryOpenRegistryKey(HKeyRegistry::Hkey_Machine_Velom, VTEXT("Sub"));
    ASSERT_TRUE(apoKey);
    EXPECT_FALSE(apoKey->IsForwarded());
    EXPECT_EQ(apoKey->GetLongValue(VTEXT("n"), 0), 4);
}

}  // namespace

}  // namespace vlm::test
