/// @file
/// The cabinet library's error codes in words.
#pragma once

#include "platform/CabinetPort.h"
#include "utilities/utilitiesdll/CXString.h"

namespace vlm {

/// For example "6 (FCIERR_CAB_FILE: the cabinet could not be written; system error 28)".
CXString DescribeCabinetError(CabinetCompressError eError, int iSystemError);
/// For example "4 (FDIERROR_CORRUPT_CABINET: the cabinet is damaged)".
CXString DescribeCabinetError(CabinetExtractError eError, int iSystemError);

}  // namespace vlm
