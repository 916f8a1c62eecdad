/// @file
/// Passwords: from a prompt, a file or a descriptor, never from the command line.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace vlm::tool {

class Command;

/// Where a command's password comes from.
struct PasswordOptions {
    std::string strFile;
    std::optional<std::int64_t> ollDescriptor;

    /// Describes the two options to the command line.
    void Describe(Command& rCommand);
};

/// A password's bytes, overwritten when it goes.
class Password {
public:
    Password() = default;
    ~Password() { Wipe(); }
    Password(const Password&) = delete;
    Password& operator=(const Password&) = delete;

    /// Takes the first line of a file or descriptor, or asks at the terminal.
    /// @param fTwice asks for it a second time, because a slip of the finger could never be found.
    /// @throws ExceptionInvalidArgument, UsageError without a source, what ReadInput throws.
    void Read(const PasswordOptions& rOptions, bool fTwice);
    const std::string& Get() const noexcept { return m_strBytes; }

private:
    void Wipe() noexcept;
    std::string m_strBytes;
};

}  // namespace vlm::tool
