// protect encrypt and decrypt: data under a password.
#include "CommandLine.h"
#include "Commands.h"
#include "Failure.h"
#include "Files.h"
#include "Output.h"
#include "Password.h"
#include "Progress.h"
#include "utilities/Bounds.h"
#include "utilities/utilitiesdll/KestrixEncryption.h"

namespace vlm::tool {

namespace {

struct Options {
    std::string strInput;
    std::string strOutput;
    PasswordOptions oPassword;
    std::optional<std::int64_t> ollRounds;
};

int Run(const Options& rOptions, bool fEncrypt, Output& rOutput) {
    RefuseBytesAmongJson(rOptions.strOutput, rOutput);
    if (rOptions.strInput == "-" && (rOptions.oPassword.strFile == "-" || rOptions.oPassword.ollDescriptor == 0))
        throw UsageError("standard input cannot be both the data and the password");
    const ByteBuffer bbInput = ReadInput(rOptions.strInput);
    Password oPassword;
    oPassword.Read(rOptions.oPassword, fEncrypt);
    const Progress oProgress(fEncrypt ? "encrypting" : "decrypting");
    KestrixEncryption oEncryption;
    oEncryption.SetKeyDerivationRounds(
        static_cast<int>(rOptions.ollRounds.value_or(KestrixEncryption::DEFAULT_ROUNDS)));
    const auto* const pbyPassword = reinterpret_cast<const BYTE*>(oPassword.Get().data());
    const auto iLength = static_cast<int>(oPassword.Get().size());
    ByteBuffer bbOutput;
    if (fEncrypt) {
        if (!oEncryption.EncryptByteBuffer(bbInput, pbyPassword, iLength, bbOutput))
            RefuseInput(rOptions.strInput + ": cannot be encrypted");
    } else if (!oEncryption.DecryptByteBuffer(bbInput, pbyPassword, iLength, bbOutput)) {
        RefuseInput(rOptions.strInput + ": does not decrypt; the password is another one, or the data was changed");
    }
    WriteResult(rOptions.strOutput, bbOutput, rOutput);
    rOutput.Document({{"inputBytes", bbInput.size()}, {"outputBytes", bbOutput.size()}});
    return EXIT_DONE;
}

void Add(CommandLine& rLine, const char* pszVerb, bool fEncrypt, const char* pszHelp, const char* pszInput) {
    const auto shpoOptions = std::make_shared<Options>();
    Command oCommand = rLine.Add("protect", pszVerb, pszHelp);
    oCommand.Argument("FILE", shpoOptions->strInput, pszInput)
        .RequiredOption("-o,--output", "FILE", shpoOptions->strOutput, "The file to write")
        .Number("--rounds", shpoOptions->ollRounds, 1, bounds::MAX_KEY_ROUNDS,
                "Rounds of the key's derivation, 10000 without this option; both sides need the same");
    shpoOptions->oPassword.Describe(oCommand);
    oCommand.Run([shpoOptions, fEncrypt](Output& rOutput) { return Run(*shpoOptions, fEncrypt, rOutput); });
}

}  // namespace

void AddProtect(CommandLine& rLine) {
    rLine.Noun("protect", "Data under a password");
    Add(rLine, "encrypt", true, "Encrypt a file under a password", "Any file");
    Add(rLine, "decrypt", false, "Restore a file that was encrypted under a password", "An encrypted file");
}

}  // namespace vlm::tool
