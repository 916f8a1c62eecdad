/// @file
/// The module in a process that was not linked with it: as the spooler and other hosts load it.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "dll/loader/Module.h"
#include "q9version.h"

using dlltest::Module;

TEST(Load, TheModuleComesAndGoesAgainAndAgain) {
    for (int i = 0; i < 20; ++i) {
        ASSERT_EQ(Module::IsInProcess(Q9_LIBRARY_FILE), Module::STAYS_LOADED && i > 0) << "round " << i;
        const Module oFirst(Q9_LIBRARY_FILE);
        ASSERT_TRUE(oFirst.IsLoaded());
        {
            const Module oSecond(Q9_LIBRARY_FILE);
            ASSERT_TRUE(oSecond.IsLoaded());
        }
        ASSERT_TRUE(Module::IsInProcess(Q9_LIBRARY_FILE));
    }
    EXPECT_EQ(Module::IsInProcess(Q9_LIBRARY_FILE), Module::STAYS_LOADED);
}

#ifdef _WIN32
namespace {

/// The text of one name in the version resource's English string table; empty when there is none.
std::string VersionText(const std::vector<char>& rResource, const std::string& rName) {
    void* pText = nullptr;
    UINT uLength = 0;
    const std::string sPath = "\\StringFileInfo\\040904B0\\" + rName;
    if (!VerQueryValueA(rResource.data(), sPath.c_str(), &pText, &uLength) || uLength == 0) return {};
    return static_cast<const char*>(pText);
}

}  // namespace

TEST(Load, TheFileTellsItsVersionAndName) {
    std::vector<char> oResource(GetFileVersionInfoSizeA(Q9_LIBRARY_FILE, nullptr));
    ASSERT_FALSE(oResource.empty());
    ASSERT_TRUE(GetFileVersionInfoA(Q9_LIBRARY_FILE, 0, static_cast<DWORD>(oResource.size()), oResource.data()));
    void* pInfo = nullptr;
    UINT uLength = 0;
    ASSERT_TRUE(VerQueryValueA(oResource.data(), "\\", &pInfo, &uLength));
    ASSERT_GE(uLength, sizeof(VS_FIXEDFILEINFO));
    const auto* const pFixed = static_cast<const VS_FIXEDFILEINFO*>(pInfo);
    EXPECT_EQ(pFixed->dwFileVersionMS, MAKELONG(Q9_VERSION_MINOR, Q9_VERSION_MAJOR));
    EXPECT_EQ(pFixed->dwFileVersionLS, MAKELONG(Q9_VERSION_BUILD, Q9_VERSION_PATCH));
    EXPECT_EQ(VersionText(oResource, "FileVersion"), Q9_VERSION_TEXT);
    EXPECT_EQ(VersionText(oResource, "OriginalFilename"), "q9util073.dll");
}
#endif
