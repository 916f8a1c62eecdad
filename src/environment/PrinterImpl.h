/// @file
/// What the files of Printer share.
#pragma once

#include <exception>
#include <span>
#include <utility>

#include "environment/Printer.h"
#include "environment/SpoolerBlockRead.h"
#include "platform/Platform.h"
#include "platform/PrintQueuePort.h"
#include "platform/PrinterDataPort.h"
#include "platform/SpoolerPort.h"
#include "utilities/debuggingandexceptions/NoThrow.h"
#include "utilities/debuggingandexceptions/RaiseMacros.h"
#include "utilities/utilitiesdll/SystemText.h"

namespace vlm {

inline SpoolerPort& Spooler() noexcept {
    return *GetPlatform().pSpooler;
}
inline PrintQueuePort& Queues() noexcept {
    return *GetPlatform().pQueues;
}
inline PrinterDataPort& PrinterData() noexcept {
    return *GetPlatform().pPrinterData;
}

/// The categories of this class's messages.
inline constexpr DebugMessageCategories PRINTER_CATEGORIES = DebugCategory::Utils;

/// A queue's block, as the spooler gives it to this thread.
inline Status ReadQueueInfo(HANDLE hPrinter, DWORD dwLevel, ByteBuffer& rbbInfo) {
    return ReadSpoolerBlock(BlockKind::Printer, dwLevel, rbbInfo, [&](BYTE* pbyInfo, DWORD cbInfo, DWORD& rcbNeeded) {
        return Queues().GetQueueInfo(hPrinter, dwLevel, pbyInfo, cbInfo, rcbNeeded);
    });
}

/// A list of queues; see PrintQueuePort::EnumerateQueueInfo.
inline Status ReadQueueList(DWORD dwFlags, DWORD dwLevel, ByteBuffer& rbbQueues, DWORD& rcQueues) {
    return ReadSpoolerList(BlockKind::Printer, dwLevel, rbbQueues, rcQueues,
                           [&](BYTE* pbyInfo, DWORD cbInfo, DWORD& rcbNeeded, DWORD& rcRecords) {
                               return Queues().EnumerateQueueInfo(dwFlags, nullptr, dwLevel, pbyInfo, cbInfo, rcbNeeded,
                                                                  rcRecords);
                           });
}

/// The records of a list that was read so.
template <class Record>
std::span<const Record> Records(const ByteBuffer& kbbList, DWORD cRecords) noexcept {
    return {reinterpret_cast<const Record*>(kbbList.data()), cRecords};
}

/// Runs an operation that answers a truth value.  Exceptions of the library were reported when they were thrown; the
/// answer is then false.
template <class Body>
bool TryOperation(Body&& body) noexcept {
    try {
        return std::forward<Body>(body)();
    } catch (const VelomException&) {
        return false;
    } catch (const std::exception& rException) {
        ReportSwallowed(&rException);
        return false;
    }
}

/// Is the queue a connection to another machine's?
/// @return the spooler's status; `rfRemote` is false unless it is Success.
Status FindRemote(HANDLE hPrinter, bool& rfRemote);

/// A text of printer data, up to its first terminator.
/// @return the spooler's status, InvalidData for a value that is no text; the text is empty then.
DWORD ReadPrinterDataText(HANDLE hPrinter, const XCHAR* pszKeyName, const XCHAR* pszValueName,
                          CXString& rcsValue) noexcept;

/// Does a name, or a port, say that a queue is reached by IPP?
bool IsIppName(const CXString& kcsPrinterName) noexcept;
bool IsIppPort(const CXString& kcsPort) noexcept;

}  // namespace vlm
