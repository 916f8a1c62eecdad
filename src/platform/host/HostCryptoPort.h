/// @file
/// Cryptography of the host.
#pragma once

#include "platform/CryptoPort.h"

namespace vlm::host {

class HostCryptoPort final : public CryptoPort {
public:
    Status Random(void* pTarget, DWORD cbTarget) noexcept override;
};

}  // namespace vlm::host
