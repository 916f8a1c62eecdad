/// @file
/// Boxes that reach somebody, or nobody, but hang no service.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "support/FakePlatform.h"
#include "support/RecordingSink.h"
#include "utilities/utilitiesdll/LoaderLock.h"
#include "utilities/utilitiesdll/VelomUtilities_Desktop.h"

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;
using vlm::PlatformScope;
using vlm::Status;
using vlm::test::FakePlatform;
using vlm::test::FakeSessionPort;
using vlm::test::Narrow;
using vlm::test::RecordingSink;

constexpr UINT STYLE = 0x10;
constexpr UINT SERVICE_STYLE = 0x210010;

int Show() {
    return VelomUtilities::NoHangDebugMessageBox(nullptr, VTEXT("text"), VTEXT("caption"), STYLE);
}

TEST(NoHangDebugMessageBox, IsThePlainBoxWhereSomebodySeesIt) {
    FakePlatform fake;
    const PlatformScope scope(fake.Get());
    const RecordingSink sink;
    fake.sessions.AddSession(1, true);
    fake.sessions.AnswerWith(2);
    const HWND hwnd = reinterpret_cast<HWND>(std::uintptr_t{0x70});
    EXPECT_EQ(VelomUtilities::NoHangDebugMessageBox(hwnd, VTEXT("text"), VTEXT("caption"), STYLE), 2);
    ASSERT_EQ(fake.sessions.Boxes().size(), 1u);
    const FakeSessionPort::Box box = fake.sessions.Boxes()[0];
    EXPECT_EQ(box.hwndOwner, hwnd);
    EXPECT_EQ(box.dwStyle, STYLE);
    EXPECT_EQ(box.oSession, std::nullopt);
    EXPECT_EQ(Narrow(box.caption), "caption");
    EXPECT_THAT(sink.Texts(), ElementsAre("**Notification MessageBox**caption:\ntext\n"));
}

TEST(NoHangDebugMessageBox, OfAServiceGoesToTheFirstActiveSessionThatTakesIt) {
    constexpr const char* NO_SESSION =
        "VelomUtilities::NoHangDebugMessageBox(): WTSEnumerateSessions() returned 2 sessions, but no active session "
        "found to display MessageBox. Falling back to MB_SERVICE_NOTIFICATION)";
    const struct {
        const char* pszCase;
        bool afActive[2];
        Status eSessions;
        Status eFirstBox;
        std::optional<DWORD> oShownIn;
        std::vector<std::string> vReports;
    } aoRows[] = {
        {"first", {true, true}, Status::Success, Status::Success, 7, {}},
        {"second", {false, true}, Status::Success, Status::Success, 8, {}},
        {"first refuses",
         {true, true},
         Status::Success,
         Status::AccessDenied,
         8,
         {"VelomUtilities::NoHangDebugMessageBox(): WTSSendMessage() failed for session, 7, returned Windows error "}},
        {"nobody there", {false, false}, Status::Success, Status::Success, std::nullopt, {NO_SESSION}},
        {"no list",
         {true, true},
         Status::AccessDenied,
         Status::Success,
         std::nullopt,
         {"VelomUtilities::NoHangDebugMessageBox(): WTSEnumerateSessions() failed. Returned Windows error "}},
        {"no terminal services", {true, true}, static_cast<Status>(1151), Status::Success, std::nullopt, {}},
    };
    for (const auto& rRow : aoRows) {
        SCOPED_TRACE(rRow.pszCase);
        FakePlatform fake;
        const PlatformScope scope(fake.Get());
        const RecordingSink sink;
        fake.sessions.SetDesktopVisible(false);
        fake.sessions.AddSession(7, rRow.afActive[0]);
        fake.sessions.AddSession(8, rRow.afActive[1]);
        fake.sessions.SetSessionsStatus(rRow.eSessions);
        fake.sessions.SetSessionBoxStatus(7, rRow.eFirstBox);
        fake.sessions.AnswerWith(4);
        EXPECT_EQ(Show(), 4);
        ASSERT_EQ(fake.sessions.Boxes().size(), 1u);
        const FakeSessionPort::Box box = fake.sessions.Boxes()[0];
        EXPECT_EQ(box.oSession, rRow.oShownIn);
        EXPECT_EQ(box.dwStyle, SERVICE_STYLE);
        EXPECT_EQ(Narrow(box.caption), "test.exe: caption");
        const std::vector<std::string> vTexts = sink.Texts();
        ASSERT_EQ(vTexts.size(), rRow.vReports.size() + 1);
        for (std::size_t i = 0; i < rRow.vReports.size(); ++i) {
            EXPECT_THAT(vTexts[i + 1], StartsWith(rRow.vReports[i]));
            EXPECT_THAT(vTexts[i + 1], ::testing::EndsWith(")"));
        }
    }
}

TEST(NoHangDebugMessageBox, UnderTheLoaderLockIsDebuggerOutputOnly) {
    FakePlatform fake;
    const PlatformScope scope(fake.Get());
    {
        const vlm::LoaderLockScope loader;
        const vlm::LoaderLockScope nested;
        EXPECT_EQ(Show(), 0);
    }
    EXPECT_THAT(fake.sessions.Boxes(), IsEmpty());
    ASSERT_EQ(fake.desktop.DebuggerLines().size(), 1u);
    EXPECT_EQ(Narrow(fake.desktop.DebuggerLines()[0]), "text");
    EXPECT_EQ(Show(), 1) << "the lock has been left";
}

}  // namespace
