// state pack, unpack and info: compressed-buffer states.
#include <string_view>

#include "CommandLine.h"
#include "Commands.h"
#include "Failure.h"
#include "Files.h"
#include "Output.h"
#include "Progress.h"
#include "utilities/Bounds.h"
#include "utilities/compression/CabCompressedBuffer.h"

namespace vlm::tool {

namespace {

struct Options {
    std::string strInput;
    std::string strOutput;
    std::optional<std::int64_t> ollLevel;
};

/// What the end of a state tells before it is converted to the current form.
struct Footer {
    const char* pszVersion = "";
    const char* pszSignature = "";
    DWORD dwBytes = 0;
    bool bZlib = true;
};

Footer FooterOf(const ByteBuffer& rbbState) {
    const auto endsWith = [&](const char* pszSignature) {
        const std::string_view strEnd(reinterpret_cast<const char*>(rbbState.data() + rbbState.size() - 4), 4);
        return strEnd == std::string_view(pszSignature).substr(0, 4);
    };
    if (rbbState.size() >= CompressedBuffer::FOOTER_SIZE && endsWith(CompressedBuffer::SIGNATURE))
        return {"current", "COM5", CompressedBuffer::FOOTER_SIZE,
                rbbState[rbbState.size() - CompressedBuffer::FOOTER_SIZE] == CompressedBuffer::CF_ZLIB};
    if (rbbState.size() >= CompressedBuffer::FOOTER_SIZE_V40 && endsWith(CompressedBuffer::SIGNATURE_V40))
        return {"4.0", "COM4", CompressedBuffer::FOOTER_SIZE_V40, true};
    return {"3.7", "COMP", CompressedBuffer::FOOTER_SIZE_V37, true};
}

/// The original data of a state, of the size that its footer says.
ByteBuffer Unpack(const ByteBuffer& rbbState) {
    const auto apoBuffer = CabCompressedBuffer::CreateWithBufferState(rbbState);
    apoBuffer->SetMaximumOriginalDataSize(static_cast<DWORD>(MAX_INPUT_BYTES));
    ByteBuffer bbOriginal;
    apoBuffer->GetOriginalData(bbOriginal);
    if (bbOriginal.size() != apoBuffer->GetOriginalDataSize())
        RefuseInput("the data unpacks to " + std::to_string(bbOriginal.size()) + " bytes, but the footer says " +
                    std::to_string(apoBuffer->GetOriginalDataSize()));
    return bbOriginal;
}

int RunPack(const Options& rOptions, Output& rOutput) {
    RefuseBytesAmongJson(rOptions.strOutput, rOutput);
    const ByteBuffer bbData = ReadInput(rOptions.strInput);
    const Progress oProgress("packing");
    const auto apoBuffer = CabCompressedBuffer::CreateWithUncompressedData(
        bbData, static_cast<LONG>(rOptions.ollLevel.value_or(CompressedBuffer::DEFAULT_COMPRESSION_LEVEL)));
    const ByteBuffer bbState = apoBuffer->GetCompressedBufferState();
    WriteResult(rOptions.strOutput, bbState, rOutput);
    rOutput.Document({{"originalBytes", bbData.size()}, {"stateBytes", bbState.size()}});
    return EXIT_DONE;
}

int RunUnpack(const Options& rOptions, Output& rOutput) {
    RefuseBytesAmongJson(rOptions.strOutput, rOutput);
    const ByteBuffer bbState = ReadInput(rOptions.strInput);
    const Progress oProgress("unpacking");
    const ByteBuffer bbData = Unpack(bbState);
    WriteResult(rOptions.strOutput, bbData, rOutput);
    rOutput.Document({{"originalBytes", bbData.size()}, {"stateBytes", bbState.size()}});
    return EXIT_DONE;
}

int RunInfo(const Options& rOptions, Output& rOutput) {
    const ByteBuffer bbState = ReadInput(rOptions.strInput);
    const Progress oProgress("unpacking");
    const auto apoBuffer = CabCompressedBuffer::CreateWithBufferState(bbState);
    const Footer oFooter = FooterOf(bbState);
    const ByteBuffer bbData = Unpack(bbState);
    const std::size_t cCompressed = bbState.size() - oFooter.dwBytes;
    const char* const pszFormat = oFooter.bZlib ? "ZLib" : "MS Cabinet";
    const auto number = [](auto value) { return std::to_string(value); };
    rOutput.Table({{"footer", std::string(oFooter.pszVersion) + " (" + oFooter.pszSignature + ", " +
                                  number(oFooter.dwBytes) + " bytes)"},
                   {"format", pszFormat},
                   {"level", number(apoBuffer->GetCompressionLevel())},
                   {"compressed", number(cCompressed) + " bytes"},
                   {"original", number(bbData.size()) + " bytes"}},
                  0, {Style::Heading});
    rOutput.Document({{"footer", oFooter.pszVersion},
                      {"signature", oFooter.pszSignature},
                      {"format", pszFormat},
                      {"level", apoBuffer->GetCompressionLevel()},
                      {"compressedBytes", cCompressed},
                      {"originalBytes", bbData.size()}});
    return EXIT_DONE;
}

}  // namespace

void AddState(CommandLine& rLine) {
    rLine.Noun("state", "Compressed-buffer states");
    const auto shpoPack = std::make_shared<Options>();
    rLine.Add("state", "pack", "Compress a file into a state")
        .Argument("FILE", shpoPack->strInput, "Any file")
        .RequiredOption("-o,--output", "FILE", shpoPack->strOutput, "The state to write")
        .Number("--level", shpoPack->ollLevel, -1, 9, "Compression level, -1 for the compressor's default")
        .Run([shpoPack](Output& rOutput) { return RunPack(*shpoPack, rOutput); });
    const auto shpoUnpack = std::make_shared<Options>();
    rLine.Add("state", "unpack", "Restore the original data of a state")
        .Argument("FILE", shpoUnpack->strInput, "A state with any of the three footers")
        .RequiredOption("-o,--output", "FILE", shpoUnpack->strOutput, "The file to write")
        .Run([shpoUnpack](Output& rOutput) { return RunUnpack(*shpoUnpack, rOutput); });
    const auto shpoInfo = std::make_shared<Options>();
    rLine.Add("state", "info", "Print what a state's footer says, after unpacking it as a test")
        .Argument("FILE", shpoInfo->strInput, "A state with any of the three footers")
        .Run([shpoInfo](Output& rOutput) { return RunInfo(*shpoInfo, rOutput); });
}

}  // namespace vlm::tool
