/// @file
/// The fault layer must reach every call that can fail, and leave the others alone.
#include "support/FaultPlatform.h"

#include <gtest/gtest.h>

#include <functional>
#include <vector>

#include "platform/EventPort.h"
#include "platform/FolderPort.h"
#include "platform/IdentityPort.h"
#include "platform/OpenFilePort.h"
#include "platform/SessionPort.h"
#include "support/Bytes.h"
#include "support/FakePlatform.h"

namespace vlm::test {

namespace {

constexpr Status FAULT = Status::NoSystemResources;

class FaultLayer : public testing::Test {
protected:
    FaultLayer() { m_oFaults.Script().Arm(FaultMode::FailFrom, 1, FAULT); }
    const Platform& Ports() const { return m_oFaults.Get(); }

    FakePlatform m_oFake;
    FaultPlatform m_oFaults{m_oFake.Get()};
};

TEST_F(FaultLayer, EveryStatusOfTheNewerPortsCanFail) {
    m_oFake.sessions.AddSession(1, true);
    m_oFake.files.AddFile(VTEXT("C:\\file"), BytesOf("1"));
    OpenFilePort& rOpenFiles = *Ports().pOpenFiles;
    FolderPort& rFolders = *Ports().pFolders;
    IdentityPort& rIdentity = *Ports().pIdentity;
    EventPort& rEvents = *Ports().pEvents;
    SessionPort& rSessions = *Ports().pSessions;
    HANDLE h = nullptr;
    void* pView = nullptr;
    DWORD dw = 0;
    bool f = false;
    int i = 0;
    XCHAR szText[300];
    OpenFilePort::Facts oFacts;
    FolderPort::Entry oEntry;
    IdentityPort::Identity oIdentity;
    SessionPort::Session oSession;
    m_oFake.files.SetMisuseFailsTest(false);
    m_oFake.events.SetMisuseFailsTest(false);
    const std::vector<std::function<Status()>> vCalls{
        [&] { return rOpenFiles.GetFacts(h, oFacts); },
        [&] { return rOpenFiles.SetAttributesOf(h, 0); },
        [&] { return rOpenFiles.Append(h, "x", 1, dw); },
        [&] { return rOpenFiles.CreateMappingOf(h, 1, true, h); },
        [&] { return rOpenFiles.MapView(h, 1, pView); },
        [&] { return rOpenFiles.UnmapView(pView); },
        [&] { return rFolders.OpenFolder(VTEXT("C:"), h); },
        [&] { return rFolders.NextEntry(h, oEntry); },
        [&] { return rFolders.CloseFolder(h); },
        [&] { return rFolders.RemoveFolder(VTEXT("C:\\none")); },
        [&] { return rFolders.CopyTo(VTEXT("C:\\file"), VTEXT("C:\\copy"), true); },
        [&] { return rFolders.DeleteAtRestart(VTEXT("C:\\file")); },
        [&] { return rIdentity.CurrentIdentity(oIdentity); },
        [&] { return rIdentity.ProcessIdentity(oIdentity); },
        [&] { return rIdentity.SidOfAccount(VTEXT("tester"), szText, 300); },
        [&] { return rIdentity.Revert(h); },
        [&] { return rIdentity.SetPrivilege(VTEXT("SeRestorePrivilege"), true, f); },
        [&] { return rEvents.CreateEventAt(nullptr, true, true, h); },
        [&] { return rEvents.OpenEventAt(VTEXT("name"), h); },
        [&] { return rEvents.SetEventState(h, true); },
        [&] { return rEvents.CreateMutexAt(nullptr, h); },
        [&] { return rEvents.WaitAny(&h, 1, 0, dw, f); },
        [&] { return rEvents.CloseObject(h); },
        [&] { return rEvents.StartThread([](void*) { return 0u; }, nullptr, h); },
        [&] { return rSessions.EnumerateSessions(&oSession, dw = 1); },
        [&] { return rSessions.ShowBoxInSession(1, VTEXT("text"), VTEXT("caption"), 0, i); },
        [&] { return rSessions.PostToWindow(nullptr, 1, 1); },
        [&] { return rSessions.SendToWindow(nullptr, 1, 1, 1); },
    };
    for (std::size_t iCall = 0; iCall < vCalls.size(); ++iCall) {
        EXPECT_EQ(vCalls[iCall](), FAULT) << "call " << iCall;
        EXPECT_EQ(m_oFaults.Script().Calls(), iCall + 1);
    }
    EXPECT_EQ(rSessions.ShowBox(nullptr, VTEXT("text"), VTEXT("caption"), 0), 0);
    EXPECT_EQ(rSessions.RegisterMessage(VTEXT("message")), 0u);
    EXPECT_EQ(rSessions.AddGlobalAtom(VTEXT("atom")), 0u);
    EXPECT_EQ(rIdentity.CurrentUserName(szText, 300), 0u);
    EXPECT_EQ(m_oFake.TakenResources(), 0u);
    EXPECT_TRUE(m_oFake.sessions.Boxes().empty());
    EXPECT_FALSE(m_oFake.files.Contents(VTEXT("C:\\copy")).has_value());
}

TEST_F(FaultLayer, ARestoreThatFailsClosesItsTokenAndLeavesTheProcesssIdentity) {
    IdentityPort& rIdentity = *Ports().pIdentity;
    HANDLE hToken = nullptr;
    m_oFake.identity.Impersonate(FakeIdentityPort::MakeIdentity(VTEXT("S-1-5-21-9-9-9-1")));
    ASSERT_EQ(m_oFake.Get().pIdentity->Revert(hToken), Status::Success);
    EXPECT_EQ(rIdentity.Restore(hToken), FAULT);
    EXPECT_EQ(m_oFake.identity.OpenTokens(), 0u);
    IdentityPort::Identity oIdentity;
    EXPECT_EQ(m_oFake.Get().pIdentity->CurrentIdentity(oIdentity), Status::Success);
    EXPECT_FALSE(oIdentity.fImpersonating);
    EXPECT_EQ(rIdentity.Restore(nullptr), Status::Success);
    rIdentity.EndProcess(3);
    EXPECT_EQ(m_oFake.identity.EndedWith(), 3u);
}

TEST_F(FaultLayer, AnAppendCutShortTellsWhatWasWritten) {
    m_oFaults.Script().Disarm();
    HANDLE hFile = nullptr;
    const FilePort::OpenOptions oOptions{.eAccess = FilePort::Access::Write,
                                         .eDisposition = FilePort::Disposition::OpenAlways};
    ASSERT_EQ(Ports().pFiles->Open(VTEXT("C:\\log"), oOptions, hFile), Status::Success);
    m_oFaults.Script().Arm(FaultMode::ShortOnce, 1);
    DWORD dwWritten = 0;
    EXPECT_EQ(Ports().pOpenFiles->Append(hFile, "abcd", 4, dwWritten), Status::DiskFull);
    EXPECT_EQ(dwWritten, 2u);
    m_oFaults.Script().Arm(FaultMode::KillTorn, 1);
    EXPECT_NE(Ports().pOpenFiles->Append(hFile, "wxyz", 4, dwWritten), Status::Success);
    EXPECT_NE(Ports().pOpenFiles->Append(hFile, "more", 4, dwWritten), Status::Success);
    m_oFake.DropHandles();
    EXPECT_EQ(m_oFake.files.Contents(VTEXT("C:\\log")), BytesOf("abwx"));
}

}  // namespace

}  // namespace vlm::test
