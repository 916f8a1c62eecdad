/// @file
/// Named objects as pipes and files in a folder.
#include "platform/host/HostObjectFolder.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <memory>

#include "platform/host/HostNames.h"
#include "platform/host/HostStore.h"

namespace vlm::host {

namespace {

/// A name's file tells the kind by its ending.
struct KindFile {
    ObjectKind eKind;
    const char* pszEnding;
};
constexpr std::array<KindFile, 3> KIND_FILES{
    {{ObjectKind::AutoEvent, ".auto"}, {ObjectKind::ManualEvent, ".manual"}, {ObjectKind::Mutex, ".mutex"}}};

// Bytes of the locks: ownership of a mutex, and the mark of every holder.
constexpr off_t OWNER_BYTE = 0, HOLDER_BYTE = 1;

struct flock LockOf(short sType, off_t oByte) noexcept {
    struct flock oLock {};
    oLock.l_type = sType;
    oLock.l_whence = SEEK_SET;
    oLock.l_start = oByte;
    oLock.l_len = 1;
    return oLock;
}

bool IsHeldByOthers(int iFile) noexcept {
    struct flock oLock = LockOf(F_WRLCK, HOLDER_BYTE);
    return fcntl(iFile, F_OFD_GETLK, &oLock) == 0 && oLock.l_type != F_UNLCK;
}

/// Keeps everybody else from making, joining and removing objects of the folder; the kernel ends it with the process.
class FolderLock {
public:
    explicit FolderLock(const std::string& rFolder)
        : m_oFile(open((rFolder + "/lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600)) {
        if (m_oFile.Get() < 0) {
            m_eStatus = StatusFromErrno(errno);
            return;
        }
        int iResult = 0;
        do {
            iResult = flock(m_oFile.Get(), LOCK_EX);
        } while (iResult != 0 && errno == EINTR);
        if (iResult != 0) m_eStatus = StatusFromErrno(errno);
    }
    ~FolderLock() {
        // Closing would not do: a child that was forked meanwhile has the descriptor, too.
        if (m_oFile.Get() >= 0) flock(m_oFile.Get(), LOCK_UN);
    }
    FolderLock(const FolderLock&) = delete;
    FolderLock& operator=(const FolderLock&) = delete;
    Status GetStatus() const noexcept { return m_eStatus; }

private:
    Descriptor m_oFile;
    Status m_eStatus = Status::Success;
};

std::string PathOf(const std::string& rFolder, const std::string& rName, const char* pszEnding) {
    std::string path = rFolder;
    return path.append(1, '/').append(rName).append(pszEnding);
}

Descriptor OpenKind(const std::string& rPath) noexcept {
    return Descriptor(open(rPath.c_str(), O_RDWR | O_NONBLOCK | O_NOFOLLOW | O_CLOEXEC));
}

Status CreateKind(const std::string& rPath, ObjectKind eKind, Descriptor& rFile) noexcept {
    if (eKind == ObjectKind::Mutex) {
        rFile = Descriptor(open(rPath.c_str(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
    } else if (mkfifo(rPath.c_str(), 0600) == 0) {
        rFile = OpenKind(rPath);
    }
    return rFile.Get() >= 0 ? Status::Success : StatusFromErrno(errno);
}

Status MarkAsHolder(int iFile) noexcept {
    struct flock oLock = LockOf(F_RDLCK, HOLDER_BYTE);
    return fcntl(iFile, F_OFD_SETLK, &oLock) == 0 ? Status::Success : StatusFromErrno(errno);
}

}  // namespace

Status ObjectNameFromUnits(XStringView svName, std::string& rName) {
    constexpr std::size_t LONGEST = 230;  // of 255 that a file name may have; the endings need room
    constexpr XStringView LOCAL = VTEXT("Local\\"), GLOBAL = VTEXT("Global\\");
    std::string name = "Local.";
    if (svName.starts_with(GLOBAL)) {
        name = "Global.";
        svName.remove_prefix(GLOBAL.size());
    } else if (svName.starts_with(LOCAL)) {
        svName.remove_prefix(LOCAL.size());
    }
    for (const char c : StoreTextFromUnits(svName)) {
        if (c == '\\') return Status::PathNotFound;
        if (c == '/' || c == '%' || (c >= 0 && c < 0x20)) {
            constexpr char DIGITS[] = "0123456789ABCDEF";
            name += {'%', DIGITS[c >> 4], DIGITS[c & 0xF]};
        } else {
            name += c;
        }
    }
    if (name.size() > LONGEST) return Status::InvalidName;
    rName.swap(name);
    return Status::Success;
}

bool ObjectFolder(std::string& rFolder) {
    std::string store;
    if (!HostStorePath(store)) return false;
    if (store == ":memory:") {
        rFolder.clear();
        return true;
    }
    // One folder, whatever way the store was named.
    const std::size_t iSlash = store.rfind('/');
    const std::string parent = iSlash == std::string::npos ? "." : store.substr(0, iSlash + 1);
    const std::unique_ptr<char, decltype(&std::free)> apszFull(realpath(parent.c_str(), nullptr), &std::free);
    if (!apszFull) return false;
    rFolder = std::string(apszFull.get()) + '/' + store.substr(iSlash + 1) + ".objects";
    return mkdir(rFolder.c_str(), 0700) == 0 || errno == EEXIST;
}

Status OpenObjectFile(const std::string& rFolder, const std::string& rName, const ObjectKind* peCreate,
                      ObjectFile& rFile) {
    const FolderLock oLock(rFolder);
    if (oLock.GetStatus() != Status::Success) return oLock.GetStatus();
    for (const auto& [eKind, pszEnding] : KIND_FILES) {
        std::string path = PathOf(rFolder, rName, pszEnding);
        Descriptor oFile = OpenKind(path);
        if (oFile.Get() < 0 && errno == ENOENT) continue;
        if (oFile.Get() < 0) return StatusFromErrno(errno);
        if (!IsHeldByOthers(oFile.Get())) {
            unlink(path.c_str());
            continue;
        }
        if (const Status eStatus = MarkAsHolder(oFile.Get()); eStatus != Status::Success) return eStatus;
        rFile = {std::move(oFile), eKind, false, std::move(path)};
        return Status::Success;
    }
    if (peCreate == nullptr) return Status::FileNotFound;
    for (const auto& [eKind, pszEnding] : KIND_FILES) {
        if (eKind != *peCreate) continue;
        std::string path = PathOf(rFolder, rName, pszEnding);
        Descriptor oFile;
        if (const Status eStatus = CreateKind(path, eKind, oFile); eStatus != Status::Success) return eStatus;
        if (const Status eStatus = MarkAsHolder(oFile.Get()); eStatus != Status::Success) return eStatus;
        rFile = {std::move(oFile), eKind, true, std::move(path)};
    }
    return Status::Success;
}

void CloseObjectFile(ObjectFile& rFile) noexcept try {
    if (rFile.oFile.Get() < 0 || rFile.path.empty()) return;
    const FolderLock oLock(rFile.path.substr(0, rFile.path.rfind('/')));
    // A left-over, when the lock is not to be had: the next one to come clears it away.
    if (oLock.GetStatus() == Status::Success && !IsHeldByOthers(rFile.oFile.Get())) unlink(rFile.path.c_str());
    rFile.oFile = Descriptor();
} catch (const std::bad_alloc&) {
    rFile.oFile = Descriptor();
}

bool LockObjectFile(int iFile) noexcept {
    struct flock oLock = LockOf(F_WRLCK, OWNER_BYTE);
    return fcntl(iFile, F_OFD_SETLK, &oLock) == 0;
}

void UnlockObjectFile(int iFile) noexcept {
    struct flock oLock = LockOf(F_UNLCK, OWNER_BYTE);
    fcntl(iFile, F_OFD_SETLK, &oLock);
}

}  // namespace vlm::host
