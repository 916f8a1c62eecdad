// Arguments and standard streams of a console program on the host.
#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <string_view>

#include "platform/ProgramImpl.h"

namespace vlm {

std::vector<std::string> ProgramArguments(int cArguments, const char* const* ppszArguments) {
    if (cArguments < 1) return {};
    return {ppszArguments + 1, ppszArguments + cArguments};
}

bool IsTerminal(StandardStream eStream) noexcept {
    switch (eStream) {
        case StandardStream::Input:
            return ::isatty(STDIN_FILENO) == 1;
        case StandardStream::Output:
            return ::isatty(STDOUT_FILENO) == 1;
        case StandardStream::Error:
            break;
    }
    return ::isatty(STDERR_FILENO) == 1;
}

namespace {

constexpr std::size_t LONGEST_SECRET = 4096;
constexpr char CONTROL_C = 3;

void WriteAll(int iFile, std::string_view svText) noexcept {
    while (!svText.empty()) {
        const ssize_t cWritten = ::write(iFile, svText.data(), svText.size());
        if (cWritten < 0 && errno != EINTR) return;
        if (cWritten > 0) svText.remove_prefix(static_cast<std::size_t>(cWritten));
    }
}

/// The terminal without echo; control C is a character meanwhile, so that it cannot leave the echo switched off.
class QuietTerminal {
public:
    explicit QuietTerminal(int iTerminal) noexcept : m_iTerminal(iTerminal) {
        m_fQuiet = ::tcgetattr(iTerminal, &m_oFormer) == 0;
        if (!m_fQuiet) return;
        termios oQuiet = m_oFormer;
        oQuiet.c_lflag &= ~static_cast<tcflag_t>(ECHO | ISIG);
        m_fQuiet = ::tcsetattr(iTerminal, TCSAFLUSH, &oQuiet) == 0;
    }
    ~QuietTerminal() {
        if (m_fQuiet) ::tcsetattr(m_iTerminal, TCSAFLUSH, &m_oFormer);
    }
    QuietTerminal(const QuietTerminal&) = delete;
    QuietTerminal& operator=(const QuietTerminal&) = delete;
    bool IsQuiet() const noexcept { return m_fQuiet; }

private:
    int m_iTerminal;
    termios m_oFormer{};
    bool m_fQuiet;
};

}  // namespace

bool ReadSecretLine(int iDescriptor, std::string& rstrLine) {
    rstrLine.clear();
    rstrLine.reserve(LONGEST_SECRET);  // no copy of a part stays anywhere
    for (char ch = 0;;) {
        const ssize_t cRead = ::read(iDescriptor, &ch, 1);
        if (cRead < 0 && errno == EINTR) continue;
        if (cRead < 0) return false;
        if (cRead == 0 || ch == '\n') break;
        if (rstrLine.size() == LONGEST_SECRET) return false;
        rstrLine += ch;
    }
    if (!rstrLine.empty() && rstrLine.back() == '\r') rstrLine.pop_back();
    return true;
}

bool AskSecret(const char* pszPrompt, std::string& rstrLine) {
    const int iTerminal = ::open("/dev/tty", O_RDWR | O_CLOEXEC | O_NOCTTY);
    if (iTerminal < 0) return false;
    bool fRead = false;
    {
        const QuietTerminal oQuiet(iTerminal);
        if (oQuiet.IsQuiet()) {
            WriteAll(iTerminal, pszPrompt);
            fRead = ReadSecretLine(iTerminal, rstrLine) && rstrLine.find(CONTROL_C) == std::string::npos;
            WriteAll(iTerminal, "\n");
        }
    }
    ::close(iTerminal);
    return fRead;
}

bool HasEmbeddedStore() noexcept {
    return true;
}

// A reader that goes away is a failed write, not a signal: the program ends in order, its files whole.
StandardStreams::StandardStreams() noexcept {
    std::signal(SIGPIPE, SIG_IGN);
}

StandardStreams::~StandardStreams() = default;

}  // namespace vlm
