/// @file
/// Fuzz target: records laid end to end.  What is read is written canonically, and reads back as the same.
#include "RecordMutator.h"

using vlm::test::IsRead;
using vlm::test::MutateBehindHead;
using vlm::test::Require;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pby, std::size_t cBytes) {
    const BYTE* pbyCursor = pby;
    auto dwRemaining = static_cast<DWORD>(cBytes);
    IsRead([&] {
        while (dwRemaining != 0) {
            const BYTE* const pbyRecord = pbyCursor;
            const AttributeBytesSharedPtr shpoRecord =
                AttributeBytes::WalkBufferToCreateAttributeBytes(pbyCursor, dwRemaining);
            const ByteBuffer bbState = shpoRecord->GetAttributeBytesState();
            Require(bbState.size() == static_cast<std::size_t>(pbyCursor - pbyRecord));
            const AttributeBytes oAgain(bbState);
            Require(oAgain == *shpoRecord && oAgain.GetAttributeBytesState() == bbState);
            const AttributeBytes oCopy(oAgain);
            Require(oCopy == oAgain && !(oCopy < oAgain) && !(oAgain < oCopy));
        }
    });
    return 0;
}

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* pby, std::size_t cBytes, std::size_t cMost,
                                               unsigned int uSeed) {
    return MutateBehindHead(0, pby, cBytes, cMost, uSeed);
}
