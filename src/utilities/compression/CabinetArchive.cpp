/// @file
/// Reads cabinet files with any number of members.
#include "utilities/compression/CabinetArchive.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <string_view>
#include <utility>

#include "platform/Platform.h"
#include "utilities/compression/CabCompressedBuffer.h"
#include "utilities/compression/CabinetContext.h"
#include "utilities/compression/CabinetImage.h"
#include "utilities/debuggingandexceptions/NoThrow.h"
#include "utilities/debuggingandexceptions/RaiseMacros.h"
#include "utilities/utilitiesdll/TextCodec.h"

namespace {

constexpr char CABINET_NAME[] = "//Cabinet-Image//";
constexpr WORD ATTRIBUTE_NAME_IS_UTF8 = 0x80;
constexpr int LONGEST_SAFE_NAME = 200;

/// Sends each wanted member to a memory file that is named after its index.
class IndexedMembers final : public vlm::CabinetMembers {
public:
    IndexedMembers(vlm::CabinetFiles& rFiles, std::size_t uWanted, bool fAll) noexcept
        : m_rFiles(rFiles), m_uWanted(uWanted), m_fAll(fAll) {}

    static std::array<char, 24> NameOf(std::size_t uIndex) noexcept {
        std::array<char, 24> achName{};
        std::snprintf(achName.data(), achName.size(), "%zu", uIndex);
        return achName;
    }
    std::intptr_t OnMember(const char*, DWORD, WORD) noexcept override {
        const std::size_t uIndex = m_uNext++;
        if (!m_fAll && uIndex != m_uWanted) return 0;
        return m_rFiles.Open(NameOf(uIndex).data(), vlm::CabinetFiles::Mode::CreateReadWrite);
    }
    bool OnMemberDone(std::intptr_t hFile) noexcept override { return m_rFiles.Close(hFile) == 0; }

private:
    vlm::CabinetFiles& m_rFiles;
    std::size_t m_uWanted;
    bool m_fAll;
    std::size_t m_uNext = 0;
};

CXString NameOf(const vlm::CabinetEntry& rEntry) {
    if (rEntry.wAttributes & ATTRIBUTE_NAME_IS_UTF8) return TextCodec::Utf8ToUtf16(rEntry.pszName);
    return CXString(rEntry.pszName);
}

constexpr XCHAR Lower(XCHAR ch) {
    return ch >= 'A' && ch <= 'Z' ? static_cast<XCHAR>(ch - 'A' + 'a') : ch;
}

/// CON, CONIN$, CONOUT$, PRN, AUX, NUL, COM0 to COM9, LPT0 to LPT9, with or without what follows a dot.  The system
/// takes superscript digits of Latin-1 for digits.
bool IsDeviceName(XStringView part) noexcept {
    part = part.substr(0, part.find(VTEXT('.')));
    while (part.ends_with(VTEXT(' ')))
        part.remove_suffix(1);
    const auto Is = [](XStringView text, std::string_view name) {
        return std::equal(text.begin(), text.end(), name.begin(), name.end(),
                          [](XCHAR ch, char chName) { return Lower(ch) == static_cast<XCHAR>(chName); });
    };
    static constexpr std::string_view NAMES[] = {"con", "prn", "aux", "nul", "conin$", "conout$"};
    if (std::any_of(std::begin(NAMES), std::end(NAMES), [&](std::string_view name) { return Is(part, name); })) {
        return true;
    }
    const XStringView DIGITS = VTEXT("0123456789\u00B9\u00B2\u00B3");
    const bool fNumbered = part.size() == 4 && DIGITS.find(part[3]) != XStringView::npos;
    return fNumbered && (Is(part.substr(0, 3), "com") || Is(part.substr(0, 3), "lpt"));
}

bool IsSafePart(XStringView part) noexcept {
    if (part.empty() || part.ends_with(VTEXT('.')) || part.ends_with(VTEXT(' '))) return false;  // "." and ".." too
    const XStringView FORBIDDEN = VTEXT(":*?\"<>|");
    const auto IsForbidden = [&](XCHAR ch) { return ch < 0x20 || FORBIDDEN.find(ch) != XStringView::npos; };
    return std::none_of(part.begin(), part.end(), IsForbidden) && !IsDeviceName(part);
}

}  // namespace

CabinetArchive::CabinetArchive(ByteBuffer bbCabinet) : m_bbCabinet(std::move(bbCabinet)) {
    const BYTE* const pbyImage = m_bbCabinet.data();
    const vlm::CabinetVerdict verdict = vlm::ValidateCabinetImage(pbyImage, m_bbCabinet.size(), vlm::CABINET_ARCHIVE);
    if (!verdict.IsAccepted()) {
        VLM_THROW(ExceptionCompression, VTEXT("The cabinet file (%lu bytes) is refused: %s, at offset %lu."),
                  m_bbCabinet.GetLength(), vlm::DescribeCabinetDefect(verdict.eDefect),
                  static_cast<DWORD>(verdict.uOffset));
    }
    vlm::TranslateOutOfMemory([&] {
        m_voMembers.reserve(verdict.wFiles);
        std::size_t uEntry = vlm::FirstCabinetEntry(pbyImage);
        for (WORD w = 0; w < verdict.wFiles; ++w) {
            const vlm::CabinetEntry entry = vlm::ReadCabinetEntry(pbyImage, uEntry);
            m_voMembers.push_back(Member{NameOf(entry), entry.dwBytes, entry.wDate, entry.wTime, entry.wAttributes});
            m_ullOriginalDataSize += entry.dwBytes;
            uEntry = entry.uNext;
        }
    });
}

ByteBuffer CabinetArchive::Extract(std::size_t uIndex, DWORD dwMostBytes) const {
    if (uIndex >= m_voMembers.size()) {
        VLM_THROW(ExceptionIndexOutOfBounds, VTEXT("The cabinet file has no member %I64u; it has %I64u."),
                  static_cast<ULONGLONG>(uIndex), static_cast<ULONGLONG>(m_voMembers.size()));
    }
    return std::move(ExtractMembers(uIndex, m_voMembers[uIndex].dwBytes, dwMostBytes)[uIndex]);
}

std::vector<ByteBuffer> CabinetArchive::ExtractAll(DWORD dwMostBytes) const {
    return ExtractMembers(ALL_MEMBERS, m_ullOriginalDataSize, dwMostBytes);
}

std::vector<ByteBuffer> CabinetArchive::ExtractMembers(std::size_t uWanted, ULONGLONG ullBytes,
                                                       DWORD dwMostBytes) const {
    if (ullBytes > dwMostBytes) {
        VLM_THROW(
            ExceptionCompression,
            VTEXT("The original size of %I64u bytes is refused: the cabinet file may expand to %lu bytes at most."),
            ullBytes, dwMostBytes);
    }
    vlm::CabinetContext context;
    vlm::TranslateOutOfMemory([&] { context.AddFile(CABINET_NAME, m_bbCabinet.data(), m_bbCabinet.size()); });
    IndexedMembers members(context, uWanted, uWanted == ALL_MEMBERS);
    vlm::CabinetStep eStep{};
    vlm::CabinetError error;
    bool fSucceeded = false;
    {
        const CriticalResourceLock lock(CabCompressedBuffer::m_scCabCompressedBufferResource);
        fSucceeded = vlm::GetPlatform().pCabinet->Extract(context, members, CABINET_NAME, eStep, error);
    }
    context.ThrowIfExtractionFailed(fSucceeded, eStep, error);

    return vlm::TranslateOutOfMemory([&] {
        std::vector<ByteBuffer> vbbContents(m_voMembers.size());
        for (std::size_t u = 0; u < vbbContents.size(); ++u) {
            if (uWanted != ALL_MEMBERS && uWanted != u) continue;
            vbbContents[u] = ByteBuffer(context.TakeFile(IndexedMembers::NameOf(u).data()));
            if (vbbContents[u].size() == m_voMembers[u].dwBytes) continue;
            VLM_THROW(ExceptionCompression,
                      VTEXT("The cabinet library extracted %lu bytes where the member %s has %lu."),
                      vbbContents[u].GetLength(), m_voMembers[u].csName, m_voMembers[u].dwBytes);
        }
        return vbbContents;
    });
}

bool CabinetArchive::IsSafeName(const CXString& kcsName) noexcept {
    if (kcsName.GetLength() > LONGEST_SAFE_NAME) return false;
    const XStringView SEPARATORS = VTEXT("\\/");
    XStringView rest = kcsName.View();
    for (;;) {
        const std::size_t uEnd = rest.find_first_of(SEPARATORS);
        if (!IsSafePart(rest.substr(0, uEnd))) return false;
        if (uEnd == XStringView::npos) return true;
        rest.remove_prefix(uEnd + 1);
    }
}
