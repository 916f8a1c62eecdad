/// @file
/// Whole files in and out; "-" is standard input or output.
#pragma once

#include <cstddef>
#include <string>

#include "Text.h"
#include "utilities/utilitiesdll/ByteBuffer.h"

namespace vlm::tool {

class Output;

/// The largest file that the tool reads, in bytes; what the library stores is far smaller.
constexpr std::size_t MAX_INPUT_BYTES = 256u << 20;

/// Reads a whole file.  @param strFile UTF-8.
/// @throws ExceptionCreateFileForReading, ExceptionReadFile, ExceptionInvalidArgument for more than MAX_INPUT_BYTES.
ByteBuffer ReadInput(const std::string& strFile);

/// Writes a whole file beside the old one and puts it in its place in one step; or writes to standard output.  A device
/// or a pipe takes the bytes itself: nothing is put in its place.
/// @throws ExceptionCreateFileForWriting, ExceptionWriteFile; the old file is then as it was.
void WriteResult(const std::string& strFile, const ByteBuffer& rbbContents, Output& rOutput);

/// Refuses a command that would write a file's bytes into the JSON document.  @throws UsageError
void RefuseBytesAmongJson(const std::string& strFile, const Output& rOutput);

}  // namespace vlm::tool
