/// @file
/// The whole way in one process: an embedded spooler, its channel, and the request server behind it.
#include "MonitorBench.h"
#include "platform/EmbeddedMonitor.h"

namespace vlm::test {

namespace {

TEST(EmbeddedMonitor, AChannelOfTheSpoolerLeadsToTheServer) {
    MonitorBench oBench;
    SpoolerPort& rSpooler = oBench.oFake.spooler;
    ASSERT_NE(GetEmbeddedMonitor(), nullptr);
    EXPECT_TRUE(GetEmbeddedMonitor()->IsDll(VTEXT("C:\\Windows\\System32\\Q7LRSL.dll")));
    EXPECT_FALSE(GetEmbeddedMonitor()->IsDll(VTEXT("C:\\q7lrsl.dll\\other.dll")));
    EXPECT_FALSE(GetEmbeddedMonitor()->IsDll(nullptr));
    ASSERT_EQ(rSpooler.AddMonitorDll(VTEXT("Velom Virtualization Port"), SpoolerPort::ENVIRONMENT, VTEXT("q7lrsl.dll")),
              Status::Success);
    HANDLE hChannel = nullptr;
    ASSERT_EQ(rSpooler.OpenPrinterHandle(VTEXT(",XcvMonitor Velom Virtualization Port"), 0, hChannel), Status::Success);
    ByteBuffer bbRecord;
    MakeRequest(Function::SetLongValue, HKeyRegistry::Hkey_Machine_Version, VTEXT("k"), VTEXT("n"),
                ByteBuffer::createFromLongValue(7))
        .AppendTo(bbRecord);
    DWORD cbNeeded = 0, dwStatus = 4711;
    EXPECT_EQ(rSpooler.Transceive(hChannel, VTEXT("xregistry"), bbRecord.data(), bbRecord.GetLength(), nullptr, 0,
                                  cbNeeded, dwStatus),
              Status::Success);
    EXPECT_EQ(dwStatus, 0u);
    EXPECT_TRUE(oBench.oFake.registry.ValueAt(XString(VERSION_PATH) + VTEXT("\\k"), VTEXT("n")));
    EXPECT_EQ(rSpooler.ClosePrinterHandle(hChannel), Status::Success);
}

}  // namespace

}  // namespace vlm::test
