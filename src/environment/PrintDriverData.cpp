/// @file
/// Queues opened for one call, the values that an installer left in a queue's data, and the parts of names.
#include <algorithm>
#include <array>

#include "environment/PrintDriverImpl.h"
#include "environment/Printer.h"

namespace vlm::driver {

namespace {

/// Room that the first read of a value gets: most of the installer's texts fit.
constexpr std::size_t FIRST_ROOM = 256;
constexpr std::size_t MAX_PATH_ID = 32;

constexpr std::array<CompanyResources, 4> COMPANIES{{
    {VTEXT("X"), VTEXT("q9txt073.cab"), VTEXT("q9txt073.dll")},
    {VTEXT("GV"), VTEXT("q9gtxt073.cab"), VTEXT("q9gtxt073.dll")},
    {VTEXT("D"), VTEXT("q9dtxt073.cab"), VTEXT("q9dtxt073.dll")},
    {VTEXT("S"), VTEXT("q9stxt073.cab"), VTEXT("q9stxt073.dll")},
}};

constexpr XCHAR Lower(XCHAR ch) noexcept {
    return ch >= VTEXT('A') && ch <= VTEXT('Z') ? static_cast<XCHAR>(ch + (VTEXT('a') - VTEXT('A'))) : ch;
}

std::size_t LastSeparator(XStringView svPath) noexcept {
    return svPath.find_last_of(VTEXT("\\/"));
}

}  // namespace

OpenedQueue::OpenedQueue(const XCHAR* pszPrinter, DWORD dwAccess) {
    const Status status = pszPrinter && *pszPrinter
                              ? GetPlatform().pSpooler->OpenPrinterHandle(pszPrinter, dwAccess, m_hPrinter)
                              : static_cast<Status>(SpoolerPort::INVALID_PRINTER_NAME);
    if (status != Status::Success) {
        VLM_THROW(ExceptionPrintDriverFailure, VTEXT("PrintDriver: the printer '%s' cannot be opened because %s"),
                  pszPrinter, TextOfStatus(status));
    }
}

OpenedQueue::~OpenedQueue() {
    const Status status = GetPlatform().pSpooler->ClosePrinterHandle(m_hPrinter);
    if (status == Status::Success) return;
    VLM_REPORT_ERROR(DebugCategory::Utils, VTEXT("PrintDriver: a printer handle cannot be closed because %s"),
                     TextOfStatus(status));
}

CXString DriverValue::Text() const {
    return IsText() ? TextIn(bbData) : CXString();
}

CXString TextIn(const ByteBuffer& kbbUnits) {
    const CXString csUnits = kbbUnits.getAsStringValue();
    return CXString(csUnits.View().substr(0, csUnits.View().find(XCHAR{0})));
}

DriverValue ReadValue(HANDLE hPrinter, const XCHAR* pszKey, const XCHAR* pszValue) {
    DriverValue oValue;
    oValue.bbData.resize(FIRST_ROOM);
    oValue.dwStatus =
        Printer::CallGetPrinterDataExWithRetries(hPrinter, pszKey, pszValue, &oValue.dwType, oValue.bbData);
    return oValue;
}

DriverValue ReadStored(HANDLE hPrinter, const XCHAR* pszValue) {
    DriverValue oValue = ReadValue(hPrinter, PRINTER_DRIVER_DATA, pszValue);
    if (oValue.dwStatus != 0 && oValue.dwStatus != ToDword(Status::FileNotFound)) {
        VLM_THROW(ExceptionPrintDriverFailure, VTEXT("PrintDriver: the value %s cannot be read because %s"), pszValue,
                  TextOfStatus(oValue.dwStatus));
    }
    return oValue;
}

XStringView FileNameOf(XStringView svPath) noexcept {
    return svPath.substr(LastSeparator(svPath) + 1);  // npos + 1 is the beginning
}

XStringView FolderOf(XStringView svPath) noexcept {
    const std::size_t cFolder = LastSeparator(svPath);
    return cFolder == XStringView::npos ? XStringView() : svPath.substr(0, cFolder);
}

bool EqualNoCase(XStringView svLeft, XStringView svRight) noexcept {
    return std::equal(svLeft.begin(), svLeft.end(), svRight.begin(), svRight.end(),
                      [](XCHAR chLeft, XCHAR chRight) { return Lower(chLeft) == Lower(chRight); });
}

std::vector<CXString> ListOf(const XCHAR* pszzTexts) {
    std::vector<CXString> vcsTexts;
    if (pszzTexts == nullptr) return vcsTexts;
    for (XStringView svText = pszzTexts; !svText.empty(); svText = svText.data() + svText.size() + 1)
        vcsTexts.emplace_back(svText);
    return vcsTexts;
}

bool IsPathId(XStringView svId) noexcept {
    return !svId.empty() && svId.size() <= MAX_PATH_ID && std::all_of(svId.begin(), svId.end(), [](XCHAR ch) {
        const XCHAR chLower = Lower(ch);
        return (chLower >= VTEXT('a') && chLower <= VTEXT('z')) || (ch >= VTEXT('0') && ch <= VTEXT('9')) ||
               ch == VTEXT('_') || ch == VTEXT('-');
    });
}

const CompanyResources* FindCompany(XStringView svCode) noexcept {
    const auto itFound = std::find_if(COMPANIES.begin(), COMPANIES.end(), [&](const CompanyResources& rCompany) {
        return EqualNoCase(rCompany.pszCode, svCode);
    });
    return itFound == COMPANIES.end() ? nullptr : &*itFound;
}

const CompanyResources& CommonCompany() noexcept {
    return COMPANIES.front();
}

}  // namespace vlm::driver
