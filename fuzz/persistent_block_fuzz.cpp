/// @file
/// Fuzz target: persistent-attributes blocks.  A block is taken whole, ignored, or refused by name, and then changes
/// nothing; a trusted source is no less safe.
#include "RecordMutator.h"
#include "utilities/attributebytes/PersistentAttributes.h"

using vlm::test::FuzzBytes;
using vlm::test::GiveBack;
using vlm::test::IsTaken;
using vlm::test::MutateBehindHead;
using vlm::test::RecordMutator;
using vlm::test::Require;

namespace {

bool Import(PersistentAttributes& rTarget, const ByteBuffer& rbbBlock, DriverVersion& rVersion, bool fTrusted) {
    bool fTaken = false;
    IsTaken<ExceptionMissingOrBadPersistentAttributesFormat, ExceptionMissingOrBadCompressedBufferFooter,
            ExceptionIncompatibleCompressionFormat, ExceptionCompression, ExceptionMissingOrBadAttributeBytesFormat,
            ExceptionNotEnoughBytesForDesiredDataType, ExceptionUnhandledSyntax, ExceptionDuplicateAttributeId>(
        [&] { fTaken = rTarget.ImportPersistentAttributesState(rbbBlock, rVersion, fTrusted, false); });
    return fTaken;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pby, std::size_t cBytes) {
    const ByteBuffer bbBlock(pby, cBytes);
    PersistentAttributes oTarget, oTrusting;
    DriverVersion oVersion, oTrustedVersion;
    const bool fTaken = Import(oTarget, bbBlock, oVersion, false);
    Require(Import(oTrusting, bbBlock, oTrustedVersion, true) == fTaken && oVersion == oTrustedVersion);
    if (!fTaken) {
        Require(oTarget.GetStateData().empty() && oTarget.GetAttributeBytesNameSpaces().IsEmpty());
        return 0;
    }
    Require(oTarget.GetStateData() == bbBlock);
    const PersistentAttributes oAgain(oTarget.GetAttributeBytesNameSpaces());
    const PersistentAttributes oBack(oAgain.GetPersistentAttributesState());
    Require(oBack.GetAttributeBytesNameSpaces().GetAttributeBytesNameSpacesState(oVersion) ==
            oTarget.GetAttributeBytesNameSpaces().GetAttributeBytesNameSpacesState(oVersion));
    return 0;
}

/// Mostly changes what is compressed: takes a block apart, changes the name spaces in it, and builds it again with good
/// header and footer.  A block that cannot be taken apart, and now and then any other, is changed byte by byte.
extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* pby, std::size_t cBytes, std::size_t cMost,
                                               unsigned int uSeed) {
    RecordMutator oMutator(uSeed);
    PersistentAttributes::HeaderStructure oHeader;
    ByteBuffer bbState, bbBlock;
    if (oMutator.Below(3) != 0 && IsTaken<VelomException>([&] {
            PersistentAttributes::GetComponentsFromStateDataBuffer(ByteBuffer(pby, cBytes), oHeader, bbState);
        })) {
        FuzzBytes state = bbState.GetVector();
        state.resize(2 * state.size() + 64);
        state.resize(MutateBehindHead(4 + 8 + 4 + 4, state.data(), bbState.size(), state.size(), uSeed));
        PersistentAttributes::InitializeHeaderStructure(oHeader);
        PersistentAttributes::CreateStateDataFromComponents(oHeader, ByteBuffer(std::move(state)), bbBlock);
        return GiveBack(bbBlock.GetVector(), pby, cMost);
    }
    FuzzBytes block(pby, pby + cBytes);
    for (unsigned u = 0; u <= oMutator.Below(3); ++u)
        oMutator.MutateBytes(block);
    return GiveBack(block, pby, cMost);
}
