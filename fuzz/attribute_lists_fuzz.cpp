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

using vlm::test::IsRead;
using vlm::test::MutateBehindHead;
using vlm::test::Require;

namespace {

/// Walks a list and the lists in it; answers how deep they nest.  @throws as reading its records does.
unsigned WalkDown(const AttributeBytesRawList& rList) {
    unsigned uDepth = 0;
    for (const AttributeBytesSharedPtr& rshpoRecord : rList) {
        if (!rshpoRecord->GetAttributeBytesValue().IsList()) continue;
        const auto& rValue = static_cast<const AttributeBytesListValue&>(rshpoRecord->GetAttributeBytesValue());
        const unsigned uInner = 1 + rValue.GetAttributeBytesRawList().GetNestingDepth();
        IsRead([&] { Require(1 + WalkDown(rValue.GetAttributeBytesRawList()) <= uInner); });
        uDepth = std::max(uDepth, uInner);
    }
    return uDepth;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pby, std::size_t cBytes) {
    const ByteBuffer bbState(pby, cBytes);
    AttributeBytesRawList oRawList;
    if (IsRead([&] { oRawList.ImportAttributeBytesRawListState(bbState); })) {
        Require(oRawList.GetAttributeBytesRawListState() == bbState);
        IsRead([&] {
            const unsigned uDepth = WalkDown(oRawList);
            Require(uDepth == oRawList.GetNestingDepth() && uDepth <= vlm::bounds::MAX_LIST_NESTING);
        });
    }
    AttributeBytesIndexedList oIndexedList;
    oIndexedList.AddAttributeBytes(AttributeBytes(AttributeBytesNameSpacesId(-77), AttributeBytesIntegerValue(1)));
    const ByteBuffer bbFormer = oIndexedList.GetAttributeBytesIndexedListState();
    const bool fImported = IsRead([&] {
        if (oRawList.IsEmpty()) {
            oIndexedList.ImportAttributeBytesIndexedListState(bbState);
        } else {
            oIndexedList.ImportFromRawList(oRawList);
        }
    });
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

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* pby, std::size_t cBytes, std::size_t cMost,
                                               unsigned int uSeed) {
    return MutateBehindHead(cBytes > 3 && pby[2] == 'I' ? 8 : 4, pby, cBytes, cMost, uSeed);
}
