/// @file
/// The drivers of the sample queues.
#pragma once

#include <span>

#include "platform/WinTypes.h"
#include "utilities/utilitiesdll/ByteBuffer.h"

namespace vlm {

/// A text of the printer data that the driver's installer would have written.
struct SampleValue {
    const XCHAR* pszName;
    const XCHAR* pszText;
};

struct SampleDriver {
    const XCHAR* pszName;
    const XCHAR* pszDriverFile;
    const XCHAR* pszDataFile;
    const XCHAR* pszConfigFile;
    std::span<const XCHAR* const> apszDependent;
    const XCHAR* pszProductCab;             ///< one of the dependent files
    std::span<const SampleValue> aoValues;  ///< of each queue's "PrinterDriverData"
    DWORD dwCapabilities;                   ///< "xBaseDriverCaps"
};

extern const SampleDriver SAMPLE_PCL_DRIVER;
extern const SampleDriver SAMPLE_PS_DRIVER;

/// Puts the driver's files in place, where there are none yet, and registers it, anew when it is there.
/// @param kbbProductCab the product CAB's bytes; empty: it holds no more than the other files.
/// @throws ExceptionPrintDriverFailure
void InstallSampleDriver(const SampleDriver& rDriver, const ByteBuffer& kbbProductCab);
/// Removes the driver and the files that no other driver uses; one that is not there, or in use, stays as it is.
void RemoveSampleDriver(const SampleDriver& rDriver);

}  // namespace vlm
