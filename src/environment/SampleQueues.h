/// @file
/// A set of print queues to try things out on.
#pragma once

#include <vector>

#include "platform/Export.h"
#include "utilities/utilitiesdll/ByteBuffer.h"
#include "utilities/utilitiesdll/CXString.h"

namespace vlm {

/// Installs sample queues of every kind that the library tells apart, with drivers, driver files and printer data:
///
/// | Queue | Kind | Driver | Port |
/// |---|---|---|---|
/// | "Q9 Sample PCL" | local | "Q9 Sample PCL6 Driver" | "LPT1:" |
/// | "Q9 Sample PostScript" | local | "Q9 Sample PS Driver" | "FILE:" |
/// | "Q9 Sample TCP" | TCP/IP | "Q9 Sample PCL6 Driver" | "X_192.0.2.10" |
/// | "Q9 Sample IPP" | IPP | "Q9 Sample PS Driver" | "ipp://printer.example/ipp/print" |
/// | "\\\\Q9SERVER\\Q9 Sample Remote" | connection | "Q9 Sample PCL6 Driver" | the server's |
///
/// On the host everything stands in the store.  On Windows the calls are the same; a system that knows no such server
/// gets a local "Q9 Sample Remote" with the network's attribute in its place, one without a TCP/IP monitor "LPT1:" for
/// the TCP/IP queue's port.  The driver files are texts, no programs: nothing can be printed.  A file that a driver has
/// in place already is never overwritten.
///
/// **Threads**: one at a time.  **Failure**: throws ExceptionPrinterFailure and ExceptionPrintDriverFailure with the
/// system's words; what was made so far stays, and the next Install goes on from there.
class VLM_API SampleQueues {
public:
    struct Queue {
        CXString m_csName;
        CXString m_csKind;  ///< "local", "TCP/IP", "IPP", "connection"
        CXString m_csDriver;
        CXString m_csPort;
        bool m_bAdded = false;  ///< false: it was there already with its data, and keeps it
    };

    /// @param kbbDeviceSettings stored as "VlmDeviceSettings" of each queue that is added; empty: none.
    /// @param kbbProductCab the drivers' product CAB; empty: a text like their other files.
    static std::vector<Queue> Install(const ByteBuffer& kbbDeviceSettings, const ByteBuffer& kbbProductCab);
    /// Takes queues, ports, connections and drivers away again; what is not there is no failure.
    static void Remove();
};

}  // namespace vlm
