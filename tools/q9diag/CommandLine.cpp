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

bool LooksLikeNegativeNumber(const std::string& strArgument) noexcept {
    return strArgument.size() > 1 && strArgument[0] == '-' &&
           ((strArgument[1] >= '0' && strArgument[1] <= '9') || strArgument[1] == '.');
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

CLI::Option* AddText(CLI::App& rApp, const char* pszNames, std::string& rTarget, const char* pszHelp) {
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
    m_rApp.add_flag(pszNames, rTarget, pszHelp);
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
    m_apoApp->add_flag("--json", m_oGlobals.bJson, "Print one JSON document on standard output");
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
        if (LooksLikeNegativeNumber(rArgument)) rArgument.insert(rArgument.begin(), GUARD);
    }
    try {
        m_apoApp->parse(std::move(vReversed));
    } catch (const CLI::CallForHelp&) {
        return [this](Output& rOutput) {
            rOutput.Bytes(Help(GivenWords()));
            return EXIT_DONE;
        };
    } catch (const CLI::CallForVersion&) {
        return [](Output& rOutput) {
            rOutput.Line("q9diag " Q9_VERSION_TEXT);
            rOutput.Document({{"version", Q9_VERSION_TEXT}});
            return EXIT_DONE;
        };
    } catch (const CLI::ParseError& rError) {
        // An unexpected argument is reported under the program's name instead of a class's.
        const bool fExtras = rError.get_exit_code() == static_cast<int>(CLI::ExitCodes::ExtrasError);
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

std::string CommandLine::BashCompletion() const {
    // One case per command: the words that may follow it; options with a list of values have a case of their own.
    std::string strCases;
    std::string strValues;
    const auto names = [](const CLI::Option& rOption) {
        std::vector<std::string> vNames;
        for (const std::string& rName : rOption.get_lnames())
            vNames.push_back("--" + rName);
        for (const std::string& rName : rOption.get_snames())
            vNames.push_back("-" + rName);
        return vNames;
    };
    const auto options = [&](const CLI::App& rApp) {
        std::vector<std::string> vWords;
        for (const CLI::Option* pOption : rApp.get_options())
            for (const std::string& rName : names(*pOption))
                vWords.push_back(rName);
        return vWords;
    };
    const std::vector<std::string> vGlobal = options(*m_apoApp);
    const auto describe = [&](const CLI::App& rApp, const std::string& strCommand) {
        std::vector<std::string> vWords;
        for (const CLI::App* pSub : Subcommands(rApp))
            vWords.push_back(pSub->get_name());
        for (const std::string& rName : options(rApp))
            vWords.push_back(rName);
        for (const std::string& rName : vGlobal)
            if (std::find(vWords.begin(), vWords.end(), rName) == vWords.end()) vWords.push_back(rName);
        strCases += "        '" + strCommand + "') words='" + Join(vWords, " ") + "' ;;\n";
    };
    describe(*m_apoApp, "");
    for (const CLI::App* pNoun : Subcommands(*m_apoApp)) {
        describe(*pNoun, pNoun->get_name());
        for (const CLI::App* pVerb : Subcommands(*pNoun))
            describe(*pVerb, pNoun->get_name() + " " + pVerb->get_name());
    }
    for (const auto& [pOption, vChoices] : m_vChoices)
        strValues += "        " + Join(names(*pOption), "|") + ") COMPREPLY=($(compgen -W '" + Join(vChoices, " ") +
                     "' -- \"$current\")); return ;;\n";
    return "# bash completion for q9diag; source it, or save it where bash-completion looks.\n"
           "_q9diag() {\n"
           "    local current=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD-1]} command='' words='' i\n"
           "    case $before in\n" +
           strValues +
           "    esac\n"
           "    for ((i = 1; i < COMP_CWORD && i < 3; i++)); do\n"
           "        [[ ${COMP_WORDS[i]} == -* ]] && break\n"
           "        command+=${command:+ }${COMP_WORDS[i]}\n"
           "    done\n"
           "    _q9diag_words \"$command\" || _q9diag_words \"${command%% *}\"\n"
           "    COMPREPLY=($(compgen -W \"$words\" -- \"$current\"))\n"
           "    [[ $current == -* || $command != *' '* && $words == [a-z]* ]] || COMPREPLY+=($(compgen -f -- "
           "\"$current\"))\n"
           "}\n"
           "_q9diag_words() {\n"
           "    case $1 in\n" +
           strCases +
           "        *) return 1 ;;\n"
           "    esac\n"
           "}\n"
           "complete -o filenames -F _q9diag q9diag\n";
}

}  // namespace vlm::tool
