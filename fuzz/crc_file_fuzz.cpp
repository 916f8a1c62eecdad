/// @file
/// Fuzzes files with a checksum on a disk in memory, against a slow reading of the same rules.  Bytes 0 to 3 are the
/// limit; the rest is the file.
#include <algorithm>
#include <random>
#include <vector>

#include "Fuzz.h"
#include "support/FakePlatform.h"
#include "utilities/debuggingandexceptions/VelomExceptions.h"
#include "utilities/utilitiesdll/SimpleFileWithCrc.h"

using vlm::test::Require;

namespace {

const XCHAR* const PATH = VTEXT("C:\\file.bin");
constexpr std::size_t LIMIT_BYTES = 4, HEADER_BYTES = 8;

/// The definition, bit by bit.
std::uint32_t SlowCrc(const std::uint8_t* pby, std::size_t cBytes) {
    std::uint32_t uCrc = 0xFFFFFFFF;
    for (std::size_t u = 0; u < cBytes; ++u) {
        uCrc ^= pby[u];
        for (int i = 0; i < 8; ++i)
            uCrc = uCrc >> 1 ^ (uCrc & 1 ? 0xEDB88320 : 0);
    }
    return ~uCrc;
}

std::uint32_t Load(const std::uint8_t* pby) {
    return pby[0] | std::uint32_t{pby[1]} << 8 | std::uint32_t{pby[2]} << 16 | std::uint32_t{pby[3]} << 24;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pby, std::size_t cBytes) {
    if (cBytes < LIMIT_BYTES) return 0;
    const std::uint32_t uLimit = Load(pby);
    const std::vector<BYTE> vbyFile(pby + LIMIT_BYTES, pby + cBytes);
    const std::size_t cData = vbyFile.size() < HEADER_BYTES ? 0 : vbyFile.size() - HEADER_BYTES;
    const bool fGood = vbyFile.size() >= HEADER_BYTES && (uLimit == 0 || cData <= uLimit) &&
                       Load(vbyFile.data()) == SlowCrc(vbyFile.data() + HEADER_BYTES, cData);
    vlm::test::FakePlatform oFake;
    oFake.files.AddFile(PATH, vbyFile);
    const vlm::PlatformScope oScope(oFake.Get());
    const SimpleFileWithCrc oFile{CXString(PATH)};
    ByteBuffer bb;
    try {
        oFile.ReadTheFile(bb, uLimit);
        Require(fGood, "only whole files are read");
        Require(bb.size() == cData && std::equal(bb.begin(), bb.end(), vbyFile.begin() + HEADER_BYTES),
                "the data is what stands behind the header");
    } catch (const ExceptionReadFile&) {
        Require(!fGood, "whole files are read");
        Require(bb.empty(), "a failure leaves the target alone");
    }
    Require(oFake.files.OpenHandles() == 0, "no handle stays open");
    Require(oFake.files.Contents(PATH) == vbyFile, "reading changes nothing");
    const ByteBuffer bbData(vbyFile.data(), vbyFile.size());
    oFile.WriteTheFile(bbData, SimpleFile::FAA_LEAVE);
    oFile.ReadTheFile(bb, 0);
    Require(bb == bbData, "what is written is read");
    return 0;
}

/// Changes a byte, the length or the limit, and mends the checksum most of the time, so that the data gets past it.
extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* pby, std::size_t cBytes, std::size_t cMost,
                                               unsigned int uSeed) {
    std::mt19937 random(uSeed);
    std::vector<std::uint8_t> vby(pby, pby + cBytes);
    if (random() % 3 == 0) vby.resize(random() % (2 * cBytes + 20));
    if (!vby.empty()) vby[random() % vby.size()] ^= static_cast<std::uint8_t>(1 + random() % 255);
    if (vby.size() >= LIMIT_BYTES + HEADER_BYTES && random() % 4 != 0) {
        const std::size_t cData = vby.size() - LIMIT_BYTES - HEADER_BYTES;
        const std::uint32_t uCrc = SlowCrc(vby.data() + LIMIT_BYTES + HEADER_BYTES, cData);
        const auto uLimit = static_cast<std::uint32_t>(random() % 2 ? 0 : cData + random() % 3 - 1);
        for (unsigned i = 0; i < 4; ++i) {
            vby[i] = static_cast<std::uint8_t>(uLimit >> (8 * i));
            vby[LIMIT_BYTES + i] = static_cast<std::uint8_t>(uCrc >> (8 * i));
        }
    }
    return vlm::test::GiveBack(vby, pby, cMost);
}
