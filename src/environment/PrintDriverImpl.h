/// @file
/// What the sources of `PrintDriver` share: queues opened for one call, values of the driver data, the spooler's
/// blocks.
#pragma once

#include <utility>
#include <vector>

#include "environment/PrintDriver.h"
#include "platform/Platform.h"
#include "platform/SpoolerBlocks.h"
#include "platform/SpoolerPort.h"
#include "utilities/debuggingandexceptions/NoThrow.h"
#include "utilities/debuggingandexceptions/RaiseMacros.h"
#include "utilities/utilitiesdll/SystemText.h"

namespace vlm::driver {

inline constexpr const XCHAR* PRINTER_DRIVER_DATA = VTEXT("PrinterDriverData");

/// A queue that is open as long as the object lives.
class OpenedQueue {
public:
    /// @throws ExceptionPrintDriverFailure when it cannot be opened.
    explicit OpenedQueue(const XCHAR* pszPrinter, DWORD dwAccess = SpoolerPort::ACCESS_USE);
    ~OpenedQueue();
    OpenedQueue(const OpenedQueue&) = delete;
    OpenedQueue& operator=(const OpenedQueue&) = delete;
    HANDLE Handle() const noexcept { return m_hPrinter; }

private:
    HANDLE m_hPrinter = nullptr;
};

/// A value of the data that a queue keeps.
struct DriverValue {
    static constexpr DWORD TYPE_STRING = 1, TYPE_EXPAND_STRING = 2, TYPE_NUMBER = 4, TYPE_STRINGS = 7;

    DWORD dwStatus = 0;  ///< the spooler's; everything else is empty unless it is 0
    DWORD dwType = 0;
    ByteBuffer bbData;

    bool IsText() const noexcept {
        return dwStatus == 0 && (dwType == TYPE_STRING || dwType == TYPE_EXPAND_STRING || dwType == TYPE_STRINGS);
    }
    bool IsNumber() const noexcept { return dwStatus == 0 && dwType == TYPE_NUMBER && bbData.size() == sizeof(DWORD); }
    /// The text up to its first zero unit, of a list its first text; empty for anything that is no text.
    CXString Text() const;
};
DriverValue ReadValue(HANDLE hPrinter, const XCHAR* pszKey, const XCHAR* pszValue);
/// A value of "PrinterDriverData" that may be absent.
/// @throws ExceptionPrintDriverFailure when the spooler does not answer.
DriverValue ReadStored(HANDLE hPrinter, const XCHAR* pszValue);
/// The text of one; empty when it is absent or no text.
inline CXString ReadText(HANDLE hPrinter, const XCHAR* pszValue) {
    return ReadStored(hPrinter, pszValue).Text();
}

/// UTF-16 bytes up to the first zero unit.
CXString TextIn(const ByteBuffer& kbbUnits);

/// @throws ExceptionPrintDriverFailure for what cannot be a printer handle.
void RequireLanguageHandle(HANDLE hPrinter);

/// Part of a path behind its last separator.
XStringView FileNameOf(XStringView svPath) noexcept;
/// The part before it, without the separator.
XStringView FolderOf(XStringView svPath) noexcept;
bool EqualNoCase(XStringView svLeft, XStringView svRight) noexcept;
/// The texts of a block's list (null: none).
std::vector<CXString> ListOf(const XCHAR* pszzTexts);
/// Is it fit to stand in a file's name: 1 to 32 letters, digits, '_' and '-'?
bool IsPathId(XStringView svId) noexcept;

/// The company's variants of the text resources.
struct CompanyResources {
    const XCHAR* pszCode;  ///< "xResDll"
    const XCHAR* pszCab;
    const XCHAR* pszDll;
};
/// The one that a code names, in any case; null for no code of ours.
const CompanyResources* FindCompany(XStringView svCode) noexcept;
/// The one that everybody else gets.
const CompanyResources& CommonCompany() noexcept;

/// The block of a level, of the type that belongs to it.
template <class Info>
const Info& As(const BYTE* pbyBlock) noexcept {
    return *reinterpret_cast<const Info*>(pbyBlock);
}

/// Runs `body` on the handle of a queue that is open meanwhile.
template <class Body>
auto WithQueue(const XCHAR* pszPrinter, Body&& body) {
    const OpenedQueue oQueue(pszPrinter);
    return std::forward<Body>(body)(oQueue.Handle());
}

}  // namespace vlm::driver
