// help and completion.
#include "CommandLine.h"
#include "Commands.h"
#include "Failure.h"
#include "Output.h"

namespace vlm::tool {

void AddHelp(CommandLine& rLine) {
    const auto shpoWords = std::make_shared<std::pair<std::string, std::string>>();
    rLine.Add("help", nullptr, "Print help")
        .OptionalArgument("NOUN", shpoWords->first, "A command")
        .OptionalArgument("VERB", shpoWords->second, "The rest of the command")
        .Run([shpoWords, &rLine](Output& rOutput) {
            std::vector<std::string> vWords;
            for (const std::string& rWord : {shpoWords->first, shpoWords->second})
                if (!rWord.empty()) vWords.push_back(rWord);
            rOutput.Text("help", rLine.Help(vWords));
            return EXIT_DONE;
        });
    rLine.Noun("completion", "Completion for shells");
    for (const char* pszShell : {"bash", "zsh", "powershell"})
        rLine.Add("completion", pszShell, "Print the completion script for this shell")
            .Run([&rLine, pszShell](Output& rOutput) {
                rOutput.Text("script", rLine.Completion(pszShell));
                return EXIT_DONE;
            });
}

}  // namespace vlm::tool
