/// @file
/// The profile functions for systems that have none.
#include "platform/EmbeddedProfiles.h"

#include <algorithm>
#include <new>
#include <stdexcept>
#include <utility>
#include <vector>

#include "platform/FilePort.h"
#include "platform/TextPort.h"

namespace vlm {

namespace {

using XString = std::basic_string<XCHAR>;

constexpr XStringView LINE_END = VTEXT("\r\n");
constexpr BYTE UTF16_MARK[] = {0xFF, 0xFE};

XStringView Trim(XStringView svText) noexcept {
    while (!svText.empty() && svText.front() <= VTEXT(' '))
        svText.remove_prefix(1);
    while (!svText.empty() && svText.back() <= VTEXT(' '))
        svText.remove_suffix(1);
    return svText;
}

bool IsSameName(XStringView svOne, XStringView svOther) noexcept {
    const auto fold = [](XCHAR ch) {
        return ch >= VTEXT('A') && ch <= VTEXT('Z') ? static_cast<XCHAR>(ch | 0x20) : ch;
    };
    return std::equal(svOne.begin(), svOne.end(), svOther.begin(), svOther.end(),
                      [&](XCHAR chOne, XCHAR chOther) { return fold(chOne) == fold(chOther); });
}

/// One line of a text, and what it says.
struct Line {
    std::size_t cBegin = 0, cEnd = 0, cNext = 0;  ///< without its end; behind it
    XStringView svName;                           ///< of the section or entry; empty: neither
    std::size_t cValue = 0;                       ///< where the value begins; 0: none
    bool fHeader = false, fBlank = false;

    Line(XStringView svText, std::size_t cFrom) noexcept : cBegin(cFrom) {
        cEnd = std::min(svText.find_first_of(LINE_END, cFrom), svText.size());
        cNext = svText.substr(cEnd).starts_with(LINE_END) ? cEnd + LINE_END.size() : std::min(cEnd + 1, svText.size());
        const XStringView svLine = svText.substr(cBegin, cEnd - cBegin), svTrimmed = Trim(svLine);
        fBlank = svTrimmed.empty();
        fHeader = svTrimmed.starts_with(VTEXT('[')) && svTrimmed.rfind(VTEXT(']')) != XStringView::npos;
        if (fHeader) {
            svName = svTrimmed.substr(1, svTrimmed.rfind(VTEXT(']')) - 1);
        } else if (!svTrimmed.starts_with(VTEXT(';'))) {
            const std::size_t cEquals = svLine.find(VTEXT('='));
            if (cEquals != XStringView::npos) cValue = cBegin + cEquals + 1;
            svName = Trim(svLine.substr(0, cEquals));
        }
    }
    XStringView Value(XStringView svText) const noexcept {
        return cValue ? Trim(svText.substr(cValue, cEnd - cValue)) : XStringView();
    }
};

/// Calls for each line from an offset on, until the call answers false.
template <typename Visit>
void ForLines(XStringView svText, std::size_t cFrom, Visit visit) {
    while (cFrom < svText.size()) {
        const Line oLine(svText, cFrom);
        if (!visit(oLine)) return;
        cFrom = oLine.cNext;
    }
}

/// Where a section stands.
struct Section {
    bool fFound = false;
    std::size_t cHeader = 0;  ///< its first line
    std::size_t cBody = 0;    ///< behind that
    std::size_t cLast = 0;    ///< behind its last line that is not blank
    std::size_t cEnd = 0;     ///< the next section, or the end of the text

    Section(XStringView svText, XStringView svName) {
        ForLines(svText, 0, [&](const Line& rLine) {
            if (fFound && rLine.fHeader) return false;
            if (!fFound && rLine.fHeader && IsSameName(rLine.svName, svName)) {
                fFound = true;
                cHeader = rLine.cBegin;
                cBody = cLast = rLine.cNext;
            }
            if (!rLine.fBlank && fFound) cLast = rLine.cNext;
            cEnd = rLine.cNext;
            return true;
        });
    }
};

/// The line of an entry.
std::optional<Line> FindEntry(XStringView svText, const Section& rSection, XStringView svKey) {
    std::optional<Line> oFound;
    if (!rSection.fFound) return oFound;
    ForLines(svText.substr(0, rSection.cEnd), rSection.cBody, [&](const Line& rLine) {
        if (!rLine.svName.empty() && IsSameName(rLine.svName, svKey)) oFound = rLine;
        return !oFound;
    });
    return oFound;
}

/// Puts lines in, on lines of their own.
void Insert(XString& rText, std::size_t cAt, const XString& rLines) {
    const bool fOpen = cAt > 0 && rText[cAt - 1] != VTEXT('\n') && rText[cAt - 1] != VTEXT('\r');
    rText.insert(cAt, (fOpen ? XString(LINE_END) : XString()) + rLines);
}

/// Puts lines where a section's begin, after its others; makes the section when it is missing.
void InsertIntoSection(XString& rText, const Section& rSection, XStringView svName, const XString& rLines) {
    if (rSection.fFound) {
        Insert(rText, rSection.cLast, rLines);
    } else {
        Insert(rText, rText.size(), VTEXT('[') + XString(svName) + VTEXT(']') + XString(LINE_END) + rLines);
    }
}

/// @param cZeros that a text or list which does not fit ends with.
DWORD CopyOut(XStringView svText, XCHAR* pszBuffer, DWORD cUnits, DWORD cZeros) noexcept {
    if (cUnits < cZeros) cZeros = cUnits;
    const bool fFits = svText.size() < cUnits;
    const DWORD cCopied = fFits ? static_cast<DWORD>(svText.size()) : cUnits - cZeros;
    std::copy_n(svText.begin(), cCopied, pszBuffer);
    std::fill_n(pszBuffer + cCopied, fFits ? 1 : cZeros, XCHAR{0});
    if (fFits && svText.empty() && cZeros > 1) pszBuffer[1] = 0;
    return cCopied;
}

XStringView Unquote(XStringView svText) noexcept {
    const bool fQuoted = svText.size() > 1 && svText.front() == svText.back() &&
                         (svText.front() == VTEXT('"') || svText.front() == VTEXT('\''));
    return fQuoted ? svText.substr(1, svText.size() - 2) : svText;
}

int HexDigit(XCHAR ch) noexcept {
    if (ch >= VTEXT('0') && ch <= VTEXT('9')) return ch - VTEXT('0');
    const auto chLower = static_cast<XCHAR>(ch | 0x20);
    return chLower >= VTEXT('a') && chLower <= VTEXT('f') ? chLower - VTEXT('a') + 10 : -1;
}

/// An open file, closed in the end.
struct Handle {
    FilePort& rFiles;
    HANDLE hFile = nullptr;
    ~Handle() {
        if (hFile != nullptr) rFiles.Close(hFile);
    }
};

}  // namespace

Status EmbeddedProfiles::Load(HANDLE hFile, Profile& rProfile) {
    ULONGLONG ullSize = 0;
    if (const Status eStatus = m_rFiles.Size(hFile, ullSize); eStatus != Status::Success) return eStatus;
    if (ullSize > MAX_FILE_BYTES) return Status::FileTooLarge;
    std::vector<char> vchBytes(ullSize);
    DWORD dwRead = 0;
    const Status eStatus = m_rFiles.Read(hFile, vchBytes.data(), static_cast<DWORD>(ullSize), dwRead);
    if (eStatus != Status::Success) return eStatus;
    if (dwRead != ullSize) return Status::HandleEof;
    rProfile.fUtf16 = dwRead >= 2 && std::equal(UTF16_MARK, UTF16_MARK + 2, vchBytes.begin(),
                                                [](BYTE by, char ch) { return by == static_cast<BYTE>(ch); });
    if (rProfile.fUtf16) {
        for (std::size_t i = 2; i + 1 < dwRead; i += 2)
            rProfile.text +=
                static_cast<XCHAR>(static_cast<BYTE>(vchBytes[i]) | static_cast<BYTE>(vchBytes[i + 1]) << 8);
        return Status::Success;
    }
    rProfile.text.resize(dwRead);
    const std::size_t cUnits = m_rText.ToWide(0, vchBytes.data(), dwRead, rProfile.text.data(), dwRead);
    rProfile.text.resize(cUnits);
    return cUnits == 0 && dwRead != 0 ? Status::InvalidData : Status::Success;
}

Status EmbeddedProfiles::Store(const XCHAR* pszFile, const Profile& rProfile) {
    std::vector<char> vchBytes;
    if (rProfile.fUtf16) {
        vchBytes.assign(std::begin(UTF16_MARK), std::end(UTF16_MARK));
        for (const XCHAR ch : rProfile.text)
            vchBytes.insert(vchBytes.end(), {static_cast<char>(ch), static_cast<char>(ch >> 8)});
    } else {
        vchBytes.resize(2 * rProfile.text.size());
        vchBytes.resize(
            m_rText.ToNarrow(0, rProfile.text.data(), rProfile.text.size(), vchBytes.data(), vchBytes.size()));
        if (vchBytes.empty() && !rProfile.text.empty()) return Status::InvalidData;
    }
    if (vchBytes.size() > MAX_FILE_BYTES) return Status::FileTooLarge;
    const XString beside = pszFile + XString(VTEXT(".profile-new"));
    Status eStatus = Status::Success;
    {
        Handle oFile{m_rFiles};
        eStatus = m_rFiles.Open(beside.c_str(),
                                {FilePort::Access::Write, FilePort::Disposition::CreateAlways, FilePort::ShareNone},
                                oFile.hFile);
        if (eStatus != Status::Success) return eStatus;
        DWORD dwWritten = 0;
        const auto dwBytes = static_cast<DWORD>(vchBytes.size());
        if (dwBytes != 0) eStatus = m_rFiles.Write(oFile.hFile, vchBytes.data(), dwBytes, dwWritten);
        // Only a closed file is the system's.
        const Status eClosed = m_rFiles.Close(std::exchange(oFile.hFile, nullptr));
        if (eStatus == Status::Success) eStatus = eClosed;
    }
    if (eStatus == Status::Success) eStatus = m_rFiles.Move(beside.c_str(), pszFile, true);
    if (eStatus != Status::Success) m_rFiles.Delete(beside.c_str());
    return eStatus;
}

EmbeddedProfiles::Profile EmbeddedProfiles::Read(const XCHAR* pszFile) {
    Profile oProfile;
    Handle oFile{m_rFiles};
    const FilePort::OpenOptions oOptions{.dwShare = FilePort::ShareRead | FilePort::ShareWrite | FilePort::ShareDelete};
    if (m_rFiles.Open(pszFile, oOptions, oFile.hFile) != Status::Success ||
        Load(oFile.hFile, oProfile) != Status::Success) {
        oProfile.text.clear();
    }
    return oProfile;
}

std::optional<XString> EmbeddedProfiles::ReadValue(const XCHAR* pszSection, const XCHAR* pszKey, const XCHAR* pszFile) {
    const Profile oProfile = Read(pszFile);
    const auto oLine = FindEntry(oProfile.text, Section(oProfile.text, pszSection), Trim(pszKey));
    if (!oLine) return std::nullopt;
    return XString(oLine->Value(oProfile.text));
}

template <typename Edit>
Status EmbeddedProfiles::Change(const XCHAR* pszFile, Edit edit) noexcept try {
    Profile oProfile;
    // Held until the new file has taken its place: of two writers one has to come later.
    Handle oFile{m_rFiles};
    Status eStatus = m_rFiles.Open(
        pszFile,
        {FilePort::Access::ReadWrite, FilePort::Disposition::OpenExisting, FilePort::ShareRead | FilePort::ShareDelete},
        oFile.hFile);
    if (eStatus == Status::Success) eStatus = Load(oFile.hFile, oProfile);
    if (eStatus != Status::Success && eStatus != Status::FileNotFound) return eStatus;
    const XString before = oProfile.text;
    edit(oProfile.text);
    return oProfile.text == before ? Status::Success : Store(pszFile, oProfile);
} catch (const std::bad_alloc&) {
    return Status::NotEnoughMemory;
} catch (const std::length_error&) {
    return Status::NotEnoughMemory;
}

DWORD EmbeddedProfiles::GetInt(const XCHAR* pszSection, const XCHAR* pszKey, DWORD dwDefault,
                               const XCHAR* pszFile) noexcept try {
    const std::optional<XString> oValue = ReadValue(pszSection, pszKey, pszFile);
    const XStringView svValue = oValue ? Unquote(*oValue) : XStringView();
    return svValue.empty() ? dwDefault : ProfileNumber(svValue);
} catch (const std::bad_alloc&) {
    return dwDefault;
}

DWORD EmbeddedProfiles::GetString(const XCHAR* pszSection, const XCHAR* pszKey, const XCHAR* pszDefault,
                                  XCHAR* pszBuffer, DWORD cUnits, const XCHAR* pszFile) noexcept try {
    const std::optional<XString> oValue = ReadValue(pszSection, pszKey, pszFile);
    return CopyOut(oValue ? Unquote(*oValue) : XStringView(pszDefault ? pszDefault : VTEXT("")), pszBuffer, cUnits, 1);
} catch (const std::bad_alloc&) {
    return CopyOut(pszDefault ? pszDefault : VTEXT(""), pszBuffer, cUnits, 1);
}

DWORD EmbeddedProfiles::GetSection(const XCHAR* pszSection, XCHAR* pszBuffer, DWORD cUnits,
                                   const XCHAR* pszFile) noexcept try {
    const Profile oProfile = Read(pszFile);
    const Section oSection(oProfile.text, pszSection);
    XString list;
    if (oSection.fFound) {
        ForLines(XStringView(oProfile.text).substr(0, oSection.cEnd), oSection.cBody, [&](const Line& rLine) {
            if (rLine.svName.empty()) return true;
            list += rLine.svName;
            if (rLine.cValue) list.append(1, VTEXT('=')).append(rLine.Value(oProfile.text));
            list += XCHAR{0};
            return true;
        });
    }
    return CopyOut(list, pszBuffer, cUnits, 2);
} catch (const std::bad_alloc&) {
    return CopyOut({}, pszBuffer, cUnits, 2);
}

DWORD EmbeddedProfiles::GetSectionNames(XCHAR* pszBuffer, DWORD cUnits, const XCHAR* pszFile) noexcept try {
    const Profile oProfile = Read(pszFile);
    XString list;
    ForLines(oProfile.text, 0, [&](const Line& rLine) {
        if (rLine.fHeader) list.append(rLine.svName).append(1, XCHAR{0});
        return true;
    });
    return CopyOut(list, pszBuffer, cUnits, 2);
} catch (const std::bad_alloc&) {
    return CopyOut({}, pszBuffer, cUnits, 2);
}

Status EmbeddedProfiles::GetStruct(const XCHAR* pszSection, const XCHAR* pszKey, void* pBuffer, DWORD cbBuffer,
                                   const XCHAR* pszFile) noexcept try {
    const std::optional<XString> oValue = ReadValue(pszSection, pszKey, pszFile);
    if (!oValue) return Status::FileNotFound;
    if (oValue->size() % 2 != 0 || oValue->size() / 2 != std::size_t{cbBuffer} + 1) return Status::InvalidData;
    auto* const pbyBuffer = static_cast<BYTE*>(pBuffer);
    unsigned uSum = 0;
    for (std::size_t i = 0; i <= cbBuffer; ++i) {
        const int iHigh = HexDigit((*oValue)[2 * i]), iLow = HexDigit((*oValue)[2 * i + 1]);
        if (iHigh < 0 || iLow < 0) return Status::InvalidData;
        const auto by = static_cast<BYTE>(iHigh << 4 | iLow);
        if (i == cbBuffer) return by == static_cast<BYTE>(uSum) ? Status::Success : Status::InvalidData;
        pbyBuffer[i] = by;
        uSum += by;
    }
    return Status::InvalidData;
} catch (const std::bad_alloc&) {
    return Status::NotEnoughMemory;
}

Status EmbeddedProfiles::WriteString(const XCHAR* pszSection, const XCHAR* pszKey, const XCHAR* pszValue,
                                     const XCHAR* pszFile) noexcept {
    return Change(pszFile, [&](XString& rText) {
        const Section oSection(rText, pszSection);
        if (pszKey == nullptr) {
            if (oSection.fFound) rText.erase(oSection.cHeader, oSection.cEnd - oSection.cHeader);
            return;
        }
        const std::optional<Line> oLine = FindEntry(rText, oSection, Trim(pszKey));
        if (pszValue == nullptr) {
            if (oLine) rText.erase(oLine->cBegin, oLine->cNext - oLine->cBegin);
        } else if (oLine) {
            const std::size_t cFrom = oLine->cValue ? oLine->cValue : oLine->cEnd;
            rText.replace(cFrom, oLine->cEnd - cFrom, (oLine->cValue ? XString() : XString(VTEXT("="))) + pszValue);
        } else {
            InsertIntoSection(rText, oSection, pszSection,
                              XString(Trim(pszKey)) + VTEXT('=') + pszValue + XString(LINE_END));
        }
    });
}

Status EmbeddedProfiles::WriteSection(const XCHAR* pszSection, const XCHAR* pszList, const XCHAR* pszFile) noexcept {
    return Change(pszFile, [&](XString& rText) {
        XString lines;
        for (XStringView svLine = pszList; !svLine.empty(); svLine = svLine.data() + svLine.size() + 1)
            lines.append(svLine).append(LINE_END);
        Section oSection(rText, pszSection);
        rText.erase(oSection.cBody, oSection.cLast - oSection.cBody);
        oSection.cLast = oSection.cBody;
        InsertIntoSection(rText, oSection, pszSection, lines);
    });
}

Status EmbeddedProfiles::WriteStruct(const XCHAR* pszSection, const XCHAR* pszKey, const void* pData, DWORD cbData,
                                     const XCHAR* pszFile) noexcept try {
    constexpr XStringView DIGITS = VTEXT("0123456789ABCDEF");
    XString digits;
    unsigned uSum = 0;
    const auto append = [&](unsigned uByte) { digits.append({DIGITS[uByte >> 4 & 15], DIGITS[uByte & 15]}); };
    for (DWORD i = 0; i < cbData; ++i) {
        const BYTE by = static_cast<const BYTE*>(pData)[i];
        append(by);
        uSum += by;
    }
    append(uSum);
    return WriteString(pszSection, pszKey, digits.c_str(), pszFile);
} catch (const std::bad_alloc&) {
    return Status::NotEnoughMemory;
}

}  // namespace vlm
