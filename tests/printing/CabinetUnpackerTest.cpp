/// @file
/// Unpacking that stays below its folder and is all or nothing.
#include "environment/detail/product/CabinetUnpacker.h"

#include <gtest/gtest.h>

#include "environment/detail/product/FolderTree.h"
#include "printing/ProductCabinets.h"
#include "support/FakePlatform.h"
#include "support/FaultLoop.h"
#include "support/Narrow.h"
#include "utilities/debuggingandexceptions/VelomExceptions.h"

namespace vlm::test {

namespace {

constexpr const XCHAR *CAB = VTEXT("C:\\d\\p.cab"), *TARGET = VTEXT("C:\\d\\Velom\\Data");

class CabinetUnpackerTest : public ::testing::Test {
protected:
    void AddCab(const CabMembers& rMembers) { oFake.files.AddFile(CAB, StoredCab(rMembers)); }
    /// What lies below the folder of the target, as "name=contents|".
    std::string Files() const { return FilesOf(oFake); }
    static std::string FilesOf(const FakePlatform& rFake) {
        std::string str;
        const XString root = VTEXT("C:\\d\\Velom\\");
        for (const XString& rName : rFake.files.FileNames()) {
            if (!rName.starts_with(root)) continue;
            const std::vector<BYTE> vby = *rFake.files.Contents(rName);
            str += Narrow(rName.substr(root.size())) + "=" + std::string(vby.begin(), vby.end()) + "|";
        }
        return str;
    }
    static void Unpack() {
        CabinetUnpacker oUnpacker(TARGET);
        oUnpacker.Extract(CAB);
        oUnpacker.MoveIn();
    }
    /// @return whether it was refused.
    static bool IsRefused() {
        try {
            Unpack();
        } catch (const ExceptionCompression&) {
            return true;
        } catch (const ExceptionFile&) {
            return true;
        }
        return false;
    }

    FakePlatform oFake;
    const PlatformScope oScope{oFake.Get()};
};

TEST_F(CabinetUnpackerTest, MembersReplaceWhatIsThereAndLeaveTheRest) {
    oFake.files.AddFile(VTEXT("C:\\d\\Velom\\Data\\F\\a.xml"), BytesOf("old"), FilePort::ATTRIBUTE_READONLY);
    oFake.files.AddFile(VTEXT("C:\\d\\Velom\\Data\\F\\mine"), BytesOf("mine"));
    oFake.files.AddFile(VTEXT("C:\\d\\Velom\\Data.new\\stale"), BytesOf("stale"));
    AddCab({{"F\\a.xml", "new"}, {"F/V5.0\\b", ""}, {"c", "c"}, {"a..b", "legal"}});
    Unpack();
    EXPECT_EQ(Files(), "Data\\a..b=legal|Data\\c=c|Data\\F\\a.xml=new|Data\\F\\mine=mine|Data\\F\\V5.0\\b=|");
}

TEST_F(CabinetUnpackerTest, OneBadNameRefusesTheWholeFile) {
    oFake.files.AddFile(VTEXT("C:\\d\\Velom\\Data\\good"), BytesOf("old"));
    for (const char* pszName : {"..\\..\\evil:stream", "/x", "a\\COM1", "GOOD", "good\\file"}) {
        AddCab({{"good", "new"}, {pszName, "evil"}});
        EXPECT_TRUE(IsRefused()) << pszName;
        EXPECT_EQ(Files(), "Data\\good=old|") << pszName;
        EXPECT_EQ(oFake.files.FileNames().size(), 2u) << pszName;
    }
}

TEST_F(CabinetUnpackerTest, ABrokenFileLeavesWhatWasThere) {
    oFake.files.AddFile(VTEXT("C:\\d\\Velom\\Data\\a"), BytesOf("old"));
    const std::vector<BYTE> vbyWhole = StoredCab({{"a", "new"}, {"b", "new"}});
    for (std::size_t c = 0; c < vbyWhole.size(); ++c) {
        oFake.files.AddFile(CAB, {vbyWhole.begin(), vbyWhole.begin() + static_cast<std::ptrdiff_t>(c)});
        EXPECT_TRUE(IsRefused()) << c;
        EXPECT_EQ(Files(), "Data\\a=old|");
    }
    oFake.files.AddFile(CAB, vbyWhole);
    oFake.files.LimitSpace(vbyWhole.size() + 3 + 4);
    EXPECT_TRUE(IsRefused());
    EXPECT_EQ(Files(), "Data\\a=old|");
}

TEST_F(CabinetUnpackerTest, LinksOnTheWayEndIt) {
    AddCab({{"F\\V\\a", "new"}});
    for (const XCHAR* pszLink :
         {VTEXT("C:\\d\\Velom\\Data\\F\\V"), VTEXT("C:\\d\\Velom\\Data\\F"), VTEXT("C:\\d\\Velom\\Data")}) {
        oFake.files.AddLink(pszLink, true);
        EXPECT_TRUE(IsRefused()) << Narrow(pszLink);
        EXPECT_FALSE(oFake.files.Contents(CXString(pszLink) + VTEXT("\\a")));
        oFake.files.RemoveFolder(pszLink);
    }
    oFake.files.AddLink(VTEXT("C:\\d\\Velom\\Data.new"), true);  // of the folder beside only the link goes
    EXPECT_FALSE(IsRefused());
    EXPECT_EQ(Files(), "Data\\F\\V\\a=new|");
}

TEST_F(CabinetUnpackerTest, NestedFilesUnpackInTheirFolderAndNeverOverThemselves) {
    AddCab({{"F\\n.cab", StoredCabText({{"x", "inner"}, {"N.CAB", "again"}, {"s\\y", "deep"}})}, {"F\\x", "outer"}});
    CabinetUnpacker oUnpacker(TARGET);
    oUnpacker.Extract(CAB);
    oUnpacker.ExtractNested(VTEXT("F"), VTEXT("n.cab"));
    oFake.files.Delete(VTEXT("C:\\d\\Velom\\Data.new\\F\\n.cab"));
    oUnpacker.MoveIn();
    EXPECT_EQ(Files(), "Data\\F\\s\\y=deep|Data\\F\\x=inner|");
}

// Whatever fails, every file is whole; after a kill the next unpacking finishes the work.
TEST_F(CabinetUnpackerTest, EveryFaultAndEveryKillLeavesWholeFiles) {
    FaultLoop oLoop;
    oLoop.fnPrepare = [](FakePlatform& rFake) {
        rFake.files.AddFile(VTEXT("C:\\d\\Velom\\Data\\F\\a"), BytesOf("old"));
        rFake.files.AddFile(VTEXT("C:\\d\\Velom\\Data.new\\F\\b"), BytesOf("stale"));
        rFake.files.AddFile(CAB, StoredCab({{"F\\a", "new"}, {"G\\b", "new"}}));
    };
    oLoop.fnRun = [] {
        return Attempt<ExceptionFile, ExceptionCompression, ExceptionFileOperationCompression, ExceptionOutOfMemory>(
            Unpack);
    };
    const auto IsWhole = [](const FakePlatform& rFake) {
        const std::string strFiles = FilesOf(rFake);
        return (strFiles.find("Data\\F\\a=old|") != strFiles.npos ||
                strFiles.find("Data\\F\\a=new|") != strFiles.npos) &&
               (strFiles.find("Data\\G\\b=") == strFiles.npos || strFiles.find("Data\\G\\b=new|") != strFiles.npos);
    };
    oLoop.fnCheck = [&](FakePlatform& rFake, FaultOutcome eOutcome) {
        EXPECT_TRUE(IsWhole(rFake));
        if (eOutcome == FaultOutcome::Succeeded) {
            EXPECT_NE(FilesOf(rFake).find("Data\\G\\b=new|"), std::string::npos);
        }
    };
    oLoop.fnCheckAfterKill = [&](FakePlatform& rFake) {
        EXPECT_TRUE(IsWhole(rFake));
        Unpack();
        EXPECT_EQ(FilesOf(rFake), "Data\\F\\a=new|Data\\G\\b=new|");
    };
    oLoop.vModes = {FaultMode::FailOnce, FaultMode::FailFrom, FaultMode::ShortOnce, FaultMode::KillAt,
                    FaultMode::KillTorn};
    RunFaultLoop(oLoop);
}

TEST_F(CabinetUnpackerTest, TreesAreDeletedWithoutFollowingLinks) {
    oFake.files.AddFile(VTEXT("C:\\v\\victim"), BytesOf("v"));
    oFake.files.AddFile(VTEXT("C:\\t\\a\\b\\c"), {});
    oFake.files.AddLink(VTEXT("C:\\t\\a\\folder"), true);
    oFake.files.AddLink(VTEXT("C:\\t\\file"), false);
    {
        FaultPlatform oFaults(oFake.Get());
        const PlatformScope oScopeOfFaults(oFaults.Get());
        oFaults.Script().Arm(FaultMode::FailOnce, 1);
        EXPECT_NE(folders::DeleteTree(VTEXT("C:\\t")), Status::Success) << "what cannot be looked at is not gone";
    }
    EXPECT_EQ(folders::DeleteTree(VTEXT("C:\\t")), Status::Success);
    EXPECT_EQ(oFake.files.FileNames().size(), 1u);
    EXPECT_EQ(folders::DeleteTree(VTEXT("C:\\t")), Status::Success);
    const std::pair<const char*, bool> aRows[] = {
        {"C:\\Users\\x", true},  {"/tmp/x", true},      {"C:\\", false},       {"C:x", false}, {"\\\\s\\x", false},
        {"C:\\a\\..\\b", false}, {"C:\\a\\\\b", false}, {"C:\\a\\b:c", false}, {"//x", false}, {"", false}};
    for (const auto& [path, plain] : aRows)
        EXPECT_EQ(folders::IsPlainLocalPath(path), plain) << path;
}

}  // namespace

}  // namespace vlm::test
