/// @file
/// Fuzz target: what a printer takes from a hostile spooler.  The input scripts the spooler's answers: statuses, sizes
/// that lie, texts without terminators, blocks whose pointers lead anywhere.  Nothing outside the buffers is read, at
/// most five calls are made for one value, and what is handed on stays within its size.
#include <algorithm>
#include <cstring>

#include "Fuzz.h"
#include "environment/Printer.h"
#include "support/FakePlatform.h"
#include "utilities/Bounds.h"
#include "utilities/debuggingandexceptions/VelomException.h"

using vlm::test::IsTaken;
using vlm::test::Require;

namespace {

using vlm::Status;
using vlm::test::SpoolerCall;

constexpr const XCHAR* DATA = VTEXT("PrinterDriverData");

using Input = vlm::test::Choices;

DWORD TakeSize(Input& rInput, const SpoolerCall& rCall) {
    switch (rInput.Byte() % 8) {
        case 0:
            return rCall.cbTarget;
        case 1:
            return rCall.cbTarget + 1;
        case 2:
            return 0xFFFFFFFF;
        case 3:
            return 0x80000000;
        case 4:
            return static_cast<DWORD>(vlm::bounds::MAX_SPOOLER_BLOCK_BYTES) + 1;
        case 5:
            return rCall.cbTarget / 2;
        default:
            return rInput.Word();
    }
}

/// Writes bytes, and pointers that lead somewhere near the block.
void Fill(Input& rInput, const SpoolerCall& rCall) {
    auto* const pbyTarget = static_cast<std::uint8_t*>(rCall.pTarget);
    const DWORD cbWritten = std::min<DWORD>(rInput.Byte(), rCall.cbTarget);
    for (DWORD i = 0; i < cbWritten; ++i)
        pbyTarget[i] = rInput.Byte();
    for (int cPointers = rInput.Byte() % 16; cPointers > 0; --cPointers) {
        const std::size_t uSlot = rInput.Byte() * std::size_t{8};
        const auto uPointer = reinterpret_cast<std::uintptr_t>(pbyTarget) + static_cast<std::int16_t>(rInput.Word());
        if (uSlot + sizeof uPointer <= rCall.cbTarget) std::memcpy(pbyTarget + uSlot, &uPointer, sizeof uPointer);
    }
}

std::optional<Status> Answer(Input& rInput, SpoolerCall& rCall) {
    static constexpr Status STATUSES[] = {Status::Success,      Status::Success,      Status::InsufficientBuffer,
                                          Status::MoreData,     Status::FileNotFound, static_cast<Status>(1722),
                                          Status::AccessDenied, Status::InvalidHandle};
    if (rInput.IsEmpty()) return std::nullopt;
    const std::uint8_t byAction = rInput.Byte();
    if (byAction >= 0xC0) return std::nullopt;
    const DWORD cbNeeded = TakeSize(rInput, rCall);
    if (rCall.pcbNeeded) *rCall.pcbNeeded = cbNeeded;
    if (rCall.pcReturned) *rCall.pcReturned = rInput.Byte() == 0xFF ? 0xFFFFFFFF : rInput.Byte();
    if (rCall.pdwType) *rCall.pdwType = rInput.Byte();
    if (rCall.plAnswer) *rCall.plAnswer = LONG{rInput.Byte()} - 128;
    if (rCall.pTarget) Fill(rInput, rCall);
    return STATUSES[byAction % std::size(STATUSES)];
}

void ReadValues(Printer& rPrinter) {
    const HANDLE hPrinter = rPrinter.GetPrinterHandle();
    ByteBuffer bbValue;
    const DWORD dwStatus =
        Printer::CallGetPrinterDataExWithRetries(hPrinter, DATA, VTEXT("VlmDeviceSettings"), nullptr, bbValue);
    Require(bbValue.size() <= vlm::bounds::MAX_SPOOLER_BLOCK_BYTES && (dwStatus == 0 || bbValue.empty()));
    const void* pPayload = rPrinter.GetCrc32PrinterData(hPrinter, VTEXT("Feature"));
    Require((pPayload != nullptr) == (rPrinter.GetCrc32PrinterDataSize() != 0));
    std::vector<CXString> vcsNames;
    Require(Printer::EnumPrinterDataNames(hPrinter, DATA, vcsNames) == 0 || vcsNames.empty());
    Require(Printer::EnumPrinterKeyW(hPrinter, VTEXT(""), vcsNames) == 0 || vcsNames.empty());
    IsTaken<VelomException>([&] { rPrinter.GetPrinterProductUniqueIdFromIniFile(); });
    IsTaken<VelomException>([&] { rPrinter.GetPrinterModelIdFromIniFile(); });
    IsTaken<VelomException>([&] { rPrinter.GetPrinterModelVersion(); });
}

void ReadBlocks(Printer& rPrinter) {
    for (const DWORD dwLevel : {1u, 2u, 4u, 5u, 7u, 8u, 9u}) {
        IsTaken<VelomException>([&] { rPrinter.GetPrinterInfo(dwLevel); });
        Require((rPrinter.GetPrinterInfoPtr() != nullptr) == (rPrinter.GetPrinterInfoSize() != 0));
    }
    ByteBuffer bbBlock;
    CXString csText;
    std::vector<CXString> vcsNames;
    IsTaken<VelomException>([&] { rPrinter.GetPrinterInfo2AndConvertToPrinterInfo5(); });
    IsTaken<VelomException>([&] { rPrinter.GetPrinterInfo2AndConvertToPrinterInfo9(); });
    IsTaken<VelomException>([&] { rPrinter.GetRawSystemDefaultDevmode(bbBlock); });
    IsTaken<VelomException>([&] { rPrinter.GetRawUserDefaultDevmode(bbBlock); });
    IsTaken<VelomException>(
        [&] { csText = rPrinter.GetPrintDriverName() + rPrinter.GetShareName() + rPrinter.GetServerName(); });
    IsTaken<VelomException>([&] { csText = rPrinter.GetPrinterPort() + rPrinter.GetPrintProcessorName(); });
    IsTaken<VelomException>([&] { rPrinter.IsPrintDriverInstalledMultipleTimes(); });
    rPrinter.GetSupportedTrays(vcsNames);
    rPrinter.IsIppPrinter();
    rPrinter.GetCurrentPrinterIPOrHost(csText);
    Printer::EnumeratePrinterNames(vcsNames);
    Printer::TestPrinterHandle(rPrinter.GetPrinterHandle(), csText);
}

/// One platform for all inputs; nothing that the hostile spooler answers changes it.
vlm::test::FakePlatform& Platform() {
    static vlm::test::FakePlatform& srFake = *[] {
        auto* const pFake = new vlm::test::FakePlatform;
        pFake->printing.AddQueueNamed(VTEXT("Queue"));
        return pFake;
    }();
    return srFake;
}

}  // namespace

/// The first byte chooses values or blocks; the rest scripts the answers.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pby, std::size_t cBytes) {
    if (cBytes == 0) return 0;
    vlm::test::FakePlatform& rFake = Platform();
    const vlm::PlatformScope oScope(rFake.Get());
    Printer oPrinter(VTEXT("Queue"), Printer::THROW);
    Input oInput(pby + 1, cBytes - 1);
    std::size_t cSame = 0;
    const void* pLast = nullptr;
    rFake.printing.SetCallScript([&](SpoolerCall& rCall) {
        // The same text asked for without an end would be a loop that never gives up.
        cSame = rCall.svName.data() == pLast && !rCall.svName.empty() ? cSame + 1 : 1;
        pLast = rCall.svName.data();
        Require(cSame <= 64);
        return Answer(oInput, rCall);
    });
    if (pby[0] % 2 == 0)
        ReadValues(oPrinter);
    else
        ReadBlocks(oPrinter);
    rFake.printing.SetCallScript(nullptr);
    rFake.printing.ForgetCalls();
    return 0;
}
