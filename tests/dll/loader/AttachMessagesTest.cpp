/// @file
/// What the library says when it comes and goes, on Windows, where a process can load it again and again.
#ifdef _WIN32

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>

#include "dll/OwnMachineKey.h"
#include "dll/loader/Module.h"

namespace {

using dlltest::Module;
using ::testing::HasSubstr;

constexpr const char* LOADED = "> Driver DLLs loaded. Utilities DLL's DllMain(DLL_PROCESS_ATTACH)\r\n";
constexpr const char* UNLOADED = "> Driver DLLs unloaded. Utilities DLL's DllMain(DLL_PROCESS_DETACH)\r\n\r\n";

/// The settings' key.
class Settings {
public:
    Settings() {
        RegCreateKeyExW(HKEY_LOCAL_MACHINE, L"SOFTWARE\\Velom\\KestrixDebugConfig", 0, nullptr, 0, KEY_ALL_ACCESS,
                        nullptr, &m_hKey, nullptr);
    }
    ~Settings() { RegCloseKey(m_hKey); }
    Settings(const Settings&) = delete;
    Settings& operator=(const Settings&) = delete;

    void Set(const wchar_t* pszName, bool fOn) {
        const BYTE by = fOn ? 1 : 0;
        RegSetValueExW(m_hKey, pszName, 0, REG_BINARY, &by, 1);
    }
    void Set(const wchar_t* pszName, DWORD dwValue) {
        RegSetValueExW(m_hKey, pszName, 0, REG_DWORD, reinterpret_cast<const BYTE*>(&dwValue), sizeof(dwValue));
    }
    void Set(const wchar_t* pszName, const std::wstring& rText) {
        RegSetValueExW(m_hKey, pszName, 0, REG_SZ, reinterpret_cast<const BYTE*>(rText.c_str()),
                       static_cast<DWORD>((rText.size() + 1) * sizeof(wchar_t)));
    }
    /// How many values there are.
    DWORD Count() const {
        DWORD cValues = 0;
        RegQueryInfoKeyW(m_hKey, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, &cValues, nullptr, nullptr,
                         nullptr, nullptr);
        return cValues;
    }

private:
    const dlltest::OwnMachineKey m_oMachine;
    HKEY m_hKey = nullptr;
};

class LogFile {
public:
    LogFile() { std::filesystem::remove(m_path); }
    ~LogFile() { std::filesystem::remove(m_path); }
    std::wstring Name() const { return m_path.wstring(); }
    std::string Contents() const {
        std::ifstream file(m_path, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

private:
    std::filesystem::path m_path =
        std::filesystem::temp_directory_path() / ("q9-load-" + std::to_string(GetCurrentProcessId()) + ".log");
};

TEST(AttachMessages, TellThatTheLibraryComesAndGoes) {
    Settings settings;
    const LogFile log;
    { ASSERT_TRUE(Module(Q9_LIBRARY_FILE).IsLoaded()); }
    EXPECT_EQ(settings.Count(), 68u) << "seeded; and nothing is said until that is switched on";
    settings.Set(L"MessagesEnabled", true);
    settings.Set(L"UseLogFile", true);
    settings.Set(L"LogFileName", log.Name());
    settings.Set(L"ExcludedMsgCategories", std::wstring(L"registry,flow,thread"));
    for (int i = 0; i < 3; ++i) {
        const Module module(Q9_LIBRARY_FILE);
        ASSERT_TRUE(module.IsLoaded());
        EXPECT_TRUE(log.Contents().ends_with(LOADED)) << log.Contents();
    }
    EXPECT_TRUE(log.Contents().ends_with(std::string(LOADED) + UNLOADED)) << log.Contents();
    // Closed: it can be deleted.
    EXPECT_TRUE(DeleteFileW(log.Name().c_str()));

    settings.Set(L"PerfMeasureEnabled", true);
    settings.Set(L"PerfMinMicroSecondsToDisplayInOutput", DWORD{0});
    { const Module module(Q9_LIBRARY_FILE); }
    EXPECT_THAT(log.Contents(), HasSubstr(" in DllMain\r\n"));
}

/// The second process; ends with the library loaded.
TEST(AttachMessages, DISABLED_OfAProcessThatEnds) {
    static Settings& rSettings = *std::make_unique<Settings>().release();
    rSettings.Set(L"MessagesEnabled", true);
    rSettings.Set(L"UseLogFile", true);
    rSettings.Set(L"LogFileName", std::wstring(_wgetenv(L"Q9_LOG")));
    static Module& rModule = *std::make_unique<Module>(Q9_LIBRARY_FILE).release();
    EXPECT_TRUE(rModule.IsLoaded());
}

TEST(AttachMessages, TellThatTheProcessEnds) {
    const LogFile log;
    SetEnvironmentVariableW(L"Q9_LOG", log.Name().c_str());
    wchar_t achProgram[MAX_PATH];
    GetModuleFileNameW(nullptr, achProgram, MAX_PATH);
    std::wstring line = L"\"" + std::wstring(achProgram) +
                        L"\" --gtest_also_run_disabled_tests --gtest_filter=AttachMessages.DISABLED_OfAProcessThatEnds";
    STARTUPINFOW oStart{};
    oStart.cb = sizeof(oStart);
    PROCESS_INFORMATION oProcess{};
    ASSERT_TRUE(CreateProcessW(nullptr, line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &oStart, &oProcess));
    ASSERT_EQ(WaitForSingleObject(oProcess.hProcess, 50000), WAIT_OBJECT_0);
    DWORD dwExitCode = 99;
    GetExitCodeProcess(oProcess.hProcess, &dwExitCode);
    EXPECT_EQ(dwExitCode, 0u);
    CloseHandle(oProcess.hThread);
    CloseHandle(oProcess.hProcess);
    RegDeleteTreeW(HKEY_CURRENT_USER,
                   dlltest::OwnMachineKey::NameFor(oProcess.dwProcessId).c_str());  // it left that behind
    EXPECT_THAT(log.Contents(), HasSubstr(LOADED));
    EXPECT_TRUE(log.Contents().ends_with(UNLOADED)) << log.Contents();
}

}  // namespace

#endif
