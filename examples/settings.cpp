/// @file
/// Settings: building a list, storing it, changing one attribute of what is stored.
#include <cstdio>

#include "utilities/attributebytes/AttributeBytesDataValues.h"
#include "utilities/attributebytes/AttributeBytesDimensionValues.h"
#include "utilities/attributebytes/AttributeBytesNumberIds.h"
#include "utilities/attributebytes/AttributeBytesNumberValues.h"
#include "utilities/attributebytes/PersistentAttributes.h"
#include "utilities/debuggingandexceptions/VelomExceptions.h"
#include "utilities/utilitiesdll/TextCodec.h"

namespace {

enum Feature : LONG { COPIES = 100, COLLATE, JOB_NAME, MARGIN };
constexpr LONG DOCUMENT = 1;  // the name space

using Id = AttributeBytesFeatureId;

void Print(const AttributeBytesIndexedList& rSettings) {
    for (const AttributeBytesSharedPtr& rshpoRecord : rSettings) {
        std::printf("  %s\n", TextCodec::Utf16ToUtf8(rshpoRecord->GetDumpDisplayString(false)).c_str());
    }
}

}  // namespace

int main() {
    AttributeBytesIndexedList oSettings;
    oSettings.SetAttributeBytes(Id(MARGIN), AttributeBytesDimensionValue(Dimension(0.5, Dimension::DUE_INCHES)));
    oSettings.SetAttributeBytes(Id(COPIES), AttributeBytesIntegerValue(2));
    oSettings.SetAttributeBytes(Id(JOB_NAME), AttributeBytesStringValue(VTEXT("report")));
    std::printf("in the order of the identifiers:\n");
    Print(oSettings);

    // The block that a device mode or a registry value holds: header, name spaces, compressed.
    AttributeBytesNameSpaces oNameSpaces;
    oNameSpaces.SetNameSpaceAttributes(DOCUMENT, oSettings);
    const ByteBuffer bbBlock = PersistentAttributes(oNameSpaces).GetPersistentAttributesState();

    // Another program reads it, changes one attribute and stores it again.
    PersistentAttributes oStored(bbBlock);
    const auto apoSettings = oStored.GetAttributeBytesListForNameSpace(DOCUMENT);
    apoSettings->SetAttributeBytes(Id(COPIES),
                                   AttributeBytesIntegerValue(apoSettings->GetIntegerValue(Id(COPIES)) + 1));
    AttributeBytesNameSpaces oChanged(oStored.GetAttributeBytesNameSpaces());
    oChanged.SetNameSpaceAttributes(DOCUMENT, *apoSettings);
    oStored.SetAttributeBytesNameSpaces(oChanged);
    std::printf("stored again:\n");
    Print(*PersistentAttributes(oStored.GetStateData()).GetAttributeBytesListForNameSpace(DOCUMENT));

    // What is not there, or of another kind, is refused by name; ask first where that is an ordinary case.
    std::printf("collate is %s\n", apoSettings->GetAttributeBytesPtr(Id(COLLATE)) ? "set" : "not set");
    try {
        apoSettings->GetBooleanValue(Id(COPIES));
    } catch (const ExceptionAttributeValueTypeMismatch& rException) {
        std::printf("%s\n", TextCodec::Utf16ToUtf8(rException.GetExceptionMesage()).c_str());
    }
}
