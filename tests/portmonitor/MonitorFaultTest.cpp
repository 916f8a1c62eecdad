/// @file
/// The client and the registry key, joined to the monitor, while calls and allocations fail: what was asked for is done
/// or refused, an output is the old one or the new one, and no value is a part.
#include <stdexcept>

#include "MonitorBench.h"
#include "environment/PortMonitor.h"
#include "support/FaultLoop.h"
#include "utilities/debuggingandexceptions/VelomExceptions.h"
#include "utilities/registry/RegistryKey.h"
#include "utilities/registry/RegistryMultiValueOperations.h"
#include "utilities/utilitiesdll/VelomUtilities_Registry.h"

namespace vlm::test {

namespace {

constexpr auto VERSION = HKeyRegistry::Hkey_Machine_Version;
constexpr DWORD ALL = RegistryKey::FULL_ACCESS;
const CXString KEY = VTEXT("Key"), SUB = VTEXT("Sub"), KEY_SUB = VTEXT("Key\\Sub"), SOURCE = VTEXT("Source"),
               DEEP = VTEXT("Deep");
const CXString FLAG = VTEXT("flag"), LONG_VALUE = VTEXT("long"), LONG64 = VTEXT("long64"), TEXT_VALUE = VTEXT("text"),
               BYTES = VTEXT("bytes"), NAME = VTEXT("name"), RENAMED = VTEXT("renamed"), ABSENT = VTEXT("absent"),
               CAPITALS = VTEXT("NAME");
const CXString OLD_TEXT = VTEXT("o"), NEW_TEXT = VTEXT("new"), OLD_KEY = VTEXT("Old");
const ByteBuffer OLD_BYTES(FromHex("01")), NEW_BYTES(FromHex("0203")), ONE(FromHex("01000000"));

const XString KEY_PATH = XString(VERSION_PATH) + VTEXT("\\Key"), OLD_PATH = KEY_PATH + VTEXT("\\Old"),
              COPY_PATH = KEY_PATH + VTEXT("\\Deep"), SOURCE_PATH = XString(VERSION_PATH) + VTEXT("\\Source\\Deep"),
              STORAGE = XString(STORAGE_PATH) + VTEXT("\\") + OWN_SID;

/// What there is in the key, and what the operations make of it.
const struct {
    const CXString& kcsName;
    DWORD dwType;
    std::vector<BYTE> vbyOld;
    std::vector<BYTE> vbyNew;
} VALUES[] = {
    {FLAG, RegistryPort::TYPE_BINARY, FromHex("00"), FromHex("01")},
    {LONG_VALUE, RegistryPort::TYPE_DWORD, FromHex("01000000"), FromHex("00000000")},
    {LONG64, RegistryPort::TYPE_QWORD, FromHex("0100000000000000"), FromHex("0000000000000000")},
    {TEXT_VALUE, RegistryPort::TYPE_SZ, FromHex("6F000000"), FromHex("6E00650077000000")},
    {BYTES, RegistryPort::TYPE_BINARY, FromHex("01"), FromHex("0203")},
    {NAME, RegistryPort::TYPE_DWORD, FromHex("01000000"), FromHex("01000000")},
};
constexpr DWORD VALUE_COUNT = 6, KEY_COUNT = 1;

void Prepare(FakePlatform& rFake, const IdentityPort::Identity& rCaller) {
    rFake.identity.SetMisuseFailsTest(false);
    rFake.identity.Impersonate(rCaller);
    rFake.spooler.AddMonitor(VTEXT("Velom Virtualization Port"), VTEXT("q7lrsl.dll"));
    for (const auto& rValue : VALUES)
        rFake.registry.AddValue(KEY_PATH, rValue.kcsName, rValue.dwType, rValue.vbyOld);
    rFake.registry.AddKey(OLD_PATH);
    rFake.registry.AddValue(SOURCE_PATH, BYTES, RegistryPort::TYPE_BINARY, VALUES[4].vbyNew);
    rFake.registry.AddKey(STORAGE);
}

void Check(FakePlatform& rFake, FaultOutcome eOutcome, const IdentityPort::Identity& rCaller) {
    for (const auto& rValue : VALUES) {
        const auto oValue = rFake.registry.ValueAt(KEY_PATH, rValue.kcsName);
        EXPECT_TRUE(!oValue || (oValue->dwType == rValue.dwType &&
                                (oValue->vbyData == rValue.vbyOld || oValue->vbyData == rValue.vbyNew)));
    }
    EXPECT_TRUE(rFake.registry.ValueAt(KEY_PATH, NAME) || rFake.registry.ValueAt(KEY_PATH, RENAMED)) << "lost";
    EXPECT_TRUE(rFake.registry.HasKey(OLD_PATH));
    EXPECT_TRUE(rFake.registry.ValueAt(SOURCE_PATH, BYTES));
    const auto oCopied = rFake.registry.ValueAt(COPY_PATH, BYTES);
    EXPECT_TRUE(!oCopied || oCopied->vbyData == VALUES[4].vbyNew);
    // A restore that failed ends the process: there is nobody left to have an identity.
    IdentityPort::Identity oIdentity;
    EXPECT_EQ(rFake.identity.CurrentIdentity(oIdentity), Status::Success);
    EXPECT_EQ(oIdentity.fImpersonating, !rFake.identity.EndedWith());
    EXPECT_FALSE(rFake.identity.EndedWith() && eOutcome == FaultOutcome::Succeeded);
    EXPECT_EQ(rFake.identity.OpenTokens(), 0u);
    rFake.identity.Impersonate(rCaller);
}

FaultLoop LoopAs(const IdentityPort::Identity& rCaller) {
    FaultLoop oLoop;
    oLoop.vStatuses = {Status::AccessDenied, Status::KeyDeleted};
    oLoop.fnPrepare = [rCaller](FakePlatform& rFake) { Prepare(rFake, rCaller); };
    oLoop.fnCheck = [rCaller](FakePlatform& rFake, FaultOutcome eOutcome) { Check(rFake, eOutcome, rCaller); };
    return oLoop;
}

void Require(bool fHolds, const char* pszWhatDoesNot) {
    if (!fHolds) throw std::logic_error(pszWhatDoesNot);
}

/// An operation that answers whether it was done, or throws what is named for it.
template <class Operation>
auto Doing(Operation operation) {
    return [operation] {
        bool fDone = false;
        Attempt<ExceptionRegistryRequest, ExceptionOutOfMemory>([&] { fDone = operation(); });
        return fDone ? FaultOutcome::Succeeded : FaultOutcome::Failed;
    };
}

// ---- the client, an administrator's ----

/// @return whether it was done; then the output is the new one, else the old one.
template <class T>
bool Took(bool fDone, const T& rOutput, const std::type_identity_t<T>& rOld, const std::type_identity_t<T>& rNew) {
    Require(rOutput == (fDone ? rNew : rOld), "an output is neither old nor new");
    return fDone;
}

/// An operation of a client that answers whether it was done.
template <class Operation>
auto OfClient(Operation operation) {
    return Doing([operation] {
        VelomPortMonitor oMonitor;
        const bool fDone = operation(oMonitor);
        const DWORD dwStatus = oMonitor.GetLastStatus();
        Require(fDone == (dwStatus == 0), "neither done nor refused");
        Require(dwStatus != ToDword(Status::InvalidHandle) && dwStatus != ToDword(Status::InvalidParameter),
                "the request is a mistake, or looks like a forgery");
        return fDone;
    });
}

/// @return whether it was done; then the output is one of the two counts that there are.
template <class Number>
bool IsCounted(bool fDone, const Number& rRead) {
    Require(fDone ? rRead == 0 || rRead == 1 : rRead == 77, "no count");
    return fDone;
}

/// A call in all its forms: input as a buffer and as pointer and size, output as both.
bool CallEveryForm(VelomPortMonitor& m, const XCHAR* pszPath, const auto&... at) {
    DWORD cbNeeded = 77, dwStatus = 77;
    const auto Call = [&](auto&&... data) {
        const bool fDone = m.CallVelomPortMonitor(at..., Function::GetLongValue, 0x20019, pszPath, LONG_VALUE, nullptr,
                                                  data..., &cbNeeded, &dwStatus);
        Require(dwStatus == m.GetLastStatus() && fDone == (dwStatus == 0), "another status than the monitor's");
        Require(!fDone || cbNeeded == sizeof(LONG), "another size than the reply's");
        return fDone;
    };
    const ByteBuffer bbNothing;
    const BYTE* const pbyNothing = nullptr;
    const DWORD cbNothing = 0, cbReply = sizeof(LONG);
    ByteBuffer bbFirst = NEW_BYTES, bbSecond = NEW_BYTES;
    BYTE abyFirst[cbReply] = {}, abySecond[cbReply] = {};
    return Took(Call(bbNothing, bbFirst), bbFirst, bbNothing, ONE) &&
           Took(Call(pbyNothing, cbNothing, bbSecond), bbSecond, bbNothing, ONE) &&
           Took(Call(bbNothing, abyFirst, cbReply), abyFirst[0], 0, 1) &&
           Took(Call(pbyNothing, cbNothing, abySecond, cbReply), abySecond[0], 0, 1);
}

/// By root and path; the registry key's rows do the same by handle.
TEST(MonitorFaults, TheClientsOperationsAreDoneOrNot) {
    const FaultRow aoRows[] = {
        {"flags", OfClient([](VelomPortMonitor& m) {
             bool fRead = false, fConsumed = false;
             return m.SetBooleanValue(VERSION, KEY, FLAG, true) &&
                    Took(m.GetBooleanValue(VERSION, KEY, FLAG, fRead), fRead, false, true) &&
                    Took(m.GetClearBooleanValue(VERSION, KEY, FLAG, fConsumed), fConsumed, false, true);
         })},
        {"numbers", OfClient([](VelomPortMonitor& m) {
             LONG lRead = 77;
             return m.SetLongValue(VERSION, KEY, LONG_VALUE, 0) &&
                    Took(m.GetLongValue(VERSION, KEY, LONG_VALUE, lRead), lRead, 77, 0);
         })},
        {"long numbers", OfClient([](VelomPortMonitor& m) {
             LONGLONG llRead = 77;
             return m.SetLong64Value(VERSION, KEY, LONG64, 0) &&
                    Took(m.GetLong64Value(VERSION, KEY, LONG64, llRead), llRead, 77, 0);
         })},
        {"texts", OfClient([](VelomPortMonitor& m) {
             CXString csRead = OLD_TEXT;
             return m.SetStringValue(VERSION, KEY, TEXT_VALUE, NEW_TEXT) &&
                    Took(m.GetStringValue(VERSION, KEY, TEXT_VALUE, csRead), csRead, OLD_TEXT, NEW_TEXT);
         })},
        {"bytes", OfClient([](VelomPortMonitor& m) {
             ByteBuffer bbRead = OLD_BYTES;
             return m.SetBytesValue(VERSION, KEY, BYTES, NEW_BYTES) &&
                    Took(m.GetBytesValue(VERSION, KEY, BYTES, bbRead), bbRead, OLD_BYTES, NEW_BYTES);
         })},
        {"counters", OfClient([](VelomPortMonitor& m) {
             LONG lRead = 77;
             LONGLONG llRead = 77;
             return IsCounted(m.GetIncLongValue(VERSION, KEY, LONG_VALUE, 5, 2, lRead), lRead) &&
                    IsCounted(m.GetIncLong64Value(VERSION, KEY, LONG64, 5, 2, llRead), llRead);
         })},
        {"a counter that begins", OfClient([](VelomPortMonitor& m) {
             LONG lRead = 77;
             return m.SetLongValue(VERSION, KEY, LONG_VALUE, 0) && m.DeleteValue(VERSION, KEY, LONG_VALUE) &&
                    Took(m.GetIncLongValue(VERSION, KEY, LONG_VALUE, 0, 2, lRead), lRead, 77, 0);
         })},
        {"existence", OfClient([](VelomPortMonitor& m) {
             const bool fAbsent = !m.DoesValueExist(VERSION, KEY, ABSENT);
             Require(fAbsent == (m.GetLastStatus() == ToDword(Status::FileNotFound)), "absent, or not known");
             Require(!fAbsent || m.DoesValueExist(VERSION, KEY, FLAG), "what is there is never absent");
             return m.GetLastStatus() == 0;
         })},
        {"other names", OfClient([](VelomPortMonitor& m) {
             return m.SetLongValue(VERSION, KEY, NAME, 1) && m.RenameValue(VERSION, KEY, NAME, RENAMED);
         })},
        {"lists", OfClient([](VelomPortMonitor& m) {
             std::vector<CXString> vcsKeys{OLD_TEXT}, vcsValues{OLD_TEXT};
             const bool fKeys = m.EnumKeyNames(VERSION, KEY, vcsKeys);
             if (!Took(fKeys, vcsKeys[0], OLD_TEXT, OLD_KEY)) return false;
             const bool fValues = m.EnumValueNames(VERSION, KEY, vcsValues);
             return Took(fValues, vcsValues.size(), 1, VALUE_COUNT);
         })},
        {"counts", OfClient([](VelomPortMonitor& m) {
             DWORD cKeys = 77, cValues = 77;
             return Took(m.GetCountOfSubKeys(VERSION, KEY, cKeys), cKeys, 77, KEY_COUNT) &&
                    Took(m.GetCountOfValues(VERSION, KEY, cValues), cValues, 77, VALUE_COUNT);
         })},
        {"several values", OfClient([](VelomPortMonitor& m) {
             ValueEnt aoEntries[] = {{BYTES, 0, nullptr, 0}, {TEXT_VALUE, 0, nullptr, 0}};
             ByteBuffer bbRead = OLD_BYTES;
             const bool fRead = m.QueryMultipleValues(VERSION, KEY, AsSystemEntries(aoEntries), 2, bbRead);
             Require(fRead || bbRead == OLD_BYTES, "an output is neither old nor new");
             for (const ValueEnt& rEntry : aoEntries)
                 Require(fRead == (rEntry.ve_valueptr != nullptr), "a part of the values");
             return fRead;
         })},
        {"copies", OfClient([](VelomPortMonitor& m) {
             return m.TestAccess(VERSION, KEY, 0x20019) && m.CopyKeyAndSubkeysFrom(VERSION, KEY, SOURCE);
         })},
        {"keys", OfClient([](VelomPortMonitor& m) {
             HKEY hNew = nullptr;
             const bool fMade = m.CreateKey(VERSION, KEY_SUB, ALL, hNew);
             Require(fMade == (hNew != nullptr), "no handle");
             return fMade && m.CloseKey(hNew) && m.DeleteKey(VERSION, KEY_SUB);
         })},
        {"keys below a handle", OfClient([](VelomPortMonitor& m) {
             HKEY hKey = nullptr, hNew = nullptr, hOpened = nullptr;
             const bool fMade = m.OpenKey(VERSION, KEY, ALL, hKey) && m.CreateKey(hKey, SUB, ALL, hNew);
             Require(fMade == (hNew != nullptr), "no handle");
             const bool fOpened = fMade && m.OpenKey(hKey, SUB, ALL, hOpened);
             Require(fOpened == (hOpened != nullptr), "no handle");
             return fOpened && m.TestAccess(hOpened, 0x20019) && m.DeleteKeyAndSubkeys(VERSION, KEY_SUB);
         })},
        {"calls by root", OfClient([](VelomPortMonitor& m) {
             const HKEY hNone = nullptr;
             return CallEveryForm(m, KEY, VERSION, hNone);
         })},
        {"calls by handle", OfClient([](VelomPortMonitor& m) {
             HKEY hKey = nullptr;
             return m.OpenKey(VERSION, KEY, ALL, hKey) && CallEveryForm(m, nullptr, hKey);
         })},
        {"storage", OfClient([](VelomPortMonitor& m) { return m.RemoveLRSDataForUser(OWN_SID) && m.RemoveLRSData(); })},
    };
    RunFaultRows(aoRows, LoopAs(FakeIdentityPort::MakeIdentity(OTHER_SID, IdentityPort::INTEGRITY_HIGH, true)));
}

// ---- the registry key, a standard user's ----

/// A read that succeeded gives the value; one that did not gives the default.
template <class T>
bool IsRead(const RegistryKey& rKey, const T& rRead, const std::type_identity_t<T>& rDefault,
            const std::type_identity_t<T>& rValue) {
    return Took(rKey.GetLastStatus() == 0, rRead, rDefault, rValue);
}

/// An operation of an open key that answers whether it was done, or throws.
template <class Operation>
auto OfKey(bool fDirect, Operation operation) {
    return Doing([fDirect, operation] {
        RegistryKey oKey(VERSION, fDirect, RegistryKey::OWN_TREE);
        oKey.CreateRegistryKey(KEY, ALL);
        const bool fDone = operation(oKey);
        Require(fDone == (oKey.GetLastStatus() == 0), "neither done nor refused");
        return fDone;
    });
}

/// The same of a counter; what was read stays the answer when the next number cannot be written.
bool IsCounted(const RegistryKey& rKey, LONGLONG llRead) {
    const bool fDone = rKey.GetLastStatus() == 0;
    Require(llRead == 0 || llRead == 1 || (llRead == 77 && !fDone), "no count");
    return fDone;
}

class MonitorKeyFaults : public testing::TestWithParam<bool> {};

TEST_P(MonitorKeyFaults, AKeysOperationsAreDoneOrNot) {
    const bool fDirect = GetParam();
    const auto Open = [fDirect](auto operation) { return OfKey(fDirect, operation); };
    const FaultRow aoRows[] = {
        {"flags", Open([](RegistryKey& rKey) {
             rKey.SetBooleanValue(FLAG, true);
             if (!IsRead(rKey, rKey.GetBooleanValue(FLAG, false), false, true)) return false;
             const bool fConsumed = rKey.GetClearBooleanValue(FLAG, false);
             const bool fDone = rKey.GetLastStatus() == 0;
             Require(fConsumed || !fDone, "neither the value nor the default");
             return fDone;
         })},
        {"numbers", Open([](RegistryKey& rKey) {
             rKey.SetLongValue(LONG_VALUE, 0);
             rKey.SetLong64Value(LONG64, 0);
             return IsRead(rKey, rKey.GetLongValue(LONG_VALUE, 77), 77, 0) &&
                    IsRead(rKey, rKey.GetLong64Value(LONG64, 77), 77, 0);
         })},
        {"texts", Open([](RegistryKey& rKey) {
             rKey.SetStringValue(TEXT_VALUE, NEW_TEXT);
             return IsRead(rKey, rKey.GetStringValue(TEXT_VALUE, OLD_TEXT), OLD_TEXT, NEW_TEXT);
         })},
        {"bytes and their type", Open([](RegistryKey& rKey) {
             ByteBuffer bbRead;
             DWORD dwType = 77;
             rKey.SetBytesValue(BYTES, NEW_BYTES);
             return Took(rKey.GetValue(BYTES, bbRead, &dwType), dwType, 77, RegistryKey::TYPE_BYTES) &&
                    Took(rKey.GetBytesValue(BYTES, bbRead), bbRead, ByteBuffer(), NEW_BYTES);
         })},
        {"counters", Open([](RegistryKey& rKey) {
             return IsCounted(rKey, rKey.GetIncLongValue(LONG_VALUE, 77, 2)) &&
                    IsCounted(rKey, rKey.GetIncLong64Value(LONG64, 77, 2));
         })},
        {"existence and deletion", Open([](RegistryKey& rKey) {
             rKey.SetLongValue(LONG_VALUE, 0);
             Require(rKey.DoesValueExist(LONG_VALUE), "what is there is never absent");
             return rKey.GetLastStatus() == 0 && rKey.DeleteValue(LONG_VALUE);
         })},
        {"other names", Open([](RegistryKey& rKey) {
             rKey.SetLongValue(NAME, 1);
             return rKey.RenameValue(NAME, RENAMED);
         })},
        {"lists", Open([](RegistryKey& rKey) {
             std::vector<CXString> vcsKeys{OLD_TEXT}, vcsValues{OLD_TEXT};
             const bool fKeys = rKey.EnumKeyNames(vcsKeys);
             if (!Took(fKeys, vcsKeys.size(), 0, KEY_COUNT)) return false;
             const bool fValues = rKey.EnumValueNames(vcsValues);
             return Took(fValues, vcsValues.size(), 0, VALUE_COUNT);
         })},
        {"counts", Open([](RegistryKey& rKey) {
             return IsRead(rKey, rKey.GetCountOfSubKeys(), 0, KEY_COUNT) &&
                    IsRead(rKey, rKey.GetCountOfValues(), 0, VALUE_COUNT) &&
                    IsRead(rKey, rKey.AnySubKeysExist(), false, true);
         })},
        {"several values", Open([](RegistryKey& rKey) {
             RegistryMultiValueOperations oValues;
             const std::size_t cLong = oValues.Add(LONG_VALUE), cBytes = oValues.Add(BYTES);
             const bool fRead = rKey.QueryMultipleValues(oValues);
             Took(fRead, oValues.GetLong(cLong, 77), 77, 1);
             ByteBuffer bbRead;
             const bool fTaken = oValues.GetBytes(cBytes, bbRead);
             Took(fTaken, bbRead, ByteBuffer(), OLD_BYTES);
             if (fRead && !fTaken) throw std::bad_alloc();
             return fRead;
         })},
        {"copies from a path",
         Open([](RegistryKey& rKey) { return rKey.CopyKeyAndSubkeysFrom(VERSION, SOURCE) && rKey.DeleteKey(DEEP); })},
        {"copies from a key that changed hands", Open([](RegistryKey& rKey) {
             RegistryKey oOpened(VERSION, SOURCE, RegistryKey::DIRECT, RegistryKey::OWN_TREE);
             oOpened.OpenRegistryKey();
             RegistryKey oSource(VERSION, KEY, RegistryKey::DIRECT, RegistryKey::OWN_TREE);
             oSource.OpenRegistryKey();
             oSource = oOpened;
             return rKey.CopyKeyAndSubkeysFrom(oSource) && rKey.DeleteKeyAndSubkeys(DEEP);
         })},
        {"numbers in one go", Doing([fDirect] {
             VelomUtilities::Write32BitValueIntoRegistry(VERSION, KEY, LONG_VALUE, 0, fDirect);
             VelomUtilities::Write64BitValueIntoRegistry(VERSION, KEY, LONG64, 0, fDirect);
             return true;
         })},
        {"a text in one go, and its end", Doing([fDirect] {
             VelomUtilities::WriteStringValueIntoRegistry(VERSION, KEY_SUB, TEXT_VALUE, NEW_TEXT, fDirect);
             return VelomUtilities::DeleteRegistryValue(VERSION, KEY_SUB, TEXT_VALUE, fDirect) &&
                    VelomUtilities::DeleteRegistryKey(VERSION, KEY_SUB, fDirect);
         })},
    };
    RunFaultRows(aoRows, LoopAs(FakeIdentityPort::MakeIdentity(OWN_SID)));
}

/// What fails from some call on cannot be put back.
TEST_P(MonitorKeyFaults, ARenameInCaseAloneLosesNothing) {
    const FaultRow aoRows[] = {
        {"case alone", OfKey(GetParam(), [](RegistryKey& rKey) { return rKey.RenameValue(NAME, CAPITALS); })}};
    FaultLoop oLoop = LoopAs(FakeIdentityPort::MakeIdentity(OWN_SID));
    oLoop.vModes = {FaultMode::FailOnce, FaultMode::ShortOnce};
    RunFaultRows(aoRows, oLoop);
}

INSTANTIATE_TEST_SUITE_P(Ways, MonitorKeyFaults, testing::Values(RegistryKey::DIRECT, RegistryKey::AS_NEEDED),
                         [](const testing::TestParamInfo<bool>& rInfo) {
                             return rInfo.param == RegistryKey::DIRECT ? "Direct" : "Forwarded";
                         });

}  // namespace

}  // namespace vlm::test
