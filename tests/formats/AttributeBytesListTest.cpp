/// @file
/// The two lists of attribute records: states, iterators, order, and lists in lists.
#include <gtest/gtest.h>

#include <map>
#include <random>
#include <thread>

#include "formats/AttributeSamples.h"
#include "support/RecordingSink.h"
#include "utilities/Bounds.h"
#include "utilities/debuggingandexceptions/VelomExceptions.h"

namespace vlm::test {
namespace {

using Feature = AttributeBytesFeatureId;

std::vector<LONG> FeaturesOf(const AttributeBytesList& rList) {
    std::vector<LONG> vlFeatures;
    for (const AttributeBytesSharedPtr& rshpoRecord : rList.GetAllAttributeBytes())
        vlFeatures.push_back(static_cast<const Feature&>(rshpoRecord->GetAttributeBytesId()).GetFeatureId());
    return vlFeatures;
}

TEST(AttributeBytesListTest, StatesBeginWithTheirSignatures) {
    AttributeBytesRawList oRawList, oImported;
    AttributeBytesIndexedList oIndexedList, oIndexedImport;
    RecordingSink oSink(DebugCategory::AttrBytes);
    EXPECT_EQ(HexOf(oRawList.GetAttributeBytesRawListState()), "4142524C");
    EXPECT_EQ(oSink.Texts(), std::vector<std::string>{"Getting AttributeBytesRawList state (size=4 bytes)"});
    EXPECT_EQ(HexOf(oIndexedList.GetAttributeBytesIndexedListState()), "4142494C4142524C");
    for (const LONG l : {2, 1}) {
        oRawList.AddAttributeBytes(IntegerRecord(l));
        oIndexedList.AddAttributeBytes(IntegerRecord(l));
    }
    const std::string first = "0201000000030000000000", second = "0202000000030000000000";
    EXPECT_EQ(HexOf(oRawList.GetAttributeBytesRawListState()), "4142524C" + second + first) << "insertion order";
    const ByteBuffer bbIndexed = oIndexedList.GetAttributeBytesIndexedListState();
    EXPECT_EQ(HexOf(bbIndexed), "4142494C4142524C" + first + second) << "identifier order";
    oImported.ImportAttributeBytesRawListState(oRawList.GetAttributeBytesRawListState());
    EXPECT_TRUE(oImported == oRawList);
    oImported.ImportFromIndexedList(oIndexedList);
    EXPECT_EQ(FeaturesOf(oImported), (std::vector<LONG>{1, 2}));
    oIndexedImport.ImportAttributeBytesIndexedListState(bbIndexed);
    EXPECT_EQ(oIndexedImport.GetAttributeBytesIndexedListState(), bbIndexed);
}

TEST(AttributeBytesListTest, AnImportThatFailsChangesNothing) {
    struct Row {
        const char* pszHex;
        enum { Format, TooShort, Duplicate, Syntax } eFailure;
    };
    const Row ROWS[] = {
        {"414249", Row::TooShort},
        {"4142494C", Row::TooShort},         // "ABIL" without a raw list
        {"4142524C", Row::Format},           // "ABRL" offered to the indexed list
        {"4142494C 4142494C", Row::Format},  // "ABIL" twice
        {"4142494C 4142524C 0201000000 03 00 010000", Row::TooShort},
        {"4142494C 4142524C 0201000000 05 00 01 0A", Row::Syntax},
        {"4142494C 4142524C 0201000000 05 00 01 0201000000 05 00 00", Row::Duplicate},
        {"4142494C 4142524C 0201000000 0B 00 00 03000000 414252", Row::TooShort},    // no room for the signature
        {"4142494C 4142524C 0201000000 0B 00 00 05000000 4142524C", Row::TooShort},  // beyond the end
        {"4142494C 4142524C 0201000000 0B 00 00 04000000 4142494C", Row::Format},
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
    AttributeBytesIndexedList oIndexedList;
    const std::vector<LONG> vlExpected{1, 2};
    for (const LONG l : {2, 1})
        oRawList.AddAttributeBytes(IntegerRecord(l));
    oIndexedList.AddAttributeBytes(IntegerRecord(7));
    oIndexedList.ImportFromOtherList(oRawList);
    oIndexedList.ImportFromOtherList(oIndexedList);
    EXPECT_EQ(FeaturesOf(oIndexedList), vlExpected);
    oRawList.ImportFromOtherList(oIndexedList);
    oRawList.ImportFromOtherList(oRawList);
    EXPECT_EQ(FeaturesOf(oRawList), vlExpected);
    oRawList.AddAttributeBytes(IntegerRecord(1));
    EXPECT_THROW(oIndexedList.ImportFromOtherList(oRawList), ExceptionDuplicateAttributeId);
    EXPECT_THROW(oIndexedList.ImportFromRawList(oRawList), ExceptionDuplicateAttributeId);
    EXPECT_EQ(FeaturesOf(oIndexedList), vlExpected);
}

TEST(AttributeBytesListTest, IteratorsAreCheckedForClassListAndPosition) {
    AttributeBytesRawList aoRaw[2];
    AttributeBytesIndexedList aoIndexed[2];
    AttributeBytesList* const apLists[] = {&aoRaw[0], &aoRaw[1], &aoIndexed[0], &aoIndexed[1]};
    const AttributeBytesSharedPtr shpoRecord = MakeVlmShared<AttributeBytes>(IntegerRecord(2));
    for (AttributeBytesList* const pList : apLists) {
        pList->AddAttributeBytes(IntegerRecord(1));
        pList->AddAttributeBytes(shpoRecord);
    }
    RecordingSink oSink;
    for (std::size_t i = 0; i < 4; ++i) {
        AttributeBytesList* const pList = apLists[i];
        for (std::size_t j = 0; j < 4; ++j) {
            const auto apoIterator = apLists[j]->GetIterator();
            if (i / 2 != j / 2) {
                EXPECT_THROW(pList->IsValid(*apoIterator), ExceptionAttributeValueTypeMismatch);
                EXPECT_THROW(pList->GetNextAttributeBytes(*apoIterator), ExceptionAttributeValueTypeMismatch);
            } else {
                EXPECT_EQ(pList->IsValid(*apoIterator), i == j);
                if (i == j) continue;
                EXPECT_THROW(pList->GetNextAttributeBytesSharedPtr(*apoIterator), ExceptionIndexOutOfBounds);
            }
        }
        const auto apoIterator = pList->GetIterator();
        EXPECT_TRUE(pList->GetNextAttributeBytes(*apoIterator) == IntegerRecord(1));
        const auto apoSecond = apoIterator->Clone();
        EXPECT_TRUE(*pList->GetNextAttributeBytesSharedPtr(*apoIterator) == *shpoRecord);
        EXPECT_FALSE(pList->IsValid(*apoIterator));
        EXPECT_THROW(pList->GetNextAttributeBytes(*apoIterator), ExceptionIndexOutOfBounds);
        pList->AddAttributeBytes(IntegerRecord(3));
        EXPECT_TRUE(*pList->GetNextAttributeBytesSharedPtr(*apoSecond) == *shpoRecord)
            << "adding leaves iterators alone";
        EXPECT_TRUE(pList->IsValid(*apoSecond)) << "and what was added is reached";
        pList->DeleteAllAttributeBytes();
        pList->AddAttributeBytes(IntegerRecord(3));
        EXPECT_FALSE(pList->IsValid(*apoSecond)) << "emptying the list ends them";
        pList->AddAttributeBytes(AttributeBytesSharedPtr());
        EXPECT_TRUE(pList->LengthIsExactlyOne()) << "null is reported and adds nothing";
    }
    EXPECT_EQ(oSink.Count("Incoming AttributeBytesListIterator is the wrong type for this class!"), 16U);
    EXPECT_EQ(oSink.Count("Invalid iterator supplied!"), 8U);
    EXPECT_EQ(oSink.Count("Failed Condition"), 4U);
}

TEST(AttributeBytesListTest, AnIndexedIteratorFollowsItsRecord) {
    AttributeBytesIndexedList oList;
    for (LONG l = 10; l < 20; ++l)
        oList.AddAttributeBytes(IntegerRecord(l));
    AttributeBytesIndexedListIterator oIterator = oList.FindAttributeBytes(Feature(15));
    AttributeBytesIndexedListIterator oDeleted = oList.FindAttributeBytes(Feature(12));
    EXPECT_FALSE(oList.IsValidIndexedListIterator(oList.FindAttributeBytes(Feature(99))));
    oList.AddAttributeBytes(IntegerRecord(1));
    oList.DeleteAttributesBytes(Feature(12));
    EXPECT_FALSE(oList.IsValidIndexedListIterator(oDeleted));
    oList.SetAttributeBytes(Feature(16), AttributeBytesIntegerValue(160));
    EXPECT_TRUE(oList.GetNextAttributeBytes(oIterator) == IntegerRecord(15));
    EXPECT_TRUE(oList.GetNextAttributeBytes(oIterator) == IntegerRecord(16, 160));
    oList.SetAttributeBytes(Feature(17), AttributeBytesIntegerValue(170));
    EXPECT_FALSE(oList.IsValidIndexedListIterator(oIterator)) << "its record was replaced by another";
}

/// Any sequence of changes leaves the list equal to an ordered map that went through the same.
TEST(AttributeBytesListTest, TheIndexedListBehavesLikeAnOrderedMap) {
    for (const bool fNamed : {false, true}) {
        std::mt19937 random(fNamed ? 7U : 11U);
        AttributeBytesIndexedList oList;
        std::map<LONG, LONG> expected;
        const auto makeId = [fNamed](LONG l) -> std::unique_ptr<AttributeBytesId> {
            if (!fNamed) return std::make_unique<Feature>(l);
            // Alike in all that a key holds, and in the order of the numbers.
            return std::make_unique<AttributeBytesNewFeatureId>(CXString::FormatString(VTEXT("PageFeature%04d"), l));
        };
        const auto check = [&] {
            ASSERT_EQ(oList.GetNumberOfAttributeBytes(), expected.size());
            auto itExpected = expected.begin();
            for (const AttributeBytesSharedPtr& rshpoRecord : oList)
                ASSERT_EQ(AttributeBytesReader::GetIntegerValueFromAttributeBytes(*rshpoRecord), itExpected++->second);
        };
        for (int iStep = 0; iStep < 6000; ++iStep) {
            const LONG l = static_cast<LONG>(random() % 1500);
            const auto apoId = makeId(l);
            const bool fThere = expected.count(l) != 0;
            ASSERT_EQ(oList.GetAttributeBytesPtr(*apoId) != nullptr, fThere);
            const unsigned uAction = random() % (iStep < 3000 ? 4U : 8U);
            const AttributeBytesIntegerValue oValue(static_cast<LONG>(iStep));
            if (uAction < 2 && fThere) {
                ASSERT_THROW(oList.AddAttributeBytes(AttributeBytes(*apoId, oValue)), ExceptionDuplicateAttributeId);
            } else if (uAction < 3) {
                if (uAction < 2) oList.AddAttributeBytes(AttributeBytes(*apoId, oValue));
                oList.SetAttributeBytes(*apoId, oValue);
                expected[l] = static_cast<LONG>(iStep);
            } else {
                oList.DeleteAttributesBytes(*apoId);
                expected.erase(l);
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

// ---- lists in lists ----

TEST(AttributeBytesListTest, SixtyFourLevelsOfListsAreAcceptedAndOneMoreRefused) {
    // Every level can be walked down to and built up again.
    for (const unsigned uDepth : {1U, bounds::MAX_LIST_NESTING, bounds::MAX_LIST_NESTING + 1}) {
        const ByteBuffer bbRecord = NestedListRecord(uDepth);
        ByteBuffer bbState = BufferOf("4142494C 4142524C"), bbRawState = BufferOf("4142524C");
        bbState.append(bbRecord);
        bbRawState.append(bbRecord);
        AttributeBytesIndexedList oList;
        AttributeBytesRawList oRawList, oBuilt;
        if (uDepth > bounds::MAX_LIST_NESTING) {
            using Refusal = ExceptionMissingOrBadAttributeBytesFormat;
            EXPECT_THROW(AttributeBytes{bbRecord}, Refusal);
            EXPECT_THROW(oList.ImportAttributeBytesIndexedListState(bbState), Refusal);
            EXPECT_THROW(oRawList.ImportAttributeBytesRawListState(bbRawState), Refusal);
            continue;
        }
        oList.ImportAttributeBytesIndexedListState(bbState);
        oRawList.ImportAttributeBytesRawListState(bbRawState);
        EXPECT_EQ(oRawList.GetNestingDepth(), uDepth);
        EXPECT_EQ(HexOf(oList.GetAttributeBytesIndexedListState()), HexOf(bbState));
        std::unique_ptr<AttributeBytesIndexedList> apoInner;
        for (unsigned u = 0; u < uDepth; ++u) {
            apoInner = (apoInner ? *apoInner : oList).GetCollection(Feature(1));
            const AttributeBytes oRecord{Feature(1), AttributeBytesListValue(oBuilt)};
            oBuilt.DeleteAllAttributeBytes();
            oBuilt.AddAttributeBytes(oRecord);
        }
        EXPECT_TRUE(apoInner->IsEmpty());
        EXPECT_TRUE(oBuilt == oRawList);
        if (uDepth < bounds::MAX_LIST_NESTING) continue;
        // Around the deepest list that there can be, no further list value can be put.
        AttributeBytesListValue oKept;
        EXPECT_THROW(oKept.SetAttributeBytesRawList(oBuilt), ExceptionMissingOrBadAttributeBytesFormat);
        EXPECT_TRUE(oKept.GetAttributeBytesRawList().IsEmpty());
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
    AttributeBytesRawList oList;
    oList.ImportAttributeBytesRawListState(
        BufferOf("4142524C 0201000000 0B 00 00 1A000000 4142524C 0201000000 03 00 2A000000 FF01000000 03 00 2A000000"
                 " 0202000000 05 00 01"));
    EXPECT_EQ(oList.GetNestingDepth(), 1U);
    AttributeBytesIndexedList oIndexedList;
    oIndexedList.ImportFromRawList(oList);
    EXPECT_TRUE(oIndexedList.GetBooleanValue(Feature(2)));
    const AttributeBytesRawList& rInner =
        static_cast<const AttributeBytesListValue&>(oIndexedList.GetAttributeBytesValue(Feature(1)))
            .GetAttributeBytesRawList();
    AttributeBytesRawListIterator oIterator = rInner.GetRawListIterator();
    EXPECT_TRUE(rInner.GetNextAttributeBytes(oIterator) == IntegerRecord(1, 42));
    EXPECT_THROW(rInner.GetNextAttributeBytes(oIterator), ExceptionUnhandledSyntax);
    EXPECT_EQ(oIterator.GetOffset(), 11U) << "a record that cannot be read does not move the iterator";
    EXPECT_THROW(oIndexedList.GetCollection(Feature(1)), ExceptionUnhandledSyntax);
}

}  // namespace
}  // namespace vlm::test
