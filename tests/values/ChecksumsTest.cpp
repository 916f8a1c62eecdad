/// @file
/// CRC-32, hashes, checksums and pattern search: every fast form against the form that defines it.
#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <string>

#include "support/Bytes.h"
#include "support/FaultLoop.h"
#include "support/RecordingSink.h"
#include "utilities/utilitiesdll/ByteBuffer.h"
#include "utilities/utilitiesdll/Checksum.h"
#include "utilities/utilitiesdll/Crc32.h"
#include "utilities/utilitiesdll/Hash32.h"
#include "utilities/utilitiesdll/HorspoolMatch.h"
#include "utilities/utilitiesdll/detail/values/CpuLevel.h"
#include "utilities/utilitiesdll/detail/values/CrcKernels.h"
#include "utilities/utilitiesdll/detail/values/ElfHash.h"

namespace {

using vlm::CpuLevel;
using vlm::test::RecordingSink;

/// Puts a level in force for its own lifetime.
class LevelScope {
public:
    explicit LevelScope(CpuLevel eLevel) : m_eFormer(vlm::ExchangeCpuLevel(eLevel)) {}
    ~LevelScope() { vlm::ExchangeCpuLevel(m_eFormer); }
    LevelScope(const LevelScope&) = delete;
    LevelScope& operator=(const LevelScope&) = delete;

private:
    CpuLevel m_eFormer;
};

DWORD Length(const std::vector<BYTE>& vby) {
    return static_cast<DWORD>(vby.size());
}

/// Random bytes, and bytes that make carries run.
std::vector<BYTE> RandomBytes(std::mt19937_64& rRandom, std::size_t cBytes) {
    std::vector<BYTE> vby(cBytes);
    const int iKind = static_cast<int>(rRandom() % 4);
    for (BYTE& rby : vby) {
        const BYTE by = static_cast<BYTE>(rRandom());
        rby = iKind == 0 ? by : iKind == 1 ? 0xFF : iKind == 2 ? (by & 1 ? 0xFF : 0xF0) : (by & 1 ? 0xF1 : 0x0F);
    }
    return vby;
}

TEST(Checksums, EveryFormOfCrcAndElfHashAgreesAtEveryLevel) {
    std::mt19937_64 random(11);
    for (const CpuLevel eLevel : {CpuLevel::Plain, CpuLevel::Clmul, CpuLevel::Avx2, CpuLevel::Avx512}) {
        const LevelScope level(eLevel);
        for (std::size_t cBytes = 0; cBytes <= 1100; cBytes += cBytes < 600 ? 1 : 37) {
            const std::vector<BYTE> vby = RandomBytes(random, cBytes);
            const DWORD dwSeed = static_cast<DWORD>(random());
            const DWORD dwExpected = ~vlm::UpdateCrcPlain(dwSeed, vby.data(), cBytes);
            ASSERT_EQ(Crc32::GetCrc(vby.data(), Length(vby), dwSeed), dwExpected)
                << cBytes << " bytes at level " << static_cast<int>(eLevel);
            ASSERT_EQ(vlm::ElfHash(vby.data(), cBytes), vlm::ElfHashPlain(vby.data(), cBytes)) << cBytes;
        }
    }
}

/// The tool's tests compute the other hashes.
TEST(Checksums, HashesAreNeverZeroForData) {
    EXPECT_EQ(Hash32::GetHash32(nullptr, 5), 0u);
    EXPECT_EQ(Hash32::GetHash32(CXString()), 0u);
    const std::vector<BYTE> vbyUnits = vlm::test::FromHex("7000 7200");
    EXPECT_EQ(Hash32::GetHash32(CXString(VTEXT("pr"))), Hash32::GetHash32(ByteBuffer(vbyUnits)));
    // Six bytes, found by search, whose two halves are the same: the hash would be 0.
    const std::vector<BYTE> vbyEqual = vlm::test::FromHex("7A7A6212007D");
    EXPECT_EQ(Hash32::GetHash32(vbyEqual.data(), 6), 1u);
    EXPECT_EQ(Hash32::AddToHash32(77, nullptr, 6), 77u);
    EXPECT_EQ(Hash32::AddToHash32(5, vbyEqual.data(), 6), 6u);
}

TEST(Checksums, DeviceModesAreHashedToTheirOwnSize) {
    std::vector<BYTE> vbyBlock(300, 0x77);
    const auto setSizes = [&](WORD wSize, WORD wExtra) {
        std::memcpy(&vbyBlock[68], &wSize, 2);
        std::memcpy(&vbyBlock[70], &wExtra, 2);
    };
    const DEVMODEW* const pDevMode = reinterpret_cast<const DEVMODEW*>(vbyBlock.data());
    setSizes(220, 30);
    EXPECT_EQ(Hash32::GetHash32(pDevMode), Hash32::GetHash32(vbyBlock.data(), 250));
    EXPECT_EQ(Hash32::GetBoundedHash32(pDevMode, 250), Hash32::GetHash32(vbyBlock.data(), 250));

    RecordingSink oSink;
    EXPECT_EQ(Hash32::GetBoundedHash32(pDevMode, 249), 0u);
    EXPECT_EQ(Hash32::GetBoundedHash32(pDevMode, 71), 0u);
    setSizes(71, 30);
    EXPECT_EQ(Hash32::GetBoundedHash32(pDevMode, 300), 0u);
    setSizes(72, 65535);
    EXPECT_EQ(Hash32::GetBoundedHash32(pDevMode, 300), 0u);
    EXPECT_EQ(oSink.Count("The device mode of 300 bytes claims 72 public and 65535 private bytes."), 1u);
    EXPECT_EQ(oSink.Reports().size(), 4u);
    vlm::test::FaultLoop oLoop;  // the report may be lost, the answer not
    oLoop.fnRun = [&] {
        using enum vlm::test::FaultOutcome;
        return Hash32::GetBoundedHash32(pDevMode, 300) == 0 ? Succeeded : Failed;
    };
    oLoop.fnCheck = [](vlm::test::FakePlatform&, vlm::test::FaultOutcome eOutcome) {
        EXPECT_EQ(eOutcome, vlm::test::FaultOutcome::Succeeded);
    };
    RunFaultLoop(oLoop);
}

/// The rule of the checksum, word by word.
WORD ModelChecksum(const std::vector<BYTE>& vby, DWORD dwLength) {
    std::uint32_t sum = 0;
    std::size_t i = 0;
    while (i < dwLength) {
        sum += vby[i] + 256u * vby[i + 1];
        i += 2;
    }
    if (dwLength % 2 != 0) sum += vby[i];
    sum += dwLength;
    while (sum >> 16)
        sum = (sum & 0xFFFF) + (sum >> 16);
    return static_cast<WORD>(~sum);
}

TEST(Checksums, ChecksumTakesTheTwoBytesBehindOddData) {
    EXPECT_EQ(Checksum::GetChecksum(nullptr, 4), 0xFFFF);

    std::mt19937_64 random(13);
    for (const CpuLevel eLevel : {CpuLevel::Plain, CpuLevel::Avx2}) {
        const LevelScope level(eLevel);
        for (int i = 0; i < 350; ++i) {
            // Exactly as long as the header asks for.
            const DWORD dwLength = static_cast<DWORD>(i < 300 ? i : random() % 5000);
            const std::vector<BYTE> vbyData = RandomBytes(random, dwLength + dwLength % 2 * 2);
            ASSERT_EQ(Checksum::GetChecksum(vbyData.data(), dwLength), ModelChecksum(vbyData, dwLength)) << dwLength;
        }
    }
    // 0x20002 words of 0xFFFF pass 2^32: the sum wraps before it is folded.
    const std::vector<BYTE> vbyFull(0x20002 * 2, 0xFF);
    EXPECT_EQ(Checksum::GetChecksum(vbyFull.data(), Length(vbyFull)), ModelChecksum(vbyFull, Length(vbyFull)));
}

/// Searches a copy that is exactly as long, so that a sanitizer sees a read beyond.
int Search(const HorspoolMatch& rMatch, const std::string& rData, int iStart) {
    const std::vector<BYTE> vby(rData.begin(), rData.end());
    return rMatch.Search(vby.data(), static_cast<DWORD>(vby.size()), iStart);
}

HorspoolMatch Pattern(const std::string& rText) {
    return HorspoolMatch(rText.data(), static_cast<int>(rText.size()));
}

TEST(HorspoolMatch, StartsOutsideTheDataFindNothing) {
    const HorspoolMatch oMatch = Pattern("abc");
    for (const int iStart : {-1, 4, 2147483647})
        EXPECT_EQ(Search(oMatch, "abc", iStart), -1) << iStart;
    EXPECT_EQ(oMatch.Search(nullptr, 8, 0), -1);
    const std::vector<BYTE> vby{'a', 'b', 'c'};
    EXPECT_EQ(HorspoolMatch(oMatch).Search(ByteBuffer(vby), 0), 0);
}

TEST(HorspoolMatch, AnEmptyPatternIsNeverFound) {
    RecordingSink oSink;
    for (const HorspoolMatch& rMatch : {HorspoolMatch("abc", 0), HorspoolMatch("abc", -1),
                                        HorspoolMatch("abc", -2147483647 - 1), HorspoolMatch(nullptr, 3)}) {
        EXPECT_EQ(Search(rMatch, "abc", 0), -1);
    }
    EXPECT_EQ(oSink.Count("A pattern of length 0 is never found."), 4u);
}

TEST(HorspoolMatch, AgreesWithAPlainSearchWithEveryEngine) {
    std::mt19937_64 random(21);
    for (const CpuLevel eLevel : {CpuLevel::Plain, CpuLevel::Avx2}) {
        const LevelScope level(eLevel);
        for (int i = 0; i < 8000; ++i) {
            // Few different bytes, so that patterns nearly match everywhere; now and then a long pattern.
            const unsigned uLetters = 1 + static_cast<unsigned>(random() % 3);
            const std::size_t cPattern = 1 + random() % (i % 10 == 0 ? 400 : 40);
            std::string data(random() % 600, 'a');
            std::string pattern(cPattern, 'a');
            for (char& rch : data)
                rch = static_cast<char>('a' + random() % uLetters);
            for (char& rch : pattern)
                rch = static_cast<char>('a' + random() % uLetters);
            if (i % 2 == 0 && data.size() > cPattern)
                pattern = data.substr(random() % (data.size() - cPattern), cPattern);
            const std::size_t cStart = random() % (data.size() + 1);
            const std::size_t cFound = data.find(pattern, cStart);
            ASSERT_EQ(Search(Pattern(pattern), data, static_cast<int>(cStart)),
                      cFound == std::string::npos ? -1 : static_cast<int>(cFound))
                << "'" << pattern << "' in '" << data << "' from " << cStart;
        }
    }
}

TEST(HorspoolMatch, FindsBehindManyNearMatches) {
    // Both ends match at every offset and the middle never does, until the very end: the search changes its way.
    const std::string pattern = "a" + std::string(40, 'b') + "a";
    const std::string data = std::string(20000, 'a') + pattern;
    EXPECT_EQ(Search(Pattern(pattern), data, 5), 19999 + 1);
}

}  // namespace
