/// @file
/// Makes the data of a zlib stream readable for the cabinet library.
#pragma once

#include "platform/Export.h"
#include "platform/WinTypes.h"

class ByteBuffer;

namespace vlm {

/// Wraps the data of a zlib stream (RFC 1950) as a cabinet image with one folder, one file and one MSZIP block.  A
/// block is "CK" followed by raw deflate, which is what a zlib stream holds behind its two-byte header; the stream's
/// check value is carried along, for a reader stops at the end of the deflate data.
///
/// | offset | size | field                                                                                       |
/// |--------|------|---------------------------------------------------------------------------------------------|
/// | 0      | 36   | CFHEADER: "MSCF", 0, block + 91, 0, 44, 0, version 3 and 1, 1 folder, 1 file, flags 0, 0, 0 |
/// | 36     | 8    | CFFOLDER: 83, 1 block, type 1 (MSZIP)                                                       |
/// | 44     | 39   | CFFILE: original size, 0, folder 0, 0x226C, 0x59BA, 0, "//Uncompressed-Data//" in 23 bytes  |
/// | 83     | 8    | CFDATA: checksum 0, block, original size                                                    |
/// | 91     | n    | the block                                                                                   |
///
/// @param rbbCabinet receives the image; unchanged on failure.
/// @throws ExceptionCompression when the data is shorter than its header, or block or original do not fit into the
///         16-bit sizes of a CFDATA structure; ExceptionOutOfMemory.
VLM_API void MakeZlibDataLookLikeCabinetData(const ByteBuffer& kbbZlib, DWORD dwOriginalSize, ByteBuffer& rbbCabinet);

}  // namespace vlm
