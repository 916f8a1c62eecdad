/// @file
/// Files while calls and allocations fail, and processes die: the promised exception, and nothing half done.
#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>

#include "formats/Buffers.h"
#include "support/FaultLoop.h"
#include "utilities/debuggingandexceptions/VelomExceptions.h"
#include "utilities/utilitiesdll/SimpleFileWithCompression.h"
#include "utilities/utilitiesdll/SimpleFileWithCrc.h"
#include "utilities/utilitiesdll/simplefilewithencryption.h"

namespace vlm::test {
namespace {

const XCHAR* const PATH = VTEXT("C:\\data\\file.bin");

/// One of the classes, with the bytes of a file that it wrote.
struct Kind {
    const char* pszName;
    std::unique_ptr<SimpleFile> apoFile;
    std::vector<BYTE> vbyOldFile;
};

class SimpleFileFault : public testing::Test {
protected:
    SimpleFileFault() {
        const CXString csPath(PATH);
        auto apoCrc = std::make_unique<SimpleFileWithCrc>(csPath);
        auto apoCompressed = std::make_unique<SimpleFileWithCompression>(csPath);
        auto apoEncrypted = std::make_unique<SimpleFileWithEncryption>(csPath, SimpleFileWithEncryption::SFE_WINCRYPT);
        std::vector<BYTE> vbyCompressed = apoCompressed->EncodeContents(OLD).GetVector();
        std::vector<BYTE> vbyEncrypted = apoEncrypted->EncodeContents(OLD).GetVector();
        m_aoKinds[0] = {"plain", std::make_unique<SimpleFile>(csPath), OLD.GetVector()};
        m_aoKinds[1] = {"crc", std::move(apoCrc), SimpleFileWithCrc::EncodeContents(OLD).GetVector()};
        m_aoKinds[2] = {"compressed", std::move(apoCompressed), std::move(vbyCompressed)};
        m_aoKinds[3] = {"encrypted", std::move(apoEncrypted), std::move(vbyEncrypted)};
    }

    /// Runs what may fail in the promised ways only.
    template <class Operation>
    static FaultOutcome Promised(const Operation& rOperation) {
        return Attempt<ExceptionFile, ExceptionCompression, ExceptionFileOperationCompression, ExceptionOutOfMemory>(
            rOperation);
    }
    /// What the class itself reads on an undisturbed disk; nothing when it refuses.
    static std::optional<ByteBuffer> ReadBack(FakePlatform& rFake, const SimpleFile& rFile) {
        const PlatformScope oScope(rFake.Get());
        ByteBuffer bb;
        if (Attempt<VelomException>([&] { rFile.ReadTheFile(bb); }) == FaultOutcome::Failed) return std::nullopt;
        return bb;
    }

    const ByteBuffer NEW{std::vector<BYTE>(3000, BYTE{'n'})}, OLD{std::vector<BYTE>(2000, BYTE{'o'})};
    Kind m_aoKinds[4];
};

TEST_F(SimpleFileFault, AFailedWriteLeavesNoFileOrTheOldOneAndAKilledOneIsNeverReadAsSomethingElse) {
    for (const Kind& rKind : m_aoKinds) {
        SCOPED_TRACE(rKind.pszName);
        FaultLoop oLoop;
        oLoop.vModes = {FaultMode::FailOnce, FaultMode::ShortOnce, FaultMode::KillAt, FaultMode::KillTorn};
        oLoop.vStatuses = {Status::AccessDenied, Status::SharingViolation, Status::DiskFull};
        oLoop.fnPrepare = [&](FakePlatform& rFake) {
            rFake.files.AddFile(PATH, rKind.vbyOldFile, FilePort::ATTRIBUTE_READONLY);
        };
        oLoop.fnRun = [&] {
            return Promised([&] { rKind.apoFile->WriteTheFile(NEW, SimpleFile::FAA_MAKE_WRITABLE); });
        };
        oLoop.fnCheck = [&](FakePlatform& rFake, FaultOutcome eOutcome) {
            const auto ovbyFile = rFake.files.Contents(PATH);
            if (eOutcome == FaultOutcome::Succeeded) {
                EXPECT_TRUE(ReadBack(rFake, *rKind.apoFile) == NEW);
            } else {
                EXPECT_TRUE(!ovbyFile || *ovbyFile == rKind.vbyOldFile);
            }
        };
        oLoop.fnCheckAfterKill = [&](FakePlatform& rFake) {
            const auto obbRead = ReadBack(rFake, *rKind.apoFile);
            const bool fPart = obbRead && rKind.vbyOldFile == OLD.GetVector() &&
                               std::all_of(obbRead->begin(), obbRead->end(), [](BYTE by) { return by == 'n'; });
            EXPECT_TRUE(!obbRead || *obbRead == OLD || *obbRead == NEW || fPart);
        };
        EXPECT_GT(RunFaultLoop(oLoop).ullCalls, 6u);
        // Where nothing can be deleted any more, half a file stays, and nothing else.
        oLoop.vModes = {FaultMode::FailFrom};
        oLoop.fnCheck = nullptr;
        oLoop.fRunAgain = false;
        RunFaultLoop(oLoop);
    }
}

TEST_F(SimpleFileFault, FailedReadsChangeNeitherFileNorTarget) {
    for (const Kind& rKind : m_aoKinds) {
        SCOPED_TRACE(rKind.pszName);
        bool fKept = true;
        FaultLoop oLoop;
        oLoop.fnPrepare = [&](FakePlatform& rFake) { rFake.files.AddFile(PATH, rKind.vbyOldFile); };
        oLoop.fnRun = [&] {
            return Promised([&] {
                ByteBuffer bb;
                bb.appendByte(7);
                const FaultOutcome eRead = Promised([&] { rKind.apoFile->ReadTheFile(bb, 100000); });
                fKept = fKept && (eRead == FaultOutcome::Succeeded ? bb == OLD : bb.size() == 1 && bb[0] == 7);
                if (eRead == FaultOutcome::Failed) throw std::bad_alloc();
            });
        };
        oLoop.fnCheck = [&](FakePlatform& rFake, FaultOutcome) {
            EXPECT_TRUE(rFake.files.Contents(PATH) == rKind.vbyOldFile);
        };
        RunFaultLoop(oLoop);
        EXPECT_TRUE(fKept);
    }
}

TEST_F(SimpleFileFault, FailedRangesLeaveTheRestOfTheFile) {
    const SimpleFile& rFile = *m_aoKinds[0].apoFile;
    static const BYTE s_abyNew[] = {'N', 'E', 'W'};
    FaultLoop oLoop;
    oLoop.fnPrepare = [](FakePlatform& rFake) { rFake.files.AddFile(PATH, BytesOf("0123456789")); };
    oLoop.fnRun = [&] {
        return Promised([&] {
            ByteBuffer bb;
            rFile.WriteToTheFile(2, 3, SimpleFile::MFE_CREATE, s_abyNew, SimpleFile::FAA_LEAVE);
            rFile.WriteToTheEndOfFile(SimpleFile::MFE_REFUSE, -3, 3, s_abyNew, SimpleFile::FAA_MAKE_WRITABLE);
            rFile.ReadFromTheFile(1, 4, SimpleFile::RSE_READERS, bb);
            if (!rFile.FileExists()) throw std::bad_alloc();
        });
    };
    oLoop.fnCheck = [](FakePlatform& rFake, FaultOutcome eOutcome) {
        const auto ovby = rFake.files.Contents(PATH);
        ASSERT_TRUE(ovby && ovby->size() == 10);
        const std::string contents(ovby->begin(), ovby->end());
        EXPECT_EQ(contents.substr(0, 2) + contents.substr(5, 2), "0156");
        if (eOutcome == FaultOutcome::Succeeded) {
            EXPECT_EQ(contents, "01NEW56NEW");
        }
    };
    EXPECT_GT(RunFaultLoop(oLoop).ullCalls, 12u);
    // Where there are no ranges, the refusal is lost to nothing but a lack of memory.
    for (const Kind& rKind : m_aoKinds) {
        if (&rKind == m_aoKinds) continue;
        SCOPED_TRACE(rKind.pszName);
        oLoop.fnRun = [&] {
            ByteBuffer bb;
            const auto isRefused = [&](bool fWrite) {
                return Attempt<ExceptionReadFile, ExceptionWriteFile, ExceptionOutOfMemory>([&] {
                           if (fWrite)
                               rKind.apoFile->WriteToTheFile(0, 3, SimpleFile::MFE_CREATE, s_abyNew,
                                                             SimpleFile::FAA_LEAVE);
                           rKind.apoFile->ReadFromTheFile(0, 1, SimpleFile::RSE_READERS, bb);
                       }) == FaultOutcome::Failed;
            };
            return isRefused(true) && isRefused(false) ? FaultOutcome::Succeeded : FaultOutcome::Failed;
        };
        oLoop.fnCheck = [](FakePlatform& rFake, FaultOutcome eOutcome) {
            EXPECT_EQ(eOutcome, FaultOutcome::Succeeded);
            EXPECT_TRUE(rFake.files.Contents(PATH) == BytesOf("0123456789"));
        };
        RunFaultLoop(oLoop);
    }
}

TEST_F(SimpleFileFault, CopiesDamagedFilesAndDeletesFailTheWayTheyPromise) {
    FaultLoop oLoop;
    std::vector<BYTE> vbyDamaged = m_aoKinds[1].vbyOldFile;
    vbyDamaged.back() ^= 1;
    oLoop.fnPrepare = [&](FakePlatform& rFake) { rFake.files.AddFile(PATH, vbyDamaged, FilePort::ATTRIBUTE_READONLY); };
    oLoop.fRunAgain = false;  // the file is gone
    oLoop.fnRun = [&] {
        ByteBuffer bb;
        bool fDeleted = false;
        const SimpleFileWithCrc& rCrc = static_cast<const SimpleFileWithCrc&>(*m_aoKinds[1].apoFile);
        if (Promised([&] { rCrc.ReadTheFile(bb); }) == FaultOutcome::Succeeded)
            throw std::logic_error("a damaged file");
        const FaultOutcome eOutcome = Promised([&] {
            const SimpleFile oCopy(rCrc);
            SimpleFile oAssigned(VTEXT("C:\\data\\other.bin"));
            oAssigned = oCopy;
            fDeleted = oAssigned.DeleteTheFile(SimpleFile::FAA_MAKE_WRITABLE);
        });
        return fDeleted ? eOutcome : FaultOutcome::Failed;
    };
    oLoop.fnCheck = [&](FakePlatform& rFake, FaultOutcome eOutcome) {
        const auto ovby = rFake.files.Contents(PATH);
        EXPECT_EQ(ovby.has_value(), eOutcome == FaultOutcome::Failed);
        EXPECT_TRUE(!ovby || *ovby == vbyDamaged);
    };
    EXPECT_GT(RunFaultLoop(oLoop).ullCalls, 6u);
}

}  // namespace
}  // namespace vlm::test
