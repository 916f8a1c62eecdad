/// @file
/// Fuzz target: name-space states.  What is taken is written back with the same version and reads back as the same.
#include "RecordMutator.h"
#include "utilities/attributebytes/AttributeBytesNameSpaces.h"

using vlm::test::IsRead;
using vlm::test::MutateBehindHead;
using vlm::test::Require;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pby, std::size_t cBytes) {
    AttributeBytesNameSpaces oNameSpaces, oAgain;
    DriverVersion oVersion;
    if (!IsRead([&] { oVersion = oNameSpaces.ImportAttributeBytesNameSpacesState(ByteBuffer(pby, cBytes)); })) {
        Require(oNameSpaces.IsEmpty());
        return 0;
    }
    const ByteBuffer bbWritten = oNameSpaces.GetAttributeBytesNameSpacesState(oVersion);
    Require(oAgain.ImportAttributeBytesNameSpacesState(bbWritten) == oVersion);
    Require(oAgain.GetAttributeBytesNameSpacesState(oVersion) == bbWritten);
    const auto lCount = static_cast<LONG>(oNameSpaces.GetNumberOfNameSpaces());
    for (LONG l = 0; l < lCount; ++l) {
        const LONG lNameSpace = oNameSpaces.GetNameSpaceByIndex(l);
        Require(oNameSpaces.Exists(lNameSpace));
        IsRead([&] { oNameSpaces.GetNameSpaceAttributes(lNameSpace); });
    }
    return 0;
}

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* pby, std::size_t cBytes, std::size_t cMost,
                                               unsigned int uSeed) {
    return MutateBehindHead(4 + 8 + 4 + 4, pby, cBytes, cMost, uSeed);
}
