/// @file
/// The profile functions for systems that have none.
#pragma once

#include <optional>
#include <string>

#include "platform/ProfilePort.h"

namespace vlm {

class FilePort;
class TextPort;

/// INI files over a file port: the host's, and the disk in memory of the tests.  A write replaces the file in one step
/// (its new text stands in "<name>.profile-new" before) and keeps all other lines; a second writer is answered
/// SharingViolation meanwhile.  A bare name is a file of the current folder.  Files above MAX_FILE_BYTES are refused.
/// Ownership: borrows both ports.
class EmbeddedProfiles : public ProfilePort {
public:
    static constexpr DWORD MAX_FILE_BYTES = 64 * 1024 * 1024;

    constexpr EmbeddedProfiles(FilePort& rFiles, TextPort& rText) noexcept : m_rFiles(rFiles), m_rText(rText) {}

    DWORD GetInt(const XCHAR* pszSection, const XCHAR* pszKey, DWORD dwDefault, const XCHAR* pszFile) noexcept override;
    DWORD GetString(const XCHAR* pszSection, const XCHAR* pszKey, const XCHAR* pszDefault, XCHAR* pszBuffer,
                    DWORD cUnits, const XCHAR* pszFile) noexcept override;
    DWORD GetSection(const XCHAR* pszSection, XCHAR* pszBuffer, DWORD cUnits, const XCHAR* pszFile) noexcept override;
    DWORD GetSectionNames(XCHAR* pszBuffer, DWORD cUnits, const XCHAR* pszFile) noexcept override;
    Status GetStruct(const XCHAR* pszSection, const XCHAR* pszKey, void* pBuffer, DWORD cbBuffer,
                     const XCHAR* pszFile) noexcept override;
    Status WriteString(const XCHAR* pszSection, const XCHAR* pszKey, const XCHAR* pszValue,
                       const XCHAR* pszFile) noexcept override;
    Status WriteSection(const XCHAR* pszSection, const XCHAR* pszList, const XCHAR* pszFile) noexcept override;
    Status WriteStruct(const XCHAR* pszSection, const XCHAR* pszKey, const void* pData, DWORD cbData,
                       const XCHAR* pszFile) noexcept override;

private:
    using XString = std::basic_string<XCHAR>;
    /// A file's text, and how its bytes stand for it.
    struct Profile {
        XString text;
        bool fUtf16 = false;
    };

    Status Load(HANDLE hFile, Profile& rProfile);
    Status Store(const XCHAR* pszFile, const Profile& rProfile);
    /// The text of a file; an empty one when it cannot be read.
    Profile Read(const XCHAR* pszFile);
    /// An entry as it stands, without the blanks round it.
    std::optional<XString> ReadValue(const XCHAR* pszSection, const XCHAR* pszKey, const XCHAR* pszFile);
    /// Has `edit` change the text of a file, which is kept from others meanwhile.
    template <typename Edit>
    Status Change(const XCHAR* pszFile, Edit edit) noexcept;

    FilePort& m_rFiles;
    TextPort& m_rText;
};

}  // namespace vlm
