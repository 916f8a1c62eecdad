/// @file
/// The module in a process that was not linked with it: as the spooler and other hosts load it.
#include <gtest/gtest.h>

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
TEST(Load, TheFileTellsItsVersionAndName) {
    std::vector<char> oResource(GetFileVersionInfoSizeA(Q9_LIBRARY_FILE, nullptr));
    ASSERT_TRUE(GetFileVersionInfoA(Q9_LIBRARY_FILE, 0, static_cast<DWORD>(oResource.size()), oResource.data()));
    const auto query = [&](const char* pszPath) -> const void* {
        void* pFound = nullptr;
        UINT uLength = 0;
        return VerQueryValueA(oResource.data(), pszPath, &pFound, &uLength) ? pFound : nullptr;
    };
    const auto* const pFixed = static_cast<const VS_FIXEDFILEINFO*>(query("\\"));
    ASSERT_NE(pFixed, nullptr);
    EXPECT_EQ(pFixed->dwFileVersionMS, MAKELONG(Q9_VERSION_MINOR, Q9_VERSION_MAJOR));
    EXPECT_EQ(pFixed->dwFileVersionLS, MAKELONG(Q9_VERSION_BUILD, Q9_VERSION_PATCH));
    EXPECT_STREQ(static_cast<const char*>(query("\\StringFileInfo\\040904B0\\FileVersion")), Q9_VERSION_TEXT);
    EXPECT_STREQ(static_cast<const char*>(query("\\StringFileInfo\\040904B0\\OriginalFilename")), "q9util073.dll");
}
#endif
