/// @file
/// A block of data in compressed form, with the footer that tells how to restore it.
#include "utilities/compression/CompressedBuffer.h"

#include <algorithm>
#include <utility>

#include "utilities/debuggingandexceptions/NoThrow.h"
#include "utilities/debuggingandexceptions/RaiseMacros.h"

namespace {

const XCHAR* FormatName(CompressedBuffer::CompressionFormatEnum eFormat) {
    switch (eFormat) {
        case CompressedBuffer::CF_ZLIB:
            return VTEXT("ZLib");
        case CompressedBuffer::CF_MS_CABINET:
            return VTEXT("MS Cabinet");
        default:
            return VTEXT("Unknown!");
    }
}

}  // namespace

CompressedBuffer::CompressedBuffer(CompressionFormatEnum eFormat, LONG lLevel)
    : m_lCompressionLevel(lLevel), m_eCompressionFormat(eFormat) {
    AddFooterInfo(m_bbState, 0, lLevel, eFormat);
}

CompressedBuffer::CompressedBuffer(const CompressedBuffer& rOther) = default;

CompressedBuffer& CompressedBuffer::operator=(const CompressedBuffer& rOther) {
    m_bbState = rOther.m_bbState;  // the one step that can fail
    m_dwOriginalDataSize = rOther.m_dwOriginalDataSize;
    m_lCompressionLevel = rOther.m_lCompressionLevel;
    m_eCompressionFormat = rOther.m_eCompressionFormat;
    m_dwMaximumOriginalDataSize = rOther.m_dwMaximumOriginalDataSize;
    return *this;
}

CompressedBuffer::~CompressedBuffer() = default;

void CompressedBuffer::Dump() const {
    VLM_REPORT(DebugCategory::Compress,
               VTEXT("CompressedBuffer: %lu bytes of original data, state of %lu bytes, compression level %ld, "
                     "compression format %s."),
               m_dwOriginalDataSize, m_bbState.GetLength(), m_lCompressionLevel, FormatName(m_eCompressionFormat));
}

void CompressedBuffer::Store(const BYTE* pbyData, DWORD dwSize) {
    ByteBuffer bbState;
    if (dwSize == 0) {
        VLM_REPORT(DebugCategory::Compress,
                   VTEXT("Original data size is zero, so the result will be an empty buffer."));
    } else {
        VLM_REPORT(DebugCategory::Compress, VTEXT("Storing %ld bytes of original source data."), dwSize);
        CompressData(pbyData, dwSize, bbState, m_lCompressionLevel);
    }
    AddFooterInfo(bbState, dwSize, m_lCompressionLevel, m_eCompressionFormat);
    m_bbState.swap(bbState);
    m_dwOriginalDataSize = dwSize;
    // What went in may come out again.
    m_dwMaximumOriginalDataSize = std::max(m_dwMaximumOriginalDataSize, dwSize);
    if (dwSize > 0) Dump();
}

void CompressedBuffer::GetOriginalData(ByteBuffer& rbbOriginal) const {
    if (m_dwOriginalDataSize == 0) {
        rbbOriginal.clear();
        return;
    }
    ByteBuffer bbCompressed;
    GetCompressedData(bbCompressed);
    UncompressData(bbCompressed, m_dwOriginalDataSize, rbbOriginal);
}

void CompressedBuffer::GetCompressedData(ByteBuffer& rbbCompressed) const {
    const std::size_t cState = m_bbState.size();
    rbbCompressed.setWithLpbyte(m_bbState.data(), cState < FOOTER_SIZE ? 0 : cState - FOOTER_SIZE);
}

void CompressedBuffer::SetCompressedData(const ByteBuffer& kbbCompressed, DWORD dwOriginalSize) {
    ByteBuffer bbState;
    if (dwOriginalSize > 0) bbState = kbbCompressed;
    AddFooterInfo(bbState, dwOriginalSize, m_lCompressionLevel, m_eCompressionFormat);
    m_bbState.swap(bbState);
    m_dwOriginalDataSize = dwOriginalSize;
}

void CompressedBuffer::InitializeWithCompressedBufferState(const ByteBuffer& kbbState) {
    Initialize(kbbState, true);
}

bool CompressedBuffer::TryToInitializeWithCompressedBufferState(const ByteBuffer& kbbState) noexcept {
    return vlm::NoThrow([&] { return Initialize(kbbState, false); }, false);
}

bool CompressedBuffer::Initialize(const ByteBuffer& kbbState, bool fThrow) {
    FooterInfo info;
    if (!GetFooterInfo(kbbState, fThrow, info)) return false;
    const std::size_t cCompressed = kbbState.size() - info.dwFooterSize;
    VLM_REPORT(DebugCategory::Compress,
               VTEXT("Compressed data of size %ld contains original data of size %ld (compression level %ld). "
                     "The format is %ld. Footer is %ld bytes."),
               static_cast<DWORD>(cCompressed), info.dwOriginalSize, info.lLevel, static_cast<LONG>(info.eFormat),
               info.dwFooterSize);

    ByteBuffer bbState;
    if (info.dwOriginalSize == 0) {
        VLM_REPORT(DebugCategory::Compress, VTEXT("Original data size is 0. Update the member variables."));
    } else {
        bbState.setWithLpbyte(kbbState.data(), cCompressed);
        if (!ConvertCompressedDataToNativeFormat(info.eFormat, info.lLevel, info.dwOriginalSize, bbState, fThrow)) {
            return false;
        }
    }
    AddFooterInfo(bbState, info.dwOriginalSize, info.lLevel, m_eCompressionFormat);
    m_bbState.swap(bbState);
    m_dwOriginalDataSize = info.dwOriginalSize;
    m_lCompressionLevel = info.lLevel;
    return true;
}
