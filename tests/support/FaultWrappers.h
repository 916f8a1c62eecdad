/// @file
/// The fault layer's wrappers of the ports, but for the cabinet library's and the printing ports'.
#pragma once

#include "platform/CryptoPort.h"
#include "platform/DesktopPort.h"
#include "platform/EventPort.h"
#include "platform/FilePort.h"
#include "platform/FolderPort.h"
#include "platform/IdentityPort.h"
#include "platform/OpenFilePort.h"
#include "platform/ProcessPort.h"
#include "platform/ProfilePort.h"
#include "platform/RegistryPort.h"
#include "platform/SessionPort.h"
#include "platform/TextPort.h"
#include "platform/ThreadPort.h"
#include "support/FakeIdentityPort.h"
#include "support/FaultPlatform.h"
#include "support/PortCalls.h"

namespace vlm::test {

using Decision = FaultScript::Decision;

/// A dead process hears nothing; the status only lets its code run to its end.
inline constexpr Status DEAD = Status::GeneralFailure;

/// What the wrappers have in common: the port below and the script.
template <typename Port>
class Wrapper : public Port {
public:
    Wrapper(Port& rBelow, FaultScript& rScript) noexcept : m_rBelow(rBelow), m_rScript(rScript) {}

protected:
    /// A call that is either made or not.
    template <typename Call>
    Status Guard(Call call) noexcept {
        switch (m_rScript.Decide()) {
            case Decision::Fail:
                return m_rScript.FaultStatus();
            case Decision::Dead:
            case Decision::Torn:
                return DEAD;
            default:
                return call();
        }
    }
    /// The same for calls that answer a count, a pointer or a truth value: the failure is the value's zero.
    template <typename Call>
    auto GuardValue(Call call) noexcept -> decltype(call()) {
        const Decision eDecision = m_rScript.Decide();
        return eDecision == Decision::Pass || eDecision == Decision::Short ? call() : decltype(call()){};
    }
    /// A close: made in any case, unless the process is dead.
    template <typename Call>
    Status GuardClose(Call call) noexcept {
        const Decision eDecision = m_rScript.Decide();
        if (eDecision == Decision::Dead || eDecision == Decision::Torn) return DEAD;
        const Status eStatus = call();
        return eDecision == Decision::Fail ? m_rScript.FaultStatus() : eStatus;
    }
    /// A transfer to the medium: made whole, made by half, or not made.
    template <typename Call>
    Status GuardWrite(DWORD& rdwWritten, DWORD dwBytes, Call call) noexcept {
        rdwWritten = 0;
        switch (m_rScript.Decide()) {
            case Decision::Fail:
                return m_rScript.FaultStatus();
            case Decision::Short: {
                const Status eStatus = call(dwBytes / 2);
                return eStatus == Status::Success ? Status::DiskFull : eStatus;
            }
            case Decision::Torn:
                call(dwBytes / 2);
                return DEAD;
            case Decision::Pass:
                return call(dwBytes);
            default:
                return DEAD;
        }
    }

    Port& m_rBelow;
    FaultScript& m_rScript;
};

// NOLINTBEGIN(bugprone-macro-parentheses): types and names cannot stand in parentheses
#define Q9_FAULT(treatment, answer, name, ...) Q9_FAULT_##treatment(answer, name, __VA_ARGS__)
#define Q9_FAULT_BY(guard, answer, name, ...)                                   \
    answer name(Q9_PARAMETERS(__VA_ARGS__)) noexcept override {                 \
        return guard([&] { return m_rBelow.name(Q9_ARGUMENTS(__VA_ARGS__)); }); \
    }
#define Q9_FAULT_GUARD(answer, name, ...) Q9_FAULT_BY(Guard, answer, name, __VA_ARGS__)
#define Q9_FAULT_VALUE(answer, name, ...) Q9_FAULT_BY(GuardValue, answer, name, __VA_ARGS__)
#define Q9_FAULT_CLOSE(answer, name, ...) Q9_FAULT_BY(GuardClose, answer, name, __VA_ARGS__)
#define Q9_FAULT_PLAIN(answer, name, ...)                       \
    answer name(Q9_PARAMETERS(__VA_ARGS__)) noexcept override { \
        return m_rBelow.name(Q9_ARGUMENTS(__VA_ARGS__));        \
    }
#define Q9_FAULT_ALIVE(answer, name, ...)                                  \
    answer name(Q9_PARAMETERS(__VA_ARGS__)) noexcept override {            \
        if (!m_rScript.IsDead()) m_rBelow.name(Q9_ARGUMENTS(__VA_ARGS__)); \
    }
#define Q9_FAULT_OWN(...)
// NOLINTEND(bugprone-macro-parentheses)

class FaultFiles final : public Wrapper<FilePort> {
public:
    using Wrapper::Wrapper;
    Q9_FILE_CALLS(Q9_FAULT)
    Status Read(HANDLE hFile, void* pTarget, DWORD dwBytes, DWORD& rdwRead) noexcept override {
        rdwRead = 0;
        switch (m_rScript.Decide()) {
            case Decision::Fail:
                return m_rScript.FaultStatus();
            case Decision::Short:  // somebody else cut the file
                return m_rBelow.Read(hFile, pTarget, dwBytes / 2, rdwRead);
            case Decision::Pass:
                return m_rBelow.Read(hFile, pTarget, dwBytes, rdwRead);
            default:
                return DEAD;
        }
    }
    Status Write(HANDLE hFile, const void* pSource, DWORD dwBytes, DWORD& rdwWritten) noexcept override {
        return GuardWrite(rdwWritten, dwBytes,
                          [&](DWORD dw) { return m_rBelow.Write(hFile, pSource, dw, rdwWritten); });
    }
};

class FaultOpenFiles final : public Wrapper<OpenFilePort> {
public:
    using Wrapper::Wrapper;
    Q9_OPEN_FILE_CALLS(Q9_FAULT)
    Status Append(HANDLE hFile, const void* pSource, DWORD dwBytes, DWORD& rdwWritten) noexcept override {
        return GuardWrite(rdwWritten, dwBytes,
                          [&](DWORD dw) { return m_rBelow.Append(hFile, pSource, dw, rdwWritten); });
    }
};

class FaultFolders final : public Wrapper<FolderPort> {
public:
    using Wrapper::Wrapper;
    Q9_FOLDER_CALLS(Q9_FAULT)
};

class FaultText final : public Wrapper<TextPort> {
public:
    using Wrapper::Wrapper;
    Q9_TEXT_CALLS(Q9_FAULT)
    Status WindowText(HWND hwnd, XCHAR* pTarget, std::size_t cCapacity, std::size_t& rcLength) noexcept override {
        rcLength = 0;
        return Guard([&] { return m_rBelow.WindowText(hwnd, pTarget, cCapacity, rcLength); });
    }
};

class FaultDesktop final : public Wrapper<DesktopPort> {
public:
    using Wrapper::Wrapper;
    Q9_FAULT_ALIVE(void, DebuggerOutput, const XCHAR*)
};

class FaultProcess final : public Wrapper<ProcessPort> {
public:
    using Wrapper::Wrapper;
    Q9_FAULT_PLAIN(System, DescribeSystem)
    Q9_FAULT_VALUE(std::size_t, ModulePath, HINSTANCE, XCHAR*, std::size_t)
    Q9_FAULT_VALUE(std::size_t, LibraryPath, XCHAR*, std::size_t)
    Q9_FAULT_GUARD(Status, SystemFolder, XCHAR*, std::size_t)
    Q9_FAULT_GUARD(Status, LoadResources, const XCHAR*, HINSTANCE&)
    Q9_FAULT_CLOSE(Status, FreeResources, HINSTANCE)
    Q9_FAULT_PLAIN(DWORD, CurrentProcessId)
    Q9_FAULT_VALUE(std::size_t, EnvironmentVariable, const XCHAR*, XCHAR*, std::size_t)
    Q9_FAULT_VALUE(std::size_t, ComputerName, XCHAR*, std::size_t)
    Q9_FAULT_VALUE(std::size_t, CommandLine, XCHAR*, std::size_t)
    Q9_FAULT_VALUE(std::size_t, ProcessIds, DWORD*, std::size_t)
};

class FaultThreads final : public Wrapper<ThreadPort> {
public:
    using Wrapper::Wrapper;
    DWORD AllocSlot(void (*pfnThreadEnd)(void*)) noexcept override {
        const Decision eDecision = m_rScript.Decide();
        const bool fMade = eDecision == Decision::Pass || eDecision == Decision::Short;
        return fMade ? m_rBelow.AllocSlot(pfnThreadEnd) : OUT_OF_SLOTS;
    }
    Q9_FAULT_PLAIN(Status, FreeSlot, DWORD)
    Q9_FAULT_PLAIN(void*, GetSlot, DWORD, Status&)
    Status SetSlot(DWORD dwSlot, void* pValue) noexcept override {
        // Emptying a slot needs no memory and does not fail; an owner must be able to rely on it.
        if (pValue == nullptr) return m_rBelow.SetSlot(dwSlot, pValue);
        return Guard([&] { return m_rBelow.SetSlot(dwSlot, pValue); });
    }
    Q9_FAULT_VALUE(void*, LocalAllocate, std::size_t)
    Q9_FAULT_PLAIN(void, LocalRelease, void*)
    Q9_FAULT_PLAIN(DWORD, CurrentThreadId)
    Q9_FAULT_PLAIN(DWORD, LastError)
    Q9_FAULT_PLAIN(void, LeaveLastError, DWORD)
};

class FaultRegistry final : public Wrapper<RegistryPort> {
public:
    using Wrapper::Wrapper;
    Q9_REGISTRY_CALLS(Q9_FAULT)
    Status QueryValue(HKEY hKey, const XCHAR* pszName, DWORD& rdwType, void* pTarget,
                      DWORD& rcbData) noexcept override {
        return GuardGrown(pTarget, rcbData,
                          [&](DWORD& rcb) { return m_rBelow.QueryValue(hKey, pszName, rdwType, pTarget, rcb); });
    }
    Status QueryMultipleValues(HKEY hKey, ValueQuery* pQueries, DWORD cQueries, void* pTarget,
                               DWORD& rcbData) noexcept override {
        return GuardGrown(pTarget, rcbData, [&](DWORD& rcb) {
            return m_rBelow.QueryMultipleValues(hKey, pQueries, cQueries, pTarget, rcb);
        });
    }
    Status EnumerateValue(HKEY hKey, DWORD dwIndex, XCHAR* pszName, DWORD& rcName, DWORD& rdwType, void* pTarget,
                          DWORD& rcbData) noexcept override {
        return GuardGrown(pTarget, rcbData, [&](DWORD& rcb) {
            return m_rBelow.EnumerateValue(hKey, dwIndex, pszName, rcName, rdwType, pTarget, rcb);
        });
    }

private:
    /// A read of data: the short fault is a value that grew after its size was asked for.
    template <typename Call>
    Status GuardGrown(const void* pTarget, DWORD& rcbData, Call call) noexcept {
        switch (m_rScript.Decide()) {
            case Decision::Fail:
                return m_rScript.FaultStatus();
            case Decision::Short:
                if (pTarget != nullptr) {
                    rcbData = rcbData * 2 + 1;
                    return Status::MoreData;
                }
                [[fallthrough]];
            case Decision::Pass:
                return call(rcbData);
            default:
                return DEAD;
        }
    }
};

class FaultCrypto final : public Wrapper<CryptoPort> {
public:
    using Wrapper::Wrapper;
    Q9_CRYPTO_CALLS(Q9_FAULT)
    /// The short fault: the size that was asked for is too small for the call that follows.
    Status Encrypt(HANDLE hKey, const void* pSource, DWORD cbSource, void* pTarget,
                   DWORD& rcbTarget) noexcept override {
        switch (m_rScript.Decide()) {
            case Decision::Fail:
                return m_rScript.FaultStatus();
            case Decision::Short: {
                const Status eStatus = m_rBelow.Encrypt(hKey, pSource, cbSource, pTarget, rcbTarget);
                if (pTarget == nullptr) rcbTarget /= 2;
                return eStatus;
            }
            case Decision::Pass:
                return m_rBelow.Encrypt(hKey, pSource, cbSource, pTarget, rcbTarget);
            default:
                return DEAD;
        }
    }
};

class FaultIdentity final : public Wrapper<IdentityPort> {
public:
    using Wrapper::Wrapper;
    Q9_IDENTITY_CALLS(Q9_FAULT)
    Status Restore(HANDLE hToken) noexcept override {
        if (hToken == nullptr) return m_rBelow.Restore(hToken);
        const Decision eDecision = m_rScript.Decide();
        if (eDecision == Decision::Dead || eDecision == Decision::Torn) return DEAD;
        if (eDecision != Decision::Fail) return m_rBelow.Restore(hToken);
        // The token is closed all the same; the system's own cannot be without being used.
        if (auto* pFake = dynamic_cast<FakeIdentityPort*>(&m_rBelow)) pFake->DiscardToken(hToken);
        return m_rScript.FaultStatus();
    }
};

class FaultEvents final : public Wrapper<EventPort> {
public:
    using Wrapper::Wrapper;
    using ThreadBody = unsigned (*)(void*);
    Q9_EVENT_CALLS(Q9_FAULT)
    Status ReleaseMutexOf(HANDLE hMutex) noexcept override {
        return m_rScript.IsDead() ? DEAD : m_rBelow.ReleaseMutexOf(hMutex);
    }
    Status WaitAny(const HANDLE* phHandles, DWORD cHandles, DWORD dwMilliseconds, DWORD& rdwIndex,
                   bool& rfAbandoned) noexcept override {
        switch (m_rScript.Decide()) {
            case Decision::Fail:
                return m_rScript.FaultStatus();
            case Decision::Short:  // nobody comes in time
                if (dwMilliseconds != WAIT_FOREVER) return Status::TimeOut;
                [[fallthrough]];
            case Decision::Pass:
                return m_rBelow.WaitAny(phHandles, cHandles, dwMilliseconds, rdwIndex, rfAbandoned);
            default:
                return DEAD;
        }
    }
};

class FaultSessions final : public Wrapper<SessionPort> {
public:
    using Wrapper::Wrapper;
    Q9_SESSION_CALLS(Q9_FAULT)
    Status EnumerateSessions(Session* pSessions, DWORD& rcSessions) noexcept override {
        const DWORD cRoom = rcSessions;
        rcSessions = 0;
        return Guard([&] {
            rcSessions = cRoom;
            return m_rBelow.EnumerateSessions(pSessions, rcSessions);
        });
    }
};

/// A read that fails finds no file.
class FaultProfiles final : public Wrapper<ProfilePort> {
public:
    using Wrapper::Wrapper;
    DWORD GetInt(const XCHAR* pszSection, const XCHAR* pszKey, DWORD dwDefault,
                 const XCHAR* pszFile) noexcept override {
        return Passes() ? m_rBelow.GetInt(pszSection, pszKey, dwDefault, pszFile) : dwDefault;
    }
    DWORD GetString(const XCHAR* pszSection, const XCHAR* pszKey, const XCHAR* pszDefault, XCHAR* pszBuffer,
                    DWORD cUnits, const XCHAR* pszFile) noexcept override {
        return m_rBelow.GetString(pszSection, pszKey, pszDefault, pszBuffer, cUnits, Passes() ? pszFile : NOWHERE);
    }
    DWORD GetSection(const XCHAR* pszSection, XCHAR* pszBuffer, DWORD cUnits, const XCHAR* pszFile) noexcept override {
        return m_rBelow.GetSection(pszSection, pszBuffer, cUnits, Passes() ? pszFile : NOWHERE);
    }
    DWORD GetSectionNames(XCHAR* pszBuffer, DWORD cUnits, const XCHAR* pszFile) noexcept override {
        return m_rBelow.GetSectionNames(pszBuffer, cUnits, Passes() ? pszFile : NOWHERE);
    }
    Q9_FAULT_GUARD(Status, GetStruct, const XCHAR*, const XCHAR*, void*, DWORD, const XCHAR*)
    Q9_FAULT_GUARD(Status, WriteString, const XCHAR*, const XCHAR*, const XCHAR*, const XCHAR*)
    Q9_FAULT_GUARD(Status, WriteSection, const XCHAR*, const XCHAR*, const XCHAR*)
    Q9_FAULT_GUARD(Status, WriteStruct, const XCHAR*, const XCHAR*, const void*, DWORD, const XCHAR*)

private:
    static constexpr const XCHAR* NOWHERE = VTEXT("C:\\no such folder\\no such file.ini");
    bool Passes() noexcept {
        return GuardValue([] { return true; });
    }
};

}  // namespace vlm::test
