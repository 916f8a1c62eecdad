/// @file
/// The line that a debug message becomes.
#include "utilities/debuggingandexceptions/detail/diagnostics/DebugLine.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "support/FakePorts.h"
#include "support/Narrow.h"
#include "utilities/debuggingandexceptions/detail/diagnostics/DebugLogFile.h"

namespace {

using ::testing::EndsWith;
using ::testing::StartsWith;
using vlm::DebugLine;
using vlm::DebugLineFacts;
using vlm::DebugLineMessage;
using vlm::DebugLineSettings;
using vlm::NarrowLine;
using vlm::test::Narrow;
using vlm::test::XString;

DebugLineFacts Facts() {
    DebugLineFacts facts;
    facts.oLocalTime = {2024, 2, 4, 29, 9, 5, 7, 89};
    facts.computerName = VTEXT("COMPUTER-WITH-A-NAME");
    facts.context = VTEXT("ECIE_IMPORT_JCAP: from the device, which is far");
    facts.dwProcessId = 0x4D2;
    facts.dwThreadId = 0x10E1;
    facts.processName = VTEXT("spoolsv");
    facts.moduleName = VTEXT("q9util073.dll");
    return facts;
}

const DebugLineMessage MESSAGE{VTEXT("text"), VTEXT("src\\environment\\Printer.cpp"), VTEXT("Printer::Open"), 57};

template <class Change>
std::string Line(Change&& change, bool fError = false, DebugMessageCategories categories = 0x11) {
    DebugLineSettings settings;
    DebugLineFacts facts = Facts();
    DebugLineMessage message = MESSAGE;
    change(settings, facts, message);
    DebugLine line;
    line.Build(settings, facts, fError, categories, message);
    EXPECT_EQ(line.Get()[line.View().size()], XCHAR());
    return Narrow(line.View());
}

using S = DebugLineSettings;
using F = DebugLineFacts;
using M = DebugLineMessage;

TEST(DebugLine, HasEachPieceThatIsSwitchedOn) {
    const struct {
        void (*pfnChange)(S&, F&, M&);
        bool fError;
        const char* pszLine;
    } aoRows[] = {
        {[](S&, F&, M&) {}, false, "> text\r\n"},
        {[](S& s, F&, M&) { s.fCategories = true; }, false, "[ errors perf ]> text\r\n"},
        {[](S& s, F&, M&) { s.fDate = true; }, false, "2024-02-29 > text\r\n"},
        {[](S& s, F&, M&) { s.fTime = true; }, false, " 9:05:07> text\r\n"},
        {[](S& s, F&, M&) { s.fFractionOfSecond = true; }, false, "> text\r\n"},
        {[](S& s, F&, M&) { s.fTime = s.fFractionOfSecond = true; }, false, " 9:05:07:089 > text\r\n"},
        {[](S& s, F& f, M&) {
             s.fTime = s.fFractionOfSecond = true;
             f.fHighResolutionClock = false;
         },
         false, " 9:05:07:08 > text\r\n"},
        {[](S& s, F&, M&) { s.fComputerName = true; }, false, "COMPUTER-WITH-A-> text\r\n"},
        {[](S& s, F&, M&) { s.fContext = true; }, false, "ECIE_IMPORT_JCAP: from the devic> text\r\n"},
        {[](S& s, F& f, M&) {
             s.fContext = s.fComputerName = true;
             f.context = f.computerName = XStringView();
         },
         false, "  > text\r\n"},
        {[](S& s, F&, M&) { s.fProcessId = true; }, false, "04d2:10e1 > text\r\n"},
        {[](S& s, F&, M&) { s.fProcessName = true; }, false, "( spoolsv) > text\r\n"},
        {[](S& s, F& f, M&) {
             s.fProcessName = true;
             f.processName = VTEXT("printisolationhost");
         },
         false, "(printisolationhost) > text\r\n"},
        {[](S& s, F& f, M&) {
             s.fProcessName = true;
             f.processName = VTEXT("50%s");
         },
         false, "(    50%s) > text\r\n"},
        {[](S& s, F&, M&) { s.fModule = true; }, false, "q9util073.dll > text\r\n"},
        {[](S& s, F&, M&) { s.fFileName = true; }, false, "             Printer.cpp> text\r\n"},
        {[](S& s, F&, M&) {
             s.fFileName = true;
             s.dwMinFilenameWidth = 1;
             s.dwMaxFilenameWidth = 5;
         },
         false, "Print> text\r\n"},
        {[](S& s, F&, M&) {
             s.fMethod = true;
             s.dwMinMethodWidth = 15;
         },
         false, "  Printer::Open()> text\r\n"},
        {[](S& s, F&, M&) {
             s.fFileName = s.fMethod = s.fLineNumber = true;
             s.dwMinFilenameWidth = s.dwMinMethodWidth = 0;
         },
         false, "Printer.cpp Printer::Open()  57> text\r\n"},
        {[](S& s, F&, M&) { s.fLineNumber = true; }, false, "  57> text\r\n"},
        {[](S& s, F&, M& m) {
             s.fLineNumber = true;
             m.dwLineNumber = 0;
         },
         false, "    > text\r\n"},
        {[](S& s, F&, M& m) {
             s.fLineNumber = s.fFileName = true;
             s.dwMinFilenameWidth = 0;
             m.dwLineNumber = 0;
             m.fileName = VTEXT("a.cpp");
         },
         false, "a.cpp   0> text\r\n"},
        {[](S& s, F&, M&) { s.fHighLightErrors = true; }, false, "> text\r\n"},
        {[](S& s, F&, M&) { s.fHighLightErrors = true; }, true, "> *ERROR*\r\n\r\ntext\r\n"},
        {[](S&, F& f, M&) { f.lIndent = 2; }, false, ">       text\r\n"},
        {[](S&, F& f, M&) {
             f.lIndent = 2;
             f.fOtherThread = true;
         },
         false, "> [2nd Thrd] text\r\n"},
        {[](S& s, F&, M&) { s.dwMaxMessageWidth = 4; }, false, "> te\r\n"},
        {[](S&, F&, M& m) { m.text = XStringView(VTEXT("a\0b"), 3); }, false, "> a b\r\n"},
        {[](S& s, F& f, M&) {
             s.fCategories = s.fDate = s.fTime = s.fProcessId = true;
             f.lIndent = 1;
         },
         true, "[ errors perf ] 2024-02-29  9:05:0704d2:10e1 >    text\r\n"},
    };
    for (const auto& rRow : aoRows)
        EXPECT_EQ(Line(rRow.pfnChange, rRow.fError), rRow.pszLine);
}

TEST(DebugLine, IsCutBetweenCharactersAndKeepsItsEnd) {
    for (const std::size_t cUnits : {std::size_t{4090}, std::size_t{4091}, std::size_t{4092}, std::size_t{10000}}) {
        const XString text(cUnits, VTEXT('x'));
        const std::string line = Line([&](S&, F&, M& m) { m.text = text; });
        EXPECT_EQ(line.size(), std::min<std::size_t>(cUnits + 4, 4095)) << cUnits;
        EXPECT_THAT(line, EndsWith("x\r\n"));
    }
    // The second half of the last character would not fit.
    XString pairs = VTEXT("x");
    for (int i = 0; i < 3000; ++i)
        pairs += VTEXT("\U0001F600");
    DebugLine line;
    line.Build({}, Facts(), false, 0, {pairs, {}, {}, 0});
    EXPECT_EQ(line.View().size(), 4095u);
    EXPECT_EQ(line.View()[4092] & 0xFC00, 0xDC00);
    line.Build({}, Facts(), false, 0, {pairs.substr(1), {}, {}, 0});
    EXPECT_EQ(line.View().size(), 4094u);
    EXPECT_EQ(line.View()[4091] & 0xFC00, 0xDC00);
    // Widths and levels out of the registry do no harm.
    EXPECT_THAT(Line([](S& s, F& f, M&) {
                    s.fMethod = s.fFileName = s.fCategories = true;
                    s.dwMinMethodWidth = s.dwMaxMethodWidth = s.dwMinFilenameWidth = 0xFFFFFFFF;
                    f.lIndent = 0x7FFFFFFF;
                }),
                ::testing::AllOf(StartsWith("[ errors perf ] "), EndsWith("\r\n")));
}

TEST(NarrowLine, IsCutBetweenCharactersAndKeepsItsEnd) {
    const auto narrow = [](XStringView svLine) {
        const NarrowLine line(svLine);
        return std::string(line.Get(), line.Bytes());
    };
    EXPECT_EQ(narrow(VTEXT("\u00FC\r\n")), "\xFC\r\n");
    EXPECT_EQ(narrow(VTEXT("no end")), "no end\r\n");
    EXPECT_EQ(narrow(VTEXT("")), "\r\n");
    for (const std::size_t cUnits : {std::size_t{4093}, std::size_t{4094}, std::size_t{4095}, std::size_t{9000}}) {
        const std::string line = narrow(XString(cUnits, VTEXT('x')) + VTEXT("\r\n"));
        EXPECT_EQ(line, std::string(std::min<std::size_t>(cUnits, 4094), 'x') + "\r\n");
    }
}

}  // namespace
