/// @file
/// The commands by which a printer's page description language switches a feature.
#pragma once

#include <span>
#include <vector>

#include "platform/Export.h"
#include "utilities/utilitiesdll/ByteBuffer.h"
#include "utilities/utilitiesdll/CXString.h"

namespace vlm {
struct AmpCommand;
}

/// The languages that commands are kept for.
enum class PdlType : DWORD {
    PCL5 = 0,
    PCL6 = 1,  ///< PCL XL
};

/// A PDL command file, and what its instructions expand to.
///
/// The file is text in the ANSI code page, XML-like:
///
///     <FeatureSet>
///       <FeatureItem>
///         <Description>Duplex</Description>
///         <PDLSet>
///           <PDL>PCL6</PDL>
///           <Qualifier>LongEdge</Qualifier>
///           <Instruction>&eDuplexVerticalBinding;&DuplexPageMode;</Instruction>
///         </PDLSet>
///       </FeatureItem>
///     </FeatureSet>
///
/// An instruction takes the description, the languages and the qualifier that were written last in its feature item;
/// languages that follow each other add up, the first after an instruction begins anew, and so does a PDLSet, which
/// also begins without a qualifier.  Blanks and line ends round a text do not count, and in an instruction no control
/// character does.  Attributes, comments, declarations and elements of other names are passed over, but every element
/// must be closed by its own tag, and an element that holds a text holds nothing else.
///
/// **Ownership**: a value.  **Threads**: a plain value.
class VLM_API PdlCommands {
public:
    /// One "Instruction" element.
    struct Instruction {
        CXString csFeature;  ///< of its "Description"
        CXString csOption;   ///< of its "Qualifier"; empty without one
        DWORD dwPdls = 0;    ///< one bit for each PdlType
        CXString csText;     ///< with its entities
    };

    /// @throws ExceptionXMLConfigurationFileParseFailed for a text that is not so, or is beyond the bounds of Bounds.h:
    ///         names the line; ExceptionOutOfMemory.
    static PdlCommands Parse(const ByteBuffer& kbbContents);
    const std::vector<Instruction>& GetInstructions() const noexcept { return m_voInstructions; }

    /// The first instruction of a feature's option for a language; letter case matters.  Borrowed; null: there is none.
    const Instruction* GetPDLXMLFeature(const CXString& kcsFeature, const CXString& kcsOption,
                                        PdlType ePdlType) const noexcept;
    /// The text of GetPDLXMLFeature.  @return false when there is no such instruction.
    bool GetPDLLine(const CXString& kcsFeature, const CXString& kcsOption, PdlType ePdlType, CXString& rcsLine) const;
    /// The language of a name, "PCL5" or "PCL6".  @return false for any other.
    static bool GetPDLType(XStringView name, PdlType& rePdlType) noexcept;

    /// Expands an instruction and appends its bytes.  "&name;" stands for
    /// - a character: HTML's names for Latin-1 (with "&ccdil;" for "&ccedil;", as files spell it), "&#27;", "&#x1B;";
    /// - a command or a constant of PdlEntities.inl: operators, attributes, data types and enumerations as PCL XL's
    ///   binary stream has them, or the PCL 5 form of the same;
    /// - "&value1;" to "&value9;": one of the caller's numbers, in decimal, or as PCL XL's shortest whole-number type;
    /// - "&OriginXY;" and "&PhysicalAreaXY;": the caller's first two numbers (0 for missing ones) as a pair.
    ///
    /// An "&" that begins none of these shapes stands for itself, so that PCL 5 sequences can be written as they are.
    /// Other characters are written as Latin-1.
    /// @return false for an entity that nobody knows, that the language has no form of, or a text that makes more than
    ///         bounds::MAX_PDL_COMMAND_BYTES: reported, and nothing is appended.
    static bool ConvertAmpCommands(XStringView instruction, PdlType ePdlType, std::span<const LONG> values,
                                   ByteBuffer& rbbOut);

private:
    static bool OutputAMPValue(const vlm::AmpCommand* pAmpCmd, PdlType ePdlType, std::span<const LONG> values,
                               ByteBuffer& rbbOut);
    static void OutputPDLCommand(const ByteBuffer& kbbCommand, ByteBuffer& rbbOut);

    std::vector<Instruction> m_voInstructions;
};
