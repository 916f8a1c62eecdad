// What is compiled into the tool for the sample queues.
#include "DemoBytes.h"

namespace vlm::tool {

namespace {

constexpr BYTE SETTINGS[] = {
#include "DemoBlock.inc"
};
constexpr BYTE CABINET[] = {
#include "DemoCabinet.inc"
};

}  // namespace

ByteBuffer SampleSettings() {
    return ByteBuffer(SETTINGS, sizeof SETTINGS);
}

ByteBuffer SampleProductCab() {
    return ByteBuffer(CABINET, sizeof CABINET);
}

}  // namespace vlm::tool
