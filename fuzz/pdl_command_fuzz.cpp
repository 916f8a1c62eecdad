/// @file
/// Fuzzes PDL command files and the expansion of instructions: bounded, and all or nothing.

#include "Fuzz.h"
#include "environment/PdlCommands.h"
#include "utilities/Bounds.h"
#include "utilities/debuggingandexceptions/VelomExceptions.h"

using vlm::test::Require;

namespace {

void Expand(XStringView text) {
    const LONG alValues[] = {600, -1};
    for (const PdlType eType : {PdlType::PCL5, PdlType::PCL6}) {
        ByteBuffer bb;
        const bool fWritten = PdlCommands::ConvertAmpCommands(text, eType, alValues, bb);
        Require(fWritten || bb.empty(), "a refused command writes nothing");
        Require(bb.size() <= vlm::bounds::MAX_PDL_COMMAND_BYTES, "a command has a bound");
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pby, std::size_t cBytes) {
    const ByteBuffer bbFile(pby, cBytes);
    Expand(bbFile.getAsStringValueFromAnsiBuffer().View());
    try {
        const PdlCommands oCommands = PdlCommands::Parse(bbFile);
        std::size_t cSeen = 0;
        for (const PdlCommands::Instruction& rInstruction : oCommands.GetInstructions()) {
            if (++cSeen > 64) break;
            Expand(rInstruction.csText.View());
            if (!(rInstruction.dwPdls & 1)) continue;
            CXString csLine;
            Require(oCommands.GetPDLLine(rInstruction.csFeature, rInstruction.csOption, PdlType::PCL5, csLine),
                    "an instruction of the file is found");
        }
    } catch (const ExceptionXMLConfigurationFileParseFailed&) {
    }
    return 0;
}
