/// @file
/// A file that is compressed.
#include "utilities/utilitiesdll/SimpleFileWithCompression.h"

#include "utilities/compression/CabCompressedBuffer.h"
#include "utilities/debuggingandexceptions/RaiseMacros.h"

SimpleFileWithCompression::SimpleFileWithCompression(const CXString& kcsFileName) : SimpleFile(kcsFileName) {}
SimpleFileWithCompression::~SimpleFileWithCompression() = default;

ByteBuffer SimpleFileWithCompression::EncodeContents(const ByteBuffer& kbbData) const {
    CabCompressedBuffer buffer(CompressedBuffer::CF_MS_CABINET, CompressedBuffer::DEFAULT_COMPRESSION_LEVEL);
    buffer.Store(kbbData);
    VLM_REPORT(DebugCategory::Utils | DebugCategory::Compress,
               VTEXT("Compressed data created (%ld bytes, down from %ld) for %s."),
               buffer.GetCompressedBufferStateSize(), kbbData.GetLength(), GetFileName());
    return buffer.GetCompressedBufferState();
}

void SimpleFileWithCompression::DecodeContents(ByteBuffer& rbbContents) const {
    const auto apoBuffer = CabCompressedBuffer::CreateWithBufferState(rbbContents);
    apoBuffer->SetMaximumOriginalDataSize(m_dwMaximumOriginalDataSize);
    ByteBuffer bbData;
    apoBuffer->GetOriginalData(bbData);
    if (bbData.size() != apoBuffer->GetOriginalDataSize()) {
        VLM_THROW(ExceptionReadFile,
                  VTEXT("Size of decompressed data (%ld) doesn't match the expected original size (%ld) for %s."),
                  bbData.GetLength(), apoBuffer->GetOriginalDataSize(), GetFileName());
    }
    rbbContents.swap(bbData);
}

void SimpleFileWithCompression::ReadTheFile(ByteBuffer& rbbData, DWORD dwSizeLimit) const {
    ByteBuffer bbContents;
    SimpleFile::ReadTheFile(bbContents, dwSizeLimit);
    DecodeContents(bbContents);
    rbbData.swap(bbContents);
}

void SimpleFileWithCompression::WriteTheFile(const ByteBuffer& kbbData, FileAttributeActionEnum eAction) const {
    SimpleFile::WriteTheFile(EncodeContents(kbbData), eAction);
}

void SimpleFileWithCompression::ReadFromTheFile(ULONGLONG, DWORD, ReadSharingEnum, ByteBuffer&) const {
    VLM_THROW(ExceptionReadFile, VTEXT("Coding error: Random access via ReadFromTheFile() is not supported by "
                                       "SimpleFileWithCompression."));
}

void SimpleFileWithCompression::WriteToTheFile(ULONGLONG, DWORD, MissingFileEnum, const BYTE*,
                                               FileAttributeActionEnum) const {
    // Deliberate: two blanks after "via".
    VLM_THROW(ExceptionWriteFile, VTEXT("Coding error: Random access via  WriteToTheFile() is not supported by "
                                        "SimpleFileWithCompression."));
}
