/// @file
/// The records of the system's TCP/IP port monitor.
#include "environment/TCPPortRecords.h"

#include <algorithm>
#include <utility>

namespace vlm {

namespace {

constexpr std::size_t RESERVED_BYTES = 540 + 2;  // with those that bring the next number to a multiple of 4
constexpr std::size_t QUESTION_RESERVED_BYTES = 128;

bool Fits(const CXString& kcsText, int iMaxUnits) noexcept {
    return kcsText.GetLength() <= iMaxUnits && kcsText.Find(XCHAR{0}) < 0;
}

void AppendText(ByteBuffer& rbbTarget, const CXString& kcsText, int iMaxUnits) {
    rbbTarget.append(kcsText);
    rbbTarget.resize(rbbTarget.size() + static_cast<std::size_t>(iMaxUnits + 1 - kcsText.GetLength()) * sizeof(XCHAR));
}

/// Walks a record's fields; every read is checked by the cursor.
class FieldReader {
public:
    FieldReader(const BYTE* pbyRecord, std::size_t cbRecord) noexcept
        : m_pbyCursor(pbyRecord), m_dwRemaining(static_cast<DWORD>(cbRecord)) {}

    DWORD Number() { return static_cast<DWORD>(ByteBuffer::WalkBufferToGetLong(m_pbyCursor, m_dwRemaining)); }
    void Skip(std::size_t cBytes) {
        ByteBuffer::RequireBytes(m_dwRemaining, cBytes);
        m_pbyCursor += cBytes;
        m_dwRemaining -= static_cast<DWORD>(cBytes);
    }
    /// A text with its room of `iMaxUnits` units and a terminator; notes one that does not end in it.
    CXString Text(int iMaxUnits) {
        const std::size_t cbRoom = static_cast<std::size_t>(iMaxUnits + 1) * sizeof(XCHAR);
        ByteBuffer::RequireBytes(m_dwRemaining, cbRoom);
        // A zero unit of the record's own stands behind, so that only the record's terminators count.
        const CXString csUnits = ByteBuffer(m_pbyCursor, cbRoom).appendNullChar().getAsStringValue();
        const std::size_t cUnits = csUnits.View().find(XCHAR{0});
        m_fSound = m_fSound && cUnits != XStringView::npos;
        Skip(cbRoom);
        return CXString(csUnits.View().substr(0, cUnits));
    }
    bool IsSound() const noexcept { return m_fSound; }

private:
    const BYTE* m_pbyCursor;
    DWORD m_dwRemaining;
    bool m_fSound = true;
};

}  // namespace

bool TCPPortData::AppendTo(ByteBuffer& rbbTarget) const {
    if (!Fits(m_csPortName, MAX_PORT_NAME) || !Fits(m_csHostAddress, MAX_HOST_ADDRESS) ||
        !Fits(m_csCommunity, MAX_COMMUNITY) || !Fits(m_csQueue, MAX_QUEUE) || !Fits(m_csIPAddress, MAX_IP_ADDRESS)) {
        return false;
    }
    ByteBuffer bbRecord;
    AppendText(bbRecord, m_csPortName, MAX_PORT_NAME);
    bbRecord.appendDwordValue(VERSION).appendDwordValue(m_dwProtocol).appendDwordValue(SIZE).appendDwordValue(0);
    AppendText(bbRecord, m_csHostAddress, MAX_HOST_ADDRESS);
    AppendText(bbRecord, m_csCommunity, MAX_COMMUNITY);
    bbRecord.appendDwordValue(m_dwDoubleSpool);
    AppendText(bbRecord, m_csQueue, MAX_QUEUE);
    AppendText(bbRecord, m_csIPAddress, MAX_IP_ADDRESS);
    bbRecord.resize(bbRecord.size() + RESERVED_BYTES);
    bbRecord.appendDwordValue(m_dwPortNumber).appendDwordValue(m_dwSNMPEnabled).appendDwordValue(m_dwSNMPDevIndex);
    rbbTarget.append(bbRecord);
    return true;
}

bool TCPPortData::Decode(const BYTE* pbyRecord, std::size_t cbRecord, TCPPortData& rData) {
    if (cbRecord != SIZE) return false;
    FieldReader oReader(pbyRecord, cbRecord);
    TCPPortData oData;
    oData.m_csPortName = oReader.Text(MAX_PORT_NAME);
    const DWORD dwVersion = oReader.Number();
    oData.m_dwProtocol = oReader.Number();
    const DWORD cbTold = oReader.Number();
    oReader.Skip(sizeof(DWORD));
    oData.m_csHostAddress = oReader.Text(MAX_HOST_ADDRESS);
    oData.m_csCommunity = oReader.Text(MAX_COMMUNITY);
    oData.m_dwDoubleSpool = oReader.Number();
    oData.m_csQueue = oReader.Text(MAX_QUEUE);
    oData.m_csIPAddress = oReader.Text(MAX_IP_ADDRESS);
    oReader.Skip(RESERVED_BYTES);
    oData.m_dwPortNumber = oReader.Number();
    oData.m_dwSNMPEnabled = oReader.Number();
    oData.m_dwSNMPDevIndex = oReader.Number();
    if (!oReader.IsSound() || dwVersion != VERSION || cbTold != SIZE) return false;
    rData = std::move(oData);
    return true;
}

void TCPPortQuestion::AppendTo(ByteBuffer& rbbTarget) {
    rbbTarget.resize(rbbTarget.size() + QUESTION_RESERVED_BYTES);
    rbbTarget.appendDwordValue(TCPPortData::VERSION);
}

}  // namespace vlm
