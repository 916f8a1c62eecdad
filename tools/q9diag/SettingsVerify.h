/// @file
/// Whether a settings file says the same when the library writes it again.
#pragma once

#include <string>

#include "Settings.h"

namespace vlm::tool {

/// The outcome of a comparison of plain states (PlainState).
struct SettingsVerdict {
    bool bSame = false;
    std::size_t cBytes = 0;   ///< of the file's plain state
    std::size_t uOffset = 0;  ///< of the first difference
    std::string strFound;     ///< the byte there in hexadecimal, or "end"
    std::string strWritten;
    std::string strPath;  ///< the attribute that holds the byte; empty when none does
};

/// @param rSettings what DecodeSettings made of the file.
SettingsVerdict VerifySettings(const ByteBuffer& rbbFile, const Settings& rSettings);

}  // namespace vlm::tool
