/// @file
/// The host's cabinet library behind the cabinet port: an image writer over zlib, a reader over libmspack.
#pragma once

namespace vlm {

class CabinetPort;

/// The host's adapter.  Threads: any; one extraction runs at a time.
CabinetPort& HostCabinetPortInstance() noexcept;

}  // namespace vlm
