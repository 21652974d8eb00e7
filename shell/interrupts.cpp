#include "shell/interrupts.h"

#include <atomic>
#include <chrono>
#include <mutex>
#include <thread>
#include <utility>

#include "host/duckdb_objects.h"
#include "shell/interrupts_system.h"

namespace orlimbara::shell {

namespace {

constexpr std::int64_t kQuick = 1'000'000'000; // nanoseconds
constexpr std::chrono::milliseconds kRetry{20};

// Lock-free atomics, since a signal handler may use little else.
std::atomic<int> gInterrupts{0};
std::atomic<Activity> gActivity{Activity::Idle};
std::atomic<std::int64_t> gLastTime{0}; // of Ctrl-C
std::atomic<bool> gEndsOnlyQuickly{false};
static_assert(std::atomic<int>::is_always_lock_free && std::atomic<Activity>::is_always_lock_free &&
              std::atomic<std::int64_t>::is_always_lock_free && std::atomic<bool>::is_always_lock_free);

std::mutex gControlMutex;
orkit::orsql::I_DuckDBRunControl* gControl = nullptr; // guarded by the mutex

} // namespace

namespace interrupts {

bool Count(std::int64_t inNow) {
    const Activity activity = gActivity.load();
    const std::int64_t last = gLastTime.exchange(inNow);
    const bool ends = !gEndsOnlyQuickly.load() || activity == Activity::Busy || inNow - last <= kQuick;
    return gInterrupts.fetch_add(1) > 0 && activity != Activity::Prompting && ends;
}

Activity CurrentActivity() { return gActivity.load(); }

void StopRun() {
    for (bool isRunning = true; isRunning; std::this_thread::sleep_for(kRetry)) {
        const std::lock_guard lock(gControlMutex);
        isRunning = gControl && IsInterrupted();
        if (isRunning) {
            gControl->Interrupt();
        }
    }
}

} // namespace interrupts

void EndOnlyAtQuickInterrupts() { gEndsOnlyQuickly.store(true); }

bool IsInterrupted() { return gInterrupts.load(std::memory_order_relaxed) > 0; }

void ForgetInterrupts() {
    gInterrupts.store(0);
    interrupts::ForgetWakeUps();
}

ActivityScope::ActivityScope(Activity inActivity) : mBefore(gActivity.exchange(inActivity)) {}

ActivityScope::~ActivityScope() { gActivity.store(mBefore); }

RunScope::RunScope(orkit::I_Unknown* inObject)
    : mControl(orkit::QueryAspect<orkit::orsql::I_DuckDBRunControl>(inObject)), mBefore(nullptr),
      mActivity(mControl ? Activity::Running : Activity::Busy) {
    const std::lock_guard lock(gControlMutex);
    mBefore = std::exchange(gControl, mControl);
    if (IsInterrupted()) {
        interrupts::WakeStopper(); // the thread found nothing to stop
    }
}

RunScope::~RunScope() {
    const std::lock_guard lock(gControlMutex);
    gControl = mBefore;
}

} // namespace orlimbara::shell
