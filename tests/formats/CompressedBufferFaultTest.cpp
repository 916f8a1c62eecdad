/// @file
/// Compressed buffers and archives while calls, callbacks and allocations fail: the promised exception, and nothing
/// changed.
#include <gtest/gtest.h>

#include "support/FaultLoop.h"
#include "utilities/compression/CabCompressedBuffer.h"
#include "utilities/compression/CabinetArchive.h"
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
FaultOutcome Promised(const Operation& rOperation) {
    return test::Attempt<ExceptionCompression, ExceptionFileOperationCompression, ExceptionOutOfMemory>(rOperation);
}

TEST(CompressedBufferFault, WhateverFailsIsNamedAndChangesNothing) {
    const ByteBuffer bbNew(Sample());
    const ByteBuffer bbSentinel(std::vector<BYTE>{7});
    CabCompressedBuffer oFormer;
    oFormer.Store(ByteBuffer(std::vector<BYTE>(500, 'o')));
    const auto apoStored = CabCompressedBuffer::CreateWithUncompressedData(bbNew, -1);
    const ByteBuffer bbState = apoStored->GetCompressedBufferState();
    ByteBuffer bbZlibState(std::vector<BYTE>{0x78, 0x9C, 0x4B, 0x04, 0x00, 0x00, 0x62, 0x00, 0x62});
    bbZlibState.appendLpbyte(reinterpret_cast<const BYTE*>("\0\0\0\1COMP"), 8);
    ByteBuffer bbImage;
    apoStored->GetCompressedData(bbImage);
    bool fUnchanged = true;

    // A buffer beside the operation; `change` may fail, and then it is as it was.
    const auto onBuffer = [&](const auto& change) {
        return [&, change] {
            ByteBuffer bb;
            FaultOutcome eOutcome = Promised([&] { bb = bbSentinel; });
            if (eOutcome == FaultOutcome::Failed) return eOutcome;
            eOutcome = Promised([&] { change(bb); });
            fUnchanged = fUnchanged && (eOutcome == FaultOutcome::Succeeded || (bb.size() == 1 && bb[0] == 7));
            return eOutcome;
        };
    };
    const test::FaultRow ROWS[] = {
        {"store",
         [&] {
             FaultOutcome eOutcome = FaultOutcome::Failed;
             Promised([&] {
                 CabCompressedBuffer buffer(oFormer);
                 eOutcome = Promised([&] { buffer.Store(bbNew); });
                 const BYTE* const pbyState = buffer.GetCompressedBufferStateLpbyte();
                 const bool fAsBefore =
                     buffer.GetOriginalDataSize() == 500 &&
                     buffer.GetCompressedBufferStateSize() == oFormer.GetCompressedBufferStateSize() &&
                     std::equal(pbyState, pbyState + buffer.GetCompressedBufferStateSize(),
                                oFormer.GetCompressedBufferStateLpbyte());
                 fUnchanged = fUnchanged && fAsBefore == (eOutcome == FaultOutcome::Failed);
             });
             return eOutcome;
         }},
        {"try to uncompress",
         [&] {
             ByteBuffer bb;
             if (Promised([&] { bb = bbState; }) == FaultOutcome::Failed) return FaultOutcome::Failed;
             if (CabCompressedBuffer::TryToUncompressStateData(bb)) return FaultOutcome::Succeeded;
             fUnchanged = fUnchanged && bb == bbState;
             return FaultOutcome::Failed;
         }},
        {"read", onBuffer([&](ByteBuffer& rbb) { apoStored->GetOriginalData(rbb); })},
        {"compressed data", onBuffer([&](ByteBuffer& rbb) { apoStored->GetCompressedData(rbb); })},
        {"compress", onBuffer([&](ByteBuffer& rbb) {
             CabCompressedBuffer::CompressBuffer(bbNew.data(), bbNew.GetLength(), rbb, 9);
         })},
        {"uncompress", onBuffer([&](ByteBuffer& rbb) { CabCompressedBuffer::UncompressBuffer(bbImage, rbb); })},
        {"open a state",
         [&] { return Promised([&] { CabCompressedBuffer::CreateWithBufferState(bbState)->Clone(); }); }},
        {"open an old state",
         [&] {
             return test::Attempt<ExceptionOutOfMemory, ExceptionIncompatibleCompressionFormat>(
                 [&] { CabCompressedBuffer::CreateWithBufferState(bbZlibState); });
         }},
        {"open an image", [&] { return Promised([&] { CabCompressedBuffer::CreateWithCompressedData(bbImage); }); }},
        {"archive",
         [&] {
             return Promised([&] {
                 const CabinetArchive archive{ByteBuffer(bbImage)};
                 archive.ExtractAll();
                 archive.Extract(0);
             });
         }},
    };
    FaultLoop oLoop;
    oLoop.vModes = {test::FaultMode::FailOnce, test::FaultMode::FailFrom};
    RunFaultRows(ROWS, oLoop);
    EXPECT_TRUE(fUnchanged);
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
