// Where the model commands take their models from.
#include "ModelSource.h"

#include "Failure.h"
#include "Files.h"
#include "environment/MapFile.h"
#include "platform/FilePort.h"
#include "platform/Platform.h"

namespace vlm::tool {

void ModelSource::Describe(Command& rCommand) {
    rCommand.Option("--map", "FILE", strMap, "A map file")
        .Option("--folder", "DIR", strFolder, "A driver's data folder, with \"Product Data\" in it")
        .Option("--queue", "NAME", strQueue, "A print queue, by the records in its printer data");
}

void ModelSource::RequireOne() const {
    if (!strMap.empty() + !strFolder.empty() + !strQueue.empty() != 1)
        throw UsageError("one of --map, --folder and --queue is needed");
}

CXString ModelSource::DataFolder() const {
    CXString csFolder(XStringView(FromUtf8(strFolder, "folder name")));
    DWORD dwAttributes = 0;
    const Status status = GetPlatform().pFiles->GetAttributes(csFolder, dwAttributes);
    if (status != Status::Success) RefuseFile(FileStep::Open, strFolder, status);
    return csFolder;
}

void ModelSource::OpenQueue(Printer& rPrinter) const {
    rPrinter.CreateHandle(CXString(XStringView(FromUtf8(strQueue, "queue name"))));
}

std::vector<MappingData> ModelSource::Read() const {
    RequireOne();
    if (!strMap.empty()) return MapFile::Parse(ReadInput(strMap));
    ProductData oProductData;
    Printer oPrinter;
    if (!strFolder.empty()) {
        oProductData.Initialize(nullptr, CXString(), MT_MODEL_NAME, DataFolder());
        oProductData.UpdateRegistryMappings(CXString(), ProductData::OUTERMOST);
    } else {
        OpenQueue(oPrinter);
        oProductData.Initialize(oPrinter.GetPrinterHandle(), CXString(), MT_MODEL_NAME, CXString());
    }
    std::vector<MappingData> voMappings = oProductData.GetMappings();
    if (voMappings.empty()) RefuseInput("there are no models in " + (strFolder.empty() ? strQueue : strFolder));
    return voMappings;
}

void ModelSource::Load(const std::string& strModel, Printer& rPrinter, ProductData& rProductData) const {
    RequireOne();
    if (!strMap.empty()) throw UsageError("--map: a map file has no data files; name a folder or a queue");
    const CXString csModel(XStringView(FromUtf8(strModel, "model name")));
    bool fFound = false;
    if (!strFolder.empty()) {
        if (strModel.empty()) throw UsageError("MODEL: is needed with --folder");
        rProductData.Initialize(nullptr, CXString(), MT_MODEL_NAME, DataFolder());
        rProductData.UpdateRegistryMappings(CXString(), ProductData::OUTERMOST);
        fFound = rProductData.Initialize(nullptr, csModel, MT_MODEL_NAME, CXString());
    } else {
        OpenQueue(rPrinter);
        const _ModelType eType = strModel.empty() ? MT_PRINTER_INI_DATA : MT_MODEL_NAME;
        fFound = rProductData.Initialize(rPrinter.GetPrinterHandle(), csModel, eType, CXString());
    }
    if (!fFound) RefuseInput("this model is not known: " + (strModel.empty() ? "the queue's own" : strModel));
}

}  // namespace vlm::tool
