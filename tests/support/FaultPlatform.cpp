/// @file
/// The fault layer: every port call asks the script first.
#include "support/FaultPlatform.h"

#include <memory>
#include <vector>

#include "platform/CabinetPort.h"
#include "support/FaultPrinting.h"
#include "support/FaultTrace.h"
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
    TraceFault();
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

/// The wrappers, and the platform that leads to them.
struct FaultPlatform::Ports {
    Platform oPlatform;
    FaultScript& rScript;
    std::vector<std::shared_ptr<void>> vshpoWrappers;

    template <typename Fault, typename Port>
    void Lay(Port* Platform::*pMember) {
        const auto shpoWrapper = std::make_shared<Fault>(*(oPlatform.*pMember), rScript);
        oPlatform.*pMember = shpoWrapper.get();
        vshpoWrappers.push_back(shpoWrapper);
    }

    Ports(const Platform& rBelow, FaultScript& rScriptArg) : oPlatform(rBelow), rScript(rScriptArg) {
        Lay<FaultText>(&Platform::pText);
        Lay<FaultFiles>(&Platform::pFiles);
        Lay<FaultOpenFiles>(&Platform::pOpenFiles);
        Lay<FaultFolders>(&Platform::pFolders);
        Lay<FaultRegistry>(&Platform::pRegistry);
        Lay<FaultCabinet>(&Platform::pCabinet);
        Lay<FaultDesktop>(&Platform::pDesktop);
        Lay<FaultProcess>(&Platform::pProcess);
        Lay<FaultThreads>(&Platform::pThreads);
        Lay<FaultSpooler>(&Platform::pSpooler);
        Lay<FaultCrypto>(&Platform::pCrypto);
        Lay<FaultIdentity>(&Platform::pIdentity);
        Lay<FaultEvents>(&Platform::pEvents);
        Lay<FaultSessions>(&Platform::pSessions);
        Lay<FaultProfiles>(&Platform::pProfiles);
        const auto shpoPrinting = std::make_shared<FaultPrinting>(rBelow, rScript);
        oPlatform.pQueues = shpoPrinting.get();
        oPlatform.pPrinterData = shpoPrinting.get();
        oPlatform.pDrivers = shpoPrinting.get();
        vshpoWrappers.push_back(shpoPrinting);
    }
};

FaultPlatform::FaultPlatform(const Platform& rBelow) : m_apoPorts(std::make_unique<Ports>(rBelow, m_oScript)) {}

FaultPlatform::~FaultPlatform() = default;

const Platform& FaultPlatform::Get() const noexcept {
    return m_apoPorts->oPlatform;
}

}  // namespace vlm::test
