/// @file
/// How a command of the tool fails: exit statuses, refusals, and the one line that reports any exception.
#pragma once

#include <exception>
#include <stdexcept>
#include <string>

#include "platform/WinTypes.h"

namespace vlm::tool {

/// Exit statuses of the program.
enum ExitStatus : int { EXIT_DONE = 0, EXIT_ANSWER_NO = 1, EXIT_USAGE = 2, EXIT_BAD_INPUT = 3, EXIT_REFUSED = 4 };

/// The command line does not fit: exit status 2.
class UsageError : public std::runtime_error {
public:
    /// @param strKind the class named in the report.
    explicit UsageError(const std::string& strMessage, std::string strKind = "UsageError")
        : std::runtime_error(strMessage), m_strKind(std::move(strKind)) {}
    const std::string& Kind() const noexcept { return m_strKind; }

private:
    std::string m_strKind;
};

/// Refuses malformed bytes, JSON or text: throws ExceptionInvalidArgument, exit status 3.
/// @param strMessage UTF-8: what was wrong and where.
[[noreturn]] void RefuseInput(const std::string& strMessage, int iLine = __builtin_LINE(),
                              const char* pszFile = __builtin_FILE(), const char* pszFunction = __builtin_FUNCTION());

/// Refuses the contents of a file, in the words and under the name of the exception that says what is wrong with them,
/// whatever its group: exit status 3.
[[noreturn]] void RefuseContents(const std::exception& rException);

/// What the system refused: a file that is missing or denied.  Exit status 4.
enum class FileStep { Open, Read, Create, Write };
/// Throws the exception of the file group that belongs to the step, with the system's own words for `status`.
[[noreturn]] void RefuseFile(FileStep eStep, const std::string& strFile, Status status, int iLine = __builtin_LINE(),
                             const char* pszFile = __builtin_FILE(), const char* pszFunction = __builtin_FUNCTION());

/// What the registry refused: throws ExceptionRegistryRequest, exit status 4, with the system's words for `dwStatus`.
[[noreturn]] void RefuseRegistry(const std::string& strWhat, DWORD dwStatus, int iLine = __builtin_LINE(),
                                 const char* pszFile = __builtin_FILE(),
                                 const char* pszFunction = __builtin_FUNCTION());

/// What the port monitor, or the spooler on the way to it, refused: throws ExceptionLowRightsStorage, exit status 4.
/// @param strWhat UTF-8: what was not done.
[[noreturn]] void RefuseMonitor(const std::string& strWhat, Status status, int iLine = __builtin_LINE(),
                                const char* pszFile = __builtin_FILE(), const char* pszFunction = __builtin_FUNCTION());

/// What the spooler refused about a queue: throws ExceptionPrinterFailure, exit status 4.
[[noreturn]] void RefusePrinter(const std::string& strWhat, Status status, int iLine = __builtin_LINE(),
                                const char* pszFile = __builtin_FILE(), const char* pszFunction = __builtin_FUNCTION());

/// The system's words for a status, and its number.
std::string StatusText(Status status);

/// An exception as the tool reports it.
struct FailureReport {
    int iExitStatus;
    std::string strClass;
    std::string strIdentifier;
    std::string strMessage;  ///< UTF-8, one line, fit for a terminal
};
FailureReport Describe(const std::exception& rException);

}  // namespace vlm::tool
