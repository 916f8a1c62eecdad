// Replaces a file's contents whole, by way of a new file beside it.
#include "utilities/utilitiesdll/WriteBeside.h"

#include <array>
#include <atomic>
#include <utility>

#include "platform/FilePort.h"
#include "platform/Platform.h"
#include "platform/ProcessPort.h"
#include "platform/TextPort.h"
#include "utilities/debuggingandexceptions/RaiseMacros.h"

namespace {

using vlm::FilePort;
using vlm::Status;

/// A file of an earlier process with the same number may have been left behind; a few names are tried.
constexpr int NAME_ATTEMPTS = 16;

constinit std::atomic<DWORD> gdwLastNumber{0};

FilePort& Files() noexcept {
    return *vlm::GetPlatform().pFiles;
}

CXString TextOf(Status status) {
    std::array<XCHAR, 512> achText{};
    const std::size_t cUnits =
        vlm::GetPlatform().pText->SystemErrorText(vlm::ToDword(status), achText.data(), achText.size());
    return CXString(achText.data(), static_cast<int>(cUnits));
}

/// The file beside the target until it has taken the target's place; removes it otherwise.
class FileBeside {
public:
    explicit FileBeside(const CXString& kcsTarget) : m_kcsTarget(kcsTarget) { Create(); }

    ~FileBeside() {
        CloseOnce();
        if (!m_bInPlace) Files().Delete(m_csPath);
    }
    FileBeside(const FileBeside&) = delete;
    FileBeside& operator=(const FileBeside&) = delete;

    void Write(const ByteBuffer& rbbContents) {
        const auto dwBytes = static_cast<DWORD>(rbbContents.size());
        DWORD dwWritten = 0;
        Status status = dwBytes == 0 ? Status::Success : Files().Write(m_hFile, rbbContents.data(), dwBytes, dwWritten);
        if (status == Status::Success && dwWritten != dwBytes) status = Status::DiskFull;
        if (status == Status::Success) status = Files().Flush(m_hFile);
        const Status statusOfClose = CloseOnce();
        if (status == Status::Success) status = statusOfClose;
        if (status != Status::Success) Fail(VTEXT("write"), status);
    }

    void PutInPlace() {
        const Status status = Files().Move(m_csPath, m_kcsTarget, true);
        if (status != Status::Success) Fail(VTEXT("put in place"), status);
        m_bInPlace = true;
    }

private:
    void Create() {
        FilePort::OpenOptions oOptions;
        oOptions.eAccess = FilePort::Access::ReadWrite;
        oOptions.eDisposition = FilePort::Disposition::CreateNew;
        oOptions.dwShare = FilePort::ShareNone;
        Status status = Status::FileExists;
        for (int i = 0; i < NAME_ATTEMPTS && status == Status::FileExists; ++i) {
            m_csPath.Format(VTEXT("%s.%lu-%lu.new"), m_kcsTarget, vlm::GetPlatform().pProcess->CurrentProcessId(),
                            ++gdwLastNumber);
            status = Files().Open(m_csPath, oOptions, m_hFile);
        }
        if (status == Status::Success) return;
        VLM_THROW(ExceptionCreateFileForWriting, VTEXT("Failed to create the file '%s' beside '%s'! Error %lu (%s)."),
                  m_csPath, m_kcsTarget, vlm::ToDword(status), TextOf(status));
    }

    [[noreturn]] void Fail(const XCHAR* pszStep, Status status) {
        VLM_THROW(ExceptionWriteFile, VTEXT("Failed to %s the new contents of '%s'! Error %lu (%s)."), pszStep,
                  m_kcsTarget, vlm::ToDword(status), TextOf(status));
    }

    Status CloseOnce() noexcept {
        if (!m_hFile) return Status::Success;
        return Files().Close(std::exchange(m_hFile, nullptr));
    }

    const CXString m_kcsTarget;
    CXString m_csPath;
    HANDLE m_hFile = nullptr;
    bool m_bInPlace = false;
};

}  // namespace

void WriteBesideAndReplace(const CXString& kcsFileName, const ByteBuffer& rbbContents) {
    DWORD dwAttributes = 0;
    const bool fExists = Files().GetAttributes(kcsFileName, dwAttributes) == Status::Success;
    const bool fProtected = (dwAttributes & (FilePort::ATTRIBUTE_READONLY | FilePort::ATTRIBUTE_DIRECTORY)) != 0;
    if (kcsFileName.IsEmpty() || (fExists && fProtected)) {
        const Status status = kcsFileName.IsEmpty() ? Status::PathNotFound : Status::AccessDenied;
        VLM_THROW(ExceptionCreateFileForWriting,
                  VTEXT("The name '%s' is empty, a folder or a read-only file, so nothing is written! Error %lu (%s)."),
                  kcsFileName, vlm::ToDword(status), TextOf(status));
    }
    FileBeside oBeside(kcsFileName);
    oBeside.Write(rbbContents);
    oBeside.PutInPlace();
}
