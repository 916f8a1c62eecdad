/// @file
/// Port: the cabinet library (the published cabinet format, MSZIP compression).
#pragma once

#include "platform/WinTypes.h"

namespace vlm {

/// Fixed date (1997-03-12), time (11:13:52) and attributes (archive) of every member that the library writes, in the
/// format's own encoding: the same data always gives the same image.
inline constexpr WORD CABINET_MEMBER_DATE = 0x226C;
inline constexpr WORD CABINET_MEMBER_TIME = 0x59BA;
inline constexpr WORD CABINET_MEMBER_ATTRIBUTES = 0x20;

/// Operation codes of a failed compression (FCI).
enum class CabinetCompressError : int {
    None = 0,
    OpenSource = 1,
    ReadSource = 2,
    Allocation = 3,
    TemporaryFile = 4,
    BadCompressionType = 5,
    CabinetFile = 6,
    UserAbort = 7,
    CompressorFailed = 8,
};

/// Operation codes of a failed extraction (FDI).
enum class CabinetExtractError : int {
    None = 0,
    CabinetNotFound = 1,
    NotACabinet = 2,
    UnknownVersion = 3,
    CorruptCabinet = 4,
    Allocation = 5,
    BadCompressionType = 6,
    DecompressorFailed = 7,
    TargetFile = 8,
    ReserveMismatch = 9,
    WrongCabinet = 10,
    UserAbort = 11,
};

/// What the cabinet library left of its last failure: its own operation code and the C runtime's errno.
struct CabinetError {
    int iOperation = 0;  ///< CabinetCompressError or CabinetExtractError, 0 for none
    int iType = 0;       ///< errno or the system's number behind it
};

/// The files that a cabinet operation works on: all of them in the caller's memory.  After a failure some libraries
/// leave handles open: whoever implements this releases what is left when it goes. The port calls back on the calling
/// thread.  Implementations must not throw (they remember a failure and answer -1).
class CabinetFiles {
public:
    enum class Mode : DWORD { Read, CreateReadWrite };

    virtual ~CabinetFiles() = default;
    /// Mode CreateReadWrite makes the file, or empties it when it exists.
    /// @return a handle >= 1, or -1.
    virtual std::intptr_t Open(const char* pszName, Mode eMode) noexcept = 0;
    /// @return bytes transferred, or -1 (read: 0xFFFFFFFF).  A handle of -1 answers 0: the library passes it for an
    /// empty member.
    virtual UINT Read(std::intptr_t hFile, void* pTarget, UINT cBytes) noexcept = 0;
    virtual UINT Write(std::intptr_t hFile, const void* pSource, UINT cBytes) noexcept = 0;
    /// @param iOrigin 0 start, 1 position, 2 end.  @return the new position, or -1.
    virtual LONG Seek(std::intptr_t hFile, LONG lDistance, int iOrigin) noexcept = 0;
    virtual int Close(std::intptr_t hFile) noexcept = 0;
    virtual int Delete(const char* pszName) noexcept = 0;
    /// A block of working memory for the library; null when there is none or its bound is reached.
    virtual void* Allocate(std::size_t cBytes) noexcept = 0;
    virtual void Release(void* pMemory) noexcept = 0;
};

/// Where extracted members go.
class CabinetMembers {
public:
    virtual ~CabinetMembers() = default;
    /// Asks for a target for the member.  @return a handle to write to, 0 to skip the member, -1 to stop.
    virtual std::intptr_t OnMember(const char* pszName, DWORD cBytes, WORD wAttributes) noexcept = 0;
    /// The member is complete; closes its handle.  A member that fails is closed through CabinetFiles instead.  @return
    /// false to stop.
    virtual bool OnMemberDone(std::intptr_t hFile) noexcept = 0;
};

/// Which step of a compression failed, so that the caller's text can name it.
enum class CabinetStep : DWORD { None, Create, AddFile, FlushFolder, FlushCabinet, Copy, Destroy };

/// Compress one memory file into one cabinet image; extract the members of an image.
/// Threads: any; the adapter lets one call run at a time (the libraries give some of their callbacks no context), so a
/// callback must not call the port.  Nothing throws, no callback's failure is lost: a call during which one failed
/// answers false even where the library overlooks it.
class CabinetPort {
public:
    virtual ~CabinetPort() = default;

    /// Compresses the file `pszSource` (opened through `rFiles`) as the single member `pszMember` into the image file
    /// `pszImage`.  MSZIP; the member is not marked executable; date and time of the member are fixed (0x226C, 0x59BA).
    /// @param lLevel 1..9, or -1 for the default, where the engine has levels; the system's library has none.
    /// @return true on success; otherwise `reStep` and `rError` say what failed.
    virtual bool Compress(CabinetFiles& rFiles, const char* pszSource, const char* pszMember, const char* pszImage,
                          LONG lLevel, CabinetStep& reStep, CabinetError& rError) noexcept = 0;

    /// Extracts the members of the image file `pszImage`.  The image must have passed ValidateCabinetImage: some
    /// systems' libraries do not survive hostile ones.
    virtual bool Extract(CabinetFiles& rFiles, CabinetMembers& rMembers, const char* pszImage, CabinetStep& reStep,
                         CabinetError& rError) noexcept = 0;
};

}  // namespace vlm
