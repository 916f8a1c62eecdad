/// @file
/// What the instructions of a PDL command file expand to.
#include "environment/PdlCommands.h"

#include <algorithm>
#include <string>

#include "environment/detail/product/AmpCommands.h"
#include "utilities/Bounds.h"
#include "utilities/debuggingandexceptions/RaiseMacros.h"

namespace {

/// The longest name between "&" and ";".
constexpr std::size_t MAX_ENTITY_UNITS = 48;

constexpr BYTE TAG_UBYTE = 0xC0, TAG_UINT16 = 0xC1, TAG_UINT32 = 0xC2, TAG_SINT16 = 0xC3, TAG_SINT32 = 0xC4,
               TAG_UBYTE_ARRAY = 0xC8, TAG_ATTRIBUTE = 0xF8;

constexpr bool IsEntityCharacter(XCHAR ch) noexcept {
    return (ch >= 'A' && ch <= 'Z') || (ch >= 'a' && ch <= 'z') || (ch >= '0' && ch <= '9') || ch == '_' || ch == '#';
}

/// The name at the beginning of what follows an "&"; empty when that is no entity.
std::string EntityName(XStringView rest) {
    const auto itEnd = std::find_if_not(rest.begin(), rest.end(), IsEntityCharacter);
    const auto cUnits = static_cast<std::size_t>(itEnd - rest.begin());
    if (itEnd == rest.end() || *itEnd != ';' || cUnits > MAX_ENTITY_UNITS) return {};
    std::string strName;
    for (const XCHAR ch : rest.substr(0, cUnits))
        strName += static_cast<char>(ch);
    return strName;
}

/// The character of "#27" or "#x1B"; −1 when it is none of Latin-1.
int NumericCharacter(std::string_view name) noexcept {
    name.remove_prefix(1);
    const bool fHexadecimal = name.starts_with('x') || name.starts_with('X');
    if (fHexadecimal) name.remove_prefix(1);
    if (name.empty()) return -1;
    int iCode = 0;
    for (const char c : name) {
        const std::size_t uDigit = std::string_view("0123456789abcdefABCDEF").find(c);
        if (uDigit == std::string_view::npos || (uDigit > 9 && !fHexadecimal)) return -1;
        iCode = iCode * (fHexadecimal ? 16 : 10) + static_cast<int>(uDigit > 15 ? uDigit - 6 : uDigit);
        if (iCode > 0xFF) return -1;
    }
    return iCode;
}

LONG ValueAt(std::span<const LONG> values, std::size_t uIndex) noexcept {
    return uIndex < values.size() ? values[uIndex] : 0;
}

void AppendDecimal(ByteBuffer& rbbOut, LONG lValue) {
    const std::string strDigits = std::to_string(lValue);
    rbbOut.appendLpbyte(reinterpret_cast<const BYTE*>(strDigits.data()), strDigits.size());
}

/// A number as PCL XL's shortest whole-number type that holds it.
void AppendNumber(ByteBuffer& rbbOut, LONG lValue) {
    if (lValue >= 0 && lValue <= 0xFF) {
        rbbOut.appendByte(TAG_UBYTE).appendByte(static_cast<BYTE>(lValue));
    } else if (lValue >= -0x8000 && lValue <= 0xFFFF) {
        rbbOut.appendByte(lValue < 0 ? TAG_SINT16 : TAG_UINT16).appendWordValue(static_cast<WORD>(lValue));
    } else {
        rbbOut.appendByte(lValue < 0 ? TAG_SINT32 : TAG_UINT32).appendLongValue(lValue);
    }
}

/// The PCL 5 form, with the caller's numbers for "*x*" and "*y*".
void AppendPcl5(ByteBuffer& rbbOut, std::string_view form, std::span<const LONG> values) {
    for (; !form.empty(); form.remove_prefix(1)) {
        const bool fX = form.starts_with("*x*");
        if (fX || form.starts_with("*y*")) {
            AppendDecimal(rbbOut, ValueAt(values, fX ? 0 : 1));
            form.remove_prefix(2);
        } else {
            rbbOut.appendByte(static_cast<BYTE>(form.front()));
        }
    }
}

}  // namespace

bool PdlCommands::OutputAMPValue(const vlm::AmpCommand* pAmpCmd, PdlType ePdlType, std::span<const LONG> values,
                                 ByteBuffer& rbbOut) {
    VLM_ASSERT(pAmpCmd);
    if (!pAmpCmd) return false;
    if (ePdlType == PdlType::PCL5) {
        if (!pAmpCmd->pszPcl5) return false;
        AppendPcl5(rbbOut, pAmpCmd->pszPcl5, values);
        return true;
    }
    switch (pAmpCmd->eKind) {
        case vlm::AmpKind::Byte:
            rbbOut.appendByte(pAmpCmd->byCode);
            break;
        case vlm::AmpKind::Attribute:
            rbbOut.appendByte(TAG_ATTRIBUTE).appendByte(pAmpCmd->byCode);
            break;
        case vlm::AmpKind::Constant:
            rbbOut.appendByte(TAG_UBYTE).appendByte(pAmpCmd->byCode);
            break;
        case vlm::AmpKind::Name: {
            const std::string_view text = pAmpCmd->pszText;
            rbbOut.appendByte(TAG_UBYTE_ARRAY).appendByte(TAG_UINT16).appendWordValue(static_cast<WORD>(text.size()));
            rbbOut.appendLpbyte(reinterpret_cast<const BYTE*>(text.data()), text.size());
            break;
        }
        case vlm::AmpKind::Pair:
            rbbOut.appendByte(pAmpCmd->byCode);
            for (const std::size_t uIndex : {0u, 1u})
                rbbOut.appendWordValue(static_cast<WORD>(ValueAt(values, uIndex)));
            break;
    }
    return true;
}

void PdlCommands::OutputPDLCommand(const ByteBuffer& kbbCommand, ByteBuffer& rbbOut) {
    rbbOut.append(kbbCommand);
}

bool PdlCommands::ConvertAmpCommands(XStringView instruction, PdlType ePdlType, std::span<const LONG> values,
                                     ByteBuffer& rbbOut) {
    ByteBuffer bbCommand;
    while (!instruction.empty()) {
        const XCHAR ch = instruction.front();
        instruction.remove_prefix(1);
        const std::string strName = ch == '&' ? EntityName(instruction) : std::string();
        if (strName.empty()) {
            bbCommand.appendByte(ch <= 0xFF ? static_cast<BYTE>(ch) : static_cast<BYTE>('?'));
        } else {
            instruction.remove_prefix(strName.size() + 1);
            const int iCharacter =
                strName.front() == '#' ? NumericCharacter(strName) : vlm::FindCharacterEntity(strName);
            const bool fValue =
                strName.size() == 6 && strName.starts_with("value") && strName[5] >= '1' && strName[5] <= '9';
            const vlm::AmpCommand* const pCommand = vlm::FindAmpCommand(strName);
            bool fWritten = true;
            if (iCharacter >= 0) {
                bbCommand.appendByte(static_cast<BYTE>(iCharacter));
            } else if (fValue) {
                const LONG lValue = ValueAt(values, static_cast<std::size_t>(strName[5] - '1'));
                ePdlType == PdlType::PCL5 ? AppendDecimal(bbCommand, lValue) : AppendNumber(bbCommand, lValue);
            } else {
                fWritten = pCommand && OutputAMPValue(pCommand, ePdlType, values, bbCommand);
            }
            if (!fWritten) {
                VLM_REPORT_ERROR(DebugCategory::PclxlEmitter, VTEXT("The entity '&%S;' has no form in PCL %u!"),
                                 strName.c_str(), ePdlType == PdlType::PCL5 ? 5u : 6u);
                return false;
            }
        }
        if (bbCommand.size() > vlm::bounds::MAX_PDL_COMMAND_BYTES) {
            VLM_REPORT_ERROR(DebugCategory::PclxlEmitter, VTEXT("A PDL command makes more than %u bytes!"),
                             static_cast<UINT>(vlm::bounds::MAX_PDL_COMMAND_BYTES));
            return false;
        }
    }
    OutputPDLCommand(bbCommand, rbbOut);
    return true;
}
