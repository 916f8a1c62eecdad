/// @file
/// Fuzz target: requests to the port monitor.  What is taken apart is written as the same bytes, and what is then
/// allowed lies inside the base of its hive.
#include <vector>

#include "Fuzz.h"
#include "environment/PortMonitorRequestRules.h"
#include "portmonitor/RequestDecision.h"

using vlm::test::Require;

namespace {

void CheckDecision(const vlm::PortMonitorRequest& rRequest, const vlm::RequestCaller& rCaller) {
    vlm::RequestDecision oDecision;
    if (vlm::DecideRequest(rRequest, rCaller, nullptr, oDecision) != vlm::Status::Success) return;
    Require(rCaller.m_eClass != vlm::CallerClass::Remote);
    Require(vlm::IsWithin(oDecision.m_oKey.m_csPath, vlm::BasePathOfRoot(rRequest.m_eRoot)));
    Require((oDecision.m_dwAccessMask & 0x30C0020) == 0);
    const bool fTrusted = vlm::IsTrustedCaller(rCaller);
    Require(fTrusted || oDecision.m_oKey.m_csSid.IsEmpty() || oDecision.m_oKey.m_csSid == rCaller.m_csSid ||
            oDecision.m_oKey.m_csSid == VTEXT(".DEFAULT"));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pby, std::size_t cBytes) {
    vlm::PortMonitorRequest oRequest;
    const vlm::Status eStatus = vlm::PortMonitorRequest::Decode({pby, cBytes}, oRequest);
    Require(eStatus == vlm::Status::Success || eStatus == vlm::Status::InvalidParameter);
    if (eStatus != vlm::Status::Success) return 0;
    ByteBuffer bbAgain;
    oRequest.AppendTo(bbAgain);
    Require(bbAgain.GetVector() == std::vector<BYTE>(pby, pby + cBytes));
    vlm::ValueListNames(oRequest.m_bbData);
    if (oRequest.m_ullKeyHandle != 0) return 0;
    for (int i = 0; i < static_cast<int>(vlm::CallerClass::Count); ++i)
        CheckDecision(oRequest, {static_cast<vlm::CallerClass>(i), VTEXT("S-1-5-21-1-2-3-1001"), 0});
    return 0;
}
