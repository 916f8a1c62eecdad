/// @file
/// A queue on the spooler in memory, for the printer's tests.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "environment/Printer.h"
#include "support/Bytes.h"
#include "support/FakePlatform.h"
#include "support/Narrow.h"
#include "support/RecordingSink.h"
#include "utilities/debuggingandexceptions/VelomExceptions.h"

namespace vlm::test {

class PrinterFixture : public testing::Test {
protected:
    PrinterFixture() { m_oFake.printing.AddQueueNamed(QUEUE); }

    /// A registry value of the queue's data as it is, whatever its bytes.
    void PutData(XStringView svName, DWORD dwType, std::vector<BYTE> vbyData) {
        m_oFake.registry.AddValue(FakePrintingPorts::QueueKey(QUEUE) + VTEXT("\\PrinterDriverData"), svName, dwType,
                                  std::move(vbyData));
    }
    /// Answers a call with bytes, as far as there is room for them.
    static Status Answer(SpoolerCall& rCall, const std::vector<BYTE>& rvbyData, DWORD cbClaimed) {
        if (rCall.pcbNeeded) *rCall.pcbNeeded = cbClaimed;
        if (rCall.pdwType) *rCall.pdwType = 3;
        if (rCall.cbTarget < cbClaimed) return Status::MoreData;
        std::copy_n(rvbyData.begin(), std::min<std::size_t>(rvbyData.size(), rCall.cbTarget),
                    static_cast<BYTE*>(rCall.pTarget));
        return Status::Success;
    }
    std::size_t Reported(const char* pszText) const { return m_oSink.Count(pszText); }

    static constexpr const XCHAR* QUEUE = VTEXT("Queue");
    static constexpr const XCHAR* DATA = VTEXT("PrinterDriverData");
    static constexpr const XCHAR* FAMILY = VTEXT("Software\\Velom\\PrinterDriver\\V5.0\\Queue");
    FakePlatform m_oFake;
    PlatformScope m_oScope{m_oFake.Get()};
    RecordingSink m_oSink;
};

}  // namespace vlm::test
