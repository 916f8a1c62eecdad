/// @file
/// Fuzz target: what the port monitor's client takes from outside.  A reply that is accepted is exactly what its
/// encoder writes, value lists keep their pointers inside the reply, and a version is found in any bytes or not at all.
#include <vector>

#include "Fuzz.h"
#include "environment/PortMonitor.h"
#include "environment/PortMonitorFilesImpl.h"
#include "environment/PortMonitorReply.h"

using vlm::test::Require;

namespace {

using vlm::PortMonitorReply;

void CheckNames(const ByteBuffer& rbbReply) {
    std::vector<CXString> vcsNames;
    if (!PortMonitorReply::DecodeNames(rbbReply, vcsNames)) return Require(vcsNames.empty());
    ByteBuffer bbBack;
    PortMonitorReply::AppendNames(bbBack, vcsNames);
    Require(bbBack == rbbReply);
}

void CheckText(const ByteBuffer& rbbReply) {
    CXString csText;
    if (!PortMonitorReply::DecodeText(rbbReply, csText)) return Require(csText.IsEmpty());
    ByteBuffer bbBack;
    bbBack.append(csText).appendNullChar();
    Require(bbBack == rbbReply);
}

void CheckValues(const ByteBuffer& rbbReply, DWORD cEntries) {
    std::vector<vlm::ValueEnt> voEntries(cEntries, vlm::ValueEnt{VTEXT("n"), 0, nullptr, 0});
    const bool fTaken =
        VelomPortMonitor::UpdateVALENTArrayFromSpooler(vlm::AsSystemEntries(voEntries.data()), cEntries, rbbReply);
    std::size_t cbData = 0;
    for (const vlm::ValueEnt& rEntry : voEntries) {
        Require(fTaken == (rEntry.ve_valueptr != nullptr));
        if (!fTaken) continue;
        Require(rEntry.ve_valueptr >= rbbReply.data());
        Require(rEntry.ve_valueptr + rEntry.ve_valuelen <= rbbReply.data() + rbbReply.size());
        cbData += rEntry.ve_valuelen;
    }
    Require(!fTaken || cbData + cEntries * sizeof(vlm::ValueEnt) == rbbReply.size());
}

}  // namespace

/// The first byte says how many values were asked for; the rest is the reply, or the file.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pby, std::size_t cBytes) {
    if (cBytes == 0) return 0;
    const ByteBuffer bbReply(pby + 1, cBytes - 1);
    CheckNames(bbReply);
    CheckText(bbReply);
    CheckValues(bbReply, 1 + pby[0] % 8);
    ULONGLONG ullToken = 0;
    bool fValue = false;
    LONG lValue = 0;
    LONGLONG llValue = 0;
    Require(PortMonitorReply::DecodeKeyToken(bbReply, ullToken) == (ullToken != 0));
    Require(!PortMonitorReply::DecodeBoolean(bbReply, fValue) || bbReply.size() == 1);
    Require(!PortMonitorReply::DecodeLong(bbReply, lValue) || bbReply.size() == 4);
    Require(!PortMonitorReply::DecodeLong64(bbReply, llValue) || bbReply.size() == 8);
    Require(vlm::FindFileVersion(bbReply) == DriverVersion() || bbReply.size() >= 50);
    return 0;
}
