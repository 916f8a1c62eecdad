/// @file
/// Error texts of our own wording: what happened, in a sentence.
#include "platform/host/HostErrorTexts.h"

#include <algorithm>
#include <iterator>

namespace vlm::host {

namespace {

struct Entry {
    DWORD dwError;
    XStringView svText;
};

// Sorted by number.
constexpr Entry ENTRIES[] = {
    {0, VTEXT("The operation succeeded.")},
    {1, VTEXT("The function does not exist.")},
    {2, VTEXT("The file was not found.")},
    {3, VTEXT("A folder of the path was not found.")},
    {4, VTEXT("Too many files are open.")},
    {5, VTEXT("Access was denied.")},
    {6, VTEXT("The handle is not valid.")},
    {8, VTEXT("There is not enough memory for this command.")},
    {13, VTEXT("The data is not valid.")},
    {14, VTEXT("There is not enough memory to finish the operation.")},
    {17, VTEXT("The target is on another device.")},
    {19, VTEXT("The medium is protected against writing.")},
    {21, VTEXT("The device is not ready.")},
    {31, VTEXT("A device of the system does not work.")},
    {32, VTEXT("The file is in use elsewhere and is not shared.")},
    {33, VTEXT("A part of the file is locked elsewhere.")},
    {38, VTEXT("The end of the file was reached.")},
    {39, VTEXT("The disk is full.")},
    {50, VTEXT("The request is not supported.")},
    {53, VTEXT("The network path was not found.")},
    {80, VTEXT("The file exists.")},
    {87, VTEXT("A parameter is not correct.")},
    {112, VTEXT("There is not enough room on the disk.")},
    {122, VTEXT("The buffer given to the call is too small.")},
    {123, VTEXT("The name of a file, folder or volume is not valid.")},
    {124, VTEXT("The level of the call is not correct.")},
    {126, VTEXT("The module was not found.")},
    {127, VTEXT("The procedure was not found.")},
    {145, VTEXT("The folder is not empty.")},
    {161, VTEXT("The path is not valid.")},
    {170, VTEXT("The resource is in use.")},
    {183, VTEXT("An object of this name exists already.")},
    {223, VTEXT("The file is too large.")},
    {234, VTEXT("More data is available.")},
    {258, VTEXT("The wait timed out.")},
    {259, VTEXT("There are no more items.")},
    {267, VTEXT("The name of the folder is not valid.")},
    {998, VTEXT("The address of the data is not valid.")},
    {1006, VTEXT("The file was changed from outside, and the open file is no longer valid.")},
    {1008, VTEXT("The thread has no token.")},
    {1009, VTEXT("The registry is damaged.")},
    {1018, VTEXT("The registry key was marked for deletion.")},
    {1020, VTEXT("The registry key has sub-keys or values.")},
    {1021, VTEXT("A lasting key cannot stand below a volatile one.")},
    {1151, VTEXT("The program needs another version of the system.")},
    {1224, VTEXT("A part of the file is mapped into memory.")},
    {1314, VTEXT("The client does not hold the privilege needed.")},
    {1400, VTEXT("The window handle is not valid.")},
    {1450, VTEXT("The system is short of resources.")},
    {1460, VTEXT("The operation took too long and was given up.")},
    {1722, VTEXT("The server is not available.")},
    {1726, VTEXT("The remote call failed.")},
    {1780, VTEXT("A null pointer was passed.")},
    {1795, VTEXT("The printer driver is installed already.")},
    {1796, VTEXT("The port is unknown.")},
    {1797, VTEXT("The printer driver is unknown.")},
    {1798, VTEXT("The print processor is unknown.")},
    {1801, VTEXT("The printer name is not valid.")},
    {1802, VTEXT("The printer exists already.")},
    {1804, VTEXT("The data type is not valid.")},
    {1805, VTEXT("The environment is not valid.")},
    {1814, VTEXT("The resource name was not found.")},
    {1921, VTEXT("The file's name leads in a circle.")},
    {3000, VTEXT("The print monitor is unknown.")},
    {3001, VTEXT("The printer driver is in use.")},
    {3006, VTEXT("The print monitor is installed already.")},
    {0x80004001, VTEXT("This is not implemented.")},
    {0x80004002, VTEXT("The interface is not supported.")},
    {0x80004003, VTEXT("The pointer is not valid.")},
    {0x80004004, VTEXT("The operation was given up.")},
    {0x80004005, VTEXT("The operation failed for a reason that was not named.")},
    {0x8000FFFF, VTEXT("The operation failed in a way that was not expected.")},
    {0x80090005, VTEXT("The data is not valid.")},
    {0x80090016, VTEXT("The key set does not exist.")},
    {0x80090020, VTEXT("The cryptographic provider failed.")},
};

static_assert(std::is_sorted(std::begin(ENTRIES), std::end(ENTRIES),
                             [](const Entry& rLeft, const Entry& rRight) { return rLeft.dwError < rRight.dwError; }));

}  // namespace

XStringView ErrorText(DWORD dwError) noexcept {
    // An HRESULT of the facility "Win32" carries a plain number.
    if ((dwError & 0xFFFF0000) == 0x80070000) dwError &= 0xFFFF;
    const auto pEntry = std::lower_bound(std::begin(ENTRIES), std::end(ENTRIES), dwError,
                                         [](const Entry& rEntry, DWORD dw) { return rEntry.dwError < dw; });
    return pEntry != std::end(ENTRIES) && pEntry->dwError == dwError ? pEntry->svText : XStringView();
}

}  // namespace vlm::host
