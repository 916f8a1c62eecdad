/// @file
/// Typed look-ups: what each expects, what each answers, and how each refuses.
#include "utilities/attributebytes/AttributeBytesReader.h"

#include <gtest/gtest.h>

#include "formats/AttributeSamples.h"
#include "support/Narrow.h"
#include "support/RecordingSink.h"
#include "utilities/debuggingandexceptions/VelomExceptions.h"

namespace vlm::test {
namespace {

using Id = AttributeBytesFeatureId;

AttributeBytesListValue ListOf(const std::vector<std::unique_ptr<AttributeBytesValue>>& rvapoValues) {
    AttributeBytesRawList oRawList;
    LONG lIndex = 0;
    for (const auto& rapoValue : rvapoValues) {
        oRawList.AddAttributeBytes(AttributeBytes(AttributeBytesListOfValuesItemId(lIndex++), *rapoValue));
    }
    return AttributeBytesListValue(oRawList);
}
template <class... Values>
AttributeBytesListValue ListOf(const Values&... values) {
    std::vector<std::unique_ptr<AttributeBytesValue>> vapoValues;
    (vapoValues.push_back(values.Clone()), ...);
    return ListOf(vapoValues);
}

/// A list with a value of every kind; the feature numbers are the value tags, options follow from 20 on.
AttributeBytesIndexedList MakeSettings() {
    const Dimension oWidth(210.0, Dimension::DUE_MM);
    const Dimension oHeight(297.0, Dimension::DUE_MM);
    AttributeBytesIndexedList oList;
    oList.SetAttributeBytes(Id(2), AttributeBytesOptionValue(AttributeBytesValueId(77)));
    oList.SetAttributeBytes(Id(3), AttributeBytesIntegerValue(-3));
    oList.SetAttributeBytes(Id(4), AttributeBytesStringValue(VTEXT("text")));
    oList.SetAttributeBytes(Id(5), AttributeBytesBooleanValue(true));
    oList.SetAttributeBytes(Id(6), AttributeBytesRangeValue(1, 9));
    oList.SetAttributeBytes(Id(8), AttributeBytesDimensionValue(oWidth));
    oList.SetAttributeBytes(Id(10), AttributeBytesDataBlobValue(BufferOf("0102")));
    oList.SetAttributeBytes(Id(12), AttributeBytesDateTimeValue(UtcTime(1709209800)));
    oList.SetAttributeBytes(Id(20), AttributeBytesOptionValue(AttributeBytesNewValueId(VTEXT("Named"))));
    oList.SetAttributeBytes(Id(21), AttributeBytesOptionValue(AttributeBytesCapabilityId(1, 2)));
    oList.SetAttributeBytes(Id(30), ListOf(AttributeBytesOptionValue(AttributeBytesValueId(5)),
                                           AttributeBytesOptionValue(AttributeBytesValueId(6))));
    oList.SetAttributeBytes(Id(31), ListOf(AttributeBytesRangeValue(1, 2), AttributeBytesRangeValue(3, 4)));
    oList.SetAttributeBytes(Id(32), ListOf(AttributeBytesDimensionValue(oWidth), AttributeBytesDimensionValue(oHeight),
                                           AttributeBytesBooleanValue()));
    oList.SetAttributeBytes(Id(33),
                            ListOf(ListOf(AttributeBytesIntegerValue(1)), ListOf(AttributeBytesIntegerValue(2))));
    oList.SetAttributeBytes(Id(34), ListOf(AttributeBytesOptionValue(Id(258)), AttributeBytesOptionValue(Id(12))));
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
    LONG lLow = 0;
    LONG lHigh = 0;
    oList.GetRangeOfIntegerValue(Id(6), lLow, lHigh);
    EXPECT_EQ((std::pair{lLow, lHigh}), (std::pair<LONG, LONG>{1, 9}));
    oList.GetRangeOfIntegerValueByIndex(Id(31), 1, lLow, lHigh);
    EXPECT_EQ((std::pair{lLow, lHigh}), (std::pair<LONG, LONG>{3, 4}));
    Dimension oWidth;
    Dimension oHeight;
    oList.GetPaperSizeValues(Id(32), oWidth, oHeight);
    EXPECT_TRUE(oWidth == Dimension(21.0 * 10, Dimension::DUE_MM) && oHeight == Dimension(297.0, Dimension::DUE_MM));
    EXPECT_EQ(oList.GetCollection(Id(30))->GetOptionValue(AttributeBytesListOfValuesItemId(0)), 5);
    EXPECT_EQ(oList.GetCollectionByIndex(Id(33), 1)->GetIntegerValue(AttributeBytesListOfValuesItemId(0)), 2);
    EXPECT_EQ(oList.GetListOfValues(Id(32)).size(), 3U);
    EXPECT_EQ(oList.GetListOfFeatures(Id(34)), (std::vector<LONG>{258, 12}));
    EXPECT_TRUE(oList.GetCollection(Id(35))->IsEmpty());
    EXPECT_TRUE(oList.GetAttributeBytesValue(Id(3)).IsEqual(AttributeBytesIntegerValue(-3)));
    EXPECT_TRUE(AttributeBytesReader::IsAttributeBytesListEmpty(oList.GetAttributeBytesRef(Id(35))));
    EXPECT_FALSE(AttributeBytesReader::IsAttributeBytesListEmpty(oList.GetAttributeBytesRef(Id(34))));
    EXPECT_TRUE(AttributeBytesReader::IsSpecifiedInAttributeBytes(oList.GetAttributeBytesRef(Id(3))));
    EXPECT_EQ(AttributeBytesReader::GetValueTypeFromAttributeBytes(oList.GetAttributeBytesRef(Id(35))),
              AttributeBytesValue::ABVTE_LIST);
}

using Getter = std::function<void(const AttributeBytesIndexedList&, const Id&)>;

TEST(AttributeBytesReaderTest, AValueOfAnotherKindIsRefusedWithItsText) {
    const AttributeBytesIndexedList oList = MakeSettings();
    LONG l = 0;
    Dimension o;
    struct Row {
        LONG lFeature;
        Getter get;
        std::string message;
    };
    const auto other = [](LONG lFeature, const char* pszExpected, const char* pszFound) {
        const std::string number = std::to_string(lFeature);
        CXString csHex;
        csHex.Format(VTEXT("%lx"), lFeature);
        return "Feature ABIDE_FEATURE: Value=" + number + " (0x" + Narrow(csHex.View()) + ") is not the expected " +
               pszExpected + " feature, it is " + pszFound + ".";
    };
    const std::string wanted = " The feature we wanted to convert is ABIDE_FEATURE: Value=";
    const std::string noList = "Can't convert a 'ABVTE_INTEGER' object to an AttributeBytesListValue!";
    const Row ROWS[] = {
        {4, [](auto& r, auto& id) { r.GetIntegerValue(id); }, other(4, "ABVTE_INTEGER", "ABVTE_STRING")},
        {3, [](auto& r, auto& id) { r.GetStringValue(id); }, other(3, "ABVTE_STRING", "ABVTE_INTEGER")},
        {3, [](auto& r, auto& id) { r.GetBooleanValue(id); }, other(3, "ABVTE_BOOLEAN", "ABVTE_INTEGER")},
        {3, [](auto& r, auto& id) { r.GetDimensionValue(id); }, other(3, "ABVTE_DIMENSION", "ABVTE_INTEGER")},
        {3, [](auto& r, auto& id) { r.GetDataBlobValue(id); }, other(3, "ABVTE_DATABLOB", "ABVTE_INTEGER")},
        {3, [](auto& r, auto& id) { r.GetDateTimeValue(id); }, other(3, "ABVTE_DATETIME", "ABVTE_INTEGER")},
        {3, [](auto& r, auto& id) { r.GetOptionValue(id); }, other(3, "ABVTE_OPTION", "ABVTE_INTEGER")},
        {3, [&](auto& r, auto& id) { r.GetRangeOfIntegerValue(id, l, l); }, other(3, "ABVTE_RANGE", "ABVTE_INTEGER")},
        {20, [](auto& r, auto& id) { r.GetOptionValue(id); },
         "The value assigned is NOT an AttributeBytesValueId." + wanted + "20 (0x14)."},
        {2, [](auto& r, auto& id) { r.GetNewOptionValueId(id); },
         "The value assigned is NOT an AttributeBytesNewValueId." + wanted + "2 (0x2)."},
        {21, [](auto& r, auto& id) { r.GetOptionValueOrNewId(id); },
         "The value assigned is NOT an AttributeBytesNewValueId or a AttributeBytesValueId." + wanted + "21 (0x15)."},
        {30, [](auto& r, auto& id) { r.GetListOfFeatures(id); },
         "The value assigned is NOT an AttributeBytesFeatureId. The feature we wanted to convert is "
         "ABIDE_LISTOFVALUESITEM: index 0."},
        {3, [](auto& r, auto& id) { r.GetCollection(id); }, noList},
        {3, [](auto& r, auto& id) { r.GetListOfValues(id); }, noList},
        {3, [&](auto& r, auto& id) { r.GetPaperSizeValues(id, o, o); }, noList},
        {33, [&](auto& r, auto& id) { r.GetOptionValueByIndex(id, 0); },
         "Feature ABIDE_LISTOFVALUESITEM: index 0 is not the expected ABVTE_OPTION feature, it is ABVTE_LIST."},
    };
    for (const Row& rRow : ROWS) {
        SCOPED_TRACE(rRow.message);
        try {
            rRow.get(oList, Id(rRow.lFeature));
            ADD_FAILURE() << "answered";
        } catch (const ExceptionAttributeValueTypeMismatch& rException) {
            EXPECT_EQ(Narrow(rException.GetExceptionMesage().View()), rRow.message);
        }
    }
    AttributeBytesOptionValue oOption;
    EXPECT_EQ(oOption.GetListOfValuesItemIdValue().GetIndexValue(), 0);
    const std::function<void()> converters[] = {
        [&] { oOption.GetNewFeatureIdValue(); }, [&] { oOption.GetCapabilityIdValue(); },
        [&] { oOption.GetNewCapabilityIdValue(); }, [&] { oOption.GetNameSpacesIdValue(); }};
    for (const auto& rConvert : converters) {
        RecordingSink oSink;
        EXPECT_THROW(rConvert(), ExceptionAttributeValueTypeMismatch);
        EXPECT_EQ(
            oSink.Count("The AttributeBytesId value is of a different type (ABIDE_LISTOFVALUESITEM) than expected by "
                        "this method."),
            1U);
    }
}

TEST(AttributeBytesReaderTest, AnAbsentIdentifierAndAnIndexOutsideAreRefused) {
    const AttributeBytesIndexedList oList = MakeSettings();
    try {
        oList.GetIntegerValue(Id(99));
        ADD_FAILURE() << "answered";
    } catch (const ExceptionFeatureNotFound& rException) {
        EXPECT_EQ(Narrow(rException.GetExceptionMesage().View()),
                  "Request for a non-existent attribute (ABIDE_FEATURE: Value=99 (0x63))! Consider using the 'xxxPtr' "
                  "method, instead, and check the return code.");
    }
    for (const LONG lIndex : {-1, 2}) {
        RecordingSink oSink;
        EXPECT_THROW(oList.GetOptionValueByIndex(Id(30), lIndex), ExceptionIndexOutOfBounds);
        EXPECT_EQ(oSink.Count("Invalid index (" + std::to_string(lIndex) + ") supplied! There are only 2 items."), 1U);
    }
    Dimension oWidth(1.0, Dimension::DUE_MM);
    Dimension oHeight(2.0, Dimension::DUE_MM);
    EXPECT_THROW(oList.GetPaperSizeValues(Id(35), oWidth, oHeight), ExceptionIndexOutOfBounds);
    EXPECT_TRUE(oWidth == Dimension(1.0, Dimension::DUE_MM)) << "nothing is answered by halves";
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

TEST(AttributeBytesReaderTest, AListThatShrinksDuringAWalkIsNoticed) {
    FleetingList oList;
    oList.AddAttributeBytes(IntegerRecord(1));
    RecordingSink oSink;
    EXPECT_THROW(oList.GetAttributeBytesByIndex(0), ExceptionIndexOutOfBounds);
    EXPECT_EQ(
        oSink.Count("Somehow the iterator that resulted from walking the list by the specified number of elements is "
                    "invalid!"),
        1U);
}

}  // namespace
}  // namespace vlm::test
