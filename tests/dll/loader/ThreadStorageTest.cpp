/// @file
/// What threads keep in the library, round its loading, its unloading and the end of the process.
#include <gtest/gtest.h>

#include <cstddef>
#include <memory>
#include <thread>
#include <vector>

#include "dll/loader/Module.h"
#include "support/Gate.h"

namespace {

using dlltest::Module;
using vlm::test::Gate;

/// What the tests call of the library.
class Library {
public:
    bool IsReady() const { return m_oModule.IsLoaded() && pfnCount && pfnStack; }

private:
    template <class Function>
    Function* Find(const char* pszName) const {
        return reinterpret_cast<Function*>(const_cast<void*>(m_oModule.Symbol(pszName)));
    }

    Module m_oModule{Q9_LIBRARY_FILE};

public:
    std::size_t (*pfnCount)() = Find<std::size_t()>("_ZN28UtilitiesDllPerThreadStorage23GetAllocatedObjectCountEv");
    void* (*pfnStack)() = Find<void*()>("_ZN28UtilitiesDllPerThreadStorage24GetExecutionContextStackEv");
};

/// Leaves a thread behind that has an object in the loaded library: the end of the process must neither hang nor crash.
class EndWithARunningThread : public ::testing::Environment {
public:
    void TearDown() override {
        static const auto& rLibrary = *std::make_unique<Library>().release();
        static Gate& rUsed = *std::make_unique<Gate>().release();
        static Gate& rNever = *std::make_unique<Gate>().release();
        std::thread([] {
            rLibrary.pfnStack();
            rUsed.Arrive();
            rNever.Wait();
        }).detach();
        rUsed.Wait();
    }
};
[[maybe_unused]] ::testing::Environment* const gpEnvironment =
    ::testing::AddGlobalTestEnvironment(std::make_unique<EndWithARunningThread>().release());

TEST(ThreadStorage, GoesWithTheThread) {
    const Library library;
    ASSERT_TRUE(library.IsReady());
    Gate ready(4);
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            library.pfnStack();
            ready.ArriveAndWait();
            EXPECT_GE(library.pfnCount(), 1u);
        });
    }
    for (std::thread& rThread : threads)
        rThread.join();
    EXPECT_EQ(library.pfnCount(), 0u);
}

TEST(ThreadStorage, OfAThreadThatOutlivesTheLibraryIsNoTrouble) {
    for (int iRound = 0; iRound < 10; ++iRound) {
        Gate used;
        Gate unloaded;
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
        thread.join();
    }
}

}  // namespace
