/// @file
/// Port: print queues.
#pragma once

#include "platform/SpoolerBlocks.h"
#include "platform/SpoolerPort.h"

namespace vlm {

/// What is asked of and told to print queues.  Handles are SpoolerPort's, blocks follow its protocol, names and
/// statuses are its own. Threads: any; one handle by one thread at a time.  Failure: by status; nothing throws.
class PrintQueuePort {
public:
    /// Attributes of a queue, without the prefix by which the system's header defines them as macros.
    static constexpr DWORD ATTRIBUTE_DEFAULT = 0x4, ATTRIBUTE_SHARED = 0x8, ATTRIBUTE_NETWORK = 0x10,
                           ATTRIBUTE_HIDDEN = 0x20, ATTRIBUTE_LOCAL = 0x40, ATTRIBUTE_PUBLISHED = 0x2000;
    /// Which queues to list: those of this computer, the user's connections, those of the server named.  They may be
    /// joined, but for LIST_OF_SERVER.
    static constexpr DWORD LIST_LOCAL = 0x2, LIST_CONNECTIONS = 0x4, LIST_OF_SERVER = 0x8, LIST_SHARED = 0x20;
    /// Commands of SetQueueInfo with level 0.
    static constexpr DWORD COMMAND_PAUSE = 1, COMMAND_RESUME = 2, COMMAND_PURGE = 3;
    /// Status bit of a paused queue.
    static constexpr DWORD STATUS_PAUSED = 0x1;
    /// Actions of PrinterInfo7.
    static constexpr DWORD ACTION_PUBLISH = 1, ACTION_UPDATE = 2, ACTION_UNPUBLISH = 4, ACTION_REPUBLISH = 8;
    /// Capabilities that the library asks for, and what one element of their answers takes, in bytes.
    static constexpr WORD CAPABILITY_PAPERS = 2, CAPABILITY_BINS = 6, CAPABILITY_DUPLEX = 7, CAPABILITY_BINNAMES = 12,
                          CAPABILITY_PAPERNAMES = 16, CAPABILITY_COLORDEVICE = 32;

    virtual ~PrintQueuePort() = default;

    /// Reads a queue's block.  @param dwLevel of PrinterInfo: 1, 2, 4 to 9; a level 8 or 9 without device mode holds
    /// null.
    /// @return InvalidHandle (also for the server and channels), UNKNOWN_LEVEL, InsufficientBuffer.
    virtual Status GetQueueInfo(HANDLE hPrinter, DWORD dwLevel, void* pInfo, DWORD cbInfo,
                                DWORD& rcbNeeded) noexcept = 0;
    /// Changes a queue.  @param dwLevel 0 (a command, `pInfo` null), 2, 5, 7, 8, 9; Wine lacks 0, 5 and 7
    /// (UNKNOWN_LEVEL). A null text of level 2 empties the field, but name, port, driver and processor, which stay.
    /// @return InvalidHandle, UNKNOWN_LEVEL, AccessDenied (needs QUEUE_ADMINISTER; Wine does not ask), InvalidParameter
    /// (null `pInfo` with another level than 0), UNKNOWN_PRINTER_DRIVER, UNKNOWN_PORT, UNKNOWN_PRINT_PROCESSOR.
    virtual Status SetQueueInfo(HANDLE hPrinter, DWORD dwLevel, const void* pInfo, DWORD dwCommand) noexcept = 0;
    /// Lists queues.  @param dwFlags LIST_...  @param pszServer with LIST_OF_SERVER its name ("\\\\NAME"); null: this
    /// one.
    /// @param dwLevel of PrinterInfo: 1, 2, 4, 5.
    /// @return UNKNOWN_LEVEL, INVALID_PRINTER_NAME (no such server), InsufficientBuffer.
    virtual Status EnumerateQueueInfo(DWORD dwFlags, const XCHAR* pszServer, DWORD dwLevel, void* pInfo, DWORD cbInfo,
                                      DWORD& rcbNeeded, DWORD& rcReturned) noexcept = 0;
    /// Adds a queue and opens it with all rights.  Needs a name, a port, a driver and a print processor; without a
    /// datatype it is "RAW".
    /// @param pszServer null: this computer.  @param rInfo its pSecurityDescriptor must be null; attributes are kept as
    /// given (0: ATTRIBUTE_LOCAL).
    /// @return PRINTER_ALREADY_EXISTS and UNKNOWN_PORT (Wine accepts both), UNKNOWN_PRINTER_DRIVER,
    /// UNKNOWN_PRINT_PROCESSOR (a null one, too), INVALID_PRINTER_NAME.
    virtual Status AddQueue(const XCHAR* pszServer, const PrinterInfo2& rInfo, HANDLE& rhPrinter) noexcept = 0;
    /// Deletes a queue with its data; the handle stays to be closed.  @return InvalidHandle, AccessDenied.
    virtual Status DeleteQueue(HANDLE hPrinter) noexcept = 0;
    /// Connects the calling user to a server's queue ("\\\\SERVER\\NAME").  Wine has no connections.
    /// @return INVALID_PRINTER_NAME.
    virtual Status AddConnection(const XCHAR* pszName) noexcept = 0;
    /// @return INVALID_PRINTER_NAME when there is none.
    virtual Status DeleteConnection(const XCHAR* pszName) noexcept = 0;
    /// The calling user's default queue.  `rcName`: room before, units after, both with the terminator.
    /// @return FileNotFound when there is none, InsufficientBuffer with the units needed.
    virtual Status GetDefaultQueue(XCHAR* pszName, DWORD& rcName) noexcept = 0;
    /// @param pszName null or empty: the system chooses.  @return INVALID_PRINTER_NAME.
    virtual Status SetDefaultQueue(const XCHAR* pszName) noexcept = 0;
    /// Asks the driver for a capability.  @param rlAnswer the value, or the number of elements.  @param pOutput null,
    /// or room for the elements: the adapter asks for the number first and answers InsufficientBuffer when they do not
    /// fit (a capability that is not named above cannot be fetched into a buffer: InvalidParameter).
    /// @return NotSupported where there are no driver modules (host), GeneralFailure when the driver does not know.
    virtual Status GetDeviceCapability(const XCHAR* pszDevice, const XCHAR* pszPort, WORD wCapability, void* pOutput,
                                       DWORD cbOutput, LONG& rlAnswer) noexcept = 0;
};

}  // namespace vlm
