/// @file
/// Ports of the system's Local Port monitor.
#include "environment/LocalPort.h"

#include "platform/SpoolerPort.h"
#include "utilities/debuggingandexceptions/NoThrow.h"
#include "utilities/debuggingandexceptions/RaiseMacros.h"
#include "utilities/utilitiesdll/SystemText.h"

using vlm::Status;

LocalPort::~LocalPort() = default;

bool LocalPort::AddLocalPort(const CXString& kcsPortName) noexcept {
    const auto Add = [&] {
        ByteBuffer bbName;
        bbName.append(kcsPortName).appendNullChar();
        return OpenChannel(VTEXT(",XcvMonitor Local Port"), vlm::SpoolerPort::ACCESS_ADMINISTER) &&
               SendCommand(VTEXT("AddPort"), bbName);
    };
    NoteStatus(vlm::ToDword(Status::NotEnoughMemory));  // where it goes no further
    const bool fAdded = vlm::NoThrow(Add, false);
    const DWORD dwStatus = GetLastStatus();
    CloseChannel();
    if (!fAdded) {
        VLM_REPORT_ERROR(DebugCategory::Utils, VTEXT("LocalPort::AddLocalPort: '%s' was not added because %s"),
                         kcsPortName, vlm::TextOfStatus(dwStatus));
    }
    NoteStatus(dwStatus);
    return fAdded;
}

bool LocalPort::OpenPort(const CXString& kcsPortName) noexcept {
    NoteStatus(vlm::ToDword(Status::NotEnoughMemory));
    const bool fOpen = vlm::NoThrow(
        [&] {
            return OpenChannel(CXString::FormatString(VTEXT(",XcvPort %s"), kcsPortName),
                               vlm::SpoolerPort::ACCESS_ENUMERATE);
        },
        false);
    const DWORD dwStatus = GetLastStatus();
    if (!fOpen) {
        VLM_REPORT_ERROR(DebugCategory::Utils, VTEXT("LocalPort::OpenPort: '%s' was not opened because %s"),
                         kcsPortName, vlm::TextOfStatus(dwStatus));
    }
    NoteStatus(dwStatus);
    return fOpen;
}
