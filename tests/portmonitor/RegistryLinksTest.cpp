/// @file
/// Symbolic links planted in the family's tree: at every place, for every operation, the key that they lead to stays as
/// it is.  Runs against the platform in memory, and under Windows against the real registry.
#include "MonitorBench.h"

namespace vlm::test {

namespace {

enum class Adapter { System, Fake };

class RegistryLinks : public testing::TestWithParam<Adapter> {
protected:
    RegistryLinks() : m_oScope(Ports()) {}

    void SetUp() override {
        m_oFake.identity.SetProcessIdentity(FakeIdentityPort::MakeIdentity(OWN_SID, IdentityPort::INTEGRITY_SYSTEM));
        const HKEY hMachine = Registry().RootKey(RegistryPort::Root::LocalMachine);
        m_name = Wide("q9-links-" + std::to_string(GetSystemPlatform().pProcess->CurrentProcessId()));
        m_hBase = Make(hMachine, VTEXT("Software\\Velom\\") + m_name);
        m_hVictims = Make(hMachine, VTEXT("Software\\") + m_name);
        const HKEY hVictim = Make(m_hVictims, VTEXT("victim\\inner\\leaf"));
        EXPECT_EQ(Registry().SetValue(hVictim, VTEXT("secret"), RegistryPort::TYPE_DWORD, "\1\2\3\4", 4),
                  Status::Success);
        Registry().Close(hVictim);
        m_hVictim = Make(m_hVictims, VTEXT("victim"));
        if (!IsSupported()) GTEST_SKIP() << "this registry has no links";
        ASSERT_EQ(m_oChannels.Open(SpoolerPort::ACCESS_ADMINISTER, m_hChannel), Status::Success);
    }
    void TearDown() override {
        m_oChannels.CloseAll();
        const HKEY hMachine = Registry().RootKey(RegistryPort::Root::LocalMachine);
        for (const HKEY hKey : {m_hBase, m_hVictims}) {
            RemoveBelow(hKey);
            EXPECT_EQ(Registry().Close(hKey), Status::Success);
        }
        Registry().Close(m_hVictim);
        EXPECT_EQ(Registry().DeleteKey(hMachine, (VTEXT("Software\\Velom\\") + m_name).c_str()), Status::Success);
        EXPECT_EQ(Registry().DeleteKey(hMachine, (VTEXT("Software\\") + m_name).c_str()), Status::Success);
    }

    const Platform& Ports() const { return GetParam() == Adapter::Fake ? m_oFake.Get() : GetSystemPlatform(); }
    RegistryPort& Registry() const { return *Ports().pRegistry; }

    bool IsSupported() {
        const Status eStatus = Registry().CreateLink(m_hBase, VTEXT("probe"), m_hVictim);
        return eStatus == Status::Success;
    }
    HKEY Make(HKEY hParent, const XString& rPath) const {
        HKEY hKey = nullptr;
        bool fCreated = false;
        EXPECT_EQ(Registry().Create(hParent, rPath.c_str(), RegistryPort::RIGHTS_ALL, false, hKey, fCreated),
                  Status::Success);
        return hKey;
    }
    /// Deletes everything below, links as links.
    void RemoveBelow(HKEY hKey) const {
        XCHAR szName[256];
        DWORD cName = 256;
        while (Registry().EnumerateKey(hKey, 0, szName, cName) == Status::Success) {
            HKEY hChild = nullptr;
            bool fLink = false;
            ASSERT_EQ(Registry().OpenLink(hKey, szName, RegistryPort::RIGHTS_ALL, hChild, fLink), Status::Success);
            if (!fLink) RemoveBelow(hChild);
            ASSERT_EQ(Registry().DeleteOpenKey(hChild), Status::Success);
            Registry().Close(hChild);
            cName = 256;
        }
    }
    std::string Victim() const { return Dump(Registry(), m_hVictims); }

    FakePlatform m_oFake;
    PlatformScope m_oScope;
    MonitorChannels m_oChannels;
    HANDLE m_hChannel = nullptr;
    XString m_name;
    HKEY m_hBase = nullptr, m_hVictims = nullptr, m_hVictim = nullptr;
};

/// Every operation that can be asked for by root.
std::vector<PortMonitorRequest> AllRequests(const XString& rPath, const XString& rName) {
    std::vector<PortMonitorRequest> vRequests;
    for (WORD wCode = 0; wCode <= 30; ++wCode) {
        const RequestOperation* const pOperation = FindRequestOperation(wCode);
        if (!pOperation || pOperation->m_eEffect == RequestEffect::Close) continue;
        PortMonitorRequest oRequest =
            MakeRequest(pOperation->m_eFunction, HKeyRegistry::Hkey_Machine_Velom, XStringView(rPath));
        if (pOperation->m_eName != RequestName::No) oRequest.m_csValueName = VTEXT("secret");
        switch (pOperation->m_eData) {
            case RequestData::Bytes1:
                oRequest.m_bbData = ByteBuffer(FromHex("01"));
                break;
            case RequestData::Bytes4:
                oRequest.m_bbData = ByteBuffer::createFromLongValue(7);
                break;
            case RequestData::Bytes8:
                oRequest.m_bbData = ByteBuffer::createFromLong64Value(7);
                break;
            case RequestData::Text:
            case RequestData::ValueName:
            case RequestData::Bytes:
                oRequest.m_bbData = TextData(VTEXT("other"));
                break;
            case RequestData::ValueList:
                oRequest.m_bbData = ValueListData({VTEXT("secret")});
                break;
            case RequestData::None:
                break;
        }
        if (pOperation->m_eEffect == RequestEffect::Copy) {
            // Once from there, once to there.
            oRequest.m_csThird = XStringView(rName + VTEXT("\\plain"));
            vRequests.push_back(oRequest);
            std::swap(oRequest.m_csThird, oRequest.m_csKeyPath);
        }
        vRequests.push_back(oRequest);
    }
    return vRequests;
}

TEST_P(RegistryLinks, NoOperationFollowsALinkAtAnyPlaceOfItsPath) {
    const XCHAR* const apszComponents[] = {VTEXT("inner"), VTEXT("leaf"), VTEXT("new")};
    Registry().Close(Make(m_hBase, VTEXT("plain\\x")));
    const std::string victim = Victim();
    // The link stands `iPlace` components below the base, and the path goes on behind it as the victim's tree does.
    XString parent;
    for (int iPlace = 0; iPlace < 3; ++iPlace) {
        const HKEY hParent = parent.empty() ? m_hBase : Make(m_hBase, parent);
        ASSERT_EQ(Registry().CreateLink(hParent, VTEXT("link"), m_hVictim), Status::Success);
        XString path = m_name + VTEXT("\\") + parent + (parent.empty() ? VTEXT("") : VTEXT("\\")) + VTEXT("link");
        for (int iBehind = 0; iBehind <= 3; ++iBehind) {
            for (const PortMonitorRequest& rRequest : AllRequests(path, m_name)) {
                const bool fDelete = FindRequestOperation(static_cast<WORD>(rRequest.m_eFunction))->m_eEffect ==
                                     RequestEffect::DeleteKey;
                const Answer oAnswer = SendRequest(m_oChannels, m_hChannel, rRequest);
                // A link that is to be deleted goes itself, and is put back for the next operation.
                const bool fLinkItself = fDelete && iBehind == 0;
                EXPECT_EQ(oAnswer, fLinkItself ? Status::Success : Status::AccessDenied)
                    << "operation " << static_cast<int>(rRequest.m_eFunction) << ", " << iPlace << " down, " << iBehind
                    << " behind";
                ASSERT_EQ(Victim(), victim);
                if (fLinkItself) {
                    ASSERT_EQ(Registry().CreateLink(hParent, VTEXT("link"), m_hVictim), Status::Success);
                }
            }
            if (iBehind < 3) path += XString(VTEXT("\\")) + apszComponents[iBehind];
        }
        if (!parent.empty()) Registry().Close(hParent);
        parent += parent.empty() ? VTEXT("d") : VTEXT("\\d");
    }
}

TEST_P(RegistryLinks, WholeTreesWithLinksInThem) {
    const HKEY hTree = Make(m_hBase, VTEXT("tree\\below"));
    ASSERT_EQ(Registry().CreateLink(hTree, VTEXT("link"), m_hVictim), Status::Success);
    Registry().Close(hTree);
    const std::string victim = Victim();
    PortMonitorRequest oCopy = MakeRequest(Function::CopyKeyAndSubkeysFrom, HKeyRegistry::Hkey_Machine_Velom,
                                           XStringView(m_name + VTEXT("\\copy")));
    oCopy.m_csThird = XStringView(m_name + VTEXT("\\tree"));
    EXPECT_EQ(SendRequest(m_oChannels, m_hChannel, oCopy), Status::AccessDenied);
    // Into a tree that has a link where the source has a key.
    const HKEY hTarget = Make(m_hBase, VTEXT("target"));
    ASSERT_EQ(Registry().CreateLink(hTarget, VTEXT("sub"), m_hVictim), Status::Success);
    Registry().Close(hTarget);
    Registry().Close(Make(m_hBase, VTEXT("source\\sub\\deep")));
    oCopy.m_csKeyPath = XStringView(m_name + VTEXT("\\target"));
    oCopy.m_csThird = XStringView(m_name + VTEXT("\\source"));
    EXPECT_EQ(SendRequest(m_oChannels, m_hChannel, oCopy), Status::AccessDenied);
    ASSERT_EQ(Victim(), victim);
    // A deletion takes the link and leaves what it leads to.
    EXPECT_EQ(SendRequest(m_oChannels, m_hChannel,
                          MakeRequest(Function::DeleteKeyAndSubkeys, HKeyRegistry::Hkey_Machine_Velom,
                                      XStringView(m_name + VTEXT("\\tree")))),
              Status::Success);
    EXPECT_EQ(Victim(), victim);
    EXPECT_EQ(Dump(Registry(), m_hBase).find("[tree]"), std::string::npos);
}

INSTANTIATE_TEST_SUITE_P(Adapters, RegistryLinks, testing::Values(Adapter::System, Adapter::Fake),
                         [](const testing::TestParamInfo<Adapter>& rInfo) {
                             return rInfo.param == Adapter::System ? "System" : "Fake";
                         });

}  // namespace

}  // namespace vlm::test
