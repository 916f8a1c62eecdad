/// @file
/// A password as the derivation takes it.
#pragma once

#include <algorithm>

#include "utilities/utilitiesdll/KestrixEncryption.h"
#include "utilities/utilitiesdll/TextCodec.h"
#include "utilities/utilitiesdll/detail/protection/Secret.h"

/// The bytes of a password, in memory of its own that is wiped.  A text counts by its UTF-8 bytes, which is what other
/// programs take; lone surrogates stay apart from each other.  Failure: std::bad_alloc.
class KestrixEncryption::Password {
public:
    explicit Password(const CXString& kcsPassword) : m_oBytes(3 * kcsPassword.View().size()) {
        m_oBytes.Cut(
            TextCodec::EncodeUtf8(kcsPassword.View(), reinterpret_cast<char*>(m_oBytes.data()), TCR_KEEP_SURROGATES)
                .m_cWritten);
    }
    /// Null and a negative length count as nothing.
    Password(const BYTE* pbyPassword, int iLength)
        : m_oBytes(std::span(pbyPassword, pbyPassword && iLength > 0 ? static_cast<std::size_t>(iLength) : 0)) {}

    std::span<const BYTE> Get() const noexcept { return m_oBytes; }
    /// Empty, or blanks alone.
    bool IsBlank() const noexcept {
        return std::all_of(Get().begin(), Get().end(), [](BYTE by) { return by == ' '; });
    }

private:
    vlm::SecretBytes m_oBytes;
};
