/// @file
/// The host's store: several processes on one file, and processes that die in the middle.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>

#include "platform/Platform.h"
#include "platform/RegistryPort.h"
#include "platform/host/HostStore.h"
#include "support/Bytes.h"

namespace vlm::test {

namespace {

using XString = std::basic_string<XCHAR>;
constexpr DWORD ALL = RegistryPort::RIGHTS_ALL;

class HostStore : public testing::Test {
protected:
    HostStore()
        : m_oFolder(std::filesystem::temp_directory_path() / ("q9-store-" + std::to_string(getpid()))),
          m_path((m_oFolder / "store.db").string()) {}
    void SetUp() override {
        std::filesystem::create_directories(m_oFolder);
        ASSERT_TRUE(host::SetHostStorePath(m_path.c_str()));
    }
    void TearDown() override {
        host::SetHostStoreHook(nullptr);
        host::SetHostStorePath(nullptr);
        std::filesystem::remove_all(m_oFolder);
    }

    static RegistryPort& Registry() { return *GetSystemPlatform().pRegistry; }
    static HKEY Root() { return Registry().RootKey(RegistryPort::Root::LocalMachine); }
    static HKEY Make(const XCHAR* pszPath, bool fVolatile = false) {
        HKEY hKey = nullptr;
        bool fCreated = false;
        EXPECT_EQ(Registry().Create(Root(), pszPath, ALL, fVolatile, hKey, fCreated), Status::Success);
        return hKey;
    }
    static Status Set(HKEY hKey, const XString& rName, DWORD dwValue) {
        return Registry().SetValue(hKey, rName.c_str(), RegistryPort::TYPE_DWORD, &dwValue, sizeof(dwValue));
    }
    static DWORD Get(HKEY hKey, const XString& rName) {
        DWORD dwType = 0, dwValue = 0, cb = sizeof(dwValue);
        const Status eStatus = Registry().QueryValue(hKey, rName.c_str(), dwType, &dwValue, cb);
        return eStatus == Status::Success ? dwValue : ~0u;
    }
    static bool Exists(const XCHAR* pszPath) {
        HKEY hKey = nullptr;
        if (Registry().Open(Root(), pszPath, RegistryPort::RIGHTS_READ, hKey) != Status::Success) return false;
        Registry().Close(hKey);
        return true;
    }
    /// Runs `work` in a process of its own.
    static pid_t Start(const std::function<void()>& work) {
        const pid_t iChild = fork();
        if (iChild == 0) {
            work();
            _exit(0);
        }
        return iChild;
    }
    static int Wait(pid_t iChild) {
        int iState = 0;
        EXPECT_EQ(waitpid(iChild, &iState, 0), iChild);
        return iState;
    }

    std::filesystem::path m_oFolder;
    std::string m_path;
};

TEST_F(HostStore, StandsInTheUsersDataFolderWhichIsMadeWithAllAboveIt) {
    const std::filesystem::path data = m_oFolder / "not" / "there" / "yet";
    const pid_t iChild = Start([&] {
        unsetenv("Q9_STORE");
        setenv("XDG_DATA_HOME", data.c_str(), 1);
        host::SetHostStorePath(nullptr);
        Registry().Close(Make(VTEXT("Key")));
        _exit(HasFailure());
    });
    EXPECT_EQ(Wait(iChild), 0);
    EXPECT_TRUE(std::filesystem::exists(data / "q9util" / "store.db"));
    EXPECT_EQ(std::filesystem::status(m_oFolder / "not").permissions(), std::filesystem::perms::owner_all);
}

TEST_F(HostStore, ProcessesShareOneStoreAndLoseNoWrite) {
    constexpr DWORD cProcesses = 4, cValues = 25;
    pid_t aiChildren[cProcesses];
    // The first of them makes the store, in competition with the others.
    for (DWORD i = 0; i < cProcesses; ++i) {
        aiChildren[i] = Start([i] {
            const HKEY hKey = Make(VTEXT("Software\\Shared"));
            for (DWORD j = 0; j < cValues; ++j) {
                if (Set(hKey, Wide(std::to_string(i) + "-" + std::to_string(j)), i * 1000 + j) != Status::Success)
                    _exit(1);
            }
        });
    }
    for (const pid_t iChild : aiChildren)
        EXPECT_EQ(Wait(iChild), 0);
    const HKEY hKey = Make(VTEXT("software\\SHARED"));
    for (DWORD i = 0; i < cProcesses; ++i) {
        for (DWORD j = 0; j < cValues; ++j) {
            EXPECT_EQ(Get(hKey, Wide(std::to_string(i) + "-" + std::to_string(j))), i * 1000 + j);
        }
    }
    Registry().Close(hKey);
}

TEST_F(HostStore, AnotherProcessIsSeenAtOnceAndDeletedKeysAreKnown) {
    const HKEY hKey = Make(VTEXT("Software\\Seen"));
    EXPECT_EQ(Set(hKey, VTEXT("v"), 1), Status::Success);
    EXPECT_EQ(Wait(Start([hKey] {
                  // The handle made before the fork works on this side, too.
                  if (Get(hKey, VTEXT("v")) != 1 || Set(hKey, VTEXT("v"), 2) != Status::Success) _exit(1);
              })),
              0);
    EXPECT_EQ(Get(hKey, VTEXT("v")), 2u);
    EXPECT_EQ(Wait(Start([] {
                  if (Registry().DeleteKey(Root(), VTEXT("Software\\Seen")) != Status::Success) _exit(1);
              })),
              0);
    EXPECT_EQ(Set(hKey, VTEXT("v"), 3), Status::KeyDeleted);
    EXPECT_EQ(Registry().Close(hKey), Status::Success);
}

TEST_F(HostStore, AProcessKilledInTheMiddleLeavesAllOrNothing) {
    const HKEY hKey = Make(VTEXT("Software\\Killed"));
    EXPECT_EQ(Set(hKey, VTEXT("confirmed"), 1), Status::Success);
    const auto killInCommit = [] { host::SetHostStoreHook([]() noexcept { raise(SIGKILL); }); };
    const std::function<void()> aDeeds[] = {
        [&] {
            Set(hKey, VTEXT("confirmed"), 2);
            killInCommit();
            Set(hKey, VTEXT("confirmed"), 3);
        },
        [&] {
            killInCommit();
            Make(VTEXT("Software\\Killed\\a\\b\\c"));
        },
        [&] {
            killInCommit();
            Registry().DeleteKey(Root(), VTEXT("Software\\Killed"));
        },
    };
    for (const auto& rDeed : aDeeds) {
        const int iState = Wait(Start(rDeed));
        EXPECT_TRUE(WIFSIGNALED(iState) && WTERMSIG(iState) == SIGKILL);
        EXPECT_EQ(Get(hKey, VTEXT("confirmed")), 2u);
        EXPECT_FALSE(Exists(VTEXT("Software\\Killed\\a")));
    }
    // The dead left no lock behind.
    EXPECT_EQ(Set(hKey, VTEXT("confirmed"), 4), Status::Success);
    Registry().Close(hKey);
}

TEST_F(HostStore, WhatWasConfirmedIsThereWheneverTheWriterDies) {
    int aiPipe[2];
    ASSERT_EQ(pipe(aiPipe), 0);
    const pid_t iChild = Start([&] {
        const HKEY hKey = Make(VTEXT("Software\\Counted"));
        for (DWORD i = 1;; ++i) {
            if (Set(hKey, VTEXT("count"), i) != Status::Success || write(aiPipe[1], &i, sizeof(i)) != sizeof(i))
                _exit(1);
        }
    });
    DWORD dwConfirmed = 0;
    while (dwConfirmed < 40) {
        ASSERT_EQ(read(aiPipe[0], &dwConfirmed, sizeof(dwConfirmed)), ssize_t{sizeof(dwConfirmed)});
    }
    kill(iChild, SIGKILL);
    Wait(iChild);
    close(aiPipe[1]);
    while (read(aiPipe[0], &dwConfirmed, sizeof(dwConfirmed)) == sizeof(dwConfirmed)) {
    }
    close(aiPipe[0]);
    const HKEY hKey = Make(VTEXT("Software\\Counted"));
    const DWORD dwFound = Get(hKey, VTEXT("count"));
    // The last write may have been made without having been told.
    EXPECT_GE(dwFound, dwConfirmed);
    EXPECT_LE(dwFound, dwConfirmed + 1);
    Registry().Close(hKey);
}

TEST_F(HostStore, HandlesBelongToTheStoreTheyWereMadeIn) {
    const HKEY hKey = Make(VTEXT("Software\\Old"));
    ASSERT_TRUE(host::SetHostStorePath(":memory:"));
    EXPECT_EQ(Set(hKey, VTEXT("v"), 1), Status::InvalidHandle);
    EXPECT_FALSE(Exists(VTEXT("Software\\Old")));
    EXPECT_EQ(Registry().Close(hKey), Status::Success);
    ASSERT_TRUE(host::SetHostStorePath(m_path.c_str()));
    EXPECT_TRUE(Exists(VTEXT("Software\\Old")));
}

TEST_F(HostStore, AFileThatIsNoStoreIsNotTouched) {
    const std::string other = (m_oFolder / "other").string();
    std::ofstream(other) << std::string(5000, 'x');
    HKEY hKey = nullptr;
    ASSERT_TRUE(host::SetHostStorePath(other.c_str()));
    EXPECT_EQ(Registry().Open(Root(), nullptr, ALL, hKey), Status::BadDatabase);
    EXPECT_EQ(std::filesystem::file_size(other), 5000u);
    ASSERT_TRUE(host::SetHostStorePath((m_oFolder / "none" / "store.db").c_str()));
    EXPECT_EQ(Registry().Open(Root(), nullptr, ALL, hKey), Status::PathNotFound);
}

}  // namespace

}  // namespace vlm::test
