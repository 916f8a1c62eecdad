/// @file
/// Symbolic links planted in the family's tree: at every place, for every operation, the key that they lead to stays as
/// it is.  Runs against the platform in memory, and under Windows against the real registry.
#include <map>

#include "MonitorBench.h"
#include "utilities/registry/detail/RegistryTree.h"

namespace vlm::test {

namespace {

enum class Adapter { System, Fake };

class RegistryLinks : public testing::TestWithParam<Adapter> {
protected:
    RegistryLinks() : m_oScope(Ports()) {}

    void SetUp() override {
        m_oFake.identity.SetProcessIdentity(FakeIdentityPort::MakeIdentity(OWN_SID, IdentityPort::INTEGRITY_SYSTEM));
        m_name = Wide("q9-links-" + std::to_string(GetSystemPlatform().pProcess->CurrentProcessId()));
        m_hBase = Make(Machine(), BasePath());
        m_hVictims = Make(Machine(), VictimsPath());
        const HKEY hLeaf = Make(m_hVictims, VTEXT("victim\\inner\\leaf"));
        EXPECT_EQ(Registry().SetValue(hLeaf, VTEXT("secret"), RegistryPort::TYPE_DWORD, "\1\2\3\4", 4),
                  Status::Success);
        Registry().Close(hLeaf);
        m_hVictim = Make(m_hVictims, VTEXT("victim"));
        if (Registry().CreateLink(m_hBase, VTEXT("probe"), m_hVictim) != Status::Success)
            GTEST_SKIP() << "this registry has no links";
        ASSERT_EQ(m_oChannels.Open(SpoolerPort::ACCESS_ADMINISTER, m_hChannel), Status::Success);
    }
    void TearDown() override {
        m_oChannels.CloseAll();
        for (const HKEY hKey : {m_hBase, m_hVictims, m_hVictim})
            EXPECT_EQ(Registry().Close(hKey), Status::Success);
        EXPECT_EQ(DeleteRegistryTree(Machine(), BasePath().c_str()), Status::Success);
        EXPECT_EQ(DeleteRegistryTree(Machine(), VictimsPath().c_str()), Status::Success);
    }

    const Platform& Ports() const { return GetParam() == Adapter::Fake ? m_oFake.Get() : GetSystemPlatform(); }
    RegistryPort& Registry() const { return *Ports().pRegistry; }
    HKEY Machine() const { return Registry().RootKey(RegistryPort::Root::LocalMachine); }
    XString BasePath() const { return VTEXT("Software\\Velom\\") + m_name; }
    XString VictimsPath() const { return VTEXT("Software\\") + m_name; }
    HKEY Make(HKEY hParent, const XString& rPath) const {
        HKEY hKey = nullptr;
        bool fCreated = false;
        EXPECT_EQ(Registry().Create(hParent, rPath.c_str(), RegistryPort::RIGHTS_ALL, false, hKey, fCreated),
                  Status::Success);
        return hKey;
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
        const std::map<RequestData, ByteBuffer> mapData = {
            {RequestData::None, {}},
            {RequestData::Bytes1, ByteBuffer(FromHex("01"))},
            {RequestData::Bytes4, ByteBuffer::createFromLongValue(7)},
            {RequestData::Bytes8, ByteBuffer::createFromLong64Value(7)},
            {RequestData::ValueList, ValueListData({VTEXT("secret")})},
        };
        const auto it = mapData.find(pOperation->m_eData);
        oRequest.m_bbData = it != mapData.end() ? it->second : TextData(VTEXT("other"));
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
