/// @file
/// Reads PDL command files.
#include <algorithm>

#include "environment/PdlCommands.h"
#include "utilities/Bounds.h"
#include "utilities/debuggingandexceptions/NoThrow.h"
#include "utilities/debuggingandexceptions/RaiseMacros.h"

namespace {

namespace bounds = vlm::bounds;

constexpr std::size_t MAX_OPEN_ELEMENTS = 16;
constexpr XStringView WHITE_SPACE = VTEXT(" \t\n\v\f\r");

XStringView Trim(XStringView text) noexcept {
    const std::size_t uFirst = text.find_first_not_of(WHITE_SPACE);
    if (uFirst == XStringView::npos) return {};
    return text.substr(uFirst, text.find_last_not_of(WHITE_SPACE) - uFirst + 1);
}

CXString WithoutControls(XStringView text) {
    CXString csText;
    for (const XCHAR ch : Trim(text)) {
        if (ch >= ' ') csText += ch;
    }
    return csText;
}

/// Walks the tags of a text and gathers the instructions.
class Reader {
public:
    explicit Reader(XStringView text) noexcept : m_all(text), m_rest(text) {}

    std::vector<PdlCommands::Instruction> Read() {
        for (;;) {
            const std::size_t uTag = m_rest.find(VTEXT('<'));
            if (uTag == XStringView::npos) break;
            m_leafText = m_rest.substr(0, uTag);
            m_rest.remove_prefix(uTag);
            Tag();
        }
        if (!m_vOpen.empty()) Refuse(VTEXT("an element is not closed"));
        if (!m_fFeatureSet) Refuse(VTEXT("there is no feature set"));
        return std::move(m_voInstructions);
    }

private:
    [[noreturn]] void Refuse(const XCHAR* pszWhat) const {
        const XStringView done = m_all.substr(0, m_all.size() - m_rest.size());
        VLM_THROW(ExceptionXMLConfigurationFileParseFailed,
                  VTEXT("The PDL command file is refused: %s, at line %I64u."), pszWhat,
                  static_cast<ULONGLONG>(1 + std::count(done.begin(), done.end(), VTEXT('\n'))));
    }

    static bool HoldsText(XStringView name) noexcept {
        return name == VTEXT("Description") || name == VTEXT("PDL") || name == VTEXT("Qualifier") ||
               name == VTEXT("Instruction");
    }

    /// Passes what stands up to and with `end`.
    XStringView Take(XStringView end, const XCHAR* pszMissing) {
        const std::size_t uEnd = m_rest.find(end);
        if (uEnd == XStringView::npos) Refuse(pszMissing);
        const XStringView taken = m_rest.substr(0, uEnd);
        m_rest.remove_prefix(uEnd + end.size());
        return taken;
    }

    void Tag() {
        const bool fInText = !m_vOpen.empty() && HoldsText(m_vOpen.back());
        if (m_rest.starts_with(VTEXT("</"))) {
            m_rest.remove_prefix(2);
            return Close(Trim(Take(VTEXT(">"), VTEXT("a tag has no end"))));
        }
        if (fInText) Refuse(VTEXT("a text holds a tag"));
        if (m_rest.starts_with(VTEXT("<!--"))) {
            Take(VTEXT("-->"), VTEXT("a comment has no end"));
            return;
        }
        m_rest.remove_prefix(1);
        XStringView tag = Take(VTEXT(">"), VTEXT("a tag has no end"));
        if (tag.starts_with(VTEXT('?')) || tag.starts_with(VTEXT('!'))) return;
        const bool fEmpty = tag.ends_with(VTEXT('/'));
        if (fEmpty) tag.remove_suffix(1);
        const XStringView name = tag.substr(0, tag.find_first_of(WHITE_SPACE));
        Open(name);
        if (fEmpty) {
            m_leafText = {};
            Close(name);
        }
    }

    void Open(XStringView name) {
        if (name.empty()) Refuse(VTEXT("a tag has no name"));
        if (m_vOpen.size() == MAX_OPEN_ELEMENTS) Refuse(VTEXT("elements nest too deep"));
        const bool fInItem = std::find(m_vOpen.begin(), m_vOpen.end(), VTEXT("FeatureItem")) != m_vOpen.end();
        if (name == VTEXT("FeatureSet")) {
            if (!m_vOpen.empty()) Refuse(VTEXT("a feature set lies in another element"));
            m_fFeatureSet = true;
        } else if (name == VTEXT("FeatureItem")) {
            if (m_vOpen.empty() || m_vOpen.back() != VTEXT("FeatureSet")) {
                Refuse(VTEXT("a feature item lies outside a feature set"));
            }
            m_oCurrent = {};
        } else if ((HoldsText(name) || name == VTEXT("PDLSet")) && !fInItem) {
            Refuse(VTEXT("an element lies outside a feature item"));
        } else if (name == VTEXT("PDLSet")) {
            m_oCurrent.dwPdls = 0;
            m_oCurrent.csOption.Empty();
        }
        m_vOpen.push_back(name);
    }

    void Close(XStringView name) {
        if (m_vOpen.empty() || m_vOpen.back() != name) Refuse(VTEXT("a tag closes another element"));
        m_vOpen.pop_back();
        if (name == VTEXT("Description")) {
            m_oCurrent.csFeature = CXString(Trim(m_leafText));
        } else if (name == VTEXT("Qualifier")) {
            m_oCurrent.csOption = CXString(Trim(m_leafText));
        } else if (name == VTEXT("PDL")) {
            Language();
        } else if (name == VTEXT("Instruction")) {
            if (m_voInstructions.size() == bounds::MAX_PDL_INSTRUCTIONS)
                Refuse(VTEXT("there are too many instructions"));
            m_oCurrent.csText = WithoutControls(m_leafText);
            m_voInstructions.push_back(m_oCurrent);
            m_fInstructed = true;
        }
    }

    void Language() {
        if (std::exchange(m_fInstructed, false)) m_oCurrent.dwPdls = 0;
        PdlType ePdlType{};
        if (PdlCommands::GetPDLType(Trim(m_leafText), ePdlType)) {
            m_oCurrent.dwPdls |= 1u << static_cast<DWORD>(ePdlType);
        }
    }

    XStringView m_all;
    XStringView m_rest;
    XStringView m_leafText;  ///< between the last tag and this one
    std::vector<XStringView> m_vOpen;
    PdlCommands::Instruction m_oCurrent;
    bool m_fFeatureSet = false;
    bool m_fInstructed = false;  ///< since the last language
    std::vector<PdlCommands::Instruction> m_voInstructions;
};

}  // namespace

PdlCommands PdlCommands::Parse(const ByteBuffer& kbbContents) {
    if (kbbContents.size() > bounds::MAX_PDL_FILE_BYTES) {
        VLM_THROW(ExceptionXMLConfigurationFileParseFailed,
                  VTEXT("The PDL command file is refused: it has %lu bytes, where %lu are allowed."),
                  kbbContents.GetLength(), static_cast<DWORD>(bounds::MAX_PDL_FILE_BYTES));
    }
    const CXString csText = kbbContents.getAsStringValueFromAnsiBuffer();
    return vlm::TranslateOutOfMemory([&] {
        PdlCommands oCommands;
        oCommands.m_voInstructions = Reader(csText.View()).Read();
        return oCommands;
    });
}

const PdlCommands::Instruction* PdlCommands::GetPDLXMLFeature(const CXString& kcsFeature, const CXString& kcsOption,
                                                              PdlType ePdlType) const noexcept {
    const auto it = std::find_if(m_voInstructions.begin(), m_voInstructions.end(), [&](const Instruction& r) {
        return (r.dwPdls & (1u << static_cast<DWORD>(ePdlType))) != 0 && r.csFeature == kcsFeature &&
               r.csOption == kcsOption;
    });
    return it == m_voInstructions.end() ? nullptr : &*it;
}

bool PdlCommands::GetPDLLine(const CXString& kcsFeature, const CXString& kcsOption, PdlType ePdlType,
                             CXString& rcsLine) const {
    const Instruction* const pInstruction = GetPDLXMLFeature(kcsFeature, kcsOption, ePdlType);
    if (pInstruction) rcsLine = pInstruction->csText;
    return pInstruction != nullptr;
}

bool PdlCommands::GetPDLType(XStringView name, PdlType& rePdlType) noexcept {
    if (name != VTEXT("PCL5") && name != VTEXT("PCL6")) return false;
    rePdlType = name == VTEXT("PCL5") ? PdlType::PCL5 : PdlType::PCL6;
    return true;
}
