/// @file
/// The contract of the registry port.
#include <algorithm>
#include <vector>

#include "PortContract.h"

namespace vlm::test {

namespace {

using Root = RegistryPort::Root;
constexpr DWORD READ = RegistryPort::RIGHTS_READ, WRITE = RegistryPort::RIGHTS_WRITE, ALL = RegistryPort::RIGHTS_ALL;

class RegistryPortContract : public PortContract {
protected:
    void SetUp() override {
        PortContract::SetUp();
        m_path = VTEXT("Software\\") + UniqueName();
        m_hKey = Make(Registry().RootKey(Root::CurrentUser), m_path);
        ASSERT_NE(m_hKey, nullptr);
    }
    void TearDown() override {
        DeleteTree(m_hKey);
        EXPECT_EQ(Registry().Close(m_hKey), Status::Success);
        const HKEY hRoot = Registry().RootKey(Root::CurrentUser);
        EXPECT_EQ(Registry().DeleteKey(hRoot, m_path.c_str()), Status::Success);
    }

    RegistryPort& Registry() const { return *Ports().pRegistry; }
    HKEY Make(HKEY hParent, const XString& rPath, DWORD dwRights = ALL, bool fVolatile = false) const {
        HKEY hKey = nullptr;
        bool fCreated = false;
        EXPECT_EQ(Registry().Create(hParent, rPath.c_str(), dwRights, fVolatile, hKey, fCreated), Status::Success);
        return hKey;
    }
    Status TryOpen(HKEY hParent, const XCHAR* pszSubKey, DWORD dwRights = READ) const {
        HKEY hKey = nullptr;
        const Status eStatus = Registry().Open(hParent, pszSubKey, dwRights, hKey);
        if (eStatus == Status::Success) {
            EXPECT_EQ(Registry().Close(hKey), Status::Success);
        }
        return eStatus;
    }
    void DeleteTree(HKEY hKey) const {
        for (const XString& rName : KeyNames(hKey)) {
            HKEY hChild = nullptr;
            EXPECT_EQ(Registry().Open(hKey, rName.c_str(), ALL, hChild), Status::Success);
            DeleteTree(hChild);
            EXPECT_EQ(Registry().Close(hChild), Status::Success);
            EXPECT_EQ(Registry().DeleteKey(hKey, rName.c_str()), Status::Success);
        }
    }
    std::vector<XString> KeyNames(HKEY hKey) const {
        std::vector<XString> vNames;
        XCHAR szName[256];
        DWORD cName = 256;
        while (Registry().EnumerateKey(hKey, static_cast<DWORD>(vNames.size()), szName, cName) == Status::Success) {
            vNames.emplace_back(szName, cName);
            EXPECT_EQ(szName[cName], 0);
            cName = 256;
        }
        return vNames;
    }
    Status Set(const XCHAR* pszName, DWORD dwType, std::string_view svData) const {
        return Registry().SetValue(m_hKey, pszName, dwType, svData.data(), static_cast<DWORD>(svData.size()));
    }
    std::string Get(const XCHAR* pszName, DWORD dwType) const {
        std::string data(64, '#');
        DWORD dwActual = 99, cb = 64;
        EXPECT_EQ(Registry().QueryValue(m_hKey, pszName, dwActual, data.data(), cb), Status::Success);
        EXPECT_EQ(dwActual, dwType);
        data.resize(cb);
        return data;
    }

    XString m_path;
    HKEY m_hKey = nullptr;
};

TEST_P(RegistryPortContract, KeysAreMadeWithAllAboveThemAndFoundWithoutCase) {
    HKEY hKey = nullptr;
    bool fCreated = false;
    EXPECT_EQ(Registry().Create(m_hKey, VTEXT("One\\Two\\\\Three\\"), ALL, false, hKey, fCreated), Status::Success);
    EXPECT_TRUE(fCreated);
    EXPECT_EQ(Registry().Close(hKey), Status::Success);
    EXPECT_EQ(Registry().Create(m_hKey, VTEXT("ONE\\two\\THREE"), ALL, false, hKey, fCreated), Status::Success);
    EXPECT_FALSE(fCreated);
    EXPECT_EQ(Registry().Close(hKey), Status::Success);
    EXPECT_EQ(KeyNames(m_hKey), std::vector<XString>{VTEXT("One")});
    EXPECT_EQ(TryOpen(m_hKey, VTEXT("one\\TWO\\three")), Status::Success);
    EXPECT_EQ(TryOpen(m_hKey, VTEXT("one\\..\\one")), Status::FileNotFound);
    EXPECT_EQ(TryOpen(m_hKey, VTEXT("four")), Status::FileNotFound);
    EXPECT_EQ(TryOpen(m_hKey, VTEXT("\\one")), Status::BadPathName);
    EXPECT_EQ(TryOpen(m_hKey, VTEXT("")), Status::Success);
    EXPECT_EQ(TryOpen(m_hKey, nullptr), Status::Success);
    EXPECT_EQ(Registry().Create(m_hKey, nullptr, ALL, false, hKey, fCreated), Status::InvalidParameter);
    const XString longest(RegistryPort::MAX_KEY_NAME, VTEXT('k'));
    EXPECT_EQ(Registry().Close(Make(m_hKey, longest)), Status::Success);
    EXPECT_EQ(Registry().Create(m_hKey, (longest + VTEXT('k')).c_str(), ALL, false, hKey, fCreated),
              Status::InvalidParameter);
}

TEST_P(RegistryPortContract, ValuesComeBackAsTheyWereStored) {
    const std::string bytes("\0\1\xFF", 3);
    EXPECT_EQ(Set(VTEXT("Bytes"), RegistryPort::TYPE_BINARY, bytes), Status::Success);
    EXPECT_EQ(Set(nullptr, RegistryPort::TYPE_DWORD, "1234"), Status::Success);
    EXPECT_EQ(Set(VTEXT("Empty"), RegistryPort::TYPE_NONE, ""), Status::Success);
    EXPECT_EQ(Set(VTEXT("Odd\\\u20AC"), 4711, "x"), Status::Success);
    EXPECT_EQ(Get(VTEXT("bytes"), RegistryPort::TYPE_BINARY), bytes);
    EXPECT_EQ(Get(VTEXT(""), RegistryPort::TYPE_DWORD), "1234");
    EXPECT_EQ(Get(VTEXT("EMPTY"), RegistryPort::TYPE_NONE), "");
    EXPECT_EQ(Get(VTEXT("Odd\\\u20AC"), 4711), "x");
    // A new value of another type takes the old one's place, not its name's case.
    EXPECT_EQ(Set(VTEXT("BYTES"), RegistryPort::TYPE_SZ, std::string("a\0\0\0", 4)), Status::Success);
    EXPECT_EQ(Get(VTEXT("Bytes"), RegistryPort::TYPE_SZ), std::string("a\0\0\0", 4));
    EXPECT_EQ(Registry().DeleteValue(m_hKey, VTEXT("bYTES")), Status::Success);
    EXPECT_EQ(Registry().DeleteValue(m_hKey, VTEXT("Bytes")), Status::FileNotFound);
    EXPECT_EQ(Registry().SetValue(m_hKey, VTEXT("x"), 3, nullptr, 1), Status::NoAccess);
    const XString longest(RegistryPort::MAX_VALUE_NAME, VTEXT('v'));
    EXPECT_EQ(Set(longest.c_str(), 3, "long"), Status::Success);
    EXPECT_EQ(Get(longest.c_str(), 3), "long");
    EXPECT_EQ(Set((longest + VTEXT('v')).c_str(), 3, ""), Status::InvalidParameter);
}

TEST_P(RegistryPortContract, AQueryTellsTheSizeItNeeds) {
    EXPECT_EQ(Set(VTEXT("v"), RegistryPort::TYPE_BINARY, "abcdef"), Status::Success);
    DWORD dwType = 99, cb = 0;
    BYTE abyData[6] = {};
    EXPECT_EQ(Registry().QueryValue(m_hKey, VTEXT("v"), dwType, nullptr, cb), Status::Success);
    EXPECT_EQ(cb, 6u);
    EXPECT_EQ(dwType, RegistryPort::TYPE_BINARY);
    cb = 5;
    EXPECT_EQ(Registry().QueryValue(m_hKey, VTEXT("v"), dwType, abyData, cb), Status::MoreData);
    EXPECT_EQ(cb, 6u);
    EXPECT_EQ(Registry().QueryValue(m_hKey, VTEXT("v"), dwType, abyData, cb), Status::Success);
    EXPECT_EQ(ToHex(abyData, 6), ToHex("abcdef", 6));
    EXPECT_EQ(Registry().QueryValue(m_hKey, VTEXT("w"), dwType, abyData, cb), Status::FileNotFound);
    const std::string large(4u << 20, 'L');
    EXPECT_EQ(Set(VTEXT("large"), RegistryPort::TYPE_BINARY, large), Status::Success);
    std::string back(large.size(), '#');
    cb = static_cast<DWORD>(back.size());
    EXPECT_EQ(Registry().QueryValue(m_hKey, VTEXT("large"), dwType, back.data(), cb), Status::Success);
    EXPECT_TRUE(back == large);
}

TEST_P(RegistryPortContract, SeveralValuesComeTogetherOrNotAtAll) {
    EXPECT_EQ(Set(VTEXT("a"), RegistryPort::TYPE_BINARY, "12345678901"), Status::Success);
    EXPECT_EQ(Set(VTEXT("b"), RegistryPort::TYPE_DWORD, "wxyz"), Status::Success);
    EXPECT_EQ(Set(VTEXT("c"), RegistryPort::TYPE_BINARY, "!"), Status::Success);
    RegistryPort::ValueQuery aQueries[3];
    aQueries[0].pszName = VTEXT("b");
    aQueries[1].pszName = VTEXT("A");
    aQueries[2].pszName = VTEXT("c");
    char acData[16] = {};
    DWORD cb = 0;
    EXPECT_EQ(Registry().QueryMultipleValues(m_hKey, aQueries, 3, nullptr, cb), Status::MoreData);
    EXPECT_EQ(cb, 16u);
    cb = 15;
    EXPECT_EQ(Registry().QueryMultipleValues(m_hKey, aQueries, 3, acData, cb), Status::MoreData);
    EXPECT_EQ(cb, 16u);
    EXPECT_EQ(Registry().QueryMultipleValues(m_hKey, aQueries, 3, acData, cb), Status::Success);
    std::string joined;
    for (const auto& rQuery : aQueries)
        joined.append(acData + rQuery.dwOffset, rQuery.cbData);
    EXPECT_EQ(joined, "wxyz12345678901!");
    EXPECT_EQ(aQueries[0].dwType, RegistryPort::TYPE_DWORD);
    EXPECT_EQ(aQueries[1].dwType, RegistryPort::TYPE_BINARY);
    aQueries[1].pszName = VTEXT("none");
    cb = sizeof(acData);
    EXPECT_EQ(Registry().QueryMultipleValues(m_hKey, aQueries, 3, acData, cb), Status::FileNotFound);
}

TEST_P(RegistryPortContract, EnumerationsShowEachNameOnceAndEnd) {
    const std::vector<XString> vNames{VTEXT("Alpha"), VTEXT("beta"), VTEXT("Gamma")};
    for (const XString& rName : vNames) {
        EXPECT_EQ(Registry().Close(Make(m_hKey, rName)), Status::Success);
        EXPECT_EQ(Set(rName.c_str(), RegistryPort::TYPE_BINARY, Printable(rName)), Status::Success);
    }
    std::vector<XString> vFound = KeyNames(m_hKey);
    std::sort(vFound.begin(), vFound.end());
    EXPECT_TRUE(std::is_permutation(vFound.begin(), vFound.end(), vNames.begin(), vNames.end()));
    for (DWORD i = 0; i < 3; ++i) {
        XCHAR szName[6];
        char acData[5];
        DWORD cName = 6, dwType = 0, cb = 0;
        EXPECT_EQ(Registry().EnumerateValue(m_hKey, i, szName, cName, dwType, nullptr, cb), Status::Success);
        EXPECT_EQ(dwType, RegistryPort::TYPE_BINARY);
        EXPECT_EQ(cb, cName);
        cName = 6;
        cb = sizeof(acData);
        EXPECT_EQ(Registry().EnumerateValue(m_hKey, i, szName, cName, dwType, acData, cb), Status::Success);
        EXPECT_EQ(std::string(acData, cb), Printable(XStringView(szName, cName)));
        EXPECT_EQ(szName[cName], 0);
        cName = 6;
        cb = 1;
        EXPECT_EQ(Registry().EnumerateValue(m_hKey, i, szName, cName, dwType, acData, cb), Status::MoreData);
        cName = 4;
        EXPECT_EQ(Registry().EnumerateValue(m_hKey, i, szName, cName, dwType, nullptr, cb), Status::MoreData);
        cName = 4;
        EXPECT_EQ(Registry().EnumerateKey(m_hKey, i, szName, cName), Status::MoreData);
    }
    XCHAR szName[8];
    DWORD cName = 8, dwType = 0, cb = 0;
    EXPECT_EQ(Registry().EnumerateKey(m_hKey, 3, szName, cName), Status::NoMoreItems);
    EXPECT_EQ(Registry().EnumerateValue(m_hKey, 3, szName, cName, dwType, nullptr, cb), Status::NoMoreItems);
}

TEST_P(RegistryPortContract, RightsAreThoseAskedFor) {
    EXPECT_EQ(Set(VTEXT("v"), RegistryPort::TYPE_BINARY, "1"), Status::Success);
    HKEY hRead = nullptr, hWrite = nullptr;
    EXPECT_EQ(Registry().Open(m_hKey, nullptr, READ, hRead), Status::Success);
    EXPECT_EQ(Registry().Open(m_hKey, nullptr, WRITE, hWrite), Status::Success);
    XCHAR szName[8];
    RegistryPort::ValueQuery oQuery;
    oQuery.pszName = VTEXT("v");
    DWORD dwType = 0, cb = 0, cName = 8;
    EXPECT_EQ(Registry().SetValue(hRead, VTEXT("v"), 3, "2", 1), Status::AccessDenied);
    EXPECT_EQ(Registry().DeleteValue(hRead, VTEXT("v")), Status::AccessDenied);
    EXPECT_EQ(Registry().QueryValue(hWrite, VTEXT("v"), dwType, nullptr, cb), Status::AccessDenied);
    EXPECT_EQ(Registry().QueryMultipleValues(hWrite, &oQuery, 1, nullptr, cb), Status::AccessDenied);
    EXPECT_EQ(Registry().EnumerateKey(hWrite, 0, szName, cName), Status::AccessDenied);
    EXPECT_EQ(Registry().EnumerateValue(hWrite, 0, szName, cName, dwType, nullptr, cb), Status::AccessDenied);
    EXPECT_EQ(Registry().SetValue(hWrite, VTEXT("v"), 3, "2", 1), Status::Success);
    EXPECT_EQ(Registry().QueryValue(hRead, VTEXT("v"), dwType, nullptr, cb), Status::Success);
    EXPECT_EQ(Registry().Close(hRead), Status::Success);
    EXPECT_EQ(Registry().Close(hWrite), Status::Success);
    HKEY hMaximum = nullptr;
    EXPECT_EQ(Registry().Open(m_hKey, nullptr, RegistryPort::MAXIMUM_RIGHTS, hMaximum), Status::Success);
    EXPECT_EQ(Registry().SetValue(hMaximum, VTEXT("v"), 3, "3", 1), Status::Success);
    EXPECT_EQ(Registry().Close(hMaximum), Status::Success);
}

TEST_P(RegistryPortContract, OnlyBareKeysAreDeletedAndTheirHandlesKnow) {
    const HKEY hOuter = Make(m_hKey, VTEXT("outer"));
    const HKEY hInner = Make(hOuter, VTEXT("inner"));
    EXPECT_EQ(Registry().SetValue(hInner, VTEXT("v"), 3, "1", 1), Status::Success);
    EXPECT_EQ(Registry().DeleteKey(m_hKey, VTEXT("outer")), Status::AccessDenied);
    EXPECT_EQ(Registry().DeleteKey(m_hKey, VTEXT("none")), Status::FileNotFound);
    EXPECT_EQ(Registry().DeleteKey(m_hKey, nullptr), Status::InvalidParameter);
    EXPECT_EQ(Registry().DeleteKey(m_hKey, VTEXT("")), Status::InvalidParameter);
    EXPECT_EQ(Registry().DeleteKey(m_hKey, VTEXT("outer\\INNER")), Status::Success);
    XCHAR szName[8];
    HKEY hKey = nullptr;
    bool fCreated = false;
    DWORD dwType = 0, cb = 0, cName = 8;
    EXPECT_EQ(Registry().QueryValue(hInner, VTEXT("v"), dwType, nullptr, cb), Status::KeyDeleted);
    EXPECT_EQ(Registry().SetValue(hInner, VTEXT("v"), 3, "2", 1), Status::KeyDeleted);
    EXPECT_EQ(Registry().EnumerateKey(hInner, 0, szName, cName), Status::KeyDeleted);
    EXPECT_EQ(Registry().Create(hInner, VTEXT("x"), ALL, false, hKey, fCreated), Status::KeyDeleted);
    // The name is free again, for another key.
    const HKEY hNew = Make(hOuter, VTEXT("inner"));
    EXPECT_EQ(Registry().QueryValue(hNew, VTEXT("v"), dwType, nullptr, cb), Status::FileNotFound);
    EXPECT_EQ(Registry().QueryValue(hInner, VTEXT("v"), dwType, nullptr, cb), Status::KeyDeleted);
    for (const HKEY h : {hNew, hInner, hOuter})
        EXPECT_EQ(Registry().Close(h), Status::Success);
}

TEST_P(RegistryPortContract, AnOpenKeyCanBeDeletedItself) {
    const HKEY hOuter = Make(m_hKey, VTEXT("outer"));
    const HKEY hInner = Make(hOuter, VTEXT("inner"));
    HKEY hReader = nullptr;
    EXPECT_EQ(Registry().Open(hOuter, VTEXT("inner"), READ, hReader), Status::Success);
    EXPECT_EQ(Registry().DeleteOpenKey(hReader), Status::AccessDenied);
    EXPECT_EQ(Registry().DeleteOpenKey(hOuter), Status::AccessDenied);
    EXPECT_EQ(Registry().DeleteOpenKey(hInner), Status::Success);
    EXPECT_EQ(TryOpen(hOuter, VTEXT("inner")), Status::FileNotFound);
    DWORD dwType = 0, cb = 0;
    EXPECT_EQ(Registry().QueryValue(hReader, VTEXT("v"), dwType, nullptr, cb), Status::KeyDeleted);
    EXPECT_EQ(Registry().DeleteOpenKey(hOuter), Status::Success);
    EXPECT_EQ(KeyNames(m_hKey), std::vector<XString>());
    for (const HKEY h : {hReader, hInner, hOuter})
        EXPECT_EQ(Registry().Close(h), Status::Success);
}

TEST_P(RegistryPortContract, CountsAndLongestNamesAreTold) {
    RegistryPort::KeyInfo oInfo;
    EXPECT_EQ(Registry().QueryInfo(m_hKey, oInfo), Status::Success);
    EXPECT_EQ(oInfo.cSubKeys + oInfo.cValues + oInfo.cMaxKeyName + oInfo.cMaxValueName + oInfo.cbMaxData, 0u);
    for (const XCHAR* pszName : {VTEXT("a"), VTEXT("four"), VTEXT("two")})
        EXPECT_EQ(Registry().Close(Make(m_hKey, pszName)), Status::Success);
    EXPECT_EQ(Set(VTEXT("longer name"), RegistryPort::TYPE_BINARY, "12"), Status::Success);
    EXPECT_EQ(Set(nullptr, RegistryPort::TYPE_BINARY, "1234567"), Status::Success);
    EXPECT_EQ(Registry().QueryInfo(m_hKey, oInfo), Status::Success);
    EXPECT_EQ(oInfo.cSubKeys, 3u);
    EXPECT_EQ(oInfo.cMaxKeyName, 4u);
    EXPECT_EQ(oInfo.cValues, 2u);
    EXPECT_EQ(oInfo.cMaxValueName, 11u);
    EXPECT_EQ(oInfo.cbMaxData, 7u);
}

TEST_P(RegistryPortContract, ALinkIsFollowedUnlessItIsOpenedItself) {
    const HKEY hVictim = Make(m_hKey, VTEXT("victim"));
    EXPECT_EQ(Registry().Close(Make(hVictim, VTEXT("below"))), Status::Success);
    EXPECT_EQ(Registry().SetValue(hVictim, VTEXT("v"), 3, "1", 1), Status::Success);
    const Status eMade = Registry().CreateLink(m_hKey, VTEXT("link"), hVictim);
    HKEY hKey = nullptr;
    bool fLink = true;
    EXPECT_EQ(Registry().OpenLink(m_hKey, VTEXT("victim"), ALL, hKey, fLink), Status::Success);
    EXPECT_FALSE(fLink);
    EXPECT_EQ(Registry().Close(hKey), Status::Success);
    if (eMade == Status::NotSupported) {
        EXPECT_EQ(TryOpen(m_hKey, VTEXT("link")), Status::FileNotFound);
        EXPECT_EQ(Registry().Close(hVictim), Status::Success);
        GTEST_SKIP() << "no links on this system";
    }
    ASSERT_EQ(eMade, Status::Success);
    EXPECT_EQ(Registry().CreateLink(m_hKey, VTEXT("LINK"), hVictim), Status::AlreadyExists);
    EXPECT_EQ(TryOpen(m_hKey, VTEXT("link\\below")), Status::Success);
    EXPECT_EQ(Registry().OpenLink(m_hKey, VTEXT("link\\below"), READ, hKey, fLink), Status::Success);
    EXPECT_FALSE(fLink);
    EXPECT_EQ(Registry().Close(hKey), Status::Success);
    // A link to nothing: who could plant it would choose what a caller with more rights makes.
    bool fCreated = true;
    const HKEY hGone = Make(m_hKey, VTEXT("gone"), ALL);
    EXPECT_EQ(Registry().CreateLink(m_hKey, VTEXT("trap"), hGone), Status::Success);
    EXPECT_EQ(Registry().Close(hGone), Status::Success);
    EXPECT_EQ(Registry().DeleteKey(m_hKey, VTEXT("gone")), Status::Success);
    EXPECT_EQ(Registry().CreateRestricted(m_hKey, VTEXT("trap"), ALL, VTEXT("S-1-5-18"), hKey, fCreated),
              Status::Success);
    EXPECT_FALSE(fCreated);
    EXPECT_EQ(TryOpen(m_hKey, VTEXT("gone")), Status::FileNotFound);
    EXPECT_EQ(Registry().DeleteOpenKey(hKey), Status::Success);
    EXPECT_EQ(Registry().Close(hKey), Status::Success);
    EXPECT_EQ(Registry().OpenLink(m_hKey, VTEXT("link"), ALL, hKey, fLink), Status::Success);
    EXPECT_TRUE(fLink);
    EXPECT_EQ(KeyNames(hKey), std::vector<XString>());
    EXPECT_EQ(Registry().DeleteOpenKey(hKey), Status::Success);
    EXPECT_EQ(Registry().Close(hKey), Status::Success);
    EXPECT_EQ(KeyNames(m_hKey), std::vector<XString>{VTEXT("victim")});
    EXPECT_EQ(KeyNames(hVictim), std::vector<XString>{VTEXT("below")});
    EXPECT_EQ(Registry().Close(hVictim), Status::Success);
}

TEST_P(RegistryPortContract, ARestrictedKeyIsMadeOnceAndByOneName) {
    const XCHAR* const pszSid = VTEXT("S-1-5-21-0-0-0-1000");
    HKEY hKey = nullptr;
    bool fCreated = false;
    EXPECT_EQ(Registry().CreateRestricted(m_hKey, VTEXT("mine"), ALL, pszSid, hKey, fCreated), Status::Success);
    EXPECT_TRUE(fCreated);
    EXPECT_EQ(Registry().SetValue(hKey, VTEXT("v"), 3, "1", 1), Status::Success);
    EXPECT_EQ(Registry().Close(hKey), Status::Success);
    EXPECT_EQ(Registry().CreateRestricted(m_hKey, VTEXT("MINE"), READ, pszSid, hKey, fCreated), Status::Success);
    EXPECT_FALSE(fCreated);
    EXPECT_EQ(Registry().Close(hKey), Status::Success);
    for (const XCHAR* pszName : {VTEXT(""), VTEXT("mine\\below")}) {
        EXPECT_EQ(Registry().CreateRestricted(m_hKey, pszName, ALL, pszSid, hKey, fCreated), Status::InvalidParameter);
    }
    EXPECT_EQ(Registry().CreateRestricted(m_hKey, VTEXT("x"), ALL, VTEXT("S-1-5)(A;;KA;;;WD"), hKey, fCreated),
              Status::InvalidParameter);
    EXPECT_EQ(KeyNames(m_hKey), std::vector<XString>{VTEXT("mine")});
}

TEST_P(RegistryPortContract, VolatileKeysHaveVolatileChildrenOnly) {
    const HKEY hVolatile = Make(m_hKey, VTEXT("volatile"), ALL, true);
    HKEY hKey = nullptr;
    bool fCreated = false;
    EXPECT_EQ(Registry().Create(hVolatile, VTEXT("child"), ALL, false, hKey, fCreated), Status::ChildMustBeVolatile);
    EXPECT_EQ(TryOpen(hVolatile, VTEXT("child")), Status::FileNotFound);
    EXPECT_EQ(Registry().Close(Make(hVolatile, VTEXT("child"), ALL, true)), Status::Success);
    EXPECT_EQ(Registry().Close(hVolatile), Status::Success);
}

TEST_P(RegistryPortContract, AClosedHandleIsRefusedByEveryCall) {
    const HKEY hClosed = Make(m_hKey, VTEXT("closed"));
    EXPECT_EQ(Registry().Close(hClosed), Status::Success);
    XCHAR szName[8];
    HKEY hKey = nullptr;
    bool fCreated = false;
    RegistryPort::ValueQuery oQuery;
    oQuery.pszName = VTEXT("v");
    RegistryPort::KeyInfo oInfo;
    DWORD dwType = 0, cb = 0, cName = 8;
    for (const HKEY h : {hClosed, HKEY{nullptr}}) {
        EXPECT_EQ(Registry().Close(h), Status::InvalidHandle);
        EXPECT_EQ(Registry().Open(h, VTEXT("x"), READ, hKey), Status::InvalidHandle);
        EXPECT_EQ(Registry().Create(h, VTEXT("x"), ALL, false, hKey, fCreated), Status::InvalidHandle);
        EXPECT_EQ(Registry().QueryValue(h, VTEXT("v"), dwType, nullptr, cb), Status::InvalidHandle);
        EXPECT_EQ(Registry().QueryMultipleValues(h, &oQuery, 1, nullptr, cb), Status::InvalidHandle);
        EXPECT_EQ(Registry().SetValue(h, VTEXT("v"), 3, "1", 1), Status::InvalidHandle);
        EXPECT_EQ(Registry().DeleteValue(h, VTEXT("v")), Status::InvalidHandle);
        EXPECT_EQ(Registry().DeleteKey(h, VTEXT("x")), Status::InvalidHandle);
        EXPECT_EQ(Registry().EnumerateKey(h, 0, szName, cName), Status::InvalidHandle);
        EXPECT_EQ(Registry().OpenLink(h, VTEXT("x"), READ, hKey, fCreated), Status::InvalidHandle);
        EXPECT_EQ(Registry().CreateLink(h, VTEXT("x"), m_hKey), Status::InvalidHandle);
        EXPECT_EQ(Registry().DeleteOpenKey(h), Status::InvalidHandle);
        EXPECT_EQ(Registry().QueryInfo(h, oInfo), Status::InvalidHandle);
        EXPECT_EQ(Registry().CreateRestricted(h, VTEXT("x"), ALL, VTEXT("S-1-5-18"), hKey, fCreated),
                  Status::InvalidHandle);
        EXPECT_EQ(Registry().EnumerateValue(h, 0, szName, cName, dwType, nullptr, cb), Status::InvalidHandle);
    }
}

TEST_P(RegistryPortContract, TheRootsOpenAndTheUserIsAmongTheUsers) {
    for (const Root eRoot : {Root::ClassesRoot, Root::CurrentUser, Root::LocalMachine, Root::Users}) {
        EXPECT_EQ(TryOpen(Registry().RootKey(eRoot), nullptr), Status::Success);
        EXPECT_EQ(Registry().Close(Registry().RootKey(eRoot)), Status::Success);
    }
    EXPECT_EQ(TryOpen(Registry().RootKey(Root::CurrentUser), m_path.c_str()), Status::Success);
    HKEY hUser = nullptr;
    EXPECT_EQ(Registry().OpenCurrentUser(READ, hUser), Status::Success);
    EXPECT_EQ(TryOpen(hUser, m_path.c_str()), Status::Success);
    EXPECT_EQ(Registry().Close(hUser), Status::Success);
    HKEY hRemote = hUser;
    EXPECT_NE(Registry().ConnectRemote(VTEXT("\\\\q9-no-such-machine"), hRemote), Status::Success);
    EXPECT_EQ(hRemote, hUser);
    bool fFound = false;
    for (const XString& rName : KeyNames(Registry().RootKey(Root::Users))) {
        const XString path = rName + VTEXT('\\') + m_path;
        fFound = fFound || TryOpen(Registry().RootKey(Root::Users), path.c_str()) == Status::Success;
    }
    EXPECT_TRUE(fFound);
}

Q9_CONTRACT_SUITE(RegistryPortContract);

}  // namespace

}  // namespace vlm::test
