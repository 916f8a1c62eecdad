/// @file
/// The monitor's DLLs in the real spooler: installed, spoken to, exchanged and removed.
#ifdef _WIN32
#include <windows.h>
// After the system's header.
#include <algorithm>
#include <atomic>
#include <fstream>
#include <set>
#include <string>
#include <thread>

#include "MonitorBench.h"
#include "platform/SpoolerPort.h"
#include "utilities/registry/RegistryKey.h"

namespace vlm::test {

namespace {

constexpr const XCHAR* MONITOR_NAME = VTEXT("Velom Virtualization Port");
constexpr const XCHAR* CHANNEL_NAME = VTEXT(",XcvMonitor Velom Virtualization Port");
constexpr auto VERSION = HKeyRegistry::Hkey_Machine_Version;

SpoolerPort& Spooler() {
    return *GetSystemPlatform().pSpooler;
}

std::wstring SystemFile(const wchar_t* pszName) {
    wchar_t szFolder[MAX_PATH];
    return std::wstring(szFolder, GetSystemDirectoryW(szFolder, MAX_PATH)) + L"\\" + pszName;
}

std::string ReadBytes(const std::wstring& rPath) {
    const HANDLE hFile = CreateFileW(rPath.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_DELETE, nullptr,
                                     OPEN_EXISTING, 0, nullptr);
    EXPECT_NE(hFile, INVALID_HANDLE_VALUE);
    std::string bytes(GetFileSize(hFile, nullptr), '\0');
    DWORD dwRead = 0;
    EXPECT_TRUE(ReadFile(hFile, bytes.data(), static_cast<DWORD>(bytes.size()), &dwRead, nullptr));
    CloseHandle(hFile);
    return bytes;
}

void WriteBytes(const std::wstring& rPath, const std::string& rBytes) {
    const HANDLE hFile = CreateFileW(rPath.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
    ASSERT_NE(hFile, INVALID_HANDLE_VALUE);
    DWORD dwWritten = 0;
    EXPECT_TRUE(WriteFile(hFile, rBytes.data(), static_cast<DWORD>(rBytes.size()), &dwWritten, nullptr));
    CloseHandle(hFile);
}

/// Where the fixed version information stands in a DLL's bytes.
std::size_t VersionOffset(const std::string& rDll) {
    return rDll.find(std::string("\xBD\x04\xEF\xFE\0\0\1\0", 8));
}

/// The same DLL with another last part of its version.
std::string WithBuildNumber(std::string dll, unsigned uiBuild) {
    const std::size_t cAt = VersionOffset(dll) + 12;
    dll[cAt] = static_cast<char>(uiBuild);
    dll[cAt + 1] = static_cast<char>(uiBuild >> 8);
    return dll;
}

unsigned BuildNumberOf(const std::string& rDll) {
    const std::size_t cAt = VersionOffset(rDll) + 12;
    return static_cast<BYTE>(rDll[cAt]) | static_cast<unsigned>(static_cast<BYTE>(rDll[cAt + 1])) << 8;
}

/// The build number in the resource of the module that is loaded under the name.
unsigned LoadedBuildNumber() {
    const HMODULE hModule = GetModuleHandleW(L"q7lrs.dll");
    const HRSRC hResource = FindResourceW(hModule, MAKEINTRESOURCEW(VS_VERSION_INFO), MAKEINTRESOURCEW(16));
    if (!hResource) return 0;
    const char* const pcInfo = static_cast<const char*>(LockResource(LoadResource(hModule, hResource)));
    return BuildNumberOf(std::string(pcInfo, SizeofResource(hModule, hResource)));
}

/// One test at a time in the whole machine: there is one spooler and one system folder.
class MonitorDll : public testing::Test {
protected:
    void SetUp() override {
        m_hMutex = CreateMutexW(nullptr, FALSE, L"q9-tests-of-the-system-spooler");
        ASSERT_EQ(WaitForSingleObject(m_hMutex, 50'000) & ~WAIT_ABANDONED, WAIT_OBJECT_0);
        CleanUp();
        m_monitorDll = ReadBytes(Wide(Q9_MONITOR_FOLDER "/q7lrs.dll"));
        WriteBytes(SystemFile(L"q7lrs.dll"), m_monitorDll);
        WriteBytes(SystemFile(L"q7lrsl.dll"), ReadBytes(Wide(Q9_MONITOR_FOLDER "/q7lrsl.dll")));
        ASSERT_EQ(Spooler().AddMonitorDll(MONITOR_NAME, SpoolerPort::ENVIRONMENT, VTEXT("q7lrsl.dll")),
                  Status::Success);
        ASSERT_EQ(Spooler().OpenPrinterHandle(CHANNEL_NAME, SpoolerPort::ACCESS_ADMINISTER, m_hChannel),
                  Status::Success);
    }
    void TearDown() override {
        if (m_hChannel) {
            EXPECT_EQ(Spooler().ClosePrinterHandle(m_hChannel), Status::Success);
        }
        EXPECT_EQ(Spooler().DeleteMonitorByName(MONITOR_NAME, SpoolerPort::ENVIRONMENT), Status::Success);
        EXPECT_EQ(GetModuleHandleW(L"q7lrs.dll"), nullptr) << "the monitor is still loaded";
        CleanUp();
        ReleaseMutex(m_hMutex);
        CloseHandle(m_hMutex);
    }
    static void CleanUp() {
        Spooler().DeleteMonitorByName(MONITOR_NAME, SpoolerPort::ENVIRONMENT);
        for (const wchar_t* pszName : {L"q7lrs.dll", L"q7lrs.new", L"q7lrs.old", L"q7lrs.bad", L"q7lrsl.dll"})
            DeleteFileW(SystemFile(pszName).c_str());
    }

    Answer SendTo(HANDLE hChannel, const XCHAR* pszCommand, const ByteBuffer& kbbInput, DWORD cbRoom = 4096) {
        Answer oAnswer;
        oAnswer.vbyReply.resize(cbRoom);
        DWORD dwStatus = 4711;
        EXPECT_EQ(Spooler().Transceive(hChannel, pszCommand, kbbInput.getLpbyte(), kbbInput.GetLength(),
                                       oAnswer.vbyReply.data(), cbRoom, oAnswer.cbNeeded, dwStatus),
                  Status::Success);
        oAnswer.eStatus = static_cast<Status>(dwStatus);
        oAnswer.vbyReply.resize(oAnswer.eStatus == Status::Success ? oAnswer.cbNeeded : 0);
        return oAnswer;
    }
    Answer Command(const XCHAR* pszCommand, const ByteBuffer& kbbInput = ByteBuffer()) {
        return SendTo(m_hChannel, pszCommand, kbbInput);
    }
    Answer Send(const PortMonitorRequest& rRequest) {
        ByteBuffer bbRecord;
        rRequest.AppendTo(bbRecord);
        m_setSent.insert(static_cast<int>(rRequest.m_eFunction));
        return Command(VTEXT("xregistry"), bbRecord);
    }

    HANDLE m_hMutex = nullptr, m_hChannel = nullptr;
    std::string m_monitorDll;
    std::set<int> m_setSent;
};

TEST_F(MonitorDll, EveryCodeIsAnswered) {
    using enum _XPMRegistryFunction;
    const CXString csPath =
        CXString::FormatString(VTEXT("q9-dll-test-%u"), static_cast<unsigned>(GetCurrentProcessId()));
    const CXString csOther = csPath + VTEXT("-copy");
    EXPECT_EQ(Command(VTEXT("isready")), Status::Success);
    const auto On = [&](Function eFunction, const XCHAR* pszName = VTEXT(""),
                        const ByteBuffer& kbbData = ByteBuffer()) {
        return Send(MakeRequest(eFunction, VERSION, csPath, pszName, kbbData));
    };
    const auto Hex = [](const Answer& rAnswer) {
        EXPECT_EQ(rAnswer.eStatus, Status::Success);
        return ToHex(rAnswer.vbyReply);
    };
    const ULONGLONG ullKey = TokenIn(On(CreateKey));
    EXPECT_EQ(On(SetBooleanValue, VTEXT("b"), ByteBuffer(FromHex("01"))), Status::Success);
    EXPECT_EQ(On(SetLongValue, VTEXT("l"), ByteBuffer::createFromLongValue(5)), Status::Success);
    EXPECT_EQ(On(SetLong64Value, VTEXT("q"), ByteBuffer::createFromLong64Value(6)), Status::Success);
    EXPECT_EQ(On(SetStringValue, VTEXT("s"), TextData(VTEXT("A"))), Status::Success);
    EXPECT_EQ(On(SetBytesValue, VTEXT("y"), ByteBuffer(FromHex("0102"))), Status::Success);
    EXPECT_EQ(Hex(On(GetBooleanValue, VTEXT("b"))), "01");
    EXPECT_EQ(Hex(On(GetLongValue, VTEXT("l"))), "05000000");
    EXPECT_EQ(Hex(On(GetLong64Value, VTEXT("q"))), "0600000000000000");
    EXPECT_EQ(Hex(On(GetStringValue, VTEXT("s"))), "41000000");
    EXPECT_EQ(Hex(On(GetBytesValue, VTEXT("y"))), "0102");
    EXPECT_EQ(Hex(On(GetIncLongValue, VTEXT("l"), ByteBuffer::createFromLongValue(6))), "05000000");
    EXPECT_EQ(Hex(On(GetIncLong64Value, VTEXT("q"), ByteBuffer::createFromLong64Value(9))), "0600000000000000");
    EXPECT_EQ(Hex(On(GetLongValue, VTEXT("l"))), "00000000");
    EXPECT_EQ(Hex(On(GetClearBooleanValue, VTEXT("b"))), "01");
    EXPECT_EQ(On(DoesValueExist, VTEXT("b")), Status::FileNotFound);
    EXPECT_EQ(On(RenameValue, VTEXT("y"), TextData(VTEXT("Y"))), Status::Success);
    // Two names to us, one to the system.
    EXPECT_EQ(On(RenameValue, VTEXT("Y"), TextData(VTEXT("\u00C4"))), Status::Success);
    EXPECT_EQ(On(RenameValue, VTEXT("\u00C4"), TextData(VTEXT("\u00E4"))), Status::Success);
    EXPECT_EQ(On(DeleteValue, VTEXT("\u00E4")), Status::Success);
    EXPECT_EQ(Hex(On(GetCountOfValues)), "03000000");
    std::vector<CXString> vcsNames;
    EXPECT_TRUE(PortMonitorReply::DecodeNames(On(EnumValueNames).vbyReply, vcsNames));
    EXPECT_EQ(vcsNames, (std::vector<CXString>{VTEXT("l"), VTEXT("q"), VTEXT("s")}));
    const Answer oMany = On(QueryMultipleValues, VTEXT(""), ValueListData({VTEXT("s"), VTEXT("l")}));
    EXPECT_EQ(ToHex(oMany.vbyReply.data() + 64, oMany.vbyReply.size() - 64), "4100000000000000");
    EXPECT_EQ(On(QueryMultipleValues, VTEXT(""), ValueListData({VTEXT("none")})), Status::FileNotFound);
    TokenIn(Send(MakeRequest(CreateKey, ullKey, VTEXT("Sub"))));
    EXPECT_EQ(Hex(Send(MakeRequest(GetCountOfSubKeys, ullKey))), "01000000");
    EXPECT_TRUE(PortMonitorReply::DecodeNames(Send(MakeRequest(EnumKeyNames, ullKey)).vbyReply, vcsNames));
    EXPECT_EQ(vcsNames, (std::vector<CXString>{VTEXT("Sub")}));
    EXPECT_EQ(On(TestAccess), Status::Success);
    PortMonitorRequest oCopy = MakeRequest(CopyKeyAndSubkeysFrom, VERSION, csOther);
    oCopy.m_csThird = csPath;
    EXPECT_EQ(Send(oCopy), Status::Success);
    TokenIn(Send(MakeRequest(OpenKey, VERSION, csOther + VTEXT("\\Sub"))));
    EXPECT_EQ(Send(MakeRequest(DeleteKey, VERSION, csOther)), Status::AccessDenied);
    EXPECT_EQ(Send(MakeRequest(DeleteKeyAndSubkeys, VERSION, csOther)), Status::Success);
    EXPECT_EQ(Send(MakeRequest(DeleteKey, ullKey, VTEXT("Sub"))), Status::Success);
    EXPECT_EQ(Send(MakeRequest(CloseKey, ullKey)), Status::Success);
    EXPECT_EQ(Send(MakeRequest(GetCountOfSubKeys, ullKey)), Status::InvalidHandle);
    EXPECT_EQ(Send(MakeRequest(DeleteKeyAndSubkeys, VERSION, csPath)), Status::Success);
    for (WORD wCode = 0; wCode <= 30; ++wCode)
        EXPECT_EQ(m_setSent.count(wCode), FindRequestOperation(wCode) ? 1u : 0u) << "operation " << wCode;
    EXPECT_EQ(Command(VTEXT("q9-none")), Status::InvalidParameter);
}

TEST_F(MonitorDll, StorageIsRemoved) {
    const auto Exists = [](const XString& rPath) {
        return RegistryKey::TryOpenRegistryKey(HKeyRegistry::Hkey_Local_Machine, XStringView(rPath)) != nullptr;
    };
    const XString storage = VTEXT("Software\\Velom\\PrinterDriver\\V5.0\\LowRightsStorage");
    for (const XCHAR* pszSid : {OWN_SID, OTHER_SID}) {
        PortMonitorRequest oSet = MakeRequest(Function::SetLongValue, HKeyRegistry::Hkey_Low_Rights_Storage_User,
                                              VTEXT("a"), VTEXT("v"), ByteBuffer::createFromLongValue(1));
        oSet.m_csThird = pszSid;
        EXPECT_EQ(Send(oSet), Status::Success);
        EXPECT_TRUE(Exists(storage + VTEXT("\\") + pszSid + VTEXT("\\a")));
    }
    EXPECT_EQ(Command(VTEXT("XRemoveSID"), TextData(OWN_SID)), Status::Success);
    EXPECT_FALSE(Exists(storage + VTEXT("\\") + OWN_SID));
    EXPECT_TRUE(Exists(storage + VTEXT("\\") + OTHER_SID));
    EXPECT_EQ(Command(VTEXT("XRemoveLRS")), Status::Success);
    EXPECT_FALSE(Exists(storage));
}

TEST_F(MonitorDll, ANewerFileTakesThePlaceOfTheOneInForce) {
    const unsigned uiBuild = BuildNumberOf(m_monitorDll);
    EXPECT_EQ(LoadedBuildNumber(), uiBuild);
    const ULONGLONG ullKey = TokenIn(Send(MakeRequest(Function::OpenKey, VERSION, CXString())));
    EXPECT_EQ(Command(VTEXT("upgrade")), Status::FileNotFound);
    // Not newer; not whole; not a monitor: the one in force goes on, with all keys open.
    WriteBytes(SystemFile(L"q7lrs.new"), m_monitorDll);
    EXPECT_EQ(Command(VTEXT("upgrade")), Status::AlreadyExists);
    const std::string newer = WithBuildNumber(m_monitorDll, uiBuild + 1);
    for (const std::string& rBad : {newer.substr(0, newer.size() / 4), std::string("MZ")}) {
        WriteBytes(SystemFile(L"q7lrs.new"), rBad);
        EXPECT_EQ(ToDword(Command(VTEXT("upgrade")).eStatus), DWORD{ERROR_BAD_EXE_FORMAT});
    }
    EXPECT_EQ(Send(MakeRequest(Function::GetCountOfSubKeys, ullKey)).eStatus, Status::Success);
    EXPECT_EQ(LoadedBuildNumber(), uiBuild);

    WriteBytes(SystemFile(L"q7lrs.new"), newer);
    HANDLE hOther = nullptr;
    ASSERT_EQ(Spooler().OpenPrinterHandle(CHANNEL_NAME, 0, hOther), Status::Success);
    EXPECT_EQ(SendTo(hOther, VTEXT("upgrade"), ByteBuffer()), Status::AccessDenied);  // opened without the right
    EXPECT_EQ(Command(VTEXT("upgrade")), Status::Success);
    EXPECT_EQ(LoadedBuildNumber(), uiBuild + 1);
    EXPECT_EQ(BuildNumberOf(ReadBytes(SystemFile(L"q7lrs.dll"))), uiBuild + 1);
    EXPECT_EQ(GetFileAttributesW(SystemFile(L"q7lrs.new").c_str()), INVALID_FILE_ATTRIBUTES);
    EXPECT_EQ(GetFileAttributesW(SystemFile(L"q7lrs.old").c_str()), INVALID_FILE_ATTRIBUTES);
    // Channels stay; keys are gone.
    EXPECT_EQ(Send(MakeRequest(Function::GetCountOfSubKeys, ullKey)), Status::InvalidHandle);
    EXPECT_EQ(Command(VTEXT("isready")), Status::Success);
    EXPECT_EQ(SendTo(hOther, VTEXT("isready"), ByteBuffer()), Status::Success);
    EXPECT_EQ(Spooler().ClosePrinterHandle(hOther), Status::Success);
    EXPECT_EQ(TokenIn(Send(MakeRequest(Function::OpenKey, VERSION, CXString()))) == ullKey, false);
}

TEST_F(MonitorDll, CallsUnderWayEndBeforeTheExchange) {
    const unsigned uiBuild = BuildNumberOf(m_monitorDll);
    std::atomic<bool> fEnd = false;
    std::atomic<int> iAnswers = 0, iOdd = 0;
    std::vector<std::thread> vThreads;
    for (int i = 0; i < 4; ++i) {
        vThreads.emplace_back([&, i] {
            HANDLE hOwn = nullptr;
            if (Spooler().OpenPrinterHandle(CHANNEL_NAME, 0, hOwn) != Status::Success) ++iOdd;
            ByteBuffer bbRecord;
            MakeRequest(Function::SetLongValue, VERSION, CXString::FormatString(VTEXT("q9-drain-%d\\a\\b"), i),
                        VTEXT("v"), ByteBuffer::createFromLongValue(i))
                .AppendTo(bbRecord);
            while (!fEnd) {
                DWORD cbNeeded = 0, dwStatus = 4711;
                const Status eSent = Spooler().Transceive(hOwn, VTEXT("xregistry"), bbRecord.getLpbyte(),
                                                          bbRecord.GetLength(), nullptr, 0, cbNeeded, dwStatus);
                if (eSent != Status::Success || dwStatus != 0) ++iOdd;
                ++iAnswers;
            }
            Spooler().ClosePrinterHandle(hOwn);
        });
    }
    for (unsigned ui = 1; ui <= 5; ++ui) {
        const int iBefore = iAnswers;
        while (iAnswers < iBefore + 20)
            std::this_thread::yield();
        WriteBytes(SystemFile(L"q7lrs.new"), WithBuildNumber(m_monitorDll, uiBuild + ui));
        EXPECT_EQ(Command(VTEXT("upgrade")), Status::Success);
        EXPECT_EQ(LoadedBuildNumber(), uiBuild + ui);
    }
    fEnd = true;
    for (std::thread& rThread : vThreads)
        rThread.join();
    EXPECT_EQ(iOdd, 0);
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(
            Send(MakeRequest(Function::DeleteKeyAndSubkeys, VERSION, CXString::FormatString(VTEXT("q9-drain-%d"), i))),
            Status::Success);
}

TEST_F(MonitorDll, AFileThatDoesNotLoadGivesWayToTheFormerOne) {
    const unsigned uiBuild = BuildNumberOf(m_monitorDll);
    std::string broken = WithBuildNumber(m_monitorDll, uiBuild + 1);
    const std::size_t cImport = broken.find("Cabinet.dll");
    ASSERT_NE(cImport, std::string::npos);
    broken.replace(cImport, 11, "Cabine9.dll");  // the system maps it, but cannot find what it needs
    WriteBytes(SystemFile(L"q7lrs.new"), broken);
    EXPECT_EQ(Command(VTEXT("upgrade")), Status::ModuleNotFound);
    EXPECT_EQ(LoadedBuildNumber(), uiBuild);
    EXPECT_TRUE(ReadBytes(SystemFile(L"q7lrs.dll")) == m_monitorDll);
    EXPECT_EQ(Command(VTEXT("isready")), Status::Success);
}

TEST_F(MonitorDll, ANewFileThatWaitsIsTakenWhenTheMonitorStarts) {
    const unsigned uiBuild = BuildNumberOf(m_monitorDll);
    EXPECT_EQ(Spooler().ClosePrinterHandle(m_hChannel), Status::Success);
    EXPECT_EQ(Spooler().DeleteMonitorByName(MONITOR_NAME, SpoolerPort::ENVIRONMENT), Status::Success);
    HANDLE hGone = nullptr;
    EXPECT_EQ(ToDword(Spooler().OpenPrinterHandle(CHANNEL_NAME, 0, hGone)), SpoolerPort::UNKNOWN_PORT);
    m_hChannel = nullptr;
    WriteBytes(SystemFile(L"q7lrs.new"), WithBuildNumber(m_monitorDll, uiBuild + 2));
    ASSERT_EQ(Spooler().AddMonitorDll(MONITOR_NAME, SpoolerPort::ENVIRONMENT, VTEXT("q7lrsl.dll")), Status::Success);
    EXPECT_EQ(LoadedBuildNumber(), uiBuild + 2);
}

TEST_F(MonitorDll, WithoutTheMonitorTheLoaderIsNotInstalled) {
    EXPECT_EQ(Spooler().ClosePrinterHandle(m_hChannel), Status::Success);
    m_hChannel = nullptr;
    EXPECT_EQ(Spooler().DeleteMonitorByName(MONITOR_NAME, SpoolerPort::ENVIRONMENT), Status::Success);
    DeleteFileW(SystemFile(L"q7lrs.dll").c_str());
    EXPECT_NE(Spooler().AddMonitorDll(MONITOR_NAME, SpoolerPort::ENVIRONMENT, VTEXT("q7lrsl.dll")), Status::Success);
    WriteBytes(SystemFile(L"q7lrs.dll"), m_monitorDll);
    EXPECT_EQ(Spooler().AddMonitorDll(MONITOR_NAME, SpoolerPort::ENVIRONMENT, VTEXT("q7lrsl.dll")), Status::Success);
}

}  // namespace

}  // namespace vlm::test
#endif
