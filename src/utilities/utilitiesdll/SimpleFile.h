/// @file
/// Reads and writes a whole file, or a range of it, as bytes.
#pragma once

#include "platform/Export.h"
#include "platform/WinTypes.h"
#include "utilities/utilitiesdll/ByteBuffer.h"
#include "utilities/utilitiesdll/CXString.h"

/// A file by its path: whole reads and writes, ranges, deletion.  Nothing is open between two calls.
///
/// Paths may be longer than 260 units and of any characters.  Positions have 64 bits; one call transfers less than
/// 4 GiB, and a whole file above that is refused as one above a limit.
///
/// A whole-file write replaces the file in place, and a failed one removes it: no truncated file is left behind, but
/// the former contents are gone, too.  Who cannot afford that writes beside the file (WriteBeside.h); the derived
/// classes give the bytes for it (EncodeContents).
///
/// **Ownership**: a value; owns no handle.  **Threads**: different objects for different threads; on the same file the
/// system's sharing rules part them: a writer keeps others out, a reader keeps writers out.
/// **Failure**: ExceptionCreateFileForReading, ExceptionReadFile, ExceptionCreateFileForWriting, ExceptionWriteFile,
/// ExceptionOutOfMemory.  Every way out closes the file; targets of reads are then as they were.  Questions and
/// deletions answer false instead.
class VLM_API SimpleFile {
public:
    /// How the file's bytes are text, for callers that make text of them; the class itself reads and writes bytes.
    enum _CharacterEncodingMode {
        CEM_BINARY = 0,  ///< not at all
        CEM_ANSI = 1,
        CEM_UTF16 = 2,
        CEM_UTF8 = 3,
    };
    /// What to do about the file's attributes before it is written or deleted.
    enum FileAttributeActionEnum {
        FAA_LEAVE = 0,          ///< a read-only file is refused
        FAA_MAKE_WRITABLE = 1,  ///< a read-only file is first made writable, and stays so
    };
    /// Whom a ranged read allows at the file meanwhile.
    enum ReadSharingEnum {
        RSE_READERS = 0,
        RSE_READERS_AND_WRITERS = 1,  ///< for a file that somebody goes on writing
    };
    /// What a ranged write does without a file.
    enum MissingFileEnum {
        MFE_REFUSE = 0,
        MFE_CREATE = 1,
    };

    explicit SimpleFile(const CXString& kcsFileName, _CharacterEncodingMode eMode = CEM_BINARY);
    SimpleFile(const SimpleFile& rOther);
    SimpleFile& operator=(const SimpleFile& rOther);
    virtual ~SimpleFile();

    /// Reads the whole file.
    /// @param rbbData replaced by the contents.
    /// @param dwSizeLimit a larger file is refused before any of it is read; 0: no limit but 4 GiB.
    virtual void ReadTheFile(ByteBuffer& rbbData, DWORD dwSizeLimit = 0) const;
    /// Reads exactly `dwSize` bytes; a file that ends before them is refused.
    /// @param ullPosition in bytes from the start.
    virtual void ReadFromTheFile(ULONGLONG ullPosition, DWORD dwSize, ReadSharingEnum eSharing,
                                 ByteBuffer& rbbData) const;
    /// Creates the file, or replaces all of it.
    virtual void WriteTheFile(const ByteBuffer& kbbData, FileAttributeActionEnum eAction) const;
    /// Writes at a position; beyond the end, zeros come between.  After a failure the file may hold a part of the
    /// bytes.
    virtual void WriteToTheFile(ULONGLONG ullPosition, DWORD dwSize, MissingFileEnum eMissing, const BYTE* pbyData,
                                FileAttributeActionEnum eAction) const;
    /// The same at a position counted from the end: 0 appends, −4 begins with the last four bytes.  A position before
    /// the file's start is refused.
    void WriteToTheEndOfFile(MissingFileEnum eMissing, LONG lOffset, DWORD dwSize, const BYTE* pbyData,
                             FileAttributeActionEnum eAction) const;

    /// Whether there is a file that could be opened for reading, or that somebody else holds; a folder is none.
    bool FileExists() const { return DoesFileExist(m_csFileName); }
    static bool DoesFileExist(const CXString& kcsFileName);
    /// @return false when it could not be deleted.
    bool DeleteTheFile(FileAttributeActionEnum eAction) const { return DeleteTheFile(m_csFileName, eAction); }
    static bool DeleteTheFile(const CXString& kcsFileName, FileAttributeActionEnum eAction);
    /// Clears the read-only attribute of an existing file; the file that is asked is the file that is changed, whatever
    /// happens to its path meanwhile.  @return false when the file is missing or the system refuses.
    bool EnsureFileIsWritable() const { return EnsureFileIsWritable(m_csFileName); }
    static bool EnsureFileIsWritable(const CXString& kcsFileName);

    const CXString& GetFileName() const noexcept { return m_csFileName; }
    _CharacterEncodingMode GetCharacterEncodingMode() const noexcept { return m_eCharacterEncodingMode; }

private:
    CXString m_csFileName;
    _CharacterEncodingMode m_eCharacterEncodingMode;
};
