/// @file
/// Moves colour profiles without harming others'.
#include "environment/detail/product/ColorProfiles.h"

#include "environment/detail/product/FolderTree.h"
#include "platform/Platform.h"
#include "utilities/Bounds.h"
#include "utilities/debuggingandexceptions/NoThrow.h"
#include "utilities/debuggingandexceptions/RaiseMacros.h"
#include "utilities/registry/RegistryKey.h"
#include "utilities/utilitiesdll/Hash32.h"
#include "utilities/utilitiesdll/SystemText.h"

namespace vlm {

void ColorProfiles::Move(const CXString& kcsFolder, const CXString& kcsName) {
    VLM_REPORT(DebugCategory::UtilDll, VTEXT("Moving Profile %s\\%s to %s"), kcsFolder, kcsName, m_csColorFolder);
    const CXString csFrom = folders::Join(kcsFolder, kcsName), csTo = folders::Join(m_csColorFolder, kcsName);
    ByteBuffer bbNew, bbOld;
    Status status = folders::Read(csFrom, bounds::MAX_PRODUCT_FILE_BYTES, true, bbNew);
    if (status == Status::Success) status = folders::Make(m_csColorFolder);
    const auto apoKey = RegistryKey::CreateRegistryKey(std::nothrow, HKeyRegistry::Hkey_Machine_Version, KEY,
                                                       RegistryKey::READ_WRITE_ACCESS);
    if (status == Status::Success && folders::KindOf(csTo) != folders::Kind::Missing) {
        status = folders::Read(csTo, bounds::MAX_PRODUCT_FILE_BYTES, true, bbOld);
        const LONG lKnown = apoKey ? apoKey->GetLongValue(kcsName, 0) : 0;
        const bool fOurs = lKnown != 0 && static_cast<DWORD>(lKnown) == Hash32::GetHash32(bbOld);
        if (status == Status::Success && !fOurs && bbOld != bbNew) status = Status::AlreadyExists;
    }
    if (status == Status::Success) status = GetPlatform().pFiles->Move(csFrom, csTo, true);
    if (status == Status::Success) {
        if (apoKey) NoThrow([&] { apoKey->SetLongValue(kcsName, static_cast<LONG>(Hash32::GetHash32(bbNew))); });
        return;
    }
    VLM_REPORT_ERROR(DebugCategory::UtilDll, VTEXT("Move of %s to %s failed with error %s"), csFrom, csTo,
                     TextOfStatus(status));
}

}  // namespace vlm
