/// @file
/// Reads and writes a whole file, or a range of it, as bytes.
#include "utilities/utilitiesdll/SimpleFile.h"

#include <utility>

#include "platform/FilePort.h"
#include "platform/OpenFilePort.h"
#include "platform/Platform.h"
#include "utilities/debuggingandexceptions/RaiseMacros.h"
#include "utilities/utilitiesdll/SystemText.h"

namespace {

using vlm::FilePort;
using vlm::Status;
using vlm::TextOfStatus;

constexpr DWORD SHARE_ALL = FilePort::ShareRead | FilePort::ShareWrite | FilePort::ShareDelete;

FilePort& Files() noexcept {
    return *vlm::GetPlatform().pFiles;
}

/// A file's name as narrow text.
std::vector<char> NarrowOf(const CXString& kcsFileName) {
    return kcsFileName.GetAsMultiByte(0);
}

/// An open file.
class Handle {
public:
    explicit Handle(const CXString& kcsFileName) noexcept : m_kcsFileName(kcsFileName) {}
    ~Handle() { Close(); }
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;

    Status Open(const FilePort::OpenOptions& rOptions) noexcept {
        return Files().Open(m_kcsFileName, rOptions, m_hFile);
    }
    Status Close() noexcept { return IsOpen() ? Files().Close(std::exchange(m_hFile, nullptr)) : Status::Success; }
    bool IsOpen() const noexcept { return m_hFile != nullptr; }
    HANDLE Get() const noexcept { return m_hFile; }

protected:
    const CXString& m_kcsFileName;

private:
    HANDLE m_hFile = nullptr;
};

/// A file that is open for reading.
class FileToRead : public Handle {
public:
    FileToRead(const CXString& kcsFileName, SimpleFile::ReadSharingEnum eSharing) : Handle(kcsFileName) {
        FilePort::OpenOptions oOptions;
        if (eSharing == SimpleFile::RSE_READERS_AND_WRITERS) oOptions.dwShare |= FilePort::ShareWrite;
        const Status status = Open(oOptions);
        if (status != Status::Success) {
            VLM_THROW(ExceptionCreateFileForReading, VTEXT("CreateFile() failed to open file %S %s"),
                      NarrowOf(kcsFileName).data(), TextOfStatus(status));
        }
        VLM_REPORT(DebugCategory::Utils, VTEXT("Opened file %S and got handle %p."), NarrowOf(kcsFileName).data(),
                   Get());
    }
    ~FileToRead() {
        if (!IsOpen()) return;
        VLM_REPORT_ERROR(DebugCategory::Utils, VTEXT("Caught an exception with a file handle still open. Closing it."));
    }
    FileToRead(const FileToRead&) = delete;
    FileToRead& operator=(const FileToRead&) = delete;

    ByteBuffer ReadAll(DWORD dwSizeLimit) const {
        const ULONGLONG ullSize = Size();
        const ULONGLONG ullMost = dwSizeLimit ? dwSizeLimit : ByteBuffer::MAX_BYTES;
        if (ullSize > ullMost) {
            VLM_THROW(
                ExceptionReadFile,
                VTEXT("ReadFile() failed because %s exceeds the specified limit of %u bytes. (SizeHi=%u, SizeLo=%u)"),
                m_kcsFileName, static_cast<DWORD>(ullMost), static_cast<DWORD>(ullSize >> 32),
                static_cast<DWORD>(ullSize));
        }
        const auto dwSize = static_cast<DWORD>(ullSize);
        VLM_REPORT(DebugCategory::Utils, VTEXT("SimpleFile is %ld bytes in size."), dwSize);
        ByteBuffer bbData;
        bbData.resize(dwSize);
        const Status status = Read(bbData);
        if (status != Status::Success) {
            VLM_THROW(ExceptionReadFile,
                      VTEXT("ReadFile() failed or didn't read the expected number of bytes for file %S with handle "
                            "0x%p %s"),
                      NarrowOf(m_kcsFileName).data(), Get(), TextOfStatus(status));
        }
        VLM_REPORT(DebugCategory::Utils, VTEXT("Successfully read the file contents."));
        return bbData;
    }

    ByteBuffer ReadRange(ULONGLONG ullPosition, DWORD dwSize) const {
        Status status = Files().Seek(Get(), ullPosition);
        if (status != Status::Success) {
            VLM_THROW(
                ExceptionReadFile,
                VTEXT("Preparing to read: SetFilePointer() failed for position %u in file %S with handle 0x%p %s"),
                ullPosition, NarrowOf(m_kcsFileName).data(), Get(), TextOfStatus(status));
        }
        VLM_REPORT(DebugCategory::Utils, VTEXT("Set file position to %u for file %S with handle %p."), ullPosition,
                   NarrowOf(m_kcsFileName).data(), Get());
        // Memory is taken only for what is there.
        ByteBuffer bbData;
        const ULONGLONG ullFileSize = Size();
        if (ullPosition > ullFileSize || dwSize > ullFileSize - ullPosition) {
            status = Status::HandleEof;
        } else {
            bbData.resize(dwSize);
            status = Read(bbData);
        }
        if (status != Status::Success) {
            VLM_THROW(
                ExceptionReadFile,
                VTEXT("ReadFile() failed or didn't read the expected number of bytes, %u, for file %S at position "
                      "%u with handle 0x%p %s"),
                dwSize, NarrowOf(m_kcsFileName).data(), ullPosition, Get(), TextOfStatus(status));
        }
        return bbData;
    }

    void Done() noexcept {
        VLM_REPORT(DebugCategory::Utils, VTEXT("Done with the file. Closing it."));
        Close();
    }

private:
    ULONGLONG Size() const {
        ULONGLONG ullSize = 0;
        const Status status = Files().Size(Get(), ullSize);
        if (status != Status::Success) {
            VLM_THROW(ExceptionReadFile, VTEXT("GetFileSize() failed for file %S with handle 0x%p %s"),
                      NarrowOf(m_kcsFileName).data(), Get(), TextOfStatus(status));
        }
        return ullSize;
    }
    /// Fills the buffer, in one call.
    Status Read(ByteBuffer& rbbData) const noexcept {
        DWORD dwRead = 0;
        const Status status =
            rbbData.empty() ? Status::Success : Files().Read(Get(), rbbData.data(), rbbData.GetLength(), dwRead);
        return status == Status::Success && dwRead != rbbData.size() ? Status::HandleEof : status;
    }
};

/// A file that is open for writing.
class FileToWrite : public Handle {
public:
    /// @param fWhole it is created or emptied, and goes when an exception passes.
    FileToWrite(const CXString& kcsFileName, bool fWhole, SimpleFile::MissingFileEnum eMissing)
        : Handle(kcsFileName), m_fWhole(fWhole) {
        FilePort::OpenOptions oOptions;
        oOptions.eAccess = FilePort::Access::Write;
        oOptions.dwShare = fWhole ? FilePort::ShareNone : FilePort::ShareRead;
        oOptions.eDisposition = fWhole                               ? FilePort::Disposition::CreateAlways
                                : eMissing == SimpleFile::MFE_CREATE ? FilePort::Disposition::OpenAlways
                                                                     : FilePort::Disposition::OpenExisting;
        // With the right to delete, a failed write removes the very file that it has opened.  Without that right, or
        // where somebody's sharing stands against it, the file is removed by its name.
        oOptions.fDeleteAccess = fWhole;
        Status status = Open(oOptions);
        m_fDeleteByHandle = fWhole && status == Status::Success;
        if (fWhole && (status == Status::AccessDenied || status == Status::SharingViolation)) {
            oOptions.fDeleteAccess = false;
            status = Open(oOptions);
        }
        if (status != Status::Success) {
            VLM_THROW(ExceptionCreateFileForWriting, VTEXT("CreateFile() failed to open/create file %S %s."),
                      NarrowOf(kcsFileName).data(), TextOfStatus(status));
        }
    }
    ~FileToWrite() {
        if (!IsOpen()) return;
        if (m_fWhole) {
            VLM_REPORT_ERROR(DebugCategory::Utils,
                             VTEXT("Caught an exception with a file handle still open. Close it and delete the file."));
            const bool fGone = m_fDeleteByHandle && Files().DeleteByHandle(Get()) == Status::Success;
            Close();
            if (!fGone) Files().Delete(m_kcsFileName);
        } else {
            VLM_REPORT_ERROR(DebugCategory::Utils,
                             VTEXT("Caught an exception with a file handle still open. Close it."));
        }
    }
    FileToWrite(const FileToWrite&) = delete;
    FileToWrite& operator=(const FileToWrite&) = delete;

    void SeekTo(ULONGLONG ullPosition) const {
        const Status status = Files().Seek(Get(), ullPosition);
        if (status != Status::Success) {
            VLM_THROW(
                ExceptionWriteFile,
                VTEXT("Preparing to write: SetFilePointer() failed for position %u in file %S with handle 0x%p %s"),
                ullPosition, NarrowOf(m_kcsFileName).data(), Get(), TextOfStatus(status));
        }
    }
    void SeekFromEnd(LONG lOffset) const {
        ULONGLONG ullSize = 0;
        Status status = Files().Size(Get(), ullSize);
        if (status == Status::Success) {
            const bool fBeforeStart = lOffset < 0 && ullSize < static_cast<ULONGLONG>(-LONGLONG{lOffset});
            status = fBeforeStart ? Status::InvalidParameter
                                  : Files().Seek(Get(), ullSize + static_cast<ULONGLONG>(LONGLONG{lOffset}));
        }
        if (status != Status::Success) {
            VLM_THROW(
                ExceptionWriteFile,
                VTEXT("Preparing to write: SetFilePointer() failed for position %ld in file %S with handle 0x%p %s"),
                lOffset, NarrowOf(m_kcsFileName).data(), Get(), TextOfStatus(status));
        }
        VLM_REPORT(DebugCategory::Utils, VTEXT("Set file position to %ld for file %S with handle %p."), lOffset,
                   NarrowOf(m_kcsFileName).data(), Get());
    }

    /// Writes all bytes in one call and closes: only then they are the system's.
    void WriteAndClose(const BYTE* pbyData, DWORD dwSize) {
        DWORD dwWritten = 0;
        Status status = dwSize == 0 ? Status::Success : Files().Write(Get(), pbyData, dwSize, dwWritten);
        if (status == Status::Success && dwWritten != dwSize) status = Status::DiskFull;
        HANDLE hFile = Get();
        if (status == Status::Success) {
            VLM_REPORT(DebugCategory::Utils, VTEXT("Successfully wrote the buffer contents."));
            status = Close();
            if (status != Status::Success && m_fWhole) Files().Delete(m_kcsFileName);
        }
        if (status != Status::Success) {
            VLM_THROW(ExceptionWriteFile,
                      VTEXT("WriteFile() failed or didn't write the expected number of bytes (%ld written, expected "
                            "%ld) for file %S with handle 0x%p %s"),
                      dwWritten, dwSize, NarrowOf(m_kcsFileName).data(), hFile, TextOfStatus(status));
        }
    }

private:
    const bool m_fWhole;
    bool m_fDeleteByHandle = false;
};

/// Clears the read-only attribute.  @param fMayBeMissing a missing file is fine.
bool MakeWritable(const CXString& kcsFileName, bool fMayBeMissing) {
    DWORD dwAttributes = 0;
    Handle file(kcsFileName);
    Status status = Files().GetAttributes(kcsFileName, dwAttributes);
    if (status == Status::FileNotFound && fMayBeMissing) return true;
    if (status == Status::Success && (dwAttributes & FilePort::ATTRIBUTE_READONLY) != 0) {
        FilePort::OpenOptions oOptions;
        oOptions.eAccess = FilePort::Access::Attributes;
        oOptions.dwShare = SHARE_ALL;
        status = file.Open(oOptions);
        vlm::OpenFilePort::Facts oFacts;
        if (status == Status::Success) status = vlm::GetPlatform().pOpenFiles->GetFacts(file.Get(), oFacts);
        dwAttributes = oFacts.dwAttributes;
    }
    if (status != Status::Success) {
        VLM_REPORT_ERROR(DebugCategory::Utils, VTEXT("Failed call to GetFileAttributesEx() for %s"), kcsFileName);
        return false;
    }
    if ((dwAttributes & FilePort::ATTRIBUTE_READONLY) == 0) return true;
    const DWORD dwLeft = dwAttributes & ~FilePort::ATTRIBUTE_READONLY;
    status =
        vlm::GetPlatform().pOpenFiles->SetAttributesOf(file.Get(), dwLeft ? dwLeft : DWORD{FilePort::ATTRIBUTE_NORMAL});
    if (status == Status::Success) return true;
    VLM_REPORT_ERROR(DebugCategory::Utils, VTEXT("Failed call to SetFileAttributes(~FILE_ATTRIBUTE_READONLY) for %s"),
                     kcsFileName);
    return false;
}

/// Whatever comes of it, the operation that follows decides.
void Apply(SimpleFile::FileAttributeActionEnum eAction, const CXString& kcsFileName) {
    if (eAction == SimpleFile::FAA_MAKE_WRITABLE) MakeWritable(kcsFileName, true);
}

}  // namespace

SimpleFile::SimpleFile(const CXString& kcsFileName, _CharacterEncodingMode eMode)
    : m_csFileName(kcsFileName), m_eCharacterEncodingMode(eMode) {}

SimpleFile::SimpleFile(const SimpleFile& rOther) = default;
SimpleFile& SimpleFile::operator=(const SimpleFile& rOther) = default;
SimpleFile::~SimpleFile() = default;

void SimpleFile::ReadTheFile(ByteBuffer& rbbData, DWORD dwSizeLimit) const {
    FileToRead file(m_csFileName, RSE_READERS);
    ByteBuffer bbData = file.ReadAll(dwSizeLimit);
    file.Done();
    rbbData.swap(bbData);
}

void SimpleFile::ReadFromTheFile(ULONGLONG ullPosition, DWORD dwSize, ReadSharingEnum eSharing,
                                 ByteBuffer& rbbData) const {
    FileToRead file(m_csFileName, eSharing);
    ByteBuffer bbData = file.ReadRange(ullPosition, dwSize);
    file.Done();
    rbbData.swap(bbData);
}

void SimpleFile::WriteTheFile(const ByteBuffer& kbbData, FileAttributeActionEnum eAction) const {
    Apply(eAction, m_csFileName);
    FileToWrite file(m_csFileName, true, MFE_CREATE);
    file.WriteAndClose(kbbData.data(), kbbData.GetLength());
}

void SimpleFile::WriteToTheFile(ULONGLONG ullPosition, DWORD dwSize, MissingFileEnum eMissing, const BYTE* pbyData,
                                FileAttributeActionEnum eAction) const {
    Apply(eAction, m_csFileName);
    FileToWrite file(m_csFileName, false, eMissing);
    file.SeekTo(ullPosition);
    file.WriteAndClose(pbyData, dwSize);
}

void SimpleFile::WriteToTheEndOfFile(MissingFileEnum eMissing, LONG lOffset, DWORD dwSize, const BYTE* pbyData,
                                     FileAttributeActionEnum eAction) const {
    Apply(eAction, m_csFileName);
    FileToWrite file(m_csFileName, false, eMissing);
    file.SeekFromEnd(lOffset);
    file.WriteAndClose(pbyData, dwSize);
}

bool SimpleFile::DoesFileExist(const CXString& kcsFileName) {
    FilePort::OpenOptions oOptions;
    oOptions.dwShare = SHARE_ALL;
    Handle file(kcsFileName);
    const Status status = file.Open(oOptions);
    if (status == Status::Success) {
        VLM_REPORT(DebugCategory::Utils, VTEXT("SimpleFile opened successfully. It exists."));
        return true;
    }
    if (status == Status::SharingViolation) {
        VLM_REPORT(DebugCategory::Utils,
                   VTEXT("SimpleFile failed to open with error 32 - \"The process cannot access the file because it is "
                         "being used by another process.\". Therefore the file exists."));
        return true;
    }
    VLM_REPORT(DebugCategory::Utils, VTEXT("SimpleFile could not be opened. It does not exist."));
    return false;
}

bool SimpleFile::DeleteTheFile(const CXString& kcsFileName, FileAttributeActionEnum eAction) {
    Apply(eAction, kcsFileName);
    const Status status = Files().Delete(kcsFileName);
    if (status == Status::Success) return true;
    VLM_REPORT_ERROR(DebugCategory::Utils, VTEXT("DeleteFile(%s) failed %s"), kcsFileName, TextOfStatus(status));
    return false;
}

bool SimpleFile::EnsureFileIsWritable(const CXString& kcsFileName) {
    return MakeWritable(kcsFileName, false);
}
