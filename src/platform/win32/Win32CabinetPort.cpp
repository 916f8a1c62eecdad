/// @file
/// The system's cabinet library (cabinet.dll, FCI and FDI) behind the cabinet port.
#include "platform/win32/Win32CabinetPort.h"

// The cabinet library's headers need the system's before them.
#include <windows.h>

#include <errno.h>
#include <fci.h>
#include <fcntl.h>
#include <fdi.h>

#include <cstdio>
#include <cstring>
#include <functional>
#include <utility>

#include "platform/CabinetPort.h"

namespace vlm {

namespace {

constexpr UINT TRANSFER_FAILED = 0xFFFFFFFF;
constexpr ULONG LARGEST_CABINET = 0x7FFFFFFF;

/// The call under way.  FDI hands no context to its file callbacks, and neither interface to the allocator, so the
/// running call is found through `gpCall`, which is valid while `gCallLock` is held.
struct Call {
    CabinetFiles& rFiles;
    CabinetMembers* pMembers = nullptr;
    unsigned cTemporaryFiles = 0;
    bool fCallbackFailed = false;  ///< the library overlooks some failures of its callbacks; this does not
    int iFailedOperation = 0;      ///< the code to answer for such a failure when the library reports none
};

constinit SRWLOCK gCallLock = SRWLOCK_INIT;
constinit Call* gpCall = nullptr;

class CallScope {
public:
    explicit CallScope(Call& rCall) noexcept {
        AcquireSRWLockExclusive(&gCallLock);
        gpCall = &rCall;
    }
    ~CallScope() {
        gpCall = nullptr;
        ReleaseSRWLockExclusive(&gCallLock);
    }
    CallScope(const CallScope&) = delete;
    CallScope& operator=(const CallScope&) = delete;
};

void Remember(int iOperation) noexcept {
    if (!gpCall->fCallbackFailed) gpCall->iFailedOperation = iOperation;
    gpCall->fCallbackFailed = true;
}

bool IsExtraction() noexcept {
    return gpCall->pMembers != nullptr;
}

int AllocationCode() noexcept {
    return IsExtraction() ? static_cast<int>(CabinetExtractError::Allocation)
                          : static_cast<int>(CabinetCompressError::Allocation);
}

int ReadCode() noexcept {
    return IsExtraction() ? static_cast<int>(CabinetExtractError::CorruptCabinet)
                          : static_cast<int>(CabinetCompressError::ReadSource);
}

int WriteCode() noexcept {
    return IsExtraction() ? static_cast<int>(CabinetExtractError::TargetFile)
                          : static_cast<int>(CabinetCompressError::CabinetFile);
}

/// Memory for the rest of an extraction that has run out of it.  Some versions of the library do not look whether they
/// were given memory for their code tables; they get it from here, and the next read ends the extraction.  Used under
/// `gCallLock`; starts anew whenever nothing of it is in use.
class Reserve {
public:
    void* Allocate(std::size_t cBytes) noexcept {
        if (m_cBlocks == 0) m_cUsed = 0;
        const std::size_t cRounded = (cBytes + ALIGNMENT - 1) / ALIGNMENT * ALIGNMENT;
        if (cBytes > SIZE || cRounded > SIZE - m_cUsed) return nullptr;
        ++m_cBlocks;
        return m_abyMemory + std::exchange(m_cUsed, m_cUsed + cRounded);
    }
    /// @return false when the block is not from here.
    bool Release(const void* pMemory) noexcept {
        const auto* const pby = static_cast<const BYTE*>(pMemory);
        const std::less<const BYTE*> Before;
        if (Before(pby, m_abyMemory) || !Before(pby, m_abyMemory + SIZE)) return false;
        --m_cBlocks;
        return true;
    }

private:
    static constexpr std::size_t SIZE = 256 * 1024;
    static constexpr std::size_t ALIGNMENT = 16;

    alignas(ALIGNMENT) BYTE m_abyMemory[SIZE] = {};
    std::size_t m_cUsed = 0;
    std::size_t m_cBlocks = 0;
};
constinit Reserve gReserve;

void* DIAMONDAPI OnAllocate(ULONG cBytes) noexcept {
    void* const pMemory = gpCall->rFiles.Allocate(cBytes);
    if (pMemory) return pMemory;
    Remember(AllocationCode());
    return IsExtraction() ? gReserve.Allocate(cBytes) : nullptr;
}

void DIAMONDAPI OnRelease(void* pMemory) noexcept {
    if (pMemory && !gReserve.Release(pMemory)) gpCall->rFiles.Release(pMemory);
}

INT_PTR OpenFile(const char* pszName, int iFlags, int iFailureCode) noexcept {
    const auto eMode = (iFlags & _O_CREAT) ? CabinetFiles::Mode::CreateReadWrite : CabinetFiles::Mode::Read;
    const INT_PTR hFile = gpCall->rFiles.Open(pszName, eMode);
    if (hFile == -1) Remember(iFailureCode);
    return hFile;
}

UINT DIAMONDAPI OnRead(INT_PTR hFile, void* pTarget, UINT cBytes) noexcept {
    if (hFile == -1) return 0;  // the library's own handle for a member without bytes
    if (gpCall->fCallbackFailed) return TRANSFER_FAILED;
    const UINT cRead = gpCall->rFiles.Read(hFile, pTarget, cBytes);
    if (cRead == TRANSFER_FAILED) Remember(ReadCode());
    return cRead;
}

UINT DIAMONDAPI OnWrite(INT_PTR hFile, void* pSource, UINT cBytes) noexcept {
    const UINT cWritten = gpCall->rFiles.Write(hFile, pSource, cBytes);
    if (cWritten != cBytes) Remember(WriteCode());
    return cWritten;
}

int DIAMONDAPI OnClose(INT_PTR hFile) noexcept {
    if (hFile == -1) return 0;
    const int iResult = gpCall->rFiles.Close(hFile);
    if (iResult != 0) Remember(WriteCode());
    return iResult;
}

LONG DIAMONDAPI OnSeek(INT_PTR hFile, LONG lDistance, int iOrigin) noexcept {
    if (hFile == -1) return 0;
    const LONG lPosition = gpCall->rFiles.Seek(hFile, lDistance, iOrigin);
    if (lPosition == -1) Remember(ReadCode());
    return lPosition;
}

// ---- compression ----

INT_PTR DIAMONDAPI OnCompressOpen(char* pszName, int iFlags, int, int* piError, void*) noexcept {
    const INT_PTR hFile = OpenFile(pszName, iFlags, static_cast<int>(CabinetCompressError::CabinetFile));
    if (hFile == -1) *piError = ENOENT;
    return hFile;
}

UINT DIAMONDAPI OnCompressRead(INT_PTR hFile, void* pTarget, UINT cBytes, int* piError, void*) noexcept {
    const UINT cRead = OnRead(hFile, pTarget, cBytes);
    if (cRead == TRANSFER_FAILED) *piError = EIO;
    return cRead;
}

UINT DIAMONDAPI OnCompressWrite(INT_PTR hFile, void* pSource, UINT cBytes, int* piError, void*) noexcept {
    const UINT cWritten = OnWrite(hFile, pSource, cBytes);
    if (cWritten != cBytes) *piError = ENOSPC;
    return cWritten;
}

int DIAMONDAPI OnCompressClose(INT_PTR hFile, int* piError, void*) noexcept {
    const int iResult = OnClose(hFile);
    if (iResult != 0) *piError = EIO;
    return iResult;
}

LONG DIAMONDAPI OnCompressSeek(INT_PTR hFile, LONG lDistance, int iOrigin, int* piError, void*) noexcept {
    const LONG lPosition = OnSeek(hFile, lDistance, iOrigin);
    if (lPosition == -1) *piError = EINVAL;
    return lPosition;
}

int DIAMONDAPI OnCompressDelete(char* pszName, int* piError, void*) noexcept {
    const int iResult = gpCall->rFiles.Delete(pszName);
    if (iResult != 0) *piError = ENOENT;
    return iResult;
}

BOOL DIAMONDAPI OnTemporaryName(char* pszName, int cchName, void*) noexcept {
    const int cch =
        std::snprintf(pszName, static_cast<std::size_t>(cchName), "//Temporary-%u//", gpCall->cTemporaryFiles++);
    return cch > 0 && cch < cchName;
}

INT_PTR DIAMONDAPI OnOpenInfo(char* pszName, USHORT* pwDate, USHORT* pwTime, USHORT* pwAttributes, int* piError,
                              void*) noexcept {
    *pwDate = CABINET_MEMBER_DATE;
    *pwTime = CABINET_MEMBER_TIME;
    *pwAttributes = CABINET_MEMBER_ATTRIBUTES;
    const INT_PTR hFile = OpenFile(pszName, _O_RDONLY, static_cast<int>(CabinetCompressError::OpenSource));
    if (hFile == -1) *piError = ENOENT;
    return hFile;
}

int DIAMONDAPI OnFilePlaced(PCCAB, char*, LONG, BOOL, void*) noexcept {
    return 0;
}

/// One cabinet only: asking for a second ends the work.
BOOL DIAMONDAPI OnNextCabinet(PCCAB, ULONG, void*) noexcept {
    return FALSE;
}

LONG DIAMONDAPI OnStatus(UINT uType, ULONG, ULONG cbCabinet, void*) noexcept {
    return uType == statusCabinet ? static_cast<LONG>(cbCabinet) : 0;
}

/// Copies a bounded name; false when it does not fit.
bool CopyName(char (&rTarget)[256], const char* pszSource) noexcept {
    const std::size_t cch = std::strlen(pszSource);
    if (cch >= sizeof rTarget) return false;
    std::memcpy(rTarget, pszSource, cch + 1);
    return true;
}

// ---- extraction ----

INT_PTR DIAMONDAPI OnExtractOpen(char* pszName, int iFlags, int) noexcept {
    return OpenFile(pszName, iFlags, static_cast<int>(CabinetExtractError::CabinetNotFound));
}

INT_PTR DIAMONDAPI OnNotify(FDINOTIFICATIONTYPE eType, PFDINOTIFICATION pNotification) noexcept {
    switch (eType) {
        case fdintCOPY_FILE: {
            const INT_PTR hTarget = gpCall->pMembers->OnMember(
                pNotification->psz1, static_cast<DWORD>(pNotification->cb), pNotification->attribs);
            if (hTarget == -1) Remember(static_cast<int>(CabinetExtractError::UserAbort));
            return hTarget;
        }
        case fdintCLOSE_FILE_INFO:
            if (gpCall->pMembers->OnMemberDone(pNotification->hf)) return TRUE;
            Remember(static_cast<int>(CabinetExtractError::UserAbort));
            return -1;
        case fdintPARTIAL_FILE:
        case fdintNEXT_CABINET:
            Remember(static_cast<int>(CabinetExtractError::WrongCabinet));
            return -1;
        default:
            return 0;
    }
}

class Win32CabinetPort final : public CabinetPort {
public:
    bool Compress(CabinetFiles& rFiles, const char* pszSource, const char* pszMember, const char* pszImage, LONG lLevel,
                  CabinetStep& reStep, CabinetError& rError) noexcept override;
    bool Extract(CabinetFiles& rFiles, CabinetMembers& rMembers, const char* pszImage, CabinetStep& reStep,
                 CabinetError& rError) noexcept override;
};

/// The outcome of a call: the library's word, unless a callback failed behind its back.
bool Finish(const Call& rCall, bool fLibrarySucceeded, CabinetStep eStep, const ERF& rErf, CabinetStep& reStep,
            CabinetError& rError) noexcept {
    const bool fSucceeded = fLibrarySucceeded && !rCall.fCallbackFailed;
    reStep = fSucceeded ? CabinetStep::None : eStep;
    rError = CabinetError{};
    if (fSucceeded) return true;
    rError.iOperation = rCall.fCallbackFailed ? rCall.iFailedOperation : rErf.erfOper;
    rError.iType = rErf.erfType;
    return false;
}

bool Win32CabinetPort::Compress(CabinetFiles& rFiles, const char* pszSource, const char* pszMember,
                                const char* pszImage, LONG, CabinetStep& reStep, CabinetError& rError) noexcept {
    Call call{rFiles};
    ERF erf{};
    char szSource[256];
    char szMember[256];
    CCAB cabinet{};
    cabinet.cb = LARGEST_CABINET;
    cabinet.cbFolderThresh = LARGEST_CABINET;
    if (!CopyName(szSource, pszSource) || !CopyName(szMember, pszMember) || !CopyName(cabinet.szCab, pszImage)) {
        erf.erfOper = static_cast<int>(CabinetCompressError::OpenSource);
        return Finish(call, false, CabinetStep::Create, erf, reStep, rError);
    }

    const CallScope scope(call);
    const HFCI hContext =
        FCICreate(&erf, OnFilePlaced, OnAllocate, OnRelease, OnCompressOpen, OnCompressRead, OnCompressWrite,
                  OnCompressClose, OnCompressSeek, OnCompressDelete, OnTemporaryName, &cabinet, &call);
    if (!hContext) return Finish(call, false, CabinetStep::Create, erf, reStep, rError);

    CabinetStep eStep = CabinetStep::AddFile;
    bool fSucceeded =
        FCIAddFile(hContext, szSource, szMember, FALSE, OnNextCabinet, OnStatus, OnOpenInfo, tcompTYPE_MSZIP);
    if (fSucceeded && !call.fCallbackFailed) {
        eStep = CabinetStep::FlushFolder;
        fSucceeded = FCIFlushFolder(hContext, OnNextCabinet, OnStatus);
    }
    if (fSucceeded && !call.fCallbackFailed) {
        eStep = CabinetStep::FlushCabinet;
        fSucceeded = FCIFlushCabinet(hContext, FALSE, OnNextCabinet, OnStatus);
    }
    const bool fDone = fSucceeded && !call.fCallbackFailed;
    const ERF erfWork = erf;
    const bool fDestroyed = FCIDestroy(hContext);
    if (!fDone) return Finish(call, false, eStep, erfWork, reStep, rError);
    return Finish(call, fDestroyed, CabinetStep::Destroy, erf, reStep, rError);
}

bool Win32CabinetPort::Extract(CabinetFiles& rFiles, CabinetMembers& rMembers, const char* pszImage,
                               CabinetStep& reStep, CabinetError& rError) noexcept {
    Call call{rFiles, &rMembers};
    ERF erf{};
    char szImage[256];
    char szPath[1] = {};
    if (!CopyName(szImage, pszImage)) {
        erf.erfOper = static_cast<int>(CabinetExtractError::CabinetNotFound);
        return Finish(call, false, CabinetStep::Create, erf, reStep, rError);
    }

    const CallScope scope(call);
    const HFDI hContext =
        FDICreate(OnAllocate, OnRelease, OnExtractOpen, OnRead, OnWrite, OnClose, OnSeek, cpuUNKNOWN, &erf);
    if (!hContext) return Finish(call, false, CabinetStep::Create, erf, reStep, rError);

    const bool fCopied = FDICopy(hContext, szImage, szPath, 0, OnNotify, nullptr, nullptr);
    const bool fDone = fCopied && !call.fCallbackFailed;
    const ERF erfWork = erf;
    const bool fDestroyed = FDIDestroy(hContext);
    if (!fDone) return Finish(call, false, CabinetStep::Copy, erfWork, reStep, rError);
    return Finish(call, fDestroyed, CabinetStep::Destroy, erf, reStep, rError);
}

/// Never destroyed: static objects of other modules may still call when this one's have gone.
union Immortal {
    constexpr Immortal() noexcept : oPort() {}
    ~Immortal() {}
    Win32CabinetPort oPort;
};
constinit Immortal goInstance;

}  // namespace

CabinetPort& Win32CabinetPortInstance() noexcept {
    return goInstance.oPort;
}

}  // namespace vlm
