/// @file
/// Name spaces and the block that stores them.
#include "utilities/attributebytes/PersistentAttributes.h"

#include <gtest/gtest.h>

#include "formats/AttributeSamples.h"
#include "support/Narrow.h"
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
    EXPECT_EQ(HexOf(AttributeBytesNameSpaces()), "41424E5301000200030004004142494C4142524C");
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
    EXPECT_EQ(oNameSpaces.GetNameSpaceByIndex(1), 2);
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
    EXPECT_TRUE(oImported.Exists(2));
}

TEST(AttributeBytesNameSpacesTest, AStateThatIsNoneIsRefusedWhole) {
    const char* const aszRefused[] = {
        "53 4E4241 0100020003000400 4142494C 4142524C",                                       // signature
        "41424E53 0100020003000400 4142524C",                                                 // no indexed list
        "41424E53 0100020003000400 4142494C 4142524C 0201000000 0B 00 00 04000000 4142524C",  // a feature
        "41424E53 0100020003000400 4142494C 4142524C 0901000000 05 00 01",                    // no list
    };
    for (const char* const psz : aszRefused) {
        AttributeBytesNameSpaces oNameSpaces = MakeNameSpaces();
        EXPECT_THROW(oNameSpaces.ImportAttributeBytesNameSpacesState(BufferOf(psz)),
                     ExceptionMissingOrBadAttributeBytesFormat)
            << psz;
        EXPECT_EQ(HexOf(oNameSpaces), HexOf(MakeNameSpaces()));
    }
    AttributeBytesNameSpaces oNameSpaces;
    EXPECT_THROW(oNameSpaces.ImportAttributeBytesNameSpacesState(BufferOf("41424E53 01000200030004")),
                 ExceptionNotEnoughBytesForDesiredDataType);
}

TEST(PersistentAttributesTest, ABlockGivesBackWhatItWasBuiltFrom) {
    RecordingSink oSink(DebugCategory::AttrBytes);
    const PersistentAttributes oBuilt(MakeNameSpaces());
    const ByteBuffer bbBlock = oBuilt.GetPersistentAttributesState();
    EXPECT_EQ(test::HexOf(bbBlock).substr(0, 16), "1000000001000720");
    EXPECT_EQ(test::HexOf(ByteBuffer(bbBlock.data() + bbBlock.size() - 13, 13)), "02FFFFFFFF00000055434F4D35");
    EXPECT_EQ(oSink.Count("bytes, down from 85)."), 1U);
    EXPECT_EQ(oSink.Count("Getting PersistentAttributes state (size=" + std::to_string(bbBlock.size()) + " bytes)"),
              1U);

    struct Row {
        bool fTrusted;
        std::vector<std::string> texts;
    };
    const Row ROWS[] = {
        {false,
         {"The state data is not an older version, so returning the unmodified source buffer.",
          "Break the state data buffer into the components: header and AttributeBytesNameSpaces state data.",
          "Convert the compressed data into a CompressedBuffer.",
          "Decompress the data in the CompressedBuffer and create a new ByteBuffer.",
          "Data is OK. Got real, decompressed data from raw data buffer. Size is what we expected.",
          "Compressed data is valid. Import request fulfilled."}},
        {true, {"The state data from the trusted source passes a minimal validity test. Import request fulfilled."}},
    };
    for (const Row& rRow : ROWS) {
        PersistentAttributes oImported;
        DriverVersion oVersion;
        oSink.Clear();
        EXPECT_TRUE(oImported.ImportPersistentAttributesState(bbBlock, oVersion, rRow.fTrusted, false));
        EXPECT_TRUE(oVersion == DriverVersion::GetLibraryVersion());
        EXPECT_EQ(HexOf(oImported.GetAttributeBytesNameSpaces()), HexOf(MakeNameSpaces()));
        EXPECT_EQ(oImported.GetStateData(), bbBlock);
        EXPECT_EQ(oImported.GetAttributeBytesListForNameSpace(2)->GetIntegerValue(AttributeBytesFeatureId(258)), 7);
        for (const std::string& rText : rRow.texts)
            EXPECT_EQ(oSink.Count(rText), 1U) << rText;
    }
    EXPECT_EQ(HexOf(PersistentAttributes(bbBlock).GetAttributeBytesNameSpaces()), HexOf(MakeNameSpaces()));
    const PersistentAttributes oEmpty;
    EXPECT_TRUE(oEmpty.GetStateData().empty());
    EXPECT_TRUE(PersistentAttributes(oEmpty.GetPersistentAttributesState()).GetAttributeBytesNameSpaces().IsEmpty());
}

TEST(PersistentAttributesTest, AHeaderOfAnotherVersionIsIgnoredWhateverBitDiffers) {
    const ByteBuffer bbBlock = BlockOf(EMPTY_STATE);
    for (int iBit = 0; iBit < 64; ++iBit) {
        ByteBuffer bbOther(bbBlock);
        bbOther[static_cast<std::size_t>(iBit / 8)] ^= static_cast<BYTE>(1 << (iBit % 8));
        PersistentAttributes oTarget(MakeNameSpaces());
        DriverVersion oVersion(9, 9, 9, 9);
        RecordingSink oSink(DebugCategory::AttrBytes);
        EXPECT_FALSE(oTarget.ImportPersistentAttributesState(bbOther, oVersion, false, false)) << iBit;
        EXPECT_EQ(HexOf(oTarget.GetAttributeBytesNameSpaces()), HexOf(MakeNameSpaces()));
        EXPECT_TRUE(oVersion == DriverVersion(9, 9, 9, 9));
        EXPECT_EQ(
            oSink.Count("Import request ignored. Don't have header structure of the most recent version. The header "
                        "information doesn't exist or doesn't match."),
            1U);
    }
}

TEST(PersistentAttributesTest, ABadBlockIsRefusedByNameAndChangesNothing) {
    const ByteBuffer bbGood = BlockOf(EMPTY_STATE);
    ByteBuffer bbShortFooter(bbGood);
    ByteBuffer bbLongFooter(bbGood);
    bbShortFooter[bbGood.size() - 5] -= 1;  // the original size, big-endian
    bbLongFooter[bbGood.size() - 5] += 1;
    ByteBuffer bbBadImage(bbGood);
    bbBadImage[16] ^= 1;
    enum Failure { Persistent, Footer, Attribute, Compression, TooShort };
    struct Row {
        ByteBuffer bbBlock;
        Failure eFailure;
        std::string message;
    };
    const Row ROWS[] = {
        {ByteBuffer(), Persistent,
         "The ByteBuffer data is not big enough (0 bytes) to contain the required header  (16 bytes)!"},
        {ByteBuffer(bbGood.data(), 15), Persistent,
         "The ByteBuffer data is not big enough (15 bytes) to contain the required header  (16 bytes)!"},
        {ByteBuffer(bbGood.data(), 16), Footer, "Footer information missing"},
        {ByteBuffer(bbGood.data(), bbGood.size() - 1), Footer, "Footer information missing"},
        {bbShortFooter, Persistent, "Size of decompressed data (20) doesn't match the expected original size (19)."},
        {bbLongFooter, Persistent, "Size of decompressed data (20) doesn't match the expected original size (21)."},
        {bbBadImage, Compression, ""},
        {BlockOf("41424E54 0100020003000400 4142494C 4142524C"), Attribute, "signature"},
        {BlockOf("41424E53 0100"), TooShort, "too small (2 bytes)"},
        {BlockOf(""), TooShort, "too small (0 bytes)"},
    };
    for (const Row& rRow : ROWS) {
        for (const bool fTrusted : {false, true}) {
            SCOPED_TRACE(rRow.message);
            PersistentAttributes oTarget(MakeNameSpaces());
            const ByteBuffer bbFormer = oTarget.GetStateData();
            DriverVersion oVersion(9, 9, 9, 9);
            Failure eFailure{};
            std::string message;
            try {
                oTarget.ImportPersistentAttributesState(rRow.bbBlock, oVersion, fTrusted, true);
                ADD_FAILURE() << "accepted";
            } catch (const VelomException& rException) {
                message = Narrow(rException.GetExceptionMesage().View());
                const std::string type = Narrow(rException.GetExceptionType().View());
                eFailure = type.find("PersistentAttributesFormat") != std::string::npos ? Persistent
                           : type.find("CompressedBufferFooter") != std::string::npos   ? Footer
                           : type.find("AttributeBytesFormat") != std::string::npos     ? Attribute
                           : type.find("NotEnoughBytesForDesired") != std::string::npos ? TooShort
                                                                                        : Compression;
            }
            EXPECT_EQ(eFailure, rRow.eFailure) << message;
            EXPECT_NE(message.find(rRow.message), std::string::npos) << message;
            EXPECT_EQ(oTarget.GetStateData(), bbFormer);
            EXPECT_EQ(HexOf(oTarget.GetAttributeBytesNameSpaces()), HexOf(MakeNameSpaces()));
            EXPECT_TRUE(oVersion == DriverVersion(9, 9, 9, 9));
        }
    }
}

TEST(PersistentAttributesTest, EveryVariantOfABlockEndsInANamedOutcome) {
    const ByteBuffer bbBlock = BlockOf(EMPTY_STATE);
    FieldTable oTable("persistent block");
    const auto bytes = [&bbBlock](std::size_t begin, std::size_t end) {
        return std::vector<BYTE>(bbBlock.data() + begin, bbBlock.data() + end);
    };
    const std::size_t cbImageEnd = bbBlock.size() - 13;
    oTable.Size(4, 16).Data(bytes(4, 16)).EndHeader().Data(bytes(16, cbImageEnd)).EndUnit();
    oTable.Tag(2).Data(bytes(cbImageEnd + 1, cbImageEnd + 5)).Size(4, 20, true).Data({'C', 'O', 'M', '5'}).EndUnit();
    ASSERT_EQ(oTable.Bytes(), bbBlock.GetVector());
    const std::string before = HexOf(MakeNameSpaces());
    int iTaken = 0;
    oTable.ForEachVariant([&](const std::vector<BYTE>& rvbyVariant, const std::string& rWhat) {
        PersistentAttributes oTarget(MakeNameSpaces());
        DriverVersion oVersion;
        bool fTaken = false;
        try {
            const ByteBuffer bbVariant(rvbyVariant.data(), rvbyVariant.size());
            fTaken = oTarget.ImportPersistentAttributesState(bbVariant, oVersion, false, false);
        } catch (const ExceptionMissingOrBadPersistentAttributesFormat&) {
        } catch (const ExceptionMissingOrBadAttributeBytesFormat&) {
        } catch (const ExceptionMissingOrBadCompressedBufferFooter&) {
        } catch (const ExceptionIncompatibleCompressionFormat&) {
        } catch (const ExceptionCompression&) {
        } catch (const ExceptionNotEnoughBytesForDesiredDataType&) {
        } catch (const VelomException& rException) {
            ADD_FAILURE() << rWhat << ": " << Narrow(rException.GetExceptionType().View());
        }
        iTaken += fTaken;
        if (!fTaken) {
            EXPECT_EQ(HexOf(oTarget.GetAttributeBytesNameSpaces()), before) << rWhat;
        }
    });
    EXPECT_GT(iTaken, 64) << "any driver version is taken";
}

TEST(PersistentAttributesTest, TheBreakdownNamesSizesOfAnyBlock) {
    RecordingSink oSink(DebugCategory::AttrDump);
    PersistentAttributes::DumpStateData(BufferOf("11000000 01000720 0100020003000400 AABB"));
    EXPECT_EQ(oSink.Count("PersistentAttributes state data is 18 bytes"), 1U);
    EXPECT_EQ(oSink.Count("m_dwSize          = 17 (expecting 16)"), 1U);
    EXPECT_EQ(oSink.Count("There are 2 bytes of raw data."), 1U);
    oSink.Clear();
    PersistentAttributes::DumpStateData(ByteBuffer());
    EXPECT_EQ(oSink.Texts(), std::vector<std::string>{"PersistentAttributes state data is 0 bytes"});
}

}  // namespace
}  // namespace vlm::test
