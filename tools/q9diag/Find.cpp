// find: the first place of a pattern of bytes in a file.
#include "CommandLine.h"
#include "Commands.h"
#include "Failure.h"
#include "Files.h"
#include "Output.h"
#include "utilities/utilitiesdll/HorspoolMatch.h"

namespace vlm::tool {

namespace {

struct Options {
    std::string strFile;
    std::string strHex;
    std::optional<std::int64_t> ollStart;
};

int Run(const Options& rOptions, Output& rOutput) {
    ByteBuffer bbPattern;
    const CXString csHex(XStringView(FromUtf8(rOptions.strHex, "HEX")));
    if (rOptions.strHex.empty() || rOptions.strHex.size() % 2 != 0 ||
        !ByteBuffer::ConvertHexBinaryStringToByteBuffer(csHex, bbPattern, false))
        RefuseInput("HEX: not pairs of hexadecimal digits: " + Printable(std::string_view(rOptions.strHex)));
    const ByteBuffer bbData = ReadInput(rOptions.strFile);
    const HorspoolMatch oMatch(reinterpret_cast<const char*>(bbPattern.data()), static_cast<int>(bbPattern.size()));
    const int iFound = oMatch.Search(bbData, static_cast<int>(rOptions.ollStart.value_or(0)));
    if (iFound < 0)
        rOutput.Remark("not found");
    else
        rOutput.Line(std::to_string(iFound));
    Json oDocument = {{"found", iFound >= 0}};
    if (iFound >= 0) oDocument["offset"] = iFound;
    rOutput.Document(std::move(oDocument));
    return iFound < 0 ? EXIT_ANSWER_NO : EXIT_DONE;
}

}  // namespace

void AddFind(CommandLine& rLine) {
    const auto shpoOptions = std::make_shared<Options>();
    rLine.Add("find", nullptr, "Print the offset of the first match of a pattern of bytes")
        .Argument("FILE", shpoOptions->strFile, "Any file")
        .Argument("HEX", shpoOptions->strHex, "The pattern, two hexadecimal digits for each byte")
        .Number("--start", shpoOptions->ollStart, 0, INT32_MAX, "Offset to start at")
        .Run([shpoOptions](Output& rOutput) { return Run(*shpoOptions, rOutput); });
}

}  // namespace vlm::tool
