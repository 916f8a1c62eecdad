/// @file
/// The cursor readers: any sequence of reads over any bytes moves exactly or not at all, and what was read encodes
/// back.
///
/// Input: the first byte counts the reads (n); the next n bytes choose the reader; the rest is the data.
#include <vector>

#include "Fuzz.h"
#include "utilities/debuggingandexceptions/VelomExceptions.h"
#include "utilities/utilitiesdll/ByteBuffer.h"
#include "utilities/utilitiesdll/DriverVersion.h"

using vlm::test::Require;

namespace {

/// Reads one value and appends it to `rbbAgain`.
void ReadOne(unsigned uReader, const BYTE*& rpbyCursor, DWORD& rdwRemaining, ByteBuffer& rbbAgain) {
    switch (uReader % 9) {
        case 0:
            rbbAgain.appendByte(ByteBuffer::WalkBufferToGetByte(rpbyCursor, rdwRemaining));
            break;
        case 1:
            rbbAgain.appendShortValue(ByteBuffer::WalkBufferToGetShort(rpbyCursor, rdwRemaining));
            break;
        case 2:
            rbbAgain.appendWordValue(ByteBuffer::WalkBufferToGetWord(rpbyCursor, rdwRemaining));
            break;
        case 3:
            rbbAgain.appendIntValue(ByteBuffer::WalkBufferToGetInt(rpbyCursor, rdwRemaining));
            break;
        case 4:
            rbbAgain.appendLongValue(ByteBuffer::WalkBufferToGetLong(rpbyCursor, rdwRemaining));
            break;
        case 5:
            rbbAgain.appendLong64Value(ByteBuffer::WalkBufferToGetLong64(rpbyCursor, rdwRemaining));
            break;
        case 6:
            rbbAgain.appendCountedStringForRecord(ByteBuffer::WalkBufferToGetCountedString(rpbyCursor, rdwRemaining));
            break;
        case 7: {
            ByteBuffer bbRun;
            ByteBuffer::WalkBufferToGetCountedBytes(rpbyCursor, rdwRemaining, bbRun);
            rbbAgain.appendCountedBytes(bbRun);
            break;
        }
        default:
            DriverVersion::WalkBufferToGetDriverVersion(rpbyCursor, rdwRemaining).AppendDriverVersionState(rbbAgain);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pby, std::size_t cBytes) {
    const std::size_t cReads = cBytes > 0 ? pby[0] : 0;
    if (cBytes < 1 + cReads) return 0;
    // A copy that is exactly as long, so that any read beyond is seen.
    const std::vector<BYTE> vbyData(pby + 1 + cReads, pby + cBytes);
    const BYTE* pbyCursor = vbyData.data();
    DWORD dwRemaining = static_cast<DWORD>(vbyData.size());
    ByteBuffer bbAgain;
    for (std::size_t i = 0; i < cReads; ++i) {
        const BYTE* const pbyBefore = pbyCursor;
        const DWORD dwBefore = dwRemaining;
        const std::size_t cAgain = bbAgain.size();
        try {
            ReadOne(pby[1 + i], pbyCursor, dwRemaining, bbAgain);
        } catch (const ExceptionNotEnoughBytesForDesiredDataType&) {
            Require(pbyCursor == pbyBefore && dwRemaining == dwBefore && bbAgain.size() == cAgain);
            continue;
        }
        Require(pbyCursor - pbyBefore == static_cast<std::ptrdiff_t>(dwBefore - dwRemaining));
        Require(bbAgain.size() - cAgain == dwBefore - dwRemaining);
    }
    // All that was read stands together at the front, so the two agree byte for byte.
    const std::size_t cRead = vbyData.size() - dwRemaining;
    Require(bbAgain == ByteBuffer(vbyData.data(), cRead));

    // The bounded stream form and the whole-buffer decoders over the same bytes.
    const BYTE* pbyStream = vbyData.data();
    DWORD dwStream = static_cast<DWORD>(vbyData.size());
    ByteBuffer bbStream;
    try {
        bbStream.initializeFromByteStream(pbyStream, dwStream);
        Require(vbyData.size() - dwStream == 2 + bbStream.size());
    } catch (const ExceptionNotEnoughBytesForDesiredDataType&) {
        Require(dwStream == vbyData.size() && bbStream.empty());
    }
    const ByteBuffer kbbAll(vbyData.data(), vbyData.size());
    Require(kbbAll.getAsStringValue().GetLength() <= static_cast<int>(vbyData.size() / 2));
    return 0;
}
