/// @file
/// Whole trees of keys: nothing is followed, nothing is endless, nothing is left open.
#include "utilities/registry/detail/RegistryTree.h"

#include <gtest/gtest.h>

#include "platform/RegistryHandleImpl.h"
#include "platform/RegistryPort.h"
#include "support/FakePlatform.h"
#include "support/FaultLoop.h"

namespace vlm::test {

namespace {

constexpr DWORD ALL = RegistryPort::RIGHTS_ALL;

HKEY Machine() {
    return Registry().RootKey(RegistryPort::Root::LocalMachine);
}

RegistryHandle OpenKey(const XCHAR* pszPath) {
    RegistryHandle oKey;
    EXPECT_EQ(Registry().Open(Machine(), pszPath, ALL, oKey.Receive()), Status::Success);
    return oKey;
}

/// Source\{A\{Deep}, B}, each with a value of its own name.
void AddSource(FakePlatform& rFake) {
    for (const XCHAR* pszKey : {VTEXT("Source"), VTEXT("Source\\A"), VTEXT("Source\\A\\Deep"), VTEXT("Source\\B")}) {
        const XString path = XString(VTEXT("HKEY_LOCAL_MACHINE\\")) + pszKey;
        rFake.registry.AddText(path, VTEXT("Name"), pszKey);
        rFake.registry.AddDword(path, VTEXT(""), 7);
    }
}

bool HasCopy(const FakePlatform& rFake, const XString& rTarget, const XString& rKey) {
    const auto oTarget = rFake.registry.ValueAt(rTarget + rKey, VTEXT("Name"));
    const auto oSource = rFake.registry.ValueAt(VTEXT("HKEY_LOCAL_MACHINE\\Source") + rKey, VTEXT("Name"));
    return oTarget && oSource && oTarget->vbyData == oSource->vbyData && oTarget->dwType == RegistryPort::TYPE_SZ &&
           rFake.registry.ValueAt(rTarget + rKey, VTEXT("")).has_value();
}

class RegistryTreeTest : public testing::Test {
protected:
    RegistryTreeTest() { AddSource(m_oFake); }
    bool Has(const XCHAR* pszKey) const {
        return m_oFake.registry.HasKey(XString(VTEXT("HKEY_LOCAL_MACHINE\\")) + pszKey);
    }

    FakePlatform m_oFake;
    PlatformScope m_oScope{m_oFake.Get()};
};

TEST_F(RegistryTreeTest, LinksGoAndTheirTargetsStay) {
    m_oFake.registry.AddText(VTEXT("HKEY_LOCAL_MACHINE\\Victim\\Below"), VTEXT("v"), VTEXT("precious"));
    m_oFake.registry.AddLink(VTEXT("HKEY_LOCAL_MACHINE\\Source\\A\\Deep\\Link"), VTEXT("HKEY_LOCAL_MACHINE\\Victim"));
    m_oFake.registry.AddLink(VTEXT("HKEY_LOCAL_MACHINE\\Direct"), VTEXT("HKEY_LOCAL_MACHINE\\Victim"));
    EXPECT_EQ(DeleteRegistryTree(Machine(), VTEXT("Source")), Status::Success);
    EXPECT_EQ(DeleteRegistryTree(Machine(), VTEXT("Direct")), Status::Success);
    EXPECT_FALSE(Has(VTEXT("Source")));
    EXPECT_FALSE(Has(VTEXT("Direct")));
    EXPECT_EQ(DeleteRegistryTree(Machine(), nullptr), Status::InvalidParameter);
    EXPECT_TRUE(m_oFake.registry.ValueAt(VTEXT("HKEY_LOCAL_MACHINE\\Victim\\Below"), VTEXT("v")).has_value());
}

TEST_F(RegistryTreeTest, ACopyNeitherReadsNorWritesThroughLinks) {
    m_oFake.registry.AddText(VTEXT("HKEY_LOCAL_MACHINE\\Secret"), VTEXT("v"), VTEXT("secret"));
    m_oFake.registry.AddLink(VTEXT("HKEY_LOCAL_MACHINE\\Source\\A\\Link"), VTEXT("HKEY_LOCAL_MACHINE\\Secret"));
    m_oFake.registry.AddKey(VTEXT("HKEY_LOCAL_MACHINE\\Target"));
    const RegistryHandle oSource = OpenKey(VTEXT("Source")), oTarget = OpenKey(VTEXT("Target"));
    EXPECT_EQ(CopyRegistryTree(oSource.Get(), oTarget.Get()), Status::Success);
    EXPECT_FALSE(Has(VTEXT("Target\\A\\Link")));
    m_oFake.registry.AddLink(VTEXT("HKEY_LOCAL_MACHINE\\Trap\\B"), VTEXT("HKEY_LOCAL_MACHINE\\Secret"));
    const RegistryHandle oTrap = OpenKey(VTEXT("Trap"));
    EXPECT_EQ(CopyRegistryTree(oSource.Get(), oTrap.Get()), Status::AccessDenied);
    EXPECT_FALSE(m_oFake.registry.ValueAt(VTEXT("HKEY_LOCAL_MACHINE\\Secret"), VTEXT("Name")).has_value());
    // A value that would make a link of its key is not written.
    m_oFake.registry.AddValue(VTEXT("HKEY_LOCAL_MACHINE\\Source"), VTEXT("SymbolicLinkValue"), RegistryPort::TYPE_LINK,
                              {1});
    EXPECT_EQ(CopyRegistryTree(oSource.Get(), oTarget.Get()), Status::Success);
    EXPECT_FALSE(m_oFake.registry.ValueAt(VTEXT("HKEY_LOCAL_MACHINE\\Target"), VTEXT("SymbolicLinkValue")).has_value());
}

TEST_F(RegistryTreeTest, EveryLimitHoldsOnBothSides) {
    m_oFake.registry.AddKey(VTEXT("HKEY_LOCAL_MACHINE\\Target"));
    const RegistryHandle oSource = OpenKey(VTEXT("Source")), oTarget = OpenKey(VTEXT("Target"));
    // Three keys below the source, two levels, and their data: four numbers and the four texts with their zeros.
    const ULONGLONG cbData = 4 * 4 + 2 * ((6 + 8 + 13 + 8) + 4);
    const auto Copy = [&](ULONGLONG cKeys, std::size_t cLevels, ULONGLONG cbMost) {
        return CopyRegistryTree(oSource.Get(), oTarget.Get(), {cKeys, cLevels, cbMost});
    };
    EXPECT_EQ(Copy(3, 2, cbData), Status::Success);
    EXPECT_EQ(Copy(2, 2, cbData), Status::NoSystemResources);
    EXPECT_EQ(Copy(3, 1, cbData), Status::NoSystemResources);
    EXPECT_EQ(Copy(3, 2, cbData - 1), Status::NoSystemResources);
    EXPECT_EQ(DeleteRegistryTree(Machine(), VTEXT("Target"), {3, 2, 0}), Status::NoSystemResources);
    EXPECT_TRUE(Has(VTEXT("Target")));
    EXPECT_EQ(DeleteRegistryTree(Machine(), VTEXT("Source"), {4, 1, 0}), Status::NoSystemResources);
    EXPECT_EQ(DeleteRegistryTree(Machine(), VTEXT("Source"), {4, 2, 0}), Status::Success);
}

TEST(RegistryTreeFaults, NothingIsLeftOpenAndASecondRunSucceeds) {
    FaultLoop oLoop;
    oLoop.vStatuses = {Status::AccessDenied, Status::KeyDeleted, Status::NotEnoughMemory};
    oLoop.fnPrepare = [](FakePlatform& rFake) {
        AddSource(rFake);
        rFake.registry.AddKey(VTEXT("HKEY_LOCAL_MACHINE\\Target\\Old\\Older"));
    };
    oLoop.fnRun = [] {
        RegistryHandle oSource, oTarget;
        bool fCreated = false;
        if (Registry().Open(Machine(), VTEXT("Source"), ALL, oSource.Receive()) != Status::Success ||
            Registry().Create(Machine(), VTEXT("Target"), ALL, false, oTarget.Receive(), fCreated) != Status::Success) {
            return FaultOutcome::Failed;
        }
        const Status eCopied = CopyRegistryTree(oSource.Get(), oTarget.Get());
        const Status eDeleted = DeleteRegistryTree(oTarget.Get(), VTEXT("A"));
        return eCopied == Status::Success && eDeleted == Status::Success ? FaultOutcome::Succeeded
                                                                         : FaultOutcome::Failed;
    };
    oLoop.fnCheck = [](FakePlatform& rFake, FaultOutcome eOutcome) {
        EXPECT_TRUE(HasCopy(rFake, VTEXT("HKEY_LOCAL_MACHINE\\Source"), VTEXT("\\A\\Deep")));
        EXPECT_TRUE(rFake.registry.HasKey(VTEXT("HKEY_LOCAL_MACHINE\\Target\\Old\\Older")));
        if (eOutcome == FaultOutcome::Succeeded) {
            EXPECT_FALSE(rFake.registry.HasKey(VTEXT("HKEY_LOCAL_MACHINE\\Target\\A")));
            EXPECT_TRUE(HasCopy(rFake, VTEXT("HKEY_LOCAL_MACHINE\\Target"), VTEXT("\\B")));
        }
    };
    EXPECT_GT(RunFaultLoop(oLoop).ullFaults, 100u);
}

}  // namespace

}  // namespace vlm::test
