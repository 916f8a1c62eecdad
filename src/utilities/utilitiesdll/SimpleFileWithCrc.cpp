/// @file
/// A file whose contents are checked when they are read.
#include "utilities/utilitiesdll/SimpleFileWithCrc.h"

#include <algorithm>

#include "utilities/debuggingandexceptions/RaiseMacros.h"
#include "utilities/utilitiesdll/Crc32.h"

SimpleFileWithCrc::SimpleFileWithCrc(const CXString& kcsFileName) : SimpleFile(kcsFileName) {}
SimpleFileWithCrc::~SimpleFileWithCrc() = default;

ByteBuffer SimpleFileWithCrc::EncodeContents(const ByteBuffer& kbbData) {
    ByteBuffer bbContents;
    bbContents.reserve(kbbData.size() + HEADER_BYTES);
    bbContents.appendDwordValue(Crc32::GetCrc(kbbData.data(), kbbData.GetLength()));
    bbContents.appendDwordValue(0);
    bbContents.append(kbbData);
    return bbContents;
}

void SimpleFileWithCrc::DecodeContents(ByteBuffer& rbbContents) const {
    DWORD dwRead = 0, dwCalculated = 0;
    const bool fWhole = rbbContents.size() >= HEADER_BYTES;
    if (fWhole) {
        dwRead = rbbContents.getDword();
        dwCalculated = Crc32::GetCrc(rbbContents.data() + HEADER_BYTES, rbbContents.GetLength() - HEADER_BYTES);
    }
    if (!fWhole || dwCalculated != dwRead) {
        VLM_THROW(ExceptionReadFile, VTEXT("CRC validation failed for %s. Calculated: %u, Read: %u."), GetFileName(),
                  dwCalculated, dwRead);
    }
    std::copy(rbbContents.data() + HEADER_BYTES, rbbContents.data() + rbbContents.size(), rbbContents.data());
    rbbContents.resize(rbbContents.size() - HEADER_BYTES);
}

void SimpleFileWithCrc::ReadTheFile(ByteBuffer& rbbData, DWORD dwSizeLimit) const {
    // The limit with the header must not wrap round to "no limit".
    const DWORD dwRaised = std::min<DWORD>(dwSizeLimit, 0xFFFFFFFF - HEADER_BYTES) + HEADER_BYTES;
    ByteBuffer bbContents;
    SimpleFile::ReadTheFile(bbContents, dwSizeLimit ? dwRaised : 0);
    DecodeContents(bbContents);
    rbbData.swap(bbContents);
}

void SimpleFileWithCrc::WriteTheFile(const ByteBuffer& kbbData, FileAttributeActionEnum) const {
    SimpleFile::WriteTheFile(EncodeContents(kbbData), FAA_MAKE_WRITABLE);
}

void SimpleFileWithCrc::ReadFromTheFile(ULONGLONG, DWORD, ReadSharingEnum, ByteBuffer&) const {
    VLM_THROW(ExceptionReadFile, VTEXT("Coding error: Random access via ReadFromTheFile() is not supported by "
                                       "SimpleFileWithCrc."));
}

void SimpleFileWithCrc::WriteToTheFile(ULONGLONG, DWORD, MissingFileEnum, const BYTE*, FileAttributeActionEnum) const {
    VLM_THROW(ExceptionWriteFile, VTEXT("Coding error: Random access via WriteToTheFile() is not supported by "
                                        "SimpleFileWithCrc."));
}
