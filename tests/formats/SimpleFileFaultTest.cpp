/// @file
/// Files while calls and allocations fail, and processes die: the promised exception, and nothing half done.
#include <gtest/gtest.h>

#include <memory>

#include "support/Bytes.h"
#include "support/FaultLoop.h"
#include "utilities/debuggingandexceptions/VelomExceptions.h"
#include "utilities/utilitiesdll/SimpleFileWithCompression.h"
#include "utilities/utilitiesdll/SimpleFileWithCrc.h"
#include "utilities/utilitiesdll/simplefilewithencryption.h"

namespace {

using namespace vlm;
using namespace vlm::test;

const XCHAR* const PATH = VTEXT("C:\\data\\file.bin");

/// One of the classes, with the bytes of a file that it wrote.
struct Kind {
    const char* pszName;
    std::unique_ptr<SimpleFile> apoFile;
    ByteBuffer bbOldFile;
};

const ByteBuffer& NewData() {
    static const ByteBuffer soData(std::vector<BYTE>(3000, BYTE{'n'}));
    return soData;
}
const ByteBuffer& OldData() {
    static const ByteBuffer soData(std::vector<BYTE>(2000, BYTE{'o'}));
    return soData;
}

std::vector<Kind> Kinds() {
    std::vector<Kind> vKinds;
    const CXString csPath(PATH);
    vKinds.push_back({"plain", std::make_unique<SimpleFile>(csPath), OldData()});
    auto apoCrc = std::make_unique<SimpleFileWithCrc>(csPath);
    vKinds.push_back({"crc", nullptr, SimpleFileWithCrc::EncodeContents(OldData())});
    vKinds.back().apoFile = std::move(apoCrc);
    auto apoCompressed = std::make_unique<SimpleFileWithCompression>(csPath);
    vKinds.push_back({"compressed", nullptr, apoCompressed->EncodeContents(OldData())});
    vKinds.back().apoFile = std::move(apoCompressed);
    auto apoEncrypted = std::make_unique<SimpleFileWithEncryption>(csPath, SimpleFileWithEncryption::SFE_WINCRYPT);
    vKinds.push_back({"encrypted", nullptr, apoEncrypted->EncodeContents(OldData())});
    vKinds.back().apoFile = std::move(apoEncrypted);
    return vKinds;
}

/// Runs what may fail in the promised ways only.
template <class Operation>
FaultOutcome Promised(Operation&& operation) {
    try {
        operation();
        return FaultOutcome::Succeeded;
    } catch (const ExceptionFile&) {
    } catch (const ExceptionCompression&) {
    } catch (const ExceptionFileOperationCompression&) {
    } catch (const ExceptionOutOfMemory&) {
    } catch (const std::bad_alloc&) {  // even the exception took more memory than there was
    }
    return FaultOutcome::Failed;
}

/// What the class itself reads on an undisturbed disk; nothing when it refuses.
std::optional<std::vector<BYTE>> ReadBack(FakePlatform& rFake, const SimpleFile& rFile) {
    const PlatformScope oScope(rFake.Get());
    try {
        ByteBuffer bb;
        rFile.ReadTheFile(bb);
        return bb.GetVector();
    } catch (const VelomException&) {
        return std::nullopt;
    }
}

TEST(SimpleFileFault, AFailedWriteLeavesNoFileOrTheOldOne) {
    for (const Kind& rKind : Kinds()) {
        SCOPED_TRACE(rKind.pszName);
        FaultLoop oLoop;
        oLoop.vModes = {FaultMode::FailOnce, FaultMode::ShortOnce};
        oLoop.vStatuses = {Status::AccessDenied, Status::SharingViolation, Status::DiskFull};
        oLoop.fnPrepare = [&](FakePlatform& rFake) {
            rFake.files.AddFile(PATH, rKind.bbOldFile.GetVector(), FilePort::ATTRIBUTE_READONLY);
        };
        oLoop.fnRun = [&] {
            return Promised([&] { rKind.apoFile->WriteTheFile(NewData(), SimpleFile::FAA_MAKE_WRITABLE); });
        };
        oLoop.fnCheck = [&](FakePlatform& rFake, FaultOutcome eOutcome) {
            const auto ovbyFile = rFake.files.Contents(PATH);
            const auto ovbyRead = ReadBack(rFake, *rKind.apoFile);
            if (eOutcome == FaultOutcome::Succeeded) {
                EXPECT_TRUE(ovbyRead == NewData().GetVector());
            } else {
                EXPECT_TRUE(!ovbyFile || *ovbyFile == rKind.bbOldFile.GetVector());
            }
        };
        EXPECT_GT(RunFaultLoop(oLoop).ullCalls, 6u);
    }
}

TEST(SimpleFileFault, NothingLeaksWhenEverythingFailsFromSomePointOn) {
    for (const Kind& rKind : Kinds()) {
        SCOPED_TRACE(rKind.pszName);
        bool fKept = true;
        FaultLoop oLoop;
        oLoop.vModes = {FaultMode::FailFrom};
        oLoop.fRunAgain = false;  // where nothing can be deleted any more, half a file stays
        oLoop.fnPrepare = [&](FakePlatform& rFake) { rFake.files.AddFile(PATH, rKind.bbOldFile.GetVector()); };
        oLoop.fnRun = [&] {
            ByteBuffer bb;
            const FaultOutcome eRead = Promised([&] {
                bb.appendByte(7);
                rKind.apoFile->ReadTheFile(bb);
            });
            fKept = fKept && (eRead == FaultOutcome::Succeeded || bb.size() <= 1);
            const FaultOutcome eWrite =
                Promised([&] { rKind.apoFile->WriteTheFile(OldData(), SimpleFile::FAA_MAKE_WRITABLE); });
            const bool fExists = rKind.apoFile->FileExists();
            return eRead == eWrite && fExists ? eRead : FaultOutcome::Failed;
        };
        RunFaultLoop(oLoop);
        EXPECT_TRUE(fKept);
    }
}

TEST(SimpleFileFault, FailedReadsChangeNeitherFileNorTarget) {
    for (const Kind& rKind : Kinds()) {
        SCOPED_TRACE(rKind.pszName);
        bool fKept = true;
        FaultLoop oLoop;
        oLoop.vModes = {FaultMode::FailOnce, FaultMode::ShortOnce, FaultMode::FailFrom};
        oLoop.fnPrepare = [&](FakePlatform& rFake) { rFake.files.AddFile(PATH, rKind.bbOldFile.GetVector()); };
        oLoop.fnRun = [&] {
            ByteBuffer bb;
            return Promised([&] {
                bb.appendByte(7);
                if (Promised([&] { rKind.apoFile->ReadTheFile(bb, 100000); }) == FaultOutcome::Succeeded) {
                    fKept = fKept && bb == OldData();
                    return;
                }
                fKept = fKept && bb.size() == 1 && bb[0] == 7;
                throw std::bad_alloc();
            });
        };
        oLoop.fnCheck = [&](FakePlatform& rFake, FaultOutcome) {
            EXPECT_TRUE(rFake.files.Contents(PATH) == rKind.bbOldFile.GetVector());
        };
        RunFaultLoop(oLoop);
        EXPECT_TRUE(fKept);
    }
}

TEST(SimpleFileFault, FailedRangesLeaveTheRestOfTheFile) {
    const SimpleFile oFile{CXString(PATH)};
    static const BYTE s_abyNew[] = {'N', 'E', 'W'};
    FaultLoop oLoop;
    oLoop.vModes = {FaultMode::FailOnce, FaultMode::ShortOnce, FaultMode::FailFrom};
    oLoop.fnPrepare = [](FakePlatform& rFake) { rFake.files.AddFile(PATH, BytesOf("0123456789")); };
    oLoop.fnRun = [&] {
        return Promised([&] {
            ByteBuffer bb;
            oFile.WriteToTheFile(2, 3, SimpleFile::MFE_CREATE, s_abyNew, SimpleFile::FAA_LEAVE);
            oFile.WriteToTheEndOfFile(SimpleFile::MFE_REFUSE, -3, 3, s_abyNew, SimpleFile::FAA_MAKE_WRITABLE);
            oFile.ReadFromTheFile(1, 4, SimpleFile::RSE_READERS, bb);
        });
    };
    oLoop.fnCheck = [](FakePlatform& rFake, FaultOutcome eOutcome) {
        const auto ovby = rFake.files.Contents(PATH);
        ASSERT_TRUE(ovby && ovby->size() == 10);
        EXPECT_EQ(std::string(ovby->begin(), ovby->begin() + 2), "01");
        EXPECT_EQ(std::string(ovby->begin() + 5, ovby->begin() + 7), "56");
        if (eOutcome == FaultOutcome::Succeeded) {
            EXPECT_EQ(std::string(ovby->begin(), ovby->end()), "01NEW56NEW");
        }
    };
    EXPECT_GT(RunFaultLoop(oLoop).ullCalls, 12u);
}

TEST(SimpleFileFault, AKilledWriteIsNeverReadAsSomethingElse) {
    for (const Kind& rKind : Kinds()) {
        SCOPED_TRACE(rKind.pszName);
        const bool fPlain = std::string_view(rKind.pszName) == "plain";
        FaultLoop oLoop;
        oLoop.vModes = {FaultMode::KillAt, FaultMode::KillTorn};
        oLoop.fAllocations = false;
        oLoop.fnPrepare = [&](FakePlatform& rFake) {
            rFake.files.AddFile(PATH, rKind.bbOldFile.GetVector());
            rFake.files.AddFile(VTEXT("C:\\data\\neighbour.bin"), BytesOf("neighbour"));
        };
        oLoop.fnRun = [&] { return Promised([&] { rKind.apoFile->WriteTheFile(NewData(), SimpleFile::FAA_LEAVE); }); };
        oLoop.fnCheckAfterKill = [&](FakePlatform& rFake) {
            const auto ovbyRead = ReadBack(rFake, *rKind.apoFile);
            const bool fWhole = !ovbyRead || *ovbyRead == OldData().GetVector() || *ovbyRead == NewData().GetVector();
            const bool fShort =
                ovbyRead && std::all_of(ovbyRead->begin(), ovbyRead->end(), [](BYTE by) { return by == 'n'; });
            EXPECT_TRUE(fWhole || (fPlain && fShort));
            EXPECT_EQ(rFake.files.FileNames().size(), 2u);
            EXPECT_TRUE(rFake.files.Contents(VTEXT("C:\\data\\neighbour.bin")) == BytesOf("neighbour"));
        };
        RunFaultLoop(oLoop);
    }
}

}  // namespace
