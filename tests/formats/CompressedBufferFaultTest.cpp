/// @file
/// Compressed buffers and archives while calls, callbacks and allocations fail: the promised exception, and nothing
/// changed.
#include <gtest/gtest.h>

#include "formats/Buffers.h"
#include "support/FaultLoop.h"
#include "support/RecordingSink.h"
#include "utilities/compression/CabCompressedBuffer.h"
#include "utilities/compression/CabinetArchive.h"
#include "utilities/compression/CabinetContext.h"
#include "utilities/debuggingandexceptions/VelomExceptions.h"

namespace vlm {
namespace {

using test::FaultLoop;
using test::FaultOutcome;

/// Runs what may fail in the promised ways only.
template <typename Operation>
FaultOutcome Promised(const Operation& rOperation) {
    return test::Attempt<ExceptionCompression, ExceptionFileOperationCompression, ExceptionOutOfMemory>(rOperation);
}

TEST(CompressedBufferFault, WhateverFailsIsNamedAndChangesNothing) {
    const ByteBuffer bbNew(std::vector<BYTE>(40000, 'n')), bbSentinel(std::vector<BYTE>{7});
    CabCompressedBuffer oFormer;
    oFormer.Store(ByteBuffer(std::vector<BYTE>(500, 'o')));
    const auto apoStored = CabCompressedBuffer::CreateWithUncompressedData(bbNew, -1);
    const ByteBuffer bbState = apoStored->GetCompressedBufferState();
    const ByteBuffer bbZlibState = test::BufferOf("789C 4B0400 00620062 00000001 434F4D50");
    const ByteBuffer bbOther = test::BufferOf("03 00000000 00000001 434F4D35 00");
    const test::RecordingSink oSink(DebugCategory::Compress | DebugCategory::Errors);
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
             return Promised([&] {
                 CabCompressedBuffer buffer(oFormer);
                 if (Promised([&] { buffer.Store(bbNew); }) == FaultOutcome::Succeeded) return;
                 const BYTE* const pbyState = buffer.GetCompressedBufferStateLpbyte();
                 fUnchanged = fUnchanged && buffer.GetOriginalDataSize() == 500 &&
                              std::equal(pbyState, pbyState + buffer.GetCompressedBufferStateSize(),
                                         oFormer.GetCompressedBufferStateLpbyte());
                 throw std::bad_alloc();
             });
         }},
        {"try to uncompress",
         [&] {
             ByteBuffer bb;
             if (Promised([&] { bb = bbState; }) == FaultOutcome::Failed) return FaultOutcome::Failed;
             if (CabCompressedBuffer::TryToUncompressStateData(bb)) return FaultOutcome::Succeeded;
             fUnchanged = fUnchanged && bb == bbState;
             return FaultOutcome::Failed;
         }},
        {"assign",
         [&] {
             return Promised([&] {
                 CabCompressedBuffer buffer(oFormer);
                 if (Promised([&] { buffer = *apoStored; }) == FaultOutcome::Succeeded) return;
                 fUnchanged = fUnchanged && buffer.GetOriginalDataSize() == 500;
                 throw std::bad_alloc();
             });
         }},
        {"refused states, and a dump",
         [&] {
             return Promised([&] {
                 apoStored->Dump();
                 for (const ByteBuffer* const pbb : {&bbSentinel, &bbZlibState, &bbOther}) {
                     ByteBuffer bb(*pbb);
                     bb.resize(bb.size() - 1);
                     const FaultOutcome eOutcome =
                         test::Attempt<ExceptionMissingOrBadCompressedBufferFooter,
                                       ExceptionIncompatibleCompressionFormat, ExceptionOutOfMemory>(
                             [&] { CabCompressedBuffer::CreateWithBufferState(bb); });
                     fUnchanged = fUnchanged && eOutcome == FaultOutcome::Failed;
                 }
             });
         }},
        {"create", [&] { return Promised([&] { CabCompressedBuffer::CreateWithUncompressedData(bbNew, 3); }); }},
        {"read", onBuffer([&](ByteBuffer& rbb) { apoStored->GetOriginalData(rbb); })},
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
    const struct {
        const char* pszText;
        void (*fnCall)(CabinetContext&);
    } aoMisuses[] = {
        {"a memory file that does not exist",
         [](CabinetContext& r) { EXPECT_EQ(-1, r.Open("nothing", CabinetFiles::Mode::Read)); }},
        {"not open", [](CabinetContext& r) { EXPECT_EQ(0xFFFFFFFF, r.Read(5, nullptr, 1)); }},
        {"not open",
         [](CabinetContext& r) {
             const auto h = r.Open("file", CabinetFiles::Mode::Read);
             EXPECT_EQ(0, r.Close(h));
             EXPECT_EQ(-1, r.Close(h));
         }},
        {"for reading only",
         [](CabinetContext& r) { EXPECT_EQ(0xFFFFFFFF, r.Write(r.Open("file", CabinetFiles::Mode::Read), "x", 1)); }},
        {"more to a memory file than it may hold",
         [](CabinetContext& r) {
             r.AddTarget("small", 0, 3);
             EXPECT_EQ(0xFFFFFFFF, r.Write(r.Open("small", CabinetFiles::Mode::CreateReadWrite), "1234", 4));
             EXPECT_TRUE(r.IsTargetFull());
             EXPECT_EQ((std::vector<BYTE>{'1', '2', '3'}), r.TakeFile("small"));
         }},
        {"moved to a position",
         [](CabinetContext& r) {
             const auto h = r.Open("file", CabinetFiles::Mode::Read);
             EXPECT_EQ(3, r.Seek(h, -1, 2));
             EXPECT_EQ(4, r.Seek(h, 1, 1));
             EXPECT_EQ(-1, r.Seek(h, -5, 1));
         }},
        {"more working memory",
         [](CabinetContext& r) {
             r.Release(r.Allocate(bounds::MAX_CABINET_WORK_BYTES));
             EXPECT_EQ(nullptr, r.Allocate(bounds::MAX_CABINET_WORK_BYTES + 1));
         }},
    };
    const auto compressed = [](const CabinetContext& rContext, CabinetStep eStep, CabinetError oError) {
        return [&rContext, eStep, oError] { rContext.ThrowIfCompressionFailed(false, eStep, oError); };
    };
    for (const auto& rMisuse : aoMisuses) {
        CabinetContext context;
        context.AddFile("file", reinterpret_cast<const BYTE*>("data"), 4);
        rMisuse.fnCall(context);
        const std::string message = test::MessageOf<ExceptionFileOperationCompression>(
            compressed(context, CabinetStep::AddFile, CabinetError{6, 28}));
        EXPECT_NE(message.find(rMisuse.pszText), std::string::npos) << message;
    }
    // The library's own failures carry its code.
    const CabinetContext context;
    EXPECT_TRUE(
        test::MessageOf<ExceptionCompression>(compressed(context, CabinetStep::AddFile, CabinetError{6, 28}))
            .starts_with("Cabinet Library returned FALSE from FCIAddFile()! Error 6 (FCIERR_CAB_FILE: the cabinet "
                         "could not be written; system error 28)."));
    EXPECT_THROW(context.ThrowIfExtractionFailed(false, CabinetStep::Copy, CabinetError{5, 0}), ExceptionOutOfMemory);
}

}  // namespace
}  // namespace vlm
