/// @file
/// The contract of the profile functions.
#include "platform/ProfilePort.h"

#include <algorithm>

#include "FileContract.h"
#include "platform/EmbeddedProfiles.h"
#include "support/FaultLoop.h"

namespace vlm::test {

namespace {

class ProfilePortContract : public FileContract {
protected:
    void SetUp() override {
        FileContract::SetUp();
        m_path = Path(VTEXT("test.ini"));
    }
    ProfilePort& Profiles() const { return *Ports().pProfiles; }

    void Write(const XCHAR* pszSection, const XCHAR* pszKey, const XCHAR* pszValue) const {
        EXPECT_EQ(Profiles().WriteString(pszSection, pszKey, pszValue, m_path.c_str()), Status::Success);
    }
    XString Get(const XCHAR* pszSection, const XCHAR* pszKey) const {
        XCHAR szBuffer[200];
        const DWORD cUnits =
            Profiles().GetString(pszSection, pszKey, VTEXT("(default)"), szBuffer, 200, m_path.c_str());
        EXPECT_EQ(XStringView(szBuffer).size(), cUnits);
        return szBuffer;
    }
    /// A list with "|" for its zeros.
    template <typename Call>
    static XString List(DWORD cUnits, Call call) {
        XString buffer(cUnits + 1, VTEXT('#'));
        const DWORD cCopied = call(buffer.data(), cUnits);
        EXPECT_EQ(buffer[cCopied], 0);
        EXPECT_EQ(buffer[cUnits], VTEXT('#'));
        if (cCopied + 2 == cUnits && buffer[cCopied - 1] != 0) {
            EXPECT_EQ(buffer[cCopied + 1], 0);
        }
        buffer.resize(cCopied);
        std::replace(buffer.begin(), buffer.end(), XCHAR{0}, VTEXT('|'));
        return buffer;
    }
    XString Section(const XCHAR* pszSection, DWORD cUnits = 200) const {
        return List(cUnits,
                    [&](XCHAR* psz, DWORD c) { return Profiles().GetSection(pszSection, psz, c, m_path.c_str()); });
    }
    XString Names(DWORD cUnits = 200) const {
        return List(cUnits, [&](XCHAR* psz, DWORD c) { return Profiles().GetSectionNames(psz, c, m_path.c_str()); });
    }

    XString m_path;
};

TEST_P(ProfilePortContract, EntriesAreReadAsTheyStand) {
    Put(m_path,
        "; comment\r\n[One]\r\nkey = value \r\nquoted=\"  two \"\nsingle='it''s'\r\n;key2=no\r\nempty=\r\n"
        "n1=42abc\r\nn2=0x1F\r\nn3=-7\r\nn4=4294967295\r\nn5=x\r\n\r\n[Two]\r\nkey=other");
    EXPECT_EQ(Get(VTEXT("One"), VTEXT("key")), VTEXT("value"));
    EXPECT_EQ(Get(VTEXT("oNE"), VTEXT("KEY")), VTEXT("value"));
    EXPECT_EQ(Get(VTEXT("Two"), VTEXT("key")), VTEXT("other"));
    EXPECT_EQ(Get(VTEXT("One"), VTEXT("quoted")), VTEXT("  two "));
    EXPECT_EQ(Get(VTEXT("One"), VTEXT("single")), VTEXT("it''s"));
    EXPECT_EQ(Get(VTEXT("One"), VTEXT("empty")), VTEXT(""));
    for (const XCHAR* pszKey : {VTEXT("absent"), VTEXT("key2")})
        EXPECT_EQ(Get(VTEXT("One"), pszKey), VTEXT("(default)"));
    EXPECT_EQ(Get(VTEXT("Three"), VTEXT("key")), VTEXT("(default)"));
    const struct {
        const XCHAR* pszKey;
        DWORD dwValue;
    } aRows[] = {{VTEXT("n1"), 42}, {VTEXT("n2"), 31},     {VTEXT("n3"), DWORD(-7)}, {VTEXT("n4"), 0xFFFFFFFF},
                 {VTEXT("n5"), 0},  {VTEXT("empty"), 999}, {VTEXT("absent"), 999}};
    for (const auto& rRow : aRows) {
        EXPECT_EQ(Profiles().GetInt(VTEXT("One"), rRow.pszKey, 999, m_path.c_str()), rRow.dwValue);
        if (rRow.dwValue != 999) {
            EXPECT_EQ(ProfileNumber(Get(VTEXT("One"), rRow.pszKey)), rRow.dwValue);
        }
    }
}

TEST_P(ProfilePortContract, WhatDoesNotFitIsCut) {
    Put(m_path, "[S]\r\na=12345\r\n;no\r\nb=6\r\n[Tt]\r\n");
    XCHAR szBuffer[8] = {};
    EXPECT_EQ(Profiles().GetString(VTEXT("S"), VTEXT("a"), nullptr, szBuffer, 6, m_path.c_str()), 5u);
    EXPECT_EQ(XString(szBuffer), VTEXT("12345"));
    EXPECT_EQ(Profiles().GetString(VTEXT("S"), VTEXT("a"), nullptr, szBuffer, 5, m_path.c_str()), 4u);
    EXPECT_EQ(XString(szBuffer), VTEXT("1234"));
    EXPECT_EQ(Profiles().GetString(VTEXT("S"), VTEXT("x"), nullptr, szBuffer, 5, m_path.c_str()), 0u);
    EXPECT_EQ(Section(VTEXT("S")), VTEXT("a=12345|b=6|"));
    EXPECT_EQ(Section(VTEXT("S"), 10), VTEXT("a=12345|"));
    EXPECT_EQ(Section(VTEXT("S"), 7), VTEXT("a=123"));
    EXPECT_EQ(Names(), VTEXT("S|Tt|"));
    EXPECT_EQ(Names(5), VTEXT("S|T"));
    EXPECT_EQ(Section(VTEXT("Tt")), VTEXT(""));
}

TEST_P(ProfilePortContract, WritesAddReplaceAndDelete) {
    Write(VTEXT("S"), VTEXT("a"), VTEXT("1"));
    EXPECT_EQ(Contents(m_path), "[S]\r\na=1\r\n");
    Write(VTEXT("S"), VTEXT("b"), VTEXT("2"));
    Write(VTEXT("s"), VTEXT("A"), VTEXT("longer than before"));
    Write(VTEXT("T"), VTEXT("c"), VTEXT("3"));
    EXPECT_EQ(Section(VTEXT("S")), VTEXT("a=longer than before|b=2|"));
    EXPECT_EQ(Names(), VTEXT("S|T|"));
    Write(VTEXT("S"), VTEXT("a"), nullptr);
    Write(VTEXT("S"), VTEXT("a"), nullptr);
    EXPECT_EQ(Section(VTEXT("S")), VTEXT("b=2|"));
    EXPECT_EQ(Profiles().WriteSection(VTEXT("S"), VTEXT("x=9\0y=8\0"), m_path.c_str()), Status::Success);
    EXPECT_EQ(Profiles().WriteSection(VTEXT("U"), VTEXT("z=7\0"), m_path.c_str()), Status::Success);
    EXPECT_EQ(Section(VTEXT("S")), VTEXT("x=9|y=8|"));
    EXPECT_EQ(Get(VTEXT("T"), VTEXT("c")), VTEXT("3"));
    Write(VTEXT("S"), nullptr, nullptr);
    EXPECT_EQ(Names(), VTEXT("T|U|"));
}

TEST_P(ProfilePortContract, StructsCarryTheirSum) {
    const BYTE abyData[] = {1, 0xAB, 0, 0xFF};
    BYTE abyBack[5] = {};
    const auto get = [&](DWORD cb) {
        return Profiles().GetStruct(VTEXT("S"), VTEXT("d"), abyBack, cb, m_path.c_str()) == Status::Success;
    };
    EXPECT_FALSE(get(4));
    EXPECT_EQ(Profiles().WriteStruct(VTEXT("S"), VTEXT("d"), abyData, 4, m_path.c_str()), Status::Success);
    EXPECT_EQ(Get(VTEXT("S"), VTEXT("d")), VTEXT("01AB00FFAB"));
    ASSERT_TRUE(get(4));
    EXPECT_EQ(std::vector<BYTE>(abyBack, abyBack + 4), std::vector<BYTE>(abyData, abyData + 4));
    EXPECT_FALSE(get(3));
    EXPECT_FALSE(get(5));
    for (const XCHAR* psz : {VTEXT("01AB00FFAC"), VTEXT("01AB00FFA"), VTEXT("0xAB00FFAB")}) {
        Write(VTEXT("S"), VTEXT("d"), psz);
        EXPECT_FALSE(get(4));
    }
}

TEST_P(ProfilePortContract, FilesKeepTheirEncodingAndTheirOtherLines) {
    // "Zürich" in the ANSI page, and a letter that it lacks.
    Put(m_path, "; c\xE9ntre\r\n[S]\r\na=Z\xFCrich\r\n\r\n[T]\r\nb=2\r\n");
    EXPECT_EQ(Get(VTEXT("S"), VTEXT("a")), VTEXT("Z\xFCrich"));
    Write(VTEXT("S"), VTEXT("n"), VTEXT("\xFC\x0416"));
    const std::string contents = Contents(m_path);
    EXPECT_TRUE(contents.starts_with("; c\xE9ntre\r\n[S]\r\na=Z\xFCrich\r\nn=\xFC?\r\n")) << contents;
    EXPECT_TRUE(contents.ends_with("[T]\r\nb=2\r\n")) << contents;
    constexpr char UTF16[] = "\xFF\xFE[\0S\0]\0\r\0\n\0a\0=\0\x16\x04\r\0\n\0";
    Put(m_path, std::string_view(UTF16, sizeof(UTF16) - 1));
    EXPECT_EQ(Get(VTEXT("S"), VTEXT("a")), VTEXT("\x0416"));
    Write(VTEXT("S"), VTEXT("b"), VTEXT("\x0417"));
    constexpr char MORE[] = "b\0=\0\x17\x04\r\0\n\0";
    EXPECT_EQ(Contents(m_path), std::string(UTF16, sizeof(UTF16) - 1) + std::string(MORE, sizeof(MORE) - 1));
}

TEST_P(ProfilePortContract, FilesThatCannotBeUsedReadAsEmptyAndRefuseWrites) {
    EXPECT_EQ(Get(VTEXT("S"), VTEXT("a")), VTEXT("(default)"));
    EXPECT_EQ(Names(), VTEXT(""));
    EXPECT_FALSE(Exists(m_path));
    Put(m_path, "[S]\r\na=1\r\n");
    const HANDLE hFile = Open(m_path, {Access::ReadWrite, Disposition::OpenExisting, NONE});
    EXPECT_EQ(Get(VTEXT("S"), VTEXT("a")), VTEXT("(default)"));
    EXPECT_EQ(Profiles().WriteString(VTEXT("S"), VTEXT("a"), VTEXT("2"), m_path.c_str()), Status::SharingViolation);
    EXPECT_EQ(Files().Close(hFile), Status::Success);
    EXPECT_EQ(Contents(m_path), "[S]\r\na=1\r\n");
    m_path = Path(VTEXT("no folder\\test.ini"));
    EXPECT_EQ(Profiles().WriteString(VTEXT("S"), VTEXT("a"), VTEXT("2"), m_path.c_str()), Status::PathNotFound);
    EXPECT_EQ(m_oFake.files.OpenHandles(), 0u);
}

Q9_CONTRACT_SUITE(ProfilePortContract);

TEST(EmbeddedProfiles, AWriteThatFailsOrIsKilledLeavesTheOldFileOrTheNewOne) {
    static const XCHAR* const s_pszPath = VTEXT("C:\\test.ini");
    const std::vector<BYTE> vbyOld = BytesOf("; c\r\n[S]\r\na=1\r\n"), vbyNew = BytesOf("; c\r\n[S]\r\na=2\r\n");
    const auto isOneOfBoth = [&](FakePlatform& rFake) {
        const auto ovby = rFake.files.Contents(s_pszPath);
        return ovby == vbyOld || ovby == vbyNew;
    };
    FaultLoop oLoop;
    oLoop.vModes = {FaultMode::FailOnce, FaultMode::ShortOnce, FaultMode::FailFrom, FaultMode::KillAt,
                    FaultMode::KillTorn};
    oLoop.fnPrepare = [&](FakePlatform& rFake) { rFake.files.AddFile(s_pszPath, vbyOld); };
    oLoop.fnRun = [] {
        EmbeddedProfiles oProfiles(*GetPlatform().pFiles, *GetPlatform().pText);
        const bool fRead = oProfiles.GetInt(VTEXT("S"), VTEXT("a"), 0, s_pszPath) != 0;
        const bool fWritten = oProfiles.WriteString(VTEXT("S"), VTEXT("a"), VTEXT("2"), s_pszPath) == Status::Success;
        return fRead && fWritten ? FaultOutcome::Succeeded : FaultOutcome::Failed;
    };
    oLoop.fnCheck = [&](FakePlatform& rFake, FaultOutcome eOutcome) {
        EXPECT_TRUE(isOneOfBoth(rFake));
        if (eOutcome == FaultOutcome::Succeeded) {
            EXPECT_TRUE(rFake.files.Contents(s_pszPath) == vbyNew);
            EXPECT_EQ(rFake.files.FileNames().size(), 1u);
        }
    };
    oLoop.fnCheckAfterKill = [&](FakePlatform& rFake) { EXPECT_TRUE(isOneOfBoth(rFake)); };
    EXPECT_GT(RunFaultLoop(oLoop).ullCalls, 10u);
}

}  // namespace

}  // namespace vlm::test
