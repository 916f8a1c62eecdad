/// @file
/// Keeps texts from being read at a glance.
#pragma once

#include "platform/Export.h"
#include "platform/WinTypes.h"
#include "utilities/utilitiesdll/CXString.h"

/// Obscures texts character by character; the same call restores them.  This is no protection: whoever has the library
/// has the way back.  Do not give it passwords of other people's systems.
///
/// A character turns into one of its own group, so an obscured text is as long as the text, well-formed where the text
/// is, free of zero units and control characters where it is, and survives text files and registry values.  What
/// becomes of it depends on its position; some characters stay what they are.
///
/// | group                                     | example at position 0 |
/// |-------------------------------------------|-----------------------|
/// | 0x20 to 0x7E                              | "A" and "@"           |
/// | 0xA0 to 0xD7FF                            |                       |
/// | high surrogates; low surrogates           |                       |
/// | 0xE000 to 0xFFFD                          |                       |
/// | narrow only: 0x80 to 0xFF                 |                       |
/// | all others                                | unchanged             |
///
/// **Threads**: any.  **Failure**: CXString's alone.
class VLM_API DataObscurer {
public:
    DataObscurer() = delete;

    /// @param iPosition any number; the same one restores.
    static char ObscureUnobscureChar(char ch, int iPosition) noexcept;
    static XCHAR ObscureUnobscureWchar(XCHAR ch, int iPosition) noexcept;
    /// Each character at its own index.
    static CXString ObscureUnobscureCXString(const CXString& kcsText);
};
