/// @file
/// Boxes, sessions, windows and atoms in memory.
#include "support/FakeSessionPort.h"

#include <algorithm>

#include "support/FakeCalls.h"

namespace vlm::test {

namespace {

XString TextOf(const XCHAR* pszText) {
    return pszText ? XString(pszText) : XString();
}

/// Texts that the system takes for numbers.
bool IsNumber(XStringView svText) {
    return svText.size() > 1 && svText[0] == VTEXT('#') &&
           std::all_of(svText.begin() + 1, svText.end(),
                       [](XCHAR unit) { return unit >= VTEXT('0') && unit <= VTEXT('9'); });
}

}  // namespace

void FakeSessionPort::SetDesktopVisible(bool fVisible) {
    const std::lock_guard oLock(m_oMutex);
    m_fVisible = fVisible;
}

void FakeSessionPort::AnswerWith(int iAnswer) {
    const FakeCall oCall(m_oMutex);
    m_vAnswers.push_back(iAnswer);
}

void FakeSessionPort::AddSession(DWORD dwId, bool fActive) {
    const FakeCall oCall(m_oMutex);
    m_vSessions.push_back({dwId, fActive});
}

void FakeSessionPort::SetSessionsStatus(Status eStatus) {
    const std::lock_guard oLock(m_oMutex);
    m_eSessionsStatus = eStatus;
}

void FakeSessionPort::SetSessionBoxStatus(DWORD dwSession, Status eStatus) {
    const FakeCall oCall(m_oMutex);
    m_mapBoxStatus[dwSession] = eStatus;
}

HWND FakeSessionPort::OpenWindow(XStringView svClass, Behaviour eBehaviour) {
    const FakeCall oCall(m_oMutex);
    const HWND hwnd = reinterpret_cast<HWND>(m_uiLastWindow += 0x10);
    m_mapWindows[hwnd] = {XString(svClass), eBehaviour};
    return hwnd;
}

void FakeSessionPort::LimitAtoms(std::size_t cMost) {
    const std::lock_guard oLock(m_oMutex);
    m_cMostAtoms = cMost;
}

std::vector<FakeSessionPort::Box> FakeSessionPort::Boxes() const {
    const FakeCall oCall(m_oMutex);
    return m_vBoxes;
}

std::vector<FakeSessionPort::Message> FakeSessionPort::Messages() const {
    const FakeCall oCall(m_oMutex);
    return m_vMessages;
}

std::vector<DWORD> FakeSessionPort::Beeps() const {
    const FakeCall oCall(m_oMutex);
    return m_vBeeps;
}

std::size_t FakeSessionPort::LivingAtoms() const {
    const std::lock_guard oLock(m_oMutex);
    return m_mapAtoms.size();
}

UINT FakeSessionPort::MessageNumber(XStringView svName) const {
    const FakeCall oCall(m_oMutex);
    const auto it = m_mapMessages.find(XString(svName));
    return it != m_mapMessages.end() ? it->second : 0;
}

int FakeSessionPort::NextAnswer() {
    if (m_vAnswers.empty()) return ANSWER_OK;
    const int iAnswer = m_vAnswers.front();
    m_vAnswers.pop_front();
    return iAnswer;
}

int FakeSessionPort::ShowBox(HWND hwndOwner, const XCHAR* pszText, const XCHAR* pszCaption, DWORD dwStyle) noexcept {
    const FakeCall oCall(m_oMutex);
    m_vBoxes.push_back({TextOf(pszText), TextOf(pszCaption), dwStyle, hwndOwner, std::nullopt});
    return NextAnswer();
}

bool FakeSessionPort::IsDesktopVisible() noexcept {
    const std::lock_guard oLock(m_oMutex);
    return m_fVisible;
}

void FakeSessionPort::Beep(DWORD dwKind) noexcept {
    const FakeCall oCall(m_oMutex);
    m_vBeeps.push_back(dwKind);
}

Status FakeSessionPort::EnumerateSessions(Session* pSessions, DWORD& rcSessions) noexcept {
    const std::lock_guard oLock(m_oMutex);
    const DWORD cRoom = pSessions ? rcSessions : 0;
    rcSessions = 0;
    if (m_eSessionsStatus != Status::Success) return m_eSessionsStatus;
    rcSessions = static_cast<DWORD>(m_vSessions.size());
    std::copy_n(m_vSessions.begin(), std::min(cRoom, rcSessions), pSessions);
    return Status::Success;
}

Status FakeSessionPort::ShowBoxInSession(DWORD dwSession, const XCHAR* pszText, const XCHAR* pszCaption, DWORD dwStyle,
                                         int& riAnswer) noexcept {
    const FakeCall oCall(m_oMutex);
    const bool fKnown = std::any_of(m_vSessions.begin(), m_vSessions.end(),
                                    [&](const Session& rSession) { return rSession.dwId == dwSession; });
    if (!fKnown) return Status::FileNotFound;
    if (const auto it = m_mapBoxStatus.find(dwSession); it != m_mapBoxStatus.end() && it->second != Status::Success) {
        return it->second;
    }
    m_vBoxes.push_back({TextOf(pszText), TextOf(pszCaption), dwStyle, nullptr, dwSession});
    riAnswer = NextAnswer();
    return Status::Success;
}

HWND FakeSessionPort::FindWindowOfClass(const XCHAR* pszClass) noexcept {
    const FakeCall oCall(m_oMutex);
    const XString cls = TextOf(pszClass);
    for (const auto& [hwnd, oWindow] : m_mapWindows) {
        if (oWindow.cls == cls) return hwnd;
    }
    return nullptr;
}

UINT FakeSessionPort::RegisterMessage(const XCHAR* pszName) noexcept {
    const FakeCall oCall(m_oMutex);
    constexpr UINT FIRST = 0xC000;
    const XString name = TextOf(pszName);
    if (name.empty()) return 0;
    return m_mapMessages.emplace(name, FIRST + static_cast<UINT>(m_mapMessages.size())).first->second;
}

void FakeSessionPort::Deliver(HWND hwnd, UINT uMessage, WORD wAtom, bool fSent) {
    const auto it = m_mapAtoms.find(wAtom);
    m_vMessages.push_back({hwnd, uMessage, it != m_mapAtoms.end() ? it->second.text : XString(), fSent});
    ReleaseAtom(wAtom);
}

Status FakeSessionPort::PostToWindow(HWND hwnd, UINT uMessage, WORD wAtom) noexcept {
    const FakeCall oCall(m_oMutex);
    const auto it = m_mapWindows.find(hwnd);
    if (it == m_mapWindows.end()) return Status::InvalidWindowHandle;
    const Behaviour eBehaviour = it->second.eBehaviour;
    if (eBehaviour == Behaviour::RefusesPost || eBehaviour == Behaviour::Hangs) return Status::AccessDenied;
    Deliver(hwnd, uMessage, wAtom, false);
    return Status::Success;
}

Status FakeSessionPort::SendToWindow(HWND hwnd, UINT uMessage, WORD wAtom, DWORD) noexcept {
    const FakeCall oCall(m_oMutex);
    const auto it = m_mapWindows.find(hwnd);
    if (it == m_mapWindows.end()) return Status::InvalidWindowHandle;
    if (it->second.eBehaviour == Behaviour::Hangs) return Status::TimeOut;
    Deliver(hwnd, uMessage, wAtom, true);
    return Status::Success;
}

WORD FakeSessionPort::AddGlobalAtom(const XCHAR* pszText) noexcept {
    const FakeCall oCall(m_oMutex);
    constexpr WORD FIRST = 0xC000;
    const XString text = TextOf(pszText);
    if (text.empty() || text.size() > MAX_ATOM_UNITS || IsNumber(text)) return 0;
    for (auto& [wAtom, oAtom] : m_mapAtoms) {
        if (oAtom.text != text) continue;
        ++oAtom.cUses;
        return wAtom;
    }
    if (m_mapAtoms.size() >= m_cMostAtoms) return 0;
    WORD wAtom = FIRST;
    while (m_mapAtoms.contains(wAtom))
        ++wAtom;
    m_mapAtoms[wAtom] = {text, 1};
    return wAtom;
}

void FakeSessionPort::ReleaseAtom(WORD wAtom) {
    const auto it = m_mapAtoms.find(wAtom);
    if (it != m_mapAtoms.end() && --it->second.cUses == 0) m_mapAtoms.erase(it);
}

void FakeSessionPort::DeleteGlobalAtom(WORD wAtom) noexcept {
    const FakeCall oCall(m_oMutex);
    ReleaseAtom(wAtom);
}

}  // namespace vlm::test
