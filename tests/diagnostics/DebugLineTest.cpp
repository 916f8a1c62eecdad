/// @file
/// The line that a debug message becomes, and the names of the categories in it.
#include "utilities/debuggingandexceptions/detail/diagnostics/DebugLine.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "support/FakePorts.h"
#include "support/Gate.h"
#include "support/Narrow.h"
#include "support/RecordingSink.h"
#include "utilities/debuggingandexceptions/DebugMessageCategoryHelper.h"
#include "utilities/debuggingandexceptions/detail/diagnostics/DebugLogFile.h"

namespace {

using ::testing::EndsWith;
using ::testing::StartsWith;
using vlm::DebugLine;
using vlm::DebugLineFacts;
using vlm::DebugLineMessage;
using vlm::DebugLineSettings;
using vlm::NarrowLine;
using vlm::test::Gate;
using vlm::test::Narrow;
using vlm::test::RecordingSink;
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
    const std::pair<bool S::*, const char*> PIECES[] = {
        {&S::fCategories, "[ errors perf ]"},
        {&S::fDate, "2024-02-29 "},
        {&S::fTime, " 9:05:07"},
        {&S::fComputerName, "COMPUTER-WITH-A-"},
        {&S::fContext, "ECIE_IMPORT_JCAP: from the devic"},
        {&S::fProcessId, "04d2:10e1 "},
        {&S::fProcessName, "( spoolsv) "},
        {&S::fModule, "q9util073.dll "},
        {&S::fFileName, "             Printer.cpp"},
        {&S::fMethod, "                           Printer::Open()"},
        {&S::fLineNumber, "  57"},
    };
    for (const auto& rPiece : PIECES)
        EXPECT_EQ(Line([&](S& s, F&, M&) { s.*rPiece.first = true; }), std::string(rPiece.second) + "> text\r\n");
    const struct {
        void (*pfnChange)(S&, F&, M&);
        const char* pszLine;
    } aoRows[] = {
        {[](S& s, F&, M&) { s.fTime = s.fFractionOfSecond = true; }, " 9:05:07:089 > text\r\n"},
        {[](S& s, F& f, M&) { f.fHighResolutionClock = !(s.fTime = s.fFractionOfSecond = true); },
         " 9:05:07:08 > text\r\n"},
        {[](S& s, F& f, M&) {
             s.fContext = s.fComputerName = s.fProcessName = true;
             f.context = f.computerName = XStringView();
             f.processName = VTEXT("50%s-isolation-host");
         },
         "  (50%s-isolation-host) > text\r\n"},
        {[](S& s, F&, M&) {
             s.fFileName = s.fMethod = s.fLineNumber = true;
             s.dwMinFilenameWidth = s.dwMinMethodWidth = 0;
             s.dwMaxFilenameWidth = 5;
         },
         "Print Printer::Open()  57> text\r\n"},
        {[](S& s, F&, M& m) {
             s.fLineNumber = true;
             m.dwLineNumber = 0;
         },
         "    > text\r\n"},
        {[](S&, F& f, M&) { f.lIndent = 2; }, ">       text\r\n"},
        {[](S&, F& f, M&) {
             f.lIndent = 2;
             f.fOtherThread = true;
         },
         "> [2nd Thrd] text\r\n"},
        {[](S& s, F&, M&) { s.dwMaxMessageWidth = 4; }, "> te\r\n"},
        {[](S&, F&, M& m) { m.text = XStringView(VTEXT("a\0b"), 3); }, "> a b\r\n"},
        {[](S& s, F& f, M&) {
             s.fCategories = s.fDate = s.fTime = s.fProcessId = true;
             f.lIndent = 1;
         },
         "[ errors perf ] 2024-02-29  9:05:0704d2:10e1 >    text\r\n"},
    };
    for (const auto& rRow : aoRows)
        EXPECT_EQ(Line(rRow.pfnChange), rRow.pszLine);
    EXPECT_EQ(Line([](S& s, F&, M&) { s.fHighLightErrors = true; }, true), "> *ERROR*\r\n\r\ntext\r\n");
}

TEST(DebugLine, IsCutBetweenCharactersAndKeepsItsEnd) {
    for (const std::size_t cUnits : {std::size_t{4090}, std::size_t{4091}, std::size_t{4092}, std::size_t{10000}}) {
        const XString text(cUnits, VTEXT('x'));
        EXPECT_EQ(Line([&](S&, F&, M& m) { m.text = text; }),
                  "> " + std::string(std::min<std::size_t>(cUnits, 4091), 'x') + "\r\n");
    }
    // The second half of the last character would not fit.
    XString pairs;
    for (int i = 0; i < 3000; ++i)
        pairs += VTEXT("\U0001F600");
    DebugLine line;
    line.Build({}, Facts(), false, 0, {pairs, {}, {}, 0});
    EXPECT_EQ(line.View().size(), 4094u);
    EXPECT_EQ(line.View()[4091] & 0xFC00, 0xDC00);
    // Widths and levels out of the registry do no harm.
    EXPECT_THAT(Line([](S& s, F& f, M&) {
                    s.fMethod = s.fFileName = s.fCategories = true;
                    s.dwMinMethodWidth = s.dwMaxMethodWidth = s.dwMinFilenameWidth = 0xFFFFFFFF;
                    f.lIndent = 0x7FFFFFFF;
                }),
                ::testing::AllOf(StartsWith("[ errors perf ] "), EndsWith("\r\n")));

    const auto narrow = [](XStringView svLine) {
        const NarrowLine narrowed(svLine);
        return std::string(narrowed.Get(), narrowed.Bytes());
    };
    EXPECT_EQ(narrow(VTEXT("\u00FC\r\n")), "\xFC\r\n");
    EXPECT_EQ(narrow(VTEXT("")), "\r\n");
    for (const std::size_t cUnits : {std::size_t{4093}, std::size_t{4094}, std::size_t{4095}, std::size_t{9000}}) {
        EXPECT_EQ(narrow(XString(cUnits, VTEXT('x')) + VTEXT("\r\n")),
                  std::string(std::min<std::size_t>(cUnits, 4094), 'x') + "\r\n");
    }
}

using Helper = DebugMessageCategoryHelper;

TEST(DebugMessageCategoryHelper, NamesEachBitOnceAndFindsItAgain) {
    Gate start(8);
    std::vector<std::jthread> vThreads;  // the first use is that of all at once
    for (int i = 0; i < 8; ++i) {
        vThreads.emplace_back([&] {
            start.ArriveAndWait();
            EXPECT_EQ(Narrow(Helper::GetCategoryString(0x1000).View()), "wfiddll");
        });
    }
    vThreads.clear();
    for (int iBit = 0; iBit < 64; ++iBit) {
        const CXString& kcsName = Helper::GetCategoryString(1ULL << iBit);
        EXPECT_EQ(Helper::GetCategoryFromString(kcsName), 1ULL << iBit) << Narrow(kcsName.View());
    }
    EXPECT_EQ(Narrow(Helper::GetCategoryString(DebugCategory::All).View()), "all");
}

TEST(DebugMessageCategoryHelper, FindsExactNamesAndReportsAMaskThatIsNoCategory) {
    const std::pair<const XCHAR*, DebugMessageCategories> NAMES[] = {
        {VTEXT("wfunivdll"), 0x4000000000000},
        {VTEXT("thread"), 0x4000000000},
        {VTEXT("cbrs"), 0x80000000000000},
        {VTEXT("xjobtracker"), 0x200000000},
        {VTEXT("asynch_http"), 0x8000000000000},
        {VTEXT("all"), ~0ULL},
        {VTEXT("Errors"), 0},
        {VTEXT("errors "), 0},
        {VTEXT(""), 0},
    };
    for (const auto& [pszName, categories] : NAMES)
        EXPECT_EQ(Helper::GetCategoryFromString(pszName), categories) << Narrow(pszName);
    const RecordingSink sink(DebugCategory::Errors);
    for (const DebugMessageCategories categories : {0x3ULL, 0x0ULL, ~1ULL})
        EXPECT_EQ(Narrow(Helper::GetCategoryString(categories).View()), "");
    EXPECT_EQ(sink.Count("Failed Condition:\t(posMatchingEntry != m_smapCategoryBitMaskToNamesPtr.end())\r\n"), 3u);
    EXPECT_EQ(sink.Count("Invalid category mask: 0xfffffffffffffffe. Does it represent more than one category?"), 1u);
}

TEST(DebugMessageCategoryHelper, AppendsNamesInTheOrderOfMasksAndNeverBeyondTheRoom) {
    const struct {
        XStringView before;
        DebugMessageCategories categories;
        std::string strAfter;
    } aoRows[] = {
        {VTEXT("12:00 "), DebugCategory::WfUnivDll | DebugCategory::WfidDll, "12:00 [ wfiddll wfunivdll ]"},
        {VTEXT(""), DebugCategory::None, "[ ]"},
    };
    for (const auto& rRow : aoRows) {
        for (std::size_t cCapacity = 0; cCapacity <= rRow.strAfter.size() + 2; ++cCapacity) {
            std::vector<XCHAR> vchBuffer(cCapacity);  // of exactly that size, for the address sanitizer
            std::copy_n(rRow.before.begin(), std::min(cCapacity, rRow.before.size()), vchBuffer.begin());
            Helper::AddCategoryStringsToBuffer(rRow.categories, vchBuffer.data(), cCapacity);
            // A buffer without a terminator is left alone.
            const std::size_t cShown = cCapacity > rRow.before.size() ? cCapacity - 1 : cCapacity;
            EXPECT_EQ(Narrow({vchBuffer.data(), std::min(cShown, rRow.strAfter.size())}),
                      rRow.strAfter.substr(0, cShown));
        }
    }
    XCHAR achAll[1024] = {};
    Helper::AddCategoryStringsToBuffer(DebugCategory::All, achAll, 0x80000000);
    EXPECT_EQ(achAll[0], XCHAR()) << "no such room";
    Helper::AddCategoryStringsToBuffer(DebugCategory::All, achAll, std::size(achAll));
    EXPECT_EQ(std::count(std::begin(achAll), std::end(achAll), VTEXT(' ')), 65);
    EXPECT_EQ(XStringView(achAll).find(VTEXT(" all ")), XStringView::npos);
}

}  // namespace
