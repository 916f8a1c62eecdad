/// @file
/// Cabinet files with several members: listing, extraction, names.
#include "utilities/compression/CabinetArchive.h"

#include <gtest/gtest.h>

#include "formats/Buffers.h"
#include "support/CabinetImages.h"
#include "support/DeflateBits.h"
#include "utilities/debuggingandexceptions/VelomExceptions.h"

namespace vlm {
namespace {

using test::ImageBytes;

/// "one" and "two" share an MSZIP folder, "drei\ä" and an empty file lie in a stored one.
ByteBuffer Archive() {
    test::ImageParts parts;
    ImageBytes shared(10, '1');
    shared.insert(shared.end(), 40000 - 10, '2');
    const ImageBytes first(shared.begin(), shared.begin() + 32768);
    const ImageBytes second(shared.begin() + 32768, shared.end());
    parts.vFolders.push_back({{{test::MsZipBlock(test::DeflateBits().Stored(true, first).Bytes()), 32768},
                               {test::MsZipBlock(test::DeflateBits().Stored(true, second).Bytes()), 7232}}});
    parts.vFolders.push_back({{{ImageBytes(20, '3'), 20}}, 0});
    parts.vFiles = {{"one", 10, 0, 0}, {"two", 39990, 10, 0}, {"drei\\\xC3\xA4", 20, 0, 1, 0xA0}, {"empty", 0, 20, 1}};
    return ByteBuffer(parts.Build());
}

TEST(CabinetArchive, ListsAndExtractsItsMembers) {
    const CabinetArchive archive(Archive());
    ASSERT_EQ(4U, archive.GetMembers().size());
    EXPECT_EQ(CXString(VTEXT("drei\\\u00E4")), archive.GetMembers()[2].csName);
    EXPECT_EQ(0xA0, archive.GetMembers()[2].wAttributes);
    EXPECT_EQ(0x226C, archive.GetMembers()[1].wDate);
    EXPECT_EQ(0x59BA, archive.GetMembers()[1].wTime);
    EXPECT_EQ(40020U, archive.GetOriginalDataSize());

    const ImageBytes CONTENTS[] = {ImageBytes(10, '1'), ImageBytes(39990, '2'), ImageBytes(20, '3'), {}};
    const std::vector<ByteBuffer> vbbAll = archive.ExtractAll(40020);
    for (std::size_t u = 0; u < 4; ++u) {
        EXPECT_EQ(CONTENTS[u], vbbAll[u].GetVector()) << u;
        EXPECT_EQ(CONTENTS[u], archive.Extract(u, archive.GetMembers()[u].dwBytes).GetVector()) << u;
    }
    EXPECT_THROW(archive.Extract(4), ExceptionIndexOutOfBounds);
    EXPECT_THROW(archive.Extract(1, 39989), ExceptionCompression);
    EXPECT_THROW(archive.ExtractAll(40019), ExceptionCompression);
}

TEST(CabinetArchive, NamesTheDefectOfADamagedFile) {
    ByteBuffer bb = Archive();
    bb[30] = 2;
    EXPECT_TRUE(test::MessageOf<ExceptionCompression>([&] {
                    CabinetArchive archive(std::move(bb));
                }).ends_with("is refused: the header's flags are not allowed, at offset 30."));
}

TEST(CabinetArchive, TellsSafeNamesFromDangerousOnes) {
    for (const XCHAR* psz :
         {VTEXT("a"), VTEXT("a.b"), VTEXT("dir\\file.txt"), VTEXT("dir/file"), VTEXT("a..b"), VTEXT(".hidden"),
          VTEXT("console"), VTEXT("com"), VTEXT("com10"), VTEXT("com\u2074"), VTEXT("conin"), VTEXT("\u00E4 b")}) {
        EXPECT_TRUE(CabinetArchive::IsSafeName(CXString(psz)));
    }
    for (const XCHAR* psz :
         {VTEXT(""),          VTEXT("."),           VTEXT(".."),     VTEXT("..."),         VTEXT("..\\a"),
          VTEXT("a\\..\\b"),  VTEXT("a/../b"),      VTEXT("\\a"),    VTEXT("/a"),          VTEXT("a\\"),
          VTEXT("a\\\\b"),    VTEXT("C:a"),         VTEXT("C:\\a"),  VTEXT("a:stream"),    VTEXT("a."),
          VTEXT("a "),        VTEXT("a?"),          VTEXT("a*"),     VTEXT("a\x01"),       VTEXT("nul"),
          VTEXT("NUL.txt"),   VTEXT("d\\Con"),      VTEXT("aux .x"), VTEXT("COM1"),        VTEXT("lpt9.log"),
          VTEXT("com\u00B9"), VTEXT("LPT\u00B3.x"), VTEXT("conin$"), VTEXT("d\\CONOUT$.x")}) {
        EXPECT_FALSE(CabinetArchive::IsSafeName(CXString(psz)));
    }
    EXPECT_TRUE(CabinetArchive::IsSafeName(CXString(VTEXT('n'), 200)));
    EXPECT_FALSE(CabinetArchive::IsSafeName(CXString(VTEXT('n'), 201)));
}

}  // namespace
}  // namespace vlm
