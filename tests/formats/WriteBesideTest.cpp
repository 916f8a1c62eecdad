// Files replaced whole.
#include "utilities/utilitiesdll/WriteBeside.h"

#include <gtest/gtest.h>

#include "support/Bytes.h"
#include "support/FakePlatform.h"
#include "support/FaultLoop.h"
#include "utilities/debuggingandexceptions/VelomExceptions.h"

namespace {

using namespace vlm;
using namespace vlm::test;

const XCHAR* const TARGET = VTEXT("C:\\data\\queue.bin");

ByteBuffer Bytes(std::string_view svText) {
    return ByteBuffer(BytesOf(svText));
}

std::string ContentsOf(const FakePlatform& rFake) {
    const auto ovbyContents = rFake.files.Contents(TARGET);
    return ovbyContents ? std::string(ovbyContents->begin(), ovbyContents->end()) : "(none)";
}

TEST(WriteBesideTest, TheNewContentsStandAloneInTheFolder) {
    FakePlatform oFake;
    oFake.files.AddFolder(VTEXT("C:\\data"));
    const PlatformScope oScope(oFake.Get());
    for (const std::string_view svContents : {"first", "", "the second, longer one"}) {
        WriteBesideAndReplace(TARGET, Bytes(svContents));
        EXPECT_EQ(ContentsOf(oFake), svContents);
        EXPECT_EQ(oFake.files.FileNames().size(), 1u);
        oFake.files.CutPower();
        EXPECT_EQ(ContentsOf(oFake), svContents) << "before it took the target's place it was on the medium";
    }
}

TEST(WriteBesideTest, WhatMustNotBeReplacedIsRefusedBeforeAnythingIsWritten) {
    FakePlatform oFake;
    oFake.files.AddFile(TARGET, BytesOf("old"), FilePort::ATTRIBUTE_READONLY);
    const PlatformScope oScope(oFake.Get());
    for (const XCHAR* const pszPath : {TARGET, VTEXT("C:\\data"), VTEXT("C:\\absent\\queue.bin"), VTEXT("")}) {
        EXPECT_THROW(WriteBesideAndReplace(pszPath, Bytes("new")), ExceptionCreateFileForWriting) << Printable(pszPath);
        EXPECT_EQ(oFake.files.FileNames().size(), 1u);
    }
    EXPECT_EQ(ContentsOf(oFake), "old");
    try {
        WriteBesideAndReplace(TARGET, Bytes("new"));
    } catch (const ExceptionCreateFileForWriting& rException) {
        EXPECT_NE(rException.GetExceptionMesage().Find(TARGET), -1) << "the message names the file";
    }
}

TEST(WriteBesideTest, ADiskThatRunsFullLeavesTheOldFileAndNothingElse) {
    FakePlatform oFake;
    oFake.files.AddFile(TARGET, BytesOf("old"));
    oFake.files.LimitSpace(6);
    const PlatformScope oScope(oFake.Get());
    EXPECT_THROW(WriteBesideAndReplace(TARGET, Bytes("does not fit")), ExceptionWriteFile);
    EXPECT_EQ(ContentsOf(oFake), "old");
    EXPECT_EQ(oFake.files.FileNames().size(), 1u);
}

TEST(WriteBesideTest, WhateverCallFailsTheFileIsTheOldOneOrTheNewOne) {
    static const ByteBuffer soNew = Bytes("the new contents");  // not allocated while allocations fail
    FaultLoop oLoop;
    oLoop.vModes = {FaultMode::FailOnce, FaultMode::FailFrom, FaultMode::ShortOnce, FaultMode::KillAt,
                    FaultMode::KillTorn};
    oLoop.vStatuses = {Status::AccessDenied, Status::FileExists, Status::DiskFull};
    oLoop.fnPrepare = [](FakePlatform& rFake) { rFake.files.AddFile(TARGET, BytesOf("old")); };
    oLoop.fnRun = [] {
        try {
            WriteBesideAndReplace(TARGET, soNew);
            return FaultOutcome::Succeeded;
        } catch (const ExceptionFile&) {
            return FaultOutcome::Failed;
        } catch (const ExceptionOutOfMemory&) {
            return FaultOutcome::Failed;
        }
    };
    oLoop.fnCheck = [](FakePlatform& rFake, FaultOutcome eOutcome) {
        EXPECT_EQ(ContentsOf(rFake), eOutcome == FaultOutcome::Succeeded ? "the new contents" : "old");
    };
    oLoop.fnCheckAfterKill = [](FakePlatform& rFake) {
        const std::string strContents = ContentsOf(rFake);
        EXPECT_TRUE(strContents == "old" || strContents == "the new contents") << strContents;
    };
    EXPECT_GT(RunFaultLoop(oLoop).ullCalls, 5u);
}

}  // namespace
