/// @file
/// What is told about a queue's driver: its information, files, values and capabilities.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <sstream>

#include "environment/TextResourceLoader.h"
#include "platform/OpenFilePort.h"
#include "printing/PrintDriverFixture.h"
#include "support/Bytes.h"

namespace vlm::test {

namespace {

using testing::HasSubstr;
using Type = PrintDriver::FileType;

TEST_F(PrintDriverTest, FilesAreNamedByType) {
    const XString sep = FOLDER + VTEXT("\\");
    m_oFake.files.AddFile(sep + VTEXT("q9wfuv073.dll"), {1});
    // By number; "-" for none.  31 is the class path.
    std::istringstream names(
        "xmodel.gpd q9rpcl073.dll q9rps073.dll q9rpcl073.dll - q9up073.dll q9core073.dll q9gui073.dll q9wfuv073.dll "
        "q9wftu073.dll q9wfwu073.dll - q9coms073.dll - q9spl073.exe q9jobt073.exe q9thpr073.exe q7pp.dll q7print.dll "
        "q9fpb073.exe q4fpd02.dll - - Xx.INI.txt x.cfg xmodel.bud q9_ab1.dll q9ab1073.cab q9gtxt073.cab - - 31 "
        "UniDrvUI.dll -");
    std::string strName;
    for (DWORD dw = 0; names >> strName; ++dw) {
        if (dw == 31) continue;
        const XString expected = strName == "-" ? XString() : sep + Wide(strName);
        EXPECT_EQ(m_oDriver.GetDriverFiles(QUEUE, static_cast<Type>(dw)), expected) << dw;
    }
    EXPECT_TRUE(XStringView(m_oDriver.GetDriverFiles(m_hPrinter, Type::FT_JAVA_CLASS_PATH))
                    .starts_with(VTEXT(".;q9ippstk.jar;q9ippask.jar;q9ippops.jar;q9ippdat.jar;q9ipputl.jar ")));
    m_oFake.files.AddFile(sep + VTEXT("q9wfwu073.dll"), {1});
    EXPECT_EQ(m_oDriver.GetDriverFiles(m_hPrinter, Type::FT_WORKFLOW), sep + VTEXT("q9wfwu073.dll"));
    EXPECT_EQ(m_oDriver.GetDriverFiles(m_hPrinter, Type::FT_WORKFLOW, VTEXT("D:\\none")), VTEXT(""));
    m_oFake.printing.ForgetCalls();
    EXPECT_EQ(m_oDriver.GetDriverFiles(m_hPrinter, Type::FT_GUI, VTEXT("D:\\drv")), VTEXT("D:\\drv\\q9gui073.dll"));
    EXPECT_TRUE(m_oFake.printing.Calls().empty()) << "the folder is known already";
    EXPECT_THAT(m_oSink.Texts(), testing::Each(HasSubstr("SimpleFile")));
}

TEST_F(PrintDriverTest, TheCompiledDataFileFollowsTheFirstStepAlone) {
    for (const auto& [pszData, pszCompiled] : {std::pair{VTEXT("model.gpd"), VTEXT("model.bud")},
                                               {VTEXT("model.ppd"), VTEXT("model.ppd")},
                                               {VTEXT(".gpd.ppd"), VTEXT(".gpd.bpd")},
                                               {VTEXT(".gpd.p3p"), VTEXT(".gpd.p3p")}}) {
        const XString name = XString(VTEXT("D ")) + pszData;
        m_oFake.printing.AddDriverNamed(name, {}, VTEXT("unidrv.dll"), pszData);
        m_oFake.printing.AddQueueNamed(name, name);
        EXPECT_EQ(m_oDriver.GetDriverFiles(name.c_str(), Type::FT_COMPILED_DATA_FILE),
                  FOLDER + VTEXT("\\") + pszCompiled);
    }
}

TEST_F(PrintDriverTest, TheCompanyChoosesTheTexts) {
    const struct {
        const XCHAR *pszCode, *pszPart;
        bool fKnown;
    } aoRows[] = {{VTEXT("X"), VTEXT("q9txt073."), true},
                  {VTEXT("gV"), VTEXT("q9gtxt073."), true},
                  {VTEXT("D"), VTEXT("q9dtxt073."), true},
                  {VTEXT("S"), VTEXT("q9stxt073."), true},
                  {VTEXT(""), VTEXT("q9txt073."), false}};
    for (const auto& rRow : aoRows) {
        m_oFake.printing.AddData(QUEUE, VTEXT("xResDll"), rRow.pszCode);
        m_oSink.Clear();
        EXPECT_EQ(m_oDriver.GetDriverFiles(m_hPrinter, Type::FT_TEXT_RESOURCE_CAB),
                  FOLDER + VTEXT("\\") + rRow.pszPart + VTEXT("cab"));
        EXPECT_EQ(m_oSink.Count("xResDll in PrinterDriver Data was '" + Narrow(rRow.pszCode) +
                                "'.  Must be either 'X', 'GV' or 'D'.  Note:"),
                  rRow.fKnown ? 0u : 1u);
        EXPECT_EQ(TextResourceLoader::GetCompanySpecificLanguageDllFileName(m_hPrinter),
                  XString(rRow.pszPart) + VTEXT("dll"));
        EXPECT_EQ(m_oSink.Count("Must be either 'X', 'GV', 'D' or 'S'."), rRow.fKnown ? 0u : 1u);
    }
}

TEST_F(PrintDriverTest, AProductIdMustBeFitForAPath) {
    const std::string assertion = "(!csProductUniqueId.IsEmpty())";
    for (const auto& [pszFile, pszId] : {std::pair{VTEXT("q9_a-Z_09.x.dll"), VTEXT("a-Z_09")},
                                         {VTEXT("q9_.dll"), VTEXT("")},
                                         {VTEXT("q9_a b.dll"), VTEXT("")},
                                         {VTEXT("q9_nodot"), VTEXT("")},
                                         {VTEXT("q9_123456789012345678901234567890123.dll"), VTEXT("")}}) {
        m_oFake.printing.AddDriverNamed(pszFile, {VTEXT("other.dll"), pszFile});
        m_oFake.printing.AddQueueNamed(pszFile, pszFile);
        m_oSink.Clear();
        EXPECT_EQ(m_oDriver.GetProductUniqueIdUsedInTheDriverFilenames(pszFile), pszId);
        EXPECT_EQ(m_oSink.Count(assertion), *pszId ? 0u : 1u) << Narrow(pszFile);
        EXPECT_EQ(m_oDriver.GetDriverFiles(pszFile, Type::FT_PRODUCT_CAB).IsEmpty(), *pszId == 0);
    }
    EXPECT_EQ(m_oSink.Count("names of dependent files in DRIVER_INFO_3"), 2u);
}

TEST_F(PrintDriverTest, TheProductCabHasATime) {
    const XString cab = FOLDER + VTEXT("\\q9ab1073.cab");
    BlockFileTime oTime{7, 7};
    CXString csFile;
    const auto Ask = [&] {
        return m_oDriver.GetProductDataCabFileNameAndFileTime(m_hPrinter, csFile, AsSystemFileTime(&oTime));
    };
    EXPECT_FALSE(Ask());
    EXPECT_EQ(m_oSink.Count("Failed getting file time for Product Data CAB file, " + Narrow(cab)), 1u);
    EXPECT_EQ(oTime.dwLowDateTime | oTime.dwHighDateTime, 0u);
    m_oFake.files.AddFile(cab, {1, 2});
    m_oFake.files.SetFacts(cab, {.cLinks = 1, .ullWritten = 0x01DB00AA12345678, .fDisk = true, .fLocal = true});
    EXPECT_TRUE(Ask());
    EXPECT_EQ(csFile, cab);
    EXPECT_EQ(oTime.dwLowDateTime, 0x12345678u);
    EXPECT_EQ(oTime.dwHighDateTime, 0x01DB00AAu);
    HANDLE hHeld = nullptr;
    ASSERT_EQ(m_oFake.files.Open(cab.c_str(), {.dwShare = FilePort::ShareNone}, hHeld), Status::Success);
    EXPECT_FALSE(Ask());
    m_oFake.files.Close(hHeld);
    EXPECT_FALSE(m_oDriver.GetProductDataCabFileNameAndFileTime(m_hPrinter, csFile, nullptr));
    EXPECT_EQ(m_oSink.Count("(hPrinter && lpFtOut)"), 1u);

    EXPECT_FALSE(m_oDriver.HasProductCabBeenExtracted(m_hPrinter));
    m_oFake.files.AddFolder(FOLDER + VTEXT("\\Velom\\Product Data"));
    EXPECT_FALSE(m_oDriver.HasProductCabBeenExtracted(QUEUE));
    m_oFake.files.AddFolder(FOLDER + VTEXT("\\Velom\\Product Data\\Family"));
    EXPECT_TRUE(m_oDriver.HasProductCabBeenExtracted(QUEUE));
    EXPECT_FALSE(m_oDriver.HasProductCabBeenExtracted(HANDLE{nullptr}));
    EXPECT_FALSE(m_oDriver.HasProductCabBeenExtracted(VTEXT("no queue")));
    EXPECT_EQ(m_oSink.Count("HasProductCabBeenExtracted() caught an exception and will return 0."), 2u);
}

TEST_F(PrintDriverTest, NamesFoldersAndVersionsComeFromTheBlock) {
    EXPECT_EQ(m_oDriver.GetPrinterDriverDirectoryRoot(CXString()), XStringView(FOLDER).substr(0, FOLDER.size() - 2));
    BlockFileTime oDate{};
    m_oFake.printing.ScriptCallsOf("GetDriverBlock", [&](SpoolerCall& rCall) {
        DriverInfo6 oInfo{};
        oInfo.dwlDriverVersion = 0x0005'03F1'0001'0002;
        oInfo.ftDriverDate = oDate;
        std::vector<BYTE> vbyBlock(sizeof oInfo);
        std::memcpy(vbyBlock.data(), &oInfo, sizeof oInfo);
        return Answer(rCall, vbyBlock, sizeof oInfo);
    });
    EXPECT_EQ(m_oDriver.GetDisplayableDriverVersion(QUEUE), VTEXT("5.1009.1.2"));
    oDate = {0x0E996000, 0x01DAB809};
    EXPECT_EQ(m_oDriver.GetDisplayableDriverVersion(m_hPrinter), VTEXT("5.1009.1.2 2024.06.06"));
}

TEST_F(PrintDriverTest, CapabilitiesAreOneWord) {
    const DWORD dwStored = 0x89ABCDEF;
    m_oFake.printing.SetData(m_hPrinter, VTEXT("PrinterDriverData"), VTEXT("xBaseDriverCaps"), 4, &dwStored, 4);
    EXPECT_EQ(m_oDriver.GetCapabilities(m_hPrinter), 0x89ABCDEF'11022104u);
    EXPECT_EQ(m_oDriver.GetDriverCapability(QUEUE, 0xFF00), 0x2100u);
    EXPECT_EQ(m_oSink.Count(""), 0u);
    m_oFake.printing.AddQueueNamed(VTEXT("bare"), DRIVER);
    EXPECT_EQ(m_oDriver.GetCapabilities(VTEXT("bare")), 0x11000000u);
    for (const char* pszText :
         {"(!csPersonality.IsEmpty())", "Unable to find personality in the registry.  Fallback failed too.",
          "(iPDLType)", "Failed to identify PDL! Returning zero. Many assertions will liklely follow.",
          "(!csColor.IsEmpty())", "Unable to read driver color/mono value from PrinterDriverData.",
          "(!csValue.IsEmpty())", "GetInboxModeFromHandle() failed reading inbox flag from PrinterDriverData."})
        EXPECT_EQ(m_oSink.Count(pszText), 1u) << pszText;
}

TEST_F(PrintDriverTest, StoredTextsAreUnderstoodInAnyCase) {
    const struct {
        const XCHAR *pszValue, *pszText;
        DWORD dwBits;
    } aoRows[] = {
        {VTEXT("xPDL"), VTEXT("PostScript 3"), 0x1},
        {VTEXT("xPDL"), VTEXT("HPGL2"), 0x8},
        {VTEXT("xPDL"), VTEXT("XRaster"), 0x10},
        {VTEXT("xPDL"), VTEXT("PCL6"), 0x4},
        {VTEXT("xPDL"), VTEXT("pcl5e"), 0x2},
        {VTEXT("xPDL"), VTEXT("PCL"), 0x2},
        {VTEXT("xPDL"), VTEXT("PDF"), 0},
        {VTEXT("xColor"), VTEXT("Monochrome"), 0x200},
        {VTEXT("xColor"), VTEXT("grey"), 0},
        {VTEXT("xInbox"), VTEXT("TRUE"), 0x1000},
        {VTEXT("xPrintProc"), VTEXT("1"), 0x10000},
        {VTEXT("xPrintProc"), VTEXT("9"), 0},
        {VTEXT("xPrintProc"), VTEXT("q7pp"), 0x10000},
        {VTEXT("xPrintProc"), VTEXT("MS_XPS_PROC"), 0x40000},
        {VTEXT("xPrintProc"), VTEXT(""), 0},
    };
    for (const auto& rRow : aoRows) {
        m_oFake.printing.AddData(QUEUE, rRow.pszValue, rRow.pszText);
        const XStringView svValue = rRow.pszValue;
        const DWORD dwBits = svValue == VTEXT("xPDL")     ? DWORD(m_oDriver.GetPDLTypeFromName(QUEUE))
                             : svValue == VTEXT("xColor") ? DWORD(m_oDriver.GetColorModeFromName(QUEUE))
                             : svValue == VTEXT("xInbox") ? DWORD(m_oDriver.GetInboxModeFromName(QUEUE))
                                                          : DWORD(m_oDriver.GetPrintProcessorInstalledFromName(QUEUE));
        EXPECT_EQ(dwBits, rRow.dwBits) << Narrow(rRow.pszValue) << " = " << Narrow(rRow.pszText);
    }
    m_oFake.printing.AddQueueNamed(VTEXT("ds"), DRIVER);
    m_oFake.printing.AddData(VTEXT("ds"), VTEXT("printLanguage"), VTEXT("PostScript"), VTEXT("DsDriver"));
    EXPECT_EQ(m_oDriver.GetPDLTypeFromName(VTEXT("ds")), DriverPDLType::PDL_POSTSCRIPT);
    EXPECT_EQ(m_oDriver.GetDriverLanguageString(VTEXT("ds")), VTEXT("PostScript"));
}

TEST_F(PrintDriverTest, TheBaseDriverIsKnownByItsFiles) {
    const struct {
        const XCHAR *pszName, *pszDriver, *pszInterface;
        DWORD dwType;
        const XCHAR* pszLanguage;
    } aoRows[] = {
        {VTEXT("a"), VTEXT("UNIDRV.DLL"), VTEXT("unidrvui.dll"), 0x11000000, VTEXT("Unknown")},
        {VTEXT("b"), VTEXT("pscript5.dll"), VTEXT("PS5UI.dll"), 0x22000000, VTEXT("PostScript")},
        {VTEXT("d PDF"), VTEXT("pscript5.dll"), VTEXT("ps5ui.dll"), 0x28000000, VTEXT("PostScript")},
        {VTEXT("ePDF"), VTEXT("xunidrv.dll"), VTEXT("ps5ui.dll"), 0x20000000, VTEXT("Unknown")},
        {VTEXT("f"), VTEXT("unidrv.dll"), VTEXT("foreign.dll"), 0, VTEXT("Unknown")},
    };
    for (const auto& rRow : aoRows) {
        m_oFake.printing.AddDriverNamed(rRow.pszName, {}, rRow.pszDriver, VTEXT("x.gpd"), rRow.pszInterface);
        m_oFake.printing.AddQueueNamed(rRow.pszName, rRow.pszName);
        DWORD dwType = 0;
        const std::string failure =
            FailureOf([&] { dwType = static_cast<DWORD>(m_oDriver.GetBaseDriverTypeFromDriverInfo2(rRow.pszName)); });
        EXPECT_EQ(dwType, rRow.dwType) << Narrow(rRow.pszName);
        EXPECT_EQ(failure, rRow.dwType ? ""
                                       : "GetBaseDriverTypeFromDriverInfo2() failed because the base driver UI "
                                         "dll,foreign.dll, didn't match 'ps5ui' or 'unidrvui'.");
        EXPECT_EQ(m_oDriver.GetDriverLanguageString(rRow.pszName), rRow.pszLanguage);
    }
}

TEST_F(PrintDriverTest, ValuesAreReadByTheirType) {
    constexpr const XCHAR* KEY = VTEXT("DsSpooler");
    const auto Set = [&](DWORD dwType, const std::vector<BYTE>& rvby) {
        EXPECT_EQ(
            m_oFake.printing.SetData(m_hPrinter, KEY, VTEXT("v"), dwType, rvby.data(), static_cast<DWORD>(rvby.size())),
            Status::Success);
    };
    const auto All = [&] {
        std::string result;
        const auto Try = [&](const auto& rAsk) { result += FailureOf([&] { result += rAsk(); }).empty() ? ";" : "-;"; };
        Try([&] { return Narrow(m_oDriver.GetDeviceFeatureValueStringEx(m_hPrinter, KEY, VTEXT("v")).View()); });
        Try([&] {
            std::string joined;
            for (const CXString& kcs : m_oDriver.GetDeviceFeatureValueStringsEx(QUEUE, KEY, VTEXT("v")))
                joined += Narrow(kcs.View()) + ",";
            return joined;
        });
        Try([&] { return std::to_string(m_oDriver.GetDeviceFeatureValueDWORDEx(QUEUE, KEY, VTEXT("v"))); });
        Try([&] { return std::string(m_oDriver.GetDeviceFeatureValueBOOLEx(QUEUE, KEY, VTEXT("v")) ? "y" : "n"); });
        return result;
    };
    const struct {
        DWORD dwType;
        const char *pszData, *pszExpected;
    } aoRows[] = {
        {1, "4100 0000 4300", "A;A,;-;-;"},  // ends at the first terminator; the last one is missing
        {1, "41", ";,;-;-;"},                // half a unit
        {7, "4100 0000 4200 4300 0000 0000", "A;A,BC,;-;-;"},
        {7, "4100 0000 4200", "A;A,B,;-;-;"},
        {4, "05000000", "-;-;5;y;"},
        {4, "050000", "-;-;-;-;"},
        {3, "00", "-;-;-;n;"},
        {3, "FF", "-;-;-;y;"},
        {3, "", "-;-;-;-;"},
    };
    for (const auto& rRow : aoRows) {
        Set(rRow.dwType, FromHex(rRow.pszData));
        EXPECT_EQ(All(), rRow.pszExpected) << rRow.dwType << ": " << rRow.pszData;
    }
    EXPECT_THAT(FailureOf([&] { m_oDriver.GetDeviceFeatureValueString(QUEUE, VTEXT("none")); }),
                HasSubstr("PrintDriver::GetDeviceFeatureValueStringEx: failed to return a value for none because "));
    EXPECT_THAT(FailureOf([&] { m_oDriver.GetDeviceFeatureValueDWORD(QUEUE, VTEXT("none")); }),
                HasSubstr("GetDeviceFeatureValueDWORDEx: failed to return a value for none because "));
    EXPECT_THAT(FailureOf([&] { m_oDriver.GetDeviceFeatureValueBOOL(QUEUE, VTEXT("none")); }),
                HasSubstr("GetDeviceFeatureValueBOOLEx: failed to return a value for none because "));
}

}  // namespace

}  // namespace vlm::test
