/// @file
/// A monitor of the test's own behind the client: records what arrives, answers what it is told.
#pragma once

#include <string>
#include <vector>

#include "environment/PortMonitor.h"
#include "support/Bytes.h"
#include "support/FakePlatform.h"
#include "support/RecordingSink.h"

namespace vlm::test {

inline const XCHAR* const MONITOR_NAME = VTEXT("Velom Virtualization Port");

/// A platform whose spooler has the monitor, and the reply that the monitor gives to every command.
struct PortMonitorBench {
    PortMonitorBench() {
        oFake.spooler.AddMonitor(MONITOR_NAME, VTEXT("q7lrsl.dll"));
        oFake.spooler.SetScript(
            [this](XStringView, std::span<const BYTE> input, std::size_t cbRoom, std::vector<BYTE>& rvbyOutput) {
                vvbyInputs.emplace_back(input.begin(), input.end());
                rvbyOutput = vbyReply;
                if (statusReply != Status::Success) return statusReply;
                return vbyReply.size() > cbRoom ? Status::InsufficientBuffer : Status::Success;
            });
    }

    /// Answers the next commands.
    void Reply(std::vector<BYTE> vbyBytes, Status status = Status::Success) {
        vbyReply = std::move(vbyBytes);
        statusReply = status;
    }

    FakePlatform oFake;
    const PlatformScope oScope{oFake.Get()};
    std::vector<std::vector<BYTE>> vvbyInputs;
    std::vector<BYTE> vbyReply;
    Status statusReply = Status::Success;
};

}  // namespace vlm::test
