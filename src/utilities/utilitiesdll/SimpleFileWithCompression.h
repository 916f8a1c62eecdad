/// @file
/// A file that is compressed.
#pragma once

#include "utilities/Bounds.h"
#include "utilities/utilitiesdll/SimpleFile.h"

/// A file that holds a compressed-buffer state (CompressedBuffer.h): a cabinet image and the footer "COM5".  States
/// with older footers are read, too.  Whole files only.
/// **Ownership**, **Threads**: as SimpleFile.  **Failure**: as SimpleFile, and what CabCompressedBuffer throws for a
/// damaged state; data of another size than the footer says is an ExceptionReadFile.
class VLM_API SimpleFileWithCompression : public SimpleFile {
public:
    explicit SimpleFileWithCompression(const CXString& kcsFileName);
    ~SimpleFileWithCompression() override;

    /// @param dwSizeLimit of the file, that is of the compressed bytes; SetMaximumOriginalDataSize bounds the data.
    void ReadTheFile(ByteBuffer& rbbData, DWORD dwSizeLimit = 0) const override;
    /// A coding error: throws ExceptionReadFile.
    void ReadFromTheFile(ULONGLONG ullPosition, DWORD dwSize, ReadSharingEnum eSharing,
                         ByteBuffer& rbbData) const override;
    void WriteTheFile(const ByteBuffer& kbbData, FileAttributeActionEnum eAction) const override;
    /// A coding error: throws ExceptionWriteFile.
    void WriteToTheFile(ULONGLONG ullPosition, DWORD dwSize, MissingFileEnum eMissing, const BYTE* pbyData,
                        FileAttributeActionEnum eAction) const override;
    template <class... Arguments>
    void WriteToTheEndOfFile(Arguments&&...) const = delete;

    /// The most bytes that a file may expand to; files of the family fit into what it is at first.
    void SetMaximumOriginalDataSize(DWORD dwBytes) noexcept { m_dwMaximumOriginalDataSize = dwBytes; }

    /// The bytes of a file that holds the data, for callers that write them in a way of their own.
    ByteBuffer EncodeContents(const ByteBuffer& kbbData) const;
    /// The converse, in place; a failure leaves the bytes as they are.
    void DecodeContents(ByteBuffer& rbbContents) const;

private:
    DWORD m_dwMaximumOriginalDataSize = vlm::bounds::MAX_FILE_ORIGINAL_BYTES;
};
