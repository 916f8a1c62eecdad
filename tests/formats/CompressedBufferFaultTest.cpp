/// @file
/// Compressed buffers while calls, callbacks and allocations fail: the promised exception, and nothing changed.
#include <gtest/gtest.h>

#include "support/FaultLoop.h"
#include "utilities/compression/CabCompressedBuffer.h"
#include "utilities/compression/CabinetContext.h"
#include "utilities/debuggingandexceptions/VelomExceptions.h"

namespace vlm {
namespace {

using test::FaultLoop;
using test::FaultOutcome;

std::vector<BYTE> Sample() {
    std::vector<BYTE> vby(40000);
    for (std::size_t u = 0; u < vby.size(); ++u)
        vby[u] = static_cast<BYTE>(u * u / 7);
    return vby;
}

/// Runs what may fail in the promised ways only.
template <typename Operation>
FaultOutcome Promised(Operation&& operation) {
    try {
        operation();
        return FaultOutcome::Succeeded;
    } catch (const ExceptionCompression&) {
    } catch (const ExceptionFileOperationCompression&) {
    } catch (const ExceptionOutOfMemory&) {
    } catch (const std::bad_alloc&) {  // even the exception took more memory than there was
    }
    return FaultOutcome::Failed;
}

TEST(CompressedBufferFault, AFailedStoreLeavesTheBufferAsItWas) {
    const ByteBuffer bbOld(std::vector<BYTE>(500, 'o'));
    const ByteBuffer bbNew(Sample());
    CabCompressedBuffer oFormer;
    oFormer.Store(bbOld);
    bool fUnchanged = true;
    FaultLoop oLoop;
    oLoop.fnRun = [&] {
        return Promised([&] {
            CabCompressedBuffer buffer(oFormer);
            const FaultOutcome eOutcome = Promised([&] { buffer.Store(bbNew); });
            if (eOutcome == FaultOutcome::Succeeded) return;
            fUnchanged = fUnchanged && buffer.GetOriginalDataSize() == 500 &&
                         buffer.GetCompressedBufferStateSize() == oFormer.GetCompressedBufferStateSize() &&
                         std::equal(buffer.GetCompressedBufferStateLpbyte(),
                                    buffer.GetCompressedBufferStateLpbyte() + buffer.GetCompressedBufferStateSize(),
                                    oFormer.GetCompressedBufferStateLpbyte());
            throw std::bad_alloc();
        });
    };
    const test::FaultLoopReport report = RunFaultLoop(oLoop);
    EXPECT_TRUE(fUnchanged);
    EXPECT_GT(report.ullCalls, 0U);
    EXPECT_GT(report.ullAllocations, 5U);
}

TEST(CompressedBufferFault, AFailedReadLeavesTheTargetAsItWas) {
    const auto apoBuffer = CabCompressedBuffer::CreateWithUncompressedData(ByteBuffer(Sample()), -1);
    bool fUnchanged = true;
    FaultLoop oLoop;
    oLoop.fnRun = [&] {
        ByteBuffer bb;
        return Promised([&] {
            bb.appendByte(7);
            if (Promised([&] { apoBuffer->GetOriginalData(bb); }) == FaultOutcome::Succeeded) return;
            fUnchanged = fUnchanged && bb.size() == 1 && bb[0] == 7;
            throw std::bad_alloc();
        });
    };
    RunFaultLoop(oLoop);
    EXPECT_TRUE(fUnchanged);
}

TEST(CompressedBufferFault, TheTryFormNeverThrowsAndLeavesItsInputAlone) {
    const auto apoBuffer = CabCompressedBuffer::CreateWithUncompressedData(ByteBuffer(Sample()), -1);
    const ByteBuffer bbState = apoBuffer->GetCompressedBufferState();
    bool fUnchanged = true;
    FaultLoop oLoop;
    oLoop.fnRun = [&] {
        ByteBuffer bb;
        if (Promised([&] { bb = bbState; }) == FaultOutcome::Failed) return FaultOutcome::Failed;
        if (CabCompressedBuffer::TryToUncompressStateData(bb)) return FaultOutcome::Succeeded;
        fUnchanged = fUnchanged && bb == bbState;
        return FaultOutcome::Failed;
    };
    RunFaultLoop(oLoop);
    EXPECT_TRUE(fUnchanged);
}

/// The system's cabinet library, with the n-th callback answering a failure instead of reaching the library's own code.
class FaultyCallbacks final : public CabinetPort {
public:
    int iFailAt = 0;
    int cCalls = 0;

    bool Compress(CabinetFiles& rFiles, const char* pszSource, const char* pszMember, const char* pszImage, LONG lLevel,
                  CabinetStep& reStep, CabinetError& rError) noexcept override {
        Files files(*this, rFiles);
        return GetSystemPlatform().pCabinet->Compress(files, pszSource, pszMember, pszImage, lLevel, reStep, rError);
    }
    bool Extract(CabinetFiles& rFiles, CabinetMembers& rMembers, const char* pszImage, CabinetStep& reStep,
                 CabinetError& rError) noexcept override {
        Files files(*this, rFiles);
        return GetSystemPlatform().pCabinet->Extract(files, rMembers, pszImage, reStep, rError);
    }

private:
    struct Files final : CabinetFiles {
        Files(FaultyCallbacks& rScriptArg, CabinetFiles& rBelowArg) : rScript(rScriptArg), rBelow(rBelowArg) {}
        bool Fails() const { return ++rScript.cCalls == rScript.iFailAt; }
        std::intptr_t Open(const char* psz, Mode eMode) noexcept override {
            return Fails() ? -1 : rBelow.Open(psz, eMode);
        }
        UINT Read(std::intptr_t h, void* p, UINT c) noexcept override {
            return Fails() ? 0xFFFFFFFF : rBelow.Read(h, p, c);
        }
        UINT Write(std::intptr_t h, const void* p, UINT c) noexcept override {
            return Fails() ? 0xFFFFFFFF : rBelow.Write(h, p, c);
        }
        LONG Seek(std::intptr_t h, LONG l, int i) noexcept override { return Fails() ? -1 : rBelow.Seek(h, l, i); }
        int Close(std::intptr_t h) noexcept override { return rBelow.Close(h); }
        int Delete(const char* psz) noexcept override { return rBelow.Delete(psz); }
        void* Allocate(std::size_t c) noexcept override { return Fails() ? nullptr : rBelow.Allocate(c); }
        void Release(void* p) noexcept override { rBelow.Release(p); }
        FaultyCallbacks& rScript;
        CabinetFiles& rBelow;
    };
};

TEST(CompressedBufferFault, EveryFailedCallbackBecomesAPromisedException) {
    FaultyCallbacks port;
    Platform platform = GetSystemPlatform();
    platform.pCabinet = &port;
    const PlatformScope scope(platform);
    CabCompressedBuffer stored;
    stored.Store(ByteBuffer(Sample()));
    for (const bool fRead : {false, true}) {
        for (int i = 1;; ++i) {
            port.cCalls = 0;
            port.iFailAt = i;
            const FaultOutcome eOutcome = Promised([&] {
                ByteBuffer bb;
                if (fRead) {
                    stored.GetOriginalData(bb);
                } else {
                    CabCompressedBuffer::CompressBuffer(Sample().data(), 40000, bb, -1);
                }
            });
            if (port.cCalls < i) {
                EXPECT_EQ(FaultOutcome::Succeeded, eOutcome);
                EXPECT_GT(i, 10);
                break;
            }
            EXPECT_EQ(FaultOutcome::Failed, eOutcome) << (fRead ? "read" : "store") << ", callback " << i;
        }
    }
}

TEST(CabinetContext, RemembersWhatACallbackFailedAt) {
    struct Misuse {
        const XCHAR* pszText;
        void (*fnCall)(CabinetContext&);
    };
    const Misuse MISUSES[] = {
        {VTEXT("a memory file that does not exist"),
         [](CabinetContext& r) { EXPECT_EQ(-1, r.Open("nothing", CabinetFiles::Mode::Read)); }},
        {VTEXT("not open"), [](CabinetContext& r) { EXPECT_EQ(0xFFFFFFFF, r.Read(5, nullptr, 1)); }},
        {VTEXT("not open"),
         [](CabinetContext& r) {
             const auto h = r.Open("file", CabinetFiles::Mode::Read);
             EXPECT_EQ(0, r.Close(h));
             EXPECT_EQ(-1, r.Close(h));
         }},
        {VTEXT("for reading only"),
         [](CabinetContext& r) { EXPECT_EQ(0xFFFFFFFF, r.Write(r.Open("file", CabinetFiles::Mode::Read), "x", 1)); }},
        {VTEXT("more to a memory file than it may hold"),
         [](CabinetContext& r) {
             r.AddTarget("small", 0, 3);
             EXPECT_EQ(0xFFFFFFFF, r.Write(r.Open("small", CabinetFiles::Mode::CreateReadWrite), "1234", 4));
             EXPECT_TRUE(r.IsTargetFull());
             EXPECT_EQ((std::vector<BYTE>{'1', '2', '3'}), r.TakeFile("small"));
         }},
        {VTEXT("moved to a position"),
         [](CabinetContext& r) {
             const auto h = r.Open("file", CabinetFiles::Mode::Read);
             EXPECT_EQ(3, r.Seek(h, -1, 2));
             EXPECT_EQ(4, r.Seek(h, 1, 1));
             EXPECT_EQ(-1, r.Seek(h, -5, 1));
         }},
        {VTEXT("more working memory"),
         [](CabinetContext& r) { EXPECT_EQ(nullptr, r.Allocate(bounds::MAX_CABINET_WORK_BYTES + 1)); }},
    };
    for (const Misuse& rMisuse : MISUSES) {
        CabinetContext context;
        context.AddFile("file", reinterpret_cast<const BYTE*>("data"), 4);
        rMisuse.fnCall(context);
        try {
            context.ThrowIfCompressionFailed(false, CabinetStep::AddFile, CabinetError{6, 28});
            ADD_FAILURE();
        } catch (const ExceptionFileOperationCompression& rException) {
            EXPECT_GE(rException.GetExceptionMesage().Find(rMisuse.pszText), 0);
        }
    }
    // The library's own failures carry its code, and memory comes back to the bound.
    CabinetContext context;
    void* const pHalf = context.Allocate(bounds::MAX_CABINET_WORK_BYTES);
    context.Release(pHalf);
    EXPECT_NE(nullptr, context.Allocate(bounds::MAX_CABINET_WORK_BYTES));
    try {
        context.ThrowIfCompressionFailed(false, CabinetStep::AddFile, CabinetError{6, 28});
        ADD_FAILURE();
    } catch (const ExceptionCompression& rException) {
        EXPECT_GE(rException.GetExceptionMesage().Find(
                      VTEXT("Cabinet Library returned FALSE from FCIAddFile()! Error 6 (FCIERR_CAB_FILE")),
                  0);
    }
    EXPECT_THROW(context.ThrowIfExtractionFailed(false, CabinetStep::Copy, CabinetError{5, 0}), ExceptionOutOfMemory);
    for (const CabinetStep eStep : {CabinetStep::Create, CabinetStep::FlushFolder, CabinetStep::FlushCabinet,
                                    CabinetStep::Copy, CabinetStep::Destroy}) {
        EXPECT_THROW(context.ThrowIfCompressionFailed(false, eStep, CabinetError{99, 0}), ExceptionCompression);
        EXPECT_THROW(context.ThrowIfExtractionFailed(false, eStep, CabinetError{4, 0}), ExceptionCompression);
    }
}

}  // namespace
}  // namespace vlm
