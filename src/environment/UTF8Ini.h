/// @file
/// INI files: the system's profile functions behind guards, and an editor for files whose text is UTF-8.
#pragma once

#include <string_view>

#include "platform/Export.h"
#include "platform/WinTypes.h"
#include "utilities/utilitiesdll/ByteBuffer.h"
#include "utilities/utilitiesdll/CXString.h"

/// Two ways to INI files.  Ordinary ones (UTF-16 or ANSI) go through to the profile functions; files in UTF-8, such as
/// the watermark definitions, are shown in memory, searched and edited where they stand, and cut to their new length
/// when they are released.  Names and values of the second kind are UTF-8 byte strings: the operations that end in `A`.
///
/// **The text.**  A line ends at CR or LF; lines that the class writes end in CR LF.  A header is "[" name "]" on a
/// line of its own, an entry is name "=" value; case and blanks count.  A section reaches to the next header; of
/// sections and entries that stand twice the first one counts.  Lines shorter than 2 or longer than 1,024 bytes say
/// nothing, the last one like all others.  A line that begins with ";" is an entry only for who asks for a key that
/// does.  A byte-order mark before the first line is passed over and kept, none is written.  Zero bytes at the end are
/// no text: an editor that was killed leaves up to a mebibyte of them, and the next one takes them away.
///
/// **What is not written.**  Answered with 0, the file untouched: a line that could not be found again (too long, too
/// short, a header of 260 bytes or more), CR or LF in any part, a bracket in a section's name, "=" in a key or "[" at
/// its start, and what would make the text larger than 64 MiB.  Larger files are not loaded.
///
/// **Edits** keep comments, order and all other bytes.  A new entry ends its section, before the next "[" that begins a
/// line; a new section ends the file; a last line without an end gets one first.  Who is killed meanwhile leaves all
/// before the edit as it was.  For all or nothing, edit a text in memory (EditWatermarkIniText) and put it in the
/// file's place (WriteBeside.h).
///
/// **Ownership**: holds at most one file, and lets it go at its end; a loaded name is borrowed from its caller and must
/// outlive the load.  **Threads**: one object, one thread.  While a file is loaded others may read it only: the second
/// of two editors fails to load.  **Failure**: nothing throws; the answer is 0, false, nothing, or the caller's
/// default, and the reason is a message.
class VLM_API UTF8Ini {
public:
    /// No such entry, no such section.
    static constexpr DWORD NOT_FOUND = 0xFFFFFFFF;
    /// How much longer one load can make a file, in bytes.
    static constexpr DWORD HEADROOM_BYTES = 0x100000;

    UTF8Ini() noexcept;
    virtual ~UTF8Ini();
    UTF8Ini(const UTF8Ini&) = delete;
    UTF8Ini& operator=(const UTF8Ini&) = delete;

    // --- ordinary INI files; a null argument, but for defaults, is refused before the system sees it ---

    /// @return the default for an empty section or key, too.
    static int GetPrivateProfileIntW(const XCHAR* pszSection, const XCHAR* pszKey, int iDefault,
                                     const XCHAR* pszFile) noexcept;
    /// @param pszDefault null is an empty text.  It is what a refused call copies, too, where there is a buffer.
    /// @param dwSize of the buffer, in units.
    /// @return units copied.
    static DWORD GetPrivateProfileStringW(const XCHAR* pszSection, const XCHAR* pszKey, const XCHAR* pszDefault,
                                          XCHAR* pszBuffer, DWORD dwSize, const XCHAR* pszFile) noexcept;
    /// @param dwSize exactly the bytes that were written.  @return whether they came back, with the right sum.
    static bool GetPrivateProfileStructW(const XCHAR* pszSection, const XCHAR* pszKey, void* pBuffer, DWORD dwSize,
                                         const XCHAR* pszFile) noexcept;
    static DWORD GetPrivateProfileSectionW(const XCHAR* pszSection, XCHAR* pszBuffer, DWORD dwSize,
                                           const XCHAR* pszFile) noexcept;
    static DWORD GetPrivateProfileSectionNamesW(XCHAR* pszBuffer, DWORD dwSize, const XCHAR* pszFile) noexcept;
    /// @param pszKey null deletes the section.  @param pszValue null deletes the entry.
    static bool WritePrivateProfileStringW(const XCHAR* pszSection, const XCHAR* pszKey, const XCHAR* pszValue,
                                           const XCHAR* pszFile) noexcept;
    static bool WritePrivateProfileInt(const XCHAR* pszSection, const XCHAR* pszKey, int iValue,
                                       const XCHAR* pszFile) noexcept;
    static bool WritePrivateProfileStructW(const XCHAR* pszSection, const XCHAR* pszKey, const void* pBuffer,
                                           DWORD dwSize, const XCHAR* pszFile) noexcept;
    static bool WritePrivateProfileSectionW(const XCHAR* pszSection, const XCHAR* pszList,
                                            const XCHAR* pszFile) noexcept;

    // --- UTF-8 files by UTF-16 text; what is not well-formed becomes U+FFFD ---

    /// @return the entry read as the profile functions read numbers; the default when it is missing or empty.
    int CustomGetPrivateProfileInt(const XCHAR* pszSection, const XCHAR* pszKey, int iDefault,
                                   const XCHAR* pszFile) noexcept;
    /// @param dwSize of the buffer, in units; what is longer is cut between two characters.
    DWORD CustomGetPrivateProfileString(const XCHAR* pszSection, const XCHAR* pszKey, const XCHAR* pszDefault,
                                        XCHAR* pszBuffer, DWORD dwSize, const XCHAR* pszFile) noexcept;
    int CustomWritePrivateProfileString(const XCHAR* pszSection, const XCHAR* pszKey, const XCHAR* pszValue,
                                        const XCHAR* pszFile) noexcept;

    // --- UTF-8 files ---

    /// Loads a file for editing, and makes it when it is missing.  The name that is loaded for editing already (the
    /// same pointer to the same text) stays loaded; any other file is released first.
    /// @return 1; 0 when it cannot be loaded (none is loaded then) or the name is empty.
    int LoadWatermarkIniFile(const XCHAR* pszFile) noexcept;
    /// The same for reading only; a missing and an empty file cannot be loaded.
    int LoadWatermarkIniFileForRead(const XCHAR* pszFile) noexcept;
    /// Releases the file; an edited one gets its new length.  No work without one.
    void UnloadWatermarkIniFile() noexcept;

    /// Loads the file for editing, writes one entry, and releases the file.
    /// @param pszKey null deletes the section.  @param pszValue null deletes the entry.
    /// @return 1, also when there was nothing to delete; 0 when it was refused or failed.
    int CustomWritePrivateProfileStringA(const char* pszSection, const char* pszKey, const char* pszValue,
                                         const XCHAR* pszFile) noexcept;
    /// Loads the file for reading, reads one entry, and releases the file.
    /// @param pszDefault null is an empty text.  @param dwSize of the buffer, in bytes; what is longer is cut.
    /// @return bytes copied, without the terminating zero.
    DWORD CustomGetPrivateProfileStringA(const char* pszSection, const char* pszKey, const char* pszDefault,
                                         char* pszBuffer, DWORD dwSize, const XCHAR* pszFile) noexcept;

    /// Finds an entry in a text.
    /// @param rdwSectionPosition receives the offset of the section's "[", or NOT_FOUND.
    /// @return the offset of the value, or NOT_FOUND.
    static DWORD GetWatermarkIniKeyA(const char* pszData, DWORD dwLength, const char* pszSection, const char* pszKey,
                                     DWORD& rdwSectionPosition) noexcept;
    /// Lists the names of all sections of the loaded file in their order: each with a zero behind it, and one more zero
    /// at the end.  A list that does not fit is cut and ends with two zeros; an empty name is left out.
    /// @return bytes copied, without the last zero (the size less 2 when it was cut).
    DWORD GetWatermarkIniSectionsA(char* pszBuffer, DWORD dwSize) const noexcept;
    /// The same for the keys of a section, without lines that begin with ";".
    DWORD GetWatermarkIniKeysA(const char* pszSection, char* pszBuffer, DWORD dwSize) const noexcept;
    /// Both of a text in memory.
    static DWORD GetWatermarkIniSectionsA(const char* pszData, DWORD dwLength, char* pszBuffer, DWORD dwSize) noexcept;
    static DWORD GetWatermarkIniKeysA(const char* pszData, DWORD dwLength, const char* pszSection, char* pszBuffer,
                                      DWORD dwSize) noexcept;

    /// Removes a section with its entries, or one entry, from the file that is loaded for editing.
    /// @return 1; 0 when there is no such thing or no such file.
    int DeleteWaterMarkIniSectionA(const char* pszSection) noexcept;
    int DeleteWatermarkIniKeyA(const char* pszSection, const char* pszKey) noexcept;

    /// What CustomWritePrivateProfileStringA does to a file's text, done to a text in memory.
    /// @return as there; after 0 the text is as it was.
    static int EditWatermarkIniText(ByteBuffer& rbbText, const char* pszSection, const char* pszKey,
                                    const char* pszValue) noexcept;

    /// Closes a handle that is neither null nor invalid, and makes it invalid.
    static void closeHandleIfValid(HANDLE& rhHandle) noexcept;

private:
    bool Load(const XCHAR* pszFile, bool fForEditing);
    bool Open(const XCHAR* pszFile, bool fForEditing);
    bool ShowFile(bool fForEditing);
    bool Release() noexcept;
    std::string_view Text() const noexcept;
    template <typename Edit>
    bool EditText(Edit edit) noexcept;
    template <typename Take>
    bool TakeEntry(const char* pszSection, const char* pszKey, const XCHAR* pszFile, Take take) noexcept;

    HANDLE m_hFile;
    HANDLE m_hMapping;
    void* m_pView;
    char* m_pchData;             ///< the text in the view
    DWORD m_dwDataLength;        ///< bytes of text now
    DWORD m_dwRoom;              ///< bytes that the text may grow to; 0: loaded for reading
    DWORD m_dwLoadedLength;      ///< bytes of the file when it was loaded
    const XCHAR* m_pszFileName;  ///< the caller's; null: none is loaded
    CXString m_csFileName;       ///< its text then
};
