/// @file
/// The editor for INI files in UTF-8: entries of a file and of a text.
#include "environment/UTF8Ini.h"

#include <algorithm>
#include <cstring>
#include <exception>
#include <string>

#include "environment/detail/ini/IniText.h"
#include "platform/ProfilePort.h"
#include "utilities/Bounds.h"
#include "utilities/debuggingandexceptions/NoThrow.h"
#include "utilities/debuggingandexceptions/RaiseMacros.h"
#include "utilities/utilitiesdll/TextCodec.h"

namespace {

namespace ini = vlm::ini;

/// A header beyond the limit is a fault of the caller: it stands in no file.
bool IsHeaderShort(const char* pszSection) {
    const std::size_t cHeader = std::strlen(pszSection) + 2;
    VLM_ASSERT(cHeader < ini::HEADER_LIMIT, VTEXT("The name of a section is too long for an INI file."));
    return cHeader < ini::HEADER_LIMIT;
}

/// Whether the parts may be written; says why not.
bool MayWrite(const char* pszSection, const char* pszKey, const char* pszValue) {
    if (pszSection == nullptr || !IsHeaderShort(pszSection)) return false;
    if (pszKey == nullptr || pszValue == nullptr || ini::IsWritable(pszSection, pszKey, pszValue)) return true;
    VLM_REPORT_ERROR(DebugCategory::Utils,
                     VTEXT("The entry is not written, because it could not be read back as one: section of %lu, key of "
                           "%lu, value of %lu bytes."),
                     static_cast<DWORD>(std::strlen(pszSection)), static_cast<DWORD>(std::strlen(pszKey)),
                     static_cast<DWORD>(std::strlen(pszValue)));
    return false;
}

/// Parts that MayWrite has approved.  @return false when there is no room.
bool Change(ini::Editor& rEditor, const char* pszSection, const char* pszKey, const char* pszValue) {
    if (pszKey == nullptr) {
        rEditor.DeleteSection(pszSection);
    } else if (pszValue == nullptr) {
        rEditor.DeleteKey(pszSection, pszKey);
    } else if (!rEditor.Write(pszSection, pszKey, pszValue)) {
        VLM_REPORT_ERROR(DebugCategory::Utils, VTEXT("The entry is not written, because the file has no room for it."));
        return false;
    }
    return true;
}

DWORD CopyOut(std::string_view svText, char* pszBuffer, DWORD dwSize) noexcept {
    if (pszBuffer == nullptr || dwSize == 0) return 0;
    const auto dwCopied = static_cast<DWORD>(svText.copy(pszBuffer, dwSize - 1));
    pszBuffer[dwCopied] = '\0';
    return dwCopied;
}

DWORD CopyOut(XStringView svText, XCHAR* pszBuffer, DWORD dwSize) noexcept {
    if (pszBuffer == nullptr || dwSize == 0) return 0;
    const XStringView svCut = TextCodec::CutAtCharacter(svText, dwSize - 1);
    svCut.copy(pszBuffer, svCut.size());
    pszBuffer[svCut.size()] = 0;
    return static_cast<DWORD>(svCut.size());
}

std::string_view TextOf(const char* pszData, DWORD dwLength) noexcept {
    return pszData ? ini::WithoutRoom({pszData, dwLength}) : std::string_view();
}

DWORD Position(std::size_t cOffset) noexcept {
    return cOffset < UTF8Ini::NOT_FOUND ? static_cast<DWORD>(cOffset) : UTF8Ini::NOT_FOUND;
}

std::string_view View(const char* pszText) noexcept {
    return pszText ? std::string_view(pszText) : std::string_view();
}
XStringView View(const XCHAR* pszText) noexcept {
    return pszText ? XStringView(pszText) : XStringView();
}

/// UTF-8 of a text that may be missing.
class Narrow {
public:
    explicit Narrow(const XCHAR* pszText) : m_fText(pszText != nullptr) {
        if (pszText) m_strText = TextCodec::Utf16ToUtf8(pszText);
    }
    const char* Get() const noexcept { return m_fText ? m_strText.c_str() : nullptr; }

private:
    bool m_fText;
    std::string m_strText;
};

}  // namespace

template <typename Edit>
bool UTF8Ini::EditText(Edit edit) noexcept {
    if (m_dwRoom == 0) return false;
    ini::Editor oEditor(m_pchData, m_dwDataLength, m_dwRoom);
    const bool fDone = vlm::NoThrow([&] { return edit(oEditor); }, false);
    m_dwDataLength = static_cast<DWORD>(oEditor.Text().size());
    return fDone;
}

int UTF8Ini::CustomWritePrivateProfileStringA(const char* pszSection, const char* pszKey, const char* pszValue,
                                              const XCHAR* pszFile) noexcept {
    bool fDone = false;
    try {
        if (!MayWrite(pszSection, pszKey, pszValue) || !Load(pszFile, true)) return 0;
        fDone = EditText([&](ini::Editor& rEditor) { return Change(rEditor, pszSection, pszKey, pszValue); });
        VLM_REPORT(DebugCategory::Utils, VTEXT("The text of %s has %lu bytes now."), m_csFileName, m_dwDataLength);
    } catch (const std::exception& rException) {
        VLM_REPORT_ERROR(DebugCategory::Utils,
                         VTEXT("Exception thrown during call to UTF8Ini::CustomWritePrivateProfileStringA:%s"),
                         VelomException::GetExceptionDescription(rException));
    }
    return Release() && fDone ? 1 : 0;
}

template <typename Take>
bool UTF8Ini::TakeEntry(const char* pszSection, const char* pszKey, const XCHAR* pszFile, Take take) noexcept {
    bool fFound = false;
    try {
        if (pszSection == nullptr || pszKey == nullptr || !IsHeaderShort(pszSection) || !Load(pszFile, false)) {
            return false;
        }
        const std::size_t cValue = ini::Find(Text(), pszSection, pszKey).cValue;
        if (cValue != ini::ABSENT) {
            take(ini::ValueAt(Text(), cValue));
            fFound = true;
        }
    } catch (const std::exception& rException) {
        VLM_REPORT_ERROR(DebugCategory::Utils,
                         VTEXT("Exception thrown during call to UTF8Ini::CustomGetPrivateProfileStringA:%s"),
                         VelomException::GetExceptionDescription(rException));
    }
    Release();
    return fFound;
}

DWORD UTF8Ini::CustomGetPrivateProfileStringA(const char* pszSection, const char* pszKey, const char* pszDefault,
                                              char* pszBuffer, DWORD dwSize, const XCHAR* pszFile) noexcept {
    if (pszBuffer == nullptr || dwSize == 0) return 0;
    DWORD dwCopied = 0;
    const bool fFound = TakeEntry(pszSection, pszKey, pszFile,
                                  [&](std::string_view svValue) { dwCopied = CopyOut(svValue, pszBuffer, dwSize); });
    return fFound ? dwCopied : CopyOut(View(pszDefault), pszBuffer, dwSize);
}

DWORD UTF8Ini::CustomGetPrivateProfileString(const XCHAR* pszSection, const XCHAR* pszKey, const XCHAR* pszDefault,
                                             XCHAR* pszBuffer, DWORD dwSize, const XCHAR* pszFile) noexcept {
    DWORD dwCopied = 0;
    const bool fFound = vlm::NoThrow(
        [&] {
            const auto copy = [&](std::string_view svValue) {
                dwCopied = CopyOut(TextCodec::Utf8ToUtf16(svValue).View(), pszBuffer, dwSize);
            };
            return TakeEntry(Narrow(pszSection).Get(), Narrow(pszKey).Get(), pszFile, copy);
        },
        false);
    return fFound ? dwCopied : CopyOut(View(pszDefault), pszBuffer, dwSize);
}

int UTF8Ini::CustomGetPrivateProfileInt(const XCHAR* pszSection, const XCHAR* pszKey, int iDefault,
                                        const XCHAR* pszFile) noexcept {
    vlm::NoThrow([&] {
        TakeEntry(Narrow(pszSection).Get(), Narrow(pszKey).Get(), pszFile, [&](std::string_view svValue) {
            if (!svValue.empty()) iDefault = static_cast<int>(vlm::ProfileNumber(TextCodec::Utf8ToUtf16(svValue)));
        });
    });
    return iDefault;
}

int UTF8Ini::CustomWritePrivateProfileString(const XCHAR* pszSection, const XCHAR* pszKey, const XCHAR* pszValue,
                                             const XCHAR* pszFile) noexcept {
    return vlm::NoThrow(
        [&] {
            return CustomWritePrivateProfileStringA(Narrow(pszSection).Get(), Narrow(pszKey).Get(),
                                                    Narrow(pszValue).Get(), pszFile);
        },
        0);
}

DWORD UTF8Ini::GetWatermarkIniKeyA(const char* pszData, DWORD dwLength, const char* pszSection, const char* pszKey,
                                   DWORD& rdwSectionPosition) noexcept {
    rdwSectionPosition = NOT_FOUND;
    if (pszSection == nullptr || pszKey == nullptr || !IsHeaderShort(pszSection)) return NOT_FOUND;
    const ini::Place oPlace = ini::Find(TextOf(pszData, dwLength), pszSection, pszKey);
    rdwSectionPosition = Position(oPlace.cHeader);
    return Position(oPlace.cValue);
}

DWORD UTF8Ini::GetWatermarkIniSectionsA(const char* pszData, DWORD dwLength, char* pszBuffer, DWORD dwSize) noexcept {
    ini::NameList oNames(pszBuffer, dwSize);
    ini::ListSections(TextOf(pszData, dwLength), oNames);
    return static_cast<DWORD>(oNames.Finish());
}

DWORD UTF8Ini::GetWatermarkIniKeysA(const char* pszData, DWORD dwLength, const char* pszSection, char* pszBuffer,
                                    DWORD dwSize) noexcept {
    ini::NameList oNames(pszBuffer, dwSize);
    if (pszSection && IsHeaderShort(pszSection)) ini::ListKeys(TextOf(pszData, dwLength), pszSection, oNames);
    return static_cast<DWORD>(oNames.Finish());
}

DWORD UTF8Ini::GetWatermarkIniSectionsA(char* pszBuffer, DWORD dwSize) const noexcept {
    return GetWatermarkIniSectionsA(m_pchData, m_dwDataLength, pszBuffer, dwSize);
}

DWORD UTF8Ini::GetWatermarkIniKeysA(const char* pszSection, char* pszBuffer, DWORD dwSize) const noexcept {
    return GetWatermarkIniKeysA(m_pchData, m_dwDataLength, pszSection, pszBuffer, dwSize);
}

int UTF8Ini::DeleteWaterMarkIniSectionA(const char* pszSection) noexcept {
    if (pszSection == nullptr || !IsHeaderShort(pszSection)) return 0;
    return EditText([&](ini::Editor& rEditor) { return rEditor.DeleteSection(pszSection); }) ? 1 : 0;
}

int UTF8Ini::DeleteWatermarkIniKeyA(const char* pszSection, const char* pszKey) noexcept {
    if (pszSection == nullptr || pszKey == nullptr || !IsHeaderShort(pszSection)) return 0;
    return EditText([&](ini::Editor& rEditor) { return rEditor.DeleteKey(pszSection, pszKey); }) ? 1 : 0;
}

int UTF8Ini::EditWatermarkIniText(ByteBuffer& rbbText, const char* pszSection, const char* pszKey,
                                  const char* pszValue) noexcept {
    const auto edit = [&] {
        if (!MayWrite(pszSection, pszKey, pszValue)) return 0;
        ByteBuffer bbEdited(rbbText);
        const std::size_t cText =
            ini::WithoutRoom({reinterpret_cast<const char*>(bbEdited.data()), bbEdited.size()}).size();
        // Room for a line and a header, each with its end, and the end of what is the last line now.
        const std::size_t cRoom = cText + ini::MAX_LINE_BYTES + ini::HEADER_LIMIT + 6;
        bbEdited.resize(cRoom);
        ini::Editor oEditor(reinterpret_cast<char*>(bbEdited.data()), cText,
                            std::min<std::size_t>(cRoom, vlm::bounds::MAX_INI_TEXT_BYTES));
        if (!Change(oEditor, pszSection, pszKey, pszValue)) return 0;
        bbEdited.resize(oEditor.Text().size());
        rbbText = std::move(bbEdited);
        return 1;
    };
    return vlm::NoThrow(edit, 0);
}
