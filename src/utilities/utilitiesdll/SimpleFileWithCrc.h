/// @file
/// A file whose contents are checked when they are read.
#pragma once

#include "utilities/utilitiesdll/SimpleFile.h"

/// A file with the CRC-32 of its data in front:
///
/// | offset | size | content                                        |
/// |--------|------|------------------------------------------------|
/// | 0      | 4    | CRC-32 (Crc32.h) of the data, little-endian    |
/// | 4      | 4    | zero; not looked at when read                  |
/// | 8      | rest | the data                                       |
///
/// The sum finds accidents, not intentions.  Whole files only.
/// **Ownership**, **Threads**, **Failure**: as SimpleFile; a file that is damaged or shorter than its header is an
/// ExceptionReadFile.
class VLM_API SimpleFileWithCrc : public SimpleFile {
public:
    static constexpr DWORD HEADER_BYTES = 8;

    explicit SimpleFileWithCrc(const CXString& kcsFileName);
    ~SimpleFileWithCrc() override;

    /// @param dwSizeLimit of the data, without the header.
    void ReadTheFile(ByteBuffer& rbbData, DWORD dwSizeLimit = 0) const override;
    /// A coding error: throws ExceptionReadFile.
    void ReadFromTheFile(ULONGLONG ullPosition, DWORD dwSize, ReadSharingEnum eSharing,
                         ByteBuffer& rbbData) const override;
    /// Makes a read-only file writable whatever the action says.
    void WriteTheFile(const ByteBuffer& kbbData, FileAttributeActionEnum eAction) const override;
    /// A coding error: throws ExceptionWriteFile.
    void WriteToTheFile(ULONGLONG ullPosition, DWORD dwSize, MissingFileEnum eMissing, const BYTE* pbyData,
                        FileAttributeActionEnum eAction) const override;
    template <class... Arguments>
    void WriteToTheEndOfFile(Arguments&&...) const = delete;

    /// The bytes of a file that holds the data, for callers that write them in a way of their own.
    static ByteBuffer EncodeContents(const ByteBuffer& kbbData);
    /// The converse, in place; a failure leaves the bytes as they are.
    void DecodeContents(ByteBuffer& rbbContents) const;
};
