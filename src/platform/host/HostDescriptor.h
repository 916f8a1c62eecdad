/// @file
/// Descriptors that close themselves.
#pragma once

#include <unistd.h>

#include <utility>

namespace vlm::host {

/// A descriptor of the system, closed at its end unless it is handed on; -1: none.
class Descriptor {
public:
    explicit Descriptor(int iFile = -1) noexcept : m_iFile(iFile) {}
    ~Descriptor() {
        if (m_iFile >= 0) close(m_iFile);
    }
    Descriptor(Descriptor&& rrOther) noexcept : m_iFile(rrOther.Release()) {}
    Descriptor& operator=(Descriptor&& rrOther) noexcept {
        std::swap(m_iFile, rrOther.m_iFile);
        return *this;
    }
    int Get() const noexcept { return m_iFile; }
    int Release() noexcept { return std::exchange(m_iFile, -1); }

private:
    int m_iFile;
};

}  // namespace vlm::host
