/// @file
/// The library loaded and let go of at run time, round threads that use it.  This program is not linked with it.
#include <gtest/gtest.h>

#include <cstddef>
#include <thread>
#include <vector>

#include "support/Gate.h"
#include "support/SharedModule.h"

namespace {

using vlm::test::Gate;
using vlm::test::SharedModule;

/// What the tests call of the library.
struct Library {
    SharedModule oModule{Q9_LIBRARY_FILE};
    std::size_t (*pfnCount)() =
        oModule.Find<std::size_t()>("_ZN28UtilitiesDllPerThreadStorage23GetAllocatedObjectCountEv");
    void* (*pfnStack)() = oModule.Find<void*()>("_ZN28UtilitiesDllPerThreadStorage24GetExecutionContextStackEv");

    bool IsReady() const { return oModule.IsLoaded() && pfnCount && pfnStack; }
};

TEST(LoadAndUnload, ThreadsThatEndLeaveNothingBehind) {
    const Library library;
    ASSERT_TRUE(library.IsReady());
    Gate ready(4);
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            library.pfnStack();
            ready.ArriveAndWait();
        });
    }
    for (std::thread& rThread : threads)
        rThread.join();
    EXPECT_EQ(library.pfnCount(), 0u);
}

TEST(LoadAndUnload, MayHappenWhileAThreadThatUsedItStillRuns) {
    for (int iRound = 0; iRound < 10; ++iRound) {
        Gate used(1);
        Gate unloaded(1);
        std::thread thread;
        {
            const Library library;
            ASSERT_TRUE(library.IsReady());
            EXPECT_EQ(library.pfnCount(), 0u) << "the former life has left objects";
            thread = std::thread([&, pfnStack = library.pfnStack] {
                pfnStack();
                used.Arrive();
                unloaded.Wait();
            });
            used.Wait();
            EXPECT_EQ(library.pfnCount(), 1u);
        }
        unloaded.Arrive();
        thread.join();  // the thread ends after the library has been let go of
    }
}

}  // namespace

int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    const int iResult = RUN_ALL_TESTS();
    if (::testing::GTEST_FLAG(list_tests)) return iResult;

    // The process ends with the library loaded and a thread that still has an object in it: that must not hang or
    // crash.
    static const Library library;
    static Gate used(1);
    static Gate never(1);
    std::thread([] {
        library.pfnStack();
        used.Arrive();
        never.Wait();
    }).detach();
    used.Wait();
    return iResult;
}
