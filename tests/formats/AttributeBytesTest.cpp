/// @file
/// Single attribute records: their bytes, their order, and what is refused.
#include "utilities/attributebytes/AttributeBytes.h"

#include <gtest/gtest.h>

#include "formats/AttributeSamples.h"
#include "support/Narrow.h"
#include "support/RecordingSink.h"
#include "utilities/debuggingandexceptions/VelomExceptions.h"

namespace vlm::test {
namespace {

using IdMaker = std::function<std::unique_ptr<AttributeBytesId>()>;
using ValueMaker = std::function<std::unique_ptr<AttributeBytesValue>()>;

struct IdRow {
    const char* pszState;  // tag and payload
    IdMaker make;
    const char* pszDisplay;
};
const IdRow ID_ROWS[] = {
    {"02 02010000", [] { return std::make_unique<AttributeBytesFeatureId>(258); }, "ABIDE_FEATURE: Value=258 (0x102)"},
    {"03 0200 4100 4200", [] { return std::make_unique<AttributeBytesNewFeatureId>(VTEXT("AB")); },
     "ABIDE_NEWFEATURE: Value=AB"},
    {"04 FFFFFFFF", [] { return std::make_unique<AttributeBytesValueId>(-1); }, "ABIDE_VALUE: Value=-1 (0xffffffff)"},
    {"05 0000", [] { return std::make_unique<AttributeBytesNewValueId>(); }, "ABIDE_NEWVALUE: Value="},
    {"06 03000000", [] { return std::make_unique<AttributeBytesListOfValuesItemId>(3); },
     "ABIDE_LISTOFVALUESITEM: index 3"},
    {"07 FEFF 02010000", [] { return std::make_unique<AttributeBytesCapabilityId>(258, std::int16_t{-2}); },
     "ABIDE_CAPABILITY: feature 258 (0x102), type -2 (0xfffffffe)"},
    {"08 0100 0100 5800", [] { return std::make_unique<AttributeBytesNewCapabilityId>(VTEXT("X"), std::int16_t{1}); },
     "ABIDE_NEWCAPABILITY: feature X, type 1 (0x1)"},
    {"09 01000080", [] { return std::make_unique<AttributeBytesNameSpacesId>(-2147483647); },
     "ABIDE_NAMESPACE: Value=-2147483647 (0x80000001)"},
};

struct ValueRow {
    const char* pszState;  // tag, flag and payload
    ValueMaker make;
    const char* pszDisplay;
};

std::unique_ptr<AttributeBytesValue> MakeList() {
    AttributeBytesRawList oRawList;
    oRawList.AddAttributeBytes(IntegerRecord(5, 1));
    return std::make_unique<AttributeBytesListValue>(oRawList, BYTE{7});
}

const ValueRow VALUE_ROWS[] = {
    {"02 00 06 00000000", [] { return std::make_unique<AttributeBytesOptionValue>(); },
     "ABVTE_OPTION: Value=ABIDE_LISTOFVALUESITEM: index 0"},
    {"02 00 05 0100 4100",
     [] { return std::make_unique<AttributeBytesOptionValue>(AttributeBytesNewValueId(VTEXT("A"))); },
     "ABVTE_OPTION: Value=ABIDE_NEWVALUE: Value=A"},
    {"03 00 FFFFFFFF", [] { return std::make_unique<AttributeBytesIntegerValue>(-1); },
     "ABVTE_INTEGER: Value=-1 (0xffffffff)"},
    {"04 00 0200 4100 00D8",
     [] {
         const XCHAR achText[] = {0x41, 0xD800};  // an unpaired surrogate is a unit like any other
         return std::make_unique<AttributeBytesStringValue>(CXString(achText, 2));
     },
     "ABVTE_STRING: Value=A\\xD800"},
    {"05 00 01", [] { return std::make_unique<AttributeBytesBooleanValue>(true); }, "ABVTE_BOOLEAN: Value=true"},
    {"06 00 01000000 FEFFFFFF", [] { return std::make_unique<AttributeBytesRangeValue>(1, -2); },
     "ABVTE_RANGE: Low Value=1 High Value=-2"},
    {"07 00 38630000 20D10600",
     [] {
         return std::make_unique<AttributeBytesRangeOfDimensionValue>(Dimension(1.0, Dimension::DUE_INCHES),
                                                                      Dimension(446.752, Dimension::DUE_MM));
     },
     nullptr},
    {"08 00 38630000",
     [] { return std::make_unique<AttributeBytesDimensionValue>(Dimension(1.0, Dimension::DUE_INCHES)); }, nullptr},
    {"08 00 61010000",
     [] { return std::make_unique<AttributeBytesDimensionValue>(Dimension(1.0, Dimension::DUE_POINTS)); }, nullptr},
    {"08 00 FFFFFFFF",
     [] { return std::make_unique<AttributeBytesDimensionValue>(Dimension(-0.5, Dimension::DUE_THOUSANDTHS_OF_MM)); },
     nullptr},
    {"09 00 B0040000 58020000 0100",
     [] { return std::make_unique<AttributeBytesResolutionValue>(600, 1200, std::int16_t{1}); },
     "ABVTE_RESOLUTION: Cross-Feed Value=600, Feed Value=1200, Units Value=1"},
    {"0A 00 02000000 00FF", [] { return std::make_unique<AttributeBytesDataBlobValue>(BufferOf("00FF")); },
     "ABVTE_DATABLOB: Value is 2 bytes"},
    {"0B 00 07 0F000000 4142524C 02 05000000 03 00 01000000", MakeList,
     "ABVTE_LIST: Value is a list (of type 7 / 0x7)"},
    {"0C 00 FFFFFFFFFFFFFFFF", [] { return std::make_unique<AttributeBytesDateTimeValue>(UtcTime(-1)); },
     "ABVTE_DATETIME: Value=1969-12-31T23:59:59Z"},
    {"0C 00 FFFFFFFFFFFFFF7F",
     [] { return std::make_unique<AttributeBytesDateTimeValue>(UtcTime(0x7FFFFFFFFFFFFFFF)); }, nullptr},
};

TEST(AttributeBytesTest, EveryIdentifierHasItsBytesInBothDirections) {
    for (const IdRow& rRow : ID_ROWS) {
        SCOPED_TRACE(rRow.pszState);
        const std::unique_ptr<AttributeBytesId> apoId = rRow.make();
        const ByteBuffer bbState = BufferOf(rRow.pszState);
        EXPECT_EQ(HexOf(apoId->GetTypeAndIdentifierState()), HexOf(bbState));
        EXPECT_EQ(HexOf(apoId->GetIdentifierState()), HexOf(bbState).substr(2));
        EXPECT_EQ(Narrow(apoId->GetDumpDisplayString(true).View()), rRow.pszDisplay);

        const BYTE* pbyCursor = bbState.data();
        DWORD dwRemaining = bbState.GetLength();
        const auto apoRead = AttributeBytesId::WalkBufferToGetTypeAndCreateIdentifier(pbyCursor, dwRemaining);
        EXPECT_EQ(dwRemaining, 0U);
        EXPECT_TRUE(apoRead->IsEqual(*apoId));
        EXPECT_TRUE(apoRead->Clone()->IsEqual(*apoId));
    }
}

TEST(AttributeBytesTest, EveryValueHasItsBytesInBothDirections) {
    for (const ValueRow& rRow : VALUE_ROWS) {
        SCOPED_TRACE(rRow.pszState);
        const std::unique_ptr<AttributeBytesValue> apoValue = rRow.make();
        ByteBuffer bbState = BufferOf(rRow.pszState);
        EXPECT_EQ(HexOf(apoValue->GetTypeAndValueState()), HexOf(bbState));
        EXPECT_EQ(HexOf(apoValue->GetValueState()), HexOf(bbState).substr(4));
        if (rRow.pszDisplay) {
            EXPECT_EQ(Narrow(apoValue->GetDumpDisplayString(false).View()), rRow.pszDisplay);
        }
        for (const bool fSpecified : {true, false}) {
            bbState[1] = fSpecified ? 0 : 1;
            BYTE* pbyCursor = bbState.data();
            DWORD dwRemaining = bbState.GetLength();
            const auto apoRead = AttributeBytesValue::WalkBufferToGetTypeAndCreateValue(pbyCursor, dwRemaining);
            EXPECT_EQ(dwRemaining, 0U);
            EXPECT_EQ(pbyCursor, bbState.data() + bbState.size());
            EXPECT_EQ(apoRead->IsSpecified(), fSpecified);
            EXPECT_EQ(apoRead->IsEqual(*apoValue), fSpecified) << "the flag takes part in equality";
            EXPECT_EQ(HexOf(apoRead->Clone()->GetTypeAndValueState()), HexOf(bbState));
        }
    }
}

TEST(AttributeBytesTest, ARecordIsTheTwoHalvesWithTheFlagBetween) {
    AttributeBytes oRecord{AttributeBytesFeatureId(5), AttributeBytesBooleanValue(false)};
    oRecord.GetAttributeBytesValue().SetIsSpecified(false);
    EXPECT_EQ(HexOf(oRecord.GetAttributeBytesState()), "0205000000050100");
    ByteBuffer bbAppended = BufferOf("AA");
    oRecord.GetAttributeBytesState(bbAppended);
    EXPECT_EQ(HexOf(bbAppended), "AA0205000000050100");
    EXPECT_EQ(Narrow(oRecord.GetDumpDisplayString(true).View()),
              "ABIDE_FEATURE: Value=5 (0x5); ABVTE_BOOLEAN: Value=false value <unspecified>");

    const AttributeBytes oRead(BufferOf("0205000000050100 FFFF"));  // what is behind the record is not looked at
    EXPECT_TRUE(oRead == oRecord);
    EXPECT_FALSE(oRead == IntegerRecord(5));
}

TEST(AttributeBytesTest, NonCanonicalBytesAreReadAndWrittenCanonically) {
    const AttributeBytes oRecord(BufferOf("02 05000000 05 80 02"));
    EXPECT_FALSE(oRecord.GetAttributeBytesValue().IsSpecified());
    EXPECT_EQ(HexOf(oRecord.GetAttributeBytesState()), "0205000000050101");
}

TEST(AttributeBytesTest, CopiesAreDeepAndAssignmentReplacesBothHalves) {
    AttributeBytes oOriginal = IntegerRecord(1, 10);
    AttributeBytes oCopy(oOriginal);
    static_cast<AttributeBytesIntegerValue&>(oCopy.GetAttributeBytesValue()).SetIntegerValue(11);
    oCopy.SetAttributeBytesId(AttributeBytesValueId(2));
    EXPECT_TRUE(oOriginal == IntegerRecord(1, 10));
    oOriginal = oCopy;
    EXPECT_TRUE(oOriginal == oCopy);
    oOriginal.SetAttributeBytesValue(std::make_unique<AttributeBytesStringValue>(VTEXT("x")));
    EXPECT_EQ(HexOf(oOriginal.GetAttributeBytesState()),
              "040200000004000100"
              "7800");
}

TEST(AttributeBytesTest, IdentifiersAreOrderedByTypeThenByMember) {
    const auto number = [](LONG l) { return std::make_unique<AttributeBytesFeatureId>(l); };
    const auto name = [](const XCHAR* psz, int c) {
        return std::make_unique<AttributeBytesNewFeatureId>(CXString(psz, c));
    };
    const auto capability = [](LONG l, int i) {
        return std::make_unique<AttributeBytesCapabilityId>(l, static_cast<std::int16_t>(i));
    };
    const auto newCapability = [](const XCHAR* psz, int i) {
        return std::make_unique<AttributeBytesNewCapabilityId>(psz, static_cast<std::int16_t>(i));
    };
    const XCHAR achHigh[] = {0xFFFF, 0};
    std::vector<std::unique_ptr<AttributeBytesId>> vapoAscending;
    for (const LONG l : {static_cast<LONG>(-2147483647 - 1), LONG{-1}, LONG{0}, LONG{1}, LONG{2147483647}}) {
        vapoAscending.push_back(number(l));
    }
    vapoAscending.push_back(name(VTEXT(""), 0));
    vapoAscending.push_back(name(VTEXT("\0"), 1));  // a zero unit counts
    vapoAscending.push_back(name(VTEXT("Pag"), 3));
    vapoAscending.push_back(name(VTEXT("Page"), 4));
    vapoAscending.push_back(name(VTEXT("PageA"), 5));
    vapoAscending.push_back(name(VTEXT("PageB"), 5));
    vapoAscending.push_back(name(VTEXT("Pagf"), 4));
    vapoAscending.push_back(name(achHigh, 1));
    vapoAscending.push_back(std::make_unique<AttributeBytesValueId>(-5));
    vapoAscending.push_back(capability(-1, 0x7FFF));
    vapoAscending.push_back(capability(0, -1));
    vapoAscending.push_back(capability(0, 0));
    vapoAscending.push_back(capability(1, -0x8000));
    vapoAscending.push_back(newCapability(VTEXT("Staple"), 1));
    vapoAscending.push_back(newCapability(VTEXT("Staples"), -1));
    vapoAscending.push_back(newCapability(VTEXT("Staples"), 0));
    vapoAscending.push_back(std::make_unique<AttributeBytesNameSpacesId>(-1));
    for (std::size_t i = 0; i < vapoAscending.size(); ++i) {
        for (std::size_t j = 0; j < vapoAscending.size(); ++j) {
            SCOPED_TRACE(std::to_string(i) + " and " + std::to_string(j));
            EXPECT_EQ(vapoAscending[i]->LessThan(*vapoAscending[j]), i < j);
            EXPECT_EQ(vapoAscending[i]->IsEqual(*vapoAscending[j]), i == j);
            const bool bSameType =
                vapoAscending[i]->GetAttributeBytesIdType() == vapoAscending[j]->GetAttributeBytesIdType();
            EXPECT_EQ(*vapoAscending[i] == *vapoAscending[j], bSameType) << "the operators compare types only";
        }
    }
    EXPECT_TRUE(IntegerRecord(1, 9) < IntegerRecord(2, 0));
    EXPECT_FALSE(IntegerRecord(1, 0) < IntegerRecord(1, 9)) << "values take no part in the order of records";
}

TEST(AttributeBytesTest, ValuesAreOrderedByTypeThenByTheirMembersInOrder) {
    const char* const aszAscending[] = {"02 00 04 01000000",
                                        "02 00 06 00000000",
                                        "03 01 FFFFFFFF",
                                        "03 00 FFFFFFFF",
                                        "03 00 00000000",
                                        "04 00 0100 4100",
                                        "04 00 0200 4100 0000",
                                        "05 00 00",
                                        "05 00 01",
                                        "06 00 01000000 05000000",
                                        "06 00 02000000 00000000",
                                        "09 00 01000000 02000000 0000",
                                        "09 00 00000000 03000000 0000",
                                        "0A 00 01000000 FF",
                                        "0A 00 02000000 FF00",
                                        "0B 00 00 04000000 4142524C",
                                        "0B 00 01 04000000 4142524C",
                                        "0C 00 FFFFFFFFFFFFFFFF",
                                        "0C 00 0000000000000000"};
    std::vector<std::unique_ptr<AttributeBytesValue>> vapoValues;
    for (const char* const psz : aszAscending) {
        const ByteBuffer bb = BufferOf(psz);
        const BYTE* pbyCursor = bb.data();
        DWORD dwRemaining = bb.GetLength();
        vapoValues.push_back(AttributeBytesValue::WalkBufferToGetTypeAndCreateValue(pbyCursor, dwRemaining));
    }
    for (std::size_t i = 0; i < vapoValues.size(); ++i) {
        for (std::size_t j = 0; j < vapoValues.size(); ++j) {
            EXPECT_EQ(vapoValues[i]->LessThan(*vapoValues[j]), i < j) << aszAscending[i] << " and " << aszAscending[j];
        }
    }
}

TEST(AttributeBytesTest, TagsWithoutAClassAreRefusedByName) {
    struct Row {
        const char* pszHex;
        const char* pszMessage;
    };
    const Row ROWS[] = {
        {"00 00000000",
         "Unhandled AttributeBytesId type, Unrecognized AttributeBytesIdEnumType of 0 (0x0). You may need "
         "to update GetDebugDisplayString() with a recently added derived class enum type. (0/0x0)."},
        {"01 00000000", "Unhandled AttributeBytesId type, ABIDE_UNSPECIFIED (1/0x1)."},
        {"0A 00000000",
         "Unhandled AttributeBytesId type, Unrecognized AttributeBytesIdEnumType of 10 (0xa). You may need "
         "to update GetDebugDisplayString() with a recently added derived class enum type. (10/0xa)."},
        {"02 05000000 01 00 00", "Unhandled AttributeBytesValue syntax, ABVTE_UNSPECIFIED (1/0x1)."},
        {"02 05000000 0D 00 00",
         "Unhandled AttributeBytesValue syntax, Unrecognized AttributeBytesValueEnumType of 13 (0xd). You may need to "
         "update GetDebugDisplayString() with a recently added derived class enum type. (13/0xd)."},
        {"02 05000000 02 00 01 00000000", "Unhandled AttributeBytesId type, ABIDE_UNSPECIFIED (1/0x1)."},
    };
    for (const Row& rRow : ROWS) {
        SCOPED_TRACE(rRow.pszHex);
        RecordingSink oSink;
        try {
            const AttributeBytes oRecord(BufferOf(rRow.pszHex));
            ADD_FAILURE() << "accepted";
        } catch (const ExceptionUnhandledSyntax& rException) {
            EXPECT_EQ(Narrow(rException.GetExceptionMesage().View()), rRow.pszMessage);
            EXPECT_EQ(oSink.Count("*Throwing* ExceptionUnhandledSyntax: " + std::string(rRow.pszMessage)), 1U);
        }
        const bool bUnspecified = std::string(rRow.pszMessage).find("UNSPECIFIED") != std::string::npos;
        EXPECT_EQ(oSink.Count("Failed Assertion"), bUnspecified ? 1U : 0U);
    }
    RecordingSink oSink;
    EXPECT_EQ(AttributeBytesIdFactory::CreateAttributeBytesId(AttributeBytesId::ABIDE_UNSPECIFIED), nullptr);
    EXPECT_EQ(oSink.Count("(AttributeBytesId::ABIDE_UNSPECIFIED != abideType)"), 1U);
    EXPECT_EQ(
        oSink.Count("The specified type, ABIDE_UNSPECIFIED, doesn't correspond to an AttributeBytesId-derived class!"),
        1U);
    EXPECT_EQ(AttributeBytesValueFactory::CreateAttributeBytesValue(AttributeBytesValue::ABVTE_UNSPECIFIED), nullptr);
    EXPECT_EQ(oSink.Count("(AttributeBytesValue::ABVTE_UNSPECIFIED != abvteValueType)"), 1U);
    EXPECT_EQ(
        oSink.Count(
            "The specified syntax, ABVTE_UNSPECIFIED, doesn't correspond to an AttributeBytesValue-derived class!"),
        1U);
}

TEST(AttributeBytesTest, AnOverlongTextIsCutSoThatItsTailIsNoRecord) {
    for (const int cUnits : {65535, 65536, 65541}) {
        // The tail would read as a record FEATURE 'A'... if count and units disagreed.
        AttributeBytesRawList oList;
        RecordingSink oSink(DebugCategory::AttrBytes);
        const CXString csText(XCHAR(0x0502), cUnits);
        oList.AddAttributeBytes(AttributeBytes(AttributeBytesNewFeatureId(csText), AttributeBytesStringValue(csText)));
        EXPECT_EQ(oList.GetRecordBytes().size(), 3 + 2 * (2 + 2 * 65535U));
        EXPECT_EQ(oSink.Count("does not fit into an attribute record"), cUnits == 65535 ? 0U : 2U);
        EXPECT_TRUE(oList.LengthIsExactlyOne());
        for (const AttributeBytesSharedPtr& rshpoRecord : oList) {
            const auto& rValue = static_cast<const AttributeBytesStringValue&>(rshpoRecord->GetAttributeBytesValue());
            EXPECT_EQ(rValue.GetStringValue().GetLength(), 65535);
        }
    }
}

TEST(AttributeBytesTest, NullHalvesAreReportedAndReplaced) {
    RecordingSink oSink;
    AttributeBytes oRecord(nullptr, std::unique_ptr<AttributeBytesValue>());
    EXPECT_EQ(HexOf(oRecord.GetAttributeBytesState()), "0200000000030100000000");
    oRecord.SetAttributeBytesId(nullptr);
    oRecord.SetAttributeBytesValue(nullptr);
    AttributeBytesOptionValue oOption(std::unique_ptr<AttributeBytesId>{});
    EXPECT_EQ(oOption.GetListOfValuesItemIdValue().GetIndexValue(), 0);
    EXPECT_EQ(oSink.Count("Failed Condition"), 4U);
}

}  // namespace
}  // namespace vlm::test
