/// @file
/// The host's cabinet library behind the cabinet port: an image writer over zlib, a reader over libmspack.
#include "platform/host/HostCabinetPort.h"

#include <mspack.h>
#include <cerrno>

#include <cstring>
#include <limits>
#include <mutex>
#include <new>

#include "platform/CabinetPort.h"
#include "platform/host/HostCabinetWriter.h"

namespace vlm {

namespace {

constexpr int READ_BUFFER_SIZE = 65536;
constexpr char TARGET_NAME[] = "target";

/// The extraction under way.  The reader copies its table of calls, so nothing can travel beside it, and its release
/// call is handed nothing but the block; the running extraction is found through `gpReader`, which is valid while
/// `gReaderLock` is held.
struct Reader {
    CabinetFiles& rFiles;
    std::intptr_t hTarget = -1;
    CabinetExtractError eCallbackError = CabinetExtractError::None;
};

constinit std::mutex gReaderLock;
constinit Reader* gpReader = nullptr;

class ReaderScope {
public:
    explicit ReaderScope(Reader& rReader) noexcept : m_guard(gReaderLock) { gpReader = &rReader; }
    ~ReaderScope() { gpReader = nullptr; }
    ReaderScope(const ReaderScope&) = delete;
    ReaderScope& operator=(const ReaderScope&) = delete;

private:
    std::lock_guard<std::mutex> m_guard;
};

void Remember(CabinetExtractError eError) noexcept {
    if (gpReader->eCallbackError == CabinetExtractError::None) gpReader->eCallbackError = eError;
}

/// One open file: the image, or the target, which the caller has opened and closes.
struct ReaderFile : mspack_file {
    ReaderFile(std::intptr_t hFileArg, bool fOwnedArg) noexcept : mspack_file{}, hFile(hFileArg), fOwned(fOwnedArg) {}
    std::intptr_t hFile;
    bool fOwned;
};

ReaderFile& Of(mspack_file* pFile) noexcept {
    return *static_cast<ReaderFile*>(pFile);
}

void* OnAllocate(mspack_system*, std::size_t cBytes) noexcept {
    void* pMemory = gpReader->rFiles.Allocate(cBytes);
    if (!pMemory) Remember(CabinetExtractError::Allocation);
    return pMemory;
}

void OnRelease(void* pMemory) noexcept {
    if (pMemory) gpReader->rFiles.Release(pMemory);
}

mspack_file* OnOpen(mspack_system* pSystem, const char* pszName, int iMode) noexcept {
    void* pMemory = OnAllocate(pSystem, sizeof(ReaderFile));
    if (!pMemory) return nullptr;
    if (iMode != MSPACK_SYS_OPEN_READ) return new (pMemory) ReaderFile(gpReader->hTarget, false);

    const std::intptr_t hImage = gpReader->rFiles.Open(pszName, CabinetFiles::Mode::Read);
    if (hImage != -1) return new (pMemory) ReaderFile(hImage, true);
    Remember(CabinetExtractError::CabinetNotFound);
    OnRelease(pMemory);
    return nullptr;
}

void OnClose(mspack_file* pFile) noexcept {
    ReaderFile& rFile = Of(pFile);
    if (rFile.fOwned && gpReader->rFiles.Close(rFile.hFile) != 0) {
        Remember(CabinetExtractError::CorruptCabinet);
    }
    OnRelease(&rFile);
}

int OnRead(mspack_file* pFile, void* pTarget, int cBytes) noexcept {
    ReaderFile& rFile = Of(pFile);
    const UINT cRead = gpReader->rFiles.Read(rFile.hFile, pTarget, static_cast<UINT>(cBytes));
    if (cRead <= static_cast<UINT>(cBytes)) return static_cast<int>(cRead);
    Remember(CabinetExtractError::CorruptCabinet);
    return -1;
}

int OnWrite(mspack_file* pFile, void* pSource, int cBytes) noexcept {
    ReaderFile& rFile = Of(pFile);
    const UINT cWritten = gpReader->rFiles.Write(rFile.hFile, pSource, static_cast<UINT>(cBytes));
    if (cWritten == static_cast<UINT>(cBytes)) return cBytes;
    Remember(CabinetExtractError::TargetFile);
    return -1;
}

int OnSeek(mspack_file* pFile, off_t llDistance, int iMode) noexcept {
    ReaderFile& rFile = Of(pFile);
    const int iOrigin = iMode == MSPACK_SYS_SEEK_START ? 0 : iMode == MSPACK_SYS_SEEK_CUR ? 1 : 2;
    const bool fFits = llDistance >= std::numeric_limits<LONG>::min() && llDistance <= std::numeric_limits<LONG>::max();
    if (fFits && gpReader->rFiles.Seek(rFile.hFile, static_cast<LONG>(llDistance), iOrigin) != -1) return 0;
    Remember(CabinetExtractError::CorruptCabinet);
    return -1;
}

off_t OnTell(mspack_file* pFile) noexcept {
    const LONG lPosition = gpReader->rFiles.Seek(Of(pFile).hFile, 0, 1);
    if (lPosition == -1) Remember(CabinetExtractError::CorruptCabinet);
    return lPosition;
}

void OnMessage(mspack_file*, const char*, ...) noexcept {}

void OnCopy(void* pSource, void* pTarget, std::size_t cBytes) noexcept {
    std::memmove(pTarget, pSource, cBytes);
}

mspack_system MakeSystem() noexcept {
    mspack_system system{};
    system.open = OnOpen;
    system.close = OnClose;
    system.read = OnRead;
    system.write = OnWrite;
    system.seek = OnSeek;
    system.tell = OnTell;
    system.message = OnMessage;
    system.alloc = OnAllocate;
    system.free = OnRelease;
    system.copy = OnCopy;
    return system;
}

CabinetExtractError FromReader(int iError) noexcept {
    switch (iError) {
        case MSPACK_ERR_OK:
            return CabinetExtractError::None;
        case MSPACK_ERR_OPEN:
            return CabinetExtractError::CabinetNotFound;
        case MSPACK_ERR_SIGNATURE:
            return CabinetExtractError::NotACabinet;
        case MSPACK_ERR_NOMEMORY:
            return CabinetExtractError::Allocation;
        case MSPACK_ERR_WRITE:
            return CabinetExtractError::TargetFile;
        case MSPACK_ERR_DECRUNCH:
            return CabinetExtractError::DecompressorFailed;
        default:
            return CabinetExtractError::CorruptCabinet;
    }
}

/// The reader and its open cabinet, given back on every way out.
class OpenCabinet {
public:
    OpenCabinet() noexcept : m_pEngine(mspack_create_cab_decompressor(&m_oSystem)) {}
    ~OpenCabinet() {
        if (m_pCabinet) m_pEngine->close(m_pEngine, m_pCabinet);
        if (m_pEngine) mspack_destroy_cab_decompressor(m_pEngine);
    }
    OpenCabinet(const OpenCabinet&) = delete;
    OpenCabinet& operator=(const OpenCabinet&) = delete;

    bool IsReady() const noexcept { return m_pEngine != nullptr; }
    CabinetExtractError Open(const char* pszImage) noexcept {
        m_pEngine->set_param(m_pEngine, MSCABD_PARAM_DECOMPBUF, READ_BUFFER_SIZE);
        m_pCabinet = m_pEngine->open(m_pEngine, pszImage);
        return m_pCabinet ? CabinetExtractError::None : FromReader(m_pEngine->last_error(m_pEngine));
    }
    mscabd_file* FirstMember() const noexcept { return m_pCabinet->files; }
    CabinetExtractError Extract(mscabd_file* pMember) noexcept {
        return FromReader(m_pEngine->extract(m_pEngine, pMember, TARGET_NAME));
    }

private:
    mspack_system m_oSystem = MakeSystem();
    mscab_decompressor* m_pEngine;
    mscabd_cabinet* m_pCabinet = nullptr;
};

CabinetExtractError ExtractAll(Reader& rReader, CabinetMembers& rMembers, const char* pszImage,
                               CabinetStep& reStep) noexcept {
    reStep = CabinetStep::Create;
    OpenCabinet cabinet;
    if (!cabinet.IsReady()) return CabinetExtractError::Allocation;

    reStep = CabinetStep::Copy;
    if (const auto eError = cabinet.Open(pszImage); eError != CabinetExtractError::None) return eError;
    for (mscabd_file* pMember = cabinet.FirstMember(); pMember; pMember = pMember->next) {
        rReader.hTarget = rMembers.OnMember(pMember->filename, pMember->length, static_cast<WORD>(pMember->attribs));
        if (rReader.hTarget == -1) return CabinetExtractError::UserAbort;
        if (rReader.hTarget == 0) continue;
        const auto eError = pMember->length == 0 ? CabinetExtractError::None : cabinet.Extract(pMember);
        if (eError != CabinetExtractError::None) {
            rReader.rFiles.Close(rReader.hTarget);
            return eError;
        }
        if (!rMembers.OnMemberDone(rReader.hTarget)) return CabinetExtractError::UserAbort;
    }
    return CabinetExtractError::None;
}

/// The C runtime's number that goes with a failure, as the system's library gives it.
template <typename ErrorEnum>
CabinetError MakeError(ErrorEnum eError) noexcept {
    CabinetError error;
    error.iOperation = static_cast<int>(eError);
    if (eError == ErrorEnum::Allocation) error.iType = ENOMEM;
    return error;
}

class HostCabinetPort final : public CabinetPort {
public:
    bool Compress(CabinetFiles& rFiles, const char* pszSource, const char* pszMember, const char* pszImage, LONG lLevel,
                  CabinetStep& reStep, CabinetError& rError) noexcept override {
        HostCabinetWriter writer(rFiles, lLevel);
        const CabinetCompressError eError = writer.Write(pszSource, pszMember, pszImage);
        const bool fSucceeded = eError == CabinetCompressError::None;
        reStep = fSucceeded ? CabinetStep::None : writer.Step();
        rError = MakeError(eError);
        return fSucceeded;
    }

    bool Extract(CabinetFiles& rFiles, CabinetMembers& rMembers, const char* pszImage, CabinetStep& reStep,
                 CabinetError& rError) noexcept override {
        Reader reader{rFiles};
        const ReaderScope scope(reader);
        CabinetExtractError eError = ExtractAll(reader, rMembers, pszImage, reStep);
        if (reader.eCallbackError != CabinetExtractError::None) eError = reader.eCallbackError;
        const bool fSucceeded = eError == CabinetExtractError::None;
        if (fSucceeded) reStep = CabinetStep::None;
        rError = MakeError(eError);
        return fSucceeded;
    }
};

/// Never destroyed: static objects of other modules may still call when this one's have gone.
union Immortal {
    constexpr Immortal() noexcept : oPort() {}
    ~Immortal() {}
    HostCabinetPort oPort;
};
constinit Immortal goInstance;

}  // namespace

CabinetPort& HostCabinetPortInstance() noexcept {
    return goInstance.oPort;
}

}  // namespace vlm
