/// @file
/// A compressed buffer that compresses with the cabinet library.
#pragma once

#include <memory>

#include "utilities/compression/CompressedBuffer.h"
#include "utilities/utilitiesdll/CriticalResource.h"

/// Compresses into a cabinet image with one MSZIP member named "//Compressed-Data//", and restores such images.  States
/// of older writers that hold a zlib stream are converted when they are read, up to 32,767 original bytes.
///
/// Every image is checked whole before the cabinet library sees it (CabinetImage.h); what does not pass is refused with
/// ExceptionCompression.
///
/// **Threads**: one lock of the class is held around every call into the cabinet library, so compressions and
/// decompressions of a process run one at a time, whatever the object.  No message is written meanwhile.
class VLM_API CabCompressedBuffer : public CompressedBuffer {
public:
    /// An empty buffer.
    /// @param eFormat the class always uses CF_MS_CABINET; anything else is a failed assertion.
    /// @param lLevel 1 to 9, -1 for the compressor's default.  Others count as the default, but are stored in the
    ///        footer as given.  The system's own library has no levels.
    explicit CabCompressedBuffer(CompressionFormatEnum eFormat = CF_MS_CABINET,
                                 LONG lLevel = DEFAULT_COMPRESSION_LEVEL);
    CabCompressedBuffer(const CabCompressedBuffer& rOther);
    CabCompressedBuffer& operator=(const CabCompressedBuffer& rOther);
    ~CabCompressedBuffer() override;

    std::unique_ptr<CompressedBuffer> Clone() const override;

    /// A new buffer that holds the data.
    static std::unique_ptr<CabCompressedBuffer> CreateWithUncompressedData(const ByteBuffer& kbbData, LONG lLevel);
    /// A new buffer from a state.
    /// @throws ExceptionMissingOrBadCompressedBufferFooter, ExceptionIncompatibleCompressionFormat.
    static std::unique_ptr<CabCompressedBuffer> CreateWithBufferState(const ByteBuffer& kbbState);
    /// A new buffer from bare compressed bytes, that is a cabinet image without footer; the original size is taken from
    /// the image after it was checked.
    /// @throws ExceptionCompression when the image is refused.
    static std::unique_ptr<CabCompressedBuffer> CreateWithCompressedData(const ByteBuffer& kbbCompressed);

    /// Replaces a state by its original data, so that callers accept compressed and plain data in the same place.
    /// @return false, with `rbbData` as it was, when the data is no state, cannot be restored, or yields another size
    ///         than its footer says.
    static bool TryToUncompressStateData(ByteBuffer& rbbData) noexcept;

    /// Appends the cabinet image of the data to `rbbOut`.  0 bytes are allowed and give an image with an empty member.
    /// @throws ExceptionCompression, ExceptionFileOperationCompression, ExceptionOutOfMemory.
    static void CompressBuffer(const BYTE* pbyData, DWORD dwSize, ByteBuffer& rbbOut, LONG lLevel);
    /// Replaces `rbbOut` by the single member of a cabinet image.
    /// @throws ExceptionCompression for an image that is refused, holds more than bounds::MAX_STATE_ORIGINAL_BYTES or
    ///         fails to extract; ExceptionFileOperationCompression, ExceptionOutOfMemory.
    static void UncompressBuffer(const ByteBuffer& kbbIn, ByteBuffer& rbbOut);

    /// The state without its footer: the cabinet image; empty for an empty buffer.
    void GetCompressedData(ByteBuffer& rbbCompressed) const { CompressedBuffer::GetCompressedData(rbbCompressed); }

private:
    /// Largest original size of a zlib stream that can be converted: one block of the cabinet format less one byte.
    static constexpr DWORD LARGEST_ZLIB_ORIGINAL = 32767;

    void CompressData(const BYTE* pbyData, DWORD dwSize, ByteBuffer& rbbCompressed, LONG lLevel) const override;
    void UncompressData(const ByteBuffer& kbbCompressed, DWORD dwOriginalSize, ByteBuffer& rbbOriginal) const override;
    bool ConvertCompressedDataToNativeFormat(CompressionFormatEnum eFormat, LONG lLevel, DWORD dwOriginalSize,
                                             ByteBuffer& rbbData, bool fThrow) const override;
    static void ExtractCheckedImage(const ByteBuffer& kbbImage, DWORD dwOriginalSize, DWORD dwMost, ByteBuffer& rbbOut);
    bool ConvertZlibData(LONG lLevel, DWORD dwOriginalSize, ByteBuffer& rbbData, bool fThrow) const;

    static CriticalResource m_scCabCompressedBufferResource;

    friend class CabinetArchive;
};
