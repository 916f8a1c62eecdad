// Completion scripts for shells, from the described commands.
#include <CLI/CLI.hpp>
#include <algorithm>

#include "CommandLine.h"

namespace vlm::tool {

namespace {

using Words = std::vector<std::string>;

/// What may follow: words by command ("settings show", "" for none yet), values by option.
struct Offers {
    std::vector<std::pair<std::string, Words>> vWords;
    std::vector<std::pair<std::string, Words>> vValues;
};

std::string Joined(const Words& rvWords) {
    std::string strResult;
    for (const std::string& rWord : rvWords)
        strResult += (strResult.empty() ? "" : " ") + rWord;
    return strResult;
}

Words NamesOf(const CLI::Option& rOption) {
    Words vNames;
    for (const std::string& rName : rOption.get_lnames())
        vNames.push_back("--" + rName);
    for (const std::string& rName : rOption.get_snames())
        vNames.push_back("-" + rName);
    return vNames;
}

void AddOptions(const CLI::App& rApp, Words& rvWords) {
    for (const CLI::Option* pOption : rApp.get_options())
        for (const std::string& rName : NamesOf(*pOption))
            if (std::find(rvWords.begin(), rvWords.end(), rName) == rvWords.end()) rvWords.push_back(rName);
}

void AddCommand(const CLI::App& rProgram, const CLI::App& rApp, const std::string& strCommand, Offers& rOffers) {
    const auto all = [](const CLI::App*) { return true; };
    Words vWords;
    for (const CLI::App* pSub : rApp.get_subcommands(all))
        vWords.push_back(pSub->get_name());
    AddOptions(rApp, vWords);
    AddOptions(rProgram, vWords);
    rOffers.vWords.emplace_back(strCommand, std::move(vWords));
    for (const CLI::App* pSub : rApp.get_subcommands(all))
        AddCommand(rProgram, *pSub, strCommand + (strCommand.empty() ? "" : " ") + pSub->get_name(), rOffers);
}

/// Functions for bash and zsh: each sets `offered` to the words for its argument, or fails.
std::string ShellTables(const Offers& rOffers) {
    const auto table = [](const char* pszName, const auto& rvRows) {
        std::string strResult = std::string(pszName) + "() {\n    case $1 in\n";
        for (const auto& [strKey, vWords] : rvRows)
            strResult += "        '" + strKey + "') offered='" + Joined(vWords) + "' ;;\n";
        return strResult + "        *) return 1 ;;\n    esac\n}\n";
    };
    return table("_q9diag_words", rOffers.vWords) + table("_q9diag_values", rOffers.vValues);
}

// The current word is a file's name where a command is complete, and where it has no verbs.
constexpr const char* BASH = R"(_q9diag() {
    local current=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD-1]} command='' offered='' i
    [[ $current == = ]] && current='' || { [[ $before == = ]] && before=${COMP_WORDS[COMP_CWORD-2]}; }
    if _q9diag_values "$before"; then
        COMPREPLY=($(compgen -W "$offered" -- "$current"))
        return
    fi
    for ((i = 1; i < COMP_CWORD && i < 3; i++)); do
        [[ ${COMP_WORDS[i]} == -* ]] && break
        command+=${command:+ }${COMP_WORDS[i]}
    done
    _q9diag_words "$command" || _q9diag_words "${command%% *}"
    COMPREPLY=($(compgen -W "$offered" -- "$current"))
    [[ $current == -* || $command != *' '* && $offered == [a-z]* ]] && return
    local IFS=$'\n'
    COMPREPLY+=($(compgen -f -- "$current"))
}
complete -o filenames -F _q9diag q9diag
)";

constexpr const char* ZSH = R"(_q9diag() {
    local command='' offered='' i
    if _q9diag_values "${words[CURRENT-1]}"; then
        compadd -- ${=offered}
        return
    fi
    for ((i = 2; i < CURRENT && i < 4; i++)); do
        [[ ${words[i]} == -* ]] && break
        command+="${command:+ }${words[i]}"
    done
    _q9diag_words "$command" || _q9diag_words "${command%% *}"
    compadd -- ${=offered}
    [[ ${words[CURRENT]} == -* || $command != *' '* && $offered == [a-z]* ]] || _files
}
if [[ ${funcstack[1]} == _q9diag ]]; then _q9diag "$@"; else compdef _q9diag q9diag; fi
)";

constexpr const char* POWERSHELL = R"(    $given = @($commandAst.CommandElements | Select-Object -Skip 1 |
        Where-Object { $_.Extent.EndOffset -lt $cursorPosition } | ForEach-Object { $_.Extent.Text })
    $command = ''
    foreach ($word in ($given | Select-Object -First 2)) {
        if ($word.StartsWith('-')) { break }
        $command = "$command $word".Trim()
    }
    $offered = if ($given.Count -gt 0) { $values[$given[-1]] }
    if (-not $offered) { $offered = $words[$command] }
    if (-not $offered) { $offered = $words[$command.Split(' ')[0]] }
    $offered -split ' ' | Where-Object { $_.StartsWith($wordToComplete) } |
        ForEach-Object { [System.Management.Automation.CompletionResult]::new($_, $_, 'ParameterValue', $_) }
}
)";

std::string PowerShellTable(const char* pszName, const std::vector<std::pair<std::string, Words>>& rvRows) {
    std::string strResult = std::string("    $") + pszName + " = @{\n";
    for (const auto& [strKey, vWords] : rvRows)
        strResult += "        '" + strKey + "' = '" + Joined(vWords) + "'\n";
    return strResult + "    }\n";
}

}  // namespace

std::string CommandLine::Completion(std::string_view strShell) const {
    Offers oOffers;
    AddCommand(*m_apoApp, *m_apoApp, "", oOffers);
    for (const auto& [pOption, vChoices] : m_vChoices)
        for (const std::string& rName : NamesOf(*pOption)) {
            const bool fKnown = std::any_of(oOffers.vValues.begin(), oOffers.vValues.end(),
                                            [&](const auto& rRow) { return rRow.first == rName; });
            if (!fKnown) oOffers.vValues.emplace_back(rName, vChoices);
        }
    if (strShell == "bash")
        return "# bash completion for q9diag; source it, or save it where bash-completion looks.\n" +
               ShellTables(oOffers) + BASH;
    if (strShell == "zsh")
        return "#compdef q9diag\n# zsh completion for q9diag; source it, or save it as _q9diag in a folder of "
               "$fpath.\n" +
               ShellTables(oOffers) + ZSH;
    return "# PowerShell completion for q9diag; dot-source it, or append it to $PROFILE.\n"
           "Register-ArgumentCompleter -Native -CommandName q9diag, q9diag073 -ScriptBlock {\n"
           "    param($wordToComplete, $commandAst, $cursorPosition)\n" +
           PowerShellTable("words", oOffers.vWords) + PowerShellTable("values", oOffers.vValues) + POWERSHELL;
}

}  // namespace vlm::tool
