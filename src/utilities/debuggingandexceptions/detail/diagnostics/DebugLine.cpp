/// @file
/// The line that a debug message becomes.
#include "utilities/debuggingandexceptions/detail/diagnostics/DebugLine.h"

#include <algorithm>

#include "utilities/debuggingandexceptions/DebugMessageCategoryHelper.h"
#include "utilities/debuggingandexceptions/DebugMessageConfiguration.h"
#include "utilities/utilitiesdll/Format.h"
#include "utilities/utilitiesdll/TextCodec.h"

namespace vlm {

namespace {

constexpr XStringView LINE_END = VTEXT("\r\n");
constexpr XStringView LEVEL_INDENT = VTEXT("   ");
/// Room for pieces and text: the line end and the terminator always fit behind it.
constexpr std::size_t ROOM = DebugLine::CAPACITY - LINE_END.size() - 1;

int WidthOf(DWORD dwWidth) noexcept {
    return static_cast<int>(std::min<DWORD>(dwWidth, FORMAT_MAX_WIDTH));
}

}  // namespace

DebugLineSettings::DebugLineSettings(const DebugMessageConfiguration& rConfiguration) noexcept
    : fCategories(rConfiguration.IsShowCategories()),
      fDate(rConfiguration.IsShowDate()),
      fTime(rConfiguration.IsShowTime()),
      fFractionOfSecond(rConfiguration.IsShowTimeWithHundredthsOfSecond()),
      fComputerName(rConfiguration.IsShowComputerName()),
      fContext(rConfiguration.IsShowContext()),
      fProcessId(rConfiguration.IsShowProcessId()),
      fProcessName(rConfiguration.IsShowProcessName()),
      fModule(rConfiguration.IsShowModule()),
      fFileName(rConfiguration.IsShowFileName()),
      fMethod(rConfiguration.IsShowMethod()),
      fLineNumber(rConfiguration.IsShowLineNumber()),
      fHighLightErrors(rConfiguration.IsHighLightErrors()),
      dwMinFilenameWidth(rConfiguration.GetMinFilenameWidth()),
      dwMaxFilenameWidth(rConfiguration.GetMaxFilenameWidth()),
      dwMinMethodWidth(rConfiguration.GetMinMethodWidth()),
      dwMaxMethodWidth(rConfiguration.GetMaxMethodWidth()),
      dwMaxMessageWidth(rConfiguration.GetMaxMessageWidth()) {}

template <class... Args>
void DebugLine::Format(const XCHAR* pszFormat, const Args&... args) noexcept {
    m_cUnits += FormatToBuffer(m_achText.data() + m_cUnits, ROOM - m_cUnits + 1, pszFormat, args...).m_cUnits;
}

void DebugLine::Append(XStringView text) noexcept {
    const XStringView fits = TextCodec::CutAtCharacter(text, ROOM - m_cUnits);
    std::copy(fits.begin(), fits.end(), m_achText.begin() + static_cast<std::ptrdiff_t>(m_cUnits));
    m_cUnits += fits.size();
}

void DebugLine::AppendMoment(const DebugLineSettings& rSettings, const DebugLineFacts& rFacts) noexcept {
    const CalendarTime& rTime = rFacts.oLocalTime;
    if (rSettings.fDate) {
        if (m_cUnits > 0) Append(VTEXT(" "));
        Format(VTEXT("%04u-%02u-%02u "), rTime.wYear, rTime.wMonth, rTime.wDay);
    }
    if (!rSettings.fTime) return;
    Format(VTEXT("%2d:%02d:%02d"), rTime.wHour, rTime.wMinute, rTime.wSecond);
    if (!rSettings.fFractionOfSecond) return;
    if (rFacts.fHighResolutionClock) {
        Format(VTEXT(":%03d "), rTime.wMilliseconds);
    } else {
        Format(VTEXT(":%02d "), rTime.wMilliseconds / 10);
    }
}

void DebugLine::AppendProcess(const DebugLineSettings& rSettings, const DebugLineFacts& rFacts) noexcept {
    if (rSettings.fComputerName) Format(VTEXT("%*.*s"), 1, 16, rFacts.computerName);
    if (rSettings.fContext) Format(VTEXT("%*.*s"), 1, 32, rFacts.context);
    if (rSettings.fProcessId) Format(VTEXT("%04lx:%04lx "), rFacts.dwProcessId, rFacts.dwThreadId);
    if (rSettings.fProcessName) {
        std::array<XCHAR, 32> achFormat;
        FormatToBuffer(achFormat.data(), achFormat.size(), VTEXT("(%%%d.%ds) "), 8, rFacts.processName.size());
        Format(achFormat.data(), rFacts.processName);
    }
    if (rSettings.fModule) Format(VTEXT("%s "), rFacts.moduleName);
}

void DebugLine::AppendPlace(const DebugLineSettings& rSettings, const DebugLineMessage& rMessage) noexcept {
    if (rSettings.fFileName) {
        const XStringView path = rMessage.fileName;
        Format(VTEXT("%*.*s"), WidthOf(rSettings.dwMinFilenameWidth), WidthOf(rSettings.dwMaxFilenameWidth),
               path.substr(path.find_last_of(VTEXT("\\/")) + 1));  // the whole name without a folder
    }
    if (rSettings.fMethod) {
        if (rSettings.fFileName) Append(VTEXT(" "));
        Format(VTEXT("%*.*s()"), WidthOf(rSettings.dwMinMethodWidth), WidthOf(rSettings.dwMaxMethodWidth),
               rMessage.methodName);
    }
    if (!rSettings.fLineNumber) return;
    if (!rSettings.fFileName && !rSettings.fMethod && rMessage.dwLineNumber == 0) {
        Append(VTEXT("    "));
    } else {
        Format(VTEXT("%4u"), rMessage.dwLineNumber);
    }
}

void DebugLine::End(DWORD dwMaxMessageWidth) noexcept {
    if (dwMaxMessageWidth > 0) m_cUnits = TextCodec::CutAtCharacter(View(), dwMaxMessageWidth).size();
    std::replace(m_achText.begin(), m_achText.begin() + static_cast<std::ptrdiff_t>(m_cUnits), XCHAR(), VTEXT(' '));
    std::copy(LINE_END.begin(), LINE_END.end(), m_achText.begin() + static_cast<std::ptrdiff_t>(m_cUnits));
    m_cUnits += LINE_END.size();
    m_achText[m_cUnits] = XCHAR();
}

void DebugLine::Build(const DebugLineSettings& rSettings, const DebugLineFacts& rFacts, bool fError,
                      DebugMessageCategories categories, const DebugLineMessage& rMessage) noexcept {
    m_cUnits = 0;
    m_achText[0] = XCHAR();
    if (rSettings.fCategories) {
        DebugMessageCategoryHelper::AddCategoryStringsToBuffer(categories, m_achText.data(), ROOM);
        m_cUnits = XStringView(m_achText.data()).size();
    }
    AppendMoment(rSettings, rFacts);
    AppendProcess(rSettings, rFacts);
    AppendPlace(rSettings, rMessage);
    Append(VTEXT("> "));
    if (fError && rSettings.fHighLightErrors) Append(VTEXT("*ERROR*\r\n\r\n"));
    if (rFacts.fOtherThread) {
        Append(VTEXT("[2nd Thrd] "));
    } else {
        for (LONG l = 0; l < rFacts.lIndent && m_cUnits < ROOM; ++l)
            Append(LEVEL_INDENT);
    }
    Append(rMessage.text);
    End(rSettings.dwMaxMessageWidth);
}

}  // namespace vlm
