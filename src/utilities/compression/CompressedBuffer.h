/// @file
/// A block of data in compressed form, with the footer that tells how to restore it.
#pragma once

#include <memory>

#include "platform/Export.h"
#include "platform/WinTypes.h"
#include "utilities/Bounds.h"
#include "utilities/utilitiesdll/ByteBuffer.h"

/// Holds a *state*: compressed bytes followed by a footer, the form in which callers store the buffer and later hand it
/// back.  Concrete classes bring the compression; CabCompressedBuffer is the one that exists.
///
/// | offset in footer | size | field                                                  | in "COM4" | in "COMP" |
/// |------------------|------|--------------------------------------------------------|-----------|-----------|
/// | 0                | 1    | compression format                                     | (zlib)    | (zlib)    |
/// | 1                | 4    | compression level, two's complement, big-endian        | at 0      | (-1)      |
/// | 5                | 4    | original size in bytes, big-endian                     | at 4      | at 0      |
/// | 9                | 4    | signature "COM5"                                       | at 8      | at 4      |
///
/// The current footer has 13 bytes; the older ones have 12 and 8 and are read, never written.  An empty buffer's state
/// is a current footer with size 0 and nothing before it.
///
/// **Ownership**: values; Clone hands over a new object.  **Threads**: one object is not shared without a lock.
/// **Failure**: an operation that throws leaves its object and its arguments as they were; the try-forms never throw.
class VLM_API CompressedBuffer {
public:
    enum CompressionFormatEnum : int {
        CF_ZLIB = 1,        ///< a zlib stream, from older writers
        CF_MS_CABINET = 2,  ///< a cabinet image, MSZIP
    };

    /// The compressor's default level.
    static constexpr LONG DEFAULT_COMPRESSION_LEVEL = -1;

    /// The signatures of the footers; their first four bytes alone are written and compared.
    static constexpr char SIGNATURE[] = "COM5";
    static constexpr char SIGNATURE_V40[] = "COM4//Uncompressed-Data//";
    static constexpr char SIGNATURE_V37[] = "COMP//Compressed-Data//";

    static constexpr DWORD FOOTER_SIZE = 13;
    static constexpr DWORD FOOTER_SIZE_V40 = 12;
    static constexpr DWORD FOOTER_SIZE_V37 = 8;

    virtual ~CompressedBuffer();
    /// A copy that the caller owns.
    virtual std::unique_ptr<CompressedBuffer> Clone() const = 0;
    /// Reports sizes, level and format.
    virtual void Dump() const;

    /// Replaces the contents by the compression of the data; 0 bytes make an empty buffer.
    /// @throws ExceptionCompression, ExceptionFileOperationCompression, ExceptionOutOfMemory.
    void Store(const BYTE* pbyData, DWORD dwSize);
    void Store(const ByteBuffer& kbbData) { Store(kbbData.data(), kbbData.GetLength()); }

    /// Decompresses into `rbbOriginal`, replacing what it held.
    ///
    /// The size of the result is what the compressed bytes yield; it differs from GetOriginalDataSize() when the footer
    /// does not belong to them, so a caller that reads states from outside compares the two.  Never more than one byte
    /// beyond that size is produced.
    /// @throws ExceptionCompression for damaged compressed bytes, and before any decompression when the footer claims
    ///         more than the bytes can stand for or than SetMaximumOriginalDataSize allows; ExceptionOutOfMemory.
    void GetOriginalData(ByteBuffer& rbbOriginal) const;

    /// What the footer says, in bytes; 0 for an empty buffer.
    DWORD GetOriginalDataSize() const noexcept { return m_dwOriginalDataSize; }
    LONG GetCompressionLevel() const noexcept { return m_lCompressionLevel; }
    CompressionFormatEnum GetCompressionFormat() const noexcept { return m_eCompressionFormat; }

    /// The largest original size that GetOriginalData accepts, in bytes: at first 64 MiB, or what was stored, if more.
    /// A reader of files raises it to bounds::MAX_FILE_ORIGINAL_BYTES, or higher for data that it trusts.
    void SetMaximumOriginalDataSize(DWORD dwBytes) noexcept { m_dwMaximumOriginalDataSize = dwBytes; }

    /// A copy of the state.
    ByteBuffer GetCompressedBufferState() const { return m_bbState; }
    /// The state's first byte, null when it is empty; borrowed until the buffer changes.
    const BYTE* GetCompressedBufferStateLpbyte() const noexcept { return m_bbState.getLpbyte(); }
    /// The state's length in bytes.
    DWORD GetCompressedBufferStateSize() const noexcept { return m_bbState.GetLength(); }
    DWORD GetCompressedBufferStateDword() const noexcept { return m_bbState.GetLength(); }

protected:
    CompressedBuffer(CompressionFormatEnum eFormat, LONG lLevel);
    CompressedBuffer(const CompressedBuffer& rOther);
    CompressedBuffer& operator=(const CompressedBuffer& rOther);

    /// The state without its footer: its length less FOOTER_SIZE; empty for a shorter state.
    void GetCompressedData(ByteBuffer& rbbCompressed) const;

    /// Rebuilds the buffer from a state with any of the footers.  The new state always has the current footer, and
    /// compressed bytes in the class's own format.
    /// @throws ExceptionMissingOrBadCompressedBufferFooter, ExceptionIncompatibleCompressionFormat,
    ///         ExceptionOutOfMemory.
    void InitializeWithCompressedBufferState(const ByteBuffer& kbbState);
    /// The same.  @return false, with the buffer as it was, instead of throwing.
    bool TryToInitializeWithCompressedBufferState(const ByteBuffer& kbbState) noexcept;

    /// Makes the buffer hold compressed bytes of the class's own format.
    void SetCompressedData(const ByteBuffer& kbbCompressed, DWORD dwOriginalSize);

    DWORD GetMaximumOriginalDataSize() const noexcept { return m_dwMaximumOriginalDataSize; }

private:
    /// What a footer says, or stands for where it is older.
    struct FooterInfo {
        DWORD dwOriginalSize = 0;
        LONG lLevel = DEFAULT_COMPRESSION_LEVEL;
        CompressionFormatEnum eFormat = CF_ZLIB;
        DWORD dwFooterSize = 0;
    };
    struct FooterVersion;

    // The compression of the concrete class.  These follow Dump in the class's table of virtual operations.

    /// Appends the compression of the data to `rbbCompressed`.
    virtual void CompressData(const BYTE* pbyData, DWORD dwSize, ByteBuffer& rbbCompressed, LONG lLevel) const = 0;
    /// Replaces `rbbOriginal` by the original of the compressed bytes, at most one byte more than `dwOriginalSize`.
    virtual void UncompressData(const ByteBuffer& kbbCompressed, DWORD dwOriginalSize,
                                ByteBuffer& rbbOriginal) const = 0;
    /// Turns compressed bytes of any format into the class's own.
    /// @return false when that is not possible and `fThrow` is not set.
    /// @throws ExceptionIncompatibleCompressionFormat when that is not possible and `fThrow` is set.
    virtual bool ConvertCompressedDataToNativeFormat(CompressionFormatEnum eFormat, LONG lLevel, DWORD dwOriginalSize,
                                                     ByteBuffer& rbbData, bool fThrow) const = 0;

    static void AddFooterInfo(ByteBuffer& rbbState, DWORD dwOriginalSize, LONG lLevel, CompressionFormatEnum eFormat);
    static bool GetFooterInfo(const ByteBuffer& kbbState, bool fThrow, FooterInfo& rInfo);
    static bool IsSignatureAtEnd(const ByteBuffer& kbbState, const FooterVersion& rVersion);
    static void ReadFooter(const ByteBuffer& kbbState, const FooterVersion& rVersion, FooterInfo& rInfo);
    bool Initialize(const ByteBuffer& kbbState, bool fThrow);

    ByteBuffer m_bbState;
    DWORD m_dwOriginalDataSize = 0;
    LONG m_lCompressionLevel;
    CompressionFormatEnum m_eCompressionFormat;
    DWORD m_dwMaximumOriginalDataSize = vlm::bounds::MAX_STATE_ORIGINAL_BYTES;
};
