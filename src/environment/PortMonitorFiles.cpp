/// @file
/// Copies the DLLs of the port monitor.
#include "environment/PortMonitorFilesImpl.h"

#include <algorithm>
#include <array>
#include <iterator>

#include "environment/PortMonitorImpl.h"
#include "platform/FilePort.h"
#include "platform/ProcessPort.h"
#include "utilities/debuggingandexceptions/NoThrow.h"

using vlm::FilePort;
using vlm::Status;

namespace {

constexpr std::size_t MAX_PATH_UNITS = 1024;
/// A DLL of the monitor is a few hundred kilobytes.
constexpr ULONGLONG MAX_DLL_BYTES = 64ULL * 1024 * 1024;

FilePort& Files() noexcept {
    return *vlm::GetPlatform().pFiles;
}

bool IsMissing(Status status) noexcept {
    return status == Status::FileNotFound || status == Status::PathNotFound;
}

/// Reads a file whole.  @return the status; `rbbContents` is set on success alone.
Status ReadWhole(const CXString& kcsPath, ByteBuffer& rbbContents) {
    FilePort::OpenOptions oOptions;
    oOptions.dwShare = FilePort::ShareRead | FilePort::ShareDelete;
    HANDLE hFile = nullptr;
    Status status = Files().Open(kcsPath, oOptions, hFile);
    if (status != Status::Success) return status;
    ByteBuffer bbContents;
    ULONGLONG ullSize = 0;
    status = Files().Size(hFile, ullSize);
    if (status == Status::Success && ullSize > MAX_DLL_BYTES) status = Status::FileTooLarge;
    if (status == Status::Success) {
        DWORD dwRead = 0;
        const bool fRoom = vlm::NoThrow([&] { bbContents.resize(static_cast<std::size_t>(ullSize)); });
        status = fRoom ? Files().Read(hFile, bbContents.getLpbyte(), bbContents.GetLength(), dwRead)
                       : Status::NotEnoughMemory;
        // A file that is shorter than it was a moment ago is not the whole file.
        if (status == Status::Success && dwRead != bbContents.GetLength()) status = Status::HandleEof;
    }
    Files().Close(hFile);
    if (status == Status::Success) rbbContents.swap(bbContents);
    return status;
}

DWORD DwordAt(const ByteBuffer& kbbFile, std::size_t cOffset) noexcept {
    DWORD dwValue = 0;
    for (std::size_t i = sizeof(DWORD); i-- > 0;)
        dwValue = dwValue << 8 | kbbFile[cOffset + i];
    return dwValue;
}

}  // namespace

CXString vlm::GetDriverFolder() {
    std::array<XCHAR, MAX_PATH_UNITS> achPath{};
    const std::size_t cUnits = GetPlatform().pProcess->LibraryPath(achPath.data(), achPath.size());
    const XStringView path(achPath.data(), cUnits);
    const std::size_t cFolder = path.find_last_of(VTEXT("\\/"));
    return cFolder == XStringView::npos ? CXString() : CXString(path.substr(0, cFolder));
}

Status vlm::GetSystemFolder(CXString& rcsFolder) {
    std::array<XCHAR, MAX_PATH_UNITS> achPath{};
    const Status status = GetPlatform().pProcess->SystemFolder(achPath.data(), achPath.size());
    if (status != Status::Success && status != Status::NotSupported) return status;
    rcsFolder = status == Status::Success ? achPath.data() : VTEXT("");
    rcsFolder.TrimRight(VTEXT('\\'));
    return Status::Success;
}

Status vlm::PlaceShippedMonitor(const CXString& kcsPath) {
    ByteBuffer bbContents;
    const Status status = ReadWhole(GetDriverFolder() + MONITOR_FILE, bbContents);
    return status == Status::Success ? TryWriteBesideAndReplace(kcsPath, bbContents) : status;
}

DriverVersion vlm::FindFileVersion(const ByteBuffer& kbbFile) noexcept {
    // The resource: three 16-bit fields, the key with its zero, filled up to a multiple of four; then the fixed part,
    // whose first fields are a signature, its own version, and the file's version in two halves.
    constexpr XStringView KEY = VTEXT("VS_VERSION_INFO");
    constexpr std::size_t KEY_BYTES = (KEY.size() + 1) * 2;
    constexpr std::size_t FIXED_OFFSET = (6 + KEY_BYTES + 3) / 4 * 4 - 6;  // from the key's first byte
    constexpr DWORD SIGNATURE = 0xFEEF04BD;
    std::array<BYTE, KEY_BYTES> abyKey{};
    for (std::size_t i = 0; i < KEY.size(); ++i)
        abyKey[i * 2] = static_cast<BYTE>(KEY[i]);
    auto itFrom = kbbFile.begin();
    for (;;) {
        const auto itKey = std::search(itFrom, kbbFile.end(), abyKey.begin(), abyKey.end());
        if (static_cast<std::size_t>(std::distance(itKey, kbbFile.end())) < FIXED_OFFSET + 16) return DriverVersion();
        const auto cFixed = static_cast<std::size_t>(std::distance(kbbFile.begin(), itKey)) + FIXED_OFFSET;
        if (DwordAt(kbbFile, cFixed) == SIGNATURE) {
            const DWORD dwHigh = DwordAt(kbbFile, cFixed + 8);
            const DWORD dwLow = DwordAt(kbbFile, cFixed + 12);
            return {static_cast<WORD>(dwHigh >> 16), static_cast<WORD>(dwHigh), static_cast<WORD>(dwLow >> 16),
                    static_cast<WORD>(dwLow)};
        }
        itFrom = std::next(itKey);
    }
}

bool vlm::IsShippedMonitorNewer() {
    CXString csSystem;
    if (GetSystemFolder(csSystem) != Status::Success) return true;
    if (csSystem.IsEmpty()) return false;
    const CXString csDriver = GetDriverFolder();
    if (csDriver.IsEmpty()) return true;
    ByteBuffer bbShipped;
    const Status status = ReadWhole(csDriver + MONITOR_FILE, bbShipped);
    if (status != Status::Success) return !IsMissing(status);
    return FindFileVersion(bbShipped) > VelomPortMonitor::GetVersionOfFile(csSystem + MONITOR_FILE);
}

DriverVersion VelomPortMonitor::GetVersionOfFile(const CXString& kcsPath) noexcept {
    return vlm::NoThrow(
        [&] {
            ByteBuffer bbFile;
            return ReadWhole(kcsPath, bbFile) == Status::Success ? vlm::FindFileVersion(bbFile) : DriverVersion();
        },
        DriverVersion());
}

_VelomPortMonitorStatus VelomPortMonitor::CopyOrReplaceLoader() {
    CXString csFile(vlm::LOADER_FILE);
    return CommonCopyOrReplace(csFile);
}

_VelomPortMonitorStatus VelomPortMonitor::CopyOrReplaceMonitor() {
    CXString csFile(vlm::MONITOR_FILE);
    return CommonCopyOrReplace(csFile);
}

_VelomPortMonitorStatus VelomPortMonitor::CommonCopyOrReplace(CXString& rcsFile) {
    using enum _VelomPortMonitorStatus;
    CXString csSystem;
    Status status = vlm::GetSystemFolder(csSystem);
    if (status == Status::Success && csSystem.IsEmpty()) return VPMS_NO_FOLDER;
    const CXString csDriver = vlm::GetDriverFolder();
    if (status == Status::Success && csDriver.IsEmpty()) status = Status::PathNotFound;
    if (status != Status::Success) {
        m_dwLastStatus = vlm::ToDword(status);
        return VPMS_FAILED;
    }
    const CXString csSource = csDriver + rcsFile;
    rcsFile = csSystem + rcsFile;
    ByteBuffer bbShipped;
    status = ReadWhole(csSource, bbShipped);
    if (IsMissing(status)) return VPMS_SOURCE_MISSING;
    if (status == Status::Success) {
        ByteBuffer bbThere;
        const Status statusOfThere = ReadWhole(rcsFile, bbThere);
        if (statusOfThere == Status::Success && vlm::FindFileVersion(bbShipped) <= vlm::FindFileVersion(bbThere)) {
            return VPMS_UP_TO_DATE;
        }
        status = TryWriteBesideAndReplace(rcsFile, bbShipped);
    }
    m_dwLastStatus = vlm::ToDword(status);
    if (status == Status::Success) return VPMS_DONE;
    VLM_REPORT_ERROR(DebugCategory::InstManager, VTEXT("The file '%s' cannot be copied to '%s'! %s"), csSource, rcsFile,
                     vlm::TextOfStatus(status));
    return status == Status::AccessDenied ? VPMS_ACCESS_DENIED : VPMS_FAILED;
}
