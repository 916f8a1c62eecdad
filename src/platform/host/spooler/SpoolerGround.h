/// @file
/// What the embedded spooler stands on, and what its parts share.
#pragma once

#include <memory>
#include <new>
#include <string>

#include "platform/FilePort.h"
#include "platform/FolderPort.h"
#include "platform/RegistryPort.h"
#include "platform/SpoolerPort.h"
#include "platform/host/HandleTable.h"

namespace vlm::host {

using XText = std::basic_string<XCHAR>;

/// What the spooler's own code throws; never leaves it.
struct SpoolerFailure {
    Status eStatus;
};

constexpr Status SpoolerStatus(DWORD dwStatus) noexcept {
    return static_cast<Status>(dwStatus);
}

/// Runs the body of a call; what it throws becomes the status.
template <class Body>
Status Guarded(Body body) noexcept {
    try {
        return body();
    } catch (const SpoolerFailure& rFailure) {
        return rFailure.eStatus;
    } catch (const std::bad_alloc&) {
        return Status::NotEnoughMemory;
    }
}

/// Takes a step back at the end of its scope, unless all went well.
template <class Step>
class Undo {
public:
    explicit Undo(Step fnStep) noexcept : m_fnStep(fnStep) {}
    ~Undo() {
        if (m_fArmed) m_fnStep();
    }
    Undo(const Undo&) = delete;
    Undo& operator=(const Undo&) = delete;
    void Drop() noexcept { m_fArmed = false; }

private:
    Step m_fnStep;
    bool m_fArmed = true;
};

/// What a printer handle stands for.
struct OpenedPrinter {
    enum class Kind {
        Server,
        Queue,
        LocalMonitor,     ///< a channel to "Local Port", or to one of its ports
        TcpMonitor,       ///< the same for "Standard TCP/IP Port"
        EmbeddedMonitor,  ///< a channel to the EmbeddedMonitor of the process
    };
    Kind eKind = Kind::Server;
    DWORD dwAccess = 0;
    XText name;                  ///< a queue's, with its server
    XText path;                  ///< of a queue's key, below HKEY_LOCAL_MACHINE
    XText port;                  ///< of a channel to a port
    HANDLE hEmbedded = nullptr;  ///< the embedded monitor's channel

    bool MayChange() const noexcept {
        const DWORD dwRight = eKind == Kind::Queue ? SpoolerPort::QUEUE_ADMINISTER : SpoolerPort::ACCESS_ADMINISTER;
        return (dwAccess & (dwRight | RegistryPort::MAXIMUM_RIGHTS)) != 0;
    }
};

/// The registry, files and names below the embedded spooler, and its handles.  On the host the store; tests put their
/// platform in memory below it.  Threads: any.
class SpoolerGround {
public:
    virtual RegistryPort& Registry() noexcept = 0;
    virtual FilePort& Files() noexcept = 0;
    virtual FolderPort& Folders() noexcept = 0;
    /// Without backslashes; empty when it is not known.
    virtual XText ComputerName() = 0;
    /// The folder that the driver directory and the spool folder stand in; all of it may be missing.
    virtual XText SpoolFolder() = 0;

    /// What a handle stands for.  Failure: throws SpoolerFailure (InvalidHandle).
    std::shared_ptr<const OpenedPrinter> Find(HANDLE hPrinter) const;
    /// The same for a queue's handle.
    std::shared_ptr<const OpenedPrinter> FindQueue(HANDLE hPrinter) const;
    HANDLE Add(OpenedPrinter oPrinter);
    /// Null for a handle that is not open.
    std::shared_ptr<const OpenedPrinter> Remove(HANDLE hPrinter) noexcept;

    virtual ~SpoolerGround() = default;

protected:
    SpoolerGround() noexcept = default;

private:
    HandleTable<std::shared_ptr<const OpenedPrinter>> m_oHandles;
};

/// Names of the spooler compare without ASCII case.
bool IsSameName(XStringView svLeft, XStringView svRight) noexcept;

/// A text that may be null.
constexpr XStringView ViewOf(const XCHAR* pszText) noexcept {
    return pszText ? XStringView(pszText) : XStringView();
}

/// Throws unless all went well.
inline void Check(Status eStatus) {
    if (eStatus != Status::Success) throw SpoolerFailure{eStatus};
}

}  // namespace vlm::host
