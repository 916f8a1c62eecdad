/// @file
/// Offers the request server to an embedded spooler of the same process.
#include <algorithm>

#include "platform/EmbeddedMonitor.h"
#include "portmonitor/MonitorChannels.h"

namespace vlm {

namespace {

constexpr XStringView MONITOR_DLLS[] = {VTEXT("q7lrsl.dll"), VTEXT("q7lrs.dll")};

/// The name behind the last separator of a path.
XStringView FileName(XStringView path) noexcept {
    const std::size_t cSeparator = path.find_last_of(VTEXT("\\/"));
    return cSeparator == XStringView::npos ? path : path.substr(cSeparator + 1);
}

class InProcessMonitor final : public EmbeddedMonitor {
public:
    bool IsDll(const XCHAR* pszDll) const noexcept override {
        const XStringView name = FileName(pszDll ? pszDll : VTEXT(""));
        return std::any_of(std::begin(MONITOR_DLLS), std::end(MONITOR_DLLS), [name](XStringView dll) {
            return std::equal(name.begin(), name.end(), dll.begin(), dll.end(), [](XCHAR chLeft, XCHAR chRight) {
                return (chLeft >= VTEXT('A') && chLeft <= VTEXT('Z') ? chLeft + 32 : chLeft) == chRight;
            });
        });
    }
    Status OpenChannel(DWORD dwGrantedAccess, HANDLE& rhChannel) noexcept override {
        return Channels().Open(dwGrantedAccess, rhChannel);
    }
    Status CloseChannel(HANDLE hChannel) noexcept override { return Channels().Close(hChannel); }
    Status Transceive(HANDLE hChannel, const XCHAR* pszCommand, const BYTE* pbyInput, DWORD cbInput, BYTE* pbyOutput,
                      DWORD cbOutput, DWORD& rcbNeeded) noexcept override {
        return Channels().Transceive(hChannel, pszCommand, {pbyInput, cbInput}, {pbyOutput, cbOutput}, rcbNeeded);
    }

private:
    static MonitorChannels& Channels() noexcept {
        static MonitorChannels soChannels;
        return soChannels;
    }
};

constinit InProcessMonitor goMonitor;

/// Done when the program or library starts; nobody opens a channel before, and nothing depends on the order.
[[maybe_unused]] const bool gfInstalled = []() noexcept {
    ExchangeEmbeddedMonitor(&goMonitor);
    return true;
}();

}  // namespace

}  // namespace vlm
