// The steps of a story, for people and as one document.
#include "Story.h"

namespace vlm::tool {

void Story::Step(const std::string& strWhat) {
    m_rOutput.Line();
    m_rOutput.Line(m_rOutput.Styled(Style::Heading, std::to_string(m_oSteps.size() + 1) + ". " + strWhat));
    m_oSteps.push_back({{"step", JsonString(std::string_view(strWhat))}, {"checks", Json::array()}});
}

void Story::Tell(const std::string& strLine) {
    m_rOutput.Line("   " + strLine);
}

void Story::Check(bool fHolds, const std::string& strWhat) {
    m_bAllHold = m_bAllHold && fHolds;
    m_rOutput.Line("   " + m_rOutput.Styled(fHolds ? Style::Good : Style::Bad, fHolds ? "ok" : "FAILED") + "  " +
                   strWhat);
    m_oSteps.back()["checks"].push_back({{"check", JsonString(std::string_view(strWhat))}, {"ok", fHolds}});
}

int Story::End() {
    m_rOutput.Line();
    m_rOutput.Line(m_bAllHold ? "Every check holds." : "A check failed.");
    m_rOutput.Document({{"ok", m_bAllHold}, {"steps", m_oSteps}});
    return m_bAllHold ? EXIT_DONE : EXIT_ANSWER_NO;
}

}  // namespace vlm::tool
