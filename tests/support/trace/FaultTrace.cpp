/// @file
/// In a build with -finstrument-functions: which functions an allocation or a call of a port happens in, and which a
/// fault has happened in.  tools/fault_table.py runs the test programs so and reads what they write.
///
/// Q9_FAULT_POINTS names a file with the offsets in the program of the functions that allocate or stand for the
/// platform, hexadecimal.  At its end the process writes the file Q9_FAULT_TRACE: a line "offset flags" for each
/// function that ran, with 1: a point was reached in it, 2: a fault happened in it, 4: it is a point.
#include <link.h>

#include <atomic>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "support/FaultTrace.h"

#define Q9_UNTRACED __attribute__((no_instrument_function))

namespace {

constexpr std::size_t FUNCTIONS = 1u << 18;
constexpr std::size_t DEEPEST = 1u << 14;
constexpr unsigned CAN_FAIL = 1;
constexpr unsigned HAS_FAILED = 2;
constexpr unsigned IS_POINT = 4;

struct Function {
    std::atomic<std::uintptr_t> uiAddress;
    std::atomic<unsigned> uiFlags;
};
constinit Function gaoFunctions[FUNCTIONS];

constinit thread_local Function* tapStack[DEEPEST];
constinit thread_local std::size_t tcDepth = 0;

Q9_UNTRACED Function* Find(std::uintptr_t uiAddress) noexcept {
    for (std::size_t i = (uiAddress * 0x9E3779B97F4A7C15u) >> 46;; i = (i + 1) % FUNCTIONS) {
        std::uintptr_t uiThere = gaoFunctions[i].uiAddress.load(std::memory_order_relaxed);
        if (uiThere == uiAddress) return &gaoFunctions[i];
        if (uiThere == 0 && gaoFunctions[i].uiAddress.compare_exchange_strong(uiThere, uiAddress))
            return &gaoFunctions[i];
        if (uiThere == uiAddress) return &gaoFunctions[i];
    }
}

Q9_UNTRACED void MarkStack(unsigned uiFlag) noexcept {
    const std::size_t cDepth = tcDepth < DEEPEST ? tcDepth : DEEPEST;
    for (std::size_t i = 0; i < cDepth; ++i) {
        if ((tapStack[i]->uiFlags.load(std::memory_order_relaxed) & uiFlag) == 0) tapStack[i]->uiFlags |= uiFlag;
    }
}

Q9_UNTRACED int KeepBase(struct dl_phdr_info* poInfo, std::size_t, void* pvBase) {
    *static_cast<std::uintptr_t*>(pvBase) = poInfo->dlpi_addr;
    return 1;  // the program itself comes first; nothing else is traced
}
/// Where the program was loaded.
Q9_UNTRACED std::uintptr_t Base() {
    std::uintptr_t uiBase = 0;
    dl_iterate_phdr(KeepBase, &uiBase);
    return uiBase;
}

Q9_UNTRACED void ReadPoints() {
    const char* pszPoints = std::getenv("Q9_FAULT_POINTS");
    std::FILE* pFile = pszPoints ? std::fopen(pszPoints, "r") : nullptr;
    if (pFile == nullptr) return;
    const std::uintptr_t uiBase = Base();
    unsigned long ulOffset = 0;
    while (std::fscanf(pFile, "%lx", &ulOffset) == 1)
        Find(uiBase + ulOffset)->uiFlags |= IS_POINT;
    std::fclose(pFile);
}

Q9_UNTRACED void WriteAll() {
    const char* pszTrace = std::getenv("Q9_FAULT_TRACE");
    std::FILE* pFile = pszTrace ? std::fopen(pszTrace, "w") : nullptr;
    if (pFile == nullptr) return;
    const std::uintptr_t uiBase = Base();
    for (const Function& rFunction : gaoFunctions) {
        if (rFunction.uiAddress != 0)
            std::fprintf(pFile, "%zx %u\n", rFunction.uiAddress - uiBase, rFunction.uiFlags.load());
    }
    std::fclose(pFile);
}

/// Reads the points and writes the result.
struct Trace {
    Q9_UNTRACED Trace() noexcept { ReadPoints(); }
    Q9_UNTRACED ~Trace() { WriteAll(); }
};
const Trace goTrace;

}  // namespace

namespace vlm::test {
Q9_UNTRACED void TraceFault() noexcept {
    MarkStack(HAS_FAILED);
}
}  // namespace vlm::test

extern "C" {
Q9_UNTRACED void __cyg_profile_func_enter(void* pFunction, void* /*pCaller*/) {
    Function* poFunction = Find(reinterpret_cast<std::uintptr_t>(pFunction));
    if (tcDepth < DEEPEST) tapStack[tcDepth] = poFunction;
    ++tcDepth;
    if ((poFunction->uiFlags.load(std::memory_order_relaxed) & IS_POINT) != 0) MarkStack(CAN_FAIL);
}
Q9_UNTRACED void __cyg_profile_func_exit(void* /*pFunction*/, void* /*pCaller*/) {
    --tcDepth;
}
}
