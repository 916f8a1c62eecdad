/// @file
/// Where a registry key is: hives, base paths, the users' tree, impersonation; opening, creating and closing.
#include "utilities/registry/RegistryKey.h"

#include <gtest/gtest.h>

#include "platform/IdentityPort.h"
#include "platform/RegistryPort.h"
#include "support/Bytes.h"
#include "support/FakePlatform.h"
#include "support/FaultLoop.h"
#include "support/RecordingSink.h"
#include "utilities/debuggingandexceptions/VelomExceptions.h"
#include "utilities/registry/RegistryHives.h"
#include "utilities/registry/RegistryMultiValueOperations.h"
#include "utilities/utilitiesdll/VelomUtilities_Registry.h"

namespace vlm::test {

namespace {

constexpr XStringView SID = VTEXT("S-1-5-21-9-8-7-1000");
constexpr bool AS_NEEDED = RegistryKey::AS_NEEDED;
constexpr bool OWN = RegistryKey::OWN_TREE, USERS = RegistryKey::USERS_TREE;

_HKEYREGISTRY_ Hive(int iHive) {
    return static_cast<_HKEYREGISTRY_>(iHive);
}

IdentityPort::Identity Elevated() {
    return FakeIdentityPort::MakeIdentity(SID, IdentityPort::INTEGRITY_HIGH, true);
}

/// An elevated process: nothing is forwarded.
class RegistryKeyTest : public testing::Test {
protected:
    RegistryKeyTest() { m_oFake.identity.SetProcessIdentity(Elevated()); }

    FakePlatform m_oFake;
    PlatformScope m_oScope{m_oFake.Get()};
};

#define Q9_V5 "Software\\Velom\\PrinterDriver\\V5.0"
#define Q9_SID "S-1-5-21-9-8-7-1000"

TEST_F(RegistryKeyTest, EveryHiveHasItsPlace) {
    const struct {
        int iHive;
        bool fUsersTree;
        const char* pszSubKey;
        const char* pszExpected;
    } aRows[] = {
        {1, OWN, "Sub", "HKEY_LOCAL_MACHINE\\" Q9_V5 "\\LowRightsStorage\\Sub"},
        {2, OWN, "Sub", "HKEY_LOCAL_MACHINE\\" Q9_V5 "\\LowRightsStorage\\" Q9_SID "\\Sub"},
        {3, OWN, "Sub", "HKEY_LOCAL_MACHINE\\Software\\Velom\\Sub"},
        {4, OWN, "Sub", "HKEY_LOCAL_MACHINE\\Software\\Velom\\PrinterDriver\\Sub"},
        {4, OWN, "Software\\Velom\\PrinterDriver\\Sub", "HKEY_LOCAL_MACHINE\\Software\\Velom\\PrinterDriver\\Sub"},
        {4, OWN, "SOFTWARE\\VELOM\\printerdriver\\Sub", "HKEY_LOCAL_MACHINE\\Software\\Velom\\PrinterDriver\\Sub"},
        {4, OWN, "", "HKEY_LOCAL_MACHINE\\Software\\Velom\\PrinterDriver"},
        {5, OWN, "Software\\Velom", "HKEY_LOCAL_MACHINE\\" Q9_V5 "\\Software\\Velom"},
        {6, OWN, "Sub", "HKEY_CURRENT_USER\\Software\\Velom\\Sub"},
        {6, USERS, "Sub", "HKEY_USERS\\" Q9_SID "\\Software\\Velom\\Sub"},
        {7, OWN, "Sub", "HKEY_CURRENT_USER\\Software\\Velom\\PrinterDriver\\Sub"},
        {7, USERS, "software\\velom\\PrinterDriver", "HKEY_USERS\\" Q9_SID "\\Software\\Velom\\PrinterDriver"},
        {8, OWN, "Sub", "HKEY_CURRENT_USER\\" Q9_V5 "\\Sub"},
        {8, USERS, "", "HKEY_USERS\\" Q9_SID "\\" Q9_V5},
        {9, OWN, "Sub", "HKEY_CURRENT_USER\\Sub"},
        {9, USERS, "Sub", "HKEY_USERS\\" Q9_SID "\\Sub"},
        {10, OWN, "Sub", "HKEY_CLASSES_ROOT\\Sub"},
        {11, OWN, "Sub", "HKEY_USERS\\Sub"},
        {12, OWN, "Sub", "HKEY_LOCAL_MACHINE\\Sub"},
        {19, OWN, "Sub", "HKEY_CURRENT_USER\\Sub"},
    };
    LONG lMark = 100;
    for (const auto& rRow : aRows) {
        SCOPED_TRACE(testing::Message() << "hive " << rRow.iHive << " '" << rRow.pszSubKey << "'");
        ++lMark;
        RegistryKey oKey(Hive(rRow.iHive), AS_NEEDED, rRow.fUsersTree);
        oKey.CreateRegistryKey(Wide(rRow.pszSubKey).c_str(), RegistryKey::FULL_ACCESS);
        oKey.SetLongValue(VTEXT("mark"), lMark);
        const auto oValue = m_oFake.registry.ValueAt(Wide(rRow.pszExpected), VTEXT("mark"));
        ASSERT_TRUE(oValue);
        EXPECT_EQ(oValue->vbyData[0], lMark);
        EXPECT_FALSE(oKey.IsForwarded());
        EXPECT_EQ(oKey.GetHKeyRegistry(), rRow.iHive);
        EXPECT_EQ(oKey.GetSID().IsEmpty(), rRow.iHive != 2 && !(rRow.fUsersTree && rRow.iHive >= 6 && rRow.iHive <= 9));
        // The same place by another object's own path.
        RegistryKey oAgain(Hive(rRow.iHive), Wide(rRow.pszSubKey).c_str(), AS_NEEDED, rRow.fUsersTree);
        EXPECT_TRUE(oAgain.OpenRegistryKey());
        EXPECT_EQ(oAgain.GetLongValue(VTEXT("mark"), 0), lMark);
    }
    EXPECT_EQ(m_oFake.registry.OpenHandles(), 0u);
}

TEST_F(RegistryKeyTest, HivesWithoutAPlaceStayClosed) {
    for (const int iHive : {0, 13, 14, 15, 16, 17, 18}) {
        RegistryKey oKey(Hive(iHive), VTEXT("Sub"), AS_NEEDED, OWN);
        EXPECT_FALSE(oKey.OpenRegistryKey(RegistryKey::READ_ACCESS, RegistryKey::NO_THROW)) << iHive;
        EXPECT_EQ(oKey.GetLastStatus(), 6u) << iHive;
        EXPECT_THROW(oKey.OpenRegistryKey(), ExceptionRegistryRequest) << iHive;
    }
}

TEST_F(RegistryKeyTest, HivesBeyondTheTableAreRefused) {
    const RecordingSink oSink;
    EXPECT_THROW(RegistryKey(Hive(21), AS_NEEDED, OWN), ExceptionRegistryRequest);
    EXPECT_THROW(RegistryKey(Hive(0xFFFF), VTEXT("Sub"), AS_NEEDED, OWN), ExceptionRegistryRequest);
    EXPECT_EQ(oSink.Count("*Throwing* ExceptionRegistryRequest: Invalid HKeyRegistry (21)"), 1u);
    EXPECT_EQ(RegistryKey::TryOpenRegistryKey(Hive(21), VTEXT("Sub")), nullptr);
    RegistryKey oKey(HKeyRegistry::Hkey_Port_Monitor_Key, AS_NEEDED, OWN);
    EXPECT_EQ(oSink.Count("(hKey != HKeyRegistry::Hkey_Port_Monitor_Key)"), 1u);
    EXPECT_EQ(oSink.Count("HKeyRegistry::Hkey_Port_Monitor_Key is not allowed on this call because we haven't properly "
                          "initialized the RegistryKey object yet!"),
              1u);
    EXPECT_FALSE(oKey.OpenRegistryKey(RegistryKey::READ_ACCESS, RegistryKey::NO_THROW));
}

TEST_F(RegistryKeyTest, WithoutASidTheUsersTreeIsRefused) {
    m_oFake.identity.SetProcessIdentity(FakeIdentityPort::MakeIdentity(VTEXT(""), IdentityPort::INTEGRITY_HIGH, true));
    for (const int iHive : {2, 6, 9}) {
        RegistryKey oKey(Hive(iHive), VTEXT("Sub"), AS_NEEDED, USERS);
        EXPECT_THROW(oKey.CreateRegistryKey(VTEXT("Sub"), RegistryKey::FULL_ACCESS), ExceptionRegistryRequest);
        EXPECT_EQ(oKey.GetLastStatus(), ToDword(Status::NoneMapped));
        EXPECT_EQ(oKey.GetLongValue(VTEXT("v"), 3), 3);
    }
    EXPECT_FALSE(m_oFake.registry.HasKey(VTEXT("HKEY_USERS\\Sub")));
    EXPECT_FALSE(m_oFake.registry.HasKey(VTEXT("HKEY_USERS\\Software")));
}

TEST_F(RegistryKeyTest, OpeningAndCreatingAreReported) {
    const RecordingSink oSink;
    EXPECT_EQ(RegistryKey::TryOpenRegistryKey(Hive(12), VTEXT("None")), nullptr);
    EXPECT_EQ(oSink.Count("Calling RegOpenKeyEx('None')"), 1u);
    EXPECT_EQ(oSink.Count("Failed to open registry key. Code is 2 (0x2) Application="), 1u);
    RegistryKey oKey(Hive(12), VTEXT("None"), AS_NEEDED, OWN);
    EXPECT_THROW(oKey.OpenRegistryKey(), ExceptionRegistryRequest);
    EXPECT_EQ(oSink.Count("*Throwing* ExceptionRegistryRequest: Failed to open registry key. Code is 2 (0x2)"), 1u);
    EXPECT_FALSE(oKey.IsKeyValid());
    EXPECT_TRUE(RegistryKey::CreateRegistryKey(Hive(3), VTEXT("New"), RegistryKey::READ_ACCESS)->IsCreated());
    EXPECT_EQ(oSink.Count("Calling RegCreateKeyEx(Software\\Velom\\New) to get a handle to the key."), 1u);
    m_oFake.registry.Deny(VTEXT("HKEY_LOCAL_MACHINE\\Locked"), RegistryPort::RIGHTS_ALL);
    EXPECT_THROW(RegistryKey::CreateRegistryKey(Hive(12), VTEXT("Locked\\Below"), RegistryKey::FULL_ACCESS),
                 ExceptionRegistryRequest);
    EXPECT_EQ(RegistryKey::CreateRegistryKey(std::nothrow, Hive(12), VTEXT("Locked"), RegistryKey::FULL_ACCESS),
              nullptr);
    EXPECT_EQ(oSink.Count("*Throwing* ExceptionRegistryRequest: RegCreateKeyEx(Locked) failed! Application="), 1u);
    EXPECT_EQ(oSink.Count("Returning a NULL RegistryKey auto_ptr: RegCreateKeyEx(Locked) failed! Application="), 1u);
    EXPECT_EQ(RegistryKey::CreateRegistryKey(std::nothrow, Hive(21), VTEXT("x"), RegistryKey::FULL_ACCESS), nullptr);
}

TEST_F(RegistryKeyTest, AHandleFromElsewhereIsTakenOver) {
    HKEY hKey = nullptr;
    bool fCreated = false;
    RegistryPort& rPort = m_oFake.registry;
    ASSERT_EQ(rPort.Create(rPort.RootKey(RegistryPort::Root::LocalMachine), VTEXT("Mine"), RegistryPort::RIGHTS_ALL,
                           false, hKey, fCreated),
              Status::Success);
    {
        RegistryKey oKey(Hive(0), hKey, AS_NEEDED, OWN);
        EXPECT_TRUE(oKey.IsKeyValid());
        oKey.SetLongValue(VTEXT("n"), 1);
    }
    EXPECT_EQ(m_oFake.registry.OpenHandles(), 0u);
    EXPECT_TRUE(m_oFake.registry.ValueAt(VTEXT("HKEY_LOCAL_MACHINE\\Mine"), VTEXT("n")).has_value());
}

TEST_F(RegistryKeyTest, AFailedCloseIsAFailedAssertion) {
    auto apoKey = RegistryKey::CreateRegistryKey(Hive(12), VTEXT("Sub"), RegistryKey::FULL_ACCESS);
    m_oFake.registry.SetMisuseFailsTest(false);
    m_oFake.registry.DropHandles();
    const RecordingSink oSink;
    apoKey.reset();
    EXPECT_EQ(oSink.Count("RegCloseKey() failed with lResult=6. Application="), 1u);
    EXPECT_EQ(oSink.Count("(0L == lResult)"), 1u);
}

TEST_F(RegistryKeyTest, AnImpersonatedUsersKeysAreInHisHive) {
    m_oFake.identity.Impersonate(FakeIdentityPort::MakeIdentity(VTEXT("S-1-5-21-5-5-5-5")));
    for (const int iHive : {6, 7, 8, 9}) {
        RegistryKey oKey(Hive(iHive), VTEXT("Sub"), AS_NEEDED, OWN);
        oKey.CreateRegistryKey(VTEXT("Sub"), RegistryKey::FULL_ACCESS);
        EXPECT_EQ(oKey.GetHKeyRegistry(), HKeyRegistry::Hkey_Impersonated_User);
        EXPECT_EQ(m_oFake.registry.OpenHandles(), 2u) << "the key and the hive";
    }
    EXPECT_EQ(m_oFake.registry.OpenHandles(), 0u);
    EXPECT_TRUE(m_oFake.registry.HasKey(VTEXT("HKEY_CURRENT_USER\\Software\\Velom\\PrinterDriver\\V5.0\\Sub")));
    // Neither the machine's hives nor the users' tree have to do with it.
    RegistryKey oMachine(Hive(12), VTEXT("Sub"), AS_NEEDED, OWN);
    oMachine.InitializeRegistryKey();
    EXPECT_EQ(oMachine.GetHKeyRegistry(), 12);
}

TEST_F(RegistryKeyTest, WithoutTheImpersonatedHiveTheCurrentUsersServes) {
    m_oFake.identity.Impersonate(FakeIdentityPort::MakeIdentity(VTEXT("S-1-5-21-5-5-5-5")));
    m_oFake.registry.AddKey(VTEXT("HKEY_CURRENT_USER\\Software\\Velom"));
    FaultPlatform oFaults(m_oFake.Get());
    const PlatformScope oScope(oFaults.Get());
    const RecordingSink oSink;
    bool fFellBack = false;
    // The call that opens the hive is one of the first few.
    for (std::uint64_t ullCall = 1; ullCall < 10 && !fFellBack; ++ullCall) {
        RegistryKey oKey(Hive(6), AS_NEEDED, OWN);
        oFaults.Script().Arm(FaultMode::FailOnce, ullCall);
        oKey.OpenRegistryKey(RegistryKey::READ_ACCESS, RegistryKey::NO_THROW);
        oFaults.Script().Disarm();
        fFellBack =
            oSink.Count("RegOpenCurrentUser(MAXIMUM_ALLOWED...) failed...falling back to HKEY_CURRENT_USER. ") == 1;
        if (fFellBack) {
            EXPECT_TRUE(oKey.IsKeyValid());
            EXPECT_EQ(oKey.GetHKeyRegistry(), 6);
        }
    }
    EXPECT_TRUE(fFellBack);
}

TEST_F(RegistryKeyTest, AValueThatKeepsGrowingIsGivenUp) {
    auto apoKey = RegistryKey::CreateRegistryKey(Hive(12), VTEXT("Sub"), RegistryKey::FULL_ACCESS);
    apoKey->SetLongValue(VTEXT("v"), 3);
    RegistryMultiValueOperations oValues;
    oValues.Add(VTEXT("v"));
    FaultPlatform oFaults(m_oFake.Get());
    const PlatformScope oScope(oFaults.Get());
    oFaults.Script().Arm(FaultMode::ShortOnce, 2);
    EXPECT_EQ(apoKey->GetLongValue(VTEXT("v"), 8), 3);
    oFaults.Script().Arm(FaultMode::FailFrom, 2, Status::MoreData);
    const std::uint64_t ullBefore = oFaults.Script().Calls();
    EXPECT_EQ(apoKey->GetLongValue(VTEXT("v"), 8), 8);
    EXPECT_EQ(apoKey->GetLastStatus(), 234u);
    EXPECT_LE(oFaults.Script().Calls() - ullBefore, 6u + RegistryKey::MAX_READ_ATTEMPTS);
    oFaults.Script().Arm(FaultMode::FailFrom, 1, Status::MoreData);
    EXPECT_FALSE(apoKey->QueryMultipleValues(oValues));
    EXPECT_EQ(apoKey->GetLastStatus(), 234u);
    oFaults.Script().Arm(FaultMode::FailOnce, 1, Status::BadDatabase);
    const RecordingSink oSink;
    EXPECT_EQ(apoKey->GetLongValue(VTEXT("v"), 8), 8);
    EXPECT_EQ(oSink.Count("RegQueryValueEx(v) failed unexpectedly! "), 1u);
    oFaults.Script().Disarm();
}

TEST_F(RegistryKeyTest, OneShotWritesAndDeletes) {
    VelomUtilities::Write32BitValueIntoRegistry(Hive(5), VTEXT("Shot"), VTEXT("n"), 0xFFFFFFFE);
    VelomUtilities::Write64BitValueIntoRegistry(Hive(5), VTEXT("Shot"), VTEXT("q"), -1);
    VelomUtilities::WriteStringValueIntoRegistry(Hive(5), VTEXT("Shot"), VTEXT("s"), VTEXT("text"));
    {
        const auto apoKey = RegistryKey::TryOpenRegistryKey(Hive(5), VTEXT("Shot"), RegistryKey::FULL_ACCESS);
        ASSERT_TRUE(apoKey);
        EXPECT_EQ(apoKey->GetLongValue(VTEXT("n"), 0), -2);
        EXPECT_EQ(apoKey->GetLong64Value(VTEXT("q"), 0), -1);
        EXPECT_EQ(apoKey->GetStringValue(VTEXT("s"), VTEXT("")), CXString(VTEXT("text")));
    }
    EXPECT_TRUE(VelomUtilities::DeleteRegistryValue(Hive(5), VTEXT("Shot"), VTEXT("n")));
    EXPECT_FALSE(VelomUtilities::DeleteRegistryValue(Hive(5), VTEXT("None"), VTEXT("n")));
    EXPECT_TRUE(VelomUtilities::DeleteRegistryKey(Hive(5), VTEXT("Shot")));
    EXPECT_FALSE(VelomUtilities::DeleteRegistryKey(Hive(5), VTEXT("")));
    EXPECT_FALSE(VelomUtilities::DeleteRegistryKey(Hive(5), VTEXT("Software\\Velom\\PrinterDriver\\V5.0")));
    EXPECT_TRUE(m_oFake.registry.HasKey(VTEXT("HKEY_LOCAL_MACHINE\\Software\\Velom\\PrinterDriver\\V5.0")));
    m_oFake.registry.Deny(VTEXT("HKEY_LOCAL_MACHINE\\Locked"), RegistryPort::SET_VALUE);
    EXPECT_THROW(VelomUtilities::Write32BitValueIntoRegistry(Hive(12), VTEXT("Locked"), VTEXT("n"), 1),
                 ExceptionRegistryRequest);
}

TEST_F(RegistryKeyTest, TheContextChoosesTheHive) {
    const RecordingSink oSink;
    EXPECT_EQ(VelomUtilities::GetRegistryHiveByContext(), 9);
    m_oFake.process.SetModulePath(nullptr, VTEXT("C:\\Windows\\System32\\spoolsv.exe"));
    EXPECT_EQ(VelomUtilities::GetRegistryHiveByContext(), 12);
    m_oFake.identity.Impersonate(FakeIdentityPort::MakeIdentity(VTEXT("S-1-5-21-5-5-5-5")));
    EXPECT_EQ(VelomUtilities::GetRegistryHiveByContext(), 9);
    EXPECT_EQ(oSink.Texts(), (std::vector<std::string>{
                                 "Application Context - using HKEY_CURRENT_USER",
                                 "Spooler Context - using HKEY_LOCAL_MACHINE",
                                 "Spooler Context (impersonating) - using HKEY_CURRENT_USER",
                             }));
}

TEST_F(RegistryKeyTest, TheUsersHiveIsJudgedByTheProcessAndTheThread) {
    EXPECT_FALSE(RegistryKey::IsHkcuRegistryHiveHkuDotDefault());
    EXPECT_TRUE(RegistryKey::DoesThreadHavePermissiontoWriteToHkcu());
    m_oFake.registry.Deny(VTEXT("HKEY_CURRENT_USER"), RegistryPort::SET_VALUE);
    EXPECT_FALSE(RegistryKey::DoesThreadHavePermissiontoWriteToHkcu());
    m_oFake.identity.SetProcessIdentity(FakeIdentityPort::MakeIdentity(VTEXT("S-1-5-18")));
    m_oFake.identity.Impersonate(FakeIdentityPort::MakeIdentity(VTEXT("S-1-5-21-5-5-5-5")));
    EXPECT_TRUE(RegistryKey::IsHkcuRegistryHiveHkuDotDefault());
}

TEST(RegistryHivesTest, NumbersNamesAndConstantsMeanTheSameHive) {
    _HKEYREGISTRY_ eHive = HKeyRegistry::Hkey_None;
    for (int i = 0; i <= HKeyRegistry::Hkey_Last; ++i) {
        for (const XString& rText : {Wide(std::to_string(i)), XString(RegistryHives::GetName(Hive(i)))}) {
            EXPECT_TRUE(RegistryHives::TryParse(rText, eHive));
            EXPECT_EQ(eHive, i);
        }
    }
    EXPECT_TRUE(RegistryHives::TryParse(VTEXT("hkey_MACHINE_velom"), eHive));
    for (const XCHAR* pszBad : {VTEXT("21"), VTEXT(""), VTEXT("012"), VTEXT("machine-velom "), VTEXT("1 ")})
        EXPECT_FALSE(RegistryHives::TryParse(pszBad, eHive)) << Printable(pszBad);
    EXPECT_EQ(eHive, HKeyRegistry::Hkey_Machine_Velom);
    EXPECT_TRUE(RegistryHives::GetName(Hive(21)).empty());
    EXPECT_EQ(RegistryHives::GetRootName(HKeyRegistry::Hkey_User_Velom, USERS), VTEXT("HKEY_USERS"));
    EXPECT_EQ(RegistryHives::GetBasePath(HKeyRegistry::Hkey_User_Velom), VTEXT("Software\\Velom"));
    EXPECT_EQ(RegistryHives::GetBasePath(HKeyRegistry::Hkey_Local_Machine), VTEXT(""));
}

// ---- every call fails once ----

TEST(RegistryKeyFaults, QuestionsGetTheirAnswerOrTheNeutralOne) {
    const auto Outcome = [](bool fDone) { return fDone ? FaultOutcome::Succeeded : FaultOutcome::Failed; };
    FaultLoop oLoop;
    oLoop.fnPrepare = [](FakePlatform& rFake) {
        rFake.identity.SetProcessIdentity(FakeIdentityPort::MakeIdentity(VTEXT("S-1-5-18")));
        rFake.identity.Impersonate(FakeIdentityPort::MakeIdentity(SID));
    };
    const FaultRow aoRows[] = {
        {"whose hive", [=] { return Outcome(RegistryKey::IsHkcuRegistryHiveHkuDotDefault()); }},
        {"the right to write", [=] { return Outcome(RegistryKey::DoesThreadHavePermissiontoWriteToHkcu()); }},
        {"a base path", [] { return Attempt<ExceptionOutOfMemory>([] { RegistryHives::GetBasePath(Hive(3)); }); }},
        {"keys of an impersonated user",
         [=] {
             bool fDone = false;
             Attempt<ExceptionRegistryRequest, ExceptionOutOfMemory>([&] {
                 const CXString csKey = VTEXT("Made");
                 RegistryKey::CreateRegistryKey(Hive(6), csKey, RegistryKey::FULL_ACCESS)->SetLongValue(csKey, 1);
                 const auto apoMade =
                     RegistryKey::CreateRegistryKey(std::nothrow, Hive(6), csKey, RegistryKey::FULL_ACCESS);
                 const auto apoOpened = RegistryKey::TryOpenRegistryKey(Hive(6), csKey);
                 fDone = apoMade && apoMade->IsKeyValid() && apoOpened && apoOpened->IsKeyValid();
             });
             return Outcome(fDone);
         }},
        {"a hive that does not exist",
         [] {
             return Attempt<ExceptionOutOfMemory>([] {
                 try {
                     RegistryKey oKey(Hive(21), AS_NEEDED, OWN);
                     throw std::logic_error("there is no such hive");
                 } catch (const ExceptionRegistryRequest&) {
                 }
             });
         }},
    };
    RunFaultRows(aoRows, oLoop);
}

}  // namespace

}  // namespace vlm::test
