// Refusals, and how any exception becomes one line and an exit status.
#include "Failure.h"

#include <algorithm>
#include <array>
#include <new>
#include <string_view>

#include "Text.h"
#include "platform/Platform.h"
#include "platform/TextPort.h"
#include "utilities/debuggingandexceptions/VelomExceptions.h"

namespace vlm::tool {

namespace {

/// Groups of the type codes whose exceptions say that the system refused; all others are about the input.
constexpr std::array<std::string_view, 18> REFUSED_GROUPS = {"006", "007", "008", "009", "010", "011",
                                                             "012", "013", "014", "015", "018", "023",
                                                             "024", "036", "061", "065", "072", "079"};
constexpr std::string_view REGISTRY_REQUEST = "001:000";

int ExitStatusOf(std::string_view strTypeCode) {
    const bool fRefused =
        strTypeCode == REGISTRY_REQUEST ||
        std::find(REFUSED_GROUPS.begin(), REFUSED_GROUPS.end(), strTypeCode.substr(0, 3)) != REFUSED_GROUPS.end();
    return fRefused ? EXIT_REFUSED : EXIT_BAD_INPUT;
}

/// One line: line ends and runs of blanks become one blank.
std::string OneLine(std::string_view strText) {
    std::string strResult;
    for (const char c : strText) {
        const bool fBlank = c == ' ' || (c >= '\t' && c <= '\r');
        if (!fBlank)
            strResult += c;
        else if (!strResult.empty() && strResult.back() != ' ')
            strResult += ' ';
    }
    while (!strResult.empty() && strResult.back() == ' ')
        strResult.pop_back();
    return Printable(std::string_view(strResult));
}

/// A failure that was described where it happened.
class DescribedFailure : public std::exception {
public:
    explicit DescribedFailure(FailureReport report) : m_oReport(std::move(report)) {}
    const FailureReport& Report() const noexcept { return m_oReport; }

private:
    FailureReport m_oReport;
};

CXString ToXString(std::string_view strUtf8) {
    return CXString(XStringView(FromUtf8(Printable(strUtf8), "text")));
}

CXString ToXString(const char* pszAscii) {
    return ToXString(std::string_view(pszAscii));
}

}  // namespace

std::string StatusText(Status status) {
    std::array<XCHAR, 512> achText{};
    const std::size_t cUnits = GetPlatform().pText->SystemErrorText(ToDword(status), achText.data(), achText.size());
    std::string strNumber = "error " + std::to_string(ToDword(status));
    if (cUnits == 0) return strNumber;
    return ToUtf8(XStringView(achText.data(), cUnits)) + " (" + strNumber + ")";
}

void RefuseInput(const std::string& strMessage, int iLine, const char* pszFile, const char* pszFunction) {
    throw GetExceptionInvalidArgument(ToXString(std::string_view(strMessage)), ToXString(pszFile), iLine,
                                      ToXString(pszFunction), nullptr);
}

void RefuseContents(const std::exception& rException) {
    FailureReport oReport = Describe(rException);
    oReport.iExitStatus = EXIT_BAD_INPUT;
    throw DescribedFailure(std::move(oReport));
}

void RefuseFile(FileStep eStep, const std::string& strFile, Status status, int iLine, const char* pszFile,
                const char* pszFunction) {
    const auto message = [&](const char* pszStep) {
        return ToXString(std::string_view(std::string(pszStep) + " " + strFile + ": " + StatusText(status)));
    };
    const CXString csFile = ToXString(pszFile);
    const CXString csFunction = ToXString(pszFunction);
    switch (eStep) {
        case FileStep::Open:
            throw GetExceptionCreateFileForReading(message("cannot open"), csFile, iLine, csFunction, nullptr);
        case FileStep::Read:
            throw GetExceptionReadFile(message("cannot read"), csFile, iLine, csFunction, nullptr);
        case FileStep::Create:
            throw GetExceptionCreateFileForWriting(message("cannot create"), csFile, iLine, csFunction, nullptr);
        case FileStep::Write:
            break;
    }
    throw GetExceptionWriteFile(message("cannot write"), csFile, iLine, csFunction, nullptr);
}

void RefuseRegistry(const std::string& strWhat, DWORD dwStatus, int iLine, const char* pszFile,
                    const char* pszFunction) {
    throw GetExceptionRegistryRequest(
        ToXString(std::string_view(strWhat + ": " + StatusText(static_cast<Status>(dwStatus)))), ToXString(pszFile),
        iLine, ToXString(pszFunction), nullptr);
}

void RefuseMonitor(const std::string& strWhat, Status status, int iLine, const char* pszFile, const char* pszFunction) {
    throw GetExceptionLowRightsStorage(ToXString(std::string_view(strWhat + ": " + StatusText(status))),
                                       ToXString(pszFile), iLine, ToXString(pszFunction), nullptr);
}

void RefusePrinter(const std::string& strWhat, Status status, int iLine, const char* pszFile, const char* pszFunction) {
    throw GetExceptionPrinterFailure(ToXString(std::string_view(strWhat + ": " + StatusText(status))),
                                     ToXString(pszFile), iLine, ToXString(pszFunction), nullptr);
}

FailureReport Describe(const std::exception& rException) {
    if (const auto* pDescribed = dynamic_cast<const DescribedFailure*>(&rException)) return pDescribed->Report();
    if (const auto* pUsage = dynamic_cast<const UsageError*>(&rException))
        return {EXIT_USAGE, pUsage->Kind(), "000:000:000", OneLine(pUsage->what())};
    if (const auto* pOurs = dynamic_cast<const VelomException*>(&rException)) {
        return {ExitStatusOf(ToUtf8(pOurs->GetExceptionTypeByNumericCode().View())),
                ToUtf8(pOurs->GetExceptionType().View()), ToUtf8(pOurs->GetExceptionIdentifierForUserDisplay().View()),
                OneLine(ToUtf8(pOurs->GetExceptionMesage().View()))};
    }
    if (dynamic_cast<const std::bad_alloc*>(&rException))
        return {EXIT_REFUSED, "std::bad_alloc", "000:000:000", "not enough memory"};
    return {EXIT_BAD_INPUT, "std::exception", "000:000:000", OneLine(rException.what())};
}

}  // namespace vlm::tool
