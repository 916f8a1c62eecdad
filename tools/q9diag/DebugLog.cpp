// debug log, clear: the log file of the debug messages.
#include <array>
#include <chrono>
#include <cstdio>
#include <deque>
#include <optional>
#include <thread>
#include <vector>

#include "CommandLine.h"
#include "Commands.h"
#include "Failure.h"
#include "Files.h"
#include "LogSink.h"
#include "Output.h"
#include "Text.h"
#include "platform/FilePort.h"
#include "platform/OpenFilePort.h"
#include "platform/Platform.h"
#include "platform/TextPort.h"
#include "utilities/debuggingandexceptions/DebugConfigUpdater.h"
#include "utilities/debuggingandexceptions/DebugMessageCategoryHelper.h"
#include "utilities/utilitiesdll/VelomUtilities_DebugLog.h"

namespace vlm::tool {

namespace {

constexpr auto POLL_INTERVAL = std::chrono::milliseconds(200);
constexpr DWORD SHARE_ALL = FilePort::ShareRead | FilePort::ShareWrite | FilePort::ShareDelete;

struct LogOptions {
    std::string strFile;
    std::string strCategories;
    std::string strMatch;
    std::optional<std::int64_t> ollLines;
    std::optional<std::int64_t> ollSeconds;
    bool bFollow = false;
};

/// The file that is named, or else the one of the settings.
XText PathOf(const std::string& strFile) {
    if (!strFile.empty()) return FromUtf8(strFile, "FILE");
    const CXString csFile = VelomUtilities::GetDebugLogFileName();
    if (csFile.IsEmpty()) {
        RefuseInput("no log file is named: give one, or store the setting LogFileName");
    }
    return XText(csFile.View());
}

// ---- lines ----

/// One line of the file, and the categories that it begins with.
struct Line {
    XText strText;
    DebugMessageCategories categories = DebugCategory::None;  ///< none: the line does not say
    std::vector<std::string> vCategories;
};

/// Takes a list like "[ errors perf ]" apart; anything else has no categories.
void ReadCategories(XStringView strText, Line& rLine) {
    const std::size_t uEnd = strText.find(VTEXT(" ]"));
    if (!strText.starts_with(VTEXT("[ ")) || uEnd == XStringView::npos) return;
    XStringView strNames = strText.substr(2, uEnd > 2 ? uEnd - 2 : 0);
    while (!strNames.empty()) {
        const std::size_t uBlank = strNames.find(VTEXT(' '));
        const CXString csName(strNames.substr(0, uBlank));
        const DebugMessageCategories category = DebugMessageCategoryHelper::GetCategoryFromString(csName);
        if (category == DebugCategory::None) return;
        rLine.categories |= category;
        rLine.vCategories.push_back(Printable(csName.View()));
        strNames = uBlank == XStringView::npos ? XStringView() : strNames.substr(uBlank + 1);
    }
}

/// @param strBytes a line in the ANSI code page, without its end.
Line ReadLine(const std::string& strBytes) {
    Line line;
    line.strText.resize(strBytes.size());
    line.strText.resize(
        GetPlatform().pText->ToWide(0, strBytes.data(), strBytes.size(), line.strText.data(), line.strText.size()));
    ReadCategories(line.strText, line);
    return line;
}

/// Which lines are wanted.  A line without categories goes with the one before it: messages may have several lines.
class Filter {
public:
    explicit Filter(const LogOptions& rOptions)
        : m_categories(ParseCategories(rOptions.strCategories, "--category")),
          m_strMatch(FromUtf8(rOptions.strMatch, "--match")) {}

    bool Wants(const Line& rLine) {
        if (rLine.categories != DebugCategory::None) {
            m_bSeenCategories = true;
            m_bMessageWanted = m_categories == DebugCategory::None || (rLine.categories & m_categories) != 0;
        } else if (!m_bSeenCategories) {
            m_bMessageWanted = m_categories == DebugCategory::None;
        }
        return m_bMessageWanted && (m_strMatch.empty() || rLine.strText.find(m_strMatch) != XText::npos);
    }
    /// Were categories asked for, and no line has any?
    bool IsPointless() const { return m_categories != DebugCategory::None && !m_bSeenCategories; }

private:
    DebugMessageCategories m_categories;
    XText m_strMatch;
    bool m_bMessageWanted = true;
    bool m_bSeenCategories = false;
};

Style StyleOf(const Line& rLine) {
    if (rLine.categories & DebugCategory::Errors) return Style::Bad;
    if (rLine.categories & DebugCategory::Perf) return Style::Changed;
    if (rLine.categories & (DebugCategory::Flow | DebugCategory::Entry | DebugCategory::TraceMsg)) return Style::Name;
    return Style::Plain;
}

// ---- the file ----

/// Reads a file that others append to, empty and rename meanwhile.
class LogReader {
public:
    explicit LogReader(XText strPath) : m_strPath(std::move(strPath)) {}
    ~LogReader() { Close(); }
    LogReader(const LogReader&) = delete;
    LogReader& operator=(const LogReader&) = delete;

    Status Open() {
        FilePort::OpenOptions options;
        options.dwShare = SHARE_ALL;
        const Status status = GetPlatform().pFiles->Open(m_strPath.c_str(), options, m_hFile);
        m_bOpen = status == Status::Success;
        m_ullOffset = 0;
        if (m_bOpen) GetPlatform().pOpenFiles->GetFacts(m_hFile, m_oFacts);
        return status;
    }

    /// Appends a piece of what has come since the last call.  @param rfCame whether there was one.
    /// @return success also while the file is away.
    Status ReadMore(std::string& rstrBytes, bool& rfCame) {
        const bool fMoved = m_bOpen && HasMoved();
        rfCame = false;
        if (!m_bOpen && Open() != Status::Success) return Status::Success;
        Status status = ReadPiece(rstrBytes, rfCame);
        if (!fMoved || rfCame) return status;
        Close();  // read to its end; what is there now follows
        if (status == Status::Success && Open() == Status::Success) status = ReadPiece(rstrBytes, rfCame);
        return status;
    }

private:
    void Close() {
        if (m_bOpen) GetPlatform().pFiles->Close(m_hFile);
        m_bOpen = false;
    }

    /// Does the path lead to another file by now?
    bool HasMoved() const {
        FilePort::OpenOptions options;
        options.eAccess = FilePort::Access::Attributes;
        options.dwShare = SHARE_ALL;
        HANDLE hFile = nullptr;
        if (GetPlatform().pFiles->Open(m_strPath.c_str(), options, hFile) != Status::Success) return false;
        OpenFilePort::Facts facts;
        const Status status = GetPlatform().pOpenFiles->GetFacts(hFile, facts);
        GetPlatform().pFiles->Close(hFile);
        return status == Status::Success &&
               (facts.ullFile != m_oFacts.ullFile || facts.ullVolume != m_oFacts.ullVolume);
    }

    Status ReadPiece(std::string& rstrBytes, bool& rfCame) {
        FilePort& rFiles = *GetPlatform().pFiles;
        ULONGLONG ullSize = 0;
        Status status = rFiles.Size(m_hFile, ullSize);
        if (status != Status::Success) return status;
        if (ullSize < m_ullOffset) m_ullOffset = 0;  // it was made empty
        status = rFiles.Seek(m_hFile, m_ullOffset);
        std::array<char, 65536> achPiece{};
        DWORD dwRead = 0;
        if (status == Status::Success) {
            status = rFiles.Read(m_hFile, achPiece.data(), static_cast<DWORD>(achPiece.size()), dwRead);
        }
        if (status != Status::Success) return status;
        rstrBytes.append(achPiece.data(), dwRead);
        m_ullOffset += dwRead;
        rfCame = dwRead != 0;
        return Status::Success;
    }

    XText m_strPath;
    HANDLE m_hFile = nullptr;
    bool m_bOpen = false;
    ULONGLONG m_ullOffset = 0;
    OpenFilePort::Facts m_oFacts;
};

/// A line that goes on beyond this comes in pieces.
constexpr std::size_t LONGEST_LINE = 1u << 20;

/// Cuts whole lines off the front of what was read.
/// @param bAll takes the last line, too, although its end has not come.
template <class Take>
void TakeLines(std::string& rstrBytes, bool bAll, Take&& take) {
    std::size_t uBegin = 0;
    for (std::size_t uEnd = 0; (uEnd = rstrBytes.find('\n', uBegin)) != std::string::npos; uBegin = uEnd + 1) {
        const std::size_t uCut = uEnd > uBegin && rstrBytes[uEnd - 1] == '\r' ? uEnd - 1 : uEnd;
        take(ReadLine(rstrBytes.substr(uBegin, uCut - uBegin)));
    }
    rstrBytes.erase(0, uBegin);
    if (rstrBytes.empty() || (!bAll && rstrBytes.size() < LONGEST_LINE)) return;
    take(ReadLine(rstrBytes));
    rstrBytes.clear();
}

/// The lines that are wanted, printed as they come; with `--lines` or JSON kept until the file was read to its end.
class LogPrinter {
public:
    LogPrinter(const LogOptions& rOptions, Output& rOutput)
        : m_oFilter(rOptions), m_ollLines(rOptions.ollLines), m_rOutput(rOutput) {}

    /// @param bAll takes the last line, too, although its end has not come.
    void Take(std::string& rstrBytes, bool bAll) {
        TakeLines(rstrBytes, bAll, [&](Line line) {
            if (!m_oFilter.Wants(line)) return;
            m_vLines.push_back(std::move(line));
            if (m_ollLines && m_vLines.size() > static_cast<std::size_t>(*m_ollLines)) m_vLines.pop_front();
        });
        if (!m_ollLines && !m_rOutput.IsJson()) Print();
    }
    /// The file was read to its end: prints what was kept; from now on nothing is.
    void EndOfFile() {
        if (m_oFilter.IsPointless() && m_vLines.empty())
            m_rOutput.Remark("No line tells its categories: debug set ShowCategories on");
        m_ollLines.reset();
        if (!m_rOutput.IsJson()) Print();
    }
    Json ToJson() const {
        Json oLines = Json::array();
        for (const Line& rLine : m_vLines)
            oLines.push_back({{"categories", rLine.vCategories}, {"text", JsonString(XStringView(rLine.strText))}});
        return oLines;
    }

private:
    void Print() {
        for (const Line& rLine : m_vLines)
            m_rOutput.Line(m_rOutput.Styled(StyleOf(rLine), Printable(XStringView(rLine.strText))));
        m_vLines.clear();
    }

    Filter m_oFilter;
    std::optional<std::int64_t> m_ollLines;
    Output& m_rOutput;
    std::deque<Line> m_vLines;
};

/// Prints a log, and with `--follow` what comes later.
void ReadLog(const LogOptions& rOptions, const XText& rstrPath, LogPrinter& rPrinter, Output& rOutput) {
    const std::string strName = ToUtf8(rstrPath);
    LogReader reader(rstrPath);
    if (const Status status = reader.Open(); status != Status::Success && !rOptions.bFollow) {
        RefuseFile(FileStep::Open, strName, status);
    }
    std::string strBytes;
    const auto readToEnd = [&] {
        for (bool fCame = true; fCame && rOutput.Flush();) {
            if (const Status status = reader.ReadMore(strBytes, fCame); status != Status::Success) {
                RefuseFile(FileStep::Read, strName, status);
            }
            if (fCame) rPrinter.Take(strBytes, false);
        }
    };
    readToEnd();
    if (!rOptions.bFollow) rPrinter.Take(strBytes, true);
    rPrinter.EndOfFile();
    const auto tStart = std::chrono::steady_clock::now();
    const auto isOver = [&] {
        return rOptions.ollSeconds &&
               std::chrono::steady_clock::now() - tStart >= std::chrono::seconds(*rOptions.ollSeconds);
    };
    while (rOptions.bFollow && rOutput.Flush() && !isOver()) {
        std::this_thread::sleep_for(POLL_INTERVAL);
        readToEnd();
    }
}

int Log(const LogOptions& rOptions, Output& rOutput) {
    if (rOptions.bFollow && rOutput.IsJson()) throw UsageError("--follow has no end, so it cannot make one document");
    const bool fStandardInput = rOptions.strFile == "-";
    if (rOptions.bFollow && fStandardInput) throw UsageError("--follow: standard input is read to its end anyway");
    const XText strPath = PathOf(rOptions.strFile);
    LogPrinter oPrinter(rOptions, rOutput);
    if (fStandardInput) {
        const ByteBuffer bbLog = ReadInput(rOptions.strFile);
        std::string strBytes(reinterpret_cast<const char*>(bbLog.data()), bbLog.size());
        oPrinter.Take(strBytes, true);
        oPrinter.EndOfFile();
    } else {
        ReadLog(rOptions, strPath, oPrinter, rOutput);
    }
    rOutput.Document({{"file", JsonString(XStringView(strPath))}, {"lines", oPrinter.ToJson()}});
    return EXIT_DONE;
}

// ---- clear ----

/// Makes the file empty.  @return FileNotFound when there is none.
Status EmptyFile(const XText& strPath) {
    FilePort& rFiles = *GetPlatform().pFiles;
    FilePort::OpenOptions options;
    options.eAccess = FilePort::Access::Write;
    options.dwShare = SHARE_ALL;
    HANDLE hFile = nullptr;
    Status status = rFiles.Open(strPath.c_str(), options, hFile);
    if (status != Status::Success) return status;
    status = rFiles.Seek(hFile, 0);
    if (status == Status::Success) status = rFiles.SetEnd(hFile);
    rFiles.Close(hFile);
    return status;
}

int Clear(Output& rOutput) {
    const XText strPath = PathOf({});
    const std::string strName = ToUtf8(strPath);
    const std::size_t cTold = DebugConfigUpdater::RequestClearLog();
    const Status status = EmptyFile(strPath);
    const bool bMissing = status == Status::FileNotFound || status == Status::PathNotFound;
    // A process with more rights may be able to do what the tool is not.
    if (status != Status::Success && !bMissing && cTold == 0) RefuseFile(FileStep::Write, strName, status);
    if (bMissing)
        rOutput.Line(Printable(strName) + ": there is no such file");
    else
        rOutput.Line(Printable(strName) + (status == Status::Success ? ": empty" : ": left to the running processes"));
    rOutput.Document(
        {{"file", JsonString(XStringView(strPath))}, {"cleared", status == Status::Success}, {"processesTold", cTold}});
    return bMissing ? EXIT_ANSWER_NO : EXIT_DONE;
}

}  // namespace

void AddDebugLog(CommandLine& rLine) {
    const auto shpoOptions = std::make_shared<LogOptions>();
    rLine.Add("debug", "log", "Print the log file of the debug messages")
        .OptionalArgument("FILE", shpoOptions->strFile, "Another file than the setting LogFileName names")
        .Option("--category", "CATEGORIES", shpoOptions->strCategories, "Only messages of one of these categories")
        .Option("--match", "TEXT", shpoOptions->strMatch, "Only lines that hold this text")
        .Number("-n,--lines", shpoOptions->ollLines, 0, INT32_MAX, "Begin with so many lines at the end")
        .Flag("-f,--follow", shpoOptions->bFollow, "Go on with what is written from now on, until interrupted")
        .Number("--seconds", shpoOptions->ollSeconds, 0, INT32_MAX, "Follow for so many seconds only")
        .Run([shpoOptions](Output& rOutput) { return Log(*shpoOptions, rOutput); });
    rLine.Add("debug", "clear", "Make the log file of the debug messages empty").Run([](Output& rOutput) {
        return Clear(rOutput);
    });
}

}  // namespace vlm::tool
