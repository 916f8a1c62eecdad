/// @file
/// Printer data through the wrappers: the race for the size, mirrors, print servers, CRCs.
#include <gmock/gmock.h>

#include "environment/PrinterDataNames.h"
#include "printing/PrinterFixture.h"

namespace vlm::test {
namespace {

class PrinterDataTest : public PrinterFixture {
protected:
    PrinterDataTest() { m_oPrinter.CreateAllAccessHandle(QUEUE); }
    HANDLE Handle() const { return m_oPrinter.GetPrinterHandle(); }
    DWORD Set(const XCHAR* pszKey, const XCHAR* pszName) {
        const BYTE abyData[] = {1, 2, 3};
        return Printer::SetPrinterDataExMandatoryWrapper(Handle(), pszKey, pszName, 3, abyData, 3);
    }

    XString Mirror(XStringView svKey = DATA) const {
        return XString(VTEXT("HKEY_LOCAL_MACHINE\\")) + FAMILY + VTEXT("\\Mirrored\\") + XString(svKey);
    }

    Printer m_oPrinter;
};

TEST_F(PrinterDataTest, AValueThatGrowsBetweenTheCallsIsReadInFiveAttemptsOrNotAtAll) {
    const struct {
        unsigned cGrowths;
        DWORD dwStatus;
        const char* pszReport;
    } aoRows[] = {
        {1, 0, nullptr},
        {2, 0, "initially failed with error 234, and required 2 retries before it succeeded."},
        {3, 0, "and required 3 retries before it succeeded. The driver has fully recovered."},
        {4, 0,
         "initially failed with error 234, failed 3 retries, and only succeeded after calling sleep(0) to let "
         "other threads run. The 4th retry was successful"},
        {5, 234, "i<iMaxRetries"},
    };
    for (const auto& rRow : aoRows) {
        SCOPED_TRACE(rRow.cGrowths);
        unsigned cCalls = 0;
        DWORD cbLast = 0;
        m_oFake.printing.SetCallScript([&](SpoolerCall& rCall) -> std::optional<Status> {
            if (rCall.svName != VTEXT("Grows")) return std::nullopt;
            cbLast = rCall.cbTarget;
            return Answer(rCall, std::vector<BYTE>(100, 7), ++cCalls <= rRow.cGrowths ? rCall.cbTarget + 8 : cbLast);
        });
        m_oFake.printing.ForgetCalls();
        m_oSink.Clear();
        ByteBuffer bbValue;
        DWORD dwType = 0;
        EXPECT_EQ(Printer::CallGetPrinterDataExWithRetries(Handle(), DATA, VTEXT("Grows"), &dwType, bbValue),
                  rRow.dwStatus);
        EXPECT_EQ(cCalls, std::min(rRow.cGrowths + 1, 5u));
        EXPECT_EQ(bbValue.size(), rRow.dwStatus == 0 ? cbLast : 0u);
        EXPECT_EQ(Reported("Retrying GetPrinterData(Grows) due to ERROR_MORE_DATA."), std::min(rRow.cGrowths, 4u));
        EXPECT_EQ(Reported("fully recovered") + Reported("i<iMaxRetries"), rRow.pszReport ? 1u : 0u);
        if (rRow.pszReport) {
            EXPECT_EQ(Reported(rRow.pszReport), 1u);
        }
    }
}

TEST_F(PrinterDataTest, WhatTheSpoolerClaimsIsNotBelieved) {
    const struct {
        DWORD cbClaimed;
        Status eStatus;
        DWORD dwExpected;
        unsigned cCalls;
    } aoRows[] = {
        {0xFFFFFFFF, Status::MoreData, 234, 1},  {16 * 1024 * 1024 + 1, Status::MoreData, 234, 1},
        {0xFFFFFFFF, Status::Success, 13, 1},    {0, Status::MoreData, 234, 5},
        {8, static_cast<Status>(1722), 1722, 1}, {0, Status::Success, 0, 1},
    };
    for (const auto& rRow : aoRows) {
        SCOPED_TRACE(rRow.cbClaimed);
        m_oFake.printing.SetCallScript([&](SpoolerCall& rCall) -> std::optional<Status> {
            *rCall.pcbNeeded = rRow.cbClaimed;
            return rRow.eStatus;
        });
        m_oFake.printing.ForgetCalls();
        ByteBuffer bbValue;
        EXPECT_EQ(Printer::CallGetPrinterDataExWithRetries(Handle(), DATA, VTEXT("Any"), nullptr, bbValue),
                  rRow.dwExpected);
        EXPECT_EQ(m_oFake.printing.CallsOf("GetData"), rRow.cCalls);
        EXPECT_TRUE(bbValue.empty());
    }
}

TEST_F(PrinterDataTest, TextsAreReadUpToTheirEndWhateverTheBytes) {
    const struct {
        DWORD dwType;
        const char* pszHex;
        bool fRead;
        const char* pszText;
    } aoRows[] = {
        {2, "41 00 42", true, "A"},
        {7, "41 00 00 00 42 00", true, "A"},
        {1, "41", true, ""},
        {4, "41 00 00 00", false, ""},
    };
    for (const auto& rRow : aoRows) {
        SCOPED_TRACE(rRow.pszHex);
        PutData(VTEXT("Text"), rRow.dwType, FromHex(rRow.pszHex));
        CXString csText(VTEXT("before"));
        EXPECT_EQ(m_oPrinter.GetPrinterDataString(VTEXT("Text"), csText), rRow.fRead);
        EXPECT_EQ(Narrow(csText.View()), rRow.pszText);
    }
    ASSERT_TRUE(m_oPrinter.SetPrinterDataString(VTEXT("Text"), VTEXT("caf\u00e9")));
    EXPECT_EQ(ToHex(m_oFake.printing.DataOf(QUEUE, VTEXT("Text")).value()), "630061006600E9000000");
}

TEST_F(PrinterDataTest, OnlyAMirroredQueueKeepsInTheRegistryWhatTheSpoolerDoesNotKnow) {
    m_oFake.registry.AddValue(Mirror(), VTEXT("Old"), 1, FromHex("41 00 00 00"));
    m_oFake.printing.SetCallScript([](SpoolerCall& rCall) -> std::optional<Status> {
        const std::string_view svCall(rCall.pszName);
        if (svCall.find("Data") == svCall.npos) return std::nullopt;
        return rCall.svName == VTEXT("Denied") ? Status::AccessDenied : Status::FileNotFound;
    });
    DWORD cbNeeded = 0, cValues = 0;
    const auto Read = [&](DWORD cbRoom) {
        BYTE abyData[16];
        return Printer::GetPrinterDataExMandatoryWrapper(Handle(), DATA, VTEXT("Old"), nullptr, abyData, cbRoom,
                                                         &cbNeeded);
    };
    std::vector<CXString> vcsNames;
    for (const bool fMirrored : {false, true}) {
        SCOPED_TRACE(fMirrored);
        EXPECT_EQ(Read(16), fMirrored ? 0u : 2u);
        EXPECT_EQ(Set(DATA, VTEXT("New")), fMirrored ? 0u : 2u);
        EXPECT_EQ(m_oFake.registry.ValueAt(Mirror(), VTEXT("New")).has_value(), fMirrored);
        EXPECT_EQ(Printer::EnumPrinterDataNames(Handle(), DATA, vcsNames), fMirrored ? 0u : 2u);
        EXPECT_EQ(vcsNames.size(), fMirrored ? 2u : 0u);
        EXPECT_EQ(Printer::DeletePrinterDataExMandatoryWrapper(Handle(), DATA, VTEXT("New")), fMirrored ? 0u : 2u);
        EXPECT_EQ(Set(DATA, VTEXT("Denied")), 5u);  // only "not found" leads to the mirror
        if (!fMirrored) {
            EXPECT_TRUE(Printer::SetFlagToEnablePrinterDriverDataMirroring(Handle(), true));
        }
    }
    EXPECT_EQ(Read(3), 234u);
    EXPECT_EQ(cbNeeded, 4u);
    EXPECT_EQ(Printer::EnumPrinterDataExMandatoryWrapper(Handle(), DATA, nullptr, 0, &cbNeeded, &cValues), 234u);
    EXPECT_EQ(cbNeeded, 32u + 8u + 4u);

    m_oFake.registry.AddDword(XString(VTEXT("HKEY_CURRENT_USER\\")) + FAMILY, VTEXT("PreventInitOfMirroring"), 1);
    EXPECT_FALSE(Printer::SetFlagToEnablePrinterDriverDataMirroring(Handle(), false));
    EXPECT_EQ(Reported("would have been disabled, but no existing mirrored data has been deleted."), 1u);
    m_oFake.registry.AddDword(XString(VTEXT("HKEY_CURRENT_USER\\")) + FAMILY, VTEXT("PreventInitOfMirroring"), 0);
    EXPECT_TRUE(Printer::SetFlagToEnablePrinterDriverDataMirroring(Handle(), false));
    EXPECT_EQ(Read(16), 2u);
    EXPECT_TRUE(m_oFake.registry.ValueAt(Mirror(), VTEXT("Old")).has_value());
    // The machine's flag counts where the user has none of his own.
    m_oFake.registry.RemoveKey(XString(VTEXT("HKEY_CURRENT_USER\\")) + FAMILY);
    m_oFake.registry.AddDword(XString(VTEXT("HKEY_LOCAL_MACHINE\\")) + FAMILY, VTEXT("Mirroring"), 1);
    EXPECT_EQ(Read(16), 0u);
}

TEST_F(PrinterDataTest, AClientOfAPrintServerChangesNothingOfTheServers) {
    constexpr DWORD NETWORK = PrintQueuePort::ATTRIBUTE_NETWORK, LOCAL = PrintQueuePort::ATTRIBUTE_LOCAL;
    const struct {
        DWORD dwAttributes;
        const XCHAR* pszKey;
        bool fRefused;
    } aoRows[] = {
        {NETWORK, DATA, true},
        {NETWORK, VTEXT("printerdriverdata\\Sub"), true},
        {NETWORK, VTEXT("PrinterDriverDataX"), false},
        {NETWORK | LOCAL, DATA, false},
    };
    for (const auto& rRow : aoRows) {
        SCOPED_TRACE(Narrow(rRow.pszKey));
        m_oFake.registry.AddDword(FakePrintingPorts::QueueKey(QUEUE), VTEXT("Attributes"), rRow.dwAttributes);
        m_oFake.printing.ForgetCalls();
        m_oSink.Clear();
        EXPECT_EQ(Set(rRow.pszKey, VTEXT("V")), rRow.fRefused ? 5u : 0u);
        EXPECT_EQ(Printer::DeletePrinterDataExMandatoryWrapper(Handle(), rRow.pszKey, VTEXT("V")),
                  rRow.fRefused ? 5u : 0u);
        EXPECT_EQ(Reported("CODING ERROR: A Point and Print client is writing to PrinterDriverData"), rRow.fRefused);
        EXPECT_EQ(Reported("CODING ERROR: A Point and Print client is deleting PrinterDriverData"), rRow.fRefused);
        const std::size_t cWrites = m_oFake.printing.CallsOf("SetData") + m_oFake.printing.CallsOf("DeleteData");
        EXPECT_EQ(cWrites, rRow.fRefused ? 0u : 2u);
    }
    // Who does not tell whether he is a client is not written for either.
    m_oFake.printing.ForgetCalls();
    m_oFake.printing.ScriptCallsOf("GetQueueInfo", [](SpoolerCall&) { return static_cast<Status>(1722); });
    EXPECT_EQ(Set(DATA, VTEXT("V")), 1722u);
    EXPECT_EQ(m_oFake.printing.CallsOf("SetData"), 0u);
    EXPECT_FALSE(m_oPrinter.IsRemotePrinterConnection());
    EXPECT_EQ(Reported("(ppi4)"), 1u);
}

TEST_F(PrinterDataTest, AValueWithACrcComesBackUnlessAnyBitOfItChanged) {
    BYTE abyData[] = {1, 2, 3, 4, 5};
    ASSERT_TRUE(m_oPrinter.SetCrc32PrinterData(Handle(), VTEXT("Feature"), 3, abyData, sizeof abyData));
    const std::vector<BYTE> vbyStored = m_oFake.printing.DataOf(QUEUE, VTEXT("Feature")).value();
    ASSERT_EQ(vbyStored.size(), sizeof abyData + 4);
    const void* pRead = m_oPrinter.GetCrc32PrinterData(Handle(), VTEXT("Feature"));
    ASSERT_NE(pRead, nullptr);
    EXPECT_EQ(ToHex(pRead, m_oPrinter.GetCrc32PrinterDataSize()), ToHex(abyData, sizeof abyData));
    for (std::size_t i = 0; i < vbyStored.size() * 8; ++i) {
        std::vector<BYTE> vbyBad = vbyStored;
        vbyBad[i / 8] ^= static_cast<BYTE>(1 << i % 8);
        PutData(VTEXT("Feature"), 3, vbyBad);
        EXPECT_EQ(m_oPrinter.GetCrc32PrinterData(Handle(), VTEXT("Feature")), nullptr) << i;
    }
    for (const std::size_t cBytes : {3u, 4u}) {  // 0 is the CRC of no bytes
        PutData(VTEXT("Feature"), 3, std::vector<BYTE>(cBytes));
        EXPECT_EQ(m_oPrinter.GetCrc32PrinterData(Handle(), VTEXT("Feature")), nullptr);
    }
    EXPECT_EQ(m_oPrinter.GetCrc32PrinterDataSize(), 0u);
    EXPECT_GT(Reported("Printer:GetCrc32PrinterData(LPCTSTR, LPCTSTR) failed because"), 0u);
    // What a caller gets wrong is an assertion each, and nothing is written.
    EXPECT_FALSE(m_oPrinter.SetCrc32PrinterData(nullptr, nullptr, 3, nullptr, 1));
    EXPECT_EQ(m_oPrinter.GetCrc32PrinterData(nullptr, VTEXT("")), nullptr);
    EXPECT_EQ(Reported("(IsValidHandle(hPrinter))"), 2u);
    EXPECT_EQ(Reported("(kszPrinterFeatureName)"), 1u);
    EXPECT_EQ(Reported("(pPrinterData)"), 1u);
    EXPECT_FALSE(m_oPrinter.SetCrc32PrinterData(Handle(), VTEXT("Feature"), 3, abyData, 0));
    EXPECT_EQ(Reported("Printer:SetCrc32PrinterData(LPCTSTR, LPCTSTR, DWORD, PVOID, DWORD) failed because"), 2u);
}

TEST_F(PrinterDataTest, TheSpoolersOwnNamesLandInTheClass) {
    m_oFake.printing.AddQueueNamed(VTEXT("\\\\SERVER\\Far"));
    Printer oFar(VTEXT("\\\\SERVER\\Far"), Printer::THROW);
    BYTE abyData[] = {9, 8};
    // The spooler itself would have written.
    EXPECT_EQ(SetPrinterDataExW(oFar.GetPrinterHandle(), DATA, VTEXT("V"), 3, abyData, 2), 5u);
    EXPECT_EQ(DeletePrinterDataW(oFar.GetPrinterHandle(), VTEXT("V")), 5u);
    std::vector<CXString> vcsKeys;
    EXPECT_EQ(Printer::EnumPrinterKeyW(Handle(), VTEXT("None"), vcsKeys), 2u);
    EXPECT_TRUE(m_oPrinter.TestWritePermissionToPrinterDataFolder());
    m_oSink.Clear();
    EXPECT_FALSE(oFar.TestWritePermissionToPrinterDataFolder());
    EXPECT_EQ(Reported("CODING ERROR"), 0u);
}

}  // namespace
}  // namespace vlm::test
