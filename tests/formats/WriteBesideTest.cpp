/// @file
/// Files replaced whole.
#include "utilities/utilitiesdll/WriteBeside.h"

#include <gtest/gtest.h>

#include "formats/FileOnAFake.h"
#include "support/FaultLoop.h"
#include "utilities/debuggingandexceptions/VelomExceptions.h"

namespace vlm::test {
namespace {

class WriteBesideTest : public FileOnAFake {};

TEST_F(WriteBesideTest, TheNewContentsStandAloneInTheFolder) {
    for (const std::string_view svContents : {"first", "", "the second, longer one"}) {
        WriteBesideAndReplace(PATH, TextBuffer(svContents));
        EXPECT_EQ(m_oFake.files.FileNames().size(), 1u);
        m_oFake.files.CutPower();
        EXPECT_EQ(Contents(), svContents) << "before it took the target's place it was on the medium";
    }
}

TEST_F(WriteBesideTest, WhatMustNotBeReplacedIsRefusedBeforeAnythingIsWritten) {
    Put("old", FilePort::ATTRIBUTE_READONLY);
    for (const XCHAR* const pszPath : {PATH, VTEXT("C:\\data"), VTEXT("C:\\absent\\file.bin"), VTEXT("")}) {
        const std::string message =
            MessageOf<ExceptionCreateFileForWriting>([pszPath] { WriteBesideAndReplace(pszPath, TextBuffer("new")); });
        EXPECT_NE(message.find("'" + Narrow(pszPath) + "'"), std::string::npos) << message;
        EXPECT_EQ(m_oFake.files.FileNames().size(), 1u);
    }
    EXPECT_EQ(Contents(), "old");
}

TEST_F(WriteBesideTest, WhateverCallFailsTheFileIsTheOldOneOrTheNewOne) {
    const ByteBuffer bbNew = TextBuffer("the new contents");
    const auto contentsOf = [](FakePlatform& rFake) {
        const auto ovby = rFake.files.Contents(PATH);
        return ovby ? std::string(ovby->begin(), ovby->end()) : "(none)";
    };
    FaultLoop oLoop;
    oLoop.vModes = {FaultMode::FailOnce, FaultMode::FailFrom, FaultMode::ShortOnce, FaultMode::KillAt,
                    FaultMode::KillTorn};
    oLoop.vStatuses = {Status::AccessDenied, Status::FileExists, Status::DiskFull};
    oLoop.fnPrepare = [](FakePlatform& rFake) { rFake.files.AddFile(PATH, BytesOf("old")); };
    oLoop.fnRun = [&] {
        return Attempt<ExceptionFile, ExceptionOutOfMemory>([&] { WriteBesideAndReplace(PATH, bbNew); });
    };
    oLoop.fnCheck = [&](FakePlatform& rFake, FaultOutcome eOutcome) {
        EXPECT_EQ(contentsOf(rFake), eOutcome == FaultOutcome::Succeeded ? "the new contents" : "old");
    };
    oLoop.fnCheckAfterKill = [&](FakePlatform& rFake) {
        const std::string strContents = contentsOf(rFake);
        EXPECT_TRUE(strContents == "old" || strContents == "the new contents") << strContents;
    };
    EXPECT_GT(RunFaultLoop(oLoop).ullCalls, 5u);
    // A disk that runs full leaves the old file and nothing else.
    Put("old");
    m_oFake.files.LimitSpace(6);
    EXPECT_THROW(WriteBesideAndReplace(PATH, bbNew), ExceptionWriteFile);
    EXPECT_EQ(Contents(), "old");
    EXPECT_EQ(m_oFake.files.FileNames().size(), 1u);
}

}  // namespace
}  // namespace vlm::test
