/// @file
/// Typed look-ups: what each expects, what each answers, and how each refuses.
#include "utilities/attributebytes/AttributeBytesReader.h"

#include <gtest/gtest.h>

#include "formats/AttributeSamples.h"
#include "support/RecordingSink.h"
#include "utilities/debuggingandexceptions/VelomExceptions.h"

namespace vlm::test {
namespace {

using Id = AttributeBytesFeatureId;

/// A list with a value of every kind; the feature numbers are the value tags, options follow from 20 on.
AttributeBytesIndexedList MakeSettings() {
    using Option = AttributeBytesOptionValue;
    const AttributeBytesDimensionValue oWidth(Dimension(210.0, Dimension::DUE_MM));
    const AttributeBytesDimensionValue oHeight(Dimension(297.0, Dimension::DUE_MM));
    AttributeBytesIndexedList oList;
    oList.SetAttributeBytes(Id(2), Option(AttributeBytesValueId(77)));
    oList.SetAttributeBytes(Id(3), AttributeBytesIntegerValue(-3));
    oList.SetAttributeBytes(Id(4), AttributeBytesStringValue(VTEXT("text")));
    oList.SetAttributeBytes(Id(5), AttributeBytesBooleanValue(true));
    oList.SetAttributeBytes(Id(6), AttributeBytesRangeValue(1, 9));
    oList.SetAttributeBytes(Id(8), oWidth);
    oList.SetAttributeBytes(Id(10), AttributeBytesDataBlobValue(BufferOf("0102")));
    oList.SetAttributeBytes(Id(12), AttributeBytesDateTimeValue(UtcTime(1709209800)));
    oList.SetAttributeBytes(Id(20), Option(AttributeBytesNewValueId(VTEXT("Named"))));
    oList.SetAttributeBytes(Id(21), Option(AttributeBytesCapabilityId(1, 2)));
    oList.SetAttributeBytes(Id(30), ListOf(Option(AttributeBytesValueId(5)), Option(AttributeBytesValueId(6))));
    oList.SetAttributeBytes(Id(31), ListOf(AttributeBytesRangeValue(1, 2), AttributeBytesRangeValue(3, 4)));
    oList.SetAttributeBytes(Id(32), ListOf(oWidth, oHeight, AttributeBytesBooleanValue()));
    oList.SetAttributeBytes(Id(33),
                            ListOf(ListOf(AttributeBytesIntegerValue(1)), ListOf(AttributeBytesIntegerValue(2))));
    oList.SetAttributeBytes(Id(34), ListOf(Option(Id(258)), Option(Id(12))));
    oList.SetAttributeBytes(Id(35), AttributeBytesListValue());
    return oList;
}

TEST(AttributeBytesReaderTest, EveryGetterAnswersItsKind) {
    const AttributeBytesIndexedList oList = MakeSettings();
    EXPECT_EQ(oList.GetOptionValue(Id(2)), 77);
    EXPECT_EQ(oList.GetIntegerValue(Id(3)), -3);
    EXPECT_EQ(Narrow(oList.GetStringValue(Id(4)).View()), "text");
    EXPECT_TRUE(oList.GetBooleanValue(Id(5)));
    EXPECT_EQ(HexOf(oList.GetDataBlobValue(Id(10))), "0102");
    EXPECT_EQ(oList.GetDateTimeValue(Id(12)).GetSeconds(), 1709209800);
    EXPECT_TRUE(oList.GetDimensionValue(Id(8)) == Dimension(210000.0, Dimension::DUE_THOUSANDTHS_OF_MM));
    EXPECT_EQ(Narrow(oList.GetNewOptionValueId(Id(20)).View()), "Named");
    EXPECT_TRUE(oList.GetOptionValueOrNewId(Id(2))->IsEqual(AttributeBytesValueId(77)));
    EXPECT_TRUE(oList.GetOptionValueOrNewIdByAnyId(Id(20))->IsEqual(AttributeBytesNewValueId(VTEXT("Named"))));
    EXPECT_EQ(oList.GetOptionValueByIndex(Id(30), 1), 6);
    LONG lLow = 0, lHigh = 0;
    oList.GetRangeOfIntegerValue(Id(6), lLow, lHigh);
    EXPECT_TRUE(lLow == 1 && lHigh == 9);
    oList.GetRangeOfIntegerValueByIndex(Id(31), 1, lLow, lHigh);
    EXPECT_TRUE(lLow == 3 && lHigh == 4);
    Dimension oWidth, oHeight;
    oList.GetPaperSizeValues(Id(32), oWidth, oHeight);
    EXPECT_TRUE(oWidth == Dimension(210.0, Dimension::DUE_MM) && oHeight == Dimension(297.0, Dimension::DUE_MM));
    EXPECT_EQ(oList.GetCollection(Id(30))->GetOptionValue(AttributeBytesListOfValuesItemId(0)), 5);
    EXPECT_EQ(oList.GetCollectionByIndex(Id(33), 1)->GetIntegerValue(AttributeBytesListOfValuesItemId(0)), 2);
    EXPECT_EQ(oList.GetListOfValues(Id(32)).size(), 3U);
    EXPECT_EQ(oList.GetListOfFeatures(Id(34)), (std::vector<LONG>{258, 12}));
    const AttributeBytes& rEmpty = oList.GetAttributeBytesRef(Id(35));
    EXPECT_TRUE(AttributeBytesReader::IsAttributeBytesListEmpty(rEmpty));
    EXPECT_FALSE(AttributeBytesReader::IsAttributeBytesListEmpty(oList.GetAttributeBytesRef(Id(34))));
    EXPECT_TRUE(AttributeBytesReader::IsSpecifiedInAttributeBytes(rEmpty));
    EXPECT_EQ(AttributeBytesReader::GetValueTypeFromAttributeBytes(rEmpty), AttributeBytesValue::ABVTE_LIST);
}

TEST(AttributeBytesReaderTest, AValueOfAnotherKindIsRefusedWithItsText) {
    const AttributeBytesIndexedList oList = MakeSettings();
    LONG l = 0;
    const auto other = [](const char* pszExpected) {
        return std::string("Feature ABIDE_FEATURE: Value=3 (0x3) is not the expected ") + pszExpected +
               " feature, it is ABVTE_INTEGER.";
    };
    const std::string wanted = " The feature we wanted to convert is ABIDE_FEATURE: Value=";
    const AttributeBytesOptionValue oOption;
    const struct {
        std::function<void()> get;
        std::string message;
    } aoRows[] = {
        {[&] { oList.GetOptionValue(Id(3)); }, other("ABVTE_OPTION")},
        {[&] { oList.GetRangeOfIntegerValue(Id(3), l, l); }, other("ABVTE_RANGE")},
        {[&] { oList.GetOptionValue(Id(20)); },
         "The value assigned is NOT an AttributeBytesValueId." + wanted + "20 (0x14)."},
        {[&] { oList.GetNewOptionValueId(Id(2)); },
         "The value assigned is NOT an AttributeBytesNewValueId." + wanted + "2 (0x2)."},
        {[&] { oList.GetOptionValueOrNewId(Id(21)); },
         "The value assigned is NOT an AttributeBytesNewValueId or a AttributeBytesValueId." + wanted + "21 (0x15)."},
        {[&] { oList.GetListOfFeatures(Id(30)); },
         "The value assigned is NOT an AttributeBytesFeatureId. The feature we wanted to convert is "
         "ABIDE_LISTOFVALUESITEM: index 0."},
        {[&] { oList.GetCollection(Id(3)); }, "Can't convert a 'ABVTE_INTEGER' object to an AttributeBytesListValue!"},
        {[&] { oOption.GetNewFeatureIdValue(); },
         "The AttributeBytesId value is of a different type (ABIDE_LISTOFVALUESITEM) than expected by this method."},
    };
    for (const auto& rRow : aoRows)
        EXPECT_EQ(MessageOf<ExceptionAttributeValueTypeMismatch>(rRow.get), rRow.message);
}

/// A list that loses its records between two walks.
class FleetingList : public AttributeBytesRawList {
public:
    bool IsValid(const AttributeBytesListIterator& rIterator) const override {
        return ++m_iAsked <= 2 && AttributeBytesRawList::IsValid(rIterator);
    }

private:
    mutable int m_iAsked = 0;
};

TEST(AttributeBytesReaderTest, AnAbsentIdentifierAndAnIndexOutsideAreRefused) {
    const AttributeBytesIndexedList oList = MakeSettings();
    EXPECT_EQ(MessageOf<ExceptionFeatureNotFound>([&] { oList.GetIntegerValue(Id(99)); }),
              "Request for a non-existent attribute (ABIDE_FEATURE: Value=99 (0x63))! Consider using the 'xxxPtr' "
              "method, instead, and check the return code.");
    for (const LONG lIndex : {-1, 2}) {
        EXPECT_EQ(MessageOf<ExceptionIndexOutOfBounds>([&] { oList.GetOptionValueByIndex(Id(30), lIndex); }),
                  "Invalid index (" + std::to_string(lIndex) + ") supplied! There are only 2 items.");
    }
    FleetingList oFleeting;
    oFleeting.AddAttributeBytes(IntegerRecord(1));
    EXPECT_EQ(MessageOf<ExceptionIndexOutOfBounds>([&] { oFleeting.GetAttributeBytesByIndex(0); }),
              "Somehow the iterator that resulted from walking the list by the specified number of elements is "
              "invalid!");
    Dimension oWidth(1.0, Dimension::DUE_MM), oHeight(2.0, Dimension::DUE_MM);
    EXPECT_THROW(oList.GetPaperSizeValues(Id(35), oWidth, oHeight), ExceptionIndexOutOfBounds);
    EXPECT_TRUE(oWidth == Dimension(1.0, Dimension::DUE_MM)) << "nothing is answered by halves";
}

}  // namespace
}  // namespace vlm::test
