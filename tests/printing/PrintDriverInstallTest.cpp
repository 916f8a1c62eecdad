/// @file
/// Installation of drivers, and what the spooler does not answer or lies about.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <functional>

#include "printing/PrintDriverFixture.h"

namespace vlm::test {

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using State = PrintDriver::InstallationState;
using System = ProcessPort::System;

TEST_F(PrintDriverTest, OnlyFourStatesAreWritten) {
    for (WORD wState = 0; wState <= 6; ++wState) {
        m_oFake.printing.ForgetCalls();
        const bool fWritable = wState >= State::Phase1Started && wState <= State::Phase2BDone;
        EXPECT_EQ(PrintDriver::SetInstallationState(m_hPrinter, wState), fWritable);
        EXPECT_EQ(m_oFake.printing.Calls().empty(), !fWritable);
        if (fWritable) {
            EXPECT_EQ(m_oDriver.GetInstallationStateFromHandle(m_hPrinter), wState);
        }
    }
    EXPECT_EQ(m_oSink.Count("PrintDriver::SetInstallationState(): Illegal state argument: "), 3u);
    EXPECT_TRUE(PrintDriver::SetInstallationState(QUEUE, State::Phase2ADone));
    EXPECT_EQ(m_oSink.Count("****SetInstallationState(Phase2ADone) called for PrinterDriverData."), 2u);
    for (const auto& [pszStored, wState] : {std::pair{VTEXT("phase1STARTED"), State::Phase1Started},
                                            {VTEXT("phase2cdone"), State::Phase2CDone},
                                            {VTEXT("Phase3Done"), State::NotStarted}}) {
        m_oFake.printing.AddData(QUEUE, VTEXT("xInstallCompleted"), pszStored);
        EXPECT_EQ(m_oDriver.GetInstallationStateFromName(QUEUE), wState);
    }
    m_oFake.printing.ScriptCallsOf("SetData", [](SpoolerCall&) { return Status::AccessDenied; });
    EXPECT_FALSE(PrintDriver::SetInstallationState(m_hPrinter, State::Phase1Done));
    EXPECT_EQ(m_oSink.Count("SetInstallationState() failed writing PrinterData!"), 1u);
    EXPECT_FALSE(PrintDriver::SetInstallationState(VTEXT("no queue"), State::Phase1Done));
    EXPECT_EQ(m_oSink.Count("An exception occurred in SetInstallationState(): "), 1u);
}

TEST_F(PrintDriverTest, TheStoreOfDriversIsNeverTouched) {
    m_oDriver.BackupDriverStore(m_hPrinter);
    m_oDriver.BackupDriverStore(QUEUE);
    m_oDriver.RestoreDriverStore(m_hPrinter);
    m_oDriver.RestoreDriverStore(QUEUE);
    EXPECT_THAT(m_oSink.Texts(), ElementsAre("PrintDriver::BackupDriverStore(HANDLE): Not Implemented!",
                                             "PrintDriver::BackupDriverStore(LPCTSTR): Not Implemented!",
                                             "PrintDriver::RestoreDriverStore(HANDLE): Not Implemented!",
                                             "PrintDriver::RestoreDriverStore(LPCTSTR): Not Implemented!"));
    EXPECT_TRUE(m_oFake.printing.Calls().empty());
}

TEST_F(PrintDriverTest, InstalledDriversAreListed) {
    ByteBuffer bbDrivers;
    DWORD cDrivers = 7;
    EXPECT_TRUE(PrintDriver::EnumeratePrinterDrivers(1, bbDrivers, &cDrivers, nullptr));
    ASSERT_EQ(cDrivers, 1u);
    EXPECT_EQ(XStringView(reinterpret_cast<const DriverInfo1*>(bbDrivers.data())->pName), DRIVER);
    EXPECT_FALSE(PrintDriver::IsPreResetDriverInstalled());
    EXPECT_FALSE(PrintDriver::EnumeratePrinterDrivers(1, bbDrivers, &cDrivers, VTEXT("Windows ARM")));
    EXPECT_EQ(cDrivers, 0u);
    EXPECT_TRUE(bbDrivers.empty());
    EXPECT_EQ(m_oSink.Count("(bRC || GetLastError()==122L)"), 1u);
    m_oFake.printing.AddDriverNamed(VTEXT("Former"), {}, VTEXT("unidrv.dll"), VTEXT("xQ4Core01.gpd"));
    EXPECT_TRUE(PrintDriver::IsPreResetDriverInstalled());
}

TEST_F(PrintDriverTest, TheInstallersCommandLineFitsTheSystem) {
    const struct {
        System oSystem;
        const XCHAR* pszCommand;
    } aoRows[] = {
        {{true, true, 10, 0}, VTEXT(R"(/ia /m "Velom New" /h "x64" /f "C:\inf\v.inf")")},
        {{true, false, 5, 1}, VTEXT(R"(/ia /m "Velom New" /h "Intel" /v "Windows 2000" /f "C:\inf\v.inf")")},
        {{true, false, 6, 0}, VTEXT(R"(/ia /K /m "Velom New" /h "Windows NT x86" /v "3" /f "C:\inf\v.inf")")},
        {{true, false, 4, 0}, nullptr},
        {{false, true, 0, 0}, nullptr},
    };
    const auto Add = [] { return PrintDriver::AddPrintDriver(VTEXT("Velom New"), VTEXT("C:\\inf"), VTEXT("v.inf")); };
    std::vector<XString> vExpected;
    for (const auto& rRow : aoRows) {
        m_oFake.process.SetSystemTo(rRow.oSystem);
        if (rRow.pszCommand) vExpected.emplace_back(rRow.pszCommand);
        EXPECT_FALSE(Add()) << "nothing was installed";
        EXPECT_EQ(m_oFake.printing.PrinterUiCommands(), vExpected);
    }
    EXPECT_EQ(m_oSink.Count("Unhandled Operating System, don't know how to install the driver!"), 2u);
    EXPECT_EQ(m_oSink.Count("Driver installation for Velom New was not successful"), 5u);
    m_oFake.process.SetSystemTo({true, true, 10, 0});
    for (const char* pszBad : {"a\" /q", "a\nb", ""}) {
        EXPECT_FALSE(PrintDriver::AddPrintDriver(pszBad, "C:", "i"));
        EXPECT_FALSE(PrintDriver::AddPrintDriver("m", pszBad, "i"));
        EXPECT_FALSE(PrintDriver::AddPrintDriver("m", "C:", pszBad));
    }
    for (const auto& [dwStatus, pszText] : {std::pair{ToDword(Status::ModuleNotFound), "the PrintUI DLL"},
                                            {PrinterDriverPort::PROCEDURE_NOT_FOUND, "the PrintUIEntryW method"}}) {
        m_oFake.printing.SetPrinterUi(static_cast<Status>(dwStatus));
        EXPECT_FALSE(Add());
        EXPECT_EQ(m_oSink.Count(std::string("Unable to load ") + pszText + ", installation CANNOT proceed!"), 1u);
    }
    EXPECT_EQ(m_oFake.printing.PrinterUiCommands(), vExpected);
    m_oFake.printing.SetPrinterUi(Status::Success, [&](XStringView) {
        m_oFake.printing.AddDriverNamed(VTEXT("Velom New"));
        return 0;
    });
    EXPECT_TRUE(Add());
    EXPECT_EQ(m_oSink.Count("Driver installation for Velom New was successful"), 1u);
    m_oFake.process.SetSystemFolder(VTEXT(""));
    EXPECT_FALSE(Add());
}

TEST_F(PrintDriverTest, WhatTheSpoolerDoesNotAnswerIsToldOnce) {
    const char* pszFailing = "";
    int iAt = 0;
    m_oFake.printing.SetCallScript([&](SpoolerCall& rCall) -> std::optional<Status> {
        if (std::string_view(rCall.pszName) != pszFailing || iAt-- != 0) return std::nullopt;
        return static_cast<Status>(SpoolerPort::SERVER_UNAVAILABLE);
    });
    const struct {
        const char* pszCall;
        int iAt;
        std::function<void()> fnAsk;
        const char* pszText;
    } aoRows[] = {
        {"GetDriverBlock", 0, [&] { m_oDriver.GetDriverInfo(m_hPrinter, 3); },
         "PrintDriver::GetDriverInfo(HANDLE, DWORD): Unable to get size of PRINTER_INFO_3 do to Windows error "},
        {"GetDriverBlock", 1, [&] { m_oDriver.GetDriverInfo(m_hPrinter, 3); }, "Unable to get DRIVER_INFO_3 due to "},
        {"GetDriverBlock", 0, [&] { m_oDriver.GetDriverName(m_hPrinter); },
         "GetDriverInfo failed in PrinterDriver::GetDriverName with last error of 1722"},
        {"", 0, [&] { m_oDriver.GetDriverInfo(HANDLE{nullptr}, 2); },
         "PrinterDriver::GetDriverInfo(HANDLE, DWORD): Printer handle is invalid!"},
        {"", 0, [&] { m_oDriver.GetDisplayableDriverVersion(HANDLE{nullptr}); },
         "PrinterDriver::GetDriverLanguage(): Printer handle is invalid!"},
        {"", 0, [&] { m_oDriver.GetDriverName(VTEXT("no queue")); }, "'no queue' cannot be opened because "},
        {"GetData", 0, [&] { m_oDriver.GetPDLTypeFromHandle(m_hPrinter); }, "PrintDriver::GetPDLTypeFromHandle(0x"},
    };
    for (const auto& rRow : aoRows) {
        pszFailing = rRow.pszCall;
        iAt = rRow.iAt;
        m_oSink.Clear();
        EXPECT_THAT(FailureOf(rRow.fnAsk), HasSubstr(rRow.pszText));
        EXPECT_EQ(m_oSink.Count("*Throwing* ExceptionPrintDriverFailure: "), 1u);
    }
}

TEST_F(PrintDriverTest, BlocksThatLieAreRefused) {
    // One record with a text that has no end, and a size that is beyond the bound.
    for (const DWORD cbClaim : {64u, 16u * 1024 * 1024 + 1}) {
        m_oFake.printing.SetCallScript([&](SpoolerCall& rCall) -> std::optional<Status> {
            *rCall.pcbNeeded = cbClaim;
            if (rCall.pcReturned) *rCall.pcReturned = 1;
            if (rCall.cbTarget < 64) return Status::InsufficientBuffer;
            auto* const pby = static_cast<BYTE*>(rCall.pTarget);
            std::memset(pby, 'x', rCall.cbTarget);
            const BYTE* const pbyText = pby + sizeof(pby);
            std::memcpy(pby, &pbyText, sizeof(pbyText));
            return Status::Success;
        });
        EXPECT_NE(FailureOf([&] { m_oDriver.GetDriverName(m_hPrinter); }), "") << cbClaim;
        ByteBuffer bbDrivers;
        EXPECT_FALSE(PrintDriver::EnumeratePrinterDrivers(1, bbDrivers, nullptr, nullptr)) << cbClaim;
    }
    // A size that grows for ever is given up; null texts are no texts.
    DWORD cbEver = 16;
    m_oFake.printing.SetCallScript([&](SpoolerCall& rCall) -> std::optional<Status> {
        *rCall.pcbNeeded = cbEver += 16;
        return Status::InsufficientBuffer;
    });
    m_oFake.printing.ForgetCalls();
    EXPECT_NE(FailureOf([&] { m_oDriver.GetDriverPathFromHandle(m_hPrinter); }), "");
    EXPECT_EQ(m_oFake.printing.Calls().size(), 5u);
    m_oFake.printing.ScriptCallsOf("GetDriverBlock",
                                   [](SpoolerCall& rCall) { return Answer(rCall, std::vector<BYTE>(136), 136); });
    EXPECT_EQ(FailureOf([&] { m_oDriver.GetDriverName(m_hPrinter); }),
              "PrintDriver::GetDriverName(): DRIVER_INFO_1's pName is unexpectedly NULL.");
    EXPECT_EQ(FailureOf([&] { m_oDriver.GetDriverPathFromHandle(m_hPrinter); }),
              "PrintDriver::GetDriverPathFromHandle: Unable to retrieve the driver path");
    EXPECT_EQ(m_oDriver.GetDriverFiles(m_hPrinter, PrintDriver::FileType::FT_DATA_FILE), VTEXT(""));
    EXPECT_EQ(m_oDriver.GetDriverFiles(m_hPrinter, PrintDriver::FileType::FT_CONFIGURATION_FILE), VTEXT(""));
    EXPECT_EQ(m_oSink.Count("(pDriverInfo2 && pDriverInfo2->pConfigFile)"), 1u);
    EXPECT_NE(FailureOf([&] { m_oDriver.GetBaseDriverTypeFromDriverInfo2(m_hPrinter); }), "");
    EXPECT_TRUE(m_oDriver.GetDriverDependentFiles(m_hPrinter).empty());
}

}  // namespace

}  // namespace vlm::test
