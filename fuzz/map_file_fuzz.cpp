/// @file
/// Fuzzes map files: records hold nothing but parts of their file, and the index answers as the walk over them does.
#include <string>

#include "Fuzz.h"
#include "environment/MapFile.h"
#include "environment/detail/product/MappingDataIndex.h"
#include "utilities/debuggingandexceptions/VelomExceptions.h"

using vlm::test::Require;

namespace {

void Ask(const std::vector<MappingData>& rvoRecords, vlm::MappingDataIndex& rIndex, XStringView question) {
    std::size_t uName = vlm::MappingDataIndex::NOT_FOUND, uOid = vlm::MappingDataIndex::NOT_FOUND;
    for (std::size_t u = rvoRecords.size(); u-- > 0;) {
        if (rvoRecords[u].MatchesModel(question)) uName = u;
        if (rvoRecords[u].MatchesSysObjectId(question)) uOid = u;
    }
    Require(rIndex.FindModel(rvoRecords, question) == uName, "the first record of the name");
    Require(rIndex.FindSysObjectId(rvoRecords, question) == uOid, "the first record of the id");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pby, std::size_t cBytes) {
    try {
        const ByteBuffer bbFile(pby, cBytes);
        const CXString csText = bbFile.getAsStringValueFromAnsiBuffer();
        const std::vector<MappingData> voRecords = MapFile::Parse(bbFile);
        vlm::MappingDataIndex oIndex;
        std::size_t cAsked = 0;
        for (const MappingData& rRecord : voRecords) {
            if (++cAsked > 32) break;
            Require(!rRecord.GetModel().IsEmpty() && csText.Find(rRecord.GetModel()) >= 0, "a name from the file");
            for (const XCHAR* pszKey : {VTEXT("FAMPATH"), VTEXT("A"), VTEXT("=")}) {
                const CXString csValue = rRecord.GetData(pszKey);
                Require(csText.Find(csValue) >= 0, "a value from the file");
                Ask(voRecords, oIndex, csValue.View());
            }
            Ask(voRecords, oIndex, rRecord.GetModel().View());
            for (const CXString& rcsOid : rRecord.GetSysObjectIds()) {
                if (++cAsked > 64) break;
                Ask(voRecords, oIndex, rcsOid.View());
                Ask(voRecords, oIndex, (rcsOid + VTEXT(".1")).View());
            }
        }
    } catch (const ExceptionInvalidArgument&) {
    }
    return 0;
}
