/// @file
/// Name spaces and the block that stores them.
#include "utilities/attributebytes/PersistentAttributes.h"

#include <gtest/gtest.h>

#include "formats/AttributeSamples.h"
#include "support/RecordingSink.h"
#include "utilities/debuggingandexceptions/VelomExceptions.h"

namespace vlm::test {
namespace {

AttributeBytesNameSpaces MakeNameSpaces() {
    AttributeBytesNameSpaces oNameSpaces;
    AttributeBytesIndexedList oList;
    oList.AddAttributeBytes(IntegerRecord(258, 7));
    oNameSpaces.SetNameSpaceAttributes(2, oList, 3);
    oList.AddAttributeBytes(IntegerRecord(1, 8));
    oNameSpaces.SetNameSpaceAttributes(-1, oList);
    return oNameSpaces;
}

std::string HexOf(const AttributeBytesNameSpaces& rNameSpaces) {
    return test::HexOf(rNameSpaces.GetAttributeBytesNameSpacesState(DriverVersion(1, 2, 3, 4)));
}

ByteBuffer BlockOf(const std::string& rNameSpacesHex) {
    PersistentAttributes::HeaderStructure oHeader;
    PersistentAttributes::InitializeHeaderStructure(oHeader);
    ByteBuffer bbBlock;
    PersistentAttributes::CreateStateDataFromComponents(oHeader, BufferOf(rNameSpacesHex), bbBlock);
    return bbBlock;
}

const char* const EMPTY_STATE = "41424E53 0100020003000400 4142494C 4142524C";

TEST(AttributeBytesNameSpacesTest, EachNameSpaceHoldsItsRecordsAndTheStateHoldsAll) {
    AttributeBytesNameSpaces oNameSpaces = MakeNameSpaces();
    EXPECT_EQ(HexOf(oNameSpaces),
              "41424E530100020003000400"
              "4142494C4142524C"
              "09FFFFFFFF0B00"
              "001A000000"
              "4142524C"
              "0201000000030008000000"
              "0202010000030007000000"
              "09020000000B00"
              "030F000000"
              "4142524C"
              "0202010000030007000000");
    EXPECT_EQ(oNameSpaces.GetNumberOfNameSpaces(), 2U);
    EXPECT_EQ(oNameSpaces.GetNameSpaceByIndex(0), -1);
    EXPECT_THROW(oNameSpaces.GetNameSpaceByIndex(2), ExceptionIndexOutOfBounds);
    EXPECT_EQ(oNameSpaces.GetNameSpaceAttributes(-1)->GetIntegerValue(AttributeBytesFeatureId(1)), 8);
    EXPECT_EQ(oNameSpaces.GetKindOfList(2), 3);
    EXPECT_TRUE(oNameSpaces.GetAttributeBytesRawList(2).LengthIsExactlyOne());
    EXPECT_THROW(oNameSpaces.GetNameSpaceAttributes(3), ExceptionFeatureNotFound);

    AttributeBytesNameSpaces oImported;
    RecordingSink oSink(DebugCategory::AttrBytes);
    EXPECT_TRUE(oImported.ImportAttributeBytesNameSpacesState(BufferOf(HexOf(oNameSpaces))) ==
                DriverVersion(1, 2, 3, 4));
    EXPECT_EQ(oSink.Count("State data is version 1.2.3.4"), 1U);
    EXPECT_EQ(HexOf(oImported), HexOf(oNameSpaces));
    oNameSpaces.DeleteNameSpaceAttributes(2);
    EXPECT_FALSE(oNameSpaces.Exists(2));
    // A state that is none is refused whole.
    for (const char* const psz :
         {"53 4E4241 0100020003000400 4142494C 4142524C",                                       // signature
          "41424E53 0100020003000400 4142524C",                                                 // no indexed list
          "41424E53 0100020003000400 4142494C 4142524C 0201000000 0B 00 00 04000000 4142524C",  // a feature
          "41424E53 0100020003000400 4142494C 4142524C 0901000000 05 00 01"}) {                 // no list
        EXPECT_THROW(oImported.ImportAttributeBytesNameSpacesState(BufferOf(psz)),
                     ExceptionMissingOrBadAttributeBytesFormat)
            << psz;
    }
    EXPECT_EQ(HexOf(oImported), HexOf(MakeNameSpaces()));
}

TEST(PersistentAttributesTest, ABlockGivesBackWhatItWasBuiltFrom) {
    RecordingSink oSink(DebugCategory::AttrBytes | DebugCategory::AttrDump);
    const PersistentAttributes oBuilt(MakeNameSpaces());
    const ByteBuffer bbBlock = oBuilt.GetPersistentAttributesState();
    const std::string size = std::to_string(bbBlock.size());
    EXPECT_EQ(test::HexOf(bbBlock).substr(0, 16), "1000000001000720");
    EXPECT_EQ(test::HexOf(ByteBuffer(bbBlock.data() + bbBlock.size() - 13, 13)), "02FFFFFFFF00000055434F4D35");
    EXPECT_EQ(oSink.Count("bytes, down from 85)."), 1U);
    EXPECT_EQ(oSink.Count("Getting PersistentAttributes state (size=" + size + " bytes)"), 1U);
    const struct {
        bool fTrusted;
        std::vector<std::string> texts;
    } aoRows[] = {
        {false,
         {"The state data is not an older version, so returning the unmodified source buffer.",
          "Break the state data buffer into the components: header and AttributeBytesNameSpaces state data.",
          "Convert the compressed data into a CompressedBuffer.",
          "Decompress the data in the CompressedBuffer and create a new ByteBuffer.",
          "Data is OK. Got real, decompressed data from raw data buffer. Size is what we expected.",
          "Compressed data is valid. Import request fulfilled."}},
        {true,
         {"The state data from the trusted source passes a minimal validity test. Import request fulfilled.",
          "PersistentAttributes state data is " + size + " bytes", "m_dwSize          = 16 (expecting 16)",
          "There are " + std::to_string(bbBlock.size() - 16) + " bytes of raw data."}},
    };
    for (const auto& rRow : aoRows) {
        PersistentAttributes oImported;
        DriverVersion oVersion;
        oSink.Clear();
        EXPECT_TRUE(oImported.ImportPersistentAttributesState(bbBlock, oVersion, rRow.fTrusted, rRow.fTrusted));
        EXPECT_TRUE(oVersion == DriverVersion::GetLibraryVersion());
        EXPECT_EQ(HexOf(oImported.GetAttributeBytesNameSpaces()), HexOf(MakeNameSpaces()));
        EXPECT_EQ(oImported.GetStateData(), bbBlock);
        EXPECT_EQ(oImported.GetAttributeBytesListForNameSpace(2)->GetIntegerValue(AttributeBytesFeatureId(258)), 7);
        for (const std::string& rText : rRow.texts)
            EXPECT_EQ(oSink.Count(rText), 1U) << rText;
    }
    PersistentAttributes::SetPredefinedNameSpaceIds(7, 8, 9);
    EXPECT_EQ(PersistentAttributes::GetDataModelDocPropNameSpaceId(), 7);
    EXPECT_EQ(PersistentAttributes::GetDataModelDevicePropNameSpaceId(), 8);
    EXPECT_EQ(PersistentAttributes::GetMsDeviceCapabilitiesNameSpaceId(), 9);
    PersistentAttributes::SetPredefinedNameSpaceIds(1, 2, 3);
    const PersistentAttributes oEmpty;
    EXPECT_TRUE(oEmpty.GetStateData().empty());
    EXPECT_TRUE(PersistentAttributes(oEmpty.GetPersistentAttributesState()).GetAttributeBytesNameSpaces().IsEmpty());
}

TEST(PersistentAttributesTest, AHeaderOfAnotherVersionIsIgnoredWhateverBitDiffers) {
    const ByteBuffer bbBlock = BlockOf(EMPTY_STATE);
    PersistentAttributes oTarget(MakeNameSpaces());
    DriverVersion oVersion(9, 9, 9, 9);
    RecordingSink oSink(DebugCategory::AttrBytes);
    for (unsigned iBit = 0; iBit < 64; ++iBit) {
        ByteBuffer bbOther(bbBlock);
        bbOther[iBit / 8] ^= static_cast<BYTE>(1 << (iBit % 8));
        EXPECT_FALSE(oTarget.ImportPersistentAttributesState(bbOther, oVersion, false, false)) << iBit;
    }
    EXPECT_EQ(HexOf(oTarget.GetAttributeBytesNameSpaces()), HexOf(MakeNameSpaces()));
    EXPECT_TRUE(oVersion == DriverVersion(9, 9, 9, 9));
    EXPECT_EQ(oSink.Count("Import request ignored. Don't have header structure of the most recent version. The header "
                          "information doesn't exist or doesn't match."),
              64U);
}

TEST(PersistentAttributesTest, ABadBlockIsRefusedByNameAndChangesNothing) {
    const ByteBuffer bbGood = BlockOf(EMPTY_STATE);
    const auto changed = [&bbGood](std::size_t i, int iBy) {
        ByteBuffer bb(bbGood);
        bb[i] = static_cast<BYTE>(bb[i] + iBy);
        return bb;
    };
    const std::size_t iSize = bbGood.size() - 5;  // the original size's last byte
    const struct {
        ByteBuffer bbBlock;
        const char* pszType;
        const char* pszMessage;
    } aoRows[] = {
        {ByteBuffer(bbGood.data(), 15), "PersistentAttributesFormat",
         "The ByteBuffer data is not big enough (15 bytes) to contain the required header  (16 bytes)!"},
        {ByteBuffer(bbGood.data(), 16), "CompressedBufferFooter", "Footer information missing"},
        {ByteBuffer(bbGood.data(), bbGood.size() - 1), "CompressedBufferFooter", "Footer information missing"},
        {changed(iSize, -1), "PersistentAttributesFormat",
         "Size of decompressed data (20) doesn't match the expected original size (19)."},
        {changed(iSize, 1), "PersistentAttributesFormat",
         "Size of decompressed data (20) doesn't match the expected original size (21)."},
        {changed(16, 1), "ExceptionCompression", ""},
        {BlockOf("41424E54 0100020003000400 4142494C 4142524C"), "AttributeBytesFormat", "signature"},
        {BlockOf("41424E53 0100"), "NotEnoughBytes", "too small (2 bytes)"},
        {BlockOf(""), "NotEnoughBytes", "too small (0 bytes)"},
    };
    PersistentAttributes oTarget(MakeNameSpaces());
    const ByteBuffer bbFormer = oTarget.GetStateData();
    DriverVersion oVersion(9, 9, 9, 9);
    for (const auto& rRow : aoRows) {
        for (const bool fTrusted : {false, true}) {
            std::string type, message;
            try {
                oTarget.ImportPersistentAttributesState(rRow.bbBlock, oVersion, fTrusted, true);
            } catch (const VelomException& rException) {
                message = Narrow(rException.GetExceptionMesage().View());
                type = Narrow(rException.GetExceptionType().View());
            }
            EXPECT_NE(type.find(rRow.pszType), std::string::npos) << type;
            EXPECT_NE(message.find(rRow.pszMessage), std::string::npos) << message;
        }
    }
    EXPECT_EQ(oTarget.GetStateData(), bbFormer);
    EXPECT_EQ(HexOf(oTarget.GetAttributeBytesNameSpaces()), HexOf(MakeNameSpaces()));
    EXPECT_TRUE(oVersion == DriverVersion(9, 9, 9, 9));
}

}  // namespace
}  // namespace vlm::test
