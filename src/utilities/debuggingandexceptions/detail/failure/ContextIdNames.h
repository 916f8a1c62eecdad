/// @file
/// The names of the ids of one family of execution contexts.
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <utility>

#include "utilities/debuggingandexceptions/RaiseMacros.h"
#include "utilities/debuggingandexceptions/detail/failure/SafeText.h"
#include "utilities/utilitiesdll/CriticalResource.h"

namespace vlm {

/// A map from id to name.  The fixed ids are consecutive from 0, so an id is its own place; the last one marks the end
/// and those above it are made while the process runs, without a name of their own.  Declare it `constinit`.
/// **Threads**: any; filled once, under the family's lock.  **Failure**: nothing throws.
template <class IdType, std::size_t N>
class ContextIdNames {
public:
    struct Entry {
        IdType m_eContext;
        const XCHAR* m_pszName;
    };
    using Entries = std::array<Entry, N>;

    /// Fills the map on the first call.  @return whether it was this one.
    bool Populate(const Entries& raoEntries, CriticalResource& rResource) noexcept {
        if (m_fPopulated.load(std::memory_order_acquire)) return false;
        std::array<bool, N> afSuccess{};
        {
            const CriticalResourceLock lock(rResource);
            if (m_fPopulated.load(std::memory_order_relaxed)) return false;
            for (std::size_t i = 0; i < N; ++i)
                afSuccess[i] = Add(raoEntries[i]);
            m_fPopulated.store(true, std::memory_order_release);
        }
        for (std::size_t i = 0; i < N; ++i) {
            const bool fSuccess = afSuccess[i];
            VLM_ASSERT(fSuccess,
                       VTEXT("Failed to add an entry into the String Map for the enum value %ld, '%s'. The numeric "
                             "values need to be unique!"),
                       raoEntries[i].m_eContext, raoEntries[i].m_pszName);
        }
        return true;
    }

    /// The name of an id; "Dynamic context %ld" for one made at run time, "<Unknown context %ld>" for one below 0,
    /// which `reportUnnamed` is called to report.
    /// @param fWithNumber adds the number: "ECIE_IMPORT_JCAP (79)".
    template <class ReportUnnamed>
    CXString GetDisplayString(IdType eContext, bool fWithNumber, ReportUnnamed&& reportUnnamed) const {
        SafeText text;
        const auto uIndex = static_cast<std::size_t>(eContext);  // a negative id becomes a great index
        if (uIndex < N && m_apszNames[uIndex]) {
            text.Append(m_apszNames[uIndex]);
        } else if (eContext >= static_cast<IdType>(N)) {
            text.Format(VTEXT("Dynamic context %ld"), eContext);
        } else {
            reportUnnamed();
            text.Format(VTEXT("<Unknown context %ld>"), eContext);
        }
        if (fWithNumber) text.Format(VTEXT(" (%ld)"), eContext);
        return std::move(text.Get());
    }

private:
    bool Add(const Entry& rEntry) noexcept {
        const auto uIndex = static_cast<std::size_t>(rEntry.m_eContext);
        if (uIndex >= N || m_apszNames[uIndex]) return false;
        m_apszNames[uIndex] = rEntry.m_pszName;
        return true;
    }

    std::array<const XCHAR*, N> m_apszNames{};
    std::atomic<bool> m_fPopulated{false};
};

}  // namespace vlm
