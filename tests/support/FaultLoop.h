/// @file
/// Runs an operation again and again, with every single call and allocation of it failing once.
#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <exception>
#include <functional>
#include <new>
#include <string>
#include <vector>

#include "support/AllocationFaults.h"
#include "support/FakePlatform.h"
#include "support/FaultPlatform.h"

namespace vlm::test {

/// What an operation made of a fault.
enum class FaultOutcome {
    Succeeded,  ///< it did what it is for (perhaps on another way)
    Failed,     ///< it failed the way it promises: its exception, false, its neutral answer
};

/// Runs what may fail by one of the exceptions named, or by std::bad_alloc when even the exception finds no memory; any
/// other leaves.
template <class... Expected, class Operation>
FaultOutcome Attempt(const Operation& rOperation) {
    try {
        rOperation();
        return FaultOutcome::Succeeded;
    } catch (const std::exception& rException) {
        if (dynamic_cast<const std::bad_alloc*>(&rException) == nullptr &&
            (... && (dynamic_cast<const Expected*>(&rException) == nullptr))) {
            throw;
        }
        return FaultOutcome::Failed;
    }
}

/// One operation to be shaken.  Only `fnRun` is required.
///
///     FaultLoop oLoop;
///     oLoop.fnPrepare = [](FakePlatform& rFake) { rFake.files.AddFile(VTEXT("C:\\a.bin"), FromHex("01 02")); };
///     oLoop.fnRun = [] {
///         try {
///             ByteBuffer bb = ReadWholeFile(VTEXT("C:\\a.bin"));
///             return FaultOutcome::Succeeded;
///         } catch (const ExceptionFileIO&) {
///             return FaultOutcome::Failed;
///         }
///     };
///     RunFaultLoop(oLoop);
struct FaultLoop {
    /// Puts the fake in order before each run.
    std::function<void(FakePlatform&)> fnPrepare;
    /// The operation, with its objects made and destroyed inside.  Catches what it may throw; an exception that leaves
    /// it is of the wrong type and fails the test.  No test macros inside: they allocate.
    std::function<FaultOutcome()> fnRun;
    /// After each run that was not killed.
    std::function<void(FakePlatform&, FaultOutcome)> fnCheck;
    /// After each kill, on what is left: the disk and the registry, no handles.
    std::function<void(FakePlatform&)> fnCheckAfterKill;
    /// Further things that must be back to their number after a run: blocks taken from a pool, locks held.
    std::function<std::size_t()> fnOutstanding;

    std::vector<FaultMode> vModes{FaultMode::FailOnce, FaultMode::FailFrom, FaultMode::ShortOnce};
    /// The statuses that FailOnce answers, one after the other.
    std::vector<Status> vStatuses{Status::AccessDenied};
    bool fAllocations = true;
    /// A run with everything in order must succeed after each fault; false for operations that need a new preparation.
    bool fRunAgain = true;
};

/// What was done.
struct FaultLoopReport {
    std::uint64_t ullCalls = 0;        ///< port calls of the run without faults
    std::uint64_t ullAllocations = 0;  ///< allocations of it
    std::uint64_t ullFaults = 0;       ///< faults that happened
};

/// Runs the operation once to count, then with the fault at call 1, 2, 3 ... in each mode until a run ends before its
/// fault, then the same with allocations.  Each time: no exception of another type, no handle, slot, block or
/// allocation left over, the caller's checks, and a second run without faults that succeeds.  Failures are reported to
/// the test framework with mode and number.  A run that takes longer than a minute ends the process with a message.
FaultLoopReport RunFaultLoop(const FaultLoop& rLoop);

/// One of a table of operations.
struct FaultRow {
    const char* pszName;
    std::function<FaultOutcome()> fnRun;
};
/// Runs the loop over each row, with everything else as in `oLoop`.  Each row must meet a fault.
template <std::size_t N>
void RunFaultRows(const FaultRow (&raoRows)[N], FaultLoop oLoop = {}) {
    for (const FaultRow& rRow : raoRows) {
        SCOPED_TRACE(rRow.pszName);
        oLoop.fnRun = rRow.fnRun;
        const FaultLoopReport oReport = RunFaultLoop(oLoop);
        EXPECT_TRUE(oReport.ullFaults > 0 || !AllocationFaults::IN_FORCE) << "nothing can fail here";
    }
}

}  // namespace vlm::test
