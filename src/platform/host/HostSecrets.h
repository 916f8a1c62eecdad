/// @file
/// Keys of the host's data protection, kept in the store.
#pragma once

#include <array>

#include "platform/CryptoPort.h"

namespace vlm::host {

using SecretKey = std::array<BYTE, CryptoPort::KEY_BYTES>;

/// The key of a scope; wiping it is the caller's.  It is made of random bytes at first use, and is then on the medium
/// before it is answered: what is protected with it would be lost together with it.
/// Failure: throws StoreFailure and std::bad_alloc.
void LoadSecretKey(CryptoPort::Scope eScope, bool fMake, SecretKey& rKey);

/// Random bytes of the kernel.  @return false when there are none.
bool FillRandom(void* pTarget, std::size_t cBytes) noexcept;

}  // namespace vlm::host
