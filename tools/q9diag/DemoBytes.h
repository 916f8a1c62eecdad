/// @file
/// What is compiled into the tool for the sample queues.
#pragma once

#include "utilities/utilitiesdll/ByteBuffer.h"

namespace vlm::tool {

/// The settings of a sample queue, as a driver has stored them.
ByteBuffer SampleSettings();
/// The sample product's cabinet file.
ByteBuffer SampleProductCab();

}  // namespace vlm::tool
