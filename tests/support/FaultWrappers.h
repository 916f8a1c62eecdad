/// @file
/// The fault layer's wrappers of the ports for open files, folders, identity, events, sessions and profiles, and what
/// all wrappers share.
#pragma once

#include "platform/EventPort.h"
#include "platform/FolderPort.h"
#include "platform/IdentityPort.h"
#include "platform/OpenFilePort.h"
#include "platform/ProfilePort.h"
#include "platform/SessionPort.h"
#include "support/FakeIdentityPort.h"
#include "support/FaultPlatform.h"

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

class FaultOpenFiles final : public Wrapper<OpenFilePort> {
public:
    using Wrapper::Wrapper;
    Status GetFacts(HANDLE hFile, Facts& rFacts) noexcept override {
        return Guard([&] { return m_rBelow.GetFacts(hFile, rFacts); });
    }
    Status SetAttributesOf(HANDLE hFile, DWORD dwAttributes) noexcept override {
        return Guard([&] { return m_rBelow.SetAttributesOf(hFile, dwAttributes); });
    }
    Status Append(HANDLE hFile, const void* pSource, DWORD dwBytes, DWORD& rdwWritten) noexcept override {
        return GuardWrite(rdwWritten, dwBytes,
                          [&](DWORD dw) { return m_rBelow.Append(hFile, pSource, dw, rdwWritten); });
    }
    Status CreateMappingOf(HANDLE hFile, ULONGLONG ullBytes, bool fWritable, HANDLE& rhMapping) noexcept override {
        return Guard([&] { return m_rBelow.CreateMappingOf(hFile, ullBytes, fWritable, rhMapping); });
    }
    Status MapView(HANDLE hMapping, ULONGLONG ullBytes, void*& rpView) noexcept override {
        return Guard([&] { return m_rBelow.MapView(hMapping, ullBytes, rpView); });
    }
    // Like a close: the view goes in any case.
    Status UnmapView(void* pView) noexcept override {
        return GuardClose([&] { return m_rBelow.UnmapView(pView); });
    }
};

class FaultFolders final : public Wrapper<FolderPort> {
public:
    using Wrapper::Wrapper;
    Status OpenFolder(const XCHAR* pszPath, HANDLE& rhFolder) noexcept override {
        return Guard([&] { return m_rBelow.OpenFolder(pszPath, rhFolder); });
    }
    Status NextEntry(HANDLE hFolder, Entry& rEntry) noexcept override {
        return Guard([&] { return m_rBelow.NextEntry(hFolder, rEntry); });
    }
    Status CloseFolder(HANDLE hFolder) noexcept override {
        return GuardClose([&] { return m_rBelow.CloseFolder(hFolder); });
    }
    Status RemoveFolder(const XCHAR* pszPath) noexcept override {
        return Guard([&] { return m_rBelow.RemoveFolder(pszPath); });
    }
    Status CopyTo(const XCHAR* pszFrom, const XCHAR* pszTo, bool fReplace) noexcept override {
        return Guard([&] { return m_rBelow.CopyTo(pszFrom, pszTo, fReplace); });
    }
    Status DeleteAtRestart(const XCHAR* pszPath) noexcept override {
        return Guard([&] { return m_rBelow.DeleteAtRestart(pszPath); });
    }
};

class FaultIdentity final : public Wrapper<IdentityPort> {
public:
    using Wrapper::Wrapper;
    Status CurrentIdentity(Identity& rIdentity) noexcept override {
        return Guard([&] { return m_rBelow.CurrentIdentity(rIdentity); });
    }
    Status ProcessIdentity(Identity& rIdentity) noexcept override {
        return Guard([&] { return m_rBelow.ProcessIdentity(rIdentity); });
    }
    std::size_t CurrentUserName(XCHAR* pTarget, std::size_t cCapacity) noexcept override {
        return GuardValue([&] { return m_rBelow.CurrentUserName(pTarget, cCapacity); });
    }
    Status SidOfAccount(const XCHAR* pszAccount, XCHAR* pTarget, std::size_t cCapacity) noexcept override {
        return Guard([&] { return m_rBelow.SidOfAccount(pszAccount, pTarget, cCapacity); });
    }
    Status Revert(HANDLE& rhToken) noexcept override {
        return Guard([&] { return m_rBelow.Revert(rhToken); });
    }
    Status Restore(HANDLE hToken) noexcept override {
        if (hToken == nullptr) return m_rBelow.Restore(hToken);
        const Decision eDecision = m_rScript.Decide();
        if (eDecision == Decision::Dead || eDecision == Decision::Torn) return DEAD;
        if (eDecision != Decision::Fail) return m_rBelow.Restore(hToken);
        // The token is closed all the same; the system's own cannot be without being used.
        if (auto* pFake = dynamic_cast<FakeIdentityPort*>(&m_rBelow)) pFake->DiscardToken(hToken);
        return m_rScript.FaultStatus();
    }
    Status ImpersonateLoggedOnUser() noexcept override {
        return Guard([&] { return m_rBelow.ImpersonateLoggedOnUser(); });
    }
    Status EndImpersonation() noexcept override {
        return GuardClose([&] { return m_rBelow.EndImpersonation(); });
    }
    void EndProcess(DWORD dwExitCode) noexcept override {
        if (!m_rScript.IsDead()) m_rBelow.EndProcess(dwExitCode);
    }
    Status SetPrivilege(const XCHAR* pszPrivilege, bool fEnable, bool& rfFormer) noexcept override {
        return Guard([&] { return m_rBelow.SetPrivilege(pszPrivilege, fEnable, rfFormer); });
    }
};

class FaultEvents final : public Wrapper<EventPort> {
public:
    using Wrapper::Wrapper;
    Status CreateEventAt(const XCHAR* pszName, bool fManualReset, bool fSignalled, HANDLE& rhEvent) noexcept override {
        return Guard([&] { return m_rBelow.CreateEventAt(pszName, fManualReset, fSignalled, rhEvent); });
    }
    Status OpenEventAt(const XCHAR* pszName, HANDLE& rhEvent) noexcept override {
        return Guard([&] { return m_rBelow.OpenEventAt(pszName, rhEvent); });
    }
    Status SetEventState(HANDLE hEvent, bool fSignalled) noexcept override {
        return Guard([&] { return m_rBelow.SetEventState(hEvent, fSignalled); });
    }
    Status CreateMutexAt(const XCHAR* pszName, HANDLE& rhMutex) noexcept override {
        return Guard([&] { return m_rBelow.CreateMutexAt(pszName, rhMutex); });
    }
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
    Status CloseObject(HANDLE hObject) noexcept override {
        return GuardClose([&] { return m_rBelow.CloseObject(hObject); });
    }
    Status StartThread(unsigned (*pfnBody)(void*), void* pArgument, HANDLE& rhThread) noexcept override {
        return Guard([&] { return m_rBelow.StartThread(pfnBody, pArgument, rhThread); });
    }
};

class FaultSessions final : public Wrapper<SessionPort> {
public:
    using Wrapper::Wrapper;
    int ShowBox(HWND hwndOwner, const XCHAR* pszText, const XCHAR* pszCaption, DWORD dwStyle) noexcept override {
        return GuardValue([&] { return m_rBelow.ShowBox(hwndOwner, pszText, pszCaption, dwStyle); });
    }
    bool IsDesktopVisible() noexcept override { return m_rBelow.IsDesktopVisible(); }
    void Beep(DWORD dwKind) noexcept override {
        if (!m_rScript.IsDead()) m_rBelow.Beep(dwKind);
    }
    Status EnumerateSessions(Session* pSessions, DWORD& rcSessions) noexcept override {
        const DWORD cRoom = rcSessions;
        rcSessions = 0;
        return Guard([&] {
            rcSessions = cRoom;
            return m_rBelow.EnumerateSessions(pSessions, rcSessions);
        });
    }
    Status ShowBoxInSession(DWORD dwSession, const XCHAR* pszText, const XCHAR* pszCaption, DWORD dwStyle,
                            int& riAnswer) noexcept override {
        return Guard([&] { return m_rBelow.ShowBoxInSession(dwSession, pszText, pszCaption, dwStyle, riAnswer); });
    }
    HWND FindWindowOfClass(const XCHAR* pszClass) noexcept override {
        return GuardValue([&] { return m_rBelow.FindWindowOfClass(pszClass); });
    }
    UINT RegisterMessage(const XCHAR* pszName) noexcept override {
        return GuardValue([&] { return m_rBelow.RegisterMessage(pszName); });
    }
    Status PostToWindow(HWND hwnd, UINT uMessage, WORD wAtom) noexcept override {
        return Guard([&] { return m_rBelow.PostToWindow(hwnd, uMessage, wAtom); });
    }
    Status SendToWindow(HWND hwnd, UINT uMessage, WORD wAtom, DWORD dwMilliseconds) noexcept override {
        return Guard([&] { return m_rBelow.SendToWindow(hwnd, uMessage, wAtom, dwMilliseconds); });
    }
    WORD AddGlobalAtom(const XCHAR* pszText) noexcept override {
        return GuardValue([&] { return m_rBelow.AddGlobalAtom(pszText); });
    }
    void DeleteGlobalAtom(WORD wAtom) noexcept override { m_rBelow.DeleteGlobalAtom(wAtom); }
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
    Status GetStruct(const XCHAR* pszSection, const XCHAR* pszKey, void* pBuffer, DWORD cbBuffer,
                     const XCHAR* pszFile) noexcept override {
        return Guard([&] { return m_rBelow.GetStruct(pszSection, pszKey, pBuffer, cbBuffer, pszFile); });
    }
    Status WriteString(const XCHAR* pszSection, const XCHAR* pszKey, const XCHAR* pszValue,
                       const XCHAR* pszFile) noexcept override {
        return Guard([&] { return m_rBelow.WriteString(pszSection, pszKey, pszValue, pszFile); });
    }
    Status WriteSection(const XCHAR* pszSection, const XCHAR* pszList, const XCHAR* pszFile) noexcept override {
        return Guard([&] { return m_rBelow.WriteSection(pszSection, pszList, pszFile); });
    }
    Status WriteStruct(const XCHAR* pszSection, const XCHAR* pszKey, const void* pData, DWORD cbData,
                       const XCHAR* pszFile) noexcept override {
        return Guard([&] { return m_rBelow.WriteStruct(pszSection, pszKey, pData, cbData, pszFile); });
    }

private:
    static constexpr const XCHAR* NOWHERE = VTEXT("C:\\no such folder\\no such file.ini");
    bool Passes() noexcept {
        return GuardValue([] { return true; });
    }
};

}  // namespace vlm::test
