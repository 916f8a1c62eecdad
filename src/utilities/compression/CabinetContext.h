/// @file
/// One operation of the cabinet library on files in memory.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "platform/CabinetPort.h"
#include "utilities/compression/CabinetMemoryFile.h"

namespace vlm {

/// The files and the working memory of one compression or extraction, handed to the cabinet port as its callbacks.
///
/// **Ownership**: files are the context's until taken; handles that the library leaves open, and memory that it does
/// not give back, go with the context.  **Threads**: one.
/// **Failure**: a callback never throws and never reports; it remembers what went wrong and answers the library with a
/// failure.  `ThrowIfFailed` raises it once the library has returned.
class CabinetContext final : public CabinetFiles {
public:
    CabinetContext() noexcept = default;
    ~CabinetContext() override;
    CabinetContext(const CabinetContext&) = delete;
    CabinetContext& operator=(const CabinetContext&) = delete;

    /// Adds a file of borrowed bytes.  @throws std::bad_alloc.
    void AddFile(const char* pszName, const BYTE* pbyData, std::size_t cBytes);
    /// Adds an empty file with room for `cBytes`, to be written, that takes no more than `cLimit`.
    /// @throws std::bad_alloc.
    void AddTarget(const char* pszName, std::size_t cBytes, std::size_t cLimit = LARGEST_CABINET_DATA);
    /// Did the operation end because a target reached its limit?  What fitted is there then.
    bool IsTargetFull() const noexcept { return m_eFailure == Failure::TargetFull; }
    /// Hands over what was written to a file; empty when there is none of that name.
    std::vector<BYTE> TakeFile(const char* pszName) noexcept;

    /// After a compression: raises what a callback or the library failed at; returns after a success.
    /// @throws ExceptionOutOfMemory, ExceptionFileOperationCompression, ExceptionCompression.
    void ThrowIfCompressionFailed(bool fSucceeded, CabinetStep eStep, const CabinetError& rError) const;
    /// The same after an extraction.
    void ThrowIfExtractionFailed(bool fSucceeded, CabinetStep eStep, const CabinetError& rError) const;

    std::intptr_t Open(const char* pszName, Mode eMode) noexcept override;
    UINT Read(std::intptr_t hFile, void* pTarget, UINT cBytes) noexcept override;
    UINT Write(std::intptr_t hFile, const void* pSource, UINT cBytes) noexcept override;
    LONG Seek(std::intptr_t hFile, LONG lDistance, int iOrigin) noexcept override;
    int Close(std::intptr_t hFile) noexcept override;
    int Delete(const char* pszName) noexcept override;
    void* Allocate(std::size_t cBytes) noexcept override;
    void Release(void* pMemory) noexcept override;

private:
    struct OpenFile {
        CabinetMemoryFile* pContents = nullptr;  ///< null: closed
        std::size_t uPosition = 0;
    };
    /// What stands before each block of working memory.
    struct alignas(16) BlockHead {
        std::size_t cBytes;
        BlockHead* pNext;
        BlockHead* pPrevious;
    };
    /// What a callback failed at.
    enum class Failure : DWORD { None, Memory, WorkMemory, MissingFile, BadHandle, ReadOnly, TargetFull, BadPosition };

    CabinetMemoryFile* Find(const char* pszName) noexcept;
    OpenFile* FromHandle(std::intptr_t hFile) noexcept;
    void Remember(Failure eFailure) noexcept;
    void ThrowCallbackFailure() const;

    std::map<std::string, CabinetMemoryFile, std::less<>> m_mapFiles;  // by name; open handles point into it
    std::vector<OpenFile> m_vOpen;
    BlockHead* m_pBlocks = nullptr;
    std::size_t m_cWorkBytes = 0;
    Failure m_eFailure = Failure::None;
};

}  // namespace vlm
