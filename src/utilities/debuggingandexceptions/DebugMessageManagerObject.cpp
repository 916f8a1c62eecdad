/// @file
/// The one debug message manager of the process.
#include <atomic>
#include <new>

#include "utilities/debuggingandexceptions/DebugMessageManager.h"
#include "utilities/utilitiesdll/LoaderLock.h"

namespace {

/// Room that outlasts every destructor: whoever asks too early or too late finds an object whose state word says that
/// it is not there.
union ManagerStorage {
    constexpr ManagerStorage() noexcept : m_abyNothing{} {}
    ~ManagerStorage() {}
    unsigned char m_abyNothing[sizeof(DebugMessageManager)];
    DebugMessageManager m_oManager;
};
constinit ManagerStorage goStorage;
constinit std::atomic<bool> gfBuilt{false};

/// Builds the manager while the library is being loaded, and destroys it after the entry point has done with it.
class ManagerLife {
public:
    ManagerLife() noexcept {
        new (&goStorage.m_oManager) DebugMessageManager();
        gfBuilt.store(true, std::memory_order_relaxed);
    }
    ~ManagerLife() { vlm::DestroyDebugMessageManager(); }
    ManagerLife(const ManagerLife&) = delete;
    ManagerLife& operator=(const ManagerLife&) = delete;
};
const ManagerLife goLife;

}  // namespace

DebugMessageManager& GetDebugMessageManager() noexcept {
    return goStorage.m_oManager;
}

void vlm::DestroyDebugMessageManager() noexcept {
    if (!gfBuilt.exchange(false, std::memory_order_relaxed)) return;
    if (!IsProcessEnding()) {
        goStorage.m_oManager.~DebugMessageManager();
        return;
    }
    // Nothing is freed, and nobody waited for: the threads that held locks are gone, the system takes the rest.
    SetReportMask(DebugCategory::None);
    ExchangeReportSink(nullptr);
}
