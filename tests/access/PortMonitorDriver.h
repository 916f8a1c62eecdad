/// @file
/// A driver to install the monitor from: its files, and a spooler that answers.
#pragma once

#include <string>
#include <vector>

#include "access/PortMonitorBench.h"

namespace vlm::test {

inline const XCHAR* const SHIPPED = VTEXT("C:\\Driver\\q7lrs.dll");
inline const XCHAR* const SHIPPED_LOADER = VTEXT("C:\\Driver\\q7lrsl.dll");
inline const XCHAR* const IN_FORCE = VTEXT("C:\\Windows\\System32\\q7lrs.dll");
inline const XCHAR* const LOADER = VTEXT("C:\\Windows\\System32\\q7lrsl.dll");
inline const XCHAR* const PENDING = VTEXT("C:\\Windows\\System32\\q7lrs.new");

/// A file with a version resource somewhere in it.
inline std::vector<BYTE> Dll(const char* pszVersionHex) {
    return FromHex(std::string("4D5A9000") + "340000000000" +
                   "560053005F00560045005200530049004F004E005F0049004E0046004F000000" + "0000" + "BD04EFFE" +
                   "00000100" + pszVersionHex + "3F000000");
}

inline const char* const V5_0_1_0 = "00000500 00000100";
inline const char* const V5_0_2_0 = "00000500 00000200";

inline void AddDriver(FakePlatform& rFake, const char* pszVersionHex = V5_0_1_0) {
    rFake.files.AddFolder(VTEXT("C:\\Windows\\System32"));
    rFake.files.AddFile(SHIPPED, Dll(pszVersionHex));
    rFake.files.AddFile(SHIPPED_LOADER, Dll(pszVersionHex));
    rFake.spooler.SetScript(
        [](XStringView, std::span<const BYTE>, std::size_t, std::vector<BYTE>&) { return Status::Success; });
}

inline std::string ContentsHex(const FakePlatform& rFake, const XCHAR* pszPath) {
    const auto ovby = rFake.files.Contents(pszPath);
    return ovby ? ToHex(*ovby) : "(none)";
}

}  // namespace vlm::test
