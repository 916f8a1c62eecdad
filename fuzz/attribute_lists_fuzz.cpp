/// @file
/// Fuzz target: raw-list and indexed-list states.  An import takes the whole state or throws and changes nothing; lists
/// in lists can be walked to the bottom.
#include "RecordMutator.h"
#include "utilities/Bounds.h"
#include "utilities/attributebytes/AttributeBytesIndexedList.h"
#include "utilities/attributebytes/AttributeBytesListValue.h"
#include "utilities/attributebytes/AttributeBytesNumberIds.h"
#include "utilities/attributebytes/AttributeBytesNumberValues.h"
#include "utilities/attributebytes/AttributeBytesRawList.h"
#include "utilities/debuggingandexceptions/VelomExceptions.h"

using vlm::test::Require;

namespace {

/// Walks a list and the lists in it; answers how deep they nest.  @throws as reading its records does.
unsigned WalkDown(const AttributeBytesRawList& rList) {
    unsigned uDepth = 0;
    for (const AttributeBytesSharedPtr& rshpoRecord : rList) {
        if (!rshpoRecord->GetAttributeBytesValue().IsList()) continue;
        const auto& rValue = static_cast<const AttributeBytesListValue&>(rshpoRecord->GetAttributeBytesValue());
        const unsigned uInner = 1 + rValue.GetAttributeBytesRawList().GetNestingDepth();
        try {
            Require(1 + WalkDown(rValue.GetAttributeBytesRawList()) <= uInner);
        } catch (const VelomException&) {  // a bad record in the inner list
        }
        uDepth = std::max(uDepth, uInner);
    }
    return uDepth;
}

void WalkDownChecked(const AttributeBytesRawList& rList) {
    try {
        const unsigned uDepth = WalkDown(rList);
        Require(uDepth == rList.GetNestingDepth() && uDepth <= vlm::bounds::MAX_LIST_NESTING);
    } catch (const ExceptionNotEnoughBytesForDesiredDataType&) {
    } catch (const ExceptionUnhandledSyntax&) {
    } catch (const ExceptionMissingOrBadAttributeBytesFormat&) {
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pby, std::size_t cBytes) {
    const ByteBuffer bbState(pby, cBytes);
    AttributeBytesRawList oRawList;
    try {
        oRawList.ImportAttributeBytesRawListState(bbState);
        Require(oRawList.GetAttributeBytesRawListState() == bbState);
        WalkDownChecked(oRawList);
    } catch (const ExceptionNotEnoughBytesForDesiredDataType&) {
    } catch (const ExceptionMissingOrBadAttributeBytesFormat&) {
    }

    AttributeBytesIndexedList oIndexedList;
    oIndexedList.AddAttributeBytes(AttributeBytes(AttributeBytesNameSpacesId(-77), AttributeBytesIntegerValue(1)));
    const ByteBuffer bbFormer = oIndexedList.GetAttributeBytesIndexedListState();
    bool fImported = false;
    try {
        if (oRawList.IsEmpty()) {
            oIndexedList.ImportAttributeBytesIndexedListState(bbState);
        } else {
            oIndexedList.ImportFromRawList(oRawList);
        }
        fImported = true;
    } catch (const ExceptionNotEnoughBytesForDesiredDataType&) {
    } catch (const ExceptionUnhandledSyntax&) {
    } catch (const ExceptionMissingOrBadAttributeBytesFormat&) {
    } catch (const ExceptionDuplicateAttributeId&) {
    }
    const ByteBuffer bbWritten = oIndexedList.GetAttributeBytesIndexedListState();
    Require(fImported || bbWritten == bbFormer);
    AttributeBytesIndexedList oAgain;
    oAgain.ImportAttributeBytesIndexedListState(bbWritten);
    Require(oAgain.GetAttributeBytesIndexedListState() == bbWritten);
    const AttributeBytes* pFormer = nullptr;
    for (const AttributeBytesSharedPtr& rshpoRecord : oIndexedList) {
        Require(!pFormer || *pFormer < *rshpoRecord);
        Require(oIndexedList.GetAttributeBytesPtr(rshpoRecord->GetAttributeBytesId()) == rshpoRecord.get());
        pFormer = rshpoRecord.get();
    }
    return 0;
}

/// Keeps the signatures, most of the time, and changes the records behind them.
extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* pby, std::size_t cBytes, std::size_t cMost,
                                               unsigned int uSeed) {
    vlm::test::RecordMutator oMutator(uSeed);
    vlm::test::RecordBytes state(pby, pby + cBytes);
    const std::size_t cHead = cBytes > 3 && state[2] == 'I' ? 8 : 4;
    if (cBytes < cHead || oMutator.Below(16) == 0) {
        oMutator.MutateBytes(state);
        return vlm::test::GiveBack(state, pby, cMost);
    }
    vlm::test::RecordBytes records(state.begin() + static_cast<std::ptrdiff_t>(cHead), state.end());
    oMutator.MutateRecords(records);
    state.resize(cHead);
    state.insert(state.end(), records.begin(), records.end());
    return vlm::test::GiveBack(state, pby, cMost);
}
