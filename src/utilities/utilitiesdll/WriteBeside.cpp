/// @file
/// Replaces a file's contents whole, by way of a new file beside it.
#include "utilities/utilitiesdll/WriteBeside.h"

#include <atomic>
#include <utility>

#include "platform/FilePort.h"
#include "platform/Platform.h"
#include "platform/ProcessPort.h"
#include "utilities/debuggingandexceptions/RaiseMacros.h"
#include "utilities/debuggingandexceptions/detail/failure/SafeText.h"

namespace {

using vlm::FilePort;
using vlm::Status;

/// A file of an earlier process with the same number may have been left behind; a few names are tried.
constexpr int NAME_ATTEMPTS = 16;

constinit std::atomic<DWORD> gdwLastNumber{0};

FilePort& Files() noexcept {
    return *vlm::GetPlatform().pFiles;
}

/// Where a replacement failed.
enum class Step { None, Refused, Create, Write, PutInPlace };

/// The file beside the target until it has taken the target's place; removes it otherwise.
class FileBeside {
public:
    explicit FileBeside(const CXString& kcsTarget) : m_kcsTarget(kcsTarget) {}

    ~FileBeside() {
        CloseOnce();
        if (m_bCreated && !m_bInPlace) Files().Delete(m_csPath);
    }
    FileBeside(const FileBeside&) = delete;
    FileBeside& operator=(const FileBeside&) = delete;

    Status Create() {
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
        m_bCreated = status == Status::Success;
        return status;
    }

    Status Write(const ByteBuffer& rbbContents) {
        const auto dwBytes = static_cast<DWORD>(rbbContents.size());
        DWORD dwWritten = 0;
        Status status = dwBytes == 0 ? Status::Success : Files().Write(m_hFile, rbbContents.data(), dwBytes, dwWritten);
        if (status == Status::Success && dwWritten != dwBytes) status = Status::DiskFull;
        if (status == Status::Success) status = Files().Flush(m_hFile);
        const Status statusOfClose = CloseOnce();
        return status == Status::Success ? statusOfClose : status;
    }

    Status PutInPlace() {
        const Status status = Files().Move(m_csPath, m_kcsTarget, true);
        m_bInPlace = status == Status::Success;
        return status;
    }

    const CXString& Path() const noexcept { return m_csPath; }

private:
    Status CloseOnce() noexcept {
        if (!m_hFile) return Status::Success;
        return Files().Close(std::exchange(m_hFile, nullptr));
    }

    const CXString m_kcsTarget;
    CXString m_csPath;
    HANDLE m_hFile = nullptr;
    bool m_bCreated = false;
    bool m_bInPlace = false;
};

/// @param reStep where it failed; None after success.  @param rcsPath the file beside, as far as it got a name.
Status Replace(const CXString& kcsFileName, const ByteBuffer& rbbContents, Step& reStep, CXString& rcsPath) {
    DWORD dwAttributes = 0;
    const bool fExists = Files().GetAttributes(kcsFileName, dwAttributes) == Status::Success;
    const bool fProtected = (dwAttributes & (FilePort::ATTRIBUTE_READONLY | FilePort::ATTRIBUTE_DIRECTORY)) != 0;
    reStep = Step::Refused;
    if (kcsFileName.IsEmpty()) return Status::PathNotFound;
    if (fExists && fProtected) return Status::AccessDenied;
    FileBeside oBeside(kcsFileName);
    reStep = Step::Create;
    Status status = oBeside.Create();
    rcsPath = oBeside.Path();
    if (status == Status::Success) {
        reStep = Step::Write;
        status = oBeside.Write(rbbContents);
    }
    if (status == Status::Success) {
        reStep = Step::PutInPlace;
        status = oBeside.PutInPlace();
    }
    if (status == Status::Success) reStep = Step::None;
    return status;
}

}  // namespace

void WriteBesideAndReplace(const CXString& kcsFileName, const ByteBuffer& rbbContents) {
    Step eStep = Step::None;
    CXString csPath;
    const Status status = Replace(kcsFileName, rbbContents, eStep, csPath);
    switch (eStep) {
        case Step::None:
            return;
        case Step::Refused:
            VLM_THROW(
                ExceptionCreateFileForWriting,
                VTEXT("The name '%s' is empty, a folder or a read-only file, so nothing is written! Error %lu (%s)."),
                kcsFileName, vlm::ToDword(status), vlm::GetSystemErrorText(vlm::ToDword(status)));
        case Step::Create:
            VLM_THROW(ExceptionCreateFileForWriting,
                      VTEXT("Failed to create the file '%s' beside '%s'! Error %lu (%s)."), csPath, kcsFileName,
                      vlm::ToDword(status), vlm::GetSystemErrorText(vlm::ToDword(status)));
        case Step::Write:
        case Step::PutInPlace:
            VLM_THROW(ExceptionWriteFile, VTEXT("Failed to %s the new contents of '%s'! Error %lu (%s)."),
                      eStep == Step::Write ? VTEXT("write") : VTEXT("put in place"), kcsFileName, vlm::ToDword(status),
                      vlm::GetSystemErrorText(vlm::ToDword(status)));
    }
}

vlm::Status TryWriteBesideAndReplace(const CXString& kcsFileName, const ByteBuffer& rbbContents) {
    Step eStep = Step::None;
    CXString csPath;
    return Replace(kcsFileName, rbbContents, eStep, csPath);
}
