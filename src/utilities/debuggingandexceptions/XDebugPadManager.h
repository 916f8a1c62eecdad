/// @file
/// Hands debug messages to the viewer window of another process.
#pragma once

#include <atomic>

#include "platform/Export.h"
#include "platform/WinTypes.h"
#include "utilities/utilitiesdll/CXString.h"
#include "utilities/utilitiesdll/CriticalResource.h"

/// The way to the viewer, a window of class "MfxTraceWindow".  Text travels in global atoms of at most 255 units; the
/// message carries the atom, and the receiver frees it.
///
/// The viewer is looked for once, when the first message is there for it; a viewer that is started later is not seen.
/// A process whose desktop nobody sees (a service, the spooler) sends nothing: anybody could pose as its viewer.
/// A piece that finds no taker is taken back.  One that begins with "#" and digits may be refused by the system, which
/// would take it for a number; that counts as a failure.
/// **Threads**: any; the pieces of one text arrive together.
/// **Failure**: nothing throws; what fails is told to the debugger output and in a box, each kind once per text.
class VLM_API XDebugPadManager {
public:
    /// Longest piece of a text, in code units.
    static constexpr std::size_t MAX_PIECE = 255;

    XDebugPadManager() noexcept = default;
    virtual ~XDebugPadManager();
    XDebugPadManager(const XDebugPadManager&) = delete;
    XDebugPadManager& operator=(const XDebugPadManager&) = delete;

    /// Sends a text in pieces.  @return how many pieces the viewer got; 0 when there is none.
    int AppendDebugMsg(const CXString& kcsMessage) noexcept;

    /// The same without a string.  @param svMessage a zero unit ends the piece that it stands in.
    int AppendDebugMsg(XStringView svMessage) noexcept;

private:
    enum class Outcome { Sent, NoAtom, NoTaker };

    bool FindViewer() noexcept;
    Outcome AppendLine(XStringView svPiece) noexcept;

    HWND m_hwndViewer = nullptr;
    std::atomic<bool> m_fLookedUp{false};
    UINT m_uMessage = 0;
    CriticalResource m_oPiecesResource;
};
