/// @file
/// The fault loop must find what it is there to find: each of these operations has one fault of its own.
#include "support/FaultLoop.h"

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>

#include "support/AllocationFaults.h"
#include "support/Bytes.h"

namespace vlm::test {

namespace {

using Access = FilePort::Access;
using Disposition = FilePort::Disposition;

constexpr const XCHAR* PATH = VTEXT("C:\\data\\file.bin");
constexpr FilePort::OpenOptions READING{};

void PrepareFile(FakePlatform& rFake) {
    rFake.files.AddFile(PATH, BytesOf("0123456789"));
}

/// Reads the file into memory of its own, correctly; the flags plant one mistake each.
struct Reader {
    bool fLeakHandle = false, fWrongException = false;

    FaultOutcome operator()() const try {
        FilePort& rFiles = *GetPlatform().pFiles;
        HANDLE hFile = nullptr;
        if (rFiles.Open(PATH, READING, hFile) != Status::Success) return FaultOutcome::Failed;
        std::unique_ptr<char[]> apBytes;
        try {
            apBytes = std::make_unique<char[]>(10);
        } catch (...) {
            rFiles.Close(hFile);
            if (fWrongException) throw std::logic_error("wrong");
            return FaultOutcome::Failed;
        }
        DWORD dwRead = 0;
        const Status eRead = rFiles.Read(hFile, apBytes.get(), 10, dwRead);
        if (eRead != Status::Success && fLeakHandle) return FaultOutcome::Failed;
        rFiles.Close(hFile);
        if (eRead != Status::Success || dwRead < 10) return FaultOutcome::Failed;
        return std::string(apBytes.get(), 3) == "012" ? FaultOutcome::Succeeded : FaultOutcome::Failed;
    } catch (const std::bad_alloc&) {
        return FaultOutcome::Failed;
    }
};

FaultLoop LoopOver(const Reader& rReader) {
    FaultLoop oLoop;
    oLoop.fnPrepare = PrepareFile;
    oLoop.fnRun = rReader;
    return oLoop;
}

TEST(FaultLoop, RunsEveryCallAndEveryAllocationInEveryMode) {
    const FaultLoopReport oReport = RunFaultLoop(LoopOver({}));
    EXPECT_EQ(oReport.ullCalls, 3u);
    EXPECT_EQ(oReport.ullAllocations, AllocationFaults::IN_FORCE ? 1u : 0u);
    // Three calls in three modes; the one allocation failing alone and with all after it.
    EXPECT_EQ(oReport.ullFaults, AllocationFaults::IN_FORCE ? 11u : 9u);
}

TEST(FaultLoop, FindsALeakedHandle) {
    EXPECT_NONFATAL_FAILURE(
        {
            FaultLoop oLoop = LoopOver({.fLeakHandle = true});
            oLoop.vModes = {FaultMode::FailOnce};
            oLoop.fAllocations = false;
            RunFaultLoop(oLoop);
        },
        "left over");
}

TEST(FaultLoop, FindsLeakedMemory) {
    if (!AllocationFaults::IN_FORCE) GTEST_SKIP() << "allocations are the sanitizer's";
    // Held here, so that the leak checker of the build has nothing to say.
    static std::unique_ptr<char[]> sapLeak;
    FaultLoop oLoop;
    oLoop.fnRun = [] {
        sapLeak = std::make_unique<char[]>(10);
        return FaultOutcome::Succeeded;
    };
    oLoop.fAllocations = false;
    EXPECT_NONFATAL_FAILURE(RunFaultLoop(oLoop), "allocations are left over");
    sapLeak.reset();
}

TEST(FaultLoop, FindsAnExceptionOfTheWrongType) {
    if (!AllocationFaults::IN_FORCE) GTEST_SKIP() << "allocations are the sanitizer's";
    EXPECT_NONFATAL_FAILURE(RunFaultLoop(LoopOver({.fWrongException = true})), "wrong");
}

TEST(FaultLoop, FindsAnOperationThatDoesNotRecover) {
    static bool sfBroken = false;
    FaultLoop oLoop;
    oLoop.fnPrepare = PrepareFile;
    oLoop.fnRun = [] {
        DWORD dwAttributes = 0;
        sfBroken = sfBroken || GetPlatform().pFiles->GetAttributes(PATH, dwAttributes) != Status::Success;
        return sfBroken ? FaultOutcome::Failed : FaultOutcome::Succeeded;
    };
    EXPECT_NONFATAL_FAILURE(RunFaultLoop(oLoop), "does not work any more");
}

TEST(FaultLoop, AKillLeavesWhatTheDiskHadByThen) {
    unsigned cOld = 0, cNew = 0, cTorn = 0;
    FaultLoop oLoop;
    oLoop.fnPrepare = PrepareFile;
    oLoop.fnRun = [] {
        FilePort& rFiles = *GetPlatform().pFiles;
        HANDLE hFile = nullptr;
        DWORD dwWritten = 0;
        if (rFiles.Open(PATH, {Access::ReadWrite, Disposition::OpenExisting, 0, true, false}, hFile) !=
            Status::Success) {
            return FaultOutcome::Failed;
        }
        const Status eWrite = rFiles.Write(hFile, "NEW DATA!!", 10, dwWritten);
        const Status eClose = rFiles.Close(hFile);
        return eWrite == Status::Success && eClose == Status::Success ? FaultOutcome::Succeeded : FaultOutcome::Failed;
    };
    oLoop.fnCheckAfterKill = [&](FakePlatform& rFake) {
        const std::vector<BYTE> vbyLeft = rFake.files.Contents(PATH).value();
        cOld += vbyLeft == BytesOf("0123456789");
        cNew += vbyLeft == BytesOf("NEW DATA!!");
        cTorn += vbyLeft == BytesOf("NEW D56789");
    };
    oLoop.vModes = {FaultMode::KillAt, FaultMode::KillTorn};
    oLoop.fAllocations = false;
    RunFaultLoop(oLoop);
    // Open, write and close, killed before and within.
    EXPECT_EQ(cOld, 3u);
    EXPECT_EQ(cNew, 2u);
    EXPECT_EQ(cTorn, 1u);
}

TEST(FakeFilePort, AHandleThatIsNotOpenFailsTheTest) {
    FakePlatform oFake;
    EXPECT_NONFATAL_FAILURE(oFake.files.Close(nullptr), "a handle that is not open");
}

}  // namespace

}  // namespace vlm::test
