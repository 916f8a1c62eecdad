/// @file
/// Facts, appending and mappings of the host's open files.
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <new>
#include <string>

#include "platform/host/HostDescriptor.h"
#include "platform/host/HostFileAttributes.h"
#include "platform/host/HostFilePort.h"
#include "platform/host/HostNames.h"

namespace vlm::host {

namespace {

/// File systems whose medium is, or may be, elsewhere: by the numbers that the kernel gives them.
bool IsRemote(std::uint32_t uFileSystem) noexcept {
    constexpr std::array<std::uint32_t, 10> REMOTE{
        0x6969,      // NFS
        0x517B,      // SMB
        0xFE534D42,  // SMB 2
        0xFF534D42,  // CIFS
        0x01021997,  // 9P
        0x5346414F,  // AFS
        0x73757245,  // Coda
        0x00C36400,  // Ceph
        0x65735546,  // in user space: anybody's guess
        0x564C,      // NCP
    };
    return std::find(REMOTE.begin(), REMOTE.end(), uFileSystem) != REMOTE.end();
}

/// Steps of 100 ns since 1601; 0 for what lies before.
ULONGLONG StepsSince1601(const timespec& rTime) noexcept {
    constexpr LONGLONG STEPS_PER_SECOND = 10'000'000, SECONDS_TO_1970 = 11'644'473'600;
    const LONGLONG llSeconds = LONGLONG{rTime.tv_sec} + SECONDS_TO_1970;
    if (llSeconds < 0 || llSeconds > LLONG_MAX / STEPS_PER_SECOND - 1) return 0;
    return static_cast<ULONGLONG>(llSeconds * STEPS_PER_SECOND + rTime.tv_nsec / 100);
}

/// One write behind all data.  -1 with `errno`.
ssize_t AppendOnce(int iFile, const void* pSource, std::size_t cBytes) noexcept {
    iovec oPiece{const_cast<void*>(pSource), cBytes};
    const ssize_t cWritten = pwritev2(iFile, &oPiece, 1, -1, RWF_APPEND);
    if (cWritten >= 0 || (errno != EOPNOTSUPP && errno != ENOSYS)) return cWritten;
    // An older kernel: the same by the descriptor's mode.
    const int iFlags = fcntl(iFile, F_GETFL);
    if (iFlags < 0 || fcntl(iFile, F_SETFL, iFlags | O_APPEND) != 0) return -1;
    const ssize_t cAppended = write(iFile, pSource, cBytes);
    const int iError = errno;
    fcntl(iFile, F_SETFL, iFlags);
    errno = iError;
    return cAppended;
}

}  // namespace

std::optional<HostFilePort::OpenFile> HostFilePort::FindFile(HANDLE hFile) const noexcept {
    std::optional<OpenFile> oFile = m_oFiles.Find(reinterpret_cast<std::uintptr_t>(hFile));
    if (oFile && oFile->ullMapping != 0) oFile.reset();
    return oFile;
}

bool HostFilePort::IsShownBeyond(int iFile, ULONGLONG ullSize) noexcept {
    struct stat oStat {};
    if (fstat(iFile, &oStat) != 0) return false;
    const std::lock_guard oLock(m_oViewsMutex);
    return std::any_of(m_vViews.begin(), m_vViews.end(), [&](const View& rView) {
        return rView.ullVolume == oStat.st_dev && rView.ullFile == oStat.st_ino && rView.ullMapping > ullSize;
    });
}

Status HostFilePort::GetFacts(HANDLE hFile, Facts& rFacts) noexcept {
    const std::optional<OpenFile> oFile = FindFile(hFile);
    if (!oFile) return Status::InvalidHandle;
    struct stat oStat {};
    struct statfs oSystem {};
    if (fstat(oFile->iFile, &oStat) != 0) return StatusFromErrno(errno);
    Facts oFacts;
    oFacts.dwAttributes = AttributesOfStat(oStat);
    oFacts.cLinks = static_cast<DWORD>(std::min<std::uint64_t>(oStat.st_nlink, UINT32_MAX));
    oFacts.ullVolume = oStat.st_dev;
    oFacts.ullFile = oStat.st_ino;
    oFacts.ullWritten = StepsSince1601(oStat.st_mtim);
    oFacts.fDisk = S_ISREG(oStat.st_mode);
    oFacts.fLink = S_ISLNK(oStat.st_mode);
    oFacts.fLocal = fstatfs(oFile->iFile, &oSystem) == 0 && !IsRemote(static_cast<std::uint32_t>(oSystem.f_type));
    rFacts = oFacts;
    return Status::Success;
}

Status HostFilePort::SetAttributesOf(HANDLE hFile, DWORD dwAttributes) noexcept try {
    const std::optional<OpenFile> oFile = FindFile(hFile);
    if (!oFile) return Status::InvalidHandle;
    if (!oFile->fAttributes) return Status::AccessDenied;
    struct stat oStat {};
    mode_t uMode = 0;
    if (fstat(oFile->iFile, &oStat) != 0) return StatusFromErrno(errno);
    if (!ModeForAttributes(oStat, dwAttributes, uMode) || fchmod(oFile->iFile, uMode) == 0) return Status::Success;
    // A descriptor for attributes alone leads to the file by its own path.
    const std::string path = "/proc/self/fd/" + std::to_string(oFile->iFile);
    return errno == EBADF && chmod(path.c_str(), uMode) == 0 ? Status::Success : StatusFromErrno(errno);
} catch (const std::bad_alloc&) {
    return Status::NotEnoughMemory;
}

Status HostFilePort::Append(HANDLE hFile, const void* pSource, DWORD dwBytes, DWORD& rdwWritten) noexcept {
    rdwWritten = 0;
    const std::optional<OpenFile> oFile = FindFile(hFile);
    if (!oFile) return Status::InvalidHandle;
    if (!oFile->fWritable) return Status::AccessDenied;
    while (rdwWritten < dwBytes) {
        const ssize_t cBytes =
            AppendOnce(oFile->iFile, static_cast<const char*>(pSource) + rdwWritten, dwBytes - rdwWritten);
        if (cBytes > 0) {
            rdwWritten += static_cast<DWORD>(cBytes);
        } else if (cBytes == 0) {
            return Status::DiskFull;
        } else if (errno != EINTR) {
            return StatusFromErrno(errno);
        }
    }
    return Status::Success;
}

Status HostFilePort::CreateMappingOf(HANDLE hFile, ULONGLONG ullBytes, bool fWritable, HANDLE& rhMapping) noexcept try {
    const std::optional<OpenFile> oFile = FindFile(hFile);
    if (!oFile) return Status::InvalidHandle;
    if (!oFile->fReadable || (fWritable && !oFile->fWritable)) return Status::AccessDenied;
    if (ullBytes > LLONG_MAX) return Status::InvalidParameter;
    struct stat oStat {};
    if (fstat(oFile->iFile, &oStat) != 0) return StatusFromErrno(errno);
    const auto ullSize = static_cast<ULONGLONG>(oStat.st_size);
    if (ullBytes == 0) ullBytes = ullSize;
    if (ullBytes == 0) return Status::FileInvalid;
    if (ullBytes > ullSize && !fWritable) return Status::NotEnoughMemory;
    Descriptor oOwn(fcntl(oFile->iFile, F_DUPFD_CLOEXEC, 0));
    if (oOwn.Get() < 0) return StatusFromErrno(errno);
    if (ullBytes > ullSize) {
        // With its room: a full disk shows here, not as a signal at the first write.
        const int iError = posix_fallocate(oFile->iFile, oStat.st_size, static_cast<off_t>(ullBytes - ullSize));
        if (iError != 0) {
            if (ftruncate(oFile->iFile, oStat.st_size) != 0) return StatusFromErrno(errno);
            return StatusFromErrno(iError);
        }
    }
    OpenFile oMapping;
    oMapping.iFile = oOwn.Get();
    oMapping.fWritable = fWritable;
    oMapping.ullMapping = ullBytes;
    rhMapping = reinterpret_cast<HANDLE>(m_oFiles.Add(oMapping));
    oOwn.Release();
    return Status::Success;
} catch (const std::bad_alloc&) {
    return Status::NotEnoughMemory;
}

Status HostFilePort::MapView(HANDLE hMapping, ULONGLONG ullBytes, void*& rpView) noexcept try {
    const std::optional<OpenFile> oMapping = m_oFiles.Find(reinterpret_cast<std::uintptr_t>(hMapping));
    if (!oMapping || oMapping->ullMapping == 0) return Status::InvalidHandle;
    if (ullBytes > oMapping->ullMapping) return Status::AccessDenied;
    if (ullBytes == 0) ullBytes = oMapping->ullMapping;
    struct stat oStat {};
    if (fstat(oMapping->iFile, &oStat) != 0) return StatusFromErrno(errno);
    const std::lock_guard oLock(m_oViewsMutex);
    m_vViews.reserve(m_vViews.size() + 1);
    void* pMemory = mmap(nullptr, ullBytes, oMapping->fWritable ? PROT_READ | PROT_WRITE : PROT_READ, MAP_SHARED,
                         oMapping->iFile, 0);
    if (pMemory == MAP_FAILED) return StatusFromErrno(errno);
    m_vViews.push_back({pMemory, ullBytes, oStat.st_dev, oStat.st_ino, oMapping->ullMapping});
    rpView = pMemory;
    return Status::Success;
} catch (const std::bad_alloc&) {
    return Status::NotEnoughMemory;
}

Status HostFilePort::UnmapView(void* pView) noexcept {
    const std::lock_guard oLock(m_oViewsMutex);
    const auto it =
        std::find_if(m_vViews.begin(), m_vViews.end(), [&](const View& rView) { return rView.pMemory == pView; });
    if (it == m_vViews.end()) return Status::InvalidAddress;
    const bool fDone = munmap(it->pMemory, it->cBytes) == 0;
    m_vViews.erase(it);
    return fDone ? Status::Success : StatusFromErrno(errno);
}

}  // namespace vlm::host
