/// @file
/// PDL command files and what their instructions expand to.
#include "environment/PdlCommands.h"

#include <gtest/gtest.h>

#include <string>

#include "support/Bytes.h"
#include "support/Narrow.h"
#include "support/RecordingSink.h"
#include "utilities/Bounds.h"
#include "utilities/debuggingandexceptions/VelomExceptions.h"

namespace vlm::test {

namespace {

PdlCommands Parse(const std::string& rText) {
    const std::vector<BYTE> vby = BytesOf(rText);
    return PdlCommands::Parse(ByteBuffer(vby.data(), vby.size()));
}

std::string Show(const PdlCommands& rCommands) {
    std::string str;
    for (const PdlCommands::Instruction& r : rCommands.GetInstructions()) {
        str += Narrow(r.csFeature.View()) + "/" + Narrow(r.csOption.View()) + "/" + std::to_string(r.dwPdls) + "/" +
               Narrow(r.csText.View()) + "|";
    }
    return str;
}

std::string Set(const std::string& rInside) {
    return "<FeatureSet>" + rInside + "</FeatureSet>";
}
std::string Item(const std::string& rInside) {
    return Set("<FeatureItem>" + rInside + "</FeatureItem>");
}

TEST(PdlCommandsTest, FilesGiveTheirInstructions) {
    const std::pair<std::string, const char*> aRows[] = {
        {Set(""), ""},
        {"<?xml version='1.0'?><!DOCTYPE x>\n<!-- <Instruction> -->" +
             Item("<Description a='1'> D 1 </Description><PDLSet><PDL>PCL5</PDL><Qualifier>Q</Qualifier>"
                  "<Instruction>\n &amp;a b \t;\r\n c\n</Instruction></PDLSet>"),
         "D 1/Q/1/&amp;a b ; c|"},
        {Item("<Description>D</Description><PDLSet><PDL>PCL5</PDL><PDL>PCL6</PDL><Qualifier>Q</Qualifier>"
              "<Instruction>1</Instruction><PDL>PCL6</PDL><Instruction>2</Instruction></PDLSet>"
              "<PDLSet><PDL>PCL5</PDL><Instruction>3</Instruction></PDLSet>"),
         "D/Q/3/1|D/Q/2/2|D//1/3|"},
        {Item("<Description>D</Description><PDLSet><PDL>PCL5</PDL></PDLSet><Qualifier>Q</Qualifier>"
              "<Instruction>1</Instruction>"),
         "D/Q/1/1|"},
        {Set("<FeatureItem><Description>D</Description></FeatureItem><FeatureItem><Other><Deep/></Other>"
             "<PDL>PCL3</PDL><Instruction/></FeatureItem>"),
         "//0/|"},
    };
    for (const auto& [text, records] : aRows)
        EXPECT_EQ(Show(Parse(text)), records) << text;
}

TEST(PdlCommandsTest, FilesThatAreNotSoAreRefusedWithTheirLine) {
    const std::string aRows[] = {
        "",
        "<FeatureSet>",
        Set("<FeatureItem"),
        Set("<!-- "),
        Set("< />"),
        Set("<FeatureItem>"),
        Set("<PDL>PCL5</PDL>"),
        Item("<Instruction><b>1</b></Instruction>"),
        Item("<Instruction>1"),
        "<FeatureItem></FeatureItem>",
        Item(Set("")),
        Set("<a><b><c><d><e><f><g><h><i><j><k><l><m><n><o><p>"),
        std::string(bounds::MAX_PDL_FILE_BYTES + 1, ' '),
    };
    for (const std::string& rText : aRows)
        EXPECT_THROW(Parse(rText), ExceptionXMLConfigurationFileParseFailed) << rText.substr(0, 100);
    RecordingSink oSink;
    EXPECT_THROW(Parse("<FeatureSet>\n\n<a></b>"), ExceptionXMLConfigurationFileParseFailed);
    EXPECT_EQ(oSink.Count("a tag closes another element, at line 3."), 1u);
}

TEST(PdlCommandsTest, InstructionsExpandToTheBytesOfTheirLanguage) {
    const LONG alValues[] = {600, -3, 70000, 5};
    const struct {
        const char *pszText, *pszPcl6, *pszPcl5;  // bytes; null: there is no command
    } aRows[] = {
        {"", "", ""},
        {"a&Aacute;&ccdil;&ccedil;&THORN;&amp;&lt;&#27;&#x1b;&#255;", "61C1E7E7DE263C1B1BFF", "61C1E7E7DE263C1B1BFF"},
        {"&BeginPage;", "43", nullptr},
        {"&eA4Paper;&MediaSize;", "C002F825", "1B266C323641"},
        {"&eCOM10Envelope;&MediaSize;", "C006F825", "1B266C383141"},
        {"&eUpperCassette;&MediaSource;", "C004F826", "1B266C3148"},
        {"&ePlainMedia;&MediaType;", "C8C10500506C61696EF827", "1B266C304D"},
        {"&eDuplexVerticalBinding;&DuplexPageMode;", "C001F835", "1B266C3153"},
        {"&eSimplexFrontSide;&SimplexPageMode;", "C000F834", "1B266C3053"},
        {"&PhysicalAreaXY;&CustomMediaSize;&eMillimeter;&CustomMediaSizeUnits;", "D15802FDFFF82FC001F830", nullptr},
        {"&OriginXY;&PageOrigin;&SetPageOrigin;", "D35802FDFFF82A75", nullptr},
        {"&OriginXY;", "D35802FDFF", "1B2A70363030782D3359"},
        {"&eDisable;&SetAdaptiveHalftoning;&SetColorTrapping;&SetColorTreatment;&SetHalftonMethod;&SetNeutralAxis;",
         "C0009492586D7E", nullptr},
        {"&value1;&value2;&value3;&value4;&value9;", "C15802C3FDFFC270110100C005C000", "3630302D3337303030303530"},
        // what has no name, or no ";" behind it, is no entity
        {"\x1b&l26A & &; &a b;", "1B266C323641202620263B20266120623B", "1B266C323641202620263B20266120623B"},
        {"&nobody;", nullptr, nullptr},
        {"&valueA;", nullptr, nullptr},
        {"&#256;", nullptr, nullptr},
        {"&#1A;", nullptr, nullptr},
    };
    for (const auto& r : aRows) {
        for (const PdlType eType : {PdlType::PCL6, PdlType::PCL5}) {
            const char* const pszExpected = eType == PdlType::PCL6 ? r.pszPcl6 : r.pszPcl5;
            ByteBuffer bb = ByteBuffer::createFromByteValue(0x99);
            const std::string expected = pszExpected ? pszExpected : "";
            EXPECT_EQ(PdlCommands::ConvertAmpCommands(Wide(r.pszText), eType, alValues, bb), pszExpected != nullptr)
                << r.pszText;
            EXPECT_EQ(ToHex(bb.GetVector()), "99" + expected) << r.pszText;
        }
    }
}

TEST(PdlCommandsTest, ACommandHasABound) {
    ByteBuffer bb;
    std::basic_string<XCHAR> text(bounds::MAX_PDL_COMMAND_BYTES, VTEXT('a'));
    EXPECT_TRUE(PdlCommands::ConvertAmpCommands(text, PdlType::PCL6, {}, bb));
    EXPECT_EQ(bb.size(), bounds::MAX_PDL_COMMAND_BYTES);
    text += VTEXT('a');
    EXPECT_FALSE(PdlCommands::ConvertAmpCommands(text, PdlType::PCL6, {}, bb));
    EXPECT_EQ(bb.size(), bounds::MAX_PDL_COMMAND_BYTES);
}

TEST(PdlCommandsTest, LinesAreFoundByFeatureOptionAndLanguage) {
    const PdlCommands oCommands = Parse(
        Item("<Description>D</Description><PDLSet><PDL>PCL6</PDL><Qualifier>Q</Qualifier><Instruction>1</Instruction>"
             "</PDLSet><PDLSet><PDL>PCL6</PDL><Qualifier>Q</Qualifier><Instruction>2</Instruction></PDLSet>"));
    CXString csLine;
    EXPECT_TRUE(oCommands.GetPDLLine(VTEXT("D"), VTEXT("Q"), PdlType::PCL6, csLine));
    EXPECT_EQ(csLine, VTEXT("1"));
    EXPECT_FALSE(oCommands.GetPDLLine(VTEXT("d"), VTEXT("Q"), PdlType::PCL6, csLine));
    EXPECT_FALSE(oCommands.GetPDLLine(VTEXT("D"), VTEXT(""), PdlType::PCL6, csLine));
    EXPECT_FALSE(oCommands.GetPDLLine(VTEXT("D"), VTEXT("Q"), PdlType::PCL5, csLine));
}

}  // namespace

}  // namespace vlm::test
