/// @file
/// Memory for keys and passwords: what it held is gone when it goes.
#pragma once

#include <array>
#include <cstddef>
#include <cstring>
#include <span>
#include <vector>

#include "platform/WinTypes.h"
#include "utilities/utilitiesdll/ByteBuffer.h"
#include "utilities/utilitiesdll/CXString.h"

namespace vlm {

/// Overwrites memory with zeros; the compiler does not leave it out, although nobody reads them.
inline void WipeMemory(void* pMemory, std::size_t cBytes) noexcept {
    if (cBytes == 0) return;
    std::memset(pMemory, 0, cBytes);
    __asm__ volatile("" : : "r"(pMemory) : "memory");
}

/// A fixed number of secret bytes.
template <std::size_t N>
class SecretArray : public std::array<BYTE, N> {
public:
    SecretArray() noexcept : std::array<BYTE, N>{} {}
    SecretArray(const SecretArray&) = delete;
    SecretArray& operator=(const SecretArray&) = delete;
    ~SecretArray() { WipeMemory(this->data(), N); }
};

/// A run of secret bytes, in one block that never moves while it holds them.
class SecretBytes {
public:
    SecretBytes() noexcept = default;
    explicit SecretBytes(std::size_t cBytes) : m_vby(cBytes) {}
    explicit SecretBytes(std::span<const BYTE> bytes) : m_vby(bytes.begin(), bytes.end()) {}
    SecretBytes(const SecretBytes&) = delete;
    SecretBytes& operator=(const SecretBytes&) = delete;
    ~SecretBytes() { Wipe(); }

    BYTE* data() noexcept { return m_vby.data(); }
    const BYTE* data() const noexcept { return m_vby.data(); }
    std::size_t size() const noexcept { return m_vby.size(); }
    bool empty() const noexcept { return m_vby.empty(); }
    operator std::span<const BYTE>() const noexcept { return m_vby; }
    void swap(SecretBytes& rOther) noexcept { m_vby.swap(rOther.m_vby); }
    /// Gives up the bytes behind the first `cBytes`, overwritten.
    void Cut(std::size_t cBytes) noexcept {
        WipeMemory(m_vby.data() + cBytes, m_vby.size() - cBytes);
        m_vby.resize(cBytes);
    }
    /// Overwrites and forgets the bytes.
    void Wipe() noexcept {
        WipeMemory(m_vby.data(), m_vby.size());
        m_vby.clear();
    }

private:
    std::vector<BYTE> m_vby;
};

/// Overwrites a buffer's bytes when it goes out of scope, whatever happened in between.
class WipeAtEnd {
public:
    explicit WipeAtEnd(ByteBuffer& rbbSecret) noexcept : m_rbbSecret(rbbSecret) {}
    ~WipeAtEnd() { WipeMemory(m_rbbSecret.data(), m_rbbSecret.size()); }
    WipeAtEnd(const WipeAtEnd&) = delete;
    WipeAtEnd& operator=(const WipeAtEnd&) = delete;

private:
    ByteBuffer& m_rbbSecret;
};

}  // namespace vlm
