/// @file
/// Compressed state: storing bytes, reading them back, and bytes that are no state.
#include <cstdio>
#include <vector>

#include "utilities/compression/CabCompressedBuffer.h"
#include "utilities/debuggingandexceptions/VelomExceptions.h"
#include "utilities/utilitiesdll/TextCodec.h"

int main() {
    const ByteBuffer bbOriginal(std::vector<BYTE>(20000, 'q'));
    CabCompressedBuffer oBuffer;
    oBuffer.Store(bbOriginal);
    const ByteBuffer bbState = oBuffer.GetCompressedBufferState();
    std::printf("20000 bytes fit into less than 200: %s\n", bbState.size() < 200 ? "yes" : "no");

    // A state ends with format, level, original size and signature.
    const ByteBuffer bbFooter(bbState.data() + bbState.size() - CompressedBuffer::FOOTER_SIZE,
                              CompressedBuffer::FOOTER_SIZE);
    std::printf("footer %s\n", TextCodec::Utf16ToUtf8(bbFooter.getAsHexBinaryString()).c_str());

    // Reading: the size is known before anything is decompressed, and may be bounded.
    const auto apoRead = CabCompressedBuffer::CreateWithBufferState(bbState);
    std::printf("original size %u\n", static_cast<unsigned>(apoRead->GetOriginalDataSize()));
    ByteBuffer bbBack;
    apoRead->GetOriginalData(bbBack);
    std::printf("the same bytes: %s\n", bbBack == bbOriginal ? "yes" : "no");
    apoRead->SetMaximumOriginalDataSize(1000);
    try {
        apoRead->GetOriginalData(bbBack);
    } catch (const ExceptionCompression&) {
        std::printf("more than 1000 bytes are refused, and the target keeps its %zu\n", bbBack.size());
    }

    // What may be a state or plain data: the try form answers, never throws, and leaves plain data alone.
    ByteBuffer bbPlain(std::vector<BYTE>{'p', 'l', 'a', 'i', 'n'});
    std::printf("plain data: %s\n", CabCompressedBuffer::TryToUncompressStateData(bbPlain) ? "a state" : "no state");
    ByteBuffer bbMaybe(bbState);
    const bool bState = CabCompressedBuffer::TryToUncompressStateData(bbMaybe);
    std::printf("a state: %s, now %zu bytes\n", bState ? "a state" : "no state", bbMaybe.size());
}
