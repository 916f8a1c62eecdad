/// @file
/// Writes a realistic stored settings block, examples/data/sample-settings.bin: three name spaces of a colour printer
/// with about 300 attributes of every kind.  The same program always writes the same attributes.
///
///     make_sample_settings FILE             the block
///     make_sample_settings --seeds FOLDER   small blocks, as seeds for fuzzing
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "utilities/attributebytes/AttributeBytesCapabilityIds.h"
#include "utilities/attributebytes/AttributeBytesDataValues.h"
#include "utilities/attributebytes/AttributeBytesDateTimeValue.h"
#include "utilities/attributebytes/AttributeBytesDimensionValues.h"
#include "utilities/attributebytes/AttributeBytesListValue.h"
#include "utilities/attributebytes/AttributeBytesNameIds.h"
#include "utilities/attributebytes/AttributeBytesNumberIds.h"
#include "utilities/attributebytes/AttributeBytesNumberValues.h"
#include "utilities/attributebytes/AttributeBytesOptionValue.h"
#include "utilities/attributebytes/PersistentAttributes.h"
#include "utilities/debuggingandexceptions/VelomException.h"

namespace {

/// What a list of values means to the programs that read the sample.
enum KindOfList : BYTE { KOL_COLLECTION = 0, KOL_CHOICES = 1, KOL_PAPER_SIZE = 2 };

/// The features that the sample sets, by area; an area takes 100 numbers.
enum Feature : LONG {
    F_COPIES = 100,
    F_COLLATE,
    F_DUPLEX,
    F_JOB_NAME,
    F_PAGE_RANGE,
    F_PAPER_SIZE = 200,
    F_MARGIN,
    F_CUSTOM_SIZE,
    F_CUSTOM_SIZE_LIMITS,
    F_TRAYS,
    F_RESOLUTION = 300,
    F_COLOR_MODE,
    F_HALFTONE,
    F_COLOR_TABLE,
    F_ADJUSTMENT,
    F_STAPLE = 400,
    F_PUNCH,
    F_OUTPUT_BIN,
    F_LAST_CHANGED = 900,
    F_SUPPORTED_FEATURES,
};

AttributeBytesFeatureId Id(LONG lFeature) {
    return AttributeBytesFeatureId(lFeature);
}
AttributeBytesOptionValue Choice(LONG lValue) {
    return AttributeBytesOptionValue(AttributeBytesValueId(lValue));
}
AttributeBytesDimensionValue Millimetres(double dblLength) {
    return AttributeBytesDimensionValue(Dimension(dblLength, Dimension::DUE_MM));
}

/// A list value that is put together item by item.
class ListBuilder {
public:
    explicit ListBuilder(KindOfList eKind) : m_eKind(eKind) {}
    ListBuilder& Add(const AttributeBytesId& rId, const AttributeBytesValue& rValue) {
        m_oItems.AddAttributeBytes(AttributeBytes(rId, rValue));
        return *this;
    }
    /// Adds the next item of a list of values.
    ListBuilder& Add(const AttributeBytesValue& rValue) {
        return Add(AttributeBytesListOfValuesItemId(m_lNext++), rValue);
    }
    AttributeBytesListValue Get() const { return AttributeBytesListValue(m_oItems, m_eKind); }

private:
    AttributeBytesRawList m_oItems;
    KindOfList m_eKind;
    LONG m_lNext = 0;
};

AttributeBytesListValue PaperSize(double dblWidth, double dblHeight) {
    return ListBuilder(KOL_PAPER_SIZE).Add(Millimetres(dblWidth)).Add(Millimetres(dblHeight)).Get();
}

/// What the user chose for a document.
AttributeBytesIndexedList MakeDocumentSettings() {
    AttributeBytesIndexedList oList;
    oList.SetAttributeBytes(Id(F_COPIES), AttributeBytesIntegerValue(2));
    oList.SetAttributeBytes(Id(F_COLLATE), AttributeBytesBooleanValue(true));
    oList.SetAttributeBytes(Id(F_DUPLEX), Choice(3));
    oList.SetAttributeBytes(Id(F_JOB_NAME), AttributeBytesStringValue(VTEXT("Quarterly report \u2013 Z\u00FCrich")));
    oList.SetAttributeBytes(Id(F_PAGE_RANGE), AttributeBytesRangeValue(1, 32));
    oList.SetAttributeBytes(Id(F_PAPER_SIZE), PaperSize(210.0, 297.0));
    oList.SetAttributeBytes(Id(F_MARGIN), Millimetres(4.2));
    oList.SetAttributeBytes(Id(F_RESOLUTION), AttributeBytesResolutionValue(600, 1200, 1));
    oList.SetAttributeBytes(Id(F_COLOR_MODE), AttributeBytesOptionValue(AttributeBytesNewValueId(VTEXT("VividColor"))));
    oList.SetAttributeBytes(Id(F_STAPLE), Choice(0));
    AttributeBytesBooleanValue oPunch;
    oPunch.SetIsSpecified(false);
    oList.SetAttributeBytes(Id(F_PUNCH), oPunch);
    oList.SetAttributeBytes(Id(F_LAST_CHANGED), AttributeBytesDateTimeValue(UtcTime(1709209800)));
    for (LONG lTray = 0; lTray < 6; ++lTray) {
        ListBuilder oTray(KOL_COLLECTION);
        oTray.Add(Id(F_PAPER_SIZE), lTray % 2 == 0 ? PaperSize(210.0, 297.0) : PaperSize(297.0, 420.0));
        oTray.Add(AttributeBytesNewFeatureId(VTEXT("MediaType")),
                  AttributeBytesOptionValue(AttributeBytesNewValueId(lTray == 5 ? VTEXT("Envelope") : VTEXT("Plain"))));
        oTray.Add(AttributeBytesNewFeatureId(VTEXT("Weight")), AttributeBytesIntegerValue(80 + 10 * lTray));
        oList.SetAttributeBytes(Id(F_TRAYS + 10 + lTray), oTray.Get());
    }
    for (LONG lStep = 0; lStep < 70; ++lStep) {
        oList.SetAttributeBytes(Id(F_ADJUSTMENT + 10 + lStep), AttributeBytesIntegerValue((lStep * 7) % 21 - 10));
    }
    for (LONG lSwitch = 0; lSwitch < 40; ++lSwitch) {
        oList.SetAttributeBytes(Id(F_OUTPUT_BIN + 10 + lSwitch), AttributeBytesBooleanValue(lSwitch % 3 == 0));
    }
    const XCHAR* const apszNames[] = {VTEXT("Watermark"), VTEXT("Overlay"), VTEXT("Banner"), VTEXT("CoverPage"),
                                      VTEXT("Booklet"),   VTEXT("Poster"),  VTEXT("Stamp"),  VTEXT("Fold")};
    for (const XCHAR* const pszName : apszNames) {
        CXString csText(pszName);
        csText += VTEXT("Text");
        oList.SetAttributeBytes(AttributeBytesNewFeatureId(pszName), Choice(csText.GetLength()));
        oList.SetAttributeBytes(AttributeBytesNewFeatureId(csText), AttributeBytesStringValue(csText));
    }
    return oList;
}

/// What the device has and what its administrator chose.
AttributeBytesIndexedList MakeDeviceSettings() {
    AttributeBytesIndexedList oList;
    std::vector<BYTE> vbyCurve;
    for (int i = 0; i < 256; ++i)
        vbyCurve.push_back(static_cast<BYTE>(i * i / 255));
    oList.SetAttributeBytes(Id(F_COLOR_TABLE), AttributeBytesDataBlobValue(ByteBuffer(std::move(vbyCurve))));
    oList.SetAttributeBytes(
        Id(F_CUSTOM_SIZE),
        AttributeBytesRangeOfDimensionValue(Dimension(90.0, Dimension::DUE_MM), Dimension(1219.2, Dimension::DUE_MM)));
    ListBuilder oTrays(KOL_CHOICES);
    for (LONG lTray = 1; lTray <= 6; ++lTray)
        oTrays.Add(Choice(lTray));
    oList.SetAttributeBytes(Id(F_TRAYS), oTrays.Get());
    ListBuilder oFeatures(KOL_CHOICES);
    for (const LONG lFeature : {F_COPIES, F_COLLATE, F_DUPLEX, F_STAPLE, F_PUNCH}) {
        oFeatures.Add(AttributeBytesOptionValue(Id(lFeature)));
    }
    oList.SetAttributeBytes(Id(F_SUPPORTED_FEATURES), oFeatures.Get());
    for (LONG lAccount = 0; lAccount < 60; ++lAccount) {
        CXString csName;
        csName.Format(VTEXT("Account%03ld"), lAccount);
        oList.SetAttributeBytes(AttributeBytesNewFeatureId(csName), AttributeBytesIntegerValue(1000 + lAccount * 17));
    }
    for (LONG lValue = 0; lValue < 30; ++lValue) {
        oList.SetAttributeBytes(AttributeBytesValueId(lValue), AttributeBytesBooleanValue(lValue % 2 == 0));
    }
    return oList;
}

/// What the system is told that the device can do.
AttributeBytesIndexedList MakeDeviceCapabilities() {
    AttributeBytesIndexedList oList;
    for (LONG lFeature = F_COPIES; lFeature < F_COPIES + 40; ++lFeature) {
        oList.SetAttributeBytes(AttributeBytesCapabilityId(lFeature, 1), AttributeBytesRangeValue(0, lFeature * 3));
        if (lFeature % 2 == 0) {
            oList.SetAttributeBytes(AttributeBytesCapabilityId(lFeature, 2), AttributeBytesBooleanValue(true));
        }
    }
    for (const XCHAR* const pszName : {VTEXT("Watermark"), VTEXT("Overlay"), VTEXT("Banner")}) {
        ListBuilder oChoices(KOL_CHOICES);
        for (LONG lValue = 0; lValue < 4; ++lValue)
            oChoices.Add(Choice(lValue));
        oList.SetAttributeBytes(AttributeBytesNewCapabilityId(pszName, 1), oChoices.Get());
    }
    return oList;
}

AttributeBytesNameSpaces MakeSampleNameSpaces() {
    AttributeBytesNameSpaces oNameSpaces;
    oNameSpaces.SetNameSpaceAttributes(PersistentAttributes::GetDataModelDocPropNameSpaceId(), MakeDocumentSettings());
    oNameSpaces.SetNameSpaceAttributes(PersistentAttributes::GetDataModelDevicePropNameSpaceId(), MakeDeviceSettings());
    oNameSpaces.SetNameSpaceAttributes(PersistentAttributes::GetMsDeviceCapabilitiesNameSpaceId(),
                                       MakeDeviceCapabilities());
    return oNameSpaces;
}

void Write(const std::filesystem::path& rPath, const ByteBuffer& rbbBytes) {
    std::ofstream oFile(rPath, std::ios::binary);
    oFile.exceptions(std::ios::badbit | std::ios::failbit);
    oFile.write(reinterpret_cast<const char*>(rbbBytes.data()), static_cast<std::streamsize>(rbbBytes.size()));
}

void WriteSeeds(const std::filesystem::path& rFolder) {
    std::filesystem::create_directories(rFolder);
    const ByteBuffer bbEmpty = PersistentAttributes().GetPersistentAttributesState();
    Write(rFolder / "empty", bbEmpty);
    Write(rFolder / "sample", PersistentAttributes(MakeSampleNameSpaces()).GetPersistentAttributesState());
    AttributeBytesNameSpaces oSmall;
    AttributeBytesIndexedList oList;
    oList.SetAttributeBytes(Id(F_COPIES), AttributeBytesIntegerValue(1));
    oSmall.SetNameSpaceAttributes(1, oList);
    Write(rFolder / "small", PersistentAttributes(oSmall).GetPersistentAttributesState());
    Write(rFolder / "header_alone", ByteBuffer(bbEmpty.data(), PersistentAttributes::HEADER_BYTES));
    ByteBuffer bbOtherVersion(bbEmpty);
    bbOtherVersion[4] ^= 1;
    Write(rFolder / "other_version", bbOtherVersion);
    ByteBuffer bbOtherSize(bbEmpty);
    bbOtherSize[bbOtherSize.size() - 5] ^= 1;
    Write(rFolder / "other_size", bbOtherSize);
}

int Run(const std::vector<std::string>& rArguments) {
    if (rArguments.size() == 2 && rArguments[0] == "--seeds") {
        WriteSeeds(rArguments[1]);
        return 0;
    }
    if (rArguments.size() != 1) {
        std::fprintf(stderr, "usage: make_sample_settings FILE | --seeds FOLDER\n");
        return 2;
    }
    const AttributeBytesNameSpaces oNameSpaces = MakeSampleNameSpaces();
    const ByteBuffer bbBlock = PersistentAttributes(oNameSpaces).GetPersistentAttributesState();
    Write(rArguments[0], bbBlock);
    std::printf("%s: %zu bytes\n", rArguments[0].c_str(), bbBlock.size());
    for (LONG l = 0; l < static_cast<LONG>(oNameSpaces.GetNumberOfNameSpaces()); ++l) {
        const LONG lNameSpace = oNameSpaces.GetNameSpaceByIndex(l);
        std::printf("  name space %d: %u attributes\n", static_cast<int>(lNameSpace),
                    static_cast<unsigned>(oNameSpaces.GetNameSpaceAttributes(lNameSpace)->GetNumberOfAttributeBytes()));
    }
    return 0;
}

}  // namespace

int main(int cArguments, char** ppszArguments) {
    try {
        return Run(std::vector<std::string>(ppszArguments + 1, ppszArguments + cArguments));
    } catch (const std::exception& rException) {
        std::fprintf(stderr, "make_sample_settings: %s\n", rException.what());
        return 4;
    }
}
