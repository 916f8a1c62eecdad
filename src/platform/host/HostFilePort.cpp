/// @file
/// Files on the host: POSIX calls, Windows rules.
#include "platform/host/HostFilePort.h"

#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <new>
#include <optional>
#include <string>

#include "platform/host/HostDescriptor.h"
#include "platform/host/HostFileAttributes.h"
#include "platform/host/HostNames.h"
#include "platform/host/HostShareMarks.h"

namespace vlm::host {

namespace {

constexpr DWORD EVERY_WAY = FilePort::ShareRead | FilePort::ShareWrite | FilePort::ShareDelete;

std::uintptr_t NumberOf(HANDLE hFile) noexcept {
    return reinterpret_cast<std::uintptr_t>(hFile);
}

/// Opens, and tells folders from files.  Never waits for the other end of a pipe.
int OpenDescriptor(const std::string& rPath, int iFlags) noexcept {
    const int iFile = open(rPath.c_str(), iFlags | O_CLOEXEC | O_NOCTTY | O_NONBLOCK, 0666);
    if (iFile >= 0) fcntl(iFile, F_SETFL, fcntl(iFile, F_GETFL) & ~O_NONBLOCK);
    return iFile;
}

/// Whether nobody's sharing stands against deleting or renaming the file.  A file that cannot be opened for reading
/// cannot be held by another user of the port either.
Status MayDelete(const std::string& rPath) noexcept {
    const Descriptor oFile(OpenDescriptor(rPath, O_RDONLY | O_NOFOLLOW));
    return oFile.Get() < 0 ? Status::Success : PlaceShareMarks(oFile.Get(), FilePort::ShareDelete, 0);
}

bool NeedsWriting(const FilePort::OpenOptions& rOptions) noexcept {
    return rOptions.eAccess == FilePort::Access::ReadWrite || rOptions.eAccess == FilePort::Access::Write ||
           rOptions.eDisposition == FilePort::Disposition::CreateAlways;
}

/// What the file is used for, in the ways that others may deny.
DWORD UsesOf(const FilePort::OpenOptions& rOptions) noexcept {
    DWORD dwUses = 0;
    if (rOptions.eAccess == FilePort::Access::Read || rOptions.eAccess == FilePort::Access::ReadWrite) {
        dwUses |= FilePort::ShareRead;
    }
    if (NeedsWriting(rOptions)) dwUses |= FilePort::ShareWrite;
    if (rOptions.fDeleteAccess) dwUses |= FilePort::ShareDelete;
    return dwUses;
}

/// Opens a file that no link leads to.  A kernel that cannot look out for links on the way looks at the last component
/// alone.
int OpenWithoutLinks(const std::string& rPath, int iFlags) noexcept {
    open_how oHow{};
    oHow.flags = static_cast<std::uint64_t>(iFlags | O_CLOEXEC | O_NOCTTY | O_NONBLOCK | O_NOFOLLOW);
    oHow.mode = (iFlags & O_CREAT) != 0 ? 0666 : 0;
    oHow.resolve = RESOLVE_NO_SYMLINKS | RESOLVE_NO_MAGICLINKS;
    const int iFile = static_cast<int>(syscall(SYS_openat2, AT_FDCWD, rPath.c_str(), &oHow, sizeof(oHow)));
    if (iFile < 0 && errno == ENOSYS) return OpenDescriptor(rPath, iFlags | O_NOFOLLOW);
    if (iFile >= 0) fcntl(iFile, F_SETFL, fcntl(iFile, F_GETFL) & ~O_NONBLOCK);
    return iFile;
}

/// Whether a file is an ordinary one that goes by one name.
bool IsPlain(const struct stat& rStat) noexcept {
    return S_ISREG(rStat.st_mode) && rStat.st_nlink == 1;
}

/// Opens with more rights than asked for where the marks of sharing need them, and with fewer where they are missing.
int OpenWithRights(const std::string& rPath, const FilePort::OpenOptions& rOptions) noexcept {
    using Disposition = FilePort::Disposition;
    int iCreate = rOptions.eDisposition == Disposition::OpenExisting ? 0 : O_CREAT;
    if (rOptions.eDisposition == Disposition::CreateNew) iCreate |= O_EXCL;
    const int iFlags = (NeedsWriting(rOptions) ? O_RDWR : O_RDONLY) | iCreate;
    if (rOptions.fPlainLocalFile) return OpenWithoutLinks(rPath, iFlags);
    const int iFile = OpenDescriptor(rPath, iFlags);
    if (iFile >= 0 || errno != EACCES) return iFile;
    if (rOptions.eAccess == FilePort::Access::Write) return OpenDescriptor(rPath, O_WRONLY | iCreate);
    if (rOptions.eAccess == FilePort::Access::Attributes) return open(rPath.c_str(), O_PATH | O_CLOEXEC);
    return iFile;
}

}  // namespace

std::string FolderOf(const std::string& rPath) {
    const std::size_t cEnd = rPath.find_last_not_of('/');
    const std::size_t iSlash = cEnd == std::string::npos ? std::string::npos : rPath.rfind('/', cEnd);
    if (cEnd == std::string::npos) return "/";
    if (iSlash == std::string::npos) return ".";
    return iSlash == 0 ? "/" : rPath.substr(0, iSlash);
}

Status StatusForPath(int iError, const std::string& rPath) {
    if (iError != ENOENT) return StatusFromErrno(iError);
    struct stat oStat {};
    return stat(FolderOf(rPath).c_str(), &oStat) == 0 && S_ISDIR(oStat.st_mode) ? Status::FileNotFound
                                                                                : Status::PathNotFound;
}

bool IsReadOnly(const struct stat& rStat) noexcept {
    return S_ISREG(rStat.st_mode) && (rStat.st_mode & S_IWUSR) == 0;
}

DWORD AttributesOfStat(const struct stat& rStat) noexcept {
    DWORD dwAttributes = S_ISDIR(rStat.st_mode) ? FilePort::ATTRIBUTE_DIRECTORY : 0;
    if (IsReadOnly(rStat)) dwAttributes |= FilePort::ATTRIBUTE_READONLY;
    return dwAttributes ? dwAttributes : FilePort::ATTRIBUTE_NORMAL;
}

bool ModeForAttributes(const struct stat& rStat, DWORD dwAttributes, mode_t& ruMode) noexcept {
    const bool fReadOnly = (dwAttributes & FilePort::ATTRIBUTE_READONLY) != 0;
    // On a folder the attribute has no meaning, as on Windows.
    if (!S_ISREG(rStat.st_mode) || IsReadOnly(rStat) == fReadOnly) return false;
    constexpr mode_t ALL_WRITE = S_IWUSR | S_IWGRP | S_IWOTH;
    ruMode = (fReadOnly ? rStat.st_mode & ~ALL_WRITE : rStat.st_mode | S_IWUSR) & 07777;
    return true;
}

Status HostFilePort::Open(const XCHAR* pszPath, const OpenOptions& rOptions, HANDLE& rhFile) noexcept try {
    std::string path;
    if (const Status eStatus = PathFromUnits(pszPath, path); eStatus != Status::Success) return eStatus;
    Descriptor oFile(OpenWithRights(path, rOptions));
    if (oFile.Get() < 0) {
        const int iError = errno;
        if (iError == EEXIST) return Status::FileExists;
        if (iError == ELOOP && rOptions.fPlainLocalFile) return Status::AccessDenied;
        // A device or pipe without a partner.
        if (iError == ENXIO) return Status::FileNotFound;
        return StatusForPath(iError, path);
    }
    struct stat oStat {};
    if (fstat(oFile.Get(), &oStat) != 0) return StatusFromErrno(errno);
    if (S_ISDIR(oStat.st_mode) || (rOptions.fPlainLocalFile && !IsPlain(oStat))) return Status::AccessDenied;
    if (NeedsWriting(rOptions) && IsReadOnly(oStat)) return Status::AccessDenied;

    const DWORD dwUses = UsesOf(rOptions);
    if (S_ISREG(oStat.st_mode) && dwUses != 0) {
        const Status eStatus = PlaceShareMarks(oFile.Get(), dwUses, ~rOptions.dwShare & EVERY_WAY);
        if (eStatus != Status::Success) return eStatus;
        // Only now: a file that somebody else holds is not emptied.
        const bool fEmpty = rOptions.eDisposition == Disposition::CreateAlways;
        if (fEmpty && IsShownBeyond(oFile.Get(), 0)) return Status::UserMappedFile;
        if (fEmpty && ftruncate(oFile.Get(), 0) != 0) return StatusFromErrno(errno);
    }
    OpenFile oOpen;
    oOpen.iFile = oFile.Get();
    oOpen.fReadable = rOptions.eAccess == Access::Read || rOptions.eAccess == Access::ReadWrite;
    oOpen.fWritable = rOptions.eAccess == Access::ReadWrite || rOptions.eAccess == Access::Write;
    oOpen.fDeletable = rOptions.fDeleteAccess;
    oOpen.fAttributes = oOpen.fWritable || rOptions.eAccess == Access::Attributes;
    rhFile = reinterpret_cast<HANDLE>(m_oFiles.Add(oOpen));
    oFile.Release();
    return Status::Success;
} catch (const std::bad_alloc&) {
    return Status::NotEnoughMemory;
}

Status HostFilePort::Close(HANDLE hFile) noexcept {
    const std::optional<OpenFile> oFile = m_oFiles.Remove(NumberOf(hFile));
    if (!oFile) return Status::InvalidHandle;
    return close(oFile->iFile) == 0 || errno == EINTR ? Status::Success : StatusFromErrno(errno);
}

Status HostFilePort::Size(HANDLE hFile, ULONGLONG& rullSize) noexcept {
    const std::optional<OpenFile> oFile = FindFile(hFile);
    if (!oFile) return Status::InvalidHandle;
    struct stat oStat {};
    if (fstat(oFile->iFile, &oStat) != 0) return StatusFromErrno(errno);
    rullSize = static_cast<ULONGLONG>(oStat.st_size);
    return Status::Success;
}

Status HostFilePort::Read(HANDLE hFile, void* pTarget, DWORD dwBytes, DWORD& rdwRead) noexcept {
    rdwRead = 0;
    const std::optional<OpenFile> oFile = FindFile(hFile);
    if (!oFile) return Status::InvalidHandle;
    if (!oFile->fReadable) return Status::AccessDenied;
    while (rdwRead < dwBytes) {
        const ssize_t cBytes = read(oFile->iFile, static_cast<char*>(pTarget) + rdwRead, dwBytes - rdwRead);
        if (cBytes == 0) break;
        if (cBytes > 0) {
            rdwRead += static_cast<DWORD>(cBytes);
        } else if (errno != EINTR) {
            return StatusFromErrno(errno);
        }
    }
    return Status::Success;
}

Status HostFilePort::Write(HANDLE hFile, const void* pSource, DWORD dwBytes, DWORD& rdwWritten) noexcept {
    rdwWritten = 0;
    const std::optional<OpenFile> oFile = FindFile(hFile);
    if (!oFile) return Status::InvalidHandle;
    if (!oFile->fWritable) return Status::AccessDenied;
    while (rdwWritten < dwBytes) {
        const ssize_t cBytes =
            write(oFile->iFile, static_cast<const char*>(pSource) + rdwWritten, dwBytes - rdwWritten);
        if (cBytes >= 0) {
            rdwWritten += static_cast<DWORD>(cBytes);
        } else if (errno != EINTR) {
            return StatusFromErrno(errno);
        }
    }
    return Status::Success;
}

Status HostFilePort::Seek(HANDLE hFile, ULONGLONG ullOffset) noexcept {
    const std::optional<OpenFile> oFile = FindFile(hFile);
    if (!oFile) return Status::InvalidHandle;
    if (ullOffset > LLONG_MAX) return Status::InvalidParameter;
    return lseek(oFile->iFile, static_cast<off_t>(ullOffset), SEEK_SET) >= 0 ? Status::Success : StatusFromErrno(errno);
}

Status HostFilePort::SetEnd(HANDLE hFile) noexcept {
    const std::optional<OpenFile> oFile = FindFile(hFile);
    if (!oFile) return Status::InvalidHandle;
    if (!oFile->fWritable) return Status::AccessDenied;
    const off_t oPosition = lseek(oFile->iFile, 0, SEEK_CUR);
    if (oPosition >= 0 && IsShownBeyond(oFile->iFile, static_cast<ULONGLONG>(oPosition))) return Status::UserMappedFile;
    return oPosition >= 0 && ftruncate(oFile->iFile, oPosition) == 0 ? Status::Success : StatusFromErrno(errno);
}

Status HostFilePort::Flush(HANDLE hFile) noexcept {
    const std::optional<OpenFile> oFile = FindFile(hFile);
    if (!oFile) return Status::InvalidHandle;
    if (!oFile->fWritable) return Status::AccessDenied;
    // Devices and pipes have nothing to flush and say EINVAL.
    return fsync(oFile->iFile) == 0 || errno == EINVAL ? Status::Success : StatusFromErrno(errno);
}

Status HostFilePort::GetAttributes(const XCHAR* pszPath, DWORD& rdwAttributes) noexcept try {
    std::string path;
    if (const Status eStatus = PathFromUnits(pszPath, path); eStatus != Status::Success) return eStatus;
    struct stat oStat {};
    if (stat(path.c_str(), &oStat) != 0) return StatusForPath(errno, path);
    rdwAttributes = AttributesOfStat(oStat);
    return Status::Success;
} catch (const std::bad_alloc&) {
    return Status::NotEnoughMemory;
}

Status HostFilePort::SetAttributes(const XCHAR* pszPath, DWORD dwAttributes) noexcept try {
    std::string path;
    if (const Status eStatus = PathFromUnits(pszPath, path); eStatus != Status::Success) return eStatus;
    struct stat oStat {};
    if (stat(path.c_str(), &oStat) != 0) return StatusForPath(errno, path);
    mode_t uMode = 0;
    if (!ModeForAttributes(oStat, dwAttributes, uMode)) return Status::Success;
    return chmod(path.c_str(), uMode) == 0 ? Status::Success : StatusForPath(errno, path);
} catch (const std::bad_alloc&) {
    return Status::NotEnoughMemory;
}

Status HostFilePort::Delete(const XCHAR* pszPath) noexcept try {
    std::string path;
    if (const Status eStatus = PathFromUnits(pszPath, path); eStatus != Status::Success) return eStatus;
    struct stat oStat {};
    if (lstat(path.c_str(), &oStat) != 0) return StatusForPath(errno, path);
    if (S_ISDIR(oStat.st_mode) || IsReadOnly(oStat)) return Status::AccessDenied;
    if (S_ISREG(oStat.st_mode)) {
        if (const Status eStatus = MayDelete(path); eStatus != Status::Success) return eStatus;
    }
    return unlink(path.c_str()) == 0 ? Status::Success : StatusForPath(errno, path);
} catch (const std::bad_alloc&) {
    return Status::NotEnoughMemory;
}

Status HostFilePort::DeleteByHandle(HANDLE hFile) noexcept try {
    const std::optional<OpenFile> oFile = FindFile(hFile);
    if (!oFile) return Status::InvalidHandle;
    if (!oFile->fDeletable) return Status::AccessDenied;
    struct stat oStat {};
    if (fstat(oFile->iFile, &oStat) != 0) return StatusFromErrno(errno);
    if (IsReadOnly(oStat)) return Status::AccessDenied;
    if (oStat.st_nlink == 0) return Status::Success;

    // The kernel keeps the file's present name for us, renames included.
    const std::string link = "/proc/self/fd/" + std::to_string(oFile->iFile);
    std::string path(PATH_MAX, '\0');
    const ssize_t cBytes = readlink(link.c_str(), path.data(), path.size());
    if (cBytes < 0) return StatusFromErrno(errno);
    path.resize(static_cast<std::size_t>(cBytes));
    const Descriptor oFolder(open(FolderOf(path).c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (oFolder.Get() < 0) return StatusForPath(errno, path);
    const std::string name = path.substr(path.rfind('/') + 1);
    struct stat oNamed {};
    if (fstatat(oFolder.Get(), name.c_str(), &oNamed, AT_SYMLINK_NOFOLLOW) != 0) return StatusFromErrno(errno);
    if (oNamed.st_dev != oStat.st_dev || oNamed.st_ino != oStat.st_ino) return Status::FileNotFound;
    return unlinkat(oFolder.Get(), name.c_str(), 0) == 0 ? Status::Success : StatusFromErrno(errno);
} catch (const std::bad_alloc&) {
    return Status::NotEnoughMemory;
}

Status HostFilePort::Move(const XCHAR* pszFrom, const XCHAR* pszTo, bool fReplace) noexcept try {
    std::string from, to;
    if (const Status eStatus = PathFromUnits(pszFrom, from); eStatus != Status::Success) return eStatus;
    if (const Status eStatus = PathFromUnits(pszTo, to); eStatus != Status::Success) return eStatus;
    struct stat oFrom {
    }, oTo{};
    if (lstat(from.c_str(), &oFrom) != 0) return StatusForPath(errno, from);
    if (S_ISREG(oFrom.st_mode)) {
        if (const Status eStatus = MayDelete(from); eStatus != Status::Success) return eStatus;
    }
    const bool fTarget = lstat(to.c_str(), &oTo) == 0;
    const bool fSame = fTarget && oFrom.st_dev == oTo.st_dev && oFrom.st_ino == oTo.st_ino;
    if (fTarget && fReplace && !fSame) {
        if (S_ISDIR(oTo.st_mode) || IsReadOnly(oTo)) return Status::AccessDenied;
        if (MayDelete(to) != Status::Success) return Status::AccessDenied;
    }
    if (!fReplace && !fSame) {
        if (renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) return Status::Success;
        if (errno != EINVAL && errno != ENOSYS) return StatusForPath(errno, to);
        // A file system without the flag: the window between the look above and the rename is all that is left.
        if (fTarget) return Status::AlreadyExists;
    }
    return rename(from.c_str(), to.c_str()) == 0 ? Status::Success : StatusForPath(errno, to);
} catch (const std::bad_alloc&) {
    return Status::NotEnoughMemory;
}

Status HostFilePort::CreateDirectoryAt(const XCHAR* pszPath) noexcept try {
    std::string path;
    if (const Status eStatus = PathFromUnits(pszPath, path); eStatus != Status::Success) return eStatus;
    if (mkdir(path.c_str(), 0777) == 0) return Status::Success;
    return errno == ENOENT ? Status::PathNotFound : StatusFromErrno(errno);
} catch (const std::bad_alloc&) {
    return Status::NotEnoughMemory;
}

}  // namespace vlm::host
