// Arguments and standard streams of a console program on the host.
#include <unistd.h>

#include <csignal>

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

bool HasEmbeddedStore() noexcept {
    return true;
}

// A reader that goes away is a failed write and an exit status, not a signal.
StandardStreams::StandardStreams() noexcept {
    std::signal(SIGPIPE, SIG_IGN);
}

StandardStreams::~StandardStreams() = default;

}  // namespace vlm
