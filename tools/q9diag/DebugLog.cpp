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
    std::string strText;
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
    XText strText(strBytes.size(), XCHAR());
    strText.resize(GetPlatform().pText->ToWide(0, strBytes.data(), strBytes.size(), strText.data(), strText.size()));
    Line line;
    line.strText = Printable(XStringView(strText));
    ReadCategories(strText, line);
    return line;
}

/// Which lines are wanted.  A line without categories goes with the one before it: messages may have several lines.
class Filter {
public:
    explicit Filter(const LogOptions& rOptions)
        : m_categories(ParseCategories(rOptions.strCategories, "--category")), m_strMatch(rOptions.strMatch) {}

    bool Wants(const Line& rLine) {
        if (rLine.categories != DebugCategory::None) {
            m_bSeenCategories = true;
            m_bMessageWanted = m_categories == DebugCategory::None || (rLine.categories & m_categories) != 0;
        } else if (!m_bSeenCategories) {
            m_bMessageWanted = m_categories == DebugCategory::None;
        }
        return m_bMessageWanted && (m_strMatch.empty() || rLine.strText.find(m_strMatch) != std::string::npos);
    }
    /// Were categories asked for, and no line has any?
    bool IsPointless() const { return m_categories != DebugCategory::None && !m_bSeenCategories; }

private:
    DebugMessageCategories m_categories;
    std::string m_strMatch;
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

    /// Appends what has come since the last call.  @return success also while the file is away.
    Status ReadMore(std::string& rstrBytes) {
        if (m_bOpen && HasMoved()) {
            const Status status = ReadRest(rstrBytes);
            Close();
            if (status != Status::Success) return status;
        }
        if (!m_bOpen && Open() != Status::Success) return Status::Success;
        return ReadRest(rstrBytes);
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

    Status ReadRest(std::string& rstrBytes) {
        FilePort& rFiles = *GetPlatform().pFiles;
        ULONGLONG ullSize = 0;
        Status status = rFiles.Size(m_hFile, ullSize);
        if (status != Status::Success) return status;
        if (ullSize < m_ullOffset) m_ullOffset = 0;  // it was made empty
        status = rFiles.Seek(m_hFile, m_ullOffset);
        std::array<char, 65536> achChunk{};
        DWORD dwRead = 0;
        do {
            if (status == Status::Success) {
                status = rFiles.Read(m_hFile, achChunk.data(), static_cast<DWORD>(achChunk.size()), dwRead);
            }
            if (status != Status::Success) return status;
            rstrBytes.append(achChunk.data(), dwRead);
            m_ullOffset += dwRead;
        } while (dwRead != 0);
        return Status::Success;
    }

    XText m_strPath;
    HANDLE m_hFile = nullptr;
    bool m_bOpen = false;
    ULONGLONG m_ullOffset = 0;
    OpenFilePort::Facts m_oFacts;
};

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
    if (!bAll || rstrBytes.empty()) return;
    take(ReadLine(rstrBytes));
    rstrBytes.clear();
}

int Log(const LogOptions& rOptions, Output& rOutput) {
    if (rOptions.bFollow && rOutput.IsJson()) throw UsageError("--follow has no end, so it cannot make one document");
    const XText strPath = PathOf(rOptions.strFile);
    const std::string strName = ToUtf8(strPath);
    LogReader reader(strPath);
    if (const Status status = reader.Open(); status != Status::Success && !rOptions.bFollow) {
        RefuseFile(FileStep::Open, strName, status);
    }
    Filter filter(rOptions);
    std::deque<Line> vLines;
    std::string strBytes;
    const auto read = [&](bool bAll) {
        if (const Status status = reader.ReadMore(strBytes); status != Status::Success) {
            RefuseFile(FileStep::Read, strName, status);
        }
        TakeLines(strBytes, bAll, [&](Line line) {
            if (filter.Wants(line)) vLines.push_back(std::move(line));
        });
    };
    const auto print = [&] {
        for (const Line& rLine : vLines)
            rOutput.Line(rOutput.Styled(StyleOf(rLine), rLine.strText));
        vLines.clear();
        std::fflush(stdout);
    };
    read(!rOptions.bFollow);
    while (rOptions.ollLines && vLines.size() > static_cast<std::size_t>(*rOptions.ollLines))
        vLines.pop_front();
    if (filter.IsPointless() && vLines.empty()) {
        rOutput.Remark("No line tells its categories: debug set ShowCategories on");
    }
    Json oLines = Json::array();
    if (rOutput.IsJson()) {
        for (const Line& rLine : vLines)
            oLines.push_back({{"categories", rLine.vCategories}, {"text", rLine.strText}});
    }
    print();
    const auto tStart = std::chrono::steady_clock::now();
    const auto isOver = [&] {
        return rOptions.ollSeconds &&
               std::chrono::steady_clock::now() - tStart >= std::chrono::seconds(*rOptions.ollSeconds);
    };
    while (rOptions.bFollow && !isOver()) {
        std::this_thread::sleep_for(POLL_INTERVAL);
        read(false);
        print();
    }
    rOutput.Document({{"file", strName}, {"lines", std::move(oLines)}});
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
    rOutput.Document({{"file", strName}, {"cleared", status == Status::Success}, {"processesTold", cTold}});
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
