/// @file
/// The operations on the values of an open key.
#pragma once

#include "environment/PortMonitorReply.h"
#include "platform/WinTypes.h"

namespace vlm {

/// Carries an operation on values out: all but those on keys.  The key has the rights of ValueRights.
/// @param rbbReply the reply is appended; after a failure it holds anything.
/// @return the registry's own failures; InvalidData when the stored data is too short for what was asked.
Status RunValueOperation(const PortMonitorRequest& rRequest, HKEY hKey, ByteBuffer& rbbReply);

/// Rights that an operation needs of its key.
DWORD ValueRights(const RequestOperation& rOperation) noexcept;

/// An increment that has a result: neither by modulus 0, nor one that the processor cannot divide.
/// It depends on the stored value, too: that is looked at when the value is known.
bool IsModulusRegular(const PortMonitorRequest& rRequest);

}  // namespace vlm
