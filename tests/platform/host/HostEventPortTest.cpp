/// @file
/// Named objects, and appending, between processes of the host.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "platform/EventPort.h"
#include "platform/FilePort.h"
#include "platform/OpenFilePort.h"
#include "platform/Platform.h"
#include "platform/ThreadPort.h"
#include "platform/host/HostStore.h"
#include "support/Bytes.h"

namespace vlm::test {

namespace {

/// A store with a place, which its users share their names by.
class HostEventPort : public testing::Test {
protected:
    void SetUp() override {
        m_oFolder = std::filesystem::temp_directory_path() / ("q9-events-" + std::to_string(getpid()));
        std::filesystem::create_directories(m_oFolder);
        ASSERT_TRUE(host::SetHostStorePath((m_oFolder / "store.db").c_str()));
    }
    void TearDown() override {
        host::SetHostStorePath(nullptr);
        std::filesystem::remove_all(m_oFolder);
    }

    static EventPort& Events() { return *GetSystemPlatform().pEvents; }
    static HANDLE Event(const XCHAR* pszName, bool fManualReset = false) {
        HANDLE hEvent = nullptr;
        EXPECT_EQ(Events().CreateEventAt(pszName, fManualReset, false, hEvent), Status::Success);
        return hEvent;
    }
    static Status Wait(HANDLE hObject, DWORD dwMilliseconds, bool& rfAbandoned) {
        DWORD dwIndex = 0;
        return Events().WaitAny(&hObject, 1, dwMilliseconds, dwIndex, rfAbandoned);
    }
    /// Runs `body` in a process of its own; its exit code is 0 when it answers true.
    template <typename Body>
    static pid_t Start(Body body) {
        const pid_t iChild = fork();
        if (iChild == 0) _exit(body() ? 0 : 1);
        return iChild;
    }
    static bool Succeeded(pid_t iChild) {
        int iState = 0;
        return waitpid(iChild, &iState, 0) == iChild && WIFEXITED(iState) && WEXITSTATUS(iState) == 0;
    }
    std::size_t FilesOfObjects() const {
        std::size_t cFiles = 0;
        for (const auto& rEntry : std::filesystem::directory_iterator(m_oFolder / "store.db.objects"))
            cFiles += rEntry.path().filename() != "lock";
        return cFiles;
    }

    std::filesystem::path m_oFolder;
};

TEST_F(HostEventPort, ProcessesSignalEachOther) {
    const pid_t iChild = Start([] {
        bool fAbandoned = false;
        const HANDLE hPing = Event(VTEXT("ping")), hPong = Event(VTEXT("Global\\pong"), true);
        return Wait(hPing, EventPort::WAIT_FOREVER, fAbandoned) == Status::Success &&
               Wait(hPing, 0, fAbandoned) == Status::TimeOut &&
               Events().SetEventState(hPong, true) == Status::Success &&
               Wait(hPing, EventPort::WAIT_FOREVER, fAbandoned) == Status::Success;
    });
    const HANDLE hPing = Event(VTEXT("Local\\ping")), hPong = Event(VTEXT("Global\\pong"), true);
    bool fAbandoned = false;
    EXPECT_EQ(Events().SetEventState(hPing, true), Status::Success);
    EXPECT_EQ(Wait(hPong, EventPort::WAIT_FOREVER, fAbandoned), Status::Success);
    EXPECT_EQ(Events().SetEventState(hPing, true), Status::Success);
    EXPECT_TRUE(Succeeded(iChild));
    EXPECT_EQ(Events().CloseObject(hPing), Status::Success);
    EXPECT_EQ(Events().CloseObject(hPong), Status::Success);
    EXPECT_EQ(FilesOfObjects(), 0u);
}

TEST_F(HostEventPort, AKilledOwnerAbandonsItsMutexAndLeavesNoObject) {
    const pid_t iChild = Start([] {
        HANDLE hMutex = nullptr;
        bool fAbandoned = false;
        return Events().CreateMutexAt(VTEXT("mutex"), hMutex) == Status::Success &&
               Wait(hMutex, 0, fAbandoned) == Status::Success && !fAbandoned &&
               Events().SetEventState(Event(VTEXT("held")), true) == Status::Success &&
               Wait(Event(nullptr), EventPort::WAIT_FOREVER, fAbandoned) == Status::Success;
    });
    const HANDLE hHeld = Event(VTEXT("held"));
    HANDLE hMutex = nullptr;
    bool fAbandoned = false;
    ASSERT_EQ(Wait(hHeld, EventPort::WAIT_FOREVER, fAbandoned), Status::Success);
    ASSERT_EQ(Events().CreateMutexAt(VTEXT("mutex"), hMutex), Status::Success);
    EXPECT_EQ(Wait(hMutex, 1, fAbandoned), Status::TimeOut);
    kill(iChild, SIGKILL);
    EXPECT_FALSE(Succeeded(iChild));
    EXPECT_EQ(Wait(hMutex, EventPort::WAIT_FOREVER, fAbandoned), Status::Success);
    EXPECT_TRUE(fAbandoned);
    EXPECT_EQ(Events().ReleaseMutexOf(hMutex), Status::Success);
    // Another process now gets it as if nothing had been.
    EXPECT_TRUE(Succeeded(Start([] {
        HANDLE hOther = nullptr;
        bool fOtherAbandoned = true;
        return Events().CreateMutexAt(VTEXT("mutex"), hOther) == Status::Success &&
               Wait(hOther, 0, fOtherAbandoned) == Status::Success && !fOtherAbandoned &&
               Events().ReleaseMutexOf(hOther) == Status::Success;
    })));
    EXPECT_EQ(Events().CloseObject(hMutex), Status::Success);
    EXPECT_EQ(Events().CloseObject(hHeld), Status::Success);
}

TEST_F(HostEventPort, ALeftOverFileIsNobodysObject) {
    const pid_t iChild = Start([] {
        Events().SetEventState(Event(VTEXT("left"), true), true);
        raise(SIGKILL);
        return true;
    });
    EXPECT_FALSE(Succeeded(iChild));
    EXPECT_EQ(FilesOfObjects(), 1u);
    HANDLE hEvent = nullptr;
    EXPECT_EQ(Events().OpenEventAt(VTEXT("left"), hEvent), Status::FileNotFound);
    // The name is free for another kind, too.
    EXPECT_EQ(Events().CreateMutexAt(VTEXT("left"), hEvent), Status::Success);
    EXPECT_EQ(Events().CloseObject(hEvent), Status::Success);
    EXPECT_EQ(FilesOfObjects(), 0u);
}

TEST_F(HostEventPort, AMutexKeepsProcessesApart) {
    constexpr int cProcesses = 4, cRounds = 50;
    const std::filesystem::path oCounter = m_oFolder / "counter";
    const auto count = [&](int iMore) {
        FILE* pFile = std::fopen(oCounter.c_str(), "r+");
        if (pFile == nullptr) pFile = std::fopen(oCounter.c_str(), "w+");
        int iCount = 0;
        if (std::fscanf(pFile, "%d", &iCount) != 1) iCount = 0;
        std::rewind(pFile);
        std::fprintf(pFile, "%d\n", iCount + iMore);
        std::fclose(pFile);
        return iCount + iMore;
    };
    pid_t aiChildren[cProcesses];
    for (pid_t& riChild : aiChildren) {
        riChild = Start([&] {
            HANDLE hMutex = nullptr;
            bool fAbandoned = false;
            if (Events().CreateMutexAt(VTEXT("mutex"), hMutex) != Status::Success) return false;
            for (int i = 0; i < cRounds; ++i) {
                if (Wait(hMutex, EventPort::WAIT_FOREVER, fAbandoned) != Status::Success || fAbandoned) return false;
                count(1);
                if (Events().ReleaseMutexOf(hMutex) != Status::Success) return false;
            }
            return Events().CloseObject(hMutex) == Status::Success;
        });
    }
    for (const pid_t iChild : aiChildren)
        EXPECT_TRUE(Succeeded(iChild));
    EXPECT_EQ(count(0), cProcesses * cRounds);
    EXPECT_EQ(FilesOfObjects(), 0u);
}

TEST_F(HostEventPort, ProcessesAppendWholeLines) {
    constexpr int cProcesses = 4, cLines = 200;
    const std::basic_string<XCHAR> path = (m_oFolder / "log").string<XCHAR>();
    const auto append = [&](char c) {
        const Platform& rSystem = GetSystemPlatform();
        const FilePort::OpenOptions oOptions{.eAccess = FilePort::Access::Write,
                                             .eDisposition = FilePort::Disposition::OpenAlways,
                                             .dwShare = FilePort::ShareRead | FilePort::ShareWrite};
        HANDLE hFile = nullptr;
        bool fDone = rSystem.pFiles->Open(path.c_str(), oOptions, hFile) == Status::Success;
        const std::string line = std::string(99, c) + "\n";
        for (int i = 0; fDone && i < cLines; ++i) {
            DWORD dwWritten = 0;
            fDone = rSystem.pOpenFiles->Append(hFile, line.data(), 100, dwWritten) == Status::Success;
        }
        return fDone;
    };
    pid_t aiChildren[cProcesses];
    for (int i = 0; i < cProcesses; ++i)
        aiChildren[i] = Start([&] { return append(static_cast<char>('a' + i)); });
    for (const pid_t iChild : aiChildren)
        EXPECT_TRUE(Succeeded(iChild));
    std::ifstream oFile(m_oFolder / "log");
    int cSeen = 0;
    for (std::string line; std::getline(oFile, line); ++cSeen)
        ASSERT_EQ(line, std::string(99, line.empty() ? '?' : line[0]));
    EXPECT_EQ(cSeen, cProcesses * cLines);
}

DWORD gdwSlot = 0;
std::atomic<int> giHandedOver{0};

TEST(HostThreads, AThreadHasEndedWhenItsSlotsAreHandedOver) {
    const Platform& rSystem = GetSystemPlatform();
    gdwSlot = rSystem.pThreads->AllocSlot([](void*) { ++giHandedOver; });
    for (int i = 1; i <= 50; ++i) {
        HANDLE hThread = nullptr;
        DWORD dwIndex = 0;
        bool fAbandoned = false;
        const auto body = [](void* pArgument) -> unsigned {
            GetSystemPlatform().pThreads->SetSlot(gdwSlot, pArgument);
            return 0;
        };
        ASSERT_EQ(rSystem.pEvents->StartThread(body, &hThread, hThread), Status::Success);
        EXPECT_EQ(rSystem.pEvents->WaitAny(&hThread, 1, EventPort::WAIT_FOREVER, dwIndex, fAbandoned), Status::Success);
        EXPECT_EQ(giHandedOver, i);
        EXPECT_EQ(rSystem.pEvents->CloseObject(hThread), Status::Success);
    }
    EXPECT_EQ(rSystem.pThreads->FreeSlot(gdwSlot), Status::Success);
}

}  // namespace

}  // namespace vlm::test
