/// @file
/// The names of the message categories, in both directions.
#pragma once

#include <cstddef>

#include "platform/Export.h"
#include "utilities/debuggingandexceptions/DebugMessageCategories.h"
#include "utilities/utilitiesdll/CXString.h"

/// Maps each category to its name and back; "all" is the name of the mask with every bit set.
/// The maps themselves are made by the compiler; what is made on first use are the strings that `GetCategoryString`
/// hands out.  **Ownership**: they are never freed, so references to them stay good until the process ends.
/// **Threads**: any.  **Failure**: nothing throws; without memory for the strings a name is empty, until there is some.
class VLM_API DebugMessageCategoryHelper {
public:
    DebugMessageCategoryHelper() = delete;

    /// The name of one category, or of all of them.  Any other mask is a failed assertion, and the answer empty.
    static const CXString& GetCategoryString(DebugMessageCategories categories) noexcept;

    /// The mask of a name, compared with its case; 0 for a name that there is not.
    static DebugMessageCategories GetCategoryFromString(const CXString& kcsName) noexcept;

    /// Appends the names of the categories of a set, in the order of their masks: "[ errors perf ]", "[ ]" for none.
    /// @param pszBuffer holds a zero-terminated text; what does not fit behind it is cut off.
    /// @param cCapacity its room in code units, the terminator included.  0 and more than 2^31-1, and a buffer without
    ///        a terminator, change nothing.
    static void AddCategoryStringsToBuffer(const DebugMessageCategories& rCategories, XCHAR* pszBuffer,
                                           std::size_t cCapacity) noexcept;

private:
    static const CXString* EnsureMappingsAreInitialized() noexcept;
    static void InitializeCategoryMappings();
};
