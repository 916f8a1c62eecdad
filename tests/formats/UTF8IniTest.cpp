/// @file
/// UTF-8 INI files: every rule of the text, loads and releases, what is refused, and the guards of ordinary files.
#include "environment/UTF8Ini.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>

#include "formats/FileOnAFake.h"
#include "support/FaultLoop.h"
#include "support/IniModel.h"
#include "support/RecordingSink.h"
#include "utilities/Bounds.h"
#include "utilities/debuggingandexceptions/VelomExceptions.h"

namespace vlm::test {
namespace {

using namespace std::string_literals;

const std::string LONGEST(1022, 'v');  ///< as the value of a key of one byte

class UTF8IniOnAFake : public FileOnAFake {
protected:
    std::string Get(const std::string& rSection, const std::string& rKey) {
        char szBuffer[2000];
        const DWORD dwCopied = m_oIni.CustomGetPrivateProfileStringA(rSection.c_str(), rKey.c_str(), "(default)",
                                                                     szBuffer, sizeof(szBuffer), PATH);
        return std::string(szBuffer, dwCopied);
    }
    int Write(const char* pszSection, const char* pszKey, const char* pszValue) {
        return m_oIni.CustomWritePrivateProfileStringA(pszSection, pszKey, pszValue, PATH);
    }
    /// A list with its size in front and "|" for the zeros.
    template <typename Call>
    static std::string List(DWORD dwSize, Call call) {
        std::string buffer(dwSize + 1, '#');
        const DWORD dwCopied = call(buffer.data(), dwSize);
        std::replace(buffer.begin(), buffer.end(), '\0', '|');
        return std::to_string(dwCopied) + ":" + buffer;
    }

    UTF8Ini m_oIni;
};

TEST_F(UTF8IniOnAFake, EntriesAreFoundByTheRulesOfLines) {
    const std::string bom = "\xEF\xBB\xBF";
    const struct {
        std::string text, section, key, value;
    } aRows[] = {
        {"[S]\r\nk=v\r\n", "S", "k", "v"},
        {"[S]\rk=v\r", "S", "k", "v"},
        {"[S]\n\r\r\n\nk=v=w ", "S", "k", "v=w "},
        {bom + "[S]\r\nk=v", "S", "k", "v"},
        {"[S]\r\nk=1\r\nk=2\r\n[S]\r\nk=3\r\nl=4", "S", "k", "1"},
        {"[S]\r\nk=1\r\n[S]\r\nl=4", "S", "l", "(default)"},
        {"[s]\r\nk=v", "S", "k", "(default)"},
        {"[S]\r\nK=v\r\n k=v\r\nk =v\r\nkk=v\r\nk\r\n;k=v", "S", "k", "(default)"},
        {"x[S]\r\n[S]x\r\n[S\r\nk=v", "S", "k", "(default)"},
        {"[S]\r\na=[T]\r\n[T\r\nk=v", "S", "k", "v"},
        {"[]\r\n=v", "", "", "v"},
        {"[S]\r\n=\r\nk=v", "S", "", "(default)"},
        {"[S]\r\nk=" + LONGEST + "x\r\nk=v", "S", "k", "v"},
        {"[S]\r\nk=" + LONGEST, "S", "k", LONGEST},
        {"[S]\r\nk=" + LONGEST + "x", "S", "k", "(default)"},
        {"[" + std::string(257, 's') + "]\r\nk=v", std::string(257, 's'), "k", "v"},
        {"[S]\r\nk=a\0b\r\n"s, "S", "k", "a\0b"s},
        {std::string(70, '\0'), "S", "k", "(default)"},
        {"[a\nb]\nk=v", "a\nb", "k", "(default)"},
    };
    for (const auto& rRow : aRows) {
        Put(rRow.text);
        EXPECT_EQ(Get(rRow.section, rRow.key), rRow.value) << rRow.text;
        EXPECT_EQ(Contents(), rRow.text);
    }
}

TEST_F(UTF8IniOnAFake, EditsChangeNothingElse) {
    const struct {
        const char* pszBefore;
        const char* pszSection;
        const char* pszKey;
        const char* pszValue;
        const char* pszAfter;
    } aRows[] = {
        {"", "S", "K", "V", "[S]\r\nK=V\r\n"},
        {"\xEF\xBB\xBF", "S", "K", "V", "\xEF\xBB\xBF[S]\r\nK=V\r\n"},
        {"[S]", "S", "K", "V", "[S]\r\nK=V\r\n"},
        {"[S]\na=[b\r\r\n[T]\r\nK=1\r\n", "S", "K", "V", "[S]\na=[b\r\r\nK=V\r\n[T]\r\nK=1\r\n"},
        {"[S]\r\n[x\r\nb=1\r\n", "S", "K", "V", "[S]\r\nK=V\r\n[x\r\nb=1\r\n"},
        {"; one\r\n[S]\r\n; two\r\nK=long\r\nb=1\r\n", "S", "K", "V", "; one\r\n[S]\r\n; two\r\nK=V\r\nb=1\r\n"},
        {"[S]\rK=1\rb=2\r", "S", "K", "longer", "[S]\rK=longer\rb=2\r"},
        {"[S]\nK=1\n\nb=2", "S", "K", nullptr, "[S]\n\nb=2"},
        {"[S]\r\nb=2\r\nK=1", "S", "K", nullptr, "[S]\r\nb=2\r\n"},
        {"[R]\r\na=1\r\n\r\n[S]\r\nK=1\r\n[odd\r\nc=3\r\n\r\n[T]\r\nb=2", "S", nullptr, nullptr,
         "[R]\r\na=1\r\n\r\n[T]\r\nb=2"},
        {"[S]\r\nK=1", "S", nullptr, "ignored", ""},
    };
    for (const auto& rRow : aRows) {
        Put(rRow.pszBefore);
        EXPECT_EQ(Write(rRow.pszSection, rRow.pszKey, rRow.pszValue), 1);
        EXPECT_EQ(Contents(), rRow.pszAfter);
        ByteBuffer bbText(BytesOf(rRow.pszBefore + "\0\0"s));
        EXPECT_EQ(UTF8Ini::EditWatermarkIniText(bbText, rRow.pszSection, rRow.pszKey, rRow.pszValue), 1);
        EXPECT_EQ(std::string(bbText.begin(), bbText.end()), rRow.pszAfter);
    }
}

TEST_F(UTF8IniOnAFake, WhatCouldNotBeReadBackIsRefusedAndMakesNoFile) {
    const std::string header(258, 's'), longer = LONGEST + "v";
    const char* const aRows[][3] = {{"S", "k", "a\nb"}, {"S", "k", "a\rb"}, {"S", "a\nb", "v"}, {"S", "a\rb", "v"},
                                    {"a\rb", "k", "v"}, {"a\nb", "k", "v"}, {"a]b", "k", "v"},  {"[", "k", "v"},
                                    {"S", "[k", "v"},   {"S", "k=l", "v"},  {"S", "", ""},      {nullptr, "k", "v"}};
    RecordingSink sink;
    for (const auto& rRow : aRows)
        EXPECT_EQ(Write(rRow[0], rRow[1], rRow[2]), 0);
    EXPECT_EQ(sink.Count("could not be read back"), std::size(aRows) - 1);
    EXPECT_EQ(Write("S", "k", longer.c_str()), 0);
    EXPECT_EQ(sink.Reports().back().fError, true);
    sink.Clear();
    EXPECT_EQ(Write(header.c_str(), "k", "v"), 0);
    EXPECT_EQ(Get(header, "k"), "(default)");
    EXPECT_EQ(m_oIni.CustomWritePrivateProfileStringA("S", "k", "v", nullptr), 0);
    EXPECT_EQ(sink.Count("too long"), 2u);
    EXPECT_EQ(Contents(), "(none)");
    EXPECT_EQ(Write("S", "k", LONGEST.c_str()), 1);
    EXPECT_EQ(Get("S", "k"), LONGEST);
}

TEST_F(UTF8IniOnAFake, ALoadGivesRoomAndTheReleaseTakesItBack) {
    Put("[S]\r\nk=v\r\n");
    ASSERT_EQ(m_oIni.LoadWatermarkIniFile(PATH), 1);
    EXPECT_TRUE(Contents() == "[S]\r\nk=v\r\n" + std::string(UTF8Ini::HEADROOM_BYTES, '\0'));
    UTF8Ini oOther;
    EXPECT_EQ(oOther.LoadWatermarkIniFile(PATH), 0);
    EXPECT_EQ(m_oIni.LoadWatermarkIniFile(PATH), 1);
    EXPECT_EQ(m_oIni.DeleteWatermarkIniKeyA("S", "x"), 0);
    EXPECT_EQ(m_oIni.DeleteWatermarkIniKeyA("S", "k"), 1);
    EXPECT_EQ(m_oIni.DeleteWaterMarkIniSectionA("T"), 0);
    // Killed, one after the other: each finds the text, and none makes the file longer than the first one did.
    m_oFake.files.SetMisuseFailsTest(false);
    {
        UTF8Ini aoKilled[3];
        for (UTF8Ini& rKilled : aoKilled) {
            m_oFake.DropHandles();
            EXPECT_TRUE(Contents() == "[S]\r\n" + std::string(UTF8Ini::HEADROOM_BYTES + 5, '\0'));
            ASSERT_EQ(rKilled.LoadWatermarkIniFile(PATH), 1);
        }
    }
    EXPECT_TRUE(Contents() == "[S]\r\n");
    m_oIni.UnloadWatermarkIniFile();
    m_oFake.files.SetMisuseFailsTest(true);

    ASSERT_EQ(m_oIni.LoadWatermarkIniFileForRead(PATH), 1);
    EXPECT_EQ(oOther.LoadWatermarkIniFileForRead(PATH), 1);
    EXPECT_EQ(m_oIni.DeleteWaterMarkIniSectionA("S"), 0);
    EXPECT_EQ(oOther.LoadWatermarkIniFile(VTEXT("")), 0);
    oOther.UnloadWatermarkIniFile();
    // Loaded for reading is not loaded for editing, and the same pointer to another name is another file.
    ASSERT_EQ(m_oIni.LoadWatermarkIniFile(PATH), 1);
    EXPECT_EQ(m_oIni.DeleteWaterMarkIniSectionA("S"), 1);
    XCHAR szName[] = VTEXT("C:\\data\\a.ini");
    ASSERT_EQ(m_oIni.LoadWatermarkIniFile(szName), 1);
    szName[8] = VTEXT('b');
    ASSERT_EQ(m_oIni.LoadWatermarkIniFile(szName), 1);
    EXPECT_EQ(m_oIni.LoadWatermarkIniFileForRead(VTEXT("C:\\data\\missing.ini")), 0);
    EXPECT_EQ(m_oFake.files.OpenHandles(), 0u);
    EXPECT_EQ(m_oFake.files.FileNames().size(), 3u);
    EXPECT_EQ(Contents(), "");
}

TEST_F(UTF8IniOnAFake, AFileGrowsOnlySoFarThatItCanBeLoadedAgain) {
    const std::string entry = "[S]\r\nk=v\r\n";
    std::string text(bounds::MAX_INI_TEXT_BYTES - 20, '\n');
    text.replace(0, entry.size(), entry);
    Put(text);
    EXPECT_EQ(Write("S", "k", std::string(22, 'w').c_str()), 0);
    EXPECT_TRUE(Contents() == text);
    EXPECT_EQ(Write("S", "k", std::string(21, 'w').c_str()), 1);
    EXPECT_EQ(Contents().size(), bounds::MAX_INI_TEXT_BYTES);
    EXPECT_EQ(Get("S", "k"), std::string(21, 'w'));
    Put(text + std::string(21, '\n'));
    EXPECT_EQ(Get("S", "k"), "(default)");
    EXPECT_EQ(Write("S", "k", nullptr), 0);
    EXPECT_EQ(Contents().size(), text.size() + 21);
}

TEST_F(UTF8IniOnAFake, ListsAndValuesAreCutToTheirBuffers) {
    Put("\xEF\xBB\xBF[one]\r\na=1\r\n; c=2\r\nnothing\r\nb=3\r\n=4\r\n[]\n[two\n[two]\na=5");
    ASSERT_EQ(m_oIni.LoadWatermarkIniFileForRead(PATH), 1);
    const auto sections = [&](char* psz, DWORD dw) { return m_oIni.GetWatermarkIniSectionsA(psz, dw); };
    EXPECT_EQ(List(9, sections), "8:one|two||#");
    EXPECT_EQ(List(8, sections), "6:one|tw||#");
    EXPECT_EQ(List(1, sections), "0:|#");
    EXPECT_EQ(m_oIni.GetWatermarkIniSectionsA(nullptr, 10), 0u);
    const auto keys = [&](const char* pszSection) {
        return List(8, [&](char* psz, DWORD dw) { return m_oIni.GetWatermarkIniKeysA(pszSection, psz, dw); });
    };
    EXPECT_EQ(keys("one"), "4:a|b||####");
    EXPECT_EQ(keys("none"), "0:||#######");
    char szBuffer[8] = "#######";
    EXPECT_EQ(m_oIni.CustomGetPrivateProfileStringA("x", "y", "default", szBuffer, 4, PATH), 3u);
    EXPECT_EQ(std::string(szBuffer, 5), "def\0#"s);
    EXPECT_EQ(m_oIni.CustomGetPrivateProfileStringA("x", "y", nullptr, szBuffer, 1, PATH), 0u);
    EXPECT_EQ(m_oIni.CustomGetPrivateProfileStringA("one", "a", "d", szBuffer, 0, PATH), 0u);
    EXPECT_EQ(keys("one"), "0:||#######") << "each entry's read lets the file go";
    DWORD dwSection = 0;
    EXPECT_EQ(UTF8Ini::GetWatermarkIniKeyA("\n[S]\nk=v", 8, "S", "k", dwSection), 7u);
    EXPECT_EQ(dwSection, 1u);
    EXPECT_EQ(UTF8Ini::GetWatermarkIniKeyA("\n[S]\nk=v", 8, "S", "l", dwSection), UTF8Ini::NOT_FOUND);
    EXPECT_EQ(dwSection, 1u);
    EXPECT_EQ(UTF8Ini::GetWatermarkIniKeyA("\n[S]\nk=v", 8, "T", "k", dwSection), UTF8Ini::NOT_FOUND);
    EXPECT_EQ(dwSection, UTF8Ini::NOT_FOUND);
}

TEST_F(UTF8IniOnAFake, WideTextGoesThroughUtf8) {
    EXPECT_EQ(m_oIni.CustomWritePrivateProfileString(VTEXT("\x00C4"), VTEXT("\x4E00"), VTEXT("\xD83D\xDE00 7"), PATH),
              1);
    EXPECT_EQ(Contents(), "[\xC3\x84]\r\n\xE4\xB8\x80=\xF0\x9F\x98\x80 7\r\n");
    XCHAR szBuffer[6];
    const auto get = [&](const XCHAR* pszKey, DWORD dwSize) {
        return m_oIni.CustomGetPrivateProfileString(VTEXT("\x00C4"), pszKey, VTEXT("none"), szBuffer, dwSize, PATH);
    };
    EXPECT_EQ(get(VTEXT("\x4E00"), 6), 4u);
    EXPECT_EQ(XString(szBuffer), VTEXT("\xD83D\xDE00 7"));
    EXPECT_EQ(get(VTEXT("\x4E00"), 2), 0u) << "no half of a character";
    EXPECT_EQ(get(nullptr, 6), 4u);
    EXPECT_EQ(XString(szBuffer), VTEXT("none"));
    EXPECT_EQ(m_oIni.CustomWritePrivateProfileString(VTEXT("S"), VTEXT("n"), VTEXT("-0x1fz"), PATH), 1);
    EXPECT_EQ(m_oIni.CustomWritePrivateProfileString(VTEXT("S"), VTEXT("e"), VTEXT(""), PATH), 1);
    EXPECT_EQ(m_oIni.CustomGetPrivateProfileInt(VTEXT("S"), VTEXT("n"), 5, PATH), -31);
    EXPECT_EQ(m_oIni.CustomGetPrivateProfileInt(VTEXT("S"), VTEXT("e"), 5, PATH), 5);
}

TEST_F(UTF8IniOnAFake, OrdinaryFilesAreReachedOnlyWithAllArguments) {
    const XCHAR *const S = VTEXT("S"), *const K = VTEXT("k"), *const V = VTEXT("7"), *const NONE = nullptr;
    XCHAR szBuffer[20];
    BYTE abyData[4] = {1, 2, 3, 4}, abyBack[4] = {};
    EXPECT_TRUE(UTF8Ini::WritePrivateProfileStringW(S, K, V, PATH));
    EXPECT_TRUE(UTF8Ini::WritePrivateProfileInt(S, VTEXT("n"), -2147483647 - 1, PATH));
    EXPECT_TRUE(UTF8Ini::WritePrivateProfileStructW(S, VTEXT("d"), abyData, 4, PATH));
    EXPECT_TRUE(UTF8Ini::WritePrivateProfileSectionW(VTEXT("T"), VTEXT("a=1\0"), PATH));
    const std::string contents = "[S]\r\nk=7\r\nn=-2147483648\r\nd=010203040A\r\n[T]\r\na=1\r\n";
    EXPECT_EQ(Contents(), contents);
    EXPECT_EQ(UTF8Ini::GetPrivateProfileIntW(S, K, 5, PATH), 7);
    EXPECT_EQ(UTF8Ini::GetPrivateProfileStringW(S, K, V, szBuffer, 20, PATH), 1u);
    EXPECT_TRUE(UTF8Ini::GetPrivateProfileStructW(S, VTEXT("d"), abyBack, 4, PATH));
    EXPECT_EQ(ToHex(abyBack, 4), "01020304");
    EXPECT_EQ(UTF8Ini::GetPrivateProfileSectionW(VTEXT("T"), szBuffer, 20, PATH), 4u);
    EXPECT_EQ(UTF8Ini::GetPrivateProfileSectionNamesW(szBuffer, 20, PATH), 4u);

    FaultPlatform oFaults(m_oFake.Get());
    const PlatformScope oScope(oFaults.Get());
    oFaults.Script().Arm(FaultMode::None, 0);
    for (int iMissing = 0; iMissing < 3; ++iMissing) {
        const XCHAR *const s = iMissing == 0 ? NONE : S, *const k = iMissing == 1 ? NONE : K,
                           *const f = iMissing == 2 ? NONE : PATH;
        EXPECT_EQ(UTF8Ini::GetPrivateProfileIntW(s, k, 5, f), 5);
        EXPECT_EQ(UTF8Ini::GetPrivateProfileStringW(s, k, VTEXT("default"), szBuffer, 5, f), 4u);
        EXPECT_EQ(XString(szBuffer), VTEXT("defa"));
        EXPECT_FALSE(UTF8Ini::GetPrivateProfileStructW(s, k, abyBack, 4, f) ||
                     UTF8Ini::WritePrivateProfileStructW(s, k, abyData, 4, f));
        if (iMissing == 1) continue;
        EXPECT_FALSE(UTF8Ini::WritePrivateProfileStringW(s, k, V, f) || UTF8Ini::WritePrivateProfileInt(s, k, 1, f) ||
                     UTF8Ini::WritePrivateProfileSectionW(s, V, f));
        EXPECT_EQ(UTF8Ini::GetPrivateProfileSectionW(s, szBuffer, 20, f), 0u);
    }
    EXPECT_EQ(UTF8Ini::GetPrivateProfileIntW(VTEXT(""), K, 5, PATH), 5);
    EXPECT_EQ(UTF8Ini::GetPrivateProfileIntW(S, VTEXT(""), 5, PATH), 5);
    EXPECT_EQ(UTF8Ini::GetPrivateProfileStringW(S, K, NONE, nullptr, 20, PATH), 0u);
    EXPECT_EQ(UTF8Ini::GetPrivateProfileStringW(S, K, NONE, szBuffer, 0, PATH), 0u);
    EXPECT_EQ(UTF8Ini::GetPrivateProfileSectionNamesW(nullptr, 20, PATH), 0u);
    EXPECT_FALSE(UTF8Ini::WritePrivateProfileSectionW(S, nullptr, PATH) ||
                 UTF8Ini::GetPrivateProfileStructW(S, K, nullptr, 4, PATH));
    EXPECT_EQ(oFaults.Script().Calls(), 0u) << "the system saw none of them";
    EXPECT_EQ(Contents(), contents);
}

const XCHAR* const PATH = VTEXT("C:\\data\\marks.ini");

TEST(UTF8IniFault, FilesHaveTheOldTextOrTheNewOneWhateverFails) {
    const std::string before = "[S]\r\nk=old value\r\nl=1\r\n[T]\r\nm=2\r\n";
    const struct {
        const char* pszKey;
        const char* pszValue;
        std::string after;
    } aRows[] = {{"k", "new", "[S]\r\nk=new\r\nl=1\r\n[T]\r\nm=2\r\n"},
                 {"n", "3", "[S]\r\nk=old value\r\nl=1\r\nn=3\r\n[T]\r\nm=2\r\n"},
                 {nullptr, nullptr, "[T]\r\nm=2\r\n"}};
    RecordingSink sink;
    for (const auto& rRow : aRows) {
        const auto isOneOfBoth = [&](FakePlatform& rFake) {
            const auto ovby = rFake.files.Contents(PATH);
            const IniModel oFile(ovby ? std::string(ovby->begin(), ovby->end()) : "(none)");
            return oFile.text == before || oFile.text == rRow.after;
        };
        FaultLoop oLoop;
        oLoop.vModes = {FaultMode::FailOnce, FaultMode::FailFrom, FaultMode::ShortOnce, FaultMode::KillAt};
        oLoop.vStatuses = {Status::AccessDenied, Status::DiskFull, Status::UserMappedFile};
        oLoop.fnPrepare = [&](FakePlatform& rFake) { rFake.files.AddFile(PATH, BytesOf(before)); };
        oLoop.fnRun = [&] {
            UTF8Ini oIni;
            return oIni.CustomWritePrivateProfileStringA("S", rRow.pszKey, rRow.pszValue, PATH) == 1
                       ? FaultOutcome::Succeeded
                       : FaultOutcome::Failed;
        };
        oLoop.fnCheck = [&](FakePlatform& rFake, FaultOutcome eOutcome) {
            EXPECT_TRUE(isOneOfBoth(rFake));
            if (eOutcome == FaultOutcome::Succeeded) {
                EXPECT_TRUE(rFake.files.Contents(PATH) == BytesOf(rRow.after)) << "no bytes behind the end";
            }
        };
        oLoop.fnCheckAfterKill = [&](FakePlatform& rFake) {
            EXPECT_TRUE(isOneOfBoth(rFake));
            const PlatformScope oScope(rFake.Get());
            UTF8Ini oIni;
            EXPECT_EQ(oIni.CustomWritePrivateProfileStringA("S", "k", "again", PATH), 1);
            EXPECT_EQ(rFake.files.Contents(PATH)->back(), '\n');
        };
        EXPECT_GT(RunFaultLoop(oLoop).ullCalls, 8u);
    }
    EXPECT_GT(sink.Count("Exception thrown during call to UTF8Ini::CustomWritePrivateProfileStringA:"), 0u);
}

TEST(UTF8IniFault, FailedReadsGiveTheDefault) {
    RecordingSink sink;
    FaultLoop oLoop;
    oLoop.fnPrepare = [](FakePlatform& rFake) { rFake.files.AddFile(PATH, BytesOf("[S]\r\nk=value\r\nn=3\r\n")); };
    oLoop.fnRun = [] {
        char szBuffer[10] = {}, szList[10] = {};
        XCHAR szWide[10] = {}, szProfile[10] = {}, szNames[20] = {};
        UTF8Ini oIni;
        const std::string_view svValue(szBuffer,
                                       oIni.CustomGetPrivateProfileStringA("S", "k", "default", szBuffer, 10, PATH));
        const XStringView svWide(
            szWide, oIni.CustomGetPrivateProfileString(VTEXT("S"), VTEXT("k"), VTEXT("default"), szWide, 10, PATH));
        const bool fList =
            oIni.LoadWatermarkIniFileForRead(PATH) == 1 && oIni.GetWatermarkIniSectionsA(szList, 10) == 2;
        const DWORD dwProfile =
            UTF8Ini::GetPrivateProfileStringW(VTEXT("S"), VTEXT("k"), VTEXT("-"), szProfile, 10, PATH);
        const int iCustom = oIni.CustomGetPrivateProfileInt(VTEXT("S"), VTEXT("n"), -7, PATH);
        const int iProfile = UTF8Ini::GetPrivateProfileIntW(VTEXT("S"), VTEXT("n"), -7, PATH);
        const bool fLists = UTF8Ini::GetPrivateProfileSectionW(VTEXT("S"), szNames, 20, PATH) != 0 &&
                            UTF8Ini::GetPrivateProfileSectionNamesW(szNames, 20, PATH) == 2;
        if (svValue == "value" && svWide == VTEXT("value") && fList && dwProfile == 5 && fLists && iCustom == 3 &&
            iProfile == 3) {
            return FaultOutcome::Succeeded;
        }
        if ((svValue != "value" && svValue != "default") || (dwProfile != 5 && dwProfile != 1) ||
            (iCustom != 3 && iCustom != -7) || (iProfile != 3 && iProfile != -7)) {
            throw std::logic_error("neither value nor default");
        }
        return FaultOutcome::Failed;
    };
    EXPECT_GT(RunFaultLoop(oLoop).ullCalls, 15u);
    // What is written is the whole value or the one before; the system's own functions do it for an ordinary file.
    oLoop.fnRun = [] {
        constexpr const XCHAR *S = VTEXT("S"), *K = VTEXT("k");
        const BYTE abyData[] = {1, 2};
        BYTE abyBack[2] = {};
        UTF8Ini oIni;
        const bool fDone = UTF8Ini::WritePrivateProfileStringW(S, K, VTEXT("v"), PATH) &&
                           UTF8Ini::WritePrivateProfileInt(S, VTEXT("n"), 5, PATH) &&
                           UTF8Ini::WritePrivateProfileStructW(S, VTEXT("b"), abyData, 2, PATH) &&
                           UTF8Ini::GetPrivateProfileStructW(S, VTEXT("b"), abyBack, 2, PATH) &&
                           UTF8Ini::WritePrivateProfileSectionW(VTEXT("T"), VTEXT("a=1\0"), PATH) &&
                           oIni.CustomWritePrivateProfileString(S, K, VTEXT("value"), PATH) == 1 &&
                           oIni.LoadWatermarkIniFile(PATH) == 1 && oIni.DeleteWatermarkIniKeyA("S", "n") == 1 &&
                           oIni.DeleteWaterMarkIniSectionA("T") == 1;
        oIni.UnloadWatermarkIniFile();
        { UTF8Ini().LoadWatermarkIniFile(PATH); }  // released by the end of the object
        ByteBuffer bbText;
        const FaultOutcome eText = Attempt<ExceptionOutOfMemory>([&] { bbText = TextBuffer("[S]\r\nk=1\r\n"); });
        if (eText == FaultOutcome::Failed) return eText;
        if (UTF8Ini::EditWatermarkIniText(bbText, "S", "k", "2") != (bbText[7] == '2'))
            throw std::logic_error("a text that is half changed");
        return fDone && bbText[7] == '2' && abyBack[1] == 2 ? FaultOutcome::Succeeded : FaultOutcome::Failed;
    };
    oLoop.fnCheck = [](FakePlatform& rFake, FaultOutcome) {
        const std::vector<BYTE> vby = rFake.files.Contents(PATH).value_or(std::vector<BYTE>());
        const IniModel oFile(std::string(vby.begin(), vby.end()));
        const std::string value = oFile.Get("S", "k").value_or("(none)");
        EXPECT_TRUE(value == "value" || value == "v") << oFile.text;
    };
    EXPECT_GT(RunFaultLoop(oLoop).ullCalls, 20u);
    EXPECT_GT(sink.Count("Exception thrown during call to UTF8Ini::CustomGetPrivateProfileStringA:"), 0u);
}

}  // namespace
}  // namespace vlm::test
