/// @file
/// Writes a cabinet image with one folder and one MSZIP member, zlib doing the compression.
#pragma once

#include <zlib.h>

#include <array>
#include <cstdint>

#include "platform/CabinetPort.h"

namespace vlm {

/// Writes one image, front to back, then its header once the sizes are known.
///
/// | offset | size | field                                                                      |
/// |--------|------|----------------------------------------------------------------------------|
/// | 0      | 36   | CFHEADER: "MSCF", 0, size, 0, 44, 0, 3, 1, 1 folder, 1 file, flags 0, 0, 0 |
/// | 36     | 8    | CFFOLDER: offset of the first block, number of blocks, type 1 (MSZIP)      |
/// | 44     | 17+n | CFFILE: size, 0, folder 0, date, time, attributes, name, 0                 |
/// | 61+n   |      | CFDATA blocks: checksum, compressed size, original size, "CK", raw deflate |
///
/// Every block but the last holds 32,768 original bytes, is a complete deflate stream, and refers back into the block
/// before it.
class HostCabinetWriter {
public:
    HostCabinetWriter(CabinetFiles& rFiles, LONG lLevel) noexcept;
    ~HostCabinetWriter();
    HostCabinetWriter(const HostCabinetWriter&) = delete;
    HostCabinetWriter& operator=(const HostCabinetWriter&) = delete;

    /// @return None, or the failed operation; `Step()` tells where.
    CabinetCompressError Write(const char* pszSource, const char* pszMember, const char* pszImage) noexcept;
    CabinetStep Step() const noexcept { return m_eStep; }

private:
    static constexpr UINT BLOCK_SIZE = 32768;
    static constexpr UINT STORED_OVERHEAD = 2 + 5;  ///< "CK", and the header of a stored deflate block
    static constexpr UINT BLOCK_HEADER_SIZE = 8;    ///< CFDATA
    static constexpr UINT LARGEST_NAME = 255;

    struct Buffers {
        std::array<std::array<BYTE, BLOCK_SIZE>, 2> aabyOriginal;  ///< this block and the one before it, alternating
        std::array<BYTE, BLOCK_HEADER_SIZE + STORED_OVERHEAD + BLOCK_SIZE> abyBlock;
    };

    CabinetCompressError WriteHead(const char* pszMember) noexcept;
    CabinetCompressError WriteBlocks() noexcept;
    CabinetCompressError WriteBlock(const BYTE* pOriginal, UINT cOriginal, const BYTE* pHistory) noexcept;
    CabinetCompressError CompressBlock(const BYTE* pOriginal, UINT cOriginal, const BYTE* pHistory,
                                       UINT& rcDeflated) noexcept;
    bool StartEngine() noexcept;
    UINT ReadBlock(BYTE* pTarget, bool& rfFailed) noexcept;
    bool WriteAll(const void* pSource, UINT cBytes) noexcept;

    CabinetFiles& m_rFiles;
    LONG m_lLevel;
    CabinetStep m_eStep = CabinetStep::Create;
    std::intptr_t m_hSource = -1;
    std::intptr_t m_hImage = -1;
    Buffers* m_pBuffers = nullptr;
    z_stream m_oEngine{};
    bool m_fEngine = false;
    DWORD m_dwOriginal = 0;  ///< bytes compressed so far
    DWORD m_dwImage = 0;     ///< bytes of the image so far
    WORD m_wBlocks = 0;
    DWORD m_dwFirstBlock = 0;  ///< offset of the first block
};

}  // namespace vlm
