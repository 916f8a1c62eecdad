// Signs of life on a terminal.
#include "Progress.h"

#include <chrono>
#include <cstdio>

#include "platform/ProgramImpl.h"

namespace vlm::tool {

Progress::Progress(std::string strWhat) : m_strWhat(std::move(strWhat)) {
    if (IsTerminal(StandardStream::Error)) m_oThread = std::thread([this] { Show(); });
}

Progress::~Progress() {
    if (!m_oThread.joinable()) return;
    {
        const std::lock_guard oLock(m_scText);
        m_bDone = true;
    }
    m_oDone.notify_one();
    m_oThread.join();
}

void Progress::Say(std::string strWhat) {
    const std::lock_guard oLock(m_scText);
    m_strWhat = std::move(strWhat);
}

void Progress::Show() {
    constexpr const char* ERASE_LINE = "\r\x1b[K";
    bool fShown = false;
    std::unique_lock oLock(m_scText);
    for (int iSeconds = 1; !m_oDone.wait_for(oLock, std::chrono::seconds(1), [this] { return m_bDone; }); ++iSeconds) {
        std::fprintf(stderr, "%s%s ... %d s", ERASE_LINE, m_strWhat.c_str(), iSeconds);
        std::fflush(stderr);
        fShown = true;
    }
    if (fShown) std::fputs(ERASE_LINE, stderr);
}

}  // namespace vlm::tool
