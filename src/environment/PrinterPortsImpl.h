/// @file
/// The list of ports, and the machine's registry of this or another machine.
#pragma once

#include <memory>

#include "environment/PrinterImpl.h"
#include "utilities/registry/RegistryKey.h"

namespace vlm {

/// The ports of a machine, as PortInfo2.  @param pszServer null: this one.  @return false after reporting why.
bool ReadPorts(const XCHAR* pszServer, ByteBuffer& rbbPorts, DWORD& rcPorts);

/// Opens a key of HKEY_LOCAL_MACHINE for reading.
/// @param kcsServer "\\SERVER"; empty: this machine.  @param reStatus why not.
/// @return null when it cannot be opened.
std::unique_ptr<RegistryKey> OpenMachineKey(const CXString& kcsServer, const CXString& kcsPath, Status& reStatus);

/// The host in "SCHEME://USER@HOST:PORT/PATH", or in "HOST:PORT"; of a numeric address in brackets what stands between.
CXString HostOfAddress(XStringView svAddress);

}  // namespace vlm
