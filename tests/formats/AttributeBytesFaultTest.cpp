/// @file
/// Every call and allocation behind the attribute classes fails once: nothing leaks, and what failed changed nothing.
#include <gtest/gtest.h>

#include <stdexcept>

#include "formats/AttributeSamples.h"
#include "support/FaultLoop.h"
#include "utilities/attributebytes/PersistentAttributes.h"
#include "utilities/debuggingandexceptions/VelomExceptions.h"

namespace vlm::test {
namespace {

template <class Operation>
FaultOutcome Try(const Operation& rOperation) {
    return Attempt<ExceptionOutOfMemory, ExceptionCompression, ExceptionFileOperationCompression,
                   ExceptionCabinetLibraryConstructionFailure>(rOperation);
}

void Demand(bool fHolds) {
    if (!fHolds) throw std::logic_error("a failed operation changed its object");
}

/// Tries a change; after a failure the object must be as it was, and the failure goes on.
template <class Change, class IsFormer>
void Unchanged(const Change& rChange, const IsFormer& rIsFormer) {
    if (Try(rChange) == FaultOutcome::Succeeded) return;
    Demand(rIsFormer());
    throw std::bad_alloc();
}

/// An operation must be refused, unless memory runs out before.
template <class Expected, class Operation>
void Refused(const Operation& rOperation) {
    try {
        rOperation();
    } catch (const Expected&) {
        return;
    }
    Demand(false);
}

TEST(AttributeBytesFaultTest, EveryCallAndAllocationThatFailsLeavesThingsAsTheyWere) {
    using Feature = AttributeBytesFeatureId;
    const ByteBuffer bbIndexed = BufferOf("4142494C 4142524C").append(RecordCorpus());
    AttributeBytesIndexedList oCorpus, oList, oLists;
    oCorpus.ImportAttributeBytesIndexedListState(bbIndexed);
    AttributeBytesNameSpaces oNameSpaces;
    oNameSpaces.SetNameSpaceAttributes(1, oCorpus);
    const ByteBuffer bbBlock = PersistentAttributes(oNameSpaces).GetPersistentAttributesState();
    for (LONG l = 0; l < 200; ++l)
        oList.AddAttributeBytes(IntegerRecord(2 * l));
    AttributeBytesRawList oRawList;
    oRawList.ImportFromIndexedList(oList);
    const AttributeBytes oDeep{NestedListRecord(10)};
    const ByteBuffer bbDeep = oDeep.GetAttributeBytesState(), bbRaw = oRawList.GetAttributeBytesRawListState();
    const Dimension oLength(VTEXT("210"), Dimension::DUE_MM);
    const auto features = ListOf(AttributeBytesOptionValue(Feature(5)), AttributeBytesOptionValue(Feature(6)));
    oLists.SetAttributeBytes(Feature(1), features);
    oLists.SetAttributeBytes(Feature(2),
                             ListOf(AttributeBytesDimensionValue(oLength), AttributeBytesDimensionValue(oLength)));
    oLists.SetAttributeBytes(Feature(3), ListOf(features, features));
    oLists.SetAttributeBytes(Feature(5), ListOf(AttributeBytesRangeValue(1, 2), AttributeBytesRangeValue(3, 4)));
    oLists.SetAttributeBytes(Feature(6), AttributeBytesOptionValue(AttributeBytesNewValueId(VTEXT("Named"))));

    const auto row = [](const char* pszName, auto run) { return FaultRow{pszName, [run] { return Try(run); }}; };
    const FaultRow ROWS[] = {
        row("a record",
            [&] {
                AttributeBytes oRecord(IntegerRecord(1, 1));
                const AttributeBytes oFormer(oRecord);
                const auto isFormer = [&] { return oRecord == oFormer; };
                Unchanged([&] { oRecord.SetAttributeBytesValue(oDeep.GetAttributeBytesValue()); }, isFormer);
                oRecord = oFormer;
                Unchanged([&] { oRecord.ImportAttributeBytesState(bbDeep); }, isFormer);
                ByteBuffer bbState = oFormer.GetAttributeBytesState();
                const std::size_t cbFormer = bbState.size();
                Unchanged([&] { oDeep.GetAttributeBytesState(bbState); }, [&] { return bbState.size() == cbFormer; });
            }),
        row("an indexed list",
            [&] {
                AttributeBytesIndexedList oTarget;
                oTarget.AddAttributeBytes(oDeep);
                const auto isFormer = [&] { return oTarget.GetNumberOfAttributeBytes() == 1; };
                Unchanged([&] { oTarget.ImportAttributeBytesIndexedListState(bbIndexed); }, isFormer);
                oTarget.GetAttributeBytesIndexedListState();
                oTarget.DeleteAllAttributeBytes();
                oTarget.AddAttributeBytes(oDeep);
                Unchanged([&] { oTarget.ImportFromOtherList(oRawList); }, isFormer);
            }),
        row("adding in the middle of a full leaf, and replacing",
            [&] {
                AttributeBytesIndexedList oTarget(oList);
                const AttributeBytes* const pFormer = oTarget.GetAttributeBytesPtr(Feature(8));
                Unchanged([&] { oTarget.SetAttributeBytes(Feature(8), oDeep.GetAttributeBytesValue()); },
                          [&] { return oTarget.GetAttributeBytesPtr(Feature(8)) == pFormer; });
                const auto isWhole = [&] {
                    DWORD dwWalked = 0;
                    for (const AttributeBytesSharedPtr& rshpoRecord : oTarget)
                        dwWalked += rshpoRecord != nullptr;
                    for (const AttributeBytesSharedPtr& rshpoRecord : oList)
                        Demand(oTarget.GetAttributeBytesPtr(rshpoRecord->GetAttributeBytesId()) != nullptr);
                    return dwWalked == oTarget.GetNumberOfAttributeBytes();
                };
                const auto add = [&] {
                    for (LONG l = 1; l < 40; l += 2)
                        oTarget.AddAttributeBytes(IntegerRecord(l));
                };
                Unchanged(add, isWhole);
                Demand(isWhole() && oTarget.GetNumberOfAttributeBytes() == oList.GetNumberOfAttributeBytes() + 20);
            }),
        row("a raw list",
            [&] {
                AttributeBytesRawList oTarget;
                oTarget.AddAttributeBytes(oDeep);
                const auto isFormer = [&] { return oTarget.GetRecordBytes() == bbDeep; };
                Unchanged([&] { oTarget.ImportFromOtherList(oRawList); }, isFormer);
                oTarget.DeleteAllAttributeBytes();
                oTarget.AddAttributeBytes(oDeep);
                Unchanged([&] { oTarget.ImportAttributeBytesRawListState(bbRaw); }, isFormer);
                oTarget.GetAttributeBytesRawListState();
            }),
        row("a persistent block",
            [&] {
                PersistentAttributes oTarget;
                DriverVersion oVersion(9, 9, 9, 9);
                Unchanged([&] { oTarget.ImportPersistentAttributesState(bbBlock, oVersion, false, true); },
                          [&] {
                              return oTarget.GetStateData().empty() &&
                                     oTarget.GetAttributeBytesNameSpaces().IsEmpty() &&
                                     oVersion == DriverVersion(9, 9, 9, 9);
                          });
                Unchanged([&] { oTarget.SetAttributeBytesNameSpaces(AttributeBytesNameSpaces()); },
                          [&] { return oTarget.GetStateData() == bbBlock; });
                oTarget.SetStateData(PersistentAttributes(oTarget).GetPersistentAttributesState());
                PersistentAttributes::HeaderStructure oHeader;
                ByteBuffer bb;
                PersistentAttributes::GetComponentsFromStateDataBuffer(bbBlock, oHeader, bb);
                PersistentAttributes::CreateStateDataFromComponents(oHeader, bb, bb);
                oTarget = PersistentAttributes(bbBlock);
                oTarget.GetAttributeBytesListForNameSpace(1);
            }),
        row("name spaces",
            [&] {
                AttributeBytesNameSpaces oTarget, oOther;
                oTarget.SetNameSpaceAttributes(1, oList);
                Unchanged([&] { oTarget.SetNameSpaceAttributes(2, oRawList, 3); },
                          [&] { return oTarget.GetNumberOfNameSpaces() == 1; });
                oOther.ImportAttributeBytesNameSpacesState(oTarget.GetAttributeBytesNameSpacesState());
                oTarget = AttributeBytesNameSpaces(oOther);
                Demand(oTarget.GetAttributeBytesRawList(2) == oRawList);
            }),
        row("iterators, look-ups and texts",
            [&] {
                for (const AttributeBytesList* const pList : {static_cast<const AttributeBytesList*>(&oCorpus),
                                                              static_cast<const AttributeBytesList*>(&oRawList)}) {
                    const auto apoIterator = pList->GetIterator()->Clone();
                    pList->GetNextAttributeBytes(*apoIterator).GetDumpDisplayString(true);
                    pList->GetNextAttributeBytesSharedPtr(*apoIterator);
                    pList->GetAttributeBytesByIndex(1);
                }
                Dimension oWidth, oHeight;
                LONG lLow = 0, lHigh = 0;
                oLists.GetPaperSizeValues(Feature(2), oWidth, oHeight);
                oLists.GetRangeOfIntegerValueByIndex(Feature(5), 1, lLow, lHigh);
                oLists.GetOptionValueOrNewIdByAnyId(Feature(6));
                Demand(lLow == 3 && oLists.GetListOfFeatures(Feature(1)) == std::vector<LONG>{5, 6} &&
                       oLists.GetCollectionByIndex(Feature(3), 1)->GetNumberOfAttributeBytes() == 2);
            }),
        row("what is refused, by its own exception or the one of memory, never by the other's",
            [&] {
                AttributeBytesIndexedList oTarget;
                oTarget.AddAttributeBytes(oDeep);
                Refused<ExceptionFeatureNotFound>([&] { oList.GetAttributeBytesRef(Feature(-5)); });
                Refused<ExceptionAttributeValueTypeMismatch>([&] { oLists.GetIntegerValue(Feature(6)); });
                Refused<ExceptionIndexOutOfBounds>([&] { oLists.GetCollectionByIndex(Feature(3), 2); });
                Refused<ExceptionDuplicateAttributeId>([&] { oTarget.AddAttributeBytes(oDeep); });
                Demand(oTarget.LengthIsExactlyOne());
            }),
    };
    FaultLoop oLoop;
    oLoop.vModes = {FaultMode::FailOnce};
    RunFaultRows(ROWS, oLoop);
}

}  // namespace
}  // namespace vlm::test
