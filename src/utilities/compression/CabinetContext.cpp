/// @file
/// One operation of the cabinet library on files in memory.
#include "utilities/compression/CabinetContext.h"

#include <limits>
#include <new>
#include <string_view>

#include "utilities/Bounds.h"
#include "utilities/compression/CabinetErrorText.h"
#include "utilities/debuggingandexceptions/NoThrow.h"
#include "utilities/debuggingandexceptions/RaiseMacros.h"

namespace vlm {

namespace {

constexpr UINT TRANSFER_FAILED = 0xFFFFFFFF;
constexpr std::intptr_t NO_HANDLE = -1;  // also what the system's library passes for a member without bytes

}  // namespace

CabinetContext::~CabinetContext() {
    while (m_pBlocks)
        Release(m_pBlocks + 1);
}

void CabinetContext::AddFile(const char* pszName, const BYTE* pbyData, std::size_t cBytes) {
    m_mapFiles.insert_or_assign(pszName, CabinetMemoryFile(pbyData, cBytes));
}

void CabinetContext::AddTarget(const char* pszName, std::size_t cBytes, std::size_t cLimit) {
    CabinetMemoryFile& rFile = m_mapFiles[pszName];
    rFile.Reserve(cBytes);
    rFile.SetLimit(cLimit);
}

std::vector<BYTE> CabinetContext::TakeFile(const char* pszName) noexcept {
    CabinetMemoryFile* const pFile = Find(pszName);
    return pFile ? pFile->Take() : std::vector<BYTE>();
}

CabinetMemoryFile* CabinetContext::Find(const char* pszName) noexcept {
    const auto it = m_mapFiles.find(std::string_view(pszName));
    return it == m_mapFiles.end() ? nullptr : &it->second;
}

CabinetContext::OpenFile* CabinetContext::FromHandle(std::intptr_t hFile) noexcept {
    const bool fKnown = hFile >= 1 && static_cast<std::size_t>(hFile) <= m_vOpen.size();
    OpenFile* const pOpen = fKnown ? &m_vOpen[static_cast<std::size_t>(hFile) - 1] : nullptr;
    if (pOpen && pOpen->pContents) return pOpen;
    Remember(Failure::BadHandle);
    return nullptr;
}

/// The first failure is the cause; what follows are its consequences.
void CabinetContext::Remember(Failure eFailure) noexcept {
    if (m_eFailure == Failure::None) m_eFailure = eFailure;
}

std::intptr_t CabinetContext::Open(const char* pszName, Mode eMode) noexcept {
    try {
        CabinetMemoryFile* pFile = Find(pszName);
        if (eMode == Mode::Read && !pFile) {
            Remember(Failure::MissingFile);
            return NO_HANDLE;
        }
        if (!pFile) {
            pFile = &m_mapFiles[pszName];
        } else if (eMode == Mode::CreateReadWrite) {
            pFile->Truncate();
        }
        m_vOpen.push_back(OpenFile{pFile});
        return static_cast<std::intptr_t>(m_vOpen.size());
    } catch (const std::bad_alloc&) {
        Remember(Failure::Memory);
        return NO_HANDLE;
    }
}

UINT CabinetContext::Read(std::intptr_t hFile, void* pTarget, UINT cBytes) noexcept {
    if (hFile == NO_HANDLE) return 0;
    OpenFile* const pOpen = FromHandle(hFile);
    if (!pOpen) return TRANSFER_FAILED;
    const std::size_t cRead = pOpen->pContents->Read(pOpen->uPosition, pTarget, cBytes);
    pOpen->uPosition += cRead;
    return static_cast<UINT>(cRead);
}

UINT CabinetContext::Write(std::intptr_t hFile, const void* pSource, UINT cBytes) noexcept {
    // A library that overlooks a failed write goes on with the next one, which would land where the lost one belonged.
    OpenFile* const pOpen = m_eFailure == Failure::None ? FromHandle(hFile) : nullptr;
    if (!pOpen) return TRANSFER_FAILED;
    try {
        if (pOpen->pContents->Write(pOpen->uPosition, pSource, cBytes)) {
            pOpen->uPosition += cBytes;
            return cBytes;
        }
        Remember(pOpen->pContents->IsWritable() ? Failure::TargetFull : Failure::ReadOnly);
    } catch (const std::bad_alloc&) {
        Remember(Failure::Memory);
    }
    return TRANSFER_FAILED;
}

LONG CabinetContext::Seek(std::intptr_t hFile, LONG lDistance, int iOrigin) noexcept {
    if (hFile == NO_HANDLE) return 0;
    OpenFile* const pOpen = FromHandle(hFile);
    if (!pOpen) return -1;
    const std::size_t uBase = iOrigin == 0 ? 0 : iOrigin == 1 ? pOpen->uPosition : pOpen->pContents->Size();
    const auto llPosition = static_cast<LONGLONG>(uBase) + lDistance;
    if (llPosition < 0 || llPosition > std::numeric_limits<LONG>::max()) {
        Remember(Failure::BadPosition);
        return -1;
    }
    pOpen->uPosition = static_cast<std::size_t>(llPosition);
    return static_cast<LONG>(llPosition);
}

int CabinetContext::Close(std::intptr_t hFile) noexcept {
    if (hFile == NO_HANDLE) return 0;
    OpenFile* const pOpen = FromHandle(hFile);
    if (!pOpen) return -1;
    *pOpen = OpenFile{};
    return 0;
}

/// The library deletes its temporary files.  The contents go; the entry stays for handles that are open on it.
int CabinetContext::Delete(const char* pszName) noexcept {
    CabinetMemoryFile* const pFile = Find(pszName);
    if (!pFile) return -1;
    pFile->Take();
    return 0;
}

void* CabinetContext::Allocate(std::size_t cBytes) noexcept {
    if (cBytes > bounds::MAX_CABINET_WORK_BYTES - m_cWorkBytes) {
        Remember(Failure::WorkMemory);
        return nullptr;
    }
    void* const pMemory = ::operator new(sizeof(BlockHead) + cBytes, std::nothrow);
    if (!pMemory) {
        Remember(Failure::Memory);
        return nullptr;
    }
    auto* const pHead = new (pMemory) BlockHead{cBytes, m_pBlocks, nullptr};
    if (m_pBlocks) m_pBlocks->pPrevious = pHead;
    m_pBlocks = pHead;
    m_cWorkBytes += cBytes;
    return pHead + 1;
}

void CabinetContext::Release(void* pMemory) noexcept {
    BlockHead* const pHead = static_cast<BlockHead*>(pMemory) - 1;
    // NOLINTNEXTLINE(clang-analyzer-cplusplus.NewDelete): the neighbours are live, a released block leaves the chain
    (pHead->pPrevious ? pHead->pPrevious->pNext : m_pBlocks) = pHead->pNext;
    if (pHead->pNext) pHead->pNext->pPrevious = pHead->pPrevious;
    m_cWorkBytes -= pHead->cBytes;
    ::operator delete(pHead);
}

void CabinetContext::ThrowCallbackFailure() const {
    static constexpr const XCHAR* TEXTS[] = {
        VTEXT(""),
        VTEXT(""),
        VTEXT("The cabinet library asked for more working memory than it may have."),
        VTEXT("The cabinet library asked for a memory file that does not exist."),
        VTEXT("The cabinet library used a handle of a memory file that is not open."),
        VTEXT("The cabinet library wrote to a memory file that is for reading only."),
        VTEXT("The cabinet library wrote more to a memory file than it may hold."),
        VTEXT("The cabinet library moved to a position outside of what a memory file can have."),
    };
    if (m_eFailure == Failure::None) return;
    if (m_eFailure == Failure::Memory) ThrowOutOfMemory();
    VLM_THROW(ExceptionFileOperationCompression, VTEXT("%s"), TEXTS[static_cast<DWORD>(m_eFailure)]);
}

void CabinetContext::ThrowIfCompressionFailed(bool fSucceeded, CabinetStep eStep, const CabinetError& rError) const {
    if (fSucceeded) return;
    ThrowCallbackFailure();
    const auto eError = static_cast<CabinetCompressError>(rError.iOperation);
    if (eError == CabinetCompressError::Allocation) ThrowOutOfMemory();
    const CXString csError = DescribeCabinetError(eError, rError.iType);
    switch (eStep) {
        case CabinetStep::Create:
            VLM_THROW(ExceptionCompression, VTEXT("Cabinet Library returned NULL from FCICreate()! Error %s.\r\n%s"),
                      csError, VTEXT("The compression context could not be made."));
        case CabinetStep::AddFile:
            VLM_THROW(ExceptionCompression, VTEXT("Cabinet Library returned FALSE from FCIAddFile()! Error %s.\r\n%s"),
                      csError, VTEXT("The data could not be added to the cabinet image."));
        case CabinetStep::FlushFolder:
            VLM_THROW(ExceptionCompression,
                      VTEXT("Cabinet Library returned FALSE from FCIFlushFolder()! Error %s.\r\n%s"), csError,
                      VTEXT("The folder of the cabinet image could not be completed."));
        case CabinetStep::FlushCabinet:
            VLM_THROW(ExceptionCompression,
                      VTEXT("Cabinet Library returned FALSE from FCIFlushCabinet()! Error %s.\r\n%s"), csError,
                      VTEXT("The cabinet image could not be completed."));
        default:
            VLM_THROW(ExceptionCompression, VTEXT("Cabinet Library returned FALSE from FCIDestroy()! Error %s.\r\n%s"),
                      csError, VTEXT("The compression context could not be closed."));
    }
}

void CabinetContext::ThrowIfExtractionFailed(bool fSucceeded, CabinetStep eStep, const CabinetError& rError) const {
    if (fSucceeded) return;
    ThrowCallbackFailure();
    const auto eError = static_cast<CabinetExtractError>(rError.iOperation);
    if (eError == CabinetExtractError::Allocation) ThrowOutOfMemory();
    const CXString csError = DescribeCabinetError(eError, rError.iType);
    switch (eStep) {
        case CabinetStep::Create:
            VLM_THROW(ExceptionCompression, VTEXT("Cabinet Library returned NULL from FDICreate()! Error %s.\r\n%s"),
                      csError, VTEXT("The extraction context could not be made."));
        case CabinetStep::Copy:
            VLM_THROW(ExceptionCompression, VTEXT("Cabinet Library returned FALSE from FDICopy()! Error %s.\r\n%s"),
                      csError, VTEXT("The data could not be extracted from the cabinet image."));
        default:
            VLM_THROW(ExceptionCompression, VTEXT("Cabinet Library returned FALSE from FDIDestroy()! Error %s.\r\n%s"),
                      csError, VTEXT("The extraction context could not be closed."));
    }
}

}  // namespace vlm
