/// @file
/// What a console program of this family needs from the system: its arguments as UTF-8 and its standard streams.
/// Linked into the programs themselves; the library does not hold it.
#pragma once

#include <string>
#include <vector>

namespace vlm {

enum class StandardStream { Input, Output, Error };

/// The arguments after the program's name, as UTF-8.  On Windows they are taken from the process's UTF-16 command line
/// and not from the C runtime, which would convert to the ANSI code page and expand wildcards.
/// An argument that is not well-formed UTF-16 comes out as bytes that are not well-formed UTF-8; the caller refuses it.
std::vector<std::string> ProgramArguments(int cArguments, const char* const* ppszArguments);

/// True when a person sits at the other end of the stream.
bool IsTerminal(StandardStream eStream) noexcept;

/// Asks the person at the terminal for a line that does not appear there while it is typed, whatever the standard
/// streams are.  @return false without a terminal, and when the person gives up (control C).
bool AskSecret(const char* pszPrompt, std::string& rstrLine);

/// Reads from an open descriptor up to the first line end, or the end, and not one byte beyond it.
/// @return false when it cannot be read, or the line is longer than 4,096 bytes.
bool ReadSecretLine(int iDescriptor, std::string& rstrLine);

/// Whether registry and spooler are an embedded store that `--store` may name; false where they are the system's own.
bool HasEmbeddedStore() noexcept;

/// Makes the standard streams carry bytes unchanged and the terminal understand UTF-8 and colours, for its lifetime.
/// Threads: one object, made by `main`.
class StandardStreams {
public:
    StandardStreams() noexcept;
    ~StandardStreams();  // NOLINT(performance-trivially-destructible): on Windows it has work to do
    StandardStreams(const StandardStreams&) = delete;
    StandardStreams& operator=(const StandardStreams&) = delete;

private:
    [[maybe_unused]] unsigned int m_uFormerCodePage = 0;  // of the console, where there is one
};

}  // namespace vlm
