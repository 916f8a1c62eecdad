/// @file
/// How much of its caller's stack a request takes: the monitor runs on threads that the spooler made.
#ifndef _WIN32
#include <pthread.h>

#include <algorithm>
#include <memory>

#include "MonitorBench.h"

namespace vlm::test {

namespace {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool MEASURABLE = false;
#elif defined(__has_feature)
constexpr bool MEASURABLE = !__has_feature(address_sanitizer) && !__has_feature(thread_sanitizer);
#else
constexpr bool MEASURABLE = true;
#endif

constexpr std::size_t STACK_BYTES = 256 * 1024;
constexpr BYTE PAINT = 0xA5;

struct Work {
    MonitorBench* pBench;
    std::vector<PortMonitorRequest> vRequests;
};

void* Run(void* pArgument) {
    Work& rWork = *static_cast<Work*>(pArgument);
    rWork.pBench->ActAs(OWN_SID);
    BYTE abyReply[64];
    for (const PortMonitorRequest& rRequest : rWork.vRequests) {
        ByteBuffer bbRecord;
        rRequest.AppendTo(bbRecord);
        DWORD cbNeeded = 0;
        rWork.pBench->oChannels.Transceive(rWork.pBench->hChannel, VTEXT("xregistry"), bbRecord, abyReply, cbNeeded);
    }
    return nullptr;
}

/// Bytes of stack that a thread used.
std::size_t Measure(Work& rWork) {
    const auto apbyStack = std::make_unique<BYTE[]>(STACK_BYTES + 4096);
    BYTE* const pbyStack = apbyStack.get() + (4096 - reinterpret_cast<std::uintptr_t>(apbyStack.get()) % 4096);
    std::fill_n(pbyStack, STACK_BYTES, PAINT);
    pthread_attr_t oAttributes;
    pthread_attr_init(&oAttributes);
    EXPECT_EQ(pthread_attr_setstack(&oAttributes, pbyStack, STACK_BYTES), 0);
    pthread_t oThread{};
    EXPECT_EQ(pthread_create(&oThread, &oAttributes, Run, &rWork), 0);
    pthread_join(oThread, nullptr);
    pthread_attr_destroy(&oAttributes);
    const BYTE* const pbyUsed = std::find_if(pbyStack, pbyStack + STACK_BYTES, [](BYTE by) { return by != PAINT; });
    return STACK_BYTES - static_cast<std::size_t>(pbyUsed - pbyStack);
}

TEST(StackUse, ARequestTakesLittleOfItHoweverDeepItsKeys) {
    if (!MEASURABLE) GTEST_SKIP() << "sanitizers use the stack for themselves";
    constexpr std::size_t ALLOWED_BYTES = 16 * 1024;
    MonitorBench oBench;
    oBench.hChannel = oBench.Open();
    XString deep = XString(VERSION_PATH) + VTEXT("\\a\\b");
    for (int i = 0; i < 400; ++i)
        deep += VTEXT("\\d");
    oBench.oFake.registry.AddKey(deep);
    Work oNothing{&oBench, {}};
    Work oWork{&oBench, {}};
    using enum _XPMRegistryFunction;
    for (const Function eFunction : {EnumKeyNames, EnumValueNames, DeleteKeyAndSubkeys, CopyKeyAndSubkeysFrom})
        oWork.vRequests.push_back(MakeRequest(eFunction, HKeyRegistry::Hkey_Machine_Version, VTEXT("a\\b")));
    oWork.vRequests.back().m_csThird = VTEXT("a\\b\\d");
    const std::size_t cbBase = Measure(oNothing);
    const std::size_t cbUsed = Measure(oWork);
    EXPECT_LT(cbUsed - std::min(cbBase, cbUsed), ALLOWED_BYTES);
    EXPECT_FALSE(oBench.oFake.registry.HasKey(XString(VERSION_PATH) + VTEXT("\\a\\b")));
}

}  // namespace

}  // namespace vlm::test
#endif
