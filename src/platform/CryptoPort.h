/// @file
/// Port: cryptography.
#pragma once

#include "platform/WinTypes.h"

namespace vlm {

/// Random bytes.  Hashes, ciphers and data protection join this port with the classes that use them.
/// Threads: any.  Failure: by status; nothing throws.
class CryptoPort {
public:
    virtual ~CryptoPort() = default;

    /// Fills the target with bytes that nobody can foretell.  A null target is allowed with 0 bytes.
    /// After a failure the target holds anything.
    virtual Status Random(void* pTarget, DWORD cbTarget) noexcept = 0;
};

}  // namespace vlm
