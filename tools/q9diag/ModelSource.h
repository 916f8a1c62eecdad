/// @file
/// Where the model commands take their models from.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "CommandLine.h"
#include "environment/ProductData.h"

namespace vlm::tool {

/// A map file, a folder of product data, or a queue; exactly one of them.
struct ModelSource {
    std::string strMap;
    std::string strFolder;
    std::string strQueue;

    /// The options.
    void Describe(Command& rCommand);
    /// All records.  @throws UsageError unless one source is named; ExceptionInvalidArgument for a bad map file;
    /// ExceptionFile's classes for a file or folder that cannot be read; ExceptionPrinterFailure for a queue that
    /// cannot be opened or has no models.
    std::vector<MappingData> Read() const;
    /// Product data of a model: of a folder or a queue.  @param strModel UTF-8; empty: the queue's own.
    /// @throws UsageError for a map file or without a model; ExceptionInvalidArgument when the model is not known.
    void Load(const std::string& strModel, Printer& rPrinter, ProductData& rProductData) const;

private:
    void RequireOne() const;
    CXString DataFolder() const;
    void OpenQueue(Printer& rPrinter) const;
};

}  // namespace vlm::tool
