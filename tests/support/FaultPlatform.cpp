/// @file
/// The fault layer: every port call asks the script first.
#include "support/FaultPlatform.h"

#include <algorithm>
#include <utility>

#include "platform/CabinetPort.h"
#include "platform/ClockPort.h"
#include "platform/CryptoPort.h"
#include "platform/DesktopPort.h"
#include "platform/FilePort.h"
#include "platform/ProcessPort.h"
#include "platform/RegistryPort.h"
#include "platform/SpoolerPort.h"
#include "platform/TextPort.h"
#include "platform/ThreadPort.h"
#include "support/FaultPrinting.h"
#include "support/FaultRegistry.h"
#include "support/FaultWrappers.h"

namespace vlm::test {

using Decision = FaultScript::Decision;

void FaultScript::Arm(FaultMode eMode, std::uint64_t ullCall, Status eStatus) noexcept {
    m_eMode = eMode;
    m_ullAt = ullCall;
    m_ullCalls = 0;
    m_eStatus = eStatus;
    m_fFired = false;
    m_fDead = false;
}

Decision FaultScript::Decide() noexcept {
    const std::uint64_t ullCall = ++m_ullCalls;
    if (m_fDead) return Decision::Dead;
    const FaultMode eMode = m_eMode;
    if (eMode == FaultMode::None || ullCall < m_ullAt || (ullCall > m_ullAt && eMode != FaultMode::FailFrom)) {
        return Decision::Pass;
    }
    m_fFired = true;
    switch (eMode) {
        case FaultMode::ShortOnce:
            return Decision::Short;
        case FaultMode::KillAt:
            m_fDead = true;
            return Decision::Dead;
        case FaultMode::KillTorn:
            m_fDead = true;
            return Decision::Torn;
        default:
            return Decision::Fail;
    }
}

namespace {

class FaultFiles final : public Wrapper<FilePort> {
public:
    using Wrapper::Wrapper;
    Status Open(const XCHAR* pszPath, const OpenOptions& rOptions, HANDLE& rhFile) noexcept override {
        return Guard([&] { return m_rBelow.Open(pszPath, rOptions, rhFile); });
    }
    Status Close(HANDLE hFile) noexcept override {
        return GuardClose([&] { return m_rBelow.Close(hFile); });
    }
    Status Size(HANDLE hFile, ULONGLONG& rullSize) noexcept override {
        return Guard([&] { return m_rBelow.Size(hFile, rullSize); });
    }
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
    Status Seek(HANDLE hFile, ULONGLONG ullOffset) noexcept override {
        return Guard([&] { return m_rBelow.Seek(hFile, ullOffset); });
    }
    Status SetEnd(HANDLE hFile) noexcept override {
        return Guard([&] { return m_rBelow.SetEnd(hFile); });
    }
    Status Flush(HANDLE hFile) noexcept override {
        return Guard([&] { return m_rBelow.Flush(hFile); });
    }
    Status GetAttributes(const XCHAR* pszPath, DWORD& rdwAttributes) noexcept override {
        return Guard([&] { return m_rBelow.GetAttributes(pszPath, rdwAttributes); });
    }
    Status SetAttributes(const XCHAR* pszPath, DWORD dwAttributes) noexcept override {
        return Guard([&] { return m_rBelow.SetAttributes(pszPath, dwAttributes); });
    }
    Status Delete(const XCHAR* pszPath) noexcept override {
        return Guard([&] { return m_rBelow.Delete(pszPath); });
    }
    Status DeleteByHandle(HANDLE hFile) noexcept override {
        return Guard([&] { return m_rBelow.DeleteByHandle(hFile); });
    }
    Status Move(const XCHAR* pszFrom, const XCHAR* pszTo, bool fReplace) noexcept override {
        return Guard([&] { return m_rBelow.Move(pszFrom, pszTo, fReplace); });
    }
    Status CreateDirectoryAt(const XCHAR* pszPath) noexcept override {
        return Guard([&] { return m_rBelow.CreateDirectoryAt(pszPath); });
    }
};

class FaultText final : public Wrapper<TextPort> {
public:
    using Wrapper::Wrapper;
    std::size_t ToWide(DWORD dwCodePage, const char* pSource, std::size_t cBytes, XCHAR* pTarget,
                       std::size_t cCapacity) noexcept override {
        return GuardValue([&] { return m_rBelow.ToWide(dwCodePage, pSource, cBytes, pTarget, cCapacity); });
    }
    std::size_t ToNarrow(DWORD dwCodePage, const XCHAR* pSource, std::size_t cUnits, char* pTarget,
                         std::size_t cCapacity) noexcept override {
        return GuardValue([&] { return m_rBelow.ToNarrow(dwCodePage, pSource, cUnits, pTarget, cCapacity); });
    }
    std::size_t SystemErrorText(DWORD dwError, XCHAR* pTarget, std::size_t cCapacity) noexcept override {
        return GuardValue([&] { return m_rBelow.SystemErrorText(dwError, pTarget, cCapacity); });
    }
    std::size_t FormatMessageText(const XCHAR* pszFormat, const XCHAR* const* ppszInserts, std::size_t cInserts,
                                  XCHAR* pTarget, std::size_t cCapacity) noexcept override {
        return GuardValue(
            [&] { return m_rBelow.FormatMessageText(pszFormat, ppszInserts, cInserts, pTarget, cCapacity); });
    }
    XStringView StringResource(HINSTANCE hModule, UINT uId) noexcept override {
        return GuardValue([&] { return m_rBelow.StringResource(hModule, uId); });
    }
    Status WindowText(HWND hwnd, XCHAR* pTarget, std::size_t cCapacity, std::size_t& rcLength) noexcept override {
        rcLength = 0;
        return Guard([&] { return m_rBelow.WindowText(hwnd, pTarget, cCapacity, rcLength); });
    }
    HWND ParentWindow(HWND hwnd) noexcept override {
        return GuardValue([&] { return m_rBelow.ParentWindow(hwnd); });
    }
    Status SetWindowCaption(HWND hwnd, const XCHAR* pszText) noexcept override {
        return Guard([&] { return m_rBelow.SetWindowCaption(hwnd, pszText); });
    }
};

class FaultDesktop final : public Wrapper<DesktopPort> {
public:
    using Wrapper::Wrapper;
    void DebuggerOutput(const XCHAR* pszText) noexcept override {
        if (!m_rScript.IsDead()) m_rBelow.DebuggerOutput(pszText);
    }
    bool IsDebuggerPresent() noexcept override { return m_rBelow.IsDebuggerPresent(); }
};

class FaultProcess final : public Wrapper<ProcessPort> {
public:
    using Wrapper::Wrapper;
    System DescribeSystem() noexcept override { return m_rBelow.DescribeSystem(); }
    std::size_t ModulePath(HINSTANCE hModule, XCHAR* pTarget, std::size_t cCapacity) noexcept override {
        return GuardValue([&] { return m_rBelow.ModulePath(hModule, pTarget, cCapacity); });
    }
    std::size_t LibraryPath(XCHAR* pTarget, std::size_t cCapacity) noexcept override {
        return GuardValue([&] { return m_rBelow.LibraryPath(pTarget, cCapacity); });
    }
    Status SystemFolder(XCHAR* pTarget, std::size_t cCapacity) noexcept override {
        return Guard([&] { return m_rBelow.SystemFolder(pTarget, cCapacity); });
    }
    Status LoadResources(const XCHAR* pszPath, HINSTANCE& rhModule) noexcept override {
        return Guard([&] { return m_rBelow.LoadResources(pszPath, rhModule); });
    }
    Status FreeResources(HINSTANCE hModule) noexcept override {
        return GuardClose([&] { return m_rBelow.FreeResources(hModule); });
    }
    DWORD CurrentProcessId() noexcept override { return m_rBelow.CurrentProcessId(); }
    std::size_t EnvironmentVariable(const XCHAR* pszName, XCHAR* pTarget, std::size_t cCapacity) noexcept override {
        return GuardValue([&] { return m_rBelow.EnvironmentVariable(pszName, pTarget, cCapacity); });
    }
    std::size_t ComputerName(XCHAR* pTarget, std::size_t cCapacity) noexcept override {
        return GuardValue([&] { return m_rBelow.ComputerName(pTarget, cCapacity); });
    }
    std::size_t CommandLine(XCHAR* pTarget, std::size_t cCapacity) noexcept override {
        return GuardValue([&] { return m_rBelow.CommandLine(pTarget, cCapacity); });
    }
    std::size_t ProcessIds(DWORD* pdwIds, std::size_t cCapacity) noexcept override {
        return GuardValue([&] { return m_rBelow.ProcessIds(pdwIds, cCapacity); });
    }
};

class FaultThreads final : public Wrapper<ThreadPort> {
public:
    using Wrapper::Wrapper;
    DWORD AllocSlot(void (*pfnThreadEnd)(void*)) noexcept override {
        const Decision eDecision = m_rScript.Decide();
        const bool fMade = eDecision == Decision::Pass || eDecision == Decision::Short;
        return fMade ? m_rBelow.AllocSlot(pfnThreadEnd) : OUT_OF_SLOTS;
    }
    Status FreeSlot(DWORD dwSlot) noexcept override { return m_rBelow.FreeSlot(dwSlot); }
    void* GetSlot(DWORD dwSlot, Status& rStatus) noexcept override { return m_rBelow.GetSlot(dwSlot, rStatus); }
    Status SetSlot(DWORD dwSlot, void* pValue) noexcept override {
        // Emptying a slot needs no memory and does not fail; an owner must be able to rely on it.
        if (pValue == nullptr) return m_rBelow.SetSlot(dwSlot, pValue);
        return Guard([&] { return m_rBelow.SetSlot(dwSlot, pValue); });
    }
    void* LocalAllocate(std::size_t cBytes) noexcept override {
        return GuardValue([&] { return m_rBelow.LocalAllocate(cBytes); });
    }
    void LocalRelease(void* pMemory) noexcept override { m_rBelow.LocalRelease(pMemory); }
    DWORD CurrentThreadId() noexcept override { return m_rBelow.CurrentThreadId(); }
    DWORD LastError() noexcept override { return m_rBelow.LastError(); }
    void LeaveLastError(DWORD dwError) noexcept override { m_rBelow.LeaveLastError(dwError); }
};

/// The callbacks fail, too, instead of reaching the caller's code.
class FaultCabinet final : public Wrapper<CabinetPort> {
public:
    using Wrapper::Wrapper;
    bool Compress(CabinetFiles& rFiles, const char* pszSource, const char* pszMember, const char* pszImage, LONG lLevel,
                  CabinetStep& reStep, CabinetError& rError) noexcept override {
        if (IsFailing(reStep, rError)) return false;
        Files oFiles(rFiles, m_rScript);
        return m_rBelow.Compress(oFiles, pszSource, pszMember, pszImage, lLevel, reStep, rError);
    }
    bool Extract(CabinetFiles& rFiles, CabinetMembers& rMembers, const char* pszImage, CabinetStep& reStep,
                 CabinetError& rError) noexcept override {
        if (IsFailing(reStep, rError)) return false;
        Files oFiles(rFiles, m_rScript);
        return m_rBelow.Extract(oFiles, rMembers, pszImage, reStep, rError);
    }

private:
    struct Files final : CabinetFiles {
        Files(CabinetFiles& rBelowArg, FaultScript& rScriptArg) : rBelow(rBelowArg), rScript(rScriptArg) {}
        bool Fails() const noexcept {
            const Decision eDecision = rScript.Decide();
            return eDecision != Decision::Pass && eDecision != Decision::Short;
        }
        std::intptr_t Open(const char* psz, Mode eMode) noexcept override {
            return Fails() ? -1 : rBelow.Open(psz, eMode);
        }
        UINT Read(std::intptr_t h, void* p, UINT c) noexcept override {
            return Fails() ? 0xFFFFFFFF : rBelow.Read(h, p, c);
        }
        UINT Write(std::intptr_t h, const void* p, UINT c) noexcept override {
            return Fails() ? 0xFFFFFFFF : rBelow.Write(h, p, c);
        }
        LONG Seek(std::intptr_t h, LONG l, int i) noexcept override { return Fails() ? -1 : rBelow.Seek(h, l, i); }
        int Close(std::intptr_t h) noexcept override { return rBelow.Close(h); }
        int Delete(const char* psz) noexcept override { return rBelow.Delete(psz); }
        void* Allocate(std::size_t c) noexcept override { return Fails() ? nullptr : rBelow.Allocate(c); }
        void Release(void* p) noexcept override { rBelow.Release(p); }
        CabinetFiles& rBelow;
        FaultScript& rScript;
    };

    bool IsFailing(CabinetStep& reStep, CabinetError& rError) noexcept {
        const Decision eDecision = m_rScript.Decide();
        if (eDecision == Decision::Pass || eDecision == Decision::Short) return false;
        reStep = CabinetStep::Create;
        rError = CabinetError{};
        return true;
    }
};

}  // namespace

struct FaultPlatform::Ports {
    FaultText oText;
    FaultFiles oFiles;
    FaultOpenFiles oOpenFiles;
    FaultFolders oFolders;
    FaultRegistry oRegistry;
    FaultCabinet oCabinet;
    FaultDesktop oDesktop;
    FaultProcess oProcess;
    FaultThreads oThreads;
    FaultSpooler oSpooler;
    FaultPrinting oPrinting;
    FaultCrypto oCrypto;
    FaultIdentity oIdentity;
    FaultEvents oEvents;
    FaultSessions oSessions;
    FaultProfiles oProfiles;
    Platform oPlatform;

    Ports(const Platform& rBelow, FaultScript& rScript)
        : oText(*rBelow.pText, rScript),
          oFiles(*rBelow.pFiles, rScript),
          oOpenFiles(*rBelow.pOpenFiles, rScript),
          oFolders(*rBelow.pFolders, rScript),
          oRegistry(*rBelow.pRegistry, rScript),
          oCabinet(*rBelow.pCabinet, rScript),
          oDesktop(*rBelow.pDesktop, rScript),
          oProcess(*rBelow.pProcess, rScript),
          oThreads(*rBelow.pThreads, rScript),
          oSpooler(*rBelow.pSpooler, rScript),
          oPrinting(rBelow, rScript),
          oCrypto(*rBelow.pCrypto, rScript),
          oIdentity(*rBelow.pIdentity, rScript),
          oEvents(*rBelow.pEvents, rScript),
          oSessions(*rBelow.pSessions, rScript),
          oProfiles(*rBelow.pProfiles, rScript),
          oPlatform{
              .pText = &oText,
              .pFiles = &oFiles,
              .pOpenFiles = &oOpenFiles,
              .pFolders = &oFolders,
              .pRegistry = &oRegistry,
              .pCabinet = &oCabinet,
              .pDesktop = &oDesktop,
              .pProcess = &oProcess,
              .pThreads = &oThreads,
              .pClock = rBelow.pClock,
              .pSpooler = &oSpooler,
              .pQueues = &oPrinting,
              .pPrinterData = &oPrinting,
              .pDrivers = &oPrinting,
              .pCrypto = &oCrypto,
              .pIdentity = &oIdentity,
              .pEvents = &oEvents,
              .pSessions = &oSessions,
              .pProfiles = &oProfiles,
          } {}
};

FaultPlatform::FaultPlatform(const Platform& rBelow) : m_apoPorts(std::make_unique<Ports>(rBelow, m_oScript)) {}

FaultPlatform::~FaultPlatform() = default;

const Platform& FaultPlatform::Get() const noexcept {
    return m_apoPorts->oPlatform;
}

}  // namespace vlm::test
