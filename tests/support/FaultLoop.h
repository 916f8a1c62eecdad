/// @file
/// Runs an operation again and again, with every single call and allocation of it failing once.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "support/FakePlatform.h"
#include "support/FaultPlatform.h"

namespace vlm::test {

/// What an operation made of a fault.
enum class FaultOutcome {
    Succeeded,  ///< it did what it is for (perhaps on another way)
    Failed,     ///< it failed the way it promises: its exception, false, its neutral answer
};

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

}  // namespace vlm::test
