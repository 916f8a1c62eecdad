/// @file
/// The commands of the tool, described once: parsing, help, the man page and shell completion all come from here.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace vlm::tool {

class CommandLine;
class Output;

/// Runs a command.  @return the exit status.
using CommandBody = std::function<int(Output&)>;

/// One command while it is being described.  Targets are borrowed and must live as long as the body, which holds them.
class Command {
public:
    /// An argument by position, in the order of the calls.
    Command& Argument(const char* pszName, std::string& rTarget, const char* pszHelp);
    Command& OptionalArgument(const char* pszName, std::string& rTarget, const char* pszHelp);
    /// The same where an empty text is another answer than none.
    Command& OptionalArgument(const char* pszName, std::optional<std::string>& rTarget, const char* pszHelp);
    /// An option with a text: `pszNames` as "-o,--output".
    Command& Option(const char* pszNames, const char* pszValue, std::string& rTarget, const char* pszHelp);
    Command& RequiredOption(const char* pszNames, const char* pszValue, std::string& rTarget, const char* pszHelp);
    /// An option with an integer, decimal or 0x and hexadecimal digits, from `llLeast` to `llMost`.
    Command& Number(const char* pszNames, std::optional<std::int64_t>& rTarget, std::int64_t llLeast,
                    std::int64_t llMost, const char* pszHelp);
    /// An option whose value is one of a list.
    Command& Choice(const char* pszNames, std::string& rTarget, const std::vector<std::string>& rvChoices,
                    const char* pszHelp);
    /// An option without a value.
    Command& Flag(const char* pszNames, bool& rTarget, const char* pszHelp);
    /// What runs when the command was given.
    void Run(CommandBody body);

private:
    friend class CommandLine;
    Command(CommandLine& rLine, CLI::App& rApp) : m_rLine(rLine), m_rApp(rApp) {}
    CommandLine& m_rLine;
    CLI::App& m_rApp;
};

/// Options that stand before or after any command.
struct GlobalOptions {
    bool bJson = false;
    std::string strColor = "auto";
    std::string strStore;
    std::string strLog;
};

class CommandLine {
public:
    CommandLine();
    ~CommandLine();

    GlobalOptions& Globals() noexcept { return m_oGlobals; }

    /// Describes the noun of several commands.
    void Noun(const char* pszNoun, const char* pszHelp);
    /// Begins a command.  @param pszVerb null for a command that is a noun alone.
    Command Add(const char* pszNoun, const char* pszVerb, const char* pszHelp);

    /// Parses UTF-8 arguments and returns the body of the command given; for `--help` and `--version` one that prints.
    /// @throws UsageError
    CommandBody Parse(const std::vector<std::string>& rvArguments);
    /// The words of the command as far as the arguments named one: "settings show".
    std::string CommandWords() const;

    /// Help of the program or of a command named by its words.  @throws UsageError for words that name none.
    std::string Help(const std::vector<std::string>& rvWords) const;
    /// The completion script for a shell: "bash", "zsh" or "powershell".
    std::string Completion(std::string_view strShell) const;

private:
    friend class Command;
    std::vector<std::string> GivenWords() const;
    void AddChoices(CLI::App& rApp, const char* pszNames, std::string& rTarget,
                    const std::vector<std::string>& rvChoices, const char* pszHelp);

    GlobalOptions m_oGlobals;
    std::unique_ptr<CLI::App> m_apoApp;
    std::map<const CLI::App*, CommandBody> m_mapBodies;
    std::vector<std::pair<const CLI::Option*, std::vector<std::string>>> m_vChoices;
};

}  // namespace vlm::tool
