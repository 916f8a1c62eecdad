/// @file
/// Reads map files: the tables of printer models that ship with the driver.
#pragma once

#include <vector>

#include "environment/MappingData.h"
#include "platform/Export.h"
#include "utilities/utilitiesdll/ByteBuffer.h"

/// The text of a map file, in the ANSI code page.
///
///     line    ends with LF (or with the file); white space at its end does not count
///     skipped an empty line, and one that begins with "comment;", in just these letters
///     record  left side ":" right side, split at the first ":"; without one, and without a name, there is no record
///
/// A record named "ALL_MODELS" stands for no model.  Its pairs are values for every model of the same file, wherever
/// the line stands: they are put behind each record's own, so that a model's own value comes first and the common one
/// fills what is missing.  Several such lines add up in their order; ids on them mean nothing.
///
/// Lines with a zero character are skipped, since no printer data could keep them.
/// **Failure**: a file beyond the bounds of Bounds.h is refused whole.
class VLM_API MapFile {
public:
    static constexpr const XCHAR* ALL_MODELS = VTEXT("ALL_MODELS");
    static constexpr const XCHAR* EXTENSION = VTEXT(".map");

    /// The records in the file's order.
    /// @throws ExceptionInvalidArgument beyond a bound: names it, and the line.  ExceptionOutOfMemory.
    static std::vector<MappingData> Parse(const ByteBuffer& kbbContents);
    /// The same for a text.
    static std::vector<MappingData> ParseText(XStringView text);
};
