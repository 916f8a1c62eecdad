/// @file
/// The embedded spooler's ground: store, files, machine.
#include "platform/host/HostSpooler.h"

#include <climits>
#include <cstdlib>
#include <filesystem>
#include <mutex>

#include "platform/Platform.h"
#include "platform/ProcessPort.h"
#include "platform/host/HostNames.h"
#include "platform/host/HostStore.h"
#include "platform/host/Undying.h"

namespace vlm::host {

namespace {

/// The folder that stands for the one beside the store, when that is in memory; made at its first use.
struct TemporaryFolder {
    std::mutex oMutex;
    std::string path;
};

TemporaryFolder& TheTemporaryFolder() {
    static Undying<TemporaryFolder> soFolder;
    return soFolder.object;
}

std::string TemporaryPath() {
    TemporaryFolder& rFolder = TheTemporaryFolder();
    const std::lock_guard oLock(rFolder.oMutex);
    if (!rFolder.path.empty()) return rFolder.path;
    const char* const pszRoot = std::getenv("TMPDIR");
    std::string path = (pszRoot && *pszRoot == '/' ? std::string(pszRoot) : "/tmp") + "/q9util-spool-XXXXXX";
    if (mkdtemp(path.data()) == nullptr) throw SpoolerFailure{Status::PathNotFound};
    rFolder.path = path;
    std::atexit([] {
        std::error_code oError;
        std::filesystem::remove_all(TheTemporaryFolder().path, oError);
    });
    return path;
}

/// The store's own path, whole, whatever way it was named.
std::string WholePath(const std::string& rStore) {
    const std::size_t iSlash = rStore.rfind('/');
    const std::string parent = iSlash == std::string::npos ? "." : rStore.substr(0, iSlash + 1);
    const std::unique_ptr<char, decltype(&std::free)> apszFull(realpath(parent.c_str(), nullptr), &std::free);
    if (!apszFull) throw SpoolerFailure{Status::PathNotFound};
    return std::string(apszFull.get()) + '/' + rStore.substr(iSlash + 1);
}

}  // namespace

RegistryPort& HostSpoolerGround::Registry() noexcept {
    return *GetSystemPlatform().pRegistry;
}

FilePort& HostSpoolerGround::Files() noexcept {
    return *GetSystemPlatform().pFiles;
}

FolderPort& HostSpoolerGround::Folders() noexcept {
    return *GetSystemPlatform().pFolders;
}

XText HostSpoolerGround::ComputerName() {
    XCHAR szName[HOST_NAME_MAX + 1] = {};
    return GetSystemPlatform().pProcess->ComputerName(szName, HOST_NAME_MAX + 1) != 0 ? XText(szName) : XText();
}

XText HostSpoolerGround::SpoolFolder() {
    std::string store;
    if (!HostStorePath(store)) throw SpoolerFailure{Status::PathNotFound};
    return UnitsFromBytes(store == ":memory:" ? TemporaryPath() : WholePath(store) + ".spool");
}

}  // namespace vlm::host
