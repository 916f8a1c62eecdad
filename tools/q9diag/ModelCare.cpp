// model unpack and tidy: the care of product data.
#include "Commands.h"
#include "Failure.h"
#include "ModelSource.h"
#include "Output.h"

namespace vlm::tool {

namespace {

int Unpack(const std::string& rQueue, Output& rOutput) {
    if (rQueue.empty()) throw UsageError("--queue: is needed");
    Printer oPrinter;
    oPrinter.CreateGreatestAccessHandleAllowed(CXString(XStringView(FromUtf8(rQueue, "queue name"))));
    ProductData oProductData;
    oProductData.Initialize(oPrinter.GetPrinterHandle(), CXString(), MT_MODEL_NAME, CXString());
    const bool fUnpacked = oProductData.UnpackProductCabFile();
    const std::size_t cModels = oProductData.GetMappings().size();
    if (fUnpacked)
        rOutput.Line("unpacked; " + std::to_string(cModels) + " models");
    else
        rOutput.Remark("not unpacked; --log all tells why");
    rOutput.Document({{"unpacked", fUnpacked}, {"models", cModels}});
    return fUnpacked ? EXIT_DONE : EXIT_ANSWER_NO;
}

int Tidy(Output& rOutput) {
    ProductData::DeleteOrphanedProductDataFolders();
    ProductData::GarbageCollectOrphanedPerPrinterRegKeysAndTempFiles();
    ProductData::CleanUPLowRightsData();
    rOutput.Line("tidied; --log all tells what went");
    rOutput.Document({{"tidied", true}});
    return EXIT_DONE;
}

}  // namespace

void AddModelCare(CommandLine& rLine) {
    const auto shpstrQueue = std::make_shared<std::string>();
    rLine.Add("model", "unpack", "Unpack the product CAB of a queue's driver, and read its map files")
        .RequiredOption("--queue", "NAME", *shpstrQueue, "The print queue")
        .Run([shpstrQueue](Output& rOutput) { return Unpack(*shpstrQueue, rOutput); });
    rLine.Add("model", "tidy", "Delete product data, keys and caches that no installed queue or driver uses").Run(Tidy);
}

}  // namespace vlm::tool
