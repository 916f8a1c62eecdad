/// @file
/// Handles of the embedded spooler, and its rule for names.
#include "platform/host/spooler/SpoolerGround.h"

#include <algorithm>
#include <optional>
#include <utility>

namespace vlm::host {

std::shared_ptr<const OpenedPrinter> SpoolerGround::Find(HANDLE hPrinter) const {
    const auto oshpoPrinter = m_oHandles.Find(reinterpret_cast<std::uintptr_t>(hPrinter));
    if (!oshpoPrinter) throw SpoolerFailure{Status::InvalidHandle};
    return *oshpoPrinter;
}

std::shared_ptr<const OpenedPrinter> SpoolerGround::FindQueue(HANDLE hPrinter) const {
    std::shared_ptr<const OpenedPrinter> shpoPrinter = Find(hPrinter);
    if (shpoPrinter->eKind != OpenedPrinter::Kind::Queue) throw SpoolerFailure{Status::InvalidHandle};
    return shpoPrinter;
}

HANDLE SpoolerGround::Add(OpenedPrinter oPrinter) {
    return reinterpret_cast<HANDLE>(m_oHandles.Add(std::make_shared<const OpenedPrinter>(std::move(oPrinter))));
}

std::shared_ptr<const OpenedPrinter> SpoolerGround::Remove(HANDLE hPrinter) noexcept {
    return m_oHandles.Remove(reinterpret_cast<std::uintptr_t>(hPrinter)).value_or(nullptr);
}

bool IsSameName(XStringView svLeft, XStringView svRight) noexcept {
    const auto Fold = [](XCHAR ch) { return ch >= VTEXT('A') && ch <= VTEXT('Z') ? ch + 0x20 : ch; };
    return std::equal(svLeft.begin(), svLeft.end(), svRight.begin(), svRight.end(),
                      [&](XCHAR chLeft, XCHAR chRight) { return Fold(chLeft) == Fold(chRight); });
}

}  // namespace vlm::host
