// Passwords: from a prompt, a file or a descriptor.
#include "Password.h"

#include <algorithm>

#include "CommandLine.h"
#include "Failure.h"
#include "Files.h"
#include "platform/ProgramImpl.h"

namespace vlm::tool {

namespace {

constexpr std::int64_t LARGEST_DESCRIPTOR = 1023;

void Overwrite(char* pch, std::size_t cBytes) noexcept {
    volatile char* const pchSecret = pch;
    for (std::size_t i = 0; i < cBytes; ++i)
        pchSecret[i] = 0;
}

/// What stands before the first line end.
std::size_t FirstLine(std::string_view strText) noexcept {
    std::size_t cBytes = std::min(strText.find('\n'), strText.size());
    if (cBytes > 0 && strText[cBytes - 1] == '\r') --cBytes;
    return cBytes;
}

}  // namespace

void PasswordOptions::Describe(Command& rCommand) {
    rCommand.Option("--password-file", "FILE", strFile, "The password is the first line of this file")
        .Number("--password-fd", ollDescriptor, 0, LARGEST_DESCRIPTOR,
                "The password is the first line of this open descriptor");
}

void Password::Wipe() noexcept {
    Overwrite(m_strBytes.data(), m_strBytes.size());
    m_strBytes.clear();
}

void Password::Read(const PasswordOptions& rOptions, bool fTwice) {
    Wipe();
    if (!rOptions.strFile.empty() && rOptions.ollDescriptor)
        throw UsageError("--password-file and --password-fd exclude each other");
    if (!rOptions.strFile.empty()) {
        ByteBuffer bb = ReadInput(rOptions.strFile);
        const std::string_view strText(reinterpret_cast<const char*>(bb.data()), bb.size());
        m_strBytes.assign(strText.substr(0, FirstLine(strText)));
        Overwrite(reinterpret_cast<char*>(bb.data()), bb.size());
    } else if (rOptions.ollDescriptor) {
        if (!ReadSecretLine(static_cast<int>(*rOptions.ollDescriptor), m_strBytes))
            RefuseInput("--password-fd: the descriptor cannot be read");
    } else {
        if (!AskSecret("Password: ", m_strBytes))
            throw UsageError("no terminal to ask for a password; give --password-file or --password-fd");
        Password oAgain;
        if (fTwice && (!AskSecret("Password again: ", oAgain.m_strBytes) || oAgain.m_strBytes != m_strBytes))
            RefuseInput("password: the two are not the same");
    }
    if (std::all_of(m_strBytes.begin(), m_strBytes.end(), [](char c) { return c == ' '; }))
        RefuseInput("password: it is blank");
}

}  // namespace vlm::tool
