/// @file
/// A queue with a driver of the family, as the tests of `PrintDriver` use it.
#pragma once

#include "environment/PrintDriver.h"
#include "printing/PrinterFixture.h"

namespace vlm::test {

inline constexpr const XCHAR* QUEUE = VTEXT("Q");
inline constexpr const XCHAR* DRIVER = VTEXT("Velom X PCL6");
inline const XString FOLDER = VTEXT("C:\\windows\\system32\\spool\\drivers\\x64\\3");

/// Puts the driver and its queue in place; the values are those that an installer leaves.
inline void Install(FakePlatform& rFake) {
    rFake.printing.AddDriverNamed(DRIVER,
                                  {VTEXT("Q9_ab1.dll"), VTEXT("Xx.INI.txt"), VTEXT("x.cfg"), VTEXT("Q8GMMP01.dll")},
                                  VTEXT("UniDrv.dll"), VTEXT("xmodel.gpd"), VTEXT("UniDrvUI.dll"));
    rFake.printing.AddQueueNamed(QUEUE, DRIVER);
    for (const auto& [pszValue, pszText] : {std::pair{VTEXT("xPDL"), VTEXT("PclXL")},
                                            {VTEXT("xColor"), VTEXT("Color")},
                                            {VTEXT("xInbox"), VTEXT("0")},
                                            {VTEXT("xResDll"), VTEXT("gv")},
                                            {VTEXT("xPrintProc"), VTEXT("winprint")}}) {
        rFake.printing.AddData(QUEUE, pszValue, pszText);
    }
}

/// Makes the members of the class that only its heirs see visible.
class OpenPrintDriver : public PrintDriver {
public:
    using PrintDriver::GetProductUniqueIdUsedInTheDriverFilenames;
};

class PrintDriverTest : public PrintingFixture {
public:
    PrintDriverTest() {
        Install(m_oFake);
        m_oFake.spooler.OpenPrinterHandle(QUEUE, SpoolerPort::ALL_ACCESS, m_hPrinter);
    }
    ~PrintDriverTest() override {
        m_oFake.spooler.ClosePrinterHandle(m_hPrinter);
        EXPECT_EQ(m_oFake.TakenResources(), 0u);
    }

protected:
    template <class Ask>
    static std::string FailureOf(const Ask& rAsk) {
        return Thrown<ExceptionPrintDriverFailure>(rAsk);
    }

    OpenPrintDriver m_oDriver;
    HANDLE m_hPrinter = nullptr;
};

}  // namespace vlm::test
