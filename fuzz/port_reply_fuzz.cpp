/// @file
/// Fuzz target: what a TCP/IP port monitor answers.  A configuration that is accepted is written as a record that reads
/// as the same, and its texts are where the record has them.
#include <algorithm>
#include <cstring>
#include <memory>

#include "Fuzz.h"
#include "environment/TCPPortRecords.h"

using vlm::test::Require;

namespace {

using vlm::TCPPortData;

void CheckText(const BYTE* pby, std::size_t cAt, const CXString& kcsText, int iMaxUnits) {
    Require(kcsText.GetLength() <= iMaxUnits && kcsText.Find(XCHAR{0}) < 0);
    Require(std::memcmp(pby + cAt, kcsText.GetLpcwstr(), static_cast<std::size_t>(kcsText.GetLength() + 1) * 2) == 0);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pby, std::size_t cBytes) {
    // Exactly as long as it is, so that a read beyond it is seen.
    const auto apby = std::make_unique<BYTE[]>(cBytes);
    std::copy(pby, pby + cBytes, apby.get());
    TCPPortData oData;
    if (!TCPPortData::Decode(apby.get(), cBytes, oData)) {
        Require(oData.m_csPortName.IsEmpty() && oData.m_csHostAddress.IsEmpty());
        return 0;
    }
    Require(cBytes == TCPPortData::SIZE);
    CheckText(pby, 0, oData.m_csPortName, TCPPortData::MAX_PORT_NAME);
    CheckText(pby, 144, oData.m_csHostAddress, TCPPortData::MAX_HOST_ADDRESS);
    CheckText(pby, 242, oData.m_csCommunity, TCPPortData::MAX_COMMUNITY);
    CheckText(pby, 312, oData.m_csQueue, TCPPortData::MAX_QUEUE);
    CheckText(pby, 378, oData.m_csIPAddress, TCPPortData::MAX_IP_ADDRESS);
    ByteBuffer bbFirst, bbSecond;
    TCPPortData oAgain;
    Require(oData.AppendTo(bbFirst) && TCPPortData::Decode(bbFirst.data(), bbFirst.size(), oAgain));
    Require(oAgain.AppendTo(bbSecond) && bbFirst == bbSecond);
    for (const std::size_t cNumber : {128, 132, 136, 308, 952, 956, 960})
        Require(std::memcmp(bbFirst.data() + cNumber, pby + cNumber, 4) == 0);
    return 0;
}
