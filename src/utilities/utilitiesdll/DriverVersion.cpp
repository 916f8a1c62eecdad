/// @file
/// Versions of the driver family.
#include "utilities/utilitiesdll/DriverVersion.h"

#include "q9version.h"
#include "utilities/utilitiesdll/detail/text/TextKernels.h"

DriverVersion DriverVersion::GetLibraryVersion() noexcept {
    return DriverVersion(Q9_VERSION_MAJOR, Q9_VERSION_MINOR, Q9_VERSION_PATCH, Q9_VERSION_BUILD);
}

void DriverVersion::AppendDriverVersionState(ByteBuffer& rbbTarget) const {
    // One piece, so that a failure leaves the target as it was.
    rbbTarget.append(GetDriverVersionState());
}

ByteBuffer DriverVersion::GetDriverVersionState() const {
    ByteBuffer bbState;
    bbState.reserve(STATE_BYTES);
    bbState.appendWordValue(m_wMajor).appendWordValue(m_wMinor).appendWordValue(m_wRevision).appendWordValue(m_wBuild);
    return bbState;
}

DriverVersion DriverVersion::WalkBufferToGetDriverVersion(const BYTE*& rpbyCursor, DWORD& rdwRemaining) {
    ByteBuffer::RequireBytes(rdwRemaining, STATE_BYTES);
    const WORD wMajor = ByteBuffer::WalkBufferToGetWord(rpbyCursor, rdwRemaining);
    const WORD wMinor = ByteBuffer::WalkBufferToGetWord(rpbyCursor, rdwRemaining);
    const WORD wRevision = ByteBuffer::WalkBufferToGetWord(rpbyCursor, rdwRemaining);
    const WORD wBuild = ByteBuffer::WalkBufferToGetWord(rpbyCursor, rdwRemaining);
    return DriverVersion(wMajor, wMinor, wRevision, wBuild);
}

DriverVersion DriverVersion::WalkBufferToGetDriverVersion(BYTE*& rpbyCursor, DWORD& rdwRemaining) {
    const BYTE* pbyCursor = rpbyCursor;
    const DriverVersion oVersion = WalkBufferToGetDriverVersion(pbyCursor, rdwRemaining);
    rpbyCursor += pbyCursor - rpbyCursor;
    return oVersion;
}

CXString DriverVersion::GetStringValue() const {
    return CXString::FormatString(VTEXT("%u.%u.%u.%u"), UINT{m_wMajor}, UINT{m_wMinor}, UINT{m_wRevision},
                                  UINT{m_wBuild});
}

bool DriverVersion::TryParse(const CXString& kcsText, DriverVersion& rVersion) {
    constexpr int PARTS = 4;
    constexpr UINT MAX_PART = 0xFFFF;
    WORD awParts[PARTS] = {};
    int iPart = 0;
    UINT uValue = 0;
    bool fDigit = false;
    for (const XCHAR ch : kcsText.View()) {
        if (ch == VTEXT('.')) {
            if (!fDigit || iPart == PARTS - 1) return false;
            awParts[iPart++] = static_cast<WORD>(uValue);
            uValue = 0;
            fDigit = false;
        } else {
            if (!vlm::text::IsDigit(ch)) return false;
            uValue = uValue * 10 + static_cast<UINT>(ch - VTEXT('0'));
            if (uValue > MAX_PART) return false;
            fDigit = true;
        }
    }
    if (!fDigit) return false;
    awParts[iPart] = static_cast<WORD>(uValue);
    rVersion = DriverVersion(awParts[0], awParts[1], awParts[2], awParts[3]);
    return true;
}
