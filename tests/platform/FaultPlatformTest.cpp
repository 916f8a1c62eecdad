/// @file
/// The rules of its own that the fault layer has for some calls.
#include "support/FaultPlatform.h"

#include <gtest/gtest.h>

#include "platform/IdentityPort.h"
#include "platform/OpenFilePort.h"
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
