/// @file
/// The spooler in memory, and a queue on it, for the tests of printers and drivers.
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

class PrintingFixture : public testing::Test {
protected:
    /// The message of the exception that `rBody` ends with; empty without one.
    template <class Exception, class Body>
    static std::string Thrown(const Body& rBody) {
        try {
            rBody();
        } catch (const Exception& rException) {
            return Narrow(rException.GetExceptionMesage().View());
        }
        return {};
    }
    /// Answers a call with bytes, as far as there is room for them.
    static Status Answer(SpoolerCall& rCall, const std::vector<BYTE>& rvbyData, DWORD cbClaimed) {
        if (rCall.pcbNeeded) *rCall.pcbNeeded = cbClaimed;
        if (rCall.pdwType) *rCall.pdwType = 3;
        if (rCall.cbTarget < cbClaimed) return rCall.eTooSmall;
        std::copy_n(rvbyData.begin(), std::min<std::size_t>(rvbyData.size(), rCall.cbTarget),
                    static_cast<BYTE*>(rCall.pTarget));
        return Status::Success;
    }
    std::size_t Reported(const std::string& rText) const { return m_oSink.Count(rText); }

    FakePlatform m_oFake;
    PlatformScope m_oScope{m_oFake.Get()};
    RecordingSink m_oSink;
};

class PrinterFixture : public PrintingFixture {
protected:
    PrinterFixture() { m_oFake.printing.AddQueueNamed(QUEUE); }

    /// A registry value of the queue's data as it is, whatever its bytes.
    void PutData(XStringView svName, DWORD dwType, std::vector<BYTE> vbyData) {
        m_oFake.registry.AddValue(FakePrintingPorts::QueueKey(QUEUE) + VTEXT("\\PrinterDriverData"), svName, dwType,
                                  std::move(vbyData));
    }

    static constexpr const XCHAR* QUEUE = VTEXT("Queue");
    static constexpr const XCHAR* DATA = VTEXT("PrinterDriverData");
    static constexpr const XCHAR* FAMILY = VTEXT("Software\\Velom\\PrinterDriver\\V5.0\\Queue");
};

}  // namespace vlm::test
