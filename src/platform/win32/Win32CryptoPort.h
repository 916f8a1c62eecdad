/// @file
/// Cryptography of the system.
#pragma once

#include "platform/CryptoPort.h"

namespace vlm::win32 {

class Win32CryptoPort final : public CryptoPort {
public:
    Status Random(void* pTarget, DWORD cbTarget) noexcept override;
};

}  // namespace vlm::win32
