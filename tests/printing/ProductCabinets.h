/// @file
/// Cabinet files with stored members, for tests and fuzz targets of product data.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "support/Bytes.h"
#include "support/CabinetImages.h"
#include "utilities/utilitiesdll/ByteBuffer.h"

namespace vlm::test {

using CabMembers = std::vector<std::pair<std::string, std::string>>;

/// A cabinet file of members by name and contents.
inline std::vector<BYTE> StoredCab(const CabMembers& rMembers) {
    constexpr std::size_t BLOCK = 32768;
    ImageParts oParts;
    ImageFolder oFolder{};
    oFolder.uType = 0;
    std::string strAll;
    for (const auto& [name, contents] : rMembers) {
        oParts.vFiles.push_back(
            {name, static_cast<std::uint32_t>(contents.size()), static_cast<std::uint32_t>(strAll.size()), 0});
        strAll += contents;
    }
    for (std::size_t u = 0; u < strAll.size(); u += BLOCK) {
        const std::string strBlock = strAll.substr(u, BLOCK);
        oFolder.vBlocks.push_back({BytesOf(strBlock), static_cast<std::uint32_t>(strBlock.size())});
    }
    oParts.vFolders.push_back(oFolder);
    return oParts.Build();
}

inline std::string StoredCabText(const CabMembers& rMembers) {
    const std::vector<BYTE> vby = StoredCab(rMembers);
    return {vby.begin(), vby.end()};
}

}  // namespace vlm::test
