/// @file
/// Folders over POSIX calls.
#include "platform/host/HostFolderPort.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <new>
#include <string>
#include <string_view>

#include "platform/FilePort.h"
#include "platform/host/HostDescriptor.h"
#include "platform/host/HostFileAttributes.h"
#include "platform/host/HostNames.h"
#include "platform/host/HostShareMarks.h"

namespace vlm::host {

namespace {

constexpr DWORD EVERY_WAY = FilePort::ShareRead | FilePort::ShareWrite | FilePort::ShareDelete;

std::uintptr_t NumberOf(HANDLE hFolder) noexcept {
    return reinterpret_cast<std::uintptr_t>(hFolder);
}

/// Copies what is left to read.
Status CopyBytes(int iFrom, int iTo) noexcept {
    char acBytes[65536];
    for (;;) {
        const ssize_t cRead = read(iFrom, acBytes, sizeof(acBytes));
        if (cRead == 0) return Status::Success;
        if (cRead < 0 && errno == EINTR) continue;
        if (cRead < 0) return StatusFromErrno(errno);
        for (ssize_t cDone = 0; cDone < cRead;) {
            const ssize_t cWritten = write(iTo, acBytes + cDone, static_cast<std::size_t>(cRead - cDone));
            if (cWritten < 0 && errno != EINTR) return StatusFromErrno(errno);
            cDone += std::max<ssize_t>(cWritten, 0);
        }
    }
}

/// Opens what is copied, so that its other users agree.
Status OpenSource(const std::string& rPath, Descriptor& rFile, struct stat& rStat) {
    rFile = Descriptor(open(rPath.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK));
    if (rFile.Get() < 0) return StatusForPath(errno, rPath);
    if (fstat(rFile.Get(), &rStat) != 0) return StatusFromErrno(errno);
    if (!S_ISREG(rStat.st_mode)) return Status::AccessDenied;
    return PlaceShareMarks(rFile.Get(), FilePort::ShareRead, 0);
}

/// Opens what is copied to, for itself alone, and empties it.
Status OpenTarget(const std::string& rPath, bool fReplace, Descriptor& rFile) {
    constexpr int FLAGS = O_RDWR | O_CREAT | O_CLOEXEC | O_NOCTTY | O_NONBLOCK;
    rFile = Descriptor(open(rPath.c_str(), fReplace ? FLAGS : FLAGS | O_EXCL, 0600));
    if (rFile.Get() < 0) return errno == EEXIST ? Status::FileExists : StatusForPath(errno, rPath);
    struct stat oStat {};
    if (fstat(rFile.Get(), &oStat) != 0) return StatusFromErrno(errno);
    if (!S_ISREG(oStat.st_mode) || IsReadOnly(oStat)) return Status::AccessDenied;
    if (const Status eStatus = PlaceShareMarks(rFile.Get(), FilePort::ShareWrite, EVERY_WAY);
        eStatus != Status::Success) {
        return eStatus;
    }
    return ftruncate(rFile.Get(), 0) == 0 ? Status::Success : StatusFromErrno(errno);
}

}  // namespace

/// A folder that is being listed.
struct HostFolderPort::List {
    explicit List(DIR* pStream) noexcept : pFolder(pStream) {}
    ~List() { closedir(pFolder); }
    List(const List&) = delete;
    List& operator=(const List&) = delete;

    DIR* pFolder;
};

Status HostFolderPort::OpenFolder(const XCHAR* pszPath, HANDLE& rhFolder) noexcept try {
    std::string path;
    if (const Status eStatus = PathFromUnits(pszPath, path); eStatus != Status::Success) return eStatus;
    DIR* const pFolder = opendir(path.c_str());
    if (pFolder == nullptr) {
        const int iError = errno;
        struct stat oStat {};
        if (iError == ENOTDIR && stat(path.c_str(), &oStat) == 0) return Status::Directory;
        return iError == ENOENT ? Status::PathNotFound : StatusFromErrno(iError);
    }
    std::shared_ptr<List> shpoList;
    try {
        shpoList = std::make_shared<List>(pFolder);
    } catch (const std::bad_alloc&) {
        closedir(pFolder);
        return Status::NotEnoughMemory;
    }
    rhFolder = reinterpret_cast<HANDLE>(m_oLists.Add(shpoList));
    return Status::Success;
} catch (const std::bad_alloc&) {
    return Status::NotEnoughMemory;
}

Status HostFolderPort::NextEntry(HANDLE hFolder, Entry& rEntry) noexcept try {
    const std::shared_ptr<List> shpoList = m_oLists.Find(NumberOf(hFolder)).value_or(nullptr);
    if (!shpoList) return Status::InvalidHandle;
    for (;;) {
        errno = 0;
        const dirent* const pEntry = readdir(shpoList->pFolder);
        if (pEntry == nullptr) return errno == 0 ? Status::NoMoreItems : StatusFromErrno(errno);
        const std::string_view svName(pEntry->d_name);
        struct stat oStat {};
        if (svName == "." || svName == "..") continue;
        // Gone meanwhile.
        if (fstatat(dirfd(shpoList->pFolder), pEntry->d_name, &oStat, AT_SYMLINK_NOFOLLOW) != 0) continue;
        const std::basic_string<XCHAR> name = UnitsFromBytes(svName);
        if (name.size() >= MAX_NAME_UNITS) return Status::InvalidName;
        Entry oEntry;
        std::copy(name.begin(), name.end(), oEntry.szName);
        oEntry.dwAttributes = AttributesOfStat(oStat);
        if (S_ISLNK(oStat.st_mode)) {
            oEntry.dwAttributes = ATTRIBUTE_LINK;
            struct stat oTarget {};
            const bool fFolder =
                fstatat(dirfd(shpoList->pFolder), pEntry->d_name, &oTarget, 0) == 0 && S_ISDIR(oTarget.st_mode);
            if (fFolder) oEntry.dwAttributes |= FilePort::ATTRIBUTE_DIRECTORY;
        }
        if (S_ISREG(oStat.st_mode)) oEntry.ullSize = static_cast<ULONGLONG>(oStat.st_size);
        oEntry.llWritten = oStat.st_mtim.tv_sec;
        rEntry = oEntry;
        return Status::Success;
    }
} catch (const std::bad_alloc&) {
    return Status::NotEnoughMemory;
}

Status HostFolderPort::CloseFolder(HANDLE hFolder) noexcept {
    return m_oLists.Remove(NumberOf(hFolder)) ? Status::Success : Status::InvalidHandle;
}

Status HostFolderPort::RemoveFolder(const XCHAR* pszPath) noexcept try {
    std::string path;
    if (const Status eStatus = PathFromUnits(pszPath, path); eStatus != Status::Success) return eStatus;
    while (path.size() > 1 && path.back() == '/')
        path.pop_back();
    struct stat oStat {
    }, oTarget{};
    if (lstat(path.c_str(), &oStat) != 0) return StatusForPath(errno, path);
    if (S_ISLNK(oStat.st_mode)) {
        const bool fFolder = stat(path.c_str(), &oTarget) == 0 && S_ISDIR(oTarget.st_mode);
        if (!fFolder) return Status::Directory;
        return unlink(path.c_str()) == 0 ? Status::Success : StatusForPath(errno, path);
    }
    if (!S_ISDIR(oStat.st_mode)) return Status::Directory;
    return rmdir(path.c_str()) == 0 ? Status::Success : StatusForPath(errno, path);
} catch (const std::bad_alloc&) {
    return Status::NotEnoughMemory;
}

Status HostFolderPort::CopyTo(const XCHAR* pszFrom, const XCHAR* pszTo, bool fReplace) noexcept try {
    std::string from, to;
    if (const Status eStatus = PathFromUnits(pszFrom, from); eStatus != Status::Success) return eStatus;
    if (const Status eStatus = PathFromUnits(pszTo, to); eStatus != Status::Success) return eStatus;
    Descriptor oFrom, oTo;
    struct stat oStat {};
    if (const Status eStatus = OpenSource(from, oFrom, oStat); eStatus != Status::Success) return eStatus;
    if (const Status eStatus = OpenTarget(to, fReplace, oTo); eStatus != Status::Success) return eStatus;
    Status eStatus = CopyBytes(oFrom.Get(), oTo.Get());
    if (eStatus == Status::Success && fchmod(oTo.Get(), oStat.st_mode & 0777) != 0) eStatus = StatusFromErrno(errno);
    if (eStatus != Status::Success) unlink(to.c_str());
    return eStatus;
} catch (const std::bad_alloc&) {
    return Status::NotEnoughMemory;
}

Status HostFolderPort::DeleteAtRestart(const XCHAR*) noexcept {
    return Status::NotSupported;
}

}  // namespace vlm::host
