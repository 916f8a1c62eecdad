/// @file
/// Makes the data of a zlib stream readable for the cabinet library.
#include "utilities/compression/ZlibAsCabinet.h"

#include "platform/CabinetPort.h"
#include "utilities/debuggingandexceptions/RaiseMacros.h"
#include "utilities/utilitiesdll/ByteBuffer.h"

namespace vlm {

void MakeZlibDataLookLikeCabinetData(const ByteBuffer& kbbZlib, DWORD dwOriginalSize, ByteBuffer& rbbCabinet) {
    static constexpr char NAME[23] = "//Uncompressed-Data//";  // filled up with zero bytes
    constexpr DWORD dwZlibHeader = 2;
    constexpr DWORD dwSignature = 2;
    constexpr DWORD dwHeader = 36;
    constexpr DWORD dwFolder = 8;
    constexpr DWORD dwFile = 16 + sizeof NAME;
    constexpr DWORD dwData = 8;
    constexpr DWORD dwMost = 65535;
    constexpr WORD wTypeMsZip = 1;
    static_assert(dwHeader + dwFolder + dwFile == 83);

    const DWORD dwZlib = kbbZlib.GetLength();
    if (dwZlib < dwZlibHeader) {
        VLM_THROW(ExceptionCompression,
                  VTEXT("The ZLIB data (%ld bytes) is shorter than its header (%ld bytes) and cannot be uncompressed."),
                  dwZlib, dwZlibHeader);
    }
    const ULONGLONG ullBlock = ULONGLONG{dwZlib} - dwZlibHeader + dwSignature;
    if (ullBlock > dwMost || dwOriginalSize > dwMost) {
        VLM_THROW(ExceptionCompression,
                  VTEXT("The size of the MSZIP compressed data (%ld) and/or the size of the original data (%ld) is "
                        "larger than can be reported in the CFDATA structure (%ld)"),
                  static_cast<DWORD>(ullBlock), dwOriginalSize, dwMost);
    }
    const auto dwBlock = static_cast<DWORD>(ullBlock);

    ByteBuffer bb;
    bb.reserve(dwHeader + dwFolder + dwFile + dwData + dwBlock);
    bb.appendLpbyte(reinterpret_cast<const BYTE*>("MSCF"), 4);
    bb.appendDwordValue(0);
    bb.appendDwordValue(dwHeader + dwFolder + dwFile + dwData + dwBlock);
    bb.appendDwordValue(0);
    bb.appendDwordValue(dwHeader + dwFolder);
    bb.appendDwordValue(0);
    bb.appendByte(3).appendByte(1);
    bb.appendWordValue(1).appendWordValue(1).appendWordValue(0);  // folders, files, flags
    bb.appendWordValue(0).appendWordValue(0);                     // set, number in the set

    bb.appendDwordValue(dwHeader + dwFolder + dwFile);
    bb.appendWordValue(1).appendWordValue(wTypeMsZip);

    bb.appendDwordValue(dwOriginalSize);
    bb.appendDwordValue(0);
    bb.appendWordValue(0);
    bb.appendWordValue(CABINET_MEMBER_DATE).appendWordValue(CABINET_MEMBER_TIME).appendWordValue(0);
    bb.appendLpbyte(reinterpret_cast<const BYTE*>(NAME), sizeof NAME);

    bb.appendDwordValue(0);
    bb.appendWordValue(static_cast<WORD>(dwBlock)).appendWordValue(static_cast<WORD>(dwOriginalSize));
    bb.appendByte('C').appendByte('K');
    bb.appendLpbyte(kbbZlib.data() + dwZlibHeader, dwZlib - dwZlibHeader);
    rbbCabinet.swap(bb);
}

}  // namespace vlm
