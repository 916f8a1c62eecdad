/// @file
/// Fuzz target: persistent-attributes blocks.  A block is taken whole, ignored, or refused by name, and then changes
/// nothing; a trusted source is no less safe.
#include "RecordMutator.h"
#include "utilities/attributebytes/PersistentAttributes.h"
#include "utilities/debuggingandexceptions/VelomExceptions.h"

using vlm::test::Require;

namespace {

bool Import(PersistentAttributes& rTarget, const ByteBuffer& rbbBlock, DriverVersion& rVersion, bool fTrusted) {
    try {
        return rTarget.ImportPersistentAttributesState(rbbBlock, rVersion, fTrusted, false);
    } catch (const ExceptionMissingOrBadPersistentAttributesFormat&) {
    } catch (const ExceptionMissingOrBadCompressedBufferFooter&) {
    } catch (const ExceptionIncompatibleCompressionFormat&) {
    } catch (const ExceptionCompression&) {
    } catch (const ExceptionMissingOrBadAttributeBytesFormat&) {
    } catch (const ExceptionNotEnoughBytesForDesiredDataType&) {
    } catch (const ExceptionUnhandledSyntax&) {
    } catch (const ExceptionDuplicateAttributeId&) {
    }
    return false;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pby, std::size_t cBytes) {
    const ByteBuffer bbBlock(pby, cBytes);
    PersistentAttributes oTarget;
    PersistentAttributes oTrusting;
    DriverVersion oVersion;
    DriverVersion oTrustedVersion;
    const bool fTaken = Import(oTarget, bbBlock, oVersion, false);
    Require(Import(oTrusting, bbBlock, oTrustedVersion, true) == fTaken && oVersion == oTrustedVersion);
    const ByteBuffer bbNameSpaces = oTarget.GetAttributeBytesNameSpaces().GetAttributeBytesNameSpacesState(oVersion);
    if (!fTaken) {
        Require(oTarget.GetStateData().empty() && oTarget.GetAttributeBytesNameSpaces().IsEmpty());
        return 0;
    }
    Require(oTarget.GetStateData() == bbBlock);
    PersistentAttributes oAgain(oTarget.GetAttributeBytesNameSpaces());
    PersistentAttributes oBack(oAgain.GetPersistentAttributesState());
    Require(oBack.GetAttributeBytesNameSpaces().GetAttributeBytesNameSpacesState(oVersion) == bbNameSpaces);
    return 0;
}

/// Mostly changes what is compressed: takes a block apart, changes the name spaces in it, and builds it again with good
/// header and footer.  A block that cannot be taken apart, and now and then any other, is changed byte by byte.
extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* pby, std::size_t cBytes, std::size_t cMost,
                                               unsigned int uSeed) {
    constexpr std::size_t HEAD = 4 + 8 + 4 + 4;
    vlm::test::RecordMutator oMutator(uSeed);
    vlm::test::RecordBytes block(pby, pby + cBytes);
    if (oMutator.Below(3) != 0) {
        try {
            PersistentAttributes::HeaderStructure oHeader;
            ByteBuffer bbState;
            PersistentAttributes::GetComponentsFromStateDataBuffer(ByteBuffer(pby, cBytes), oHeader, bbState);
            vlm::test::RecordBytes state = bbState.GetVector();
            vlm::test::RecordBytes records(state.begin() + static_cast<std::ptrdiff_t>(std::min(HEAD, state.size())),
                                           state.end());
            oMutator.MutateRecords(records);
            state.resize(std::min(HEAD, state.size()));
            state.insert(state.end(), records.begin(), records.end());
            PersistentAttributes::InitializeHeaderStructure(oHeader);
            ByteBuffer bbBlock;
            PersistentAttributes::CreateStateDataFromComponents(oHeader, ByteBuffer(std::move(state)), bbBlock);
            return vlm::test::GiveBack(bbBlock.GetVector(), pby, cMost);
        } catch (const VelomException&) {  // no block that can be taken apart
        }
    }
    for (unsigned u = 0; u <= oMutator.Below(3); ++u)
        oMutator.MutateBytes(block);
    return vlm::test::GiveBack(block, pby, cMost);
}
