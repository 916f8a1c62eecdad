// file read and write: simple files, with checksum, compression or encryption.
#include "CommandLine.h"
#include "Commands.h"
#include "Failure.h"
#include "Files.h"
#include "Output.h"
#include "Progress.h"
#include "utilities/debuggingandexceptions/VelomExceptions.h"
#include "utilities/utilitiesdll/SimpleFileWithCompression.h"
#include "utilities/utilitiesdll/SimpleFileWithCrc.h"
#include "utilities/utilitiesdll/simplefilewithencryption.h"

namespace vlm::tool {

namespace {

struct Options {
    std::string strFile;
    std::string strOther = "-";  ///< where the data comes from or goes to
    bool bCrc = false;
    bool bCompress = false;
    std::string strMethod;
};

SimpleFileWithEncryption::_SimpleFileWithEncryptionEnum MethodOf(const std::string& strMethod) {
    return strMethod == "wincrypt" ? SimpleFileWithEncryption::SFE_WINCRYPT : SimpleFileWithEncryption::SFE_OPENSSL;
}

CXString NameOf(const Options& rOptions) {
    return CXString(XStringView(FromUtf8(rOptions.strFile, "file name")));
}

void CheckKind(const Options& rOptions) {
    const int iKinds = int{rOptions.bCrc} + int{rOptions.bCompress} + int{!rOptions.strMethod.empty()};
    if (iKinds > 1) throw UsageError("--crc, --compress and --encrypt exclude each other");
}

/// The data of a file; standard input holds a file's bytes like any other.
ByteBuffer Read(const Options& rOptions, std::size_t& rcFileBytes) {
    ByteBuffer bb = ReadInput(rOptions.strFile);
    rcFileBytes = bb.size();
    const CXString csName = NameOf(rOptions);
    try {
        if (rOptions.bCrc) SimpleFileWithCrc(csName).DecodeContents(bb);
        if (rOptions.bCompress) SimpleFileWithCompression(csName).DecodeContents(bb);
        if (!rOptions.strMethod.empty())
            SimpleFileWithEncryption(csName, MethodOf(rOptions.strMethod)).DecodeContents(bb);
    } catch (const ExceptionReadFile& rException) {
        RefuseContents(rException);  // the file was read; what is in it is wrong
    }
    return bb;
}

ByteBuffer Encode(const Options& rOptions, const ByteBuffer& kbbData) {
    const CXString csName = NameOf(rOptions);
    if (rOptions.bCrc) return SimpleFileWithCrc::EncodeContents(kbbData);
    if (rOptions.bCompress) return SimpleFileWithCompression(csName).EncodeContents(kbbData);
    if (rOptions.strMethod.empty()) return kbbData;
    return SimpleFileWithEncryption(csName, MethodOf(rOptions.strMethod)).EncodeContents(kbbData);
}

void Report(std::size_t cBytes, std::size_t cFileBytes, Output& rOutput) {
    rOutput.Document({{"bytes", cBytes}, {"fileBytes", cFileBytes}});
}

int RunRead(const Options& rOptions, Output& rOutput) {
    CheckKind(rOptions);
    RefuseBytesAmongJson(rOptions.strOther, rOutput);
    const Progress oProgress("reading");
    std::size_t cFileBytes = 0;
    const ByteBuffer bbData = Read(rOptions, cFileBytes);
    WriteResult(rOptions.strOther, bbData, rOutput);
    Report(bbData.size(), cFileBytes, rOutput);
    return EXIT_DONE;
}

int RunWrite(const Options& rOptions, Output& rOutput) {
    CheckKind(rOptions);
    RefuseBytesAmongJson(rOptions.strFile, rOutput);
    const ByteBuffer bbData = ReadInput(rOptions.strOther);
    const Progress oProgress("writing");
    const ByteBuffer bbContents = Encode(rOptions, bbData);
    WriteResult(rOptions.strFile, bbContents, rOutput);
    Report(bbData.size(), bbContents.size(), rOutput);
    return EXIT_DONE;
}

Command& DescribeKind(Command&& rCommand, Options& rOptions) {
    return rCommand.Flag("--crc", rOptions.bCrc, "The file has a checksum in front")
        .Flag("--compress", rOptions.bCompress, "The file is compressed")
        .Choice("--encrypt", rOptions.strMethod, {"openssl", "wincrypt"},
                "The file is encrypted under the library's own key");
}

}  // namespace

void AddFile(CommandLine& rLine) {
    rLine.Noun("file", "Files with checksum, compression or encryption");
    const auto shpoRead = std::make_shared<Options>();
    DescribeKind(rLine.Add("file", "read", "Print the data of a file"), *shpoRead)
        .Argument("FILE", shpoRead->strFile, "The file")
        .Option("-o,--output", "FILE", shpoRead->strOther, "Where the data goes instead of standard output")
        .Run([shpoRead](Output& rOutput) { return RunRead(*shpoRead, rOutput); });
    const auto shpoWrite = std::make_shared<Options>();
    DescribeKind(rLine.Add("file", "write", "Write a file anew, replacing it in one step"), *shpoWrite)
        .Argument("FILE", shpoWrite->strFile, "The file")
        .Option("-i,--input", "FILE", shpoWrite->strOther, "Where the data comes from instead of standard input")
        .Run([shpoWrite](Output& rOutput) { return RunWrite(*shpoWrite, rOutput); });
}

}  // namespace vlm::tool
