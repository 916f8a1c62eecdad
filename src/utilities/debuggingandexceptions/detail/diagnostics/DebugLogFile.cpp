/// @file
/// The log file of the debug messages.
#include "utilities/debuggingandexceptions/detail/diagnostics/DebugLogFile.h"

#include <algorithm>
#include <string_view>

#include "platform/FilePort.h"
#include "platform/IdentityPort.h"
#include "platform/OpenFilePort.h"
#include "platform/Platform.h"
#include "platform/TextPort.h"
#include "utilities/debuggingandexceptions/DebugMessageHelper.h"
#include "utilities/utilitiesdll/CXString.h"
#include "utilities/utilitiesdll/TextCodec.h"

namespace vlm {

namespace {

constexpr std::string_view LINE_END = "\r\n";

/// Whether the process is the system itself, whose files everybody would like to have a hand in.  When that cannot be
/// told, it is.
bool IsLocalSystem() noexcept {
    IdentityPort::Identity identity;
    return GetPlatform().pIdentity->ProcessIdentity(identity) != Status::Success ||
           XStringView(identity.szSid) == VTEXT("S-1-5-18");
}

}  // namespace

NarrowLine::NarrowLine(XStringView svLine) noexcept {
    constexpr std::size_t ROOM = MAX_BYTES - LINE_END.size();
    if (svLine.ends_with(VTEXT("\r\n"))) svLine.remove_suffix(LINE_END.size());
    TextPort& rPort = *GetPlatform().pText;
    const auto narrow = [&](std::size_t cUnits) {
        return rPort.ToNarrow(0, svLine.data(), cUnits, m_achText.data(), ROOM);
    };
    // A text that is too long is refused as a whole; then the longest part that fits is found by halving.
    std::size_t cFits = 0;
    std::size_t cTooMany = svLine.size() + 1;
    for (std::size_t cTry = svLine.size(); cFits + 1 < cTooMany; cTry = cFits + (cTooMany - cFits) / 2) {
        m_cBytes = narrow(cTry);
        (m_cBytes != 0 ? cFits : cTooMany) = cTry;
    }
    const std::size_t cWhole = TextCodec::CutAtCharacter(svLine, cFits).size();
    if (m_cBytes == 0 || cWhole < cFits) m_cBytes = cWhole > 0 ? narrow(cWhole) : 0;
    std::copy(LINE_END.begin(), LINE_END.end(), m_achText.begin() + static_cast<std::ptrdiff_t>(m_cBytes));
    m_cBytes += LINE_END.size();
}

bool DebugLogFile::IsOpen() const noexcept {
    return m_rhFile != DebugMessageHelper::ClosedFile();
}

LogOutcome DebugLogFile::Open(const CXString& kcsPath) noexcept {
    FilePort::OpenOptions options;
    options.eAccess = FilePort::Access::Write;
    options.eDisposition = FilePort::Disposition::OpenAlways;
    options.dwShare = FilePort::ShareRead | FilePort::ShareWrite | FilePort::ShareDelete;
    options.fIdentificationOnly = true;
    options.fPlainLocalFile = IsLocalSystem();
    HANDLE hFile = DebugMessageHelper::ClosedFile();
    const Status eStatus = GetPlatform().pFiles->Open(kcsPath, options, hFile);
    if (eStatus != Status::Success) return {LogOutcome::Step::OpenFailed, eStatus, 0};
    m_rhFile = hFile;
    return {};
}

LogOutcome DebugLogFile::Append(const NarrowLine& rLine) noexcept {
    if (!IsOpen()) return {LogOutcome::Step::NotOpen, Status::Success, 0};
    LogOutcome outcome;
    outcome.eStatus = GetPlatform().pOpenFiles->Append(m_rhFile, rLine.Get(), rLine.Bytes(), outcome.dwWritten);
    if (outcome.eStatus != Status::Success || outcome.dwWritten != rLine.Bytes()) {
        outcome.eStep = LogOutcome::Step::WriteFailed;
    }
    return outcome;
}

}  // namespace vlm
