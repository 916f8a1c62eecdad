/// @file
/// Signs of life for work that takes longer than a second.
#pragma once

#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

namespace vlm::tool {

/// While it lives: shows on standard error, when that is a terminal, what is being done and for how long; nothing in
/// the first second, and nothing is left behind.
/// **Threads**: `Say` from one thread; the display runs on a thread of its own.
class Progress {
public:
    explicit Progress(std::string strWhat);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /// Replaces the text.
    void Say(std::string strWhat);

private:
    void Show();

    std::mutex m_scText;
    std::condition_variable m_oDone;
    std::string m_strWhat;
    bool m_bDone = false;
    std::thread m_oThread;
};

}  // namespace vlm::tool
