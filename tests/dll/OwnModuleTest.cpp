/// @file
/// The loaded library knows which module it is.
#include <gtest/gtest.h>

#include "platform/Platform.h"
#include "platform/ProcessPort.h"
#include "utilities/utilitiesdll/dllentry.h"

namespace {

TEST(OwnModule, IsTheFileOfTheLibraryWhereModulesHaveHandles) {
    vlm::ProcessPort& rProcess = *vlm::GetPlatform().pProcess;
    const HINSTANCE hModule = GetUtilitiesDllInstance();
    ASSERT_EQ(hModule != nullptr, rProcess.DescribeSystem().fWindows);
    if (!hModule) return;
    XCHAR szModule[1024] = {}, szLibrary[1024] = {};
    EXPECT_GT(rProcess.ModulePath(hModule, szModule, 1024), 0u);
    EXPECT_GT(rProcess.LibraryPath(szLibrary, 1024), 0u);
    EXPECT_EQ(XStringView(szModule), XStringView(szLibrary));
}

}  // namespace
