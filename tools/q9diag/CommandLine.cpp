// Parsing, help and completion of the tool's command line.
#include "CommandLine.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <charconv>

#include "Failure.h"
#include "Output.h"
#include "platform/ProgramImpl.h"
#include "q9version.h"

namespace vlm::tool {

namespace {

/// Stands before an argument such as "-5" while the parser looks at it, which would take it for an option.
constexpr char GUARD = '\x01';

/// A negative number; or what begins like one that is guarded already.
bool NeedsGuard(const std::string& strArgument) noexcept {
    const bool fNegative = strArgument.size() > 1 && strArgument[0] == '-' &&
                           ((strArgument[1] >= '0' && strArgument[1] <= '9') || strArgument[1] == '.');
    return fNegative || strArgument.starts_with(GUARD);
}

std::string WithoutGuard(const std::string& strArgument) {
    return !strArgument.empty() && strArgument[0] == GUARD ? strArgument.substr(1) : strArgument;
}

/// A message of the parser, which may quote several arguments.
std::string WithoutGuards(std::string strMessage) {
    strMessage.erase(std::remove(strMessage.begin(), strMessage.end(), GUARD), strMessage.end());
    return strMessage;
}

std::string Join(const std::vector<std::string>& rvWords, const char* pszBetween) {
    std::string strResult;
    for (const std::string& rWord : rvWords)
        strResult += (strResult.empty() ? "" : pszBetween) + rWord;
    return strResult;
}

std::int64_t ParseNumber(const std::string& strName, const std::string& strText, std::int64_t llLeast,
                         std::int64_t llMost) {
    std::string_view strDigits = strText;
    const bool fNegative = strDigits.starts_with('-');
    if (fNegative) strDigits.remove_prefix(1);
    const bool fHexadecimal = strDigits.starts_with("0x") || strDigits.starts_with("0X");
    if (fHexadecimal) strDigits.remove_prefix(2);
    std::uint64_t ullValue = 0;
    const char* pszEnd = strDigits.data() + strDigits.size();
    const auto [pszStop, eError] = std::from_chars(strDigits.data(), pszEnd, ullValue, fHexadecimal ? 16 : 10);
    const bool fFits = eError == std::errc() && pszStop == pszEnd && ullValue <= INT64_MAX;
    const std::int64_t llValue = fFits ? (fNegative ? -1 : 1) * static_cast<std::int64_t>(ullValue) : 0;
    if (!fFits || llValue < llLeast || llValue > llMost)
        throw UsageError(strName + ": " + Printable(std::string_view(strText)) + " is not an integer from " +
                         std::to_string(llLeast) + " to " + std::to_string(llMost));
    return llValue;
}

template <class Target>
CLI::Option* AddText(CLI::App& rApp, const char* pszNames, Target& rTarget, const char* pszHelp) {
    return rApp.add_option_function<std::string>(
        pszNames, [&rTarget](const std::string& strValue) { rTarget = WithoutGuard(strValue); }, pszHelp);
}

std::vector<CLI::App*> Subcommands(const CLI::App& rApp) {
    return const_cast<CLI::App&>(rApp).get_subcommands([](CLI::App*) { return true; });
}

}  // namespace

Command& Command::Argument(const char* pszName, std::string& rTarget, const char* pszHelp) {
    AddText(m_rApp, pszName, rTarget, pszHelp)->required()->type_name("");
    return *this;
}

Command& Command::OptionalArgument(const char* pszName, std::string& rTarget, const char* pszHelp) {
    AddText(m_rApp, pszName, rTarget, pszHelp)->type_name("");
    return *this;
}

Command& Command::OptionalArgument(const char* pszName, std::optional<std::string>& rTarget, const char* pszHelp) {
    AddText(m_rApp, pszName, rTarget, pszHelp)->type_name("");
    return *this;
}

Command& Command::Option(const char* pszNames, const char* pszValue, std::string& rTarget, const char* pszHelp) {
    AddText(m_rApp, pszNames, rTarget, pszHelp)->type_name(pszValue);
    return *this;
}

Command& Command::RequiredOption(const char* pszNames, const char* pszValue, std::string& rTarget,
                                 const char* pszHelp) {
    AddText(m_rApp, pszNames, rTarget, pszHelp)->required()->type_name(pszValue);
    return *this;
}

Command& Command::Number(const char* pszNames, std::optional<std::int64_t>& rTarget, std::int64_t llLeast,
                         std::int64_t llMost, const char* pszHelp) {
    const std::string strName = pszNames;
    m_rApp
        .add_option_function<std::string>(
            pszNames,
            [=, &rTarget](const std::string& strValue) {
                rTarget = ParseNumber(strName, WithoutGuard(strValue), llLeast, llMost);
            },
            pszHelp)
        ->type_name("N");
    return *this;
}

Command& Command::Choice(const char* pszNames, std::string& rTarget, const std::vector<std::string>& rvChoices,
                         const char* pszHelp) {
    m_rLine.AddChoices(m_rApp, pszNames, rTarget, rvChoices, pszHelp);
    return *this;
}

Command& Command::Flag(const char* pszNames, bool& rTarget, const char* pszHelp) {
    m_rApp.add_flag(pszNames, rTarget, pszHelp)->disable_flag_override();
    return *this;
}

void Command::Run(CommandBody body) {
    m_rLine.m_mapBodies[&m_rApp] = std::move(body);
}

CommandLine::CommandLine()
    : m_apoApp(
          std::make_unique<CLI::App>("See and change what the printer drivers' utility library stores.", "q9diag")) {
    m_apoApp->set_help_flag("-h,--help", "Print help and stop");
    m_apoApp->set_version_flag("--version", "q9diag " Q9_VERSION_TEXT, "Print the version and stop");
    m_apoApp->require_subcommand(1);
    m_apoApp->fallthrough();
    m_apoApp->allow_windows_style_options(false);  // the same words mean the same on every system
    m_apoApp->add_flag("--json", m_oGlobals.bJson, "Print one JSON document on standard output")
        ->disable_flag_override();
    AddChoices(*m_apoApp, "--color", m_oGlobals.strColor, {"auto", "always", "never"}, "Colours");
    AddText(*m_apoApp, "--log", m_oGlobals.strLog,
            "Debug messages of these categories on standard error: names with commas between, or all")
        ->type_name("CATEGORIES");
    if (HasEmbeddedStore())
        AddText(*m_apoApp, "--store", m_oGlobals.strStore,
                "File of the embedded registry and spooler; else Q9_STORE, else one in the user's data folder")
            ->type_name("FILE");
    m_apoApp->footer(
        "Exit status: 0 done, 1 the answer is no, 2 wrong usage, 3 bad input, 4 the system refused.\n"
        "A file named - is standard input or output.");
}

CommandLine::~CommandLine() = default;

void CommandLine::AddChoices(CLI::App& rApp, const char* pszNames, std::string& rTarget,
                             const std::vector<std::string>& rvChoices, const char* pszHelp) {
    const std::string strName = pszNames;
    const auto take = [=, &rTarget](const std::string& strValue) {
        if (std::find(rvChoices.begin(), rvChoices.end(), strValue) == rvChoices.end())
            throw UsageError(strName + ": " + Printable(std::string_view(WithoutGuard(strValue))) + " is not one of " +
                             Join(rvChoices, ", "));
        rTarget = strValue;
    };
    CLI::Option* const pOption =
        rApp.add_option_function<std::string>(pszNames, take, std::string(pszHelp) + ": " + Join(rvChoices, ", "));
    m_vChoices.emplace_back(pOption->type_name("NAME"), rvChoices);
}

void CommandLine::Noun(const char* pszNoun, const char* pszHelp) {
    m_apoApp->add_subcommand(pszNoun, pszHelp)->require_subcommand(1)->fallthrough();
}

Command CommandLine::Add(const char* pszNoun, const char* pszVerb, const char* pszHelp) {
    CLI::App* const pParent = pszVerb ? m_apoApp->get_subcommand(pszNoun) : m_apoApp.get();
    CLI::App* const pApp = pParent->add_subcommand(pszVerb ? pszVerb : pszNoun, pszHelp);
    pApp->fallthrough();
    return Command(*this, *pApp);
}

CommandBody CommandLine::Parse(const std::vector<std::string>& rvArguments) {
    std::vector<std::string> vReversed(rvArguments.rbegin(), rvArguments.rend());
    for (std::string& rArgument : vReversed) {
        FromUtf8(rArgument, "argument");
        if (NeedsGuard(rArgument)) rArgument.insert(rArgument.begin(), GUARD);
    }
    try {
        m_apoApp->parse(std::move(vReversed));
    } catch (const CLI::CallForHelp&) {
        return [this](Output& rOutput) {
            rOutput.Text("help", Help(GivenWords()));
            return EXIT_DONE;
        };
    } catch (const CLI::CallForVersion&) {
        return [](Output& rOutput) {
            rOutput.Line("q9diag " Q9_VERSION_TEXT);
            rOutput.Document({{"version", Q9_VERSION_TEXT}});
            return EXIT_DONE;
        };
    } catch (const CLI::ParseError& rError) {
        // What nobody expected says more than what is missing instead.
        const std::vector<std::string> vUnexpected = m_apoApp->remaining(true);
        const bool fMissing = rError.get_exit_code() == static_cast<int>(CLI::ExitCodes::RequiredError);
        const bool fExtras = rError.get_exit_code() == static_cast<int>(CLI::ExitCodes::ExtrasError);
        if (fMissing && !vUnexpected.empty())
            throw UsageError(WithoutGuards(CLI::ExtrasError(vUnexpected).what()), "ExtrasError");
        // An unexpected argument is reported under the program's name instead of a class's.
        throw UsageError(WithoutGuards(rError.what()), fExtras ? "ExtrasError" : rError.get_name());
    }
    const CLI::App* pApp = m_apoApp.get();
    while (!pApp->get_subcommands().empty())
        pApp = pApp->get_subcommands().front();
    return m_mapBodies.at(pApp);
}

std::vector<std::string> CommandLine::GivenWords() const {
    std::vector<std::string> vWords;
    for (const CLI::App* pApp = m_apoApp.get(); !pApp->get_subcommands().empty();) {
        pApp = pApp->get_subcommands().front();
        vWords.push_back(pApp->get_name());
    }
    return vWords;
}

std::string CommandLine::CommandWords() const {
    return Join(GivenWords(), " ");
}

std::string CommandLine::Help(const std::vector<std::string>& rvWords) const {
    const CLI::App* pApp = m_apoApp.get();
    std::string strParents;
    for (const std::string& rWord : rvWords) {
        const auto vSubcommands = Subcommands(*pApp);
        const auto it = std::find_if(vSubcommands.begin(), vSubcommands.end(),
                                     [&](const CLI::App* pSub) { return pSub->get_name() == rWord; });
        if (it == vSubcommands.end()) throw UsageError("no such command: " + Printable(std::string_view(rWord)));
        strParents += (strParents.empty() ? "" : " ") + pApp->get_name();
        pApp = *it;
    }
    return pApp->get_formatter()->make_help(
        pApp, rvWords.empty() ? pApp->get_name() : strParents + " " + rvWords.back(), CLI::AppFormatMode::Normal);
}

}  // namespace vlm::tool
