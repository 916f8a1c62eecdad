/// @file
/// What the files of the port monitor's client share.
#pragma once

#include <span>
#include <type_traits>
#include <utility>

#include "environment/PortMonitor.h"
#include "environment/PortMonitorReply.h"
#include "platform/Platform.h"
#include "utilities/debuggingandexceptions/RaiseMacros.h"
#include "utilities/utilitiesdll/SystemText.h"

namespace vlm {

/// The absent text.
inline const CXString& NoText() noexcept {
    static const CXString csNone;
    return csNone;
}

/// What a registry operation does, beside where.  **Ownership**: borrows its texts and bytes for the one call.
struct ProxyOperation {
    _XPMRegistryFunction m_eFunction;
    const CXString& m_kcsName = NoText();
    std::span<const BYTE> m_data{};
    DWORD m_dwMask = 0;                     ///< of the operations whose caller chooses it
    const CXString* m_pcsSource = nullptr;  ///< of a copy
};

/// The little-endian bytes of a number.
template <class Integer>
class NumberBytes {
public:
    explicit NumberBytes(Integer value) noexcept {
        const auto uValue = static_cast<std::make_unsigned_t<Integer>>(value);
        for (std::size_t i = 0; i < sizeof(Integer); ++i)
            m_abyValue[i] = static_cast<BYTE>(uValue >> (8 * i));
    }
    operator std::span<const BYTE>() const noexcept { return m_abyValue; }

private:
    BYTE m_abyValue[sizeof(Integer)];
};

}  // namespace vlm

/// One registry operation on its way: where it acts, and how its outcome is noted.
/// **Failure**: nothing throws; the object's last status has the reason.
class VelomPortMonitor::Proxy {
public:
    /// @param rPlace the operation that failures are reported under.
    /// @param kcsPath the sub-key, where the operation has one; borrowed like all texts.
    Proxy(VelomPortMonitor& rMonitor, const vlm::SourcePosition& rPlace, HKEY hKey,
          const CXString& kcsPath = vlm::NoText()) noexcept
        : m_rMonitor(rMonitor),
          m_rPlace(rPlace),
          m_eRoot(HKeyRegistry::Hkey_None),
          m_hKey(hKey),
          m_kcsPath(kcsPath),
          m_kcsSid(vlm::NoText()) {}
    Proxy(VelomPortMonitor& rMonitor, const vlm::SourcePosition& rPlace, _HKEYREGISTRY_ eRoot, const CXString& kcsPath,
          const CXString& kcsSid) noexcept
        : m_rMonitor(rMonitor),
          m_rPlace(rPlace),
          m_eRoot(eRoot),
          m_hKey(nullptr),
          m_kcsPath(kcsPath),
          m_kcsSid(kcsSid) {}

    /// Performs the operation and lets `take(reply)` have its reply; take answers false for bytes that are no reply.
    template <class Take>
    bool Do(const vlm::ProxyOperation& rOperation, Take&& take) noexcept {
        bool fDone = false;
        try {
            ByteBuffer bbReply;
            fDone = Perform(rOperation, bbReply);
            if (fDone && !std::forward<Take>(take)(bbReply)) fDone = Fail(vlm::Status::InvalidData);
        } catch (const std::exception&) {
            fDone = Fail(vlm::Status::NotEnoughMemory);
        }
        return Note(fDone);
    }
    /// The same for operations whose reply is empty.
    bool Do(const vlm::ProxyOperation& rOperation) noexcept;
    /// The same, with a text and its zero as data.
    bool DoWithText(const vlm::ProxyOperation& rOperation, const CXString& kcsText) noexcept;
    /// Moves a counter on; see GetIncLongValue.
    template <class Integer>
    bool Increment(const vlm::ProxyOperation& rOperation, _XPMRegistryFunction eStore, Integer defaultValue,
                   Integer modulus, Integer& rValue) noexcept;
    /// Reads several values; see QueryMultipleValues.
    bool Query(value_entW* pEntries, DWORD cEntries, ByteBuffer& rbbValues) noexcept;

private:
    bool Perform(const vlm::ProxyOperation& rOperation, ByteBuffer& rbbReply);
    bool Fail(vlm::Status status) noexcept;
    bool Note(bool fDone) noexcept;

    VelomPortMonitor& m_rMonitor;
    const vlm::SourcePosition& m_rPlace;
    const _HKEYREGISTRY_ m_eRoot;
    const HKEY m_hKey;
    const CXString& m_kcsPath;
    const CXString& m_kcsSid;
};
