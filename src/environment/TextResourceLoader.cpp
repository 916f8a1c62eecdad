/// @file
/// The company's variant of the text resources.
#include "environment/TextResourceLoader.h"

#include "environment/PrintDriverImpl.h"

CXString TextResourceLoader::GetCompanySpecificLanguageDllFileName(HANDLE hPrinter) {
    const CXString csCode = vlm::driver::ReadText(hPrinter, VTEXT("xResDll"));
    const vlm::driver::CompanyResources* const pCompany = vlm::driver::FindCompany(csCode);
    if (pCompany) return CXString(pCompany->pszDll);
    VLM_REPORT(DebugCategory::Utils,
               VTEXT("TextResourceLoader::GetCompanySpecificLanguageDllFileName(): xResDll in PrinterDriver Data was "
                     "'%s'.  Must be either 'X', 'GV', 'D' or 'S'.  Note:  This is expected *once* at the beginning of "
                     "PRINTER_EVENT_INITIALIZE and the driver will recover automatically."),
               csCode);
    return CXString(vlm::driver::CommonCompany().pszDll);
}
