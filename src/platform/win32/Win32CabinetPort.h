/// @file
/// The system's cabinet library behind the cabinet port.
#pragma once

namespace vlm {

class CabinetPort;

/// The adapter of cabinet.dll (FCI and FDI).  Threads: any; one call runs at a time.
CabinetPort& Win32CabinetPortInstance() noexcept;

}  // namespace vlm
