/// @file
/// The check that every cabinet image passes before a cabinet library sees it.
///
/// | offset | size | CFHEADER                                                                    |
/// |--------|------|-----------------------------------------------------------------------------|
/// | 0      | 4    | "MSCF"                                                                      |
/// | 8      | 4    | size of the image                                                           |
/// | 16     | 4    | place of the first CFFILE                                                   |
/// | 24     | 2    | version, minor first                                                        |
/// | 26     | 6    | numbers of folders and of files, flags                                      |
/// | 32     | 4    | set, number in the set                                                      |
/// | 36     | 4    | with flag 4: sizes of the reserve areas of header (2), folder (1), block (1) |
///
/// CFFOLDER: place of its first block 4, number of blocks 2, compression type 2, reserve area.
/// CFFILE: original size 4, offset in its folder 4, folder 2, date 2, time 2, attributes 2, name, 0.
/// CFDATA: checksum 4, compressed size 2, original size 2, reserve area, data.
#include "utilities/compression/CabinetImage.h"

#include <algorithm>
#include <cstring>

#include "utilities/compression/DeflateCheck.h"

namespace vlm {

namespace {

constexpr std::size_t HEADER_SIZE = 36;
constexpr std::size_t FOLDER_SIZE = 8;
constexpr std::size_t ENTRY_SIZE = 16;
constexpr std::size_t BLOCK_HEADER_SIZE = 8;
constexpr std::size_t RESERVE_SIZES = 4;
constexpr std::size_t LONGEST_NAME = 255;
constexpr WORD FLAG_RESERVE = 4;
constexpr WORD TYPE_STORED = 0;
constexpr WORD TYPE_MSZIP = 1;
constexpr std::size_t BLOCK_ORIGINAL_SIZE = 32768;
constexpr std::size_t LARGEST_BLOCK = BLOCK_ORIGINAL_SIZE + 6144;  ///< the room that the readers have
constexpr std::size_t LONGEST_TAIL = 4;                            ///< the check value that ends a zlib stream

WORD Get16(const BYTE* p) noexcept {
    return static_cast<WORD>(p[0] | (p[1] << 8));
}
DWORD Get32(const BYTE* p) noexcept {
    return Get16(p) | (static_cast<DWORD>(Get16(p + 2)) << 16);
}

/// The format's checksum: the exclusive or of the little-endian words, the last one to three bytes taken most
/// significant first.
DWORD Checksum(const BYTE* p, std::size_t c, DWORD dwSum) noexcept {
    for (; c >= 4; p += 4, c -= 4)
        dwSum ^= Get32(p);
    DWORD dwTail = 0;
    for (; c > 0; ++p, --c)
        dwTail = (dwTail << 8) | *p;
    return dwSum ^ dwTail;
}

/// One walk through one image.
class ImageCheck {
public:
    ImageCheck(const BYTE* pImage, std::size_t cImage, const CabinetProfile& rProfile) noexcept
        : m_pImage(pImage), m_cImage(cImage), m_rProfile(rProfile) {}

    CabinetVerdict Run() noexcept {
        m_verdict.eDefect = CabinetDefect::None;
        if (CheckHeader() && CheckEntryTable() && CheckFolders()) return m_verdict;
        return CabinetVerdict{m_verdict.eDefect, m_verdict.uOffset};
    }

private:
    bool CheckHeader() noexcept;
    bool CheckReserveSizes() noexcept;
    bool CheckEntryTable() noexcept;
    bool CheckFolders() noexcept;
    bool CheckFolder(std::size_t uFolder, WORD wFolder) noexcept;
    bool CheckBlock(std::size_t uBlock, bool fStored, bool fLast, DWORD dwFolderBytes,
                    std::size_t& rcOriginal) noexcept;
    bool IsChecksumRight(const BYTE* pBlock, const BYTE* pData, std::size_t cData) const noexcept;
    bool CheckStream(std::size_t uBlock, bool fLast, DWORD dwFolderBytes) noexcept;
    bool CheckEntriesOf(WORD wFolder, DWORD dwFolderBytes) noexcept;

    bool Refuse(CabinetDefect eDefect, std::size_t uOffset) noexcept {
        m_verdict.eDefect = eDefect;
        m_verdict.uOffset = uOffset;
        return false;
    }
    std::size_t Rest(std::size_t uOffset) const noexcept { return m_cImage - uOffset; }

    const BYTE* m_pImage;
    std::size_t m_cImage;
    const CabinetProfile& m_rProfile;
    CabinetVerdict m_verdict;
    DeflateChecker m_oDeflate;

    std::size_t m_uFolders = HEADER_SIZE;  ///< the first folder entry
    std::size_t m_cFolderReserve = 0;
    std::size_t m_cBlockReserve = 0;
    std::size_t m_uEntry = 0;  ///< the file entry that is next to be matched with its folder
    WORD m_wEntriesLeft = 0;
    std::size_t m_uData = 0;  ///< where block data may begin: behind all that was seen so far
};

bool ImageCheck::CheckHeader() noexcept {
    if (m_cImage < HEADER_SIZE) return Refuse(CabinetDefect::TooShort, m_cImage);
    if (std::memcmp(m_pImage, "MSCF", 4) != 0) return Refuse(CabinetDefect::Signature, 0);
    const std::size_t cAnnounced = Get32(m_pImage + 8);
    if (cAnnounced < HEADER_SIZE || cAnnounced > m_cImage || (m_rProfile.fStrict && cAnnounced != m_cImage)) {
        return Refuse(CabinetDefect::ImageSize, 8);
    }
    if (m_pImage[24] != 3 || m_pImage[25] != 1) return Refuse(CabinetDefect::Version, 24);
    m_verdict.wFolders = Get16(m_pImage + 26);
    m_verdict.wFiles = Get16(m_pImage + 28);
    if (m_verdict.wFolders == 0 || m_verdict.wFolders > m_rProfile.wMostFolders) {
        return Refuse(CabinetDefect::FolderCount, 26);
    }
    if (m_verdict.wFiles == 0 || m_verdict.wFiles > m_rProfile.wMostFiles) return Refuse(CabinetDefect::FileCount, 28);
    m_cImage = cAnnounced;  // a signature may follow a cabinet file; no part of the cabinet lies there
    return CheckReserveSizes();
}

bool ImageCheck::CheckReserveSizes() noexcept {
    const WORD wFlags = Get16(m_pImage + 30);
    if (wFlags == 0) return true;
    if (wFlags != FLAG_RESERVE || m_rProfile.fStrict) return Refuse(CabinetDefect::Flags, 30);
    if (Rest(HEADER_SIZE) < RESERVE_SIZES) return Refuse(CabinetDefect::TooShort, HEADER_SIZE);
    const std::size_t cHeaderReserve = Get16(m_pImage + HEADER_SIZE);
    m_cFolderReserve = m_pImage[HEADER_SIZE + 2];
    m_cBlockReserve = m_pImage[HEADER_SIZE + 3];
    m_uFolders = HEADER_SIZE + RESERVE_SIZES + cHeaderReserve;
    if (m_uFolders > m_cImage) return Refuse(CabinetDefect::TooShort, HEADER_SIZE);
    return true;
}

/// The shape of the file table; the files' ranges follow with their folders.
bool ImageCheck::CheckEntryTable() noexcept {
    const std::size_t cFolderTable = m_verdict.wFolders * (FOLDER_SIZE + m_cFolderReserve);
    if (Rest(m_uFolders) < cFolderTable) return Refuse(CabinetDefect::FolderCount, 26);
    const std::size_t uFolderTableEnd = m_uFolders + cFolderTable;
    m_uEntry = Get32(m_pImage + 16);
    const bool fInPlace = m_rProfile.fStrict ? m_uEntry == uFolderTableEnd : m_uEntry >= uFolderTableEnd;
    if (!fInPlace || m_uEntry > m_cImage) return Refuse(CabinetDefect::FileTable, 16);

    std::size_t uEntry = m_uEntry;
    for (m_wEntriesLeft = 0; m_wEntriesLeft < m_verdict.wFiles; ++m_wEntriesLeft) {
        if (Rest(uEntry) < ENTRY_SIZE) return Refuse(CabinetDefect::FileTable, uEntry);
        const BYTE* const pName = m_pImage + uEntry + ENTRY_SIZE;
        const std::size_t cSearch = std::min(Rest(uEntry + ENTRY_SIZE), LONGEST_NAME + 1);
        const auto* const pEnd = static_cast<const BYTE*>(cSearch > 0 ? std::memchr(pName, 0, cSearch) : nullptr);
        if (!pEnd || pEnd == pName) return Refuse(CabinetDefect::FileName, uEntry + ENTRY_SIZE);
        uEntry = static_cast<std::size_t>(pEnd + 1 - m_pImage);
    }
    m_uData = uEntry;
    return true;
}

bool ImageCheck::CheckFolders() noexcept {
    std::size_t uFolder = m_uFolders;
    for (WORD w = 0; w < m_verdict.wFolders; ++w, uFolder += FOLDER_SIZE + m_cFolderReserve) {
        if (!CheckFolder(uFolder, w)) return false;
    }
    if (m_wEntriesLeft > 0) return Refuse(CabinetDefect::FileFolder, m_uEntry + 8);
    if (m_rProfile.fStrict && m_uData != m_cImage) return Refuse(CabinetDefect::TrailingData, m_uData);
    return true;
}

bool ImageCheck::CheckFolder(std::size_t uFolder, WORD wFolder) noexcept {
    const std::size_t uFirst = Get32(m_pImage + uFolder);
    const WORD wBlocks = Get16(m_pImage + uFolder + 4);
    const WORD wType = Get16(m_pImage + uFolder + 6);
    if (wType != TYPE_MSZIP && (wType != TYPE_STORED || m_rProfile.fStrict)) {
        return Refuse(CabinetDefect::CompressionType, uFolder + 6);
    }
    if (uFirst < m_uData || uFirst > m_cImage) return Refuse(CabinetDefect::DataOffset, uFolder);
    // Only zeros may lie between the name, which may fill a field of fixed size, and the data.
    const auto IsPadding = [](BYTE by) { return by == 0; };
    if (m_rProfile.fStrict && !std::all_of(m_pImage + m_uData, m_pImage + uFirst, IsPadding)) {
        return Refuse(CabinetDefect::TrailingData, m_uData);
    }

    std::size_t uBlock = uFirst;
    DWORD dwFolderBytes = 0;
    for (WORD w = 0; w < wBlocks; ++w) {
        std::size_t cOriginal = 0;
        if (!CheckBlock(uBlock, wType == TYPE_STORED, w + 1 == wBlocks, dwFolderBytes, cOriginal)) return false;
        if (cOriginal > m_rProfile.dwMostOriginalBytes - m_verdict.dwOriginalBytes) {
            return Refuse(CabinetDefect::TooMuchData, uBlock + 6);
        }
        dwFolderBytes += static_cast<DWORD>(cOriginal);
        m_verdict.dwOriginalBytes += static_cast<DWORD>(cOriginal);
        uBlock += BLOCK_HEADER_SIZE + m_cBlockReserve + Get16(m_pImage + uBlock + 4);
    }
    m_uData = uBlock;
    return CheckEntriesOf(wFolder, dwFolderBytes);
}

bool ImageCheck::CheckBlock(std::size_t uBlock, bool fStored, bool fLast, DWORD dwFolderBytes,
                            std::size_t& rcOriginal) noexcept {
    const std::size_t cHead = BLOCK_HEADER_SIZE + m_cBlockReserve;
    if (Rest(uBlock) < cHead) return Refuse(CabinetDefect::BlockSize, uBlock);
    const BYTE* const pBlock = m_pImage + uBlock;
    const std::size_t cData = Get16(pBlock + 4);
    rcOriginal = Get16(pBlock + 6);
    if (cData > LARGEST_BLOCK || Rest(uBlock + cHead) < cData) return Refuse(CabinetDefect::BlockSize, uBlock + 4);
    const bool fFull = rcOriginal == BLOCK_ORIGINAL_SIZE;
    const bool fShort = rcOriginal > 0 && rcOriginal < BLOCK_ORIGINAL_SIZE;
    if (!fFull && !(fShort && fLast)) return Refuse(CabinetDefect::BlockSize, uBlock + 6);
    if (fStored && cData != rcOriginal) return Refuse(CabinetDefect::BlockSize, uBlock + 4);

    if (!IsChecksumRight(pBlock, pBlock + cHead, cData)) return Refuse(CabinetDefect::BlockChecksum, uBlock);
    return fStored || CheckStream(uBlock, fLast, dwFolderBytes);
}

/// Zero stands for no checksum.  Writers disagree whether the reserve area is part of it; readers leave it out.
bool ImageCheck::IsChecksumRight(const BYTE* pBlock, const BYTE* pData, std::size_t cData) const noexcept {
    const DWORD dwChecksum = Get32(pBlock);
    if (dwChecksum == 0) return true;
    const DWORD dwData = Checksum(pData, cData, 0);
    return dwChecksum == Checksum(pBlock + 4, 4, dwData) ||
           dwChecksum == Checksum(pBlock + 4, 4 + m_cBlockReserve, dwData);
}

bool ImageCheck::CheckStream(std::size_t uBlock, bool fLast, DWORD dwFolderBytes) noexcept {
    const std::size_t uData = uBlock + BLOCK_HEADER_SIZE + m_cBlockReserve;
    const std::size_t cData = Get16(m_pImage + uBlock + 4);
    const BYTE* const pData = m_pImage + uData;
    if (cData < 2 || pData[0] != 'C' || pData[1] != 'K') return Refuse(CabinetDefect::BlockSignature, uData);

    std::size_t cConsumed = 0;
    const std::size_t cHistory = std::min<std::size_t>(dwFolderBytes, BLOCK_ORIGINAL_SIZE);
    const DeflateDefect eDefect =
        m_oDeflate.Check(pData + 2, cData - 2, cHistory, Get16(m_pImage + uBlock + 6), cConsumed);
    if (eDefect != DeflateDefect::None) return Refuse(CabinetDefect::BlockStream, uData + 2 + cConsumed);

    // A zlib stream's check value may follow.  Some readers look for the next block's "CK" from here, so nothing that
    // could begin one may stand between two blocks.
    const BYTE* const pTail = pData + 2 + cConsumed;
    const BYTE* const pTailEnd = pData + cData;
    const bool fTailAllowed = static_cast<std::size_t>(pTailEnd - pTail) <= LONGEST_TAIL &&
                              (fLast || std::find(pTail, pTailEnd, BYTE{'C'}) == pTailEnd);
    return fTailAllowed || Refuse(CabinetDefect::BlockTail, uData + 2 + cConsumed);
}

/// Files stand in the order of their folders and, within one, of their data, none sharing bytes with another: then one
/// pass over the data is enough for every reader.
bool ImageCheck::CheckEntriesOf(WORD wFolder, DWORD dwFolderBytes) noexcept {
    DWORD dwNext = 0;
    while (m_wEntriesLeft > 0) {
        const CabinetEntry entry = ReadCabinetEntry(m_pImage, m_uEntry);
        if (entry.wFolder != wFolder) break;
        const DWORD dwOffset = Get32(m_pImage + m_uEntry + 4);
        const bool fInPlace = m_rProfile.fStrict ? dwOffset == dwNext : dwOffset >= dwNext;
        const bool fInside = dwOffset <= dwFolderBytes && entry.dwBytes <= dwFolderBytes - dwOffset;
        if (!fInPlace || !fInside) return Refuse(CabinetDefect::FileRange, m_uEntry);
        dwNext = dwOffset + entry.dwBytes;
        m_uEntry = entry.uNext;
        --m_wEntriesLeft;
    }
    if (m_rProfile.fStrict && m_wEntriesLeft == 0 && dwNext != dwFolderBytes)
        return Refuse(CabinetDefect::FileRange, m_uEntry);
    return true;
}

}  // namespace

CabinetVerdict ValidateCabinetImage(const BYTE* pImage, std::size_t cImage, const CabinetProfile& rProfile) noexcept {
    return ImageCheck(pImage, cImage, rProfile).Run();
}

std::size_t FirstCabinetEntry(const BYTE* pImage) noexcept {
    return Get32(pImage + 16);
}

CabinetEntry ReadCabinetEntry(const BYTE* pImage, std::size_t uOffset) noexcept {
    const BYTE* const pEntry = pImage + uOffset;
    CabinetEntry entry{};
    entry.pszName = reinterpret_cast<const char*>(pEntry + ENTRY_SIZE);
    entry.dwBytes = Get32(pEntry);
    entry.wFolder = Get16(pEntry + 8);
    entry.wDate = Get16(pEntry + 10);
    entry.wTime = Get16(pEntry + 12);
    entry.wAttributes = Get16(pEntry + 14);
    entry.uNext = uOffset + ENTRY_SIZE + std::strlen(entry.pszName) + 1;
    return entry;
}

const XCHAR* DescribeCabinetDefect(CabinetDefect eDefect) noexcept {
    static constexpr const XCHAR* TEXTS[] = {
        VTEXT("no defect"),
        VTEXT("the image is too short"),
        VTEXT("the signature is not MSCF"),
        VTEXT("the format version is not 1.3"),
        VTEXT("the size in the header is not the size of the image"),
        VTEXT("the header's flags are not allowed"),
        VTEXT("the number of folders is not allowed"),
        VTEXT("the number of files is not allowed"),
        VTEXT("the file table is out of place"),
        VTEXT("a file name is empty, too long or not terminated"),
        VTEXT("a file's folder is missing or out of order"),
        VTEXT("a file lies outside its folder's data"),
        VTEXT("the compression type is not allowed"),
        VTEXT("a folder's data is out of place"),
        VTEXT("a block's size is not allowed"),
        VTEXT("a block does not begin with CK"),
        VTEXT("a block's checksum is wrong"),
        VTEXT("a block's compressed data is damaged"),
        VTEXT("bytes follow a block's compressed data"),
        VTEXT("the image expands to more data than allowed"),
        VTEXT("bytes belong to nothing"),
    };
    return TEXTS[static_cast<DWORD>(eDefect)];
}

}  // namespace vlm
