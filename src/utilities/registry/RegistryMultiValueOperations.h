/// @file
/// Several values of one key, read in a single query.
#pragma once

#include <cstddef>
#include <vector>

#include "platform/Export.h"
#include "platform/WinTypes.h"
#include "utilities/utilitiesdll/ByteBuffer.h"
#include "utilities/utilitiesdll/CXString.h"

class RegistryKey;

/// A list of value names, bound in the order in which they are asked for, and the data of the last query that
/// succeeded.
///
///     RegistryMultiValueOperations oValues;
///     const std::size_t cEnabled = oValues.Add(VTEXT("MessagesEnabled"));
///     const std::size_t cWidth = oValues.Add(VTEXT("MaxMessageWidth"));
///     if (oKey.QueryMultipleValues(oValues) && oValues.HasChanged()) Apply(oValues.GetBoolean(cEnabled, false), ...);
///
/// **Ownership**: holds copies.  **Threads**: as any value.
/// **Failure**: binding throws ExceptionOutOfMemory; the getters give the default for a value that was never read,
/// whose data does not fit, or whose index does not exist, and never throw.
class VLM_API RegistryMultiValueOperations {
public:
    /// Most values of one query.
    static constexpr std::size_t MAX_ENTRIES = 4096;

    /// Binds a name.  @return its index.  @throws ExceptionInvalidArgument beyond MAX_ENTRIES.
    std::size_t Add(const CXString& kcsName);
    std::size_t GetCount() const noexcept { return m_voEntries.size(); }
    /// Name of an index below the count.
    const CXString& GetName(std::size_t cIndex) const noexcept { return m_voEntries[cIndex].m_csName; }

    /// Did the last successful query bring other data than the one before it?  True after the first.
    bool HasChanged() const noexcept { return m_fChanged; }
    /// Has a query succeeded?
    bool HasData() const noexcept { return m_fData; }

    bool GetBoolean(std::size_t cIndex, bool fDefault) const noexcept;
    LONG GetLong(std::size_t cIndex, LONG lDefault) const noexcept;
    LONGLONG GetLong64(std::size_t cIndex, LONGLONG llDefault) const noexcept;
    /// Up to the first zero unit.
    CXString GetString(std::size_t cIndex, const CXString& kcsDefault) const noexcept;
    /// @return false, with an empty buffer, for a value that was never read.
    bool GetBytes(std::size_t cIndex, ByteBuffer& rbbValue) const noexcept;
    /// The type of a value, 0 when it was never read.
    DWORD GetType(std::size_t cIndex) const noexcept;

private:
    friend class RegistryKey;

    struct Entry {
        CXString m_csName;
        DWORD m_dwType = 0;
        ByteBuffer m_bbData;
    };
    /// The data of a value that was read, when it has at least so many bytes; else null.
    const ByteBuffer* Find(std::size_t cIndex, std::size_t cbLeast) const noexcept;
    /// Makes the result of a query the object's own.
    void Take(std::vector<Entry>& rvoEntries) noexcept;
    std::size_t GetDataBytes() const noexcept;

    std::vector<Entry> m_voEntries;
    bool m_fData = false;
    bool m_fChanged = false;
};
