// Whole files in and out.
#include "Files.h"

#include <array>
#include <cstdio>
#include <memory>
#include <vector>

#include "Failure.h"
#include "Output.h"
#include "platform/FilePort.h"
#include "platform/OpenFilePort.h"
#include "platform/Platform.h"
#include "utilities/utilitiesdll/WriteBeside.h"

namespace vlm::tool {

namespace {

constexpr std::string_view STANDARD_STREAM = "-";

[[noreturn]] void RefuseSize(const std::string& strFile) {
    RefuseInput(strFile + ": larger than " + std::to_string(MAX_INPUT_BYTES) + " bytes");
}

ByteBuffer ReadStandardInput() {
    std::vector<BYTE> vbyData;
    std::array<BYTE, 65536> abyChunk{};
    for (std::size_t cRead = 0; (cRead = std::fread(abyChunk.data(), 1, abyChunk.size(), stdin)) > 0;) {
        if (cRead > MAX_INPUT_BYTES - vbyData.size()) RefuseSize("standard input");
        vbyData.insert(vbyData.end(), abyChunk.begin(), abyChunk.begin() + static_cast<std::ptrdiff_t>(cRead));
    }
    if (std::ferror(stdin)) RefuseFile(FileStep::Read, "standard input", Status::GeneralFailure);
    return ByteBuffer(std::move(vbyData));
}

/// An open file; closed with the object.
class File {
public:
    explicit File(const std::string& strFile) : m_strFile(strFile) {
        const XText strPath = FromUtf8(strFile, "file name");
        FilePort::OpenOptions oOptions;
        oOptions.dwShare = FilePort::ShareRead | FilePort::ShareWrite | FilePort::ShareDelete;
        const Status status = GetPlatform().pFiles->Open(strPath.c_str(), oOptions, m_hFile);
        if (status != Status::Success) RefuseFile(FileStep::Open, strFile, status);
    }
    ~File() { GetPlatform().pFiles->Close(m_hFile); }
    File(const File&) = delete;
    File& operator=(const File&) = delete;

    /// Reads to the end; pipes and other files without a size of their own work, too.
    ByteBuffer ReadAll() const {
        ULONGLONG ullSize = 0;
        Check(GetPlatform().pFiles->Size(m_hFile, ullSize));
        if (ullSize > MAX_INPUT_BYTES) RefuseSize(m_strFile);
        ByteBuffer bbData;
        bbData.reserve(static_cast<std::size_t>(ullSize));
        std::array<BYTE, 65536> abyChunk{};
        for (DWORD dwRead = 1; dwRead != 0;) {
            Check(GetPlatform().pFiles->Read(m_hFile, abyChunk.data(), static_cast<DWORD>(abyChunk.size()), dwRead));
            if (dwRead > MAX_INPUT_BYTES - bbData.size()) RefuseSize(m_strFile);
            bbData.appendLpbyte(abyChunk.data(), dwRead);
        }
        return bbData;
    }

private:
    void Check(Status status) const {
        if (status != Status::Success) RefuseFile(FileStep::Read, m_strFile, status);
    }

    const std::string& m_strFile;
    HANDLE m_hFile = nullptr;
};

/// Writes into a device or a pipe.  @return false for anything else, which is left alone.
bool WriteToDevice(const std::string& strFile, const ByteBuffer& rbbContents) {
    const XText strPath = FromUtf8(strFile, "file name");
    FilePort& rFiles = *GetPlatform().pFiles;
    FilePort::OpenOptions oOptions;
    oOptions.eAccess = FilePort::Access::Attributes;
    oOptions.dwShare = FilePort::ShareRead | FilePort::ShareWrite | FilePort::ShareDelete;
    HANDLE hFile = nullptr;
    if (rFiles.Open(strPath.c_str(), oOptions, hFile) != Status::Success) return false;
    OpenFilePort::Facts oFacts;
    const Status statusOfFacts = GetPlatform().pOpenFiles->GetFacts(hFile, oFacts);
    rFiles.Close(hFile);
    if (statusOfFacts != Status::Success || oFacts.fDisk) return false;
    oOptions.eAccess = FilePort::Access::Write;
    Status status = rFiles.Open(strPath.c_str(), oOptions, hFile);
    if (status != Status::Success) RefuseFile(FileStep::Create, strFile, status);
    DWORD dwWritten = 0;
    status = rFiles.Write(hFile, rbbContents.data(), rbbContents.GetLength(), dwWritten);
    const Status statusOfClose = rFiles.Close(hFile);
    if (status == Status::Success) status = statusOfClose;
    if (status != Status::Success) RefuseFile(FileStep::Write, strFile, status);
    return true;
}

}  // namespace

ByteBuffer ReadInput(const std::string& strFile) {
    return strFile == STANDARD_STREAM ? ReadStandardInput() : File(strFile).ReadAll();
}

void WriteResult(const std::string& strFile, const ByteBuffer& rbbContents, Output& rOutput) {
    if (strFile == STANDARD_STREAM) {
        rOutput.Bytes(std::string_view(reinterpret_cast<const char*>(rbbContents.data()), rbbContents.size()));
    } else if (!WriteToDevice(strFile, rbbContents)) {
        WriteBesideAndReplace(CXString(XStringView(FromUtf8(strFile, "file name"))), rbbContents);
    }
}

void RefuseBytesAmongJson(const std::string& strFile, const Output& rOutput) {
    if (strFile == STANDARD_STREAM && rOutput.IsJson())
        throw UsageError("--json needs standard output for itself; name a file for the bytes");
}

}  // namespace vlm::tool
