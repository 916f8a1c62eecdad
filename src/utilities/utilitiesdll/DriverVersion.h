/// @file
/// A version of the driver family: four 16-bit parts.
#pragma once

#include <compare>

#include "platform/Export.h"
#include "platform/WinTypes.h"
#include "utilities/utilitiesdll/ByteBuffer.h"
#include "utilities/utilitiesdll/CXString.h"

/// A version number, most significant part first; it orders part by part.
///
/// Byte form (8 bytes, little-endian), as the persistent formats hold it:
///
///     offset 0  word  major
///     offset 2  word  minor
///     offset 4  word  revision
///     offset 6  word  build
///
/// Text form: the parts in decimal between dots, for example "5.1009.1.0".
/// **Threads**: a plain value.
class VLM_API DriverVersion {
public:
    /// Bytes of the byte form.
    static constexpr DWORD STATE_BYTES = 8;

    /// 0.0.0.0
    constexpr DriverVersion() noexcept = default;
    constexpr DriverVersion(WORD wMajor, WORD wMinor, WORD wRevision, WORD wBuild) noexcept
        : m_wMajor(wMajor), m_wMinor(wMinor), m_wRevision(wRevision), m_wBuild(wBuild) {}

    constexpr WORD GetMajorVersion() const noexcept { return m_wMajor; }
    constexpr WORD GetMinorVersion() const noexcept { return m_wMinor; }
    constexpr WORD GetRevision() const noexcept { return m_wRevision; }
    constexpr WORD GetBuildNumber() const noexcept { return m_wBuild; }

    friend constexpr auto operator<=>(const DriverVersion&, const DriverVersion&) noexcept = default;

    /// The version of this library.
    static DriverVersion GetLibraryVersion() noexcept;

    /// The byte form.
    ByteBuffer GetDriverVersionState() const;
    /// Appends the byte form.
    void AppendDriverVersionState(ByteBuffer& rbbTarget) const;
    /// Reads the byte form at a cursor and moves it behind.
    /// @throws ExceptionNotEnoughBytesForDesiredDataType with fewer than 8 bytes; the cursor has not moved then.
    static DriverVersion WalkBufferToGetDriverVersion(const BYTE*& rpbyCursor, DWORD& rdwRemaining);
    static DriverVersion WalkBufferToGetDriverVersion(BYTE*& rpbyCursor, DWORD& rdwRemaining);

    /// The text form.
    CXString GetStringValue() const;
    /// Reads the text form: one to four parts of decimal digits, 0 to 65535 each, without blanks or signs.
    /// Parts that are left out count as 0.
    /// @return false when the text is anything else; `rVersion` is then unchanged.
    static bool TryParse(const CXString& kcsText, DriverVersion& rVersion);

private:
    WORD m_wMajor = 0;
    WORD m_wMinor = 0;
    WORD m_wRevision = 0;
    WORD m_wBuild = 0;
};
