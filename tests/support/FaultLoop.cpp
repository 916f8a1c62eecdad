/// @file
/// The driver of the fault loop.
#include "support/FaultLoop.h"

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <mutex>
#include <optional>
#include <thread>
#include <typeinfo>

#include "support/AllocationFaults.h"

namespace vlm::test {

namespace {

/// No scenario is that long; only one that never ends is.
constexpr std::uint64_t MOST_FAULTS = 100'000;

const char* NameOf(FaultMode eMode) {
    switch (eMode) {
        case FaultMode::FailOnce:
            return "fail once at call";
        case FaultMode::FailFrom:
            return "fail from call";
        case FaultMode::ShortOnce:
            return "short at call";
        case FaultMode::KillAt:
            return "killed at call";
        case FaultMode::KillTorn:
            return "killed within call";
        default:
            return "no fault";
    }
}

/// Ends the process when a run hangs: a hang has no other way to become a failure.
class Watchdog {
public:
    Watchdog() : m_oThread([this] { Watch(); }) {}
    ~Watchdog() {
        {
            const std::lock_guard oLock(m_oMutex);
            m_fEnd = true;
        }
        m_oChanged.notify_all();
        m_oThread.join();
    }
    void Begin(const std::string& rWhat) {
        const std::lock_guard oLock(m_oMutex);
        m_what = rWhat;
        ++m_uiRun;
        m_oChanged.notify_all();
    }

private:
    void Watch() {
        std::unique_lock oLock(m_oMutex);
        while (!m_fEnd) {
            const unsigned uiRun = m_uiRun;
            const bool fMoved =
                m_oChanged.wait_for(oLock, std::chrono::minutes(1), [&] { return m_fEnd || m_uiRun != uiRun; });
            if (!fMoved && uiRun != 0) {
                std::fprintf(stderr, "hang: %s\n", m_what.c_str());
                std::abort();
            }
        }
    }
    std::mutex m_oMutex;
    std::condition_variable m_oChanged;
    std::string m_what;
    unsigned m_uiRun = 0;
    bool m_fEnd = false;
    std::thread m_oThread;
};

/// One run's surroundings: a fresh fake, the fault layer over it, both in force.
class Bench {
public:
    explicit Bench(const FaultLoop& rLoop) : m_rLoop(rLoop), m_oFaults(oFake.Get()), m_oScope(m_oFaults.Get()) {
        if (rLoop.fnPrepare) rLoop.fnPrepare(oFake);
        m_cTaken = oFake.TakenResources();
        m_cOutstanding = rLoop.fnOutstanding ? rLoop.fnOutstanding() : 0;
    }

    FaultScript& Script() { return m_oFaults.Script(); }

    /// @return nothing when an exception left the operation.
    std::optional<FaultOutcome> Run() const {
        std::string escaped;
        try {
            return m_rLoop.fnRun();
        } catch (const std::exception& rException) {
            const AllocationExempt oExempt;
            escaped = std::string(typeid(rException).name()) + ": " + rException.what();
        } catch (...) {
            const AllocationExempt oExempt;
            escaped = "not a std::exception";
        }
        const AllocationExempt oExempt;
        ADD_FAILURE() << "an exception left the operation: " << escaped;
        escaped = std::string();
        return std::nullopt;
    }

    void CheckNothingIsLeft() const {
        EXPECT_EQ(oFake.TakenResources(), m_cTaken) << "handles, slots or blocks are left over";
        if (m_rLoop.fnOutstanding) {
            EXPECT_EQ(m_rLoop.fnOutstanding(), m_cOutstanding) << "pool blocks are left over";
        }
    }

    void CheckSecondRun() {
        if (!m_rLoop.fRunAgain) return;
        Script().Disarm();
        const std::optional<FaultOutcome> oOutcome = Run();
        if (oOutcome) {
            EXPECT_EQ(*oOutcome, FaultOutcome::Succeeded) << "the operation does not work any more";
        }
    }

    FakePlatform oFake;

private:
    const FaultLoop& m_rLoop;
    FaultPlatform m_oFaults;
    PlatformScope m_oScope;
    std::size_t m_cTaken = 0;
    std::size_t m_cOutstanding = 0;
};

bool IsKill(FaultMode eMode) {
    return eMode == FaultMode::KillAt || eMode == FaultMode::KillTorn;
}

/// One run with a fault among the port calls.  @return whether the fault came to pass.
bool RunWithCallFault(const FaultLoop& rLoop, FaultMode eMode, Status eStatus, std::uint64_t ullCall) {
    Bench oBench(rLoop);
    oBench.Script().Arm(eMode, ullCall, eStatus);
    const std::optional<FaultOutcome> oOutcome = oBench.Run();
    const bool fFired = oBench.Script().HasFired();
    oBench.Script().Disarm();
    if (fFired && IsKill(eMode)) {
        oBench.oFake.DropHandles();
        if (rLoop.fnCheckAfterKill) rLoop.fnCheckAfterKill(oBench.oFake);
    } else {
        oBench.CheckNothingIsLeft();
        if (oOutcome && rLoop.fnCheck) rLoop.fnCheck(oBench.oFake, *oOutcome);
    }
    if (fFired) oBench.CheckSecondRun();
    return fFired;
}

/// The same with a fault among the allocations.
bool RunWithAllocationFault(const FaultLoop& rLoop, bool fFrom, std::uint64_t ullAllocation) {
    Bench oBench(rLoop);
    std::optional<FaultOutcome> oOutcome;
    bool fFired = false;
    std::size_t cOutstanding = 0;
    {
        const AllocationFaults oFaults(ullAllocation, fFrom);
        oOutcome = oBench.Run();
        fFired = oFaults.HasFired();
        cOutstanding = oFaults.Outstanding();
    }
    EXPECT_EQ(cOutstanding, 0u) << "allocations are left over";
    oBench.CheckNothingIsLeft();
    if (oOutcome && rLoop.fnCheck) rLoop.fnCheck(oBench.oFake, *oOutcome);
    if (fFired) oBench.CheckSecondRun();
    return fFired;
}

}  // namespace

FaultLoopReport RunFaultLoop(const FaultLoop& rLoop) {
    FaultLoopReport oReport;
    Watchdog oWatchdog;
    // What an operation makes once for the process is made in the first run, and not counted in the second.
    for (int i = 0; i < 2; ++i) {
        SCOPED_TRACE("without faults");
        oWatchdog.Begin("without faults");
        Bench oBench(rLoop);
        oBench.Script().Arm(FaultMode::None, 0);
        std::optional<FaultOutcome> oOutcome;
        std::size_t cOutstanding = 0;
        {
            const AllocationFaults oCounter;
            oOutcome = oBench.Run();
            oReport.ullAllocations = oCounter.Count();
            cOutstanding = oCounter.Outstanding();
        }
        oReport.ullCalls = oBench.Script().Calls();
        EXPECT_TRUE(oOutcome == FaultOutcome::Succeeded) << "the operation fails without any fault";
        if (i == 1) {
            EXPECT_EQ(cOutstanding, 0u) << "allocations are left over";
        }
        oBench.CheckNothingIsLeft();
        if (oOutcome && rLoop.fnCheck) rLoop.fnCheck(oBench.oFake, *oOutcome);
        if (testing::Test::HasFailure()) return oReport;
    }
    const auto runAll = [&](const char* pszWhat, const auto& rRun) {
        for (std::uint64_t ullAt = 1;; ++ullAt) {
            std::string what(pszWhat);
            what.append(1, ' ').append(std::to_string(ullAt));
            SCOPED_TRACE(what);
            oWatchdog.Begin(what);
            if (ullAt > MOST_FAULTS) {
                ADD_FAILURE() << "the operation never ends";
                return;
            }
            if (!rRun(ullAt)) return;
            ++oReport.ullFaults;
            // One report tells more than thousands of the same.
            if (testing::Test::HasFailure()) return;
        }
    };
    for (const FaultMode eMode : rLoop.vModes) {
        const std::size_t cStatuses = eMode == FaultMode::FailOnce ? rLoop.vStatuses.size() : 1;
        for (std::size_t i = 0; i < cStatuses; ++i) {
            const Status eStatus = i < rLoop.vStatuses.size() ? rLoop.vStatuses[i] : Status::AccessDenied;
            runAll(NameOf(eMode), [&](std::uint64_t ullAt) { return RunWithCallFault(rLoop, eMode, eStatus, ullAt); });
        }
    }
    if (rLoop.fAllocations && AllocationFaults::IN_FORCE) {
        runAll("one failing allocation:",
               [&](std::uint64_t ullAt) { return RunWithAllocationFault(rLoop, false, ullAt); });
        runAll("failing allocations from",
               [&](std::uint64_t ullAt) { return RunWithAllocationFault(rLoop, true, ullAt); });
    }
    return oReport;
}

}  // namespace vlm::test
