/// @file
/// A desktop that remembers what was shown on it.
#pragma once

#include <deque>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "platform/SessionPort.h"
#include "support/PortCalls.h"

namespace vlm::test {

using XString = std::basic_string<XCHAR>;

/// Keeps the session port's contract: a recorder whose people and windows stand in the script.  Boxes are answered at
/// once.  Threads: any.
class FakeSessionPort : public SessionPort {
public:
    struct Box {
        XString text, caption;
        DWORD dwStyle = 0;
        HWND hwndOwner = nullptr;
        std::optional<DWORD> oSession;  ///< nothing: a box of this process
    };
    struct Message {
        HWND hwnd = nullptr;
        UINT uMessage = 0;
        XString text;        ///< of the atom that came with it
        bool fSent = false;  ///< sent, not posted
    };
    /// What a window does with messages.
    enum class Behaviour {
        Works,        ///< takes them and deletes the atom
        RefusesPost,  ///< posts fail; takes what is sent
        Hangs,        ///< takes neither; a send runs into its time-out
    };

    // --- the script ---
    void SetDesktopVisible(bool fVisible);
    /// What boxes are answered with, one after the other; ANSWER_OK when none is left.  0 for one of this process:
    /// cannot be shown.
    void AnswerWith(int iAnswer);
    void AddSession(DWORD dwId, bool fActive);
    /// EnumerateSessions answers this from now on.
    void SetSessionsStatus(Status eStatus);
    /// Boxes in that session fail so.
    void SetSessionBoxStatus(DWORD dwSession, Status eStatus);
    HWND OpenWindow(XStringView svClass, Behaviour eBehaviour = Behaviour::Works);
    /// Further atoms than so many are refused.
    void LimitAtoms(std::size_t cMost);

    std::vector<Box> Boxes() const;
    std::vector<Message> Messages() const;
    std::vector<DWORD> Beeps() const;
    std::size_t LivingAtoms() const;
    /// The number that RegisterMessage gave a name; 0 when it was never registered.
    UINT MessageNumber(XStringView svName) const;

    // --- the port ---
    Q9_SESSION_CALLS(Q9_DECLARE)

private:
    struct Window {
        XString cls;
        Behaviour eBehaviour = Behaviour::Works;
    };
    struct Atom {
        XString text;
        unsigned cUses = 0;
    };

    int NextAnswer();
    void Deliver(HWND hwnd, UINT uMessage, WORD wAtom, bool fSent);
    void ReleaseAtom(WORD wAtom);

    mutable std::mutex m_oMutex;
    bool m_fVisible = true;
    std::deque<int> m_vAnswers;
    std::vector<Session> m_vSessions;
    Status m_eSessionsStatus = Status::Success;
    std::map<DWORD, Status> m_mapBoxStatus;
    std::map<HWND, Window> m_mapWindows;
    std::map<WORD, Atom> m_mapAtoms;
    std::size_t m_cMostAtoms = 16384;
    std::map<XString, UINT> m_mapMessages;
    std::vector<Box> m_vBoxes;
    std::vector<Message> m_vMessages;
    std::vector<DWORD> m_vBeeps;
    std::uintptr_t m_uiLastWindow = 0x9000;
};

}  // namespace vlm::test
