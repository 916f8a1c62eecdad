/// @file
/// Writes a cabinet image with one folder and one MSZIP member, zlib doing the compression.
#include "platform/host/HostCabinetWriter.h"

#include <cstring>
#include <limits>
#include <utility>

namespace vlm {

namespace {

constexpr UINT HEADER_SIZE = 36;
constexpr UINT FOLDER_SIZE = 8;
constexpr UINT FILE_SIZE = 16;
constexpr WORD TYPE_MSZIP = 1;
constexpr int ENGINE_WINDOW = -15;  // raw deflate, 32 KiB of history
constexpr int ENGINE_MEMORY = 9;    // one dynamic block for each 32 KiB, so one code table instead of two or three

void Put16(BYTE* pTarget, DWORD dwValue) noexcept {
    pTarget[0] = static_cast<BYTE>(dwValue);
    pTarget[1] = static_cast<BYTE>(dwValue >> 8);
}

void Put32(BYTE* pTarget, DWORD dwValue) noexcept {
    Put16(pTarget, dwValue);
    Put16(pTarget + 2, dwValue >> 16);
}

DWORD Get32(const BYTE* pSource) noexcept {
    return pSource[0] | (static_cast<DWORD>(pSource[1]) << 8) | (static_cast<DWORD>(pSource[2]) << 16) |
           (static_cast<DWORD>(pSource[3]) << 24);
}

/// The format's checksum of a block: the exclusive or of its little-endian words, the last one to three bytes taken
/// most significant first.
DWORD Checksum(const BYTE* pSource, UINT cBytes, DWORD dwSeed) noexcept {
    DWORD dwSum = dwSeed;
    for (; cBytes >= 4; pSource += 4, cBytes -= 4)
        dwSum ^= Get32(pSource);
    DWORD dwTail = 0;
    for (; cBytes > 0; ++pSource, --cBytes)
        dwTail = (dwTail << 8) | *pSource;
    return dwSum ^ dwTail;
}

/// zlib's allocator, on the caller's.
void* EngineAllocate(void* pFiles, uInt cItems, uInt cbItem) noexcept {
    return static_cast<CabinetFiles*>(pFiles)->Allocate(static_cast<std::size_t>(cItems) * cbItem);
}

void EngineRelease(void* pFiles, void* pMemory) noexcept {
    static_cast<CabinetFiles*>(pFiles)->Release(pMemory);
}

}  // namespace

HostCabinetWriter::HostCabinetWriter(CabinetFiles& rFiles, LONG lLevel) noexcept
    : m_rFiles(rFiles), m_lLevel(lLevel >= 1 && lLevel <= 9 ? lLevel : Z_DEFAULT_COMPRESSION) {}

HostCabinetWriter::~HostCabinetWriter() {
    if (m_fEngine) deflateEnd(&m_oEngine);
    if (m_pBuffers) m_rFiles.Release(m_pBuffers);
    if (m_hImage != -1) m_rFiles.Close(m_hImage);
    if (m_hSource != -1) m_rFiles.Close(m_hSource);
}

CabinetCompressError HostCabinetWriter::Write(const char* pszSource, const char* pszMember,
                                              const char* pszImage) noexcept {
    m_eStep = CabinetStep::Create;
    m_pBuffers = static_cast<Buffers*>(m_rFiles.Allocate(sizeof(Buffers)));
    if (!m_pBuffers || !StartEngine()) return CabinetCompressError::Allocation;

    m_eStep = CabinetStep::AddFile;
    m_hSource = m_rFiles.Open(pszSource, CabinetFiles::Mode::Read);
    if (m_hSource == -1) return CabinetCompressError::OpenSource;
    m_hImage = m_rFiles.Open(pszImage, CabinetFiles::Mode::CreateReadWrite);
    if (m_hImage == -1) return CabinetCompressError::CabinetFile;

    if (const auto eError = WriteHead(pszMember); eError != CabinetCompressError::None) return eError;
    if (const auto eError = WriteBlocks(); eError != CabinetCompressError::None) return eError;

    // The head again, with the sizes and the number of blocks that are now known.
    m_eStep = CabinetStep::FlushCabinet;
    if (m_rFiles.Seek(m_hImage, 0, 0) != 0) return CabinetCompressError::CabinetFile;
    if (const auto eError = WriteHead(pszMember); eError != CabinetCompressError::None) return eError;

    m_eStep = CabinetStep::Destroy;
    const int iImageClosed = m_rFiles.Close(std::exchange(m_hImage, -1));
    const int iSourceClosed = m_rFiles.Close(std::exchange(m_hSource, -1));
    return iImageClosed == 0 && iSourceClosed == 0 ? CabinetCompressError::None : CabinetCompressError::CabinetFile;
}

bool HostCabinetWriter::StartEngine() noexcept {
    m_oEngine.zalloc = EngineAllocate;
    m_oEngine.zfree = EngineRelease;
    m_oEngine.opaque = &m_rFiles;
    m_fEngine = deflateInit2(&m_oEngine, static_cast<int>(m_lLevel), Z_DEFLATED, ENGINE_WINDOW, ENGINE_MEMORY,
                             Z_DEFAULT_STRATEGY) == Z_OK;
    return m_fEngine;
}

CabinetCompressError HostCabinetWriter::WriteHead(const char* pszMember) noexcept {
    const std::size_t cchMember = std::strlen(pszMember);
    if (cchMember == 0 || cchMember > LARGEST_NAME) return CabinetCompressError::OpenSource;

    std::array<BYTE, HEADER_SIZE + FOLDER_SIZE + FILE_SIZE + LARGEST_NAME + 1> abyHead{};
    const UINT cHead = HEADER_SIZE + FOLDER_SIZE + FILE_SIZE + static_cast<UINT>(cchMember) + 1;
    if (m_dwImage == 0) m_dwImage = m_dwFirstBlock = cHead;

    BYTE* const pHeader = abyHead.data();
    std::memcpy(pHeader, "MSCF", 4);
    Put32(pHeader + 8, m_dwImage);
    Put32(pHeader + 16, HEADER_SIZE + FOLDER_SIZE);
    pHeader[24] = 3;  // version 1.3
    pHeader[25] = 1;
    Put16(pHeader + 26, 1);  // folders
    Put16(pHeader + 28, 1);  // files

    BYTE* const pFolder = pHeader + HEADER_SIZE;
    Put32(pFolder, m_dwFirstBlock);
    Put16(pFolder + 4, m_wBlocks);
    Put16(pFolder + 6, TYPE_MSZIP);

    BYTE* const pFile = pFolder + FOLDER_SIZE;
    Put32(pFile, m_dwOriginal);
    Put16(pFile + 10, CABINET_MEMBER_DATE);
    Put16(pFile + 12, CABINET_MEMBER_TIME);
    Put16(pFile + 14, CABINET_MEMBER_ATTRIBUTES);
    std::memcpy(pFile + FILE_SIZE, pszMember, cchMember + 1);

    return WriteAll(abyHead.data(), cHead) ? CabinetCompressError::None : CabinetCompressError::CabinetFile;
}

CabinetCompressError HostCabinetWriter::WriteBlocks() noexcept {
    const BYTE* pHistory = nullptr;
    for (UINT iBuffer = 0;; iBuffer ^= 1) {
        BYTE* const pOriginal = m_pBuffers->aabyOriginal[iBuffer].data();
        bool fFailed = false;
        const UINT cOriginal = ReadBlock(pOriginal, fFailed);
        if (fFailed) return CabinetCompressError::ReadSource;
        if (cOriginal == 0) return CabinetCompressError::None;
        if (const auto eError = WriteBlock(pOriginal, cOriginal, pHistory); eError != CabinetCompressError::None) {
            return eError;
        }
        if (cOriginal < BLOCK_SIZE) return CabinetCompressError::None;
        pHistory = pOriginal;
    }
}

CabinetCompressError HostCabinetWriter::WriteBlock(const BYTE* pOriginal, UINT cOriginal,
                                                   const BYTE* pHistory) noexcept {
    UINT cDeflated = 0;
    if (const auto eError = CompressBlock(pOriginal, cOriginal, pHistory, cDeflated);
        eError != CabinetCompressError::None) {
        return eError;
    }
    const UINT cData = 2 + cDeflated;
    const UINT cBlock = BLOCK_HEADER_SIZE + cData;
    if (m_wBlocks == std::numeric_limits<WORD>::max() ||
        cBlock > static_cast<DWORD>(std::numeric_limits<LONG>::max()) - m_dwImage) {
        return CabinetCompressError::CabinetFile;
    }

    BYTE* const pBlock = m_pBuffers->abyBlock.data();
    pBlock[8] = 'C';
    pBlock[9] = 'K';
    Put16(pBlock + 4, cData);
    Put16(pBlock + 6, cOriginal);
    Put32(pBlock, Checksum(pBlock + 4, 4, Checksum(pBlock + BLOCK_HEADER_SIZE, cData, 0)));
    if (!WriteAll(pBlock, cBlock)) return CabinetCompressError::CabinetFile;

    m_dwImage += cBlock;
    m_dwOriginal += cOriginal;
    ++m_wBlocks;
    return CabinetCompressError::None;
}

CabinetCompressError HostCabinetWriter::CompressBlock(const BYTE* pOriginal, UINT cOriginal, const BYTE* pHistory,
                                                      UINT& rcDeflated) noexcept {
    constexpr UINT cStored = 5;
    BYTE* const pTarget = m_pBuffers->abyBlock.data() + BLOCK_HEADER_SIZE + 2;
    if (deflateReset(&m_oEngine) != Z_OK) return CabinetCompressError::CompressorFailed;
    if (pHistory && deflateSetDictionary(&m_oEngine, pHistory, BLOCK_SIZE) != Z_OK) {
        return CabinetCompressError::CompressorFailed;
    }
    m_oEngine.next_in = const_cast<Bytef*>(pOriginal);
    m_oEngine.avail_in = cOriginal;
    m_oEngine.next_out = pTarget;
    m_oEngine.avail_out = cOriginal + cStored - 1;  // not enough room means that storing is no longer
    const int iResult = deflate(&m_oEngine, Z_FINISH);
    if (iResult == Z_STREAM_END) {
        rcDeflated = cOriginal + cStored - 1 - m_oEngine.avail_out;
        return CabinetCompressError::None;
    }
    if (iResult != Z_OK && iResult != Z_BUF_ERROR) return CabinetCompressError::CompressorFailed;

    pTarget[0] = 1;  // the last block, stored
    Put16(pTarget + 1, cOriginal);
    Put16(pTarget + 3, ~cOriginal);
    std::memcpy(pTarget + cStored, pOriginal, cOriginal);
    rcDeflated = cStored + cOriginal;
    return CabinetCompressError::None;
}

UINT HostCabinetWriter::ReadBlock(BYTE* pTarget, bool& rfFailed) noexcept {
    UINT cRead = 0;
    while (cRead < BLOCK_SIZE) {
        const UINT cPart = m_rFiles.Read(m_hSource, pTarget + cRead, BLOCK_SIZE - cRead);
        if (cPart == 0) break;
        if (cPart > BLOCK_SIZE - cRead) {  // the mark of a failure, or a caller that claims more than was asked
            rfFailed = true;
            return 0;
        }
        cRead += cPart;
    }
    return cRead;
}

bool HostCabinetWriter::WriteAll(const void* pSource, UINT cBytes) noexcept {
    return m_rFiles.Write(m_hImage, pSource, cBytes) == cBytes;
}

}  // namespace vlm
