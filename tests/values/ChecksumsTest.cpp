/// @file
/// CRC-32, hashes and checksums: published values, and every fast form against the form that defines it.
#include <gtest/gtest.h>

#include <cstring>
#include <random>

#include "support/Bytes.h"
#include "support/RecordingSink.h"
#include "utilities/utilitiesdll/ByteBuffer.h"
#include "utilities/utilitiesdll/Checksum.h"
#include "utilities/utilitiesdll/Crc32.h"
#include "utilities/utilitiesdll/Hash32.h"
#include "utilities/utilitiesdll/detail/values/CpuLevel.h"
#include "utilities/utilitiesdll/detail/values/CrcKernels.h"
#include "utilities/utilitiesdll/detail/values/ElfHash.h"

namespace {

using vlm::CpuLevel;
using vlm::test::BytesOf;
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

constexpr CpuLevel LEVELS[] = {CpuLevel::Plain, CpuLevel::Clmul, CpuLevel::Avx2, CpuLevel::Avx512};

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

TEST(Checksums, PublishedValues) {
    const std::vector<BYTE> vbyDigits = BytesOf("123456789");
    EXPECT_EQ(Crc32::GetCrc(vbyDigits.data(), Length(vbyDigits)), 0xCBF43926u);
    EXPECT_EQ(Crc32::GetCrc(nullptr, 0), 0u);
    EXPECT_EQ(Crc32::GetCrc(vbyDigits.data(), 0, 0x12345678), ~DWORD{0x12345678});
    // In pieces: the register goes on from the complement of the last result.
    const DWORD dwFirst = Crc32::GetCrc(vbyDigits.data(), 4);
    EXPECT_EQ(Crc32::GetCrc(vbyDigits.data() + 4, 5, ~dwFirst), 0xCBF43926u);

    const struct {
        const char* pszText;
        DWORD dwElf;
    } aoRows[] = {{"", 0}, {"exit", 0x0006CF04}, {"printf", 0x077905A6}, {"syscall", 0x0B09985C}};
    for (const auto& rRow : aoRows) {
        const std::vector<BYTE> vby = BytesOf(rRow.pszText);
        EXPECT_EQ(vlm::ElfHash(vby.data(), vby.size()), rRow.dwElf) << rRow.pszText;
        EXPECT_EQ(vlm::ElfHashPlain(vby.data(), vby.size()), rRow.dwElf) << rRow.pszText;
    }
}

TEST(Checksums, EveryFormOfTheCrcAgreesAtEveryLevel) {
    std::mt19937_64 random(11);
    for (const CpuLevel eLevel : LEVELS) {
        const LevelScope level(eLevel);
        for (std::size_t cBytes = 0; cBytes <= 1100; cBytes += cBytes < 600 ? 1 : 37) {
            const std::vector<BYTE> vby = RandomBytes(random, cBytes);
            const DWORD dwSeed = static_cast<DWORD>(random());
            const DWORD dwExpected = ~vlm::UpdateCrcPlain(dwSeed, vby.data(), cBytes);
            ASSERT_EQ(Crc32::GetCrc(vby.data(), Length(vby), dwSeed), dwExpected)
                << cBytes << " bytes at level " << static_cast<int>(eLevel);
        }
    }
}

TEST(Checksums, TheFastElfHashIsTheElfHash) {
    std::mt19937_64 random(12);
    for (int i = 0; i < 20000; ++i) {
        const std::vector<BYTE> vby = RandomBytes(random, random() % 300);
        ASSERT_EQ(vlm::ElfHash(vby.data(), vby.size()), vlm::ElfHashPlain(vby.data(), vby.size())) << vby.size();
    }
}

TEST(Checksums, HashJoinsBothAndIsNeverZero) {
    EXPECT_EQ(Hash32::GetHash32(nullptr, 5), 0u);
    EXPECT_EQ(Hash32::GetHash32(BytesOf("x").data(), 0), 0u);
    EXPECT_EQ(Hash32::GetHash32(CXString()), 0u);
    EXPECT_EQ(Hash32::GetHash16(nullptr, 5), 0u);

    const std::vector<BYTE> vby = BytesOf("printf");
    const DWORD dwHash = 0x077905A6 ^ Crc32::GetCrc(vby.data(), Length(vby));
    EXPECT_EQ(Hash32::GetHash32(vby.data(), Length(vby)), dwHash);
    EXPECT_EQ(Hash32::GetHash32(ByteBuffer(vby)), dwHash);
    const std::vector<BYTE> vbyUnits = vlm::test::FromHex("7000 7200");
    EXPECT_EQ(Hash32::GetHash32(CXString(VTEXT("pr"))), Hash32::GetHash32(vbyUnits.data(), 4));
    EXPECT_EQ(Hash32::GetHash16(vby.data(), Length(vby)), static_cast<WORD>((dwHash >> 16) + dwHash));
    EXPECT_EQ(Hash32::Hash16FromHash32(0xFFFF0002), 1);

    // Six bytes, found by search, whose two halves are the same: the hash would be 0.
    const std::vector<BYTE> vbyEqual = vlm::test::FromHex("7A7A6212007D");
    EXPECT_EQ(vlm::ElfHashPlain(vbyEqual.data(), 6), Crc32::GetCrc(vbyEqual.data(), 6));
    EXPECT_EQ(Hash32::GetHash32(vbyEqual.data(), 6), 1u);

    EXPECT_EQ(Hash32::AddToHash32(0, vby.data(), 0), 0u);
    EXPECT_EQ(Hash32::AddToHash32(77, nullptr, 6), 77u);
    EXPECT_EQ(Hash32::AddToHash32(5, vby.data(), Length(vby)), dwHash + 5);
    EXPECT_EQ(Hash32::AddToHash32(0 - dwHash, vby.data(), Length(vby)), 0xFFFFFFFFu);
}

TEST(Checksums, DeviceModesAreHashedToTheirOwnSize) {
    std::vector<BYTE> vbyBlock(300);
    for (std::size_t i = 0; i < vbyBlock.size(); ++i)
        vbyBlock[i] = static_cast<BYTE>(i * 7);
    const auto setSizes = [&](WORD wSize, WORD wExtra) {
        std::memcpy(&vbyBlock[68], &wSize, 2);
        std::memcpy(&vbyBlock[70], &wExtra, 2);
    };
    const DEVMODEW* const pDevMode = reinterpret_cast<const DEVMODEW*>(vbyBlock.data());
    setSizes(220, 30);
    EXPECT_EQ(Hash32::GetHash32(pDevMode), Hash32::GetHash32(vbyBlock.data(), 250));
    EXPECT_EQ(Hash32::GetBoundedHash32(pDevMode, 250), Hash32::GetHash32(vbyBlock.data(), 250));
    EXPECT_EQ(Hash32::GetHash32(static_cast<const DEVMODEW*>(nullptr)), 0u);

    RecordingSink oSink;
    EXPECT_EQ(Hash32::GetBoundedHash32(pDevMode, 249), 0u);
    EXPECT_EQ(Hash32::GetBoundedHash32(pDevMode, 71), 0u);
    setSizes(71, 30);
    EXPECT_EQ(Hash32::GetBoundedHash32(pDevMode, 300), 0u);
    setSizes(72, 65535);
    EXPECT_EQ(Hash32::GetBoundedHash32(pDevMode, 300), 0u);
    EXPECT_EQ(oSink.Count("The device mode of 300 bytes claims 72 public and 65535 private bytes."), 1u);
    EXPECT_EQ(oSink.Reports().size(), 4u);
    setSizes(72, 0);
    EXPECT_NE(Hash32::GetBoundedHash32(pDevMode, 72), 0u);
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
    const std::vector<BYTE> vby = vlm::test::FromHex("0102 03 0405");
    EXPECT_EQ(Checksum::GetChecksum(vby.data(), 2), 0xFDFC);
    EXPECT_EQ(Checksum::GetChecksum(vby.data(), 3), static_cast<WORD>(~(0x0201 + 0x0403 + 5 + 3)));
    EXPECT_EQ(Checksum::GetChecksum(vby.data(), 0), 0xFFFF);
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

}  // namespace
