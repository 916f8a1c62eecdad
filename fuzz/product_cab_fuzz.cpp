/// @file
/// Fuzzes the unpacking of product cabinet files on a disk in memory: nothing outside the target is touched, and what
/// is refused leaves nothing.
#include <optional>
#include <vector>

#include "Fuzz.h"
#include "environment/detail/product/CabinetUnpacker.h"
#include "environment/detail/product/FolderTree.h"
#include "support/CabinetImages.h"
#include "support/FakePlatform.h"
#include "utilities/debuggingandexceptions/VelomExceptions.h"

using vlm::test::Require;

namespace {

using vlm::test::XString;

constexpr const XCHAR *CAB = VTEXT("C:\\d\\p.cab"), *TARGET = VTEXT("C:\\d\\Velom\\Data");
constexpr XStringView INSIDE = VTEXT("C:\\d\\Velom\\Data\\");

/// Unpacks a cabinet file, and those in it.  @return whether it was accepted.
bool Unpack() {
    namespace folders = vlm::folders;
    return vlm::test::IsTaken<ExceptionCompression, ExceptionFileOperationCompression, ExceptionFile>([] {
        vlm::CabinetUnpacker oUnpacker(TARGET);
        oUnpacker.Extract(CAB);
        std::vector<std::pair<CXString, CXString>> vNested;
        folders::Walk(oUnpacker.GetStagingFolder(), [&](const CXString& kcsFolder, const auto& rvoItems) {
            for (const folders::Item& rItem : rvoItems) {
                if (rItem.IsFile() && folders::HasExtension(rItem.csName, VTEXT(".cab")) && vNested.size() < 4) {
                    vNested.emplace_back(kcsFolder, rItem.csName);
                }
            }
            return vlm::Status::Success;
        });
        for (const auto& [csFolder, csName] : vNested)
            oUnpacker.ExtractNested(csFolder, csName);
        oUnpacker.MoveIn();
    });
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pby, std::size_t cBytes) {
    vlm::test::ImageBytes image(pby, pby + cBytes);
    if (image.size() > 65536) return 0;
    vlm::test::FakePlatform oFake;
    const vlm::PlatformScope oScope(oFake.Get());
    oFake.files.AddFile(CAB, image);
    oFake.files.AddFile(VTEXT("C:\\d\\Velom\\Data\\kept"), {1, 2, 3});
    oFake.files.AddFile(VTEXT("C:\\d\\Velom\\beside"), {4});
    oFake.files.AddLink(VTEXT("C:\\d\\Velom\\Data\\link"), true);
    oFake.files.LimitSpace(4 * 1024 * 1024);
    const std::size_t cFormer = oFake.files.FileNames().size();
    const bool fUnpacked = Unpack();
    Require(oFake.files.OpenHandles() == 0, "no file stays open");
    Require(oFake.files.Contents(VTEXT("C:\\d\\Velom\\beside")).has_value(), "what is beside stays");
    std::size_t cOutside = 0;
    for (const XString& rName : oFake.files.FileNames())
        cOutside += !rName.starts_with(INSIDE);
    Require(cOutside == 2, "nothing is made outside the target");
    // A link on the way shows only when its files are moved in, behind those before it.
    if (fUnpacked || oFake.files.FileNames().size() == cFormer) return 0;
    Require(oFake.files.Contents(VTEXT("C:\\d\\Velom\\Data\\kept")).has_value(), "what was there stays");
    return 0;
}
