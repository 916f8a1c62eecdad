/// @file
/// The two lists of attribute records: states, iterators, order, and lists in lists.
#include <gtest/gtest.h>

#include <map>
#include <random>
#include <thread>

#include "formats/AttributeSamples.h"
#include "support/Narrow.h"
#include "support/RecordingSink.h"
#include "utilities/Bounds.h"
#include "utilities/debuggingandexceptions/VelomExceptions.h"

namespace vlm::test {
namespace {

std::vector<LONG> FeaturesOf(const AttributeBytesList& rList) {
    std::vector<LONG> vlFeatures;
    for (const AttributeBytesSharedPtr& rshpoRecord : rList.GetAllAttributeBytes()) {
        vlFeatures.push_back(
            static_cast<const AttributeBytesFeatureId&>(rshpoRecord->GetAttributeBytesId()).GetFeatureId());
    }
    return vlFeatures;
}

TEST(AttributeBytesListTest, StatesBeginWithTheirSignatures) {
    AttributeBytesRawList oRawList;
    AttributeBytesIndexedList oIndexedList;
    RecordingSink oSink(DebugCategory::AttrBytes);
    EXPECT_EQ(HexOf(oRawList.GetAttributeBytesRawListState()), "4142524C");
    EXPECT_EQ(oSink.Texts(), std::vector<std::string>{"Getting AttributeBytesRawList state (size=4 bytes)"});
    EXPECT_EQ(HexOf(oIndexedList.GetAttributeBytesIndexedListState()), "4142494C4142524C");
    for (const LONG l : {3, 1, 2}) {
        oRawList.AddAttributeBytes(IntegerRecord(l));
        oIndexedList.AddAttributeBytes(IntegerRecord(l));
    }
    EXPECT_EQ(FeaturesOf(oRawList), (std::vector<LONG>{3, 1, 2})) << "insertion order";
    EXPECT_EQ(FeaturesOf(oIndexedList), (std::vector<LONG>{1, 2, 3})) << "identifier order";
    EXPECT_EQ(HexOf(oIndexedList.GetAttributeBytesIndexedListState()).substr(16, 22), "0201000000030000000000");

    AttributeBytesRawList oImported;
    oImported.ImportAttributeBytesRawListState(oRawList.GetAttributeBytesRawListState());
    EXPECT_TRUE(oImported == oRawList);
    oImported.ImportFromIndexedList(oIndexedList);
    EXPECT_EQ(FeaturesOf(oImported), (std::vector<LONG>{1, 2, 3}));
    AttributeBytesIndexedList oIndexedImport;
    oIndexedImport.ImportAttributeBytesIndexedListState(oIndexedList.GetAttributeBytesIndexedListState());
    EXPECT_EQ(oIndexedImport.GetAttributeBytesIndexedListState(), oIndexedList.GetAttributeBytesIndexedListState());
}

TEST(AttributeBytesListTest, AnImportThatFailsChangesNothing) {
    struct Row {
        const char* pszHex;
        enum { Format, TooShort, Duplicate, Syntax } eFailure;
    };
    const Row ROWS[] = {
        {"", Row::TooShort},
        {"414249", Row::TooShort},
        {"4142494C", Row::TooShort},         // "ABIL" without a raw list
        {"4142524C", Row::Format},           // "ABRL" offered to the indexed list
        {"4142494C 4142494C", Row::Format},  // "ABIL" twice
        {"4142494C 4142524C 0201000000 03 00 010000", Row::TooShort},
        {"4142494C 4142524C 0201000000 05 00 01 0A", Row::Syntax},
        {"4142494C 4142524C 0201000000 05 00 01 0201000000 05 00 00", Row::Duplicate},
    };
    for (const Row& rRow : ROWS) {
        SCOPED_TRACE(rRow.pszHex);
        AttributeBytesIndexedList oList;
        oList.AddAttributeBytes(IntegerRecord(9));
        RecordingSink oSink;
        try {
            oList.ImportAttributeBytesIndexedListState(BufferOf(rRow.pszHex));
            ADD_FAILURE() << "accepted";
        } catch (const ExceptionMissingOrBadAttributeBytesFormat&) {
            EXPECT_EQ(rRow.eFailure, Row::Format);
            EXPECT_EQ(oSink.Count("Import request ignored. This expected signature is missing or doesn't match."), 1U);
            EXPECT_EQ(oSink.Count("*Throwing* ExceptionMissingOrBadAttributeBytesFormat: "), 1U);
        } catch (const ExceptionNotEnoughBytesForDesiredDataType&) {
            EXPECT_EQ(rRow.eFailure, Row::TooShort);
        } catch (const ExceptionUnhandledSyntax&) {
            EXPECT_EQ(rRow.eFailure, Row::Syntax);
        } catch (const ExceptionDuplicateAttributeId& rException) {
            EXPECT_EQ(rRow.eFailure, Row::Duplicate);
            EXPECT_EQ(Narrow(rException.GetExceptionMesage().View()),
                      "An entry already exists in the list for=ABIDE_FEATURE: Value=1 (0x1)! Insertion failed!\r\n");
            EXPECT_EQ(Narrow(rException.GetExceptionLocationFunctionName().View()),
                      "AttributeBytesIndexedList::AddAttributeBytes");
        }
        EXPECT_EQ(FeaturesOf(oList), std::vector<LONG>{9});
    }
    AttributeBytesRawList oRawList;
    oRawList.AddAttributeBytes(IntegerRecord(9));
    EXPECT_THROW(oRawList.ImportAttributeBytesRawListState(BufferOf("4142494C 4142524C")),
                 ExceptionMissingOrBadAttributeBytesFormat);
    EXPECT_EQ(FeaturesOf(oRawList), std::vector<LONG>{9});
}

TEST(AttributeBytesListTest, ImportingFromAnotherListTakesEitherKindAndLeavesItselfAlone) {
    AttributeBytesRawList oRawList;
    for (const LONG l : {2, 1})
        oRawList.AddAttributeBytes(IntegerRecord(l));
    AttributeBytesIndexedList oIndexedList;
    oIndexedList.AddAttributeBytes(IntegerRecord(7));
    oIndexedList.ImportFromOtherList(oRawList);
    EXPECT_EQ(FeaturesOf(oIndexedList), (std::vector<LONG>{1, 2}));
    oIndexedList.ImportFromOtherList(oIndexedList);
    EXPECT_EQ(FeaturesOf(oIndexedList), (std::vector<LONG>{1, 2}));
    oRawList.ImportFromOtherList(oIndexedList);
    EXPECT_EQ(FeaturesOf(oRawList), (std::vector<LONG>{1, 2}));
    oRawList.ImportFromOtherList(oRawList);
    EXPECT_EQ(FeaturesOf(oRawList), (std::vector<LONG>{1, 2}));
    oRawList.AddAttributeBytes(IntegerRecord(1));
    EXPECT_THROW(oIndexedList.ImportFromOtherList(oRawList), ExceptionDuplicateAttributeId);
    EXPECT_EQ(FeaturesOf(oIndexedList), (std::vector<LONG>{1, 2}));
    EXPECT_THROW(oIndexedList.ImportFromRawList(oRawList), ExceptionDuplicateAttributeId);
    EXPECT_EQ(FeaturesOf(oIndexedList), (std::vector<LONG>{1, 2}));
}

TEST(AttributeBytesListTest, IteratorsAreCheckedForClassListAndPosition) {
    AttributeBytesRawList oRawList;
    AttributeBytesRawList oOtherRawList;
    AttributeBytesIndexedList oIndexedList;
    AttributeBytesIndexedList oOtherIndexedList;
    AttributeBytesList* const apLists[] = {&oRawList, &oOtherRawList, &oIndexedList, &oOtherIndexedList};
    for (AttributeBytesList* const pList : apLists)
        pList->AddAttributeBytes(IntegerRecord(1));
    const AttributeBytesSharedPtr shpoRecord = MakeVlmShared<AttributeBytes>(IntegerRecord(2));
    for (AttributeBytesList* const pList : apLists)
        pList->AddAttributeBytes(shpoRecord);

    for (AttributeBytesList* const pList : apLists) {
        for (AttributeBytesList* const pOwner : apLists) {
            const auto apoIterator = pOwner->GetIterator();
            const bool bSameClass =
                (pList == &oRawList || pList == &oOtherRawList) == (pOwner == &oRawList || pOwner == &oOtherRawList);
            if (!bSameClass) {
                EXPECT_THROW(pList->IsValid(*apoIterator), ExceptionAttributeValueTypeMismatch);
                EXPECT_THROW(pList->GetNextAttributeBytes(*apoIterator), ExceptionAttributeValueTypeMismatch);
            } else {
                EXPECT_EQ(pList->IsValid(*apoIterator), pList == pOwner);
                if (pList != pOwner) {
                    EXPECT_THROW(pList->GetNextAttributeBytesSharedPtr(*apoIterator), ExceptionIndexOutOfBounds);
                }
            }
        }
        const auto apoIterator = pList->GetIterator();
        EXPECT_TRUE(pList->GetNextAttributeBytes(*apoIterator) == IntegerRecord(1));
        const auto apoSecond = apoIterator->Clone();
        EXPECT_TRUE(*pList->GetNextAttributeBytesSharedPtr(*apoIterator) == *shpoRecord);
        EXPECT_FALSE(pList->IsValid(*apoIterator));
        EXPECT_THROW(pList->GetNextAttributeBytes(*apoIterator), ExceptionIndexOutOfBounds);
        EXPECT_TRUE(pList->IsValid(*apoSecond));
        pList->AddAttributeBytes(IntegerRecord(3));
        EXPECT_TRUE(*pList->GetNextAttributeBytesSharedPtr(*apoSecond) == *shpoRecord)
            << "adding leaves iterators alone";
        EXPECT_TRUE(pList->IsValid(*apoSecond)) << "and what was added is reached";
        pList->DeleteAllAttributeBytes();
        pList->AddAttributeBytes(IntegerRecord(3));
        EXPECT_FALSE(pList->IsValid(*apoSecond)) << "emptying the list ends them";
        EXPECT_TRUE(pList->LengthIsExactlyOne());
    }
    RecordingSink oSink;
    EXPECT_THROW(oRawList.GetNextAttributeBytes(*oIndexedList.GetIterator()), ExceptionAttributeValueTypeMismatch);
    EXPECT_EQ(oSink.Count("Incoming AttributeBytesListIterator is the wrong type for this class!"), 1U);
    EXPECT_THROW(oRawList.GetNextAttributeBytes(*oOtherRawList.GetIterator()), ExceptionIndexOutOfBounds);
    EXPECT_EQ(oSink.Count("Invalid iterator supplied!"), 1U);
    oRawList.AddAttributeBytes(AttributeBytesSharedPtr());
    oIndexedList.AddAttributeBytes(AttributeBytesSharedPtr());
    EXPECT_EQ(oSink.Count("Failed Condition"), 2U) << "null is reported and adds nothing";
    EXPECT_TRUE(oRawList.LengthIsExactlyOne() && oIndexedList.LengthIsExactlyOne());
}

TEST(AttributeBytesListTest, AnIndexedIteratorFollowsItsRecord) {
    AttributeBytesIndexedList oList;
    for (LONG l = 10; l < 20; ++l)
        oList.AddAttributeBytes(IntegerRecord(l));
    AttributeBytesIndexedListIterator oIterator = oList.FindAttributeBytes(AttributeBytesFeatureId(15));
    AttributeBytesIndexedListIterator oDeleted = oList.FindAttributeBytes(AttributeBytesFeatureId(12));
    EXPECT_FALSE(oList.IsValidIndexedListIterator(oList.FindAttributeBytes(AttributeBytesFeatureId(99))));
    oList.AddAttributeBytes(IntegerRecord(1));
    oList.DeleteAttributesBytes(AttributeBytesFeatureId(12));
    oList.DeleteAttributesBytes(AttributeBytesFeatureId(12));
    EXPECT_FALSE(oList.IsValidIndexedListIterator(oDeleted));
    oList.SetAttributeBytes(AttributeBytesFeatureId(16), AttributeBytesIntegerValue(160));
    EXPECT_TRUE(oList.GetNextAttributeBytes(oIterator) == IntegerRecord(15));
    EXPECT_TRUE(oList.GetNextAttributeBytes(oIterator) == IntegerRecord(16, 160));
    oList.SetAttributeBytes(AttributeBytesFeatureId(17), AttributeBytesIntegerValue(170));
    EXPECT_FALSE(oList.IsValidIndexedListIterator(oIterator)) << "its record was replaced by another";
}

/// Any sequence of changes leaves the list equal to an ordered map that went through the same.
TEST(AttributeBytesListTest, TheIndexedListBehavesLikeAnOrderedMap) {
    for (const bool fNamed : {false, true}) {
        std::mt19937 random(fNamed ? 7U : 11U);
        AttributeBytesIndexedList oList;
        std::map<std::u16string, LONG> expected;
        const auto makeId = [fNamed](LONG l) -> std::unique_ptr<AttributeBytesId> {
            if (!fNamed) return std::make_unique<AttributeBytesFeatureId>(l);
            CXString csName;
            csName.Format(VTEXT("PageFeature%04d"), static_cast<int>(l));  // alike in all that a key holds
            return std::make_unique<AttributeBytesNewFeatureId>(csName);
        };
        const auto keyOf = [](LONG l) {
            std::u16string key;
            for (int iShift = 12; iShift >= 0; iShift -= 4)
                key.push_back(static_cast<char16_t>((l >> iShift) & 15));
            return key;
        };
        const auto check = [&] {
            ASSERT_EQ(oList.GetNumberOfAttributeBytes(), expected.size());
            auto itExpected = expected.begin();
            for (const AttributeBytesSharedPtr& rshpoRecord : oList) {
                const LONG lValue = AttributeBytesReader::GetIntegerValueFromAttributeBytes(*rshpoRecord);
                ASSERT_EQ(lValue, itExpected++->second);
            }
        };
        for (int iStep = 0; iStep < 6000; ++iStep) {
            const LONG l = static_cast<LONG>(random() % 1500);
            const auto apoId = makeId(l);
            const auto itExpected = expected.find(keyOf(l));
            const AttributeBytes* const pFound = oList.GetAttributeBytesPtr(*apoId);
            ASSERT_EQ(pFound != nullptr, itExpected != expected.end());
            const unsigned uAction = random() % (iStep < 3000 ? 4U : 8U);
            if (uAction < 2) {
                const LONG lTagged = l * 10 + static_cast<LONG>(iStep % 10);
                if (pFound) {
                    ASSERT_THROW(oList.AddAttributeBytes(AttributeBytes(*apoId, AttributeBytesIntegerValue(lTagged))),
                                 ExceptionDuplicateAttributeId);
                } else {
                    oList.AddAttributeBytes(AttributeBytes(*apoId, AttributeBytesIntegerValue(lTagged)));
                    expected[keyOf(l)] = lTagged;
                }
            } else if (uAction == 2) {
                oList.SetAttributeBytes(*apoId, AttributeBytesIntegerValue(-l));
                expected[keyOf(l)] = -l;
            } else {
                oList.DeleteAttributesBytes(*apoId);
                expected.erase(keyOf(l));
            }
            if (iStep % 500 == 0) check();
        }
        check();
        AttributeBytesIndexedList oCopy(oList);
        oList.DeleteAllAttributeBytes();
        EXPECT_TRUE(oList.IsEmpty());
        oList = std::move(oCopy);
        check();
    }
}

TEST(AttributeBytesListTest, LookUpsAreTypedAcrossKeysThatAreAlike) {
    AttributeBytesIndexedList oList;
    oList.AddAttributeBytes(AttributeBytes(AttributeBytesValueId(5), AttributeBytesIntegerValue(1)));
    oList.AddAttributeBytes(AttributeBytes(AttributeBytesFeatureId(5), AttributeBytesIntegerValue(2)));
    oList.AddAttributeBytes(AttributeBytes(AttributeBytesCapabilityId(5, 0), AttributeBytesIntegerValue(3)));
    oList.AddAttributeBytes(AttributeBytes(AttributeBytesNewFeatureId(VTEXT("5")), AttributeBytesIntegerValue(4)));
    EXPECT_EQ(oList.GetIntegerValue(AttributeBytesValueId(5)), 1);
    EXPECT_EQ(oList.GetIntegerValue(AttributeBytesFeatureId(5)), 2);
    EXPECT_EQ(oList.GetIntegerValue(AttributeBytesCapabilityId(5, 0)), 3);
    EXPECT_EQ(oList.GetIntegerValue(AttributeBytesNewFeatureId(VTEXT("5"))), 4);
    EXPECT_EQ(oList.GetAttributeBytesPtr(AttributeBytesListOfValuesItemId(5)), nullptr);
    EXPECT_EQ(oList.GetAttributeBytesPtr(AttributeBytesNewValueId(VTEXT("5"))), nullptr);
}

// ---- lists in lists ----

TEST(AttributeBytesListTest, SixtyFourLevelsOfListsAreAcceptedAndOneMoreRefused) {
    const AttributeBytes oDeepest(NestedListRecord(bounds::MAX_LIST_NESTING));
    EXPECT_THROW(AttributeBytes(NestedListRecord(bounds::MAX_LIST_NESTING + 1)),
                 ExceptionMissingOrBadAttributeBytesFormat);

    // Around the deepest list that there can be, no further list value can be put.
    AttributeBytesRawList oAround;
    oAround.AddAttributeBytes(oDeepest);
    EXPECT_EQ(oAround.GetNestingDepth(), bounds::MAX_LIST_NESTING);
    EXPECT_THROW(AttributeBytesListValue{oAround}, ExceptionMissingOrBadAttributeBytesFormat);
    AttributeBytesListValue oKept;
    EXPECT_THROW(oKept.SetAttributeBytesRawList(std::make_unique<AttributeBytesRawList>(oAround)),
                 ExceptionMissingOrBadAttributeBytesFormat);
    EXPECT_TRUE(oKept.GetAttributeBytesRawList().IsEmpty());

    // The same bounds for both lists' states, and every level can be walked down to and built up again.
    for (const unsigned uDepth : {1U, 63U, 64U, 65U}) {
        ByteBuffer bbState = BufferOf("4142494C 4142524C");
        bbState.append(NestedListRecord(uDepth));
        ByteBuffer bbRawState = BufferOf("4142524C");
        bbRawState.append(NestedListRecord(uDepth));
        AttributeBytesIndexedList oList;
        AttributeBytesRawList oRawList;
        if (uDepth > bounds::MAX_LIST_NESTING) {
            EXPECT_THROW(oList.ImportAttributeBytesIndexedListState(bbState),
                         ExceptionMissingOrBadAttributeBytesFormat);
            EXPECT_THROW(oRawList.ImportAttributeBytesRawListState(bbRawState),
                         ExceptionMissingOrBadAttributeBytesFormat);
            continue;
        }
        oList.ImportAttributeBytesIndexedListState(bbState);
        oRawList.ImportAttributeBytesRawListState(bbRawState);
        EXPECT_EQ(oRawList.GetNestingDepth(), uDepth);
        EXPECT_EQ(HexOf(oList.GetAttributeBytesIndexedListState()), HexOf(bbState));
        const AttributeBytesIndexedList* pList = &oList;
        std::unique_ptr<AttributeBytesIndexedList> apoInner;
        for (unsigned u = 0; u < uDepth; ++u) {
            std::unique_ptr<AttributeBytesIndexedList> apoNext = pList->GetCollection(AttributeBytesFeatureId(1));
            apoInner = std::move(apoNext);
            pList = apoInner.get();
        }
        EXPECT_TRUE(pList->IsEmpty());
        AttributeBytesRawList oBuilt;
        for (unsigned u = 0; u < uDepth; ++u) {
            const AttributeBytes oRecord{AttributeBytesFeatureId(1), AttributeBytesListValue(oBuilt)};
            oBuilt.DeleteAllAttributeBytes();
            oBuilt.AddAttributeBytes(oRecord);
        }
        EXPECT_TRUE(oBuilt == oRawList);
    }
}

TEST(AttributeBytesListTest, AHundredThousandLevelsAreRefusedOnAnOrdinaryStack) {
    ByteBuffer bbState = BufferOf("4142524C");
    bbState.append(NestedListRecord(100000));
    std::thread([&bbState] {
        AttributeBytesRawList oList;
        EXPECT_THROW(oList.ImportAttributeBytesRawListState(bbState), ExceptionMissingOrBadAttributeBytesFormat);
        EXPECT_TRUE(oList.IsEmpty());
    }).join();
}

TEST(AttributeBytesListTest, RecordsInsideAListStayUnreadUntilAskedFor) {
    // A list of a good record, a bad one, and one behind it.
    const ByteBuffer bbState = BufferOf(
        "4142524C 0201000000 0B 00 00 1A000000 4142524C 0201000000 03 00 2A000000 FF01000000 03 00 2A000000"
        " 0202000000 05 00 01");
    AttributeBytesRawList oList;
    oList.ImportAttributeBytesRawListState(bbState);
    EXPECT_EQ(oList.GetNestingDepth(), 1U);
    AttributeBytesIndexedList oIndexedList;
    oIndexedList.ImportFromRawList(oList);
    EXPECT_EQ(oIndexedList.GetNumberOfAttributeBytes(), 2U);
    EXPECT_TRUE(oIndexedList.GetBooleanValue(AttributeBytesFeatureId(2)));
    const auto& rInner =
        static_cast<const AttributeBytesListValue&>(oIndexedList.GetAttributeBytesValue(AttributeBytesFeatureId(1)));
    AttributeBytesRawListIterator oIterator = rInner.GetAttributeBytesRawList().GetRawListIterator();
    EXPECT_TRUE(rInner.GetAttributeBytesRawList().GetNextAttributeBytes(oIterator) == IntegerRecord(1, 42));
    EXPECT_THROW(rInner.GetAttributeBytesRawList().GetNextAttributeBytes(oIterator), ExceptionUnhandledSyntax);
    EXPECT_EQ(oIterator.GetOffset(), 11U) << "a record that cannot be read does not move the iterator";
    EXPECT_THROW(oIndexedList.GetCollection(AttributeBytesFeatureId(1)), ExceptionUnhandledSyntax);
}

}  // namespace
}  // namespace vlm::test
