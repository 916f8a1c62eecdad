/// @file
/// The editor for INI files in UTF-8: its file, from the load to the release.
#include <algorithm>
#include <array>
#include <utility>

#include "environment/UTF8Ini.h"
#include "environment/detail/ini/IniText.h"
#include "platform/FilePort.h"
#include "platform/OpenFilePort.h"
#include "platform/Platform.h"
#include "utilities/Bounds.h"
#include "utilities/debuggingandexceptions/NoThrow.h"
#include "utilities/debuggingandexceptions/RaiseMacros.h"
#include "utilities/utilitiesdll/SystemText.h"

namespace {

namespace ini = vlm::ini;
using vlm::FilePort;
using vlm::OpenFilePort;
using vlm::Status;

FilePort& Files() noexcept {
    return *vlm::GetPlatform().pFiles;
}
OpenFilePort& OpenFiles() noexcept {
    return *vlm::GetPlatform().pOpenFiles;
}
HANDLE InvalidHandle() noexcept {
    return reinterpret_cast<HANDLE>(~std::uintptr_t{0});
}

/// Says which step failed.  @return whether it did not.
bool Succeeds(Status status, const XCHAR* pszStep) noexcept {
    if (status != Status::Success) {
        VLM_REPORT_ERROR(DebugCategory::Utils, VTEXT("UTF8Ini failed to %s. %s"), pszStep, vlm::TextOfStatus(status));
    }
    return status == Status::Success;
}

/// Finds where the text of a file ends, before the zeros that a killed editor has left.
Status FindTextEnd(HANDLE hFile, ULONGLONG& rullEnd) noexcept {
    std::array<char, 4096> achPiece;
    while (rullEnd > 0) {
        const auto dwPiece = static_cast<DWORD>(std::min<ULONGLONG>(rullEnd, achPiece.size()));
        DWORD dwRead = 0;
        Status status = Files().Seek(hFile, rullEnd - dwPiece);
        if (status == Status::Success) status = Files().Read(hFile, achPiece.data(), dwPiece, dwRead);
        if (status == Status::Success && dwRead != dwPiece) status = Status::HandleEof;
        if (status != Status::Success) return status;
        rullEnd -= dwPiece;
        const std::size_t cText = ini::WithoutRoom({achPiece.data(), dwPiece}).size();
        if (cText != 0) {
            rullEnd += cText;
            break;
        }
    }
    return Status::Success;
}

}  // namespace

UTF8Ini::UTF8Ini() noexcept
    : m_hFile(InvalidHandle()),
      m_hMapping(InvalidHandle()),
      m_pView(nullptr),
      m_pchData(nullptr),
      m_dwDataLength(0),
      m_dwRoom(0),
      m_dwLoadedLength(0),
      m_pszFileName(nullptr) {}

UTF8Ini::~UTF8Ini() {
    Release();
}

std::string_view UTF8Ini::Text() const noexcept {
    return {m_pchData, m_dwDataLength};
}

int UTF8Ini::LoadWatermarkIniFile(const XCHAR* pszFile) noexcept {
    return vlm::NoThrow([&] { return Load(pszFile, true); }, false) ? 1 : 0;
}

int UTF8Ini::LoadWatermarkIniFileForRead(const XCHAR* pszFile) noexcept {
    return vlm::NoThrow([&] { return Load(pszFile, false); }, false) ? 1 : 0;
}

void UTF8Ini::UnloadWatermarkIniFile() noexcept {
    Release();
}

bool UTF8Ini::Load(const XCHAR* pszFile, bool fForEditing) {
    if (pszFile == nullptr || *pszFile == 0) return false;
    if (m_pszFileName == pszFile && m_csFileName == pszFile && (m_dwRoom != 0 || !fForEditing)) return true;
    Release();
    CXString csFileName(pszFile);
    if (!Open(pszFile, fForEditing) || !ShowFile(fForEditing)) {
        Release();
        return false;
    }
    m_pszFileName = pszFile;
    m_csFileName = std::move(csFileName);
    VLM_REPORT(DebugCategory::Utils, VTEXT("Loaded %s with %lu bytes of text in %lu."), m_csFileName, m_dwDataLength,
               m_dwLoadedLength);
    return true;
}

bool UTF8Ini::Open(const XCHAR* pszFile, bool fForEditing) {
    FilePort::OpenOptions oOptions;
    HANDLE hFile = nullptr;
    if (fForEditing) oOptions.eAccess = FilePort::Access::ReadWrite;
    Status status = Files().Open(pszFile, oOptions, hFile);
    if (fForEditing && status != Status::Success) {
        oOptions.eDisposition = FilePort::Disposition::OpenAlways;
        status = Files().Open(pszFile, oOptions, hFile);
    }
    if (!Succeeds(status, VTEXT("open the file"))) return false;
    m_hFile = hFile;
    return true;
}

bool UTF8Ini::ShowFile(bool fForEditing) {
    ULONGLONG ullSize = 0;
    if (!Succeeds(Files().Size(m_hFile, ullSize), VTEXT("get the size of the file"))) return false;
    if (ullSize > ULONGLONG{vlm::bounds::MAX_INI_TEXT_BYTES} + HEADROOM_BYTES) {
        return Succeeds(Status::FileTooLarge, VTEXT("load the file"));
    }
    ULONGLONG ullText = ullSize;
    if (fForEditing && !Succeeds(FindTextEnd(m_hFile, ullText), VTEXT("read the end of the file"))) return false;
    m_dwLoadedLength = static_cast<DWORD>(ullSize);
    // The room counts from the text's end: a file whose editors are killed again and again grows by it only once.
    const ULONGLONG ullShown = fForEditing ? std::max(ullSize, ullText + HEADROOM_BYTES) : ullSize;
    HANDLE hMapping = nullptr;
    if (!Succeeds(OpenFiles().CreateMappingOf(m_hFile, ullShown, fForEditing, hMapping), VTEXT("map the file"))) {
        return false;
    }
    m_hMapping = hMapping;
    m_dwDataLength = static_cast<DWORD>(ullText);
    if (fForEditing) m_dwRoom = m_dwDataLength + HEADROOM_BYTES;
    void* pView = nullptr;
    if (!Succeeds(OpenFiles().MapView(hMapping, ullShown, pView), VTEXT("show the file"))) return false;
    m_pView = pView;
    m_pchData = static_cast<char*>(pView);
    m_dwDataLength = static_cast<DWORD>(ini::WithoutRoom(Text()).size());
    if (m_dwDataLength > vlm::bounds::MAX_INI_TEXT_BYTES) {
        return Succeeds(Status::FileTooLarge, VTEXT("load the file"));
    }
    if (fForEditing) m_dwRoom = std::min(m_dwRoom, DWORD{vlm::bounds::MAX_INI_TEXT_BYTES});
    return true;
}

bool UTF8Ini::Release() noexcept {
    bool fDone = true;
    if (m_pView) fDone = Succeeds(OpenFiles().UnmapView(std::exchange(m_pView, nullptr)), VTEXT("unmap the file"));
    closeHandleIfValid(m_hMapping);
    if (m_hFile != InvalidHandle()) {
        if (m_dwRoom != 0) {
            // The end is set only where it belongs.
            fDone = Succeeds(Files().Seek(m_hFile, m_dwDataLength), VTEXT("seek the end of the text")) &&
                    Succeeds(Files().SetEnd(m_hFile), VTEXT("cut the file")) && fDone;
        }
        fDone = Succeeds(Files().Close(std::exchange(m_hFile, InvalidHandle())), VTEXT("close the file")) && fDone;
    }
    m_pchData = nullptr;
    m_dwDataLength = m_dwRoom = m_dwLoadedLength = 0;
    m_pszFileName = nullptr;
    m_csFileName = CXString();
    return fDone;
}

void UTF8Ini::closeHandleIfValid(HANDLE& rhHandle) noexcept {
    if (rhHandle != nullptr && rhHandle != InvalidHandle()) {
        Succeeds(Files().Close(rhHandle), VTEXT("close a handle"));
        rhHandle = InvalidHandle();
    }
}
