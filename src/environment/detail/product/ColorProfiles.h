/// @file
/// The family's colour profiles in the system's folder for them.
#pragma once

#include "utilities/utilitiesdll/CXString.h"

namespace vlm {

/// Moves profiles into the colour folder.  Others keep profiles there, too: one that is there stays as it is, unless it
/// is as the family left it.  The registry key "ColorProfiles" below the machine's version key has the family's names,
/// each with the Hash32 of its contents.
class ColorProfiles {
public:
    explicit ColorProfiles(const CXString& kcsColorFolder) : m_csColorFolder(kcsColorFolder) {}

    static constexpr const XCHAR* KEY = VTEXT("ColorProfiles");

    /// @param kcsFolder where the profile is now; it stays there when it cannot be moved, which is reported.
    void Move(const CXString& kcsFolder, const CXString& kcsName);

private:
    CXString m_csColorFolder;
};

}  // namespace vlm
