/// @file
/// The cabinet library's error codes in words.
#include "utilities/compression/CabinetErrorText.h"

#include <cstddef>
#include <span>

namespace vlm {

namespace {

/// In the order of CabinetCompressError.
constexpr const XCHAR* COMPRESS_TEXTS[] = {
    VTEXT("FCIERR_NONE: the library reported no error"),
    VTEXT("FCIERR_OPEN_SRC: the source could not be opened"),
    VTEXT("FCIERR_READ_SRC: the source could not be read"),
    VTEXT("FCIERR_ALLOC_FAIL: no memory"),
    VTEXT("FCIERR_TEMP_FILE: the temporary file could not be made"),
    VTEXT("FCIERR_BAD_COMPR_TYPE: unknown compression type"),
    VTEXT("FCIERR_CAB_FILE: the cabinet could not be written"),
    VTEXT("FCIERR_USER_ABORT: ended by the caller"),
    VTEXT("FCIERR_MCI_FAIL: the data could not be compressed"),
};

/// In the order of CabinetExtractError.
constexpr const XCHAR* EXTRACT_TEXTS[] = {
    VTEXT("FDIERROR_NONE: the library reported no error"),
    VTEXT("FDIERROR_CABINET_NOT_FOUND: the cabinet could not be opened"),
    VTEXT("FDIERROR_NOT_A_CABINET: this is no cabinet"),
    VTEXT("FDIERROR_UNKNOWN_CABINET_VERSION: unknown version of the format"),
    VTEXT("FDIERROR_CORRUPT_CABINET: the cabinet is damaged"),
    VTEXT("FDIERROR_ALLOC_FAIL: no memory"),
    VTEXT("FDIERROR_BAD_COMPR_TYPE: unknown compression type"),
    VTEXT("FDIERROR_MDI_FAIL: the data could not be decompressed"),
    VTEXT("FDIERROR_TARGET_FILE: the target could not be written"),
    VTEXT("FDIERROR_RESERVE_MISMATCH: the cabinet's reserved areas differ in size"),
    VTEXT("FDIERROR_WRONG_CABINET: the cabinet is not the one that continues"),
    VTEXT("FDIERROR_USER_ABORT: ended by the caller"),
};

CXString Describe(std::span<const XCHAR* const> texts, int iError, int iSystemError) {
    const bool fKnown = iError >= 0 && static_cast<std::size_t>(iError) < texts.size();
    const XCHAR* const pszText = fKnown ? texts[static_cast<std::size_t>(iError)] : VTEXT("unknown error");
    CXString csText;
    if (iSystemError == 0) {
        csText.Format(VTEXT("%d (%s)"), iError, pszText);
    } else {
        csText.Format(VTEXT("%d (%s; system error %d)"), iError, pszText, iSystemError);
    }
    return csText;
}

}  // namespace

CXString DescribeCabinetError(CabinetCompressError eError, int iSystemError) {
    return Describe(COMPRESS_TEXTS, static_cast<int>(eError), iSystemError);
}

CXString DescribeCabinetError(CabinetExtractError eError, int iSystemError) {
    return Describe(EXTRACT_TEXTS, static_cast<int>(eError), iSystemError);
}

}  // namespace vlm
