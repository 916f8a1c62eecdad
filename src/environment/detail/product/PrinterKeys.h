/// @file
/// What registry keys, values and files of printers are called, and where keys of printers stand.
#pragma once

#include <functional>
#include <set>
#include <vector>

#include "environment/HKeyRegistry.h"
#include "utilities/utilitiesdll/CXString.h"

/// Names of a printer, below the keys and folders that the family keeps for each:
///
///     QUEUE               its name in standard form (Printer::GetPrinterNameInStandardFormForUseAsRegKey)
///     QUEUE.cache         its caches and its low-rights storage
///     QUEUE.ald           its adaptive-learning file
///     //CSR|QUEUE         the same for a client that renders for the server
///
/// Keys of the version's key that are no printer's are named in RESERVED.  Of "PrinterPorts" and "MergedDms", which
/// have one value for each printer, values go and the keys stay.
///
/// **Threads**: any.  **Failure**: what cannot be opened or deleted is left, and reported.
namespace vlm::printerkeys {

/// Where the version's key stands: in the machine's hive, in each user's, in the default user's, and in the copy that
/// terminal servers keep for installations.
struct Place {
    _HKEYREGISTRY_ eHive;
    CXString csPath;
    CXString csSid;        ///< of a user's hive
    const XCHAR* pszName;  ///< for messages
};

enum class Whose { Everybody, CurrentUser };

std::vector<Place> Places(Whose eWhose);
/// The SIDs of the users whose hives are loaded, without the default user.  @return false, with none, when the hives
/// cannot be listed.
bool UserSids(std::vector<CXString>& rvcsSids);

/// A printer's name as it is compared: lower case, without what stands round it.
CXString QueueOf(CXString csName);
/// Does it say of the printer of that name that its things go?
using IsOrphan = std::function<bool(const CXString& kcsQueue)>;

/// Deletes the keys, and the values of the two lists, of printers that are orphans.
void DeleteKeys(const Place& rPlace, const IsOrphan& rIsOrphan);
/// The same for the keys of the shared low-integrity key, "Low", of a place.
void DeleteLowKeys(const Place& rPlace, const IsOrphan& rIsOrphan);
/// Deletes the "PrivateConfiguration" keys of older versions, "V4.0" and the like, beside a place's version key.
void DeleteOldPrivateConfiguration(const Place& rPlace);
/// Deletes what users keep for printers that are orphans in the low-rights storage.
void DeleteLowRightsStorage(const IsOrphan& rIsOrphan);
/// Deletes files and folders with that extension of printers that are orphans in a folder of the family; links go, too,
/// and are not followed.
void DeleteFiles(const CXString& kcsFolder, XStringView extension, const IsOrphan& rIsOrphan);

}  // namespace vlm::printerkeys
