/// @file
/// Single attribute records: their bytes, their order, and what is refused.
#include "utilities/attributebytes/AttributeBytes.h"

#include <gtest/gtest.h>

#include "formats/AttributeSamples.h"
#include "support/RecordingSink.h"
#include "utilities/debuggingandexceptions/VelomExceptions.h"

namespace vlm::test {
namespace {

std::unique_ptr<AttributeBytesId> ReadId(const ByteBuffer& rbbState) {
    const BYTE* pbyCursor = rbbState.data();
    DWORD dwRemaining = rbbState.GetLength();
    auto apoId = AttributeBytesId::WalkBufferToGetTypeAndCreateIdentifier(pbyCursor, dwRemaining);
    EXPECT_EQ(dwRemaining, 0U);
    return apoId;
}

std::unique_ptr<AttributeBytesValue> ReadValue(const ByteBuffer& rbbState) {
    ByteBuffer bbWritable(rbbState);
    BYTE* pbyCursor = bbWritable.data();
    DWORD dwRemaining = bbWritable.GetLength();
    auto apoValue = AttributeBytesValue::WalkBufferToGetTypeAndCreateValue(pbyCursor, dwRemaining);
    EXPECT_EQ(dwRemaining, 0U);
    EXPECT_EQ(pbyCursor, bbWritable.data() + bbWritable.size());
    return apoValue;
}

TEST(AttributeBytesTest, EveryIdentifierHasItsBytesInBothDirections) {
    const struct {
        const char* pszState;  // tag and payload
        std::shared_ptr<AttributeBytesId> shpoId;
        const char* pszDisplay;
    } aoRows[] = {
        {"02 02010000", std::make_shared<AttributeBytesFeatureId>(258), "ABIDE_FEATURE: Value=258 (0x102)"},
        {"03 0200 4100 4200", std::make_shared<AttributeBytesNewFeatureId>(VTEXT("AB")), "ABIDE_NEWFEATURE: Value=AB"},
        {"04 FFFFFFFF", std::make_shared<AttributeBytesValueId>(-1), "ABIDE_VALUE: Value=-1 (0xffffffff)"},
        {"05 0000", std::make_shared<AttributeBytesNewValueId>(), "ABIDE_NEWVALUE: Value="},
        {"06 03000000", std::make_shared<AttributeBytesListOfValuesItemId>(3), "ABIDE_LISTOFVALUESITEM: index 3"},
        {"07 FEFF 02010000", std::make_shared<AttributeBytesCapabilityId>(258, std::int16_t{-2}),
         "ABIDE_CAPABILITY: feature 258 (0x102), type -2 (0xfffffffe)"},
        {"08 0100 0100 5800", std::make_shared<AttributeBytesNewCapabilityId>(VTEXT("X"), std::int16_t{1}),
         "ABIDE_NEWCAPABILITY: feature X, type 1 (0x1)"},
        {"09 01000080", std::make_shared<AttributeBytesNameSpacesId>(-2147483647),
         "ABIDE_NAMESPACE: Value=-2147483647 (0x80000001)"},
    };
    for (const auto& rRow : aoRows) {
        SCOPED_TRACE(rRow.pszState);
        const ByteBuffer bbState = BufferOf(rRow.pszState);
        EXPECT_EQ(HexOf(rRow.shpoId->GetTypeAndIdentifierState()), HexOf(bbState));
        EXPECT_EQ(HexOf(rRow.shpoId->GetIdentifierState()), HexOf(bbState).substr(2));
        EXPECT_EQ(Narrow(rRow.shpoId->GetDumpDisplayString(true).View()), rRow.pszDisplay);
        EXPECT_TRUE(ReadId(bbState)->Clone()->IsEqual(*rRow.shpoId));
    }
}

TEST(AttributeBytesTest, EveryValueHasItsBytesInBothDirections) {
    AttributeBytesRawList oRawList;
    oRawList.AddAttributeBytes(IntegerRecord(5, 1));
    const XCHAR achLone[] = {0x41, 0xD800};  // an unpaired surrogate is a unit like any other
    const Dimension oInch(1.0, Dimension::DUE_INCHES);
    const struct {
        const char* pszState;  // tag, flag and payload
        std::shared_ptr<AttributeBytesValue> shpoValue;
        const char* pszDisplay;
    } aoRows[] = {
        {"02 00 06 00000000", std::make_shared<AttributeBytesOptionValue>(),
         "ABVTE_OPTION: Value=ABIDE_LISTOFVALUESITEM: index 0"},
        {"02 00 05 0100 4100", std::make_shared<AttributeBytesOptionValue>(AttributeBytesNewValueId(VTEXT("A"))),
         "ABVTE_OPTION: Value=ABIDE_NEWVALUE: Value=A"},
        {"03 00 FFFFFFFF", std::make_shared<AttributeBytesIntegerValue>(-1), "ABVTE_INTEGER: Value=-1 (0xffffffff)"},
        {"04 00 0200 4100 00D8", std::make_shared<AttributeBytesStringValue>(CXString(achLone, 2)),
         "ABVTE_STRING: Value=A\\xD800"},
        {"05 00 01", std::make_shared<AttributeBytesBooleanValue>(true), "ABVTE_BOOLEAN: Value=true"},
        {"06 00 01000000 FEFFFFFF", std::make_shared<AttributeBytesRangeValue>(1, -2),
         "ABVTE_RANGE: Low Value=1 High Value=-2"},
        {"07 00 38630000 20D10600",
         std::make_shared<AttributeBytesRangeOfDimensionValue>(oInch, Dimension(446.752, Dimension::DUE_MM)), nullptr},
        {"08 00 38630000", std::make_shared<AttributeBytesDimensionValue>(oInch), nullptr},
        {"08 00 FFFFFFFF",
         std::make_shared<AttributeBytesDimensionValue>(Dimension(-0.5, Dimension::DUE_THOUSANDTHS_OF_MM)), nullptr},
        {"09 00 B0040000 58020000 0100", std::make_shared<AttributeBytesResolutionValue>(600, 1200, std::int16_t{1}),
         "ABVTE_RESOLUTION: Cross-Feed Value=600, Feed Value=1200, Units Value=1"},
        {"0A 00 02000000 00FF", std::make_shared<AttributeBytesDataBlobValue>(BufferOf("00FF")),
         "ABVTE_DATABLOB: Value is 2 bytes"},
        {"0B 00 07 0F000000 4142524C 02 05000000 03 00 01000000",
         std::make_shared<AttributeBytesListValue>(oRawList, BYTE{7}), "ABVTE_LIST: Value is a list (of type 7 / 0x7)"},
        {"0C 00 FFFFFFFFFFFFFFFF", std::make_shared<AttributeBytesDateTimeValue>(UtcTime(-1)),
         "ABVTE_DATETIME: Value=1969-12-31T23:59:59Z"},
        {"0C 00 FFFFFFFFFFFFFF7F", std::make_shared<AttributeBytesDateTimeValue>(UtcTime(0x7FFFFFFFFFFFFFFF)), nullptr},
    };
    const AttributeBytesRangeOfDimensionValue oRange(oInch, Dimension(-0.5, Dimension::DUE_THOUSANDTHS_OF_MM));
    EXPECT_EQ(AttributeBytesDimensionValue(oInch).GetThousandthsOfMillimetre(), 25400);
    EXPECT_EQ(oRange.GetLowInThousandthsOfMillimetre() + oRange.GetHighInThousandthsOfMillimetre(), 25399);
    for (const auto& rRow : aoRows) {
        SCOPED_TRACE(rRow.pszState);
        ByteBuffer bbState = BufferOf(rRow.pszState);
        EXPECT_EQ(HexOf(rRow.shpoValue->GetTypeAndValueState()), HexOf(bbState));
        EXPECT_EQ(HexOf(rRow.shpoValue->GetValueState()), HexOf(bbState).substr(4));
        if (rRow.pszDisplay) {
            EXPECT_EQ(Narrow(rRow.shpoValue->GetDumpDisplayString(false).View()), rRow.pszDisplay);
        }
        for (const bool fSpecified : {true, false}) {
            bbState[1] = fSpecified ? 0 : 1;
            const auto apoRead = ReadValue(bbState);
            EXPECT_EQ(apoRead->IsSpecified(), fSpecified);
            EXPECT_EQ(apoRead->IsEqual(*rRow.shpoValue), fSpecified) << "the flag takes part in equality";
            EXPECT_EQ(HexOf(apoRead->Clone()->GetTypeAndValueState()), HexOf(bbState));
        }
    }
}

TEST(AttributeBytesTest, ARecordIsTheTwoHalvesWithTheFlagBetween) {
    AttributeBytes oRecord{AttributeBytesFeatureId(5), AttributeBytesBooleanValue(false)};
    oRecord.GetAttributeBytesValue().SetIsSpecified(false);
    ByteBuffer bbAppended = BufferOf("AA");
    oRecord.GetAttributeBytesState(bbAppended);
    EXPECT_EQ(HexOf(bbAppended), "AA0205000000050100");
    EXPECT_EQ(Narrow(oRecord.GetDumpDisplayString(true).View()),
              "ABIDE_FEATURE: Value=5 (0x5); ABVTE_BOOLEAN: Value=false value <unspecified>");
    AttributeBytes oRead(BufferOf("0205000000050100 FFFF"));  // what is behind the record is not looked at
    EXPECT_TRUE(oRead == oRecord);
    // Copies are deep, and what is not canonical is written so.
    oRead.ImportAttributeBytesState(BufferOf("02 05000000 05 80 02"));
    const AttributeBytes oCopy(oRead);
    oRead.SetAttributeBytesId(AttributeBytesValueId(2));
    static_cast<AttributeBytesBooleanValue&>(oRead.GetAttributeBytesValue()).SetBooleanValue(false);
    EXPECT_EQ(HexOf(oCopy.GetAttributeBytesState()), "0205000000050101");
    EXPECT_EQ(HexOf(oRead.GetAttributeBytesState()), "0402000000050100");
    oRead = oCopy;
    EXPECT_TRUE(oRead == oCopy);
    // Null halves are reported and replaced, or change nothing.
    RecordingSink oSink;
    AttributeBytes oNull(nullptr, std::unique_ptr<AttributeBytesValue>());
    oNull.SetAttributeBytesId(nullptr);
    oNull.SetAttributeBytesValue(nullptr);
    EXPECT_EQ(HexOf(oNull.GetAttributeBytesState()), "0200000000030100000000");
    const AttributeBytesOptionValue oOption(std::unique_ptr<AttributeBytesId>{});
    EXPECT_EQ(oOption.GetListOfValuesItemIdValue().GetIndexValue(), 0);
    EXPECT_EQ(oSink.Count("Failed Condition"), 4U);
}

TEST(AttributeBytesTest, IdentifiersAreOrderedByTypeThenByMember) {
    // Names: "", a zero unit, "Pag", "Page", "PageA", "PageB", "Pagf", U+FFFF; capabilities: "Staple", "Staples".
    const std::vector<std::string> vStates = Split(
        "02 00000080|02 FFFFFFFF|02 00000000|02 FFFFFF7F|03 0000|03 0100 0000|03 0300 500061006700|"
        "03 0400 5000610067006500|03 0500 50006100670065004100|03 0500 50006100670065004200|"
        "03 0400 5000610067006600|03 0100 FFFF|04 FBFFFFFF|07 FF7F FFFFFFFF|07 FFFF 00000000|07 0000 00000000|"
        "07 0080 01000000|08 0100 0600 53007400610070006C006500|08 FFFF 0700 53007400610070006C0065007300|"
        "08 0000 0700 53007400610070006C0065007300|09 FFFFFFFF");
    for (std::size_t i = 0; i < vStates.size(); ++i) {
        for (std::size_t j = 0; j < vStates.size(); ++j) {
            SCOPED_TRACE(vStates[i] + " and " + vStates[j]);
            const auto apoLeft = ReadId(BufferOf(vStates[i])), apoRight = ReadId(BufferOf(vStates[j]));
            EXPECT_EQ(apoLeft->LessThan(*apoRight), i < j);
            EXPECT_EQ(apoLeft->IsEqual(*apoRight), i == j);
            EXPECT_EQ(*apoLeft == *apoRight, vStates[i][1] == vStates[j][1]) << "the operators compare types only";
        }
    }
    EXPECT_TRUE(IntegerRecord(1, 9) < IntegerRecord(2, 0));
    EXPECT_FALSE(IntegerRecord(1, 0) < IntegerRecord(1, 9)) << "values take no part in the order of records";
}

TEST(AttributeBytesTest, ValuesAreOrderedByTypeThenByTheirMembersInOrder) {
    const std::vector<std::string> vStates = Split(
        "02 00 04 01000000|02 00 06 00000000|03 01 FFFFFFFF|03 00 FFFFFFFF|03 00 00000000|04 00 0100 4100|"
        "04 00 0200 4100 0000|05 00 00|06 00 01000000 05000000|06 00 02000000 00000000|"
        "09 00 01000000 02000000 0000|09 00 00000000 03000000 0000|0A 00 01000000 FF|0A 00 02000000 FF00|"
        "0B 00 00 04000000 4142524C|0B 00 01 04000000 4142524C|0C 00 FFFFFFFFFFFFFFFF|0C 00 0000000000000000");
    for (std::size_t i = 0; i < vStates.size(); ++i) {
        for (std::size_t j = 0; j < vStates.size(); ++j) {
            EXPECT_EQ(ReadValue(BufferOf(vStates[i]))->LessThan(*ReadValue(BufferOf(vStates[j]))), i < j)
                << vStates[i] << " and " << vStates[j];
        }
    }
}

TEST(AttributeBytesTest, TagsWithoutAClassAreRefusedByName) {
    const std::string update =
        "You may need to update GetDebugDisplayString() with a recently added derived class "
        "enum type. ";
    const struct {
        const char* pszHex;
        std::string message;
        const char* pszAssertion;
    } aoRows[] = {
        {"00 00000000",
         "Unhandled AttributeBytesId type, Unrecognized AttributeBytesIdEnumType of 0 (0x0). " + update + "(0/0x0).",
         nullptr},
        {"02 05000000 02 00 01 00000000", "Unhandled AttributeBytesId type, ABIDE_UNSPECIFIED (1/0x1).",
         "The specified type, ABIDE_UNSPECIFIED, doesn't correspond to an AttributeBytesId-derived class!"},
        {"0A 00000000",
         "Unhandled AttributeBytesId type, Unrecognized AttributeBytesIdEnumType of 10 (0xa). " + update + "(10/0xa).",
         nullptr},
        {"02 05000000 01 00 00", "Unhandled AttributeBytesValue syntax, ABVTE_UNSPECIFIED (1/0x1).",
         "The specified syntax, ABVTE_UNSPECIFIED, doesn't correspond to an AttributeBytesValue-derived class!"},
        {"02 05000000 0D 00 00",
         "Unhandled AttributeBytesValue syntax, Unrecognized AttributeBytesValueEnumType of 13 (0xd). " + update +
             "(13/0xd).",
         nullptr},
    };
    for (const auto& rRow : aoRows) {
        SCOPED_TRACE(rRow.pszHex);
        RecordingSink oSink;
        AttributeBytes oRecord = IntegerRecord(1, 2);
        EXPECT_EQ(
            MessageOf<ExceptionUnhandledSyntax>([&] { oRecord.ImportAttributeBytesState(BufferOf(rRow.pszHex)); }),
            rRow.message);
        EXPECT_TRUE(oRecord == IntegerRecord(1, 2));
        EXPECT_EQ(oSink.Count("*Throwing* ExceptionUnhandledSyntax: " + rRow.message), 1U);
        EXPECT_EQ(oSink.Count("Failed Assertion"), rRow.pszAssertion ? 1U : 0U);
        if (!rRow.pszAssertion) continue;
        EXPECT_EQ(oSink.Count(rRow.pszAssertion), 1U);
        EXPECT_EQ(oSink.Count("(AttributeBytesId::ABIDE_UNSPECIFIED != abideType)") +
                      oSink.Count("(AttributeBytesValue::ABVTE_UNSPECIFIED != abvteValueType)"),
                  1U);
    }
    EXPECT_EQ(AttributeBytesIdFactory::CreateAttributeBytesId(AttributeBytesId::ABIDE_UNSPECIFIED), nullptr);
    EXPECT_EQ(AttributeBytesValueFactory::CreateAttributeBytesValue(AttributeBytesValue::ABVTE_UNSPECIFIED), nullptr);
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
    }
}

}  // namespace
}  // namespace vlm::test
