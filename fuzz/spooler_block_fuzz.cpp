/// @file
/// Fuzz target: blocks that a hostile spooler filled.  What IsSoundBlock accepts can be read to every end, byte by
/// byte, inside the buffer, by somebody who believes every pointer and length of it.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "platform/InformationBlocks.h"

namespace vlm {

namespace {

std::size_t guUnits;  // keeps the walks from being left out

void Walk(const XCHAR* pszText) {
    while (pszText != nullptr && *pszText != 0)
        guUnits += *pszText++;
}

void WalkList(const XCHAR* pszzList) {
    while (pszzList != nullptr && *pszzList != 0) {
        while (*pszzList++ != 0)
            ++guUnits;
    }
}

void WalkBytes(const void* pData, std::size_t cb) {
    for (std::size_t i = 0; i < cb; ++i)
        guUnits += static_cast<const BYTE*>(pData)[i];
}

void Walk(const DEVMODEW* pMode) {
    WalkBytes(pMode, DeviceModeSize(pMode));
}

void Read(const PrinterInfo2& r) {
    for (const XCHAR* psz : {r.pServerName, r.pPrinterName, r.pShareName, r.pPortName, r.pDriverName, r.pComment,
                             r.pLocation, r.pSepFile, r.pPrintProcessor, r.pDatatype, r.pParameters})
        Walk(psz);
    Walk(r.pDevMode);
    WalkBytes(r.pSecurityDescriptor, r.pSecurityDescriptor ? 1 : 0);
}

void Read(const PrinterInfo5& r) {
    Walk(r.pPrinterName);
    Walk(r.pPortName);
}

void Read(const PrinterInfo8& r) {
    Walk(r.pDevMode);
}

void Read(const DriverInfo8& r) {
    for (const XCHAR* psz : {r.pName, r.pEnvironment, r.pDriverPath, r.pDataFile, r.pConfigFile, r.pHelpFile,
                             r.pMonitorName, r.pDefaultDataType, r.pszMfgName, r.pszOEMUrl, r.pszHardwareID,
                             r.pszProvider, r.pszPrintProcessor, r.pszVendorSetup, r.pszInfPath})
        Walk(psz);
    for (const XCHAR* psz : {r.pDependentFiles, r.pszzPreviousNames, r.pszzColorProfiles, r.pszzCoreDriverDependencies})
        WalkList(psz);
}

void Read(const PortInfo2& r) {
    Walk(r.pPortName);
    Walk(r.pMonitorName);
    Walk(r.pDescription);
}

void Read(const PrinterEnumValues& r) {
    Walk(r.pValueName);
    WalkBytes(r.pData, r.cbData);
}

/// Pointers of the input are offsets into the block, so that a seed can be written down.
template <typename Record>
void Try(BlockKind eKind, DWORD dwLevel, DWORD cRecords, std::vector<std::uint64_t>& rvullBlock, std::size_t cbBlock,
         std::uint64_t ullMask) {
    const std::size_t cWords = rvullBlock.size();
    const std::uint64_t ullBase = reinterpret_cast<std::uintptr_t>(rvullBlock.data());
    for (std::size_t i = 0; i < cWords && i < 64; ++i) {
        if ((ullMask >> i & 1) != 0) rvullBlock[i] += ullBase;
    }
    if (!IsSoundBlock(eKind, dwLevel, cRecords, rvullBlock.data(), cbBlock)) return;
    if (BlockRecordSize(eKind, dwLevel) != sizeof(Record)) std::abort();
    const Record* const pRecords = reinterpret_cast<const Record*>(rvullBlock.data());
    for (DWORD i = 0; i < cRecords; ++i)
        Read(pRecords[i]);
}

}  // namespace

/// One byte says which block, one how many records, eight which words of the block are pointers; the block follows.
static int ReadInput(const std::uint8_t* pby, std::size_t cBytes) {
    constexpr std::size_t HEAD = 10, LONGEST = 4096;
    if (cBytes < HEAD || cBytes > LONGEST) return 0;
    std::uint64_t ullMask = 0;
    std::memcpy(&ullMask, pby + 2, sizeof(ullMask));
    const std::size_t cbBlock = (cBytes - HEAD) / 8 * 8;
    std::vector<std::uint64_t> vullBlock(cbBlock / 8);
    if (cbBlock != 0) std::memcpy(vullBlock.data(), pby + HEAD, cbBlock);
    const DWORD cRecords = pby[1] % 8;
    switch (pby[0] % 6) {
        case 0:
            Try<PrinterInfo2>(BlockKind::Printer, 2, cRecords, vullBlock, cbBlock, ullMask);
            break;
        case 1:
            Try<PrinterInfo5>(BlockKind::Printer, 5, cRecords, vullBlock, cbBlock, ullMask);
            break;
        case 2:
            Try<PrinterInfo8>(BlockKind::Printer, 8, cRecords, vullBlock, cbBlock, ullMask);
            break;
        case 3:
            Try<DriverInfo8>(BlockKind::Driver, 8, cRecords, vullBlock, cbBlock, ullMask);
            break;
        case 4:
            Try<PortInfo2>(BlockKind::Port, 2, cRecords, vullBlock, cbBlock, ullMask);
            break;
        default:
            Try<PrinterEnumValues>(BlockKind::Values, 0, cRecords, vullBlock, cbBlock, ullMask);
            break;
    }
    // The bytes as they are, as the answer of EnumerateDataKeys.
    std::vector<XCHAR> vchList(cbBlock / sizeof(XCHAR));
    if (cbBlock != 0) std::memcpy(vchList.data(), pby + HEAD, vchList.size() * sizeof(XCHAR));
    if (IsSoundTextList(vchList.data(), vchList.size() * sizeof(XCHAR))) WalkList(vchList.data());
    return 0;
}

}  // namespace vlm

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pby, std::size_t cBytes) {
    return vlm::ReadInput(pby, cBytes);
}
