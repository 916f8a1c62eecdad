/// @file
/// The embedded spooler as a whole, over the host's store.
#pragma once

#include "platform/host/spooler/HostPrintQueuePort.h"
#include "platform/host/spooler/HostPrinterDataPort.h"
#include "platform/host/spooler/HostPrinterDriverPort.h"
#include "platform/host/spooler/HostSpoolerPort.h"

namespace vlm::host {

/// The store's registry, the host's files, the machine's name.  Drivers' files stand beside the store in
/// "<store>.spool"; for a store in memory in a folder of their own in the system's temporary one, which goes with the
/// process.
class HostSpoolerGround final : public SpoolerGround {
public:
    RegistryPort& Registry() noexcept override;
    FilePort& Files() noexcept override;
    FolderPort& Folders() noexcept override;
    XText ComputerName() override;
    XText SpoolFolder() override;
};

/// The four ports on one ground.
struct HostSpooler {
    HostSpoolerGround ground;
    HostSpoolerPort spooler{ground};
    HostPrintQueuePort queues{ground};
    HostPrinterDataPort data{ground};
    HostPrinterDriverPort drivers{ground};
};

}  // namespace vlm::host
