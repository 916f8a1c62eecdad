/// @file
/// A printer driver as the embedded spooler keeps it.
#pragma once

#include <vector>

#include "platform/SpoolerBlocks.h"
#include "platform/host/spooler/SpoolerKey.h"

namespace vlm::host {

/// What a driver's key holds, under the value names of the system.  Files are names without path; all of them stand in
/// the version's folder of the driver directory.
struct DriverRecord {
    XText name;
    XText driverFile, dataFile, configFile, helpFile, monitor, datatype, manufacturer, url, hardwareId, provider,
        processor, vendorSetup, infPath;
    XText dependentFiles, previousNames, colorProfiles, coreDependencies;  ///< lists of texts with their ends
    ULONGLONG ullDate = 0, ullVersion = 0, ullInboxDate = 0, ullInboxVersion = 0;
    DWORD dwAttributes = 0;

    /// The names of all files, each once.  What is more than a name is left out: a store that somebody else wrote does
    /// not lead out of the folder when a driver's files are deleted.
    std::vector<XText> Files() const;
};

/// The texts of a list.
std::vector<XText> TextsOf(const XText& rList);
/// The way back, with the ends.
XText ListOf(const std::vector<XText>& rvTexts);

/// @return false when there is no such driver.
bool LoadDriver(SpoolerGround& rGround, const XText& rName, DriverRecord& rRecord);
std::vector<DriverRecord> LoadDrivers(SpoolerGround& rGround);
void SaveDriver(SpoolerGround& rGround, const DriverRecord& rRecord);

/// The block of a level.  @param rFolder of the files.  @return UNKNOWN_LEVEL, InsufficientBuffer.
Status FinishDriverBlock(DWORD dwLevel, const XText& rFolder, const std::vector<DriverRecord>& rvRecords, void* pInfo,
                         DWORD cbInfo, DWORD& rcbNeeded, DWORD& rcReturned);

}  // namespace vlm::host
