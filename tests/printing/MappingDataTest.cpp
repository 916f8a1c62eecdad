/// @file
/// Map files, records, and the index that must answer as the walk over the records does.
#include "environment/MappingData.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

#include "environment/MapFile.h"
#include "environment/detail/product/MappingDataIndex.h"
#include "support/Bytes.h"
#include "support/FakePlatform.h"
#include "support/Narrow.h"
#include "support/RecordingSink.h"
#include "utilities/Bounds.h"
#include "utilities/debuggingandexceptions/VelomExceptions.h"
#include "utilities/registry/RegistryKey.h"

namespace vlm::test {

namespace {

std::vector<MappingData> Parse(const std::string& rText) {
    const std::vector<BYTE> vby = BytesOf(rText);
    return MapFile::Parse(ByteBuffer(vby.data(), vby.size()));
}

std::string Show(const std::vector<MappingData>& rvo) {
    std::string strAll;
    for (const MappingData& r : rvo)
        strAll += Narrow(r.GetLeftSide().View()) + ":" + Narrow(r.GetMapData().View()) + "|";
    return strAll;
}

TEST(MappingDataTest, MapFilesGiveTheRecordsOfTheirLines) {
    const struct {
        const char *pszFile, *pszRecords;
    } aRows[] = {
        {"", ""},
        {"\n \r\n\t\n", ""},
        {"X 1,1.2, 1.3\t ,1.4:A=1;B=2\r\n", "X 1,1.2,1.3,1.4:A=1;B=2|"},
        {"X:A=1  \nno colon\nY :B=:2", "X:A=1|Y :B=:2|"},  // no line end at the end; the first colon splits
        {"comment;X:A=1\nComment;X:A=1\n comment;:B", "Comment;X:A=1| comment;:B|"},
        {":A=1\n ,1.2:A=1\n", ""},
        {"X,,  , . ,1:\r", "X,1:|"},  // ids without components
        {"X:A=1\rY:B=2", "X:A=1\rY:B=2|"},
        {"X:\nALL_MODELS,9:C=3\nY:D=4;\nALL_MODELS:E=5", "X:;C=3;E=5|Y:D=4;;C=3;E=5|"},
        {"ALL_MODELS:A=1\nALL_MODELS 2:B=2\n", "ALL_MODELS 2:B=2;A=1|"},
    };
    for (const auto& r : aRows)
        EXPECT_EQ(Show(Parse(r.pszFile)), r.pszRecords) << r.pszFile;
    EXPECT_EQ(Show(Parse(std::string("X\0:A=1\nY:B=1", 12))), "Y:B=1|");
    EXPECT_EQ(Show(Parse("\x80:A=\x9F")), "\\x20AC:A=\\x0178|");  // the ANSI code page
}

TEST(MappingDataTest, FilesBeyondABoundAreRefusedAndAtItAccepted) {
    const auto Ids = [](std::size_t c) {
        std::string str = "X";
        for (std::size_t u = 0; u < c; ++u)
            str += ",1." + std::to_string(u);
        return str + ":A=1";
    };
    const auto Line = [](std::size_t c) { return "X:" + std::string(c - 2, 'a'); };
    const auto Records = [](std::size_t c) {
        std::string str;
        for (std::size_t u = 0; u < c; ++u)
            str += "X:\n";
        return str;
    };
    const auto Common = [&](std::size_t c) { return Records(1024) + "ALL_MODELS:" + std::string(c, 'a'); };
    const std::pair<std::string, std::string> aRows[] = {
        {Line(bounds::MAX_MAP_LINE_UNITS), Line(bounds::MAX_MAP_LINE_UNITS + 1)},
        {Ids(bounds::MAX_MAP_OBJECT_IDS), Ids(bounds::MAX_MAP_OBJECT_IDS + 1)},
        {Records(bounds::MAX_MAP_RECORDS), Records(bounds::MAX_MAP_RECORDS + 1)},
        {Common(60000), Common(60000) + "\n" + Common(60000).substr(4096 - 1024)},
    };
    for (const auto& [accepted, refused] : aRows) {
        EXPECT_FALSE(Parse(accepted).empty());
        EXPECT_THROW(Parse(refused), ExceptionInvalidArgument);
    }
}

TEST(MappingDataTest, NamesMatchWordForWordWithoutTheMaker) {
    const struct {
        const char *pszModel, *pszAsked;
        bool fMatches;
    } aRows[] = {
        {"1234", "Velom 1234", true},  {"1234", "1234 Velom", true}, {"Velom X 1234", "X 1234", true},
        {"X  1234 ", " X 1234", true}, {"X 1234", "1234 X", false},  {"X 1234", "x 1234", false},
        {"X 1234", "X", false},        {"X", "X 1234", false},       {"velom X", "X", false},
    };
    for (const auto& r : aRows) {
        const MappingData oRecord(Wide(r.pszModel), {});
        EXPECT_EQ(oRecord.MatchesModel(Wide(r.pszAsked)), r.fMatches) << r.pszModel << " / " << r.pszAsked;
    }
}

TEST(MappingDataTest, ObjectIdsMatchWhatLiesBelowThem) {
    const struct {
        const char *pszIds, *pszAsked;
        bool fMatches;
    } aRows[] = {
        {"1.3.6.1.4.1.99999.8.62", "1.3.6.1.4.1.99999.8.62.1.5", true},
        {"1.3.6.1.4.1.99999.8.62", "1.3.6.1.4.1.99999.8", false},
        {"1.3.6", "1.3.61", false},
        {"1.3.6", "2.1.3.6", false},  // contained, but not from the start
        {"1.3.6", ".1.3.6.1", true},  // SNMP tools write a dot first
        {".1.3.6", "1.3.6.1", false},
        {"9.9,1.3", "1.3.5", true},
        {"1.3", "", false},
    };
    for (const auto& r : aRows) {
        const MappingData oRecord(Wide(std::string("X,") + r.pszIds), {});
        EXPECT_EQ(oRecord.MatchesSysObjectId(Wide(r.pszAsked)), r.fMatches) << r.pszIds << " / " << r.pszAsked;
    }
}

TEST(MappingDataTest, ValuesAreFoundByTheFirstOccurrenceOfTheKeysText) {
    const struct {
        const char *pszData, *pszKey, *pszValue;
    } aRows[] = {
        {"A=1;B=2", "B", "2"},
        {"  A= 1 ;B", "A", " 1 "},
        {"CONTROLLERFAMILY_ALT=a;CONTROLLERFAMILY=b", "CONTROLLERFAMILY", "a"},
        {"A=B x;C=2", "B", "2"},  // the next "=" wherever it stands
        {"A", "A", ""},
        {"A=;B=2", "A", ""},
        {"A=1", "", ""},
    };
    for (const auto& r : aRows) {
        const MappingData oRecord(VTEXT("X"), Wide(r.pszData));
        EXPECT_EQ(Narrow(oRecord.GetData(Wide(r.pszKey)).View()), r.pszValue) << r.pszData << " / " << r.pszKey;
    }
}

TEST(MappingDataTest, MissingRequiredValuesAreFailedAssertions) {
    RecordingSink oSink;
    const MappingData oRecord(VTEXT("X 1"), VTEXT("A= "));
    EXPECT_EQ(oRecord.GetData(VTEXT("A"), MappingData::REQUIRED_VALUE), VTEXT(" "));
    EXPECT_EQ(oSink.Count("Could not find value, A, for model, X 1."), 1u);
    EXPECT_EQ(oSink.Count("(!csValue.IsBlank())"), 1u);
    oRecord.GetData(VTEXT("JCAP"), MappingData::REQUIRED_VALUE);
    EXPECT_EQ(oSink.Count("(csValue.GetLength())"), 1u);
    oRecord.GetData(VTEXT("B"));
    EXPECT_EQ(oSink.Count("Could not find value"), 2u);
}

TEST(MappingDataTest, TheConstraintFileHasADefaultThatTheRegistryKeeps) {
    FakePlatform oFake;
    const PlatformScope oScope(oFake.Get());
    const auto Key = [](const XCHAR* pszFamily) {
        return RegistryKey::CreateRegistryKey(HKeyRegistry::Hkey_Machine_Version, pszFamily,
                                              RegistryKey::READ_WRITE_ACCESS, RegistryKey::DIRECT);
    };
    const MappingData oRecord(VTEXT("X"), VTEXT("FAMPATH=Fam;PRODUCTNAME=X One"));
    EXPECT_EQ(oRecord.GetData(VTEXT("XMLCONSTRAINT")), VTEXT("X One.xcf"));
    EXPECT_EQ(Key(VTEXT("Families\\Fam"))->GetStringValue(VTEXT("XMLConstraint"), {}), VTEXT("X One.xcf"));
    const struct {
        const XCHAR *pszStored, *pszValue;
    } aRows[] = {{VTEXT("own.xcf"), VTEXT("own.xcf")},
                 {VTEXT("..\\..\\evil"), VTEXT("X One.xcf")},
                 {VTEXT(""), VTEXT("X One.xcf")}};
    for (const auto& r : aRows) {
        Key(VTEXT("Families\\Fam"))->SetStringValue(VTEXT("XMLConstraint"), r.pszStored);
        EXPECT_EQ(oRecord.GetData(VTEXT("XMLCONSTRAINT")), r.pszValue);
    }
    EXPECT_EQ(MappingData(VTEXT("X"), VTEXT("XMLCONSTRAINT=c.xcf")).GetData(VTEXT("XMLCONSTRAINT")), VTEXT("c.xcf"));
    MappingData(VTEXT("X"), VTEXT("FAMPATH=..\\Fam;PRODUCTNAME=X")).GetData(VTEXT("XMLCONSTRAINT"));
    EXPECT_FALSE(RegistryKey::TryOpenRegistryKey(HKeyRegistry::Hkey_Machine_Version, VTEXT("Families\\..\\Fam")));
}

// The index against the rule it stands for, over names and ids that collide as much as can be.
TEST(MappingDataTest, TheIndexAnswersAsTheWalkOverTheRecordsDoes) {
    std::mt19937 oRandom(7);
    const auto Pick = [&](const std::vector<const char*>& rv) { return std::string(rv[oRandom() % rv.size()]); };
    const auto Name = [&] {
        return Pick({"X", "Velom X", "Y", ""}) + Pick({" ", "  "}) + Pick({"1", "2", "Velom", ""});
    };
    const auto Oid = [&] { return Pick({"1", ".1", "2"}) + Pick({".3", "..3", ".4", "."}) + Pick({".5", ".5.6", ""}); };
    for (int iRound = 0; iRound < 300; ++iRound) {
        std::vector<MappingData> voRecords;
        for (std::size_t c = oRandom() % 12; c > 0; --c)
            voRecords.emplace_back(Wide(Name() + "," + Oid() + "," + Oid()), XStringView());
        MappingDataIndex oIndex;
        for (int i = 0; i < 20; ++i) {
            const auto name = Wide(Name()), oid = Wide(Oid());
            std::size_t uName = MappingDataIndex::NOT_FOUND, uOid = MappingDataIndex::NOT_FOUND;
            for (std::size_t u = voRecords.size(); u-- > 0;) {
                if (voRecords[u].MatchesModel(name)) uName = u;
                if (voRecords[u].MatchesSysObjectId(oid)) uOid = u;
            }
            ASSERT_EQ(oIndex.FindModel(voRecords, name), uName) << Narrow(name);
            ASSERT_EQ(oIndex.FindSysObjectId(voRecords, oid), uOid) << Narrow(oid);
        }
    }
}

}  // namespace

}  // namespace vlm::test
