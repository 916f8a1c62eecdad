/// @file
/// Every call and allocation behind the attribute classes fails once: nothing leaks, and what failed changed nothing.
#include <gtest/gtest.h>

#include <stdexcept>
#include <utility>

#include "formats/AttributeSamples.h"
#include "support/FaultLoop.h"
#include "support/RecordingSink.h"
#include "utilities/attributebytes/AttributeBytesIdFactory.h"
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

using Feature = AttributeBytesFeatureId;

/// Asks, in the lists below, for what a feature does not hold: 5 is a list of ranges, 6 a named option, 7 a numbered
/// one, 8 the option of a capability.
void (*const WRONG_KINDS[])(const AttributeBytesIndexedList&) = {
    [](const auto& r) { r.GetIntegerValue(Feature(6)); },
    [](const auto& r) { r.GetDataBlobValue(Feature(6)); },
    [](const auto& r) { r.GetListOfValues(Feature(6)); },
    [](const auto& r) { r.GetOptionValue(Feature(5)); },
    [](const auto& r) { r.GetOptionValue(Feature(6)); },
    [](const auto& r) { r.GetNewOptionValueId(Feature(5)); },
    [](const auto& r) { r.GetNewOptionValueId(Feature(7)); },
    [](const auto& r) { r.GetOptionValueOrNewId(Feature(8)); },
    [](const auto& r) { r.GetOptionValueByIndex(Feature(5), 0); },
    [](const auto& r) {
        LONG lLow = 0, lHigh = 0;
        r.GetRangeOfIntegerValue(Feature(6), lLow, lHigh);
    },
    [](const auto& r) { AttributeBytesReader::GetFeatureIdFromAttributeBytes(r.GetAttributeBytesRef(Feature(7))); },
    [](const auto& r) {
        static_cast<const AttributeBytesOptionValue&>(r.GetAttributeBytesValue(Feature(7))).GetNewFeatureIdValue();
    },
    [](const auto& r) {
        const auto& rOption = static_cast<const AttributeBytesOptionValue&>(r.GetAttributeBytesValue(Feature(8)));
        Demand(rOption.GetCapabilityIdValue().IsEqual(AttributeBytesCapabilityId(1, std::int16_t{2})));
        rOption.GetNewCapabilityIdValue();
    },
};

TEST(AttributeBytesFaultTest, EveryCallAndAllocationThatFailsLeavesThingsAsTheyWere) {
    const ByteBuffer bbIndexed = BufferOf("4142494C 4142524C").append(RecordCorpus());
    AttributeBytesIndexedList oCorpus, oList, oLists;
    oCorpus.ImportAttributeBytesIndexedListState(bbIndexed);
    AttributeBytesNameSpaces oNameSpaces;
    oNameSpaces.SetNameSpaceAttributes(1, oCorpus);
    const ByteBuffer bbBlock = PersistentAttributes(oNameSpaces).GetPersistentAttributesState();
    const ByteBuffer bbShort(bbBlock.data(), 15);
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
    const AttributeBytesOptionValue oNamed(AttributeBytesNewValueId(VTEXT("Named"))),
        oNumbered(AttributeBytesValueId(7));
    oLists.SetAttributeBytes(Feature(6), oNamed);
    oLists.SetAttributeBytes(Feature(7), oNumbered);
    oLists.SetAttributeBytes(Feature(8), AttributeBytesOptionValue(AttributeBytesCapabilityId(1, std::int16_t{2})));
    AttributeBytesRawList oDeepest;
    oDeepest.AddAttributeBytes(AttributeBytes(NestedListRecord(bounds::MAX_LIST_NESTING)));

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
        row("copies and moves",
            [&] {
                AttributeBytesIndexedList oTarget;
                Unchanged([&] { oTarget = oLists; }, [&] { return oTarget.IsEmpty(); });
                const AttributeBytesIndexedList oTaken(std::move(oTarget));
                Demand(oTaken.GetNumberOfAttributeBytes() == oLists.GetNumberOfAttributeBytes());
                AttributeBytesRawList oRaw;
                Unchanged([&] { oRaw = oRawList; }, [&] { return oRaw.IsEmpty(); });
                AttributeBytesNameSpaces oSpaces;
                Unchanged([&] { oSpaces = oNameSpaces; }, [&] { return oSpaces.IsEmpty(); });
                Demand(AttributeBytesNameSpaces(std::move(oSpaces)).Exists(1));
                AttributeBytesListValue oValue;
                Unchanged([&] { oValue = features; }, [&] { return oValue.GetAttributeBytesRawList().IsEmpty(); });
                Unchanged([&] { oValue.SetAttributeBytesRawList(oRawList); }, [&] { return oValue.IsEqual(features); });
                for (const bool fOwned : {false, true}) {
                    Refused<ExceptionMissingOrBadAttributeBytesFormat>([&] {
                        if (fOwned) oValue.SetAttributeBytesRawList(std::make_unique<AttributeBytesRawList>(oDeepest));
                        oValue.SetAttributeBytesRawList(oDeepest);
                    });
                    Demand(oValue.GetAttributeBytesRawList() == oRawList);
                }
                Refused<ExceptionMissingOrBadAttributeBytesFormat>([&] { AttributeBytesListValue{oDeepest}; });
                AttributeBytesOptionValue oOption;
                Unchanged([&] { oOption = oNamed; }, [&] { return oOption.IsEqual(AttributeBytesOptionValue()); });
                Unchanged([&] { oOption.SetOptionId(AttributeBytesNameSpacesId(3)); },
                          [&] { return oOption.IsEqual(oNamed); });
                Demand(oOption.GetNameSpacesIdValue().GetNameSpaceId() == 3);
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
                Unchanged([&] { oTarget.ImportFromIndexedList(oCorpus); },
                          [&] { return oTarget.GetAttributeBytesRawListState() == bbRaw; });
                Refused<ExceptionMissingOrBadAttributeBytesFormat>(
                    [&] { oTarget.ImportAttributeBytesRawListState(bbIndexed); });
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
                Demand(PersistentAttributes(oNameSpaces).GetAttributeBytesNameSpaces().Exists(1));
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
                for (const auto& rGet : WRONG_KINDS)
                    Refused<ExceptionAttributeValueTypeMismatch>([&] { rGet(oLists); });
                const auto apoWrong = oRawList.GetIterator(), apoOther = oTarget.GetIterator();
                Refused<ExceptionAttributeValueTypeMismatch>([&] { oLists.IsValid(*apoWrong); });
                Refused<ExceptionAttributeValueTypeMismatch>([&] { oRawList.IsValid(*apoOther); });
                Refused<ExceptionIndexOutOfBounds>([&] { oLists.GetNextAttributeBytesSharedPtr(*apoOther); });
                Refused<ExceptionIndexOutOfBounds>([&] { oLists.GetOptionValueByIndex(Feature(1), 2); });
                Refused<ExceptionIndexOutOfBounds>([&] { oNameSpaces.GetNameSpaceByIndex(1); });
                Refused<ExceptionMissingOrBadPersistentAttributesFormat>([&] { PersistentAttributes{bbShort}; });
                Refused<ExceptionIndexOutOfBounds>([&] { oLists.GetCollectionByIndex(Feature(3), 2); });
                Refused<ExceptionDuplicateAttributeId>([&] { oTarget.AddAttributeBytes(oDeep); });
                Demand(oTarget.LengthIsExactlyOne());
            }),
    };
    FaultLoop oLoop;
    oLoop.vModes = {FaultMode::FailOnce};
    RunFaultRows(ROWS, oLoop);
}

TEST(AttributeBytesFaultTest, ARecordIsTakenApartPutTogetherAndCutShort) {
    AttributeBytesIndexedList oCorpus;
    oCorpus.ImportAttributeBytesIndexedListState(BufferOf("4142494C 4142524C").append(RecordCorpus()));
    FaultLoop oLoop;
    for (const AttributeBytesSharedPtr& rshpoRecord : oCorpus) {
        const AttributeBytes& rRecord = *rshpoRecord;
        SCOPED_TRACE(HexOf(rRecord.GetAttributeBytesState()));
        oLoop.fnRun = [&] {
            return Try([&] {
                const AttributeBytesId& rId = rRecord.GetAttributeBytesId();
                const AttributeBytesValue& rValue = rRecord.GetAttributeBytesValue();
                AttributeBytes oBuilt(rId.Clone(), rValue);
                Demand(oBuilt == rRecord && oBuilt == AttributeBytes(rId.Clone(), rValue.Clone()));
                oBuilt.SetAttributeBytesId(rId.Clone());
                oBuilt.SetAttributeBytesValue(rValue.Clone());
                ByteBuffer bbId = rId.GetTypeAndIdentifierState(), bbValue = rValue.GetTypeAndValueState();
                Demand(bbId.size() == rId.GetIdentifierState().size() + 1 &&
                       bbValue.size() == rValue.GetValueState().size() + 2);
                BYTE* pbyCursor = bbId.data();
                DWORD dwRemaining = bbId.GetLength();
                Demand(AttributeBytesId::WalkBufferToGetTypeAndCreateIdentifier(pbyCursor, dwRemaining)->IsEqual(rId));
                const BYTE* pbyValue = bbValue.data();
                dwRemaining = bbValue.GetLength();
                const auto apoValue = AttributeBytesValue::WalkBufferToGetTypeAndCreateValue(pbyValue, dwRemaining);
                Demand(apoValue->IsEqual(rValue));
                pbyValue = bbValue.data() + 2;
                dwRemaining = bbValue.GetLength() - 2;
                apoValue->WalkBufferToSetValue(pbyValue, dwRemaining);
                pbyCursor = bbValue.data();
                dwRemaining = bbValue.GetLength() - 1;
                Refused<ExceptionNotEnoughBytesForDesiredDataType>(
                    [&] { AttributeBytesValue::WalkBufferToGetTypeAndCreateValue(pbyCursor, dwRemaining); });
                Demand(apoValue->IsEqual(rValue));
                ByteBuffer bbState = rRecord.GetAttributeBytesState();
                Demand(bbState == bbId.append(bbValue));
                for (const std::size_t cBytes : {bbState.size(), bbState.size() - 1, std::size_t{4}}) {
                    bbState.resize(cBytes);
                    pbyCursor = bbState.data();
                    pbyValue = bbState.data();
                    dwRemaining = bbState.GetLength();
                    const auto read = [&] { AttributeBytes::WalkBufferToCreateAttributeBytes(pbyCursor, dwRemaining); };
                    const auto readConst = [&] {
                        AttributeBytes::WalkBufferToCreateAttributeBytes(pbyValue, dwRemaining);
                    };
                    if (cBytes == bbId.size()) {
                        read();
                        continue;
                    }
                    Refused<ExceptionNotEnoughBytesForDesiredDataType>(read);
                    dwRemaining = bbState.GetLength();
                    Refused<ExceptionNotEnoughBytesForDesiredDataType>(readConst);
                    Refused<ExceptionNotEnoughBytesForDesiredDataType>([&] { AttributeBytes{bbState}; });
                }
            });
        };
        RunFaultLoop(oLoop);
    }
}

TEST(AttributeBytesFaultTest, WhatOnlyReportsNeverEndsInAnotherFailure) {
    const RecordingSink oSink(DebugCategory::AttrBytes | DebugCategory::AttrDump | DebugCategory::Errors);
    AttributeBytesIndexedList oList;
    oList.AddAttributeBytes(AttributeBytes(NestedListRecord(2)));
    AttributeBytesNameSpaces oNameSpaces;
    oNameSpaces.SetNameSpaceAttributes(1, oList);
    const ByteBuffer bbBlock = PersistentAttributes(oNameSpaces).GetPersistentAttributesState();
    const FaultRow ROWS[] = {
        {"dumps",
         [&] {
             return Try([&] {
                 const AttributeBytes& rRecord = oList.GetAttributeBytesRef(Feature(1));
                 rRecord.Dump();
                 rRecord.GetAttributeBytesId().Dump();
                 rRecord.GetAttributeBytesValue().Dump();
                 static_cast<const AttributeBytesList&>(oList).Dump();
                 PersistentAttributes::DumpStateData(bbBlock);
             });
         }},
        {"texts that are too long for their count",
         [&] {
             return Try([&] {
                 const CXString csLong(VTEXT('x'), 70000);
                 const AttributeBytes oLong{AttributeBytesNewFeatureId(csLong), AttributeBytesStringValue(csLong)};
                 Demand(oLong.GetAttributeBytesState().size() < 4 * 70000);
             });
         }},
        {"null halves and tags without a class",
         [&] {
             return Try([&] {
                 AttributeBytes oNull(nullptr, std::unique_ptr<AttributeBytesValue>());
                 oNull.SetAttributeBytesId(nullptr);
                 oNull.SetAttributeBytesValue(nullptr);
                 AttributeBytesOptionValue oOption(std::unique_ptr<AttributeBytesId>{});
                 oOption.SetOptionId(nullptr);
                 AttributeBytesListValue oValue;
                 oValue.SetAttributeBytesRawList(nullptr);
                 Demand(!oNull.GetAttributeBytesValue().IsSpecified());
                 Demand(!AttributeBytesIdFactory::CreateAttributeBytesId(AttributeBytesId::ABIDE_UNSPECIFIED) &&
                        !AttributeBytesValueFactory::CreateAttributeBytesValue(AttributeBytesValue::ABVTE_UNSPECIFIED));
             });
         }},
    };
    RunFaultRows(ROWS);
}

}  // namespace
}  // namespace vlm::test
