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

/// The corpus with every identifier once, as an indexed-list state.
ByteBuffer CorpusState() {
    ByteBuffer bbState = BufferOf("4142494C 4142524C");
    const std::vector<BYTE> corpus = RecordCorpusTable().Bytes();
    return bbState.appendLpbyte(corpus.data(), corpus.size());
}

ByteBuffer CorpusBlock() {
    AttributeBytesIndexedList oList;
    oList.ImportAttributeBytesIndexedListState(CorpusState());
    AttributeBytesNameSpaces oNameSpaces;
    oNameSpaces.SetNameSpaceAttributes(1, oList);
    return PersistentAttributes(oNameSpaces).GetPersistentAttributesState();
}

template <class Operation>
FaultOutcome Attempt(const Operation& rOperation) {
    return test::Attempt<ExceptionOutOfMemory, ExceptionCompression, ExceptionFileOperationCompression,
                         ExceptionCabinetLibraryConstructionFailure>(rOperation);
}

/// The states that the scenarios start from, made before anything fails.
struct Samples {
    ByteBuffer bbIndexed = CorpusState();
    ByteBuffer bbBlock = CorpusBlock();
    AttributeBytesIndexedList oCorpus;
    AttributeBytesIndexedList oList;
    AttributeBytesRawList oRawList;
    AttributeBytes oDeep{NestedListRecord(10)};
    AttributeBytesIndexedList oLists;  ///< 1: features, 2: a paper size, 3: collections, 4: options, 5: ranges
    Samples() {
        const auto add = [this](LONG lFeature, const AttributeBytesValue& rFirst, const AttributeBytesValue& rSecond) {
            AttributeBytesRawList oValues;
            oValues.AddAttributeBytes(AttributeBytes(AttributeBytesListOfValuesItemId(0), rFirst));
            oValues.AddAttributeBytes(AttributeBytes(AttributeBytesListOfValuesItemId(1), rSecond));
            oLists.AddAttributeBytes(
                AttributeBytes(AttributeBytesFeatureId(lFeature), AttributeBytesListValue(oValues)));
            return AttributeBytesListValue(oValues);
        };
        const auto collection = add(1, AttributeBytesOptionValue(AttributeBytesFeatureId(5)),
                                    AttributeBytesOptionValue(AttributeBytesFeatureId(6)));
        const Dimension oLength(VTEXT("210"), Dimension::DUE_MM);
        add(2, AttributeBytesDimensionValue(oLength), AttributeBytesDimensionValue(oLength));
        add(3, collection, collection);
        add(4, AttributeBytesOptionValue(AttributeBytesValueId(7)),
            AttributeBytesOptionValue(AttributeBytesValueId(8)));
        add(5, AttributeBytesRangeValue(1, 2), AttributeBytesRangeValue(3, 4));
        oCorpus.ImportAttributeBytesIndexedListState(bbIndexed);
        oCorpus.SetAttributeBytes(AttributeBytesFeatureId(262),
                                  AttributeBytesOptionValue(AttributeBytesNewValueId(VTEXT("Named"))));
        for (LONG l = 0; l < 200; ++l)
            oList.AddAttributeBytes(IntegerRecord(2 * l));
        oRawList.ImportFromIndexedList(oList);
    }
};

/// An operation on objects of its own: `run` may throw, and `check` says whether what it worked on is as it was or as
/// it should be.
struct Scenario {
    const char* pszName;
    std::function<FaultOutcome(const Samples&)> run;
};

void Demand(bool fHolds) {
    if (!fHolds) throw std::logic_error("a failed operation changed its object");
}

const Scenario SCENARIOS[] = {
    {"import of an indexed list",
     [](const Samples& r) {
         AttributeBytesIndexedList oTarget;
         const FaultOutcome eOutcome = Attempt([&] { oTarget.ImportAttributeBytesIndexedListState(r.bbIndexed); });
         Demand(eOutcome == FaultOutcome::Succeeded || oTarget.IsEmpty());
         return eOutcome;
     }},
    {"adding in the middle of a full leaf",
     [](const Samples& r) {
         FaultOutcome eOutcome = FaultOutcome::Failed;
         Attempt([&] {
             AttributeBytesIndexedList oTarget(r.oList);
             eOutcome = Attempt([&] {
                 for (LONG l = 1; l < 40; l += 2)
                     oTarget.AddAttributeBytes(IntegerRecord(l));
             });
             DWORD dwWalked = 0;
             for (const AttributeBytesSharedPtr& rshpoRecord : oTarget)
                 dwWalked += rshpoRecord != nullptr;
             Demand(dwWalked == oTarget.GetNumberOfAttributeBytes());
             Demand(eOutcome == FaultOutcome::Failed ||
                    oTarget.GetNumberOfAttributeBytes() == r.oList.GetNumberOfAttributeBytes() + 20);
             for (const AttributeBytesSharedPtr& rshpoRecord : r.oList) {
                 Demand(oTarget.GetAttributeBytesPtr(rshpoRecord->GetAttributeBytesId()) == rshpoRecord.get());
             }
         });
         return eOutcome;
     }},
    {"setting a record",
     [](const Samples& r) {
         FaultOutcome eOutcome = FaultOutcome::Failed;
         Attempt([&] {
             AttributeBytesIndexedList oTarget(r.oList);
             const AttributeBytes* const pFormer = oTarget.GetAttributeBytesPtr(AttributeBytesFeatureId(8));
             eOutcome = Attempt(
                 [&] { oTarget.SetAttributeBytes(AttributeBytesFeatureId(8), r.oDeep.GetAttributeBytesValue()); });
             Demand(eOutcome == FaultOutcome::Succeeded ||
                    oTarget.GetAttributeBytesPtr(AttributeBytesFeatureId(8)) == pFormer);
         });
         return eOutcome;
     }},
    {"raw list",
     [](const Samples& r) {
         AttributeBytesRawList oTarget;
         return Attempt([&] {
             oTarget.AddAttributeBytes(r.oDeep);
             const ByteBuffer bbFormer = oTarget.GetRecordBytes();
             const FaultOutcome eOutcome = Attempt([&] { oTarget.ImportFromOtherList(r.oRawList); });
             Demand(eOutcome == FaultOutcome::Succeeded || oTarget.GetRecordBytes() == bbFormer);
             oTarget.ImportFromIndexedList(r.oList);
             oTarget.GetAttributeBytesRawListState();
             if (eOutcome == FaultOutcome::Failed) throw std::bad_alloc();
         });
     }},
    {"copies and collections",
     [](const Samples& r) {
         return Attempt([&] {
             AttributeBytes oCopy(r.oDeep);
             oCopy = AttributeBytes(AttributeBytesNewFeatureId(VTEXT("A long enough name")),
                                    r.oDeep.GetAttributeBytesValue());
             AttributeBytesReader::GetCollectionFromAttributeBytes(oCopy);
             AttributeBytesReader::GetListOfValuesFromAttributeBytes(oCopy);
             AttributeBytesIndexedList oIndexed;
             oIndexed.ImportFromOtherList(r.oRawList);
             oIndexed.GetAttributeBytesIndexedListState();
         });
     }},
    {"persistent block",
     [](const Samples& r) {
         PersistentAttributes oTarget;
         DriverVersion oVersion(9, 9, 9, 9);
         FaultOutcome eOutcome =
             Attempt([&] { oTarget.ImportPersistentAttributesState(r.bbBlock, oVersion, false, false); });
         Demand(eOutcome == FaultOutcome::Succeeded ||
                (oTarget.GetStateData().empty() && oTarget.GetAttributeBytesNameSpaces().IsEmpty() &&
                 oVersion == DriverVersion(9, 9, 9, 9)));
         if (eOutcome == FaultOutcome::Succeeded) {
             eOutcome = Attempt([&] { oTarget.SetAttributeBytesNameSpaces(AttributeBytesNameSpaces()); });
             Demand(eOutcome == FaultOutcome::Succeeded || oTarget.GetStateData() == r.bbBlock);
         }
         return eOutcome;
     }},
    {"persistent block in parts",
     [](const Samples& r) {
         return Attempt([&] {
             PersistentAttributes oTarget(r.bbBlock);
             DriverVersion oVersion;
             oTarget.ImportPersistentAttributesState(r.bbBlock, oVersion, true, true);
             oTarget.SetStateData(PersistentAttributes(oTarget).GetPersistentAttributesState());
             PersistentAttributes::HeaderStructure oHeader;
             ByteBuffer bb;
             PersistentAttributes::GetComponentsFromStateDataBuffer(r.bbBlock, oHeader, bb);
             PersistentAttributes::CreateStateDataFromComponents(oHeader, bb, bb);
             PersistentAttributes::UpgradeOldStateDataVersionIfNecessary(r.bbBlock);
             PersistentAttributes::DumpStateData(r.bbBlock);
             oTarget.GetAttributeBytesListForNameSpace(1);
             oTarget = PersistentAttributes(oTarget.GetAttributeBytesNameSpaces());
         });
     }},
    {"name spaces",
     [](const Samples& r) {
         AttributeBytesNameSpaces oTarget;
         FaultOutcome eOutcome = Attempt([&] {
             oTarget.SetNameSpaceAttributes(1, r.oList);
             oTarget.SetNameSpaceAttributes(2, r.oRawList, 3);
         });
         DWORD dwSpaces = 0;  // each is there whole or not at all
         for (const LONG l : {1, 2}) {
             if (!oTarget.Exists(l)) continue;
             ++dwSpaces;
             Demand(oTarget.GetAttributeBytesRawList(l) == r.oRawList);
         }
         Demand(dwSpaces == oTarget.GetNumberOfNameSpaces());
         if (eOutcome == FaultOutcome::Failed) return eOutcome;
         eOutcome = Attempt([&] {
             AttributeBytesNameSpaces oOther;
             oOther.ImportAttributeBytesNameSpacesState(oTarget.GetAttributeBytesNameSpacesState());
             oTarget = AttributeBytesNameSpaces(oOther);
             oTarget.GetNameSpaceAttributes(2);
             oTarget.DeleteNameSpaceAttributes(1);
         });
         Demand(oTarget.Exists(2));
         return eOutcome;
     }},
    {"iterators and look-ups",
     [](const Samples& r) {
         return Attempt([&] {
             for (const AttributeBytesList* const pList : {static_cast<const AttributeBytesList*>(&r.oCorpus),
                                                           static_cast<const AttributeBytesList*>(&r.oRawList)}) {
                 const auto apoIterator = pList->GetIterator()->Clone();
                 pList->GetNextAttributeBytes(*apoIterator);
                 pList->GetNextAttributeBytesSharedPtr(*apoIterator);
                 pList->GetAttributeBytesByIndex(1);
                 pList->GetAllAttributeBytes();
             }
             r.oCorpus.GetStringValue(AttributeBytesValueId(-2));
             r.oCorpus.GetDataBlobValue(AttributeBytesFeatureId(259));
             r.oCorpus.GetListOfValues(AttributeBytesFeatureId(260));
             r.oCorpus.GetOptionValueOrNewIdByAnyId(AttributeBytesFeatureId(262));
             r.oCorpus.GetNewOptionValueId(AttributeBytesFeatureId(262));
         });
     }},
    {"what lists hold",
     [](const Samples& r) {
         return Attempt([&] {
             Dimension oWidth, oHeight;
             LONG lLow = 0, lHigh = 0;
             r.oLists.GetPaperSizeValues(AttributeBytesFeatureId(2), oWidth, oHeight);
             r.oLists.GetRangeOfIntegerValueByIndex(AttributeBytesFeatureId(5), 1, lLow, lHigh);
             Demand(lLow == 3 && r.oLists.GetListOfFeatures(AttributeBytesFeatureId(1)) == std::vector<LONG>{5, 6} &&
                    r.oLists.GetOptionValueByIndex(AttributeBytesFeatureId(4), 1) == 8 &&
                    r.oLists.GetCollectionByIndex(AttributeBytesFeatureId(3), 1)->GetNumberOfAttributeBytes() == 2);
         });
     }},
    {"refused look-ups",
     [](const Samples& r) {
         // Either the named exception comes, or the one of memory: never the other's.
         int cRefused = 0;
         const FaultOutcome eOutcome = Attempt([&] {
             try {
                 r.oCorpus.GetAttributeBytesRef(AttributeBytesFeatureId(-5));
             } catch (const ExceptionFeatureNotFound&) {
                 ++cRefused;
             }
             try {
                 r.oCorpus.GetIntegerValue(AttributeBytesFeatureId(259));
             } catch (const ExceptionAttributeValueTypeMismatch&) {
                 ++cRefused;
             }
             try {
                 r.oLists.GetOptionValueByIndex(AttributeBytesFeatureId(4), 2);
             } catch (const ExceptionIndexOutOfBounds&) {
                 ++cRefused;
             }
         });
         Demand((cRefused == 3) == (eOutcome == FaultOutcome::Succeeded));
         return eOutcome;
     }},
    {"import into what holds something",
     [](const Samples& r) {
         FaultOutcome eOutcome = FaultOutcome::Failed;
         Attempt([&] {
             AttributeBytes oRecord(IntegerRecord(1, 1));
             AttributeBytesRawList oRaw;
             AttributeBytesIndexedList oIndexed;
             ByteBuffer bbState;
             oRaw.AddAttributeBytes(oRecord);
             oIndexed.AddAttributeBytes(oRecord);
             oRecord.GetAttributeBytesState(bbState);
             const AttributeBytes oFormer(oRecord);
             const ByteBuffer bbFormer(bbState), bbDeep = r.oDeep.GetAttributeBytesState();
             const ByteBuffer bbRaw = r.oRawList.GetAttributeBytesRawListState();
             const auto unlessFailed = [&](const auto& rChange, const auto& rIsFormer) {
                 eOutcome = Attempt(rChange);
                 Demand(eOutcome == FaultOutcome::Succeeded || rIsFormer());
                 return eOutcome == FaultOutcome::Succeeded;
             };
             const auto isRecord = [&] { return oRecord == oFormer; };
             unlessFailed([&] { oRecord.SetAttributeBytesValue(r.oDeep.GetAttributeBytesValue()); }, isRecord) &&
                 (oRecord = oFormer, true) &&
                 unlessFailed([&] { oRecord.ImportAttributeBytesState(bbDeep); }, isRecord) &&
                 unlessFailed([&] { r.oDeep.GetAttributeBytesState(bbState); }, [&] { return bbState == bbFormer; }) &&
                 unlessFailed([&] { oRaw.ImportAttributeBytesRawListState(bbRaw); },
                              [&] { return oRaw.GetRecordBytes() == bbFormer; }) &&
                 unlessFailed([&] { oIndexed.ImportFromRawList(oRaw); },
                              [&] { return oIndexed.GetNumberOfAttributeBytes() == 1; });
         });
         return eOutcome;
     }},
    {"display texts",
     [](const Samples& r) {
         return Attempt([&] {
             for (const AttributeBytesSharedPtr& rshpoRecord : r.oCorpus) {
                 rshpoRecord->GetDumpDisplayString(true);
                 rshpoRecord->GetAttributeBytesValue().GetDumpDisplayString(false);
                 rshpoRecord->GetAttributeBytesId().GetIdentifierState();
                 rshpoRecord->GetAttributeBytesValue().GetValueState();
             }
         });
     }},
    {"a refused record",
     [](const Samples& r) {
         AttributeBytesIndexedList oTarget;
         FaultOutcome eOutcome = Attempt([&] { oTarget.AddAttributeBytes(r.oDeep); });
         if (eOutcome == FaultOutcome::Failed) return eOutcome;
         bool fRefused = false;
         eOutcome = Attempt([&] {
             try {
                 oTarget.AddAttributeBytes(r.oDeep);
             } catch (const ExceptionDuplicateAttributeId&) {
                 fRefused = true;
             }
         });
         Demand(fRefused == (eOutcome == FaultOutcome::Succeeded) && oTarget.GetNumberOfAttributeBytes() == 1);
         return eOutcome;
     }},
};

TEST(AttributeBytesFaultTest, EveryCallAndAllocationThatFailsLeavesThingsAsTheyWere) {
    const Samples oSamples;
    for (const Scenario& rScenario : SCENARIOS) {
        SCOPED_TRACE(rScenario.pszName);
        FaultLoop oLoop;
        oLoop.fnRun = [&] { return rScenario.run(oSamples); };
        oLoop.vModes = {FaultMode::FailOnce};
        EXPECT_GT(RunFaultLoop(oLoop).ullFaults, 0U);
    }
}

}  // namespace
}  // namespace vlm::test
