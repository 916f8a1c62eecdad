/// @file
/// A print queue as the embedded spooler keeps it.
#pragma once

#include <vector>

#include "platform/SpoolerBlocks.h"
#include "platform/host/spooler/SpoolerKey.h"

namespace vlm::host {

/// The value that makes a key a queue.
inline constexpr const XCHAR* QUEUE_NAME_VALUE = VTEXT("Name");

/// Where a queue's key stands.  Queues of this computer stand below QUEUES_PATH; those of other servers, which users
/// connect to, below SERVERS_PATH as "SERVER\\Printers\\QUEUE".
struct QueuePlace {
    XText server;  ///< "\\\\SERVER"; empty: this computer
    XText queue;
    XText path;

    XText FullName() const { return server.empty() ? queue : server + VTEXT("\\") + queue; }
};

/// Splits "\\\\SERVER\\rest"; this computer's own name counts as none.
/// @return false when the text begins with "\\\\" and has no server.
bool SplitServer(SpoolerGround& rGround, XStringView svName, XText& rServer, XStringView& rsvRest);
/// @return false for what no queue is named: nothing, more than 220 units, a "\\" or a ",".
bool PlaceOfQueue(SpoolerGround& rGround, XStringView svName, QueuePlace& rPlace);
QueuePlace PlaceOn(const XText& rServer, XStringView svQueue);

/// What a queue's key holds, under the value names of the system.
struct QueueRecord {
    XText server;  ///< not stored
    XText name, share, port, driver, comment, location, separator, processor, datatype, parameters;
    DWORD dwAttributes = 0, dwPriority = 1, dwDefaultPriority = 0, dwStart = 0, dwUntil = 0, dwStatus = 0;
    std::vector<BYTE> vbyDevMode;
};

/// @return false when there is no such queue (a key without its name is half made or half deleted).
bool LoadQueue(SpoolerGround& rGround, const QueuePlace& rPlace, QueueRecord& rRecord);
/// Writes all values into a queue's key; the name, which makes it a queue, last.
void SaveQueue(SpoolerKey& rKey, const QueueRecord& rRecord);
/// The queues below QUEUES_PATH, or those of a server.
std::vector<QueueRecord> LoadQueues(SpoolerGround& rGround, const XText& rServer);

/// The queue's block of a level.  @return UNKNOWN_LEVEL for one that there is not; InsufficientBuffer.
/// @param rcReturned the number of records.
Status FinishQueueBlock(DWORD dwLevel, const std::vector<QueueRecord>& rvRecords, void* pInfo, DWORD cbInfo,
                        DWORD& rcbNeeded, DWORD& rcReturned);

/// A device mode of 220 bytes that no driver has touched.
std::vector<BYTE> PlainDeviceMode(XStringView svQueue);
/// The user's own device mode of a queue; empty: none.
std::vector<BYTE> UserDeviceMode(SpoolerGround& rGround, const XText& rQueue);

}  // namespace vlm::host
